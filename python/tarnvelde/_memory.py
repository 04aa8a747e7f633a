"""Keeps the rows of results of a run in memory."""
from __future__ import annotations

import ctypes
from typing import TYPE_CHECKING, Any, List, Optional, Tuple

import numpy as np
from numpy.typing import NDArray

from . import _header as header
from ._binaryfile import decode_id, seconds_of_days
from ._dates import from_days
from ._header import ObjectClass
from ._tables import LAYERS, LAYOUT, Column, ResultSource, TableInfo

if TYPE_CHECKING:
    from .model import Model

_FIRST_ROOM = 256  # reports


class RowKeeper:
    """Copies the rows of each report period, as the library ends it, into arrays that grow."""

    def __init__(self, model: Model) -> None:
        self._model = model
        self._handle = model._handle
        self._library = model._library
        self._tables: List[Tuple[int, TableInfo]] = []
        self._read_tables()
        self._room = _FIRST_ROOM
        self._count = 0
        self._days = np.empty(self._room)
        self._values = [np.empty((self._room, len(info.ids) * len(info.columns)), np.float32)
                        for _, info in self._tables]
        self._take_places()
        self._failure: Optional[BaseException] = None
        self._callback = header.PeriodCallback(self._take)
        model._call("tv_setPeriodCallback", self._callback, None)

    def _read_tables(self) -> None:
        raw = header.RawTable()
        name, unit = ctypes.c_char_p(), ctypes.c_char_p()
        for table in range(len(LAYOUT)):
            self._model._call("tv_getTable", table, ctypes.byref(raw))
            if not raw.rowCount:
                continue
            title = raw.name.decode()
            given = {column: variable for column, _, variable in LAYOUT[title]}
            columns = []
            for number in range(raw.columnCount):
                self._model._call("tv_getColumn", table, number, ctypes.byref(name), ctypes.byref(unit))
                columns.append(_column_of(title, number, given, _text(name), _text(unit)))
            rows = (ctypes.c_int32 * raw.rowCount)()
            self._model._call("tv_getRowObjects", table, rows, raw.rowCount)
            place = ObjectClass(raw.objectClass)
            every = ["System"] if place == ObjectClass.SYSTEM else self._model._ids(place)
            ids = [decode_id(every[row].encode("utf-8", "surrogateescape")) for row in rows]  # as files have them
            self._tables.append((table, TableInfo(title, tuple(columns), tuple(ids))))

    def _move_to(self, room: int) -> None:
        """Takes what there is into new arrays of a size. Results that were handed out keep the old ones."""
        days, values = self._days, self._values
        self._room = room
        self._days = np.empty(room)
        self._values = [np.empty((room, own.shape[1]), np.float32) for own in values]
        self._days[:self._count] = days[:self._count]
        for new, old in zip(self._values, values):
            new[:self._count] = old[:self._count]
        self._take_places()

    def _take_places(self) -> None:
        """Where the rows of each table begin in memory: number of the table, address, values of a row."""
        self._places = [(table, values.ctypes.data, values.shape[1])
                        for (table, _), values in zip(self._tables, self._values)]

    def _take(self, user: Any, handle: Any, period: int, date: float) -> int:
        """Called by the library after each period. An exception is kept for the step that it happened in."""
        try:
            if self._count == self._room:
                self._move_to(2 * self._room)
            get, count = self._library.tv_getRows, self._count
            for table, address, size in self._places:
                code = get(handle, table, address + 4 * size * count, size)
                if code:
                    raise self._model._error(code)
            self._days[self._count] = date
            self._count += 1
        except BaseException as error:  # nothing may pass through the library
            self._failure = error
            return 1
        return 0

    def raise_failure(self) -> None:
        """Raises what went wrong in the library's calls since the last time."""
        failure, self._failure = self._failure, None
        if failure is not None:
            raise failure

    def take_back(self) -> None:
        """Forgets the rows behind the moment that the model has gone back to."""
        clock = self._model._clock()
        self._count = min(self._count, int(clock.period))
        self._move_to(self._room)

    def source(self) -> ResultSource:
        """The rows so far."""
        clock = self._model._clock()
        step = self._model.system.report_step
        return MemoryRows(self._model._name, clock.start, step, [info for _, info in self._tables],
                          self._days[:self._count], [values[:self._count] for values in self._values])


def _text(value: ctypes.c_char_p) -> str:
    return decode_id(value.value) if value.value else ""


def _column_of(table: str, number: int, given: Any, name: str, unit: str) -> Column:
    if number < len(given):
        return Column(name, unit, given[name])
    layer = next((layer for layer in LAYERS if table == "LID_Mono" and name.startswith(layer)), "")
    return Column(name, unit, LAYERS[layer] if layer else "concentration", name[len(layer):])


class MemoryRows(ResultSource):
    """Rows of a run that were kept in memory."""

    def __init__(self, name: str, start: float, step: float, tables: List[TableInfo], days: NDArray[np.float64],
                 values: List[NDArray[np.float32]]) -> None:
        self.name = name
        self.start = from_days(start)
        self.report_step = step
        self.tables = tuple(tables)
        self._days = days
        self._values = values

    def dates(self) -> NDArray[np.datetime64]:
        return seconds_of_days(self._days)

    def _cube(self, table: int) -> NDArray[np.float32]:
        info = self.tables[table]
        return self._values[table].reshape(len(self._days), len(info.ids), len(info.columns))

    def read(self, table: int, column: int) -> NDArray[np.float64]:
        return self._cube(table)[:, :, column].astype(np.float64)

    def read_object(self, table: int, row: int) -> NDArray[np.float64]:
        return self._cube(table)[:, row, :].astype(np.float64)
