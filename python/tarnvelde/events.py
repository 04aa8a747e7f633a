"""Events of flow: how often, how long and how much an overflow spills, with which load.

An event is a time of flow above a threshold that ends where a gap of at least a given length without such flow follows:
the definition by a minimum time between events (Restrepo-Posada and Eagleson 1982, J. Hydrol. 55, 303-319). Each row of
the results counts for the report period that ends with it. These are the definitions of the command `tarnvelde stats`;
docs/statistics.md has all of them.
"""
from __future__ import annotations

from typing import Any, Dict, Iterable, List, NamedTuple, Optional, Tuple, Union

import numpy as np
import pandas as pd
from numpy.typing import NDArray

from ._dates import DateLike, DurationLike, parse, to_seconds
from ._tables import TableInfo
from .errors import UnknownError
from .results import Results

_USUAL_TABLES = ("Outfall", "Pump", "Weir", "Orifice")
_CARRIERS = {"Subcatchment": "runoff", "Junction": "inflow", "Outfall": "inflow", "Splitter": "inflow",
             "Reactor": "outflow"}
_LINKS = ("Pipe", "Pump", "Connection", "Conduit", "Weir", "Orifice")
_QUALITY_OF = {"flooding": ("Tank", "Pipe", "Conduit"), "split_flow": ("Splitter",), "rest_flow": ("Splitter",)}
_DAYS_PER_YEAR = 365.25


class _Rows(NamedTuple):
    """Reports of one object that have a flow, those that are none left out."""

    ends: NDArray[np.datetime64]
    flow: NDArray[np.float64]
    concentrations: Dict[str, NDArray[np.float64]]
    step: float


def events(results: Any, objects: Union[None, str, Iterable[str]] = None, *, variable: Optional[str] = None,
           gap: DurationLike = "6h", threshold: float = 0.0, start: Optional[DateLike] = None,
           end: Optional[DateLike] = None) -> pd.DataFrame:
    """Events of flow of some objects: a row for each.

    results: a Run, or Results. objects: an ID or several; all outfalls, pumps, weirs and orifices if none are given.
    variable: which flow, as "flooding" or "split_flow"; else that which carries the water (inflow of nodes, outflow of
    reactors, flow of links, runoff of subcatchments). gap: how long it must be without flow to end an event, "6h" or
    seconds, 0 for each dry report. threshold: m3/s, what is above it is flow. start, end: report periods that lie
    between the two dates as a whole.

    Columns: table, object, start, end, began_before (there was flow from the first report on), goes_on (up to the last
    one), hours (with flow), volume (m3), peak (m3/s), peak_time, and of each pollutant load[ID] (kg), mean[ID] (mg/L,
    flow-weighted: the event mean concentration) and maximum[ID] (mg/L); nan where there are none. Units are in
    `.attrs["units"]`. UnknownError for what isn't there, ValueError for a gap or threshold below 0.
    """
    found: List[Dict[str, Any]] = []
    whole = _results_of(results)
    for info, row, name in _choose(whole, objects, variable):
        rows = _rows_of(whole, info, row, name, start, end)
        for event in _events_of(rows, _seconds_of(gap), _checked(threshold)):
            found.append({"table": info.name, "object": info.ids[row], **event})
    plain = ["table", "object", "start", "end", "began_before", "goes_on", "hours", "volume", "peak", "peak_time"]
    titles = plain + [f"{word}[{p}]" for p in whole.pollutants for word in ("load", "mean", "maximum")]
    frame = pd.DataFrame(found, columns=titles)
    frame.attrs["units"] = _units_of(titles)
    return frame


def event_totals(results: Any, objects: Union[None, str, Iterable[str]] = None, *, variable: Optional[str] = None,
                 gap: DurationLike = "6h", threshold: float = 0.0, start: Optional[DateLike] = None,
                 end: Optional[DateLike] = None) -> pd.DataFrame:
    """Sums over the events of some objects, by (table, object): years of the record (of 365.25 d), events,
    events_per_year, hours, hours_per_year, volume and volume_per_year (m3), mean_event and largest_event (m3), peak
    (m3/s) with peak_time, percentiles of the flow over time p5 ... p99 (m3/s; linear interpolation, type 7 of Hyndman
    and Fan 1996, Am. Stat. 50, 361-365; negative flows count as 0), and of each pollutant load[ID] (kg), mean[ID] and
    maximum[ID] (mg/L). Arguments are those of `events`."""
    whole = _results_of(results)
    single = events(whole, objects, variable=variable, gap=gap, threshold=threshold, start=start, end=end)
    found: List[Dict[str, Any]] = []
    places: List[Tuple[str, str]] = []
    for info, row, name in _choose(whole, objects, variable):
        rows = _rows_of(whole, info, row, name, start, end)
        places.append((info.name, info.ids[row]))
        own = single[(single["table"] == info.name) & (single["object"] == info.ids[row])]
        found.append(_totals_of(own, rows, whole.pollutants, threshold))
    frame = pd.DataFrame(found, index=pd.MultiIndex.from_tuples(places, names=["table", "object"]))
    frame.attrs["units"] = _units_of(list(frame.columns))
    return frame


# --- what is meant ---------------------------------------------------------------------------------------------------

def _results_of(results: Any) -> Results:
    found = getattr(results, "results", results)
    if not isinstance(found, Results):
        raise TypeError(f"events are those of a Run or of Results, not of {type(results).__name__}")
    return found


def _seconds_of(gap: DurationLike) -> float:
    is_none = isinstance(gap, (int, float)) and gap == 0
    return 0.0 if is_none else to_seconds(gap)


def _checked(threshold: float) -> float:
    if not 0.0 <= threshold < float("inf"):
        raise ValueError(f"a threshold is a flow of 0 m3/s or more, not {threshold!r}")
    return threshold


def _choose(results: Results, objects: Union[None, str, Iterable[str]],
            variable: Optional[str]) -> List[Tuple[TableInfo, int, str]]:
    """Tables, rows in them, and the variable that is the flow."""
    tables = results._source.tables
    if objects is None:
        wanted = [(info, row) for info in tables if info.name in _USUAL_TABLES for row in range(len(info.ids))]
    else:
        wanted = []
        for identifier in [objects] if isinstance(objects, str) else list(objects):
            same = [(info, row) for info in tables for row, own in enumerate(info.ids) if own == identifier]
            same = [(info, row) for info, row in same if _flow_of(info, variable)]
            if not same:
                raise UnknownError(f'there is no flow of an object "{identifier}"'
                                   + (f' called "{variable}"' if variable else ""))
            if len(same) > 1:
                raise UnknownError(f'there are several "{identifier}": ' + ", ".join(info.name for info, _ in same))
            wanted += same
    return [(info, row, _flow_of(info, variable)) for info, row in wanted if _flow_of(info, variable)]


def _flow_of(info: TableInfo, variable: Optional[str]) -> str:
    carrier: str = "flow" if info.name in _LINKS else _CARRIERS.get(info.name, "")
    name = carrier if variable is None else variable
    is_there = any(column.variable == name and column.unit == "m3/s" for column in info.columns)
    return name if is_there else ""


def _rows_of(results: Results, info: TableInfo, row: int, name: str, start: Optional[DateLike],
             end: Optional[DateLike]) -> _Rows:
    source = results._source
    ends = source.dates()
    values = source.read_object(source.tables.index(info), row)
    columns = {(column.variable, column.pollutant): number for number, column in enumerate(info.columns)}
    flow = values[:, columns[name, ""]]
    step = source.report_step
    keep = np.isfinite(flow)
    if start is not None:
        keep &= ends - np.timedelta64(int(step), "s") >= _date(start)
    if end is not None:
        keep &= ends <= _date(end)
    is_carrier = name == _flow_of(info, None) or info.name in _QUALITY_OF.get(name, ())
    concentrations = {pollutant: values[keep, number] for (variable, pollutant), number in columns.items()
                      if is_carrier and variable == "concentration"}
    return _Rows(ends[keep], flow[keep], concentrations, step)


def _date(date: DateLike) -> np.datetime64:
    return parse(date.replace("/", "-")) if isinstance(date, str) else np.datetime64(pd.Timestamp(date), "ms")


# --- events ----------------------------------------------------------------------------------------------------------

def _events_of(rows: _Rows, gap: float, threshold: float) -> List[Dict[str, Any]]:
    """The events of one object, in order of time."""
    wet = np.flatnonzero(rows.flow > threshold)
    if not len(wet):
        return []
    dry = (np.diff(wet) - 1) * rows.step  # s without flow between two rows with flow
    firsts = np.append(0, np.flatnonzero((dry > 0) & (dry >= gap)) + 1)
    lasts = np.append(firsts[1:], len(wet)) - 1
    period = np.timedelta64(int(rows.step), "s")
    found = []
    for first, last in zip(firsts, lasts):
        own = wet[first:last + 1]
        flow = rows.flow[own]
        top = int(np.argmax(flow))
        event: Dict[str, Any] = {
            "start": rows.ends[own[0]] - period, "end": rows.ends[own[-1]], "began_before": own[0] == 0,
            "goes_on": own[-1] == len(rows.flow) - 1, "hours": len(own) * rows.step / 3600.0,
            "volume": float(flow.sum()) * rows.step, "peak": float(flow[top]), "peak_time": rows.ends[own[top]]}
        for pollutant, values in rows.concentrations.items():
            event.update(_load_of(pollutant, flow, values[own], rows.step))
        found.append(event)
    return found


def _load_of(pollutant: str, flow: NDArray[np.float64], values: NDArray[np.float64], step: float) -> Dict[str, float]:
    """Load, flow-weighted mean and maximum, of the rows whose concentration is a number. mg/L are g/m3."""
    known = np.isfinite(values)
    volume = float(flow[known].sum()) * step
    load = float((flow[known] * values[known]).sum()) * step / 1000.0
    return {f"load[{pollutant}]": load, f"mean[{pollutant}]": 1000.0 * load / volume if volume > 0.0 else np.nan,
            f"maximum[{pollutant}]": float(values[known].max()) if known.any() else np.nan}


def _totals_of(own: pd.DataFrame, rows: _Rows, pollutants: List[str], threshold: float) -> Dict[str, Any]:
    years = len(rows.flow) * rows.step / 86400.0 / _DAYS_PER_YEAR
    top = own["peak"].idxmax() if len(own) else None
    found: Dict[str, Any] = {"years": years, "events": len(own), "hours": float(own["hours"].sum()),
                             "volume": float(own["volume"].sum())}
    for name in ("events", "hours", "volume"):
        found[f"{name}_per_year"] = found[name] / years if years else np.nan
    found["mean_event"] = found["volume"] / len(own) if len(own) else np.nan
    found["largest_event"] = float(own["volume"].max()) if len(own) else np.nan
    found["peak"] = own["peak"][top] if top is not None else np.nan
    found["peak_time"] = own["peak_time"][top] if top is not None else pd.NaT
    for percent in (5, 25, 50, 75, 95, 99):
        found[f"p{percent}"] = float(np.percentile(np.maximum(rows.flow, 0.0), percent)) if len(rows.flow) else np.nan
    wet = rows.flow > threshold
    for pollutant in pollutants:
        if pollutant in rows.concentrations:
            found.update(_load_of(pollutant, rows.flow[wet], rows.concentrations[pollutant][wet], rows.step))
    return found


def _units_of(titles: List[str]) -> Dict[str, str]:
    units = {"hours": "h", "hours_per_year": "h", "volume": "m3", "volume_per_year": "m3", "mean_event": "m3",
             "largest_event": "m3", "peak": "m3/s", "years": "a", "load": "kg", "mean": "mg/L", "maximum": "mg/L"}
    units.update({f"p{percent}": "m3/s" for percent in (5, 25, 50, 75, 95, 99)})
    return {title: units[title.split("[")[0]] for title in titles if title.split("[")[0] in units}
