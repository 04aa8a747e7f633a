"""Writes rain.dat: a made-up year of rain in steps of ten minutes.

    python3 make-rain.py

Fronts, which last for hours, come all year; thunderstorms from May to September. Between two events it is dry for a
time after an exponential law. The peaks of a front come and go; a thunderstorm rises for a third of its time and falls
off for the rest. Always the same year: the numbers come from a generator that begins at the same place each time.
"""
import random
from datetime import datetime, timedelta
from pathlib import Path

BEGIN, END = datetime(2023, 1, 1), datetime(2024, 1, 1)
STEP = timedelta(minutes=10)
DRY_HOURS = 64.0          # on average, between two events
STORM_SHARE = 0.45        # of the events from May to September


def shape_front(dice):
    """Rain of a front by step, mm/h: less than 1 mm/h most often, for 2 to 14 hours."""
    level = dice.lognormvariate(-0.35, 0.5)
    steps = dice.randint(12, 84)
    return [max(0.0, level * (1.0 - abs(2.0 * k / steps - 1.0) ** 3) * dice.uniform(0.3, 1.7)) for k in range(steps)]


def shape_storm(dice):
    """Rain of a thunderstorm: a peak of some tens of mm/h, over in 30 to 90 minutes."""
    peak = min(95.0, dice.lognormvariate(2.9, 0.65))
    steps = dice.randint(3, 9)
    rise = max(1, steps // 3)
    return [peak * ((k + 1) / rise if k < rise else (steps - k) / (steps - rise)) for k in range(steps)]


def main():
    """Draws events from the first to the last day, and writes what is not dry."""
    dice = random.Random(1906)
    lines = ["; A made-up year of rain: date, begin of ten minutes, mm/h. See make-rain.py.", "2023/01/01 00:00 0.00"]
    depth, now = 0.0, BEGIN
    while True:
        now += STEP * max(12, round(dice.expovariate(1.0 / DRY_HOURS) * 6))
        is_storm = 5 <= now.month <= 9 and dice.random() < STORM_SHARE
        rates = shape_storm(dice) if is_storm else shape_front(dice)
        if now + STEP * (len(rates) + 2) >= END:
            break
        # From one entry to the next a straight line is drawn where rain events are looked for: a zero on either side.
        for rate in [0.0, *rates, 0.0]:
            lines.append(f"{now:%Y/%m/%d %H:%M} {rate:.2f}")
            depth += round(rate, 2) / 6.0
            now += STEP
    lines.append("2024/01/01 00:00 0.00")
    Path(__file__).with_name("rain.dat").write_text("\n".join(lines) + "\n", "ascii")
    print(f"{depth:.0f} mm")


if __name__ == "__main__":
    main()
