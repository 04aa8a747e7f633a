"""Searches for the least badness in a cube whose edges run from 0 to 1, generation by generation.

A search calls `evaluate` with a list of points and takes a list of badnesses, the less the better. It ends where it
finds no better point any more, or when evaluate raises Enough. """
from __future__ import annotations

from typing import Any, Callable, Dict, List, Optional

import numpy as np
from numpy.typing import NDArray

Values = NDArray[np.float64]
Evaluate = Callable[[List[Values]], List[float]]

WORST = 1e30
"""Badness of what couldn't be run: finite, since searches take differences."""

_MINIMISERS = {"nelder-mead": "Nelder-Mead", "powell": "Powell"}
_SAMPLERS = {"tpe": "TPESampler", "cma-es": "CmaEsSampler", "random": "RandomSampler"}


class Enough(Exception):
    """As many trials as there may be are done."""


def search(optimiser: str, method: Any, evaluate: Evaluate, start: Values, *, population: Optional[int],
           tolerance: float, seed: int) -> str:
    """Searches; why it ended, in words. ValueError for an optimiser or a method that there isn't."""
    if optimiser not in ("scipy", "optuna"):
        raise ValueError(f'there is no optimiser "{optimiser}": one of scipy, optuna')
    try:
        if optimiser == "optuna":
            return _with_optuna(method, evaluate, start, population or 8, seed)
        word = str(method).lower().replace("_", "-")
        if word == "differential-evolution":
            return _by_evolution(evaluate, start, population, tolerance, seed)
        if word in _MINIMISERS:
            return _by_steps(_MINIMISERS[word], evaluate, start, tolerance)
    except Enough:
        return "all trials are done"
    raise ValueError(f'scipy has no method "{method}" here: one of differential_evolution, '
                     f'{", ".join(sorted(_MINIMISERS))}')


def _scipy() -> Any:
    try:
        from scipy import optimize
    except ImportError:
        raise ImportError("this search needs scipy: pip install scipy, or Debian's python3-scipy") from None
    return optimize


def _by_evolution(evaluate: Evaluate, start: Values, population: Optional[int], tolerance: float, seed: int) -> str:
    """Differential evolution. Storn, R. and Price, K. (1997): Differential evolution - a simple and efficient heuristic
    for global optimization over continuous spaces. J. Global Optim. 11, 341-359. A generation is made from the last one
    as a whole, so that its trials can run side by side."""
    optimize = _scipy()
    size = len(start)
    times = max(1, -(-(population or 10 * size) // size))

    failures: List[Exception] = []

    def evaluate_all(_: Any, points: Any) -> List[float]:
        try:
            return evaluate([np.array(point, dtype=np.float64) for point in points])
        except (TypeError, ValueError) as error:  # scipy would take these for its own
            failures.append(error)
            raise Enough from error

    try:
        found = optimize.differential_evolution(_refuse, [(0.0, 1.0)] * size, popsize=times, maxiter=1_000_000,
                                                tol=tolerance, atol=tolerance, seed=seed, polish=False,
                                                updating="deferred", workers=evaluate_all, x0=start)
    except Enough:
        if failures:
            raise failures[0]
        raise
    return str(found.message)


def _refuse(point: Any) -> float:
    """Stands where a function of one point is asked for; whole generations are evaluated in its place."""
    raise NotImplementedError


def _by_steps(method: str, evaluate: Evaluate, start: Values, tolerance: float) -> str:
    """Simplex search (Nelder, J. A. and Mead, R. (1965): A simplex method for function minimization. Computer Journal
    7, 308-313) or searches along lines (Powell, M. J. D. (1964): An efficient method for finding the minimum of a
    function of several variables without calculating derivatives. Computer Journal 7, 155-162): trial by trial. Only
    the first simplex is a generation of several."""
    optimize = _scipy()
    options: Dict[str, Any] = {"maxiter": 1_000_000, "maxfev": 1_000_000}
    known = {}
    if method == "Nelder-Mead":
        simplex = [start]
        for k in range(len(start)):
            corner = start.copy()
            corner[k] += 0.25 if corner[k] <= 0.5 else -0.25
            simplex.append(corner)
        known = {point.tobytes(): badness for point, badness in zip(simplex, evaluate(simplex))}
        options.update({"initial_simplex": np.array(simplex), "xatol": tolerance, "fatol": tolerance})
    else:
        options.update({"xtol": tolerance, "ftol": tolerance})

    def of(point: Any) -> float:
        own = np.array(point, dtype=np.float64)
        badness = known.get(own.tobytes())
        return evaluate([own])[0] if badness is None else badness

    found = optimize.minimize(of, start, method=method, bounds=[(0.0, 1.0)] * len(start), options=options)
    return str(found.message)


def _with_optuna(method: Any, evaluate: Evaluate, start: Values, population: int, seed: int) -> str:
    """Samplers of optuna, asked for a generation at a time; the first trial is the start."""
    try:
        import optuna
    except ImportError:
        raise ImportError("this search needs optuna: pip install optuna, or Debian's python3-optuna") from None
    if not isinstance(method, str):
        sampler = method
    elif method.lower() in _SAMPLERS:
        sampler = getattr(optuna.samplers, _SAMPLERS[method.lower()])(seed=seed)
    else:
        raise ValueError(f'optuna has no method "{method}" here: one of {", ".join(sorted(_SAMPLERS))}, or a sampler')
    names = [f"x{k}" for k in range(len(start))]
    edges: Dict[str, Any] = {name: optuna.distributions.FloatDistribution(0.0, 1.0) for name in names}
    before = optuna.logging.get_verbosity()
    optuna.logging.set_verbosity(optuna.logging.WARNING)  # it tells every study otherwise
    try:
        study = optuna.create_study(sampler=sampler, direction="minimize")
        study.enqueue_trial(dict(zip(names, (float(share) for share in start))))
        while True:
            asked = [study.ask(edges) for _ in range(population)]
            points = [np.array([trial.params[name] for name in names]) for trial in asked]
            for trial, badness in zip(asked, evaluate(points)):
                study.tell(trial, badness)
    finally:
        optuna.logging.set_verbosity(before)
