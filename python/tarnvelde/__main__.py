"""The command line of the package: python3 -m tarnvelde ensemble MODEL TABLE -o FOLDER.

Exit status: 0 if all members are done, 3 if some have failed, 1 if nothing could be done, 2 on wrong usage, 130 where
Ctrl-C stopped it.
"""
from __future__ import annotations

import argparse
import sys
from typing import Any, Dict, List, Optional, Sequence

from .ensemble import Ensemble, ensemble
from .ensemble_members import KEEPS
from .errors import TarnveldeError

DONE, NOTHING, SOME_FAILED, INTERRUPTED = 0, 1, 3, 130
_MOST_FAILURES = 10  # in the summary


def _count(text: str) -> int:
    number = int(text)
    if number < 1:
        raise argparse.ArgumentTypeError(f"a number is at least 1, not {text}")
    return number


def _seconds(text: str) -> float:
    seconds = float(text)
    if not seconds > 0.0:
        raise argparse.ArgumentTypeError(f"a time is above 0 s, not {text}")
    return seconds


def _keep(text: str) -> List[str]:
    words = [word.strip() for word in text.split(",") if word.strip()]
    strange = [word for word in words if word not in KEEPS]
    if strange:
        raise argparse.ArgumentTypeError(f'"{strange[0]}" is none of {", ".join(KEEPS)}')
    return words


def _option(text: str) -> str:
    if not text.partition("=")[0]:
        raise argparse.ArgumentTypeError(f"write NAME=VALUE, not {text}")
    return text


def make_parser() -> argparse.ArgumentParser:
    """The options of the command line."""
    parser = argparse.ArgumentParser(prog="python3 -m tarnvelde", description="Tarnvelde: urban drainage and water "
                                     "quality. Single runs: tarnvelde run.")
    commands = parser.add_subparsers(dest="command", required=True, metavar="COMMAND")
    one = commands.add_parser(
        "ensemble", help="run a project once for each row of a table",
        description="Runs a project once for each row of a table, and goes on where an earlier call ended.",
        epilog="The table is a CSV file. Its column member names the runs; the others are class/ID/variable "
               "(subcatchment/*/width), ${NAME} (a place in the project's text), file:NAME (another file), until, "
               "hot_start, load_state, seed. Exit status: 0 if all are done, 3 if some have failed, 1 if nothing could "
               "be done, 2 on wrong usage, 130 where Ctrl-C stopped it.")
    one.add_argument("model", metavar="MODEL", help="the project file")
    one.add_argument("table", metavar="TABLE", help="the CSV file")
    one.add_argument("-o", "--out", metavar="FOLDER", required=True, help="where catalogue and results go")
    where = one.add_mutually_exclusive_group()
    where.add_argument("--dask", metavar="ADDRESS", help="run on the Dask cluster of this scheduler")
    where.add_argument("--slurm", action="store_true", help="run as array jobs of Slurm")
    where.add_argument("--serial", action="store_true", help="one run after another, in one process")
    one.add_argument("--jobs", metavar="N", type=_count, help="runs at once [the cores], of Slurm tasks at once [all]")
    one.add_argument("--chunk", metavar="N", type=_count, help="runs of one task of Slurm")
    one.add_argument("--slurm-option", metavar="NAME=VALUE", type=_option, action="append", default=[],
                     help="an option of sbatch, as time=1:00:00; may be given several times")
    one.add_argument("--keep", metavar="WORDS", type=_keep, default=["results"],
                     help=f"what is kept of each run, of {','.join(KEEPS)} [results]")
    one.add_argument("--database", action="store_true", help="results go to databases, model.db")
    one.add_argument("--engines", metavar="FOLDER", action="append",
                     help='the folder of the engines inside nodes, "nested" for projects or "plant" for treatment '
                          "plants inside nodes; may be given several times")
    one.add_argument("--threads", metavar="N", type=_count, default=1, help="threads of each run [1]")
    one.add_argument("--timeout", metavar="S", type=_seconds, help="seconds that a run may take")
    one.add_argument("--retry", action="store_true", help="run those that have failed once more")
    one.add_argument("--quiet", action="store_true", help="no progress, and no summary")
    return parser


def _tell(found: Ensemble) -> None:
    """A short summary on the standard output."""
    status = found.status
    counts = status["outcome"].value_counts(sort=False).to_dict()
    print(f"{len(status)} members in {found.folder}: " + ", ".join(f"{n} {word}" for word, n in counts.items()))
    failed = status[status["outcome"] != "done"]
    for name, row in failed.head(_MOST_FAILURES).iterrows():
        lines = [line.strip() for line in str(row["message"]).split("\n")]
        print(f"  {name}: {row['outcome']}: {' '.join(lines)[:300]}")
    if len(failed) > _MOST_FAILURES:
        print(f"  ... and {len(failed) - _MOST_FAILURES} more")


def _run(given: argparse.Namespace) -> int:
    options: Dict[str, Any] = {}
    client: Any = None
    if given.dask:
        try:
            import distributed
        except ImportError:
            raise ImportError("--dask needs distributed (Debian: python3-distributed)") from None
        client = distributed.Client(given.dask)  # type: ignore[no-untyped-call]
        options.update(backend="dask", client=client)
    elif given.slurm:
        words = dict(text.partition("=")[::2] for text in given.slurm_option)
        options.update(backend="slurm", chunk=given.chunk,
                       slurm={name: value if value else True for name, value in words.items()})
    elif given.serial:
        options.update(backend="serial")
    try:
        found = ensemble(given.model, given.table, out=given.out, jobs=given.jobs, keep=given.keep,
                         results="database" if given.database else "binary", engines=given.engines,
                         threads=given.threads, timeout=given.timeout, retry=given.retry,
                         progress=False if given.quiet else None, **options)
    finally:
        if client is not None:
            client.close()
    if not given.quiet:
        _tell(found)
    return DONE if len(found.done) == len(found) else SOME_FAILED


def main(words: Optional[Sequence[str]] = None) -> int:
    """Runs the command line; its exit status. SystemExit 2 on wrong usage."""
    parser = make_parser()
    given = parser.parse_args(words)
    if not given.slurm and (given.slurm_option or given.chunk):
        parser.error("--slurm-option and --chunk go with --slurm")
    try:
        return _run(given)
    except KeyboardInterrupt:
        print("tarnvelde: stopped; the same command goes on", file=sys.stderr)
        return INTERRUPTED
    except (TarnveldeError, OSError, ImportError, ValueError, TypeError) as error:
        print(f"tarnvelde: {error}", file=sys.stderr)
        return NOTHING


if __name__ == "__main__":
    sys.exit(main())
