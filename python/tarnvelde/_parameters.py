"""Parameters that are varied: their bounds, the values that a project has, and the cells of members that set them."""
from __future__ import annotations

import math
from pathlib import Path
from typing import Any, Dict, List, Mapping, NamedTuple, Optional, Tuple, Union

import numpy as np
import pandas as pd
from numpy.typing import NDArray

from ._driving import assign, split_place
from ._engines import Engines
from ._header import ObjectClass
from ._groups import class_of_word
from ._places import Source, source_of
from .errors import UnknownError
from .model import Model
from .results import Results

Values = NDArray[np.float64]


class Range(NamedTuple):
    """Bounds of a value in the unit of its variable. log: whether it is looked for by its order of magnitude, as
    between 0.01 and 10; both bounds are above 0 then."""

    low: float
    high: float
    log: bool = False


class Factor(NamedTuple):
    """Bounds of a factor on the values that the project has: those of a whole class keep their proportions. What it
    makes of them stays between `least` and `most`, say Factor(0.5, 2.0, most=100.0) of shares in %."""

    low: float
    high: float
    log: bool = False
    least: float = -math.inf
    most: float = math.inf


Bounds = Union[Range, Factor, Tuple[float, float]]
"""Bounds of a parameter; two numbers are a Range."""


class _Cell(NamedTuple):
    """A cell of a member's row; base is the project's value under a factor, nan where the value stands for itself."""

    column: str
    base: float


class Parameters:
    """What is varied in a project, as points of a cube whose edges run from 0 to 1."""

    def __init__(self, project: Any, given: Mapping[str, Bounds], settings: Optional[Mapping[str, Any]] = None,
                 engines: Optional[Engines] = None) -> None:
        if not given:
            raise ValueError("no parameters are given")
        self.project = project
        self.settings = dict(settings or {})
        self.names = list(given)
        self.bounds = [_bounds_of(name, bounds) for name, bounds in given.items()]
        for name in self.settings:
            if name.startswith("file:"):
                raise ValueError(f'"{name}": a file of the project is not a setting here')
        self._cells: List[List[_Cell]] = []
        self.start = np.empty(len(self.names))
        self._look(engines)

    def _look(self, engines: Optional[Engines]) -> None:
        """Reads the values of the project, and sets them, so that a place that can't be set is told ahead of all
        trials."""
        middle = self.row(np.array([0.5 * (b.low + b.high) for b in self.bounds]), texts_only=True)
        with Model(self.filled({**self.settings, **middle}), engines=engines, tell_warnings=False) as model:
            assign(model, places_of(self.settings))
            for number, (name, bounds) in enumerate(zip(self.names, self.bounds)):
                cells, value = _cells_of(model, name, bounds)
                self._cells.append(cells)
                self.start[number] = _share_of(bounds, min(max(value, bounds.low), bounds.high))
            assign(model, places_of(self.row(self.values(self.start))))

    def __len__(self) -> int:
        return len(self.names)

    def values(self, point: Values) -> Values:
        """Values, or factors, of a point of the cube."""
        return np.array([_value_at(bounds, float(share)) for bounds, share in zip(self.bounds, point)])

    def row(self, values: Values, *, texts_only: bool = False) -> Dict[str, Any]:
        """The cells of a member with these values, or factors; of the templates alone with texts_only."""
        found: Dict[str, Any] = {}
        for number, (name, bounds) in enumerate(zip(self.names, self.bounds)):
            if texts_only:
                if is_text(name):
                    found[name] = float(values[number])
                continue
            for column, base in self._cells[number]:
                value = float(values[number])
                if isinstance(bounds, Factor):
                    value = min(max(base * value, bounds.least), bounds.most)
                found[column] = value
        return found

    def members(self, points: List[Values], first: int) -> pd.DataFrame:
        """A frame of members, one for each point, named by numbers from the first on."""
        rows = [{**self.settings, **self.row(self.values(point))} for point in points]
        return pd.DataFrame(rows, index=[name_of(first + k) for k in range(len(points))])

    def filled(self, settings: Mapping[str, Any]) -> Source:
        """The project with its templates, ${NAME}, filled from settings."""
        source = source_of(self.project)
        texts = {name: value for name, value in settings.items() if is_text(name)}
        if not texts:
            return source
        text, folder = source.text, source.folder
        if source.path is not None:
            text, folder = source.path.read_bytes(), Path(source.path).parent
        for name, value in texts.items():
            key = name.encode()
            if key not in text:
                raise UnknownError(f"{source.name} has no place {name}")
            text = text.replace(key, str(value).encode())
        return Source(None, text, folder, source.name)


def name_of(number: int) -> str:
    """The name of a trial."""
    return f"{number:05d}"


def is_text(name: str) -> bool:
    """Whether a parameter is a template of the text, ${NAME}."""
    return name.startswith("${") and name.endswith("}")


def places_of(settings: Mapping[str, Any]) -> Dict[str, Any]:
    """Those of settings that are variables of the model."""
    return {name: value for name, value in settings.items() if "/" in name and not is_text(name)}


def _bounds_of(name: str, given: Bounds) -> Union[Range, Factor]:
    if not isinstance(given, (Range, Factor)) and (isinstance(given, str) or len(np.shape(given)) != 1
                                                   or len(given) != 2):
        raise ValueError(f"{name}: bounds are two numbers, a Range or a Factor, not {given!r}")
    bounds = given if isinstance(given, (Range, Factor)) else Range(*given)
    if not all(isinstance(bound, (int, float, np.number)) for bound in (bounds.low, bounds.high)):
        raise ValueError(f"{name}: bounds are numbers, not {bounds.low!r} and {bounds.high!r}")
    if not (math.isfinite(bounds.low) and math.isfinite(bounds.high) and bounds.low < bounds.high):
        raise ValueError(f"{name}: bounds are two numbers, the lower one first, not {bounds.low} and {bounds.high}")
    if bounds.log and not bounds.low > 0.0:
        raise ValueError(f"{name}: by order of magnitude the lower bound is above 0, not {bounds.low}")
    if isinstance(bounds, Factor) and is_text(name):
        raise ValueError(f"{name}: the text has no value to put a factor on; give a Range")
    return bounds


def _cells_of(model: Model, name: str, bounds: Union[Range, Factor]) -> Tuple[List[_Cell], float]:
    """The cells that a parameter sets, and what it is in the project."""
    if is_text(name):
        return [_Cell(name, math.nan)], 0.5 * (bounds.low + bounds.high)
    word, identifier, variable, pollutant = split_place(model, name)
    group = model.group(word)
    values = group.array(variable, pollutant)
    bases = {own: float(value) for own, value in zip(group.ids, values) if not math.isnan(value)}
    if identifier != "*" and word != "system":
        key = group[identifier].id or identifier
        if key not in bases:
            raise UnknownError(f"{name}: {identifier} has no {variable}")
        bases = {key: bases[key]}
    if not bases:
        raise UnknownError(f"{name}: the project has none of these")
    if isinstance(bounds, Range):
        return [_Cell(name, math.nan)], sum(bases.values()) / len(bases)
    tail = variable if pollutant is None else f"{variable}/{pollutant}"
    if word == "system":
        return [_Cell(name, bases["0"])], 1.0
    return [_Cell(f"{word}/{own}/{tail}", value) for own, value in bases.items()], 1.0


def _value_at(bounds: Union[Range, Factor], share: float) -> float:
    """The value at a share of the way between the bounds, never beyond them."""
    if share <= 0.0 or share >= 1.0:  # these keep every bit
        return bounds.low if share <= 0.0 else bounds.high
    if bounds.log:
        low = math.log(bounds.low)
        value = math.exp(low + share * (math.log(bounds.high) - low))
    else:
        value = bounds.low + share * (bounds.high - bounds.low)
    return min(max(value, bounds.low), bounds.high)


def _share_of(bounds: Union[Range, Factor], value: float) -> float:
    if bounds.log:
        low = math.log(bounds.low)
        return (math.log(value) - low) / (math.log(bounds.high) - low)
    return (value - bounds.low) / (bounds.high - bounds.low)


# --- places of results -----------------------------------------------------------------------------------------------

_WORDS = {ObjectClass.NODE: "nodes", ObjectClass.LINK: "links", ObjectClass.SUBCATCHMENT: "subcatchments",
          ObjectClass.SYSTEM: "system"}


def split_result(place: str) -> Tuple[str, str, List[str]]:
    """Class, ID and what stands behind it, of a place of results as "nodes/OUT/inflow" or
    "nodes/OUT/concentration/TSS". The last part may be a pollutant, and an ID may hold slashes: only looking at the
    results can tell which is which. UnknownError for what is no place."""
    if not isinstance(place, str):
        raise TypeError(f"a place is text as nodes/OUT/inflow, not {place!r}")
    pieces = place.split("/")
    object_class = class_of_word(pieces[0])[0]
    if object_class not in _WORDS or len(pieces) < (2 if object_class == ObjectClass.SYSTEM else 3):
        raise UnknownError(f'"{place}" names no results: write class/ID/variable, as nodes/OUT/inflow, or '
                           "nodes/OUT/concentration/TSS")
    word = _WORDS[object_class]
    if word == "system":
        return word, "0", [pieces[-1]]
    return word, "/".join(pieces[1:-1]), pieces[-1:]


def series_of(results: Results, place: str) -> pd.Series:
    """Results at a place, period by period, as a Series over time. UnknownError."""
    word, identifier, tail = split_result(place)
    if word == "system":
        frame = results.system
        if tail[0] not in frame:
            raise UnknownError(f'"{place}": the system has no results "{tail[0]}"')
        return frame[tail[0]].rename(place)
    own, _, variable = identifier.rpartition("/")
    found = getattr(results, word)
    by_pollutant = (variable, tail[0])
    if own and tail[0] in results.pollutants:
        frame, identifier = found[by_pollutant], own
    else:
        frame = found[tail[0]]
    if identifier not in frame:
        raise UnknownError(f'"{place}": there is no "{identifier}" among the {word}')
    return frame[identifier].rename(place)


def total_of(totals: Mapping[str, pd.DataFrame], place: str) -> float:
    """A sum or a peak of a run by its place, as "nodes/OUT/peak_inflow". UnknownError. totals: frames by class, with a
    row for each object."""
    word, identifier, tail = split_result(place)
    frame = totals.get(word, pd.DataFrame())
    own, _, variable = identifier.rpartition("/")
    for key, column in ((identifier, tail[0]), (own, f"{variable}[{tail[0]}]")):
        if column in frame and word == "system":
            return float(frame[column].iloc[0])
        if column in frame and key in frame.index:
            return float(frame.at[key, column])
    raise UnknownError(f'"{place}": a run has no such sum or peak'
                       + (f" of {word}; there are {', '.join(frame.columns)}" if len(frame) else ""))
