"""What a run is made of, without numpy and pandas: parameters set by places, the way to the end, totals as plain
columns. Processes that run members of an ensemble need no more, and start in a fraction of the time.
"""
from __future__ import annotations

import math
import time
from array import array
from typing import Any, Callable, Dict, List, Mapping, NamedTuple, Optional, Sequence, Tuple

from . import _header as header
from ._dates import DateLike, to_days
from ._groups import Group
from ._header import NO_POLLUTANT, Access, Code, ObjectClass, Phase
from ._quantities import PollutantQuantity
from .errors import PhaseError, UnknownError
from .model import Model

_CALL_SECONDS = 0.1  # of a call of the library: signals of Python wait so long
_CLASSES = ("system", "subcatchments", "lid_units", "nodes", "links")


def run_to_end(model: Model, until: Optional[DateLike], hear: Optional[Callable[[Any], None]]) -> int:
    """Steps to the end in calls that are short enough for a key to be heard; the number of steps. hear: takes the clock
    after each call."""
    last = header.END if until is None else to_days(until)
    first = model._clock()
    days = 10.0 * first.step / 86400.0
    while model.phase == Phase.STARTED:
        clock = model._clock()
        if clock.now >= last - 0.5e-3 / 86400.0:
            break
        begin = time.perf_counter()
        model._advance("tv_runUntil", min(clock.now + days, last))
        seconds = time.perf_counter() - begin
        days *= min(8.0, max(0.1, _CALL_SECONDS / max(seconds, 1e-9)))
        if hear is not None:
            hear(model._clock())
    return int(round((model._clock().now - first.now) * 86400.0 / first.step))


class Columns(NamedTuple):
    """Values of objects, one column after the other: for each title those of all IDs."""

    ids: List[str]
    titles: List[str]
    units: Dict[str, str]
    values: array[float]


class _Wanted(NamedTuple):
    """A column of totals: number of its variable and of its pollutant in the library."""

    number: int
    pollutant: int
    title: str
    unit: str


_NAN = array("d", [math.nan]).tobytes()  # as the library gives it
_wanted: Dict[Tuple[ObjectClass, Tuple[str, ...]], List[_Wanted]] = {}  # the same for all models of these pollutants


def _wanted_of(model: Model, group: Group[Any]) -> List[_Wanted]:
    """The totals of a class, with a column for each pollutant where they go by pollutant."""
    pollutants = model._ids(ObjectClass.POLLUTANT)
    key = (group._class, tuple(pollutants))
    found = _wanted.get(key)
    if found is None:
        found = []
        for name, quantity in group._all_quantities().items():
            if quantity.access != Access.TOTAL:
                continue
            number = model._number(group._class, quantity.name)
            if isinstance(quantity, PollutantQuantity):
                found += [_Wanted(number, pollutant, f"{name}[{identifier}]", quantity.unit)
                          for pollutant, identifier in enumerate(pollutants)]
            else:
                found.append(_Wanted(number, NO_POLLUTANT, name, quantity.unit))
        _wanted[key] = found
    return found


def total_columns(model: Model) -> Dict[str, Columns]:
    """Sums, peaks and balances of a run by class. Columns that no object has are left out."""
    found = {}
    for word in _CLASSES:
        group = model.group(word)
        if len(group):
            found[word] = _totals_of(model, group, _wanted_of(model, group))
    return found


def _is_all_nan(values: array[float]) -> bool:
    return values.tobytes() == len(values) * _NAN or all(value != value for value in values)


def _totals_of(model: Model, group: Group[Any], wanted: Sequence[_Wanted]) -> Columns:
    count = len(group)
    values = array("d", bytes(8 * count * len(wanted)))
    titles: List[str] = []
    units: Dict[str, str] = {}
    place, end = values.buffer_info()[0], 0
    is_system = group._class == ObjectClass.SYSTEM
    with model._lock:
        if model._handle is None:
            raise PhaseError("the model is closed", Code.ERROR_NOT_OPEN)
        get, handle = model._library.tv_getValues, model._handle
        for number, pollutant, title, unit in wanted:
            code = get(handle, number, pollutant, place + 8 * end, count)
            if code:
                raise model._error(code, f"{group._class.name.lower()}, {title}")
            # the next column comes in the place of one that has nothing but nan
            if is_system or values[end] == values[end] or not _is_all_nan(values[end:end + count]):
                titles.append(title)
                units[title] = unit
                end += count
    del values[end:]
    return Columns(group.ids, titles, units, values)


def assign(model: Model, settings: Mapping[str, Any]) -> None:
    """Sets parameters by places: "class/ID/variable", "class/*/variable", with "/pollutant" added where the
    variable has a value for each pollutant. The ID may hold slashes. UnknownError, ValueRefused."""
    if not isinstance(settings, Mapping):
        raise TypeError(f"settings are a mapping of places and values, not {type(settings).__name__}")
    for place, value in settings.items():
        word, identifier, variable, pollutant = split_place(model, place)
        group = model.group(word)
        if identifier == "*":
            group.set(variable, value, pollutant)
        else:
            group.set(variable, {identifier: value}, pollutant)


def split_place(model: Model, place: str) -> Tuple[str, str, str, Optional[str]]:
    """Class, ID, variable and pollutant of a place such as "subcatchment/S07/width"."""
    if not isinstance(place, str):
        raise TypeError(f"a place is text as subcatchment/S07/width, not {place!r}")
    pieces = place.split("/")
    if len(pieces) < 3 and pieces[0] not in ("system",):
        raise UnknownError(f'"{place}" names nothing: write class/ID/variable, as subcatchment/S07/width',
                           Code.ERROR_VARIABLE)
    if pieces[0] == "system":
        return "system", "0", pieces[-1], None
    known = model.group(pieces[0])._all_quantities()
    plain = model.group(pieces[0])._plain_name
    if len(pieces) > 3 and isinstance(known.get(plain(pieces[-2])), PollutantQuantity):
        return pieces[0], "/".join(pieces[1:-2]), pieces[-2], pieces[-1]
    return pieces[0], "/".join(pieces[1:-1]), pieces[-1], None
