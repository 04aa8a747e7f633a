"""What `tarnvelde export` writes, read back by xarray, pandas and sqlite3."""
import sqlite3
import subprocess

import numpy as np
import pandas as pd
import pytest
from conftest import BUILD

import tarnvelde as tv

PROGRAM = BUILD / "tarnvelde"
pytestmark = pytest.mark.skipif(not PROGRAM.exists(), reason="the command line isn't built")


@pytest.fixture(params=["bin", "db"])
def results(request, first_storm):
    tv.run(first_storm, report=False, database=request.param == "db")
    with tv.open_results(first_storm.with_suffix("." + request.param)) as found:
        yield found


def export(results, output, *more):
    subprocess.run([PROGRAM, "export", results.name, "-o", output, *more], check=True, capture_output=True)
    return output


def test_netcdf_has_all_tables_with_their_times(results, tmp_path):
    xarray = pytest.importorskip("xarray")
    with xarray.open_dataset(export(results, tmp_path / "town.nc")) as data:
        assert (pd.DatetimeIndex(data["time"].values) == results.times).all()
        for name, table in results.tables.items():
            if name == "System":
                continue
            assert list(data[f"{name.lower()}_id"].values) == table.ids
            for column in table:
                values = data[f"{name.lower()}_{column}"]
                assert values.dims == ("time", name.lower()) and "units" in values.attrs
                assert np.array_equal(values.values, table[column].to_numpy(np.float32)), (name, column)
        chosen = data.set_index(pipe="pipe_id")["pipe_Outfow"].sel(pipe="N4_T1")
        assert np.array_equal(chosen.values, results.tables["Pipe"]["Outfow"]["N4_T1"].to_numpy(np.float32))


def test_tables_divided_by_commas_are_frames(results, tmp_path):
    export(results, tmp_path / "town.csv")
    frame = pd.read_csv(tmp_path / "town-Pipe.csv", index_col="Date", parse_dates=True)
    assert (frame.index == results.times).all()
    for own in results.tables["Pipe"].ids:
        assert np.array_equal(frame[f"{own}:Outfow (m3/s)"].to_numpy(np.float32),
                              results.tables["Pipe"]["Outfow"][own].to_numpy(np.float32))
    lines = pd.read_csv(export(results, tmp_path / "list.csv", "--long"), keep_default_na=False)
    rain = lines[(lines["Object"] == "S07") & (lines["Column"] == "Rainfall")]
    assert set(rain["Unit"]) == {"mm/h"} and len(rain) == len(results.times)
    assert np.array_equal(rain["Value"].to_numpy(np.float32),
                          results.tables["Subcatchment"]["Rainfall"]["S07"].to_numpy(np.float32))


def test_a_geopackage_has_peaks_and_volumes(results, first_storm, tmp_path):
    path = export(results, tmp_path / "town.gpkg", "--model", first_storm)
    with sqlite3.connect(path) as database:
        rows = dict((own, values) for own, *values in database.execute(
            "select id, peak_flow, volume, peak_time from links where kind = 'Pipe'"))
    flows = results.tables["Pipe"]["Outfow"]
    assert list(rows) == list(flows.columns)
    for own, (peak, volume, time) in rows.items():
        assert np.float32(peak) == np.float32(flows[own].max())
        assert volume == pytest.approx(flows[own].sum() * 900.0, rel=1e-7)
        assert pd.Timestamp(time) == flows[own].idxmax()
