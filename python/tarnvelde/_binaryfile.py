"""Reads the binary file of results. Values are mapped into memory: what isn't asked for isn't read."""
from __future__ import annotations

import struct
from typing import Any, List, Tuple

import numpy as np
from numpy.typing import NDArray

from ._dates import from_days
from ._mapped import MappedFile, Walk
from ._tables import LAYOUT, VERSION, TableInfo, columns_of
from .errors import ResultsError

_MAGIC = 516114522
_CLOSING = 28  # bytes of the closing block
_LEAST_NAME = 5  # bytes: a length, and an end


class _Walk(Walk):
    def name_of_object(self) -> str:
        (size,) = self.take("i")
        if size < 1:
            raise self.fail("is damaged: a name has no length")
        raw = self.bytes(size)
        if raw.find(b"\0") != size - 1:
            raise self.fail("is damaged: a name doesn't end where it should")
        return decode_id(raw[:-1])


def decode_id(raw: bytes) -> str:
    """An ID as text: UTF-8, or else Windows-1252, as in the database."""
    try:
        return raw.decode("utf-8")
    except UnicodeDecodeError:
        return raw.decode("cp1252", "replace")


class BinaryFile(MappedFile):
    """A binary file of results. One whose run was killed counts as long as its last whole record."""

    def _read(self, length: int) -> None:
        if length < 64 + _CLOSING:
            raise ResultsError(f"{self.name} is {'truncated' if length else 'empty'}, or no file of results")
        walk = _Walk(self.name, self._open_map(), length)
        magic, version = walk.take("ii")
        if magic != _MAGIC:
            raise walk.fail("is no file of results")
        if version != VERSION:
            raise walk.fail("is of another version")
        counts = list(walk.take("14i"))
        if min(counts) < 0:
            raise walk.fail("is damaged: it counts less than no objects")
        if sum(counts) > (length - walk.place) // _LEAST_NAME:
            raise walk.fail("is truncated")
        names = [[walk.name_of_object() for _ in range(count)] for count in counts]
        names.insert(0, ["System"])
        self._read_layout(walk, names)

    def _read_layout(self, walk: _Walk, names: List[List[str]]) -> None:
        pollutants = names.pop()
        whole: List[Tuple[TableInfo, int]] = []  # with the place of its values in a record
        values = 0
        for name, ids in zip(LAYOUT, names):
            columns = columns_of(name, pollutants)
            (count,) = walk.take("i")
            if count != len(columns) or walk.take(f"{count}i") != tuple(range(count)):
                raise walk.fail("is damaged: its columns are not those of a table")
            whole.append((TableInfo(name, columns, tuple(ids)), values))
            values += len(columns) * len(ids)
        start, step = walk.take("di")
        if not np.isfinite(start) or step <= 0:
            raise walk.fail("is damaged: it has no start or no report step")
        self.start = from_days(start)
        self.report_step = float(step)
        self._first = walk.place
        self._record = 8 + 4 * values
        self._count = self._count_records(walk)
        kept = [(table, place) for table, place in whole if table.ids]
        self.tables = tuple(table for table, _ in kept)
        self._places = [place for _, place in kept]

    def _count_records(self, walk: _Walk) -> int:
        left = len(walk.data) - self._first
        is_ended = left >= _CLOSING and struct.unpack_from("<i", walk.data, len(walk.data) - 4)[0] == _MAGIC
        self.is_complete = is_ended
        if not is_ended:
            if left < self._record:
                raise walk.fail("is truncated, or its run was not ended: it has no closing block")
            return left // self._record
        periods, self.code = struct.unpack_from("<ii", walk.data, len(walk.data) - 12)
        records = left - _CLOSING
        if periods < 0 or records != periods * self._record:
            raise walk.fail("is truncated or damaged: its length doesn't fit the number of reports")
        return int(periods)

    def _view(self, dtype: str, offset: int, shape: Tuple[int, ...], strides: Tuple[int, ...]) -> NDArray[Any]:
        data = self._mapped()
        return np.ndarray(shape, dtype, data, self._first + offset, strides) if self._count else np.empty(shape, dtype)

    def dates(self) -> NDArray[np.datetime64]:
        days = self._view("<f8", 0, (self._count,), (self._record,))
        return seconds_of_days(np.array(days))

    def read(self, table: int, column: int) -> NDArray[np.float64]:
        info = self.tables[table]
        width = len(info.columns)
        offset = 8 + 4 * (self._places[table] + column)
        view = self._view("<f4", offset, (self._count, len(info.ids)), (self._record, 4 * width))
        return view.astype(np.float64)

    def read_object(self, table: int, row: int) -> NDArray[np.float64]:
        info = self.tables[table]
        width = len(info.columns)
        offset = 8 + 4 * (self._places[table] + row * width)
        return self._view("<f4", offset, (self._count, width), (self._record, 4)).astype(np.float64)


def seconds_of_days(days: NDArray[np.float64]) -> NDArray[np.datetime64]:
    """Dates of numbers of days since 30 December 1899, to the nearest second."""
    seconds: NDArray[np.float64] = np.round(days * 86400.0)
    if not np.all(np.isfinite(seconds)) or np.any(np.abs(seconds) > 4e11):
        raise ResultsError("a file of results is damaged: a date is none")
    return np.datetime64("1899-12-30T00:00:00", "s") + seconds.astype("timedelta64[s]")
