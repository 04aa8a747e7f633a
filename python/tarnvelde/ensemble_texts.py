"""Texts of projects as the members of an ensemble need them: places to fill, and the files that a project reads."""
from __future__ import annotations

import hashlib
import os
import re
from pathlib import Path
from typing import Dict, Iterator, List, Mapping, NamedTuple, Optional, Set, Tuple

from ._places import Source
from .errors import ProjectError

PLACE = re.compile(r"\$\{([^{}\s]+)\}")
"""A place of a template: ${NAME}."""

_SECTION = re.compile(r"^[ \t]*\[([^\]\r\n]*)\]?[^\r\n]*", re.MULTILINE)
_WORD = re.compile(r'"[^"]*"?|[^ \t]+')
_RECORDS = {"SWMM_INPS": ("INFLOW", "OUTFLOW"), "VORN_INPS": ("INFLUENT", "EFFLUENT")}  # lines that name no file
_NAME_SIZE = 259  # bytes of a name of a file of a series


class Place(NamedTuple):
    """Where a text names a file: the name without quotes, its first and its last character with them."""

    name: str
    start: int
    end: int


class Text(NamedTuple):
    """The text of a project, and the folder beside which its files stand."""

    text: str
    folder: Path


def read_text(source: Source) -> Text:
    """The text of a project. FileNotFoundError, ProjectError for one that can't be read."""
    if source.path is None:
        return Text(source.text.decode("utf-8", "surrogateescape"), Path(source.folder or ".").absolute())
    path = source.path.absolute()
    if path.is_dir():
        raise ProjectError(f"{source.path} is a folder")
    return Text(path.read_bytes().decode("utf-8", "surrogateescape"), path.parent)


def fill(text: str, values: Mapping[str, str]) -> str:
    """The text with the places of these names filled. What is filled in isn't looked at again."""
    return PLACE.sub(lambda found: values.get(found.group(1), found.group(0)), text)


def places_of(text: str) -> Set[str]:
    """Names of the places that are no part of a comment, and those of comments with a dot ahead."""
    found = set()
    for match in PLACE.finditer(text):
        line = text[text.rfind("\n", 0, match.start()) + 1:match.start()]
        is_comment = "//" in line or line.lstrip().startswith("/")
        found.add(("." if is_comment else "") + match.group(1))
    return found


def files_of(text: str) -> Iterator[Place]:
    """Files that a project names: those of its series, and of the models inside its nodes."""
    headers = list(_SECTION.finditer(text))
    for number, header in enumerate(headers):
        section = header.group(1).strip().upper()
        if section == "TIMESERIES" or section in _RECORDS:
            end = headers[number + 1].start() if number + 1 < len(headers) else len(text)
            for line in re.finditer(r"[^\r\n]+", text[header.end():end]):
                found = _file_of(section, line.group())
                if found is not None:
                    begin = header.end() + line.start()
                    yield Place(found.name, begin + found.start, begin + found.end)


def _file_of(section: str, line: str) -> Optional[Place]:
    """The file that a line of a section names."""
    if section == "TIMESERIES" and "FILE" not in line:
        return None
    words = list(_WORD.finditer(line.split("//")[0]))
    if not words or words[0].group().startswith("/"):
        return None
    if section == "TIMESERIES":
        number = 2 if len(words) > 2 and words[1].group() == "FILE" else -1
    else:
        number = 1 if len(words) > 1 and words[0].group().upper() not in _RECORDS[section] else -1
    if number < 0:
        return None
    word = words[number]
    return Place(word.group().strip('"'), word.start(), word.end())


def find_file(name: str, folder: Path) -> Optional[Path]:
    """A file as the engine finds it: as it is named, then beside the project; None if there is none."""
    for path in (Path(name), folder / name):
        if name and path.is_file():
            return path.absolute()
    return None


class Files:
    """Hashes of files, each read once."""

    def __init__(self) -> None:
        self._found: Dict[str, str] = {}

    def hash(self, path: Optional[Path]) -> str:
        """SHA-256 of a file; empty if there is none, or if it can't be read."""
        if path is None:
            return ""
        key = str(path)
        if key not in self._found:
            digest = hashlib.sha256()
            try:
                with open(path, "rb") as file:
                    for block in iter(lambda: file.read(1 << 20), b""):
                        digest.update(block)
                self._found[key] = digest.hexdigest()
            except OSError:
                self._found[key] = ""
        return self._found[key]


def settle_files(text: Text, instead: Mapping[str, Path],
                 always: bool) -> Tuple[str, Dict[str, Optional[Path]], Set[str]]:
    """The text with its files named from the root, so that it means the same wherever it stands and runs; the file of
    each name; and those of `instead` that it names. `instead` are files in place of others. Without need - no file in
    place of another, none found from the current folder - the text stays, unless `always`. ProjectError for a file in
    place of another whose path can't stand in a project."""
    found = list(files_of(text.text))
    files: Dict[str, Optional[Path]] = {}
    used: Set[str] = set()
    is_moved = always
    for place in found:
        if place.name in instead:
            used.add(place.name)
            files[place.name] = instead[place.name]
            is_moved = True
        else:
            path = files[place.name] = find_file(place.name, text.folder)
            is_moved = is_moved or (path is not None and path != (text.folder / place.name).absolute())
    if not is_moved:
        return text.text, files, used
    pieces: List[str] = []
    end = 0
    for place in found:
        path = files[place.name]
        pieces += [text.text[end:place.start], _written(path, text.text[place.start:place.end], place.name in used)]
        end = place.end
    return "".join(pieces) + text.text[end:], files, used


def _written(path: Optional[Path], word: str, must: bool) -> str:
    """A path as a word of a project; the word as it was where that can't be."""
    if path is None:
        return word
    name = os.path.abspath(path)
    is_fit = not any(piece in name for piece in ('"', "//", "\n", "\r")) and len(os.fsencode(name)) <= _NAME_SIZE
    if not is_fit and must:
        raise ProjectError(f"{name} can't stand in a project: its name holds a quote or //, or is too long")
    return f'"{name}"' if is_fit else word
