"""Runs one member of an ensemble: in this process, or as the process that a pool hands members to, line by line.

A member's folder has what was kept of its run, and outcome.json, which is written last and has the totals of the run; a
log.txt where it failed or printed something. A folder without outcome.json, with a part of it, or with that of another
hash, holds nothing that is believed.
A run may take milliseconds, and a file that is made a good part of one: there are no more of them than are needed. For
the same reason the process of a pool loads neither numpy nor pandas, and tells of short runs in lots.
"""
from __future__ import annotations

import contextlib
import json
import math
import os
import sys
import threading
import time
from collections import deque
from pathlib import Path
from typing import Any, Callable, Deque, Dict, List, Mapping, Optional, Tuple

from ._balance import CAUSES, COLUMNS, rows_of
from ._dates import text_of_days
from ._driving import Columns, assign, run_to_end, total_columns
from ._header import Level, Phase, Severity
from ._library import library
from ._places import Source
from .errors import LibraryError, ResultsError, TarnveldeError
from .messages import Message, message_of
from .model import Model

Outcome = Dict[str, Any]
"""How a member ended, as outcome.json has it: name, hash, outcome ("done", "failed", "killed", or "suspect" of one
whose process was lost and that is to be tried on its own), code, message, messages, seconds in all, run_seconds in the
engine, place: the machine, files with their sizes, printed: what the process printed meanwhile. On its way into the
catalogue the messages are JSON already."""

_LOOK_SECONDS = 1.0  # between two looks at whether a run is still wanted
_LOT_SECONDS = 0.1  # that outcomes of short runs wait for each other
OUTCOME, BEGUN, LOG = "outcome.json", "begun.json", "log.txt"


class _TimeUp(TarnveldeError):
    """A run has taken longer than it may."""


class _Superseded(TarnveldeError):
    """The call that wanted a run is over, or another one has begun: nobody waits for it."""


class _QuietModel(Model):
    """A model whose warnings are kept among its messages alone: Python's filters are those of the whole process. Their
    dates are text."""

    def _tell(self) -> None:
        pass

    def _message_of(self, raw: Any) -> Message:
        return message_of(raw, text_of_days)


# --- one member ------------------------------------------------------------------------------------------------------

def run_member(task: Mapping[str, Any]) -> Outcome:
    """Runs a member and writes its folder. Whatever goes wrong with it is its outcome; KeyboardInterrupt passes."""
    return _run_member(task)[0]


def _run_member(task: Mapping[str, Any], printed: Optional[Callable[[], str]] = None,
                hear: Optional[Callable[[], None]] = None) -> Tuple[Outcome, str]:
    """The outcome, and the line that has it. printed: tells what was printed in this process meanwhile, for the log.
    hear: called some times a second."""
    folder = task["folder"]
    begin = time.perf_counter()
    outcome = new_outcome(task, "failed")
    trace = totals = ""
    try:
        _clear(folder)
        if "token" in task:
            _write(f"{folder}/{BEGUN}", json.dumps({"token": task["token"]}))
        run, failure = _simulate(task, folder, hear)
        outcome["messages"] = [plain_message(message) for message in run.messages]
        outcome["run_seconds"] = run.wall_time
        writing = time.perf_counter()
        totals = _json_of_totals(run.totals)
        outcome["run_seconds"] += time.perf_counter() - writing
        if failure is None:
            outcome["outcome"] = "done"
        else:
            raise failure
        _look_for_guard(task)
    except _Superseded as error:
        outcome = new_outcome(task, "suspect", str(error))
        return outcome, "\t".join(_pieces(outcome))
    except _TimeUp as error:
        outcome.update(outcome="killed", message=str(error))
    except TarnveldeError as error:
        messages = outcome["messages"] or [plain_message(message) for message in error.messages]
        outcome.update(code=int(error.code), message=str(error), messages=messages)
    except Exception as error:  # a full disk, no memory: this member alone
        import traceback

        outcome["message"] = f"{type(error).__name__}: {error}"
        trace = traceback.format_exc()
    outcome["seconds"] = time.perf_counter() - begin
    try:
        outcome["printed"] = (printed() if printed is not None else "") + trace
        return outcome, finish(task, outcome, totals)
    except OSError as error:
        outcome.update(outcome="failed", message=outcome["message"] or f"{type(error).__name__}: {error}")
        return outcome, "\t".join(_pieces(outcome))


def new_outcome(task: Mapping[str, Any], kind: str, message: str = "") -> Outcome:
    """An outcome as a run begins."""
    return {"name": task["name"], "hash": task["hash"], "outcome": kind, "code": 0, "message": message, "messages": [],
            "seconds": 0.0, "run_seconds": 0.0, "place": _machine(), "token": task.get("token", ""), "files": {},
            "printed": ""}


def _machine() -> str:
    """The name of this machine."""
    if hasattr(os, "uname"):
        return os.uname().nodename
    import platform

    return platform.node()


def finish(task: Mapping[str, Any], outcome: Outcome, totals: str = "") -> str:
    """Writes log.txt, if there is something to tell, and outcome.json, which counts as soon as it is whole; the line
    that has the outcome. totals: of the run, as JSON. FileNotFoundError without the folder."""
    folder = task["folder"]
    _write_log(folder, outcome)
    for name in kept_files(task).values():
        try:
            outcome["files"][name] = os.stat(f"{folder}/{name}").st_size
        except FileNotFoundError:
            pass
    plain, messages = _pieces(outcome)
    _write(f"{folder}/{OUTCOME}", f'{plain[:-1]}, "messages": {messages}, "totals": {totals or "null"}}}')
    if "token" in task:
        Path(folder, BEGUN).unlink(missing_ok=True)
    return f"{plain}\t{messages}"


def _pieces(outcome: Outcome) -> Tuple[str, str]:
    """An outcome without its messages, and these, as JSON. In a line of both a tab stands between them."""
    return (json.dumps({word: value for word, value in outcome.items() if word != "messages"}),
            json.dumps(outcome["messages"]))


def read_line(line: bytes) -> Outcome:
    """The outcome of such a line, with its messages as JSON: the catalogue takes them as they are."""
    plain, _, messages = line.decode().partition("\t")
    found = json.loads(plain)
    found["messages"] = messages
    return dict(found)


def kept_files(task: Mapping[str, Any]) -> Dict[str, str]:
    """Names of the files that a member's run leaves, by use."""
    keep = task["keep"]
    files = {"report": "model.rpt"} if "report" in keep else {}
    if task["results"] is not None:
        files.update({"database": "model.db"} if task["results"] == "database" else {"results": "model.bin"})
    if "state" in keep:
        files["state"] = "model.sti"
    return files


def read_outcome(folder: Path, fingerprint: str) -> Optional[Outcome]:
    """The outcome in a folder, if it is that of this hash and its files are there in full."""
    try:
        with open(folder / OUTCOME, encoding="utf-8") as file:
            found = json.load(file)
        if found["hash"] != fingerprint or found["outcome"] not in ("done", "failed", "killed"):
            return None
        for name, size in found["files"].items():
            if found["outcome"] == "done" and os.stat(folder / name).st_size != size:
                return None
        totals = found.pop("totals")
        if found["outcome"] == "done" and not totals["totals"]:
            return None
        [found[word] for word in ("name", "code", "message", "messages", "seconds", "place", "printed")]
        return dict(found)
    except (OSError, ValueError, KeyError, TypeError, AttributeError):
        return None


def has_begun(task: Mapping[str, Any]) -> bool:
    """Whether a process has begun with this task before, and was lost."""
    try:
        return bool(json.loads((Path(task["folder"]) / BEGUN).read_text("utf-8"))["token"] == task["token"])
    except (OSError, ValueError, KeyError, TypeError):
        return False


def run_once(task: Mapping[str, Any]) -> Outcome:
    """Runs a member that carries a token, unless a process was lost with it before: then it is "suspect"."""
    if has_begun(task):
        return new_outcome(task, "suspect", "the process that ran it was lost")
    return run_member(task)


def _clear(folder: str) -> None:
    """Makes the folder, or takes away what a run before has left there: what it says of itself first."""
    try:
        os.mkdir(folder)
        return
    except FileNotFoundError:
        os.makedirs(folder)
        return
    except FileExistsError:
        names = set(os.listdir(folder))
    for name in sorted(names & {OUTCOME, BEGUN}) + sorted(names - {OUTCOME, BEGUN}):
        if name == LOG or name.startswith(("model.", OUTCOME, BEGUN)):
            os.unlink(f"{folder}/{name}")


def _write(path: str, text: str) -> None:
    """Writes a file at once: past the layers of an open one, each of which takes its time."""
    rest = memoryview(text.encode("utf-8", "backslashreplace"))
    file = os.open(path, os.O_WRONLY | os.O_CREAT | os.O_TRUNC | getattr(os, "O_BINARY", 0), 0o666)
    try:
        while rest:
            rest = rest[os.write(file, rest):]
    finally:
        os.close(file)


def log_of(kind: str, message: str, messages: List[Dict[str, Any]], printed: str) -> str:
    """The log of a member: how it ended, what the engine said, what was printed."""
    lines = [kind + (f": {message}" if message else "")]
    lines += [f"{one['level']}: {one['place']}" for one in messages]
    return "\n".join(lines) + "\n" + printed


def _write_log(folder: str, outcome: Outcome) -> None:
    """Writes log.txt, of a member of which there is more to tell than how it ended and what the engine said."""
    if outcome["outcome"] != "done" or outcome["printed"]:
        _write(f"{folder}/{LOG}", log_of(*(outcome[word] for word in ("outcome", "message", "messages", "printed"))))


# --- its run ---------------------------------------------------------------------------------------------------------

class _Run:
    """What is known of a run."""

    def __init__(self) -> None:
        self.messages: Tuple[Message, ...] = ()
        self.totals: Dict[str, Any] = {}
        self.steps = 0
        self.wall_time = 0.0


def _simulate(task: Mapping[str, Any], folder: str,
              hear: Optional[Callable[[], None]]) -> Tuple[_Run, Optional[BaseException]]:
    """The run of a member, with what ended it ahead of its end."""
    begin = time.perf_counter()
    source = _source_of(task, Path(folder))
    files = {use: f"{folder}/{name}" for use, name in kept_files(task).items()}
    done = _Run()
    failure: Optional[BaseException] = None
    with _QuietModel(source, report=files.get("report"), engines=task["engines"], threads=task["threads"]) as model:
        try:
            _assign(model, task["settings"])
            model.start(files.get("results"), files.get("database"))
            if "load_state" in task:
                model.restore(task["load_state"])
            if "hot_start" in task:
                model.hot_start(task["hot_start"])
            done.steps = run_to_end(model, task.get("until"), _watch(task, hear))
        except TarnveldeError as error:
            failure = error
        if model.phase in (Phase.STARTED, Phase.FINISHED, Phase.FAILED):
            failure = _look(model, done, failure, files.get("state"))
            if "report" in files:
                model.write_report()
            model.end()
        done.messages = tuple(model.messages())
    done.wall_time = time.perf_counter() - begin
    return done, failure


def _look(model: Model, done: _Run, failure: Optional[BaseException], state: Optional[str]) -> Optional[BaseException]:
    """Takes what is to be known of a run before it ends; what went wrong first."""
    try:
        done.totals = plain_totals(model, done.steps, failure is None)
        if state is not None and failure is None:
            code = model._try("tv_saveStateFile", os.fsencode(state))
            if code:
                raise model._error(code, f"cannot save the state {state}")
    except TarnveldeError as error:
        return failure or error
    return failure


def _assign(model: Model, settings: Mapping[str, float]) -> None:
    """Sets the parameters of a member; an error names the column."""
    for place, value in settings.items():
        try:
            assign(model, {place: value})
        except TarnveldeError as error:
            raise type(error)(f"{place} = {value:g}: {error}", error.code, error.messages) from None


def _source_of(task: Mapping[str, Any], folder: Path) -> Source:
    """The project of a member. A text of its own is written for whoever wants to run it again."""
    if "path" in task:
        return Source(Path(task["path"]), b"", None, task["path"])
    if "text" in task:
        data = task["text"].encode("utf-8", "surrogateescape")
        path = folder / "model.inp"
        with open(path, "wb") as file:
            file.write(data)
    else:
        path = folder.parent.parent / task["shared"]
        data = path.read_bytes()
    return Source(None, data, Path(task["source"]), str(path))


def _watch(task: Mapping[str, Any], hear: Optional[Callable[[], None]]) -> Optional[Callable[[Any], None]]:
    """Called some times a second: ends a run that takes too long, with files that are whole so far, or that nobody
    waits for."""
    timeout = task["timeout"]
    if timeout is None and "guard" not in task and hear is None:
        return None
    begin = time.monotonic()
    looked = [begin]

    def look(clock: Any) -> None:
        now = time.monotonic()
        if hear is not None:
            hear()
        if timeout is not None and now > begin + timeout:
            raise _TimeUp(f"stopped after {timeout:g} s, {100.0 * clock.progress:.0f} % of its run done")
        if now > looked[0] + _LOOK_SECONDS:
            looked[0] = now
            _look_for_guard(task)

    return look


def _look_for_guard(task: Mapping[str, Any]) -> None:
    """Whether the call that wanted this run is still the one that counts: a worker elsewhere isn't stopped with it."""
    if "guard" in task and not os.path.exists(task["guard"]):
        raise _Superseded("the call that wanted it is over")


def plain_message(message: Message) -> Dict[str, Any]:
    """A message as JSON takes it; `place` is how it reads."""
    return {"level": Level(message.level).name.lower(), "code": message.code, "name": message.name,
            "text": message.text, "section": message.section, "line": message.line, "words": message.words,
            "object": message.object, "severity": Severity(message.severity).name.lower(),
            "effect": message.effect, "advice": message.advice,
            "date": None if message.date is None else str(message.date), "place": str(message)}


def plain_totals(model: Model, steps: int, is_good: bool) -> Dict[str, Any]:
    """Totals and balances of a run as JSON takes them; to their last bit, since Python writes as many digits."""
    found = {word: {"ids": columns.ids, "columns": columns.titles, "units": columns.units,
                    "values": _plain_values(columns)} for word, columns in total_columns(model).items()}
    rows, causes = rows_of(model)
    clock = model._clock()
    return {"totals": found, "balance": _plain_rows(rows, COLUMNS), "causes": _plain_rows(causes, CAUSES),
            "start": text_of_days(clock.start), "now": text_of_days(clock.now),
            "is_complete": is_good and model.phase == Phase.FINISHED, "steps": steps}


_heads: Dict[str, Tuple[Dict[str, Any], str]] = {}  # of the member before, which are mostly those of the next one too


def _json_of_totals(totals: Mapping[str, Any]) -> str:
    """Plain totals as JSON. Of those of a class, only the values are written out for each member anew."""
    if not totals:
        return ""
    pieces = []
    for word, plain in totals["totals"].items():
        head = {name: value for name, value in plain.items() if name != "values"}
        known = _heads.get(word)
        if known is None or known[0] != head:
            known = _heads[word] = (head, json.dumps(head)[:-1])
        pieces.append(f'"{word}": {known[1]}, "values": {json.dumps(plain["values"])}}}')
    rest = json.dumps({name: value for name, value in totals.items() if name != "totals"})
    return f'{{"totals": {{{", ".join(pieces)}}}, {rest[1:]}'


def _plain_number(value: Any) -> Any:
    if isinstance(value, float) and not math.isfinite(value):
        return None if math.isnan(value) else repr(value)
    return value


def _plain_values(columns: Columns) -> List[List[Any]]:
    """A row for each ID."""
    count, values = len(columns.ids), columns.values
    rows = [values[row::count].tolist() for row in range(count)]
    if math.isfinite(sum(values)):
        return rows
    return [[value if math.isfinite(value) else _plain_number(value) for value in row] for row in rows]


def _plain_rows(rows: List[Dict[str, Any]], columns: List[str]) -> Dict[str, Any]:
    return {"columns": columns, "rows": [[_plain_number(row[column]) for column in columns] for row in rows]}


def read_totals(folder: Path) -> Dict[str, Any]:
    """Totals of a member that is done: frames by word, with "balance" and "causes" among them. ResultsError if they
    are gone or damaged."""
    path = folder / OUTCOME
    try:
        with open(path, encoding="utf-8") as file:
            return _frames_of_totals(json.load(file)["totals"])
    except FileNotFoundError:
        raise ResultsError(f"there is no {path} any more: delete {folder}, and the next call runs the member again"
                           ) from None
    except (ValueError, KeyError, TypeError, AttributeError) as error:
        raise ResultsError(f"{path} is damaged: delete {folder}, and the next call runs the member again") from error


def _frames_of_totals(given: Any) -> Dict[str, Any]:
    import numpy as np
    import pandas as pd

    found: Dict[str, Any] = {}
    for word, plain in given["totals"].items():
        values = np.array(plain["values"], dtype=np.float64).reshape(len(plain["ids"]), len(plain["columns"]))
        found[word] = pd.DataFrame(values, index=pd.Index(plain["ids"], name="id"), columns=plain["columns"])
        found[word].attrs["units"] = plain["units"]
    for word in ("balance", "causes"):
        found[word] = pd.DataFrame(given[word]["rows"], columns=given[word]["columns"])
        for column in set(found[word].columns) & {"in", "missing", "error", "share"}:
            found[word][column] = found[word][column].astype(np.float64)
    return found


# --- the process of a pool -------------------------------------------------------------------------------------------

class _Queue:
    """Members that a process is to run, as they come in."""

    def __init__(self) -> None:
        self.lines: Deque[str] = deque()
        self.arrived = threading.Semaphore(0)
        self.is_busy = False

    def put(self, line: str) -> None:
        self.lines.append(line)
        self.arrived.release()

    def get(self) -> str:
        self.is_busy = False
        self.arrived.acquire()
        self.is_busy = True
        return self.lines.popleft()


class _Lot:
    """Lines on their way to the parent, which wakes up for each writing."""

    def __init__(self, file: int) -> None:
        self._file = file
        self._lines: List[str] = []
        self._next = 0.0

    def add(self, line: str) -> None:
        """A line, which goes with the next lot."""
        self._lines.append(line + "\n")

    def tick(self) -> None:
        """Called some times a second: sends what has waited for long enough."""
        if time.monotonic() >= self._next:
            self.send()

    def send(self) -> None:
        """Sends what there is."""
        rest = memoryview("".join(self._lines).encode("utf-8", "backslashreplace"))
        self._lines.clear()
        while rest:
            rest = rest[os.write(self._file, rest):]
        self._next = time.monotonic() + _LOT_SECONDS


def serve() -> None:
    """Takes members as lines of JSON from the standard input until it ends, and gives outcomes likewise to what was the
    standard output. What anything in the process prints goes to its standard error, which is a file that the parent
    has too, and from there to the log of the member. An end of the input in the midst of a run ends the process:
    nobody waits for it any more."""
    import faulthandler
    import gc
    import signal

    signal.signal(signal.SIGINT, signal.SIG_IGN)  # a key on the terminal is the parent's to hear
    faulthandler.enable()
    with contextlib.suppress(LibraryError):  # each member says so
        library()
    gc.freeze()  # what stays needn't be looked through again and again
    lot = _Lot(os.dup(1))
    os.dup2(2, 1)
    queue = _Queue()
    threading.Thread(target=_listen, args=(queue,), daemon=True).start()
    lot.add('{"ready": true}')
    while True:
        if not queue.lines:
            lot.send()
        given = queue.get()
        if not given:
            os._exit(0)  # all is written: the modules needn't be taken down one by one
        lot.add(_run_member(json.loads(given), _take_printed, lot.tick)[1])
        lot.tick()


def _listen(queue: _Queue) -> None:
    for line in sys.stdin:
        queue.put(line)
    if queue.is_busy or queue.lines:
        os._exit(1)
    queue.put("")


def _take_printed() -> str:
    """What was printed into the file of the standard error, which is emptied."""
    sys.stdout.flush()
    sys.stderr.flush()
    size = os.fstat(2).st_size
    if not size:
        return ""
    if hasattr(os, "pread"):
        printed = os.pread(2, size, 0)
    else:  # as on Windows
        os.lseek(2, 0, os.SEEK_SET)
        printed = os.read(2, size)
    os.ftruncate(2, 0)
    os.lseek(2, 0, os.SEEK_SET)
    return printed.decode("utf-8", "replace")
