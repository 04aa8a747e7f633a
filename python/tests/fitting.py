"""What the tests of fits and of sensitivities share: a small town, and a look at the ensembles that are asked for."""
import importlib
from pathlib import Path

TOWN = """[GENERAL]
START_DATE   2024/06/10
START_TIME   00:00
END_DATE     2024/06/10
END_TIME     06:00
RUNOFF_STEP  0:01:00
ROUTING_STEP 0:01:00
REPORT_STEP  0:05:00
REPORT_AVERAGE NO
START_DRY_DAYS 5
[RAINGAGES]
GAUGE INTENSITY 0:10:00 STORM
[SUBCATCHS]
HILL GAUGE N1 4.0 200 40 1.0 0.014 0.15 1.5 4.0 60 8 4 5 0
VALE GAUGE N1 2.0 150 60 0.5 0.014 0.15 1.5 4.0 60 8 4 5 0
[POLLUTANTS]
TSS 0
[LANDUSES]
TOWN
[COVERAGES]
HILL TOWN 100
VALE TOWN 100
[BUILDUP]
TOWN TSS 60 0.25
[WASHOFF]
TOWN TSS EXP 0.10 1.3 0
[JUNCTIONS]
N1
[OUTFALLS]
OUT
[PIPES]
P N1 OUT NO 120 2 0.2 0
[TIMESERIES]
STORM 2024/06/10 00:00 0
STORM 2024/06/10 00:10 12
STORM 2024/06/10 00:20 36
STORM 2024/06/10 00:30 60
STORM 2024/06/10 00:40 24
STORM 2024/06/10 00:50 6
STORM 2024/06/10 01:00 0
STORM 2024/06/10 02:00 18
STORM 2024/06/10 02:10 30
STORM 2024/06/10 02:20 6
STORM 2024/06/10 02:30 0
"""


def write_town(folder):
    """The town as a file."""
    path = Path(folder) / "town.inp"
    path.write_text(TOWN)
    return path


class Ensembles:
    """Remembers what ensembles were asked for, and runs them in this process, which is faster for runs of some
    milliseconds."""

    def __init__(self, real):
        self.calls = []
        self._real = real

    def ensemble(self, project, members, *, out, **options):
        self.calls.append((project, members, Path(out), dict(options)))
        options.update({"backend": "serial", "jobs": None, "engines": None})
        return self._real(project, members, out=out, **options)


def watch_ensembles(monkeypatch):
    """Lets fits and sensitivities call for ensembles that are remembered."""
    module = importlib.import_module("tarnvelde.ensemble")
    made = Ensembles(module.ensemble)
    monkeypatch.setattr(module, "ensemble", made.ensemble)
    return made
