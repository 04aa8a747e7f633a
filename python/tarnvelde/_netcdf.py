"""Results as a dataset after the CF conventions (Climate and Forecast metadata conventions, version 1.8)."""
from __future__ import annotations

from typing import TYPE_CHECKING, Any, Dict, List, Tuple

import numpy as np

from ._library import version
from ._tables import CLASSES

if TYPE_CHECKING:
    from .results import Results

# Units as the library writes them, and as UDUNITS does.
UNITS = {"m3/s": "m3 s-1", "mm/h": "mm h-1", "mm/d": "mm day-1", "m/s": "m s-1", "m3": "m3", "m": "m",
         "mg/L": "mg L-1", "": "1"}
# Standard names where the conventions have one that fits.
STANDARD = {"rain": "rainfall_rate"}
DIMENSIONS = {"subcatchments": "subcatchment", "lid_units": "lid_unit", "nodes": "node", "links": "link"}


def dataset_of(results: Results) -> Any:
    """The dataset of all results."""
    try:
        import xarray
    except ImportError:
        raise ImportError("a dataset needs xarray (Debian: python3-xarray)") from None
    from .results import meaning_of

    variables: Dict[str, Any] = {}
    pollutants = results.pollutants
    coordinates: Dict[str, Any] = {"time": ("time", np.asarray(results.times), {
        "standard_name": "time", "long_name": "end of the report period", "axis": "T"})}
    if pollutants:
        coordinates["pollutant"] = ("pollutant", pollutants, {"long_name": "pollutant"})
    tables = results._source.tables
    for word, dimension in DIMENSIONS.items():
        owners: Any = getattr(results, word)
        ids = owners.ids
        if not ids:
            continue
        coordinates[dimension] = (dimension, ids, {"long_name": f"ID of the {dimension}", "cf_role": "timeseries_id"})
        if word not in ("subcatchments", "lid_units"):
            kinds = [info.name.lower() for info in tables if info.name in CLASSES[word] for _ in info.ids]
            coordinates[f"{dimension}_kind"] = (dimension, kinds, {"long_name": f"kind of the {dimension}"})
        names: List[Tuple[str, bool]] = list(dict.fromkeys(
            (name, False) if isinstance(name, str) else (name[0], True) for name in owners))
        for name, goes_by_pollutant in names:
            keys: List[Any] = [(name, pollutant) for pollutant in pollutants] if goes_by_pollutant else [name]
            frames = [owners[key].reindex(columns=ids) for key in keys]
            values = np.stack([frame.to_numpy(np.float32) for frame in frames], axis=-1)
            attributes = {"units": UNITS[frames[0].attrs["unit"]], "long_name": meaning_of(word, name)}
            if name in STANDARD:
                attributes["standard_name"] = STANDARD[name]
            dims: Tuple[str, ...] = ("time", dimension)
            if goes_by_pollutant:
                dims += ("pollutant",)
            variables[f"{dimension}_{name}"] = (dims, values if goes_by_pollutant else values[..., 0], attributes)
    system = results.system
    for name in system:
        unit = UNITS[system.attrs["units"][name]]
        variables[f"system_{name}"] = ("time", system[name].to_numpy(np.float32),
                                       {"units": unit, "long_name": meaning_of("system", name)})
    return xarray.Dataset(variables, coordinates, {
        "Conventions": "CF-1.8", "title": f"Results of {results.name}", "source": f"Tarnvelde {version()}",
        "featureType": "timeSeries", "report_step": f"{results.report_step:g} s"})
