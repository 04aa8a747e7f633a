"""What a run is made of, without pandas: parameters set by places, the way to the end, totals as plain columns.
Processes that run members of an ensemble need no more, and start in a fifth of the time.
"""
from __future__ import annotations

import time
from typing import Any, Callable, Dict, List, Mapping, NamedTuple, Optional, Tuple

import numpy as np
from numpy.typing import NDArray

from . import _header as header
from ._dates import DateLike, from_days, to_days
from ._header import Access, Code, Phase
from ._quantities import PollutantQuantity
from .errors import UnknownError
from .model import Model

_CALL_SECONDS = 0.1  # of a call of the library: signals of Python wait so long
_CLASSES = ("system", "subcatchments", "lid_units", "nodes", "links")


def run_to_end(model: Model, until: Optional[DateLike],
               progress: Optional[Callable[[float, np.datetime64], None]]) -> int:
    """Steps to the end in calls that are short enough for a key to be heard; the number of steps."""
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
        if progress is not None:
            clock = model._clock()
            progress(float(clock.progress), from_days(clock.now))
    return int(round((model._clock().now - first.now) * 86400.0 / first.step))


class Columns(NamedTuple):
    """Values of objects: a row for each ID, a column for each title."""

    ids: List[str]
    titles: List[str]
    units: Dict[str, str]
    values: NDArray[np.float64]


def total_columns(model: Model) -> Dict[str, Columns]:
    """Sums, peaks and balances of a run by class. Columns that no object has are left out."""
    found = {}
    for word in _CLASSES:
        group = model.group(word)
        if not len(group):
            continue
        names = [name for name, quantity in group._all_quantities().items() if quantity.access == Access.TOTAL]
        columns, units = group.columns(*names)
        titles = [title for title, values in columns.items() if word == "system" or not np.isnan(values).all()]
        values = np.array([columns[title] for title in titles]).reshape(len(titles), len(group)).T
        found[word] = Columns(group.ids, titles, {title: units[title] for title in titles}, values)
    return found


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
