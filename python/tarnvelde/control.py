"""Control: an environment in which controllers learn, and the choice of what is best by looking ahead."""
from __future__ import annotations

import math
from typing import Any, Callable, Dict, Iterator, List, Mapping, NamedTuple, Optional, Sequence, Tuple, Union

import numpy as np
from numpy.typing import NDArray

from ._dates import DateLike, DurationLike, from_days, to_days, to_seconds
from ._driving import assign, split_place
from ._engines import Engines
from ._header import Code, NO_POLLUTANT, Phase
from ._places import PathLike
from ._quantities import ModelObject, PollutantQuantity, Quantity, target_of
from ._spaces import box
from .errors import PhaseError, RunError, TarnveldeError, UnknownError
from .model import Model, State

Numbers = NDArray[np.float32]
Places = Union[Sequence[str], Mapping[str, Tuple[float, float]]]
Plan = Union[Mapping[str, float], Sequence[Mapping[str, float]]]
Reward = Callable[[Model, Mapping[str, float]], float]


# --- places in a model -----------------------------------------------------------------------------------------------

class _Place(NamedTuple):
    """A variable of one object: looked up once, then read and set by numbers."""

    name: str
    object: ModelObject
    variable: str  # that is read
    target: str    # that is set
    pollutant: int

    def read(self, model: Model) -> float:
        return model._value(self.object._class, self.variable, self.object._index, self.pollutant)

    def write(self, model: Model, value: float) -> None:
        model._assign(self.object._class, self.target, self.object._index, self.pollutant, value)


def _find(model: Model, place: str) -> List[_Place]:
    """The variables that a place means, one for each object of "class/*/variable" that has it. UnknownError."""
    word, identifier, variable, pollutant = split_place(model, place)
    found: List[_Place] = []
    if word == "system":
        objects: Dict[str, ModelObject] = {"": model.system}
    elif identifier == "*":
        group = model.group(word)
        objects = {own: group[number] for number, own in enumerate(group.ids)}
    else:
        objects = {identifier: model.group(word)[identifier]}
    for own, each in objects.items():
        quantity = getattr(type(each), variable, None)  # by its other name, too, if it has one
        if not isinstance(quantity, (Quantity, PollutantQuantity)):
            continue
        if isinstance(quantity, PollutantQuantity) == (pollutant is None):
            raise UnknownError(f'"{place}": {variable} {"goes" if pollutant is None else "does not go"} by pollutant',
                               Code.ERROR_VARIABLE)
        target = target_of(type(each), quantity) if isinstance(quantity, Quantity) else quantity.name
        number = NO_POLLUTANT if pollutant is None else model._pollutant(pollutant)
        name = place if identifier != "*" else place.replace("/*/", f"/{own}/", 1)
        found.append(_Place(name, each, quantity.name, target, number))
    if not found:
        raise UnknownError(f'"{place}": there is no variable "{variable}"', Code.ERROR_VARIABLE)
    return found


def _set(model: Model, values: Mapping[str, float]) -> None:
    for place, value in values.items():
        for each in _find(model, place):
            each.write(model, float(value))


# --- looking ahead ---------------------------------------------------------------------------------------------------

class Choice(NamedTuple):
    """What was found by looking ahead: the best candidate, its number, its cost, and the costs of all, in their
    order; nan of those with which the engine ended the run."""

    best: Plan
    number: int
    cost: Any
    costs: List[Any]


def look_ahead(model: Model, candidates: Sequence[Plan], horizon: DurationLike, cost: Callable[[Model], Any], *,
               twin: Optional[Model] = None) -> Choice:
    """Tries candidates on a twin of a model, from its present state, and chooses the one of the least cost.

        choice = tv.look_ahead(m, [{"orifices/GATE/setting": s} for s in (0.2, 0.5, 1.0)], "30min",
                               lambda twin: twin.outfalls["RIVER"].inflow_volume)
        m.orifices["GATE"].setting = choice.best["orifices/GATE/setting"]

    model: a run between two steps, which stays as it is. candidates: values by place, each set in the twin as by
    `m.pumps["P1"].setting = 1.0`; or a list of these, a plan, whose parts follow one another in equal parts of the
    horizon. horizon: how far to look, at most to the end of the run. cost: called with the twin there; a number, or a
    tuple of which the first numbers that differ count. Among equals the first candidate is chosen. twin: a clone of the
    model that is kept from call to call, which saves the cloning; it must have the model's project.

    The rain to come is for the twin what its project says. A candidate with which the engine ends the run, or
    whose cost is nan, is never chosen; RunError if there is no other. PhaseError if no run goes on; ValueError without
    candidates. """
    if candidates and (isinstance(candidates, (str, Mapping)) or not all(
            isinstance(part, Mapping) for plan in candidates
            for part in ([plan] if isinstance(plan, Mapping) else plan))):
        raise TypeError('candidates are a list, each {"orifices/GATE/setting": 0.5} or a list of these')
    if twin is model:
        raise ValueError("a model can't be its own twin: give a clone")
    if not candidates:
        raise ValueError("there is nothing to choose from: no candidates are given")
    seconds = to_seconds(horizon)
    if model.phase != Phase.STARTED:
        raise PhaseError(f"there is nothing ahead: the run is {model.phase.name.lower()}", Code.ERROR_NOT_STARTED)
    state = model.state()
    own = twin if twin is not None else model.clone()
    costs: List[Any] = []
    best = -1
    failure: Optional[RunError] = None
    try:
        for number, candidate in enumerate(candidates):
            try:
                costs.append(_try_candidate(own, state, candidate, seconds, cost))
            except RunError as error:
                failure = error
                costs.append(float("nan"))
            if _is_number(costs[-1]) and (best < 0 or costs[-1] < costs[best]):
                best = number
    finally:
        if own is not twin:
            own.close()
    if best < 0:
        raise RunError(f"no candidate has a cost that is a number{f': {failure}' if failure else ''}")
    return Choice(candidates[best], best, costs[best], costs)


def _is_number(cost: Any) -> bool:
    return not any(math.isnan(part) for part in (cost if isinstance(cost, tuple) else (cost,)))


def _try_candidate(twin: Model, state: State, candidate: Plan, seconds: float, cost: Callable[[Model], Any]) -> Any:
    """Puts the twin into the state of the model, runs it ahead with a candidate, and asks for the cost."""
    if twin.phase == Phase.FAILED:  # of an earlier candidate: such a run takes no state
        twin.end()
    twin.restore(state)
    parts = [candidate] if isinstance(candidate, Mapping) else list(candidate) or [{}]
    clock = twin._clock()
    for number, part in enumerate(parts, 1):
        if twin.phase == Phase.STARTED:  # a plan may reach beyond the end of the run
            _set(twin, part)
            twin._advance("tv_runUntil", min(clock.now + seconds * number / len(parts) / 86400.0, clock.end))
    return cost(twin)


# --- environment -----------------------------------------------------------------------------------------------------

class _Scenario:
    """A project with settings, opened when it is first asked for, and the state at its begin."""

    def __init__(self, project: Any, settings: Mapping[str, Any]) -> None:
        self.project = project
        self.settings = settings
        self.model: Optional[Model] = None
        self.state: Optional[State] = None
        self.observed: List[_Place] = []
        self.acted: List[_Place] = []
        self.watched: List[_Place] = []

    def close(self) -> None:
        model, self.model, self.state = self.model, None, None
        if model is not None:
            model.close()


class ControlEnvironment:
    """A project as an environment for reinforcement learning, in the form that gymnasium has made usual.

        env = tv.ControlEnvironment("town.inp", observe=["tanks/T1/depth", "system/rain"], act=["pumps/P1/setting"],
                                    reward=lambda m, before: before["outfalls/RIVER/inflow_volume"]
                                    - m.outfalls["RIVER"].inflow_volume,
                                    watch=["outfalls/RIVER/inflow_volume"], every="5min")
        observation, info = env.reset(seed=1)
        observation, reward, terminated, truncated, info = env.step(env.action_space.sample())

    project: path of a project file, or a Project. observe: places that are seen, "class/ID/variable[/pollutant]", or
    "class/*/variable" of all objects that have it; as a mapping with their bounds, {"tanks/T1/depth": (0, 3)}, else
    without any. act: places that are set, with bounds if they are no settings (0 ... 1). reward: called after each step
    with the model and what was observed and watched before it, by place. watch: further places for the reward. every:
    time between two actions. settings: see `tarnvelde.run`. scenarios: a list of projects, of settings (on top of
    those), or of pairs of both; each reset chooses one by its seed, or the one that options={"scenario": number} names.
    begin: date at which the controller takes over, until when the project's own rules run. until: date of the end.
    ends: called with the model after each step, says whether the episode is over before that.

    Observations and actions are arrays of single precision in the order of the places; `observation_space` and
    `action_space` are Boxes, of gymnasium where it is installed (then this class is a gymnasium.Env, too), else with
    the same names. An episode ends as `truncated` with the run, and as `terminated` as `ends` says. A first reset opens
    the scenario's project, each further one restores its state, which takes hardly any time; models inside nodes
    that have no states are opened again. keep_open: how many scenarios are kept open. threads, engines, scratch: see
    Model. """

    metadata: Dict[str, Any] = {"render_modes": []}
    render_mode: Optional[str] = None

    def __new__(cls, *arguments: Any, **options: Any) -> ControlEnvironment:
        """With gymnasium the class is one of its environments, too."""
        try:
            from gymnasium import Env
        except ImportError:
            return super().__new__(cls)
        if not issubclass(cls, Env):
            cls = type(cls.__name__, (cls, Env), {"__module__": cls.__module__, "__doc__": cls.__doc__})
        return object.__new__(cls)

    def __init__(self, project: Any, *, observe: Places, act: Places, reward: Reward, every: DurationLike = "5min",
                 watch: Sequence[str] = (), settings: Optional[Mapping[str, Any]] = None,
                 scenarios: Optional[Sequence[Any]] = None, begin: Optional[DateLike] = None,
                 until: Optional[DateLike] = None, ends: Optional[Callable[[Model], bool]] = None,
                 keep_open: int = 8, threads: int = 1, engines: Optional[Engines] = None,
                 scratch: Optional[PathLike] = None) -> None:
        self._scenarios: List[_Scenario] = []
        self._open: List[_Scenario] = []
        self._now: Optional[_Scenario] = None
        for name, places in (("observe", observe), ("act", act), ("watch", watch)):
            if isinstance(places, str):
                raise TypeError(f"{name}: a list of places, not one text: [{places!r}]")
        self._observe, self._act, self._watch = observe, act, list(watch)
        self._reward, self._ends = reward, ends
        self._seconds = to_seconds(every)
        self._begin = None if begin is None else to_days(begin)
        self._until = None if until is None else to_days(until)
        self._keep_open = max(1, keep_open)
        self._options: Dict[str, Any] = {"threads": threads, "engines": engines, "scratch": scratch,
                                         "tell_warnings": False}
        self._chance = np.random.default_rng()
        self._steps: Iterator[Any] = iter(())
        self._is_over = True
        self._before: Dict[str, float] = {}
        self._scenarios = _scenarios_of(project, settings or {}, scenarios)
        try:
            first = self._scenarios[0]
            self._open_scenario(first)
            self._observed = [place.name for place in first.observed]
            self.observation_space = box(*_bounds(first.observed, observe, False))
            self.action_space = box(*_bounds(first.acted, act, True))
        except BaseException:
            self.close()
            raise

    @property
    def model(self) -> Model:
        """The model of the episode, to look at. PhaseError before the first reset and after close."""
        if self._now is None or self._now.model is None:
            raise PhaseError("no episode goes on: reset the environment", Code.ERROR_NOT_STARTED)
        return self._now.model

    @property
    def unwrapped(self) -> ControlEnvironment:
        """The environment itself."""
        return self

    @property
    def np_random(self) -> np.random.Generator:
        """Where scenarios are drawn from."""
        return self._chance

    @np_random.setter
    def np_random(self, generator: np.random.Generator) -> None:
        self._chance = generator

    def _open_scenario(self, scenario: _Scenario) -> None:
        """Opens a scenario's project and runs it to where the controller takes over."""
        while len(self._open) >= self._keep_open:
            self._open.pop(0).close()
        model = scenario.model = Model(scenario.project, **self._options)
        self._open.append(scenario)
        assign(model, scenario.settings)
        model.start()
        if self._begin is not None:
            model._advance("tv_runUntil", self._begin)
        scenario.observed = [each for place in self._observe for each in _find(model, place)]
        scenario.acted = [each for place in self._act for each in _find(model, place)]
        scenario.watched = [each for place in self._watch for each in _find(model, place)]
        try:
            scenario.state = model.state()
        except TarnveldeError:  # a model inside a node that has no states
            scenario.state = None

    def reset(self, *, seed: Optional[int] = None,
              options: Optional[Mapping[str, Any]] = None) -> Tuple[Numbers, Dict[str, Any]]:
        """Begins an episode: the observation, and `time` and `scenario` in a dict. seed: starts the order of scenarios
        again; options: {"scenario": number} names one. """
        if seed is not None:
            self._chance = np.random.default_rng(seed)
        count = len(self._scenarios)
        number = (options or {}).get("scenario")
        if number is None:
            number = int(self._chance.integers(count)) if count > 1 else 0
        if not 0 <= number < count:
            raise ValueError(f"there is no scenario {number}: 0 to {count - 1}")
        scenario = self._scenarios[number]
        if scenario.model is not None and scenario.state is not None and scenario.model.phase != Phase.FAILED:
            scenario.model.restore(scenario.state)
            self._open.remove(scenario)  # the one that was used last is closed last
            self._open.append(scenario)
        elif scenario.model is None or self._now is not None:  # else it was opened just now
            if scenario.model is not None:
                self._open.remove(scenario)
                scenario.close()
            self._open_scenario(scenario)
        self._now = scenario
        if len(scenario.observed) != self.observation_space.shape[0]:
            raise ValueError(f"scenario {number} has {len(scenario.observed)} places that are observed, and the first "
                             f"one {self.observation_space.shape[0]}")
        self._steps = self.model.steps(self._seconds, None if self._until is None else from_days(self._until))
        self._is_over = False
        self._before = self._values()
        return self._observation(), self._info()

    def step(self, action: Any) -> Tuple[Numbers, float, bool, bool, Dict[str, Any]]:
        """Sets the actions and runs on: observation, reward, whether the episode is terminated, whether it is truncated
        by the end of the run, and `time` and `scenario`. PhaseError after the end, ValueError for an action that isn't
        in the space, RunError if the engine ends the run. """
        model = self.model
        if self._is_over or self._now is None:
            raise PhaseError("the episode is over: reset the environment", Code.ERROR_FINISHED)
        values = np.asarray(action, dtype=np.float32)
        if not self.action_space.contains(values):
            raise ValueError(f"{values} is no action: {self.action_space}")
        for place, value in zip(self._now.acted, values):
            place.write(model, float(value))
        self._is_over = True  # stays so if the engine ends the run
        next(self._steps, None)
        reward = float(self._reward(model, self._before))
        terminated = self._ends is not None and bool(self._ends(model))
        clock = model._clock()
        last = clock.end if self._until is None else min(self._until, clock.end)
        truncated = model.phase == Phase.FINISHED or clock.now >= last - 0.5e-3 / 86400.0
        self._is_over = terminated or truncated
        self._before = self._values()
        return self._observation(), reward, terminated, truncated, self._info()

    def _values(self) -> Dict[str, float]:
        now = self._now
        assert now is not None
        return {place.name: place.read(self.model) for place in now.observed + now.watched}

    def _observation(self) -> Numbers:
        now = self._now
        assert now is not None
        return np.array([self._before[place.name] for place in now.observed], dtype=np.float32)

    def _info(self) -> Dict[str, Any]:
        assert self._now is not None
        return {"time": self.model.now, "scenario": self._scenarios.index(self._now)}

    def render(self) -> None:
        """Shows nothing."""

    def close(self) -> None:
        """Closes all models. A second call does nothing."""
        self._now = None
        for scenario in self._open:
            scenario.close()
        self._open = []

    def __enter__(self) -> ControlEnvironment:
        return self

    def __exit__(self, kind: Any, error: Any, trace: Any) -> None:
        self.close()

    def __repr__(self) -> str:
        return (f"<ControlEnvironment of {len(self._scenarios)} scenarios: observes {len(self._observed)} places, acts "
                f"on {self.action_space.shape[0]}, every {self._seconds:g} s>")


def _scenarios_of(project: Any, settings: Mapping[str, Any], given: Optional[Sequence[Any]]) -> List[_Scenario]:
    if given is None:
        return [_Scenario(project, settings)]
    found = []
    for each in given:
        own, extra = each if isinstance(each, tuple) else (project, each) if isinstance(each, Mapping) else (each, {})
        found.append(_Scenario(own, {**settings, **extra}))
    if not found:
        raise ValueError("no scenarios are given")
    return found


def _bounds(places: Sequence[_Place], given: Places, are_actions: bool) -> Tuple[List[float], List[float]]:
    """Lower and upper bounds of places, in their order."""
    lows, highs = [], []
    named = dict(given) if isinstance(given, Mapping) else {}
    for place in places:
        key = place.name
        if key not in named:  # given for a whole class
            pieces = key.split("/")
            key = next((own for own in named if "/*/" in own and own.split("/*/")[0] == pieces[0]
                        and key.endswith("/" + own.split("/*/")[1])), key)
        if key in named:
            low, high = named[key]
        elif not are_actions:
            low, high = -math.inf, math.inf
        elif place.target == "held_setting":
            low, high = 0.0, 1.0
        else:
            raise ValueError(f'"{place.name}" needs bounds: act={{"{place.name}": (low, high)}}')
        if not low < high:
            raise ValueError(f'"{place.name}": the lower bound comes first, not {low} and {high}')
        lows.append(float(low))
        highs.append(float(high))
    return lows, highs
