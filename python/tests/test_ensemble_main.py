"""The command line of ensembles, and how progress is shown."""
from __future__ import annotations

import io
import os
import pty
import subprocess
import sys
import types

import pandas as pd
import pytest
from ensembles import make_town

from tarnvelde import __main__ as command
from tarnvelde import ensemble_progress
from tarnvelde.ensemble import Ensemble, ensemble
from tarnvelde.ensemble_progress import Progress

TABLE = "member,orifice/GATE/orifice_coefficient\nlow,0.5\nhigh,0.7\n"
BAD = "member,orifice/GATE/orifice_coefficient\nlow,0.5\nhigh,-7\n"


@pytest.fixture
def words(tmp_path):
    town = make_town(tmp_path / "town")
    (tmp_path / "table.csv").write_text(TABLE)
    return [str(town), str(tmp_path / "table.csv"), "-o", str(tmp_path / "out")]


def start(*words, **options):
    return subprocess.run([sys.executable, "-m", "tarnvelde", *words], capture_output=True, text=True,
                          env={**os.environ, "PYTHONPATH": os.pathsep.join(sys.path)}, **options)


def test_all_done_is_0_and_told_shortly(words, tmp_path):
    done = start("ensemble", *words, "--jobs", "2")
    assert (done.returncode, done.stderr) == (0, "")
    assert done.stdout == f"2 members in {tmp_path / 'out'}: 2 done\n"
    assert start("ensemble", *words, "--quiet").stdout == ""


def test_some_failed_is_3_and_says_why(words, tmp_path, capsys):
    (tmp_path / "table.csv").write_text(BAD)
    assert command.main(["ensemble", *words, "--serial"]) == 3
    out = capsys.readouterr().out
    assert "1 done, 1 failed\n  high: failed: orifice/GATE/orifice_coefficient = -7:" in out


def test_of_many_failures_ten_are_told(words, tmp_path, capsys):
    (tmp_path / "table.csv").write_text("orifice/GATE/orifice_coefficient\n" + "-1\n" * 13)
    assert command.main(["ensemble", *words, "--serial"]) == 3
    lines = capsys.readouterr().out.splitlines()
    assert len(lines) == 12 and lines[-1] == "  ... and 3 more"


def test_wrong_usage_is_2(words):
    for wrong in ([], ["fly"], ["ensemble"], ["ensemble", *words, "--jobs", "0"], ["ensemble", *words, "--jobs", "x"],
                  ["ensemble", *words, "--keep", "letters"], ["ensemble", *words, "--timeout", "-1"],
                  ["ensemble", *words, "--chunk", "2"], ["ensemble", *words, "--slurm", "--serial"],
                  ["ensemble", *words, "--slurm", "--slurm-option", "=1"], ["ensemble", *words[:2]]):
        with pytest.raises(SystemExit) as end:
            command.main(wrong)
        assert end.value.code == 2


def test_help_names_the_options():
    done = start("--help")
    assert done.returncode == 0 and "ensemble" in done.stdout
    assert "--retry" in start("ensemble", "--help").stdout


def test_nothing_done_is_1(words, tmp_path, capsys, monkeypatch):
    assert command.main(["ensemble", "none.inp", *words[1:]]) == 1
    assert command.main(["ensemble", words[0], "none.csv", *words[2:]]) == 1
    (tmp_path / "table.csv").write_text("member,beauty\na,1\n")
    assert command.main(["ensemble", *words]) == 1
    assert 'tarnvelde: members: a column "beauty" means nothing' in capsys.readouterr().err
    monkeypatch.setitem(sys.modules, "distributed", None)
    assert command.main(["ensemble", *words, "--dask", "tcp://127.0.0.1:1"]) == 1
    assert "python3-distributed" in capsys.readouterr().err


def test_options_reach_the_ensemble(words, monkeypatch, capsys):
    given = {}

    def take(model, table, **options):
        given.update(options)
        return ensemble(model, table, out=options["out"], backend="serial")

    monkeypatch.setattr(command, "ensemble", take)
    command.main(["ensemble", *words, "--slurm", "--slurm-option", "time=1:00", "--slurm-option", "exclusive",
                  "--chunk", "3", "--keep", "results,report", "--database", "--timeout", "5", "--retry",
                  "--threads", "2"])
    assert given["backend"] == "slurm" and given["slurm"] == {"time": "1:00", "exclusive": True} and given["chunk"] == 3
    assert given["keep"] == ["results", "report"] and given["results"] == "database" and given["retry"]
    assert given["timeout"] == 5.0 and given["threads"] == 2


def test_a_dask_cluster_by_its_address(words):
    distributed = pytest.importorskip("distributed")
    with distributed.LocalCluster(n_workers=1, processes=False, dashboard_address=None) as cluster:
        with distributed.Client(cluster):
            address = cluster.scheduler_address
            if not address.startswith("inproc"):
                pytest.skip("the cluster has no address of its process")
            assert command.main(["ensemble", *words, "--dask", address, "--quiet"]) == 0
    assert Ensemble.open(words[3]).done == ["low", "high"]


def test_ctrl_c_is_130(words, monkeypatch, capsys):
    def stop(*words, **options):
        raise KeyboardInterrupt

    monkeypatch.setattr(command, "ensemble", stop)
    assert command.main(["ensemble", *words]) == 130
    assert "goes on" in capsys.readouterr().err


def on_terminal(words):
    """What a command shows on a terminal."""
    parent, child = pty.openpty()
    process = subprocess.Popen([sys.executable, *words], stderr=child, stdout=subprocess.DEVNULL,
                               env={**os.environ, "PYTHONPATH": os.pathsep.join(sys.path)})
    os.close(child)
    shown = b""
    while True:
        try:
            piece = os.read(parent, 4096)
        except OSError:
            break
        if not piece:
            break
        shown += piece
    os.close(parent)
    assert process.wait() == 0
    return shown.decode()


def test_a_terminal_shows_progress(words):
    pytest.importorskip("tqdm")
    assert "2/2" in on_terminal(["-m", "tarnvelde", "ensemble", *words, "--serial"])


def test_a_terminal_without_tqdm_shows_a_line(words):
    code = "import sys; sys.modules['tqdm'] = None; from tarnvelde.__main__ import main; sys.exit(main(sys.argv[1:]))"
    assert "\r2 of 2 runs\r\n" in on_terminal(["-c", code, "ensemble", *words, "--serial"])


class Bar:
    made = []

    def __init__(self, **options):
        self.options, self.count, self.notes = options, options["initial"], {}
        Bar.made.append(self)

    def set_postfix(self, refresh, **notes):
        self.notes = notes

    def update(self):
        self.count += 1

    def close(self):
        self.notes["closed"] = True


def test_a_notebook_shows_a_bar(monkeypatch):
    auto = types.ModuleType("tqdm.auto")
    auto.tqdm = Bar
    shell = types.SimpleNamespace(get_ipython=lambda: types.SimpleNamespace(config={"IPKernelApp": {}}))
    monkeypatch.setitem(sys.modules, "tqdm.auto", auto)
    monkeypatch.setitem(sys.modules, "IPython", shell)
    progress = Progress(None, 4, 1)
    progress.step(True)
    progress.close()
    bar, = Bar.made
    assert bar.options["total"] == 4 and bar.count == 2 and bar.notes == {"failed": 1, "closed": True}


def test_failures_stand_in_the_line(monkeypatch):
    monkeypatch.setitem(sys.modules, "tqdm", None)
    monkeypatch.setattr(ensemble_progress.sys, "stderr", io.StringIO())
    progress = Progress(True, 2)
    progress.step(False)
    progress.step(True)
    progress.close()
    assert sys.stderr.getvalue() == "\r0 of 2 runs\r1 of 2 runs\r2 of 2 runs, 1 failed\n"


def test_a_table_of_one_column_from_the_shell(words, tmp_path):
    (tmp_path / "table.csv").write_text("seed\n1\n2\n")
    assert command.main(["ensemble", *words, "--serial", "--quiet"]) == 0
    pd.testing.assert_series_equal(Ensemble.open(words[3]).members["seed"], pd.Series(
        [1, 2], index=pd.Index(["0000", "0001"], name="member"), name="seed"))
