"""The catalogue of an ensemble: a SQLite database of its members and their outcomes, and the lock of its folder.

What counts is the outcome.json of each member; the catalogue is what was read there, so that many can be looked at at
once. It is written by one process alone.
"""
from __future__ import annotations

import contextlib
import json
import os
import sqlite3
import sys
from pathlib import Path
from typing import Any, Iterable, Iterator, List, Mapping, Optional, Tuple
from urllib.parse import quote

from .ensemble_members import Table, Task
from .ensemble_worker import Outcome
from .errors import ResultsError, RunError

FILE, LOCK = "catalogue.db", "lock"
FORM = "1"

_TABLES = """
create table if not exists settings (name text primary key, value text);
create table if not exists members (
    name text primary key, position integer, row text, hash text, outcome text, code integer, message text,
    messages text, seconds real, run_seconds real, place text,
    printed text);
"""


class Lock:
    """Holds a folder for one process: the system gives it back, however the process ends."""

    def __init__(self, folder: Path) -> None:
        self._file = open(folder / LOCK, "a+b")
        try:
            _lock(self._file.fileno())
        except OSError:
            self._file.close()
            raise RunError(f"{folder} is worked on by another process, or another thread: "
                           "an ensemble is run by one at a time") from None

    def release(self) -> None:
        """Gives the folder back."""
        self._file.close()


def _lock(file: int) -> None:
    if sys.platform == "win32":
        import msvcrt

        msvcrt.locking(file, msvcrt.LK_NBLCK, 1)
    else:
        import fcntl

        fcntl.flock(file, fcntl.LOCK_EX | fcntl.LOCK_NB)


class Catalogue:
    """The catalogue in a folder: opened to be read alone, or made and written."""

    def __init__(self, folder: Path, is_written: bool) -> None:
        self.folder = folder
        self.path = folder / FILE
        if not is_written and not self.path.exists():
            raise FileNotFoundError(f"there is no ensemble in {folder}: it has no {FILE}")
        # a reader too has to put back what a killed writer left half done
        mode = "rwc" if is_written else "rw"
        address = f"file:{quote(str(self.path.absolute()))}?mode={mode}"
        self._connection: Optional[sqlite3.Connection] = None
        try:
            self._connection = sqlite3.connect(address, uri=True, timeout=60.0, check_same_thread=False)
            if is_written:
                self._connection.execute("pragma synchronous = normal")  # outcome.json is what counts
                self._connection.executescript(_TABLES)
            found = self._connection.execute("select value from settings where name = 'form'").fetchall()
            form = json.loads(found[0][0]) if found else FORM
        except (sqlite3.Error, ValueError) as error:
            self.close()
            raise ResultsError(f"{self.path} is no catalogue of an ensemble: {error}") from None
        if form != FORM:
            self.close()
            raise ResultsError(f"{self.path} is of another version")

    def close(self) -> None:
        """Gives the file back."""
        if self._connection is not None:
            self._connection.close()
            self._connection = None

    def __enter__(self) -> Catalogue:
        return self

    def __exit__(self, kind: Any, error: Any, trace: Any) -> None:
        self.close()

    def _ask(self, statement: str, *values: Any) -> List[Tuple[Any, ...]]:
        assert self._connection is not None
        try:
            return self._connection.execute(statement, values).fetchall()
        except sqlite3.Error as error:
            raise ResultsError(f"{self.path} can't be read: {error}") from None

    @contextlib.contextmanager
    def _change(self) -> Iterator[sqlite3.Connection]:
        """The connection, for changes that are made as a whole or not at all. RunError if they can't be."""
        assert self._connection is not None
        try:
            with self._connection as connection:
                yield connection
        except sqlite3.Error as error:
            raise RunError(f"{self.path} can't be written: {error}. What is done counts: the next call goes on "
                           "from there") from None

    # --- settings ----------------------------------------------------------------------------------------------------

    def setting(self, name: str, otherwise: Any = None) -> Any:
        """What is kept under a name."""
        found = self._ask("select value from settings where name = ?", name)
        return json.loads(found[0][0]) if found else otherwise

    def keep_settings(self, values: Mapping[str, Any]) -> None:
        """Keeps values under their names."""
        with self._change() as connection:
            connection.executemany("insert or replace into settings values (?, ?)",
                                   [(name, json.dumps(value)) for name, value in values.items()])

    # --- members -----------------------------------------------------------------------------------------------------

    def plan(self, table: Table, tasks: Iterable[Task], known: Mapping[str, Outcome]) -> None:
        """Takes a table of members over, with the outcomes that are known. Members of a table before keep their rows,
        without a position, and their folders: a table that names them again finds them."""
        self.keep_settings({"form": FORM, "columns": table.columns})
        with self._change() as connection:
            connection.execute("update members set position = null")
            connection.executemany(
                "insert or replace into members (name, position, row, hash) values (?, ?, ?, ?)",
                [(task["name"], number, json.dumps(table.rows[task["name"]]), task["hash"])
                 for number, task in enumerate(tasks)])
            connection.execute("update members set outcome = 'waiting', code = 0, message = '', messages = '[]', "
                               "seconds = 0, run_seconds = 0, place = '', printed = '' "
                               "where position is not null")
        self.write(known.values(), ())

    def write(self, outcomes: Iterable[Outcome], begun: Iterable[str]) -> None:
        """Takes outcomes, and members that have begun, in one go."""
        with self._change() as connection:
            connection.executemany("update members set outcome = 'running' where name = ?", [(name,) for name in begun])
            connection.executemany(
                "update members set outcome = ?, code = ?, message = ?, messages = ?, seconds = ?, run_seconds = ?, "
                "place = ?, printed = ? where name = ?",
                [(found["outcome"], found["code"], found["message"], _as_json(found["messages"]), found["seconds"],
                  found.get("run_seconds", 0.0), found["place"], found["printed"], found["name"])
                 for found in outcomes])

    def end(self) -> None:
        """Nothing runs any more."""
        with self._change() as connection:
            connection.execute("update members set outcome = 'waiting' where outcome = 'running'")

    def find(self, name: str, column: str) -> Any:
        """A column of one member; None if the table doesn't have it."""
        found = self._ask(f"select {column} from members where name = ? and position is not null", name)
        return found[0][0] if found else None

    def rows(self, *columns: str) -> Iterator[Tuple[Any, ...]]:
        """Columns of the members of the table, in its order."""
        return iter(self._ask(f"select {', '.join(columns)} from members where position is not null "
                              "order by position"))


def _as_json(messages: Any) -> str:
    """Messages as JSON, which some are already."""
    return messages if isinstance(messages, str) else json.dumps(messages)


def make_folder(out: Path) -> None:
    """Makes the folder of an ensemble. NotADirectoryError where a file stands."""
    try:
        os.makedirs(out / "members", exist_ok=True)
    except FileExistsError:
        raise NotADirectoryError(f"{out} is no folder") from None
