"""The sections of a project file as a table: which columns their lines have, by name and unit.

The manual describes the same in its chapters (``docs/project-file.md`` and those it leads to). A column that is a
parameter of the engine has the name of its variable in ``docs/variables.md`` and its unit there, so that what is read
from a file and what is read from a running model are called the same.

A section has one of four shapes:

``rows``
    One object or record in each line, its words at fixed places: a frame with a row for each line.
``pairs``
    An option and its value in each line: a series, its index the options.
``points``
    Several points in a line, several lines to an object: a frame with a row for each point.
``lines``
    Lines that are no table: descriptions, rules, and all that is kept for host programs.
"""

from __future__ import annotations

import dataclasses
from typing import Dict, List, Mapping, Optional, Tuple, Union

__all__ = ["Choice", "Column", "SECTIONS", "Section", "find_section"]


@dataclasses.dataclass(frozen=True)
class Column:
    """One column of a section.

    Attributes:
        name: Name in the frame; empty for a word that the engine wants there and doesn't use.
        kind: ``number``, ``text``, ``id`` (a word without blanks), ``flag`` (two keywords, as a truth value), ``date``
            or ``time`` (h:mm:ss, or hours as a plain number).
        unit: Unit, empty without one.
        default: Word that a new row gets without a value; None if a value must be given.
        optional: Whether the word may be missing at the end of its line.
        flags: The two keywords of a ``flag``, that for False first.
        refers: Class of the objects that the word names: node, link, curve ...; empty if it names none.
    """

    name: str
    kind: str = "text"
    unit: str = ""
    default: Optional[str] = None
    optional: bool = False
    flags: Tuple[str, str] = ("NO", "YES")
    refers: str = ""


@dataclasses.dataclass(frozen=True)
class Choice:
    """A place of a line whose meaning another word of the line decides.

    Attributes:
        switch: Name of the column that decides.
        columns: The column for each keyword, in capitals.
        otherwise: The column for any other word; None if there is none at this place.
    """

    switch: str
    columns: Mapping[str, Column]
    otherwise: Optional[Column] = None


Place = Union[Column, Choice]


@dataclasses.dataclass(frozen=True)
class Section:
    """One section of the project file.

    Attributes:
        name: Name without brackets.
        shape: ``rows``, ``pairs``, ``points`` or ``lines``.
        places: What stands at each place of a line, from the left; the columns of ``points``.
        keys: How many columns from the left make the index; those without a name don't count.
        defines: Class of the objects that the lines define; empty for none.
        kind: Kind of node or link, in the words of the package; empty for other objects.
    """

    name: str
    shape: str
    places: Tuple[Place, ...] = ()
    keys: int = 0
    defines: str = ""
    kind: str = ""

    @property
    def columns(self) -> Dict[str, Column]:
        """All columns by name, in the order of the line, those of all choices together."""
        found: Dict[str, Column] = {}
        for place in self.places:
            options: List[Optional[Column]] = [place] if isinstance(place, Column) else [
                *place.columns.values(), place.otherwise]
            for column in options:
                if column is not None and column.name:
                    found.setdefault(column.name, column)
        return found

    @property
    def index(self) -> List[str]:
        """Names of the columns that make the index; empty where rows have numbers alone."""
        return list(self.columns)[:self.keys]

    @property
    def units(self) -> Dict[str, str]:
        """Unit of each column that has one."""
        return {name: column.unit for name, column in self.columns.items() if column.unit}


ROUGHNESS = "s/m^(1/3)"
MONTHS = ("january", "february", "march", "april", "may", "june", "july", "august", "september", "october", "november",
          "december")


def _number(name: str, unit: str = "", default: Optional[str] = None, optional: bool = False) -> Column:
    return Column(name, "number", unit, default, optional)


def _id(name: str, refers: str = "", default: Optional[str] = None, optional: bool = False) -> Column:
    return Column(name, "id", "", default, optional, refers=refers)


def _flag(name: str, default: Optional[str] = None, flags: Tuple[str, str] = ("NO", "YES")) -> Column:
    return Column(name, "flag", "", default, flags=flags)


def _optional_id(name: str, refers: str) -> Column:
    """A name for which the empty word means none."""
    return Column(name, "text", "", '""', refers=refers)


PATTERN = _optional_id("pattern", "pattern")
POLLUTANT = _id("pollutant", "pollutant")
LAGGED = _flag("is_lagged", "NO")
FILLER = Column("", default="0")
ENDS = (_id("upstream_node", "node"), _id("downstream_node", "node"))


def _rows(name: str, keys: int, *places: Place, defines: str = "", kind: str = "") -> Section:
    return Section(name, "rows", places, keys, defines, kind)


def _nodes(name: str, kind: str, *places: Place) -> Section:
    return _rows(name, 1, Column("node", "id", refers="node"), *places, defines="node", kind=kind)


def _links(name: str, kind: str, *places: Place) -> Section:
    return _rows(name, 1, Column("link", "id", refers="link"), *ENDS, *places, defines="link", kind=kind)


def _layers() -> Tuple[Place, ...]:
    """The items of the layers of a LID control, by the word that names the layer."""
    layers: Dict[str, Tuple[Column, ...]] = {
        "SURFACE": (_number("surface_depth", "mm"), _number("vegetation_share"),
                    _number("surface_roughness", ROUGHNESS), _number("surface_slope", "%"), _number("side_slope")),
        "SOIL": (_number("soil_depth", "mm"), _number("porosity"), _number("field_capacity"),
                 _number("wilting_point"), _number("conductivity", "mm/h"), _number("conductivity_slope")),
        "STORAGE": (_number("storage_depth", "mm"), _number("storage_void_ratio"), _number("storage_rate", "mm/h")),
        "PAVEMENT": (_number("pavement_depth", "mm"), _number("pavement_void_ratio"),
                     _number("pavement_rate", "mm/h")),
        "DRAINMAT": (_number("mat_depth", "mm"), _number("mat_void"), _number("mat_roughness", ROUGHNESS)),
        "DRAIN": (_number("drain_coefficient"), _number("drain_exponent"), _number("drain_offset", "mm"),
                  _number("drain_delay", "h", optional=True)),
    }
    most = max(map(len, layers.values()))
    return tuple(Choice("layer", {layer: items[k] for layer, items in layers.items() if k < len(items)})
                 for k in range(most))


def _coupled(name: str, kind: str, records: Tuple[str, str], inner: str, *links: Column) -> Section:
    """A model inside a node: its definition, and the records of what it exchanges."""
    model = Column("model")
    inside = _id(inner)
    saves = _flag("saves_results", "NO")
    places: List[Place] = [Column("entry", "id", refers="node"),
                           Choice("entry", dict.fromkeys(records, inside), model),
                           Choice("entry", dict.fromkeys(records, links[0]), saves)]
    places += [Choice("entry", dict.fromkeys(records, link)) for link in links[1:]]
    return _rows(name, 0, *places, defines="node", kind=kind)


def _evaporation() -> Section:
    rates = [_number(month + "_evaporation", "mm/d") for month in MONTHS]
    first = Choice("form", {"CONSTANT": _number("constant_evaporation", "mm/d"), "MONTHLY": rates[0]})
    return _rows("EVAPORATION", 1, Column("form", "id"), first,
                 *(Choice("form", {"MONTHLY": rate}) for rate in rates[1:]))


def _washoff() -> Section:
    fillers = dict.fromkeys(("SURFACE", "SOIL", "STORAGE", "PAVEMENT", "DRAINMAT", "DRAIN"), FILLER)
    removal = _number("washoff_removal")
    return _rows(
        "WASHOFF", 2, _id("land_use", "land use"), POLLUTANT, Column("washoff_type", "id"),
        Choice("washoff_type", {"EXP": _number("washoff_coefficient"),
                                "EMC": _number("washoff_concentration", "mg/L"), **fillers}),
        Choice("washoff_type", {"EXP": _number("washoff_exponent"), "EMC": _flag("uses_buildup"), **fillers}),
        Choice("washoff_type", {"EXP": removal, "EMC": removal, **fillers}))


def _reactors() -> Section:
    return _nodes(
        "REACTORS", "reactor", Column("reactor_type", "id"), _id("surplus_node", "node"), Column("capacity_type", "id"),
        Choice("capacity_type", {"FLOW_CAPACITY": _number("flow_capacity", "m3/d"),
                                 "SURFACE_LOADING": _number("surface_loading", "m/d")}),
        Choice("reactor_type", {"CSTR": _number("max_volume", "m3"), "PFR": _number("retention_time", "h")}),
        _number("area", "m2"), Choice("reactor_type", {"CSTR": _number("initial_fill", "%")}))


def _general() -> Section:
    dates = [Column(name, "date") for name in ("START_DATE", "END_DATE")]
    times = [Column(name, "time", "h:mm:ss") for name in ("START_TIME", "END_TIME", "RUNOFF_STEP", "ROUTING_STEP",
                                                          "REPORT_STEP")]
    numbers = [_number("START_DRY_DAYS", "d"), _number("EVENT_INTERVAL", "min"), _number("EVENT_MIN_VALUE", "mm"),
               _number("CONDUIT_LENGTHENING", "m")]
    return Section("GENERAL", "pairs", (*dates, *times, *numbers, _flag("REPORT_AVERAGE"), _flag("LID_MONO_RAINFALL")))


# The order is that in which a new file is written: behind the nodes and links stand the sections that add something to
# them, since the engine wants them there.
_ALL = (
    Section("DESCRIPTION", "lines"),
    _general(),
    _rows("RAINGAGES", 1, Column("gage", "id", refers="gage"), Column("format", "id"),
          Column("interval", "time", "h:mm:ss"), _id("series", "series"), defines="gage"),
    _evaporation(),
    _rows("SUBCATCHS", 1, Column("subcatchment", "id", refers="subcatchment"), _id("gage", "gage"),
          _id("outlet", "node"), _number("area", "ha"), _number("width", "m"), _number("impervious_share", "%"),
          _number("slope", "%"), _number("impervious_roughness", ROUGHNESS), _number("pervious_roughness", ROUGHNESS),
          _number("impervious_storage", "mm"), _number("pervious_storage", "mm"),
          _number("first_infiltration", "mm/h"), _number("final_infiltration", "mm/h"),
          _number("infiltration_decay", "1/h"), _number("drying_time", "d"),
          _number("infiltration_limit", "mm", "0"), defines="subcatchment"),
    _nodes("JUNCTIONS", "junction"),
    _nodes("TANKS", "tank", _id("curve", "curve"), _number("max_depth", "m"), _number("initial_depth", "m", "0")),
    _nodes("OUTFALLS", "outfall"),
    _nodes("SPLITTERS", "splitter", _id("link", "link"), Column("split_mode", "id"), _number("split_value", "m3/s"),
           Choice("split_mode", {"FLOW_RATIO": _number("split_ratio")})),
    _reactors(),
    _nodes("LID_MONOS", "lid_node", _id("lid", "lid"), _id("gage", "gage", "*"), _number("area", "m2"),
           _number("width", "m"), _number("initial_saturation", "%"), _number("inflow_share", "%"),
           _id("drain_node", "node", optional=True)),
    _coupled("SWMM_INPS", "swmm_node", ("INFLOW", "OUTFLOW"), "inner_node", _id("object", "link or subcatchment")),
    _coupled("VORN_INPS", "plant", ("INFLUENT", "EFFLUENT"), "unit", _id("link", "link"),
             _id("converter", "converter")),
    _links("PIPES", "pipe", LAGGED, _number("k", "s"), _number("reach_count"), _number("x"),
           _number("max_flow", "m3/s", "0")),
    _links("PUMPS", "pump", _id("curve", "curve"), LAGGED, _flag("initial_setting", "OFF", ("OFF", "ON")),
           _number("startup_depth", "m"), _number("shutoff_depth", "m")),
    _links("CONNECTIONS", "connection", LAGGED, _number("delay", "s", "0")),
    _links("CONDUITS", "conduit", LAGGED, _number("length", "m"), _number("slope", "%"),
           _number("roughness", ROUGHNESS), Column("shape", "id"),
           Choice("shape", {"CIRCULAR": _number("conduit_height", "m"), "RECTANGULAR": _number("conduit_height", "m"),
                            "IRREGULAR": _id("curve", "curve")}),
           Choice("shape", {"RECTANGULAR": _number("conduit_width", "m")})),
    _links("WEIRS", "weir", LAGGED, Column("shape", "id"), _number("weir_coefficient", "m^0.5/s"),
           _number("crest_length", "m"), _number("crest", "m"), _number("opening", "m")),
    _links("ORIFICES", "orifice", LAGGED, Column("shape", "id"), _number("orifice_coefficient"),
           _number("crest", "m"), _number("orifice_height", "m"),
           Choice("shape", {"RECTANGULAR": _number("orifice_width", "m")})),
    _rows("POLLUTANTS", 1, POLLUTANT, _number("rain_concentration", "mg/L", "0"), defines="pollutant"),
    _rows("LANDUSES", 1, Column("land_use", "id", refers="land use"), defines="land use"),
    _rows("COVERAGES", 2, _id("subcatchment", "subcatchment"), _id("land_use", "land use"), _number("share", "%")),
    _rows("BUILDUP", 2, _id("land_use", "land use"), POLLUTANT, _number("buildup_limit", "kg/ha"),
          _number("buildup_rate", "1/d")),
    _washoff(),
    _rows("LOADINGS", 2, _id("subcatchment", "subcatchment"), POLLUTANT, _number("initial_load", "kg/ha")),
    _rows("LIDS", 2, Column("lid", "id", refers="lid"), Column("layer", "id"), *_layers(), defines="lid"),
    _rows("LID_GROUPS", 2, _id("subcatchment", "subcatchment"), _id("lid", "lid"), _number("area", "m2"),
          _number("width", "m"), _number("initial_saturation", "%"), _number("inflow_share", "%"),
          _id("drain_node", "node", optional=True)),
    _rows("INFLOWS", 3, _id("node", "node"), Column("kind", "id"), Column("constituent", "id", refers="pollutant"),
          _number("baseline", "m3/s, mg/L or kg/s", "0"), _optional_id("series", "series"), _number("factor", "", "1")),
    _rows("DWFS", 2, _id("node", "node"), Column("constituent", "id", refers="pollutant"),
          _number("mean", "m3/s or mg/L"), PATTERN),
    _rows("DECAY_COEFFICIENT", 3, Column("object", "id"), Column("kind", "id"), POLLUTANT,
          Column("law", "id", "", "FIRST"), _number("decay_coefficient", "1/d"), PATTERN,
          Choice("kind", {"LID": Column("layer", "id")})),
    _rows("INITIAL_CONCENTRATION", 2, _id("node", "node"), FILLER, POLLUTANT,
          _number("initial_concentration", "mg/L")),
    _rows("REACTORS_DECAY", 2, _id("reactor", "node"), POLLUTANT, Column("reaction_type", "id"),
          _number("reaction_coefficient"), PATTERN),
    _rows("REACTORS_OXYGEN", 3, _id("reactor", "node"), POLLUTANT, Column("oxygen_word", "id"),
          _number("oxygen_number"), PATTERN),
    _rows("REACTORS_EMPTYING", 1, _id("reactor", "node"), _id("emptying_node", "node"),
          _number("emptying_rate", "m3/h"), _number("infiltration_rate", "mm/h", "0"),
          _number("evaporation_rate", "mm/d", "0"), PATTERN),
    _rows("SENSORS", 3, Column("type", "id"), Column("object", "id"), POLLUTANT),
    Section("CONTROL_RULES", "lines"),
    _rows("CONVERTERS", 0, Column("converter", "id", refers="converter"), Column("target", "id"),
          Column("source_type", "id", optional=True), Column("source", "id", optional=True),
          _number("factor", optional=True), Column("operation", "id", optional=True), defines="converter"),
    Section("CURVES", "points", (Column("curve", "id", refers="curve"), _number("point"), Column("type", "id"),
                                 _number("x"), _number("y")), 2, "curve"),
    Section("PATTERNS", "points", (Column("pattern", "id", refers="pattern"), _number("hour"), Column("type", "id"),
                                   _number("factor")), 2, "pattern"),
    Section("TIMESERIES", "points", (Column("series", "id", refers="series"), _number("entry"), Column("date", "date"),
                                     Column("time", "time", "h:mm:ss"), _number("value"), Column("file")),
            2, "series"),
    *(Section(name, "lines") for name in ("RTC", "GA_OBJECTIVES", "GA_CONSTRAINS", "GA_PARAMETERS", "GA_VARIABLES",
                                          "LABELS", "ELEMENTS", "EDGES", "GRAPH", "MAP", "LEGEND")),
)

#: All sections that the engine knows, by name without brackets.
SECTIONS: Dict[str, Section] = {section.name: section for section in _ALL}

#: Sections of nodes and of links: the next ones must come after their lines.
NETWORK_SECTIONS = tuple(section.name for section in _ALL if section.defines in ("node", "link"))

#: Sections that add to nodes and links, and must come after these.
ADDING_SECTIONS = ("DECAY_COEFFICIENT", "INITIAL_CONCENTRATION", "REACTORS_DECAY", "REACTORS_OXYGEN",
                   "REACTORS_EMPTYING", "SENSORS", "CONTROL_RULES")


def find_section(name: str) -> Optional[Section]:
    """Return the section of this name in any case, with or without brackets; None if the engine knows none."""
    return SECTIONS.get(name.strip().strip("[]").upper())
