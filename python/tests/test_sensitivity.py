"""Sensitivities: what is handed over to SALib, and what is made of its answers.

SALib's place is taken by modules with its documented functions. The Morris one walks a single trajectory and gives the
elementary effects in a few lines, which are those of the method; the Sobol one only looks at what it is given. """
import sys
import types

import numpy as np
import pandas as pd
import pytest

import tarnvelde as tv
from tarnvelde._parameters import Factor, Range
from tarnvelde.ensemble import Ensemble
from tarnvelde.sensitivity import sensitivity

SHARES, ROUGHNESS = "subcatchment/*/impervious_share", "subcatchment/*/impervious_roughness"
BOUNDS = {SHARES: Factor(0.6, 1.2), ROUGHNESS: Range(0.01, 0.03)}
VOLUME = "nodes/OUT/inflow_volume"


def trajectory(problem, count, num_levels=4, seed=None):
    """Trajectories from the corner 0, one parameter after the other by two thirds."""
    assert problem["bounds"] == [[0.0, 1.0]] * problem["num_vars"]
    steps = np.tril(np.ones((problem["num_vars"] + 1, problem["num_vars"])), -1) * 2.0 / 3.0
    return np.tile(steps, (count, 1))


def effects(problem, points, outputs, num_levels=4, seed=None):
    """Elementary effects: what a step changes, by the length of the step."""
    size = problem["num_vars"]
    found = []
    for begin in range(0, len(points), size + 1):
        steps, changes = np.diff(points[begin:begin + size + 1], axis=0), np.diff(outputs[begin:begin + size + 1])
        found.append([changes[k] / steps[k, k] for k in range(size)])
    found = np.array(found)
    return {"names": problem["names"], "mu": found.mean(axis=0), "mu_star": abs(found).mean(axis=0),
            "sigma": found.std(axis=0), "mu_star_conf": np.zeros(size)}


class Salib:
    """Modules with SALib's names, which remember their calls."""

    def __init__(self, monkeypatch, has_sobol=True):
        self.calls = []
        names = ["SALib", "SALib.sample", "SALib.sample.morris", "SALib.analyze", "SALib.analyze.morris",
                 "SALib.analyze.sobol", "SALib.sample.sobol" if has_sobol else "SALib.sample.saltelli"]
        modules = {name: types.ModuleType(name) for name in names}
        for name, module in modules.items():
            monkeypatch.setitem(sys.modules, name, module)
            parent, _, own = name.rpartition(".")
            if parent:
                setattr(modules[parent], own, module)
        modules["SALib.sample.morris"].sample = self.note("sample", trajectory)
        modules["SALib.analyze.morris"].analyze = self.note("analyze", effects)
        modules[names[-1]].sample = self.note(names[-1].rpartition(".")[2], self.sample)
        modules["SALib.analyze.sobol"].analyze = self.note("analyze", self.shares)

    def note(self, name, function):
        def noted(*arguments, **options):
            self.calls.append((name, arguments, options))
            return function(*arguments, **options)
        return noted

    @staticmethod
    def sample(problem, count, calc_second_order=True, seed=None):
        return np.random.default_rng(seed).random((count * (problem["num_vars"] + 2), problem["num_vars"]))

    @staticmethod
    def shares(problem, outputs, calc_second_order=True, seed=None):
        size = problem["num_vars"]
        found = {name: np.arange(size) + k for k, name in enumerate(["S1", "S1_conf", "ST", "ST_conf"])}
        if calc_second_order:
            found["S2"] = np.array([[np.nan, 0.25], [np.nan, np.nan]])
        return found


@pytest.fixture
def salib(monkeypatch):
    return Salib(monkeypatch)


def volume_of(town, share, roughness):
    settings = {"subcatchment/HILL/impervious_share": 40.0 * share, "subcatchment/VALE/impervious_share": 60.0 * share,
                ROUGHNESS: roughness}
    return tv.run(town, settings=settings, report=False, results=False).totals["nodes"].at["OUT", "inflow_volume"]


def test_elementary_effects_are_those_of_runs_by_hand(town, tmp_path, ensembles, salib):
    found = sensitivity(town, BOUNDS, VOLUME, out=tmp_path / "out", samples=2, seed=9)
    # the trajectory: (0, 0), (2/3, 0), (2/3, 2/3) of the way from 0.6 to 1.2 and from 0.01 to 0.03
    first, second, third = (volume_of(town, 0.6, 0.01), volume_of(town, 1.0, 0.01),
                            volume_of(town, 1.0, 0.01 + 0.04 / 3.0))
    wanted = [(second - first) * 1.5, (third - second) * 1.5]
    assert list(found.indices.index) == [SHARES, ROUGHNESS]
    assert found.indices["mu"].tolist() == pytest.approx(wanted, rel=1e-9)
    assert found.indices["mu_star"].tolist() == pytest.approx(np.abs(wanted), rel=1e-9)
    assert found.indices.at[SHARES, "mu"] > 100.0 * abs(found.indices.at[ROUGHNESS, "mu"])
    assert list(found.indices.columns) == ["mu", "mu_star", "sigma", "mu_star_conf"]
    assert len(found.samples) == 6
    assert found.samples.iloc[1].tolist() == pytest.approx([1.0, 0.01])
    assert found.outputs[VOLUME].tolist() == pytest.approx([first, second, third] * 2, rel=1e-12)
    assert repr(found) == "<Sensitivity by morris: 2 parameters, 1 outputs, 6 trials>"


def test_morris_is_called_as_documented(town, tmp_path, ensembles, salib):
    found = sensitivity(town, BOUNDS, VOLUME, out=tmp_path / "out", samples=3, levels=6, seed=9)
    (sample, (problem, count), given), (analyze, (_, points, outputs), options) = salib.calls
    assert (sample, analyze, count) == ("sample", "analyze", 3)
    assert problem == {"num_vars": 2, "names": [SHARES, ROUGHNESS], "bounds": [[0.0, 1.0], [0.0, 1.0]]}
    assert given == options == {"num_levels": 6, "seed": 9}
    assert points.tolist() == trajectory(problem, 3).tolist()
    assert outputs.tolist() == found.outputs[VOLUME].tolist()


def test_sobol_is_called_as_documented(town, tmp_path, ensembles, salib):
    found = sensitivity(town, BOUNDS, VOLUME, out=tmp_path / "out", method="sobol", samples=2, second_order=True,
                        seed=4)
    (sample, (_, count), given), (_, (_, outputs), options) = salib.calls
    assert (sample, count, given) == ("sobol", 2, {"calc_second_order": True, "seed": 4})
    assert options == given and outputs.tolist() == found.outputs[VOLUME].tolist()
    assert found.indices["S1"].tolist() == [0.0, 1.0] and found.indices["ST_conf"].tolist() == [3.0, 4.0]
    assert found.second_order[VOLUME].at[SHARES, ROUGHNESS] == 0.25


def test_sobol_by_its_older_name(town, tmp_path, ensembles, monkeypatch):
    salib = Salib(monkeypatch, has_sobol=False)
    found = sensitivity(town, BOUNDS, VOLUME, out=tmp_path / "out", method="sobol", samples=1)
    assert salib.calls[0][0] == "saltelli" and salib.calls[0][2] == {"calc_second_order": False}
    assert found.second_order == {}


def test_several_outputs_come_of_the_same_runs(town, tmp_path, ensembles, salib):
    outputs = {"volume": VOLUME, "solids": "nodes/OUT/outflow_mass/TSS", "rain": "system/runoff_rainfall",
               "runoff": "subcatchments/HILL/runoff",
               "late": lambda results: results.nodes["inflow"]["OUT"].iloc[-1]}
    found = sensitivity(town, BOUNDS, outputs, out=tmp_path / "out", samples=1)
    assert len(ensembles.calls) == 1
    settings = {"subcatchment/*/impervious_roughness": 0.01, "subcatchment/HILL/impervious_share": 24.0,
                "subcatchment/VALE/impervious_share": 36.0}
    run = tv.run(town, settings=settings, report=False, results=False)
    assert found.outputs.iloc[0].to_dict() == pytest.approx({
        "volume": run.totals["nodes"].at["OUT", "inflow_volume"],
        "solids": run.totals["nodes"].at["OUT", "outflow_mass[TSS]"],
        "rain": run.totals["system"]["runoff_rainfall"].iloc[0],
        "runoff": run.subcatchments["runoff"]["HILL"].max(),
        "late": run.nodes["inflow"]["OUT"].iloc[-1]})
    assert list(found.indices.loc["volume"].index) == [SHARES, ROUGHNESS]
    assert found.indices.index.names == ["output", "parameter"]
    assert (found.indices.loc["rain", "mu"] == 0.0).all()  # the rain falls as it does


def test_sums_and_peaks_need_no_results(town, tmp_path, ensembles, salib, monkeypatch):
    def refuse(self, name):
        raise AssertionError("results were opened")

    monkeypatch.setattr(Ensemble, "results", refuse)
    found = sensitivity(town, BOUNDS, [VOLUME], out=tmp_path / "out", samples=1)
    assert found.outputs[VOLUME].gt(0.0).all()


def test_outputs_as_a_list_keep_their_places_as_names(town, tmp_path, ensembles, salib):
    found = sensitivity(town, BOUNDS, [VOLUME, "nodes/OUT/peak_inflow"], out=tmp_path / "out", samples=1)
    assert list(found.outputs.columns) == [VOLUME, "nodes/OUT/peak_inflow"]


def test_a_function_gives_its_name(town, tmp_path, ensembles, salib):
    def peak(results):
        return results.nodes["inflow"]["OUT"].max()

    found = sensitivity(town, BOUNDS, peak, out=tmp_path / "out", samples=1, jobs=2, engines="engines")
    assert list(found.outputs.columns) == ["peak"]
    assert ensembles.calls[0][3] == {"jobs": 2, "engines": "engines", "progress": False}


def test_a_trial_that_fails_is_told(town, tmp_path, ensembles, salib):
    with pytest.raises(tv.RunError, match="2 of 3 trials failed.*00001: .*impervious_share"):
        sensitivity(town, {SHARES: Factor(0.6, 3.0), ROUGHNESS: (0.01, 0.03)}, VOLUME, out=tmp_path / "out", samples=1)


def test_an_output_that_is_no_number_is_told(town, tmp_path, ensembles, salib):
    with pytest.raises(tv.RunError, match="nothing is nan in trial 00000"):
        sensitivity(town, BOUNDS, {"nothing": lambda results: float("nan")}, out=tmp_path / "out", samples=1)


@pytest.mark.parametrize("output, options, error, words", [
    (VOLUME, {"method": "fast"}, ValueError, "one of morris, sobol"),
    ([], {}, ValueError, "no output"),
    ({"a": 1.0}, {}, ValueError, "not 1.0"),
    ("moon", {}, tv.UnknownError, "moon"),
    ("nodes/MOON/inflow", {}, tv.UnknownError, "no such sum or peak"),
])
def test_what_can_not_be_analysed_is_refused(town, tmp_path, ensembles, salib, output, options, error, words):
    with pytest.raises(error, match=words):
        sensitivity(town, BOUNDS, output, out=tmp_path / "out", samples=1, **options)


def test_without_salib_it_is_told_what_to_install(town, tmp_path, monkeypatch):
    monkeypatch.setitem(sys.modules, "SALib", None)
    with pytest.raises(ImportError, match="pip install SALib"):
        sensitivity(town, BOUNDS, VOLUME, out=tmp_path / "out")


def test_samples_are_the_values_that_were_run(town, tmp_path, ensembles, salib):
    found = sensitivity(town, BOUNDS, VOLUME, out=tmp_path / "out", method="sobol", samples=1, seed=2)
    members = ensembles.calls[0][1]
    assert members[ROUGHNESS].tolist() == found.samples[ROUGHNESS].tolist()
    assert members["subcatchment/HILL/impervious_share"].tolist() == (40.0 * found.samples[SHARES]).tolist()
    assert isinstance(found.samples, pd.DataFrame) and not (tmp_path / "out" / "generations" / "0000").exists()
