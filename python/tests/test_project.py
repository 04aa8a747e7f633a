"""Project files as tables: what is read, what edits make of the text, and that the engine runs what is written."""

from __future__ import annotations

import datetime
import os
import pathlib
import re
import shutil
import stat
import subprocess
from typing import Any, Callable, Dict, List, Set, Tuple

import numpy as np
import pandas as pd
import pytest

from tarnvelde.project import Project, ProjectFormatError
from tarnvelde.project_text import parse_date, parse_number, parse_seconds
from tarnvelde.sections import ADDING_SECTIONS, NETWORK_SECTIONS, SECTIONS, find_section

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAM = pathlib.Path(os.environ.get("TARNVELDE_PROGRAM", ROOT / "build" / "release" / "tarnvelde"))
PROJECTS = sorted([*ROOT.glob("examples/*/*.inp"), *ROOT.glob("docs/beware/*.inp"), *ROOT.glob("tests/fuzz/*/*.inp")])
#: Models of the engines inside nodes have a grammar of their own.
OWN = [path for path in PROJECTS if path.name not in ("newtown.inp", "oldtown.inp")]

needs_program = pytest.mark.skipif(not PROGRAM.exists(), reason=f"no program {PROGRAM}")


def get_name(path: pathlib.Path) -> str:
    return f"{path.parent.name}/{path.name}"


def run(path: pathlib.Path) -> Tuple[bytes, bytes]:
    """Run a project; its report and its results."""
    engines = ["--engines", "nested"] if path.name == "nested-town.inp" else []
    done = subprocess.run([str(PROGRAM), "run", path.name, "--quiet", "--report", "a.rpt", "--results", "a.bin",
                           *engines], cwd=path.parent, capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    return (path.parent / "a.rpt").read_bytes(), (path.parent / "a.bin").read_bytes()


def to_bytes(text: str) -> bytes:
    return text.encode("utf-8", "surrogateescape")


TOWN = """\
// a town
[GENERAL]
START_DATE    2024/06/10     // a Monday
END_DATE      2024/06/12
REPORT_AVERAGE  NO

[SUBCATCHS]
// ID   gage    outlet   ha    width  %
S1      GAUGE   J1       1.8   150    35    1.2  0.014  0.15  1.5  4.0  60  8  4  5  0   // houses
S2      GAUGE   J1       2.1   160    30    1.0  0.014  0.20  1.5  5.0  60  8  4  5  0

[JUNCTIONS]
J1   a note
J2
[PIPES]
P1\tJ1\tJ2\tNO\t300\t3\t0.2\t0
P2   J2   OUT   yes   300   3   0.2   0
[CONDUITS]
C1  J1  J2  NO  180  0.4  0.014  CIRCULAR     0.9        // round
C2  J1  J2  NO  180  0.4  0.014  RECTANGULAR  0.9  1.5   // square
[COVERAGES]
S1  HOUSES  90
S1  ROADS   10
[CURVES]
BASIN  TANK  0 250   5 250
[PATTERNS]
DAY  HOURLY  0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5
DAY          1.5 1.5 1.5 1.5 1.5 1.5 1.5 1.5 1.5 1.5 1.5 1.5
[TIMESERIES]
RAIN  2024/06/10  5:00 0   5:10 12.5   5:20 3
RAIN  2024/06/11  5:00 1
TEST  0:00 1.0  6:00 2.0
METER FILE "my meter.dat"
[CONTROL_RULES]
RULE A
IF JUNCTION J1 INFLOW > 1
// a thought
THEN PIPE P2 STATUS = CLOSED
"""


@pytest.fixture
def town() -> Project:
    return Project.parse(TOWN)


# --- reading ---------------------------------------------------------------------------------------------------------


def test_sections_are_those_of_the_manual() -> None:
    manual = (ROOT / "docs" / "project-file.md").read_text(encoding="utf-8")
    chapter = manual[manual.index("\n## All sections"):]
    chapter = chapter[:chapter.index("\n## ", 1)]
    assert list(sorted(re.findall(r"^\| `\[(\w+)\]`", chapter, re.MULTILINE))) == sorted(SECTIONS)
    assert len(SECTIONS) == 51


def test_columns_that_are_parameters_have_names_and_units_of_the_manual() -> None:
    manual = (ROOT / "docs" / "variables.md").read_text(encoding="utf-8")
    units: Dict[str, Set[str]] = {}
    for line in manual.splitlines():
        cells = [cell.strip() for cell in re.split(r"(?<!\\)\|", line)]
        name = re.match(r"`(\w+)`", cells[1]) if "parameter" in cells else None
        if name:
            units.setdefault(name.group(1), set()).add(cells[2])
    columns = {name: column for section in SECTIONS.values() for name, column in section.columns.items()}
    mentioned = {"constant_evaporation", "july_evaporation", "area", "infiltration_limit", "initial_load", "max_depth",
                 "split_value", "surface_loading", "initial_fill", "reach_count", "weir_coefficient", "conduit_width",
                 "rain_concentration", "buildup_rate", "washoff_removal", "porosity", "mat_void", "drain_delay"}
    assert mentioned <= set(columns)
    known = [name for name in columns if name in units and columns[name].kind == "number"]
    assert len(known) > 80
    for column in known:
        given = {section.columns[column].unit for section in SECTIONS.values() if column in section.columns}
        assert given <= units[column] | {"m3/s" if column == "split_value" else ""}, column


@pytest.mark.parametrize("path", PROJECTS, ids=get_name)
def test_text_that_is_only_looked_at_stays(path: pathlib.Path) -> None:
    project = Project.read(path)
    for section in project:
        project[section]
    assert to_bytes(project.text()) == path.read_bytes()


@pytest.mark.parametrize("text", [
    b"", b"\n", b"// only a comment", b"no end", b"\r\n\r\n", b"a\r\nb\nc\rd\n", b"[PIPES", b"[PIPES] more\nP1",
    b"\xef\xbb\xbf[PIPES]\nP1 A B\n", b"[PIPES]\nP1 \xff\xfe B\n",
    b"[NOSUCH]\nx y z\n[JUNCTIONS]\nJ",
    b"[JUNCTIONS]\n\0J1\nJ\x002",
    b'[TIMESERIES]\nS FILE "unclosed', b"[JUNCTIONS]\nJ1\n\x1a[PIPES]\nleft alone\n",
    b"[JUNCTIONS]\n" + b"x" * 3000,
    b"[JUNCTIONS]\nA\n[junctions]\nB\n[JUNCTIONS]\nA\n", b"[CURVES]\nC TANK 1\n[JUNCTIONS]\nJ1\n",
    b'[JUNCTIONS]\n"" x\n',
    b"\x0b\x0c[PIPES]\n", b'"[PIPES]"\nP1\n',
], ids=repr)
def test_any_bytes_come_back(text: bytes) -> None:
    project = Project.parse(text)
    for section in project:
        try:
            project[section]
        except ProjectFormatError:
            pass
    assert to_bytes(project.text()) == text
    assert to_bytes(project.copy().text()) == text
    Project.parse(project.text(fresh=True))


def test_all_bytes_come_back() -> None:
    text = bytes(k for k in range(256) if k != 0x1A) * 20
    assert to_bytes(Project.parse(text).text()) == text


def test_table_has_names_and_units_and_numbers(town: Project) -> None:
    land = town["SUBCATCHS"]
    assert list(land.index) == ["S1", "S2"] and land.index.name == "subcatchment"
    assert land.loc["S1", "area"] == 1.8 and land["area"].dtype == float
    assert land.loc["S2", "outlet"] == "J1"
    assert land.attrs["units"]["area"] == "ha" and "gage" not in land.attrs["units"]
    assert town["PIPES"]["is_lagged"].tolist() == [False, True] and town["PIPES"]["is_lagged"].dtype == bool
    assert town["COVERAGES"].loc[("S1", "ROADS"), "share"] == 10
    assert town["CURVES"].loc[("BASIN", 1), "x"] == 5
    assert town["PATTERNS"].loc[("DAY", 12), "factor"] == 1.5
    assert town["CONDUITS"].loc["C2", "conduit_width"] == 1.5 and np.isnan(town["CONDUITS"].loc["C1", "conduit_width"])
    assert town["CONTROL_RULES"] == ["RULE A", "IF JUNCTION J1 INFLOW > 1", "THEN PIPE P2 STATUS = CLOSED"]
    assert town["TANKS"].empty and "max_depth" in town["TANKS"].columns


def test_names_of_sections_in_any_form(town: Project) -> None:
    assert town["[pipes]"] is town["PIPES"] and town.pipes is town["PIPES"] and town.subcatchments is town["SUBCATCHS"]
    assert "pipes" in town and "TANKS" not in town and 3 not in town
    assert list(town)[:2] == ["GENERAL", "SUBCATCHS"]
    assert find_section("nosuch") is None
    with pytest.raises(KeyError, match="NOSUCH"):
        town["NOSUCH"]
    with pytest.raises(AttributeError, match="nosuch"):
        town.nosuch
    town.control_rules = ["RULE B"]
    assert town["CONTROL_RULES"] == ["RULE B"]
    assert "GENERAL" in repr(town) and "empty" in repr(Project())


def test_text_in_a_column_of_numbers_keeps_the_words() -> None:
    project = Project.parse("[TANKS]\nA C 3m 0\nB C 4 0\n")
    assert project["TANKS"]["max_depth"].tolist() == ["3m", 4.0]
    project.set("TANKS", "B", "max_depth", 5)
    assert project.text() == "[TANKS]\nA C 3m 0\nB C 5 0\n"


def test_short_line_has_missing_values_and_can_be_mended() -> None:
    project = Project.parse("[TANKS]\nA C\n")
    assert np.isnan(project["TANKS"].loc["A", "max_depth"])
    project["TANKS"].loc["A", "initial_depth"] = 1
    with pytest.raises(ProjectFormatError, match=r"\[TANKS\] line 2: no value for max_depth of A"):
        project.text()
    project["TANKS"].loc["A", "max_depth"] = 3
    assert project.text() == "[TANKS]\nA C  3  1\n"


def test_words_are_cut_as_the_engine_cuts_them() -> None:
    project = Project.parse('[TIMESERIES]\nS FILE "a b"c//"d"\n[SPLITTERS]\n"x"y RATIO 0.5 FLOW/2\n'
                            "[JUNCTIONS]\nJ\x0b1 \0 x\n/ no line\n"
                            "[dwfs]//x\nJ1 FLOW +.5e-1 \"\"\nJ1 X 0x10 P\nJ1 Y inf P\nJ1 Z \"\" P\n")
    assert project["TIMESERIES"]["file"].tolist() == ["a b"]
    assert project["SPLITTERS"].index.tolist() == ["x"] and project["SPLITTERS"]["link"].tolist() == ["y"]
    assert project["JUNCTIONS"].index.tolist() == ["J\x0b1"]
    assert project["DWFS"]["mean"].tolist() == [0.05, 16.0, float("inf"), 0.0]
    assert project["DWFS"]["pattern"].tolist() == ["", "P", "P", "P"]


def test_at_most_forty_words_count() -> None:
    words = " ".join(str(k) for k in range(40))
    project = Project.parse(f"[CURVES]\nC TANK {words}\n")
    assert project["CURVES"]["y"].tolist() == [float(k) for k in range(1, 38, 2)]


def test_long_line_is_several() -> None:
    head = "[JUNCTIONS]\n"
    project = Project.parse(head + "A" + " " * 1022 + "B\n")
    assert project["JUNCTIONS"].index.tolist() == ["A", "B"]
    project.remove("JUNCTIONS", "A")
    assert project.text() == head + "B\n"
    project = Project.parse(head + "A" + " " * 1021 + "\nB")
    project.add("JUNCTIONS", "C")
    assert project.text().split() == ["[JUNCTIONS]", "A", "B", "C"]
    assert Project.parse(head + "x" * 1022 + "\n")["JUNCTIONS"].shape == (1, 0)
    assert Project.parse(head + "x" * 1023 + "\r\n")["JUNCTIONS"].index.tolist() == ["x" * 1023]


def test_numbers_dates_and_times_are_read_as_by_the_engine() -> None:
    assert [parse_number(word) for word in ("1.", "-.5", "1e3", "0x1p4", "", "-0x1p9999", "infinity")] == [
        1.0, -0.5, 1000.0, 16.0, 0.0, float("-inf"), float("inf")]
    assert [parse_number(word) for word in ("1_0", " 1", "1,5", "3m", "1\xa0", ".", "e5", "٣")] == [None] * 8
    day = datetime.date(2024, 3, 12)
    assert [parse_date(word) for word in ("2024/3/12", "2024-03-12", "2024-mar-12", "2024/3/12abc", "2024.3/12")] == [
        day] * 5
    assert [parse_date(word) for word in ("2024/02/30", "12", "1e-5", "2024-XYZ-01", "2024/3", "-1", "-12345")] == [
        None] * 7
    assert [parse_seconds(word) for word in ("1.5", "12:30", "36:00:01", "7h", "-1", "2.5h")] == [
        5400.0, 45000.0, 129601.0, 25200.0, -3600.0, 7200.0]
    assert parse_seconds("noon") is None


def test_lines_that_make_no_points_are_told_with_their_place() -> None:
    project = Project.parse("[CURVES]\nC TANK 1\n[PATTERNS]\nP\n[TIMESERIES]\nS FILE\n[JUNCTIONS]\nJ1\n")
    for section, line, what in (("CURVES", 2, "x without a y"), ("PATTERNS", 4, "nothing after"),
                                ("TIMESERIES", 6, "without a name")):
        with pytest.raises(ProjectFormatError, match=what) as caught:
            project[section]
        assert caught.value.section == section and caught.value.line == line
    with pytest.raises(ProjectFormatError, match="no time"):
        Project.parse("[TIMESERIES]\nS 2024/1/1 noon 5\n")["TIMESERIES"]
    with pytest.raises(ProjectFormatError, match="four words"):
        Project.parse("[TIMESERIES]\nS 1 5\n")["TIMESERIES"]
    assert project["JUNCTIONS"].index.tolist() == ["J1"]
    assert project.text(fresh=True).startswith("[CURVES]\nC TANK 1\n")


# --- edits -----------------------------------------------------------------------------------------------------------


def check_lines(project: Project, changes: Dict[str, str], text: str = TOWN) -> None:
    """The text is that which was read, with some lines in place of others."""
    for old, new in changes.items():
        assert text.count(old) == 1, old
        text = text.replace(old, new)
    assert project.text() == text


def test_edited_value_changes_its_word_alone(town: Project) -> None:
    town["SUBCATCHS"].loc["S1", "impervious_share"] = 85
    town["SUBCATCHS"].loc["S2", "area"] = 0.1
    check_lines(town, {"150    35    1.2": "150    85    1.2", "J1       2.1   160": "J1       0.1   160"})


def test_longer_and_shorter_words_keep_the_columns(town: Project) -> None:
    town.set("SUBCATCHS", "s1", "width", "1234.5")
    town.set("CONDUITS", "C1", "conduit_height", 1.25)
    town.set("SUBCATCHS", "S2", "slope", 1.125)
    town.set("PIPES", "P1", "k", 60)
    town["GENERAL"]["START_DATE"] = "2024/6/9"
    check_lines(town, {"150    35": "1234.5 35", "0.9        // round": "1.25       // round",
                       "30    1.0  0.014": "30    1.125 0.014", "\t300\t": "\t60\t",
                       "2024/06/10     // a": "2024/6/9       // a"})


def test_same_value_keeps_its_word(town: Project) -> None:
    town["SUBCATCHS"].loc["S2", "slope"] = 1
    town["PIPES"].loc["P2", "is_lagged"] = True
    town["SUBCATCHS"]["area"] = town["SUBCATCHS"]["area"].astype(object)
    assert town.text() == TOWN


def test_edits_are_repeated_by_each_text(town: Project) -> None:
    town.set("PIPES", "P2", "x", 0.3)
    first = town.text()
    assert "0.3" in first and town.text() == first
    town.set("PIPES", "P2", "x", 0.2)
    assert town.text() == TOWN


def test_numbers_read_back_to_the_same_double(town: Project) -> None:
    numbers: List[Any] = [
        0.1 + 0.2, 1e-300, 123456789012345678.0, -0.0, 2.0 ** 60, np.float32(0.1), np.int64(7), 5e-324]
    for value in numbers:
        town.set("SUBCATCHS", "S1", "slope", value)
        back = Project.parse(town.text())["SUBCATCHS"].loc["S1", "slope"]
        assert back == value and np.signbit(back) == np.signbit(value)


def test_new_shape_brings_and_takes_its_words(town: Project) -> None:
    town.set("CONDUITS", "C1", "shape", "RECTANGULAR")
    with pytest.raises(ProjectFormatError, match="no value for conduit_width of C1"):
        town.text()
    town.set("CONDUITS", "C1", "conduit_width", 2)
    town.set("CONDUITS", "C2", "shape", "CIRCULAR")
    with pytest.raises(ProjectFormatError, match="C2 has a value for conduit_width"):
        town.text()
    town.set("CONDUITS", "C2", "conduit_width", None)
    conduits = Project.parse(town.text())["CONDUITS"]
    assert conduits.loc["C1", "conduit_width"] == 2 and conduits.loc["C2", "shape"] == "CIRCULAR"
    assert "// round" in town.text() and "// square" in town.text() and "0.9  1.5" not in town.text()


def test_what_may_be_missing_comes_and_goes() -> None:
    project = Project.parse("[LID_GROUPS]\nS L 10 1 0 50 J // x\nS M 10 1 0 50// y\n")
    project.set("LID_GROUPS", ("S", "L"), "drain_node", None)
    project.set("LID_GROUPS", ("S", "M"), "drain_node", "K")
    assert project.text() == "[LID_GROUPS]\nS L 10 1 0 50 // x\nS M 10 1 0 50  K // y\n"


def test_word_against_a_comment_or_a_quote_stays_apart() -> None:
    project = Project.parse('[DWFS]\nJ FLOW 5//x\nK "FLOW"7 ""\n')
    project["DWFS"].iloc[0, 0] = 6.5  # and the empty pattern, without which the engine refuses the line
    project["DWFS"].iloc[1, 0] = 8
    project["DWFS"].iloc[1, 1] = "P"
    assert project.text() == '[DWFS]\nJ FLOW 6.5 "" //x\nK "FLOW"8 P\n'
    again = Project.parse(project.text())["DWFS"]
    assert again["mean"].tolist() == [6.5, 8.0] and again["pattern"].tolist()[1] == "P"


def test_added_rows_stand_at_the_end_of_their_section(town: Project) -> None:
    town.add("SUBCATCHS", "S3", **{**town["SUBCATCHS"].loc["S2"].to_dict(), "width": 99})
    town.add("JUNCTIONS", "J9")
    town.add("PIPES", ["P8", "P9"], upstream_node="J1", downstream_node=["J2", "J9"], k=60, reach_count=1, x=0.25)
    check_lines(town, {
        "60  8  4  5  0\n\n": "60  8  4  5  0\nS3      GAUGE   J1       2.1   99     30    1    0.014  0.2   1.5  5    "
                              "60  8  4  5  0\n\n",
        "J2\n[PIPES]": "J2\nJ9\n[PIPES]",
        "0.2   0\n[CONDUITS]": "0.2   0\nP8   J1   J2    NO    60    1   0.25  0\n"
                               "P9   J1   J9    NO    60    1   0.25  0\n[CONDUITS]"})


def test_removed_rows_lose_their_lines(town: Project) -> None:
    town.remove("SUBCATCHS", "S1")
    town.remove("COVERAGES", "S1", "HOUSES")
    town.remove("GENERAL", "REPORT_AVERAGE")
    text = TOWN.replace("S1  HOUSES  90\n", "").replace("REPORT_AVERAGE  NO\n", "")
    check_lines(town, {text[text.index("S1      GAUGE"):text.index("S2      GAUGE")]: ""}, text)
    with pytest.raises(KeyError, match="S1"):
        town.remove("SUBCATCHS", "S1")
    town.remove("COVERAGES", "S1")
    assert len(town["COVERAGES"]) == 0


def test_rows_edited_by_pandas_itself(town: Project) -> None:
    land = town["SUBCATCHS"]
    land.drop("S1", inplace=True)
    land.loc["S4"] = land.loc["S2"]
    land["area"] *= 2
    again = Project.parse(town.text())["SUBCATCHS"]
    assert again.index.tolist() == ["S2", "S4"] and again["area"].tolist() == [4.2, 4.2]


def test_frame_that_was_handed_out_sees_all_edits(town: Project) -> None:
    frame = town["PIPES"]
    town.add("PIPES", "P3", upstream_node="J1", downstream_node="J2", k=60, reach_count=1, x=0.25)
    town.remove("PIPES", "P1")
    assert frame is town["PIPES"] and frame.index.tolist() == ["P2", "P3"]
    assert frame["k"].dtype == float and frame["is_lagged"].dtype == bool and frame.attrs["units"]["k"] == "s"


def test_row_order_does_not_matter(town: Project) -> None:
    town["SUBCATCHS"] = town["SUBCATCHS"].iloc[::-1]
    assert town.text() == TOWN


def test_rows_of_one_name_are_told_by_their_order() -> None:
    project = Project.parse("[INFLOWS]\nJ MASS A 1 \"\" 0\nJ MASS A 2 \"\" 0\n")
    project["INFLOWS"]["baseline"] = [1.0, 5.0]
    assert project.text() == "[INFLOWS]\nJ MASS A 1 \"\" 0\nJ MASS A 5 \"\" 0\n"
    with pytest.raises(KeyError, match="2 rows"):
        project.set("INFLOWS", ("J", "MASS", "A"), "baseline", 3)


def test_line_ends_of_the_file_are_kept() -> None:
    project = Project.parse(b"[JUNCTIONS]\r\nA note\r\nB")
    project.add("JUNCTIONS", "C")
    project.add("OUTFALLS", "O")
    assert project.text() == "[JUNCTIONS]\r\nA note\r\nB\r\nC\r\n\r\n[OUTFALLS]\r\nO\r\n"


def test_new_sections_stand_where_the_engine_wants_them(town: Project) -> None:
    town.add("TANKS", "T1", curve="BASIN", max_depth=5)
    town.add("INITIAL_CONCENTRATION", "T1", "COD", initial_concentration=3)
    text = town.text()
    assert text.index("[TIMESERIES]") < text.index("[TANKS]\nT1  BASIN  5  0\n") < text.index("[CONTROL_RULES]")
    assert text.endswith("\n\n[INITIAL_CONCENTRATION]\nT1  0  COD  3\n")
    late = Project.parse("// head\n\n// rules\n[CONTROL_RULES]\nRULE A\n[JUNCTIONS]\nJ1\n")
    late.add("JUNCTIONS", "J2")
    late.add("CONTROL_RULES", "RULE B")
    assert late.text() == ("// head\n\n[JUNCTIONS]\nJ2\n\n// rules\n[CONTROL_RULES]\nRULE A\n[JUNCTIONS]\nJ1\n"
                           "\n[CONTROL_RULES]\nRULE B\n")
    top = Project.parse("[CONTROL_RULES]\nRULE A\n")
    top.add("OUTFALLS", "O")
    assert top.text() == "[OUTFALLS]\nO\n\n[CONTROL_RULES]\nRULE A\n"
    assert set(ADDING_SECTIONS).isdisjoint(NETWORK_SECTIONS) and "PIPES" in NETWORK_SECTIONS


def test_section_without_rows_gets_them_behind_its_comments() -> None:
    project = Project.parse("[JUNCTIONS]\n// ID\n\n[PIPES]\n")
    project.add("JUNCTIONS", "J1")
    assert project.text() == "[JUNCTIONS]\n// ID\nJ1\n\n[PIPES]\n"


def test_end_mark_stays_the_end() -> None:
    project = Project.parse("[JUNCTIONS]\nJ1\n\x1arest")
    project.add("OUTFALLS", "O")
    assert project.text() == "[JUNCTIONS]\nJ1\n\n[OUTFALLS]\nO\n\x1arest"


def test_options(town: Project) -> None:
    general = town["GENERAL"]
    assert general["REPORT_AVERAGE"] is False and general["START_DATE"] == "2024/06/10"
    general["END_DATE"] = datetime.datetime(2024, 6, 13)
    general["ROUTING_STEP"] = datetime.timedelta(seconds=90)
    general["REPORT_AVERAGE"] = True
    town.set("GENERAL", "start_dry_days", "", 5)
    town.add("GENERAL", START_TIME=datetime.time(6, 30), RTC_ON="YES")
    check_lines(town, {"2024/06/12": "2024/06/13",
                       "REPORT_AVERAGE  NO\n": "REPORT_AVERAGE  YES\nROUTING_STEP    0:01:30\n"
                       "START_DRY_DAYS  5\nSTART_TIME      6:30:00\nRTC_ON          YES\n"})
    general["ROUTING_STEP"] = 300
    with pytest.raises(ProjectFormatError, match="ROUTING_STEP: 300 is no time.*hours"):
        town.text()
    town["GENERAL"] = {"START_DATE": datetime.date(2024, 1, 2)}
    assert "START_DATE    2024/01/02     // a Monday" in town.text() and "END_DATE" not in town.text()


def test_option_twice() -> None:
    project = Project.parse("[GENERAL]\nSTART_DRY_DAYS 1\nstart_dry_days 2\nEVENT_RAIN\n")
    assert project["GENERAL"]["START_DRY_DAYS"] == 2
    project["GENERAL"]["START_DRY_DAYS"] = 3
    assert project.text() == "[GENERAL]\nSTART_DRY_DAYS 1\nstart_dry_days 3\nEVENT_RAIN\n"
    project["GENERAL"]["start_dry_days"] = 3
    with pytest.raises(ProjectFormatError, match="twice"):
        project.text()
    project["GENERAL"] = {"START_DRY_DAYS": None}
    with pytest.raises(ProjectFormatError, match="no value"):
        project.text()


@pytest.mark.parametrize("section, label, column, value, what", [
    ("PIPES", "P1", "k", "fast", "no number"), ("PIPES", "P1", "k", True, "no number"),
    ("PIPES", "P1", "k", [1], "no number"),
    ("PIPES", "P1", "upstream_node", "a b", "can't be a name"), ("PIPES", "P1", "upstream_node", "", "can't be a name"),
    ("PIPES", "P1", "upstream_node", "a//b", "mark of a comment"), ("PIPES", "P1", "upstream_node", "a\nb", "line end"),
    ("PIPES", "P1", "upstream_node", b"x", "no text"), ("PIPES", "P1", "is_lagged", "MAYBE", "neither NO nor YES"),
    ("PIPES", "P1", "upstream_node", "\ud800", "UTF-8"),
    ("TIMESERIES", ("METER", 0), "file", 'a "b" c', "a quote"),
    ("TIMESERIES", ("RAIN", 0), "date", "2024/02/30", "no date"),
    ("TIMESERIES", ("RAIN", 0), "time", "noon", "no time"),
    ("TIMESERIES", ("RAIN", 0), "date", datetime.datetime(2024, 1, 1, 5), "time of day"),
    ("TIMESERIES", ("RAIN", 0), "time", datetime.timedelta(seconds=0.5), "whole seconds"),
])
def test_values_that_no_file_can_hold(town: Project, section: str, label: Any, column: str, value: Any,
                                      what: str) -> None:
    with pytest.raises(ProjectFormatError, match=what):
        town.set(section, label, column, value)
    assert town.text() == TOWN


def test_values_put_into_a_frame_are_looked_at_when_written(town: Project) -> None:
    town["PIPES"].loc["P1", "upstream_node"] = "a b"
    with pytest.raises(ProjectFormatError, match=r"\[PIPES\] line 16: upstream_node of P1.*can't be a name"):
        town.text()


def test_mistakes_in_calls(town: Project) -> None:
    calls: List[Callable[[], object]] = [
        lambda: town.set("PIPES", "P1", "nosuch", 1), lambda: town.set("PIPES", "P7", "k", 1),
        lambda: town.add("JUNCTIONS", "j1"), lambda: town.add("JUNCTIONS", ["X", "x"]),
        lambda: town.set("CONTROL_RULES", "A", "k", 1)]
    for call in calls:
        with pytest.raises(KeyError):
            call()
    calls = [lambda: town.add("PIPES", "P7", nosuch=1), lambda: town.add("PIPES"),
             lambda: town.add("CURVES", "C", type="TANK", x=[1, 2], y=[1]),
             lambda: town.__setitem__("PIPES", town["PIPES"].assign(colour="red")),
             lambda: town.__setitem__("PIPES", town["PIPES"].drop(columns="k"))]
    for call in calls:
        with pytest.raises(ProjectFormatError):
            call()
    assert town.text() == TOWN
    for name in ("/x", "[x"):
        project = Project()
        project.add("JUNCTIONS", name)
        with pytest.raises(ProjectFormatError, match="can't begin a line"):
            project.text()


def test_line_that_would_grow_too_long() -> None:
    project = Project.parse("[JUNCTIONS]\nJ1\n[TANKS]\nT C 1 0 // " + "x" * 1000 + "\n")
    project.set("TANKS", "T", "curve", "C" * 100)
    with pytest.raises(ProjectFormatError, match="1022 is the most"):
        project.text()
    project = Project()
    project.add("JUNCTIONS", "J" * 1023)
    with pytest.raises(ProjectFormatError, match="1022 is the most"):
        project.text()


def test_text_with_blanks_is_quoted(town: Project) -> None:
    town.set("TIMESERIES", ("METER", 0), "file", "the new meter.dat")
    assert 'METER FILE "the new meter.dat"\n' in town.text()
    town.set("TIMESERIES", ("METER", 0), "file", "müll.dat")
    assert "METER FILE müll.dat\n" in town.text()


# --- curves, patterns, series ----------------------------------------------------------------------------------------


def test_value_of_a_point_changes_its_word_alone(town: Project) -> None:
    town["CURVES"].loc[("BASIN", 1), "y"] = 300
    town["PATTERNS"].loc[("DAY", 13), "factor"] = 2
    town["TIMESERIES"].loc[("RAIN", 1), "value"] = 99
    town["TIMESERIES"].loc[("TEST", 1), "time"] = "7:00"
    check_lines(town, {"5 250\n": "5 300\n", "DAY          1.5 1.5": "DAY          1.5 2  ",
                       "5:10 12.5   5:20": "5:10 99     5:20",
                       "6:00 2.0": "7:00 2.0"})


def test_points_behind_the_others_get_lines_of_their_own(town: Project) -> None:
    town.add("CURVES", "basin", x=[7, 8], y=[400, 500], type="TANK")
    town.add("TIMESERIES", "RAIN", date="2024/06/12", time="1:00", value=4)
    with pytest.raises(ProjectFormatError, match="1 values, others have 3"):
        town.add("CURVES", "basin", x=7, y=[4, 5, 6], type=["TANK"])
    again = Project.parse(town.text())
    assert again["CURVES"]["x"].tolist() == [0, 5, 7, 8] and "RAIN  2024/06/12  1:00 4\nTEST" in town.text()


def test_points_taken_out_or_between(town: Project) -> None:
    town.remove("TIMESERIES", "RAIN", 1)
    town.remove("CURVES", "BASIN", 0)
    town["PATTERNS"].loc["DAY", "type"] = "MONTHLY"
    text = town.text()
    assert "RAIN  2024/06/10  5:00 0  5:20 3\nRAIN  2024/06/11  5:00 1\nTEST  0:00 1.0" in text
    assert "[CURVES]\nBASIN  TANK  5 250\n" in text and "DAY  MONTHLY  0.5  0.5" in text
    town.remove("PATTERNS", "DAY")
    assert "DAY" not in town.text()
    town.add("PATTERNS", "DAY", type="HOURLY", factor=[1] * 24)
    assert Project.parse(town.text())["PATTERNS"]["factor"].tolist() == [1.0] * 24


def test_what_no_pattern_or_curve_can_be(town: Project) -> None:
    town["CURVES"].loc[("BASIN", 0), "type"] = "PUMP1"
    with pytest.raises(ProjectFormatError, match="one type"):
        town.text()
    for factors, what in ((25, "25 factors"), (1, "")):
        project = Project()
        project.add("PATTERNS", "P", type="HOURLY", factor=[1] * factors)
        if what:
            with pytest.raises(ProjectFormatError, match=what):
                project.text()
        project["PATTERNS"].index = pd.MultiIndex.from_tuples([("P", k + 1) for k in range(factors)])
        with pytest.raises(ProjectFormatError, match="each hour"):
            project.text()
    project["PATTERNS"].index = pd.MultiIndex.from_tuples([("P", 0)])
    project["PATTERNS"].loc[("P", 0), "factor"] = None
    with pytest.raises(ProjectFormatError, match="no value for factor"):
        project.text()


def test_entries_without_dates(town: Project) -> None:
    town.add("TIMESERIES", "TEST", date="", time="8:00", value=3)
    assert "TEST  0:00 1  6:00 2  8:00 3\n" in town.text()
    town.remove("TIMESERIES", "TEST", 0)
    town.remove("TIMESERIES", "TEST", 1)
    with pytest.raises(ProjectFormatError, match="single entry needs a date"):
        town.text()
    town["TIMESERIES"].loc[("RAIN", 3), "date"] = ""
    with pytest.raises(ProjectFormatError, match="without a date after"):
        town.text()


def test_seven_entries_without_dates_have_no_line_of_three_words() -> None:
    project = Project()
    project.add("TIMESERIES", "S", date="", time=[f"{k}:00" for k in range(7)], value=range(7))
    assert Project.parse(project.text())["TIMESERIES"]["value"].tolist() == [float(k) for k in range(7)]


def test_date_at_the_end_of_a_line_holds_on() -> None:
    project = Project.parse("[TIMESERIES]\nS 2024/1/1 0:00 1 2024/1/2\nS 5:00 3 6:00 4\n")
    assert project["TIMESERIES"]["date"].tolist() == ["2024/1/1", "2024/1/2", "2024/1/2"]


def test_series_by_date_and_time(town: Project, tmp_path: pathlib.Path) -> None:
    rain = town.series("rain")
    assert rain[pd.Timestamp("2024-06-10 05:10")] == 12.5 and rain.index[-1] == pd.Timestamp("2024-06-11 05:00")
    assert town.series("TEST").index[1] == pd.Timestamp("2024-06-10 06:00")
    assert Project.parse("[TIMESERIES]\nS 0 1 1.5 2\n").series("S").index[1] == pd.Timestamp("2020-01-01 01:30")
    with pytest.raises(KeyError):
        town.series("SNOW")
    with pytest.raises(FileNotFoundError, match="my meter.dat"):
        town.series("METER")
    (tmp_path / "my meter.dat").write_text("; a comment\n\n2024/6/10 1:00 5.5 rest\n2024/6/10 2.5 6\n")
    town.path = str(tmp_path / "town.inp")
    assert town.series("METER").tolist() == [5.5, 6.0]
    assert town.series("METER").index[1] == pd.Timestamp("2024-06-10 02:30")
    (tmp_path / "my meter.dat").write_text("date time value\n")
    with pytest.raises(ProjectFormatError, match="line 1"):
        town.series("METER")
    town["TIMESERIES"].loc[("RAIN", 0), "value"] = None
    town["TIMESERIES"].loc[("RAIN", 0), "time"] = None
    with pytest.raises(ProjectFormatError, match="no entry"):
        town.series("RAIN")


def test_series_written(town: Project) -> None:
    times = pd.date_range("2024-06-10 23:50", periods=3, freq="5min")
    town.set_series("RAIN", pd.Series([0.1, 2, 3.5], index=times))
    town.set_series("NEW", pd.Series([1.0], index=times[:1]))
    assert "RAIN  2024/06/10  23:50:00 0.1  23:55:00 2\nRAIN  2024/06/11  0:00:00 3.5\nTEST" in town.text()
    assert Project.parse(town.text()).series("RAIN").tolist() == [0.1, 2.0, 3.5]
    for values, what in ((pd.Series([1.0, 2.0], index=times[[1, 0]]), "later"),
                         (pd.Series([np.nan], index=times[:1]), "missing"),
                         (pd.Series([1.0], index=times[:1].tz_localize("UTC")), "zone"),
                         (pd.Series([1.0], index=times[:1] + pd.Timedelta("0.5s")), "whole seconds")):
        with pytest.raises(ProjectFormatError, match=what):
            town.set_series("RAIN", values)


# --- lines -----------------------------------------------------------------------------------------------------------


def test_lines_are_edited_as_a_list(town: Project) -> None:
    rules = town["CONTROL_RULES"]
    rules[1] = "IF JUNCTION J1 INFLOW > 2"
    rules.append("PRIORITY 5")
    text = "RULE A\nIF JUNCTION J1 INFLOW > 2\n// a thought\nTHEN PIPE P2 STATUS = CLOSED\nPRIORITY 5\n"
    assert town.text().endswith(text)
    rules.insert(2, "AND JUNCTION J2 INFLOW > 2")
    assert "> 2\nAND JUNCTION J2 INFLOW > 2\n// a thought" in town.text()
    rules[:] = ["RULE Z", *town["CONTROL_RULES"]]
    assert "[CONTROL_RULES]\nRULE Z\nRULE A" in town.text()
    town["CONTROL_RULES"] = []
    assert town.text().endswith("[CONTROL_RULES]\n// a thought\n")
    for bad in ("", "// x", "[PIPES]", "a\nb", 5):
        town["CONTROL_RULES"] = [bad]
        with pytest.raises(ProjectFormatError, match="can't be a line"):
            town.text()


def test_line_put_ahead_of_all_others() -> None:
    project = Project.parse("[MAP]\na\nb\n")
    project["MAP"].insert(0, "x")
    assert project.text() == "[MAP]\nx\na\nb\n"
    project["MAP"][:] = ["b"]
    assert project.text() == "[MAP]\nb\n"
    head = Project.parse("a town\n[JUNCTIONS]\nJ1\n")
    assert head["DESCRIPTION"] == ["a town"] and "DESCRIPTION" in head
    head["DESCRIPTION"] = "another town"
    assert head.text() == "another town\n[JUNCTIONS]\nJ1\n"
    head["DESCRIPTION"].insert(0, "top")
    assert head.text() == "top\nanother town\n[JUNCTIONS]\nJ1\n"


def test_written_anew_only_what_can_be() -> None:
    text = ("[GENERAL]\nSTART_DATE   2024/13/40\n[DWFS]\nJ FLOW   1.50\nK FLOW   2.50 P\nL FLOW   3m P\n"
            "[MAP]\nx   y\n[PATTERNS]\nP   HOURLY 1.50\nQ   HOURLY x1.5\n")
    assert Project.parse(text).text(fresh=True) == text.replace("FLOW   2.50", "FLOW  2.5").replace(
        "K FLOW", "K  FLOW").replace("2.5 P", "2.5  P").replace("P   HOURLY 1.50", "P  HOURLY  1.5")
    long = "[GENERAL]\nSTART_DRY_DAYS 5.0 //" + "x" * 998 + "\n[TANKS]\nT C 1.0 0 " + "/" * 1000 + "\n"
    again = Project.parse(long).text(fresh=True)
    assert max(map(len, again.split("\n"))) < 1023 and "[TANKS]\nT C 1.0 0 //" in again
    wide = "[LID_GROUPS]\n" + "".join(f"{a} {b} 1.0 0 0 0 {c}\n" for a, b, c in (
        ("A" * 400, "L", "J"), ("B", "L" * 400, "J"), ("C", "L", "J" * 400)))
    again = Project.parse(wide).text(fresh=True)
    assert Project.parse(again)["LID_GROUPS"].equals(Project.parse(wide)["LID_GROUPS"]) and "1.0" not in again
    assert max(map(len, again.split("\n"))) < 1023


def test_unknown_sections_are_lines() -> None:
    project = Project.parse("[Mine]\na b\n")
    assert project["mine"] == ["a b"] and project["[MINE]"] is project["Mine"]
    project["mine"].append("c")
    assert project.text() == "[Mine]\na b\nc\n"


# --- files -----------------------------------------------------------------------------------------------------------


def test_file_is_put_in_place_whole(town: Project, tmp_path: pathlib.Path, monkeypatch: pytest.MonkeyPatch) -> None:
    path = tmp_path / "town.inp"
    town.write(path, relocate=False)
    assert path.read_bytes() == TOWN.encode() and stat.S_IMODE(path.stat().st_mode) & 0o600 == 0o600
    path.chmod(0o640)
    link = tmp_path / "link.inp"
    link.symlink_to(path)
    town.set("PIPES", "P2", "x", 0.3)
    town.write(link)
    assert stat.S_IMODE(path.stat().st_mode) == 0o640 and link.is_symlink() and b"0.3" in path.read_bytes()
    before = path.read_bytes()

    def fail(*_: Any) -> None:
        raise OSError("disk full")

    monkeypatch.setattr(os, "replace", fail)
    with pytest.raises(OSError, match="disk full"):
        Project().write(path)
    assert path.read_bytes() == before and sorted(os.listdir(tmp_path)) == ["link.inp", "town.inp"]


def test_written_to_another_folder(tmp_path: pathlib.Path) -> None:
    here, there = tmp_path / "here", tmp_path / "the re"
    here.mkdir()
    there.mkdir()
    (here / "my meter.dat").write_text("2024/1/1 0:00 1\n")
    (here / "a.inp").write_text("")
    text = '[TIMESERIES]\nM  FILE  "my meter.dat"  // x\nN FILE lost.dat\n[SWMM_INPS]\nA  a.inp NO\nINFLOW a.inp L\n'
    (here / "town.inp").write_text(text)
    project = Project.read(here / "town.inp")
    with pytest.raises(ProjectFormatError, match=r"\[TIMESERIES\] line 2: 'my meter.dat' isn't found .*relocate=True"):
        project.write(there / "town.inp")
    assert not list(there.iterdir())
    project.write(there / "town.inp", relocate=True)
    moved = (there / "town.inp").read_text()
    assert moved == text.replace('"my meter.dat"  //', '"../here/my meter.dat" //').replace(
        "a.inp NO", "../here/a.inp NO")
    assert Project.read(there / "town.inp").series("M").tolist() == [1.0]
    project.write(there / "town.inp", relocate=False)
    assert (there / "town.inp").read_text() == text
    project.write(here / "copy.inp")
    assert (here / "copy.inp").read_text() == text
    (there / "my meter.dat").write_text("2024/1/1 0:00 2\n")
    (there / "a.inp").write_text("")
    project.write(there / "town.inp")
    assert (there / "town.inp").read_text() == text


def test_file_name_that_grows_too_long(tmp_path: pathlib.Path) -> None:
    deep = tmp_path / ("d" * 200) / ("e" * 200)
    deep.mkdir(parents=True)
    (deep / "m.dat").write_text("2024/1/1 0:00 1\n")
    project = Project.parse("[TIMESERIES]\nM FILE m.dat\n", deep / "town.inp")
    with pytest.raises(ProjectFormatError, match="259 bytes"):
        project.write(tmp_path / "town.inp", relocate=True)


def test_name_that_would_find_another_file_is_written_from_the_root(
        tmp_path: pathlib.Path, monkeypatch: pytest.MonkeyPatch) -> None:
    for folder in ("a", "b"):
        (tmp_path / folder / "data").mkdir(parents=True)
        (tmp_path / folder / "data" / "m.dat").write_text("2024/1/1 0:00 1\n")
    project = Project.parse("[TIMESERIES]\nM FILE data/m.dat\n", tmp_path / "a" / "town.inp")
    monkeypatch.chdir(tmp_path / "b" / "data")
    (tmp_path / "b" / "data" / "a").mkdir()
    monkeypatch.chdir(tmp_path / "b")
    (tmp_path / "b" / "m.dat").write_text("")
    project.write(tmp_path / "a" / "data" / "town.inp", relocate=True)
    assert (tmp_path / "a" / "data" / "town.inp").read_text().split()[-1] != "m.dat"


# --- the engine ------------------------------------------------------------------------------------------------------


@needs_program
@pytest.mark.parametrize("path", OWN, ids=get_name)
def test_project_written_anew_runs_to_the_same_bytes(path: pathlib.Path, tmp_path: pathlib.Path) -> None:
    shutil.copytree(path.parent, tmp_path / "x", ignore=shutil.ignore_patterns("*.bin", "*.rpt", "*.out"))
    copy = tmp_path / "x" / path.name
    before = run(copy)
    project = Project.read(copy)
    rebuilt = Project.parse(project.text(fresh=True))
    assert sorted(rebuilt) == sorted(project)
    for section in project:
        assert isinstance(project[section], list) or project[section].equals(rebuilt[section]), section
    project.write(copy, fresh=True)
    assert copy.read_bytes() != path.read_bytes()
    assert run(copy) == before


def has_usual_order(path: pathlib.Path) -> bool:
    """Whether nodes and links stand in the order of a new project: it is that of the results."""
    found = [name for name in Project.read(path) if name in NETWORK_SECTIONS]
    return found == [name for name in SECTIONS if name in found]


@needs_program
@pytest.mark.parametrize("path", [path for path in OWN if has_usual_order(path)], ids=get_name)
def test_project_built_of_frames_alone_runs_to_the_same_results(path: pathlib.Path, tmp_path: pathlib.Path) -> None:
    shutil.copytree(path.parent, tmp_path / "x", ignore=shutil.ignore_patterns("*.bin", "*.rpt", "*.out"))
    copy = tmp_path / "x" / path.name
    before = run(copy)
    project = Project.read(copy)
    built = Project()
    for section in project:
        built[section] = project[section]
    built.write(copy)
    after = run(copy)
    assert after[1] == before[1]


def build() -> Project:
    project = Project()
    project.add("DESCRIPTION", "One field, one pipe")
    project.add("GENERAL", START_DATE=datetime.date(2024, 6, 10), END_DATE=datetime.date(2024, 6, 11),
                RUNOFF_STEP="0:01:00", ROUTING_STEP=datetime.timedelta(minutes=1), REPORT_STEP="0:05:00",
                REPORT_AVERAGE=False)
    times = pd.date_range("2024-06-10 02:00", periods=7, freq="10min")
    project.set_series("STORM", pd.Series([6, 12, 30, 18, 6, 3, 0], index=times))
    project.add("RAINGAGES", "GAUGE", format="INTENSITY", interval=datetime.timedelta(minutes=10), series="STORM")
    project.add("SUBCATCHS", "FIELD", gage="GAUGE", outlet="J1", area=2, width=100, impervious_share=50, slope=1,
                impervious_roughness=0.014, pervious_roughness=0.15, impervious_storage=1, pervious_storage=3,
                first_infiltration=40, final_infiltration=5, infiltration_decay=4, drying_time=5)
    project.add("PIPES", "P1", upstream_node="J1", downstream_node="OUT", k=300, reach_count=2, x=0.2)
    project.add("JUNCTIONS", "J1")
    project.add("OUTFALLS", "OUT")
    return project


@needs_program
def test_project_from_nothing_gets_the_rain_that_was_given(tmp_path: pathlib.Path) -> None:
    path = tmp_path / "field.inp"
    build().write(path)
    assert [name for name in Project.read(path)] == ["DESCRIPTION", "GENERAL", "RAINGAGES", "SUBCATCHS", "JUNCTIONS",
                                                     "OUTFALLS", "PIPES", "TIMESERIES"]
    report, _ = run(path)
    given = (6 + 12 + 30 + 18 + 6 + 3) / 6  # mm in periods of ten minutes
    row = re.search(r"^\s*FIELD\s+2\.000\s+([0-9.]+)", report.decode(), re.MULTILINE)  # area, rain
    assert row and float(row.group(1)) == pytest.approx(given, abs=0.01)


@needs_program
def test_edits_of_each_kind_still_run(tmp_path: pathlib.Path) -> None:
    path = tmp_path / "field.inp"
    project = build()
    project.write(path)
    project = Project.read(path)
    project.add("SUBCATCHS", "YARD", **{**project["SUBCATCHS"].loc["FIELD"].to_dict(), "area": 0.5})
    project.add("POLLUTANTS", "COD", rain_concentration=20)
    project.add("TANKS", "T1", curve="BASIN", max_depth=3)
    project.add("CURVES", "BASIN", type="TANK", x=[0, 4], y=[200, 260])
    project.add("INITIAL_CONCENTRATION", "T1", "COD", initial_concentration=5)
    project.add("ORIFICES", "O1", upstream_node="T1", downstream_node="OUT", shape="CIRCULAR", orifice_coefficient=0.62,
                crest=0, orifice_height=0.2)
    project.set("PIPES", "P1", "downstream_node", "T1")
    project.add("DECAY_COEFFICIENT", "T1", "NODE", "COD", decay_coefficient=0.5)
    project.add("DWFS", "J1", "FLOW", mean=0.01, pattern="DAY")
    project.add("PATTERNS", "DAY", type="HOURLY", factor=[1.0] * 24)
    project.add("CONTROL_RULES", "RULE R", "IF TANK T1 DEPTH > 1", "THEN ORIFICE O1 SETTING = 0.5")
    project.add("EVAPORATION", "CONSTANT", constant_evaporation=2)
    project.add("INFLOWS", "J1", "FLOW", "FLOW", baseline=0.002)
    project.add("LIDS", "CELL", "BC")
    project.add("LIDS", "CELL", "SOIL", soil_depth=500, porosity=0.45, field_capacity=0.2, wilting_point=0.1,
                conductivity=40, conductivity_slope=10)
    project.add("LID_GROUPS", "YARD", "CELL", area=50, width=5, initial_saturation=20, inflow_share=60)
    project.add("LANDUSES", "ROAD")
    project.add("WASHOFF", "ROAD", "COD", washoff_type="SOIL")
    project.add("CONVERTERS", converter="X", target="VORN_INFLUENT")
    for source in ("COD", "NH4", "NO3", "TP", "TSS", "ALK"):
        project.add("CONVERTERS", converter="X", target=source, source_type="CONSTANT", source="1", factor=1)
    assert project["CONVERTERS"].index.tolist() == list(range(7))
    project.remove("SUBCATCHS", "FIELD")
    project.write(path)
    report, _ = run(path)
    assert b"YARD" in report and b"FIELD" not in report and b"T1" in report
    again = Project.read(path)
    assert again["WASHOFF"].loc[("ROAD", "COD"), "washoff_type"] == "SOIL"
    project.remove("TANKS", "T1")
    project.write(path)
    with pytest.raises(AssertionError, match="ERROR 209"):
        run(path)


@needs_program
@pytest.mark.parametrize("word", ["2024/6/10", "2024-06-10", "2024-JUN-10", "2024-jun-10x", "20240610",
                                  "2024/6/31", "2024-6",
                                  "12:30", "1e-5", "6/2024/10"])
def test_dates_are_those_of_the_engine(word: str, tmp_path: pathlib.Path) -> None:
    path = tmp_path / "a.inp"
    path.write_text(f"[GENERAL]\nSTART_DATE {word}\n")
    done = subprocess.run([str(PROGRAM), "check", path.name], cwd=tmp_path, capture_output=True, text=True)
    assert ("ERROR 213" in done.stderr) == (parse_date(word) is None)


@needs_program
@pytest.mark.parametrize("word", ["1", "+1", "1.", ".5", "1e3", "1e", "0x1F", "0x", "inf", "nan", "nan(1)", "infinit",
                                  "1_0", "1,5", "3m", '""', "1e999", "1d5", "-0", "--1"])
def test_numbers_are_those_of_the_engine(word: str, tmp_path: pathlib.Path) -> None:
    path = tmp_path / "a.inp"
    path.write_text(f"[INFLOWS]\nJ1 FLOW FLOW {word} \"\" 0\n[JUNCTIONS]\nJ1\n")
    done = subprocess.run([str(PROGRAM), "check", path.name], cwd=tmp_path, capture_output=True, text=True)
    assert ("ERROR 211" in done.stderr) == (parse_number(word.strip('"')) is None)


@pytest.mark.parametrize("section, table", [
    ("JUNCTIONS", "N1"), ("JUNCTIONS", None), ("JUNCTIONS", ["N1"]), ("TIMESERIES", 5), ("GENERAL", "START_DATE"),
    ("DESCRIPTION", 5)])
def test_tables_of_another_kind_are_refused_and_the_old_one_stays(section: str, table: Any) -> None:
    project = Project.read(ROOT / "examples" / "first-storm" / "first-storm.inp")
    before = project.text()
    with pytest.raises(ProjectFormatError):
        project[section] = table
    assert project.text() == before


def test_column_twice_is_refused() -> None:
    project = Project.read(ROOT / "examples" / "first-storm" / "first-storm.inp")
    table = project["SUBCATCHS"]
    with pytest.raises(ProjectFormatError, match="'width' twice"):
        project["SUBCATCHS"] = pd.concat([table, table[["width"]]], axis=1)


def test_numbers_that_no_file_can_hold_are_refused() -> None:
    project = Project.read(ROOT / "examples" / "first-storm" / "first-storm.inp")
    with pytest.raises(ProjectFormatError, match="a number beyond"):
        project.set("SUBCATCHS", "S07", "width", 10 ** 400)
    with pytest.raises(ProjectFormatError):
        project.add("JUNCTIONS", b"N99")
    with pytest.raises(TypeError, match="by its name"):
        project[5]
    with pytest.raises(TypeError, match="text or bytes"):
        Project.parse(None)  # type: ignore[arg-type]


@pytest.mark.parametrize("values", [
    pd.Series([1.0, 2.0]), pd.Series(["a"], index=pd.to_datetime(["2024-06-10"])), None, "x", {1: 2},
    pd.DataFrame({"a": [1.0]}, index=pd.to_datetime(["2024-06-10"]))])
def test_what_is_no_time_series_is_refused_and_the_old_one_stays(values: Any) -> None:
    project = Project.read(ROOT / "examples" / "first-storm" / "first-storm.inp")
    before = project.text()
    with pytest.raises(ProjectFormatError, match="STORM"):
        project.set_series("STORM", values)
    assert project.text() == before
