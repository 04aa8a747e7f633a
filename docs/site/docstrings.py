"""Most docstrings of the Python package are plain text with names in single backticks and examples set in; autodoc
reads reStructuredText, as the others are written. This extension turns the one into the other."""
import ast
import re

NAMES = r"[a-z_]\w*(?:\(\))?(?:, [a-z_]\w*(?:\(\))?)*"
FIELD = re.compile(rf"(?:^|(?<=[.;)] ))({NAMES}): ")


def _escape(text):
    """A line of prose: names in backticks are code, marks of reStructuredText are plain."""
    parts = re.split(r"`([^`]*)`", text)
    for index in range(0, len(parts), 2):
        parts[index] = re.sub(r"([*|])|(?<=\w)(_)(?!\w)", r"\\\g<0>", parts[index])
    for index in range(1, len(parts), 2):
        parts[index] = f"``{parts[index]}``"
    return "".join(parts)


def _paragraph(lines):
    """A paragraph; one of several fields, as "name: what it is. other: what that is", becomes a list."""
    text = " ".join(line.strip() for line in lines)
    fields = list(FIELD.finditer(text))
    if len(fields) < 2:
        return [_escape(line) for line in lines]
    out = [_escape(text[:fields[0].start()]), ""]
    for field, end in zip(fields, [*(each.start() for each in fields[1:]), len(text)]):
        names = ", ".join(f"``{name}``" for name in field.group(1).split(", "))
        out.append(f"* {names}: {_escape(text[field.end():end].strip())}")
    return [*out, ""]


def _language(block):
    """python if the lines can be read as such."""
    try:
        ast.parse("\n".join(line[4:] for line in block))
    except SyntaxError:
        return "none"
    return "python"


def convert(lines):
    """reStructuredText of a docstring's lines."""
    if any("``" in line or line.startswith((":param", ":raises", ":returns")) for line in lines):
        return lines
    out, block = [], []
    for line in [*lines, ""]:
        if line.strip():
            block.append(line)
        elif block:
            is_code = all(each.startswith("    ") for each in block)
            if is_code and not (out and out[-1] == "\0"):
                out += [f".. code-block:: {_language(block)}", ""]
            elif out and out[-1] == "\0":
                out[-1] = ""
            out += block if is_code else _paragraph(block)
            out.append("\0" if is_code else "")
            block = []
    return ["" if line == "\0" else line for line in out]


def setup(app):
    def process(_app, _what, _name, _object, _options, lines):
        lines[:] = convert(list(lines))

    app.connect("autodoc-process-docstring", process)
    return {"parallel_read_safe": True}
