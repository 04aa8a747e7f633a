"""Objects of a class or kind, by their IDs."""
from __future__ import annotations

import ctypes
import difflib
import math
from array import array
from itertools import repeat
from typing import (TYPE_CHECKING, Dict, Generic, Iterable, Iterator, List, Mapping, Optional, Sequence, Tuple,
                    TypeVar, Union, cast)

from . import _objects as objects
from ._header import Access, Code, LinkKind, NodeKind, ObjectClass
from ._quantities import ModelObject, PollutantQuantity, Quantity, quantities_of, target_of
from .errors import UnknownError, ValueRefused

if TYPE_CHECKING:
    import numpy as np
    import pandas as pd
    from numpy.typing import ArrayLike, NDArray

    from .model import Model

T = TypeVar("T", bound=ModelObject)

_WORDS: Dict[str, Tuple[ObjectClass, int]] = {c.name.lower(): (c, -1) for c in ObjectClass}
_WORDS.update({k.name.lower(): (ObjectClass.NODE, int(k)) for k in NodeKind})
_WORDS.update({k.name.lower(): (ObjectClass.LINK, int(k)) for k in LinkKind})


def class_of_word(word: str) -> Tuple[ObjectClass, int]:
    """Class and kind of a word in the singular or the plural; kind -1 stands for all kinds. UnknownError."""
    if not isinstance(word, str):
        raise TypeError(f"a class or kind is a word as node, not {word!r}")
    key = word.lower().replace(" ", "_")
    for candidate in (key, key[:-1] if key.endswith("s") else key):
        if candidate in _WORDS:
            return _WORDS[candidate]
    near = difflib.get_close_matches(key, _WORDS, 1)
    hint = f': did you mean "{near[0]}"?' if near else ""
    raise UnknownError(f'there is no class or kind "{word}"{hint}', Code.ERROR_CLASS)


class Group(Mapping[str, T], Generic[T]):
    """Objects of a class or kind: `group["T1"]` or `group[0]`, len, iteration over IDs in the order of the project file
    (numbers as text for LID units, which have no ID). `array`, `frame` and `set` move a whole column at once."""

    def __init__(self, model: Model, object_class: ObjectClass, kind: int) -> None:
        self._model = model
        self._class = object_class
        self._kind = kind
        ids = model._ids(object_class)
        self._class_count = len(ids)
        self._indices: Sequence[int] = range(len(ids))
        if kind >= 0:
            self._indices = [n for n in self._indices if self._kind_of(n) == kind]
        self._is_whole = len(self._indices) == self._class_count
        self._ids = [ids[n] or str(n) for n in self._indices]
        self._type = objects.CLASSES[(object_class, kind)]

    def _kind_of(self, index: int) -> int:
        number = ctypes.c_int32()
        self._model._call("tv_getKind", int(self._class), index, ctypes.byref(number))
        return number.value

    @property
    def ids(self) -> List[str]:
        """IDs in the order of the project file."""
        return list(self._ids)

    def __len__(self) -> int:
        return len(self._ids)

    def __iter__(self) -> Iterator[str]:
        return iter(self._ids)

    def __contains__(self, key: object) -> bool:
        try:
            self[cast(str, key)]
        except (KeyError, IndexError, TypeError):
            return False
        return True

    def __getitem__(self, key: Union[str, int]) -> T:
        if not isinstance(key, str):
            if hasattr(key, "__index__"):  # numpy's integers too
                return cast(T, self._model._object(self._class, self._indices[key]))
            raise TypeError(f"{self._type.__name__} is asked for by ID or number, not by {type(key).__name__}")
        has_no_ids = self._class in (ObjectClass.SYSTEM, ObjectClass.LID_UNIT)
        if has_no_ids and key.isdigit() and int(key) < self._class_count:
            return cast(T, self._model._object(self._class, int(key)))
        index = ctypes.c_int32()
        code = int(Code.ERROR_ID)
        if "\0" not in key:
            code = self._model._try("tv_findObject", int(self._class), key.encode("utf-8", "surrogateescape"),
                                    ctypes.byref(index))
        if code and code != Code.ERROR_ID:
            raise self._model._error(code)
        if code or (self._kind >= 0 and self._kind_of(index.value) != self._kind):
            near = difflib.get_close_matches(key, self._ids, 1)
            hint = f': did you mean "{near[0]}"?' if near else ""
            raise UnknownError(f'there is no {self._type.__name__} "{key}"{hint}', Code.ERROR_ID)
        return cast(T, self._model._object(self._class, index.value))

    def array(self, variable: str, pollutant: Optional[str] = None) -> NDArray[np.float64]:
        """Values of a variable of all objects in their order, in the unit of the list of variables; of a pollutant
        where it goes by pollutant. nan for objects without it. UnknownError, PhaseError."""
        import numpy as np

        model = self._model
        number = model._number(self._class, self._plain_name(variable))
        values = np.empty(self._class_count)
        code = model._try("tv_getValues", number, model._pollutant(pollutant), values.ctypes.data, values.size)
        if code:
            raise model._error(code, f"{self._class.name.lower()}, {variable}")
        return values if self._is_whole else values[np.asarray(self._indices, dtype=np.intp)]

    def set(self, variable: str, values: Union[ArrayLike, Mapping[str, float], pd.Series],
            pollutant: Optional[str] = None) -> None:
        """Sets a variable of all objects: one value, an array in their order (nan: stays as it is), or values by ID
        (the others stay). If one is refused none is set. What a step works out is held, as by an assignment."""
        model = self._model
        name = self._plain_name(variable)
        quantity = quantities_of(self._type).get(name)
        if isinstance(quantity, Quantity):
            name = target_of(self._type, quantity)
        whole = array("d", [math.nan]) * max(1, self._class_count)
        if isinstance(values, Mapping) or hasattr(values, "items"):  # a Series has them too
            for key, value in cast(Mapping[str, float], values).items():
                whole[self[str(key)].index] = float(value)
        else:
            for index, value in zip(self._indices, self._column_of(variable, values)):
                whole[index] = value
        code = model._try("tv_setValues", model._number(self._class, name), model._pollutant(pollutant),
                          whole.buffer_info()[0], self._class_count)
        if code:
            raise model._error(code, f"{self._class.name.lower()}, {name}")

    def _column_of(self, variable: str, values: ArrayLike) -> Iterable[float]:
        """A value for each object, of one for all or an array."""
        if isinstance(values, (int, float)):
            return repeat(float(values))
        import numpy as np

        column = np.asarray(values, dtype=np.float64)
        if column.ndim > 1 or (column.ndim == 1 and len(column) != len(self)):
            raise ValueRefused(f"{variable}: {column.size} values for {len(self)} objects", Code.ERROR_SIZE)
        every: List[float] = np.broadcast_to(column, len(self)).tolist()
        return every

    def _plain_name(self, variable: str) -> str:
        quantity = getattr(self._type, variable, None)
        return quantity.name if isinstance(quantity, (Quantity, PollutantQuantity)) else variable

    def frame(self, *variables: str) -> pd.DataFrame:
        """Values as a frame: a row for each object, a column for each variable, or for "variable[pollutant]" of those
        that go by pollutant. Without names all that can be read now. Units are in `.attrs["units"]`."""
        import pandas as pd

        columns, units = self.columns(*variables)
        frame = pd.DataFrame(columns, index=pd.Index(self._ids, name="id"))
        frame.attrs["units"] = units
        return frame

    def columns(self, *variables: str) -> Tuple[Dict[str, NDArray[np.float64]], Dict[str, str]]:
        """As `frame`, without pandas: arrays by title, and units by title."""
        known = self._all_quantities()
        for name in variables:
            if self._plain_name(name) not in known:
                raise UnknownError(f'{self._type.__name__} has no variable "{name}"', Code.ERROR_VARIABLE)
        in_run = self._model.phase > 1
        columns: Dict[str, NDArray[np.float64]] = {}
        units: Dict[str, str] = {}
        for name in variables or known:
            quantity = known[self._plain_name(name)]
            if not variables and not in_run and quantity.access != Access.PARAMETER:
                continue
            if isinstance(quantity, PollutantQuantity):
                for pollutant in self._model.pollutants:
                    title = f"{name}[{pollutant}]"
                    columns[title] = self.array(quantity.name, pollutant)
                    units[title] = quantity.unit
            else:
                columns[name] = self.array(quantity.name)
                units[name] = quantity.unit
        return columns, units

    def _all_quantities(self) -> Dict[str, Union[Quantity, PollutantQuantity]]:
        """Variables of the class, with those that some kinds of it have."""
        found: Dict[str, Union[Quantity, PollutantQuantity]] = {}
        for (object_class, kind), made in objects.CLASSES.items():
            if object_class == self._class and (self._kind < 0 or kind in (-1, self._kind)):
                found.update(quantities_of(made))
        return found

    def __repr__(self) -> str:
        return f"<{len(self)} {self._type.__name__}: {', '.join(self._ids[:10])}{' ...' if len(self) > 10 else ''}>"
