"""What an ensemble loses beside its runs: time in the engine over time of all cores.

    python3 python/benchmarks/ensemble_overhead.py [MODEL] [--members N] [--jobs N]

Prints, of a first call: members, jobs, the time of the whole call, the sum of the times of the runs (opening, steps,
totals, files), and the share of jobs x time that these are; the same share of the time from the first run on, which
leaves out how long processes take to start; and what one member costs beside its run. Then the time of a second call,
which has nothing to do. Figures of a machine that does other things at the same time say little.
"""
from __future__ import annotations

import argparse
import shutil
import sys
import tempfile
import time
from pathlib import Path
from typing import List

import pandas as pd

ROOT = Path(__file__).resolve().parents[2]
if str(ROOT / "python") not in sys.path:
    sys.path.insert(0, str(ROOT / "python"))

from tarnvelde.ensemble import ensemble  # noqa: E402
from tarnvelde.ensemble_backends import usable_cores  # noqa: E402


def main() -> None:
    """Runs the ensemble two times, and prints what it took."""
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("model", nargs="?", default=str(ROOT / "examples" / "interceptor" / "interceptor.inp"))
    parser.add_argument("--members", type=int, default=1000)
    parser.add_argument("--jobs", type=int, default=usable_cores())
    given = parser.parse_args()
    table = pd.DataFrame({"seed": range(given.members)})
    ends: List[float] = []
    out = tempfile.mkdtemp(prefix="ensemble-")
    try:
        begin = time.perf_counter()
        made = ensemble(given.model, table, out=out, jobs=given.jobs,
                        progress=lambda ended, failed, total: ends.append(time.perf_counter()))
        seconds = time.perf_counter() - begin
        status = made.status
        runs = float(status["run_seconds"].sum())
        running = seconds - (ends[0] - begin - float(status["seconds"].iloc[0]))
        begin = time.perf_counter()
        ensemble(given.model, table, out=out, jobs=given.jobs)
        again = time.perf_counter() - begin
    finally:
        shutil.rmtree(out)
    beside = 1e3 * float((status["seconds"] - status["run_seconds"]).median())
    print(f"{len(status)} members, {given.jobs} jobs: {seconds:.2f} s, runs {runs:.2f} s")
    print(f"share of the runs: {runs / (given.jobs * seconds):.3f}, from the first one on "
          f"{runs / (given.jobs * running):.3f}")
    print(f"a run: {1e3 * float(status['run_seconds'].median()):.2f} ms, beside it in its process {beside:.2f} ms")
    print(f"a call with nothing to do: {again:.3f} s")


if __name__ == "__main__":
    main()
