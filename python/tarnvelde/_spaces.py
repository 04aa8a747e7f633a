"""Spaces of observations and actions."""
from __future__ import annotations

from typing import Any, Optional, Tuple

import numpy as np
from numpy.typing import NDArray

Numbers = NDArray[np.float32]


class Box:
    """All arrays of one shape between two bounds, with the names that gymnasium.spaces.Box has: `low`, `high`, `shape`,
    `dtype`, `sample()`, `contains(x)`, `seed(number)`. It stands in where gymnasium isn't installed."""

    def __init__(self, low: Any, high: Any, dtype: Any = np.float32, seed: Optional[int] = None) -> None:
        self.dtype = np.dtype(dtype)
        self.low: Numbers = np.asarray(low, dtype=self.dtype)
        self.high: Numbers = np.asarray(high, dtype=self.dtype)
        self.shape: Tuple[int, ...] = self.low.shape
        self._chance = np.random.default_rng(seed)

    def seed(self, seed: Optional[int] = None) -> None:
        """Begins the row of samples anew."""
        self._chance = np.random.default_rng(seed)

    def sample(self) -> Numbers:
        """An array by chance: even between bounds, exponential from a single bound, normal without any."""
        found = np.empty(self.shape)
        for k, (low, high) in enumerate(zip(self.low, self.high)):
            if np.isfinite(low) and np.isfinite(high):
                found[k] = self._chance.uniform(low, high)
            elif np.isfinite(low):
                found[k] = low + self._chance.exponential()
            elif np.isfinite(high):
                found[k] = high - self._chance.exponential()
            else:
                found[k] = self._chance.normal()
        return np.clip(found.astype(self.dtype), self.low, self.high)

    def contains(self, x: Any) -> bool:
        """Whether an array has the shape and lies between the bounds."""
        try:
            own = np.asarray(x, dtype=self.dtype)
        except (TypeError, ValueError):
            return False
        return bool(own.shape == self.shape and np.all(own >= self.low) and np.all(own <= self.high))

    def __contains__(self, x: object) -> bool:
        return self.contains(x)

    def __eq__(self, other: object) -> bool:
        return (isinstance(other, Box) and self.shape == other.shape and self.dtype == other.dtype
                and bool(np.all(self.low == other.low) and np.all(self.high == other.high)))

    __hash__ = None  # type: ignore[assignment]

    def __repr__(self) -> str:
        return f"Box({self.low}, {self.high}, {self.shape}, {self.dtype})"


def box(low: Any, high: Any) -> Any:
    """A space of single precision: gymnasium's where that is installed, else one of our own."""
    try:
        from gymnasium import spaces
    except ImportError:
        return Box(low, high)
    return spaces.Box(low=np.asarray(low, dtype=np.float32), high=np.asarray(high, dtype=np.float32),
                      dtype=np.float32)
