"""The package without what Python lacks on Windows: here, as no Python of Windows runs these tests."""
import ast
import os
import subprocess
import sys
import textwrap
import types

import pytest
from conftest import ROOT
from ensembles import make_town
from fitting import write_town

import tarnvelde as tv
from tarnvelde import ensemble_catalogue, ensemble_slurm
from tarnvelde.ensemble_backends import _Process

#: What the modules os, signal and time of Python's manual have on Unix alone, as far as a program might think of it.
UNIX = {
    "os": """chown chroot ctermid fchdir fchmod fchown fork forkpty getegid geteuid getgid getgroups getloadavg
             getpgid getpgrp getpriority getresuid getsid getuid getxattr initgroups killpg lchown lockf major makedev
             mkfifo mknod minor nice openpty pathconf pipe2 posix_fadvise posix_fallocate posix_spawn pread preadv
             pwrite pwritev readv
             sched_getaffinity sched_setaffinity sched_yield sendfile setegid seteuid setgid setpgid setpriority setsid
             setuid setxattr statvfs sync sysconf tcgetpgrp ttyname uname wait wait3 wait4 waitid writev O_CLOEXEC
             O_DIRECTORY O_NOFOLLOW O_NONBLOCK O_SYNC O_TMPFILE WEXITSTATUS WIFEXITED WIFSIGNALED WTERMSIG
             WNOHANG""",
    "signal": """SIGALRM SIGBUS SIGCHLD SIGCONT SIGHUP SIGKILL SIGPIPE SIGQUIT SIGSTOP SIGTSTP SIGUSR1 SIGUSR2 SIGXCPU
                 alarm pause pthread_kill pthread_sigmask setitimer sigpending sigwait siginterrupt""",
    "time": "clock_settime pthread_getcpuclockid tzset"}
UNIX = {module: set(names.split()) for module, names in UNIX.items()}
MODULES = {"crypt", "fcntl", "grp", "nis", "posix", "pty", "pwd", "readline", "resource", "syslog", "termios", "tty"}

#: What subprocess itself needs here stays.
LACKING = f"""
import fcntl, os, platform, signal, subprocess, sys
sys.modules["kept"] = fcntl
names = {dict(os=sorted(UNIX["os"]), signal=sorted(UNIX["signal"] - {"SIGKILL", "pthread_sigmask"}))}
for module in names:
    for name in names[module]:
        if hasattr(sys.modules[module], name) and not name.startswith(("W", "O_")):
            delattr(sys.modules[module], name)
for name in {sorted(MODULES - {"posix"})}:
    sys.modules[name] = None
def node():
    print("heard")
    os.write(1, b"low\\n")
    return "here"
platform.node = node
"""


def run_lacking(folder, code, *words):
    """What a Python prints that lacks all of this, as do the processes that it starts."""
    (folder / "modules").mkdir()
    (folder / "modules" / "lacking.py").write_text(LACKING)
    # numpy asks for such names itself while it is loaded, which the processes of an ensemble do without
    (folder / "modules" / "sitecustomize.py").write_text("import os\nif 'LACKING' in os.environ:\n    import lacking\n")
    begin = "import os, pandas\nos.environ['LACKING'] = '1'\nimport lacking\n"
    places = ":".join(map(str, (folder / "modules", ROOT / "python", ROOT / "python" / "tests")))
    done = subprocess.run([sys.executable, "-W", "ignore", "-c", begin + textwrap.dedent(code), *words],
                          capture_output=True, text=True, cwd=folder, env={**os.environ, "PYTHONPATH": places})
    assert done.returncode == 0, done.stderr
    return done.stdout


def test_an_ensemble_runs_in_processes(tmp_path):
    make_town(tmp_path / "town")
    out = run_lacking(tmp_path, """
        import os, sys, types
        assert not hasattr(os, "pread") and not hasattr(os, "uname")
        import tarnvelde as tv
        from tarnvelde import ensemble_catalogue
        import kept, pandas
        table = pandas.DataFrame({"orifice/GATE/orifice_coefficient": [0.5, 0.6, 0.7]}, index=["low", "middle", "high"])
        def locking(file, mode, count):
            assert (mode, count) == (2, 1)
            kept.flock(file, kept.LOCK_EX | kept.LOCK_NB)
        sys.modules["msvcrt"] = types.SimpleNamespace(LK_NBLCK=2, locking=locking)
        ensemble_catalogue.sys = types.SimpleNamespace(platform="win32")
        made = tv.ensemble("town/town.inp", table, out="out", jobs=2)
        assert made.done == list(table.index), made.status["message"].tolist()
        print([made.log(name).count(word) for name in made.done for word in ("done", "heard", "low")])
        held = ensemble_catalogue.Lock(made.folder)
        try:
            tv.ensemble("town/town.inp", table, out="out")
        except tv.RunError as error:
            print("worked on by another process" in str(error))
        held.release()
        print(tv.ensemble("town/town.inp", table, out="out").done == made.done)
        """)
    assert out == f"{[1] * 9}\nTrue\nTrue\n"


def test_a_project_runs_and_is_steered(tmp_path, first_storm):
    out = run_lacking(tmp_path, """
        import sys
        import tarnvelde as tv
        from tarnvelde import control, events, fit, measures, network, sensitivity
        run = tv.run(sys.argv[1], database=True)
        print(sorted(use for use in run.files), len(run.nodes["inflow"]) > 10)
        with tv.Model(sys.argv[1]) as model:
            model.step()
            model.state().save("model.sti")
            model.restore(tv.State.load("model.sti"))
        project = tv.Project.read(sys.argv[1])
        project.write("other.inp", relocate=True)
        print(len(tv.check("other.inp")) == len(tv.check(sys.argv[1])))
        """, str(first_storm))
    assert out == "['database', 'report'] True\nTrue\n"


def test_nothing_is_used_that_is_of_unix_alone_without_a_look():
    found = []
    for file in sorted((ROOT / "python" / "tarnvelde").glob("*.py")):
        text = file.read_text("utf-8")
        tree = ast.parse(text)
        for node in ast.walk(tree):
            names = [alias.name for alias in node.names] if isinstance(node, ast.Import) else []
            names += [node.module] if isinstance(node, ast.ImportFrom) and node.module else []
            found += [(file.name, name) for name in names if name.split(".")[0] in MODULES]
            if (isinstance(node, ast.Attribute) and isinstance(node.value, ast.Name)
                    and node.attr in UNIX.get(node.value.id, ())
                    and f'hasattr({node.value.id}, "{node.attr}")' not in text):
                found.append((file.name, f"{node.value.id}.{node.attr}"))
    assert found == [("ensemble_catalogue.py", "fcntl")]  # where the system isn't Windows


def test_a_folder_that_is_locked_is_said(tmp_path, monkeypatch):
    def refuse(file, mode, count):
        raise PermissionError(13, "Permission denied")

    monkeypatch.setattr(ensemble_catalogue, "sys", types.SimpleNamespace(platform="win32"))
    monkeypatch.setitem(sys.modules, "msvcrt", types.SimpleNamespace(LK_NBLCK=2, locking=refuse))
    with pytest.raises(tv.RunError, match="worked on by another process"):
        ensemble_catalogue.Lock(tmp_path)


def test_slurm_is_missed_in_words(monkeypatch):
    monkeypatch.delattr(os, "getuid")
    with pytest.raises(tv.RunError, match="no Slurm on this system"):
        ensemble_slurm.is_in_queue("7")


def test_a_fault_is_known_by_its_digits():
    process = _Process.__new__(_Process)
    for code, words in ((1, "status 1"), (0xC0000005, "status 0xc0000005"), (-9, "SIGKILL")):
        process.popen = types.SimpleNamespace(wait=lambda code=code: code)
        assert process.way_of_end().endswith(words)


def test_tables_have_the_same_lines_on_every_system(tmp_path, monkeypatch):
    town = write_town(tmp_path)
    flow = tv.run(town, report=False, results=False).nodes["inflow"]["OUT"]
    monkeypatch.setattr(os, "linesep", "\r\n")
    tv.fit(town, {"subcatchment/*/impervious_roughness": (0.005, 0.05)}, {"nodes/OUT/inflow": flow},
           out=tmp_path / "fit", population=5, max_trials=5, backend="serial")
    written = (tmp_path / "fit" / "trials.csv").read_bytes()
    assert b"\r" not in written and written.count(b"\n") == 6
