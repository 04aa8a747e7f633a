"""A project file as lines in blocks, and changes to be made to it, which leave all other lines as they are."""

from __future__ import annotations

import dataclasses
from typing import Dict, Iterable, List, Optional, Sequence, Tuple

from .project_text import LINE_SIZE, ProjectFormatError, Word, find_words, get_content, split_lines
from .sections import ADDING_SECTIONS, NETWORK_SECTIONS, SECTIONS, find_section

__all__ = ["Block", "Document", "Patch"]

_BLANKS = " \t\r\n"
_GAP = 2  #: blanks between two columns of a new line


@dataclasses.dataclass
class Block:
    """The lines behind a header, up to the next one."""

    name: str  #: of a section that the engine knows, without brackets; of any other the word of its header
    header: int  #: number of the header's line, from 0; -1 for what stands in front of the first header
    data: List[int]  #: numbers of the lines that are neither blank nor comments
    end: int = 0  #: number of the line behind the last one


class Document:
    """A project file cut into lines. Nothing is changed here: see Patch."""

    def __init__(self, text: str) -> None:
        """Cut a text of one character for each byte."""
        end = text.find("\x1a")
        body, self.tail = (text, "") if end < 0 else (text[:end], text[end:])
        self.lines: List[str] = list(split_lines(body))
        first = body.find("\n")
        self.line_end = "\r\n" if first > 0 and body[first - 1] == "\r" else "\n"
        self.blocks: List[Block] = []
        self._find_blocks()

    def _find_blocks(self) -> None:
        block = Block("DESCRIPTION", -1, [])
        self.blocks.append(block)
        for number, line in enumerate(self.lines):
            start = line.lstrip(_BLANKS)[:1]
            if start == '"':
                words = find_words(line)
                start = words[0].text[:1] if words else ""
                start = start or "x"  # the empty word is a word
            if start in ("", "/", "\0"):
                continue
            if start == "[":
                block.end = number
                block = Block(self._get_name(line), number, [])
                self.blocks.append(block)
            else:
                block.data.append(number)
        block.end = len(self.lines)

    @staticmethod
    def _get_name(line: str) -> str:
        word = find_words(line)[0].text
        section = find_section(word)
        return section.name if section and word.upper() == f"[{section.name}]" else word

    def find_lines(self, section: str) -> List[int]:
        """Return the numbers of all data lines of a section."""
        return [number for block in self.blocks if block.name == section for number in block.data]

    def has_section(self, section: str) -> bool:
        """Whether a header of this section stands in the file, or a line of it in front of all headers."""
        return any(block.name == section and (block.header >= 0 or block.data) for block in self.blocks)


def _find_starts(line: str) -> List[int]:
    return [word.start for word in find_words(line)]


def join_words(words: Sequence[str], starts: Sequence[int]) -> str:
    """Write words so that each begins at its column, or as near behind it as the words in front allow."""
    line = ""
    for k, word in enumerate(words):
        if line:
            room = starts[k] - len(line) if k < len(starts) else _GAP
            line += " " * max(room, 1)
        elif k < len(starts):
            line = " " * starts[k]
        line += word
    return line


def align_columns(rows: Sequence[Sequence[str]]) -> List[int]:
    """Return the columns at which the words of some rows begin when they stand below each other."""
    starts, start = [], 0
    for k in range(max(map(len, rows), default=0)):
        starts.append(start)
        start += max(len(row[k]) for row in rows if k < len(row)) + _GAP
    return starts


def replace_words(line: str, words: Sequence[Tuple[Word, str]]) -> str:
    """Put words in the places of others; what stands behind keeps its column where blanks give or take the room."""
    for old, new in sorted(words, key=lambda pair: -pair[0].start):
        content = get_content(line)
        rest = line[old.end:]
        blanks = len(rest) - len(rest.lstrip(" "))
        is_last = old.end + blanks >= len(content)
        grown = len(new) - (old.end - old.start)
        if is_last or blanks == 0:
            gap = " " * blanks if is_last or rest[:1] in _BLANKS + "\0" else " "
        else:
            gap = " " * max(blanks - grown, 1)
        line = line[:old.start] + new + gap + rest[blanks:]
    return line


class Patch:
    """Changes to the lines of a document, and the text that comes of them."""

    def __init__(self, document: Document) -> None:
        self.document = document
        self._changed: Dict[int, Optional[str]] = {}
        self._added: Dict[int, List[str]] = {}
        self._sections: Dict[str, List[str]] = {}

    def change(self, number: int, content: str, section: str) -> None:
        """Give a line another content."""
        if content == get_content(self.document.lines[number]):
            return
        if len(content) >= LINE_SIZE:
            raise ProjectFormatError(f"the line would have {len(content)} bytes, and {LINE_SIZE - 1} is the most",
                                     section, number + 1)
        self._changed[number] = content

    def remove(self, number: int) -> None:
        """Take a line out."""
        self._changed[number] = None

    def insert(self, number: int, contents: Iterable[str], section: str) -> None:
        """Put lines behind one that is there, and behind those that were put there before; -1 is the top."""
        lines = list(contents)
        self._check(lines, section)
        self._added.setdefault(number, []).extend(lines)

    def append(self, section: str, contents: Sequence[str]) -> None:
        """Put lines at the end of a section, which is made if it isn't there."""
        self._check(contents, section)
        block = self._choose_block(section)
        if block is None:
            self._sections.setdefault(section, []).extend(contents)
        else:
            self._added.setdefault(self._find_last(block), []).extend(contents)

    def get_starts(self, section: str) -> Optional[List[int]]:
        """Return the columns at which words begin in the last line of the block where new lines go; None without."""
        block = self._choose_block(section)
        if block is None or not block.data or "\t" in self.document.lines[block.data[-1]]:
            return None
        return _find_starts(self.document.lines[block.data[-1]])

    @staticmethod
    def _check(contents: Sequence[str], section: str) -> None:
        for content in contents:
            if len(content) >= LINE_SIZE:
                raise ProjectFormatError(f"a line would have {len(content)} bytes, and {LINE_SIZE - 1} is the most: "
                                         f"{content[:60]} ...", section)

    def _choose_block(self, section: str) -> Optional[Block]:
        """The last block of a section, with a look at what must stand in front of what."""
        blocks = self.document.blocks
        found = [k for k, block in enumerate(blocks) if block.name == section and (block.header >= 0 or block.data)]
        if section in NETWORK_SECTIONS:
            adding = self._find_first_adding()
            found = [k for k in found if adding is None or k < adding]
        elif section in ADDING_SECTIONS:
            last = max((k for k, block in enumerate(blocks) if block.name in NETWORK_SECTIONS), default=-1)
            found = [k for k in found if k > last]
        return blocks[found[-1]] if found else None

    def _find_first_adding(self) -> Optional[int]:
        return next((k for k, block in enumerate(self.document.blocks) if block.name in ADDING_SECTIONS), None)

    def _find_last(self, block: Block) -> int:
        """The line behind which new ones go: the last data line, or the comments directly behind the header."""
        if block.data:
            return block.data[-1]
        number = block.header
        while number + 1 < block.end and self.document.lines[number + 1].strip(_BLANKS):
            number += 1
        return number

    def _place_sections(self) -> None:
        """Give new sections their places: those of nodes and links in front of what adds to them, others at the end."""
        adding = self._find_first_adding()
        top: List[str] = []
        end: List[str] = []
        for name in sorted(self._sections, key=_get_rank):
            target = top if adding is not None and name in NETWORK_SECTIONS else end
            target += ["", name if name.startswith("[") else f"[{name}]", *self._sections[name]]
        if top and adding is not None:
            number = self.document.blocks[adding].header - 1
            while number >= 0 and self.document.lines[number].lstrip(_BLANKS).startswith("/"):
                number -= 1
            while number >= 0 and not self.document.lines[number].strip(_BLANKS):
                number -= 1
            self._added.setdefault(number, []).extend(top if number >= 0 else [*top[1:], ""])
        if end:
            count = len(self.document.lines)
            is_open = count > 0 and not get_content(self.document.lines[-1]).strip(_BLANKS)
            self._added.setdefault(count - 1, []).extend(end[1:] if is_open or count == 0 else end)

    def apply(self) -> str:
        """Return the text with all changes."""
        self._place_sections()
        if not self._changed and not self._added:
            return "".join(self.document.lines) + self.document.tail
        line_end = self.document.line_end
        parts: List[str] = [content + line_end for content in self._added.get(-1, ())]
        for number, line in enumerate(self.document.lines):
            changed = self._changed.get(number, line)
            if changed is not None:
                if number in self._changed:
                    changed += line[len(get_content(line)):] or self._get_end(number)
                parts.append(changed)
            added = self._added.get(number)
            if added:
                # A line without an end is one that was cut at its 1023rd byte, which ends it, or the last of the file.
                if parts and not parts[-1].endswith("\n") and len(parts[-1]) < LINE_SIZE:
                    parts[-1] += line_end
                parts += [content + line_end for content in added]
        return "".join(parts) + self.document.tail

    def _get_end(self, number: int) -> str:
        """The end of a changed line that had none: one if others follow."""
        return self.document.line_end if number + 1 < len(self.document.lines) else ""


def _get_rank(name: str) -> int:
    return list(SECTIONS).index(name) if name in SECTIONS else len(SECTIONS)
