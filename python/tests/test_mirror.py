"""What mirrors the library is complete and up to date."""
import ctypes
import re
import subprocess
import sys

import numpy as np
import pytest
from conftest import BUILD, ROOT

import tarnvelde as tv
from tarnvelde import _header, _objects, _tables
from tarnvelde._quantities import quantities_of

HEADER = (ROOT / "include" / "tarnvelde_model.h").read_text()


def test_generated_modules_are_up_to_date():
    done = subprocess.run([sys.executable, ROOT / "scripts" / "make-python-mirror.py", "--check", "--library",
                           BUILD / "libtarnvelde.so"], capture_output=True, text=True)
    assert (done.returncode, done.stderr) == (0, "")


def test_every_function_of_the_header_is_declared_with_all_arguments():
    declared = re.findall(r"^TV_API [^;]*?\b(tv_\w+)\(([^;]*)\);", HEADER, re.M | re.S)
    assert {name for name, _ in declared} == set(_header.FUNCTIONS)
    for name, arguments in declared:
        count = 0 if arguments.strip() == "void" else arguments.count(",") + 1
        assert len(_header.FUNCTIONS[name][1]) == count, name


def test_every_number_with_a_name_is_there():
    made = {f"{prefix}{member.name}": int(member) for kind, prefix in (
        (_header.Code, "TV_"), (_header.Phase, "TV_"), (_header.Level, "TV_"), (_header.Severity, "TV_"),
        (_header.WarningGroup, "TV_"), (_header.ObjectClass, "TV_"), (_header.NodeKind, "TV_"),
        (_header.LinkKind, "TV_"), (_header.Relation, "TV_"), (_header.Access, "TV_"), (_header.When, "TV_"),
        (_header.Part, "TV_PART_"), (_header.Grade, "TV_GRADE_"),
        (_header.DatabaseForm, "TV_DATABASE_")) for member in kind.__members__.values()}
    given = dict(re.findall(r"\b(TV_\w+) = (-?\d+)", HEADER))
    for name, value in given.items():
        if not name.endswith("_COUNT"):
            assert made[name] == int(value), name


def test_structures_have_the_sizes_of_the_compiler(tmp_path):
    names = [kind for kind in vars(_header).values() if isinstance(kind, type) and issubclass(kind, ctypes.Structure)]
    types = [re.search(r"`(\w+)`", kind.__doc__).group(1) for kind in names]
    lines = [f'printf("%zu\\n", sizeof({kind}));' for kind in types]
    source = tmp_path / "sizes.c"
    source.write_text("#include <stdio.h>\n#include <tarnvelde_model.h>\n"
                      "int main(void) {" + "".join(lines) + "return 0;}")
    subprocess.run(["cc", "-I", ROOT / "include", source, "-o", tmp_path / "sizes"], check=True)
    sizes = subprocess.run([tmp_path / "sizes"], capture_output=True, text=True, check=True).stdout.split()
    assert [ctypes.sizeof(kind) for kind in names] == [int(size) for size in sizes]


def test_every_variable_of_the_library_is_an_attribute_with_its_unit():
    library = tv.library()
    count = ctypes.c_int32()
    library.tv_getVariableCount(ctypes.byref(count))
    raw = _header.RawVariable()
    for number in range(count.value):
        library.tv_getVariable(number, ctypes.byref(raw))
        owners = [made for (place, kind), made in _objects.CLASSES.items()
                  if place == raw.objectClass and (kind < 0 or raw.kinds >> kind & 1)]
        name = raw.name.decode()
        holders = [quantities_of(owner)[name] for owner in owners if name in quantities_of(owner)]
        assert holders, name
        assert all(held.unit == raw.unit.decode() and held.access == raw.access for held in holders)
        lacking = [made for (place, kind), made in _objects.CLASSES.items()
                   if place == raw.objectClass and kind >= 0 and not raw.kinds >> kind & 1]
        assert not any(name in quantities_of(made) for made in lacking), name


@pytest.mark.parametrize("name", ["first-storm", "wetland-control", "storm-tank", "green-street"])
def test_tables_have_the_columns_and_units_of_the_library(example, name):
    with tv.Model(example(name)) as model:
        model.start(memory=True)
        pollutants = model.pollutants.ids
        kept = {info.name: info for _, info in model._keeper._tables}
        for table, info in kept.items():
            assert info.columns == _tables.columns_of(table, pollutants)


def test_version_is_that_of_the_library():
    assert tv.__version__ == tv.version()


def test_values_move_between_array_and_library_without_loss(first_storm):
    with tv.Model(first_storm) as model:
        widths = model.get("subcatchment", "width")
        assert widths.dtype == np.float64 and widths[0] == 150.0
        model.set("subcatchment", "width", widths * 1.1)
        assert (model.get("subcatchment", "width") == widths * 1.1).all()
