"""Formulas, written as $...$ and $$...$$, are drawn in the reader's browser by KaTeX, which is copied into the site:
nothing comes from a network. Pages without formulas don't load it."""
import shutil
from pathlib import Path

SCRIPTS = Path("/usr/share/javascript/katex")
FONTS = Path("/usr/share/fonts/truetype/katex")


def _inline(writer, node):
    writer.body.append(writer.starttag(node, "span", "", CLASS="formula") + writer.encode(node.astext()) + "</span>")


def _block(writer, node):
    writer.body.append(writer.starttag(node, "div", "", CLASS="formula display") + writer.encode(node.astext()) +
                       "</div>\n")


def _skip(visit):
    def visit_and_skip(writer, node):
        from docutils.nodes import SkipNode

        visit(writer, node)
        raise SkipNode

    return visit_and_skip


def _add_files(app, _page, _template, _context, doctree):
    from docutils.nodes import math, math_block

    if doctree and (next(doctree.findall(math), None) or next(doctree.findall(math_block), None)):
        app.add_css_file("katex/katex.min.css")
        app.add_js_file("katex/katex.min.js")
        app.add_js_file("formulas.js")


def _copy(app, exception):
    if exception or app.builder.name != "html":
        return
    folder = Path(app.outdir) / "_static" / "katex"
    (folder / "fonts").mkdir(parents=True, exist_ok=True)
    for name in ("katex.min.css", "katex.min.js"):
        shutil.copyfile(SCRIPTS / name, folder / name)
    for font in FONTS.glob("*.woff2"):
        shutil.copyfile(font, folder / "fonts" / font.name)


def setup(app):
    app.add_html_math_renderer("katex", (_skip(_inline), None), (_skip(_block), None))
    app.connect("html-page-context", _add_files)
    app.connect("build-finished", _copy)
    return {"parallel_read_safe": True, "parallel_write_safe": True}
