"""The notebooks run from their first cell to their last, and draw."""
import os

import pytest
from conftest import ROOT

nbformat = pytest.importorskip("nbformat")
nbclient = pytest.importorskip("nbclient")

NOTEBOOKS = sorted((ROOT / "python" / "notebooks").glob("*.ipynb"))


@pytest.mark.parametrize("path", NOTEBOOKS, ids=[path.stem for path in NOTEBOOKS])
def test_notebook_runs_and_draws(path, tmp_path, monkeypatch):
    monkeypatch.setenv("IPYTHONDIR", str(tmp_path))
    monkeypatch.setenv("PYTHONPATH", "" if os.environ.get("TARNVELDE_INSTALLED") else str(ROOT / "python"))
    monkeypatch.delenv("MPLBACKEND")
    notebook = nbformat.read(path, as_version=4)
    assert not any(cell.get("outputs") for cell in notebook.cells), "notebooks are kept without what they print"
    client = nbclient.NotebookClient(notebook, timeout=300, kernel_name="python3",
                                     resources={"metadata": {"path": str(path.parent)}})
    client.execute()
    outputs = [output for cell in notebook.cells for output in cell.get("outputs", [])]
    assert not [output for output in outputs if output.output_type == "error"]
    pictures = [output for output in outputs if "image/png" in output.get("data", {})]
    assert pictures
    folder = os.environ.get("TARNVELDE_PICTURES")  # for whoever wants to look at them
    if folder:
        import base64
        for number, picture in enumerate(pictures):
            with open(os.path.join(folder, f"{path.stem}-{number}.png"), "wb") as file:
                file.write(base64.b64decode(picture.data["image/png"]))
