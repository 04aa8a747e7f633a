"""The tables of results: their columns with units, and the variables that they hold."""
from __future__ import annotations

from dataclasses import dataclass
from typing import Dict, List, Sequence, Tuple

import numpy as np
from numpy.typing import NDArray

VERSION = 21000
"""Of the form of the files."""

# Columns ahead of those of the pollutants, each with the unit and the variable of the model that it holds.
_RAIN = ("Rainfall", "mm/h", "rain")
_EVAPORATION = ("Evap", "mm/d", "evaporation")
_INFLOW = ("TotInflow", "m3/s", "inflow")
_LATERAL = ("LatInflow", "m3/s", "lateral_flow")
_VOLUME = ("Vol", "m3", "volume")
_FLOOD = ("Flood", "m3/s", "flooding")

LAYOUT: Dict[str, List[Tuple[str, str, str]]] = {
    "System": [_RAIN, _EVAPORATION, ("Infil", "mm/h", "infiltration"), ("Runoff", "m3/s", "runoff"), _INFLOW,
               ("DirInflow", "m3/s", "external_inflow"), ("DWF", "m3/s", "dry_weather_inflow"), _FLOOD,
               ("SWMMIn", "m3/s", "swmm_inflow"), ("Outflow", "m3/s", "outflow"),
               ("SWMMOut", "m3/s", "swmm_outflow"), ("Storage", "m3", "storage")],
    "Subcatchment": [_RAIN, _EVAPORATION, ("Infil", "mm/h", "infiltration"), ("Runoff", "m3/s", "runoff")],
    "Junction": [_INFLOW, _LATERAL],
    "Tank": [("Depth", "m", "depth"), _VOLUME, _INFLOW, _LATERAL, _FLOOD],
    "Outfall": [_INFLOW, _LATERAL],
    "Splitter": [_INFLOW, _LATERAL, ("Outflow1", "m3/s", "split_flow"), ("Outflow2", "m3/s", "rest_flow")],
    "Reactor": [_VOLUME, _INFLOW, _LATERAL, ("Outflow", "m3/s", "outflow"), ("Surpass", "m3/s", "surplus_flow"),
                _EVAPORATION, ("Infil", "mm/h", "infiltration"), ("Empty", "m3/s", "emptying_flow")],
    "LID_Mono": [_INFLOW, _LATERAL, _RAIN, _EVAPORATION, ("Surflow", "m3/s", "surface_flow"),
                 ("Exfil", "mm/h", "infiltration"), ("Drain", "m3/s", "drain_flow"),
                 ("SurDepth", "m", "surface_depth"), ("SoilMoist", "", "soil_moisture"),
                 ("StorDepth", "m", "storage_depth"), ("PaveDepth", "m", "pavement_depth")],
    "Pipe": [_VOLUME, ("Inflow", "m3/s", "inflow"), ("Outfow", "m3/s", "flow"), _FLOOD],
    "Pump": [("Flow", "m3/s", "flow")],
    "Connection": [("Inflow", "m3/s", "inflow"), ("Outflow", "m3/s", "flow")],
    "Conduit": [("Depth", "m", "depth"), _VOLUME, ("Velocity", "m/s", "velocity"), ("Inflow", "m3/s", "inflow"),
                ("Outflow", "m3/s", "flow"), _FLOOD],
    "Weir": [("Flow", "m3/s", "flow")],
    "Orifice": [("Flow", "m3/s", "flow")],
}

_LID_UNIT = [("Inflow", "m3/s", "inflow"), _EVAPORATION, ("Surflow", "m3/s", "surface_flow"),
             ("Exfil", "mm/h", "infiltration"), ("Drain", "m3/s", "drain_flow"), ("Volume", "m3", "volume"),
             ("SurDepth", "m", "surface_depth"), ("SoilMoist", "", "soil_moisture"),
             ("StorDepth", "m", "storage_depth"), ("PaveDepth", "m", "pavement_depth")]

DATABASE_LAYOUT = {**LAYOUT, "LID_Unit": _LID_UNIT}
"""With what `tarnvelde run --lid-results` writes."""

LAYERED = ("LID_Mono", "LID_Unit")
"""Tables with the pollutants in each layer."""

LAYERS = {"Sur_": "surface_concentration", "Soil_": "soil_concentration", "Stor_": "storage_concentration",
          "Pave_": "pavement_concentration"}
"""What stands ahead of a pollutant in the columns of these."""

CLASSES = {
    "system": ["System"],
    "subcatchments": ["Subcatchment"],
    "lid_units": ["LID_Unit"],
    "nodes": ["Junction", "Tank", "Outfall", "Splitter", "Reactor", "LID_Mono"],
    "links": ["Pipe", "Pump", "Connection", "Conduit", "Weir", "Orifice"],
}


@dataclass(frozen=True)
class Column:
    """A column of a table. variable is that of the model, pollutant its ID or empty."""

    name: str
    unit: str
    variable: str
    pollutant: str = ""


@dataclass(frozen=True)
class TableInfo:
    """A table: its columns, and the IDs of the objects that have rows in it."""

    name: str
    columns: Tuple[Column, ...]
    ids: Tuple[str, ...]


def columns_of(table: str, pollutants: Sequence[str]) -> Tuple[Column, ...]:
    """The columns of a table of a project with these pollutants."""
    found = [Column(*given) for given in LAYOUT[table]]
    if table == "LID_Mono":
        found += [Column(layer + p, "mg/L", variable, p) for layer, variable in LAYERS.items() for p in pollutants]
    elif table != "System":
        found += [Column(p, "mg/L", "concentration", p) for p in pollutants]
    return tuple(found)


class ResultSource:
    """Where results come from. Values are asked for by table and column: an array with a row for each report and a
    column for each object."""

    name: str
    start: np.datetime64
    report_step: float
    tables: Tuple[TableInfo, ...]
    lack = ""  # what it can't have, as the end of a message of what isn't found

    def dates(self) -> NDArray[np.datetime64]:
        """Dates of the reports, whole seconds."""
        raise NotImplementedError

    def read(self, table: int, column: int) -> NDArray[np.float64]:
        """Values of a column of all objects of a table."""
        raise NotImplementedError

    def read_object(self, table: int, row: int) -> NDArray[np.float64]:
        """Values of all columns of one object of a table."""
        raise NotImplementedError

    def close(self) -> None:
        """Gives files back."""
