"""A whole run through Python against the command line, and the reading of columns, on a project of a user's choice.

    /usr/bin/python3 whole_run.py MODEL.inp [TIMES]

Both make the same files; they take turns, and the least time of each counts, so that ratios mean something on a busy
machine. The start of Python and the import of pandas, half a second, are told apart.
"""
import os
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "python"))
os.environ.setdefault("TARNVELDE_LIBRARY", str(ROOT / "build" / "release" / "libtarnvelde.so"))


def main() -> None:
    model = Path(sys.argv[1]).resolve()
    times = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    begin = time.perf_counter()
    import numpy as np

    import tarnvelde as tv
    tv.library()
    print(f"import: {time.perf_counter() - begin:.2f} s")
    program = str(ROOT / "build" / "release" / "tarnvelde")
    ours, theirs, memory = [], [], []
    with tempfile.TemporaryDirectory() as folder:
        for _ in range(times):
            files = {"report": f"{folder}/a.rpt", "results": f"{folder}/a.bin"}
            begin = time.perf_counter()
            options = [f"--{use}={path}" for use, path in files.items()]
            subprocess.run([program, "run", str(model), "--quiet", *options], check=True, stderr=subprocess.DEVNULL)
            theirs.append(time.perf_counter() - begin)
            begin = time.perf_counter()
            tv.run(model, tell_warnings=False, **files)
            ours.append(time.perf_counter() - begin)
            begin = time.perf_counter()
            tv.run(model, tell_warnings=False, report=False, results=False)
            memory.append(time.perf_counter() - begin)
    print(f"command line {min(theirs):.3f} s, tv.run with files {min(ours):.3f} s = {min(ours) / min(theirs):.3f}, "
          f"in memory {min(memory):.3f} s = {min(memory) / min(theirs):.3f}")
    with tv.Model(model, tell_warnings=False) as opened:
        opened.step()
        count = len(opened.nodes)
        spent = []
        for _ in range(2000):
            begin = time.perf_counter()
            opened.get("node", "inflow")
            spent.append(time.perf_counter() - begin)
        print(f"inflow of {count} nodes: {1e6 * float(np.median(spent)):.1f} us")


main()
