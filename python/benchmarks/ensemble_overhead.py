"""What an ensemble loses against the sum of its runs.

    /usr/bin/python3 python/benchmarks/ensemble_overhead.py [MODEL] [--members N] [--jobs N] [--rounds N] [--folder DIR]

In each round the same members are run in four ways, as many at once as there are jobs, into new folders of one disk:

    ensemble    a call of tarnvelde.ensemble, from its first line to its last: table, tasks, the start of its processes,
                runs, totals, outcome.json, catalogue
    library     as many processes with a plain loop of calls of the shared library: open, start, run, end, close, with
                model.bin in a folder of each member and nothing else, no totals and no balances either
    totals      likewise by tarnvelde.Model, and each run's totals, balances and messages are asked for, as an ensemble
                keeps them, and thrown away: the runs of the ensemble without all that it does beside them
    run         likewise by tarnvelde.run, which makes frames of them: what a user has without an ensemble

The order turns from round to round. The loops have their members dealt out beforehand, and their times from the first
run of each process to its last one are summed up: how long Python takes to start, and the waiting of the process that
ends first, are the ensemble's loss alone. Between two measurements the results are removed and the disk is waited for;
what is written back meanwhile of a way's own results is part of its time, in all of them.

Printed for each way: the time that its runs take in all cores (of the ensemble: jobs x seconds of the call), and the
time of the processor, of all processes and the parent; then the shares that the loops have of the ensemble: 0.95 is a
loss of 5 %. All are medians of the rounds. A machine that does other things at the same time stretches times; the
shares of the time of the processor suffer less.
"""
from __future__ import annotations

import argparse
import os
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path
from typing import Dict, List, NamedTuple

import pandas as pd

ROOT = Path(__file__).resolve().parents[2]
if str(ROOT / "python") not in sys.path:
    sys.path.insert(0, str(ROOT / "python"))

from tarnvelde.ensemble import ensemble  # noqa: E402
from tarnvelde.ensemble_backends import usable_cores  # noqa: E402

LOOPS = ("library", "totals", "run")


class Spent(NamedTuple):
    """Seconds of a way: of all cores, and of the processor."""

    cores: float
    processor: float


def processor_seconds() -> float:
    """Of this process, and of those that it has waited for."""
    total = 0.0
    for whose in (resource.RUSAGE_SELF, resource.RUSAGE_CHILDREN):
        used = resource.getrusage(whose)
        total += used.ru_utime + used.ru_stime
    return total


def run_ensemble(model: str, members: int, jobs: int, folder: Path) -> Spent:
    """A call of the ensemble."""
    table = pd.DataFrame({"seed": range(members)})
    processor, begin = processor_seconds(), time.perf_counter()
    made = ensemble(model, table, out=folder / "ensemble", jobs=jobs, progress=False)
    seconds = time.perf_counter() - begin
    spent = Spent(jobs * seconds, processor_seconds() - processor)
    if len(made.done) != members:
        raise SystemExit(f"{members - len(made.done)} members aren't done")
    return spent


def run_loop(way: str, model: str, members: int, jobs: int, folder: Path) -> Spent:
    """The same runs in plain loops."""
    script = str(Path(__file__).with_name("bare_runs.py"))
    loops = [subprocess.Popen([sys.executable, script, way, model, str(folder), str(first), str(jobs), str(members)],
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True) for first in range(jobs)]
    for loop in loops:
        assert loop.stdout is not None
        if loop.stdout.readline() != "ready\n":
            raise SystemExit("a loop can't start")
    for loop in loops:
        assert loop.stdin is not None
        loop.stdin.write("go\n")
        loop.stdin.flush()
    spent = [[float(word) for word in loop.communicate()[0].split()] for loop in loops]
    return Spent(sum(one[0] for one in spent), sum(one[1] for one in spent))


def measure(way: str, model: str, members: int, jobs: int, parent: str) -> Spent:
    """One way, in a folder of its own that is gone afterwards from the disk too."""
    folder = Path(tempfile.mkdtemp(prefix="ensemble-", dir=parent))
    try:
        if way == "ensemble":
            return run_ensemble(model, members, jobs, folder)
        return run_loop(way, model, members, jobs, folder)
    finally:
        shutil.rmtree(folder)
        os.sync()


def main() -> None:
    """Runs all ways in turn, and prints what they took."""
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("model", nargs="?", default=str(ROOT / "examples" / "interceptor" / "interceptor.inp"))
    parser.add_argument("--members", type=int, default=1000)
    parser.add_argument("--jobs", type=int, default=usable_cores())
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--folder", help="where the results go for a while [the folder of temporary files]")
    given = parser.parse_args()
    model = os.path.abspath(given.model)
    ways = ["ensemble", *LOOPS]
    spent: Dict[str, List[Spent]] = {way: [] for way in ways}
    os.sync()
    for number in range(given.rounds):
        for way in ways[number % len(ways):] + ways[:number % len(ways)]:
            spent[way].append(measure(way, model, given.members, given.jobs, given.folder or tempfile.gettempdir()))
        print(f"round {number + 1}: " + ", ".join(f"{way} {spent[way][-1].cores:.2f} s" for way in ways), flush=True)
    middle = {way: Spent(*(statistics.median(column) for column in zip(*found))) for way, found in spent.items()}
    for way in ways:
        each = Spent(*(1e3 * seconds / given.members for seconds in middle[way]))
        print(f"{way}: {middle[way].cores:.2f} s of {given.jobs} cores, {each.cores:.2f} ms a member; "
              f"of the processor {each.processor:.2f} ms a member")
    for way in LOOPS:
        print(f"share of the loops of {way}: {middle[way].cores / middle['ensemble'].cores:.3f}, of the processor "
              f"{middle[way].processor / middle['ensemble'].processor:.3f}")


if __name__ == "__main__":
    main()
