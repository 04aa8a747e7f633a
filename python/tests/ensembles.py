"""Projects for the tests of ensembles, and what kills a process that runs a member."""
from __future__ import annotations

import os
import signal
import threading
from pathlib import Path
from typing import Any, Dict, List, Tuple

TOWN = """[GENERAL]
START_DATE   2024/06/18
START_TIME   12:00
END_DATE     ${END}
END_TIME     18:00
ROUTING_STEP 0:01:00
REPORT_STEP  ${REPORT}

[JUNCTIONS]
UP

[TANKS]
TANK  SHAPE  3.5  0.2

[OUTFALLS]
WORKS

[CONNECTIONS]
FEED  UP  TANK  NO  300

[ORIFICES]
GATE  TANK  WORKS  NO  RECTANGULAR  0.62  0.0  ${HEIGHT}  0.5

[POLLUTANTS]
TSS  0.0

[CURVES]
SHAPE  TANK  0 1000  3.5 1000

[INFLOWS]
UP  FLOW    FLOW  0.0  METER  1.0
UP  CONCEN  TSS   100  ""     0

[TIMESERIES]
METER  FILE  meter.dat
"""

METER = "2024/06/18 10:00 0.1\n2024/06/18 12:00 0.1\n2024/06/18 13:00 0.5\n2024/06/18 18:00 0.1\n"

PLAIN = {"END": "2024/06/18", "REPORT": "0:15:00", "HEIGHT": "0.3"}
ENDLESS = {"END": "2424/06/18", "REPORT": "24:00:00", "HEIGHT": "0.3"}


def make_town(folder: Path, **places: str) -> Path:
    """A project with its places filled, but for those that are empty; six hours unless END says otherwise."""
    text = TOWN
    for name, value in {**PLAIN, **places}.items():
        if value:
            text = text.replace("${" + name + "}", value)
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "meter.dat").write_text(METER)
    path = folder / "town.inp"
    path.write_text(text)
    return path


def contents(out: Path, ending: str = ".bin") -> Dict[str, bytes]:
    """Bytes of the results by member."""
    return {path.parent.name: path.read_bytes() for path in sorted((out / "members").glob(f"*/model{ending}"))}


def inodes(out: Path) -> Dict[str, Tuple[int, int]]:
    """Which outcome.json each member has: another one after each run. A number of a file may be given again."""
    found = {path.parent.name: path.stat() for path in (out / "members").glob("*/outcome.json")}
    return {name: (state.st_ino, state.st_mtime_ns) for name, state in found.items()}


def holders(folder: Path) -> List[int]:
    """Processes, but this one, that have files in a folder open."""
    found = []
    for entry in os.listdir("/proc"):
        if not entry.isdigit() or int(entry) == os.getpid():
            continue
        try:
            files = [os.readlink(f"/proc/{entry}/fd/{number}") for number in os.listdir(f"/proc/{entry}/fd")]
        except OSError:
            continue
        if any(file.startswith(f"{folder}/") for file in files):
            found.append(int(entry))
    return found


class Killer(threading.Thread):
    """Kills, so many times, whatever process runs a member, seen by the files that it has open."""

    def __init__(self, folder: Path, times: int) -> None:
        super().__init__(daemon=True)
        self._folder = folder
        self._times = times
        self._is_over = threading.Event()
        self.killed: List[int] = []

    def run(self) -> None:
        while len(self.killed) < self._times and not self._is_over.wait(0.02):
            for process in holders(self._folder)[:1]:
                if process not in self.killed:
                    os.kill(process, signal.SIGKILL)
                    self.killed.append(process)

    def __enter__(self) -> Killer:
        self.start()
        return self

    def __exit__(self, *error: Any) -> None:
        self._is_over.set()
        self.join()
