"""Results of a run as frames: from memory, from the binary file, from the database, all alike."""
from __future__ import annotations

import difflib
from typing import Any, Dict, Iterator, List, Mapping, NamedTuple, Optional, Tuple, Union

import numpy as np
import pandas as pd
from numpy.typing import NDArray

from . import _objects as objects
from ._dates import index_of
from ._header import ObjectClass
from ._places import PathLike
from ._quantities import quantities_of
from ._tables import CLASSES, Column, ResultSource
from .errors import ResultsError, UnknownError

_OBJECT_CLASSES = {"system": ObjectClass.SYSTEM, "subcatchments": ObjectClass.SUBCATCHMENT,
                   "lid_units": ObjectClass.LID_UNIT, "nodes": ObjectClass.NODE, "links": ObjectClass.LINK}


class _Part(NamedTuple):
    table: int
    column: int


def _same(a: str, b: str) -> bool:
    """Whether two names of columns are one: any case, - and _ alike."""
    return a.casefold().replace("-", "_") == b.casefold().replace("-", "_")


class Results:
    """Results of a run, period by period.

        results.nodes["inflow"]["N4"]       a Series of one object; nodes["inflow"] is a frame, time x ID
        results.links["concentration", "TSS"], results.nodes["TSS"]    concentrations by pollutant
        results.system["rain"]              the whole model: a frame, time x variable
        results.tables["Pipe"]["Outfow"]    as the tables and columns of the files are called
        results.object("N4")                all columns of one object
        results.lid_units["drain_flow"]     of a file of `tarnvelde run --lid-results`, which has nothing else

    Units are in `.attrs["unit"]` of a frame. Values have single precision in memory and in the binary file, six
    decimals in the database; frames hold them in double precision, so that sums don't lose more. What a file doesn't
    have is nan. """

    def __init__(self, source: ResultSource) -> None:
        self._source = source
        self._index: Optional[pd.Index] = None
        self.subcatchments = ClassResults(self, "subcatchments")
        self.lid_units = ClassResults(self, "lid_units")
        self.nodes = ClassResults(self, "nodes")
        self.links = ClassResults(self, "links")
        self.tables: Mapping[str, TableResults] = {
            info.name: TableResults(self, number) for number, info in enumerate(source.tables)}

    @property
    def name(self) -> str:
        """The file, or the project."""
        return self._source.name

    @property
    def start(self) -> np.datetime64:
        """Start of the simulation."""
        return self._source.start

    @property
    def report_step(self) -> float:
        """Time between two reports, s."""
        return self._source.report_step

    @property
    def pollutants(self) -> List[str]:
        """IDs of the pollutants, as the columns have them."""
        found: Dict[str, None] = {}
        for info in self._source.tables:
            found.update((column.pollutant, None) for column in info.columns if column.pollutant)
        return list(found)

    @property
    def times(self) -> pd.Index:
        """Dates of the reports: the index of all frames."""
        if self._index is None:
            self._index = index_of(self._source.dates())
        return self._index

    @property
    def system(self) -> pd.DataFrame:
        """The whole model: a frame, time x variable; units in `.attrs["units"]`."""
        return self._rows_of("System", 0)

    def object(self, identifier: str, table: Optional[str] = None) -> pd.DataFrame:
        """All columns of one object, time x variable (pollutants by their IDs); units in `.attrs["units"]`. Where
        objects of several tables have one ID, name the table. UnknownError."""
        found = [(info.name, number) for info in self._source.tables if table is None or _same(info.name, table)
                 for number, own in enumerate(info.ids) if own == identifier]
        if not found:
            found = [(info.name, number) for info in self._source.tables if table is None or _same(info.name, table)
                     for number, own in enumerate(info.ids) if own.casefold() == identifier.casefold()]
        if len(found) > 1:
            tables = ", ".join(name for name, _ in found)
            raise UnknownError(f'there are several "{identifier}": name the table, one of {tables}')
        if not found:
            every = [own for info in self._source.tables for own in info.ids]
            raise UnknownError(f'there is no object "{identifier}"{_hint(identifier, every)}{self._source.lack}')
        return self._rows_of(*found[0])

    def _rows_of(self, table: str, row: int) -> pd.DataFrame:
        number = next((k for k, info in enumerate(self._source.tables) if info.name == table), None)
        if number is None:
            raise UnknownError(f"{self.name} has no table {table}")
        columns = self._source.tables[number].columns
        names = [_title(column) for column in columns]
        frame = pd.DataFrame(self._source.read_object(number, row), index=self.times, columns=names)
        frame.attrs["units"] = {name: column.unit for name, column in zip(names, columns)}
        return frame

    def _frame(self, parts: List[_Part]) -> pd.DataFrame:
        """A column of the objects of one table or several, side by side."""
        tables = self._source.tables
        blocks: List[NDArray[np.float64]] = [self._source.read(part.table, part.column) for part in parts]
        ids = [identifier for part in parts for identifier in tables[part.table].ids]
        values = blocks[0] if len(blocks) == 1 else np.concatenate(blocks, axis=1)
        frame = pd.DataFrame(values, index=self.times, columns=pd.Index(ids, name="id"))
        column = tables[parts[0].table].columns[parts[0].column]
        frame.attrs.update({"unit": column.unit, "variable": column.variable, "pollutant": column.pollutant})
        return frame

    def to_xarray(self) -> Any:
        """All results as an xarray.Dataset after the CF conventions: dimensions time, subcatchment, node, link and
        pollutant; variables as node_inflow and link_concentration, with units and long names, single precision.
        ImportError without xarray (Debian: python3-xarray)."""
        from ._netcdf import dataset_of

        return dataset_of(self)

    def to_parquet(self, path: PathLike, word: str = "nodes") -> None:
        """Writes the results of nodes, links or subcatchments into a Parquet file: a row for each time and object, with
        the columns time, id and one for each variable, single precision; units in its metadata. The file is put in
        place when it is whole. UnknownError; ImportError without pyarrow."""
        from .ensemble_collect import write_parquet_of_one

        write_parquet_of_one(self, path, word)

    def close(self) -> None:
        """Gives the file back. What was read stays."""
        self._source.close()

    def __enter__(self) -> Results:
        return self

    def __exit__(self, kind: Any, error: Any, trace: Any) -> None:
        self.close()

    def __repr__(self) -> str:
        counts = ", ".join(f"{len(info.ids)} {info.name}" for info in self._source.tables[1:])
        return f"<Results of {self.name}: {len(self.times)} reports from {self.start}; {counts}>"


def _title(column: Column) -> str:
    """What a column is called in a frame of one object."""
    if not column.pollutant:
        return column.variable
    return column.pollutant if column.variable == "concentration" else f"{column.variable}[{column.pollutant}]"


def _hint(word: str, words: List[str]) -> str:
    near = difflib.get_close_matches(word, words, 1)
    return f': did you mean "{near[0]}"?' if near else ""


class ClassResults(Mapping[Any, pd.DataFrame]):
    """Results of subcatchments, nodes or links: `["inflow"]`, `["concentration", "TSS"]` or `["TSS"]` is a frame, time
    x ID, of the objects that have it. Names are those of the model's variables, or of the files' columns
    ("TotInflow")."""

    def __init__(self, results: Results, word: str) -> None:
        self._results = results
        self._word = word
        self._numbers = [number for number, info in enumerate(results._source.tables) if info.name in CLASSES[word]]

    @property
    def ids(self) -> List[str]:
        """IDs of the objects, table by table."""
        tables = self._results._source.tables
        return [identifier for number in self._numbers for identifier in tables[number].ids]

    def _parts(self, wanted: Any) -> List[_Part]:
        """The column of each table that a wanted one means: first by variable, then by pollutant, then by column."""
        tables = self._results._source.tables
        rules: List[Any]
        if isinstance(wanted, tuple) and len(wanted) == 2:
            name, pollutant = wanted
            rules = [lambda c: c.variable == name and _same(c.pollutant, pollutant) and c.pollutant]
        elif not isinstance(wanted, str):
            return []
        else:
            rules = [lambda c: c.variable == wanted and not c.pollutant,
                     lambda c: c.pollutant and _same(c.pollutant, wanted) and c.variable == "concentration",
                     lambda c: _same(c.name, wanted)]
        for rule in rules:
            parts = [_Part(number, k) for number in self._numbers
                     for k, column in enumerate(tables[number].columns) if rule(column)]
            if parts:
                return parts
        return []

    def __getitem__(self, wanted: Union[str, Tuple[str, str]]) -> pd.DataFrame:
        parts = self._parts(wanted)
        if not parts:
            names = [name if isinstance(name, str) else name[0] for name in self]
            if isinstance(wanted, str) and wanted in names:
                raise UnknownError(f'{self._word}: "{wanted}" goes by pollutant: ["{wanted}", "..."], '
                                   f"one of {', '.join(self._results.pollutants)}")
            raise UnknownError(f'{self._word} have no results "{wanted}"'
                               + (_hint(wanted, names) if isinstance(wanted, str) else "")
                               + self._results._source.lack)
        return self._results._frame(parts)

    def __iter__(self) -> Iterator[Any]:
        found: Dict[Any, None] = {}
        for number in self._numbers:
            for column in self._results._source.tables[number].columns:
                found[(column.variable, column.pollutant) if column.pollutant else column.variable] = None
        return iter(found)

    def __len__(self) -> int:
        return sum(1 for _ in self)

    def meaning(self, name: str) -> str:
        """What a variable means."""
        return meaning_of(self._word, name)

    def __repr__(self) -> str:
        return f"<{self._word}: {', '.join(str(name) for name in self)}>"


def meaning_of(word: str, name: str) -> str:
    """What a variable of a class means, in words."""
    for (object_class, _), made in objects.CLASSES.items():
        if object_class == _OBJECT_CLASSES[word]:
            quantity = quantities_of(made).get(name)
            if quantity is not None:
                return quantity.meaning
    return name.replace("_", " ")


class TableResults(Mapping[str, pd.DataFrame]):
    """A table as the files have it: `["Outfow"]` is a frame, time x ID."""

    def __init__(self, results: Results, number: int) -> None:
        self._results = results
        self._number = number
        self._info = results._source.tables[number]

    @property
    def ids(self) -> List[str]:
        """IDs of the objects in the order of the file."""
        return list(self._info.ids)

    @property
    def units(self) -> Dict[str, str]:
        """Units by column."""
        return {column.name: column.unit for column in self._info.columns}

    def __getitem__(self, name: str) -> pd.DataFrame:
        for number, column in enumerate(self._info.columns):
            if _same(column.name, name):
                return self._results._frame([_Part(self._number, number)])
        names = [column.name for column in self._info.columns]
        raise UnknownError(f'{self._info.name} has no column "{name}"{_hint(name, names)}')

    def __iter__(self) -> Iterator[str]:
        return iter(column.name for column in self._info.columns)

    def __len__(self) -> int:
        return len(self._info.columns)

    def __repr__(self) -> str:
        return f"<{self._info.name}: {len(self._info.ids)} objects; {', '.join(self)}>"


def open_results(path: PathLike) -> Results:
    """Opens a file of results, binary, database or by object, as it says of itself. ResultsError, FileNotFoundError."""
    from ._binaryfile import BinaryFile
    from ._byobject import MARK, ByObject
    from ._database import Database

    with open(path, "rb") as file:
        head = file.read(16)
    if head.startswith(b"SQLite format 3"):
        return Results(Database(path))
    if head.startswith(MARK):
        return Results(ByObject(path))
    if not head:
        raise ResultsError(f"{path} is empty")
    return Results(BinaryFile(path))
