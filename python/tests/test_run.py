"""Whole runs."""
import os
import re
import signal
import sqlite3
import subprocess
import sys
import threading
import warnings

import numpy as np
import pandas as pd
import pytest
from conftest import BUILD, EXAMPLES, engines_of, ROOT

import tarnvelde as tv

PROGRAM = BUILD / "tarnvelde"


def run_program(*arguments):
    return subprocess.run([PROGRAM, *arguments], capture_output=True, text=True)


def csv_of(path):
    """All values that the program shows, by table, object and column."""
    done = run_program("results", path, "--csv")
    assert done.returncode == 0, done.stderr
    from io import StringIO
    frame = pd.read_csv(StringIO(done.stdout), dtype={"Object": str, "Value": np.float64})
    frame["Column"] = frame["Column"].str.replace(r" \(.*\)$", "", regex=True)
    return frame


@pytest.mark.filterwarnings("ignore::tarnvelde.EngineWarning")
@pytest.mark.parametrize("sink", ["results", "database"])
@pytest.mark.parametrize("name", EXAMPLES)
def test_frames_are_what_the_program_shows_to_the_last_digit(example, name, sink):
    project = example(name)
    run = tv.run(project, engines=engines_of(name), database=sink == "database")
    shown = csv_of(run.files[sink])
    compared = 0
    for (table, column), part in shown.groupby(["Table", "Column"], sort=False):
        frame = run.tables[table][column]
        wide = part.pivot_table(index="Date", columns="Object", values="Value", sort=False, dropna=False)
        assert [str(time) for time in frame.index] == list(wide.index)
        # The program shows the shortest text that tells a number of single precision.
        ours = frame[list(wide.columns)].to_numpy().astype(np.float32)
        theirs = wide.to_numpy().astype(np.float32)
        assert np.array_equal(ours, theirs, equal_nan=True), (table, column)
        compared += frame.size
    assert compared == len(shown) > 0


@pytest.mark.filterwarnings("ignore::tarnvelde.EngineWarning")
@pytest.mark.parametrize("name", EXAMPLES)
def test_memory_file_and_database_have_the_same_frames(example, name):
    project = example(name)
    kept = tv.run(project, engines=engines_of(name), report=False, results=False)
    filed = tv.run(project, engines=engines_of(name), report=False)
    stored = tv.run(project, engines=engines_of(name), report=False, database=True)
    assert list(kept.tables) == list(filed.tables) == list(stored.tables)
    for table in kept.tables:
        for column in kept.tables[table]:
            ours, theirs = kept.tables[table][column], filed.tables[table][column]
            pd.testing.assert_frame_equal(ours, theirs, check_exact=True)
            assert ours.attrs == theirs.attrs
            six = stored.tables[table][column.replace("-", "_")]
            assert list(six.columns) == list(ours.columns) and (six.index == ours.index).all()
            whole = ours.notna().to_numpy() & six.notna().to_numpy()
            assert np.allclose(six.to_numpy()[whole], ours.to_numpy()[whole], rtol=1e-7, atol=5.1e-7)


def test_files_stand_beside_the_model_as_the_program_leaves_them(first_storm, tmp_path):
    run = tv.run(first_storm)
    assert run.files == {"report": first_storm.with_suffix(".rpt"), "results": first_storm.with_suffix(".bin")}
    ours = {use: path.read_bytes() for use, path in run.files.items()}
    assert run_program("run", first_storm, "--quiet").returncode == 0
    assert ours == {use: path.read_bytes() for use, path in run.files.items()}
    assert run.report.encode() == ours["report"]


def test_no_file_is_left_where_none_is_wanted(first_storm):
    before = sorted(os.listdir(first_storm.parent))
    run = tv.run(first_storm, report=False, results=False)
    assert sorted(os.listdir(first_storm.parent)) == before
    assert run.nodes["inflow"]["N4"].max() > 0.3
    with pytest.raises(tv.PhaseError):
        run.report


def test_results_go_where_one_says(first_storm, tmp_path):
    run = tv.run(first_storm, report=tmp_path / "a.txt", results=tmp_path / "b.bin", database=tmp_path / "c.db")
    assert all(path.exists() for path in run.files.values()) and len(run.files) == 3
    assert not first_storm.with_suffix(".rpt").exists()


def test_database_in_full_has_the_very_values_of_the_binary_file(first_storm):
    tv.run(first_storm, report=False, results=True, database=True, database_with=["full", "index", "dates", "units"])
    with tv.open_results(first_storm.with_suffix(".bin")) as binary:
        with tv.open_results(first_storm.with_suffix(".db")) as database:
            flow = binary.nodes["inflow"]
            assert (flow != flow.round(6)).any().any()  # six decimals are not enough
            assert database.nodes["inflow"].equals(flow)
            assert database.object("N4").equals(binary.object("N4"))
    with sqlite3.connect(first_storm.with_suffix(".db")) as rows:
        assert rows.execute("select Date from TarnveldeDates where Period = 2").fetchone() == ("2024-06-10 00:30:00",)
        assert rows.execute("select Unit from TarnveldeUnits where TableName = 'Pipe' and ColumnName = 'Vol'"
                            ).fetchone() == ("m3",)
    with pytest.raises(ValueError, match='index, units, dates, full, not with "indices"'):
        tv.run(first_storm, report=False, database=True, database_with="indices")


def test_frame_has_dates_ids_and_unit(first_storm):
    inflow = tv.run(first_storm, report=False, results=False).nodes["inflow"]
    assert inflow.index[0] == pd.Timestamp("2024-06-10 00:15") and len(inflow) == 192
    assert list(inflow.columns[:3]) == ["N1", "N2", "N3"]
    assert inflow.attrs["unit"] == "m3/s"
    assert inflow["N4"].attrs["unit"] == "m3/s"


def test_water_of_the_outfalls_is_what_the_report_says(first_storm):
    run = tv.run(first_storm)
    line = next(line for line in run.report.splitlines() if line.startswith("  External Outflow"))
    volume = run.totals["nodes"]["inflow_volume"][["POND", "BROOK"]].sum()
    assert float(line.split()[-1]) == pytest.approx(volume, abs=0.0006)
    # 15-minute samples of a smooth hydrograph
    sampled = run.nodes["inflow"][["POND", "BROOK"]].sum().sum() * 900
    assert sampled == pytest.approx(volume, rel=0.02)


def test_totals_and_balance_have_units(first_storm):
    run = tv.run(first_storm, report=False, results=False)
    assert run.totals["nodes"].attrs["units"]["peak_inflow"] == "m3/s"
    assert "runoff_mass[TSS]" in run.totals["subcatchments"]
    assert run.totals["system"]["runoff_rainfall"][0] == pytest.approx(10250.0)
    water = run.balance[run.balance.pollutant == ""]
    assert list(water.part) == ["runoff", "flow"] and (water.grade == "green").all()
    assert run.grade == "amber"
    causes = run.causes[run.causes.row == 1]
    assert set(causes["class"]) <= {"link", "node"} and len(causes) == 9
    assert causes.share.sum() <= 1.0 + 1e-9


def test_run_stops_at_a_date_and_goes_on_from_a_state(first_storm, tmp_path):
    whole = tv.run(first_storm, report=False, results=False)
    half = tv.run(first_storm, report=False, results=False, until="2024-06-10 12:00",
                  save_state=tmp_path / "noon.state")
    assert half.now == np.datetime64("2024-06-10T12:00") and not half.is_complete and whole.is_complete
    rest = tv.run(first_storm, report=False, results=False, load_state=tmp_path / "noon.state")
    both = pd.concat([half.nodes["inflow"], rest.nodes["inflow"]])
    pd.testing.assert_frame_equal(both, whole.nodes["inflow"], check_exact=True)
    hot = tv.run(first_storm, report=False, results=False, hot_start=tmp_path / "noon.state")
    assert len(hot.times) == 192 and hot.nodes["inflow"]["N4"][0] > 0.1
    assert (half.steps, whole.steps) == (720, 2880)


def test_settings_change_parameters_ahead_of_the_start(first_storm):
    plain = tv.run(first_storm, report=False, results=False)
    sealed = tv.run(first_storm, report=False, results=False, settings={
        "subcatchment/*/imperviousness": 100.0, "subcatchment/S07/width": 500.0,
        "land_use/LIVING/washoff_coefficient/TSS": 0.0})
    assert sealed.totals["subcatchments"]["runoff_mass[TSS]"]["S01"] < \
        0.5 * plain.totals["subcatchments"]["runoff_mass[TSS]"]["S01"]
    runoff = [run.totals["system"]["runoff_surface_runoff"][0] for run in (plain, sealed)]
    assert runoff[1] > 1.5 * runoff[0]
    by_object = tv.run(first_storm, report=False, results=False,
                       settings={"subcatchment/*/imperviousness": [100.0] * 12, "system/constant_evaporation": 3.0})
    assert by_object.totals["system"]["runoff_infiltration_loss"][0] < 1.0


@pytest.mark.parametrize("settings, error", [
    ({"subcatchment/S07/imperviousness": 120}, tv.ValueRefused),
    ({"subcatchment/S99/imperviousness": 20}, tv.UnknownError),
    ({"subcatchment/S07/imperviosness": 20}, tv.UnknownError),
    ({"pond/S07/width": 20}, tv.UnknownError),
    ({"width": 20}, tv.UnknownError),
    ({"subcatchment/*/width": [1.0, 2.0]}, tv.ValueRefused),
])
def test_settings_that_mean_nothing_are_refused_and_leave_no_file(first_storm, settings, error):
    with pytest.raises(error):
        tv.run(first_storm, settings=settings)
    assert sorted(os.listdir(first_storm.parent)) == ["README.md", "first-storm.inp"]


def test_project_with_errors_tells_all_of_them_with_their_places(first_storm):
    lines = first_storm.read_text().splitlines()
    place = next(k for k, line in enumerate(lines) if line.startswith("S01"))
    lines[place] = lines[place].replace("GAUGE", "NOBODY", 1)
    lines[place + 1] = lines[place + 1].replace("2.1", "two", 1)
    first_storm.write_text("\n".join(lines))
    with pytest.raises(tv.ProjectError) as caught:
        tv.check(first_storm)
    errors = [m for m in caught.value.messages if m.level == tv.Level.ERROR and m.line]
    assert [m.line for m in errors] == [place + 1, place + 2]
    assert errors[0].section == "[SUBCATCHS]" and "NOBODY" in errors[0].text and errors[0].words.startswith("S01")
    assert caught.value.code > 0 and "line %d" % (place + 1) in str(caught.value)
    assert not list(first_storm.parent.glob("*.rpt*"))


def test_missing_project_is_an_error_with_its_name(tmp_path):
    with pytest.raises(tv.ProjectError, match="nowhere.inp"):
        tv.run(tmp_path / "nowhere.inp")
    with pytest.raises(TypeError):
        tv.run(5)


def test_check_gives_warnings_back_and_tells_none(first_storm):
    text = first_storm.read_text()
    text = text.replace("S01    GAUGE  N1      1.8   150    35 ", "S01    GAUGE  N1      1.8   150    0.35 ")
    first_storm.write_text(text)
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        found = tv.check(first_storm)
    assert [m.name for m in found] and all(m.level == tv.Level.WARNING for m in found)
    assert sorted(os.listdir(first_storm.parent)) == ["README.md", "first-storm.inp"]


def test_warnings_of_the_engine_are_warnings_of_python_at_the_line_of_the_user(first_storm):
    with pytest.warns(tv.NoteWarning, match="W-run-flood") as caught:
        run = tv.run(first_storm, report=False, results=False)
    assert caught[0].filename == __file__
    assert caught[0].message.message == run.warnings[0]
    assert run.warnings[0].date == np.datetime64("2024-06-10T12:01") and run.warnings[0].advice
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        assert not tv.run(first_storm, report=False, results=False, tell_warnings=False).warnings


def test_state_of_another_project_is_refused_and_earlier_files_stay(first_storm, storm_tank, tmp_path):
    with tv.Model(storm_tank) as other:
        other.step()
        other.state().save(tmp_path / "other.state")
    tv.run(first_storm)
    kept = first_storm.with_suffix(".bin").read_bytes()
    with pytest.raises(tv.StateError):
        tv.run(first_storm, load_state=tmp_path / "other.state")
    assert first_storm.with_suffix(".bin").read_bytes() == kept
    with pytest.raises(tv.StateError):
        tv.run(first_storm, load_state=tmp_path / "none.state")


def test_progress_goes_up_to_one(first_storm):
    seen = []
    tv.run(first_storm, report=False, results=False, progress=lambda share, now: seen.append((share, now)))
    shares = [share for share, _ in seen]
    assert shares == sorted(shares) and shares[-1] == 1.0 and seen[-1][1] == np.datetime64("2024-06-12")


def test_interrupt_in_a_progress_function_leaves_complete_files(first_storm):
    def fail(share, now):
        raise KeyboardInterrupt

    with pytest.raises(KeyboardInterrupt):
        tv.run(first_storm, progress=fail)
    with tv.open_results(first_storm.with_suffix(".bin")) as results:
        assert len(results.times) < 192
    assert "Continuity" in first_storm.with_suffix(".rpt").read_text()


def test_ctrl_c_ends_a_long_run_with_complete_files(example, tmp_path):
    project = example("interceptor")
    text = project.read_text()
    text = re.sub(r"(END_DATE\s+)\d+", r"\g<1>2060", text)
    project.write_text(text)
    script = tmp_path / "long.py"
    script.write_text(
        "import signal, tarnvelde as tv\n"
        "signal.signal(signal.SIGINT, signal.default_int_handler)  # a shell's background jobs ignore it\n"
        f"print('go', flush=True)\ntv.run({str(project)!r})\n")
    path = [str(ROOT / "python")] if not os.environ.get("TARNVELDE_INSTALLED") else []
    process = subprocess.Popen([sys.executable, "-W", "ignore", script], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                               text=True, env={**os.environ, "PYTHONPATH": os.pathsep.join(path)})
    process.stdout.readline()
    timer = threading.Timer(1.0, process.send_signal, [signal.SIGINT])
    timer.start()
    _, errors = process.communicate(timeout=120)
    assert "KeyboardInterrupt" in errors
    with tv.open_results(project.with_suffix(".bin")) as results:
        assert len(results.times) > 10
    assert not list(project.parent.glob("*.part"))


def test_runs_in_threads_give_what_one_gives(first_storm):
    alone = tv.run(first_storm, report=False, results=False).nodes["inflow"]
    found = []

    def work():
        found.append(tv.run(first_storm, report=False, results=False, tell_warnings=False).nodes["inflow"])

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert len(found) == 4 and all(frame.equals(alone) for frame in found)


def test_edited_project_is_run_as_it_stands(example):
    path = example("interceptor")  # reads a series from a file beside it
    plain = tv.run(path, report=False, results=False)
    project = tv.Project.read(path)
    same = tv.run(project)
    assert same.nodes["inflow"].equals(plain.nodes["inflow"]) and not same.files
    flows = project["DWFS"].index.get_level_values("constituent") == "FLOW"
    project["DWFS"].loc[flows, "mean"] *= 2.0
    more = tv.run(project)
    assert more.totals["system"]["flow_dry_weather_inflow"][0] == pytest.approx(
        2.0 * plain.totals["system"]["flow_dry_weather_inflow"][0])
    with tv.Model(project) as model:
        assert len(model.nodes) == len(tv.network(project))


def test_second_run_into_the_same_files_is_refused(first_storm):
    with tv.Model(first_storm, report=first_storm.with_suffix(".rpt")) as model:
        model.start(first_storm.with_suffix(".bin"))
        with pytest.raises(tv.TarnveldeError, match="another run"):
            tv.run(first_storm)


def test_results_are_never_written_over_an_input(example):
    project = example("interceptor")
    with pytest.raises(tv.TarnveldeError) as caught:
        tv.run(project, results=project.parent / "border_meter.dat")
    assert caught.value.code == 301
    assert (project.parent / "border_meter.dat").stat().st_size > 1000


def test_errors_pass_between_processes():
    import pickle
    error = tv.ProjectError("town.inp: bad", 209, [])
    again = pickle.loads(pickle.dumps(error))
    assert (str(again), again.code, type(again)) == ("town.inp: bad", 209, tv.ProjectError)


def test_locale_of_the_process_changes_nothing(first_storm, tmp_path):
    plain = tv.run(first_storm).report
    if subprocess.run(["localedef", "-i", "de_DE", "-f", "UTF-8", tmp_path / "de_DE.UTF-8"]).returncode:
        pytest.skip("localedef can't make a German locale here")
    script = ("import locale, sys, tarnvelde as tv\n"
              "locale.setlocale(locale.LC_ALL, 'de_DE.UTF-8')\n"
              "assert locale.localeconv()['decimal_point'] == ','\n"
              "run = tv.run(sys.argv[1])\n"
              "assert run.nodes['inflow']['N4'].max() > 0.3\n")
    path = {} if os.environ.get("TARNVELDE_INSTALLED") else {"PYTHONPATH": str(ROOT / "python")}
    subprocess.run([sys.executable, "-W", "ignore", "-c", script, first_storm], check=True,
                   env={**os.environ, **path, "LOCPATH": str(tmp_path)})
    assert first_storm.with_suffix(".rpt").read_text() == plain


def test_settings_that_are_no_places_are_said(first_storm):
    with pytest.raises(TypeError, match="a mapping of places"):
        tv.run(first_storm, settings=["subcatchment/S07/width"])
    with pytest.raises(TypeError, match="a place is text"):
        tv.run(first_storm, settings={7: 1.0})


def test_results_that_cannot_be_written_leave_the_run_and_the_old_file(first_storm):
    """In a process of its own, whose files can't grow beyond some size."""
    pytest.importorskip("resource")
    first_storm.with_suffix(".bin").write_text("old")
    program = """if True:
        import resource, sys
        import tarnvelde as tv
        before = resource.getrlimit(resource.RLIMIT_FSIZE)
        resource.setrlimit(resource.RLIMIT_FSIZE, (50000, before[1]))
        try:
            tv.run(sys.argv[1], report=False)
        except tv.RunError as error:
            print(len(error.run.totals["nodes"]), len(error.run.balance) > 0)
        resource.setrlimit(resource.RLIMIT_FSIZE, before)  # for whoever counts the lines that were run
        """
    done = subprocess.run([sys.executable, "-W", "ignore", "-c", program, str(first_storm)], capture_output=True,
                          text=True, env={**os.environ, "PYTHONPATH": os.pathsep.join(sys.path)}, check=False)
    assert done.stderr == "" and done.stdout.split() == ["13", "True"]
    assert first_storm.with_suffix(".bin").read_text() == "old"
