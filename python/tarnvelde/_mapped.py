"""What the readers of the binary file and of the file by object share: a file that is mapped into memory, of which only
what is asked for is read, and a walk through its head."""
from __future__ import annotations

import mmap
import os
import struct
from typing import Any, Optional, Tuple

from ._places import PathLike
from ._tables import ResultSource
from .errors import ResultsError


class Walk:
    """Goes through the head of a file, never beyond its end."""

    def __init__(self, name: str, data: Any, end: int) -> None:
        self.name = name
        self.data = data
        self.end = end
        self.place = 0

    def fail(self, what: str) -> ResultsError:
        """An error that names the file."""
        return ResultsError(f"{self.name} {what}")

    def take(self, form: str) -> Tuple[Any, ...]:
        """The next values, by the letters of struct."""
        values = struct.unpack_from("<" + form, self.data, self.skip(struct.calcsize("<" + form)))
        return values

    def skip(self, size: int) -> int:
        """Goes on by so many bytes; the place where they begin."""
        if size > self.end - self.place:
            raise self.fail("is truncated, or damaged: its head is longer than its place")
        self.place += size
        return self.place - size

    def bytes(self, size: int) -> bytes:
        """The next bytes."""
        place = self.skip(size)
        return bytes(self.data[place:place + size])


class MappedFile(ResultSource):
    """Results in a mapped file. _read takes what stands ahead of the values."""

    def __init__(self, path: PathLike) -> None:
        self.name = str(path)
        self._path = path
        self._file = open(path, "rb")
        self._map: Optional[mmap.mmap] = None
        try:
            self._read(self._file.seek(0, 2))
        except BaseException:
            self.close()
            raise

    def _read(self, length: int) -> None:
        raise NotImplementedError

    def _open_map(self) -> mmap.mmap:
        self._map = mmap.mmap(self._file.fileno(), 0, access=mmap.ACCESS_READ)
        return self._map

    def _mapped(self) -> mmap.mmap:
        """The bytes of the file, if all of them are there still."""
        if self._map is None:
            raise ResultsError(f"{self.name} is closed")
        if os.fstat(self._file.fileno()).st_size < len(self._map):  # a page that is gone would end the process
            raise ResultsError(f"{self.name} has been cut short since it was opened")
        return self._map

    def __reduce__(self) -> Any:
        """Another process, or a copy, opens the file for itself."""
        return type(self), (os.path.abspath(self._path),)

    def close(self) -> None:
        """Gives the file back."""
        if self._map is not None:
            self._map.close()
            self._map = None
        self._file.close()
