"""The example that answers a question from its rain to a table: as its README tells it."""
import csv
import io
import os
import re
import shutil
import subprocess
import sys

import pytest
from conftest import BUILD, ROOT

FOLDER = ROOT / "examples" / "tank-size"


@pytest.fixture(scope="module")
def answered(tmp_path_factory):
    """The folder of the example after a call of size.py, and what that printed."""
    pytest.importorskip("matplotlib")
    folder = tmp_path_factory.mktemp("tank") / "tank-size"
    shutil.copytree(FOLDER, folder, ignore=shutil.ignore_patterns("sizes", "*.bin*", "*.rpt"))
    done = subprocess.run([sys.executable, "size.py"], cwd=folder, capture_output=True, text=True, check=True,
                          env={**os.environ, "PYTHONPATH": str(ROOT / "python")})
    return folder, done.stdout


def test_counts_are_those_of_the_command(answered):
    folder, _ = answered
    with open(folder / "sizes" / "spills.csv", encoding="utf-8") as file:
        rows = {row["member"]: row for row in csv.DictReader(file)}
    assert list(rows) == ["180-m3", "300-m3", "420-m3"]
    for name, row in rows.items():
        done = subprocess.run([BUILD / "tarnvelde", "stats", folder / "sizes" / "members" / name / "model.bin",
                               "--object", "CREST", "--threshold", "0.001", "--events", "--csv"],
                              capture_output=True, text=True, check=True)
        events = list(csv.DictReader(io.StringIO(done.stdout)))
        assert len(events) == int(row["events"])
        pairs = {"Volume (m3)": "volume", "Hours with flow": "hours", "Load of COD (kg)": "load[COD]"}
        for title, column in pairs.items():
            assert sum(float(event[title]) for event in events) == pytest.approx(float(row[column]), rel=1e-6)


def test_text_says_what_comes_out(answered):
    folder, printed = answered
    assert "300-m3 is the least" in printed
    with open(folder / "sizes" / "spills.csv", encoding="utf-8") as file:
        rows = list(csv.DictReader(file))
    table = re.findall(r"^\| (\d+) m³ \| (\d+) \| ([\d.]+) \| (\d+) \| (\d+) \| (\d+) \|$",
                       (FOLDER / "README.md").read_text("utf-8"), re.M)
    assert [(name.split("-")[0], int(events), round(float(hours), 1), *(round(float(value)) for value in rest))
            for name, events, hours, *rest in (row.values() for row in rows)] == [
        (size, int(events), float(hours), int(volume), int(largest), int(load))
        for size, events, hours, volume, largest, load in table]
    assert (folder / "sizes" / "spills.png").read_bytes().startswith(b"\x89PNG")


def test_rain_is_that_of_its_program(tmp_path):
    shutil.copy(FOLDER / "make-rain.py", tmp_path)
    subprocess.run([sys.executable, "make-rain.py"], cwd=tmp_path, check=True, capture_output=True)
    assert (tmp_path / "rain.dat").read_bytes() == (FOLDER / "rain.dat").read_bytes()
