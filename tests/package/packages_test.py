"""What packages are made of: versions, commit, words for shells and manual, and the wheel.

    packages_test.py Versions|Commit|Words|PlantWords|Wheel|WindowsWheel

PROGRAM, LIBRARY, PLANT and CMAKE of the environment name those of the build, WHEEL that for Windows.
"""
import base64
import hashlib
import os
import re
import subprocess
import sys
import tempfile
import unittest
import zipfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
PACKAGING = ROOT / "packaging"


def read(name):
    return (ROOT / name).read_text(encoding="utf-8")


def find(pattern, text):
    found = re.search(pattern, text, re.MULTILINE)
    return found[1] if found else None


def run(*words, **options):
    done = subprocess.run([str(word) for word in words], capture_output=True, text=True, **options)
    if done.returncode != 0:
        raise AssertionError(f"{words}: {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


VERSION = find(r"^project\(tarnvelde VERSION (\d+\.\d+\.\d+) ", read("CMakeLists.txt"))
MAJOR = VERSION.split(".")[0]


class InFolder(unittest.TestCase):
    """A test with a folder of its own."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)


class Versions(unittest.TestCase):
    """CMakeLists.txt has the version; what can't be made from it says the same."""

    def test_python_has_it(self):
        self.assertEqual(find(r'^VERSION = "(.*)"$', read("python/tarnvelde/_version.py")), VERSION)

    def test_debian_has_it(self):
        self.assertEqual(find(r"^tarnvelde \((.*)-\d+\) ", read("packaging/debian/changelog")), VERSION)

    def test_citation_has_it(self):
        self.assertEqual(find(r"^version: (.*)$", read("CITATION.cff")), VERSION)

    def test_changes_have_it_as_the_newest_release(self):
        heading = [line for line in read("CHANGELOG.md").splitlines() if line.startswith("## ")]
        released = [line for line in heading if line != "## Unreleased"]
        self.assertEqual(heading[0], "## Unreleased")
        self.assertEqual(released[0].split()[1].rstrip(","), VERSION)

    def test_release_has_one_date(self):
        date = find(r"^date-released: (.*)$", read("CITATION.cff"))
        self.assertEqual(find(rf"^## {VERSION}, (.*)$", read("CHANGELOG.md")), date)

    def test_readme_asks_for_it(self):
        asked = find(r"find_package\(tarnvelde (\d+\.\d+) ", read("README.md"))
        self.assertEqual(asked, VERSION.rpartition(".")[0])

    def test_licences_name_the_version_of_uplot(self):
        uplot = find(r'"uplot": "(.*)"', read("page/package.json"))
        self.assertIn(f"uPlot {uplot},", read("packaging/debian/copyright"))

    def test_number_of_the_library_is_its_first_one(self):
        self.assertEqual(find(r"^Package: libtarnvelde(\d+)$", read("packaging/debian/control")), MAJOR)
        symbols = read(f"packaging/debian/libtarnvelde{MAJOR}.symbols")
        self.assertTrue(symbols.startswith(f"libtarnvelde.so.{MAJOR} libtarnvelde{MAJOR} #MINVER#\n"))
        self.assertEqual(find(r'"libtarnvelde\.so\.(\d+)"', read("python/tarnvelde/_library.py")), MAJOR)
        self.assertEqual(find(r'"libtarnvelde\.so\.(\d+)"', read("python/setup.py")), MAJOR)
        self.assertEqual(find(r"^#define TV_HEADER_MAJOR (\d+)$", read("include/tarnvelde_model.h")), MAJOR)


class Commit(InFolder):
    """The commit that the program shows: that of the clone, or of the archive that the sources come from."""

    def git(self, *words):
        return run("git", "-c", "user.name=t", "-c", "user.email=t@t.invalid", "-C", self.folder / "clone", *words)

    def setUp(self):
        super().setUp()
        (self.folder / "clone" / "cmake").mkdir(parents=True)
        for name in ("cmake/commit.txt", ".gitattributes"):
            (self.folder / "clone" / name).write_text(read(name), encoding="utf-8")
        (self.folder / "clone" / "source.txt").write_text("one\n", encoding="utf-8")
        self.git("init", "-q")
        self.git("add", ".")
        self.git("commit", "-qm", "All")
        self.head = self.git("rev-parse", "HEAD").strip()

    def commit_of(self, tree):
        header = self.folder / "commit.h"
        run(os.environ["CMAKE"], f"-DSOURCE_DIR={tree}", f"-DHEADER={header}", "-P", ROOT / "cmake/writeCommit.cmake")
        return find(r'"(.*)";$', header.read_text(encoding="utf-8"))

    def test_is_that_of_the_clone(self):
        self.assertEqual(self.commit_of(self.folder / "clone"), self.head)

    def test_has_a_plus_where_files_differ(self):
        (self.folder / "clone" / "source.txt").write_text("two\n", encoding="utf-8")
        self.assertEqual(self.commit_of(self.folder / "clone"), self.head + "+")

    def test_is_in_an_archive_though_that_lies_in_another_clone(self):
        tree = self.folder / "clone" / "tree"
        tree.mkdir()
        archive = self.folder / "all.tar"
        self.git("archive", "-o", str(archive), "HEAD")
        run("tar", "-xf", archive, "-C", tree)
        self.assertEqual(self.commit_of(tree), self.head)

    def test_is_unknown_without_either(self):
        tree = self.folder / "clone" / "tree"
        (tree / "cmake").mkdir(parents=True)
        (tree / "cmake" / "commit.txt").write_text(read("cmake/commit.txt"), encoding="utf-8")
        self.assertEqual(self.commit_of(tree), "unknown")

    def test_keeps_the_header_that_is_the_same(self):
        header = self.folder / "commit.h"
        self.commit_of(self.folder / "clone")
        os.utime(header, (1, 1))
        self.commit_of(self.folder / "clone")
        self.assertEqual(header.stat().st_mtime, 1)


class InShell(InFolder):
    """A test of what shells know."""

    def complete(self, *words):
        script = 'source "$0/$1.bash"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _${1//-/_}; ' \
                 'printf "%s\\n" "${COMPREPLY[@]}"'
        return run("bash", "-c", script, self.folder, *words, cwd=self.folder).split()


class Words(InShell):
    """Completions and the page of the manual are whole."""

    def setUp(self):
        super().setUp()
        run(sys.executable, PACKAGING / "write-words.py", os.environ["PROGRAM"], self.folder)

    def test_bash_completes_commands(self):
        self.assertEqual(self.complete("tarnvelde", "re"), ["results", "report"])

    def test_bash_completes_options_of_the_command(self):
        self.assertEqual(self.complete("tarnvelde", "run", "--database"), ["--database", "--database-with"])
        self.assertEqual(self.complete("tarnvelde", "check", "--database"), [])

    def test_bash_completes_files_and_folders(self):
        (self.folder / "town.inp").touch()
        (self.folder / "towns").mkdir()
        self.assertEqual(sorted(self.complete("tarnvelde", "run", "tow")), ["town.inp", "towns"])
        self.assertEqual(self.complete("tarnvelde", "run", "--engines", "tow"), ["towns"])

    def test_each_option_is_everywhere(self):
        page = (self.folder / "tarnvelde.1").read_text(encoding="utf-8").replace("\\-", "-")
        zsh = (self.folder / "_tarnvelde").read_text(encoding="utf-8")
        fish = (self.folder / "tarnvelde.fish").read_text(encoding="utf-8")
        count = 0
        for command in ("run", "check", "explain", "results", "stats", "plot", "report", "export"):
            section = page.split(f".SS {command}\n")[1].split(".SS ")[0]
            in_zsh = zsh.split(f"        {command})\n")[1].split(";;")[0]
            text = run(os.environ["PROGRAM"], command, "--help").split("Options:")[1]
            for option in set(re.findall(r"^  (?:-\w,)?(--[a-z-]+)", text, re.MULTILINE)):
                self.assertIn(f"\\fB{option}\\fR", section)
                self.assertIn(f"'*{option}[", in_zsh)
                self.assertIn(f"_from {command}' ", fish)
                self.assertRegex(fish, rf"_from {command}' (-s \w )?-l {option[2:]} ")
                self.assertIn(option, self.complete("tarnvelde", command, option))
                count += 1
        self.assertGreater(count, 60)

    def test_page_says_what_needs_a_value(self):
        page = (self.folder / "tarnvelde.1").read_text(encoding="utf-8")
        self.assertIn("\n\\fB\\-\\-until\\fR \\fIDATE\\fR\nStop at this date", page)
        self.assertIn("\n\\fB\\-\\-summary\\fR\nMinimum, mean", page)


class PlantWords(InShell):
    """Those of the program for treatment plants."""

    def setUp(self):
        super().setUp()
        run(sys.executable, PACKAGING / "write-words.py", os.environ["PROGRAM"], self.folder, os.environ["PLANT"])

    def test_files_of_the_other_program_are_the_same(self):
        run(sys.executable, PACKAGING / "write-words.py", os.environ["PROGRAM"], self.folder / "alone")
        for file in sorted((self.folder / "alone").iterdir()):
            self.assertEqual((self.folder / file.name).read_bytes(), file.read_bytes())

    def test_each_command_and_option_of_plants_is_everywhere(self):
        page = (self.folder / "tarnvelde-plant.1").read_text(encoding="utf-8").replace("\\-", "-")
        zsh = (self.folder / "_tarnvelde-plant").read_text(encoding="utf-8")
        fish = (self.folder / "tarnvelde-plant.fish").read_text(encoding="utf-8")
        forms = re.findall(r"^tarnvelde-plant (\w+) (.*)$", run(os.environ["PLANT"], "--help"), re.MULTILINE)
        self.assertEqual([name for name, _ in forms], ["check", "steady", "run", "matrix"])
        self.assertEqual(self.complete("tarnvelde-plant", ""), ["check", "steady", "run", "matrix", "--help"])
        for name, form in forms:
            self.assertIn(f".B tarnvelde-plant {name}\n{form}\n", page)
            self.assertIn(f"\n\\fB{name}\\fR {form}\n", page)
            self.assertIn(f"        '{name}:", zsh)
            self.assertIn(f"-a {name} -d ", fish)
            options = re.findall(r"--[a-z]+", form)
            self.assertEqual(self.complete("tarnvelde-plant", name, "--"), options)
            for option in options:
                self.assertIn(f"'*{option}", zsh.split(f"        {name})\n")[1].split(";;")[0])
                self.assertIn(f"_from {name}' -l {option[2:]}", fish)

    def test_bash_completes_files_of_plants(self):
        (self.folder / "town.sti").touch()
        self.assertEqual(self.complete("tarnvelde-plant", "run", "tow"), ["town.sti"])


def check_record(test, wheel):
    """The list of its files that a wheel holds, with their sums."""
    lines = wheel.read(f"tarnvelde-{VERSION}.dist-info/RECORD").decode().splitlines()
    record = dict(line.split(",", 1) for line in lines)
    test.assertEqual(sorted(record), sorted(wheel.namelist()))
    for name in wheel.namelist():
        if not name.endswith("/RECORD"):
            data = wheel.read(name)
            digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).decode().rstrip("=")
            test.assertEqual(record[name], f"sha256={digest},{len(data)}", name)


class Wheel(InFolder):
    """The wheel is what it says, and runs where it is installed."""

    def make(self, name, *words, date="1600000000"):
        run(sys.executable, PACKAGING / "make-wheel.py", "--output", self.folder / name, *words,
            env={**os.environ, "SOURCE_DATE_EPOCH": date})
        wheels = list((self.folder / name).iterdir())
        self.assertEqual(len(wheels), 1)
        return wheels[0]

    def test_has_the_tag_of_the_glibc_that_the_library_needs(self):
        needed = run("readelf", "-V", os.environ["LIBRARY"])
        minor = max(int(text) for text in re.findall(r"Name: GLIBC_2\.(\d+)", needed))
        wheel = self.make("one", "--library", os.environ["LIBRARY"])
        self.assertEqual(wheel.name, f"tarnvelde-{VERSION}-py3-none-manylinux_2_{minor}_x86_64.whl")

    def test_records_each_file(self):
        with zipfile.ZipFile(self.make("one", "--library", os.environ["LIBRARY"])) as wheel:
            check_record(self, wheel)
            inside = wheel.read(f"tarnvelde/lib/libtarnvelde.so.{MAJOR}")
        self.assertEqual(inside, Path(os.environ["LIBRARY"]).read_bytes())

    def test_is_the_same_each_time_and_knows_one_date(self):
        one, two = (self.make(name, "--library", os.environ["LIBRARY"]) for name in ("one", "two"))
        self.assertEqual(one.read_bytes(), two.read_bytes())
        with zipfile.ZipFile(one) as wheel:
            self.assertEqual({entry.date_time for entry in wheel.infolist()}, {(2020, 9, 13, 12, 26, 40)})

    def test_takes_a_library_of_windows(self):
        library = self.folder / "libtarnvelde.dll"
        library.write_bytes(b"MZ")
        wheel = self.make("windows", "--library", library, "--tag", "win_amd64")
        self.assertEqual(wheel.name, f"tarnvelde-{VERSION}-py3-none-win_amd64.whl")
        with zipfile.ZipFile(wheel) as archive:
            self.assertEqual(archive.read("tarnvelde/lib/tarnvelde.dll"), b"MZ")
            self.assertIn(b"\nTag: py3-none-win_amd64\n", archive.read(f"tarnvelde-{VERSION}.dist-info/WHEEL"))

    def test_takes_engines_with_it(self):
        engines = self.folder / "engines"
        for name in ("vorn.dll", "nested/libswmm5ex.so", "nested/notes.txt", "tarnvelde.dll"):
            (engines / name).parent.mkdir(parents=True, exist_ok=True)
            (engines / name).write_bytes(name.encode())
        library = engines / "tarnvelde.dll"
        wheel = self.make("windows", "--library", library, "--tag", "win_amd64", "--engines", engines)
        with zipfile.ZipFile(wheel) as archive:
            names = [name for name in archive.namelist() if name.startswith("tarnvelde/lib/")]
            self.assertEqual(names, ["tarnvelde/lib/tarnvelde.dll",
                                     "tarnvelde/lib/tarnvelde/engines/nested/libswmm5ex.so",
                                     "tarnvelde/lib/tarnvelde/engines/vorn.dll"])
            self.assertEqual(archive.read(names[1]), b"nested/libswmm5ex.so")

    def test_runs_as_the_program_does(self):
        wheel = self.make("one", "--library", os.environ["LIBRARY"], date="1")
        if run("uname", "-m").strip() != "x86_64":
            self.skipTest("the wheel is for x86-64")
        place = self.folder / "place"
        run(sys.executable, "-m", "pip", "install", "--quiet", "--no-deps", "--no-index", "--target", place, wheel)
        project = read("examples/first-storm/first-storm.inp")
        for name in ("by-program.inp", "by-python.inp"):
            (self.folder / name).write_text(project, encoding="utf-8")
        run(os.environ["PROGRAM"], "run", self.folder / "by-program.inp", "--quiet")
        code = "import sys, tarnvelde as tv; from tarnvelde import _library; tv.run('by-python.inp'); " \
               "print(_library.library()._name, _library.version(), tv.__version__)"
        surrounding = {name: text for name, text in os.environ.items() if name != "TARNVELDE_LIBRARY"}
        out = run(sys.executable, "-c", code, cwd=self.folder, env={**surrounding, "PYTHONPATH": str(place)})
        self.assertEqual(out.splitlines()[-1],
                         f"{place}/tarnvelde/lib/libtarnvelde.so.{MAJOR} {VERSION} {VERSION}")
        for ending in ("rpt", "bin"):
            self.assertEqual((self.folder / f"by-python.{ending}").read_bytes(),
                             (self.folder / f"by-program.{ending}").read_bytes())
        told = run(sys.executable, "-m", "pip", "show", "tarnvelde", env={**surrounding, "PYTHONPATH": str(place)})
        self.assertIn(f"Version: {VERSION}\n", told)
        self.assertIn("Requires: numpy, pandas\n", told)


class WindowsWheel(InFolder):
    """The wheel for Windows, as scripts/build-windows.sh has made it."""

    def setUp(self):
        super().setUp()
        self.wheel = zipfile.ZipFile(os.environ["WHEEL"])
        self.addCleanup(self.wheel.close)

    def list_library(self, name, *words):
        """What objdump says of a library in the wheel."""
        file = self.folder / Path(name).name
        file.write_bytes(self.wheel.read(name))
        return run("x86_64-w64-mingw32-objdump", *words, file)

    def test_is_for_any_python_on_windows(self):
        name = f"tarnvelde-{VERSION}-py3-none-win_amd64.whl"
        self.assertEqual(Path(os.environ["WHEEL"]).name, name)
        lines = self.wheel.read(f"tarnvelde-{VERSION}.dist-info/WHEEL").decode().splitlines()
        self.assertIn("Tag: py3-none-win_amd64", lines)
        self.assertIn("Root-Is-Purelib: false", lines)

    def test_records_each_file(self):
        check_record(self, self.wheel)
        self.assertIsNone(self.wheel.testzip())

    def test_has_the_same_package_as_the_wheel_for_linux(self):
        run(sys.executable, PACKAGING / "make-wheel.py", "--output", self.folder, "--library", os.environ["LIBRARY"])
        with zipfile.ZipFile(next(self.folder.glob("*.whl"))) as linux:
            own, other = ({name: wheel.read(name) for name in wheel.namelist() if not name.startswith("tarnvelde/lib/")
                           and not name.endswith(("/WHEEL", "/RECORD"))} for wheel in (self.wheel, linux))
        self.assertEqual(own, other)

    def test_pip_takes_it_for_windows_and_for_nothing_else(self):
        words = ("-m", "pip", "install", "--quiet", "--no-deps", "--no-index", "--target", self.folder / "place")
        run(sys.executable, *words, "--platform", "win_amd64", "--only-binary=:all:", os.environ["WHEEL"])
        self.assertTrue((self.folder / "place" / "tarnvelde" / "lib" / "tarnvelde.dll").exists())
        with self.assertRaisesRegex(AssertionError, "not a supported wheel on this platform"):
            run(sys.executable, *words, os.environ["WHEEL"])

    def test_libraries_are_64_bit_and_need_those_of_the_system_alone(self):
        libraries = [name for name in self.wheel.namelist() if name.startswith("tarnvelde/lib/")]
        self.assertEqual(libraries, ["tarnvelde/lib/tarnvelde.dll", "tarnvelde/lib/tarnvelde/engines/swmm5ex.dll",
                                     "tarnvelde/lib/tarnvelde/engines/vorn.dll"])
        for name in libraries:
            head = self.list_library(name, "-f", "-p")
            self.assertIn("file format pei-x86-64", head)
            self.assertRegex(head, r"Magic\s+020b\s+\(PE32\+\)")
            needed = {text.lower() for text in re.findall(r"DLL Name: (\S+)", head)}
            self.assertLessEqual({"kernel32.dll"}, needed)
            self.assertLessEqual(needed, {"kernel32.dll", "msvcrt.dll", "user32.dll", "advapi32.dll"}, name)

    def test_structures_have_the_places_that_python_takes_them_to_have(self):
        self.wheel.extractall(self.folder)
        code = ("import ctypes, sys, types; p = sys.modules['tarnvelde'] = types.ModuleType('tarnvelde')\n"
                "p.__path__ = ['tarnvelde']; from tarnvelde import _header\n"
                "for made in vars(_header).values():\n"
                "    if isinstance(made, type) and issubclass(made, ctypes.Structure):\n"
                "        name = made.__doc__.split('`')[1]\n"
                "        print(f'_Static_assert(sizeof({name}) == {ctypes.sizeof(made)}, \"{name}\");')\n"
                "        for field, *_ in made._fields_:\n"
                "            place = getattr(made, field).offset\n"
                "            print(f'_Static_assert(offsetof({name}, {field}) == {place}, \"{field}\");')\n")
        tests = run(sys.executable, "-c", code, cwd=self.folder)
        self.assertGreater(tests.count("sizeof"), 4)
        source = self.folder / "places.c"
        source.write_text(f"#include <stddef.h>\n#include <tarnvelde_model.h>\n{tests}", encoding="utf-8")
        run("x86_64-w64-mingw32-gcc-posix", "-std=c11", "-fsyntax-only", f"-I{ROOT / 'include'}", source)

    def test_library_shows_what_that_for_linux_shows(self):
        table = self.list_library("tarnvelde/lib/tarnvelde.dll", "-p").split("[Ordinal/Name Pointer] Table")[1]
        shown = re.findall(r"^\s+\[ *\d+\](?: \+base\[ *\d+\])?\s+(?:[0-9a-f]+ )?(\S+)$", table.split("\n\n")[0], re.M)
        listed = re.findall(r"^ (\S+)@Base", read(f"packaging/debian/libtarnvelde{MAJOR}.symbols"), re.MULTILINE)
        self.assertEqual(sorted(shown), sorted(listed))


if __name__ == "__main__":
    unittest.main()
