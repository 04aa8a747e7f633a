"""Reads the file by object, in which all values of a column of an object lie together. Values are mapped into memory:
what isn't asked for isn't read."""
from __future__ import annotations

import struct
import zlib
from typing import Any, Dict, List, NamedTuple

import numpy as np
from numpy.typing import NDArray

from ._binaryfile import seconds_of_days
from ._dates import from_days
from ._mapped import MappedFile, Walk
from ._tables import LAYERS, LAYOUT, Column, TableInfo
from .errors import ResultsError

MARK = b"tvobject"
"""At both ends of the file."""

_VERSION = 1
_HEAD = 64  # bytes
_CLOSING = 16
_LISTED, _OF_DATABASE, _OF_BINARY = range(3)  # how dates come about
_MOST_ROWS = 2 ** 31 - 1


class _Walk(Walk):
    def count(self, least: int) -> int:
        """A count of what takes so many bytes at least."""
        (count,) = self.take("I")
        if count > (self.end - self.place) // least:
            raise self.fail("is damaged: it counts more than it has room for")
        return int(count)

    def text(self) -> str:
        return self.bytes(self.count(1)).decode("utf-8", "replace")


class _Entry(NamedTuple):
    """An object in the index."""

    rows: int
    dates: int  # place; 0 for those of the file
    values: int  # place


class ByObject(MappedFile):
    """A file by object. Periods that an object lacks are nan."""

    def _read(self, length: int) -> None:
        if length < _HEAD + _CLOSING:
            raise ResultsError(f"{self.name} is truncated")
        data = self._open_map()
        walk = _Walk(self.name, data, _HEAD)
        mark, version, self._kind, self._days, step, self._count = walk.take("8sIIdii")
        claimed, self._dates, index, series = walk.take("4Q")
        if mark != MARK or version != _VERSION:
            raise walk.fail("is of another version")
        if self._kind > _OF_BINARY or not np.isfinite(self._days) or step <= 0:
            raise walk.fail("is damaged: it has no start or no report step")
        if claimed != length:
            raise walk.fail("is truncated" if length < claimed else "is damaged: it is longer than its head says")
        if not 0 <= self._count <= length:
            raise walk.fail("is damaged: it promises more reports than it has room for")
        if not index <= series <= length - _CLOSING:
            raise walk.fail("is damaged: its parts are not where they should be")
        checksum, end = struct.unpack_from("<Q8s", data, length - _CLOSING)
        if end != MARK:
            raise walk.fail("is truncated or damaged: it doesn't end with its mark")
        if checksum != zlib.crc32(memoryview(data)[:series]):
            raise walk.fail("is damaged: its head was changed")
        self.report_step = float(step)
        self.start = from_days(self._days)
        walk.end = series
        self._read_names(walk)
        self._read_index(walk, index, length - _CLOSING)

    def _read_names(self, walk: _Walk) -> None:
        tables = walk.count(12)
        pairs = walk.count(8)
        self.identity: Dict[str, str] = {}
        for _ in range(pairs):
            key = walk.text()
            self.identity[key] = walk.text()
        found: List[TableInfo] = []
        for _ in range(tables):
            name = walk.text()
            columns, objects = walk.count(8), walk.count(4)
            if name not in LAYOUT or not columns or not objects or any(name == info.name for info in found):
                raise walk.fail("is damaged: its tables are none of results")
            named = tuple(_column_of(name, walk.text(), walk.text()) for _ in range(columns))
            found.append(TableInfo(name, named, tuple(walk.text() for _ in range(objects))))
        if not found or found[0].name != "System" or len(found[0].ids) != 1:
            raise walk.fail("is damaged: it lacks the table of the system")
        self.tables = tuple(found)

    def _read_index(self, walk: _Walk, index: int, end: int) -> None:
        walk.place += -walk.place % 8
        if walk.place != index:
            raise walk.fail("is damaged: its index is not where the head says")
        place = walk.end
        if self._dates != (place if self._kind == _LISTED else 0):
            raise walk.fail("is damaged: its dates are not where the head says")
        place += 8 * self._count if self._kind == _LISTED else 0
        self._entries: List[List[_Entry]] = []
        for info in self.tables:
            entries = []
            for _ in info.ids:
                rows, none, dates, values = walk.take("IIQQ")
                own = 8 * rows if dates else 0
                if (none or rows > _MOST_ROWS or (not dates and rows not in (0, self._count))
                        or (dates and dates != place) or values != place + own):
                    raise walk.fail("is damaged: its series are not where the index should say")
                place += own + 4 * rows * len(info.columns)
                entries.append(_Entry(rows, dates, values))
            self._entries.append(entries)
        if walk.place != walk.end or place != end:
            raise walk.fail("is damaged: its length doesn't fit its index")

    def _view(self, dtype: str, place: int, count: int) -> NDArray[Any]:
        data = self._mapped()
        return np.frombuffer(data, dtype, count, place) if count else np.empty(0, dtype)

    def _common_days(self) -> NDArray[np.float64]:
        """Dates of the reports, as the other kinds of file have them, to the last bit."""
        if self._kind == _LISTED:
            return self._view("<f8", self._dates, self._count).astype(np.float64)
        seconds = np.arange(1, self._count + 1, dtype=np.float64) * self.report_step
        if self._kind == _OF_DATABASE:
            return np.asarray(self._days + seconds / 86400.0)
        midnight = np.floor(self._days)
        second = np.floor((self._days - midnight) * 86400.0 + 0.5)
        return np.asarray((second + (seconds * 1000.0 + 1.0) / 1000.0) / 86400.0 + midnight)

    def dates(self) -> NDArray[np.datetime64]:
        return seconds_of_days(self._common_days())

    def _series(self, table: int, row: int, column: int) -> NDArray[np.float64]:
        entry = self._entries[table][row]
        values: NDArray[np.float64] = self._view("<f4", entry.values + 4 * column * entry.rows, entry.rows).astype(
            np.float64)
        if not entry.dates and entry.rows == self._count:
            return values
        whole = np.full(self._count, np.nan)
        if entry.rows:
            own = self._view("<f8", entry.dates, entry.rows)
            days = self._common_days()
            places = np.searchsorted(days, own)
            is_there = np.append(days, np.nan)[places] == own
            whole[places[is_there]] = values[is_there]
        return whole

    def read(self, table: int, column: int) -> NDArray[np.float64]:
        rows = range(len(self.tables[table].ids))
        values = np.empty((self._count, len(rows)))
        for row in rows:
            values[:, row] = self._series(table, row, column)
        return values

    def read_object(self, table: int, row: int) -> NDArray[np.float64]:
        columns = range(len(self.tables[table].columns))
        values = np.empty((self._count, len(columns)))
        for column in columns:
            values[:, column] = self._series(table, row, column)
        return values


def _column_of(table: str, name: str, unit: str) -> Column:
    """A column by its name; what isn't fixed is one of a pollutant."""
    for known, known_unit, variable in LAYOUT[table]:
        if known == name:
            return Column(known, known_unit, variable)
    layer = next((layer for layer in LAYERS if table == "LID_Mono" and name.startswith(layer)), "")
    return Column(name, unit, LAYERS[layer] if layer else "concentration", name[len(layer):])
