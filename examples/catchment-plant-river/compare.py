"""What the storm tank saves the river, and what it costs the plant: runs the town without the tank, with it, and with
two pairs of rules that spare the plant, and shows the four side by side.

    python3 compare.py [FOLDER]

Each variant stays in FOLDER ("variants" beside this file, if none is given), with its report and results. The program
is that of the variable TARNVELDE, `tarnvelde` of the path, or the one built in this source tree.
"""
import csv
import io
import json
import os
import shutil
import subprocess
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
NAME = "catchment-plant-river"
POOLS = [f"POOL{k}" for k in range(1, 6)]
FIRST = "2021/06/02 0:00"     # the riffles are dry on the first day
HOURS = 0.25                  # of a report
STRAINED = 1.5                # mg/L of ammonium in the effluent
RAINS = ("5.7 mm in 3 h", "17.1 mm in 1.5 h", "7.8 mm in 3 h", "17.1 mm in 8 h")


def find_program():
    """The program: of the variable, of the path, of the source tree."""
    built = HERE.parents[1] / "build" / "release" / "tarnvelde"
    return os.environ.get("TARNVELDE") or shutil.which("tarnvelde") or str(built)


def drop(text, section, *words):
    """Takes the lines of a section out that begin with one of the words."""
    head, found, tail = text.partition(f"\n[{section}]\n")
    body, end, rest = tail.partition("\n[")
    assert found and end, section
    lines = [line for line in body.split("\n") if not line.startswith(words)]
    return head + found + "\n".join(lines) + end + rest


def without_rule(text):
    """The throttle lets the same pass whatever the plant says."""
    return drop(text, "CONTROL_RULES", "RULE", "IF", "THEN")


def without_tank(text):
    """A side weir in place of the tank: what is beyond the flow of the throttle goes to the river at once."""
    text = without_rule(text)
    for section in ("TANKS", "PUMPS", "WEIRS"):
        text = drop(text, section, "TANK ", "THROTTLE ", "SPILL ")
    return text + ("\n[SPLITTERS]\nTANK  THROTTLE  FLOW  0.0463\n"
                   "\n[CONNECTIONS]\nTHROTTLE  TANK  PRIMARY  NO  0\nSPILL  TANK  BRIDGE  NO  0\n")


def with_rule_at_tank(text):
    """The rule looks at the water that waits for the plant, not at what has left it."""
    for old, new in (("JUNCTION  CLEAR  NH4", "TANK  TANK  NH4"),
                     ("IF JUNCTION CLEAR NH4 > 1.3", "IF TANK TANK NH4 > 15\nAND TANK TANK DEPTH > 0.3"),
                     ("IF JUNCTION CLEAR NH4 < 1.0", "IF TANK TANK NH4 < 15\nOR TANK TANK DEPTH < 0.25"),
                     ("SETTING = 0.7", "SETTING = 0.6")):
        assert old in text, old
        text = text.replace(old, new)
    return text


VARIANTS = {"no tank": without_tank, "tank": without_rule, "effluent rule": lambda text: text,
            "tank rule": with_rule_at_tank}


class Run:
    """A variant that has been run."""

    def __init__(self, program, folder, text):
        folder.mkdir(parents=True, exist_ok=True)
        shutil.copy(HERE / "plant.sti", folder)
        self.program, self.project, self.results = program, folder / f"{NAME}.inp", folder / f"{NAME}.bin"
        self.project.write_text(text, encoding="utf-8")
        self.balances = json.loads(self.call("run", self.project, "--json", "--balances"))["balances"]

    def call(self, *words):
        """What the program prints."""
        done = subprocess.run([self.program, *map(str, words)], capture_output=True, text=True, check=False)
        if done.returncode != 0:
            sys.exit(done.stderr)
        return done.stdout

    def through(self, kind, name, what):
        """What has gone through an object in the run: "water", m3, or a pollutant, kg. It is counted step by step."""
        found = next(row for row in self.balances if (row["kind"], row["id"]) == (kind, name))
        return found["in"] if what == "water" else next(row["in"] for row in found["pollutants"] if row["id"] == what)

    def series(self, name, column):
        """A column of the results from FIRST on."""
        text = self.call("results", self.results, "--object", name, "--column", column, "--from", FIRST, "--csv")
        return [float(row[-1]) for row in list(csv.reader(io.StringIO(text)))[1:]]

    def spills(self):
        """Volumes (m3) of the spills, with four dry hours between two."""
        text = self.call("stats", self.results, "--object", "SPILL", "--threshold", 0.001, "--gap", 4, "--events",
                         "--csv")
        return [float(row["Volume (m3)"]) for row in csv.DictReader(io.StringIO(text))]


def measure(run):
    """The rows of the table."""
    ammonium = run.series("CLEAR", "NH4")
    pools = {pool: run.series(pool, "O2") for pool in POOLS}
    lowest = min(min(values) for values in pools.values())
    return {
        "Overflow, m3, after": run.through("link", "SPILL", "water"),
        **{f"  {rain}": volume for rain, volume in zip(RAINS, run.spills())},
        "COD of the overflow, kg": run.through("link", "SPILL", "COD"),
        "NH4-N of the overflow, kg": run.through("link", "SPILL", "NH4"),
        "Lowest oxygen, mg/L": lowest,
        "Hours below 7 mg/L, POOL3": sum(value < 7.0 for value in pools["POOL3"]) * HOURS,
        "Highest NH4-N, POOL2, mg/L": max(run.series("POOL2", "NH4")),
        "Treated, m3": run.through("link", "THROTTLE", "water"),
        "Hours above 0.04 m3/s": sum(flow > 0.04 for flow in run.series("TO_WORKS", "Outflow")) * HOURS,
        "Highest NH4-N, effluent, mg/L": max(ammonium),
        f"Hours above {STRAINED} mg/L of it": sum(value > STRAINED for value in ammonium) * HOURS,
        "NH4-N of the effluent, kg": run.through("node", "CLEAR", "NH4"),
        "COD of the effluent, kg": run.through("node", "CLEAR", "COD"),
        "Solids of the sludge, kg": run.through("node", "SLUDGE", "TSS"),
    }


def main():
    """Runs, measures, and shows."""
    out = Path(sys.argv[1] if len(sys.argv) > 1 else HERE / "variants")
    program = find_program()
    text = (HERE / f"{NAME}.inp").read_text(encoding="utf-8")
    table = {name: measure(Run(program, out / name.replace(" ", "-"), change(text)))
             for name, change in VARIANTS.items()}
    print(f"{'':<30}" + "".join(f"{name:>15}" for name in table))
    for row in next(iter(table.values())):
        digits = 2 if "mg/L" in row and not row.startswith("Hours") else 1 if "NH4-N of" in row else 0
        print(f"{row:<30}" + "".join(f"{values[row]:>15.{digits}f}" for values in table.values()))


if __name__ == "__main__":
    main()
