"""How large must the storm tank be for at most ten spills a year? Runs the year with three tanks, and counts.

    python3 size.py [FOLDER]

Writes into FOLDER ("sizes" beside this file, if none is given) the ensemble with the results of each tank, spills.csv,
and spills.png. A second call goes on where the first has ended, and does what is missing alone.
"""
import sys
from datetime import date
from pathlib import Path

import tarnvelde as tv

HERE = Path(__file__).resolve().parent
ALLOWED = 10         # spills a year
GAP = "6h"           # without overflow, that make two spills of one
THRESHOLD = 0.001    # m3/s: what is less is no spill
BEGIN, END = date(2023, 1, 1), date(2024, 1, 1)


def count(sizes):
    """Spills of each tank: how many, how long, how much."""
    sums = sizes.event_totals("CREST", gap=GAP, threshold=THRESHOLD).droplevel(["table", "object"])
    return sums[["events", "hours", "volume", "largest_event", "load[COD]"]]


def draw(sizes, path):
    """Each spill by its date, one panel for each tank."""
    import matplotlib
    matplotlib.use("Agg")
    from matplotlib import dates, pyplot

    single = sizes.events("CREST", gap=GAP, threshold=THRESHOLD)
    figure, panels = pyplot.subplots(len(sizes), 1, sharex=True, sharey=True, figsize=(8, 6), layout="constrained")
    for name, panel in zip(sizes.members.index, panels):
        own = single.loc[name] if name in single.index else single[:0]
        panel.vlines(own["start"], 0.0, own["volume"], color="#2b6c99", linewidth=1.5)
        panel.plot(own["start"], own["volume"], "o", color="#2b6c99", markersize=4)
        panel.set_title(f"{name.replace('-', ' ').replace('m3', 'm³')}: {len(own)} spills, "
                        f"{own['volume'].sum():,.0f} m³", loc="left", fontsize=10)
        panel.spines[["top", "right"]].set_visible(False)
    panels[0].set_ylim(bottom=0.0)
    panels[-1].set_xlim(BEGIN, END)
    panels[-1].xaxis.set_major_locator(dates.MonthLocator())
    panels[-1].xaxis.set_major_formatter(dates.DateFormatter("%b"))
    figure.supylabel("volume of a spill (m³)")
    figure.savefig(path, dpi=120)


def main():
    """Runs, counts, draws, and answers."""
    out = Path(sys.argv[1] if len(sys.argv) > 1 else HERE / "sizes")
    sizes = tv.ensemble(HERE / "tank-size.inp", HERE / "sizes.csv", out=out)
    table = count(sizes)
    print(table.round(1).to_string())
    table.to_csv(out / "spills.csv")
    draw(sizes, out / "spills.png")
    enough = table.index[table["events"] <= ALLOWED]
    print(f"\n{enough[0]} is the least of them with at most {ALLOWED} spills a year." if len(enough) else
          f"\nNone of them has as few as {ALLOWED} spills a year.")


if __name__ == "__main__":
    main()
