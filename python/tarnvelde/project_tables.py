"""Tables of a project file whose lines are rows: frames made of lines, and what was edited in them put back.

A table keeps the frame that it has handed out beside a copy of what was read. When the text is wanted, the two are
compared row by row: rows are told by their label in the index, of equal labels by their order.
"""

from __future__ import annotations

import difflib
from typing import Any, Callable, Dict, Iterable, List, Mapping, Optional, Sequence, Tuple

import pandas as pd

from .project_document import Document, Patch, align_columns, join_words, replace_words
from .project_text import (LINE_SIZE, ProjectFormatError, Word, decode, encode, find_words, fold, get_content,
                           is_missing, is_same, parse_number, render, split_words)
from .sections import Column, Place, Section

__all__ = ["LinesTable", "PairsTable", "RowsTable", "Table"]


class Table:
    """What is handed out for a section, and the way back into the file."""

    frame: Any

    def write(self, patch: Patch, fresh: bool = False) -> None:
        """Put what was edited into a patch; with `fresh` every line is written anew."""
        raise NotImplementedError

    def replace(self, value: Any) -> None:
        """Take other contents in place of the frame that was handed out."""
        raise NotImplementedError


# --- values of words -------------------------------------------------------------------------------------------------


def read_word(word: Optional[str], column: Column) -> Any:
    """Return the value of a word: a number or a truth value where it is one, else its text; None without a word."""
    if word is None:
        return None
    if column.kind == "number":
        number = parse_number(word)
        return decode(word) if number is None else number
    if column.kind == "flag" and word.upper() in column.flags:
        return word.upper() == column.flags[1]
    return decode(word)


def make_series(values: List[Any], column: Column) -> Any:
    """Make a column of a frame: of numbers or truth values if all are, else of objects."""
    if column.kind == "number" and all(value is None or isinstance(value, float) for value in values):
        return pd.Series(values, dtype=float).to_numpy()
    if column.kind == "flag" and all(isinstance(value, bool) for value in values):
        return pd.Series(values, dtype=bool).to_numpy()
    return pd.Series(values, dtype=object).to_numpy()


def make_key(values: List[Any], column: Column) -> Any:
    """Make one level of an index: of whole numbers for those of points, else of texts."""
    return pd.Index(values, dtype="int64" if column.kind == "number" else object)


def make_frame(section: Section, columns: Dict[str, List[Any]]) -> Any:
    """Make the frame of a section, its first columns as the index, units in its attributes."""
    names = list(section.columns)
    keys = names[:section.keys]
    count = len(columns[names[0]])
    index: Any
    if not keys:
        index = pd.RangeIndex(count)
    elif len(keys) == 1:
        index = pd.Index(columns[keys[0]], name=keys[0], dtype=object)
    else:
        index = pd.MultiIndex.from_arrays([make_key(columns[key], section.columns[key]) for key in keys], names=keys)
    data = {name: make_series(columns[name], section.columns[name]) for name in names[section.keys:]}
    frame = pd.DataFrame(data, index=index)
    frame.attrs["units"] = section.units
    return frame


def count_labels(labels: Sequence[Any]) -> List[Tuple[Any, int]]:
    """Return each label with how often it came before."""
    seen: Dict[Any, int] = {}
    counted = []
    for label in labels:
        if isinstance(label, tuple):  # a NaN is not the same as itself
            label = tuple(None if is_missing(part) else part for part in label)
        count = seen.get(label, 0)
        seen[label] = count + 1
        counted.append((label, count))
    return counted


def get_rows(section: Section, frame: Any) -> List[Dict[str, Any]]:
    """Return the rows of a frame as values by name, those of the index among them.

    Raises:
        ProjectFormatError: The frame lacks a column of the section, or has one that the section doesn't have.
    """
    if not isinstance(frame, pd.DataFrame):
        raise ProjectFormatError(f"the table is a DataFrame, not {type(frame).__name__}", section.name)
    if not frame.columns.is_unique:
        raise ProjectFormatError(f"the table has a column {frame.columns[frame.columns.duplicated()][0]!r} twice",
                                 section.name)
    names = list(section.columns)[section.keys:]
    strange = [name for name in frame.columns if name not in names]
    lacking = [name for name in names if name not in frame.columns]
    if strange or lacking or (section.keys > 1 and frame.index.nlevels != section.keys):
        what = f"has no column {strange[0]!r}" if strange else f"must keep {lacking[0] if lacking else section.index}"
        raise ProjectFormatError(f"the table {what}", section.name)
    labels = frame.index.tolist()
    values = [frame[name].tolist() for name in names]
    rows = [dict(zip(names, cells)) for cells in zip(*values)] if names else [{} for _ in labels]
    keys = section.index
    for label, row in zip(labels, rows):
        if len(keys) == 1:
            row[keys[0]] = label
        else:
            row.update(zip(keys, label if keys else ()))
    return rows


# --- rows ------------------------------------------------------------------------------------------------------------


def get_column(place: Place, row: Dict[str, Any]) -> Optional[Column]:
    """Return the column at a place of a line, or None where the row has none there."""
    if isinstance(place, Column):
        return place
    switch = row.get(place.switch)
    return place.columns.get(fold(switch) if isinstance(switch, str) else "", place.otherwise)


def read_line(section: Section, words: Sequence[str]) -> Dict[str, Any]:
    """Return the values of a line by the names of their columns."""
    row: Dict[str, Any] = dict.fromkeys(section.columns)
    for place, word in zip(section.places, words):
        column = get_column(place, row)
        if column is not None and column.name:
            row[column.name] = read_word(word, column)
    return row


def write_row(section: Section, row: Dict[str, Any], keep: Callable[[int, Column], Optional[str]]) -> List[str]:
    """Return the words of a row; `keep` may give the word of a value that is to stay as it stands.

    Raises:
        ProjectFormatError: A value is missing, or can't stand in a file.
    """
    words: List[str] = []
    used = set()
    ended: Optional[Column] = None
    for k, place in enumerate(section.places):
        column = get_column(place, row)
        if column is None:
            break
        used.add(column.name)
        word = keep(k, column)
        if word is None:
            word = _write_value(section, column, row)
        if word is None:
            ended = ended or column
            continue
        if ended:
            raise ProjectFormatError(f"no value for {ended.name} of {_name_row(section, row)}, and one for "
                                     f"{column.name} behind it", section.name)
        words.append(word)
    spare = [name for name, value in row.items() if name not in used and not is_missing(value)]
    if spare:
        raise ProjectFormatError(f"{_name_row(section, row)} has a value for {spare[0]}, which a line of its kind "
                                 "doesn't have", section.name)
    if words and words[0][0] in "/[":
        raise ProjectFormatError(f"{decode(words[0])!r} can't begin a line", section.name)
    return words


def _write_value(section: Section, column: Column, row: Dict[str, Any]) -> Optional[str]:
    value = row.get(column.name)
    if is_missing(value):
        if column.default is None and not column.optional:
            raise ProjectFormatError(f"no value for {column.name} of {_name_row(section, row)}", section.name)
        return column.default
    try:
        return render(value, column)
    except ProjectFormatError as error:
        raise ProjectFormatError(f"{column.name} of {_name_row(section, row)}: {error}", section.name) from None


def _name_row(section: Section, row: Dict[str, Any]) -> str:
    first = next(iter(section.columns))
    return " ".join(str(row[name]) for name in section.index or [first])


class FrameTable(Table):
    """A table whose frame is a DataFrame."""

    section: Section

    def replace(self, value: Any) -> None:
        """Take another frame of the same columns."""
        get_rows(self.section, value)
        self.frame = value.copy()
        self.frame.attrs["units"] = self.section.units


class RowsTable(FrameTable):
    """A section with a row in each line."""

    def __init__(self, section: Section, document: Document) -> None:
        self.section = section
        self.numbers = document.find_lines(section.name)
        lines = [split_words(document.lines[number]) for number in self.numbers]
        self.frame = make_frame(section, self._read(lines))
        self.original = self.frame.copy()

    def _read(self, lines: List[List[str]]) -> Dict[str, List[Any]]:
        if all(isinstance(place, Column) for place in self.section.places):
            columns = {}
            for k, place in enumerate(self.section.places):
                assert isinstance(place, Column)
                if place.name:
                    columns[place.name] = [read_word(words[k] if k < len(words) else None, place) for words in lines]
            return columns
        rows = [read_line(self.section, words) for words in lines]
        return {name: [row[name] for row in rows] for name in self.section.columns}

    def write(self, patch: Patch, fresh: bool = False) -> None:
        """Put what was edited into a patch."""
        if not fresh and self.frame.equals(self.original):
            return
        before = get_rows(self.section, self.original)
        after = get_rows(self.section, self.frame)
        places = {label: k for k, label in enumerate(count_labels(self.original.index.tolist()))}
        added: List[Dict[str, Any]] = []
        edited: List[Tuple[int, Dict[str, Any]]] = []
        for label, row in zip(count_labels(self.frame.index.tolist()), after):
            place = places.pop(label, None)
            if place is None:
                added.append(row)
            else:
                edited.append((place, row))
        for place in places.values():
            patch.remove(self.numbers[place])
        if fresh:
            self._write_all(patch, before, edited)
        else:
            for place, row in edited:
                self._write_edited(patch, self.numbers[place], before[place], row)
        self._write_added(patch, added)

    def _write_edited(self, patch: Patch, number: int, before: Dict[str, Any], row: Dict[str, Any]) -> None:
        """Change the words of a line whose values have changed, and no others."""
        if all(is_same(before[name], value) for name, value in row.items()):
            return
        line = patch.document.lines[number]
        old, count = self._find_own(line, before)

        def keep(k: int, column: Column) -> Optional[str]:
            if k < count and get_column(self.section.places[k], before) == column and (
                    not column.name or is_same(before[column.name], row[column.name])):
                return line[old[k].start:old[k].end]
            return None

        try:
            words = write_row(self.section, row, keep)
        except ProjectFormatError as error:
            raise ProjectFormatError(str(error).split(": ", 1)[1], self.section.name, number + 1) from None
        patch.change(number, get_content(self._put(line, old[:count], words)), self.section.name)

    def _find_own(self, line: str, row: Dict[str, Any]) -> Tuple[List[Word], int]:
        """The words of a line, and how many of them belong to columns."""
        words = find_words(line)
        count = 0
        while count < min(len(words), len(self.section.places)) and (
                get_column(self.section.places[count], row) is not None):
            count += 1
        return words, count

    @staticmethod
    def _put(line: str, old: List[Word], words: List[str]) -> str:
        common = min(len(old), len(words))
        changed = [(old[k], words[k]) for k in range(common) if line[old[k].start:old[k].end] != words[k]]
        end = old[-1].end
        if len(old) > common:
            line = line[:old[common - 1].end] + line[end:]
        elif len(words) > common:
            more = "".join("  " + word for word in words[common:])
            rest = line[end:]
            glue = "" if not rest or rest[0] in " \t\r\n\0" else " "
            line = line[:end] + more + glue + rest
        return replace_words(line, changed)

    def _write_all(self, patch: Patch, before: List[Dict[str, Any]], edited: List[Tuple[int, Dict[str, Any]]]) -> None:
        """Write every line anew, columns below each other; comments and words that belong to no column stay.

        A line that holds what couldn't be written, as a number with a unit behind it, stays as it is, and so does one
        that is very long.
        """
        numbers, lines, rests = [], [], []
        for place, row in edited:
            line = patch.document.lines[self.numbers[place]]
            old, count = self._find_own(line, before[place])
            rest = get_content(line)[old[count - 1].end:].lstrip(" \t")
            try:
                words = write_row(self.section, row, lambda k, column: None)
            except ProjectFormatError:
                words = []
            # A line that lacks words isn't filled up either: the engine refuses it, and goes on to do so.
            if not words or len(words) > count or sum(map(len, words)) + len(rest) > LINE_SIZE // 2:
                self._write_edited(patch, self.numbers[place], before[place], row)
                continue
            numbers.append(self.numbers[place])
            lines.append(words)
            rests.append(rest)
        starts = align_columns(lines)
        for number, words, rest in zip(numbers, lines, rests):
            content = join_words(words, starts) + ("  " + rest if rest else "")
            if len(content) >= LINE_SIZE:  # columns that are as wide as the longest of their words
                content = "  ".join([*words, rest] if rest else words)
            patch.change(number, content, self.section.name)

    def _write_added(self, patch: Patch, added: List[Dict[str, Any]]) -> None:
        if not added:
            return
        lines = [write_row(self.section, row, lambda k, column: None) for row in added]
        starts = patch.get_starts(self.section.name) or align_columns(lines)
        patch.append(self.section.name, [join_words(words, starts) for words in lines])


# --- pairs -----------------------------------------------------------------------------------------------------------


class PairsTable(Table):
    """A section with an option and its value in each line: of several lines for one option the last one counts."""

    def __init__(self, section: Section, document: Document) -> None:
        self.section = section
        self.numbers: Dict[str, List[int]] = {}
        values: Dict[str, Any] = {}
        for number in document.find_lines(section.name):
            words = split_words(document.lines[number])
            if len(words) > 1:
                key = decode(words[0]).upper()
                self.numbers.setdefault(key, []).append(number)
                values[key] = read_word(words[1], self._get_column(key))
        self.frame = pd.Series(list(values.values()), index=pd.Index(list(values), name="option", dtype=object),
                               dtype=object, name=section.name)
        self.frame.attrs["units"] = section.units
        self.original = self.frame.copy()

    def _get_column(self, key: str) -> Column:
        return self.section.columns.get(key, Column(key))

    def replace(self, value: Any) -> None:
        """Take a series or a mapping of other options."""
        if not isinstance(value, (Mapping, pd.Series)):
            raise ProjectFormatError(f"options are a Series or a mapping, not {type(value).__name__}",
                                     self.section.name)
        pairs = dict(value)
        self.frame = pd.Series(list(pairs.values()), index=pd.Index(list(pairs), name="option", dtype=object),
                               dtype=object, name=self.section.name)
        self.frame.attrs["units"] = self.section.units

    def write(self, patch: Patch, fresh: bool = False) -> None:
        """Put what was edited into a patch."""
        added: List[List[str]] = []
        labels = [str(label) for label in self.frame.index.tolist()]
        keys = [label.upper() for label in labels]
        if len(set(keys)) < len(keys):
            raise ProjectFormatError(f"an option twice among {', '.join(labels)}", self.section.name)
        for key, value in zip(keys, self.frame.tolist()):
            is_old = key in self.numbers and is_same(value, self.original[key])
            if is_old and not fresh:
                continue
            try:
                if key in self.numbers:
                    self._write_edited(patch, self.numbers[key][-1], self._render(key, value))
                else:
                    added.append([render(key, Column("option", "id")), self._render(key, value)])
            except ProjectFormatError:
                if not is_old:
                    raise  # else what couldn't be written stays as it was read
        for key in self.numbers.keys() - set(keys):
            for number in self.numbers[key]:
                patch.remove(number)
        if added:
            starts = patch.get_starts(self.section.name) or align_columns(added)
            patch.append(self.section.name, [join_words(words, starts) for words in added])

    def _write_edited(self, patch: Patch, number: int, word: str) -> None:
        line = patch.document.lines[number]
        content = get_content(replace_words(line, [(find_words(line)[1], word)]))
        patch.change(number, content, self.section.name)

    def _render(self, key: str, value: Any) -> str:
        try:
            if is_missing(value):
                raise ProjectFormatError("no value")
            column = self._get_column(key)
            if isinstance(value, bool):
                column = Column(key, "flag")
            return render(value, column)
        except ProjectFormatError as error:
            raise ProjectFormatError(f"{key}: {error}", self.section.name) from None


# --- lines -----------------------------------------------------------------------------------------------------------


class LinesTable(Table):
    """A section that is no table: a list of its lines, without comments and blank lines."""

    def __init__(self, name: str, document: Document) -> None:
        self.name = name
        self.numbers = document.find_lines(name)
        self.frame = [decode(get_content(document.lines[number])) for number in self.numbers]
        self.original = list(self.frame)

    def replace(self, value: Any) -> None:
        """Take other lines."""
        if not isinstance(value, Iterable):
            raise ProjectFormatError(f"lines are a list of texts, not {type(value).__name__}", self.name)
        self.frame = [value] if isinstance(value, str) else list(value)

    def write(self, patch: Patch, fresh: bool = False) -> None:
        """Put what was edited into a patch: lines that are the same in old and new stay where they are."""
        new = list(self.frame)
        if new == self.original:
            return
        matcher = difflib.SequenceMatcher(None, self.original, new, autojunk=False)
        for kind, first, last, begin, end in matcher.get_opcodes():
            if kind == "equal":
                continue
            lines = [self._check(line) for line in new[begin:end]]
            numbers = self.numbers[first:last]
            for number, content in zip(numbers, lines):
                patch.change(number, content, self.name)
            for number in numbers[len(lines):]:
                patch.remove(number)
            self._insert(patch, first + len(numbers), lines[len(numbers):])

    def _insert(self, patch: Patch, place: int, lines: List[str]) -> None:
        """Put lines behind so many of those that were read."""
        if not lines:
            return
        if place >= len(self.numbers):
            patch.append(self.name, lines)
        elif place > 0:
            patch.insert(self.numbers[place - 1], lines, self.name)
        else:
            patch.insert(self.numbers[0] - 1, lines, self.name)

    def _check(self, line: Any) -> str:
        text = encode(line) if isinstance(line, str) else ""
        words = find_words(text)
        if not words or any(mark in text for mark in "\n\r\0\x1a") or words[0].text[:1] in ("/", "["):
            raise ProjectFormatError(f"{line!r} can't be a line: it is empty, several, a comment or a header",
                                     self.name)
        return text
