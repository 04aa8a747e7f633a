"""The manual as a site: scripts/build-manual.sh builds it from the pages that stage.py has laid out."""
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "docs" / "site"), str(ROOT / "python")]

project = "Tarnvelde"
author = "Tarnvelde"
copyright = "the authors of Tarnvelde"
extensions = ["myst_parser", "sphinx.ext.autodoc", "sphinx.ext.napoleon", "docstrings", "themestyles", "pictures",
              "manualsearch", "formulas"]
source_suffix = {".md": "markdown", ".rst": "restructuredtext"}
root_doc = "index"
exclude_patterns = ["_*"]
nitpicky = False
highlight_language = "none"
smartquotes = False  # options and quotes stay as they are typed

myst_heading_anchors = 6  # each heading, by the names that links within the Markdown have
myst_enable_extensions = ["colon_fence", "dollarmath"]
suppress_warnings = ["myst.header"]  # a page may begin with a heading of any level

autodoc_default_options = {"members": True, "member-order": "bysource"}
autodoc_typehints_format = "short"
autodoc_preserve_defaults = True
add_module_names = False
python_use_unqualified_type_names = True

html_math_renderer = "katex"
html_theme = "furo"
html_title = "Tarnvelde"
templates_path = [str(ROOT / "docs" / "site" / "templates")]
html_static_path = [str(ROOT / "docs" / "site" / "static")]
html_css_files = ["manual.css"]
html_copy_source = False
html_show_sourcelink = False
html_show_sphinx = False
html_show_copyright = False
html_last_updated_fmt = None
html_use_index = True
html_theme_options = {"navigation_with_keys": True}
