"""Where things come from: projects in files and in memory, and the line of the user's own program."""
from __future__ import annotations

import contextlib
import operator
import os
import sys
from pathlib import Path
from typing import Any, BinaryIO, Iterator, NamedTuple, Optional, Union

from ._header import MAX_THREADS, Code
from .errors import ValueRefused

PathLike = Union[str, "os.PathLike[str]"]

_PACKAGE = str(Path(__file__).resolve().parent)


class Source(NamedTuple):
    """A project: a file, or text with the folder that its names of files are relative to."""

    path: Optional[Path]
    text: bytes
    folder: Optional[Path]
    name: str


def source_of(project: Any) -> Source:
    """The source of what a user gives: a path, or a Project, which is written as it stands."""
    if isinstance(project, Source):
        return project
    if isinstance(project, (str, os.PathLike)):
        given = Path(project)
        if not given.name:
            raise ValueError(f"{str(project)!r} is no path of a project file")
        return Source(given, b"", None, str(given))
    if callable(getattr(project, "text", None)):
        text = project.text()
        data = text.encode("utf-8", "surrogateescape") if isinstance(text, str) else bytes(text)
        path = getattr(project, "path", None)
        folder = Path(path).parent if path is not None else None
        return Source(None, data, folder, str(path) if path is not None else "Project")
    raise TypeError(f"a project is a path or a Project, not {type(project).__name__}")


def count_of_threads(threads: Any) -> int:
    """A number of threads. TypeError, ValueRefused."""
    try:
        count = operator.index(threads)
    except TypeError:
        raise TypeError(f"threads are a whole number, not {threads!r}") from None
    if not 1 <= count <= MAX_THREADS:
        raise ValueRefused(f"threads are 1 to {MAX_THREADS}, not {count}", Code.ERROR_RANGE)
    return count


def encoded(path: PathLike) -> bytes:
    """A path as the library takes it. ValueError if it holds a zero byte, at which the library would cut it."""
    data = os.fsencode(path)
    if b"\0" in data:
        raise ValueError(f"{data!r} is no path: it holds a zero byte")
    return data


@contextlib.contextmanager
def written_aside(path: PathLike) -> Iterator[BinaryIO]:
    """A file to write into, which gets its name when the block ends without an error: until then an earlier file stays,
    whose rights the new one takes over. A link stays a link. What is no file, as a device, is written as it is."""
    target = Path(os.path.realpath(path))
    if target.exists() and not target.is_file():
        with open(target, "wb") as plain:
            yield plain
        return
    aside = target.with_name(target.name + ".part")
    try:
        with open(aside, "wb") as file:
            yield file
            file.flush()
            os.fsync(file.fileno())
        if target.exists():
            os.chmod(aside, target.stat().st_mode & 0o7777)
        os.replace(aside, target)
    except BaseException:
        aside.unlink(missing_ok=True)
        raise


def user_level() -> int:
    """The stacklevel for warnings.warn that names the first line outside this package."""
    level = 1
    frame = sys._getframe(1)
    while frame.f_back is not None and frame.f_code.co_filename.startswith(_PACKAGE):
        frame = frame.f_back
        level += 1
    return level
