"""The examples of the README, as they are there, one after the other in one folder."""
import functools
import importlib
import re

import numpy as np
import pandas as pd
import pytest
from conftest import ROOT
from fitting import watch_ensembles

import tarnvelde as tv

README = (ROOT / "python" / "README.md").read_text("utf-8")
BLOCKS = re.findall(r"^```python\n(.*?)^```$", README, re.MULTILINE | re.DOTALL)

TOWN = """[GENERAL]
START_DATE   2024/06/10
START_TIME   00:00
END_DATE     2024/06/10
END_TIME     06:00
RUNOFF_STEP  0:01:00
ROUTING_STEP 0:01:00
REPORT_STEP  0:05:00
REPORT_AVERAGE NO
START_DRY_DAYS 5
[RAINGAGES]
GAUGE INTENSITY 0:10:00 STORM
[SUBCATCHS]
HILL GAUGE N1 4.0 200 40 1.0 0.014 0.15 1.5 4.0 60 8 4 5 0
S07  GAUGE N4 2.0 150 60 0.5 0.014 0.15 1.5 4.0 60 8 4 5 0
[POLLUTANTS]
TSS 0
[LANDUSES]
STREETS
[COVERAGES]
HILL STREETS 100
S07  STREETS 100
[BUILDUP]
STREETS TSS 60 0.25
[WASHOFF]
STREETS TSS EXP 0.10 1.3 0
[JUNCTIONS]
N1
N4
DOWN
[TANKS]
T1 SHAPE 4.0 2.6
[OUTFALLS]
OUT
RIVER
[PIPES]
UPPER N1 N4 NO 120 2 0.2 0
LOWER N4 T1 NO 120 2 0.2 0
[ORIFICES]
GATE T1 DOWN NO RECTANGULAR 0.62 0.0 0.3 0.5
[PUMPS]
P1 T1 RIVER DUTY NO OFF 3.5 0.5
[CONNECTIONS]
END DOWN OUT NO 300
[CURVES]
SHAPE TANK  0 400    4 400
DUTY  PUMP2 0.3 0.0  2.0 0.1  9.0 0.1
[TIMESERIES]
STORM 2024/06/10 00:00 0
STORM 2024/06/10 00:10 12
STORM 2024/06/10 00:20 60
STORM 2024/06/10 00:40 24
STORM 2024/06/10 01:00 0
"""


def block_with(words):
    """The one block of the README with these words in it."""
    found = [block for block in BLOCKS if words in block]
    assert len(found) == 1, words
    return found[0]


def execute(block, **names):
    """Runs a block as a program of its own; the names that it leaves."""
    known = {"tv": tv, "pd": pd, **names}
    exec(compile(block, "README.md", "exec"), known)  # the program is our own text
    return known


@pytest.fixture(autouse=True)
def town(tmp_path, monkeypatch):
    """A folder with the projects that the README names, as the current one."""
    monkeypatch.chdir(tmp_path)
    (tmp_path / "town.inp").write_text(TOWN)
    (tmp_path / "bad.inp").write_text(TOWN.replace("HILL GAUGE N1", "HILL GAUGE N9"))
    (tmp_path / "template.inp").write_text(TOWN.replace("OUT NO 300", "OUT NO ${DELAY}"))
    return tmp_path


def test_every_block_of_the_readme_is_run():
    used = ["m.steps(every=", "tv.ensemble(", "tv.fit(", "tv.sensitivity(", "tv.look_ahead(", "tv.ControlEnvironment("]
    assert sorted(BLOCKS) == sorted(block_with(words) for words in used)


@pytest.mark.filterwarnings("ignore::tarnvelde.EngineWarning")
def test_first_block(capsys, town):
    pytest.importorskip("matplotlib")
    known = execute(block_with("m.steps(every="))
    run, m = known["run"], known["m"]
    assert run.is_complete and (town / "town.rpt").read_text() == run.report and (town / "town.bin").is_file()
    assert run.nodes["inflow"].attrs["unit"] == "m3/s" and run.grade == "green"
    assert isinstance(known["warm"], bytes) and m.phase == tv.Phase.CLOSED
    assert known["ahead"].phase in (tv.Phase.STARTED, tv.Phase.FINISHED)
    known["ahead"].close()
    code, section, *_ = capsys.readouterr().out.split()
    line = 1 + (town / "bad.inp").read_text().split("\n").index(TOWN.split("\n")[13].replace("N1", "N9"))
    assert int(code) > 0 and section == "[SUBCATCHS]" and known["tv"] is tv
    with pytest.raises(tv.ProjectError) as caught:
        tv.check("bad.inp")
    assert caught.value.messages[0].line == line


@pytest.mark.filterwarnings("ignore::tarnvelde.EngineWarning")
def test_texts_on_names_and_results():
    run = tv.run("town.inp")
    assert list(run.nodes["TSS"].columns) == run.nodes.ids and "Outfow" in run.tables["Pipe"]
    assert isinstance(run.tables["Pipe"]["Outfow"], pd.DataFrame) and "inflow" in run.object("N4")
    assert "peak_inflow" in run.totals["nodes"] and isinstance(tv.open_results("town.bin"), tv.Results)
    with tv.Model("town.inp") as m:
        assert isinstance(type(m.tanks["T1"]).depth.meaning, str)
        m.step()
        assert m.nodes["N4"].concentration["TSS"] >= 0.0 and m.get("node", "inflow").shape == (6,)
        assert list(m.nodes.frame("inflow", "peak_inflow")) == ["inflow", "peak_inflow"]
        m.pumps["P1"].setting = 1.0
        assert m.pumps["P1"].held_setting == 1.0
        m.pumps["P1"].release("setting")
        assert np.isnan(m.pumps["P1"].held_setting)


def test_block_on_ensembles(monkeypatch, town):
    pytest.importorskip("zarr")
    watch_ensembles(monkeypatch)
    monkeypatch.setattr(tv, "ensemble", importlib.import_module("tarnvelde.ensemble").ensemble)
    e = execute(block_with("tv.ensemble("))["e"]
    assert list(e.status["outcome"]) == ["done"] * 3 and (town / "scan.zarr").is_dir()
    assert e.frame("nodes", "inflow", ["N4"]).columns.names == ["member", "id"]
    assert e.event_totals("RIVER", threshold=0.001)["events"].sum() == len(e.events("RIVER", threshold=0.001))
    assert len(e.event_totals("RIVER", threshold=0.001)) == 3


def test_block_on_fits(monkeypatch, town):
    pytest.importorskip("matplotlib")
    pytest.importorskip("scipy")
    watch_ensembles(monkeypatch)
    monkeypatch.setattr(tv, "fit", functools.partial(tv.fit, max_trials=12))  # a few of the usual hundreds
    truth = tv.run("town.inp", report=False, results=False, tell_warnings=False)
    fit = execute(block_with("tv.fit("), flows=truth.nodes["inflow"]["OUT"],
                  samples=truth.nodes["TSS"]["OUT"].iloc[::6])["fit"]
    assert len(fit.trials) and (town / "fit" / "trials.csv").is_file()
    assert (town / "fit" / "best.rpt").is_file() and (town / "fit" / "best.bin").is_file()


def test_block_on_sensitivities():
    try:
        import SALib  # noqa: F401
    except ImportError:
        with pytest.raises(ImportError, match="SALib"):
            execute(block_with("tv.sensitivity("))
    else:
        found = execute(block_with("tv.sensitivity("))["found"]
        assert set(found.indices.loc["peak"].columns) >= {"mu_star"}


@pytest.mark.filterwarnings("ignore::tarnvelde.EngineWarning")
def test_blocks_on_control():
    with tv.Model("town.inp") as m:
        m.step()
        choice = execute(block_with("tv.look_ahead("), m=m)["choice"]
        assert choice.best in [{"orifices/GATE/setting": s} for s in (0.2, 0.5, 1.0)]
        assert len(choice.costs) == 3
    known = execute(block_with("tv.ControlEnvironment("))
    assert known["seen"].shape == (2,) and known["truncated"] is False
