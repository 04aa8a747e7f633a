"""Reads a page that `tarnvelde report` has written, with nothing of the program's own.

    pagereader.py PAGE EXPRESSION     prints the value of an expression about the page
    pagereader.py PAGE --report RPT   compares its tables with those of a text report; prints what differs
"""

import array
import base64
import json
import re
import sys
from collections import Counter, defaultdict


def read(name):
    text = open(name, encoding="utf-8").read()
    found = re.findall(r'<script type="application/json" id="tarnvelde-data">(.*?)</script>', text, re.DOTALL)
    assert len(found) == 1, f"{len(found)} elements of data"
    return text, json.loads(found[0])


text, data = read(sys.argv[1])
runs = data["runs"]
run = runs[0]


def element(number, of=0):
    found = re.findall(rf'<script type="text/plain" id="d-{of}-{number}">(.*?)</script>', text)
    assert len(found) == 1, f"{len(found)} elements {number}"
    values = array.array("f", base64.b64decode(found[0], validate=True))
    if sys.byteorder == "big":
        values.byteswap()
    return values


def entry(table, ident, name, of=0):
    objects = [o for o in runs[of]["objects"] if o["table"] == table and o["id"] == ident]
    assert len(objects) == 1, f"{len(objects)} objects {ident}"
    columns = [c for c in objects[0]["columns"] if c["name"] == name]
    assert len(columns) == 1, f"{len(columns)} columns {name}"
    return columns[0]


def series(table, ident, name, of=0):
    """Values, nan as None."""
    number, first, length = entry(table, ident, name, of)["data"]
    values = element(number, of)[first : first + length]
    assert len(values) == length
    return [None if v != v else v for v in values]


def table(key, of=0):
    """Rows as dictionaries."""
    found = [t for t in runs[of]["tables"] if t["key"] == key]
    assert len(found) == 1, f"{len(found)} tables {key}"
    names = [c["name"] for c in found[0]["columns"]]
    assert all(len(row) == len(names) for row in found[0]["rows"])
    return [dict(zip(names, row)) for row in found[0]["rows"]]


def column(key, name, of=0):
    return [row[name] for row in table(key, of)]


def node(ident, of=0):
    return next(n for n in runs[of]["network"]["nodes"] if n["id"] == ident)


def round3(number):
    words = f"{number:.3f}"
    return "0.000" if words == "-0.000" else words


NUMBER = re.compile(r"-?\d+\.\d{3}$")


def read_report(name):
    """Figures with three decimals by table and by row, as the text has them."""
    lines = open(name, encoding="utf-8").read().split("\n")
    tables, title, labels = defaultdict(lambda: defaultdict(Counter)), None, set()
    titles = {t["title"] for t in run["tables"]}
    for line in lines:
        words = line.strip()
        head = next((t for t in titles if re.match(re.escape(t) + r"( |$)", words)), None)
        if head:
            title = head
            labels = {str(r[0]) for t in run["tables"] if t["title"] == head for r in t["rows"]}
            continue
        if words.startswith("****") and title and not any(t in words for t in titles):
            continue
        label = next((n for n in sorted(labels, key=len, reverse=True)
                      if re.match(re.escape(n).replace("/", r"\s+") + r"\s", words)), None)
        if title and label is not None:
            rest = words[len(label):].split()
            figures = ["0.000" if w == "-0.000" else w for w in rest if NUMBER.match(w)]
            tables[title][label].update(figures)
    return tables


def compare(name):
    report = read_report(name)
    count = 0
    for t in run["tables"]:
        if t["title"] not in report:
            continue
        page = defaultdict(Counter)
        for row in t["rows"]:
            page[str(row[0])].update(
                round3(cell) for cell, col in zip(row, t["columns"]) if col["kind"] == "number" and cell is not None
            )
        if page != report[t["title"]]:
            print("differs:", t["title"], dict(page), dict(report[t["title"]]))
        count += sum(sum(c.values()) for c in page.values())
    print("same:", count)
    print("tables:", len(report))


if sys.argv[2] == "--report":
    compare(sys.argv[3])
else:
    print(eval(sys.argv[2]))
