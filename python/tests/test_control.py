"""Control: looking ahead, and the environment that controllers learn in.

The plant is a tank of 100 m2 that gets 0.2 m3/s; a gate of 1 m x 0.2 m at its bottom leads to WORKS, what rises above
1.5 m goes over a weir into BROOK. """
import math
import os
import subprocess
import sys
import types
from pathlib import Path

import numpy as np
import pytest

import tarnvelde as tv
from fitting import write_town
from tarnvelde._spaces import Box
from tarnvelde.control import ControlEnvironment, look_ahead

PLANT = """[GENERAL]
START_DATE   2024/06/10
START_TIME   00:00
END_DATE     2024/06/10
END_TIME     03:00
ROUTING_STEP 0:01:00
REPORT_STEP  0:10:00
[JUNCTIONS]
TOWN
[TANKS]
T SHAPE 3.0 1.0
[OUTFALLS]
WORKS
BROOK
[CONNECTIONS]
SEWER TOWN T NO 0
[ORIFICES]
GATE T WORKS NO RECTANGULAR 0.62 0.0 0.2 1.0
[WEIRS]
CREST T BROOK NO RECTANGULAR 1.8 2.0 1.5 0
[CURVES]
SHAPE TANK 0 100 3.0 100
[POLLUTANTS]
TSS 0
[INFLOWS]
TOWN FLOW FLOW 0.2 "" 1.0
TOWN CONCEN TSS 100 "" 1.0
"""
GATE, DEPTH, SPILLED = "orifices/GATE/setting", "tanks/T/depth", "outfalls/BROOK/inflow_volume"


@pytest.fixture
def plant(tmp_path):
    path = tmp_path / "plant.inp"
    path.write_text(PLANT)
    return path


@pytest.fixture
def model(plant):
    with tv.Model(plant, tell_warnings=False) as opened:
        opened.start()
        yield opened


def spilled(model):
    return model.outfalls["BROOK"].inflow_volume


def make(plant, **changed):
    options = {"observe": [DEPTH, "links/*/flow"], "act": [GATE], "every": "10min", "watch": [SPILLED],
               "reward": lambda model, before: before[SPILLED] - spilled(model), **changed}
    return ControlEnvironment(plant, **options)


# --- looking ahead ---------------------------------------------------------------------------------------------------

def test_the_candidate_of_the_least_cost_is_chosen(model):
    # with 1 m of water a fifth of the gate lets through 0.62 x 0.04 x sqrt(2 g) = 0.11 m3/s, the whole gate 0.55
    candidates = [{GATE: opening} for opening in (0.0, 0.2, 1.0)]
    choice = look_ahead(model, candidates, "1h", spilled)
    assert choice.best == {GATE: 1.0} and choice.number == 2
    assert choice.cost == choice.costs[2] < choice.costs[1] < choice.costs[0]


def test_costs_are_those_of_runs_with_the_candidates(plant, model):
    model.run_until("2024-06-10 00:20")
    choice = look_ahead(model, [{GATE: 0.0}, {GATE: 0.5}], "30min", spilled)
    for opening, cost in zip((0.0, 0.5), choice.costs):
        with tv.Model(plant, tell_warnings=False) as other:
            other.run_until("2024-06-10 00:20")
            other.orifices["GATE"].setting = opening
            other.run_until("2024-06-10 00:50")
            assert spilled(other) == cost


def test_the_model_stays_as_it_is(model):
    model.run_until("2024-06-10 00:20")
    before = model.state()
    look_ahead(model, [{GATE: 0.0}, {GATE: 1.0}], "1h", spilled)
    assert model.state() == before and model.now == np.datetime64("2024-06-10T00:20")


def test_a_twin_that_is_kept_finds_the_same(model):
    candidates = [{GATE: opening} for opening in (0.0, 0.5, 1.0)]
    with model.clone() as twin:
        for _ in range(2):
            model.run_until(model.now + np.timedelta64(10, "m"))
            own = look_ahead(model, candidates, "20min", spilled)
            assert look_ahead(model, candidates, "20min", spilled, twin=twin) == own
        assert twin.phase == tv.Phase.STARTED


def test_among_equals_the_first_is_chosen(model):
    assert look_ahead(model, [{GATE: 0.5}, {GATE: 1.0}], "1h", lambda twin: 0.0).number == 0


def test_costs_may_be_tuples_of_which_the_first_difference_counts(model):
    candidates = [{GATE: 0.0}, {GATE: 0.5}, {GATE: 1.0}]
    choice = look_ahead(model, candidates, "1h", lambda twin: (0.0, twin.tanks["T"].volume))
    assert choice.number == 2
    assert look_ahead(model, candidates, "1h", lambda twin: (1.0, -twin.tanks["T"].volume)).number == 0


def test_a_plan_has_its_parts_one_after_the_other(plant, model):
    plan = [{GATE: 1.0}, {GATE: 0.0}]
    choice = look_ahead(model, [plan], "1h", lambda twin: (twin.progress, twin.tanks["T"].depth))
    with tv.Model(plant, tell_warnings=False) as other:
        other.start()
        other.orifices["GATE"].setting = 1.0
        other.run_until("2024-06-10 00:30")
        other.orifices["GATE"].setting = 0.0
        other.run_until("2024-06-10 01:00")
        assert choice.cost == (other.progress, other.tanks["T"].depth)
    assert choice.best is plan


def test_a_candidate_without_values_leaves_all_as_it_is(plant, model):
    choice = look_ahead(model, [{}, []], "1h", spilled)
    with tv.Model(plant, tell_warnings=False) as other:
        other.run_until("2024-06-10 01:00")
        assert choice.costs == [spilled(other)] * 2


def test_a_look_ends_with_the_run(model):
    model.run_until("2024-06-10 02:30")
    choice = look_ahead(model, [[{GATE: 0.0}, {GATE: 1.0}]], "2h", lambda twin: twin.progress)
    assert choice.cost == 1.0
    model.run_until()
    with pytest.raises(tv.PhaseError, match="finished"):
        look_ahead(model, [{GATE: 0.0}], "1h", spilled)


def test_what_has_no_cost_is_not_chosen(model):
    def cost(twin):
        return math.nan if twin.orifices["GATE"].setting > 0.5 else spilled(twin)

    choice = look_ahead(model, [{GATE: 1.0}, {GATE: 0.5}, {GATE: 0.0}], "1h", cost)
    assert choice.number == 1 and math.isnan(choice.costs[0])
    with pytest.raises(tv.RunError, match="no candidate"):
        look_ahead(model, [{GATE: 1.0}], "1h", cost)


def test_a_candidate_that_ends_the_run_is_not_chosen(model, monkeypatch):
    advance = tv.Model._advance
    phases = []

    def refuse(self, function, *arguments):
        if self.orifices["GATE"].setting == 0.0 or self.get("orifices", "target_setting")[0] == 0.0:
            raise tv.RunError("the engine has ended the run")
        advance(self, function, *arguments)

    def cost(twin):
        phases.append(twin.phase)
        return spilled(twin)

    monkeypatch.setattr(tv.Model, "_advance", refuse)
    choice = look_ahead(model, [{GATE: 0.0}, {GATE: 1.0}], "1h", cost)
    assert choice.number == 1 and math.isnan(choice.costs[0]) and phases == [tv.Phase.STARTED]
    with pytest.raises(tv.RunError, match="no candidate .*: the engine has ended the run"):
        look_ahead(model, [{GATE: 0.0}], "1h", cost)


def test_a_twin_whose_run_was_ended_begins_anew(model, monkeypatch):
    with model.clone() as twin:
        phases = [tv.Phase.FAILED]
        real = tv.Model.phase.fget
        monkeypatch.setattr(tv.Model, "phase",
                            property(lambda self: phases.pop() if self is twin and phases else real(self)))
        assert look_ahead(model, [{GATE: 1.0}], "10min", spilled, twin=twin).number == 0
        assert not phases and twin.now == np.datetime64("2024-06-10T00:10")


def test_there_must_be_candidates_and_places(model):
    with pytest.raises(ValueError, match="no candidates"):
        look_ahead(model, [], "1h", spilled)
    for place in ("orifices/MOON/setting", "orifices/GATE/moon", "setting"):
        with pytest.raises(tv.UnknownError):
            look_ahead(model, [{place: 1.0}], "1h", spilled)
    with pytest.raises(tv.ValueRefused):
        look_ahead(model, [{GATE: 2.0}], "1h", spilled)


# --- environment -----------------------------------------------------------------------------------------------------

def test_an_episode_is_the_run_with_the_actions(plant):
    with make(plant) as env:
        seen, info = env.reset()
        assert info == {"time": np.datetime64("2024-06-10T00:00:00.000"), "scenario": 0}
        assert seen.dtype == np.float32 and seen[0] == 1.0
        rewards, truncated, count = 0.0, False, 0
        while not truncated:
            seen, reward, terminated, truncated, info = env.step([0.25])
            rewards, count = rewards + reward, count + 1
            assert not terminated
        assert count == 18 and info["time"] == np.datetime64("2024-06-10T03:00:00.000")
    with tv.Model(plant, tell_warnings=False) as other:
        other.start()
        other.orifices["GATE"].setting = 0.25
        other.run_until()
        assert rewards == pytest.approx(-spilled(other), rel=1e-12) and rewards < -100.0
        flows = other.get("links", "flow")
        assert seen.tolist() == np.array([other.tanks["T"].depth, *flows], np.float32).tolist()


def test_a_reset_goes_back_to_the_same_bits_without_opening_anew(plant):
    with make(plant) as env:
        env.reset()
        model, state = env.model, env.model.state()
        first = [env.step([0.0])[0].tolist() for _ in range(3)]
        env.reset()
        assert env.model is model and env.model.state() == state
        assert [env.step([0.0])[0].tolist() for _ in range(3)] == first
        env.reset()
        assert env.model.orifices["GATE"].setting == 1.0  # no longer held


def test_a_reset_after_the_end_begins_anew(plant):
    with make(plant, every="90min") as env:
        env.reset()
        env.step([1.0])
        assert env.step([1.0])[3]
        with pytest.raises(tv.PhaseError, match="over"):
            env.step([1.0])
        env.reset()
        assert env.step([1.0])[4]["time"] == np.datetime64("2024-06-10T01:30:00.000")


def test_a_model_without_states_is_opened_anew(plant, monkeypatch):
    def refuse(self):
        raise tv.StateError("a model inside a node has no states")

    monkeypatch.setattr(tv.Model, "state", refuse)
    with make(plant) as env:
        env.reset()
        model = env.model
        seen = env.step([0.0])[0].tolist()
        env.reset()
        assert env.model is not model and model.phase == tv.Phase.CLOSED
        assert env.step([0.0])[0].tolist() == seen


def test_a_run_that_the_engine_ended_is_opened_anew(plant, monkeypatch):
    with make(plant) as env:
        env.reset()
        model, phase = env.model, tv.Model.phase.fget
        monkeypatch.setattr(tv.Model, "phase",
                            property(lambda self: tv.Phase.FAILED if self is model else phase(self)))
        env.reset()
        assert env.model is not model
        monkeypatch.undo()


def test_a_step_that_fails_ends_the_episode(plant, monkeypatch):
    with make(plant) as env:
        env.reset()

        def refuse(self, function, *arguments):
            raise tv.RunError("the engine has ended the run")

        with monkeypatch.context() as patch:
            patch.setattr(tv.Model, "_advance", refuse)
            with pytest.raises(tv.RunError):
                env.step([1.0])
        with pytest.raises(tv.PhaseError, match="over"):
            env.step([1.0])
        env.reset()
        env.step([1.0])


def test_rewards_see_what_was_ahead_of_the_step(plant):
    told = []
    with make(plant, reward=lambda model, before: told.append(dict(before)) or 1) as env:
        seen, _ = env.reset()
        _, reward, *_ = env.step([1.0])
    assert reward == 1.0 and isinstance(reward, float)
    assert list(told[0]) == [DEPTH, "links/SEWER/flow", "links/GATE/flow", "links/CREST/flow", SPILLED]
    assert [np.float32(value) for value in list(told[0].values())[:-1]] == seen.tolist()


def test_an_episode_ends_as_it_is_told(plant):
    with make(plant, ends=lambda model: model.tanks["T"].depth > 1.5) as env:
        env.reset()
        terminated = False
        count = 0
        while not terminated:
            seen, _, terminated, truncated, _ = env.step([0.0])
            count += 1
        # 0.5 m of 100 m2 at 0.2 m3/s are filled in 250 s
        assert count == 1 and seen[0] > 1.5 and not truncated
        with pytest.raises(tv.PhaseError):
            env.step([0.0])


def test_begin_and_until_cut_the_episode(plant):
    with make(plant, begin="2024-06-10 01:00", until="2024-06-10 01:25") as env:
        seen, info = env.reset()
        assert info["time"] == np.datetime64("2024-06-10T01:00:00.000") and seen[0] != 1.0
        ends = [env.step([1.0])[3:] for _ in range(3)]
        assert [truncated for truncated, _ in ends] == [False, False, True]
        assert ends[-1][1]["time"] == np.datetime64("2024-06-10T01:25:00.000")
        assert env.reset()[0].tolist() == seen.tolist()


def test_scenarios_are_chosen_by_the_seed(plant, tmp_path):
    other = tmp_path / "other.inp"
    other.write_text(PLANT.replace("T SHAPE 3.0 1.0", "T SHAPE 3.0 2.0"))
    scenarios = [{"tank/T/initial_depth": 0.5}, other, (other, {"tank/T/initial_depth": 0.25})]
    with make(plant, scenarios=scenarios, settings={"tank/T/max_depth": 2.75}) as env:
        depths = [env.reset(options={"scenario": number})[0][0] for number in range(3)]
        assert depths == [0.5, 2.0, 0.25]
        assert env.model.tanks["T"].max_depth == 2.75

        def episodes(seed):
            return [env.reset(seed=seed)[1]["scenario"]] + [env.reset()[1]["scenario"] for _ in range(20)]

        assert episodes(3) == episodes(3) != episodes(4)
        assert set(episodes(3)) == {0, 1, 2}
        assert episodes(3)[0] == np.random.default_rng(3).integers(3)
        with pytest.raises(ValueError, match="no scenario 3"):
            env.reset(options={"scenario": 3})


def test_only_so_many_scenarios_stay_open(plant):
    scenarios = [{"tank/T/initial_depth": depth} for depth in (0.5, 1.0, 1.5)]
    with make(plant, scenarios=scenarios, keep_open=2) as env:
        models = []
        for number in (0, 1, 0, 2):
            env.reset(options={"scenario": number})
            models.append(env.model)
        assert [model.phase == tv.Phase.CLOSED for model in models] == [False, True, False, False]
        assert env.reset(options={"scenario": 1})[0][0] == 1.0


def test_scenarios_must_be_seen_alike(plant, tmp_path):
    other = tmp_path / "other.inp"
    other.write_text(PLANT.replace("GATE T WORKS", "GATE_2 T WORKS NO CIRCULAR 0.62 0.0 0.2\nGATE T WORKS"))
    with make(plant, scenarios=[{}, other]) as env:
        with pytest.raises(ValueError, match="scenario 1 has 5 places"):
            env.reset(options={"scenario": 1})


def test_bounds_are_those_given_or_those_of_settings(plant):
    with make(plant, observe={DEPTH: (0.0, 3.0), "links/*/flow": (0.0, 9.0), "system/rain": (0.0, 50.0)},
              act={"orifices/*/setting": (0.1, 0.9), "junctions/TOWN/added_inflow": (0.0, 0.5)}) as env:
        assert env.observation_space == Box([0.0] * 5, [3.0, 9.0, 9.0, 9.0, 50.0])
        assert env.action_space == Box([0.1, 0.0], [0.9, 0.5])
    with make(plant) as env:
        assert env.observation_space == Box([-np.inf] * 4, [np.inf] * 4)
        assert env.action_space == Box([0.0], [1.0])


def test_variables_are_found_by_their_other_names(tmp_path):
    path = write_town(tmp_path)
    with ControlEnvironment(path, observe=["subcatchments/*/imperviousness"], reward=lambda model, before: 0.0,
                            act={"subcatchments/VALE/imperviousness": (0.0, 100.0)}) as env:
        assert env.reset()[0].tolist() == [40.0, 60.0]
        assert env.step([80.0])[0].tolist() == [40.0, 80.0]


def test_values_by_pollutant_are_seen(plant):
    with make(plant, observe=["nodes/TOWN/concentration/TSS"]) as env:
        env.reset()
        assert env.step([1.0])[0].tolist() == [100.0]


@pytest.mark.parametrize("changed, error, words", [
    ({"act": ["junctions/TOWN/added_inflow"]}, ValueError, "needs bounds"),
    ({"act": {GATE: (1.0, 0.0)}}, ValueError, "lower bound comes first"),
    ({"observe": ["tanks/T/moon"]}, tv.UnknownError, "moon"),
    ({"observe": ["nodes/TOWN/concentration"]}, tv.UnknownError, "goes by pollutant"),
    ({"observe": ["tanks/*/moon"]}, tv.UnknownError, "moon"),
    ({"scenarios": []}, ValueError, "no scenarios"),
    ({"every": 0.0}, ValueError, "above 0"),
])
def test_what_can_not_be_seen_or_set_is_refused(plant, changed, error, words):
    with pytest.raises(error, match=words):
        make(plant, **changed)


def test_an_action_outside_of_the_space_is_refused(plant):
    with make(plant) as env:
        env.reset()
        for action in ([1.5], [0.5, 0.5], [math.nan]):
            with pytest.raises(ValueError, match="is no action"):
                env.step(action)
        env.step([1.0])


def test_ahead_of_the_first_reset_nothing_can_be_done(plant):
    env = make(plant)
    for call in (lambda: env.step([1.0]), lambda: env.model):
        with pytest.raises(tv.PhaseError, match="reset"):
            call()
    env.close()
    env.close()
    with pytest.raises(tv.PhaseError):
        env.step([1.0])


def test_the_form_that_libraries_ask_for(plant):
    with make(plant) as env:
        assert env.unwrapped is env and env.render() is None and env.render_mode is None
        assert env.metadata == {"render_modes": []}
        env.np_random = chance = np.random.default_rng(1)
        assert env.np_random is chance
        assert repr(env) == "<ControlEnvironment of 1 scenarios: observes 4 places, acts on 1, every 600 s>"


def test_with_gymnasium_it_is_one_of_its_environments(plant, monkeypatch):
    class TheirBox:
        def __init__(self, low, high, dtype):
            self.low, self.high, self.dtype, self.shape = low, high, dtype, low.shape

        def contains(self, x):
            return bool(np.all(x >= self.low) and np.all(x <= self.high))

    class Env:
        pass

    gymnasium, spaces = types.ModuleType("gymnasium"), types.ModuleType("gymnasium.spaces")
    gymnasium.Env, gymnasium.spaces, spaces.Box = Env, spaces, TheirBox
    monkeypatch.setitem(sys.modules, "gymnasium", gymnasium)
    monkeypatch.setitem(sys.modules, "gymnasium.spaces", spaces)
    with make(plant) as env:
        assert isinstance(env, Env) and isinstance(env, ControlEnvironment)
        assert type(env).__name__ == "ControlEnvironment"
        assert isinstance(env.action_space, TheirBox) and env.action_space.dtype == np.float32
        assert env.action_space.low.tolist() == [0.0] and env.observation_space.high.tolist() == [math.inf] * 4
        env.reset()
        assert len(env.step(np.array([0.5], np.float32))) == 5


# --- spaces ----------------------------------------------------------------------------------------------------------

def test_samples_lie_between_the_bounds_and_come_again_with_the_seed():
    space = Box([0.0, 1.0, -np.inf, -np.inf], [1.0, np.inf, 2.0, np.inf])
    space.seed(4)
    first = [space.sample() for _ in range(200)]
    assert all(space.contains(sample) and sample.dtype == np.float32 for sample in first)
    assert min(sample[0] for sample in first) < 0.1 and max(sample[0] for sample in first) > 0.9
    space.seed(4)
    assert space.sample().tolist() == first[0].tolist()


def test_what_a_space_holds():
    space = Box([0.0, 0.0], [1.0, 2.0])
    assert [1.0, 2.0] in space and np.zeros(2, np.float32) in space
    for other in ([1.5, 0.0], [0.0, -0.1], [0.0], "ab", [math.nan, 0.0], None):
        assert other not in space
    assert space == Box([0.0, 0.0], [1.0, 2.0]) and space != Box([0.0, 0.0], [1.0, 1.0]) and space != [0.0, 1.0]
    assert repr(space) == "Box([0. 0.], [1. 2.], (2,), float32)"


# --- example ---------------------------------------------------------------------------------------------------------

def test_the_example_prints_what_its_readme_shows():
    folder = Path(__file__).resolve().parents[2] / "examples" / "python-control"
    environment = {**os.environ, "PYTHONPATH": str(Path(tv.__file__).resolve().parents[1])}
    done = subprocess.run([sys.executable, str(folder / "control.py")], env=environment, capture_output=True, text=True,
                          check=True)
    shown = (folder / "README.md").read_text("utf-8").split("```\n")[1]
    assert done.stdout == shown and done.stderr == ""
    assert sorted(path.name for path in folder.iterdir() if path.suffix != ".pyc") == [
        "README.md", "control.py", "valley.inp"]


def test_candidates_and_twins_that_cannot_be_are_refused_and_the_model_stays(model):
    model.step()
    now = model.now
    for candidates in ({GATE: 0.5}, "x", [GATE], [[GATE]]):
        with pytest.raises(TypeError, match="candidates are a list"):
            look_ahead(model, candidates, "1h", spilled)
    with pytest.raises(ValueError, match="its own twin"):
        look_ahead(model, [{GATE: 0.5}], "1h", spilled, twin=model)
    assert model.now == now


@pytest.mark.parametrize("name", ["observe", "act", "watch"])
def test_places_as_one_text_are_refused(name):
    places = {"observe": [], "act": [], name: GATE}
    with pytest.raises(TypeError, match=f"{name}: a list of places"):
        ControlEnvironment("town.inp", reward=lambda m, before: 0.0, **places)
