"""How much each parameter of a project moves what comes out of it, by the methods of SALib."""
from __future__ import annotations

from pathlib import Path
from typing import Any, Callable, Dict, List, Mapping, Optional, Sequence, Tuple, Union

import numpy as np
import pandas as pd
from numpy.typing import NDArray

from ._engines import Engines
from ._parameters import Bounds, Parameters, series_of, split_result, total_of
from ._places import PathLike
from ._trials import Runner, Trial
from .errors import RunError, UnknownError

Values = NDArray[np.float64]
OutputLike = Union[str, Callable[[Any], float]]

_COLUMNS = {"morris": ["mu", "mu_star", "sigma", "mu_star_conf"], "sobol": ["S1", "S1_conf", "ST", "ST_conf"]}


class Sensitivity:
    """What a sensitivity analysis has found.

    indices: a frame with a row for each parameter; of several outputs one for each output and parameter. By Morris:
    `mu`, mean of the elementary effects, `mu_star`, that of their absolute values, `sigma`, their standard deviation,
    all in the unit of the output for the whole way between the bounds. By Sobol: `S1`, share of the variance that the
    parameter makes alone, `ST`, with all that it makes together with others. `..._conf`: half widths of the 95 %
    confidence intervals.
    second_order: by output a frame, parameter x parameter, of the shares that two make together (Sobol, if asked for).
    samples: values, or factors, of each trial; outputs: what came out of it. method: the name. """

    def __init__(self, method: str, indices: pd.DataFrame, second_order: Dict[str, pd.DataFrame],
                 samples: pd.DataFrame, outputs: pd.DataFrame) -> None:
        self.method = method
        self.indices = indices
        self.second_order = second_order
        self.samples = samples
        self.outputs = outputs

    def __repr__(self) -> str:
        return (f"<Sensitivity by {self.method}: {len(self.samples.columns)} parameters, "
                f"{len(self.outputs.columns)} outputs, {len(self.samples)} trials>")


def sensitivity(project: Any, parameters: Mapping[str, Bounds],
                output: Union[OutputLike, Mapping[str, OutputLike], Sequence[str]], *, out: PathLike,
                method: str = "morris", samples: Optional[int] = None, levels: int = 4, second_order: bool = False,
                seed: int = 0, settings: Optional[Mapping[str, Any]] = None, keep: bool = False,
                engines: Optional[Engines] = None, **ensemble_options: Any) -> Sensitivity:
    """Shows how much each parameter changes an output.

        found = tv.sensitivity("town.inp", {"subcatchment/*/impervious_share": tv.Factor(0.7, 1.3),
                                            "subcatchment/*/width": tv.Factor(0.5, 2)},
                               "nodes/OUT/peak_inflow", out="sensitivity")
        found.indices.sort_values("mu_star")

    project, parameters, settings: as those of `tarnvelde.fit`. output: a sum or peak of a run as
    "nodes/OUT/peak_inflow", "nodes/OUT/outflow_mass/TSS" or "system/flow_flooding_loss"; the greatest value of results
    where there is no such sum ("tanks/T1/depth"); a function of the Results of a trial; or several of them, by names of
    one's own.

    method: "morris", elementary effects along trajectories (Morris, M. D. (1991): Factorial sampling plans for
    preliminary computational experiments. Technometrics 33, 161-174; mu_star: Campolongo, F., Cariboni, J. and
    Saltelli, A. (2007): An effective screening design for sensitivity analysis of large models. Environ. Model. Softw.
    22, 1509-1518), runs samples x (parameters + 1) trials; "sobol", shares of the variance (Sobol, I. M. (2001): Global
    sensitivity indices for nonlinear mathematical models and their Monte Carlo estimates. Math. Comput. Simul. 55,
    271-280; Saltelli, A. (2002): Making best use of model evaluations to compute sensitivity indices. Comput. Phys.
    Commun. 145, 280-297), runs samples x (parameters + 2) of them, or (2 parameters + 2) with second_order, samples
    being a power of two. samples: 10 of Morris, 256 of Sobol. levels: of Morris, an even number.

    out: folder of the trials, which go unless `keep`; kept ones are not run again by a second call. What else is given
    (backend, jobs, client, threads, timeout) goes to `tarnvelde.ensemble`.

    ImportError without SALib (pip install SALib). RunError if a trial fails, since each counts: it names them, and with
    `keep` those that were done stay. ValueError, UnknownError. """
    if method not in _COLUMNS:
        raise ValueError(f'there is no method "{method}": one of {", ".join(_COLUMNS)}')
    wanted = _outputs_of(output)
    salib = _Salib(method, levels, second_order, seed)
    varied = Parameters(project, parameters, settings, engines)
    points = salib.sample(varied.names, samples)
    options = dict(ensemble_options)
    if engines is not None:
        options["engines"] = engines
    folder = Path(out)
    folder.mkdir(parents=True, exist_ok=True)
    members = varied.members(list(points), 0)
    trials = Runner(project, folder, keep, options).run(members, _Look(wanted))
    _refuse_failures(list(members.index), trials)
    index = pd.Index(range(len(points)), name="trial")
    values = pd.DataFrame([varied.values(point) for point in points], index=index, columns=varied.names)
    found = pd.DataFrame([trial.found for trial in trials], index=index, columns=list(wanted))
    return _analyse(salib, points, values, found, is_single=isinstance(output, str) or callable(output))


def _outputs_of(output: Any) -> Dict[str, OutputLike]:
    """Outputs by name."""
    if isinstance(output, str):
        named: Dict[str, OutputLike] = {output: output}
    elif callable(output):
        named = {getattr(output, "__name__", "output"): output}
    elif isinstance(output, Mapping):
        named = dict(output)
    else:
        named = {place: place for place in output}
    for own in named.values():
        if isinstance(own, str):
            split_result(own)
        elif not callable(own):
            raise ValueError(f"an output is a place or a function of Results, not {own!r}")
    if not named:
        raise ValueError("no output is given")
    return named


class _Look:
    """Finds the outputs of a trial."""

    def __init__(self, wanted: Dict[str, OutputLike]) -> None:
        self._wanted = wanted
        self._ensemble: Any = None
        self._totals: Dict[str, Any] = {}
        self._error: Optional[UnknownError] = None

    def __call__(self, ensemble: Any, name: str) -> Dict[str, float]:
        if ensemble is not self._ensemble:
            self._ensemble, self._totals = ensemble, {}
        found: Dict[str, float] = {}
        left: Dict[str, OutputLike] = {}
        for key, own in self._wanted.items():
            try:
                if isinstance(own, str):
                    found[key] = self._total(name, own)
                    continue
            except UnknownError as error:
                self._error = error
            left[key] = own
        if left:  # results are only opened where totals don't do
            with ensemble.results(name) as results:
                found.update({key: self._result(results, own) for key, own in left.items()})
        return {key: found[key] for key in self._wanted}

    def _total(self, name: str, place: str) -> float:
        word = split_result(place)[0]
        if word not in self._totals:
            self._totals[word] = {member: frame.droplevel(0)
                                  for member, frame in self._ensemble.totals(word).groupby(level=0)}
        return total_of({word: self._totals[word][name]}, place)

    def _result(self, results: Any, wanted: OutputLike) -> float:
        if not isinstance(wanted, str):
            return float(wanted(results))
        try:
            return float(series_of(results, wanted).max())
        except UnknownError:
            raise self._error or UnknownError(wanted) from None


def _refuse_failures(names: List[str], trials: List[Trial]) -> None:
    failed = [(name, trial) for name, trial in zip(names, trials) if trial.outcome != "done"]
    if failed:
        raise RunError(f"{len(failed)} of {len(trials)} trials failed, and every one counts: narrow the bounds. "
                       + "; ".join(f"{name}: {trial.message}" for name, trial in failed[:3]))
    for name, trial in zip(names, trials):
        for key, value in trial.found.items():
            if not np.isfinite(value):
                raise RunError(f"{key} is {value} in trial {name}: every trial must have a number")


def _analyse(salib: _Salib, points: Values, values: pd.DataFrame, outputs: pd.DataFrame,
             is_single: bool) -> Sensitivity:
    tables, pairs = {}, {}
    for name in outputs:
        table, second = salib.analyse(list(values.columns), points, outputs[name].to_numpy(dtype=np.float64))
        tables[name] = table
        if second is not None:
            pairs[name] = second
    indices = next(iter(tables.values())) if is_single else pd.concat(tables, names=["output", "parameter"])
    return Sensitivity(salib.method, indices, pairs, values, outputs)


class _Salib:
    """SALib's samples and estimators. Its problem is the cube whose edges run from 0 to 1."""

    def __init__(self, method: str, levels: int, second_order: bool, seed: int) -> None:
        try:
            import SALib  # noqa: F401
        except ImportError:
            raise ImportError("sensitivities need SALib: pip install SALib") from None
        self.method = method
        self._levels = levels
        self._second = second_order
        self._seed = seed

    @staticmethod
    def _problem(names: List[str]) -> Dict[str, Any]:
        return {"num_vars": len(names), "names": names, "bounds": [[0.0, 1.0] for _ in names]}

    def sample(self, names: List[str], samples: Optional[int]) -> Values:
        """Points, one in each row."""
        problem = self._problem(names)
        if self.method == "morris":
            from SALib.sample import morris

            found = morris.sample(problem, samples or 10, num_levels=self._levels, seed=self._seed)
        else:
            count = samples or 256
            try:
                from SALib.sample import sobol
            except ImportError:  # ahead of 1.4.6 its name was another, and it wasn't scrambled
                from SALib.sample import saltelli

                found = saltelli.sample(problem, count, calc_second_order=self._second)
            else:
                found = sobol.sample(problem, count, calc_second_order=self._second, seed=self._seed)
        return np.asarray(found, dtype=np.float64)

    def analyse(self, names: List[str], points: Values, outputs: Values) -> Tuple[pd.DataFrame, Optional[pd.DataFrame]]:
        """Indices of one output, and those of pairs."""
        problem = self._problem(names)
        second: Optional[pd.DataFrame] = None
        if self.method == "morris":
            from SALib.analyze import morris

            found = morris.analyze(problem, points, outputs, num_levels=self._levels, seed=self._seed)
        else:
            from SALib.analyze import sobol

            found = sobol.analyze(problem, outputs, calc_second_order=self._second, seed=self._seed)
            if self._second:
                second = pd.DataFrame(np.asarray(found["S2"]), index=names, columns=names)
        columns = {name: np.asarray(found[name], dtype=np.float64) for name in _COLUMNS[self.method]}
        return pd.DataFrame(columns, index=pd.Index(names, name="parameter")), second
