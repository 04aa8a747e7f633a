"""Two storm tanks share a treatment works: every ten minutes their pumps get the shares of it with which the least
water spills in the half hour ahead.

    python3 control.py
"""
import itertools
from pathlib import Path

import pandas as pd

import tarnvelde as tv

PROJECT = Path(__file__).resolve().parent / "valley.inp"
WORKS = 0.4                               # m3/s, what the works can take
SHARES = (0.5, 0.25, 0.75, 0.0, 1.0)      # of it for the north; among equals the first counts
EVERY, HORIZON = "10min", "30min"         # between two decisions, and how far they look
PARTS = 1                                 # of a plan for the horizon
SPILLS = ("BROOK_N", "BROOK_S", "RIVER")


def flows(share):
    """Flows of both pumps, by place."""
    return {"pumps/PUMP_N/held_flow": WORKS * share, "pumps/PUMP_S/held_flow": WORKS * (1.0 - share)}


def cost(twin):
    """The spilled water, to a cubic metre; among equals the water in the fuller tank, so that both keep room."""
    return round(sum(twin.outfalls[name].inflow_volume for name in SPILLS)), max(twin.get("tanks", "volume"))


def decide(model, twin):
    """The flows that are best from now on."""
    plans = [[flows(share) for share in shares] for shares in itertools.product(SHARES, repeat=PARTS)]
    return tv.look_ahead(model, plans, HORIZON, cost, twin=twin).best[0]


def simulate(model, choose):
    """Runs the model, asking for flows every ten minutes; what has spilled, and the decisions."""
    model.start()
    with model.clone() as twin:
        decisions = []
        for end in pd.date_range(model.start_date, model.end_date, freq=EVERY)[1:]:
            chosen = choose(model, twin)
            for place, flow in chosen.items():
                model.pumps[place.split("/")[1]].held_flow = flow
            decisions.append((model.now, *chosen.values(), *model.get("tanks", "depth")))
            model.run_until(end)
    spilled = [model.outfalls[name].inflow_volume for name in SPILLS]
    model.end()
    return spilled, decisions


def main():
    policies = {
        "switched by level": lambda model, twin: {},
        "half each": lambda model, twin: flows(0.5),
        "looking ahead": decide,
    }
    print(f"{'Spilled, m3':<20}" + "".join(f"{name:>10}" for name in SPILLS) + f"{'together':>11}")
    with tv.Model(PROJECT, tell_warnings=False) as model:
        for name, choose in policies.items():
            spilled, decisions = simulate(model, choose)
            print(f"{name:<20}" + "".join(f"{volume:>10.0f}" for volume in spilled) + f"{sum(spilled):>11.0f}")
    print("\nLooking ahead     pumps, m3/s     tanks, m\n             north   south   north   south")
    for now, *values in decisions[3:28:3]:
        print(f"  {pd.Timestamp(now):%H:%M}  " + "".join(f"{value:>8.2f}" for value in values))


if __name__ == "__main__":
    main()
