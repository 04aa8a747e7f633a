"""What Debian's build of the theme leaves out: the common ground of all browsers, which it looks for on a web server,
the dark colours of readers whose system asks for them, and the second of its scripts, which a page opened from a file
can't import."""
import re
from pathlib import Path

IMPORT = "@import url(/javascript/normalize.css/normalize.css);"
NORMALIZE = Path("/usr/share/javascript/normalize.css/normalize.css")
SCRIPT = 'import Gumshoe from "./gumshoe-patched.js";'
MARK = "/* the colours of the system */"


def _mend(app, exception):
    path = Path(app.outdir) / "_static" / "styles" / "furo.css"
    if exception or app.builder.name != "html":
        return
    text = path.read_text("utf-8")
    if IMPORT in text:
        text = text.replace(IMPORT, NORMALIZE.read_text("utf-8"))
    if "prefers-color-scheme" not in text:
        colours = re.search(r'body\[data-theme="dark"\] \{\n(.*?;) \}', text, re.S).group(1)
        text += (f"\n{MARK}\n@media not print {{ @media (prefers-color-scheme: dark) {{\n"
                 f'  body:not([data-theme="light"]) {{\n{colours} }} }} }}\n')
    path.write_text(text, "utf-8")
    scripts = path.parents[1] / "scripts"
    text = (scripts / "furo.js").read_text("utf-8")
    if text.startswith(SCRIPT):
        text = (scripts / "gumshoe-patched.js").read_text("utf-8") + "\n" + text[len(SCRIPT):]
        (scripts / "furo.js").write_text(text, "utf-8")


def setup(app):
    app.connect("build-finished", _mend)
    return {"parallel_read_safe": True}
