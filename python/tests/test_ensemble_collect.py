"""Results of all members as one dataset."""
from __future__ import annotations

import sys

import numpy as np
import pandas as pd
import pytest
from ensembles import make_town

import tarnvelde as tv
from tarnvelde.ensemble import ensemble
from tarnvelde.errors import ResultsError

xarray = pytest.importorskip("xarray")
ENDS = ["2024-06-18 15:00", None, "2024-06-18 17:00"]


@pytest.fixture
def made(tmp_path):
    table = pd.DataFrame({"orifice/GATE/orifice_coefficient": [0.5, 0.6, 0.7], "until": ENDS},
                         index=["a", "a-longer-name", "b"])
    return ensemble(make_town(tmp_path / "town"), table, out=tmp_path / "out", backend="serial")


def check(found, made):
    """That a dataset has the values of each member, and nothing after its end."""
    assert list(found["member"].values) == made.done
    assert len(found["time"]) == 24
    for name in made.done:
        with made.results(name) as results:
            one = results.to_xarray()
        for variable in one.data_vars:
            mine = found[variable].sel(member=name)
            assert mine.dtype == np.float32 and mine.dims == one[variable].dims
            count = len(one["time"])
            np.testing.assert_array_equal(mine.values[:count], one[variable].values)
            assert np.isnan(mine.values[count:]).all()
            assert mine.attrs["units"] == one[variable].attrs["units"]
    np.testing.assert_array_equal(found["node"].values.astype(str), one["node"].values)
    assert found.attrs["Conventions"] == "CF-1.8" and "3 members" in found.attrs["title"]


def test_zarr(made, tmp_path):
    pytest.importorskip("zarr")
    made.to_zarr(tmp_path / "all.zarr")
    check(xarray.open_zarr(tmp_path / "all.zarr"), made)
    made.to_zarr(tmp_path / "all.zarr", members=["b"], variables=["node_depth"])  # in place of the one before
    found = xarray.open_zarr(tmp_path / "all.zarr")
    assert list(found.data_vars) == ["node_depth"] and list(found["member"].values) == ["b"]
    assert not (tmp_path / "all.zarr.part").exists()


def test_netcdf(made, tmp_path):
    netcdf = pytest.importorskip("netCDF4")
    made.to_netcdf(tmp_path / "all.nc")
    with xarray.open_dataset(tmp_path / "all.nc") as found:
        check(found, made)
    with netcdf.Dataset(tmp_path / "all.nc") as file:
        assert file.dimensions["member"].isunlimited()


def test_lazily(made):
    pytest.importorskip("dask")
    found = made.to_xarray()
    assert found["node_depth"].chunks[0] == (1, 1, 1)
    check(found, made)


def test_members_with_other_objects_or_times_are_refused(made, tmp_path):
    pytest.importorskip("zarr")
    for place, text, word in (("JUNCTION", "UP", "node"), ("REPORT", "0:15:00", "times")):
        town = make_town(tmp_path / place)
        town.write_text(town.read_text().replace(text, "${IT}"))
        table = pd.DataFrame({"${IT}": [text, "UPPER" if place == "JUNCTION" else "0:30:00"]})
        other = ensemble(town, table, out=tmp_path / place / "out", backend="serial")
        assert len(other.done) == 2
        with pytest.raises(ValueError, match=f"member 0001 .*{word}"):
            other.to_zarr(tmp_path / "x.zarr")
        assert not (tmp_path / "x.zarr").exists() and not (tmp_path / "x.zarr.part").exists()


def test_what_is_not_there(made, tmp_path):
    with pytest.raises(KeyError, match="no variable"):
        made.to_netcdf(tmp_path / "x.nc", variables=["node_beauty"])
    with pytest.raises(KeyError, match="no member"):
        made.to_netcdf(tmp_path / "x.nc", members=["c"])
    with pytest.raises(KeyError, match="no members are wanted"):
        made.to_netcdf(tmp_path / "x.nc", members=[])
    empty = ensemble(make_town(tmp_path / "town"), pd.DataFrame(index=range(0)), out=tmp_path / "empty")
    with pytest.raises(KeyError, match="no member is done"):
        empty.to_netcdf(tmp_path / "x.nc")
    assert not list(tmp_path.glob("x.nc*"))


def test_a_folder_of_something_else_stays(made, tmp_path):
    pytest.importorskip("zarr")
    (tmp_path / "mine").mkdir()
    (tmp_path / "mine" / "letter.txt").write_text("dear")
    with pytest.raises(FileExistsError):
        made.to_zarr(tmp_path / "mine")
    assert (tmp_path / "mine" / "letter.txt").read_text() == "dear"


@pytest.mark.parametrize("method, module, package", [
    ("to_zarr", "zarr", "python3-zarr"), ("to_netcdf", "netCDF4", "python3-netcdf4"),
    ("to_parquet", "pyarrow", "pyarrow"), ("to_xarray", "dask", "python3-dask")])
def test_what_is_missing_is_named(made, tmp_path, monkeypatch, method, module, package):
    monkeypatch.setitem(sys.modules, module, None)
    with pytest.raises(ImportError, match=package):
        getattr(made, method)(*([] if method == "to_xarray" else [tmp_path / "x"]))


def test_parquet_gets_a_row_for_each_member_time_and_object(made, tmp_path, written):
    made.to_parquet(tmp_path / "all.parquet")
    assert (tmp_path / "all.parquet").exists() and written[-1] == "closed"
    assert "'depth': 'm'" in written[0]["units"]
    frame = written[2]
    assert list(frame["member"].unique()) == ["a-longer-name"] and len(frame) == 24 * 3
    depth = frame[frame["id"] == "TANK"].set_index("time")["depth"]
    with made.results("a-longer-name") as results:
        np.testing.assert_array_equal(depth.to_numpy(), results.nodes["depth"]["TANK"].to_numpy(np.float32))
    with pytest.raises(KeyError, match="nodes, links"):
        made.to_parquet(tmp_path / "x.parquet", "system")


@pytest.mark.parametrize("damage", [None, b"", b"{", b"[]", b"null", b'{"totals": 5}', b"\xff"])
def test_totals_that_are_gone_or_damaged_are_said(made, damage):
    path = made.folder / "members" / "a" / "outcome.json"
    path.unlink() if damage is None else path.write_bytes(damage)
    for ask in (made.totals, made.balance):
        with pytest.raises(ResultsError, match="delete .*members.a, and the next call runs the member again"):
            ask(*(["nodes"] if ask == made.totals else []))


def test_one_object_is_asked_for_without_a_list(made):
    assert made.frame("nodes", "inflow", "WORKS").equals(made.frame("nodes", "inflow", ["WORKS"]))


def test_events_of_all_members(made):
    peaks = sorted(made.frame("nodes", "inflow", ["WORKS"]).max())
    threshold = (peaks[0] + peaks[1]) / 2.0  # two members come above it
    single = made.events("WORKS", threshold=threshold, gap="1h")
    sums = made.event_totals("WORKS", threshold=threshold, gap="1h")
    assert single.index.names == ["member", "event"] and sums.index.names == ["member", "table", "object"]
    assert list(sums.index.get_level_values("member")) == made.done and sums.attrs["units"]["volume"] == "m3"
    for name in made.done:
        with made.results(name) as results:
            own = tv.events(results, "WORKS", threshold=threshold, gap="1h")
        assert sums.loc[name, "events"].tolist() == [len(own)]
        assert sums.loc[name, "volume"].tolist() == [own["volume"].sum()]
        if len(own):
            pd.testing.assert_frame_equal(single.loc[name], own, check_names=False)
    assert single.index.get_level_values("member").nunique() == 2
    with pytest.raises(KeyError, match="NOWHERE"):
        made.events("NOWHERE")


def test_events_of_no_member(tmp_path):
    table = pd.DataFrame({"orifice/GATE/orifice_coefficient": [-1.0]})
    made = ensemble(make_town(tmp_path / "town"), table, out=tmp_path / "out", backend="serial")
    assert made.events().empty and made.event_totals("WORKS").empty
