"""The chapters on methods and parameters: their small projects run, and sums, tables and engine agree."""
import ast
import json
import math
import operator
import re
import subprocess

import pytest
from conftest import BUILD, ROOT

PROGRAM = BUILD / "tarnvelde"
DOCS = ROOT / "docs"
PAGES = sorted([*(DOCS / "methods").glob("*.md"), *(DOCS / "parameters").glob("*.md")])
DAY = "2024-03-01"  # on which the projects of these chapters begin

# --- sums ------------------------------------------------------------------------------------------------------------

OPERATIONS = {
    ast.Add: operator.add,
    ast.Sub: operator.sub,
    ast.Mult: operator.mul,
    ast.Div: operator.truediv,
    ast.Pow: operator.pow,
}
FUNCTIONS = {"sqrt": math.sqrt, "exp": math.exp, "ln": math.log, "arccos": math.acos, "sin": math.sin}
SIGNS = {"−": "-", "×": "*", "÷": "/", "^": "**", "√": "sqrt", "≈": "", "π": "3.14159265", "⅔": "(2/3)"}


def work_out(text):
    """The value of a sum as a page writes it: numbers, + − × ÷ ^ √ and a few functions."""
    for sign, plain in SIGNS.items():
        text = text.replace(sign, plain)

    def value(node):
        if isinstance(node, ast.BinOp):
            return OPERATIONS[type(node.op)](value(node.left), value(node.right))
        if isinstance(node, ast.UnaryOp) and isinstance(node.op, ast.USub):
            return -value(node.operand)
        if isinstance(node, ast.Call):
            return FUNCTIONS[node.func.id](*map(value, node.args))
        assert isinstance(node, ast.Constant) and isinstance(node.value, (int, float)), text
        return float(node.value)

    return value(ast.parse(text.strip(), mode="eval").body)


def get_unit(figure):
    """One unit of the last place of a figure."""
    digits, _, power = figure.replace("−", "-").partition("e")
    return 10.0 ** (int(power or 0) - len(digits.partition(".")[2]))


def to_number(figure):
    return float(figure.replace("−", "-"))


# --- pages -----------------------------------------------------------------------------------------------------------


def read_cells(line):
    return [cell.strip() for cell in line.strip().strip("|").split("|")] if line.startswith("|") else []


def read_page(page):
    """The projects of a page, each with the rows of the tables after it; and the rows of tables of plain sums."""
    projects, sums, block, rows = [], [], None, None
    for line in page.read_text(encoding="utf-8").splitlines():
        cells = read_cells(line)
        if line.startswith("```"):
            if block is None:
                block = []
            else:
                text = "\n".join(block) + "\n"
                if "[GENERAL]" in text:
                    projects.append((text, []))
                block = None
        elif block is not None:
            block.append(line)
        elif cells == ["Where", "By hand", "Engine"]:
            assert projects, f"{page.name}: figures of no project"
            rows = projects[-1][1]
        elif cells == ["Quantity", "Sum", "Value"]:
            rows = sums
        elif not cells:
            rows = None
        elif rows is not None and not set(line) <= set("|-: "):
            assert len(cells) == 3, line
            rows.append(cells)
    assert block is None, f"{page.name}: a block without end"
    return projects, sums


def list_projects():
    return [
        pytest.param(text, rows, id=f"{page.parent.name}/{page.stem}-{k}")
        for page in PAGES
        for k, (text, rows) in enumerate(read_page(page)[0])
    ]


# --- what a run gives ------------------------------------------------------------------------------------------------


def call(*arguments):
    return subprocess.run([str(PROGRAM), *map(str, arguments)], capture_output=True, text=True, timeout=120)


def find_columns(rule):
    return [(match.start(), match.end()) for match in re.finditer(r"[-*]+", rule)]


def read_report(report, words):
    """A figure of the report by table, row and, where there are several, column."""
    lines = report.splitlines()
    start = next(k for k, line in enumerate(lines) if (line + " ").startswith("  " + words[0] + " "))
    rule = next(k for k in range(start, len(lines)) if " ---" in lines[k] and set(lines[k]) <= set(" -*"))
    columns = find_columns(lines[rule])
    names = [
        " ".join(lines[k][a:b].strip() for k in (rule - 2, rule - 1)) if rule - 2 > start else "" for a, b in columns
    ]
    place = 1
    if len(words) == 3:
        place = next(k for k, name in enumerate(names) if k > 0 and words[2] in {name.rpartition(" ")[0], name})
    for line in lines[rule:]:
        if line[slice(*columns[0])].strip() == words[1]:
            return line[slice(*columns[place])].strip()
    raise AssertionError(f"no row {words}")


def read_results(path, words):
    """A value of the results by object, column and moment."""
    name, column, moment = words
    moment = moment if " " in moment else f"{DAY} {moment}"
    moment += "" if moment.count(":") == 2 else ":00"
    out = call("results", path, "--object", name, "--column", column, "--csv")
    assert out.returncode == 0, out.stderr
    rows = dict(line.rsplit(",", 1) for line in out.stdout.splitlines()[1:])
    return rows[moment]


# --- tests -----------------------------------------------------------------------------------------------------------


@pytest.mark.parametrize("text, rows", list_projects())
def test_engine_gives_the_numbers_of_the_page(text, rows, tmp_path):
    (tmp_path / "model.inp").write_text(text, encoding="utf-8")
    run = call("run", tmp_path / "model.inp", "--json")
    assert run.returncode == 0, run.stdout + run.stderr
    doubts = [m for m in json.loads(run.stdout)["messages"] if m.get("severity") == "warning" and "line" in m]
    assert {m["name"] for m in doubts} == set(re.findall(r"W-[a-z-]+", text)), doubts
    for where, by_hand, engine in rows:
        words = [word.strip() for word in where.removeprefix("report:").split(",")]
        if where.startswith("report:"):
            got = read_report((tmp_path / "model.rpt").read_text(), words)
        else:
            got = read_results(tmp_path / "model.bin", words)
        unit = get_unit(engine)
        assert abs(float(got) - to_number(engine)) <= 0.5001 * unit, (where, got)
        room = max(1.0001 * unit, 0.02 * abs(to_number(engine)) if by_hand.startswith("≈") else 0.0)
        assert abs(work_out(by_hand) - to_number(engine)) <= room, (where, work_out(by_hand))


@pytest.mark.parametrize("page", PAGES, ids=lambda page: f"{page.parent.name}/{page.stem}")
def test_every_method_has_an_example_and_every_value_a_source(page):
    projects, sums = read_page(page)
    if page.parent.name == "methods" and page.stem != "index":
        assert sum(len(rows) for _, rows in projects) + len(sums) >= 2
        for heading in ("Order of evaluation", "Stability and the choice of the step", "Limits", "Example"):
            assert heading in page.read_text(encoding="utf-8"), heading
    head = []
    for line in page.read_text(encoding="utf-8").splitlines() if page.parent.name == "parameters" else []:
        cells = read_cells(line)
        if not cells:
            head = []
        elif not head:
            head = cells
        elif "Certainty" in head and not set(line) <= set("|-: "):
            row = dict(zip(head, cells))
            assert len(cells) == len(head) and (not row["Certainty"] or row["Certainty"][0] in "abc"), line
            assert not row["Certainty"] or row["Source"] or row["Certainty"] == "c", line


@pytest.mark.parametrize("page", PAGES, ids=lambda page: f"{page.parent.name}/{page.stem}")
def test_sums_of_a_page_come_out(page):
    for quantity, text, value in read_page(page)[1]:
        figure = value.split(" ")[0]
        assert abs(work_out(text) - to_number(figure)) <= 0.5001 * get_unit(figure), (quantity, work_out(text))


def measure_wave(path, name, column):
    """Centre and variance of a wave over time, s and s2."""
    out = call("results", path, "--object", name, "--column", column, "--csv").stdout.splitlines()[1:]
    flows = [float(line.rsplit(",", 1)[1]) for line in out]
    times = [30.0 * (k + 1) for k in range(len(flows))]
    centre = sum(q * t for q, t in zip(flows, times)) / sum(flows)
    return centre, sum(q * (t - centre) ** 2 for q, t in zip(flows, times)) / sum(flows)


def test_wave_through_a_pipe_has_the_delay_and_spread_of_the_page(tmp_path):
    projects, sums = read_page(DOCS / "parameters" / "muskingum.md")
    (tmp_path / "model.inp").write_text(projects[0][0], encoding="utf-8")
    assert call("run", tmp_path / "model.inp", "--quiet").returncode == 0
    before, after = (measure_wave(tmp_path / "model.bin", *place) for place in (("J", "TotInflow"), ("O", "TotInflow")))
    said = {quantity: float(value) for quantity, _, value in sums if " wave" in quantity or "variance" in quantity}
    assert after[0] - before[0] == pytest.approx(said["delay of the wave, s"], abs=0.1)
    assert after[1] - before[1] == pytest.approx(said["growth of its variance, s²"], rel=0.03)


@pytest.mark.parametrize(
    "page, words",
    [
        ("parameters/roughness", "Manning's n for asphalt"),
        ("parameters/muskingum", "Units of K"),
        ("methods/infiltration", "Which equation does infiltration use"),
        ("methods/balances", "why water is lost"),
    ],
)
def test_questions_are_found_by_their_wording(page, words):
    assert words.lower() in (DOCS / f"{page}.md").read_text(encoding="utf-8").lower()


def list_anchors(page):
    """What links to the headings of a page have after the number sign."""
    seen = {}
    for line in page.read_text(encoding="utf-8").splitlines():
        if line.startswith("#"):
            text = re.sub(r"[^\w\- ]", "", line.lstrip("#").strip().lower()).replace(" ", "-")
            seen[text] = seen.get(text, -1) + 1
            if seen[text]:
                seen[f"{text}-{seen[text]}"] = 0
    return set(seen)


@pytest.mark.parametrize("page", PAGES, ids=lambda page: f"{page.parent.name}/{page.stem}")
def test_links_of_a_page_lead_somewhere(page):
    for target in re.findall(r"\]\(([^)]+)\)", page.read_text(encoding="utf-8")):
        path, _, anchor = target.partition("#")
        file = (page.parent / path).resolve() if path else page
        assert file.exists(), target
        assert not anchor or anchor in list_anchors(file), target
