"""What all tests share: the library of the build, examples in folders of their own."""
import os
import shutil
import signal
import sys
import types
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("TARNVELDE_BUILD", ROOT / "build" / "release"))
if not os.environ.get("TARNVELDE_INSTALLED"):
    os.environ.setdefault("TARNVELDE_LIBRARY", str(BUILD / "libtarnvelde.so"))
    sys.path.insert(0, str(ROOT / "python"))
os.environ.setdefault("MPLBACKEND", "Agg")
if signal.getsignal(signal.SIGINT) == signal.SIG_IGN:  # as a shell's background jobs have it, and hand it on
    signal.signal(signal.SIGINT, signal.default_int_handler)

# A year by ten minutes is too long for tests that read all of it: test_tank_size.py has it.
EXAMPLES = sorted(p.stem for p in (ROOT / "examples").glob("*/*.inp") if p.stem == p.parent.name != "tank-size")
if not (BUILD / "engines" / "plant" / "libvorn.so").exists():  # a build without SUNDIALS
    EXAMPLES.remove("catchment-plant-river")


def engines_of(name: str) -> Path:
    """The folder of the engines that an example needs."""
    own = {"nested-town": "nested", "catchment-plant-river": "plant"}
    return BUILD / "engines" / own[name] if name in own else BUILD


@pytest.fixture
def example(tmp_path):
    """Copies an example into the test's folder; the path of its project."""

    def copy(name):
        target = tmp_path / name
        shutil.copytree(ROOT / "examples" / name, target, dirs_exist_ok=True)
        return target / f"{name}.inp"

    return copy


@pytest.fixture
def first_storm(example):
    return example("first-storm")


@pytest.fixture
def storm_tank(example):
    return example("storm-tank")


@pytest.fixture
def town(tmp_path):
    """The small town of fits and sensitivities."""
    from fitting import write_town

    return write_town(tmp_path)


@pytest.fixture
def ensembles(monkeypatch):
    """The ensembles that are asked for meanwhile."""
    from fitting import watch_ensembles

    return watch_ensembles(monkeypatch)


@pytest.fixture
def written(monkeypatch):
    """What goes into a Parquet file, by a stand-in for pyarrow: metadata, frames, and "closed"."""
    seen = []

    class Table:
        schema = types.SimpleNamespace(metadata=None)

        def __init__(self, frame):
            self.frame = frame

        @classmethod
        def from_pandas(cls, frame, schema, preserve_index):
            return cls(frame)

        def replace_schema_metadata(self, metadata):
            seen.append(metadata)
            return self

    class Writer:
        def __init__(self, path, schema):
            self.schema = schema
            open(path, "w").close()

        def __enter__(self):
            return self

        def __exit__(self, *told):
            self.close()

        def write_table(self, table):
            seen.append(table.frame)

        def close(self):
            seen.append("closed")

    arrow, parquet = types.ModuleType("pyarrow"), types.ModuleType("pyarrow.parquet")
    arrow.Table, parquet.ParquetWriter = Table, Writer
    monkeypatch.setitem(sys.modules, "pyarrow", arrow)
    monkeypatch.setitem(sys.modules, "pyarrow.parquet", parquet)
    return seen
