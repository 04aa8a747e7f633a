"""How well simulated series agree with measured ones.

Each measure takes a simulated and a measured series. Two Series of pandas are brought together by their times (see
`align`); two arrays of one length go together value by value. Gaps (nan) on either side are left out. All measures take

    means_over   duration, if the measured values are means over intervals of this length that end at their times
    at_least     how many pairs of values there must be (2)

and raise ValueError if there are fewer. Values are in the unit of the series where nothing else is said. """
from __future__ import annotations

from typing import Any, Callable, Dict, NamedTuple, Optional, Tuple

import numpy as np
import pandas as pd
from numpy.typing import NDArray

from ._dates import DurationLike, to_seconds

Values = NDArray[np.float64]


class KlingGupta(NamedTuple):
    """The efficiency after Kling and Gupta, and its parts, each of which is best at 1.

    value: the efficiency. correlation: Pearson's r. variability: of the standard deviations, or, in the form of 2012,
    of the coefficients of variation, simulated to measured. bias: of the means, simulated to measured. """

    value: float
    correlation: float
    variability: float
    bias: float


class PeakError(NamedTuple):
    """What is wrong with a peak: `percent` of the measured peak (above 0: simulated is higher), and the `shift`
    (above 0: simulated is later)."""

    percent: float
    shift: pd.Timedelta


def align(simulated: Any, measured: Any, *, means_over: Optional[DurationLike] = None) -> pd.DataFrame:
    """Pairs of values at the times of the measured series: a frame with the columns "simulated" and "measured", without
    the times at which one of both is missing.

    The simulated series is taken as a line between its values. Of measured values that are samples it is read at their
    times, by linear interpolation. Of measured values that are means, say `means_over="15min"`, its mean over the
    interval that ends at each time is taken, which is the integral of the line. Nothing is extrapolated: what was
    measured before the simulated series or after it is left out, and so is what is next to a gap of it.

    Arrays in place of Series must have one length. ValueError for others, for a simulated series with two values for
    one time, and for times of which one has a time zone and the other none. """
    if not (isinstance(simulated, pd.Series) and isinstance(measured, pd.Series)):
        if means_over is not None:
            raise ValueError("means_over needs series with times")
        return _pairs_of_arrays(simulated, measured)
    own = simulated.sort_index()
    if own.index.has_duplicates:
        raise ValueError(f"the simulated series has two values at {own.index[own.index.duplicated()][0]}")
    times, wanted = _numbers(own.index, measured.index)
    values = own.to_numpy(dtype=np.float64, na_value=np.nan)
    if not len(times):
        found = np.full(len(wanted), np.nan)
    elif means_over is None:
        found = np.interp(wanted, times, values, left=np.nan, right=np.nan)
    else:
        found = _means(times, values, wanted, to_seconds(means_over))
    known = measured.to_numpy(dtype=np.float64, na_value=np.nan)
    frame = pd.DataFrame({"simulated": found, "measured": known}, index=measured.index)
    return frame.dropna().sort_index(kind="stable")


def _pairs_of_arrays(simulated: Any, measured: Any) -> pd.DataFrame:
    columns = {"simulated": np.asarray(simulated, dtype=np.float64), "measured": np.asarray(measured, dtype=np.float64)}
    a, b = columns["simulated"], columns["measured"]
    if a.ndim != 1 or a.shape != b.shape:
        raise ValueError(f"{a.shape} simulated values and {b.shape} measured ones: without times they must go together "
                         "one by one")
    return pd.DataFrame(columns).dropna()


def _numbers(first: pd.Index, second: pd.Index) -> Tuple[Values, Values]:
    """Two indices as numbers on one scale: seconds, of dates."""
    dates = [isinstance(index, pd.DatetimeIndex) for index in (first, second)]
    if all(dates):
        if (first.tz is None) != (second.tz is None):
            raise ValueError("one series has times of a time zone, the other has none: use tz_convert(None) on that "
                             "with the zone, once it is in the time of the project")
        return _seconds(first), _seconds(second)
    if any(dates) or not all(pd.api.types.is_numeric_dtype(index) for index in (first, second)):
        raise ValueError("both series need times as their index (a DatetimeIndex), or both numbers")
    return first.to_numpy(dtype=np.float64), second.to_numpy(dtype=np.float64)


def _seconds(index: pd.DatetimeIndex) -> Values:
    seconds: Values = index.values.astype("datetime64[ns]").astype(np.int64) / 1e9
    return seconds


def _means(times: Values, values: Values, ends: Values, length: float) -> Values:
    """Means over intervals of a line through points; nan where it doesn't reach over the whole interval."""
    steps = np.diff(times)
    areas = 0.5 * (values[:-1] + values[1:]) * steps
    is_gap = np.isnan(areas)
    sums = np.concatenate(([0.0], np.cumsum(np.where(is_gap, 0.0, areas))))
    gaps = np.concatenate(([0.0], np.cumsum(np.where(is_gap, steps, 0.0))))

    def integrals(at: Values) -> Tuple[Values, Values]:
        """Integral of the line, and length of the gaps, from its begin on."""
        if not len(steps):
            return np.zeros(len(at)), np.zeros(len(at))
        k = np.clip(np.searchsorted(times, at, "right") - 1, 0, len(steps) - 1)
        far = at - times[k]
        slope = (values[k + 1] - values[k]) / steps[k]
        part = np.where(is_gap[k], 0.0, values[k] * far + 0.5 * slope * far * far)
        return sums[k] + part, gaps[k] + np.where(is_gap[k], far, 0.0)

    begins = ends - length
    sums_end, gaps_end = integrals(ends)
    sums_begin, gaps_begin = integrals(begins)
    is_whole = (begins >= times[0]) & (ends <= times[-1]) & (gaps_end - gaps_begin <= 0.0)
    means: Values = np.where(is_whole, (sums_end - sums_begin) / length, np.nan)
    return means


def _pairs(simulated: Any, measured: Any, at_least: int, means_over: Optional[DurationLike]) -> pd.DataFrame:
    frame = align(simulated, measured, means_over=means_over)
    if len(frame) < max(at_least, 1):
        raise ValueError(f"{len(frame)} measured values are where there are simulated ones: {at_least} are needed")
    return frame


def _columns(simulated: Any, measured: Any, at_least: int,
             means_over: Optional[DurationLike]) -> Tuple[Values, Values]:
    frame = _pairs(simulated, measured, at_least, means_over)
    return frame["simulated"].to_numpy(), frame["measured"].to_numpy()


def _efficiency(s: Values, m: Values) -> float:
    spread = float(np.sum((m - m.mean()) ** 2))
    if not spread > 0.0:
        raise ValueError("the measured values are all the same: there is no spread to compare the errors with")
    return 1.0 - float(np.sum((s - m) ** 2)) / spread


def nse(simulated: Any, measured: Any, *, at_least: int = 2, means_over: Optional[DurationLike] = None) -> float:
    """Efficiency after Nash and Sutcliffe: 1 - sum((s - m)^2) / sum((m - mean(m))^2).

    From minus infinity to 1, which is best; 0 is as good as the mean of the measured values. ValueError if they are all
    the same. Nash, J. E. and Sutcliffe, J. V. (1970): River flow forecasting through conceptual models, part I.
    J. Hydrol. 10, 282-290. """
    return _efficiency(*_columns(simulated, measured, at_least, means_over))


def log_nse(simulated: Any, measured: Any, *, offset: Optional[float] = None, at_least: int = 2,
            means_over: Optional[DurationLike] = None) -> float:
    """Efficiency after Nash and Sutcliffe of the logarithms, ln(s + offset) and ln(m + offset), which looks at low
    values more than at peaks.

    From minus infinity to 1, which is best. The offset keeps zeros away from the logarithm: a hundredth of the mean of
    the measured values unless it is given. ValueError if a value with it isn't above 0. Pushpalatha, R. et al. (2012):
    A review of efficiency criteria suitable for evaluating low-flow simulations. J. Hydrol. 420-421, 171-182. """
    s, m = _columns(simulated, measured, at_least, means_over)
    shift = float(m.mean()) / 100.0 if offset is None else offset
    if not min(s.min(), m.min()) + shift > 0.0:
        raise ValueError(f"the least value, {min(s.min(), m.min())}, with the offset {shift}, has no logarithm")
    return _efficiency(np.log(s + shift), np.log(m + shift))


def _kling_gupta(s: Values, m: Values, is_modified: bool) -> KlingGupta:
    mean_s, mean_m, std_s, std_m = float(s.mean()), float(m.mean()), float(s.std()), float(m.std())
    if mean_m == 0.0 or std_m == 0.0:
        raise ValueError("the measured values are all the same, or their mean is 0")
    bias = mean_s / mean_m
    variability = std_s / std_m
    correlation = float(np.mean((s - mean_s) * (m - mean_m))) / (std_s * std_m) if std_s > 0.0 else float("nan")
    if is_modified:
        variability = variability / bias if bias != 0.0 else float("nan")
    value = 1.0 - float(np.sqrt((correlation - 1.0) ** 2 + (variability - 1.0) ** 2 + (bias - 1.0) ** 2))
    return KlingGupta(value, correlation, variability, bias)


def kge_parts(simulated: Any, measured: Any, *, at_least: int = 2,
              means_over: Optional[DurationLike] = None) -> KlingGupta:
    """Efficiency after Kling and Gupta with its parts: 1 - sqrt((r - 1)^2 + (a - 1)^2 + (b - 1)^2), r being the
    correlation, a = std(s) / std(m), b = mean(s) / mean(m).

    From minus infinity to 1, which is best; each part is best at 1. nan if the simulated values are all the same, of
    which there is no correlation; ValueError if the measured ones are, or if their mean is 0. Gupta, H. V., Kling, H.,
    Yilmaz, K. K. and Martinez, G. F. (2009): Decomposition of the mean squared error and NSE performance criteria.
    J. Hydrol. 377, 80-91. """
    s, m = _columns(simulated, measured, at_least, means_over)
    return _kling_gupta(s, m, False)


def kge_2012_parts(simulated: Any, measured: Any, *, at_least: int = 2,
                   means_over: Optional[DurationLike] = None) -> KlingGupta:
    """Efficiency after Kling and Gupta in the form of 2012 with its parts: the variability is that of the coefficients
    of variation, (std(s) / mean(s)) / (std(m) / mean(m)), so that a bias doesn't act on it.

    Range, best values and errors are those of `kge_parts`. Kling, H., Fuchs, M. and Paulin, M. (2012): Runoff
    conditions in the upper Danube basin under an ensemble of climate change scenarios. J. Hydrol. 424-425, 264-277. """
    s, m = _columns(simulated, measured, at_least, means_over)
    return _kling_gupta(s, m, True)


def kge(simulated: Any, measured: Any, *, at_least: int = 2, means_over: Optional[DurationLike] = None) -> float:
    """Efficiency after Kling and Gupta (2009), see `kge_parts`: from minus infinity to 1, which is best. About -0.41
    is as good as the mean of the measured values."""
    return kge_parts(simulated, measured, at_least=at_least, means_over=means_over).value


def kge_2012(simulated: Any, measured: Any, *, at_least: int = 2, means_over: Optional[DurationLike] = None) -> float:
    """Efficiency after Kling and Gupta in the form of Kling et al. (2012), see `kge_2012_parts`: from minus infinity
    to 1, which is best."""
    return kge_2012_parts(simulated, measured, at_least=at_least, means_over=means_over).value


def rmse(simulated: Any, measured: Any, *, at_least: int = 1, means_over: Optional[DurationLike] = None) -> float:
    """Root of the mean squared error, sqrt(mean((s - m)^2)), in the unit of the series: from 0, which is best."""
    s, m = _columns(simulated, measured, at_least, means_over)
    return float(np.sqrt(np.mean((s - m) ** 2)))


def mean_absolute_error(simulated: Any, measured: Any, *, at_least: int = 1,
                        means_over: Optional[DurationLike] = None) -> float:
    """Mean of the absolute errors, mean(|s - m|), in the unit of the series: from 0, which is best."""
    s, m = _columns(simulated, measured, at_least, means_over)
    return float(np.mean(np.abs(s - m)))


def mean_error(simulated: Any, measured: Any, *, at_least: int = 1,
               means_over: Optional[DurationLike] = None) -> float:
    """Mean error, or bias, mean(s - m), in the unit of the series: 0 is best, above 0 the simulated values are too
    high."""
    s, m = _columns(simulated, measured, at_least, means_over)
    return float(np.mean(s - m))


def volume_error(simulated: Any, measured: Any, *, at_least: int = 1,
                 means_over: Optional[DurationLike] = None) -> float:
    """Error of the sum, 100 x (sum(s) - sum(m)) / sum(m), in %: 0 is best, above 0 there is too much. Of flows at even
    steps it is that of the volume. ValueError if the measured sum is 0."""
    s, m = _columns(simulated, measured, at_least, means_over)
    total = float(m.sum())
    if total == 0.0:
        raise ValueError("the measured values add up to 0: an error in % can't be given")
    return 100.0 * (float(s.sum()) - total) / total


def peak_errors(simulated: Any, measured: Any, *, at_least: int = 1,
                means_over: Optional[DurationLike] = None) -> PeakError:
    """Error of the greatest value, 100 x (max(s) - max(m)) / max(m) in %, and how much later it comes. Both are best
    at 0.

    Looked at are the times at which both are known: what the simulated series does between two samples counts for
    nothing. Of several greatest values the first counts. Without times the shift is a Timedelta of as many seconds as
    there are values between the two. ValueError if the measured peak is 0. """
    frame = _pairs(simulated, measured, at_least, means_over)
    top = float(frame["measured"].max())
    if top == 0.0:
        raise ValueError("the measured peak is 0: an error in % can't be given")
    shift = frame["simulated"].idxmax() - frame["measured"].idxmax()
    if not isinstance(shift, pd.Timedelta):
        shift = pd.Timedelta(float(shift), unit="s")
    return PeakError(100.0 * (float(frame["simulated"].max()) - top) / top, shift)


def peak_error(simulated: Any, measured: Any, *, at_least: int = 1,
               means_over: Optional[DurationLike] = None) -> float:
    """Error of the greatest value in %, see `peak_errors`: 0 is best, above 0 the simulated peak is higher."""
    return peak_errors(simulated, measured, at_least=at_least, means_over=means_over).percent


class Measure(NamedTuple):
    """A measure by name: its function, and how good a value is, less being better."""

    function: Callable[..., float]
    badness: Callable[[float], float]


def _one_less(value: float) -> float:
    return 1.0 - value


MEASURES: Dict[str, Measure] = {
    "nse": Measure(nse, _one_less), "log_nse": Measure(log_nse, _one_less), "kge": Measure(kge, _one_less),
    "kge_2012": Measure(kge_2012, _one_less), "rmse": Measure(rmse, abs),
    "mean_absolute_error": Measure(mean_absolute_error, abs), "mean_error": Measure(mean_error, abs),
    "volume_error": Measure(volume_error, abs), "peak_error": Measure(peak_error, abs),
}
"""The measures that have one number, by name."""


def measure_of(name: str) -> Measure:
    """A measure by its name. ValueError for any other, with those that there are."""
    if name not in MEASURES:
        raise ValueError(f'there is no measure "{name}": one of {", ".join(MEASURES)}, or a function of (simulated, '
                         "measured)")
    return MEASURES[name]


def compare(simulated: Any, measured: Any, *, at_least: int = 2,
            means_over: Optional[DurationLike] = None) -> pd.Series:
    """All measures at once: a Series by name, with `count`, the pairs of values. A measure that these values don't
    have, as the efficiency of a measured constant, is nan. ValueError if there are too few values."""
    frame = _pairs(simulated, measured, at_least, means_over)
    found: Dict[str, float] = {"count": float(len(frame))}
    for name, known in MEASURES.items():
        try:
            found[name] = known.function(frame["simulated"], frame["measured"], at_least=at_least)
        except ValueError:
            found[name] = float("nan")
    return pd.Series(found, dtype=np.float64)
