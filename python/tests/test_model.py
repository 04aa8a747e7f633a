"""Models, step by step."""
import copy
import gc
import os
import pickle
import shutil
import subprocess
import sys
import threading
import warnings

import numpy as np
import pandas as pd
import pytest
from conftest import BUILD, ROOT

import tarnvelde as tv


@pytest.fixture
def model(first_storm):
    with tv.Model(first_storm) as opened:
        yield opened


def test_parameters_are_those_of_the_project(model):
    street = model.subcatchments["S07"]
    assert (street.area, street.width, street.imperviousness, street.slope) == (1.1, 120.0, 90.0, 0.5)
    assert street.impervious_share == street.imperviousness
    assert street.pervious_roughness == 0.15
    assert (street.id, street.index, repr(street)) == ("S07", 6, "<Subcatchment S07>")


def test_objects_are_found_in_any_case_of_their_letters(model):
    assert model.nodes["n4"] == model.nodes["N4"] == model.junctions["N4"]
    assert "n4" in model.nodes and "n44" not in model.nodes and "POND" not in model.junctions
    assert hash(model.nodes["n4"]) == hash(model.nodes["N4"])
    assert model.nodes["N4"] != model.nodes["N3"]


def test_groups_are_in_the_order_of_the_project(model):
    assert model.nodes.ids == ["N1", "N2", "N3", "N4", "C1", "C2", "E1", "E2", "T1", "T2", "FLUSH", "POND", "BROOK"]
    assert model.outfalls.ids == ["POND", "BROOK"] and model.splitters.ids == ["FLUSH"]
    assert [type(node).__name__ for node in model.nodes.values()][-3:] == ["Splitter", "Outfall", "Outfall"]
    assert len(model.tanks) == 0 and list(model.tanks) == []
    assert model.nodes[-1].id == "BROOK" and repr(model.outfalls) == "<2 Outfall: POND, BROOK>"
    assert model.group("land use") is model.land_uses


def test_what_is_not_there_is_said_with_what_may_be_meant(model):
    with pytest.raises(tv.UnknownError, match='no Node "N44": did you mean "N4"'):
        model.nodes["N44"]
    with pytest.raises(KeyError):
        model.pumps["N4"]
    with pytest.raises(AttributeError, match='no variable "widht": did you mean "width"'):
        model.subcatchments["S07"].widht
    with pytest.raises(AttributeError):
        model.subcatchments["S07"].widht = 5
    with pytest.raises(AttributeError, match='a model has no "ponds"'):
        model.ponds
    with pytest.raises(tv.UnknownError, match="did you mean"):
        model.group("subcachment")
    with pytest.raises(tv.UnknownError):
        model.get("node", "dept")
    with pytest.raises(IndexError):
        model.nodes[99]


def test_values_out_of_range_are_refused_and_change_nothing(model):
    street = model.subcatchments["S07"]
    with pytest.raises(tv.ValueRefused, match="subcatchment S07, impervious_share = 120"):
        street.imperviousness = 120
    with pytest.raises(ValueError):
        street.imperviousness = float("nan")
    with pytest.raises(tv.ValueRefused):
        model.set("subcatchment", "imperviousness", [50.0] * 11 + [120.0])
    with pytest.raises(tv.ValueRefused, match="3 values for 12 objects"):
        model.set("subcatchment", "imperviousness", [50.0] * 3)
    with pytest.raises(tv.ValueRefused):
        street.drying_time = 5.0
    assert street.imperviousness == 90.0


def test_columns_are_set_by_one_value_an_array_or_ids(model):
    model.set("subcatchment", "width", 77)
    assert (model.get("subcatchment", "width") == 77.0).all()
    model.subcatchments.set("width", {"S02": 5, "s03": 6})
    assert list(model.get("subcatchment", "width")[:4]) == [77.0, 5.0, 6.0, 77.0]
    model.subcatchments.set("width", pd.Series({"S01": 1.0}))
    keep = np.full(12, np.nan)
    keep[5] = 9.0
    model.subcatchments.set("width", keep)
    assert list(model.get("subcatchment", "width")[:6]) == [1.0, 5.0, 6.0, 77.0, 77.0, 9.0]


def test_results_need_a_run(model):
    with pytest.raises(tv.PhaseError):
        model.nodes["N4"].inflow
    assert model.phase == tv.Phase.OPEN and model.progress == 0.0
    model.step()
    assert model.nodes["N4"].inflow >= 0.0 and model.phase == tv.Phase.STARTED
    assert model.now == np.datetime64("2024-06-10T00:01") and 0.0 < model.progress < 0.001


def test_steps_come_at_the_dates_that_are_asked_for(model):
    dates = list(model.steps(every="6h"))
    assert dates[0] == np.datetime64("2024-06-10T06:00") and dates[-1] == model.end_date and len(dates) == 8
    assert model.phase == tv.Phase.FINISHED
    with pytest.raises(tv.PhaseError):
        model.step()
    assert list(model.steps()) == []


def test_steps_end_at_a_date_and_go_on(model):
    assert len(list(model.steps(until="2024-06-10 00:10"))) == 10
    assert model.now == np.datetime64("2024-06-10T00:10")
    odd = list(model.steps(every=pd.Timedelta("7min"), until="2024-06-10 00:30"))
    assert [str(date)[14:19] for date in odd] == ["17:00", "24:00", "30:00"]
    assert model.run_until(np.datetime64("2024-06-10T01:00")) == np.datetime64("2024-06-10T01:00")
    import datetime
    assert model.run_until(datetime.datetime(2024, 6, 10, 2)) == np.datetime64("2024-06-10T02:00")


@pytest.mark.parametrize("every", [0, -5, "0min", "soon", 1e-9, np.inf, np.nan, "min", np.int64(0)])
def test_intervals_that_are_none_are_refused(model, every):
    with pytest.raises(ValueError):
        next(model.steps(every=every))


def test_numbers_of_numpy_are_seconds(model):
    assert next(model.steps(every=np.int64(900))) - model.start_date == np.timedelta64(900, "s")
    assert next(model.steps(every=np.float32(900))) - model.start_date == np.timedelta64(1800, "s")


@pytest.mark.parametrize("wrong", [None, 1.0, slice(0, 1), b"N4"])
def test_what_is_neither_id_nor_number_is_said(model, wrong):
    with pytest.raises(TypeError, match="Node is asked for by ID or number"):
        model.nodes[wrong]
    with pytest.raises(TypeError, match="a word"):
        model.group(wrong)


def test_zero_bytes_cut_no_name(model, first_storm):
    with pytest.raises(tv.UnknownError):
        model.nodes["N4\0"]
    with pytest.raises(tv.UnknownError):
        model.get("node", "surface\0")
    with pytest.raises(ValueError, match="zero byte"):
        tv.Model(f"{first_storm}\0.inp")
    with pytest.raises(ValueError, match="zero byte"):
        model.start(f"{first_storm}.bin\0")


@pytest.mark.parametrize("path", ["", ".", "/"])
def test_path_of_nothing_is_refused(path):
    with pytest.raises(ValueError, match="no path of a project"):
        tv.run(path)


@pytest.mark.parametrize("date", ["soon", "2024-13-01", np.datetime64("NaT")])
def test_dates_that_are_none_are_refused(model, date):
    with pytest.raises(ValueError):
        model.run_until(date)


def test_pump_is_held_against_its_switches_until_it_is_released(storm_tank):
    with tv.Model(storm_tank) as model:
        model.run_until(model.start_date + np.timedelta64(6, "h"))
        pump = model.pumps["PUMP_1"]
        assert pump.setting == 0.0
        pump.setting = 1.0
        model.step()
        assert pump.setting == 1.0 and pump.held_setting == 1.0
        pump.release("setting")
        assert np.isnan(pump.held_setting)
        pump.held_setting = 1
        pump.release("held_setting")
        with pytest.raises(AttributeError):
            pump.release("width")


def test_inflow_that_is_added_arrives(storm_tank):
    with tv.Model(storm_tank) as model, tv.Model(storm_tank) as plain:
        name = model.junctions.ids[0]
        node = model.junctions[name]
        plain.run_until(plain.start_date + np.timedelta64(1, "h"))
        model.start()
        node.added_inflow = 0.25
        node.added_load["COD"] = 0.125
        model.run_until(model.start_date + np.timedelta64(1, "h"))
        assert node.inflow == pytest.approx(plain.junctions[name].inflow + 0.25)
        assert node.load["COD"] == pytest.approx(plain.junctions[name].load["COD"] + 0.125)
        del node.added_load["COD"]
        node.release("added_inflow")
        model.step()
        plain.step()
        assert node.inflow == pytest.approx(plain.junctions[name].inflow)


def test_pollutants_are_mappings(model):
    model.step()
    loads = model.nodes["N4"].load
    assert list(loads) == ["TSS", "COD", "ZN"] and len(loads) == 3 and set(repr(loads)) >= set("TSS")
    with pytest.raises(KeyError):
        loads["GOLD"]
    use = model.land_uses["LIVING"]
    use.buildup_limit = {"ZN": 2.0, "TSS": 3.0}
    assert (use.buildup_limit["ZN"], use.buildup_limit["TSS"]) == (2.0, 3.0)


def test_variables_tell_about_themselves(model):
    area = type(model.subcatchments["S07"]).area
    assert (area.unit, area.access, area.when) == ("ha", tv.Access.PARAMETER, tv.When.ALWAYS)
    assert "LID units" in area.meaning and "area" in repr(area)
    known = model.nodes["POND"].quantities()
    assert "outflow_mass" in known and "depth" not in known
    assert "by pollutant" in known["outflow_mass"].__doc__ and "outflow_mass" in repr(known["outflow_mass"])


def test_frames_of_groups_have_rows_by_id_and_units(model):
    parameters = model.subcatchments.frame()
    assert parameters.loc["S07", "width"] == 120.0 and parameters.attrs["units"]["area"] == "ha"
    assert "runoff" not in parameters and "initial_load[TSS]" in parameters
    model.run_until("2024-06-10 12:00")
    frame = model.nodes.frame("inflow", "concentration", "split_flow")
    assert list(frame.columns) == ["inflow", "concentration[TSS]", "concentration[COD]", "concentration[ZN]",
                                   "split_flow"]
    assert frame["split_flow"].notna().sum() == 1 and frame.loc["FLUSH", "split_flow"] > 0.1
    assert "runoff" in model.subcatchments.frame()
    with pytest.raises(tv.UnknownError):
        model.nodes.frame("inflow", "colour")


def test_relations_lead_to_objects(model):
    pipe = model.pipes["N1_N3"]
    assert pipe.upstream_node == model.nodes["N1"] and pipe.downstream_node.id == "N3"
    assert model.subcatchments["S01"].outlet.id == "N1" and model.subcatchments["S01"].gage.id == "GAUGE"
    assert model.gages["GAUGE"].series.id == "STORM"
    assert model.splitters["FLUSH"].split_link.id == "TO_POND"


def test_relations_of_tanks_and_lid_units(storm_tank, example):
    with tv.Model(storm_tank) as model:
        assert model.tanks["BASIN"].area_curve.id == "SHAPE"
    with tv.Model(example("green-street")) as model:
        unit = model.lid_units[0]
        assert unit.subcatchment.id in model.subcatchments and unit.lid.id in model.lids
        assert unit.drain_node is None or unit.drain_node.id in model.nodes
        assert model.lid_units["0"] == unit and unit.id == "0" or unit.id == ""
        assert len(model.lid_units.frame("area")) == len(model.lid_units)


def test_network_is_a_graph(model):
    graph = model.network()
    assert graph.number_of_nodes() == 13 and graph.number_of_edges() == 12
    assert graph.edges["FLUSH", "BROOK", "TO_BROOK"]["kind"] == "connection"
    assert graph.nodes["POND"]["kind"] == "outfall"


def test_missing_networkx_is_said(model, monkeypatch):
    monkeypatch.setitem(sys.modules, "networkx", None)
    with pytest.raises(ImportError, match="networkx"):
        model.network()


def test_state_goes_back_to_the_same_bits(model, tmp_path):
    model.start(memory=True)
    model.run_until("2024-06-10 12:00")
    state = model.state()
    state.save(tmp_path / "noon.state")
    model.run_until()
    straight = model.results().nodes["inflow"]
    model.restore(state)
    assert model.now == np.datetime64("2024-06-10T12:00") and len(model.results().times) == 48
    model.run_until()
    assert model.results().nodes["inflow"].equals(straight)
    with tv.Model(tmp_path / "first-storm" / "first-storm.inp") as other:
        other.restore(tmp_path / "noon.state")
        assert other.now == np.datetime64("2024-06-10T12:00")
        assert other.state() == state == tv.State.load(tmp_path / "noon.state")
    assert not list(tmp_path.glob("*.part"))


def test_state_that_cannot_be_saved_leaves_the_old_one(model, tmp_path):
    model.step()
    target = tmp_path / "folder"
    target.mkdir()
    with pytest.raises(OSError):
        model.state().save(target)
    assert sorted(os.listdir(tmp_path)) == ["first-storm", "folder"]


def test_state_into_a_device_or_a_link_leaves_it_what_it_is(model, tmp_path):
    model.step()
    model.state().save(os.devnull)
    assert not os.path.isfile(os.devnull)
    (tmp_path / "real.state").write_bytes(b"old")
    (tmp_path / "link.state").symlink_to(tmp_path / "real.state")
    model.state().save(tmp_path / "link.state")
    assert (tmp_path / "link.state").is_symlink() and (tmp_path / "real.state").read_bytes() == model.state()


@pytest.mark.parametrize("state", [b"", b"nonsense", b"\0" * 5000])
def test_bytes_that_are_no_state_are_refused(model, state):
    with pytest.raises(tv.StateError):
        model.restore(state)
    model.run_until()


def test_damaged_state_is_refused_and_the_run_goes_on(model):
    model.run_until("2024-06-10 06:00")
    damaged = bytearray(model.state())
    damaged[len(damaged) // 2] ^= 1
    with pytest.raises(tv.StateError, match="changed since it was saved"):
        model.restore(damaged)
    assert model.now == np.datetime64("2024-06-10T06:00")
    model.run_until()


def test_hot_start_takes_water_to_another_date(model, first_storm):
    model.run_until("2024-06-10 12:00")
    with tv.Model(first_storm) as other:
        other.hot_start(model.state())
        assert other.now == np.datetime64("2024-06-10")
        other.step()
        assert other.nodes["N4"].inflow > 0.1


def test_clone_looks_ahead_and_leaves_the_model(model):
    model.run_until("2024-06-10 11:00")
    with model.clone() as ahead:
        ahead.run_until("2024-06-10 13:00")
        seen = ahead.nodes["N4"].inflow
        assert model.now == np.datetime64("2024-06-10T11:00")
    model.run_until("2024-06-10 13:00")
    assert model.nodes["N4"].inflow == seen


def test_text_is_a_project_too(first_storm):
    text = first_storm.read_text()
    with tv.Model.from_text(text, folder=first_storm.parent) as model:
        assert model.nodes["N4"].id == "N4" and "text" in repr(model)
    with tv.Model.from_text(text.encode()) as model:
        assert len(model.nodes) == 13
    with pytest.raises(tv.ProjectError, match="text"):
        tv.Model.from_text("[JUNCTIONS]\nA A A A\n")


def test_closed_model_says_so(first_storm):
    model = tv.Model(first_storm)
    node = model.nodes["N4"]
    model.close()
    model.close()
    assert model.phase == tv.Phase.CLOSED and "closed" in repr(model)
    for call in (model.step, model.state, model.balance, model.messages, lambda: node.inflow, lambda: model.links):
        with pytest.raises(tv.PhaseError):
            call()


def test_model_that_is_forgotten_gives_its_files_back(first_storm, tmp_path):
    for _ in range(300):  # more than a process may have files open, if each kept two
        model = tv.Model(first_storm, report=tmp_path / "a.rpt")
        model.start(tmp_path / "a.bin")
        del model
    gc.collect()
    assert not (tmp_path / "a.bin").exists()


def test_report_and_results_are_put_in_place_by_the_close(first_storm, tmp_path):
    report, results, database = tmp_path / "a.rpt", tmp_path / "a.bin", tmp_path / "a.db"
    with tv.Model(first_storm, report=report) as model:
        model.start(results, database)
        model.run_until()
        model.write_report()
        assert not report.exists() and not results.exists()
        model.end()
        assert results.exists() and database.exists()
        model.start(results)
        model.step()
    assert "Continuity" in report.read_text()


def test_report_that_cannot_be_written_is_an_error(first_storm):
    with pytest.raises(tv.ProjectError):
        tv.Model(first_storm, report="/no/such/folder/a.rpt")
    with tv.Model(first_storm) as model:
        with pytest.raises(tv.RunError):
            model.start("/no/such/folder/a.bin")
        model.step()


def test_error_inside_the_block_is_the_one_that_is_told(first_storm):
    with pytest.raises(ZeroDivisionError):
        with tv.Model(first_storm) as model:
            model.step()
            1 / 0
    assert model.phase == tv.Phase.CLOSED


def test_results_in_memory_must_be_asked_for(model):
    model.step()
    with pytest.raises(tv.PhaseError, match="memory=True"):
        model.results()


def test_error_while_rows_are_kept_is_raised_by_the_step(model, monkeypatch):
    model.start(memory=True)
    monkeypatch.setattr(model._keeper, "_days", None)
    with pytest.raises(TypeError):
        model.run_until()


def test_balances_of_objects(first_storm):
    with tv.Model(first_storm, keep_loads=True) as model:
        model.run_until()
        water = model.links["N4_T1"].balance()
        assert water["in"] > 100.0 and abs(water["error"]) < 1.0
        assert set(water) == {"initial", "in", "out", "lost", "stored", "missing", "error"}
        solids = model.links["N4_T1"].balance("TSS")
        assert 0.0 < solids["in"] < water["in"]
        verdict = model.balance()
        assert {"washoff", "quality", "runoff", "flow"} == set(verdict.part)
        assert not verdict.attrs["causes"].empty
    with tv.Model(first_storm) as model:
        model.step()
        with pytest.raises(tv.UnknownError):
            model.links["N4_T1"].balance("TSS")


def test_engines_of_models_inside_nodes_are_found_in_a_folder(example):
    project = example("coupled")
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        with tv.Model(project, engines=BUILD, scratch=project.parent) as model:
            model.run_until()
            assert len(model.swmm_nodes) == 2 and len(model.plant_nodes) == 1
    with pytest.raises(tv.ProjectError):
        tv.Model(project, engines=project.parent)


def test_models_in_threads_do_not_meet(first_storm):
    ends = []

    def work(share):
        with tv.Model(first_storm, tell_warnings=False) as model:
            model.set("subcatchment", "imperviousness", share)
            for _ in model.steps(every="1h"):
                pass
            ends.append((share, model.outfalls.frame("inflow_volume")["inflow_volume"].sum()))

    threads = [threading.Thread(target=work, args=(share,)) for share in (10, 40, 70, 100)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    volumes = [volume for _, volume in sorted(ends)]
    assert len(volumes) == 4 and volumes == sorted(volumes) and volumes[0] < 0.6 * volumes[-1]


def test_one_model_in_two_threads_waits_for_itself(model):
    model.start()
    errors = []

    def look():
        try:
            for _ in range(2000):
                model.get("node", "inflow")
                model.nodes["N4"].inflow
        except tv.TarnveldeError as error:
            errors.append(error)

    thread = threading.Thread(target=look)
    thread.start()
    model.run_until()
    thread.join()
    assert not errors and model.phase == tv.Phase.FINISHED


def test_child_of_a_fork_leaves_the_files_of_its_parent(first_storm, tmp_path):
    script = tmp_path / "forks.py"
    script.write_text(
        "import os, sys, tarnvelde as tv\n"
        f"model = tv.Model({str(first_storm)!r}, report={str(tmp_path / 'a.rpt')!r})\n"
        f"model.start({str(tmp_path / 'a.bin')!r})\n"
        "model.run_until('2024-06-10 12:00')\n"
        "child = os.fork()\n"
        "if child == 0:\n"
        "    model.close()\n"
        "    with tv.Model(sys.argv[1]) as own:\n"
        "        own.run_until()\n"
        "        os._exit(0 if own.phase == tv.Phase.FINISHED else 5)\n"
        "assert os.waitpid(child, 0)[1] == 0\n"
        "model.run_until()\n"
        "model.close()\n")
    path = "" if os.environ.get("TARNVELDE_INSTALLED") else str(ROOT / "python")
    subprocess.run([sys.executable, "-W", "ignore", script, first_storm], check=True,
                   env={**os.environ, "PYTHONPATH": path})
    with tv.open_results(tmp_path / "a.bin") as results:
        assert len(results.times) == 192


def test_steps_after_a_matplotlib_plot_are_the_same(model, first_storm):
    pyplot = pytest.importorskip("matplotlib.pyplot")
    run = tv.run(first_storm, report=False, results=False)
    axes = run.nodes["inflow"]["N4"].plot()
    axes.figure.savefig(os.devnull, format="png")
    pyplot.close(axes.figure)
    again = tv.run(first_storm, report=False, results=False)
    assert again.nodes["inflow"].equals(run.nodes["inflow"])


def test_library_that_is_not_there_is_said(tmp_path):
    def load(library):
        return subprocess.run(
            [sys.executable, "-c", "import tarnvelde; tarnvelde.version()"], capture_output=True, text=True,
            env={**os.environ, "PYTHONPATH": str(ROOT / "python"), "TARNVELDE_LIBRARY": str(library)})

    done = load(tmp_path / "none.so")
    assert done.returncode == 1 and "LibraryError" in done.stderr and "none.so" in done.stderr
    foreign = tmp_path / "libforeign.so"
    subprocess.run(["cc", "-shared", "-o", foreign, "-x", "c", "-"], input="int nothing;", text=True, check=True)
    assert "older than this package: it has no tv_" in load(foreign).stderr


def test_library_of_a_source_tree_is_found_without_a_word(tmp_path):
    (tmp_path / "python").mkdir()
    shutil.copytree(ROOT / "python" / "tarnvelde", tmp_path / "python" / "tarnvelde",
                    ignore=shutil.ignore_patterns("lib", "__pycache__"))
    shutil.copytree(ROOT / "include", tmp_path / "include")
    (tmp_path / "build" / "release").mkdir(parents=True)
    environment = {**os.environ, "PYTHONPATH": str(tmp_path / "python")}
    environment.pop("TARNVELDE_LIBRARY", None)

    def load():
        return subprocess.run([sys.executable, "-c", "import tarnvelde; print(tarnvelde.version())"],
                              capture_output=True, text=True, env=environment)

    own = tmp_path / "build" / "release" / "libtarnvelde.so"
    if "LibraryError" in load().stderr:  # else one is installed on this machine
        assert str(own) in load().stderr
    shutil.copy(os.environ["TARNVELDE_LIBRARY"], own)
    assert load().stdout.strip() == tv.version()


def test_run_after_one_that_was_kept_in_memory_calls_nobody(first_storm, tmp_path):
    """In a process of its own: a call into a function that Python has given back would end it."""
    program = """if True:
        import gc, sys
        import tarnvelde as tv
        with tv.Model(sys.argv[1]) as m:
            m.start(memory=True)
            m.run_until()
            kept = m.results()
            m.end()
            m.start()
            gc.collect()
            m.run_until()
            m.end()
            try:
                m.start(sys.argv[1] + "/no/folder.bin", memory=True)
            except tv.RunError:
                gc.collect()
            m.start()
            m.run_until()
            try:
                m.results()
            except tv.PhaseError:
                print(len(kept.times))
        """
    done = subprocess.run([sys.executable, "-W", "ignore", "-c", program, str(first_storm)], capture_output=True,
                          text=True, env={**os.environ, "PYTHONPATH": os.pathsep.join(sys.path)}, check=False)
    assert (done.returncode, done.stderr) == (0, "") and int(done.stdout) > 0


@pytest.mark.parametrize("copied", [copy.copy, copy.deepcopy, pickle.dumps])
def test_model_is_not_copied(model, copied):
    with pytest.raises(TypeError, match="clone"):
        copied(model)
    with pytest.raises(TypeError, match="clone"):
        copy.deepcopy(model.nodes["N4"])
    gc.collect()
    model.step()


def test_threads_that_can_not_be_are_refused_in_words(first_storm):
    for threads in ("a", 2.0, None):
        with pytest.raises(TypeError, match="threads are a whole number"):
            tv.Model(first_storm, threads=threads)
    for threads in (0, -1, 257):
        with pytest.raises(ValueError, match=f"threads are 1 to 256, not {threads}"):
            tv.Model(first_storm, threads=threads)
    with tv.Model(first_storm, threads=np.int64(2)) as model:
        assert model.phase == tv.Phase.OPEN


def test_texts_of_dates_are_those_of_numpy():
    from tarnvelde._dates import from_days, text_of_days

    for days in [0.0, 1.0, 0.5, 45461.27083333333, 45351.0, 45352.0, 36585.0, -109205.0, 2958465.999, 36584.9999999999]:
        assert text_of_days(days) == str(from_days(days))
    for day in range(-400000, 400000, 59):  # eras with and without a leap day at the end of a century
        assert text_of_days(day + 0.25) == str(np.datetime64("1899-12-30T06:00:00.000") + np.timedelta64(day, "D"))
