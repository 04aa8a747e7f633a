"""Engines inside nodes: where they are looked for, by folder, by name, and beside the library."""
import os
import shutil
import subprocess
import sys
import warnings
from pathlib import Path

import pytest
from conftest import BUILD, ROOT

import tarnvelde as tv
from tarnvelde import _engines

SWMM, PLANT = "libswmm5ex.so", "libvorn.so"
needs_plant = pytest.mark.skipif(not (BUILD / "engines" / "plant" / PLANT).exists(), reason="SUNDIALS isn't there")


@pytest.fixture
def region(tmp_path):
    """A project with a project and a treatment plant inside its nodes."""
    folder = tmp_path / "region"
    shutil.copytree(ROOT / "tests" / "package" / "region", folder)
    plant = (ROOT / "engines" / "plant" / "examples" / "plant-10000.sti").read_text()
    (folder / "works.sti").write_text(plant.replace("END          2021/06/15", "END 2021/06/02"))
    return folder / "region.inp"


def put(folder, *names):
    folder.mkdir(parents=True, exist_ok=True)
    for name in names:
        shutil.copy(BUILD / name, folder)
    return folder


def ask_installed(library, code, *words, **options):
    """What a process prints whose library is this one."""
    done = subprocess.run([sys.executable, "-W", "ignore", "-c", "import sys, tarnvelde as tv\n" + code, *words],
                          capture_output=True, text=True,
                          env={**os.environ, "TARNVELDE_LIBRARY": str(library), "PYTHONPATH": str(ROOT / "python")},
                          **options)
    assert done.returncode == 0, done.stderr
    return done.stdout.strip()


INSTALLED = "from tarnvelde._engines import installed_engines; print(installed_engines())"


def test_installed_engines_are_those_of_the_library_that_was_loaded(tmp_path):
    library = put(tmp_path / "a b" / "lib", "libtarnvelde.so") / "libtarnvelde.so"
    assert ask_installed(library, INSTALLED) == "None"
    engines = put(tmp_path / "a b" / "lib" / "tarnvelde" / "engines", SWMM, PLANT)
    assert ask_installed(library, INSTALLED) == str(engines)


def test_installed_engines_may_stand_beside_the_library(tmp_path):
    library = put(tmp_path / "lib", "libtarnvelde.so", SWMM) / "libtarnvelde.so"
    assert ask_installed(library, INSTALLED) == str(tmp_path / "lib")


def test_installed_engines_are_taken_without_a_word(tmp_path, example):
    library = put(tmp_path / "lib", "libtarnvelde.so") / "libtarnvelde.so"
    put(tmp_path / "lib" / "tarnvelde" / "engines", SWMM, PLANT)
    named = example("coupled")
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        tv.run(named, engines=BUILD)
    expected = named.with_suffix(".bin").read_bytes()
    named.with_suffix(".bin").unlink()
    ask_installed(library, "tv.run(sys.argv[1])", str(named))
    assert named.with_suffix(".bin").read_bytes() == expected and len(expected) > 1000


def test_installed_engines_are_found_where_the_system_has_no_list_of_what_it_loaded(tmp_path, monkeypatch):
    class Loaded:
        _name = str(tmp_path / "tarnvelde.dll")

    monkeypatch.setattr(_engines, "library", lambda: Loaded)
    monkeypatch.setattr(_engines, "open", refuse, raising=False)
    find = _engines._library_folders.__wrapped__
    monkeypatch.setattr(_engines, "_library_folders", find)
    assert _engines.installed_engines() is None
    (tmp_path / "vorn.dll").touch()
    assert _engines.installed_engines() == str(tmp_path)
    Loaded._name = "tarnvelde.dll"  # somewhere on the system's path
    assert find() == ()


def refuse(*given, **options):
    raise FileNotFoundError("/proc/self/maps")


def test_names_are_those_of_the_build():
    assert _engines.find_engines("nested") == str(BUILD / "engines" / "nested")
    for name in ("", ".", "..", "nestd", "../nested", "engines/nested", "a\\nested"):
        assert _engines.find_engines(name) is None


def test_a_folder_is_meant_before_a_name(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    assert _engines.settle_engines("nested") == [str(BUILD / "engines" / "nested")]
    (tmp_path / "nested").mkdir()
    assert _engines.settle_engines(Path("nested")) == [str(tmp_path / "nested")]
    assert _engines.settle_engines(["nested", BUILD]) == [str(tmp_path / "nested"), str(BUILD)]
    assert _engines.settle_engines(None) == _engines.settle_engines([]) == []


def test_each_kind_of_engine_is_looked_for_by_itself(tmp_path, monkeypatch):
    usual = put(tmp_path / "usual", SWMM, PLANT)
    swmm, plant, empty = put(tmp_path / "swmm", SWMM), put(tmp_path / "plant", PLANT), put(tmp_path / "empty")
    monkeypatch.setattr(_engines, "installed_engines", lambda: str(usual))

    def choose(*engines):
        return tuple(Path(folder).name for folder in _engines.choose_engines(engines))

    assert choose() == choose(usual) == ("usual", "usual")
    assert choose(swmm) == ("swmm", "usual") and choose(plant) == ("usual", "plant")
    assert choose(swmm, plant) == choose(plant, swmm) == ("swmm", "plant")
    assert choose(usual, plant) == ("usual", "usual") and choose(plant, usual) == ("usual", "plant")
    assert choose(empty) == ("empty", "empty") and choose(plant, empty) == ("empty", "plant")
    monkeypatch.setattr(_engines, "installed_engines", lambda: None)
    assert _engines.choose_engines(None) == (None, None)
    assert choose(swmm) == ("swmm", "swmm")


@needs_plant
def test_projects_and_plants_stand_in_one_project(region):
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        with pytest.raises(tv.ProjectError, match="cannot open vorn input file"):  # of the small engine
            tv.Model(region, engines="nested")
        run = tv.run(region, engines=["nested", "plant"])
        volume = run.nodes["inflow"][["RIVER", "MUD"]].to_numpy().sum() * 900.0
    # 0.024 m3/s all day, of which up to four steps' are on their way through connections and plant
    assert 0.024 * (86400 - 4 * 900) <= volume <= 0.024 * 86400


@needs_plant
@pytest.mark.parametrize("backend", ["serial", "processes"])
def test_members_of_an_ensemble_have_them_too(region, tmp_path, monkeypatch, backend):
    import pandas as pd

    monkeypatch.chdir(tmp_path)
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        tv.run(region, engines=["nested", "plant"])
    made = tv.ensemble(region, pd.DataFrame(index=["only"]), out=tmp_path / "out", backend=backend, jobs=1,
                       engines=("plant", "nested"), progress=False)
    assert list(made.done) == ["only"], made.status["message"].tolist()
    assert (tmp_path / "out/members/only/model.bin").read_bytes() == region.with_suffix(".bin").read_bytes()


@needs_plant
def test_command_line_takes_several(region, tmp_path, capsys):
    from tarnvelde.__main__ import main

    (tmp_path / "table.csv").write_text("member\nonly\n")
    words = ["ensemble", str(region), str(tmp_path / "table.csv"), "-o", str(tmp_path / "out"), "--serial"]
    assert main([*words, "--engines", "nested", "--engines", "plant"]) == 0
    assert "1 done" in capsys.readouterr().out
