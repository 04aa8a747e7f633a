"""What the engine says: messages with their place in the project file, and warnings of Python made of them."""
from __future__ import annotations

from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Callable, Iterable, Optional

from ._dates import from_days
from ._header import Level, RawMessage, Severity

if TYPE_CHECKING:
    import numpy as np


@dataclass(frozen=True)
class Message:
    """A message of the engine. What it doesn't have is empty, 0 or None.

    level: Level.INFO, WARNING or ERROR. code: public code of an error. name: stable name of a warning, as
    "W-unit-slope". text: the message in words. section, line, words: its place in the project file, lines from 1 on.
    column, length: the word meant on that line, in bytes from 1 on. object: ID, or the word that is wrong.
    severity, effect, advice: of a warning, how much it weighs, what happens and what to do. date: the moment of the
    run, datetime64.
    """

    level: Level
    code: int
    name: str
    text: str
    section: str
    line: int
    words: str
    object: str
    severity: Severity
    column: int
    length: int
    effect: str
    advice: str
    date: Optional[np.datetime64]

    def __str__(self) -> str:
        place = self.section
        if self.line:
            place += f", line {self.line}" if place else f"line {self.line}"
        name = f"{self.name}: " if self.name else ""
        lines = [f"{place}: {name}{self.text}" if place else name + self.text]
        if self.words:
            lines.append(f"    {self.words.strip()}")
        return "\n".join(lines)


def message_of(raw: RawMessage, date_of: Callable[[float], Any] = from_days) -> Message:
    """A message of the library, copied. date_of: makes a date of days."""

    def text(field: str) -> str:
        value: Optional[bytes] = getattr(raw, field)
        return value.decode("utf-8", "replace") if value else ""

    date = getattr(raw, "date")
    return Message(
        level=Level(raw.level), code=int(raw.code), name=text("name"), text=text("text"), section=text("section"),
        line=int(raw.line), words=text("words"), object=text("object"), severity=Severity(raw.severity),
        column=int(raw.column), length=int(raw.length), effect=text("effect"), advice=text("advice"),
        date=date_of(date) if date else None)


class EngineWarning(UserWarning):
    """A warning of the engine as one of Python; `message` is the Message. The classes below go by severity, so that
    `warnings.simplefilter("ignore", tarnvelde.NoteWarning)` leaves the more serious ones."""

    def __init__(self, message: Any) -> None:
        super().__init__(str(message))
        self.message = message


class NoteWarning(EngineWarning):
    """Unusual, but possibly meant."""


class DoubtWarning(EngineWarning):
    """Probably not meant."""


class SeriousWarning(EngineWarning):
    """Results can't be right."""


_BY_SEVERITY = {Severity.NOTE: NoteWarning, Severity.DOUBT: DoubtWarning, Severity.SERIOUS: SeriousWarning}


def warning_of(message: Message) -> EngineWarning:
    """The warning of Python for a message of level WARNING."""
    return _BY_SEVERITY[message.severity](message)


def summary_of(messages: Iterable[Message]) -> str:
    """The errors among messages, one below the other, for the text of an exception; ten at most."""
    errors = [str(message) for message in messages if message.level == Level.ERROR]
    rest = len(errors) - 10
    return "\n".join(errors[:10] + ([f"... and {rest} more"] if rest > 0 else []))
