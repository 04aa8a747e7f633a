"""Events of flow, by hand and against the command line."""
import json
import subprocess

import numpy as np
import pandas as pd
import pytest
from conftest import BUILD, EXAMPLES, engines_of

import tarnvelde as tv
from tarnvelde._tables import ResultSource, TableInfo, columns_of
from tarnvelde.results import Results


class Made(ResultSource):
    """Results of one outfall and one pipe, made of flows by the hour."""

    def __init__(self, flow, solids=None):
        self.name, self.start, self.report_step = "made", np.datetime64("2024-01-01T00:00"), 3600.0
        pollutants = [] if solids is None else ["TSS"]
        self.tables = tuple(TableInfo(name, columns_of(name, pollutants), (name[0],)) for name in ("Outfall", "Pipe"))
        self.flow, self.solids = np.array(flow, float), solids

    def dates(self):
        return (self.start + np.arange(1, len(self.flow) + 1) * np.timedelta64(1, "h")).astype("datetime64[s]")

    def read_object(self, table, row):
        columns = [self.solids if column.pollutant else self.flow for column in self.tables[table].columns]
        return np.column_stack(columns).astype(float)


def made(flow, solids=None):
    return Results(Made(flow, solids))


def test_events_end_at_gaps_of_just_the_length():
    #       hour  1  2  3  4  5  6  7  8
    flow = [0, 2, 1, 0, 0, 3, 0, 0]
    two = tv.events(made(flow), "O", gap="2h")
    assert list(two["volume"]) == [3 * 3600, 3 * 3600] and list(two["hours"]) == [2.0, 1.0]
    assert list(two["start"]) == [pd.Timestamp("2024-01-01 01:00"), pd.Timestamp("2024-01-01 05:00")]
    assert list(two["end"]) == [pd.Timestamp("2024-01-01 03:00"), pd.Timestamp("2024-01-01 06:00")]
    assert list(two["peak"]) == [2.0, 3.0] and two["peak_time"][0] == pd.Timestamp("2024-01-01 02:00")
    one = tv.events(made(flow), "O", gap="2h 1s")
    assert list(one["volume"]) == [6 * 3600] and list(one["hours"]) == [3.0]
    assert len(tv.events(made(flow), "O", gap=0)) == 2
    assert two.attrs["units"]["volume"] == "m3"


def test_events_that_the_record_cuts_say_so():
    found = tv.events(made([1, 0, 0, 1]), "O", gap="1h")
    assert list(found["began_before"]) == [True, False] and list(found["goes_on"]) == [False, True]
    assert not tv.events(made([0, 0]), "O").size and tv.events(made([]), "O").empty


def test_flow_is_what_is_above_the_threshold():
    found = tv.events(made([0.5, 1.0, 1.5, 2.0]), "O", threshold=1.0, gap="1h")
    assert list(found["volume"]) == [3.5 * 3600] and not found["began_before"][0]


def test_loads_and_means_are_weighted_by_flow():
    # 1 m3/s of 100 mg/L and 3 m3/s of 20 mg/L: 0.1 + 0.06 kg/s for an hour each; mean 160 g / 4 m3 = 40 mg/L
    found = tv.events(made([1, 3, 0], np.array([100.0, 20.0, 7.0])), "O")
    assert found["load[TSS]"][0] == pytest.approx(0.16 * 3600) and found["mean[TSS]"][0] == pytest.approx(40.0)
    assert found["maximum[TSS]"][0] == 100.0


def test_numbers_that_are_none_are_left_out():
    # the row without a flow is neither flow nor gap; that without a concentration has water and no load
    found = tv.events(made([1, np.nan, 1, -5, 0, 1], np.array([10.0, 1.0, np.nan, 1.0, 1.0, 30.0])), "O", gap="2h")
    assert list(found["volume"]) == [7200.0, 3600.0] and list(found["load[TSS]"]) == pytest.approx([36.0, 108.0])
    sums = tv.event_totals(made([1, np.nan, -5]), "O")
    assert sums["years"][0] == pytest.approx(2 / 24 / 365.25) and sums["p5"][0] == pytest.approx(0.05)


def test_windows_take_whole_periods():
    flow = [1, 1, 1, 1]
    window = tv.events(made(flow), "O", start="2024-01-01 01:00", end="2024-01-01 03:00")
    assert window["volume"][0] == 7200.0 and window["start"][0] == pd.Timestamp("2024-01-01 01:00")
    assert tv.events(made(flow), "O", start=pd.Timestamp("2024-01-01 00:30"))["hours"][0] == 3.0


def test_what_means_nothing_is_refused():
    with pytest.raises(tv.UnknownError, match='"X"'):
        tv.events(made([1]), "X")
    with pytest.raises(tv.UnknownError, match="depth"):
        tv.events(made([1]), "O", variable="depth")
    for wrong in ({"gap": "-1h"}, {"threshold": -1.0}, {"threshold": float("nan")}):
        with pytest.raises(ValueError):
            tv.events(made([1]), "O", **wrong)
    with pytest.raises(TypeError, match="not of DataFrame"):
        tv.events(pd.DataFrame())


def test_other_flows_have_loads_where_their_quality_is_known():
    pipe = tv.events(made([1, 1], np.array([10.0, 10.0])), "P", variable="flooding")
    assert pipe["load[TSS]"][0] == pytest.approx(72.0)
    lateral = tv.events(made([1, 1], np.array([10.0, 10.0])), "O", variable="lateral_flow")
    assert lateral["volume"][0] == 7200.0 and np.isnan(lateral["load[TSS]"][0])


@pytest.mark.parametrize("options", [{}, {"gap": 1, "threshold": 0.01}, {"gap": 0, "threshold": 0.1}])
@pytest.mark.parametrize("name", EXAMPLES)
def test_figures_are_those_of_the_command_line(example, name, options):
    run = tv.run(example(name), engines=engines_of(name), report=False)
    words = [f"--{word}={value}" for word, value in options.items()]
    done = subprocess.run([BUILD / "tarnvelde", "stats", run.files["results"], "--events", "--json", *words],
                          capture_output=True, text=True, check=True)
    given = {**options, "gap": 3600.0 * options.get("gap", 6)}
    ours, sums = tv.events(run, **given), tv.event_totals(run, **given)
    shown = json.loads(done.stdout)["objects"]
    assert [(one["table"], one["object"]) for one in shown] == list(sums.index)
    for one in shown:
        total = sums.loc[(one["table"], one["object"])]
        assert total["events"] == one["events"] and total["hours"] == pytest.approx(one["hours"])
        assert total["volume"] == pytest.approx(one["volume"], rel=1e-9)
        assert total["events_per_year"] == pytest.approx(one["eventsPerYear"])
        if one["events"]:
            assert total["peak"] == pytest.approx(one["peak"], rel=1e-7)
            assert total["mean_event"] == pytest.approx(one["meanEvent"])
            assert str(total["peak_time"]) == one["timeOfPeak"]
        for percent, value in one["percentiles"].items():
            assert total[f"p{percent}"] == pytest.approx(value, rel=1e-6, abs=1e-30)
        for quality in one["pollutants"]:
            assert total[f"load[{quality['name']}]"] == pytest.approx(quality["load"], rel=1e-9)
        own = ours[(ours["table"] == one["table"]) & (ours["object"] == one["object"])]
        for (_, row), event in zip(own.iterrows(), one["eventList"]):
            assert (str(row["start"]), str(row["end"])) == (event["start"], event["end"])
            assert (row["began_before"], row["goes_on"]) == (event["beganBefore"], event["goesOn"])
            assert row["volume"] == pytest.approx(event["volume"], rel=1e-9)
            for quality in event["pollutants"]:
                assert row[f"load[{quality['name']}]"] == pytest.approx(quality["load"], rel=1e-9)
        assert len(own) == len(one["eventList"])
