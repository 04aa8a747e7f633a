"""Builds the wheel with the shared library inside.

The library is built from the sources beside this folder, by CMake; TARNVELDE_LIBRARY names one that is there already.
It is called by ctypes, so one wheel serves every Python of a machine.
"""
import os
import shutil
import subprocess
from pathlib import Path

from setuptools import setup
from setuptools.command.build_py import build_py
from setuptools.dist import Distribution
from wheel.bdist_wheel import bdist_wheel

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent
NAMES = ("libtarnvelde.so.2", "libtarnvelde.2.dylib", "tarnvelde.dll", "libtarnvelde.dll")


def built_library() -> Path:
    """The library: the one that is named, else a new one."""
    named = os.environ.get("TARNVELDE_LIBRARY")
    if named:
        return Path(named).resolve()
    if not (ROOT / "CMakeLists.txt").exists():
        raise SystemExit("The sources of the library aren't here: name a built one by TARNVELDE_LIBRARY")
    folder = HERE / "build" / "library"
    parts = [f"-DTARNVELDE_BUILD_{part}=OFF" for part in ("HOST", "TESTS", "BENCH")]
    subprocess.run(["cmake", "-S", str(ROOT), "-B", str(folder), "-DCMAKE_BUILD_TYPE=Release", *parts], check=True)
    subprocess.run(["cmake", "--build", str(folder), "--target", "tarnvelde", "--parallel", str(os.cpu_count() or 1)],
                   check=True)
    for name in NAMES:
        if (folder / name).exists():
            return (folder / name).resolve()
    raise SystemExit(f"No library in {folder}")


class BuildWithLibrary(build_py):
    """Puts the library into the package that is built."""

    def run(self) -> None:
        super().run()
        library = built_library()
        name = next((name for name in NAMES if library.name.startswith(name)), library.name)
        target = Path(self.build_lib) / "tarnvelde" / "lib"
        target.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(library, target / name)


class PlatformWheel(bdist_wheel):
    """A wheel for any Python 3, but for one kind of machine."""

    def finalize_options(self) -> None:
        super().finalize_options()
        self.root_is_pure = False

    def get_tag(self):
        _, _, platform = super().get_tag()
        return "py3", "none", platform


class BinaryDistribution(Distribution):
    """A distribution that is bound to a platform."""

    def has_ext_modules(self) -> bool:
        return True


setup(cmdclass={"build_py": BuildWithLibrary, "bdist_wheel": PlatformWheel}, distclass=BinaryDistribution)
