"""The example with a plant and a river: what its README shows is what its program prints."""
import os
import pathlib
import subprocess
import sys

import pytest

from conftest import BUILD, EXAMPLES, ROOT

NAME = "catchment-plant-river"
FOLDER = ROOT / "examples" / NAME

pytestmark = pytest.mark.skipif(NAME not in EXAMPLES or not (BUILD / "tarnvelde").exists(),
                                reason="a build without the plant engine or the program")


def test_the_comparison_prints_what_its_readme_shows(tmp_path: pathlib.Path) -> None:
    before = sorted(path.name for path in FOLDER.iterdir())
    done = subprocess.run([sys.executable, str(FOLDER / "compare.py"), str(tmp_path)], capture_output=True, text=True,
                          env={**os.environ, "TARNVELDE": str(BUILD / "tarnvelde")}, check=False)
    assert done.returncode == 0, done.stderr
    shown = (FOLDER / "README.md").read_text("utf-8").split("<!-- printed -->\n```\n")[1].split("```")[0]
    assert done.stdout == shown
    assert sorted(path.name for path in FOLDER.iterdir()) == before
    assert sorted(path.name for path in tmp_path.iterdir()) == ["effluent-rule", "no-tank", "tank", "tank-rule"]


def test_the_text_says_what_the_table_shows() -> None:
    text = (FOLDER / "README.md").read_text("utf-8")
    table, rest = text.split("<!-- printed -->\n```\n")[1].split("```", 1)
    words = " ".join(rest.split())
    rows = {line[:30].strip(): [float(word) for word in line[30:].split()] for line in table.splitlines()[1:]}
    for row, said in (("COD of the overflow, kg", "Of COD {:.0f} kg are saved"),
                      ("NH4-N of the overflow, kg", "{:.1f} kg less in the overflow")):
        assert said.format(rows[row][0] - rows[row][1]) in words
    for row, said in (("COD of the effluent, kg", "are saved for {:.0f} kg"),
                      ("NH4-N of the effluent, kg", "{:.1f} kg more in the effluent")):
        assert said.format(rows[row][1] - rows[row][0]) in words
    lowest = rows["Lowest oxygen, mg/L"]
    assert f"{lowest[1]:.2f} in place of {lowest[0]:.2f} mg/L" in words
    highest = rows["Highest NH4-N, effluent, mg/L"]
    assert f"{highest[3]:.2f} in place of {highest[1]:.2f} mg/L" in words
    assert f"{highest[1] - highest[2]:.2f} mg/L" in words
    overflow = rows["Overflow, m3, after"]
    assert f"at {overflow[3] - overflow[1]:.0f} m3 of overflow" in words
    assert f"{round(overflow[2] - overflow[1], -1):.0f} m3 more go to the river" in words
    assert 0.19 < 1 - overflow[1] / overflow[0] < 0.22  # a fifth of the water
    assert rows["Treated, m3"][1] - rows["Treated, m3"][0] == pytest.approx(3700, abs=50)
    assert rows["Hours above 0.04 m3/s"][1] - rows["Hours above 0.04 m3/s"][0] == pytest.approx(48, abs=2)
