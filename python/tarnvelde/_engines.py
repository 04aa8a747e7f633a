"""Finds the engines inside nodes: in folders that are named, else beside the library."""
from __future__ import annotations

import functools
import os
from pathlib import Path
from typing import Any, List, Optional, Sequence, Tuple, Union

from ._library import library
from ._places import PathLike

Engines = Union[PathLike, Sequence[PathLike]]
"""A folder of engines or the name of some that were installed, or several of these."""

_SWMM, _PLANT = ("swmm5ex.dll", "libswmm5ex.so"), ("vorn.dll", "libvorn.so")


def _has_engine(folder: PathLike, names: Sequence[str] = _SWMM + _PLANT) -> bool:
    return any(os.path.exists(os.path.join(folder, name)) for name in names)


@functools.lru_cache(maxsize=None)  # which stays loaded; a short run would feel each look
def _library_folders() -> Tuple[Path, ...]:
    """Where the library is that was loaded. The system knows that best, where it can be asked."""
    loaded = library()
    try:
        with open("/proc/self/maps", encoding="utf-8", errors="surrogateescape") as maps:
            files = {line.split(maxsplit=5)[-1].rstrip("\n") for line in maps if "/libtarnvelde.so" in line}
    except OSError:
        files = {str(loaded._name)}
    return tuple(Path(file).parent for file in sorted(files) if os.path.isabs(file))


def installed_engines() -> Optional[str]:
    """The folder of the engines that were installed with the library, or stand beside it; None if there is none."""
    for folder in _library_folders():
        if (folder / "tarnvelde" / "engines").is_dir():
            return str(folder / "tarnvelde" / "engines")
        if _has_engine(folder):
            return str(folder)
    return None


def find_engines(name: str) -> Optional[str]:
    """The folder of engines that were installed with the library, or built with it, under a name."""
    if not name or name.startswith(".") or "/" in name or "\\" in name:
        return None
    for folder in _library_folders():
        for place in (folder / "engines" / name, folder / "tarnvelde" / "engines" / name):
            if _has_engine(place):
                return str(place)
    return None


def settle_engines(engines: Any) -> List[str]:
    """Full paths of folders that are given by themselves or by names. A folder that is there is meant before a name."""
    given = [engines] if isinstance(engines, (str, os.PathLike)) else list(engines or ())
    texts = [os.fspath(one) for one in given]
    return [os.path.abspath((None if os.path.isdir(text) else find_engines(text)) or text) for text in texts]


def choose_engines(engines: Any) -> Tuple[Optional[str], Optional[str]]:
    """The folders of engines for SWMM nodes and for plants, None for that of the program. Each is the first of the
    given ones that has such an engine, else the installed one. A given folder without any engine is a mistake, and the
    library says what it lacks."""
    folders = settle_engines(engines)
    return _choose(folders, _SWMM), _choose(folders, _PLANT)


def _choose(folders: Sequence[str], names: Sequence[str]) -> Optional[str]:
    for folder in folders:
        if _has_engine(folder, names):
            return folder
    for folder in folders:
        if not _has_engine(folder):
            return folder
    usual = installed_engines()
    if folders and (usual is None or not _has_engine(usual, names)):
        return folders[0]
    return usual
