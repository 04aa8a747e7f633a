#!/usr/bin/env python3
"""Writes the wheel of the Python package, with a library inside that is there already.

    make-wheel.py --library libtarnvelde.so.2.1.0 [--engines FOLDER] [--tag manylinux_2_35_x86_64] [--output FOLDER]
    make-wheel.py --library libtarnvelde.dll --tag win_amd64 [--engines FOLDER] [--output FOLDER]
    make-wheel.py --unpacked FOLDER

Without a tag it is that of the oldest glibc that library and engines can be loaded with, by the versions of the symbols
that they ask for. With --engines those of a folder and of the folders in it go inside, where the package finds them.
With --unpacked the package is laid out in a folder, without a library, as a system's own package has it.

Same files, same bytes: entries are sorted, and their times are SOURCE_DATE_EPOCH, or the first that a zip can hold.
"""
from __future__ import annotations

import argparse
import base64
import hashlib
import os
import re
import subprocess
import sys
import time
import zipfile
from pathlib import Path

if sys.version_info >= (3, 11):
    import tomllib

ROOT = Path(__file__).resolve().parent.parent
ENGINES = ("libswmm5ex.so", "libvorn.so", "swmm5ex.dll", "vorn.dll")
EARLIEST = 315532800  # 1 January 1980, with which the times of a zip begin


def needed_glibc(*files: Path) -> tuple[int, int]:
    """The glibc that programs and libraries need at least: the newest version among the symbols that they ask for."""
    needed = (2, 0)
    for file in files:
        listing = subprocess.run(["objdump", "-T", str(file)], check=True, capture_output=True, text=True,
                                 env={**os.environ, "LC_ALL": "C"}).stdout
        for line in listing.splitlines():
            found = re.search(r"\*UND\*.*\(GLIBC_(\d+)\.(\d+)", line)
            if found:
                needed = max(needed, (int(found[1]), int(found[2])))
    return needed


def linux_tag(library: Path, engines: dict[str, Path]) -> str:
    major, minor = needed_glibc(library, *engines.values())
    return f"manylinux_{major}_{minor}_x86_64"


def name_in_package(library: Path, tag: str) -> str:
    """The name under which the package looks for its library."""
    if tag.startswith("win"):
        return "tarnvelde.dll"
    dynamic = subprocess.run(["objdump", "-p", str(library)], check=True, capture_output=True, text=True).stdout
    return re.search(r"SONAME\s+(\S+)", dynamic)[1]


def read_version() -> str:
    text = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
    return re.search(r"project\(tarnvelde VERSION ([0-9.]+)", text)[1]


def read_project() -> dict:
    return tomllib.loads((ROOT / "python" / "pyproject.toml").read_text(encoding="utf-8"))["project"]


def make_metadata() -> str:
    """METADATA of the project file of the package, in the order of its standard."""
    project = read_project()
    lines = ["Metadata-Version: 2.1", f"Name: {project['name']}", f"Version: {read_version()}",
             f"Summary: {project['description']}"]
    lines += [f"Classifier: {text}" for text in project["classifiers"]]
    lines += [f"Requires-Python: {project['requires-python']}"]
    lines += [f"Requires-Dist: {text}" for text in project["dependencies"]]
    for extra, wanted in project["optional-dependencies"].items():
        lines += [f"Provides-Extra: {extra}"]
        lines += [f'Requires-Dist: {text}; extra == "{extra}"' for text in wanted]
    lines += ["Description-Content-Type: text/markdown"]
    return "\n".join(lines) + "\n\n" + (ROOT / "python" / project["readme"]).read_text(encoding="utf-8")


def list_package() -> dict[str, bytes]:
    """The files of the package itself, by their names in it."""
    folder = ROOT / "python" / "tarnvelde"
    files = sorted([*folder.rglob("*.py"), folder / "py.typed"])
    return {file.relative_to(folder.parent).as_posix(): file.read_bytes() for file in files}


def list_engines(folder: Path | None) -> dict[str, Path]:
    """The engines inside nodes of a folder, by the names that they have beside the library."""
    files = [] if folder is None else [file for name in ENGINES for file in sorted(folder.rglob(name))]
    if folder is not None and not files:
        sys.exit(f"make-wheel.py: no engines in {folder}")
    return {"tarnvelde/engines/" + file.relative_to(folder).as_posix(): file for file in files}


def make_wheel(library: Path, engines: dict[str, Path], tag: str, folder: Path) -> Path:
    """The wheel with this library for the machines of a tag; it takes its place when it is whole."""
    version = read_version()
    info = f"tarnvelde-{version}.dist-info"
    files = list_package()
    files[f"tarnvelde/lib/{name_in_package(library, tag)}"] = library.read_bytes()
    for name, file in engines.items():
        files[f"tarnvelde/lib/{name}"] = file.read_bytes()
    files[f"{info}/METADATA"] = make_metadata().encode()
    files[f"{info}/WHEEL"] = (f"Wheel-Version: 1.0\nGenerator: tarnvelde ({version})\nRoot-Is-Purelib: false\n"
                              f"Tag: py3-none-{tag}\n").encode()
    files[f"{info}/top_level.txt"] = b"tarnvelde\n"
    files[f"{info}/third-party.txt"] = (ROOT / "packaging" / "third-party.txt").read_bytes()
    record = []
    for name, data in sorted(files.items()):
        digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
        record.append(f"{name},sha256={digest},{len(data)}\n")
    record.append(f"{info}/RECORD,,\n")
    files[f"{info}/RECORD"] = "".join(record).encode()

    folder.mkdir(parents=True, exist_ok=True)
    wheel = folder / f"tarnvelde-{version}-py3-none-{tag}.whl"
    aside = wheel.with_suffix(".whl.part")
    stamp = time.gmtime(max(EARLIEST, int(os.environ.get("SOURCE_DATE_EPOCH", EARLIEST))))[:6]
    with zipfile.ZipFile(aside, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
        for name in [*sorted(name for name in files if not name.startswith(info)),
                     *sorted(name for name in files if name.startswith(info))]:
            entry = zipfile.ZipInfo(name, stamp)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 3
            entry.external_attr = (0o100755 if "/lib/" in name else 0o100644) << 16
            archive.writestr(entry, files[name])
    os.replace(aside, wheel)
    return wheel


def unpack(folder: Path) -> None:
    """The package without a library, and what Python's tools know of it."""
    info = f"tarnvelde-{read_version()}.dist-info"
    files = list_package()
    files[f"{info}/METADATA"] = make_metadata().encode()
    files[f"{info}/INSTALLER"] = b"packaging\n"
    for name, data in files.items():
        (folder / name).parent.mkdir(parents=True, exist_ok=True)
        (folder / name).write_bytes(data)


def main() -> None:
    parser = argparse.ArgumentParser(description="Writes the wheel of the Python package.")
    what = parser.add_mutually_exclusive_group(required=True)
    what.add_argument("--library", type=Path, help="the library that goes inside")
    what.add_argument("--unpacked", type=Path, metavar="FOLDER", help="the package alone, in a folder")
    what.add_argument("--glibc", type=Path, nargs="+", metavar="FILE", help="print the glibc that these need")
    parser.add_argument("--engines", type=Path, metavar="FOLDER", help="a folder of engines that go inside as well")
    parser.add_argument("--tag", help="the machines that it is for [Linux with the glibc that the library needs]")
    parser.add_argument("--output", type=Path, default=ROOT / "build" / "packages", help="folder [build/packages]")
    words = parser.parse_args()
    if words.unpacked:
        unpack(words.unpacked)
    elif words.glibc:
        print("{}.{}".format(*needed_glibc(*words.glibc)))
    else:
        library = words.library.resolve()
        engines = list_engines(words.engines)
        print(make_wheel(library, engines, words.tag or linux_tag(library, engines), words.output))


if __name__ == "__main__":
    main()
