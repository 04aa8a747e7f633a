"""Runs of a project in a plain loop, one folder each, with nothing beside them: what an ensemble is measured against.

    /usr/bin/python3 bare_runs.py WAY MODEL.inp FOLDER FIRST STEP COUNT

WAY is "library", calls of the shared library alone; "totals", those of tarnvelde.Model, with messages, totals and
balances as plain columns; or "run", tarnvelde.run. The members FIRST, FIRST + STEP, ... below COUNT are run, each into
FOLDER/NUMBER/model.bin. The process says that it is ready, waits for a line, runs, and gives the seconds from its first
run to the end of its last one and the seconds of the processor.
"""
import ctypes
import os
import sys
import time
from pathlib import Path
from typing import Callable, List

ROOT = Path(__file__).resolve().parents[2]
END = 1.0e10  # a date after every end


def load_library() -> ctypes.CDLL:
    """The library, with what the loop calls of it."""
    named = os.environ.get("TARNVELDE_LIBRARY")
    library = ctypes.CDLL(named or str(ROOT / "build" / "release" / "libtarnvelde.so"))
    model, text = ctypes.c_void_p, ctypes.c_char_p
    library.tv_create.argtypes = [ctypes.POINTER(model)]
    library.tv_open.argtypes = library.tv_start.argtypes = [model, text, text]
    library.tv_runUntil.argtypes = [model, ctypes.c_double]
    for name in ("tv_end", "tv_close", "tv_free"):
        getattr(library, name).argtypes = [model]
    return library


def check(code: int) -> None:
    """Ends the loop where a call of the library fails."""
    if code:
        raise SystemExit(f"the library gives {code}")


def way_of_library(project: str) -> Callable[[str], None]:
    """Runs by the library alone."""
    library = load_library()
    source = os.fsencode(project)

    def run_one(results: str) -> None:
        model = ctypes.c_void_p()
        check(library.tv_create(ctypes.byref(model)))
        check(library.tv_open(model, source, None))
        check(library.tv_start(model, os.fsencode(results), None))
        check(library.tv_runUntil(model, END))
        check(library.tv_end(model))
        check(library.tv_close(model))
        check(library.tv_free(model))

    return run_one


def way_of_totals(project: str) -> Callable[[str], None]:
    """Runs by the package, with what an ensemble keeps of each beside its files."""
    sys.path.insert(0, str(ROOT / "python"))
    from tarnvelde._balance import rows_of
    from tarnvelde._driving import run_to_end, total_columns
    from tarnvelde.model import Model

    class Quiet(Model):
        def _tell(self) -> None:
            pass

    def run_one(results: str) -> None:
        with Quiet(project) as model:
            model.start(results)
            run_to_end(model, None, None)
            total_columns(model)
            rows_of(model)
            model.end()
            model.messages()

    return run_one


def way_of_run(project: str) -> Callable[[str], None]:
    """Runs by the package, with frames of their totals."""
    sys.path.insert(0, str(ROOT / "python"))
    import tarnvelde

    tarnvelde.library()

    def run_one(results: str) -> None:
        tarnvelde.run(project, results=results, report=False, tell_warnings=False)

    return run_one


def main(words: List[str]) -> None:
    """Runs the members that it is given."""
    way, project, folder = words[:3]
    first, step, count = (int(word) for word in words[3:])
    run_one = {"library": way_of_library, "totals": way_of_totals, "run": way_of_run}[way](project)
    print("ready", flush=True)
    sys.stdin.readline()
    begin, begin_of_processor = time.perf_counter(), time.process_time()
    for number in range(first, count, step):
        own = f"{folder}/{number:04d}"
        os.mkdir(own)
        run_one(f"{own}/model.bin")
    print(time.perf_counter() - begin, time.process_time() - begin_of_processor, flush=True)


if __name__ == "__main__":
    main(sys.argv[1:])
