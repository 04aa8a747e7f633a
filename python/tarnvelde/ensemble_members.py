"""The table of members, and what each of them is to run."""
from __future__ import annotations

import difflib
import hashlib
import json
import math
import numbers
import os
import re
from pathlib import Path
from typing import Any, Dict, List, Mapping, NamedTuple, Optional, Sequence, Set, Tuple, Union

import numpy as np
import pandas as pd

from ._dates import to_days
from ._engines import settle_engines
from ._groups import class_of_word
from ._library import version
from ._objects import CLASSES
from ._places import Source, count_of_threads, source_of
from ._quantities import PollutantQuantity, Quantity, quantities_of
from .ensemble_texts import Files, Text, files_of, fill, places_of, read_text, settle_files
from .errors import TarnveldeError, UnknownError, ValueRefused

Task = Dict[str, Any]
"""What a member is to run, as JSON takes it, so that it can go to any process and machine: name, folder, hash; path of
a project file, or text with its source folder; settings, until, hot_start, load_state; results, keep, engines, threads,
timeout."""

KEEPS = ("results", "report", "state")
_FORM = 1  # of what is hashed and of outcome.json
_PLAIN = ("until", "hot_start", "load_state", "seed")
_NAME = re.compile(r"[A-Za-z0-9_-](?:[A-Za-z0-9_.-]*[A-Za-z0-9_-])?\Z", re.ASCII)
_LONGEST = 200
_DEVICES = {"con", "prn", "aux", "nul"} | {f"{port}{n}" for port in ("com", "lpt") for n in range(1, 10)}


class Table(NamedTuple):
    """Members by name, each with its cells by column, of which empty ones are None. folder: that of the table."""

    columns: List[str]
    rows: Dict[str, Dict[str, Any]]
    folder: Optional[Path]


class Options(NamedTuple):
    """What is the same for all members."""

    results: Optional[str]
    keep: Tuple[str, ...]
    engines: Union[None, str, List[str]]
    threads: int
    timeout: Optional[float]


# --- the table -------------------------------------------------------------------------------------------------------

def read_table(members: Any) -> Table:
    """The members of a DataFrame or of a CSV file. ValueRefused for names and cells that can't be, UnknownError for
    columns that mean nothing."""
    folder: Optional[Path] = None
    if isinstance(members, (str, os.PathLike)):
        folder = Path(members).absolute().parent
        members = _read_csv(Path(members))
    if not isinstance(members, pd.DataFrame):
        raise TypeError(f"members are a DataFrame or the path of a CSV file, not {type(members).__name__}")
    if "member" in members.columns:
        members = members.set_index("member")
    columns = [str(column) for column in members.columns]
    twice = sorted({column for column in columns if columns.count(column) > 1})
    if twice:
        raise ValueRefused(f'members: there are several columns "{twice[0]}"')
    for column in columns:
        _check_column(column)
    names = _names_of(members.index)
    cells = {column: [_cell(value, name, column) for value, name in zip(members.iloc[:, number], names)]
             for number, column in enumerate(columns)}
    return Table(columns, {name: {column: cells[column][row] for column in columns}
                           for row, name in enumerate(names)}, folder)


def _read_csv(path: Path) -> pd.DataFrame:
    """The cells as text. The head is read as a row: pandas would give columns of one name other names, and shift rows
    that are longer than it."""
    try:
        rows = pd.read_csv(path, header=None, dtype=str, keep_default_na=False, skipinitialspace=True,
                           encoding="utf-8-sig")
        head = [name if isinstance(name, str) else "" for name in rows.iloc[0]]
        if len(head) == 1 and (";" in head[0] or "\t" in head[0]):
            raise ValueRefused(f'{path} can\'t be read: commas must separate its columns, not "{head[0]}"')
        return rows.iloc[1:].set_axis(head, axis=1).reset_index(drop=True)
    except (FileNotFoundError, ValueRefused):
        raise
    except (ValueError, OSError) as error:  # of pandas: no columns, lines of different lengths
        raise ValueRefused(f"{path} can't be read: {error}") from None


def _names_of(index: pd.Index) -> List[str]:
    names: List[str] = []
    folded: Dict[str, str] = {}
    for row, value in enumerate(index):
        if isinstance(value, numbers.Integral) and not isinstance(value, bool):
            name = f"{int(value):04d}"
        elif isinstance(value, str):
            name = value
        else:
            raise ValueRefused(f"members, row {row + 1}: {value!r} is no name: names are text")
        if not _NAME.match(name) or len(name) > _LONGEST or name.lower().split(".")[0] in _DEVICES:
            raise ValueRefused(f'members, row {row + 1}: "{name}" can\'t name a member: names have letters from A to '
                               f'Z, digits, "-", "_" and ".", {_LONGEST} at most, no point at an end; none is a device')
        other = folded.setdefault(name.lower(), name)
        if len(folded) == row:
            raise ValueRefused(f'members, row {row + 1}: there is "{other}" already'
                               + ("" if other == name else f', which is "{name}" where case doesn\'t count'))
        names.append(name)
    return names


def _check_column(column: str) -> None:
    """Whether a column means something, as far as that shows without a model."""
    if column in _PLAIN or re.match(r"file:.", column):
        return
    if re.match(r"\$\{[^{}\s]+\}\Z", column):
        return
    pieces = column.split("/")
    if len(pieces) < (2 if pieces[0] == "system" else 3):
        near = difflib.get_close_matches(column, _PLAIN, 1)
        hint = f': did you mean "{near[0]}"?' if near else ""
        if not hint:
            hint = f": write class/ID/variable, ${{NAME}}, file:NAME, or one of {', '.join(_PLAIN)}"
        raise UnknownError(f'members: a column "{column}" means nothing{hint}')
    key = class_of_word(pieces[0])
    kinds = [made for (object_class, kind), made in CLASSES.items() if object_class == key[0]
             and (key[1] < 0 or kind in (-1, key[1]))]
    is_known = any(isinstance(getattr(kind, pieces[-1], None), (Quantity, PollutantQuantity)) for kind in kinds)
    by_pollutant = len(pieces) > 3 and any(isinstance(getattr(kind, pieces[-2], None), PollutantQuantity)
                                           for kind in kinds)
    if not is_known and not by_pollutant:
        near = difflib.get_close_matches(pieces[-1], {name for kind in kinds for name in quantities_of(kind)}, 1)
        raise UnknownError(f'members: column "{column}": {pieces[0]} has no variable "{pieces[-1]}"'
                           + (f': did you mean "{near[0]}"?' if near else ""))


def _cell(value: Any, name: str, column: str) -> Any:
    """A cell as JSON takes it."""
    if isinstance(value, np.generic):
        value = pd.Timestamp(value) if isinstance(value, np.datetime64) else value.item()
    if value is None or value is pd.NaT or value is pd.NA or (isinstance(value, float) and math.isnan(value)):
        return None
    if isinstance(value, str):
        value = value.strip()
        if not value:
            return None
    elif hasattr(value, "isoformat"):
        value = str(value)
    elif isinstance(value, os.PathLike):
        value = os.fspath(value)
    place = f'member {name}, column "{column}"'
    if not isinstance(value, (str, bool, int, float)):
        raise ValueRefused(f"{place}: {value!r} is neither a number nor text")
    if column == "seed":
        return _integer(value, place)
    if column == "until":
        try:
            to_days(str(value))
        except ValueError as error:
            raise ValueRefused(f"{place}: {error}") from None
    if "/" in column and not column.startswith(("$", "file:")):
        try:
            return float(value)
        except ValueError:
            raise ValueRefused(f'{place}: "{value}" is no number') from None
    if isinstance(value, str) and any(mark in value for mark in "\n\r\0"):
        raise ValueRefused(f"{place}: text of more than one line")
    return value


def _integer(value: Any, place: str) -> int:
    try:
        whole = int(value)
        if isinstance(value, str) or whole == value:
            return whole
    except (ValueError, OverflowError):
        pass
    raise ValueRefused(f"{place}: {value} is no integer")


# --- the tasks -------------------------------------------------------------------------------------------------------

class _Project(NamedTuple):
    source: Source
    text: Text
    spots: Set[str]  # names of the places to fill
    fingerprint: str  # of the text as it stands


def make_tasks(project: Any, table: Table, out: Path, options: Options) -> List[Task]:
    """What each member is to run. Errors that show ahead of all runs are raised: ProjectError, ValueRefused,
    UnknownError, FileNotFoundError."""
    source = source_of(project)
    text = read_text(source)
    known = _Project(source, text, places_of(text.text), _fingerprint(text.text))
    _check_places(known, table)
    files = Files()
    plain = settle_files(text, {}, False)
    tasks = []
    for name, row in table.rows.items():
        try:
            tasks.append(_make_task(known, plain, table, name, row, files, options))
        except (TarnveldeError, OSError) as error:
            raise _at_member(error, name) from None
        tasks[-1]["folder"] = str(out / "members" / name)
    return tasks


def _at_member(error: Exception, name: str) -> Exception:
    if isinstance(error, TarnveldeError):
        return type(error)(f"member {name}: {error}", error.code, error.messages)
    return FileNotFoundError(f"member {name}: {error}")


def _check_places(known: _Project, table: Table) -> None:
    """Whether places and columns fit each other."""
    given = {column[2:-1] for column in table.columns if column.startswith("$")}
    if "seed" in table.columns:
        given.add("seed")
    spots = {spot.lstrip(".") for spot in known.spots}
    for name in sorted(given - spots - {"seed"}):
        raise UnknownError(f"{known.source.name} has no place ${{{name}}} to be filled")
    if "${seed}" in table.columns and "seed" not in spots:
        raise UnknownError(f"{known.source.name} has no place ${{seed}} to be filled")
    for spot in sorted(known.spots - given):
        if not spot.startswith("."):  # in a comment anything may stand
            raise ValueRefused(f"{known.source.name} has a place ${{{spot}}} that no column fills")
    named = {place.name for place in files_of(known.text.text)}
    for column in table.columns:
        if column.startswith("file:") and column[5:] not in named and not known.spots:
            near = difflib.get_close_matches(column[5:], named, 1)
            raise UnknownError(f'{known.source.name} reads no file "{column[5:]}"'
                               + (f': did you mean "{near[0]}"?' if near else ""))


def _make_task(known: _Project, plain: Any, table: Table, name: str, row: Mapping[str, Any], files: Files,
               options: Options) -> Task:
    values = _values_of(known, row)
    instead = {column[5:]: _find_input(str(cell), table, known.text.folder) for column, cell in row.items()
               if column.startswith("file:") and cell is not None}
    filled = fill(known.text.text, values) if values else known.text.text
    is_changed = bool(values or instead)
    if is_changed:
        text, named, used = settle_files(Text(filled, known.text.folder), instead, True)
        for column in sorted(set(instead) - used):
            raise UnknownError(f'the project reads no file "{column}"')
    else:
        text, named, _ = plain
        is_changed = text != known.text.text
    task: Task = {"name": name, "settings": {
        column: cell for column, cell in row.items()
        if "/" in column and not column.startswith(("$", "file:")) and cell is not None}}
    if is_changed:
        task.update(text=text, source=str(known.text.folder))
    elif known.source.path is None:
        task.update(shared="model.inp", source=str(known.text.folder))
    else:
        task.update(path=str(known.source.path.absolute()))
    for column in ("hot_start", "load_state"):
        if row.get(column) is not None:
            task[column] = str(_find_input(str(row[column]), table, known.text.folder))
    if row.get("until") is not None:
        task["until"] = str(row["until"])
    task.update(options._asdict(), keep=list(options.keep))
    fingerprint = known.fingerprint if filled is known.text.text else _fingerprint(filled)
    task["hash"] = _hash_of(task, fingerprint, named, row, files)
    return task


def _values_of(known: _Project, row: Mapping[str, Any]) -> Dict[str, str]:
    """What fills the places, by name."""
    values: Dict[str, str] = {}
    for column, cell in row.items():
        spot = "seed" if column == "seed" else column[2:-1] if column.startswith("$") else ""
        if not spot or (column == "seed" and not {"seed", ".seed"} & known.spots):
            continue
        if cell is None:
            if spot in known.spots:
                raise ValueRefused(f"the place ${{{spot}}} is left unfilled: its cell is empty")
            continue
        values[spot] = str(cell)
    return values


def _find_input(name: str, table: Table, folder: Path) -> Path:
    """A file of a cell: as it is named, else beside the table, else beside the project."""
    for path in (Path(name), *([table.folder / name] if table.folder is not None else []), folder / name):
        if path.is_file():
            return path.absolute()
    raise FileNotFoundError(f"there is no file {name}")


def _fingerprint(text: str) -> str:
    return hashlib.sha256(text.encode("utf-8", "surrogateescape")).hexdigest()


def _hash_of(task: Task, fingerprint: str, named: Mapping[str, Optional[Path]], row: Mapping[str, Any],
             files: Files) -> str:
    """The hash of all that makes a member's results: not where files stand, but what they hold; not how many
    threads share the work, and not how long it may take."""
    states = {word: files.hash(Path(task[word])) for word in ("hot_start", "load_state") if word in task}
    key = {
        "form": _FORM, "version": version(),
        "text": fingerprint,
        "files": {name: files.hash(path) for name, path in named.items()},
        "settings": list(task["settings"].items()), "until": task.get("until"), "states": states,
        "seed": row.get("seed"),
        "results": task["results"], "keep": sorted(task["keep"]), "engines": task["engines"]}
    return hashlib.sha256(json.dumps(key, sort_keys=True).encode()).hexdigest()


def check_options(results: Optional[str], keep: Sequence[str], engines: Any, threads: int,
                  timeout: Optional[float]) -> Options:
    """The options, or ValueRefused."""
    if isinstance(keep, str):
        keep = (keep,)
    strange = [word for word in keep if word not in KEEPS]
    if strange:
        raise ValueRefused(f'keep: "{strange[0]}" is none of {", ".join(KEEPS)}')
    if results not in ("binary", "database"):
        raise ValueRefused(f'results are "binary" or "database", not {results!r}')
    if timeout is not None and not timeout > 0.0:
        raise ValueRefused(f"a timeout is above 0 s, not {timeout}")
    folders = settle_engines(engines)
    return Options(results if "results" in keep else None, tuple(word for word in KEEPS if word in keep),
                   folders[0] if len(folders) == 1 else folders or None,
                   count_of_threads(threads), None if timeout is None else float(timeout))
