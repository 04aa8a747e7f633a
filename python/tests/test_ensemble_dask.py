"""Ensembles on a Dask cluster of two processes, which the test starts and ends itself."""
from __future__ import annotations

import os
import sys
import time

import pandas as pd
import pytest
from ensembles import ENDLESS, Killer, contents, holders, inodes, make_town

import tarnvelde as tv
from tarnvelde import ensemble_dask
from tarnvelde.ensemble import Ensemble, ensemble

distributed = pytest.importorskip("distributed")


@pytest.fixture
def client(monkeypatch):
    """A client of two workers, each a process with a nanny that starts it again."""
    monkeypatch.setenv("PYTHONPATH", os.pathsep.join(sys.path))
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None) as cluster:
        with distributed.Client(cluster) as found:
            yield found


def table_of(*ends):
    return pd.DataFrame({"${END}": ends})


def test_a_killed_worker_and_a_bad_member_take_nothing_along(client, tmp_path):
    town = make_town(tmp_path, END="")
    table = table_of("2024/06/18", "never", "2027/06/18", *["2024/06/19"] * 9)
    out = tmp_path / "out"
    with Killer(out / "members" / "0002", 1) as killer:
        made = ensemble(town, table, out=out, client=client)
    assert len(killer.killed) == 1
    assert made.failed == ["0001"] and made.status["outcome"]["0001"] == "failed"
    assert len(made.done) == 11
    ensemble(town, table, out=tmp_path / "calm", backend="serial")
    calm = contents(tmp_path / "calm")
    assert {name: data for name, data in contents(out).items() if name in made.done} == {
        name: data for name, data in calm.items() if name in made.done}
    assert not list(out.glob("members/*/begun.json"))
    before = inodes(out)
    table.loc[3, "${END}"] = "2024/06/20"
    made = ensemble(town, table, out=out, backend="dask", client=client)
    assert {name for name in before if inodes(out)[name] != before[name]} == {"0003"} and len(made.done) == 11


def test_a_member_that_kills_its_workers_is_told(client, tmp_path):
    town = make_town(tmp_path, END="")
    out = tmp_path / "out"
    with Killer(out / "members" / "0001", 2) as killer:
        made = ensemble(town, table_of("2024/06/18", ENDLESS["END"], *["2024/06/18"] * 6), out=out, client=client)
    assert len(killer.killed) == 2
    assert made.failed == ["0001"] and made.status["outcome"]["0001"] == "killed"
    assert "two times" in made.status["message"]["0001"] and len(made.done) == 7


def test_a_scheduler_that_gives_up_is_taken_at_its_word(client, tmp_path):
    client.run_on_scheduler(lambda dask_scheduler: setattr(dask_scheduler, "allowed_failures", 0))
    town = make_town(tmp_path, END="")
    out = tmp_path / "out"
    with Killer(out / "members" / "0001", 1) as killer:
        made = ensemble(town, table_of("2024/06/18", "2027/06/18", *["2024/06/18"] * 6), out=out, client=client)
    assert len(killer.killed) == 1
    assert len(made.done) == 8


def test_a_lost_cluster_is_told_and_gone_on_from(tmp_path):
    town = make_town(tmp_path, END="")
    out = tmp_path / "out"
    cluster = distributed.LocalCluster(n_workers=1, threads_per_worker=1, processes=False, dashboard_address=None)
    client = distributed.Client(cluster)

    def stop(ended, failed, total):
        client.close()

    with cluster, pytest.raises(tv.RunError, match="cluster is lost"):
        ensemble(town, table_of("2024/06/18", "2025/06/18", "2024/06/18"), out=out, client=client, progress=stop)
    made = Ensemble.open(out)
    assert "0000" in made.done and "running" not in list(made.status["outcome"])
    assert len(ensemble(town, table_of(*["2024/06/18"] * 3), out=out, backend="serial").done) == 3


def test_an_error_of_the_worker_itself_fails_its_member(client, tmp_path, monkeypatch):
    def fail(task):
        raise OSError("no such machine")

    monkeypatch.setattr(ensemble_dask, "run_once", fail)
    made = ensemble(make_town(tmp_path), pd.DataFrame(index=range(1)), out=tmp_path / "out", client=client)
    assert made.status["message"]["0000"] == "OSError: no such machine"


def test_a_run_that_nobody_waits_for_ends_by_itself(client, tmp_path):
    town = make_town(tmp_path, END="")
    out = tmp_path / "out"

    def stop(ended, failed, total):
        raise KeyboardInterrupt

    with pytest.raises(KeyboardInterrupt):
        ensemble(town, table_of("2024/06/18", ENDLESS["END"]), out=out, client=client, progress=stop)
    deadline = time.monotonic() + 60.0
    while holders(out / "members"):
        assert time.monotonic() < deadline
        time.sleep(0.1)
    assert not (out / "members" / "0001" / "outcome.json").exists()
    assert list(Ensemble.open(out).status["outcome"]) == ["done", "waiting"]


def test_a_client_that_is_none(tmp_path):
    town = make_town(tmp_path)
    with pytest.raises(TypeError, match="distributed.Client"):
        ensemble(town, pd.DataFrame(index=range(1)), out=tmp_path / "out", backend="dask", client="tcp://nowhere")


def test_without_distributed_it_says_what_to_install(tmp_path, monkeypatch):
    monkeypatch.setitem(sys.modules, "distributed", None)
    with pytest.raises(ImportError, match="python3-distributed"):
        ensemble(make_town(tmp_path), pd.DataFrame(index=range(1)), out=tmp_path / "out", client=object())
