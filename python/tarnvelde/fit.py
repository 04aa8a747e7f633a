"""Finds the values of parameters with which a project agrees best with measured series."""
from __future__ import annotations

import json
import os
from pathlib import Path
from typing import Any, Callable, Dict, List, Mapping, Optional, Tuple, Union

import numpy as np
import pandas as pd
from numpy.typing import NDArray

from . import measures
from ._dates import DurationLike
from ._engines import Engines
from ._parameters import Bounds, Parameters, name_of, places_of, series_of, split_result
from ._places import PathLike
from ._search import WORST, Enough, search
from ._trials import Runner, refuse_if_none, write_text
from .run import Run, run

Values = NDArray[np.float64]
MeasureLike = Union[str, Callable[[pd.Series, pd.Series], float]]


class Fit:
    """A fit that is over.

    best: settings of the best trial, as `tarnvelde.run(..., settings=best)` takes them, with those that all trials had.
    parameters: its values, or factors, by parameter. value: its measure, the mean over the measured series by their
    weights; of measures whose best value is 0 that of their absolute values. number: which trial it was.
    trials: a frame with a row for each trial: a column for each parameter, `value`, the measure of each series where
    there are several, `outcome` and `message` (why one couldn't be run), `generation`.
    measured, simulated: frames of the series, time x place; the simulated ones are those of the best trial.
    reason: why the search ended. out: its folder. """

    def __init__(self, parameters: Parameters, out: Path) -> None:
        self._parameters = parameters
        self._engines: Optional[Engines] = None
        self._means_over: Optional[DurationLike] = None
        self._at_least = 2
        self.out = out
        self.best: Dict[str, Any] = {}
        self.parameters = pd.Series(dtype=np.float64)
        self.value = float("nan")
        self.number = -1
        self.trials = pd.DataFrame()
        self.measured = pd.DataFrame()
        self.simulated = pd.DataFrame()
        self.reason = ""

    def run(self, **options: Any) -> Run:
        """Runs the project with the best settings, into OUT/best.rpt and OUT/best.bin unless `options`, which are those
        of `tarnvelde.run`, say something else."""
        whole: Dict[str, Any] = {"report": self.out / "best.rpt", "results": self.out / "best.bin",
                                 "engines": self._engines}
        for name in ("until", "load_state", "hot_start"):
            if name in self.best:
                whole[name] = self.best[name]
        if options.get("database"):
            whole["results"] = False
        whole.update(options)
        return run(self._parameters.filled(self.best), settings=places_of(self.best), **whole)

    def measures(self) -> pd.DataFrame:
        """All measures of the best trial: a row for each measured series, a column for each measure."""
        rows = {place: measures.compare(self.simulated[place].dropna(), self.measured[place].dropna(),
                                        at_least=self._at_least, means_over=self._means_over)
                for place in self.measured}
        return pd.DataFrame(rows).T

    def plot(self) -> Any:
        """Measured and simulated series, one below the other, as a figure of matplotlib: `figure.savefig("fit.png")`.
        ImportError without matplotlib (Debian: python3-matplotlib)."""
        try:
            from matplotlib.figure import Figure
        except ImportError:
            raise ImportError("a plot needs matplotlib: pip install matplotlib, or Debian's python3-matplotlib"
                              ) from None
        count = len(self.measured.columns)
        figure = Figure(figsize=(9.0, 1.0 + 2.5 * count))
        for axes, place in zip(figure.subplots(count, 1, squeeze=False, sharex=True)[:, 0], self.measured):
            measured, simulated = self.measured[place].dropna(), self.simulated[place].dropna()
            axes.plot(measured.index, measured.to_numpy(), ".", color="black", label="measured")
            axes.plot(simulated.index, simulated.to_numpy(), "-", color="tab:blue", label="simulated")
            axes.set_title(place)
            axes.legend()
        figure.autofmt_xdate()
        return figure

    def __repr__(self) -> str:
        return f"<Fit: {self.value:g} with trial {self.number} of {len(self.trials)}; {self.reason}>"


def fit(project: Any, parameters: Mapping[str, Bounds], measured: Union[Mapping[str, pd.Series], pd.DataFrame], *,
        out: PathLike, measure: MeasureLike = "nse", maximise: bool = False,
        weights: Optional[Mapping[str, float]] = None, means_over: Optional[DurationLike] = None, at_least: int = 2,
        settings: Optional[Mapping[str, Any]] = None, method: Any = None, optimiser: str = "scipy",
        population: Optional[int] = None, max_trials: int = 500, tolerance: float = 1e-4, seed: int = 0,
        keep: bool = False, progress: Optional[Callable[[int, float], None]] = None,
        engines: Optional[Engines] = None, **ensemble_options: Any) -> Fit:
    """Fits parameters of a project to measured series.

        fit = tv.fit("town.inp", {"subcatchment/*/impervious_share": tv.Factor(0.5, 1.5, most=100),
                                  "pipe/*/k": tv.Range(120, 600)},
                     {"nodes/OUT/inflow": series}, out="fit", measure="kge", seed=1)

    project: path of a project file, or a Project. parameters: bounds by place: `Range(20, 90)`, or plainly (20, 90), of
    the value itself, `Factor(0.5, 2)` of a factor on the project's values, which go up and down together, and
    "${NAME}" with a Range for a place of the text. measured: series by places of results, as "nodes/OUT/inflow" or
    "nodes/OUT/concentration/TSS", over time; of a frame the columns are the places. Gaps (nan) don't count.

    measure: one of `tarnvelde.measures.MEASURES`, or a function of (simulated, measured), two Series that are brought
    together already; the less the better unless `maximise`. weights: of the measured series, by place; 1 where none is
    given. means_over, at_least: see `tarnvelde.measures.align`. settings: what all trials have, as that of
    `tarnvelde.run`, and "until", "hot_start", "load_state".

    optimiser, method: "scipy" with "differential_evolution" (the usual), "nelder-mead" (from the project's values;
    trial by trial; finds the next best point, which need not be the best) or "powell"; "optuna" with "tpe" (its
    usual), "cma-es", "random", or a sampler of optuna. population: trials of a generation, which run side by side: 10
    for each parameter, of optuna 8; differential evolution takes a multiple of the number of parameters, from 5 up. The
    same seed and population find the same values, however many jobs run. max_trials: at most so many trials.
    tolerance: the search ends where the badness (1 - efficiency, or the error) within a generation differs by no more.

    out: folder of the fit: trials.csv, which grows with each generation, best.json, and, with `keep`, all generations
    as ensembles; then a fit that is called again with the same arguments does only what is missing. progress: called
    with the number of trials and the best value so far, after each generation. engines and what else is given
    (backend, jobs, client, threads, timeout) goes to `tarnvelde.ensemble`; if nothing is, a trial that is alone in its
    generation runs in this process.

    A trial that fails counts as the worst, and the frame of trials says why. RunError if all of the first generation
    fail; ValueError, UnknownError if parameters or series can't be used. """
    if not isinstance(measured, (Mapping, pd.DataFrame)):
        raise TypeError(f"what was measured is a mapping of places and Series, or a frame, not "
                        f"{type(measured).__name__}")
    goal = _Goal(dict(measured.items()), measure, maximise, dict(weights or {}), means_over, at_least)
    varied = Parameters(project, parameters, settings, engines)
    folder = Path(out)
    folder.mkdir(parents=True, exist_ok=True)
    options = dict(ensemble_options)
    if engines is not None:
        options["engines"] = engines
    log = _Log(varied, goal, Runner(project, folder, keep, options), folder, max_trials, progress)
    if method is None:
        method = "tpe" if optimiser == "optuna" else "differential_evolution"
    reason = search(optimiser, method, log.evaluate, varied.start, population=population, tolerance=tolerance,
                    seed=seed)
    done = log.finish(reason)
    done._engines = engines
    return done


class _Goal:
    """What a trial is measured by."""

    def __init__(self, measured: Dict[str, pd.Series], measure: MeasureLike, maximise: bool, weights: Dict[str, float],
                 means_over: Optional[DurationLike], at_least: int) -> None:
        if not measured:
            raise ValueError("no measured series are given")
        for place, weight in weights.items():
            if place not in measured:
                raise ValueError(f'"{place}" has a weight, and no measured series')
            if not 0.0 < weight < float("inf"):
                raise ValueError(f"{place}: a weight is above 0, not {weight}")
        for place, series in measured.items():
            split_result(place)
            if not isinstance(series, pd.Series) or series.index.has_duplicates:
                raise ValueError(f"{place}: what was measured is a Series with one value for each time")
            if np.isinf(pd.to_numeric(series, errors="coerce").to_numpy(np.float64)).any():
                raise ValueError(f"{place}: a measured value is infinite; gaps are nan")
        self.measured = measured
        self.weights = {place: weights.get(place, 1.0) for place in measured}
        self.means_over = means_over
        self.at_least = at_least
        self._name = measure if isinstance(measure, str) else ""
        self._measure = measure
        if not self._name and not callable(measure):
            raise TypeError(f"a measure is a name or a function of (simulated, measured), not {measure!r}")
        self._sign = -1.0 if maximise else 1.0
        if self._name:
            measures.measure_of(self._name)

    def of_series(self, simulated: pd.Series, place: str) -> float:
        """The measure of a series."""
        pairs = measures.align(simulated, self.measured[place], means_over=self.means_over)
        if len(pairs) < max(1, self.at_least):
            raise ValueError(f"{place}: {len(pairs)} measured values are where there are simulated ones: "
                             f"{self.at_least} are needed")
        if self._name:
            function = measures.measure_of(self._name).function
            return function(pairs["simulated"].to_numpy(), pairs["measured"].to_numpy())
        return float(self._measure(pairs["simulated"], pairs["measured"]))  # type: ignore[operator]

    def badness(self, found: Dict[str, float]) -> float:
        """One number for the measures of all series, the less the better."""
        sum_ = total = 0.0
        for place, value in found.items():
            bad = measures.measure_of(self._name).badness(value) if self._name else self._sign * value
            sum_ += self.weights[place] * bad
            total += self.weights[place]
        return sum_ / total

    def value(self, badness: float) -> float:
        """The measure that belongs to a badness."""
        if self._name:
            return 1.0 - badness if measures.measure_of(self._name).badness(1.0) == 0.0 else badness
        return self._sign * badness


class _Log:
    """Runs generations of trials and keeps what became of them, with the series of the best."""

    def __init__(self, parameters: Parameters, goal: _Goal, runner: Runner, out: Path, max_trials: int,
                 progress: Optional[Callable[[int, float], None]]) -> None:
        if max_trials < 1:
            raise ValueError(f"at least one trial must be done, not {max_trials}")
        self._parameters = parameters
        self._goal = goal
        self._runner = runner
        self._out = out
        self._max_trials = max_trials
        self._progress = progress
        self._rows: List[Dict[str, Any]] = []
        self._generation = 0
        self._best = (WORST, -1)
        self._best_point = np.empty(0)
        self._best_series: Dict[str, pd.Series] = {}

    def evaluate(self, points: List[Values]) -> List[float]:
        """Runs points as a generation; their badnesses. Enough once there may be no more trials."""
        first = len(self._rows)
        allowed = points[:self._max_trials - first]
        if not allowed:
            raise Enough
        members = self._parameters.members(allowed, first)
        trials = self._runner.run(members, self._look)
        if not first:
            refuse_if_none(trials)
        badnesses = []
        for number, (point, trial) in enumerate(zip(allowed, trials), first):
            found: Dict[str, float] = {} if trial.found is None else trial.found[0]
            badness = self._goal.badness(found) if found else WORST
            if not badness < WORST:  # no number, too
                badness = WORST
            badnesses.append(badness)
            self._keep(number, point, badness, trial, found)
            if badness < self._best[0]:
                self._best, self._best_point, self._best_series = (badness, number), point, trial.found[1]
        self._generation += 1
        # pandas ends lines by the habit of the system
        write_text(self._out / "trials.csv", self._frame().to_csv().replace(os.linesep, "\n"))
        if self._progress is not None:
            self._progress(len(self._rows), self._goal.value(self._best[0]) if self._best[1] >= 0 else float("nan"))
        if len(allowed) < len(points):
            raise Enough
        return badnesses

    def _look(self, ensemble: Any, name: str) -> Tuple[Dict[str, float], Dict[str, pd.Series]]:
        with ensemble.results(name) as results:
            series = {place: series_of(results, place) for place in self._goal.measured}
        return {place: self._goal.of_series(own, place) for place, own in series.items()}, series

    def _keep(self, number: int, point: Values, badness: float, trial: Any, found: Dict[str, float]) -> None:
        row: Dict[str, Any] = dict(zip(self._parameters.names, self._parameters.values(point)))
        row["value"] = self._goal.value(badness) if badness < WORST else float("nan")
        if len(self._goal.measured) > 1:
            row.update({place: found.get(place, float("nan")) for place in self._goal.measured})
        row.update({"outcome": trial.outcome, "message": trial.message, "generation": self._generation})
        self._rows.append(row)

    def _frame(self) -> pd.DataFrame:
        return pd.DataFrame(self._rows, index=pd.Index(range(len(self._rows)), name="trial"))

    def finish(self, reason: str) -> Fit:
        """The fit, with its best settings in a file."""
        done = Fit(self._parameters, self._out)
        done.trials = self._frame()
        done.reason = reason
        done._means_over, done._at_least = self._goal.means_over, self._goal.at_least
        done.measured = pd.DataFrame(self._goal.measured)
        badness, done.number = self._best
        if done.number < 0:
            raise ValueError("no trial has a measure that is a number")
        values = self._parameters.values(self._best_point)
        done.value = self._goal.value(badness)
        done.parameters = pd.Series(values, index=self._parameters.names)
        done.best = {**self._parameters.settings, **self._parameters.row(values)}
        done.simulated = pd.DataFrame(self._best_series)
        told = {"trial": name_of(done.number), "value": done.value, "settings": done.best}
        write_text(self._out / "best.json", json.dumps(told, indent=2, default=str) + "\n")
        return done
