"""The search of the manual. Sphinx wants each word of a question on the page and ranks pages little; people ask in
sentences. So the pages are taken apart into sections, and static/search.js ranks these in the reader's browser. What
it knows beyond the pages' words stands in search.txt.
"""
import json
import re
from pathlib import Path

from docutils import nodes
from sphinx import addnodes

SITE = Path(__file__).resolve().parent
SKIPPED = (nodes.section, addnodes.desc, nodes.comment, nodes.raw, nodes.image, addnodes.toctree,
           addnodes.compact_paragraph)


def _text(node):
    """The text of a section without that of sections and functions in it."""
    if isinstance(node, nodes.Text):
        return node.astext()
    parts = [_text(child) for child in node.children
             if not isinstance(child, SKIPPED) and not isinstance(child, nodes.title)]
    return ("" if isinstance(node, nodes.TextElement) else " ").join(part for part in parts if part)


def _sections(doctree):
    """Sections of a page, and functions and classes described in it: (place, title, text)."""
    for node in doctree.findall(lambda each: isinstance(each, (nodes.section, addnodes.desc))):
        if isinstance(node, nodes.section):
            title = next(node.findall(nodes.title), None)
            name = title.astext() if title is not None and title.parent is node else ""
            yield (node["ids"] or [""])[0], name, " ".join(_text(node).split())
        else:
            signature = next(node.findall(addnodes.desc_signature))
            names = [part.astext() for part in signature.findall(addnodes.desc_name)]
            content = next(node.findall(addnodes.desc_content))
            yield (signature["ids"] or [""])[0], " ".join(names), " ".join(_text(content).split())


def _read_lists(names):
    """search.txt: words of one meaning, words of sections, weights of pages. Pages that aren't there are left out."""
    same, keys, codes, less = [], {}, [], {}
    for line in (SITE / "search.txt").read_text("utf-8").split("\n"):
        order, _, rest = line.partition(": ")
        if order == "same":
            same.append(rest.split())
        elif order == "key":
            place, _, words = rest.partition("  ")
            keys[place] = f"{keys.get(place, '')}, {words.strip()}".strip(", ")
        elif order == "codes":
            codes.append(rest)
        elif order == "less":
            page, weight = rest.split()
            less[page] = float(weight)
        elif line and not line.startswith("#"):
            raise ValueError(f"search.txt: {line}")
    return same, {place: words for place, words in keys.items() if place.partition("#")[0] in names}, codes, less


def _write(app, exception):
    if exception or app.builder.name != "html":
        return
    names = sorted(app.env.found_docs)
    same, keys, codes, less = _read_lists(set(names))
    pages, sections = [], []
    for name in names:
        title = app.env.titles[name].astext()
        pages.append([name, title, less.get(name, 1.0)])
        for number, (place, heading, text) in enumerate(_sections(app.env.get_doctree(name))):
            key = keys.pop(name, "") if number == 0 else keys.pop(f"{name}#{place}", "")
            if f"{name}#{place}" in codes:
                key += "".join(f", error {code}" for code in sorted(set(re.findall(r"ERROR ?(\d+)", text))))
            if text or key or number == 0:
                sections.append([len(pages) - 1, place if number else "", heading, text, key])
    if keys:
        raise ValueError(f"search.txt: there is no section {', '.join(sorted(keys))}")
    data = json.dumps({"pages": pages, "sections": sections, "same": same}, ensure_ascii=True, separators=(",", ":"))
    folder = Path(app.outdir)
    (folder / "_static" / "searchdata.js").write_text(f"const searchData = {data};\n", "utf-8")
    (folder / "searchindex.js").unlink(missing_ok=True)


def setup(app):
    app.connect("build-finished", _write)
    return {"parallel_read_safe": True}
