"""Runs members one after another in this process, or in processes of this machine."""
from __future__ import annotations

import json
import os
import queue
import subprocess
import sys
import tempfile
import threading
import time
from collections import deque
from pathlib import Path
from typing import Any, Deque, Dict, List, Mapping, Optional, Sequence, Tuple

from .ensemble_catalogue import Catalogue
from .ensemble_members import Task
from .ensemble_progress import Progress
from .ensemble_worker import Outcome, finish, new_outcome, read_line, read_outcome, run_member
from .errors import RunError

_BATCH_SECONDS = 1.0  # between two writings of the catalogue
_BATCH_FACTOR, _LONGEST_BATCH = 20.0, 30.0  # times as long as the last writing took, on a disk that is slow; s at most
_GRACE_SECONDS = 10.0  # that a member has to stop by itself when its time is up
_AHEAD_SECONDS = 1.0  # of work that waits at each process, so that none waits for the catalogue
_MOST_AHEAD = 100


class Keeper:
    """Takes outcomes as they come, and writes them into the catalogue in batches."""

    def __init__(self, catalogue: Optional[Catalogue], progress: Optional[Progress]) -> None:
        self._catalogue = catalogue
        self._progress = progress
        self._begun: List[str] = []
        self._outcomes: List[Outcome] = []
        self._next = time.monotonic() + _BATCH_SECONDS

    def begin(self, name: str) -> None:
        """A member has begun."""
        self._begun.append(name)

    def take(self, outcome: Outcome) -> None:
        """A member has ended."""
        self._outcomes.append(outcome)
        if self._progress is not None:
            self._progress.step(outcome["outcome"] != "done")
        self.tick()

    def tick(self) -> None:
        """Called again and again while members run."""
        if time.monotonic() >= self._next:
            self.flush()

    def flush(self) -> None:
        """Writes what there is."""
        outcomes, begun, self._outcomes, self._begun = self._outcomes, self._begun, [], []
        begin = time.monotonic()
        if self._catalogue is not None and (outcomes or begun):
            ended = {outcome["name"] for outcome in outcomes}
            self._catalogue.write(outcomes, [name for name in begun if name not in ended])
        now = time.monotonic()
        self._next = now + max(_BATCH_SECONDS, min(_BATCH_FACTOR * (now - begin), _LONGEST_BATCH))


def run_serial(tasks: Sequence[Task], keeper: Keeper) -> None:
    """Runs members in this process, one after another."""
    for task in tasks:
        keeper.begin(task["name"])
        keeper.tick()
        keeper.take(run_member(task))


def kill_member(task: Task, message: str, seconds: float = 0.0, printed: str = "") -> Outcome:
    """The outcome of a member whose process was killed, put into its folder with what it printed."""
    outcome = new_outcome(task, "killed", message)
    outcome["seconds"] = seconds
    try:
        os.makedirs(task["folder"], exist_ok=True)
        outcome["printed"] = printed
        finish(task, outcome)
    except OSError:  # a full disk: the catalogue has it, and going on does the member again
        pass
    return outcome


# --- processes -------------------------------------------------------------------------------------------------------

def usable_cores() -> int:
    """The number of cores that this process may use."""
    if hasattr(os, "sched_getaffinity"):
        return len(os.sched_getaffinity(0))
    return os.cpu_count() or 1


def start_words(code: str) -> List[str]:
    """The words that start Python with the modules of this process, and run code of this package there."""
    path = [os.path.abspath(folder) for folder in sys.path]
    # The package's own first lines would load all of it, and pandas, of which a run of a member needs nothing.
    bare = (f"p = types.ModuleType('tarnvelde'); p.__path__ = [{os.path.dirname(os.path.abspath(__file__))!r}]; "
            "sys.modules['tarnvelde'] = p")
    return [sys.executable or "python3", "-c", f"import sys, types; sys.path[:] = {path!r}; {bare}; {code}"]


class _Process:
    """A process that runs members that it is handed, in their order."""

    def __init__(self, arrivals: queue.SimpleQueue[Tuple[_Process, List[bytes]]]) -> None:
        self.assigned: Deque[Task] = deque()  # the first of which runs, or has ended just now
        self.begun = time.monotonic()  # the first one
        self.is_ready = False
        self.is_killed = False  # by us
        self.errors = tempfile.TemporaryFile()
        # The libraries for linear algebra shouldn't start threads of their own beside as many processes as cores.
        environment = {**os.environ, "OPENBLAS_NUM_THREADS": "1", "OMP_NUM_THREADS": "1", "MKL_NUM_THREADS": "1"}
        self.popen = subprocess.Popen(
            start_words("from tarnvelde.ensemble_worker import serve; serve()"), stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=self.errors, env=environment)
        self._thread = threading.Thread(target=self._listen, args=(arrivals,), daemon=True)
        self._thread.start()

    def _listen(self, arrivals: queue.SimpleQueue[Tuple[_Process, List[bytes]]]) -> None:
        """Hands on whole lines, as many at once as there are, and none at the end."""
        assert self.popen.stdout is not None
        rest = b""
        try:
            for data in iter(lambda: os.read(self.popen.stdout.fileno(), 1 << 16), b""):  # type: ignore[union-attr]
                *lines, rest = (rest + data).split(b"\n")
                if lines:
                    arrivals.put((self, lines))
        except (OSError, ValueError):
            pass
        arrivals.put((self, []))

    def send(self, tasks: Sequence[Task]) -> None:
        """Hands members over, all at once: each time the process wakes up to listen. Those that can't be sent any more
        are lost with the process, which is seen soon."""
        if not self.assigned:
            self.begun = time.monotonic()
        self.assigned.extend(tasks)
        assert self.popen.stdin is not None
        try:
            self.popen.stdin.write("".join(json.dumps(task) + "\n" for task in tasks).encode())
            self.popen.stdin.flush()
        except OSError:
            pass

    def ask_to_end(self, is_killed: bool) -> None:
        """Ends the process, or has it end by itself."""
        if is_killed:
            self.popen.kill()
        try:
            assert self.popen.stdin is not None
            self.popen.stdin.close()
        except OSError:
            pass

    def end(self) -> None:
        """Waits for the process, and gives back what it had."""
        self.popen.wait()
        self._thread.join()
        assert self.popen.stdout is not None
        self.popen.stdout.close()
        self.errors.close()

    def last_words(self) -> str:
        """What the process told ahead of its end."""
        self.errors.seek(0)
        return self.errors.read().decode("utf-8", "replace").strip()

    def way_of_end(self) -> str:
        """How the process ended, in words."""
        code = self.popen.wait()
        if code >= 0:  # Windows has large ones for faults, which are known by their hexadecimal digits
            return f"its process ended with status {code if code < 256 else hex(code)}"
        import signal

        try:
            return f"its process was ended by {signal.Signals(-code).name}"
        except ValueError:
            return f"its process was ended by signal {-code}"


class Pool:
    """Members in processes, which start at once and take their time to it. A member that its process is lost with is
    tried once more, on its own, when all others have ended: maybe there was no memory for so many at once. Leaving the
    pool ends its processes."""

    def __init__(self, jobs: int) -> None:
        self._waiting: Deque[Task] = deque()
        self._alone: Deque[Task] = deque()
        self._lost: Dict[str, str] = {}  # how processes of members were lost
        self._jobs = jobs
        self._keeper = Keeper(None, None)
        self._before: Mapping[str, Outcome] = {}
        self._arrivals: queue.SimpleQueue[Tuple[_Process, List[bytes]]] = queue.SimpleQueue()
        self._processes: List[_Process] = []
        self._failed_starts = 0
        self._ended = 0
        self._seconds = 0.0
        self._is_over = False

    def __enter__(self) -> Pool:
        try:
            self._start(self._jobs)
        except BaseException:
            self._end()
            raise
        return self

    def __exit__(self, kind: Any, error: Any, trace: Any) -> None:
        self._end()

    def _end(self) -> None:
        for process in self._processes:
            process.ask_to_end(not self._is_over)
        for process in self._processes:
            process.end()

    def run(self, tasks: Sequence[Task], keeper: Keeper, before: Mapping[str, Outcome]) -> None:
        """Runs members. before: the outcomes that some of them have left ahead of this run. RunError if no process can
        be started."""
        self._waiting.extend(tasks)
        self._keeper = keeper
        self._before = before
        while self._waiting or self._alone or any(process.assigned for process in self._processes):
            busy = sum(1 for process in self._processes if process.assigned)
            self._start(min(self._jobs, max(1, busy + len(self._waiting))))
            self._hand_out()
            try:
                self._arrive(*self._arrivals.get(timeout=0.2))
            except queue.Empty:
                pass
            self._stop_late()
            self._keeper.tick()
        self._is_over = True

    def _start(self, wanted: int) -> None:
        """Keeps so many processes at least."""
        while len(self._processes) < wanted:
            self._processes.append(_Process(self._arrivals))

    def _hand_out(self) -> None:
        # Behind a short run others wait at its process already; a long one would keep them from an idle process.
        ready = [process for process in self._processes if process.is_ready]
        for process in sorted(ready, key=lambda one: len(one.assigned)):
            # A share of what is left alone, so that all processes end together.
            depth = min(self._depth(), 1 + len(self._waiting) // (2 * self._jobs))
            if self._waiting and len(process.assigned) <= depth // 2:
                count = min(depth - len(process.assigned), len(self._waiting))
                tasks = [self._waiting.popleft() for _ in range(count)]
                process.send(tasks)
                for task in tasks:
                    self._keeper.begin(task["name"])
        if not self._waiting and self._alone and ready and not any(process.assigned for process in self._processes):
            ready[0].send([self._alone.popleft()])

    def _depth(self) -> int:
        """How many members a process is given at once."""
        if not self._ended:
            return 1
        return 1 + min(_MOST_AHEAD, int(_AHEAD_SECONDS * self._ended / max(self._seconds, 1e-9)))

    def _arrive(self, process: _Process, lines: List[bytes]) -> None:
        if not lines:
            self._lose(process)
        for line in lines:
            if process.is_ready:
                self._take(process, read_line(line))
            process.is_ready = True
            self._failed_starts = 0

    def _take(self, process: _Process, outcome: Outcome) -> None:
        """The first member of a process has ended."""
        process.assigned.popleft()
        process.begun = time.monotonic()
        self._ended += 1
        self._seconds += outcome["seconds"]
        self._keeper.take(outcome)

    def _take_untold(self, process: _Process) -> None:
        """Takes the members that a process has ended, and told nobody of, before it was lost itself."""
        while process.assigned:
            task = process.assigned[0]
            found = read_outcome(Path(task["folder"]), task["hash"])
            if (found is None or found["name"] != task["name"] or found.get("token") != task.get("token", "")
                    or found == self._before.get(task["name"])):
                break
            self._take(process, found)

    def _lose(self, process: _Process) -> None:
        """A process has ended, and with it the first of its members that has no outcome."""
        self._processes.remove(process)
        how, words = process.way_of_end(), process.last_words()
        process.ask_to_end(False)
        process.end()
        if not process.is_ready:
            self._failed_starts += 1
            if self._failed_starts >= 3:
                raise RunError("processes for members can't be started: " + (words or how))
        begun = process.begun
        self._take_untold(process)
        lost = list(process.assigned)
        process.assigned.clear()
        self._waiting.extendleft(reversed(lost[1:]))
        for task in lost[:1]:
            seconds = time.monotonic() - begun
            if process.is_killed:
                late = f"killed after {seconds:.0f} s: it didn't stop when its time was up"
                self._keeper.take(kill_member(task, late, seconds, words))
            elif task["name"] in self._lost:
                both = f"{how}; {self._lost[task['name']]} the first time"
                self._keeper.take(kill_member(task, both, seconds, words))
            else:
                self._lost[task["name"]] = how
                self._alone.append(task)

    def _stop_late(self) -> None:
        """Kills processes whose members don't stop by themselves when their time is up."""
        for process in self._processes:
            limit = process.assigned[0]["timeout"] if process.assigned else None
            if limit is not None and time.monotonic() > process.begun + limit + _GRACE_SECONDS:
                process.is_killed = True
                process.popen.kill()


def run_pool(tasks: Sequence[Task], jobs: int, keeper: Keeper) -> None:
    """Runs members in processes of this machine. RunError if no process can be started."""
    if tasks:
        with Pool(min(jobs, len(tasks))) as pool:
            pool.run(tasks, keeper, {})
