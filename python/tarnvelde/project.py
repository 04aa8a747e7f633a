"""A project file as data: tables by section, which are edited in place and written back.

::

    project = Project.read("town.inp")
    land = project["SUBCATCHS"]                       # a DataFrame, its index the IDs
    land.loc["S07", "impervious_share"] = 85
    land.attrs["units"]["area"]                       # 'ha'
    project["GENERAL"]["END_DATE"] = "2024/06/13"     # a Series of options
    project.add("JUNCTIONS", "J9")
    project.remove("PIPES", "P1")
    project.write("other.inp")

What isn't edited is written as it was read, to the byte: comments, order and spacing, unknown sections, and lines that
the engine would refuse. An edited value changes its word alone.
"""

from __future__ import annotations

import datetime
import os
from typing import Any, Dict, Iterator, List, Optional, Tuple, Union

import pandas as pd

from ._places import PathLike, written_aside
from .project_document import Document, Patch
from .project_files import find_file, relocate_names
from .project_points import PointsTable
from .project_tables import LinesTable, PairsTable, RowsTable, Table, make_frame, read_word
from .project_text import (ProjectFormatError, decode, encode, fold, format_seconds, is_missing, parse_date,
                           parse_number, parse_seconds, render)
from .sections import SECTIONS, Column, Section, find_section

__all__ = ["Project", "ProjectFormatError"]

_ALIASES = {"SUBCATCHMENTS": "SUBCATCHS", "GAGES": "RAINGAGES"}
_TABLES = {"rows": RowsTable, "pairs": PairsTable, "points": PointsTable}
_DEFAULT_START = datetime.date(2020, 1, 1)


class Project:
    """A project file, read into tables or built from nothing.

    ``project[section]`` is the table of a section, by its name in any case, with or without brackets;
    ``project.pipes`` is ``project["PIPES"]``. The tables:

    * a **DataFrame** for sections of objects and records. Its index is the ID, or the words that name a record, as
      ``("S07", "TRADE")`` in ``COVERAGES``. Columns of numbers are numeric if all their words are numbers; YES and NO
      are truth values. A word that a line doesn't have is None or NaN. ``attrs["units"]`` maps columns to units.
      ``CURVES``, ``PATTERNS`` and ``TIMESERIES`` have a row for each point;
    * a **Series** for ``GENERAL``, its index the options that the file gives;
    * a **list** of lines, without comments, for ``DESCRIPTION``, ``CONTROL_RULES``, the sections that are kept for
      hosts, and unknown ones.

    Tables are edited in place, replaced by ``project[section] = table``, or edited by :meth:`set`, :meth:`add` and
    :meth:`remove`. Edits are found when the text is wanted, by a comparison with what was read. Rows are identified by
    their labels; the order of rows in a table doesn't matter, new rows go to the end of their section.
    """

    path: Optional[str]

    def __init__(self) -> None:
        """Make an empty project."""
        self._set(Document(""), None)

    def _set(self, document: Document, path: Optional[str]) -> None:
        self._document = document
        self._tables: Dict[str, Table] = {}
        #: File that the project was read from; names of files in it are found from its folder. None without one.
        self.path = path

    # --- reading and writing -----------------------------------------------------------------------------------------

    @classmethod
    def read(cls, path: PathLike) -> "Project":
        """Read a project file. Any file can be read; what can't be taken as a table is an error when it is asked for.

        Raises:
            OSError: The file can't be read.
        """
        with open(path, "rb") as file:
            return cls.parse(file.read(), path)

    @classmethod
    def parse(cls, text: Union[str, bytes], path: Optional[PathLike] = None) -> "Project":
        """Take a text as a project file; `path` is where it is, for the names of files in it."""
        if not isinstance(text, (str, bytes)):
            raise TypeError(f"a project is parsed from text or bytes, not {type(text).__name__}")
        project = cls()
        raw = text.decode("latin-1") if isinstance(text, bytes) else encode(text)
        project._set(Document(raw), None if path is None else os.fspath(path))
        return project

    def text(self, fresh: bool = False) -> str:
        """Return the text of the file; bytes that are no UTF-8 are lone surrogates (``surrogateescape``).

        Args:
            fresh: Write all lines of tables again, with aligned columns and with numbers as Python writes them.
                Comments and blank lines stay; comments after the points of curves, patterns and series don't. So do
                lines that hold what couldn't be written, as a number with its unit.

        Raises:
            ProjectFormatError: An edited value can't be written to a file, or one is missing.
        """
        return decode(self._get_raw(fresh))

    def _get_raw(self, fresh: bool = False) -> str:
        if fresh:
            for name in self:
                try:
                    self._get_table(name)
                except ProjectFormatError:
                    pass  # its lines stay as they are
        patch = Patch(self._document)
        for table in self._tables.values():
            table.write(patch, fresh)
        return patch.apply()

    def write(self, path: PathLike, relocate: Optional[bool] = None, fresh: bool = False) -> None:
        """Write the project file: aside, and then into its place, so that what was there stays whole until then.

        Files that the project names (series, models inside nodes) are looked for from its folder. The project itself
        isn't changed by writing it.

        Args:
            path: File to be written.
            relocate: What happens to names of files when the folder is another one. None: an error, if a file
                wouldn't be found. True: such names are written so that they find the same files. False: they stay.
            fresh: As in :meth:`text`.

        Raises:
            ProjectFormatError: As :meth:`text`; and a file wouldn't be found from the new folder.
            OSError: The file can't be written.
        """
        raw = self._get_raw(fresh)
        old = None if self.path is None else os.path.dirname(self.path)
        raw = relocate_names(raw, old, os.path.dirname(os.fspath(path)), relocate)
        with written_aside(path) as file:
            file.write(raw.encode("latin-1"))

    def copy(self) -> "Project":
        """Return a project of its own with all edits so far."""
        return Project.parse(self._get_raw().encode("latin-1"), self.path)

    # --- tables ------------------------------------------------------------------------------------------------------

    @property
    def sections(self) -> List[str]:
        """Names of the sections that are in the file or have got lines since, without brackets."""
        names = dict.fromkeys(block.name for block in self._document.blocks
                              if self._document.has_section(block.name))
        names.update(dict.fromkeys(name for name, table in self._tables.items() if len(table.frame)))
        return list(names)

    def __iter__(self) -> Iterator[str]:
        return iter(self.sections)

    def __contains__(self, name: object) -> bool:
        return isinstance(name, str) and self._find_name(name) in self.sections

    def _find_name(self, name: str) -> str:
        """The name by which a section is kept; KeyError if there is none."""
        if not isinstance(name, str):
            raise TypeError(f"a section is asked for by its name, not by {type(name).__name__}")
        section = find_section(_ALIASES.get(name.upper(), name))
        if section is not None:
            return section.name
        known = [block.name for block in self._document.blocks]
        for candidate in known:
            if candidate.upper() in (name.upper(), f"[{name.upper()}]"):
                return candidate
        return name

    def _get_table(self, name: str) -> Table:
        name = self._find_name(name)
        if name not in self._tables:
            section = SECTIONS.get(name)
            if section is None and not self._document.has_section(name):
                raise KeyError(f"no section {name!r}")
            if section is None or section.shape == "lines":
                self._tables[name] = LinesTable(name, self._document)
            else:
                self._tables[name] = _TABLES[section.shape](section, self._document)
        return self._tables[name]

    def __getitem__(self, name: str) -> Any:
        """Return the table of a section, an empty one if the file doesn't have it.

        Raises:
            KeyError: The engine knows no such section, and the file has none.
            ProjectFormatError: A line of the section can't be taken as part of the table.
        """
        return self._get_table(name).frame

    def __setitem__(self, name: str, table: Any) -> None:
        """Give a section another table: a DataFrame with the same columns, a Series or mapping, or a list of lines."""
        self._get_table(name).replace(table)

    def __getattr__(self, name: str) -> Any:
        upper = name.upper()
        if name.islower() and (upper in SECTIONS or upper in _ALIASES):
            return self[name]
        raise AttributeError(f"a project has no attribute {name!r}")

    def __setattr__(self, name: str, value: Any) -> None:
        upper = name.upper()
        if name.islower() and (upper in SECTIONS or upper in _ALIASES):
            self[name] = value
        else:
            object.__setattr__(self, name, value)

    def __repr__(self) -> str:
        return f"<Project {self.path or 'without a file'}: {', '.join(self.sections) or 'empty'}>"

    # --- editing -----------------------------------------------------------------------------------------------------

    def set(self, section: str, label: Any, column: str, value: Any) -> None:
        """Set one value: of a row, or with an option as the label of ``GENERAL`` (then `column` is left out as "").

        Args:
            section: Name of the section.
            label: ID of the row, or the tuple of words that name it. The case of letters doesn't matter.
            column: Name of the column.
            value: The value; None removes what may be missing.

        Raises:
            KeyError: No such row, more than one, or no such column.
            ProjectFormatError: The value can't be written to a file.
        """
        table, kind = self._get_framed(section)
        if kind.shape == "pairs":
            self.add(section, **{str(label): value})
            return
        frame = table.frame
        if column not in frame.columns:
            raise KeyError(f"[{kind.name}] has no column {column!r}: {', '.join(frame.columns)}")
        places = self._find_rows(frame, label)
        if len(places) > 1:
            raise KeyError(f"[{kind.name}] has {len(places)} rows {label!r}; edit the table itself")
        value = _take_value(value, kind.columns[column], kind)
        if frame[column].dtype != object and type(value) is not {"f": float, "b": bool}[frame[column].dtype.kind]:
            frame[column] = frame[column].astype(object)
        frame.iloc[places[0], frame.columns.get_loc(column)] = value

    def add(self, section: str, *label: Any, **values: Any) -> None:
        """Add rows to a section.

        ::

            project.add("JUNCTIONS", "J9")
            project.add("COVERAGES", "S07", "TRADE", share=90)
            project.add("CURVES", "BASIN", type="TANK", x=[0, 5], y=[250, 250])
            project.add("GENERAL", END_DATE="2024/06/13")
            project.add("CONTROL_RULES", "RULE R1", "IF TANK T DEPTH > 1", "THEN PUMP P STATUS = ON")

        Args:
            section: Name of the section.
            label: The words of the index; the ID alone for curves, patterns and series, whose points go after those
                that are there; lines for a section of lines.
            values: Values by column. Lists of equal length make several rows. What has no value gets the one that
                means nothing in particular, where there is such a word.

        Raises:
            KeyError: A row of this name is there, in sections whose rows are objects.
            ProjectFormatError: A value can't be written to a file, or there is no such column.
        """
        table = self._get_table(section)
        if isinstance(table, LinesTable):
            table.frame.extend(label)
        elif isinstance(table, PairsTable):
            for key, value in values.items():
                column = table.section.columns.get(key.upper(), Column(key))
                table.frame[key.upper()] = _take_value(value, column, table.section)
        else:
            _table, kind = self._get_framed(section)
            keys = label[0] if len(label) == 1 and isinstance(label[0], tuple) else label
            self._add_rows(table, kind, list(keys), values)

    def _add_rows(self, table: Table, kind: Section, keys: List[Any], values: Dict[str, Any]) -> None:
        names = kind.index[:1] if kind.shape == "points" else kind.index
        if len(keys) != len(names):
            raise ProjectFormatError(f"a row is named by {', '.join(names) or 'nothing'}", kind.name)
        strange = [name for name in values if name not in table.frame.columns]
        if strange:
            raise ProjectFormatError(f"no column {strange[0]!r}: {', '.join(table.frame.columns)}", kind.name)
        cells = {**dict(zip(names, keys)), **values}
        count = max([len(value) for value in cells.values() if _is_list(value)], default=1)
        columns = {name: _repeat(cells.get(name), count, kind, name) for name in kind.columns}
        first = self._count_points(table.frame, keys) if kind.shape == "points" else 0
        if kind.shape == "points":
            columns[kind.index[1]] = [first + k for k in range(count)]
        for name, column in kind.columns.items():
            columns[name] = [_take_value(value, column, kind) for value in columns[name]]
            if column in kind.places and column.default is not None:
                columns[name] = [read_word(column.default.strip('"'), column) if is_missing(value) else value
                                 for value in columns[name]]
        if kind.defines and kind.shape == "rows" and kind.keys == 1:
            self._check_new(table.frame, kind, columns[kind.index[0]])
        added = make_frame(kind, columns)
        whole = pd.concat([table.frame, added], ignore_index=kind.keys == 0) if len(table.frame) else added
        if kind.keys == 0:
            # Rows without a name are told by their number, so those that are there must keep theirs.
            start = max([*table.frame.index.tolist(), -1]) + 1
            whole.index = pd.Index([*table.frame.index, *range(start, start + count)])
        _fill(table.frame, whole, kind)

    @staticmethod
    def _count_points(frame: Any, keys: List[Any]) -> int:
        used = [label[1] for label in frame.index.tolist() if fold(str(label[0])) == fold(str(keys[0]))]
        return int(max(used, default=-1)) + 1

    @staticmethod
    def _check_new(frame: Any, kind: Section, names: List[Any]) -> None:
        known = {fold(str(label)) for label in frame.index.tolist()}
        for name in names:
            if fold(str(name)) in known:
                raise KeyError(f"[{kind.name}] has {name!r} already")
            known.add(fold(str(name)))

    def remove(self, section: str, *label: Any) -> None:
        """Take rows out of a section: all whose index begins with these words, or an option of ``GENERAL``.

        Comments on lines of their own stay.

        Raises:
            KeyError: There is none.
        """
        table, kind = self._get_framed(section)
        keys = label[0] if len(label) == 1 and isinstance(label[0], tuple) else label
        places = set(self._find_rows(table.frame, keys))
        left = table.frame.iloc[[k for k in range(len(table.frame)) if k not in places]]
        if kind.shape == "pairs":
            for option in [name for k, name in enumerate(table.frame.index) if k in places]:
                del table.frame[option]
        else:
            _fill(table.frame, left.copy(), kind)

    def _get_framed(self, section: str) -> Tuple[Table, Section]:
        table = self._get_table(section)
        if isinstance(table, LinesTable):
            raise KeyError(f"[{table.name}] is a list of lines; edit the list")
        return table, SECTIONS[self._find_name(section)]

    @staticmethod
    def _find_rows(frame: Any, label: Any) -> List[int]:
        wanted = tuple(fold(str(part)) for part in (label if isinstance(label, tuple) else (label,)))
        labels = [row if isinstance(row, tuple) else (row,) for row in frame.index.tolist()]
        found = [k for k, row in enumerate(labels) if tuple(fold(str(part)) for part in row[:len(wanted)]) == wanted]
        if not found or not wanted:
            raise KeyError(f"no row {label!r}")
        return found

    # --- series ------------------------------------------------------------------------------------------------------

    def series(self, name: str) -> Any:
        """Return a time series as a Series of numbers by date and time, also one that is in a file of its own.

        Times without a date count from the start of the simulation. Of a series with a file and entries the file
        counts, as in the engine.

        Raises:
            KeyError: There is no such series.
            FileNotFoundError: Its file isn't there.
            ProjectFormatError: A line of its file, or an entry, can't be read.
        """
        frame = self["TIMESERIES"]
        rows = frame.iloc[self._find_rows(frame, name)]
        files = [file for file in rows["file"] if not is_missing(file)]
        if files:
            entries = self._read_file(name, files[-1])
        else:
            entries = [(date, time, value) for date, time, value in zip(rows["date"], rows["time"], rows["value"])]
        start = self._get_start()
        times, values = [], []
        for date, time, value in entries:
            day = parse_date(date) if date else None
            seconds = parse_seconds(time) if isinstance(time, str) else None
            if seconds is None or not isinstance(value, float):
                raise ProjectFormatError(f"{name}: {date} {time} {value} is no entry", "TIMESERIES")
            base = pd.Timestamp(day) if day else start
            times.append(base + pd.Timedelta(milliseconds=round(seconds * 1000.0)))
            values.append(value)
        return pd.Series(values, index=pd.DatetimeIndex(times, name="time"), name=name, dtype=float)

    def _get_start(self) -> Any:
        general = self["GENERAL"]
        date, time = general.get("START_DATE"), general.get("START_TIME")
        date = parse_date(render(date, Column("START_DATE", "date"))) if date is not None else _DEFAULT_START
        seconds = parse_seconds(render(time, Column("START_TIME", "time"))) if time is not None else 0.0
        return pd.Timestamp(date) + pd.Timedelta(milliseconds=round((seconds or 0.0) * 1000.0))

    def _read_file(self, name: str, file: str) -> List[Tuple[str, str, Optional[float]]]:
        path = find_file(file, None if self.path is None else os.path.dirname(self.path))
        if path is None:
            raise FileNotFoundError(f"time series {name}: no file {file!r}")
        entries: List[Tuple[str, str, Optional[float]]] = []
        with open(path, encoding="latin-1", newline="\n") as lines:
            for number, line in enumerate(lines, 1):
                words = line.split("\x1a")[0].split()
                if not words or words[0].startswith(";"):
                    continue
                value = parse_number(words[2]) if len(words) > 2 else None
                if value is None or parse_date(words[0]) is None:
                    raise ProjectFormatError(f"{path}, line {number}: no date, time and value", "TIMESERIES")
                entries.append((words[0], words[1], value))
        return entries

    def set_series(self, name: str, values: Any) -> None:
        """Write a Series of numbers by date and time as a time series, in place of one that is there.

        Raises:
            ProjectFormatError: Times aren't whole seconds or don't grow, or a value is missing.
        """
        if not isinstance(values, pd.Series) or pd.api.types.is_numeric_dtype(values.index):
            raise ProjectFormatError(f"{name}: a time series is a Series by date and time", "TIMESERIES")
        times = pd.DatetimeIndex(values.index)
        if not times.is_monotonic_increasing or not times.is_unique or times.hasnans:
            raise ProjectFormatError(f"{name}: each time must be later than the one before", "TIMESERIES")
        if times.tz is not None:
            raise ProjectFormatError(f"{name}: times with a zone; the engine has none", "TIMESERIES")
        if pd.Series(values).isna().any():
            raise ProjectFormatError(f"{name}: a value is missing", "TIMESERIES")
        try:
            numbers = [float(value) for value in values]
        except (TypeError, ValueError):
            raise ProjectFormatError(f"{name}: a value is no number", "TIMESERIES") from None
        dates = [render(day.date(), Column("date", "date")) for day in times]
        midnights = times.normalize()
        clocks = [format_seconds((time - day).total_seconds()) for time, day in zip(times, midnights)]
        frame = self["TIMESERIES"]
        if any(fold(str(label[0])) == fold(name) for label in frame.index.tolist()):
            self.remove("TIMESERIES", name)
        self.add("TIMESERIES", name, date=dates, time=clocks, value=numbers)


def _is_list(value: Any) -> bool:
    return not isinstance(value, (str, bytes)) and hasattr(value, "__len__")


def _repeat(value: Any, count: int, kind: Section, name: str) -> List[Any]:
    if not _is_list(value):
        return [value] * count
    if len(value) != count:
        raise ProjectFormatError(f"{name} has {len(value)} values, others have {count}", kind.name)
    return list(value)


def _take_value(value: Any, column: Column, kind: Section) -> Any:
    """Bring a value into the form in which it is kept, once it has proved fit for the file."""
    if is_missing(value):
        return None if column.kind != "number" else float("nan")
    if column.kind == "date" and isinstance(value, str) and not value and kind.shape == "points":
        return value  # counted from the start of the simulation
    try:
        word = render(value, column)
    except ProjectFormatError as error:
        raise ProjectFormatError(f"{column.name}: {error}", kind.name) from None
    if column.kind == "number" and column.name not in kind.index:
        return parse_number("" if word == '""' else word)
    if column.kind == "flag":
        return word.upper() == column.flags[1]
    if column.kind in ("date", "time"):
        return decode(word)
    return decode(encode(value)) if isinstance(value, str) else (value if column.kind == "number" else decode(word))


def _fill(frame: Any, other: Any, kind: Section) -> None:
    """Give a frame that was handed out other contents, in place."""
    for name, column in kind.columns.items():
        if name in other.columns and column.kind == "number" and not count_texts(other[name]):
            other[name] = other[name].astype(float)
        elif name in other.columns and column.kind == "flag" and all(isinstance(v, bool) for v in other[name].tolist()):
            other[name] = other[name].astype(bool)
    frame.__init__(other)
    names: List[Optional[str]] = [*kind.index]
    frame.index.names = names or [None]
    frame.attrs["units"] = kind.units


def count_texts(values: Any) -> int:
    """Return how many values of a column are texts."""
    return sum(isinstance(value, str) for value in values.tolist())
