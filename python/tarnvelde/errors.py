"""What goes wrong, as exceptions.

    TarnveldeError          everything below
    +-- LibraryError        the shared library can't be loaded
    +-- ProjectError        a project file with errors, or one that can't be read
    +-- RunError            the engine ended a run, or files of a run can't be written
    +-- PhaseError          a call at a stage at which it can't be done: no run is started, a model is closed
    +-- UnknownError        no object, variable or pollutant of this name; also a KeyError
    +-- ValueRefused        a value outside the range of its variable; also a ValueError
    +-- StateError          bytes that are no state, or that of another project
    +-- ResultsError        a file of results that can't be read
"""
from __future__ import annotations

from typing import Any, Sequence, Tuple, Type

from ._header import Code
from .messages import Message


class TarnveldeError(Exception):
    """Base of all. `code` is the public code of the engine (positive) or that of the call (negative, `Code`), 0 where
    there is none; `messages` are what the engine said about it, each with its place."""

    def __init__(self, text: str, code: int = 0, messages: Sequence[Message] = ()) -> None:
        super().__init__(text)
        self.code = code
        self.messages: Tuple[Message, ...] = tuple(messages)

    def __reduce__(self) -> Any:  # so that it passes between processes
        return (type(self), (self.args[0], self.code, self.messages))

    def __str__(self) -> str:
        return str(self.args[0])


class LibraryError(TarnveldeError, ImportError):
    """The shared library can't be loaded."""


class ProjectError(TarnveldeError):
    """A project with errors: `messages` lists each with its section, line and words."""


class RunError(TarnveldeError):
    """The engine ended a run, or files of a run can't be written. `run` is the Run so far where there is one: its
    results can be read."""

    run: Any = None


class PhaseError(TarnveldeError):
    """The model is in a phase in which this can't be done."""


class UnknownError(TarnveldeError, KeyError):
    """No object, variable, pollutant, table or column of this name."""


class ValueRefused(TarnveldeError, ValueError):
    """A value that can't be set: outside its range, no number, or of another length."""


class StateError(TarnveldeError):
    """Bytes that are no state, are damaged, or belong to another project or version."""


class ResultsError(TarnveldeError):
    """A file of results that can't be read."""


_OF_CODES = {
    Code.ERROR_NOT_OPEN: PhaseError,
    Code.ERROR_OPEN: PhaseError,
    Code.ERROR_NOT_STARTED: PhaseError,
    Code.ERROR_STARTED: PhaseError,
    Code.ERROR_FINISHED: PhaseError,
    Code.ERROR_NOT_NOW: PhaseError,
    Code.ERROR_BUSY: PhaseError,
    Code.ERROR_NO_ROWS: PhaseError,
    Code.ERROR_CLASS: UnknownError,
    Code.ERROR_INDEX: UnknownError,
    Code.ERROR_ID: UnknownError,
    Code.ERROR_VARIABLE: UnknownError,
    Code.ERROR_KIND: UnknownError,
    Code.ERROR_READ_ONLY: ValueRefused,
    Code.ERROR_RANGE: ValueRefused,
    Code.ERROR_SIZE: ValueRefused,
    Code.ERROR_FILE: RunError,
    Code.ERROR_NO_STATE: StateError,
    Code.ERROR_STATE_VERSION: StateError,
    Code.ERROR_STATE_PROJECT: StateError,
    Code.ERROR_STATE_DAMAGED: StateError,
    Code.ERROR_STATE_ENGINE: StateError,
}


def class_of_code(code: int) -> Type[TarnveldeError]:
    """The exception for a code of a call; RunError for the engine's own codes."""
    if code > 0:
        return RunError
    return _OF_CODES.get(Code(code), TarnveldeError) if code in list(Code) else TarnveldeError
