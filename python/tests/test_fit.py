"""Fits find parameters again with which the engine itself made the measurements.

The town has the truth in place of what its file says: shares of impervious ground 50 and 75 % in place of 40 and 60,
which is a factor of 1.25 on both, a roughness of 0.022 in place of 0.014, and a washoff coefficient of 0.14 in place of
0.10. What is measured of it every five minutes is off by 3 %, by chance. """
import json
import sys

import numpy as np
import pandas as pd
import pytest

import tarnvelde as tv
from fitting import write_town
from tarnvelde import measures
from tarnvelde._parameters import Factor, Parameters, Range, series_of, total_of
from tarnvelde.fit import fit

SHARES, ROUGHNESS = "subcatchment/*/impervious_share", "subcatchment/*/impervious_roughness"
WASHOFF = "land_use/TOWN/washoff_coefficient/TSS"
TRUTH = {"subcatchment/HILL/impervious_share": 50.0, "subcatchment/VALE/impervious_share": 75.0, ROUGHNESS: 0.022,
         WASHOFF: 0.14}
BOUNDS = {SHARES: Factor(0.5, 1.5, most=100.0), ROUGHNESS: Range(0.005, 0.05, log=True)}
FLOW, SOLIDS = "nodes/OUT/inflow", "nodes/OUT/concentration/TSS"


@pytest.fixture(scope="module")
def measured(tmp_path_factory):
    path = write_town(tmp_path_factory.mktemp("truth"))
    truth = tv.run(path, settings=TRUTH, report=False, results=False)
    chance = np.random.default_rng(7)
    series = {FLOW: truth.nodes["inflow"]["OUT"], SOLIDS: truth.nodes["TSS"]["OUT"]}
    return {place: own * (1.0 + 0.03 * chance.standard_normal(len(own))) for place, own in series.items()}


def assert_found(found, share=0.03, roughness=0.1):
    assert found.parameters[SHARES] == pytest.approx(1.25, rel=share)
    assert found.parameters[ROUGHNESS] == pytest.approx(0.022, rel=roughness)


# --- what is found ---------------------------------------------------------------------------------------------------

def test_differential_evolution_finds_the_truth_again(town, tmp_path, measured, ensembles):
    found = fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", seed=1, max_trials=160)
    assert_found(found)
    assert found.value > 0.995
    assert len(found.trials) == 160 and found.reason == "all trials are done"


def test_simplex_search_finds_the_truth_again(town, tmp_path, measured, ensembles):
    found = fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", method="nelder-mead", max_trials=60,
                tolerance=1e-3)
    assert_found(found)
    assert len(found.trials) < 60 and "success" in found.reason


def test_search_along_lines_finds_the_truth_again(town, tmp_path, measured, ensembles):
    found = fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", method="Powell", max_trials=40)
    assert_found(found)


def test_optuna_comes_near_the_truth(town, tmp_path, measured, ensembles):
    optuna = pytest.importorskip("optuna")
    before = optuna.logging.get_verbosity()
    found = fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", optimiser="optuna", seed=1, max_trials=64)
    assert_found(found, share=0.1, roughness=0.4)
    assert optuna.logging.get_verbosity() == before
    assert found.trials["generation"].value_counts().tolist() == [8] * 8


def test_flow_and_pollutant_are_fitted_together(town, tmp_path, measured, ensembles):
    bounds = {**BOUNDS, WASHOFF: (0.02, 0.3)}
    found = fit(town, bounds, pd.DataFrame(measured), out=tmp_path / "fit", method="nelder-mead", max_trials=70)
    assert_found(found)
    assert found.parameters[WASHOFF] == pytest.approx(0.14, rel=0.1)
    assert list(found.measures().index) == [FLOW, SOLIDS]
    assert (found.measures()["nse"] > 0.99).all()


@pytest.mark.parametrize("measure", ["kge", "rmse", "volume_error"])
def test_measures_by_name_are_bettered(town, tmp_path, measured, ensembles, measure):
    found = fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", measure=measure, method="nelder-mead",
                max_trials=20)
    best = tv.run(town, settings=found.best, report=False, results=False).nodes["inflow"]["OUT"]
    own = measures.MEASURES[measure].function(best, measured[FLOW])
    assert found.value == pytest.approx(abs(own), abs=1e-12)
    first = found.trials["value"].iloc[0]
    assert found.value > first if measure == "kge" else found.value < first


@pytest.mark.parametrize("maximise, sign", [(False, 1.0), (True, -1.0)])
def test_a_measure_of_ones_own_takes_series_that_go_together(town, tmp_path, measured, ensembles, maximise, sign):
    def own(simulated, measured):
        assert list(simulated.index) == list(measured.index)
        return sign * float(abs(simulated.max() - measured.max()))

    found = fit(town, BOUNDS, {FLOW: measured[FLOW].iloc[::3]}, out=tmp_path / "fit", measure=own, maximise=maximise,
                method="nelder-mead", max_trials=25)
    assert sign * found.value == pytest.approx(0.0, abs=1e-2)
    assert sign * found.trials["value"].iloc[0] > 0.05


# --- how trials are run ----------------------------------------------------------------------------------------------

def test_a_generation_is_one_ensemble(town, tmp_path, measured, ensembles):
    fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", population=6, max_trials=15, backend="threads",
        jobs=3, engines="engines")
    sizes = [len(members) for _, members, _, _ in ensembles.calls]
    assert sizes == [6, 6, 3]
    names = [name for _, members, _, _ in ensembles.calls for name in members.index]
    assert names == [f"{number:05d}" for number in range(15)]
    project, members, out, options = ensembles.calls[1]
    assert project == town and out == tmp_path / "fit" / "generations" / "0001"
    assert options == {"backend": "threads", "jobs": 3, "engines": "engines", "progress": False}
    assert list(members.columns) == ["subcatchment/HILL/impervious_share", "subcatchment/VALE/impervious_share",
                                     ROUGHNESS]
    ratio = members.iloc[:, 1] / members.iloc[:, 0]
    assert np.allclose(ratio, 1.5)  # 60 to 40, whatever the factor is


def test_the_first_simplex_is_one_ensemble_and_not_run_twice(town, tmp_path, measured, ensembles):
    fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", method="nelder-mead", max_trials=6)
    assert [len(members) for _, members, _, _ in ensembles.calls] == [3, 1, 1, 1]
    assert [options.get("backend") for _, _, _, options in ensembles.calls] == [None, "serial", "serial", "serial"]
    points = pd.concat([members for _, members, _, _ in ensembles.calls])
    assert not points.duplicated().any()


def test_a_trial_alone_runs_where_it_is_told_to(town, tmp_path, measured, ensembles):
    for options in ({"backend": "processes"}, {"timeout": 60.0}):
        ensembles.calls.clear()
        fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", method="nelder-mead", max_trials=4, **options)
        assert [call[3] for call in ensembles.calls] == [{**options, "progress": False}] * 2


def test_the_same_seed_makes_the_same_trials(town, tmp_path, measured, ensembles):
    frames = [fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / name, seed=seed, population=8, max_trials=16,
                  optimiser=optimiser).trials
              for optimiser in ("scipy", "optuna") for name, seed in (("a", 5), ("b", 5), ("c", 6))]
    for a, b, c in (frames[:3], frames[3:]):
        pd.testing.assert_frame_equal(a, b)
        assert not a[SHARES].equals(c[SHARES])


def test_the_project_as_it_is_stands_among_the_first_trials(town, tmp_path, measured, ensembles):
    for optimiser in ("scipy", "optuna"):
        found = fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", optimiser=optimiser, population=8,
                    max_trials=8)
        shares = found.trials.loc[found.trials["generation"] == 0, SHARES]
        assert np.isclose(shares, 1.0, rtol=1e-12).any()


def test_folders_of_trials_go_unless_they_are_to_be_kept(town, tmp_path, measured, ensembles):
    for name, keep in (("kept", True), ("gone", False)):
        fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / name, population=5, max_trials=10, keep=keep)
        left = sorted(path.name for path in (tmp_path / name / "generations").iterdir())
        assert left == (["0000", "0001"] if keep else [])


def test_kept_trials_are_not_run_again(town, tmp_path, measured):
    def times():
        return {path: path.stat().st_mtime_ns for path in (tmp_path / "fit").rglob("model.bin")}

    options = {"out": tmp_path / "fit", "population": 5, "max_trials": 8, "keep": True, "jobs": 2}
    first = fit(town, BOUNDS, {FLOW: measured[FLOW]}, **options)
    before = times()
    assert len(before) == 8
    again = fit(town, BOUNDS, {FLOW: measured[FLOW]}, **options)
    assert times() == before
    pd.testing.assert_frame_equal(again.trials, first.trials)


def test_processes_find_the_same_as_this_process(town, tmp_path, measured):
    found = [fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / backend, population=5, max_trials=8, seed=3,
                 backend=backend, jobs=2) for backend in ("serial", "processes")]
    pd.testing.assert_frame_equal(found[0].trials, found[1].trials)
    assert found[0].best == found[1].best


def test_progress_is_told_after_each_generation(town, tmp_path, measured, ensembles):
    told = []
    found = fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", population=6, max_trials=15,
                progress=lambda *heard: told.append(heard))
    assert [count for count, _ in told] == [6, 12, 15]
    assert [value for _, value in told] == sorted(value for _, value in told)
    assert told[-1][1] == found.value


def test_trials_and_the_best_stand_in_files(town, tmp_path, measured, ensembles):
    found = fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", population=5, max_trials=10)
    trials = pd.read_csv(tmp_path / "fit" / "trials.csv", index_col="trial", keep_default_na=False)
    pd.testing.assert_frame_equal(trials, found.trials)
    best = json.loads((tmp_path / "fit" / "best.json").read_text())
    assert best["settings"] == found.best and best["trial"] == f"{found.number:05d}"


def test_a_trial_that_fails_counts_as_the_worst_and_is_told(town, tmp_path, measured, ensembles):
    # shares go up to 160 and 240 %, which the engine refuses
    found = fit(town, {SHARES: Factor(0.5, 4.0)}, {FLOW: measured[FLOW]}, out=tmp_path / "fit", population=12,
                max_trials=36)
    failed = found.trials[found.trials["outcome"] == "failed"]
    assert len(failed) and failed["value"].isna().all() and (failed[SHARES] > 1.66).all()
    assert failed["message"].str.contains("impervious_share").all()
    assert found.parameters[SHARES] < 1.67 and found.trials["outcome"].iloc[found.number] == "done"


def test_a_measure_that_is_no_number_counts_as_the_worst(town, tmp_path, measured, ensembles):
    def own(simulated, measured):
        return float("nan") if simulated.max() < 0.45 else float(simulated.max())

    found = fit(town, {SHARES: Factor(0.5, 1.5)}, {FLOW: measured[FLOW]}, out=tmp_path / "fit", measure=own,
                population=12, max_trials=12)
    assert found.trials["value"].isna().any()
    assert found.value == found.trials["value"].min() >= 0.45


def test_a_fit_without_any_number_is_no_fit(town, tmp_path, measured, ensembles):
    with pytest.raises(ValueError, match="no trial has a measure"):
        fit(town, {SHARES: Factor(0.5, 1.5)}, {FLOW: measured[FLOW]}, out=tmp_path / "fit",
            measure=lambda simulated, measured: float("nan"), max_trials=6)


def test_a_first_generation_that_fails_ends_the_fit(town, tmp_path, measured, ensembles):
    (tmp_path / "no.state").write_bytes(b"nothing of the kind")
    with pytest.raises(tv.RunError, match="none of 6 trials could be run; the first: failed: "):
        fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", population=5,
            settings={"hot_start": str(tmp_path / "no.state")})


# --- the best --------------------------------------------------------------------------------------------------------

def test_the_best_runs_into_files(town, tmp_path, measured, ensembles):
    found = fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", population=5, max_trials=10)
    run = found.run()
    assert run.files == {"report": tmp_path / "fit" / "best.rpt", "results": tmp_path / "fit" / "best.bin"}
    pd.testing.assert_series_equal(run.nodes["inflow"]["OUT"], found.simulated[FLOW], check_names=False)
    pd.testing.assert_series_equal(found.measured[FLOW], measured[FLOW], check_names=False, check_freq=False)
    assert not town.with_suffix(".rpt").exists()
    assert set(found.run(database=tmp_path / "best.db").files) == {"report", "database"}


def test_settings_are_those_of_all_trials_and_of_the_best(town, tmp_path, measured, ensembles):
    found = fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", population=5, max_trials=5,
                settings={"subcatchment/*/width": 99.0, "until": "2024-06-10 03:00"})
    for _, members, _, _ in ensembles.calls:
        assert (members["subcatchment/*/width"] == 99.0).all()
    run = found.run()
    assert found.best["subcatchment/*/width"] == 99.0
    assert run.now == np.datetime64("2024-06-10T03:00") and found.simulated.index[-1] == run.now


def test_a_factor_stands_on_the_value_after_the_settings(town, tmp_path, measured, ensembles):
    found = fit(town, {"subcatchment/HILL/width": Factor(0.5, 2.0)}, {FLOW: measured[FLOW]}, out=tmp_path / "fit",
                population=5, max_trials=5, settings={"subcatchment/*/width": 100.0})
    assert found.best["subcatchment/HILL/width"] == pytest.approx(100.0 * found.parameters[0])


def test_a_place_of_the_text_is_fitted(town, tmp_path, measured, ensembles):
    template = tmp_path / "template.inp"
    template.write_text(town.read_text().replace("200 40 1.0 0.014", "200 ${SHARE} 1.0 0.014"))
    found = fit(template, {"${SHARE}": (20.0, 90.0)}, {FLOW: measured[FLOW]}, out=tmp_path / "fit",
                method="nelder-mead", max_trials=16, settings={ROUGHNESS: 0.022,
                                                               "subcatchment/VALE/impervious_share": 75.0})
    assert found.parameters["${SHARE}"] == pytest.approx(50.0, rel=0.03)
    pd.testing.assert_series_equal(found.run().nodes["inflow"]["OUT"], found.simulated[FLOW], check_names=False)


def test_a_plot_shows_each_measured_series(town, tmp_path, measured, ensembles):
    pytest.importorskip("matplotlib")
    found = fit(town, BOUNDS, measured, out=tmp_path / "fit", population=5, max_trials=5)
    figure = found.plot()
    assert [axes.get_title() for axes in figure.axes] == [FLOW, SOLIDS]
    points, line = figure.axes[0].get_lines()
    assert points.get_ydata().tolist() == measured[FLOW].tolist()
    assert line.get_ydata().tolist() == found.simulated[FLOW].tolist()
    figure.savefig(tmp_path / "fit.png")


def test_a_fit_tells_its_value(town, tmp_path, measured, ensembles):
    found = fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", population=5, max_trials=5)
    assert repr(found) == (f"<Fit: {found.value:g} with trial {found.number} of 5; all trials are done>")


# --- weights ---------------------------------------------------------------------------------------------------------

def test_weights_weigh_the_series(town, tmp_path, measured, ensembles):
    found = fit(town, BOUNDS, measured, out=tmp_path / "fit", population=5, max_trials=5, weights={FLOW: 3.0})
    trials = found.trials
    assert np.allclose(trials["value"], (3.0 * trials[FLOW] + trials[SOLIDS]) / 4.0, rtol=1e-12)


# --- what can't be done ----------------------------------------------------------------------------------------------

@pytest.mark.parametrize("changed, error, words", [
    ({"parameters": {}}, ValueError, "no parameters"),
    ({"parameters": {SHARES: (2.0, 1.0)}}, ValueError, "lower one first"),
    ({"parameters": {SHARES: (1.0, float("inf"))}}, ValueError, "two numbers"),
    ({"parameters": {SHARES: Range(0.0, 1.0, log=True)}}, ValueError, "order of magnitude"),
    ({"parameters": {"${X}": Factor(0.5, 1.0)}}, ValueError, "give a Range"),
    ({"parameters": {"${X}": (0.5, 1.0)}}, tv.UnknownError, r"no place \$\{X\}"),
    ({"parameters": {"subcatchment/MOON/width": (1.0, 2.0)}}, tv.UnknownError, "MOON"),
    ({"parameters": {"tank/*/max_depth": (1.0, 2.0)}}, tv.UnknownError, "none of these"),
    ({"parameters": {"node/N1/max_depth": (1.0, 2.0)}}, tv.UnknownError, "max_depth"),
    ({"parameters": {"system/routing_step": (1.0, 2.0)}}, tv.TarnveldeError, "routing_step"),
    ({"parameters": {"subcatchment/*/runoff": (1.0, 2.0)}}, tv.TarnveldeError, "runoff"),
    ({"measured": {}}, ValueError, "no measured"),
    ({"measured": {FLOW: [1.0]}}, ValueError, "one value for each time"),
    ({"measured": {"gages/GAUGE/rain": pd.Series([1.0])}}, tv.UnknownError, "names no results"),
    ({"weights": {SOLIDS: 1.0}}, ValueError, "no measured series"),
    ({"weights": {FLOW: 0.0}}, ValueError, "above 0"),
    ({"measure": "nash"}, ValueError, "no measure"),
    ({"method": "simplex"}, ValueError, 'scipy has no method "simplex"'),
    ({"optimiser": "optuna", "method": "simplex"}, ValueError, 'optuna has no method "simplex"'),
    ({"optimiser": "gradient"}, ValueError, "one of scipy, optuna"),
    ({"max_trials": 0}, ValueError, "at least one trial"),
    ({"at_least": 1000}, ValueError, "1000 are needed"),
    ({"settings": {"file:rain.dat": "other.dat"}}, ValueError, "not a setting"),
])
def test_what_can_not_be_fitted_is_refused(town, tmp_path, measured, ensembles, changed, error, words):
    arguments = {"parameters": BOUNDS, "measured": {FLOW: measured[FLOW]}, "max_trials": 5, "population": 5, **changed}
    with pytest.raises(error, match=words):
        fit(town, out=tmp_path / "fit", **arguments)


@pytest.mark.parametrize("missing, words", [("scipy", "pip install scipy"), ("optuna", "pip install optuna")])
def test_an_optimiser_that_is_not_installed_is_told(town, tmp_path, measured, ensembles, monkeypatch, missing, words):
    monkeypatch.setitem(sys.modules, missing, None)
    with pytest.raises(ImportError, match=words):
        fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", optimiser=missing)


def test_a_plot_without_matplotlib_is_told(town, tmp_path, measured, ensembles, monkeypatch):
    found = fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", population=5, max_trials=5)
    monkeypatch.setitem(sys.modules, "matplotlib.figure", None)
    with pytest.raises(ImportError, match="pip install matplotlib"):
        found.plot()


def test_a_sampler_of_ones_own_is_asked(town, tmp_path, measured, ensembles):
    optuna = pytest.importorskip("optuna")
    found = fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", optimiser="optuna", max_trials=4,
                population=2, method=optuna.samplers.RandomSampler(seed=3))
    same = fit(town, BOUNDS, {FLOW: measured[FLOW]}, out=tmp_path / "fit", optimiser="optuna", max_trials=4,
               population=2, method="random", seed=3)
    pd.testing.assert_frame_equal(found.trials, same.trials)


# --- places ----------------------------------------------------------------------------------------------------------

def test_values_never_leave_their_bounds(town):
    parameters = Parameters(town, {SHARES: Factor(0.5, 2.0, least=25.0, most=90.0),
                                   ROUGHNESS: Range(0.005, 0.05, True)})
    low, high = parameters.values(np.zeros(2)), parameters.values(np.ones(2))
    assert low.tolist() == [0.5, 0.005] and high.tolist() == [2.0, 0.05]
    assert parameters.row(high)["subcatchment/VALE/impervious_share"] == 90.0  # and not 120
    assert parameters.row(low)["subcatchment/HILL/impervious_share"] == 25.0   # and not 20
    # by order of magnitude the middle of 0.005 and 0.05 is their geometric mean
    assert parameters.values(np.array([0.5, 0.5]))[1] == pytest.approx(0.005 * 10.0 ** 0.5, rel=1e-12)
    assert parameters.values(parameters.start)[1] == pytest.approx(0.014, rel=1e-12)


def test_a_factor_on_the_whole_model(town):
    parameters = Parameters(town, {"system/start_dry_days": Factor(1.0, 3.0)})
    assert parameters.row(np.array([2.0])) == {"system/start_dry_days": 10.0}


def test_a_factor_on_a_variable_by_pollutant(town):
    parameters = Parameters(town, {"land_use/*/washoff_coefficient/TSS": Factor(0.5, 3.0)})
    assert parameters.row(np.array([2.0])) == {WASHOFF: pytest.approx(0.2)}


def test_results_by_their_places(town):
    run = tv.run(town, report=False, results=False)
    results = run.results
    assert series_of(results, "node/OUT/inflow").equals(results.nodes["inflow"]["OUT"])
    assert series_of(results, SOLIDS).equals(results.nodes["TSS"]["OUT"])
    assert series_of(results, "outfalls/OUT/TSS").equals(results.nodes["TSS"]["OUT"])
    assert series_of(results, "system/rain").equals(results.system["rain"])
    for place in ("nodes/MOON/inflow", "system/moon", "nodes/OUT/moon", "nodes/OUT", "moons/OUT/inflow"):
        with pytest.raises(tv.UnknownError):
            series_of(results, place)


def test_totals_by_their_places(town):
    totals = tv.run(town, report=False, results=False).totals
    nodes = totals["nodes"]
    assert total_of(totals, "nodes/OUT/peak_inflow") == nodes.at["OUT", "peak_inflow"] > 0.1
    assert total_of(totals, "outfall/OUT/outflow_mass/TSS") == nodes.at["OUT", "outflow_mass[TSS]"] > 1.0
    assert total_of(totals, "system/runoff_rainfall") == totals["system"]["runoff_rainfall"].iloc[0] > 1.0
    for place in ("nodes/MOON/peak_inflow", "nodes/OUT/moon", "system/moon", "nodes/OUT"):
        with pytest.raises(tv.UnknownError):
            total_of(totals, place)


@pytest.mark.parametrize("bounds", [(1, 2, 3), 5, None, "ab", ("a", "b"), [(1, 2)]])
def test_bounds_that_are_none_are_said(town, bounds):
    with pytest.raises(ValueError, match="impervious_roughness: bounds are"):
        Parameters(town, {ROUGHNESS: bounds}, None, None)


def test_measured_values_that_cannot_be_are_said(town, tmp_path):
    flow = pd.Series([0.1, np.inf, 0.3], index=pd.date_range("2024-06-10", periods=3, freq="1h"))
    with pytest.raises(ValueError, match="nodes/OUT/inflow: a measured value is infinite"):
        fit(town, BOUNDS, {FLOW: flow}, out=tmp_path / "fit")
    for measured in (None, "x", [flow]):
        with pytest.raises(TypeError, match="a mapping of places"):
            fit(town, BOUNDS, measured, out=tmp_path / "fit")
    with pytest.raises(TypeError, match="a place is text"):
        fit(town, BOUNDS, {5: flow}, out=tmp_path / "fit")
    with pytest.raises(TypeError, match="a measure is a name"):
        fit(town, BOUNDS, {FLOW: flow.iloc[::2]}, measure=5, out=tmp_path / "fit")
    assert not (tmp_path / "fit").exists()
