"""Measures of agreement, against numbers worked out by hand."""
import math

import numpy as np
import pandas as pd
import pytest

from tarnvelde import measures

MEASURED = [1.0, 2.0, 3.0, 6.0]   # mean 3, deviations -2 -1 0 3, their squares add up to 14
SIMULATED = [2.0, 2.0, 4.0, 8.0]  # mean 4, deviations -2 -2 0 4, their squares add up to 24; errors 1 0 1 2


def at(*minutes):
    return pd.DatetimeIndex([pd.Timestamp("2024-06-10") + pd.Timedelta(m, unit="min") for m in minutes])


def test_nash_sutcliffe_is_one_less_the_errors_to_the_spread():
    # squares of the errors: 1 + 0 + 1 + 4 = 6; 1 - 6/14
    assert measures.nse(SIMULATED, MEASURED) == pytest.approx(8.0 / 14.0, rel=1e-14)


def test_nash_sutcliffe_of_the_measured_mean_is_0_and_of_the_measured_values_1():
    assert measures.nse([3.0] * 4, MEASURED) == 0.0
    assert measures.nse(MEASURED, MEASURED) == 1.0


def test_nash_sutcliffe_refuses_measured_values_without_spread():
    with pytest.raises(ValueError, match="all the same"):
        measures.nse([1.0, 2.0], [3.0, 3.0])


def test_kling_gupta_and_its_parts():
    # products of the deviations: 4 + 2 + 0 + 12 = 18; r = 18 / sqrt(24 * 14); a = sqrt(24 / 14); b = 4 / 3
    parts = measures.kge_parts(SIMULATED, MEASURED)
    r, a, b = 18.0 / math.sqrt(336.0), math.sqrt(24.0 / 14.0), 4.0 / 3.0
    assert parts.correlation == pytest.approx(r, rel=1e-14)
    assert parts.variability == pytest.approx(a, rel=1e-14)
    assert parts.bias == pytest.approx(b, rel=1e-14)
    # (1 - 0.98198)^2 + (1.30931 - 1)^2 + (1/3)^2 = 0.000325 + 0.095671 + 0.111111 = 0.207107, its root 0.455090
    assert parts.value == pytest.approx(0.544910, abs=1e-6)
    assert measures.kge(SIMULATED, MEASURED) == parts.value


def test_kling_gupta_of_2012_takes_the_coefficients_of_variation():
    # the variability 1.30931 over the bias 4/3 is 0.98198
    parts = measures.kge_2012_parts(SIMULATED, MEASURED)
    assert parts.variability == pytest.approx(math.sqrt(24.0 / 14.0) * 0.75, rel=1e-14)
    # 0.000325 + (0.98198 - 1)^2 + 0.111111 = 0.111760, its root 0.334306
    assert parts.value == pytest.approx(0.665694, abs=1e-6)
    assert measures.kge_2012(SIMULATED, MEASURED) == parts.value


def test_a_factor_on_the_simulated_values_moves_only_the_bias_of_2012():
    parts = measures.kge_2012_parts([2.0 * value for value in MEASURED], MEASURED)
    assert parts == pytest.approx((0.0, 1.0, 1.0, 2.0), abs=1e-14)


def test_kling_gupta_of_simulated_values_without_spread_is_no_number():
    assert math.isnan(measures.kge([3.0] * 4, MEASURED))
    assert math.isnan(measures.kge_2012([0.0] * 4, MEASURED))


@pytest.mark.parametrize("measured", [[2.0, 2.0], [-1.0, 1.0]])
def test_kling_gupta_refuses_what_it_would_have_to_divide_by_0(measured):
    with pytest.raises(ValueError, match="mean is 0"):
        measures.kge([1.0, 2.0], measured)


def test_efficiency_of_logarithms_with_a_hundredth_of_the_mean():
    # mean of 1 and 3: 2, so that 0.02 is added: ln 2.02 - ln 1.02 is the error of the first, 0 that of the second
    spread = 0.5 * (math.log(3.02) - math.log(1.02)) ** 2
    wanted = 1.0 - (math.log(2.02) - math.log(1.02)) ** 2 / spread
    assert measures.log_nse([2.0, 3.0], [1.0, 3.0]) == pytest.approx(wanted, rel=1e-12)


def test_efficiency_of_logarithms_with_an_offset_of_ones_own():
    # e - 1 and e^3 - 1 with 1 are e and e^3: logarithms 1 and 3, simulated 2 and 3: 1 - 1 / 2
    values = [math.exp(1) - 1, math.exp(3) - 1], [math.exp(2) - 1, math.exp(3) - 1]
    assert measures.log_nse(values[1], values[0], offset=1.0) == pytest.approx(0.5, rel=1e-12)


def test_efficiency_of_logarithms_refuses_what_has_none():
    with pytest.raises(ValueError, match="no logarithm"):
        measures.log_nse([0.0, 1.0], [1.0, 2.0], offset=0.0)


def test_errors_in_the_unit_of_the_series():
    # errors 1 0 1 2, and -1 in place of the last but one below
    assert measures.rmse(SIMULATED, MEASURED) == pytest.approx(math.sqrt(6.0 / 4.0), rel=1e-14)
    assert measures.mean_error(SIMULATED, MEASURED) == 1.0
    assert measures.mean_absolute_error([2.0, 2.0, 2.0, 8.0], MEASURED) == 1.0
    assert measures.mean_error([2.0, 2.0, 2.0, 8.0], MEASURED) == 0.5


def test_error_of_the_volume_in_percent():
    # 16 in place of 12
    assert measures.volume_error(SIMULATED, MEASURED) == pytest.approx(100.0 / 3.0, rel=1e-14)
    with pytest.raises(ValueError, match="add up to 0"):
        measures.volume_error([1.0, 1.0], [-1.0, 1.0])


def test_error_of_the_peak_in_percent_and_in_time():
    times = at(0, 5, 10, 15)
    error = measures.peak_errors(pd.Series([1.0, 2.0, 3.0, 9.0], times), pd.Series([1.0, 6.0, 2.0, 1.0], times))
    assert error == (50.0, pd.Timedelta("10min"))
    early = measures.peak_errors(pd.Series([3.0, 1.0, 1.0, 1.0], times), pd.Series([1.0, 1.0, 2.0, 6.0], times))
    assert early == (-50.0, pd.Timedelta("-15min"))


def test_error_of_a_peak_without_times_counts_values():
    assert measures.peak_errors([1.0, 5.0], [4.0, 1.0]) == (25.0, pd.Timedelta("1s"))
    assert measures.peak_error([1.0, 5.0], [4.0, 1.0]) == 25.0


def test_error_of_a_peak_of_0_is_refused():
    with pytest.raises(ValueError, match="peak is 0"):
        measures.peak_error([1.0], [0.0])


def test_samples_are_met_by_linear_interpolation():
    simulated = pd.Series([0.0, 10.0, 30.0], at(0, 10, 20))
    frame = measures.align(simulated, pd.Series([1.0, 2.0, 3.0, 4.0], at(0, 4, 10, 15)))
    assert frame["simulated"].tolist() == pytest.approx([0.0, 4.0, 10.0, 20.0])
    assert frame["measured"].tolist() == [1.0, 2.0, 3.0, 4.0]


def test_nothing_is_extrapolated():
    frame = measures.align(pd.Series([1.0, 2.0], at(10, 20)), pd.Series([1.0, 2.0, 3.0], at(9, 10, 21)))
    assert list(frame.index) == list(at(10))


def test_gaps_on_either_side_are_left_out():
    simulated = pd.Series([1.0, np.nan, 3.0, 4.0], at(0, 10, 20, 30))
    measured = pd.Series([1.0, 2.0, 3.0, np.nan, 5.0], at(0, 5, 20, 25, 30))
    frame = measures.align(simulated, measured)
    assert list(frame.index) == list(at(0, 20, 30))
    assert frame["simulated"].tolist() == [1.0, 3.0, 4.0]


@pytest.mark.parametrize("dtype", ["Float64", "Int64", object])
def test_gaps_of_any_sort_are_left_out(dtype):
    measured = pd.Series([1, None, 3], at(0, 10, 20), dtype=dtype)
    frame = measures.align(pd.Series([1, 2, 3], at(0, 10, 20)), measured)
    assert frame.to_numpy().tolist() == [[1.0, 1.0], [3.0, 3.0]]


def test_means_are_met_by_the_mean_of_the_line_over_the_interval_that_ends_there():
    # The line goes from 0 at 0 min to 10 at 10 min, and falls to 0 at 20 min. From 0 to 10: 5. From 5 to 15: two
    # trapezes from 5 to 10: 7.5. From 12 to 18, below: from 8 to 2: 5.
    simulated = pd.Series([0.0, 10.0, 0.0], at(0, 10, 20))
    frame = measures.align(simulated, pd.Series([1.0, 2.0, 3.0], at(9, 10, 15)), means_over="10min")
    assert list(frame.index) == list(at(10, 15))  # of the first only nine minutes are simulated
    assert frame["simulated"].tolist() == pytest.approx([5.0, 7.5])
    frame = measures.align(simulated, pd.Series([1.0], at(18)), means_over=360.0)
    assert frame["simulated"].tolist() == pytest.approx([5.0])


def test_means_over_a_gap_are_left_out():
    simulated = pd.Series([2.0, 2.0, np.nan, 4.0, 4.0], at(0, 10, 20, 30, 40))
    frame = measures.align(simulated, pd.Series([1.0, 1.0, 1.0, 1.0], at(10, 15, 35, 40)), means_over="10min")
    assert list(frame.index) == list(at(10, 40))
    assert frame["simulated"].tolist() == pytest.approx([2.0, 4.0])


def test_means_of_a_single_value_there_are_none():
    assert measures.align(pd.Series([2.0], at(0)), pd.Series([1.0], at(0)), means_over="5min").empty


def test_measures_pass_the_interval_on():
    # the mean from 0 to 10 min is 5, the sample at 10 min is 10
    simulated = pd.Series([0.0, 10.0], at(0, 10))
    measured = pd.Series([5.0], at(10))
    assert measures.rmse(simulated, measured, means_over="10min") == 0.0
    assert measures.rmse(simulated, measured) == 5.0


def test_series_need_not_be_in_order():
    simulated = pd.Series([30.0, 0.0, 10.0], at(20, 0, 10))
    frame = measures.align(simulated, pd.Series([2.0, 1.0], at(15, 5)))
    assert frame["simulated"].tolist() == [5.0, 20.0]
    assert frame["measured"].tolist() == [1.0, 2.0]


def test_series_by_numbers_go_by_those():
    frame = measures.align(pd.Series([0.0, 4.0], [0, 2]), pd.Series([7.0], [1]))
    assert frame["simulated"].tolist() == [2.0]


def test_an_empty_simulated_series_has_no_pairs():
    frame = measures.align(pd.Series([], at(), dtype=float), pd.Series([1.0], at(0)))
    assert frame.empty


@pytest.mark.parametrize("simulated, measured, words", [
    (pd.Series([1.0, 2.0], at(0, 0)), pd.Series([1.0], at(0)), "two values at 2024-06-10"),
    (pd.Series([1.0], at(0)), pd.Series([1.0], at(0).tz_localize("UTC")), "time zone"),
    (pd.Series([1.0], at(0)), pd.Series([1.0], [0]), "DatetimeIndex"),
    (pd.Series([1.0], ["a"]), pd.Series([1.0], ["a"]), "DatetimeIndex"),
    ([1.0, 2.0], [1.0], "one by one"),
])
def test_what_does_not_go_together_is_refused(simulated, measured, words):
    with pytest.raises(ValueError, match=words):
        measures.align(simulated, measured)


def test_means_need_times():
    with pytest.raises(ValueError, match="means_over needs"):
        measures.align([1.0], [1.0], means_over="5min")


def test_too_few_values_are_refused():
    with pytest.raises(ValueError, match="1 measured values .* 2 are needed"):
        measures.nse([1.0, np.nan], [1.0, 2.0])
    with pytest.raises(ValueError, match="4 measured values .* 5 are needed"):
        measures.rmse(SIMULATED, MEASURED, at_least=5)


def test_compare_has_all_measures():
    table = measures.compare(SIMULATED, MEASURED)
    assert list(table.index) == ["count", *measures.MEASURES]
    assert table["count"] == 4 and table["mean_error"] == 1.0
    assert table["nse"] == pytest.approx(8.0 / 14.0, rel=1e-14)


def test_compare_leaves_out_what_the_values_do_not_have():
    table = measures.compare([1.0, 2.0], [2.0, 2.0])
    assert math.isnan(table["nse"]) and table["mean_error"] == -0.5


def test_a_measure_is_worse_the_farther_it_is_from_its_best_value():
    assert measures.measure_of("nse").badness(0.9) == pytest.approx(0.1)
    assert measures.measure_of("volume_error").badness(-3.0) == 3.0
    with pytest.raises(ValueError, match='no measure "nash": one of nse, '):
        measures.measure_of("nash")
