"""Lays the pages of the manual out for Sphinx: the Markdown of the source tree under its own paths, the files that it
shows or links to, the pages of the C headers, and the table of contents.

    stage.py FOLDER

Only what differs is written, so a second build is quick. Pages that are no longer there are removed.
"""
import re
import sys
from pathlib import Path

from headerpages import header_page
from pictures import draw

ROOT = Path(__file__).resolve().parents[2]
SITE = Path(__file__).resolve().parent
PAGES = ["README.md", "CONTRIBUTING.md", "CHANGELOG.md", "docs/**/*.md", "examples/*/README.md", "python/README.md",
         "page/README.md", "engines/trial/README.md", "tests/golden/README.md"]
HEADERS = ["include/tarnvelde_model.h", "include/tarnvelde.h"]
LINK = re.compile(r"(\]\()([^)\s#]+)((?:#[^)\s]*)?\))")
FENCED = re.compile(r"^( *)(```+|~~~+).*?^ *\2[^\n]*$", re.M | re.S)


def outside_code(text, change):
    """Applies a change to what stands outside fenced code."""
    parts, at = [], 0
    for match in FENCED.finditer(text):
        parts += [change(text[at:match.start()]), match.group(0)]
        at = match.end()
    return "".join(parts + [change(text[at:])])


def find_pages():
    """Paths of all pages in the source tree, in order."""
    found = {path for pattern in PAGES for path in ROOT.glob(pattern) if SITE not in path.parents}
    return sorted(path.relative_to(ROOT).as_posix() for path in found)


def linked_files(page, text, pages):
    """Files that a page shows or links to, other than pages."""
    files = set()

    def look(part):
        for match in LINK.finditer(part):
            if not re.match(r"[a-z]+:", match.group(2)):
                path = (ROOT / page).parent.joinpath(match.group(2)).resolve()
                if path.is_file() and ROOT in path.parents:
                    files.add(path.relative_to(ROOT).as_posix())
        return part

    outside_code(text, look)
    return files - set(pages)


def link_headers(page, text):
    """Links to a header lead to its page."""
    def change(part):
        return LINK.sub(lambda match: match.group(1) + re.sub(r"(include/tarnvelde(?:_model)?)\.h$", r"\1.md",
                                                              match.group(2)) + match.group(3), part)

    return outside_code(text, change) if page != "CHANGELOG.md" else text


def expand_contents(text, pages):
    """The lines of tables of contents: a pattern names the pages that match it and that no line names, a path that may
    be missing has a question mark behind it."""
    named = {line.strip().rstrip("?") for line in text.split("\n")}
    names = [page[:-3] for page in pages]
    lines = []
    for line in text.split("\n"):
        word = line.strip()
        if word.endswith("?") and "/" in word and " " not in word:
            if word[:-1] in names:
                lines.append(word[:-1])
        elif "*" in word and "/" in word and " " not in word:
            pattern = re.compile(re.escape(word).replace(r"\*", "[^/]*") + "$")
            found = [name for name in names if pattern.match(name) and name not in named]
            lines += sorted(found, key=lambda name: (not name.endswith(("README", "index")), name))
        else:
            lines.append(line)
    text = "\n".join(lines)
    return re.sub(r"^```\{toctree\}\n(?::[^\n]*\n)*\n*```\n", "", text, flags=re.M)  # a table without any line


def lay_out(target):
    """All pages and files: what was laid out, by path."""
    pages = find_pages()
    laid = {}
    for page in pages:
        text = (ROOT / page).read_text("utf-8")
        for path in linked_files(page, text, pages):
            laid[path] = (ROOT / path).read_bytes()
        laid[page] = link_headers(page, text).encode("utf-8")
    for header in HEADERS:
        laid[header] = (ROOT / header).read_bytes()
        laid[header[:-2] + ".md"] = header_page(ROOT / header).encode("utf-8")
    laid["python/reference.rst"] = (SITE / "python-reference.rst").read_bytes()
    laid["index.md"] = expand_contents((SITE / "index.md").read_text("utf-8"), pages).encode("utf-8")
    for path in [path for path in sorted(target.rglob("*")) if path.is_file()]:
        name = path.relative_to(target).as_posix()
        if name not in laid and not name.startswith("_"):
            path.unlink()
    for name, content in laid.items():
        path = target / name
        if not path.is_file() or path.read_bytes() != content:
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(content)
    return laid


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit("stage.py FOLDER")
    folder = Path(sys.argv[1]).resolve()
    print(f"{len(lay_out(folder))} pages and files, {draw(folder / '_pictures')} pictures of results")
