"""Models as objects: a project, its run, its objects."""
from __future__ import annotations

import ctypes
import os
from pathlib import Path
from typing import TYPE_CHECKING, Any, Dict, Iterable, Iterator, Mapping, Optional, Union

from . import _header as header
from . import _objects as objects
from ._calls import Calls
from ._dates import DateLike, DurationLike, from_days, to_days, to_seconds
from ._engines import Engines, choose_engines
from ._groups import Group, class_of_word
from ._header import Code, DatabaseForm, NO_POLLUTANT, ObjectClass, Phase, Relation
from ._places import PathLike, count_of_threads, encoded, source_of, written_aside
from ._quantities import ModelObject
from .errors import PhaseError, StateError, TarnveldeError, UnknownError

if TYPE_CHECKING:
    import numpy as np
    import pandas as pd
    from numpy.typing import ArrayLike, NDArray

    from .results import Results


class State(bytes):
    """The state of a run between two steps, as bytes. It can be kept, saved, sent to another process, and gone back to
    in any model of the same project."""

    def save(self, path: PathLike) -> None:
        """Writes it into a file, which is put in place when it is whole. Model.restore and the command line take it."""
        with written_aside(path) as file:
            file.write(self)

    @classmethod
    def load(cls, path: PathLike) -> State:
        """Reads a state from a file. Whether it is one shows when a model takes it."""
        return cls(Path(path).read_bytes())


class Model(Calls):
    """A project, opened. Any number of models may be open at once, in any threads; calls of one model wait for each
    other.

        with Model("town.inp") as m:
            m.subcatchments["S07"].imperviousness = 85
            for now in m.steps(every="15min"):
                if m.tanks["T1"].depth > 2.5:
                    m.pumps["P1"].setting = 1.0

    project: path of a project file, or a Project; `Model.from_text` takes text. report: path of the report, none if it
    isn't given. engines: folder of the libraries of models inside nodes, "nested" for projects or "plant" for treatment
    plants inside nodes, or several of these; else those installed with the library, else those of the program.
    scratch: folder for their private copies. threads: that share the work of a step, with the same results.
    tell_warnings: whether warnings are looked for, and raised as warnings of Python. keep_loads: whether balances of
    pollutants are kept for nodes and links.

    ProjectError if the project has errors or can't be read; its messages list each with its place.
    """

    def __init__(self, project: Any, *, report: Optional[PathLike] = None, engines: Optional[Engines] = None,
                 scratch: Optional[PathLike] = None, threads: int = 1, tell_warnings: bool = True,
                 keep_loads: bool = False) -> None:
        self._prepare()
        source = source_of(project)
        try:
            swmm, plants = choose_engines(engines)
            if swmm is not None or plants is not None or scratch is not None:
                private = _folder(scratch)
                self._call("tv_setEngines", _folder(swmm), private, _folder(plants), private)
            self._call("tv_setThreads", count_of_threads(threads))
            self._call("tv_setWarnings", int(tell_warnings))
            target = encoded(report) if report is not None else None
            if source.path is not None:
                code = self._try("tv_open", encoded(source.path), target)
            else:
                text = source.text
                folder = encoded(source.folder) if source.folder is not None else None
                code = self._try("tv_openText", text, len(text), folder, target)
            self._tell()
            if code:
                raise self._project_error(code, source.name)
            if keep_loads:
                self._call("tv_keepLoads", 1)
        except BaseException:
            self.close()
            raise
        self._name = source.name

    @classmethod
    def from_text(cls, text: Union[str, bytes], *, folder: Optional[PathLike] = None, **options: Any) -> Model:
        """Opens a project from text. Names of files in it are relative to the folder, the current one if none is given;
        options are those of Model."""
        from ._places import Source

        data = text.encode("utf-8", "surrogateescape") if isinstance(text, str) else bytes(text)
        return cls(Source(None, data, None if folder is None else Path(folder), "text"), **options)

    # --- life --------------------------------------------------------------------------------------------------------

    def close(self) -> None:
        """Ends a run if there is one, puts its files in place, and closes the project. A second call does nothing.
        RunError if report or results can't be written; the model is closed all the same."""
        with self._lock:
            handle, self._handle = self._handle, None
            if handle is None:
                return
            phase = ctypes.c_int32()
            self._library.tv_getPhase(handle, ctypes.byref(phase))
            failure: Optional[TarnveldeError] = None
            for function, phases in (("tv_end", (Phase.STARTED, Phase.FINISHED)), ("tv_close", list(Phase)[1:])):
                self._library.tv_getPhase(handle, ctypes.byref(phase))
                code = getattr(self._library, function)(handle) if phase.value in phases else 0
                if code and failure is None:
                    self._handle = handle
                    failure = self._error(code)
                    self._handle = None
            code = self._library.tv_free(handle)
            if code == Code.ERROR_BUSY:
                self._handle = handle
                raise self._error(code)
        if failure is not None:
            raise failure

    def __enter__(self) -> Model:
        return self

    def __exit__(self, kind: Any, error: Any, trace: Any) -> None:
        try:
            self.close()
        except TarnveldeError:
            if kind is None:  # else what went wrong first is told
                raise

    def __del__(self) -> None:
        handle = getattr(self, "_handle", None)
        if handle is not None:
            self._handle = None
            self._library.tv_free(handle)

    def __reduce_ex__(self, protocol: Any) -> Any:
        """Two objects must not end one model of the library: a copy is refused."""
        raise TypeError("a Model can't be copied or pickled: make a clone(), or take a state() and open its project "
                        "where it is to go on")

    def __repr__(self) -> str:
        return f"<Model {self._name}: {self.phase.name.lower()}>"

    @property
    def phase(self) -> Phase:
        """The phase of the model: Phase.CLOSED, OPEN, STARTED, FINISHED or FAILED."""
        if self._handle is None:
            return Phase.CLOSED
        phase = ctypes.c_int32()
        self._call("tv_getPhase", ctypes.byref(phase))
        return Phase(phase.value)

    def start(self, results: Optional[PathLike] = None, database: Optional[PathLike] = None, *,
              memory: bool = False, database_with: Iterable[str] = ()) -> None:
        """Starts a run. Results go to a binary file, to a database, into memory (`results()`), or nowhere.
        database_with: what the database holds beyond its tables, of "index", "units", "dates" and "full". """
        form = form_of(database_with)
        with self._lock:
            self._call("tv_setDatabaseForm", form)
            self._call("tv_keepRows", int(memory))
            self._drop_keeper()
            if memory:
                from ._memory import RowKeeper

                self._keeper = RowKeeper(self)
            code = self._try("tv_start", None if results is None else encoded(results),
                             None if database is None else encoded(database))
            if code:
                self._drop_keeper()
            self._tell()
            if code:
                raise self._error(code)

    def _drop_keeper(self) -> None:
        """Forgets the rows of an earlier run. The library must not call what Python gives back, so it is told first."""
        if self._keeper is not None:
            self._call("tv_setPeriodCallback", ctypes.cast(ctypes.c_void_p(), header.PeriodCallback), None)
            self._keeper = None

    def step(self) -> np.datetime64:
        """Makes one routing step; the date that the run has reached. A run is started if none is. PhaseError at its
        end, RunError if the engine ends it."""
        self._advance("tv_step")
        return self.now

    def run_until(self, date: Optional[DateLike] = None) -> np.datetime64:
        """Steps until a date is reached, or, without one, to the end; the date that the run has reached."""
        self._advance("tv_runUntil", header.END if date is None else to_days(date))
        return self.now

    def _advance(self, function: str, *arguments: Any) -> None:
        with self._lock:
            if self.phase == Phase.OPEN:
                self.start()
            code = self._try(function, *arguments)
            if self._keeper is not None:
                self._keeper.raise_failure()
            self._tell()
            if code:
                raise self._error(code)

    def steps(self, every: Optional[DurationLike] = None, until: Optional[DateLike] = None) -> Iterator[np.datetime64]:
        """Runs on, and gives the date after each step, or after each interval: "15min", seconds, timedelta. It ends
        with the run, or at a date. A run is started if none is."""
        seconds = None if every is None else to_seconds(every)
        last = header.END if until is None else to_days(until)
        if self.phase == Phase.OPEN:
            self.start()
        begin = self._clock().now
        count = 0
        while self.phase == Phase.STARTED and self._clock().now < last - 0.5 / 86400.0e3:
            if seconds is None:
                self._advance("tv_step")
            else:
                now = self._clock().now
                while begin + count * seconds / 86400.0 <= now + 0.5 / 86400.0e3:
                    count += 1
                self._advance("tv_runUntil", min(begin + count * seconds / 86400.0, last))
            yield self.now

    def write_report(self) -> None:
        """Writes balances and statistics of the run so far into the report."""
        self._call("tv_report")
        self._tell()

    def end(self) -> None:
        """Ends a run: files of results are put in place. The project stays open and may be run again."""
        code = self._try("tv_end")
        self._tell()
        if code:
            raise self._error(code)

    def results(self) -> Results:
        """Results in memory of a run that was started with `memory=True`, as far as it has come."""
        from .results import Results

        if self._keeper is None:
            raise PhaseError("no results are kept in memory: start(memory=True)", Code.ERROR_NO_ROWS)
        return Results(self._keeper.source())

    # --- clock -------------------------------------------------------------------------------------------------------

    def _clock(self) -> Any:
        clock = header.RawClock()
        self._call("tv_getClock", ctypes.byref(clock))
        return clock

    @property
    def now(self) -> np.datetime64:
        """Date that the run has reached; the start before a first step."""
        return from_days(self._clock().now)

    @property
    def start_date(self) -> np.datetime64:
        """Start of the simulation."""
        return from_days(self._clock().start)

    @property
    def end_date(self) -> np.datetime64:
        """End of the simulation."""
        return from_days(self._clock().end)

    @property
    def progress(self) -> float:
        """How far the run has come, 0 ... 1."""
        return float(self._clock().progress)

    # --- objects -----------------------------------------------------------------------------------------------------

    def group(self, word: str) -> Group[Any]:
        """Objects of a class or kind by its name, as "node", "tanks" or "land_use". UnknownError for any other word."""
        key = class_of_word(word)
        with self._lock:
            if key not in self._groups:
                self._groups[key] = Group(self, *key)
            return self._groups[key]

    def __getattr__(self, name: str) -> Any:
        """The groups of objects: subcatchments, gages, nodes, junctions, tanks, ..., links, pipes, pumps, ..."""
        if name.startswith("_"):
            raise AttributeError(name)
        try:
            return self.group(name)
        except UnknownError:
            raise AttributeError(f'a model has no "{name}"') from None

    if TYPE_CHECKING:
        subcatchments: Group[objects.Subcatchment]
        gages: Group[objects.Gage]
        nodes: Group[objects.Node]
        junctions: Group[objects.Junction]
        tanks: Group[objects.Tank]
        outfalls: Group[objects.Outfall]
        splitters: Group[objects.Splitter]
        swmm_nodes: Group[objects.SwmmNode]
        reactors: Group[objects.Reactor]
        lid_nodes: Group[objects.LidNode]
        plant_nodes: Group[objects.PlantNode]
        links: Group[objects.Link]
        pipes: Group[objects.Pipe]
        pumps: Group[objects.Pump]
        connections: Group[objects.Connection]
        conduits: Group[objects.Conduit]
        weirs: Group[objects.Weir]
        orifices: Group[objects.Orifice]
        pollutants: Group[objects.Pollutant]
        land_uses: Group[objects.LandUse]
        lids: Group[objects.Lid]
        lid_units: Group[objects.LidUnit]
        rules: Group[objects.Rule]
        curves: Group[objects.Curve]
        series: Group[objects.Series]
        patterns: Group[objects.Pattern]

    @property
    def system(self) -> objects.System:
        """The whole model."""
        return objects.System(self, 0, "")

    def get(self, word: str, variable: str, pollutant: Optional[str] = None) -> NDArray[np.float64]:
        """Values of a variable, of all objects of a class or kind, in one call. nan where an object doesn't have it."""
        return self.group(word).array(variable, pollutant)

    def set(self, word: str, variable: str, values: Union[ArrayLike, Mapping[str, float], pd.Series],
            pollutant: Optional[str] = None) -> None:
        """Sets a variable of all objects of a class or kind: one value, an array in their order (nan: stays as it is),
        or values by ID. If one is refused none is set."""
        self.group(word).set(variable, values, pollutant)

    def _pollutant(self, name: Optional[str]) -> int:
        if name is None:
            return NO_POLLUTANT
        if self._pollutants is None:
            self._pollutants = {}
        number = self._pollutants.get(name)
        if number is None:
            number = self._pollutants[name] = self.group("pollutant")[name].index
        return number

    def _release(self, object_class: ObjectClass, name: str, index: int, pollutant: Optional[str]) -> None:
        code = self._try("tv_releaseValue", self._number(object_class, name), index, self._pollutant(pollutant))
        if code:
            raise self._error(code, self._about(object_class, name, index))

    def _related(self, relation: Relation, index: int, target: ObjectClass) -> Optional[ModelObject]:
        related = ctypes.c_int32()
        code = self._try("tv_getRelation", int(relation), index, ctypes.byref(related))
        if code:
            raise self._error(code)
        return None if related.value < 0 else self._object(target, related.value)

    def _object(self, object_class: ObjectClass, index: int) -> ModelObject:
        kind = -1
        if object_class in (ObjectClass.NODE, ObjectClass.LINK):
            number = ctypes.c_int32()
            self._call("tv_getKind", int(object_class), index, ctypes.byref(number))
            kind = number.value
        made = objects.CLASSES[(object_class, kind)]
        return made(self, index, self._identifier(object_class, index))

    def network(self) -> Any:
        """The network as a networkx.MultiDiGraph: nodes by ID with `kind`, links as edges with their ID as key and
        `kind`. ImportError without networkx (Debian: python3-networkx)."""
        from ._graph import graph_of

        return graph_of(self)

    # --- balances ----------------------------------------------------------------------------------------------------

    def _balance(self, object_class: ObjectClass, index: int, pollutant: Optional[str]) -> Dict[str, float]:
        raw = header.RawBalance()
        self._call("tv_getBalance", int(object_class), index, self._pollutant(pollutant), ctypes.byref(raw))
        return {field[0]: float(getattr(raw, field[0])) for field in raw._fields_}

    def balance(self) -> pd.DataFrame:
        """The verdict on the run so far: a row for the water on the land and in the network, and for each pollutant
        likewise, with `part`, `pollutant`, `in` and `missing` (m3 or kg), `error` (%), `grade` and `words`. What causes
        the errors is in `.attrs["causes"]`: a frame with `row`, `class`, `id`, `missing` and `share`."""
        from ._balance import verdict_of

        return verdict_of(self)

    # --- state -------------------------------------------------------------------------------------------------------

    def state(self) -> State:
        """The state of the run, between two steps."""
        with self._lock:
            size = ctypes.c_size_t()
            self._call("tv_getStateSize", ctypes.byref(size))
            buffer = ctypes.create_string_buffer(size.value)
            self._call("tv_saveState", buffer, size.value, ctypes.byref(size))
            return State(memoryview(buffer)[: size.value])

    def restore(self, state: Union[bytes, PathLike]) -> None:
        """Goes back, or ahead, to a state of this project: bytes or a file. The run goes on to the same bits."""
        with self._lock:
            if self.phase == Phase.OPEN:
                self.start()
            self._take_state("tv_restoreState", state)
            if self._keeper is not None:
                self._keeper.take_back()

    def hot_start(self, state: Union[bytes, PathLike]) -> None:
        """Begins with the water of another run of the same network; before the first step."""
        with self._lock:
            if self.phase == Phase.OPEN:
                self.start()
            self._take_state("tv_hotStart", state)

    def _take_state(self, function: str, state: Union[bytes, PathLike]) -> None:
        if isinstance(state, (bytes, bytearray, memoryview)):
            data = bytes(state)
            code = self._try(function, data, len(data))
        else:
            code = self._try(function + "File", encoded(state))
        if code == Code.ERROR_FILE:
            raise StateError(f"{os.fspath(state)!s} can't be read", code)
        if code:
            raise self._error(code)

    def clone(self) -> Model:
        """A second model in the same state, to look ahead with. It has no report and no results."""
        with self._lock:
            made = ctypes.c_void_p()
            self._call("tv_clone", ctypes.byref(made))
        twin = Model.__new__(Model)
        twin._prepare(made.value)
        twin._name = self._name
        twin._told = len(twin.messages())
        return twin


def form_of(parts: Iterable[str]) -> int:
    """The bits of what a database holds beyond its tables. ValueError."""
    forms = {form.name.lower(): form for form in DatabaseForm}
    wanted = [parts] if isinstance(parts, str) else list(parts)
    for part in wanted:
        if part not in forms:
            raise ValueError(f'a database comes with {", ".join(forms)}, not with "{part}"')
    return sum({int(forms[part]) for part in wanted})


def _folder(path: Optional[PathLike]) -> Optional[bytes]:
    """A folder as the library takes it, with a separator at its end."""
    return None if path is None else os.path.join(encoded(path), b"")
