"""Files of results: what they give, and what they refuse."""
import copy
import os
import pickle
import sqlite3
import struct
import subprocess
import sys

import numpy as np
import pandas as pd
import pytest
from conftest import BUILD

import tarnvelde as tv


@pytest.fixture
def binary(first_storm):
    tv.run(first_storm, report=False)
    return first_storm.with_suffix(".bin")


@pytest.fixture
def database(first_storm):
    tv.run(first_storm, report=False, database=True)
    return first_storm.with_suffix(".db")


@pytest.mark.parametrize("copied", [copy.deepcopy, lambda given: pickle.loads(pickle.dumps(given))])
def test_runs_are_copied_with_their_results(first_storm, copied):
    for options in ({}, {"database": True}, {"results": False}):
        run = tv.run(first_storm, report=False, **options)
        flow = run.nodes["inflow"]
        assert len(flow) and copied(run).nodes["inflow"].equals(flow)
        run.results.close()


def test_file_that_is_cut_while_it_is_open_is_said(binary):
    with tv.open_results(binary) as results:
        os.truncate(binary, 4000)
        with pytest.raises(tv.ResultsError, match="cut short"):
            results.nodes["inflow"]


def test_ids_in_an_old_encoding_are_alike_in_memory_and_files(first_storm):
    first_storm.write_bytes(first_storm.read_bytes().replace(b"ZN", b"Z\xe4N").replace(b"N4", b"N\xe4"))
    tv.run(first_storm, report=False, tell_warnings=False)
    tv.run(first_storm, report=False, database=True, tell_warnings=False)
    with tv.open_results(first_storm.with_suffix(".bin")) as binary:
        with tv.open_results(first_storm.with_suffix(".db")) as database:
            for results in (binary, database, tv.run(first_storm, report=False, results=False).results):
                assert "Z\xe4N" in results.pollutants and results.nodes["Z\xe4N"]["N\xe4"].max() > 0.0
            assert np.allclose(database.nodes["Z\xe4N"], binary.nodes["Z\xe4N"], atol=1e-6)
            assert np.allclose(database.object("N\xe4"), binary.object("N\xe4"), atol=1e-6)


def test_results_show_what_they_hold(binary):
    with tv.open_results(binary) as results:
        assert results.start == np.datetime64("2024-06-10") and results.report_step == 900.0
        assert results.pollutants == ["TSS", "COD", "ZN"]
        assert "192 reports" in repr(results) and str(binary) == results.name
        assert list(results.tables) == ["System", "Subcatchment", "Junction", "Outfall", "Splitter", "Pipe",
                                        "Connection"]
        assert results.tables["Pipe"].units["Outfow"] == "m3/s" and len(results.tables["Pipe"]) == 7
        assert "Outfow" in repr(results.tables["Pipe"]) and results.tables["Outfall"].ids == ["POND", "BROOK"]
        assert "inflow" in repr(results.nodes) and len(results.nodes) == 7
        assert results.nodes.meaning("inflow").startswith("inflow")
    with pytest.raises(tv.ResultsError, match="closed"):
        results.nodes["inflow"]


@pytest.mark.parametrize("form", ["binary", "database"])
def test_columns_are_found_by_variable_column_and_pollutant(form, request):
    with tv.open_results(request.getfixturevalue(form)) as results:
        flow = results.links["flow"]
        assert flow["N1_N3"].equals(results.tables["Pipe"]["Outfow"]["N1_N3"])
        assert flow["TO_POND"].equals(results.tables["Connection"]["outflow"]["TO_POND"])
        assert results.nodes["TSS"].equals(results.nodes["concentration", "TSS"])
        assert results.nodes["TotInflow"].equals(results.nodes["inflow"])
        assert results.nodes["TSS"].attrs == {"unit": "mg/L", "variable": "concentration", "pollutant": "TSS"}
        one = results.object("N4")
        assert one["TSS"].equals(results.nodes["TSS"]["N4"]) and one.attrs["units"]["inflow"] == "m3/s"
        assert results.object("n4").equals(one) and results.object("N4", "junction").equals(one)
        assert results.system["rain"].max() > 30.0
        for wrong in ("colour", ("inflow", "TSS"), ("concentration", "GOLD"), 5):
            with pytest.raises(tv.UnknownError):
                results.nodes[wrong]
        with pytest.raises(tv.UnknownError, match="goes by pollutant"):
            results.nodes["concentration"]
        with pytest.raises(tv.UnknownError, match='did you mean "N4"'):
            results.object("N44")
        with pytest.raises(tv.UnknownError):
            results.tables["Pipe"]["Colour"]


def test_one_id_in_two_tables_needs_its_table(tmp_path):
    text = ("[GENERAL]\nSTART_DATE 2024/01/01\nEND_DATE 2024/01/02\n[JUNCTIONS]\nX\n[OUTFALLS]\nO\n"
            "[PIPES]\nX X O NO 120 2 0.2 0\n")
    (tmp_path / "x.inp").write_text(text)
    run = tv.run(tmp_path / "x.inp", report=False)
    with pytest.raises(tv.UnknownError, match="Junction, Pipe"):
        run.object("X")
    assert "lateral_flow" in run.object("X", "Junction")


def test_layers_of_lid_nodes_go_by_pollutant(example):
    project = example("green-street")
    run = tv.run(project, report=False)
    frame = run.nodes["soil_concentration", "TSS"]
    assert list(frame.columns) == run.tables["LID_Mono"].ids
    assert frame.equals(run.tables["LID_Mono"]["Soil_TSS"])
    assert "soil_concentration[TSS]" in run.object(frame.columns[0])
    kept = tv.run(project, report=False, results=False)
    assert kept.nodes["soil_concentration", "TSS"].equals(frame)


def test_every_cut_of_a_binary_file_is_refused_or_read_to_its_last_whole_record(binary, tmp_path):
    whole = binary.read_bytes()
    with tv.open_results(binary) as results:
        inflow = results.nodes["inflow"]
        first, record = results._source._first, results._source._record
    cut = tmp_path / "cut.bin"
    for length in [0, 1, 15, 16, 63, 64, 91, 92, 100, 200, first - 1, first, first + record - 1, first + record,
                   first + 3 * record + 5, len(whole) - 28, len(whole) - 1]:
        cut.write_bytes(whole[:length])
        if length < first + record:
            with pytest.raises(tv.ResultsError):
                tv.open_results(cut)
        else:
            with tv.open_results(cut) as results:
                count = (length - first) // record
                assert results.nodes["inflow"].equals(inflow[:count])
                assert not results._source.is_complete


def test_damaged_binary_files_are_refused(binary, tmp_path):
    whole = bytearray(binary.read_bytes())
    bad = tmp_path / "bad.bin"
    with tv.open_results(binary) as results:
        first = results._source._first
    numbers = [(0, 5), (4, 5), (8, -1), (12, 2**31 - 1), (60, 2**30), (64, 0), (64, 2**31 - 1), (64, -7)]
    cases = [(place, struct.pack("<i", value)) for place, value in numbers]
    cases += [(68, b"\0"), (first - 4, struct.pack("<i", 0)), (first - 12, struct.pack("<d", float("nan"))),
              (first - 20, struct.pack("<i", 77)), (len(whole) - 12, struct.pack("<i", 5)),
              (len(whole) - 12, struct.pack("<i", -5)), (first, struct.pack("<d", float("inf")))]
    for place, piece in cases:
        damaged = bytearray(whole)
        damaged[place:place + len(piece)] = piece
        bad.write_bytes(damaged)
        with pytest.raises(tv.ResultsError):
            with tv.open_results(bad) as results:
                results.times


def test_random_damage_never_does_more_than_an_error(binary, tmp_path):
    import random
    chance = random.Random(5)
    whole = binary.read_bytes()[:6000]
    bad = tmp_path / "bad.bin"
    for _ in range(300):
        damaged = bytearray(whole)
        for _ in range(chance.randint(1, 8)):
            damaged[chance.randrange(len(damaged))] = chance.randrange(256)
        bad.write_bytes(damaged)
        try:
            with tv.open_results(bad) as results:
                results.nodes["inflow"], results.system, results.times
        except (tv.ResultsError, tv.UnknownError):
            pass


def test_ids_that_are_no_utf8_are_taken_as_in_the_database(tmp_path):
    text = (b"[GENERAL]\nSTART_DATE 2024/01/01\nEND_DATE 2024/01/02\n[JUNCTIONS]\nSTRA\xdfE\n[OUTFALLS]\nO\n"
            b"[PIPES]\nP STRA\xdfE O NO 120 2 0.2 0\n")
    (tmp_path / "x.inp").write_bytes(text)
    run = tv.run(tmp_path / "x.inp", report=False, results=tmp_path / "x.bin", database=tmp_path / "x.db")
    assert run.tables["Junction"].ids == ["STRAßE"]
    with tv.open_results(tmp_path / "x.db") as results:
        assert results.tables["Junction"].ids == ["STRAßE"]


def test_rows_that_a_database_does_not_have_are_nan(database):
    with sqlite3.connect(database) as connection:
        connection.execute("delete from Junction where Name = 'N4' and Period = 7")
        connection.execute("update System set Rainfall = null where Period = 3")
        connection.execute("insert into Junction select 'STRANGE', Period, TotInflow, LatInflow, TSS, COD, ZN "
                           "from Junction where Name = 'N4' and Period = 8")
    with tv.open_results(database) as results:
        inflow = results.nodes["inflow"]
        assert np.isnan(inflow["N4"][6]) and inflow["N4"].notna().sum() == 191
        assert results.object("N4").iloc[6].isna().all()
        assert np.isnan(results.system["rain"][2]) and np.isnan(results.tables["System"]["Rainfall"]["System"][2])
        assert "STRANGE" not in inflow


@pytest.mark.parametrize("statement", [
    "drop table GeneralInfo", "delete from GeneralInfo", "update GeneralInfo set StartDateTime = 'soon'",
    "alter table GeneralInfo rename to G; create view GeneralInfo as select 1 as StartDateTime, 900 as ReportStep"])
def test_databases_that_are_none_of_results_are_refused(database, statement):
    with sqlite3.connect(database) as connection:
        connection.executescript(statement)
    with pytest.raises(tv.ResultsError):
        tv.open_results(database)


def test_files_that_are_no_results_are_refused(tmp_path):
    (tmp_path / "a.bin").write_text("no results " * 50)
    (tmp_path / "b.db").write_bytes(b"SQLite format 3\0" + b"x" * 4000)
    for name in ("a.bin", "b.db"):
        with pytest.raises(tv.ResultsError, match=name):
            tv.open_results(tmp_path / name)
    with pytest.raises(FileNotFoundError):
        tv.open_results(tmp_path / "c.bin")


def test_closed_database_says_so(database):
    results = tv.open_results(database)
    results.close()
    with pytest.raises(tv.ResultsError, match="closed"):
        results.nodes["inflow"]


def test_dates_before_the_nanoseconds_of_pandas_are_kept(tmp_path):
    text = ("[GENERAL]\nSTART_DATE 1012/01/01\nEND_DATE 1012/01/02\n[JUNCTIONS]\nA\n[OUTFALLS]\nO\n"
            "[PIPES]\nP A O NO 120 2 0.2 0\n")
    (tmp_path / "x.inp").write_text(text)
    run = tv.run(tmp_path / "x.inp", report=False)
    assert str(run.times[0]).startswith("1012-01-01") and len(run.nodes["inflow"]) == len(run.times)


def test_dataset_has_units_names_and_values(first_storm):
    xarray = pytest.importorskip("xarray")
    run = tv.run(first_storm, report=False)
    data = run.to_xarray()
    assert data.attrs["Conventions"] == "CF-1.8" and data["node_inflow"].attrs["units"] == "m3 s-1"
    assert data["subcatchment_rain"].attrs["standard_name"] == "rainfall_rate"
    assert np.array_equal(data["node_concentration"].sel(node="N4", pollutant="COD"),
                          run.nodes["COD"]["N4"].astype(np.float32))
    assert str(data["node_kind"].sel(node="FLUSH").item()) == "splitter"
    assert np.isnan(data["node_split_flow"].sel(node="N4")).all()
    assert float(data["system_rain"].max()) == pytest.approx(run.system["rain"].max())
    target = first_storm.with_suffix(".nc")
    data.to_netcdf(target)
    shown = subprocess.run(["ncdump", "-h", target], capture_output=True, text=True) if os.path.exists(
        "/usr/bin/ncdump") else None
    assert shown is None or "node_inflow" in shown.stdout
    with xarray.open_dataset(target) as again:
        assert again["node_inflow"].equals(data["node_inflow"])
        assert pd.Timestamp(again["time"].values[0]) == run.times[0]


def test_parquet_gets_a_row_for_each_time_and_object(first_storm, tmp_path, written):
    run = tv.run(first_storm, report=False)
    for one in (run, run.results):
        written.clear()
        one.to_parquet(tmp_path / "links.parquet", "links")
        metadata, frame, last = written
        assert last == "closed" and "'inflow': 'm3 s-1'" in metadata["units"]
        assert list(frame.columns[:2]) == ["time", "id"] and len(frame) == 192 * 12
        pipe = frame[frame["id"] == "N4_T1"].set_index("time")
        assert np.array_equal(pipe["inflow"], run.links["inflow"]["N4_T1"].astype(np.float32))
        assert np.array_equal(pipe["concentration[TSS]"], run.links["TSS"]["N4_T1"].astype(np.float32))
        assert (tmp_path / "links.parquet").exists()
    with pytest.raises(tv.UnknownError, match="nodes, links"):
        run.to_parquet(tmp_path / "x.parquet", "system")
    assert not (tmp_path / "x.parquet").exists()


def test_missing_pyarrow_is_said(first_storm, tmp_path, monkeypatch):
    run = tv.run(first_storm, report=False, results=False)
    monkeypatch.setitem(sys.modules, "pyarrow", None)
    with pytest.raises(ImportError, match="pyarrow"):
        run.to_parquet(tmp_path / "x.parquet")


def test_missing_xarray_is_said(first_storm, monkeypatch):
    run = tv.run(first_storm, report=False, results=False)
    monkeypatch.setitem(sys.modules, "xarray", None)
    with pytest.raises(ImportError, match="python3-xarray"):
        run.to_xarray()


def test_lid_units_of_a_file_of_their_own(example, tmp_path):
    """Inflow of a report period, times its length, adds up to the total that a model of one's own has."""
    project, units = example("green-street"), tmp_path / "units.db"
    subprocess.run([BUILD / "tarnvelde", "run", project, "--lid-results", units, "--quiet"], check=True)
    with tv.Model(project, tell_warnings=False) as model:
        model.start()
        model.run_until()
        names = ["BC/CELL", "RG/GARDEN", "GR/ROOF", "IT/TRENCH", "PP/PAVING", "RB/BARREL", "VS/DITCH"]
        owners = [model.lid_units[k] for k in range(len(names))]
        totals = {name: (unit.inflow_depth * unit.area / 1000.0, unit.drain_outflow_depth * unit.area / 1000.0)
                  for name, unit in zip(names, owners)}
        volumes = [unit.volume for unit in owners]
    with tv.open_results(units) as results:
        assert results.lid_units.ids == list(totals)
        for name, (inflow, drain) in totals.items():
            assert results.lid_units["inflow"][name].sum() * 600.0 == pytest.approx(inflow, rel=1e-6)
            assert results.lid_units["drain_flow"][name].sum() * 600.0 == pytest.approx(drain, rel=1e-6)
        assert results.lid_units["volume"].iloc[-1].tolist() == pytest.approx(volumes, rel=1e-6)
        assert results.lid_units["evaporation"].attrs["unit"] == "mm/d"
        assert results.lid_units["soil_concentration", "TSS"]["BC/CELL"].max() > 1.0
        assert results.system["storage"].iloc[-1] == pytest.approx(sum(volumes), rel=1e-6)
        assert results.to_xarray()["lid_unit_inflow"].dims == ("time", "lid_unit")
        assert results.nodes.ids == []


# --- by object -------------------------------------------------------------------------------------------------------

def by_object(source, target):
    subprocess.run([BUILD / "tarnvelde", "results", source, "--by-object", "-o", target], check=True)
    return target


def assert_same(first, second):
    assert first.times.equals(second.times) and first.pollutants == second.pollutants
    assert list(first.tables) == list(second.tables)
    for name, table in first.tables.items():
        assert table.ids == second.tables[name].ids and table.units == second.tables[name].units
        for column in table:
            pd.testing.assert_frame_equal(table[column], second.tables[name][column], check_exact=True)
        for identifier in table.ids:
            pd.testing.assert_frame_equal(first.object(identifier, name), second.object(identifier, name),
                                          check_exact=True)


@pytest.mark.parametrize("kind", ["binary", "database"])
def test_results_by_object_are_the_same(request, tmp_path, kind):
    source = request.getfixturevalue(kind)
    with tv.open_results(source) as plain, tv.open_results(by_object(source, tmp_path / "a.tvo")) as results:
        assert_same(plain, results)
        assert_same(plain, pickle.loads(pickle.dumps(results)))


def test_results_by_object_lack_what_a_database_lacks(database, tmp_path):
    with sqlite3.connect(database) as rows:
        rows.execute("delete from Outfall where Period = 7")
        rows.execute("delete from Junction where Name = 'N4' and Period > 100")
    with tv.open_results(database) as plain, tv.open_results(by_object(database, tmp_path / "a.tvo")) as results:
        assert np.isnan(results.object("N4", "Junction")["inflow"]).sum() == 92
        assert_same(plain, results)


def test_results_by_object_have_listed_dates_where_they_follow_no_rule(binary, tmp_path):
    data = bytearray(binary.read_bytes())
    with tv.open_results(binary) as results:
        source = results._source
        struct.pack_into("<d", data, source._first + 3 * source._record, 45453.1)
    (tmp_path / "odd.bin").write_bytes(data)
    path = by_object(tmp_path / "odd.bin", tmp_path / "a.tvo")
    assert struct.unpack_from("<I", path.read_bytes(), 12) == (0,)
    with tv.open_results(tmp_path / "odd.bin") as plain, tv.open_results(path) as results:
        assert_same(plain, results)


def test_damaged_results_by_object_are_refused(binary, tmp_path):
    path = by_object(binary, tmp_path / "a.tvo")
    data = path.read_bytes()
    for changed, words in [(data[:-1], "truncated"), (data[:70], "truncated"), (data + b"x", "longer"),
                           (data[:-1] + b"x", "mark"), (data.replace(b"System", b"Sxstem", 1), "head was changed"),
                           (data[:8] + b"\2" + data[9:], "version"), (data[:24] + bytes(4) + data[28:], "step")]:
        path.write_bytes(changed)
        with pytest.raises(tv.ResultsError, match=words):
            tv.open_results(path)
    path.write_bytes(data)
    with tv.open_results(path) as results:
        os.truncate(path, 4000)
        with pytest.raises(tv.ResultsError, match="cut short"):
            results.nodes["inflow"]


def test_ids_of_a_database_with_an_index_are_those_without(first_storm):
    tv.run(first_storm, report=False, database=first_storm.with_name("a.db"), results=False)
    tv.run(first_storm, report=False, database=first_storm.with_name("b.db"), results=False, database_with=["index"])
    with tv.open_results(first_storm.with_name("a.db")) as plain:
        with tv.open_results(first_storm.with_name("b.db")) as indexed:
            assert_same(plain, indexed)
            asked = []
            indexed._source._connection.set_trace_callback(asked.append)
            indexed.object("N4", "Junction")
            plan = indexed._source._rows("explain query plan " + asked[0])
            assert "USING INDEX TarnveldeIndexJunction (Name=?)" in plan[0][3]


def test_a_database_without_reports_says_that_it_has_no_ids(first_storm, tmp_path):
    tv.run(first_storm, report=False, results=False, database=tmp_path / "none.db", until="2024-06-10 00:00:30",
           tell_warnings=False)
    results = tv.open_results(tmp_path / "none.db")
    assert len(results.times) == 0 and results.nodes.ids == [] and len(results.system) == 0
    for ask in (lambda: results.nodes["inflow"], lambda: results.object("J1")):
        with pytest.raises(KeyError, match="none.db has no reports: without a row, a database has no IDs"):
            ask()
