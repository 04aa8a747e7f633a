"""Runs members as array jobs of Slurm, by its command line: sbatch, squeue and scancel.

The ensemble's folder, the project and this package must be seen by all nodes under the same paths. What became of a
member is read from its outcome.json. Ctrl-C ends the waiting alone: the job goes on, and the same call later waits for
it again; a call with other members or another back end cancels it.
"""
from __future__ import annotations

import json
import os
import re
import shlex
import shutil
import subprocess
import sys
import time
from pathlib import Path
from typing import Any, Dict, List, Mapping, Optional, Sequence, Tuple

from .ensemble_backends import Keeper, kill_member, run_pool
from .ensemble_catalogue import Catalogue
from .ensemble_members import Task
from .ensemble_worker import has_begun, read_outcome
from .errors import RunError, ValueRefused

MOST_ARRAY = 200  # tasks of an array, if nothing else is asked for
_FIRST_LOOK, _LONGEST_LOOK = 0.5, 30.0  # s between two looks at the queue
_LAG_SECONDS = 10.0  # after which files of another machine are seen
_LONGEST_SILENCE = 600.0  # s that squeue may fail


class SlurmOptions:
    """What the user wants of Slurm. options: of sbatch, by their long names, as {"partition": "long", "time":
    "2:00:00", "exclusive": True}. chunk: members of one task of the array. jobs: tasks that run at once."""

    def __init__(self, options: Optional[Mapping[str, Any]], chunk: Optional[int], jobs: Optional[int]) -> None:
        self.words: List[str] = []
        for name, value in (options or {}).items():
            if not re.match(r"[a-z][a-z-]*\Z", name) or name in ("array", "output", "error", "parsable", "wrap"):
                raise ValueRefused(f'slurm: "{name}" is no option of sbatch that can be set here')
            if "\n" in str(value):
                raise ValueRefused(f"slurm: {name} has more than one line")
            if value is not False and value is not None:
                self.words.append(f"--{name}" if value is True else f"--{name}={value}")
        if chunk is not None and chunk < 1:
            raise ValueRefused(f"a chunk has at least 1 member, not {chunk}")
        self.chunk = chunk
        self.jobs = jobs


# --- the command line ------------------------------------------------------------------------------------------------

def _ask(*words: str) -> str:
    """What a program of Slurm answers. RunError."""
    try:
        done = subprocess.run(words, stdin=subprocess.DEVNULL, capture_output=True, text=True)
    except FileNotFoundError:
        raise RunError(f"there is no {words[0]} on this machine (Debian: slurm-client)") from None
    if done.returncode:
        raise RunError(f"{words[0]}: {done.stderr.strip() or f'status {done.returncode}'}")
    return done.stdout


def is_in_queue(job: str) -> bool:
    """Whether tasks of a job wait or run. RunError if the queue can't be asked."""
    if not hasattr(os, "getuid"):
        raise RunError("there is no Slurm on this system")
    states = _ask("squeue", "--noheader", "--array", "--user", str(os.getuid()), "--format", "%F %t").split("\n")
    return any(line.split()[0] == job for line in states if line.strip())


def cancel(job: str) -> None:
    """Cancels a job, and waits until nothing of it runs."""
    _ask("scancel", job)
    while is_in_queue(job):
        time.sleep(_FIRST_LOOK)


# --- the parent ------------------------------------------------------------------------------------------------------

def settle_job(catalogue: Catalogue, tasks: Sequence[Task], is_slurm: bool) -> Optional[Dict[str, Any]]:
    """The job that a call before has left in the queue: it is gone on with if it runs what is to be run now, and
    cancelled otherwise. RunError if that can't be done."""
    job: Optional[Dict[str, Any]] = catalogue.setting("slurm")
    if job is None:
        return None
    if is_in_queue(job["job"]):
        wanted = {task["name"]: task["hash"] for task in tasks}
        if is_slurm and all(wanted.get(name) == fingerprint for name, fingerprint in job["tasks"].items()):
            return job
        cancel(job["job"])
    catalogue.keep_settings({"slurm": None})
    return None


def run_slurm(tasks: Sequence[Task], out: Path, catalogue: Catalogue, keeper: Keeper, options: SlurmOptions,
              job: Optional[Mapping[str, Any]]) -> None:
    """Runs members in array jobs, going on with a job that is in the queue. A member that its task was lost with is
    tried once more, in a task of its own; those of that task that hadn't begun go into a new job."""
    waiting = [dict(task) for task in tasks]
    lost: Dict[str, int] = {}
    while waiting:
        if job is None:
            job = _submit(waiting, lost, out, options)
            catalogue.keep_settings({"slurm": job})
        for task in waiting:
            if task["name"] in job["tasks"]:
                task["token"] = job["token"]
                keeper.begin(task["name"])
        count = len(waiting)
        mine, waiting = _split(waiting, job)
        rest = _wait(mine, str(job["job"]), keeper)
        catalogue.keep_settings({"slurm": None})
        for task in rest:
            if has_begun(task):
                lost[task["name"]] = lost.get(task["name"], 0) + 1
            if lost.get(task["name"], 0) > 1:
                keeper.take(kill_member(task, "its task of the array was lost, two times"))
            else:
                waiting.append(task)
        if len(waiting) == count and not any(has_begun(task) for task in rest):
            raise RunError(f"job {job['job']} of Slurm has ended and run nothing{_words_of(out / job['folder'])}")
        if not rest:
            shutil.rmtree(out / job["folder"], ignore_errors=True)
        job = None


def _split(tasks: Sequence[Task], job: Mapping[str, Any]) -> Tuple[List[Task], List[Task]]:
    """Those that a job runs, and the others."""
    return ([task for task in tasks if task["name"] in job["tasks"]],
            [task for task in tasks if task["name"] not in job["tasks"]])


def _submit(tasks: Sequence[Task], lost: Mapping[str, int], out: Path, options: SlurmOptions) -> Dict[str, Any]:
    """Writes the script and the members of each task, and hands them over."""
    size = options.chunk or -(-len(tasks) // MOST_ARRAY)
    plain = [task for task in tasks if task["name"] not in lost]
    chunks = [plain[first:first + size] for first in range(0, len(plain), size)]
    chunks += [[task] for task in tasks if task["name"] in lost]
    number = 1
    while (out / "slurm" / f"{number}").exists():
        number += 1
    folder = out / "slurm" / f"{number}"
    folder.mkdir(parents=True)
    token = os.urandom(8).hex()
    for index, chunk in enumerate(chunks):
        for task in chunk:
            task["token"] = token
        (folder / f"{index}.json").write_text(json.dumps(chunk), "utf-8")
    path = [os.path.abspath(place) for place in sys.path]
    (folder / "start.py").write_text(
        f"import sys\nsys.path[:] = {path!r}\n"
        "from tarnvelde.ensemble_slurm import serve_chunk\nserve_chunk(sys.argv[1])\n", "utf-8")
    script = folder / "job.sh"
    script.write_text(_script(folder, len(chunks), tasks[0]["threads"], options), "utf-8")
    answer = _ask("sbatch", "--parsable", str(script)).strip()
    return {"job": answer.split(";")[0], "folder": str(folder.relative_to(out)), "token": token,
            "tasks": {task["name"]: task["hash"] for task in tasks}}


def _script(folder: Path, count: int, threads: int, options: SlurmOptions) -> str:
    most = f"%{options.jobs}" if options.jobs else ""
    # Slurm puts its own numbers where it sees a percent sign
    place = str(folder).replace("%", "%%")
    words = [f"--array=0-{count - 1}{most}", f"--output={place}/%a.log", "--job-name=tarnvelde", "--no-requeue",
             f"--cpus-per-task={threads}", *options.words]
    lines = ["#!/bin/sh", *(f"#SBATCH {shlex.quote(word)}" for word in words)]
    library = os.environ.get("TARNVELDE_LIBRARY")
    if library:
        library = os.path.abspath(library) if os.path.exists(library) else library
        lines.append(f"export TARNVELDE_LIBRARY={shlex.quote(library)}")
    lines.append(f"exec {shlex.quote(sys.executable)} {shlex.quote(str(folder / 'start.py'))} "
                 f"{shlex.quote(str(folder))}/\"$SLURM_ARRAY_TASK_ID\".json")
    return "\n".join(lines) + "\n"


def _wait(tasks: Sequence[Task], job: str, keeper: Keeper) -> List[Task]:
    """Waits until a job is over, and takes outcomes as they come; members without one."""
    pause, heard = _FIRST_LOOK, time.monotonic()
    waiting = list(tasks)
    while waiting:
        try:
            is_over = not is_in_queue(job)
            heard = time.monotonic()
        except RunError:
            is_over = False
            if time.monotonic() - heard > _LONGEST_SILENCE:
                raise
        waiting = _collect(waiting, keeper)
        if is_over:
            return _wait_for_files(waiting, keeper)
        time.sleep(pause)
        pause = min(1.2 * pause, _LONGEST_LOOK)
    return []


def _wait_for_files(waiting: List[Task], keeper: Keeper) -> List[Task]:
    last = time.monotonic() + _LAG_SECONDS
    while waiting and time.monotonic() < last:
        time.sleep(_FIRST_LOOK)
        waiting = _collect(waiting, keeper)
    return waiting


def _collect(tasks: Sequence[Task], keeper: Keeper) -> List[Task]:
    """Takes the outcomes that there are; the other members."""
    rest = []
    for task in tasks:
        found = read_outcome(Path(task["folder"]), task["hash"])
        # an outcome of the same hash from a run before, which is being done again, isn't that of this job
        if found is None or found.get("token") != task["token"]:
            rest.append(task)
        else:
            keeper.take(found)
    keeper.tick()
    return rest


def _words_of(folder: Path) -> str:
    """The last words of the first log, for the text of an error."""
    for path in sorted(folder.glob("*.log")):
        words = path.read_text("utf-8", "replace").strip()
        if words:
            return f": {words[-1000:]}"
    return ""


# --- a task of the array ---------------------------------------------------------------------------------------------

def serve_chunk(path: str) -> None:
    """Runs the members of one task of an array, so that one that dies doesn't take the others along."""
    tasks = json.loads(Path(path).read_text("utf-8"))
    run_pool(tasks, 1, Keeper(None, None))
