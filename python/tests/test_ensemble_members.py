"""The table of members: names, columns, cells, templates, files."""
from __future__ import annotations

import datetime
from pathlib import Path

import numpy as np
import pandas as pd
import pytest
from ensembles import make_town

import tarnvelde as tv
from tarnvelde.ensemble import ensemble
from tarnvelde.ensemble_members import check_options, make_tasks, read_table
from tarnvelde.ensemble_texts import fill, files_of, places_of

COLUMN = "orifice/GATE/orifice_coefficient"
OPTIONS = check_options("binary", ("results",), None, 1, None)


def tasks_of(project, table, **options):
    return {task["name"]: task for task in make_tasks(project, read_table(table), Path("/out"),
                                                      OPTIONS._replace(**options))}


def test_members_without_names_are_numbered():
    assert list(read_table(pd.DataFrame({COLUMN: [1.0, 2.0]})).rows) == ["0000", "0001"]
    part = pd.DataFrame({COLUMN: np.arange(12.0)}).iloc[10:]
    assert list(read_table(part).rows) == ["0010", "0011"]


@pytest.mark.parametrize("name", ["../x", "", "a/b", "a\\b", ".", "..", ".hidden", "end.", "a b", "a\n", "ä", "nul",
                                  "CON.txt", "x" * 201, 1.5, None])
def test_names_that_cannot_be_folders_are_refused(name, tmp_path):
    table = pd.DataFrame({COLUMN: [1.0]}, index=pd.Index([name], dtype=object))
    with pytest.raises(tv.ValueRefused, match="row 1"):
        ensemble(make_town(tmp_path), table, out=tmp_path / "out")
    assert not (tmp_path / "out").exists()


def test_names_that_are_one_are_refused():
    for names in (["a", "a"], ["case", "Case"]):
        with pytest.raises(tv.ValueRefused, match="row 2: there is"):
            read_table(pd.DataFrame({COLUMN: [1.0, 2.0]}, index=names))


def test_a_csv_keeps_its_words(tmp_path):
    path = tmp_path / "table.csv"
    path.write_text(f"member, {COLUMN}, ${{STEP}}, seed, until\n007, 0.5, 0:05:00, 3, 2024-06-18 13:00\n008, , 1, ,\n")
    table = read_table(path)
    assert table.rows == {
        "007": {COLUMN: 0.5, "${STEP}": "0:05:00", "seed": 3, "until": "2024-06-18 13:00"},
        "008": {COLUMN: None, "${STEP}": "1", "seed": None, "until": None}}


def test_a_csv_that_is_none(tmp_path):
    (tmp_path / "empty.csv").write_text("")
    with pytest.raises(tv.ValueRefused, match="can't be read"):
        read_table(tmp_path / "empty.csv")
    with pytest.raises(FileNotFoundError):
        read_table(tmp_path / "none.csv")
    with pytest.raises(TypeError, match="DataFrame"):
        read_table([1, 2])


def test_cells_become_plain():
    table = read_table(pd.DataFrame({
        "until": [pd.Timestamp("2024-06-18 13:00"), pd.NaT], "seed": [np.int64(4), 5.0], COLUMN: [np.nan, 1],
        "${A}": [Path("x"), datetime.date(2024, 6, 18)], "${B}": [True, np.datetime64("2024-06-18")]}))
    assert list(table.rows.values()) == [
        {"until": "2024-06-18 13:00:00", "seed": 4, COLUMN: None, "${A}": "x", "${B}": True},
        {"until": None, "seed": 5, COLUMN: 1.0, "${A}": "2024-06-18", "${B}": "2024-06-18 00:00:00"}]


@pytest.mark.parametrize("column, cell, word", [
    (COLUMN, "much", "no number"), ("until", "tomorrow", "no date"), ("seed", 1.5, "no integer"),
    ("seed", "x", "no integer"), ("seed", np.inf, "no integer"), ("${A}", "two\nlines", "line"),
    ("${A}", [1], "neither")])
def test_cells_that_cannot_be_name_their_place(column, cell, word):
    with pytest.raises(tv.ValueRefused, match=f'member 0000, column "(?s:.*){word}'):
        read_table(pd.DataFrame({column: pd.Series([cell], dtype=object)}))


@pytest.mark.parametrize("column, word", [
    ("untl", 'did you mean "until"'), ("coefficient", "class/ID/variable"), ("gate/GATE/height", "no class"),
    ("orifice/GATE/orifice_coeficient", 'did you mean "orifice_coefficient"'), ("a/b", "means nothing"),
    ("${}", "means nothing"), ("file:", "means nothing")])
def test_columns_that_mean_nothing(column, word):
    with pytest.raises(tv.UnknownError, match=word.replace("$", r"\$")):
        read_table(pd.DataFrame({column: [1.0]}))


def test_a_column_given_twice_is_refused():
    with pytest.raises(tv.ValueRefused, match="several columns"):
        read_table(pd.DataFrame([[1.0, 2.0]], columns=[COLUMN, COLUMN]))


def test_columns_of_pollutants_kinds_and_the_system():
    for column in ("pipe/P1/decay_coefficient/TSS", "links/*/decay_coefficient/TSS", "land_use/A/B/buildup_rate/TSS",
                   "subcatchment/S/1/width", "subcatchments/*/imperviousness"):
        assert read_table(pd.DataFrame({column: [1.0]})).columns == [column]
    for column in ("pipe/P1/decay/TSS", "tank/T1/max_flow", "system/beauty"):
        with pytest.raises(tv.UnknownError, match="has no variable"):
            read_table(pd.DataFrame({column: [1.0]}))


def test_every_place_is_filled(tmp_path):
    town = make_town(tmp_path, HEIGHT="", REPORT="")
    table = pd.DataFrame({"${HEIGHT}": [0.3, 0.4], "${REPORT}": ["0:05:00", "0:10:00"]})
    tasks = tasks_of(town, table)
    assert "0.62  0.0  0.4  0.5" in tasks["0001"]["text"] and "REPORT_STEP  0:10:00" in tasks["0001"]["text"]
    with pytest.raises(tv.ValueRefused, match=r"has a place \$\{REPORT\} that no column fills"):
        tasks_of(town, table[["${HEIGHT}"]])
    with pytest.raises(tv.UnknownError, match=r"no place \$\{WIDTH\}"):
        tasks_of(town, table.assign(**{"${WIDTH}": 1.0}))
    with pytest.raises(tv.UnknownError, match=r"no place \$\{seed\}"):
        tasks_of(town, table.assign(**{"${seed}": 1}))
    with pytest.raises(tv.ValueRefused, match=r"member 0001: the place \$\{HEIGHT\} is left unfilled"):
        tasks_of(town, table.assign(**{"${HEIGHT}": [0.3, None]}))


def test_places_in_comments_may_stay(tmp_path):
    town = make_town(tmp_path)
    town.write_text("// ${NAME} of the town\n" + town.read_text() + "WORKS // ${WHO}\n/ ${WHERE}\n")
    assert "path" in tasks_of(town, pd.DataFrame(index=range(1)))["0000"]
    filled = tasks_of(town, pd.DataFrame({"${NAME}": ["River", None]}))
    assert filled["0000"]["text"].startswith("// River of") and "path" in filled["0001"]


def test_what_is_filled_in_is_not_filled_again():
    assert fill("${A} ${B}", {"A": "${B}", "B": "b"}) == "${B} b"
    assert places_of("x ${A}\n// ${B}\n${A} // ${A}") == {"A", ".B", ".A"}


def test_files_that_a_project_names():
    text = ('[TIMESERIES]\nA FILE "a b.dat" // x\nB 0:00 1\n// C FILE c.dat\nD FILE d.dat\nE file e.dat\r\n'
            "[swmm_inps]\nN n.inp NO\nINFLOW C1 L\n[VORN_INPS]\nW w.sti NO\neffluent 1 L C\n[CURVES]\nX FILE y.dat\n"
            "[TIMESERIES] // again\nF FILE \"f.dat")
    found = list(files_of(text))
    assert [place.name for place in found] == ["a b.dat", "d.dat", "n.inp", "w.sti", "f.dat"]
    assert [text[place.start:place.end] for place in found][0] == '"a b.dat"'


def test_a_file_that_the_project_does_not_read(tmp_path):
    town = make_town(tmp_path)
    with pytest.raises(tv.UnknownError, match='reads no file "metre.dat": did you mean "meter.dat"'):
        tasks_of(town, pd.DataFrame({"file:metre.dat": ["town.inp"]}))
    with pytest.raises(FileNotFoundError, match="member 0001: there is no file none.dat"):
        tasks_of(town, pd.DataFrame({"file:meter.dat": ["meter.dat", "none.dat"]}))
    town.write_text(town.read_text().replace("meter.dat", "${METER}"))
    with pytest.raises(tv.UnknownError, match='member 0000: the project reads no file "other.dat"'):
        tasks_of(town, pd.DataFrame({"${METER}": ["meter.dat"], "file:other.dat": ["town.inp"]}))


def test_a_file_that_cannot_stand_in_a_project(tmp_path):
    town = make_town(tmp_path / "town")
    other = tmp_path / ("long" * 60) / "other.dat"
    other.parent.mkdir()
    other.write_text("")
    with pytest.raises(tv.ProjectError, match="member 0000: .*too long"):
        tasks_of(town, pd.DataFrame({"file:meter.dat": [str(other)]}))


def test_files_beside_the_table_and_from_the_current_folder(tmp_path, monkeypatch):
    town = make_town(tmp_path / "town")
    (tmp_path / "tables").mkdir()
    (tmp_path / "tables" / "other.dat").write_text("2024/06/18 10:00 0.1\n")
    (tmp_path / "tables" / "t.csv").write_text("file:meter.dat\nother.dat\n")
    assert str(tmp_path / "tables" / "other.dat") in tasks_of(town, tmp_path / "tables" / "t.csv")["0000"]["text"]
    # the engine looks in the current folder first; processes elsewhere have another one
    (tmp_path / "here").mkdir()
    (tmp_path / "here" / "meter.dat").write_text("2024/06/18 10:00 0.1\n")
    monkeypatch.chdir(tmp_path / "here")
    assert f'"{tmp_path}/here/meter.dat"' in tasks_of(town, pd.DataFrame(index=range(1)))["0000"]["text"]


def test_a_hash_holds_what_counts_and_no_more(tmp_path):
    town = make_town(tmp_path / "town")
    table = pd.DataFrame({COLUMN: [0.6], "seed": [1]})
    first = tasks_of(town, table)["0000"]["hash"]
    assert tasks_of(make_town(tmp_path / "elsewhere"), table)["0000"]["hash"] == first
    assert tasks_of(town, table, threads=4, timeout=5.0)["0000"]["hash"] == first
    for other in (tasks_of(town, table.assign(seed=2)), tasks_of(town, table.assign(until="2024-06-18 13:00")),
                  tasks_of(town, table.assign(hot_start=str(town))), tasks_of(town, table.assign(load_state=str(town))),
                  tasks_of(town, table, keep=("report",)), tasks_of(town, table, results="database"),
                  tasks_of(town, table, engines="/engines"), tasks_of(town, table.assign(**{COLUMN: 0.61}))):
        assert other["0000"]["hash"] != first
    two = ["orifices/*/orifice_coefficient", COLUMN]  # the later one counts
    assert (tasks_of(town, pd.DataFrame([[0.5, 0.6]], columns=two))["0000"]["hash"]
            != tasks_of(town, pd.DataFrame([[0.6, 0.5]], columns=two[::-1]))["0000"]["hash"])


def test_a_project_that_is_not_there(tmp_path):
    with pytest.raises(FileNotFoundError):
        ensemble(tmp_path / "none.inp", pd.DataFrame(index=range(1)), out=tmp_path / "out")
    with pytest.raises(tv.ProjectError, match="folder"):
        ensemble(tmp_path, pd.DataFrame(index=range(1)), out=tmp_path / "out")
    assert not (tmp_path / "out").exists()


def test_bytes_that_are_no_text_stay_as_they_are(tmp_path):
    town = make_town(tmp_path, HEIGHT="")
    town.write_bytes(b"// H\xf6he\n" + town.read_bytes())
    made = ensemble(town, pd.DataFrame({"${HEIGHT}": [0.3]}), out=tmp_path / "out", jobs=1)
    assert made.done == ["0000"]
    assert (made.member_folder("0000") / "model.inp").read_bytes().startswith(b"// H\xf6he\n")


@pytest.mark.parametrize("text, words", [
    ("member;" + COLUMN + "\na;0.5\n", "commas must separate"), ("member\t" + COLUMN + "\na\t0.5\n", "commas must"),
    ("member," + COLUMN + "\na,0.5,\nb,0.6,\n", "line 2"),
    (f"member,{COLUMN},{COLUMN}\na,0.5,0.6\n", "several columns"),
])
def test_tables_that_would_be_misread_are_refused(tmp_path, text, words):
    (tmp_path / "table.csv").write_text(text)
    with pytest.raises(tv.ValueRefused, match=words):
        read_table(tmp_path / "table.csv")
