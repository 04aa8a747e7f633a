"""Lines, words and values of a project file, as the engine's reader takes them.

Texts are kept as one character for each byte of the file (Latin-1), since the reader counts bytes; what is handed out
is UTF-8, with bytes that are none as lone surrogates, so that any file comes back as it was.
"""

from __future__ import annotations

import datetime
import math
import numbers
import re
import string
import sys
from typing import Any, Iterator, List, NamedTuple, Optional, Tuple

from .sections import Column

__all__ = ["ProjectFormatError", "Word", "cut_comment", "decode", "encode", "find_words", "fold", "parse_date",
           "parse_number", "parse_seconds", "render", "split_lines", "split_words"]

#: Bytes that the engine takes as one line, its end counted as one.
LINE_SIZE = 1023
#: Words of a line that the engine takes.
WORD_COUNT = 40

_WORD = re.compile(r'"[^"]*"?|[^ \t\r\n]+')
_PLAIN_WORD = re.compile(r"[^ \t\r\n]+")
_NUMBER = re.compile(r"[+-]?(?:[0-9]+\.?[0-9]*|\.[0-9]+)(?:[eE][+-]?[0-9]+)?\Z")
_SPECIAL = re.compile(r"[+-]?(?:inf|infinity|nan|nan\(\w*\))\Z", re.IGNORECASE | re.ASCII)
_HEXADECIMAL = re.compile(r"[+-]?0[xX](?:[0-9a-fA-F]+\.?[0-9a-fA-F]*|\.[0-9a-fA-F]+)(?:[pP][+-]?[0-9]+)?\Z")
_INTEGER = r"[ \t\n\v\f\r]*([+-]?[0-9]+)(?![0-9])"
_DATE = re.compile(_INTEGER + "." + _INTEGER + "(?:." + _INTEGER + ")?", re.DOTALL)
_NAMED_DATE = re.compile(_INTEGER + r".[ \t\n\v\f\r]*([^ \t\n\v\f\r]{3})." + _INTEGER, re.DOTALL)
_CLOCK = re.compile(r"([0-9]+)(?::([0-9]+)(?::([0-9]+))?)?")
_TO_UPPER = {ord(letter): letter.upper() for letter in string.ascii_lowercase}
_MONTHS = ("JAN", "FEB", "MAR", "APR", "MAY", "JUN", "JUL", "AUG", "SEP", "OCT", "NOV", "DEC")


class ProjectFormatError(ValueError):
    """A line that can't be taken as a row of a table, or a value that can't be written to a project file.

    Attributes:
        section: Name of the section, without brackets; empty if it is none's.
        line: Number of the line as the engine counts them, from 1; 0 if the value stands in no line yet.
    """

    def __init__(self, message: str, section: str = "", line: int = 0) -> None:
        place = f"[{section}]" if section else ""
        if line:
            place += f"{' ' if place else ''}line {line}"
        super().__init__(f"{place}: {message}" if place else message)
        self.section = section
        self.line = line


class Word(NamedTuple):
    """A word of a line: its text, and where it stands there, quotes included."""

    text: str
    start: int
    end: int


def encode(text: str) -> str:
    """Turn a text of the user into characters that are bytes of the file."""
    if text.isascii():
        return text
    try:
        return text.encode("utf-8", "surrogateescape").decode("latin-1")
    except UnicodeEncodeError:
        raise ProjectFormatError(f"a text that can't be written as UTF-8: {text!r}") from None


def fold(text: str) -> str:
    """Return a name in the form in which names are compared: A to Z for a to z, and no other letter changed."""
    return text.upper() if text.isascii() else text.translate(_TO_UPPER)


def decode(text: str) -> str:
    """Turn characters that are bytes of the file into a text for the user."""
    return text if text.isascii() else text.encode("latin-1").decode("utf-8", "surrogateescape")


def split_lines(text: str) -> Iterator[str]:
    """Cut a text into lines with their ends, a line of more than 1023 bytes into several, as the engine does."""
    start = 0
    while start < len(text):
        end = text.find("\n", start) + 1 or len(text)
        content = end - start
        if text.endswith("\n", start, end):
            content -= 2 if text.endswith("\r\n", start, end) else 1
        while content >= LINE_SIZE:
            yield text[start:start + LINE_SIZE]
            start += LINE_SIZE
            content -= LINE_SIZE
        if start < end:
            yield text[start:end]
        start = end


def get_content(line: str) -> str:
    """Return a line without its end."""
    if line.endswith("\n"):
        return line[:-2] if line.endswith("\r\n") else line[:-1]
    return line


def cut_comment(line: str) -> str:
    """Return what the engine cuts into words: a line up to its comment, its end, or a NUL byte."""
    content = get_content(line)
    end = content.find("\0")
    if end >= 0:
        content = content[:end]
    end = content.find("//")
    return content if end < 0 else content[:end]


def split_words(line: str) -> List[str]:
    """Cut a line into its words, at most 40, without quotes."""
    content = cut_comment(line)
    if '"' not in content:
        return _PLAIN_WORD.findall(content)[:WORD_COUNT]
    return [word.text for word in find_words(line)]


def find_words(line: str) -> List[Word]:
    """Cut a line into its words, at most 40, with their places."""
    words: List[Word] = []
    for match in _WORD.finditer(cut_comment(line)):
        if len(words) == WORD_COUNT:
            break
        text = match.group()
        words.append(Word(text.replace('"', "") if text[0] == '"' else text, match.start(), match.end()))
    return words


def parse_number(word: str) -> Optional[float]:
    """Read a number as the engine does; None for a word that is none, or that holds bytes above 127."""
    if _NUMBER.match(word):
        return float(word)
    if word == "":
        return 0.0
    if _SPECIAL.match(word):
        return float(word.split("(")[0])
    if _HEXADECIMAL.match(word):
        try:
            return float.fromhex(word)
        except OverflowError:
            return -math.inf if word[0] == "-" else math.inf
    return None


def parse_date(word: str) -> Optional[datetime.date]:
    """Read a date as the engine does: year, month and day; None for what is none."""
    if "-" not in word and "/" not in word:
        return None
    match = _DATE.match(word)
    if match:
        month = int(match.group(2))
    else:
        match = _NAMED_DATE.match(word)
        name = match.group(2).upper() if match else ""
        month = _MONTHS.index(name) + 1 if name in _MONTHS else 0
    try:
        return datetime.date(int(match.group(1)), month, int(match.group(3) or 0)) if match else None
    except (ValueError, OverflowError):
        return None


def parse_seconds(word: str) -> Optional[float]:
    """Read a time as the engine does, h:mm:ss or hours, in seconds; None for what is none."""
    hours = parse_number(word)
    if hours is not None:
        return hours * 3600.0
    match = _CLOCK.match(word.lstrip(" \t\n\v\f\r+"))
    if not match:
        return None
    return 3600.0 * int(match.group(1)) + 60.0 * int(match.group(2) or 0) + int(match.group(3) or 0)


# --- values ----------------------------------------------------------------------------------------------------------


def is_missing(value: Any) -> bool:
    """Whether a value of a frame stands for none: None, NaN, NaT or NA."""
    if value is None:
        return True
    if isinstance(value, (str, bool)):
        return False
    if isinstance(value, float):
        return math.isnan(value)
    return type(value).__name__ in ("NaTType", "NAType") or (isinstance(value, numbers.Real) and value != value)


def is_same(one: Any, other: Any) -> bool:
    """Whether two values of a frame are the same: the same number, with its sign, or the same text, or both none."""
    if is_missing(one) or is_missing(other):
        return is_missing(one) and is_missing(other)
    if isinstance(one, str) or isinstance(other, str):
        return isinstance(one, str) and isinstance(other, str) and one == other
    if not bool(one == other):
        return False
    return not isinstance(one, numbers.Real) or math.copysign(1.0, one) == math.copysign(1.0, float(other))


def format_number(value: float) -> str:
    """Write a number so that it reads back to the same double, whole ones without a point."""
    if value.is_integer() and abs(value) < 1e15 and not (value == 0.0 and math.copysign(1.0, value) < 0.0):
        return str(int(value))
    return repr(value)


def _render_number(value: Any) -> str:
    if isinstance(value, str):
        if parse_number(encode(value)) is None:
            raise ProjectFormatError(f"{value!r} is no number")
        return value or '""'
    if not isinstance(value, numbers.Real) or isinstance(value, bool):
        raise ProjectFormatError(f"{value!r} is no number")
    return format_number(_float_of(value))


def _float_of(value: Any) -> float:
    try:
        return float(value)
    except OverflowError:
        raise ProjectFormatError(f"a number beyond {sys.float_info.max:.0e}") from None


def _render_flag(value: Any, flags: Tuple[str, str]) -> str:
    if isinstance(value, str) and value.upper() in flags:
        return value
    if not isinstance(value, str) and value in (0, 1):
        return flags[int(value)]
    raise ProjectFormatError(f"{value!r} is neither {flags[0]} nor {flags[1]}, False nor True")


def _render_date(value: Any) -> str:
    if isinstance(value, datetime.datetime):
        if value.time() != datetime.time():
            raise ProjectFormatError(f"{value} has a time of day; the time is an item of its own")
        value = value.date()
    if isinstance(value, datetime.date):
        return f"{value.year}/{value.month:02d}/{value.day:02d}"
    if isinstance(value, str) and parse_date(value) is not None:
        return quote(value, True)
    raise ProjectFormatError(f"{value!r} is no date; write it as 2024/03/12")


def format_seconds(seconds: float) -> str:
    """Write a time as h:mm:ss."""
    whole = round(seconds)
    if whole < 0 or abs(seconds - whole) > 1e-6:
        raise ProjectFormatError(f"{seconds!r} s is no time in whole seconds")
    return f"{whole // 3600}:{whole // 60 % 60:02d}:{whole % 60:02d}"


def _render_time(value: Any) -> str:
    if isinstance(value, datetime.timedelta):
        return format_seconds(value.total_seconds())
    if isinstance(value, datetime.time):
        return format_seconds(value.hour * 3600 + value.minute * 60 + value.second + value.microsecond / 1e6)
    if isinstance(value, str) and value and parse_seconds(encode(value)) is not None:
        return quote(value, True)
    raise ProjectFormatError(f"{value!r} is no time; write it as '0:05:00' or as a timedelta "
                             "(the engine would take a plain number as hours)")


def quote(text: str, as_name: bool = False) -> str:
    """Write a text as a word, in quotes where it needs them; a name can't have any."""
    text = encode(text)
    if any(mark in text for mark in ("\n", "\r", "\0", "\x1a", "//")):
        raise ProjectFormatError(f"{decode(text)!r} holds a line end, a control character or the mark of a comment")
    if text and " " not in text and "\t" not in text and text[0] != '"':
        return text
    if as_name:
        raise ProjectFormatError(f"{decode(text)!r} can't be a name: it is empty, or holds a blank or a quote")
    if '"' in text:
        raise ProjectFormatError(f"{decode(text)!r} holds blanks and a quote, which no word can")
    return f'"{text}"'


def render(value: Any, column: Column) -> str:
    """Write a value of a column as the word of a line.

    Raises:
        ProjectFormatError: The value can't stand there.
    """
    if column.kind == "number":
        return _render_number(value)
    if column.kind == "flag":
        return _render_flag(value, column.flags)
    if column.kind == "date":
        return _render_date(value)
    if column.kind == "time":
        return _render_time(value)
    if isinstance(value, numbers.Real) and not isinstance(value, bool):
        value = format_number(_float_of(value))
    if not isinstance(value, str):
        raise ProjectFormatError(f"{value!r} is no text")
    return quote(value, column.kind == "id")
