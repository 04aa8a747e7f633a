"""Finds and loads the shared library."""
from __future__ import annotations

import ctypes
import os
import sys
import threading
from pathlib import Path
from typing import Any, Iterator, Optional

from . import _header
from .errors import LibraryError

_FOLDER = Path(__file__).resolve().parent
_NAMES = {"win32": ["tarnvelde.dll", "libtarnvelde.dll"], "darwin": ["libtarnvelde.2.dylib", "libtarnvelde.dylib"]}

_lock = threading.Lock()
_loaded: Optional[ctypes.CDLL] = None


def _candidates() -> Iterator[str]:
    """Where the library may be: what TARNVELDE_LIBRARY names, in the package, in the build folder of a source tree that
    the package stands in, where the system finds it."""
    named = os.environ.get("TARNVELDE_LIBRARY")
    if named:
        yield named
        return
    names = _NAMES.get(sys.platform, ["libtarnvelde.so.2", "libtarnvelde.so"])
    for name in names:
        own = _FOLDER / "lib" / name
        if own.exists():
            yield str(own)
    root = _FOLDER.parents[1]
    if (root / "include" / "tarnvelde_model.h").exists():
        yield from (str(root / "build" / "release" / name) for name in names)
    from ctypes.util import find_library  # which loads much, and is seldom come to

    found = find_library("tarnvelde")
    if found:
        yield found
    yield from names


def _declare(library: ctypes.CDLL, path: str) -> None:
    for name, (result, arguments) in _header.FUNCTIONS.items():
        try:
            function = getattr(library, name)
        except AttributeError:
            raise LibraryError(f"{path} is older than this package: it has no {name}") from None
        function.restype = result
        function.argtypes = arguments


def library() -> Any:
    """The library, loaded at the first call; its functions take and give what the header says.

    The file is the one that the variable of the environment TARNVELDE_LIBRARY names, else that of the package, else
    in a source tree that of its release build, else that which the system finds. LibraryError if there is none.
    """
    global _loaded
    if _loaded is not None:
        return _loaded
    with _lock:
        if _loaded is not None:
            return _loaded
        refusals = []
        for candidate in _candidates():
            try:
                found = ctypes.CDLL(candidate)
            except OSError as error:
                refusals.append(f"{candidate}: {error}")
                continue
            _declare(found, candidate)
            _loaded = found
            return found
    raise LibraryError("The library libtarnvelde can't be loaded:\n  " + "\n  ".join(refusals))


def version() -> str:
    """Version of the library, as "2.1.0"."""
    text: bytes = library().tv_getVersion()
    return text.decode()
