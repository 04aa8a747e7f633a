"""What a model asks of the library: calls with their errors, messages, values by number, IDs."""
from __future__ import annotations

import ctypes
import threading
import warnings
from typing import TYPE_CHECKING, Any, Dict, List, Optional, Tuple

from . import _header as header
from ._groups import Group
from ._header import Code, Level, ObjectClass
from ._library import library
from ._places import user_level
from .errors import PhaseError, ProjectError, TarnveldeError, UnknownError, class_of_code
from .messages import Message, message_of, summary_of, warning_of

if TYPE_CHECKING:
    from ._memory import RowKeeper

_variable_numbers: Dict[Tuple[int, str], int] = {}  # of the library's list, which is the same for all models


class Calls:
    """A model of the library by its handle. Calls of one model wait for each other."""

    def _prepare(self, handle: Optional[int] = None) -> None:
        self._library = library()
        self._lock = threading.RLock()
        self._handle: Optional[int] = None
        self._told = 0
        self._groups: Dict[Tuple[ObjectClass, int], Group[Any]] = {}
        self._all_ids: Dict[ObjectClass, List[str]] = {}
        self._pollutants: Optional[Dict[str, int]] = None
        self._keeper: Optional[RowKeeper] = None
        self._name = ""
        if handle is None:
            made = ctypes.c_void_p()
            code = self._library.tv_create(ctypes.byref(made))
            if code:
                raise self._error(code)
            handle = made.value
        self._handle = handle

    # --- calls -------------------------------------------------------------------------------------------------------

    def _try(self, function: str, *arguments: Any) -> int:
        """Calls a function of the library with this model; its code."""
        with self._lock:
            if self._handle is None:
                raise PhaseError("the model is closed", Code.ERROR_NOT_OPEN)
            code: int = getattr(self._library, function)(self._handle, *arguments)
            return code

    def _call(self, function: str, *arguments: Any) -> None:
        code = self._try(function, *arguments)
        if code:
            raise self._error(code)

    def _error(self, code: int, about: str = "") -> TarnveldeError:
        text = self._library.tv_describeCode(code).decode()
        said = [m for m in self.messages() if m.code == code] if self._handle is not None and code > 0 else []
        kind = class_of_code(code)
        if said:
            text = summary_of(said)
        elif code > 0:
            text = f"ERROR {code}: {text}"
        return kind(f"{about}: {text}" if about else text, code, said)

    def _project_error(self, code: int, name: str) -> TarnveldeError:
        if code < 0:
            return self._error(code, name)
        messages = self.messages()
        text = summary_of(messages) or f"ERROR {code}: {self._library.tv_describeCode(code).decode()}"
        return ProjectError(f"{name}:\n{text}", code, messages)

    def messages(self) -> List[Message]:
        """What the engine has said since the opening."""
        return self._messages_from(0)

    def _messages_from(self, first: int) -> List[Message]:
        with self._lock:
            count = ctypes.c_int32()
            self._call("tv_getMessageCount", ctypes.byref(count))
            raw = header.RawMessage()
            found = []
            for index in range(first, count.value):
                self._call("tv_getMessage", index, ctypes.byref(raw))
                found.append(self._message_of(raw))
            return found

    def _message_of(self, raw: Any) -> Message:
        return message_of(raw)

    def _tell(self) -> None:
        """Hands new warnings of the engine over to Python's."""
        messages = self._messages_from(self._told)
        self._told += len(messages)
        for message in messages:
            if message.level == Level.WARNING:
                warnings.warn(warning_of(message), stacklevel=user_level())

    # --- values and IDs ----------------------------------------------------------------------------------------------

    def _number(self, object_class: ObjectClass, name: str) -> int:
        key = (int(object_class), name)
        number = _variable_numbers.get(key)
        if number is None:
            found = ctypes.c_int32()
            if "\0" in name or self._library.tv_findVariable(int(object_class), name.encode(), ctypes.byref(found)):
                raise UnknownError(f'{object_class.name.lower()} has no variable "{name}"', Code.ERROR_VARIABLE)
            number = _variable_numbers[key] = found.value
        return number

    def _value(self, object_class: ObjectClass, name: str, index: int, pollutant: int) -> float:
        value = ctypes.c_double()
        code = self._try("tv_getValue", self._number(object_class, name), index, pollutant, ctypes.byref(value))
        if code:
            raise self._error(code, self._about(object_class, name, index))
        return value.value

    def _assign(self, object_class: ObjectClass, name: str, index: int, pollutant: int, value: float) -> None:
        code = self._try("tv_setValue", self._number(object_class, name), index, pollutant, float(value))
        if code:
            raise self._error(code, f"{self._about(object_class, name, index)} = {value}")

    def _about(self, object_class: ObjectClass, name: str, index: int) -> str:
        identifier = self._identifier(object_class, index)
        return f"{object_class.name.lower()} {identifier or index}, {name}"

    def _identifier(self, object_class: ObjectClass, index: int) -> str:
        text = ctypes.c_char_p()
        self._call("tv_getId", int(object_class), index, ctypes.byref(text))
        return text.value.decode("utf-8", "surrogateescape") if text.value else ""

    def _ids(self, object_class: ObjectClass) -> List[str]:
        """IDs of all objects of a class, read once."""
        with self._lock:
            found = self._all_ids.get(object_class)
            if found is None:
                count = ctypes.c_int32()
                self._call("tv_getCount", int(object_class), ctypes.byref(count))
                text = ctypes.c_char_p()
                place, get, handle, number = ctypes.byref(text), self._library.tv_getId, self._handle, int(object_class)
                found = []
                for index in range(count.value):
                    get(handle, number, index, place)
                    found.append((text.value or b"").decode("utf-8", "surrogateescape"))
                self._all_ids[object_class] = found
            return found
