"""Ensembles in one process and in several: what is run, what is kept, what is done again."""
from __future__ import annotations

import json
import os
import signal
import sqlite3
import subprocess
import sys
import threading
import time
from array import array
from pathlib import Path

import numpy as np
import pandas as pd
import pytest
from ensembles import ENDLESS, Killer, contents, holders, inodes, make_town

import tarnvelde as tv
from tarnvelde.ensemble import Ensemble, ensemble
from tarnvelde.ensemble_catalogue import Catalogue

SCAN = pd.DataFrame({"orifice/GATE/orifice_coefficient": [0.5, 0.6, 0.7]}, index=["low", "middle", "high"])


@pytest.fixture
def town(tmp_path):
    return make_town(tmp_path / "town")


def test_a_member_is_the_run_of_its_settings(town, tmp_path):
    made = ensemble(town, SCAN, out=tmp_path / "out", backend="serial")
    for name, value in zip(SCAN.index, SCAN.iloc[:, 0]):
        alone = tv.run(town, results=tmp_path / "alone.bin", report=False, tell_warnings=False,
                       settings={SCAN.columns[0]: value})
        assert (tmp_path / "alone.bin").read_bytes() == (made.member_folder(name) / "model.bin").read_bytes()
        pd.testing.assert_frame_equal(made.totals("nodes").loc[name], alone.totals["nodes"], check_exact=True)
        pd.testing.assert_frame_equal(made.balance().loc[name], alone.balance, check_names=False, check_exact=True)
    assert len({bytes(value) for value in contents(tmp_path / "out").values()}) == 3
    assert made.done == ["low", "middle", "high"] and made.failed == []


def test_processes_give_the_bits_of_one(town, tmp_path):
    ensemble(town, SCAN, out=tmp_path / "one", backend="serial")
    made = ensemble(town, SCAN, out=tmp_path / "two", jobs=2)
    assert contents(tmp_path / "one") == contents(tmp_path / "two")
    assert list(made.status["outcome"]) == ["done"] * 3
    assert (made.status["seconds"] > made.status["run_seconds"]).all()


def test_a_bad_member_fails_alone_and_says_why(town, tmp_path, capfd):
    table = pd.DataFrame({"orifice/GATE/orifice_coefficient": [0.5, -1.0, 0.7]})
    for backend in ("serial", "processes"):
        made = ensemble(town, table, out=tmp_path / backend, backend=backend)
        assert made.done == ["0000", "0002"] and made.failed == ["0001"]
        assert "GATE" in made.status["message"]["0001"]
        with pytest.raises(KeyError, match="failed"):
            made.results("0001")
        assert "GATE" in (tmp_path / backend / "members" / "0001" / "log.txt").read_text()
    assert capfd.readouterr() == ("", "")


def test_a_project_with_errors_fails_with_its_messages(tmp_path):
    town = make_town(tmp_path, HEIGHT="")
    made = ensemble(town, pd.DataFrame({"${HEIGHT}": ["0.3", "high"]}), out=tmp_path / "out", jobs=1)
    assert made.failed == ["0001"]
    error, = [message for message in made.messages("0001") if message["level"] == "error"]
    assert error["section"] == "[ORIFICES]" and error["object"] == "high" and error["line"] == 22
    assert made.status["code"]["0001"] > 0 and "high" in made.status["message"]["0001"]
    with pytest.raises(KeyError):
        made.messages("0002")


def test_going_on_does_what_is_missing(town, tmp_path):
    out = tmp_path / "out"
    ensemble(town, SCAN[:2], out=out, backend="serial")
    before = inodes(out)
    made = ensemble(town, SCAN, out=out, backend="serial")
    assert {name: inodes(out)[name] for name in before} == before
    assert made.done == ["low", "middle", "high"]


def test_another_row_is_done_anew_and_no_other(town, tmp_path):
    out = tmp_path / "out"
    ensemble(town, SCAN, out=out, backend="serial")
    before, results = inodes(out), contents(out)
    changed = SCAN.copy()
    changed.loc["middle"] = 0.65
    ensemble(town, changed, out=out, backend="serial")
    assert {name for name in before if inodes(out)[name] != before[name]} == {"middle"}
    assert contents(out)["middle"] != results["middle"]


def test_another_project_or_file_is_done_anew(town, tmp_path):
    out = tmp_path / "out"
    before = contents(ensemble(town, SCAN, out=out, backend="serial").folder)
    meter = town.parent / "meter.dat"
    meter.write_text(meter.read_text().replace("0.5", "0.6"))
    after = contents(ensemble(town, SCAN, out=out, backend="serial").folder)
    assert all(before[name] != after[name] for name in before)
    town.write_text(town.read_text().replace("TSS   100", "TSS   200"))
    last = contents(ensemble(town, SCAN, out=out, backend="serial").folder)
    assert all(after[name] != last[name] for name in after)


def test_one_series_in_place_of_another_is_watched_for_its_member_alone(town, tmp_path):
    out = tmp_path / "out"
    other = tmp_path / "other.dat"
    other.write_text((town.parent / "meter.dat").read_text().replace("0.5", "0.9"))
    table = pd.DataFrame({"file:meter.dat": ["", str(other)]}, index=["plain", "other"])
    made = ensemble(town, table, out=out, backend="serial")
    peaks = made.totals("nodes")["peak_inflow"]
    assert peaks["plain", "UP"] == pytest.approx(0.5) and peaks["other", "UP"] == pytest.approx(0.9)
    before = inodes(out)
    other.write_text(other.read_text().replace("0.9", "0.8"))
    ensemble(town, table, out=out, backend="serial")
    assert {name for name in before if inodes(out)[name] != before[name]} == {"other"}


def test_a_text_of_its_own_runs_again_by_hand(town, tmp_path):
    town.write_text(town.read_text().replace("RECTANGULAR  0.62", "RECTANGULAR  ${COEFFICIENT}"))
    made = ensemble(town, pd.DataFrame({"${COEFFICIENT}": ["0.55"]}), out=tmp_path / "out", backend="serial")
    folder = made.member_folder("0000")
    tv.run(folder / "model.inp", results=tmp_path / "again.bin", report=False, tell_warnings=False)
    assert (folder / "model.bin").read_bytes() == (tmp_path / "again.bin").read_bytes()


def test_a_project_without_a_file_is_written_once(town, tmp_path):
    class Project:
        path = town

        def text(self):
            return town.read_text()

    made = ensemble(Project(), SCAN, out=tmp_path / "out", jobs=1)
    assert made.done == list(SCAN.index)
    assert contents(tmp_path / "out") == contents(ensemble(town, SCAN, out=tmp_path / "two", backend="serial").folder)
    left = sorted(path.name for path in (tmp_path / "out").iterdir())
    assert left == ["catalogue.db", "lock", "members", "model.inp"]


def test_a_failed_one_runs_again_only_when_asked(town, tmp_path):
    table = pd.DataFrame({"orifice/GATE/orifice_coefficient": [0.5, -1.0]})
    out = tmp_path / "out"
    ensemble(town, table, out=out, backend="serial")
    before = inodes(out)
    ensemble(town, table, out=out, backend="serial")
    assert inodes(out) == before
    ensemble(town, table, out=out, backend="serial", retry=True)
    assert {name for name in before if inodes(out)[name] != before[name]} == {"0001"}


@pytest.mark.parametrize("harm", ["hash", "cut", "gone", "no json", "no word", "other name"])
def test_done_is_believed_only_where_all_is_there(town, tmp_path, harm):
    out = tmp_path / "out"
    ensemble(town, SCAN, out=out, backend="serial")
    before, results = inodes(out), contents(out)
    folder = out / "members" / "low"
    outcome = json.loads((folder / "outcome.json").read_text())
    if harm == "hash":
        outcome["hash"] = "0" * 64
    elif harm == "cut":
        os.truncate(folder / "model.bin", 100)
    elif harm == "gone":
        outcome["totals"] = None
    elif harm == "no word":
        outcome["outcome"] = "well"
    elif harm == "other name":
        outcome["name"] = "high"
    with open(folder / "outcome.json", "r+") as file:
        file.truncate()
        file.write("{" if harm == "no json" else json.dumps(outcome))
    ensemble(town, SCAN, out=out, backend="serial")
    assert {name for name in before if inodes(out)[name] != before[name]} == {"low"}
    assert contents(out) == results


def test_outcomes_that_the_catalogue_missed_are_believed(town, tmp_path):
    out = tmp_path / "out"
    ensemble(town, SCAN, out=out, backend="serial")
    before = inodes(out)
    (out / "catalogue.db").unlink()
    made = ensemble(town, SCAN, out=out, backend="serial")
    assert inodes(out) == before and made.done == list(SCAN.index)


def test_members_of_a_table_before_are_found_again(town, tmp_path):
    out = tmp_path / "out"
    ensemble(town, SCAN, out=out, backend="serial")
    before = inodes(out)
    made = ensemble(town, SCAN[:1], out=out, backend="serial")
    assert made.done == ["low"] and len(made) == 1
    assert ensemble(town, SCAN, out=out, backend="serial").done == list(SCAN.index)
    assert inodes(out) == before


def test_what_is_kept(town, tmp_path):
    for keep, results, names in (
            (("results", "report", "state"), "binary", {"model.bin", "model.bin.run", "model.rpt", "model.sti"}),
            (("results",), "database", {"model.db"}), ((), "binary", set())):
        out = tmp_path / ("".join(keep) + results)
        made = ensemble(town, SCAN[:1], out=out, backend="serial", keep=keep, results=results)
        found = {path.name for path in made.member_folder("low").iterdir()}
        assert found - {"model.db.run"} == names | {"outcome.json"}
        assert len(made.totals("nodes")) == 3
        if "results" in keep:
            assert len(made.results("low").times) == 24
        else:
            with pytest.raises(KeyError, match="none were kept"):
                made.results("low")


def test_until_and_states(town, tmp_path):
    first = ensemble(town, pd.DataFrame({"until": ["2024-06-18 14:00"]}), out=tmp_path / "first", backend="serial",
                     keep=("results", "state"))
    state = first.member_folder("0000") / "model.sti"
    table = pd.DataFrame({"load_state": [str(state), None], "hot_start": [None, str(state)]}, index=["on", "hot"])
    made = ensemble(town, table, out=tmp_path / "second", backend="serial")
    assert made.done == ["on", "hot"]
    whole = tv.run(town, report=False, results=False, tell_warnings=False)
    end = made.results("on").nodes["depth"]["TANK"]
    assert len(first.results("0000").times) == 8 and len(end) == 16
    assert end.iloc[-1] == whole.nodes["depth"]["TANK"].iloc[-1]
    assert made.results("hot").nodes["depth"]["TANK"].iloc[0] > whole.nodes["depth"]["TANK"].iloc[0]


def test_a_seed_is_recorded_and_fills_its_place(town, tmp_path):
    town.write_text("// run with the seed ${seed}\n" + town.read_text())
    made = ensemble(town, pd.DataFrame({"seed": [1, 2]}), out=tmp_path / "out", backend="serial")
    assert list(made.members["seed"]) == [1, 2]
    assert "the seed 2\n" in (made.member_folder("0001") / "model.inp").read_text()


def test_frames_of_all_members(town, tmp_path):
    made = ensemble(town, SCAN, out=tmp_path / "out", backend="serial")
    depth = made.frame("nodes", "depth", ["TANK"])
    assert list(depth.columns) == [(name, "TANK") for name in SCAN.index] and len(depth) == 24
    assert depth.attrs["unit"] == "m"
    assert depth["low", "TANK"].max() > depth["high", "TANK"].max()
    assert list(made.frame("system", "outflow").columns) == [(name, "System") for name in SCAN.index]
    assert made.frame("nodes", "TSS").shape == (24, 9)
    assert made.totals("system").index.names == ["member", "id"]
    assert made.balance().index.names == ["member", "row"]
    for word, wanted, ids in (("node", "depth", None), ("nodes", "deep", None), ("nodes", "depth", ["T"]),
                              ("system", "deep", None)):
        with pytest.raises(KeyError):
            made.frame(word, wanted, ids)
    with pytest.raises(KeyError):
        made.totals("land")


def test_an_ensemble_without_members_is_empty(town, tmp_path):
    made = ensemble(town, SCAN[:0], out=tmp_path / "out")
    assert len(made) == 0 and made.done == [] and made.status.empty and made.frame("nodes", "depth").empty
    assert made.balance().empty and "no members" in repr(made)


def test_the_table_comes_back_as_it_was(town, tmp_path):
    table = SCAN.assign(seed=[1, 2, 3], until=["2024-06-18 13:00", None, "2024-06-18 14:00"])
    ensemble(town, table, out=tmp_path / "out", backend="serial")
    back = Ensemble.open(tmp_path / "out")
    pd.testing.assert_frame_equal(back.members, table, check_names=False)
    assert repr(back).endswith("3 done>")


def test_a_folder_that_is_none(town, tmp_path):
    with pytest.raises(FileNotFoundError, match="no ensemble"):
        Ensemble.open(tmp_path)
    (tmp_path / "file").write_text("")
    with pytest.raises(NotADirectoryError):
        ensemble(town, SCAN, out=tmp_path / "file")
    out = tmp_path / "out"
    out.mkdir()
    (out / "catalogue.db").write_text("no database at all" * 100)
    with pytest.raises(tv.ResultsError, match="no catalogue"):
        Ensemble.open(out)
    with pytest.raises(tv.ResultsError, match="no catalogue"):
        ensemble(town, SCAN, out=out)


def test_a_reader_puts_back_what_a_killed_writer_left(town, tmp_path):
    ensemble(town, SCAN, out=tmp_path / "out", backend="serial")
    path = tmp_path / "out" / "catalogue.db"
    code = ("import sqlite3, sys, os\nc = sqlite3.connect(sys.argv[1])\nc.execute('pragma cache_size = 1')\n"
            "c.execute('update members set outcome = ?', ['x' * 100000])\nos.kill(os.getpid(), 9)\n")
    assert subprocess.run([sys.executable, "-c", code, str(path)]).returncode == -signal.SIGKILL
    assert path.with_name("catalogue.db-journal").exists()
    assert Ensemble.open(tmp_path / "out").done == list(SCAN.index)


def test_a_catalogue_of_another_version_is_refused(town, tmp_path):
    ensemble(town, SCAN[:1], out=tmp_path / "out", backend="serial")
    with sqlite3.connect(tmp_path / "out" / "catalogue.db") as connection:
        connection.execute("""update settings set value = '"9"' where name = 'form'""")
    connection.close()
    with pytest.raises(tv.ResultsError, match="another version"):
        Ensemble.open(tmp_path / "out")


def test_options_that_cannot_be(town, tmp_path):
    for options, word in (({"backend": "cloud"}, "cloud"), ({"jobs": 0}, "jobs"), ({"keep": ("reports",)}, "reports"),
                          ({"results": "paper"}, "paper"), ({"timeout": 0.0}, "timeout"),
                          ({"backend": "dask"}, "client"), ({"keep": "paper"}, "paper"),
                          ({"threads": 0}, "threads"), ({"chunk": 0}, "chunk"), ({"slurm": {"array": "0-3"}}, "array"),
                          ({"slurm": {"comment": "a\nb"}}, "line")):
        with pytest.raises(ValueError, match=word):
            ensemble(town, SCAN, out=tmp_path / "out", **options)
    assert not (tmp_path / "out").exists()


def test_two_at_once_are_refused(tmp_path):
    town = make_town(tmp_path, **ENDLESS)
    out = tmp_path / "out"
    failures = []

    def second():
        while not (out / "members" / "0000").exists():
            time.sleep(0.02)
        try:
            ensemble(town, pd.DataFrame(index=range(1)), out=out, backend="serial")
        except tv.RunError as error:
            failures.append(str(error))

    thread = threading.Thread(target=second)
    thread.start()
    ensemble(town, pd.DataFrame(index=range(1)), out=out, timeout=2.0)
    thread.join()
    assert len(failures) == 1 and "worked on" in failures[0]


def test_a_member_that_takes_too_long_is_stopped_with_what_it_has(tmp_path):
    town = make_town(tmp_path, END="")
    table = pd.DataFrame({"${END}": ["2024/06/18", ENDLESS["END"]]}, index=["short", "long"])
    for backend in ("serial", "processes"):
        made = ensemble(town, table, out=tmp_path / backend, backend=backend, timeout=1.0)
        assert dict(made.status["outcome"]) == {"short": "done", "long": "killed"}
        assert "stopped after 1 s" in made.status["message"]["long"]
        assert made.failed == ["long"]
        with tv.open_results(tmp_path / backend / "members" / "long" / "model.bin") as results:
            assert len(results.times) > 0


def test_a_process_that_does_not_stop_is_killed(tmp_path, monkeypatch):
    from tarnvelde import ensemble_backends

    town = make_town(tmp_path, **ENDLESS)
    out = tmp_path / "out"
    halted = []

    def halt():  # a process that stands still can't look at the clock
        while not halted:
            time.sleep(0.02)
            for process in holders(out / "members" / "0000"):
                os.kill(process, signal.SIGSTOP)
                halted.append(process)

    monkeypatch.setattr(ensemble_backends, "_GRACE_SECONDS", 0.5)
    thread = threading.Thread(target=halt)
    thread.start()
    made = ensemble(town, pd.DataFrame(index=range(1)), out=out, timeout=0.5)
    thread.join()
    assert made.failed == ["0000"] and "didn't stop" in made.status["message"]["0000"]


def test_a_killed_process_costs_a_second_try_and_nothing_else(tmp_path):
    town = make_town(tmp_path, END="")
    table = pd.DataFrame({"${END}": ["2024/06/18", "2029/06/18", *["2024/06/18"] * 6]}).astype(str)
    with Killer(tmp_path / "out" / "members" / "0001", 1) as killer:
        made = ensemble(town, table, out=tmp_path / "out", jobs=2)
    assert len(killer.killed) == 1
    assert len(made.done) == 8
    ensemble(town, table, out=tmp_path / "calm", backend="serial")
    assert contents(tmp_path / "out") == contents(tmp_path / "calm")


def test_a_member_that_kills_its_process_is_told_and_the_others_are_done(tmp_path):
    town = make_town(tmp_path, END="")
    table = pd.DataFrame({"${END}": ["2024/06/18", ENDLESS["END"], *["2024/06/18"] * 6]})
    out = tmp_path / "out"
    with Killer(out / "members" / "0001", 2) as killer:
        made = ensemble(town, table, out=out, jobs=2)
    assert len(killer.killed) == 2
    assert made.status["outcome"]["0001"] == "killed" and len(made.done) == 7
    assert made.status["message"]["0001"].count("SIGKILL") == 2
    assert "SIGKILL" in (out / "members" / "0001" / "log.txt").read_text()
    before = inodes(out)
    ensemble(town, table, out=out, jobs=2)
    assert inodes(out) == before


def test_processes_that_cannot_start_are_told(town, tmp_path, monkeypatch):
    script = tmp_path / "python"
    script.write_text("#!/bin/sh\necho this Python is broken >&2\nexit 7\n")
    script.chmod(0o755)
    monkeypatch.setattr(sys, "executable", str(script))
    with pytest.raises(tv.RunError, match="this Python is broken"):
        ensemble(town, SCAN, out=tmp_path / "out")
    assert list(Ensemble.open(tmp_path / "out").status["outcome"]) == ["waiting"] * 3


SCRIPT = """
import sys
import pandas as pd
from tarnvelde.ensemble import ensemble
ensemble(sys.argv[1], pd.DataFrame({"${END}": ["2024/06/18"] * 4 + ["2424/06/18"] * 2 + ["2024/06/18"] * 2}),
         out=sys.argv[2], backend=sys.argv[3], jobs=2 if sys.argv[3] == "processes" else None)
"""


@pytest.mark.parametrize("backend", ["serial", "processes"])
@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGKILL])
def test_a_call_that_was_stopped_is_gone_on_with(tmp_path, backend, number):
    town = make_town(tmp_path, END="")
    out = tmp_path / "out"
    # no guard around the script's own lines is needed: processes don't read it again
    process = subprocess.Popen([sys.executable, "-c", SCRIPT, str(town), str(out), backend], stderr=subprocess.PIPE,
                               env={**os.environ, "PYTHONPATH": os.pathsep.join(sys.path)}, start_new_session=True)
    while not holders(out / "members" / "0004"):
        assert process.poll() is None, process.stderr.read()
        time.sleep(0.05)
    if number == signal.SIGINT:
        os.killpg(process.pid, number)
    else:
        process.kill()
    _, words = process.communicate()
    if number == signal.SIGINT:
        assert b"KeyboardInterrupt" in words
        assert "running" not in list(Ensemble.open(out).status["outcome"])
    deadline = time.monotonic() + 60.0
    while holders(out / "members"):  # processes without a parent end by themselves
        assert time.monotonic() < deadline
        time.sleep(0.05)
    before = inodes(out)
    assert {"0000", "0001"} <= set(before)
    table = pd.DataFrame({"${END}": ["2024/06/18"] * 4 + ["2024/06/19"] * 2 + ["2024/06/18"] * 2})
    made = ensemble(town, table, out=out, backend="serial")
    assert len(made.done) == 8
    assert {name: inodes(out)[name] for name in before} == before


def test_what_is_printed_in_a_process_goes_to_the_log(town, tmp_path, monkeypatch, capfd):
    (tmp_path / "modules").mkdir()
    (tmp_path / "modules" / "sitecustomize.py").write_text(
        "import os\nfirst = os.uname\n"
        "def tell():\n    print('heard'); os.write(1, b'low\\n')\n    return first()\nos.uname = tell\n")
    monkeypatch.setenv("PYTHONPATH", str(tmp_path / "modules"))
    made = ensemble(town, SCAN, out=tmp_path / "out", jobs=1)
    assert made.done == list(SCAN.index)
    for name in SCAN.index:
        log = made.log(name)
        assert log == (made.member_folder(name) / "log.txt").read_text() and log.startswith("done\n")
        assert log.count("heard\n") == 1 and log.count("low\n") == 1
    assert capfd.readouterr() == ("", "")


def test_a_folder_that_cannot_be_written_fails_one_member(town, tmp_path):
    out = tmp_path / "out"
    (out / "members").mkdir(parents=True)
    (out / "members" / "middle").write_text("a file in the way")
    for backend in ("serial", "processes"):
        made = ensemble(town, SCAN, out=out, backend=backend)
        assert made.done == ["low", "high"] and made.failed == ["middle"]
        assert "Error" in made.status["message"]["middle"]


def test_progress_is_told_to_a_function(town, tmp_path):
    heard = []
    table = pd.DataFrame({"orifice/GATE/orifice_coefficient": [0.5, -1.0]})
    ensemble(town, table, out=tmp_path / "out", backend="serial", progress=lambda *words: heard.append(words))
    assert heard == [(1, 0, 2), (2, 1, 2)]


def test_numbers_keep_their_bits_on_the_way_through_json(tmp_path, monkeypatch):
    from tarnvelde import ensemble_worker
    from tarnvelde._driving import Columns

    values = np.array([[0.1 + 0.2, np.nan], [np.inf, -0.0], [-np.inf, 5e-324]])
    columns = array("d", values.T.ravel())
    row = {"part": "flow", "pollutant": "", "in": 1.5, "missing": 0.1, "error": np.nan, "grade": "red", "words": "no"}
    monkeypatch.setattr(ensemble_worker, "total_columns",
                        lambda model: {"nodes": Columns(["a", "b", "c"], ["x", "y[TSS]"], {"x": "m"}, columns)})
    monkeypatch.setattr(ensemble_worker, "rows_of", lambda model: ([row], []))
    text = ("[GENERAL]\nSTART_DATE 2024/01/01\nEND_DATE 2024/01/02\n[JUNCTIONS]\nA\n[OUTFALLS]\nB\n"
            "[CONNECTIONS]\nC A B NO 60\n")
    with tv.Model.from_text(text) as model:
        plain = ensemble_worker.plain_totals(model, 5, True)
    assert json.loads(ensemble_worker._json_of_totals(plain)) == json.loads(json.dumps(plain, allow_nan=False))
    (tmp_path / "outcome.json").write_text(f'{{"totals": {ensemble_worker._json_of_totals(plain)}}}')
    back = ensemble_worker.read_totals(tmp_path)
    assert back["nodes"].to_numpy().tobytes() == values.tobytes() and back["nodes"].attrs["units"] == {"x": "m"}
    pd.testing.assert_frame_equal(back["balance"], pd.DataFrame([row]))


def test_path_of_the_library_reaches_the_processes(town, tmp_path):
    # a process is told all folders of modules, so that it runs this package and no other one
    made = ensemble(town, SCAN[:1], out=tmp_path / "out")
    assert Path(made.folder).is_absolute() and made.done == ["low"]


def test_what_a_process_prints_is_taken_once(tmp_path):
    from tarnvelde import ensemble_worker

    before = os.dup(2)
    with open(tmp_path / "errors", "w+b") as file:
        os.dup2(file.fileno(), 2)
        try:
            assert ensemble_worker._take_printed() == ""
            os.write(2, b"one\n")
            found = [ensemble_worker._take_printed(), ensemble_worker._take_printed()]
            os.write(2, b"two\n")
            found.append(ensemble_worker._take_printed())
        finally:
            os.dup2(before, 2)
            os.close(before)
    assert found == ["one\n", "", "two\n"]


def test_catalogue_that_is_gone_or_full_is_said(town, tmp_path):
    table = pd.DataFrame({"orifice/GATE/orifice_coefficient": [0.5, 0.6]})
    made = ensemble(town, table, out=tmp_path / "out", backend="serial")
    with Catalogue(made.folder, True) as catalogue:
        catalogue._connection.execute("drop table members")
        with pytest.raises(tv.RunError, match="catalogue.db can't be written: .*the next call goes on"):
            catalogue.end()
        with pytest.raises(tv.ResultsError, match="catalogue.db can't be read"):
            catalogue.rows("name")
    with pytest.raises(tv.ResultsError, match="catalogue.db can't be read"):
        made.status


def test_processes_load_neither_numpy_nor_pandas(town, tmp_path, monkeypatch):
    # a tenth of a second each, which short runs feel
    (tmp_path / "modules").mkdir()
    (tmp_path / "modules" / "sitecustomize.py").write_text(
        "import os, sys\nfirst = os.uname\n"
        "def tell():\n    print('loaded:', sorted({'numpy', 'pandas'} & set(sys.modules)))\n    return first()\n"
        "os.uname = tell\n")
    monkeypatch.setenv("PYTHONPATH", str(tmp_path / "modules"))
    table = pd.DataFrame({"orifice/GATE/orifice_coefficient": [0.5, 0.6], "orifice/*/orifice_coefficient": [0.7, 0.8]})
    made = ensemble(town, table, out=tmp_path / "out", jobs=1, timeout=60.0, keep=("results", "report", "state"))
    assert len(made.done) == 2
    assert all("loaded: []\n" in made.log(name) for name in made.done)


def test_members_that_a_lost_process_has_not_told_of_are_not_run_again(town, tmp_path):
    from tarnvelde.ensemble_backends import Keeper, Pool
    from tarnvelde.ensemble_members import check_options, make_tasks, read_table

    class Listener(Keeper):
        def __init__(self):
            super().__init__(None, None)
            self.taken = []

        def take(self, outcome):
            self.taken.append((outcome["name"], outcome["outcome"]))

    out = tmp_path / "out"
    tasks = make_tasks(town, read_table(pd.DataFrame(index=range(6))), out,
                       check_options("binary", ("results",), None, 1, None))
    first = ensemble(town, pd.DataFrame(index=range(3)), out=out, backend="serial")
    before = inodes(out)
    old = json.loads((first.member_folder("0002") / "outcome.json").read_text())
    del old["totals"]
    listener = Listener()
    with Pool(1) as pool:
        process, = pool._processes
        while not process.is_ready:
            pool._arrive(*pool._arrivals.get())
        pool._keeper, pool._before = listener, {"0002": old}
        process.popen.kill()  # in the midst of its members: two have ended since, the third has an outcome of old
        process.assigned.extend(tasks[:5])
        pool._arrive(*pool._arrivals.get())
        assert listener.taken == [("0000", "done"), ("0001", "done")]
        assert [task["name"] for task in pool._waiting] == ["0003", "0004"]
        assert [task["name"] for task in pool._alone] == ["0002"]
        pool.run(tasks[5:], listener, {"0002": old})
    assert sorted(listener.taken) == [(f"{number:04d}", "done") for number in range(6)]
    assert {name for name in before if inodes(out)[name] != before[name]} == {"0002"}


def test_no_outcome_is_held_back_by_a_long_run(tmp_path):
    # the fifth member takes as long as it is given: what the first four have done must be told meanwhile
    town = make_town(tmp_path, END="")
    out = tmp_path / "out"
    is_over = []
    table = pd.DataFrame({"${END}": ["2024/06/18"] * 4 + [ENDLESS["END"]] + ["2024/06/18"] * 10})
    made = ensemble(town, table, out=out, jobs=1, timeout=2.0,
                    progress=lambda *words: is_over.append((out / "members" / "0004" / "outcome.json").exists()))
    assert made.failed == ["0004"] and len(made.done) == 14
    assert is_over == [False] * 4 + [True] * 11


def test_processes_that_were_started_for_nothing_end(town, tmp_path):
    with pytest.raises(KeyError, match="cloud"):
        ensemble(town, pd.DataFrame({"node/UP/cloud": [1.0]}), out=tmp_path / "out")
    ensemble(town, SCAN, out=tmp_path / "out")
    (tmp_path / "out" / "catalogue.db").unlink()
    before = inodes(tmp_path / "out")
    assert ensemble(town, SCAN, out=tmp_path / "out").done == list(SCAN.index)
    assert inodes(tmp_path / "out") == before


def test_a_slow_disk_is_written_to_less_often(monkeypatch):
    from tarnvelde import ensemble_backends

    clock = [100.0]
    monkeypatch.setattr(ensemble_backends.time, "monotonic", lambda: clock[0])

    class Slow:
        writings = []

        def write(self, outcomes, begun):
            self.writings.append((clock[0], [outcome["name"] for outcome in outcomes], list(begun)))
            clock[0] += 0.5

    keeper = ensemble_backends.Keeper(Slow(), None)
    for number in range(300):
        keeper.begin(f"{number}")
        keeper.take({"name": f"{number}", "outcome": "done"})
        clock[0] += 0.1
    keeper.begin("last")
    keeper.flush()
    times = [when for when, _, _ in Slow.writings]
    assert times[0] == pytest.approx(101.05, abs=0.1) and times[1] - times[0] == pytest.approx(10.5, abs=0.2)
    assert [name for _, names, _ in Slow.writings for name in names] == [f"{number}" for number in range(300)]
    assert [begun for _, _, begun in Slow.writings][-1] == ["last"]
    assert sum(len(begun) for _, _, begun in Slow.writings) == 1  # the others had ended meanwhile
