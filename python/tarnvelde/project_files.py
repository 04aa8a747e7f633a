"""Names of files inside a project, which the engine looks for beside the project file, and writing of files aside."""

from __future__ import annotations

import os
from typing import Iterator, Optional, Tuple

from .project_document import Document, Patch, replace_words
from .project_text import ProjectFormatError, Word, decode, find_words, get_content, quote

__all__ = ["find_file", "relocate_names"]

#: Bytes of the name of a series' file that the engine keeps.
NAME_SIZE = 259
_RECORDS = {"SWMM_INPS": ("INFLOW", "OUTFLOW"), "VORN_INPS": ("INFLUENT", "EFFLUENT")}


def find_file(name: str, folder: Optional[str]) -> Optional[str]:
    """Find a file that a project names as the engine does: as named, then beside the project file; None if it isn't."""
    for path in (name, None if folder is None else os.path.join(folder, name)):
        if path and os.path.isfile(path):
            return path
    return None


def _find_names(document: Document) -> Iterator[Tuple[str, int, Word]]:
    """All names of files: section, number of the line, word."""
    for number in document.find_lines("TIMESERIES"):
        if "FILE" in document.lines[number]:
            words = find_words(document.lines[number])
            if len(words) > 2 and words[1].text == "FILE":
                yield "TIMESERIES", number, words[2]
    for section, records in _RECORDS.items():
        for number in document.find_lines(section):
            words = find_words(document.lines[number])
            if len(words) > 1 and words[0].text.upper() not in records:
                yield section, number, words[1]


def _rename(path: str, folder: str) -> str:
    """Name a file from a folder, by the way there, or from the root where that way would find another one."""
    try:
        name = os.path.relpath(path, folder).replace(os.sep, "/")
    except ValueError:  # on another drive
        return os.path.abspath(path)
    found = find_file(name, folder)
    return name if found and os.path.samefile(found, path) else os.path.abspath(path)


def relocate_names(text: str, old: Optional[str], new: str, relocate: Optional[bool]) -> str:
    """Return a project text for another folder, with the names of its files looked after.

    Args:
        text: The text, one character for each byte.
        old: Folder in which the names hold now; None if the project has none.
        new: Folder that the text is written to.
        relocate: True rewrites names that would find another file or none; None refuses if any would find none; False
            looks at nothing.

    Raises:
        ProjectFormatError: A file wouldn't be found any more.
    """
    if relocate is False or (old is not None and os.path.realpath(old) == os.path.realpath(new)):
        return text
    document = Document(text)
    patch = Patch(document)
    for section, number, word in _find_names(document):
        name = decode(word.text)
        path = find_file(name, old)
        found = find_file(name, new)
        if path is None or (found is not None and (not relocate or os.path.samefile(found, path))):
            continue
        if not relocate:
            raise ProjectFormatError(
                f"{name!r} isn't found from {new or '.'}; write with relocate=True to have it named from there, or "
                "with relocate=False to write the name as it is", section, number + 1)
        renamed = quote(_rename(path, new))
        if section == "TIMESERIES" and len(renamed.strip('"')) > NAME_SIZE:
            raise ProjectFormatError(f"the name of {path!r} has more than {NAME_SIZE} bytes", section, number + 1)
        line = replace_words(document.lines[number], [(word, renamed)])
        patch.change(number, get_content(line), section)
    return patch.apply()
