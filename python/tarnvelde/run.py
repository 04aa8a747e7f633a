"""Whole runs in one call."""
from __future__ import annotations

import os
import time
from pathlib import Path
from typing import Any, Callable, Dict, Iterable, Mapping, Optional, Tuple, Union

import numpy as np
import pandas as pd

from ._dates import DateLike, from_days
from ._driving import Columns, assign, run_to_end, total_columns
from ._engines import Engines
from ._header import Grade, Level, Phase
from ._places import PathLike, Source, encoded, source_of
from .errors import PhaseError, RunError, TarnveldeError
from .messages import Message
from .model import Model
from .results import ClassResults, Results, TableResults, open_results

FileChoice = Union[None, bool, PathLike]
"""A path, True for the usual name beside the model, False for no file, None for what is usual."""


class Run:
    """A run that is over: its results, balances and messages.

    nodes, links, subcatchments, system, tables, object(), to_xarray(), to_parquet(): as those of Results, by period.
    totals: frames of sums, peaks and balances by class ("nodes", "links", "subcatchments", "lid_units", "system").
    balance: the verdict, see Model.balance; causes: what makes the errors. messages, warnings: what the engine said.
    report: its text. files: paths by use ("report", "results", "database", "state"). start, end, now: dates;
    is_complete: whether it reached its end. wall_time: s.
    """

    def __init__(self, source: Source) -> None:
        self.name = source.name
        self.files: Dict[str, Path] = {}
        self.messages: Tuple[Message, ...] = ()
        self.balance = pd.DataFrame()
        self.totals: Dict[str, pd.DataFrame] = {}
        self.start = self.end = self.now = np.datetime64("NaT")
        self.steps = 0
        self.is_complete = False
        self.wall_time = 0.0
        self._results: Optional[Results] = None

    @property
    def causes(self) -> pd.DataFrame:
        """The places that make the errors of the balance: row of the balance, class, id, missing (m3 or kg), share."""
        causes: pd.DataFrame = self.balance.attrs.get("causes", pd.DataFrame())
        return causes

    @property
    def warnings(self) -> Tuple[Message, ...]:
        """Warnings among the messages."""
        return tuple(message for message in self.messages if message.level == Level.WARNING)

    @property
    def grade(self) -> str:
        """The worst grade of the balance: "nothing", "green", "amber" or "red"."""
        grades = [Grade[grade.upper()] for grade in self.balance.get("grade", [])]
        return max(grades, default=Grade.NOTHING).name.lower()

    @property
    def report(self) -> str:
        """The text of the report. PhaseError if none was written."""
        if "report" not in self.files:
            raise PhaseError("the run has no report")
        return self.files["report"].read_text("utf-8", "replace")

    @property
    def results(self) -> Results:
        """Results, period by period. PhaseError if the run has none."""
        if self._results is None:
            for use in ("results", "database"):
                if use in self.files:
                    self._results = open_results(self.files[use])
                    break
            else:
                raise PhaseError("the run has no results")
        return self._results

    @property
    def nodes(self) -> ClassResults:
        """Results of nodes."""
        return self.results.nodes

    @property
    def links(self) -> ClassResults:
        """Results of links."""
        return self.results.links

    @property
    def subcatchments(self) -> ClassResults:
        """Results of subcatchments."""
        return self.results.subcatchments

    @property
    def system(self) -> pd.DataFrame:
        """Results of the whole model."""
        return self.results.system

    @property
    def tables(self) -> Mapping[str, TableResults]:
        """Results as the tables of the files."""
        return self.results.tables

    @property
    def times(self) -> pd.Index:
        """Dates of the reports."""
        return self.results.times

    def object(self, identifier: str, table: Optional[str] = None) -> pd.DataFrame:
        """Results of one object."""
        return self.results.object(identifier, table)

    def to_xarray(self) -> Any:
        """Results as an xarray.Dataset."""
        return self.results.to_xarray()

    def to_parquet(self, path: PathLike, word: str = "nodes") -> None:
        """Results.to_parquet."""
        self.results.to_parquet(path, word)

    def __repr__(self) -> str:
        state = "complete" if self.is_complete else "stopped"
        return f"<Run of {self.name}: {state}, {self.start} to {self.now}, balance {self.grade}>"


def run(project: Any, *, report: FileChoice = None, results: FileChoice = None, database: FileChoice = None,
        until: Optional[DateLike] = None, settings: Optional[Mapping[str, Any]] = None,
        save_state: Optional[PathLike] = None, load_state: Union[None, bytes, PathLike] = None,
        hot_start: Union[None, bytes, PathLike] = None, threads: int = 1, engines: Optional[Engines] = None,
        scratch: Optional[PathLike] = None, keep_loads: bool = False, tell_warnings: bool = True,
        database_with: Iterable[str] = (),
        progress: Optional[Callable[[float, np.datetime64], None]] = None) -> Run:
    """Runs a project from its start to its end.

    project: path of a project file, or a Project. report, results, database: where the files go. Of a project file
    without further words report and results go beside it, MODEL.rpt and MODEL.bin, as by the command line; `False`
    leaves a file out, `database=True` is MODEL.db in place of MODEL.bin. database_with: what the database holds besides
    its tables: "index" by object and date, tables of "units" and "dates", "full" for values in single precision and not
    to six decimals. A Project has no files but those that are
    named. Results without a file are kept in memory.

    until: date to stop at. settings: parameters before the start, as {"subcatchment/S07/imperviousness": 85,
    "subcatchment/*/width": 100, "land_use/HOUSES/buildup_rate/TSS": 0.4}. save_state: file for the state at the end.
    load_state: state to go on from; hot_start: state whose water is there at the start. threads, engines, scratch,
    keep_loads, tell_warnings: see Model. progress: called with the share that is done and the date, some times a
    second.

    ProjectError if the project has errors; RunError if the engine ends the run, whose attribute `run` has the results
    so far; KeyboardInterrupt leaves complete files of the run so far. """
    begin = time.perf_counter()
    source = source_of(project)
    done = Run(source)
    files = _name_files(source, report, results, database)
    failure: Optional[BaseException] = None
    with Model(source, report=files.get("report"), engines=engines, scratch=scratch, threads=threads,
               tell_warnings=tell_warnings, keep_loads=keep_loads) as model:
        assign(model, settings or {})
        in_memory = "results" not in files and "database" not in files
        model.start(files.get("results"), files.get("database"), memory=in_memory,
                    database_with=database_with)
        try:
            if load_state is not None:
                model.restore(load_state)
            if hot_start is not None:
                model.hot_start(hot_start)
            done.steps = run_to_end(model, until, None if progress is None else _hearing(progress))
        except (TarnveldeError, KeyboardInterrupt) as error:
            failure = error
        failure = _look(model, done, failure, save_state)
        if in_memory:
            done._results = model.results()
        for finish in (model.write_report, model.end):
            try:
                finish()
            except TarnveldeError as error:
                failure = failure or error
        done.messages = tuple(model.messages())
    if save_state is not None:
        files["state"] = Path(save_state)
    done.files = {use: path for use, path in files.items() if path.exists()}
    done.wall_time = time.perf_counter() - begin
    if failure is not None:
        if isinstance(failure, RunError):
            failure.run = done
        raise failure
    return done


def _hearing(progress: Callable[[float, np.datetime64], None]) -> Callable[[Any], None]:
    """What takes the clock, and tells a user's function of it."""
    return lambda clock: progress(float(clock.progress), from_days(clock.now))


def _name_files(source: Source, report: FileChoice, results: FileChoice, database: FileChoice) -> Dict[str, Path]:
    """Paths of the files of a run, by use."""
    files: Dict[str, Path] = {}
    choices = {"report": (report, ".rpt"), "results": (results, ".bin"), "database": (database, ".db")}
    for use, (choice, extension) in choices.items():
        if choice is None:
            is_usual = use == "report" or (use == "results" and not database)
            choice = is_usual and source.path is not None
        if choice is True:
            if source.path is None:
                raise ValueError(f"{use}: a project without a file needs a path")
            files[use] = source.path.with_suffix(extension)
        elif choice is not False:
            files[use] = Path(os.fsdecode(choice))
    return files


def _look(model: Model, done: Run, failure: Optional[BaseException],
          save_state: Optional[PathLike]) -> Optional[BaseException]:
    """Takes what is to be known of a run before it ends; what went wrong first."""
    clock = model._clock()
    done.start, done.end, done.now = (from_days(date) for date in (clock.start, clock.end, clock.now))
    done.is_complete = failure is None and model.phase == Phase.FINISHED
    try:
        done.balance = model.balance()
        done.totals = totals_of(model)
        if save_state is not None and failure is None:
            code = model._try("tv_saveStateFile", encoded(save_state))
            if code:
                raise model._error(code, f"cannot save the state {save_state}")
    except TarnveldeError as error:
        return failure or error
    return failure


def totals_of(model: Model) -> Dict[str, pd.DataFrame]:
    """Sums, peaks and balances of a run by class: frames with a row for each object; those with a value for each
    pollutant have columns as "runoff_mass[TSS]". Units are in `.attrs["units"]`."""
    return {word: frame_of(columns) for word, columns in total_columns(model).items()}


def frame_of(columns: Columns) -> pd.DataFrame:
    """Columns as a frame."""
    values = np.array(columns.values).reshape(len(columns.titles), len(columns.ids)).T
    frame = pd.DataFrame(values, index=pd.Index(columns.ids, name="id"), columns=columns.titles)
    frame.attrs["units"] = columns.units
    return frame


def check(project: Any, *, engines: Optional[Engines] = None) -> Tuple[Message, ...]:
    """Reads and validates a project, and leaves no file behind; what the engine says of it, warnings among them (they
    are returned here, and not raised as warnings of Python). ProjectError if it has errors."""
    import warnings

    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        with Model(project, engines=engines) as model:
            return tuple(model.messages())
