"""Tables of a project file whose lines hold several points: curves, patterns and time series.

The frame has a row for each point. While only values change, their words alone are written anew, and points that come
behind the others of their object get lines of their own behind its last one. Anything else, as a point taken out or a
date moved, has all lines of that one object written anew where its first line stood.
"""

from __future__ import annotations

import dataclasses
from typing import Any, Callable, Dict, List, Optional, Sequence, Tuple

from .project_document import Document, Patch, replace_words
from .project_tables import FrameTable, count_labels, get_rows, make_frame, read_word
from .project_text import (ProjectFormatError, decode, find_words, fold, get_content, is_missing, is_same, parse_date,
                           parse_seconds, render, split_words)
from .sections import Section

__all__ = ["PointsTable"]

#: Factors that the engine keeps of a pattern.
PATTERN_SIZE = 24
#: Points that a written line holds at most, far below the 40 words that the engine takes.
POINTS_PER_LINE = {"CURVES": 6, "PATTERNS": 12, "TIMESERIES": 6}

Cells = Dict[str, Any]


@dataclasses.dataclass
class _Point:
    """A point as it was read: its values, and the places of their words in its line."""

    key: str
    cells: Cells
    line: int
    words: Dict[str, int]


@dataclasses.dataclass
class _Series:
    """What the lines of one object have told so far."""

    count: int = 0
    kind: Any = None
    date: str = ""


def _read_curve(words: List[str], state: _Series) -> List[Tuple[Cells, Dict[str, int]]]:
    start = 1
    if state.kind is None:
        state.kind = decode(words[1])
        start = 2
    if (len(words) - start) % 2:
        raise ProjectFormatError("an x without a y")
    return [({"type": state.kind, "x": words[k], "y": words[k + 1]}, {"x": k, "y": k + 1})
            for k in range(start, len(words), 2)]


def _read_pattern(words: List[str], state: _Series) -> List[Tuple[Cells, Dict[str, int]]]:
    start = 1
    if state.kind is None:
        state.kind = decode(words[1])
        start = 2
    last = min(len(words), start + PATTERN_SIZE - state.count)
    return [({"type": state.kind, "factor": words[k]}, {"factor": k}) for k in range(start, last)]


def _read_series(words: List[str], state: _Series) -> List[Tuple[Cells, Dict[str, int]]]:
    if words[1] == "FILE":
        if len(words) < 3:
            raise ProjectFormatError("FILE without a name")
        return [({"file": words[2]}, {"file": 2})]
    if len(words) < 4:
        raise ProjectFormatError("fewer than four words")
    points = []
    k = 1
    while k < len(words):
        if parse_date(words[k]) is not None:
            state.date = decode(words[k])
            k += 1
        if k + 1 >= len(words):
            break  # the engine makes no entry of it either
        if parse_seconds(words[k]) is None:
            raise ProjectFormatError(f"{decode(words[k])!r} is no time")
        points.append(({"date": state.date, "time": words[k], "value": words[k + 1]}, {"time": k, "value": k + 1}))
        k += 2
    return points


_READERS: Dict[str, Callable[[List[str], _Series], List[Tuple[Cells, Dict[str, int]]]]] = {
    "CURVES": _read_curve, "PATTERNS": _read_pattern, "TIMESERIES": _read_series}


class PointsTable(FrameTable):
    """A section of curves, patterns or time series."""

    def __init__(self, section: Section, document: Document) -> None:
        self.section = section
        self.id_name, self.count_name = section.index
        #: Columns whose words can be replaced where they stand.
        self.values = {"CURVES": ("x", "y"), "PATTERNS": ("factor",), "TIMESERIES": ("time", "value", "file")}[
            section.name]
        self.lines: Dict[str, List[int]] = {}
        points = self._read(document)
        columns = {name: [point.cells.get(name) for point in points] for name in section.columns}
        self.frame = make_frame(section, columns)
        self.original = self.frame.copy()
        self.points = points

    def _read(self, document: Document) -> List[_Point]:
        points: List[_Point] = []
        states: Dict[str, _Series] = {}
        names: Dict[str, str] = {}
        for number in document.find_lines(self.section.name):
            words = split_words(document.lines[number])
            name = names.setdefault(fold(words[0]), decode(words[0]))
            state = states.setdefault(name, _Series())
            self.lines.setdefault(name, []).append(number)
            try:
                if len(words) < 2:
                    raise ProjectFormatError("nothing after the name")
                found = _READERS[self.section.name](words, state)
            except ProjectFormatError as error:
                raise ProjectFormatError(f"{name}: {error}", self.section.name, number + 1) from None
            for texts, places in found:
                cells = {column: read_word(text, self.section.columns[column]) if column in places else text
                         for column, text in texts.items()}
                points.append(_Point(name, {self.id_name: name, self.count_name: state.count, **cells}, number, places))
                state.count += 1
        return points

    def write(self, patch: Patch, fresh: bool = False) -> None:
        """Put what was edited into a patch."""
        if not fresh and self.frame.equals(self.original):
            return
        before: Dict[str, List[_Point]] = {}
        for point in self.points:
            before.setdefault(point.key, []).append(point)
        after: Dict[str, List[Cells]] = {}
        for label, row in zip(count_labels(self.frame.index.tolist()), get_rows(self.section, self.frame)):
            if label[1]:
                raise ProjectFormatError(f"{label[0]} twice in the index", self.section.name)
            after.setdefault(fold(str(row[self.id_name])), []).append(row)
        for name, numbers in self.lines.items():
            rows = self._sort(after.pop(fold(name), []))
            points = before.get(name, [])
            if not rows and not points:
                continue  # a line without points stays
            if fresh:
                self._write_fresh(patch, numbers, points, rows)
            elif not self._write_words(patch, points, rows):
                self._write_anew(patch, numbers, rows)
        for rows in after.values():
            patch.append(self.section.name, self._render(self._sort(rows)))

    def _sort(self, rows: List[Cells]) -> List[Cells]:
        """Put the rows of an object in order by their numbers; those of a pattern must be all hours from 0 on."""
        rows = sorted(rows, key=lambda row: float(row[self.count_name]))
        hours = [row[self.count_name] for row in rows]
        if self.section.name == "PATTERNS" and hours != list(range(len(hours))):
            raise ProjectFormatError(f"{rows[0][self.id_name]} needs a factor for each hour from 0 on",
                                     self.section.name)
        return rows

    def _write_words(self, patch: Patch, points: List[_Point], rows: List[Cells]) -> bool:
        """Replace words of values and append points; False, with nothing done, where that isn't enough."""
        if len(rows) < len(points) or self._is_mixed(points, rows):
            return False
        fixed = [name for name in self.section.columns if name not in self.values and name != self.id_name]
        changed: Dict[int, List[Tuple[int, str]]] = {}
        for point, row in zip(points, rows):
            cells = point.cells
            if any(not is_same(cells.get(name), row[name]) for name in fixed):
                return False
            for name in self.values:
                if is_same(cells.get(name), row[name]):
                    continue
                if name not in point.words or is_missing(row[name]):
                    return False
                changed.setdefault(point.line, []).append((point.words[name], self._write_cell(row, name)))
        for number, words in changed.items():
            line = patch.document.lines[number]
            places = find_words(line)
            content = get_content(replace_words(line, [(places[k], word) for k, word in words]))
            patch.change(number, content, self.section.name)
        if len(rows) > len(points):
            self._append(patch, points, rows)
        return True

    @staticmethod
    def _is_mixed(points: List[_Point], rows: List[Cells]) -> bool:
        """Whether points were added that can't go behind the others."""
        if len(rows) == len(points):
            return False
        more = rows[len(points):]
        return not points or any("date" in row and (not row["date"] or not is_missing(row["file"])) for row in more)

    def _append(self, patch: Patch, points: List[_Point], rows: List[Cells]) -> None:
        number = self.lines[points[0].key][-1]
        more = self._render(rows, len(points))
        start = patch.document.lines[number]
        indent = start[:len(start) - len(start.lstrip(" "))]
        patch.insert(number, [indent + line for line in more], self.section.name)

    def _write_fresh(self, patch: Patch, numbers: List[int], points: List[_Point], rows: List[Cells]) -> None:
        """Write all lines of an object anew, or leave them if they hold what couldn't be written."""
        try:
            self._render(rows)
        except ProjectFormatError:
            if self._write_words(patch, points, rows):
                return
        self._write_anew(patch, numbers, rows)

    def _write_anew(self, patch: Patch, numbers: List[int], rows: List[Cells]) -> None:
        for number in numbers:
            patch.remove(number)
        if rows:
            patch.insert(numbers[0], self._render(rows), self.section.name)

    # --- rows made lines ---------------------------------------------------------------------------------------------

    def _render(self, rows: List[Cells], first: int = 0) -> List[str]:
        """Return lines of the rows of one object, from one of them on."""
        if not rows:
            return []
        name = render(rows[0][self.id_name], self.section.columns[self.id_name])
        if name[0] in "/[":
            raise ProjectFormatError(f"{decode(name)!r} can't begin a line", self.section.name)
        if self.section.name == "TIMESERIES":
            return self._render_series(name, rows, first)
        types = {row["type"] for row in rows if not is_missing(row["type"])}
        if len(types) != 1:
            raise ProjectFormatError(f"{decode(name)} needs one type, the same in all its rows", self.section.name)
        if self.section.name == "PATTERNS" and len(rows) > PATTERN_SIZE:
            raise ProjectFormatError(f"{decode(name)} has {len(rows)} factors, and the engine takes {PATTERN_SIZE}",
                                     self.section.name)
        kind = render(types.pop(), self.section.columns["type"])
        words = [" ".join(self._write_cell(row, column) for column in self.values) for row in rows[first:]]
        step = POINTS_PER_LINE[self.section.name]
        gap = " " * len(kind)
        return [f"{name}  {gap if k or first else kind}  {'  '.join(words[k:k + step])}"
                for k in range(0, len(words), step)]

    def _render_series(self, name: str, rows: List[Cells], first: int) -> List[str]:
        files = [row for row in rows if not is_missing(row["file"])]
        lines = [f"{name}  FILE  {self._write_cell(row, 'file')}" for row in files]
        entries = [row for row in rows if is_missing(row["file"])]
        line: List[str] = []
        before: Optional[str] = None
        for row in entries[first:]:
            date = self._write_cell(row, "date") if row["date"] and not is_missing(row["date"]) else ""
            if not date and before:
                raise ProjectFormatError(f"{decode(name)}: an entry without a date after one with a date",
                                         self.section.name)
            if line and (date != before or len(line) >= POINTS_PER_LINE["TIMESERIES"]):
                lines.append(self._join(name, before or "", line))
                line = []
            before = date
            line.append(f"{self._write_cell(row, 'time')} {self._write_cell(row, 'value')}")
        if line:
            lines.append(self._join(name, before or "", line))
        return self._mend_dateless(name, lines)

    @staticmethod
    def _join(name: str, date: str, entries: Sequence[str]) -> str:
        return "  ".join([name, *([date] if date else []), *entries])

    def _mend_dateless(self, name: str, lines: List[str]) -> List[str]:
        """A line needs four words, so a single entry without a date goes along with those of the line before."""
        mended: List[str] = []
        for line in lines:
            words = split_words(line)
            if len(words) == 3 and words[1] != "FILE":
                if not mended:
                    raise ProjectFormatError(f"{decode(name)}: a single entry needs a date", self.section.name)
                mended[-1] += line[len(name):]
            else:
                mended.append(line)
        return mended

    def _write_cell(self, row: Cells, column: str) -> str:
        value = row[column]
        place = f"{row[self.id_name]} {row[self.count_name]}"
        if is_missing(value):
            raise ProjectFormatError(f"{place}: no value for {column}", self.section.name)
        try:
            return render(value, self.section.columns[column])
        except ProjectFormatError as error:
            raise ProjectFormatError(f"{column} of {place}: {error}", self.section.name) from None
