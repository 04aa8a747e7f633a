"""The package as a user gets it."""
import os
import shutil
import subprocess
import sys
import zipfile

import pytest
from conftest import BUILD, ROOT


@pytest.fixture(scope="module")
def wheel(tmp_path_factory):
    """The wheel, made of a copy of the sources with the library of the build inside."""
    folder = tmp_path_factory.mktemp("wheel")
    shutil.copytree(ROOT / "python", folder / "python", ignore=shutil.ignore_patterns("build", "*.egg-info", "lib"))
    done = subprocess.run([sys.executable, "-m", "pip", "wheel", "--no-index", "--no-deps", "--no-build-isolation",
                           "--wheel-dir", folder, folder / "python"], capture_output=True, text=True,
                          env={**os.environ, "TARNVELDE_LIBRARY": str(BUILD / "libtarnvelde.so")})
    assert done.returncode == 0, done.stdout + done.stderr
    return next(folder.glob("*.whl"))


def test_wheel_serves_every_python_of_one_machine_and_holds_the_library(wheel):
    assert wheel.name.startswith("tarnvelde-2.1.0-py3-none-linux_")
    names = zipfile.ZipFile(wheel).namelist()
    assert "tarnvelde/lib/libtarnvelde.so.2" in names and "tarnvelde/py.typed" in names
    assert not [name for name in names if name.startswith(("tests", "build"))]


def test_wheel_runs_in_a_fresh_environment_without_a_network(wheel, tmp_path, first_storm):
    place = tmp_path / "venv"
    subprocess.run(["/usr/bin/python3", "-m", "venv", "--system-site-packages", place], check=True)
    subprocess.run([place / "bin" / "pip", "install", "--no-index", "--quiet", wheel], check=True)
    script = ("import tarnvelde as tv, sys\n"
              "assert 'venv' in tv.__file__ and 'venv' in tv.library()._name\n"
              "run = tv.run(sys.argv[1])\n"
              "print(run.nodes['inflow']['N4'].max())\n")
    environment = {name: value for name, value in os.environ.items()
                   if not name.startswith(("TARNVELDE", "PYTHONPATH"))}
    done = subprocess.run([place / "bin" / "python", "-W", "ignore", "-c", script, first_storm], capture_output=True,
                          text=True, env=environment, cwd=tmp_path)
    assert done.returncode == 0, done.stderr
    assert float(done.stdout) > 0.3


def test_importing_prints_nothing_and_loads_no_library_yet():
    script = "import tarnvelde; from tarnvelde import _library as l; print(l._loaded)"
    done = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True,
                          env={**os.environ, "PYTHONPATH": str(ROOT / "python")})
    assert (done.stdout, done.stderr) == ("None\n", "")


def test_library_of_windows_is_found_in_the_package(tmp_path, monkeypatch):
    from tarnvelde import _library
    (tmp_path / "tarnvelde" / "lib").mkdir(parents=True)
    own = tmp_path / "tarnvelde" / "lib" / "tarnvelde.dll"
    own.write_bytes(b"")
    monkeypatch.delenv("TARNVELDE_LIBRARY", raising=False)
    monkeypatch.setattr(_library, "_FOLDER", tmp_path / "tarnvelde")
    monkeypatch.setattr(_library.sys, "platform", "win32")
    assert next(_library._candidates()) == str(own)


def test_package_is_imported_without_modules_of_unix():
    code = ("import sys\n"
            "for name in ('fcntl', 'termios', 'resource', 'pwd', 'grp', 'pty', 'tty'):\n"
            "    sys.modules[name] = None\n"
            "import tarnvelde\n"
            "from tarnvelde import control, ensemble, events, fit, measures, model, network, project, results, run\n"
            "print(tarnvelde.__name__)\n")
    done = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, cwd=ROOT / "python")
    assert (done.stdout.strip(), done.returncode) == ("tarnvelde", 0), done.stderr
