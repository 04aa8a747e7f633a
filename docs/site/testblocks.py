"""Runs what the manual shows: each block of code and each command of its pages, page by page, in a copy of the source.

    testblocks.py [--build FOLDER] [PAGE ...]

By the language of a block: sh is run in bash, python in one Python for the page, c and cpp are compiled with the public
headers, json is read; lines set in by four blanks are run if they begin with a command; a block without a language is
run if it is a whole project. Any other block has a comment in the line above it that says what it is:

    file: NAME, append: NAME    what a file holds, or what is added to it; a project is checked then
    change: NAME                a diff of a file
    found in: NAME, printed     lines of a file, or of what the commands of the page have printed, in their order
    form                        how commands are called: each option must stand in their help
    not run: REASON             what can't be run, in any language

Comments with "run in: FOLDER" and "first: COMMAND" choose the folder, and make ready what a page takes for granted.
The last line counts the blocks.
"""
import argparse
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from stage import ROOT, find_pages

COMMAND = re.compile(r"^(?:[A-Z_]+=\S+ )*(?:(?:tarnvelde|python3|pip|apt-get|make|cmake|sqlite3)(?: |$)|"
                     r"(?:scripts|\.\.|~|build)/)")
OUTSIDE = re.compile(r"\b(?:apt|apt-get|sudo|pip|npm|curl|wget)\b|scripts/(?!draw)|\bcmake\b|\bctest\b")
PARTS = ["README.md", "CONTRIBUTING.md", "CMakeLists.txt", "docs", "examples", "include", "python", "scripts"]
TESTED_ELSEWHERE = {  # the Python of these pages, and the tests that run each block of it
    "python/README.md": "python/tests/test_readme.py",
    "docs/fit.md": "python/tests/test_manual.py",
    "docs/sensitivity.md": "python/tests/test_manual.py",
}
HEAD = "#include <stdint.h>\n#include <stdio.h>\n#include <tarnvelde.h>\n#include <tarnvelde_model.h>\n"


class Fault(Exception):
    """A block that doesn't do what the page says."""


def find_blocks(text):
    """Blocks and comments of a page in their order: (line, kind, mark, code)."""
    lines = text.split("\n")
    number, mark = 0, None
    while number < len(lines):
        line = lines[number]
        comment = re.match(r"^<!-- (.*?) -->$", line)
        fence = re.match(r"^ *(```+)\s*(\S*)", line)
        if comment:
            mark = comment.group(1)
            if re.match(r"(run in|first): ", mark):
                yield number + 1, "comment", mark, ""
                mark = None
        elif fence:
            end = next(at for at in range(number + 1, len(lines)) if lines[at].strip() == fence.group(1))
            yield number + 1, fence.group(2), mark, "\n".join(lines[number + 1:end]) + "\n"
            number, mark = end, None
        elif line.startswith("    ") and COMMAND.match(line.strip()) and (number == 0 or not lines[number - 1].strip()):
            end = number
            while end < len(lines) and lines[end].startswith("    "):
                end += 1
            yield number + 1, "sh", mark, "\n".join(each[4:] for each in lines[number:end]) + "\n"
            number, mark = end - 1, None
        elif line.strip():
            mark = None
        number += 1


class Page:
    """A page at work: its folder, its Python, and what its commands have printed."""

    def __init__(self, name, tree, build):
        self.name, self.tree, self.build = name, tree, build
        self.folder = tree
        self.printed = ""
        self.python = ""

    def run(self, words, give=None):
        """Runs a program; its text."""
        path = f"{self.tree}/bin:{self.build}:{os.environ['PATH']}"
        variables = dict(os.environ, PATH=path, HOME=str(self.tree), LC_ALL="C.UTF-8", MPLBACKEND="Agg",
                         PYTHONPATH=str(self.tree / "python"), TARNVELDE_LIBRARY=str(self.build / "libtarnvelde.so"))
        done = subprocess.run(words, cwd=self.folder, env=variables, input=give, text=True, timeout=300,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        self.printed += done.stdout
        if done.returncode:
            raise Fault(f"ends with {done.returncode}\n{done.stdout[-2000:]}")
        return done.stdout

    def shell(self, code):
        """Runs commands as they stand, but none that installs, builds or tests."""
        if OUTSIDE.search(code):
            raise Fault("installs, builds or tests: say why it is not run")
        self.run(["bash", "-euo", "pipefail", "-c", code])

    def run_python(self, code):
        """Runs a block behind the blocks before it, whose names it may use."""
        self.python += code
        self.run(["/usr/bin/python3", "-W", "ignore", "-"], self.python)

    def compile(self, code, language):
        """Compiles a block: as it stands, or as the body of a function."""
        compiler = ["g++", "-std=c++17", "-xc++"] if language == "cpp" else ["cc", "-std=c99", "-xc"]
        command = [*compiler, "-Wall", "-Wextra", "-fsyntax-only", "-I", str(self.tree / "include"), "-"]
        try:
            self.run([*command, "-Werror"], HEAD + code)
        except Fault:
            self.run(command, f"{HEAD}static int32_t block(tv_model* model, int32_t tank, int32_t gate) {{\n"
                              f"{code}\nreturn 0;\n}}\n")

    def write(self, name, code, mode):
        """Puts a block into a file; a project is checked."""
        with open(self.folder / name, mode, encoding="utf-8") as file:
            file.write(code)
        if name.endswith(".inp"):
            self.check(name)

    def check(self, name):
        """Reads a project, once it has a node."""
        if "[JUNCTIONS]" in (self.folder / name).read_text("utf-8"):
            self.run(["tarnvelde", "check", name])

    def change(self, name, code):
        """Makes a change to a file as its diff says."""
        path = self.folder / name
        text = path.read_text("utf-8")
        old = "".join(line[1:] + "\n" for line in code.splitlines() if line.startswith("-"))
        new = "".join(line[1:] + "\n" for line in code.splitlines() if line.startswith("+"))
        if not old or text.count(old) != 1:
            raise Fault(f"what it takes away stands {text.count(old)} times in {name}")
        path.write_text(text.replace(old, new), "utf-8")

    def find(self, text, code):
        """Looks for what a block shows in a text, in its order; line ends and blanks don't count, dots are a gap."""
        text = " ".join(text.split())
        at = 0
        for part in re.split(r"^ *\.\.\. *$", code, flags=re.M):
            wanted = " ".join(part.split())
            found = text.find(wanted, at)
            if found < 0:
                raise Fault(f"isn't there: {wanted}")
            at = found + len(wanted)

    def print(self, code):
        """Runs the lines of a block that begin with $, and looks for the others in what was printed."""
        for command in re.findall(r"^\$ (.*)$", code, re.M):
            self.shell(command)
        self.find(self.printed, re.sub(r"^\$ .*$", "", code, flags=re.M))

    def look_up(self, code):
        """Looks for each option of a form in the help of its command."""
        for form in re.split(r"^(?=tarnvelde )", code, flags=re.M):
            words = form.split()
            if len(words) < 2:
                continue
            command = [words[1]] if words[1].isalpha() and words[1].islower() else []
            help_text = self.run(["tarnvelde", *command, "--help"])
            if words[1] == "ensemble":
                help_text += self.run(["/usr/bin/python3", "-m", "tarnvelde", "ensemble", "--help"])
            for option in re.findall(r"--[a-z][a-z-]*", form):
                if not re.search(rf"{option}\b(?!-)", help_text):
                    raise Fault(f"tarnvelde {words[1]} has no {option}")

    def do(self, kind, mark, code):
        """Does what a block is for; whether it was run."""
        order, _, name = (mark or "").partition(": ")
        if order == "not run":
            if not name.strip():
                raise Fault("not run, without a reason")
            return False
        if order in ("file", "append"):
            self.write(name, code, "w" if order == "file" else "a")
        elif order == "change":
            self.change(name, code)
        elif order == "found in":
            self.find((self.folder / name).read_text("utf-8"), code)
        elif mark == "printed":
            self.print(code)
        elif mark == "form":
            self.look_up(code)
        elif kind == "sh":
            self.shell(code)
        elif kind == "python" and self.name in TESTED_ELSEWHERE:
            test = (ROOT / TESTED_ELSEWHERE[self.name]).read_text("utf-8")
            if Path(self.name).stem not in test:
                raise Fault(f"{TESTED_ELSEWHERE[self.name]} doesn't run this page")
        elif kind == "python":
            self.run_python(code)
        elif kind in ("c", "cpp"):
            self.compile(code, kind)
        elif not kind and re.search(r"^\[GENERAL\]$", code, re.M) and re.search(r"^\[OUTFALLS\]$", code, re.M):
            self.write("block.inp", code, "w")
            self.run(["tarnvelde", "run", "block.inp"])
        elif kind == "json":
            json.loads(code)
        else:
            raise Fault("is of no language that can be run, and no comment above it says what it is")
        return True


def copy_tree(target):
    """A copy of what the pages name; what is built is not copied."""
    ignore = shutil.ignore_patterns("__pycache__", "*.egg-info", "lib", "sizes", ".*_cache")
    for part in PARTS:
        if (ROOT / part).is_dir():
            shutil.copytree(ROOT / part, target / part, ignore=ignore)
        else:
            shutil.copyfile(ROOT / part, target / part)


def test_page(name, build):
    """Runs the blocks of a page: how many were run, weren't, and failed, and sentences on those."""
    run, skipped, faults = 0, 0, []
    blocks = list(find_blocks((ROOT / name).read_text("utf-8")))
    if not blocks:
        return run, skipped, faults
    with tempfile.TemporaryDirectory(prefix="tarnvelde-manual-") as folder:
        tree = Path(folder) / "tarnvelde"
        tree.mkdir()
        copy_tree(tree)
        (tree / "build").mkdir()
        (tree / "build" / "release").symlink_to(build)
        (tree / "bin").mkdir()
        (tree / "bin" / "python3").symlink_to("/usr/bin/python3")  # Debian's, whose packages are Debian's
        page = Page(name, tree, build)
        for line, kind, mark, code in blocks:
            try:
                if kind == "comment":
                    order, _, value = mark.partition(": ")
                    if order == "first":
                        page.shell(value)
                    else:
                        page.folder = tree / value
                elif page.do(kind, mark, code):
                    run += 1
                else:
                    skipped += 1
            except (Fault, OSError, ValueError, StopIteration, subprocess.TimeoutExpired) as fault:
                faults.append(f"{name}:{line}: {fault}")
    return run, skipped, faults


def main():
    """Runs the blocks of all pages, or of those that are named."""
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", default=ROOT / "build" / "release", type=Path)
    parser.add_argument("pages", nargs="*")
    choice = parser.parse_args()
    run = skipped = failed = 0
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        for more, less, faults in pool.map(lambda name: test_page(name, choice.build.resolve()),
                                           choice.pages or find_pages()):
            run, skipped, failed = run + more, skipped + less, failed + len(faults)
            for fault in faults:
                print(fault)
    print(f"blocks of the manual: {run} run, {skipped} not run for the reasons that stand above them, {failed} failed")
    sys.exit(1 if failed or not run else 0)


if __name__ == "__main__":
    main()
