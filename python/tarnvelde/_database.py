"""Reads the database of results."""
from __future__ import annotations

import itertools
import os
import sqlite3
from pathlib import Path
from typing import Any, Dict, List, Optional, Tuple
from urllib.parse import quote

import numpy as np
from numpy.typing import NDArray

from ._binaryfile import decode_id, seconds_of_days
from ._dates import from_days
from ._places import PathLike
from ._tables import DATABASE_LAYOUT, LAYERED, LAYERS, Column, ResultSource, TableInfo
from .errors import ResultsError


def _titled(table: str, count: int) -> str:
    """The table with columns k0, k1 ...: the bytes of a pollutant's ID may be no text that a statement can hold."""
    return f"with t({', '.join(f'k{k}' for k in range(count))}) as (select * from {table})"


def _single(values: NDArray[np.float64]) -> NDArray[np.float64]:
    with np.errstate(over="ignore"):
        return values.astype(np.float32).astype(np.float64)


class Database(ResultSource):
    """A database of results. What a run couldn't write - a row whose ID SQL doesn't take - is nan. Values are those of
    single precision that are nearest to the six decimals: of larger ones the very number that the run had, as of all in
    a database in full."""

    def __init__(self, path: PathLike) -> None:
        self.name = str(path)
        self._path = path
        self._connection: Optional[sqlite3.Connection] = None
        if not Path(path).exists():
            raise FileNotFoundError(f"there is no {path}")
        address = "file:" + quote(str(Path(path).absolute())) + "?mode=ro"
        try:
            self._connection = sqlite3.connect(address, uri=True, check_same_thread=False)
            self._connection.text_factory = decode_id
            self._connection.execute("pragma trusted_schema = off")
            self._open()
        except sqlite3.Error as error:
            self.close()
            raise ResultsError(f"{self.name} can't be read: {error}") from None
        except BaseException:
            self.close()
            raise

    def _rows(self, statement: str, *values: Any) -> List[Tuple[Any, ...]]:
        if self._connection is None:
            raise ResultsError(f"{self.name} is closed")
        try:
            return self._connection.execute(statement, values).fetchall()
        except sqlite3.Error as error:
            raise ResultsError(f"{self.name} can't be read: {error}") from None

    def _open(self) -> None:
        plain = {name for name, in self._rows("select name from sqlite_master where type = 'table'")}
        if not {"GeneralInfo", "System"} <= plain:
            raise ResultsError(f"{self.name} is no database of results")
        info = self._rows("select StartDateTime, ReportStep from GeneralInfo")
        if len(info) != 1 or not all(isinstance(value, (int, float)) for value in info[0]):
            raise ResultsError(f"{self.name} doesn't say when its run began")
        self._days, self.report_step = float(info[0][0]), float(info[0][1])
        self.start = from_days(self._days)
        (last,), = self._rows("select max(Period) from System")
        self._count = int(last or 0)
        found = []
        self._places: Dict[str, Dict[str, int]] = {}  # by table and column
        self._numbers: List[Dict[str, int]] = []
        for name in DATABASE_LAYOUT:
            if name not in plain:
                continue
            ids = ["System"] if name == "System" else self._ids_of(name)
            if ids:
                found.append(TableInfo(name, self._columns_of(name), tuple(ids)))
                self._numbers.append({identifier: number for number, identifier in enumerate(ids)})
        self.tables = tuple(found)
        if not self._count:
            self.lack = f". {self.name} has no reports: without a row, a database has no IDs of its objects"

    def _has_index(self, table: str) -> bool:
        """Whether there is the index that a run makes if it is asked for: rows stand as that run left them."""
        made = f"CREATE INDEX TarnveldeIndex{table} on {table} (Name,Period)"
        return bool(self._rows("select 1 from sqlite_master where type = 'index' and tbl_name = ? and sql = ?",
                               table, made))

    def _first_ids_of(self, table: str) -> List[str]:
        """IDs of the rows that stand ahead of the second period."""
        if self._connection is None:
            raise ResultsError(f"{self.name} is closed")
        rows = self._connection.execute(f"select Period, Name from {table} not indexed order by rowid")
        first = [str(name) for _, name in itertools.takewhile(lambda row: row[0] == 1, rows)]
        rows.close()
        return first

    def _ids_of(self, table: str) -> List[str]:
        if self._has_index(table):
            found = self._first_ids_of(table)
            if found and len(set(found)) == len(found):
                return found
        first, = self._rows(f"select min(Period) from {table}")
        return [str(name) for name, in self._rows(
            f"select Name from {table} where Period = ? order by rowid", first[0])]

    def _columns_of(self, table: str) -> Tuple[Column, ...]:
        given = {name: (unit, variable) for name, unit, variable in DATABASE_LAYOUT[table]}
        found = []
        self._places[table] = {}
        for place, name, *_ in self._rows(f"pragma table_info({table})"):
            self._places[table][name] = place
            if name in given:
                found.append(Column(name, *given[name]))
            elif name not in ("Name", "Period"):
                layer = next((layer for layer in LAYERS if table in LAYERED and name.startswith(layer)), "")
                variable = LAYERS[layer] if layer else "concentration"
                found.append(Column(name, "mg/L", variable, name[len(layer):]))
        return tuple(found)

    def dates(self) -> NDArray[np.datetime64]:
        periods = np.arange(1, self._count + 1)
        return seconds_of_days(self._days + periods * (self.report_step / 86400.0))

    def read(self, table: int, column: int) -> NDArray[np.float64]:
        info = self.tables[table]
        places = self._places[info.name]
        value_of, titled = f"k{places[info.columns[column].name]}", _titled(info.name, len(places))
        period_of = f"k{places['Period']}"
        values = np.full((self._count, len(info.ids)), np.nan)
        if info.name == "System":
            for period, value in self._rows(f"{titled} select {period_of}, {value_of} from t"):
                values[period - 1, 0] = np.nan if value is None else value
            return _single(values)
        numbers = self._numbers[table]
        wanted = f"k{places['Name']}, {period_of}, {value_of}"
        for identifier, period, value in self._rows(f"{titled} select {wanted} from t"):
            number = numbers.get(str(identifier))
            if number is not None and 0 < period <= self._count and value is not None:
                values[period - 1, number] = value
        return _single(values)

    def read_object(self, table: int, row: int) -> NDArray[np.float64]:
        info = self.tables[table]
        places = self._places[info.name]
        wanted = ", ".join(f"k{places[name]}" for name in ["Period"] + [column.name for column in info.columns])
        where = ""
        arguments: Tuple[str, ...] = ()
        if info.name != "System":
            where, arguments = f" where k{places['Name']} = ?", (info.ids[row],)
        values = np.full((self._count, len(info.columns)), np.nan)
        titled = _titled(info.name, len(places))
        for period, *rest in self._rows(f"{titled} select {wanted} from t{where}", *arguments):
            if 0 < period <= self._count:
                values[period - 1] = [np.nan if value is None else value for value in rest]
        return _single(values)

    def __reduce__(self) -> Any:
        """Another process, or a copy, opens the file for itself."""
        return Database, (os.path.abspath(self._path),)

    def close(self) -> None:
        if self._connection is not None:
            self._connection.close()
            self._connection = None
