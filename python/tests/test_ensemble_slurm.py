"""Ensembles on a Slurm of one node, which the test starts and ends itself."""
from __future__ import annotations

import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

import pandas as pd
import pytest
from ensembles import ENDLESS, Killer, contents, holders, inodes, make_town

import tarnvelde as tv
from tarnvelde import ensemble_slurm
from tarnvelde.ensemble import Ensemble, ensemble

CONFIGURATION = """
ClusterName=test
SlurmctldHost={host}(127.0.0.1)
SlurmctldPort={control}
SlurmdPort={node}
AuthType=auth/munge
AuthInfo=socket={folder}/munge.socket
CredType=cred/munge
SlurmUser=root
SlurmdUser=root
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool
SlurmctldPidFile={folder}/control.pid
SlurmdPidFile={folder}/node.pid
SlurmctldLogFile={folder}/control.log
SlurmdLogFile={folder}/node.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
SchedulerParameters=sched_interval=1,batch_sched_delay=0
MpiDefault=none
ReturnToService=2
KillWait=1
SlurmdParameters=config_overrides
NodeName={host} NodeAddr=127.0.0.1 CPUs=2 State=UNKNOWN
PartitionName=all Nodes={host} Default=YES MaxTime=INFINITE State=UP
"""


def free_port():
    with socket.socket() as found:
        found.bind(("127.0.0.1", 0))
        return found.getsockname()[1]


class Daemons:
    """munged, slurmctld and slurmd in a folder of their own."""

    def __init__(self, folder):
        self.folder = folder
        self.processes = []

    def start(self, *words):
        log = open(self.folder / f"{words[0]}.out", "w")
        self.processes.append(subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=log, stderr=log))
        log.close()

    def wait_for(self, what, is_there):
        deadline = time.monotonic() + 30.0
        while not is_there():
            ended = [process.args[0] for process in self.processes if process.poll() is not None]
            if ended or time.monotonic() > deadline:
                words = "".join(path.read_text()[-300:] for path in sorted(self.folder.glob("*.out")))
                pytest.skip(f"{what} doesn't start here: {ended} {words}")
            time.sleep(0.1)

    def end(self):
        for process in reversed(self.processes):
            process.terminate()
            try:
                process.wait(20.0)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()


@pytest.fixture(scope="module")
def slurm():
    for program in ("munged", "slurmctld", "slurmd", "sbatch", "squeue", "scancel"):
        if shutil.which(program) is None and not os.path.exists(f"/usr/sbin/{program}"):
            pytest.skip(f"there is no {program} (Debian: slurm-wlm, munge)")
    if os.getuid() != 0:
        pytest.skip("slurmd needs root")
    # munge wants every folder above its socket to be nobody else's to write
    folder = Path(tempfile.mkdtemp(prefix="slurm-"))
    folder.chmod(0o755)
    for name in ("state", "spool"):
        (folder / name).mkdir()
    key = folder / "munge.key"
    key.write_bytes(os.urandom(1024))
    key.chmod(0o400)
    host = socket.gethostname().split(".")[0]
    configuration = folder / "slurm.conf"
    configuration.write_text(CONFIGURATION.format(host=host, folder=folder, control=free_port(), node=free_port()))
    path, before = os.environ["PATH"], os.environ.get("SLURM_CONF")
    os.environ.update(PATH=f"{path}:/usr/sbin", SLURM_CONF=str(configuration))
    daemons = Daemons(folder)
    try:
        daemons.start("munged", "--foreground", "--force", f"--key-file={key}", f"--socket={folder}/munge.socket",
                      f"--pid-file={folder}/munged.pid", f"--log-file={folder}/munged.log",
                      f"--seed-file={folder}/munged.seed")
        daemons.wait_for("munged", (folder / "munge.socket").exists)
        daemons.start("slurmctld", "-D", "-f", str(configuration))
        daemons.start("slurmd", "-D", "-f", str(configuration), "-N", host)
        daemons.wait_for("Slurm", lambda: subprocess.run(
            ["sinfo", "-h", "-o", "%t"], capture_output=True, text=True).stdout.strip() == "idle")
        yield daemons
        subprocess.run(["scancel", "--user=root"])
    finally:
        daemons.end()
        os.environ["PATH"] = path
        os.environ.pop("SLURM_CONF")
        if before is not None:
            os.environ["SLURM_CONF"] = before
        shutil.rmtree(folder, ignore_errors=True)


@pytest.fixture
def quick(monkeypatch):
    """One machine sees its own files at once."""
    monkeypatch.setattr(ensemble_slurm, "_LAG_SECONDS", 1.0)


def queue():
    return subprocess.run(["squeue", "-h"], capture_output=True, text=True, check=True).stdout


def test_an_array_of_eight_of_which_one_fails(slurm, tmp_path):
    town = make_town(tmp_path, END="")
    table = pd.DataFrame({"${END}": ["2024/06/18"] * 5 + ["never"] + ["2024/06/18"] * 2})
    out = tmp_path / "out %a 'quoted'"
    made = ensemble(town, table, out=out, backend="slurm", slurm={"time": "10", "comment": "a b"}, jobs=2)
    assert made.failed == ["0005"] and len(made.done) == 7
    ensemble(town, table, out=tmp_path / "here", backend="serial")
    assert {name: data for name, data in contents(out).items() if name != "0005"} == {
        name: data for name, data in contents(tmp_path / "here").items() if name != "0005"}
    assert list((out / "slurm").iterdir()) == [] and queue() == ""
    before = inodes(out)
    ensemble(town, table, out=out, backend="slurm")
    assert inodes(out) == before


def test_a_lost_process_of_a_chunk_takes_nothing_along(slurm, quick, tmp_path):
    town = make_town(tmp_path, END="")
    table = pd.DataFrame({"${END}": ["2024/06/18", ENDLESS["END"], "2024/06/18", "2024/06/18"]})
    with Killer(tmp_path / "out" / "members" / "0001", 2) as killer:
        made = ensemble(town, table, out=tmp_path / "out", backend="slurm", chunk=4)
    assert len(killer.killed) == 2
    assert made.failed == ["0001"] and len(made.done) == 3
    assert "SIGKILL" in made.status["message"]["0001"]


def test_a_lost_task_of_the_array_is_tried_once_more(slurm, quick, tmp_path):
    town = make_town(tmp_path, END="")
    table = pd.DataFrame({"${END}": ["2024/06/18", ENDLESS["END"], "2024/06/18", "2024/06/18"]})
    out = tmp_path / "out"
    times = []

    def cancel():  # the whole task of the array, as by a limit of time or memory
        while len(times) < 2:
            time.sleep(0.05)
            if holders(out / "members" / "0001"):
                job = Ensemble.open(out)
                lines = [line for line in queue().split("\n") if line.strip()]
                assert lines and job is not None
                for line in lines:
                    subprocess.run(["scancel", line.split()[0]])
                times.append(lines)
                while holders(out / "members" / "0001"):
                    time.sleep(0.05)

    thread = threading.Thread(target=cancel)
    thread.start()
    made = ensemble(town, table, out=out, backend="slurm", chunk=2)
    thread.join()
    assert made.failed == ["0001"] and made.done == ["0000", "0002", "0003"]
    assert "two times" in made.status["message"]["0001"]


SCRIPT = """
import sys
import pandas as pd
from tarnvelde.ensemble import ensemble
ensemble(sys.argv[1], pd.DataFrame({"${END}": ["2024/06/18", sys.argv[3]]}), out=sys.argv[2], backend="slurm")
"""


def stop_in_the_midst(town, out, end):
    """A call that is ended by Ctrl-C while its second member runs."""
    process = subprocess.Popen([sys.executable, "-c", SCRIPT, str(town), str(out), end], stderr=subprocess.DEVNULL,
                               env={**os.environ, "PYTHONPATH": os.pathsep.join(sys.path)}, start_new_session=True)
    while not holders(out / "members" / "0001"):
        assert process.poll() is None
        time.sleep(0.05)
    os.killpg(process.pid, signal.SIGINT)
    process.wait()
    assert holders(out / "members" / "0001")


def test_jobs_outlive_ctrl_c_and_are_waited_for(slurm, tmp_path):
    town, out = make_town(tmp_path, END=""), tmp_path / "out"
    stop_in_the_midst(town, out, "2034/06/18")
    runner = holders(out / "members" / "0001")
    made = ensemble(town, pd.DataFrame({"${END}": ["2024/06/18", "2034/06/18"]}), out=out, backend="slurm")
    assert made.done == ["0000", "0001"] and runner
    assert [path.name for path in (out / "slurm").iterdir()] == []  # there was no second job
    assert not (tmp_path / "out" / "slurm" / "2").exists() and queue() == ""


def test_jobs_of_other_members_are_cancelled(slurm, tmp_path):
    town, out = make_town(tmp_path, END=""), tmp_path / "out"
    stop_in_the_midst(town, out, ENDLESS["END"])
    made = ensemble(town, pd.DataFrame({"${END}": ["2024/06/18", "2024/06/19"]}), out=out, backend="serial")
    assert made.done == ["0000", "0001"]
    assert queue() == "" and not holders(out / "members")


def test_a_job_that_runs_nothing_is_told(slurm, quick, tmp_path, monkeypatch):
    town = make_town(tmp_path)
    monkeypatch.setattr(sys, "executable", "/nowhere/python3")
    with pytest.raises(tv.RunError, match="(?s)run nothing.*nowhere"):
        ensemble(town, pd.DataFrame(index=range(2)), out=tmp_path / "out", backend="slurm")
    assert list(Ensemble.open(tmp_path / "out").status["outcome"]) == ["waiting"] * 2


def test_a_refused_job_is_told(slurm, tmp_path):
    with pytest.raises(tv.RunError, match="sbatch: .*partition"):
        ensemble(make_town(tmp_path), pd.DataFrame(index=range(2)), out=tmp_path / "out", backend="slurm",
                 slurm={"partition": "none"})


def test_without_slurm_it_says_what_to_install(tmp_path, monkeypatch):
    monkeypatch.setenv("PATH", str(tmp_path))
    with pytest.raises(tv.RunError, match="no sbatch on this machine .Debian: slurm-client"):
        ensemble(make_town(tmp_path), pd.DataFrame(index=range(2)), out=tmp_path / "out", backend="slurm")


def test_a_queue_that_is_silent_is_asked_again(tmp_path, monkeypatch):
    from tarnvelde.ensemble_backends import Keeper

    asked = []

    def answer(job):
        asked.append(job)
        raise tv.RunError("squeue: no answer")

    monkeypatch.setattr(ensemble_slurm, "is_in_queue", answer)
    monkeypatch.setattr(ensemble_slurm, "_LONGEST_SILENCE", 1.0)
    task = {"name": "a", "hash": "", "folder": str(tmp_path), "token": ""}
    with pytest.raises(tv.RunError, match="no answer"):
        ensemble_slurm._wait([task], "7", Keeper(None, None))
    assert len(asked) > 1
