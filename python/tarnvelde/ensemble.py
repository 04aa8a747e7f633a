"""Ensembles: a project run many times, each time with other parameters, files or texts.

    members = pd.DataFrame({"subcatchment/*/imperviousness": [40, 60, 80]}, index=["low", "middle", "high"])
    e = tv.ensemble("town.inp", members, out="scan")
    e.frame("nodes", "inflow", ["N4"]).max()

A call goes on where one before has ended, and does what is missing alone.
"""
from __future__ import annotations

import contextlib
import os
from pathlib import Path
from typing import (Any, Callable, ContextManager, Dict, Iterable, Iterator, List, Mapping, Optional, Sequence, Tuple,
                    Union)

import pandas as pd

from ._engines import Engines
from ._places import PathLike, source_of
from .ensemble_backends import Keeper, Pool, run_serial, usable_cores
from .ensemble_catalogue import FILE, Catalogue, Lock, make_folder
from .ensemble_members import Task, check_options, make_tasks, read_table
from .ensemble_progress import Progress, ProgressChoice
from .ensemble_worker import Outcome, log_of, read_outcome, read_totals
from .errors import UnknownError, ValueRefused
from .events import event_totals, events
from .results import Results, open_results

BACKENDS = ("processes", "serial", "dask", "slurm")
_RESULTS = ("model.bin", "model.db")


class Ensemble:
    """An ensemble in a folder: what became of its members, and their results. `ensemble` makes one, Ensemble.open reads
    one that is there, also while it is being run. Members are those of the table that was run last."""

    def __init__(self, folder: PathLike) -> None:
        self.folder = Path(folder)
        with Catalogue(self.folder, False):
            pass

    @classmethod
    def open(cls, folder: PathLike) -> Ensemble:
        """The ensemble in a folder. FileNotFoundError if there is none, ResultsError if its catalogue is damaged."""
        return cls(folder)

    # --- members -----------------------------------------------------------------------------------------------------

    @property
    def status(self) -> pd.DataFrame:
        """What became of each member: outcome ("waiting", "running", "done", "failed" or "killed"), code of the error,
        message, seconds that it took in all, run_seconds of these in the engine, place: the machine."""
        columns = ["outcome", "code", "message", "seconds", "run_seconds", "place"]
        rows = self._rows("name", *columns)
        return pd.DataFrame([row[1:] for row in rows], columns=columns, index=_index([row[0] for row in rows]))

    @property
    def members(self) -> pd.DataFrame:
        """The table of members."""
        import json

        with Catalogue(self.folder, False) as catalogue:
            columns = catalogue.setting("columns", [])
        rows = self._rows("name", "row")
        cells = [json.loads(row) for _, row in rows]
        return pd.DataFrame({column: [row[column] for row in cells] for column in columns}, columns=columns,
                            index=_index([name for name, _ in rows]))

    def messages(self, name: str) -> List[Dict[str, Any]]:
        """What the engine said of a member: dictionaries with level, code, name, text, section, line, words, object,
        severity, effect, advice, date, and place: how it reads. KeyError."""
        import json

        return list(json.loads(self._find(name, "messages")))

    def log(self, name: str) -> str:
        """How a member ended, what the engine said of it, and what its process printed meanwhile. KeyError."""
        return log_of(self._find(name, "outcome"), self._find(name, "message"), self.messages(name),
                      self._find(name, "printed"))

    def _find(self, name: str, column: str) -> Any:
        with Catalogue(self.folder, False) as catalogue:
            found = catalogue.find(name, column)
        if found is None:
            raise UnknownError(f'there is no member "{name}"')
        return found

    def _rows(self, *columns: str) -> List[Tuple[Any, ...]]:
        with Catalogue(self.folder, False) as catalogue:
            return list(catalogue.rows(*columns))

    def _named(self, *outcomes: str) -> List[str]:
        return [name for name, outcome in self._rows("name", "outcome") if outcome in outcomes]

    @property
    def done(self) -> List[str]:
        """Members that are done."""
        return self._named("done")

    @property
    def failed(self) -> List[str]:
        """Members that have failed, or whose process was killed."""
        return self._named("failed", "killed")

    def __len__(self) -> int:
        return len(self._rows("name"))

    def __repr__(self) -> str:
        counts: Dict[str, int] = {}
        for _, outcome in self._rows("name", "outcome"):
            counts[outcome] = counts.get(outcome, 0) + 1
        text = ", ".join(f"{count} {outcome}" for outcome, count in counts.items())
        return f"<Ensemble in {self.folder}: {text or 'no members'}>"

    # --- results -----------------------------------------------------------------------------------------------------

    def member_folder(self, name: str) -> Path:
        """The folder of a member that is done. KeyError for any other."""
        outcome = self._find(name, "outcome")
        if outcome != "done":
            raise UnknownError(f'member "{name}" isn\'t done: it is {outcome}')
        return self.folder / "members" / name

    def results(self, name: str) -> Results:
        """Results of a member that is done, period by period. KeyError for any other, or if none were kept."""
        return _open(self.member_folder(name), name)

    def totals(self, word: str) -> pd.DataFrame:
        """Sums, peaks and balances of the run, as tarnvelde.run.totals_of: of all members that are done, by (member,
        id). word: "system", "subcatchments", "lid_units", "nodes" or "links". UnknownError for any other, or if no
        member has such objects."""
        frames = {name: totals[word] for name, totals in self._totals().items() if word in totals}
        if not frames or word in ("balance", "causes"):
            raise UnknownError(f'there are no totals of "{word}": words are system, subcatchments, lid_units, nodes '
                               "and links, of models that have such objects, in members that are done")
        frame = pd.concat(frames, names=["member", "id"])
        frame.attrs["units"] = {key: unit for one in frames.values() for key, unit in one.attrs["units"].items()}
        return frame

    def balance(self) -> pd.DataFrame:
        """The verdicts on the runs, as Model.balance, by (member, row)."""
        frames = {name: totals["balance"] for name, totals in self._totals().items()}
        if not frames:
            return pd.DataFrame(index=pd.MultiIndex.from_tuples([], names=["member", "row"]))
        frame = pd.concat(frames, names=["member", "row"])
        frame.attrs["units"] = {"in": "m3 or kg", "missing": "m3 or kg", "error": "%"}
        return frame

    def _totals(self) -> Dict[str, Dict[str, Any]]:
        return {name: read_totals(self.folder / "members" / name) for name in self.done}

    def frame(self, word: str, wanted: Any, ids: Optional[Sequence[str]] = None) -> pd.DataFrame:
        """Results of all members that are done side by side: time x (member, id). word: "nodes", "links",
        "subcatchments" or "system"; wanted: as of results.nodes[...], a variable, or variable and pollutant; ids: of
        the objects that are wanted, all if none are given. UnknownError. Where members report at other times values
        are nan."""
        if word not in ("nodes", "links", "subcatchments", "system"):
            raise UnknownError(f'results are of nodes, links, subcatchments or system, not of "{word}"')
        frames = {}
        attributes: Dict[str, Any] = {}
        for name in self.done:
            with self.results(name) as results:
                frames[name] = one = _frame_of(results, word, wanted, ids, name)
                attributes = dict(one.attrs)
        if not frames:
            return pd.DataFrame(columns=pd.MultiIndex.from_tuples([], names=["member", "id"]))
        frame = pd.concat(frames, axis=1, names=["member", "id"])
        frame.attrs.update(attributes)
        return frame

    def events(self, objects: Union[None, str, Iterable[str]] = None, **how: Any) -> pd.DataFrame:
        """Events of flow, as of tarnvelde.events and with its arguments, of all members that are done: by member and
        number of the event."""
        return self._gather(events, ["member", "event"], objects, how)

    def event_totals(self, objects: Union[None, str, Iterable[str]] = None, **how: Any) -> pd.DataFrame:
        """Sums over the events, as of tarnvelde.event_totals and with its arguments, of all members that are done: by
        (member, table, object)."""
        return self._gather(event_totals, ["member", "table", "object"], objects, how)

    def _gather(self, ask: Callable[..., pd.DataFrame], names: List[str], objects: Union[None, str, Iterable[str]],
                how: Mapping[str, Any]) -> pd.DataFrame:
        frames = {}
        wanted = objects if objects is None or isinstance(objects, str) else list(objects)
        for name in self.done:
            with self.results(name) as results:
                frames[name] = ask(results, wanted, **how)
        if not frames:
            return pd.DataFrame(index=pd.MultiIndex.from_tuples([], names=names))
        full = {name: frame for name, frame in frames.items() if len(frame)} or frames
        frame = pd.concat(full, names=names)
        frame.attrs["units"] = next(iter(frames.values())).attrs["units"]
        return frame

    def to_zarr(self, path: PathLike, *, members: Optional[Sequence[str]] = None,
                variables: Optional[Sequence[str]] = None) -> None:
        """Writes results of all members that are done, or of these, as one dataset (member, time, object) in a folder
        after Zarr: variables, coordinates and units as of Results.to_xarray, or these variables of them alone. One
        member is in memory at once. Members that end earlier are filled up with nan; ValueError for one with other
        objects or times. ImportError without xarray and zarr."""
        from .ensemble_collect import write_zarr

        write_zarr(self, path, members, variables)

    def to_netcdf(self, path: PathLike, *, members: Optional[Sequence[str]] = None,
                  variables: Optional[Sequence[str]] = None) -> None:
        """Likewise in a NetCDF-4 file. ImportError without xarray and netCDF4."""
        from .ensemble_collect import write_netcdf

        write_netcdf(self, path, members, variables)

    def to_parquet(self, path: PathLike, word: str = "nodes", *, members: Optional[Sequence[str]] = None) -> None:
        """Writes results of a class of objects as a Parquet file, a row for each member, time and object. One member is
        in memory at once. ImportError without pyarrow."""
        from .ensemble_collect import write_parquet

        write_parquet(self, path, word, members)

    def to_xarray(self, *, members: Optional[Sequence[str]] = None) -> Any:
        """Results as an xarray.Dataset (member, time, object), whose values are read when they are asked for.
        ImportError without xarray and dask."""
        from .ensemble_collect import lazy_dataset

        return lazy_dataset(self, members)


def _index(names: Sequence[str]) -> pd.Index:
    return pd.Index(list(names), name="member", dtype=object)


def _open(folder: Path, name: str) -> Results:
    for file in _RESULTS:
        if (folder / file).exists():
            return open_results(folder / file)
    raise UnknownError(f'member "{name}" has no results: none were kept')


def _frame_of(results: Results, word: str, wanted: Any, ids: Optional[Sequence[str]], name: str) -> pd.DataFrame:
    """A variable of objects of one member."""
    if word == "system":
        system = results.system
        if wanted not in system.columns:
            raise UnknownError(f'system has no results "{wanted}"')
        one = system[[wanted]].set_axis(pd.Index(["System"], name="id"), axis=1)
        one.attrs.update({"unit": system.attrs["units"][wanted], "variable": wanted, "pollutant": ""})
        return one
    one = getattr(results, word)[wanted]
    if ids is None:
        return one
    if isinstance(ids, str):
        ids = [ids]
    missing = [identifier for identifier in ids if identifier not in one.columns]
    if missing:
        raise UnknownError(f'member {name}: {word} have no "{missing[0]}" with {wanted}')
    chosen = one[list(ids)]
    chosen.attrs.update(one.attrs)
    return chosen


# --- running ---------------------------------------------------------------------------------------------------------

def ensemble(project: Any, members: Any, *, out: PathLike, backend: str = "processes", jobs: Optional[int] = None,
             client: Any = None, keep: Sequence[str] = ("results",), results: str = "binary",
             engines: Optional[Engines] = None, threads: int = 1, progress: ProgressChoice = None,
             timeout: Optional[float] = None, retry: bool = False, slurm: Optional[Mapping[str, Any]] = None,
             chunk: Optional[int] = None) -> Ensemble:
    """Runs a project once for each row of a table, and keeps the outcome in a folder.

    project: path of a project file, or a Project. members: a DataFrame, or the path of a CSV file. Its index (of a CSV
    the column "member") names the members; without one they are "0000", "0001", ... Its columns are

        class/ID/variable, class/*/variable, with /pollutant added where the variable has a value for each pollutant:
                            a parameter, set before the start; an empty cell leaves what the project has
        ${NAME}             what replaces ${NAME} in the project's text
        file:NAME           another file in place of the file NAME that the project reads
        until, hot_start, load_state    as the arguments of `run`
        seed                an integer that is recorded, and replaces ${seed}

    out: the folder. out/catalogue.db lists the members, out/members/NAME has what each of them leaves: model.bin (or
    model.db with results="database"), model.rpt and model.sti if `keep` has "report" and "state" beside "results",
    model.inp where the text was changed, outcome.json with the totals of the run, and log.txt where it failed or
    printed something.

    backend: "processes" on this machine, as many at once as `jobs`, or as cores can be used; "serial" in this process;
    "dask" with a distributed.Client as `client`; "slurm" as array jobs, `slurm` being options of sbatch as {"time":
    "1:00:00"}, `chunk` the members of a task of the array, `jobs` the tasks at once. threads: of each run. engines: see
    Model. timeout: s that a member may take. progress: None: on terminals, in notebooks; True, False, or a function
    of members ended, failed and in all.

    A member that fails, or whose process dies, doesn't affect others: see `.status`. A second call only runs members
    that are missing, whose row, project or files have changed, or, with retry=True, that have failed.

    ValueRefused, UnknownError, ProjectError, FileNotFoundError for what can't be run, before all runs; RunError if
    the folder is being worked on, or no process can be started. KeyboardInterrupt leaves a folder from which the same
    call goes on. """
    if client is not None and backend == "processes":
        backend = "dask"
    if backend not in BACKENDS:
        raise ValueRefused(f'a back end is one of {", ".join(BACKENDS)}, not {backend!r}')
    if backend == "dask" and client is None:
        raise ValueRefused('the back end "dask" needs client=distributed.Client(...)')
    if jobs is not None and jobs < 1:
        raise ValueRefused(f"jobs are at least 1, not {jobs}")
    options = check_options(results, keep, engines, threads, timeout)
    folder = Path(os.fspath(out)).absolute()
    work = _Work(folder, backend, jobs, client, retry, progress, slurm, chunk)
    with work.start_ahead(members, options.threads):
        table = read_table(members)
        tasks = make_tasks(project, table, folder, options)
        make_folder(folder)
        lock = Lock(folder)
        try:
            with Catalogue(folder, True) as catalogue:
                _share_text(project, tasks, folder)
                work.run(catalogue, table, tasks)
        finally:
            lock.release()
    return Ensemble(folder)


def _share_text(project: Any, tasks: Sequence[Task], folder: Path) -> None:
    """Writes a project without a file once, for all members that run it as it stands."""
    if any("shared" in task for task in tasks):
        aside = folder / "model.inp.part"
        aside.write_bytes(source_of(project).text)
        os.replace(aside, folder / "model.inp")


class _Work:
    """A call of `ensemble`."""

    def __init__(self, folder: Path, backend: str, jobs: Optional[int], client: Any, retry: bool,
                 progress: ProgressChoice, slurm: Optional[Mapping[str, Any]], chunk: Optional[int]) -> None:
        from .ensemble_slurm import SlurmOptions

        self.folder = folder
        self.backend = backend
        self.jobs = jobs
        self.client = client
        self.retry = retry
        self.progress = progress
        self.slurm = SlurmOptions(slurm, chunk, jobs)
        self._pool: Optional[Pool] = None

    @contextlib.contextmanager
    def start_ahead(self, members: Any, threads: int) -> Iterator[None]:
        """Starts the processes of a first call, which load their modules while its members are looked at. A later call
        may have nothing for them to do."""
        count = 0 if (self.folder / FILE).exists() or not isinstance(members, pd.DataFrame) else len(members)
        if self.backend != "processes" or not count:
            yield
        else:
            with Pool(self._count_processes(count, threads)) as self._pool:
                yield

    def _count_processes(self, members: int, threads: int) -> int:
        return min(self.jobs or max(1, usable_cores() // threads), members)

    def _found(self, tasks: Sequence[Task]) -> Dict[str, Outcome]:
        """The outcomes that there are."""
        there = set(os.listdir(self.folder / "members"))
        every = {task["name"]: read_outcome(Path(task["folder"]), task["hash"])
                 for task in tasks if task["name"] in there}
        return {name: found for name, found in every.items() if found is not None and found["name"] == name}

    def run(self, catalogue: Catalogue, table: Any, tasks: Sequence[Task]) -> None:
        """Runs what is to be run."""
        from .ensemble_slurm import settle_job

        job = settle_job(catalogue, tasks, self.backend == "slurm")
        before = self._found(tasks)
        known = {name: found for name, found in before.items()
                 if (found["outcome"] == "done" or not self.retry) and (not job or name not in job["tasks"])}
        missing = [task for task in tasks if task["name"] not in known]
        with self._start(missing) as pool:  # whose processes load their modules while the catalogue is written
            catalogue.plan(table, tasks, known)
            progress = Progress(self.progress, len(tasks), len(known))
            keeper = Keeper(catalogue, progress)
            try:
                if pool is not None:
                    pool.run(missing, keeper, before)
                elif missing:
                    self._run(missing, catalogue, keeper, job)
            finally:
                keeper.flush()
                catalogue.end()
                progress.close()

    def _start(self, tasks: Sequence[Task]) -> ContextManager[Optional[Pool]]:
        if self._pool is not None or self.backend != "processes" or not tasks:
            return contextlib.nullcontext(self._pool)
        return Pool(self._count_processes(len(tasks), tasks[0]["threads"]))

    def _run(self, tasks: Sequence[Task], catalogue: Catalogue, keeper: Keeper, job: Optional[Dict[str, Any]]) -> None:
        if self.backend == "serial":
            run_serial(tasks, keeper)
        elif self.backend == "dask":
            from .ensemble_dask import run_dask

            run_dask(tasks, self.client, keeper, self.folder)
        else:
            from .ensemble_slurm import run_slurm

            run_slurm(tasks, self.folder, catalogue, keeper, self.slurm, job)
