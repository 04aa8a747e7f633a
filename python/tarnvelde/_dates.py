"""Dates: days since 30 December 1899 in the library, datetime64 in Python. numpy and pandas are loaded by who asks for
such a date: a process of an ensemble does without them."""
from __future__ import annotations

from typing import TYPE_CHECKING, Any, Union

if TYPE_CHECKING:
    from datetime import date as calendar_date

    import numpy as np
    import pandas as pd
    from numpy.typing import NDArray

DateLike = Union[str, "np.datetime64", "calendar_date", "pd.Timestamp"]
"""What is taken for a date: text as "2024-06-18 06:30", datetime, numpy.datetime64, pandas.Timestamp."""

DurationLike = Union[str, float, "np.timedelta64", "pd.Timedelta", Any]
"""What is taken for a duration: text as "15min" or "6h", a number of seconds, timedelta, numpy.timedelta64."""

_MS_PER_DAY = 86_400_000.0
_EPOCH_DAY = 25569  # from 30 December 1899 to 1 January 1970, where numpy counts from
_EPOCH_MS = _EPOCH_DAY * 86_400_000


def from_days(days: float) -> np.datetime64:
    """The date of a number of days since 30 December 1899, rounded to the millisecond."""
    import numpy as np

    return np.datetime64(round(days * _MS_PER_DAY) - _EPOCH_MS, "ms")


def text_of_days(days: float) -> str:
    """The text of such a date, as that of a datetime64: "2024-06-18T06:30:00.000"."""
    whole, rest = divmod(round(days * _MS_PER_DAY), 86_400_000)
    # years from March on, in which a leap day comes last: four centuries have 146097 days, and the first 1 March 0000
    era, day = divmod(whole - _EPOCH_DAY + 719468, 146097)
    year = (day - day // 1460 + day // 36524 - day // 146096) // 365
    day -= 365 * year + year // 4 - year // 100
    month = (5 * day + 2) // 153
    day -= (153 * month + 2) // 5
    year, month = 400 * era + year + month // 10, month + 3 if month < 10 else month - 9
    seconds, milliseconds = divmod(rest, 1000)
    return (f"{year:04d}-{month:02d}-{day + 1:02d}T{seconds // 3600:02d}:{seconds // 60 % 60:02d}:{seconds % 60:02d}"
            f".{milliseconds:03d}")


def to_days(date: DateLike) -> float:
    """The number of days since 30 December 1899. ValueError for what is no date."""
    import numpy as np

    if isinstance(date, str):
        date = parse(date.strip().replace("/", "-"))
    elif not isinstance(date, np.datetime64):
        import pandas as pd

        date = np.datetime64(pd.Timestamp(date).to_datetime64())
    if np.isnat(date):
        raise ValueError("no date: NaT")
    return float(int(date.astype("datetime64[ms]").astype(np.int64)) + _EPOCH_MS) / _MS_PER_DAY


def parse(text: str) -> np.datetime64:
    """The date that a text gives, with or without a time of day. ValueError for any other text."""
    import numpy as np

    try:
        return np.datetime64(text.replace(" ", "T", 1), "ms")
    except ValueError:
        pass
    import pandas as pd

    try:
        return np.datetime64(pd.Timestamp(text).to_datetime64(), "ms")
    except ValueError:
        raise ValueError(f'"{text}" is no date: write it as 2024-06-18 06:30') from None


def to_seconds(duration: DurationLike) -> float:
    """The number of seconds of a duration, a millisecond or more. ValueError for any other."""
    import numpy as np
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
