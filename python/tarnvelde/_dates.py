"""Dates: days since 30 December 1899 in the library, datetime64 in Python."""
from __future__ import annotations

from datetime import date as calendar_date
from typing import TYPE_CHECKING, Any, Union

import numpy as np
from numpy.typing import NDArray

if TYPE_CHECKING:
    import pandas as pd

DateLike = Union[str, np.datetime64, calendar_date, "pd.Timestamp"]
"""What is taken for a date: text as "2024-06-18 06:30", datetime, numpy.datetime64, pandas.Timestamp."""

DurationLike = Union[str, float, np.timedelta64, "pd.Timedelta", Any]
"""What is taken for a duration: text as "15min" or "6h", a number of seconds, timedelta, numpy.timedelta64."""

_EPOCH = np.datetime64("1899-12-30T00:00:00.000", "ms")
_MS_PER_DAY = 86_400_000.0


def from_days(days: float) -> np.datetime64:
    """The date of a number of days since 30 December 1899, rounded to the millisecond."""
    return _EPOCH + np.timedelta64(round(days * _MS_PER_DAY), "ms")


def to_days(date: DateLike) -> float:
    """The number of days since 30 December 1899. ValueError for what is no date."""
    import pandas as pd

    if isinstance(date, str):
        date = date.strip().replace("/", "-")
    if not isinstance(date, np.datetime64):
        date = np.datetime64(pd.Timestamp(date).to_datetime64()) if not isinstance(date, str) else parse(date)
    milliseconds = (date.astype("datetime64[ms]") - _EPOCH).astype(np.int64)
    if np.isnat(date):
        raise ValueError("no date: NaT")
    return float(milliseconds) / _MS_PER_DAY


def parse(text: str) -> np.datetime64:
    """The date that a text gives, with or without a time of day. ValueError for any other text."""
    import pandas as pd

    try:
        return np.datetime64(text.replace(" ", "T", 1), "ms")
    except ValueError:
        pass
    try:
        return np.datetime64(pd.Timestamp(text).to_datetime64(), "ms")
    except ValueError:
        raise ValueError(f'"{text}" is no date: write it as 2024-06-18 06:30') from None


def to_seconds(duration: DurationLike) -> float:
    """The number of seconds of a duration, a millisecond or more. ValueError for any other."""
    import pandas as pd

    if isinstance(duration, (int, float, np.integer, np.floating)):  # pandas takes numpy's numbers for nanoseconds
        seconds = float(duration)
    else:
        try:
            seconds = float(pd.Timedelta(duration).total_seconds())
        except ValueError:
            raise ValueError(f"{duration!r} is no duration: write it as 15min, or as a number of seconds") from None
    if not seconds > 0.0:
        raise ValueError(f"a duration must be above 0, not {duration!r}")
    if not 0.001 <= seconds < 1e12:  # dates are told to the millisecond
        raise ValueError(f"a duration goes from a millisecond to some ten thousand years, not {duration!r}")
    return seconds


def index_of(dates: NDArray[np.datetime64]) -> pd.Index:
    """An index of dates for frames: a DatetimeIndex, or, for years that pandas can't hold in nanoseconds (before 1678
    and after 2261), an index of Python's datetimes."""
    import pandas as pd

    try:
        return pd.DatetimeIndex(dates, name="time")
    except (pd.errors.OutOfBoundsDatetime, OverflowError):
        return pd.Index(dates.astype("datetime64[ms]").astype(object), name="time")
