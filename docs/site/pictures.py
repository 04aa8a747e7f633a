"""Pictures of results: drawn from the examples by the list in pictures.txt when the pages are laid out, and put into
the pages that speak of them when Sphinx reads these. In the source tree the pages don't know of them.
"""
import configparser
import os
import re
import shlex
import shutil
import subprocess
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

SITE = Path(__file__).resolve().parent
ROOT = SITE.parents[1]
PROGRAM = ROOT / "build" / "release" / "tarnvelde"


def read_list():
    """The pictures of the list by their names."""
    known = configparser.ConfigParser(interpolation=None)
    known.optionxform = str
    known.read(SITE / "pictures.txt", "utf-8")
    return {name: dict(known[name]) for name in known.sections()}


def _write_town(folder):
    """The project of docs/first-town.md, from the blocks of the page itself."""
    from testblocks import Page, find_blocks

    page = Page("docs/first-town.md", folder, PROGRAM.parent)
    for _line, _kind, mark, code in find_blocks((ROOT / page.name).read_text("utf-8")):
        order, _, name = (mark or "").partition(": ")
        if name != "town.inp":
            continue
        if order == "change":
            page.change(name, code)
        elif order in ("file", "append"):
            with open(folder / name, "w" if order == "file" else "a", encoding="utf-8") as file:
                file.write(code)


def _run(project, folder):
    """Runs a project in a folder of its own; its results, and those of LID units, stay there."""
    folder.mkdir(parents=True)
    if project == "town":
        _write_town(folder)
    else:
        shutil.copytree(ROOT / "examples" / project, folder, dirs_exist_ok=True)
    units = ["--lid-results", "units.db"] if project == "green-street" else []
    subprocess.run([PROGRAM, "run", f"{project}.inp", "--quiet", *units], cwd=folder, check=True,
                   stderr=subprocess.DEVNULL)


def draw(folder):
    """Draws all pictures of the list into a folder."""
    pictures = read_list()
    runs = folder.parent / "_runs"
    for path in (folder, runs):
        shutil.rmtree(path, ignore_errors=True)
    folder.mkdir(parents=True)
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        list(pool.map(lambda project: _run(project, runs / project), {each["run"] for each in pictures.values()}))

        def plot(name):
            each = pictures[name]
            if "first" in each:
                path = dict(os.environ, PYTHONPATH=str(ROOT / "python"))
                subprocess.run(["/usr/bin/python3", "-W", "ignore", SITE / each["first"]], cwd=runs / each["run"],
                               env=path, check=True)
            results = "units.db" if each.get("units") else f"{each['run']}.bin"
            done = subprocess.run([PROGRAM, "plot", results, *shlex.split(each["plot"]), "-o", folder / f"{name}.svg"],
                                  cwd=runs / each["run"], stderr=subprocess.PIPE, text=True, check=False)
            if done.returncode:
                raise ValueError(f"pictures.txt: {name}: {done.stderr}")

        list(pool.map(plot, pictures))
    shutil.rmtree(runs)
    return len(pictures)


def _slug(heading):
    """The name of a place that a heading has in links."""
    text = re.sub(r"\\([\[\]])", r"\1", heading).strip().lower()
    return re.sub(r"[^\w\- ]", "", text).replace(" ", "-")


def _markdown(name, each):
    results = "units.db" if each.get("units") else f"{each['run']}.bin"
    return (f"\n![{each['says']}](/_pictures/{name}.svg)\n\n*{each['says']}*\n"
            f"`tarnvelde plot {results} {each['plot']} -o {name}.svg`\n\n")


def insert(page, text, pictures):
    """A page with its pictures, at the ends of their sections."""
    lines = text.split("\n")
    is_code, seen, headings = False, {}, []  # of headings: (line, slug)
    for number, line in enumerate(lines):
        if line.startswith("```"):
            is_code = not is_code
        elif not is_code and re.match(r"#+ ", line):
            slug = _slug(line.lstrip("# "))
            seen[slug] = seen.get(slug, -1) + 1
            headings.append((number, f"{slug}-{seen[slug]}" if seen[slug] else slug))
    ends = [number for number, _ in headings[1:]] + [len(lines)]
    added = []
    for name, each in pictures.items():
        for place in each["pages"].split(","):
            where, _, slug = place.strip().partition("#")
            if where == page:
                at = [end for (_, known), end in zip(headings, ends) if not slug or known == slug]
                if not at:
                    raise ValueError(f"pictures.txt: {name}: {place.strip()} isn't there")
                added.append((at[-1] if not slug else at[0], _markdown(name, each)))
    for at, markdown in sorted(added, reverse=True, key=lambda pair: pair[0]):
        lines[at:at] = markdown.split("\n")
    return "\n".join(lines)


def setup(app):
    pictures = read_list()

    def put(_app, page, source):
        source[0] = insert(page, source[0], pictures)

    app.connect("source-read", put)
    return {"parallel_read_safe": True}
