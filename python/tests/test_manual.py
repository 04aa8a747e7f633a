"""Chapters of the manual that show Python run as they stand, one block after the other."""
import re
import shutil

import matplotlib
import pytest
from conftest import ROOT

FENCE = re.compile(r"^```python\n(.*?)^```", re.M | re.S)


@pytest.mark.parametrize("chapter, needs", [("fit", "scipy"), ("sensitivity", "SALib")])
def test_blocks_of_a_chapter_run(chapter, needs, tmp_path, monkeypatch, capsys):
    pytest.importorskip(needs)
    matplotlib.use("Agg")
    text = (ROOT / "docs" / f"{chapter}.md").read_text()
    shutil.copy(ROOT / "examples" / "first-storm" / "first-storm.inp", tmp_path)
    monkeypatch.chdir(tmp_path)
    names = {}
    blocks = FENCE.findall(text)
    assert blocks
    for block in blocks:
        exec(compile(block, f"{chapter}.md", "exec"), names)
    if chapter == "fit":
        assert names["fit"].value > 0.99 and (tmp_path / "fit" / "best.bin").exists()
        assert (tmp_path / "fit" / "trials.csv").exists() and (tmp_path / "fit" / "best.json").exists()
