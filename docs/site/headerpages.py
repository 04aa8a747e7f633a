"""Pages of the public C headers, from the comments that stand in them."""
import re

RULE = re.compile(r"^-{20,}$")
NAME = re.compile(r"\b((?:tv|tarnvelde)_\w+)\b")
MEMBER = re.compile(r"(?P<code>[^/]*?)(?:/\* (?P<text>.*?) \*/)?\s*$", re.S)


def _comment_lines(text):
    """The lines of a comment without its marks."""
    lines = [re.sub(r"^/\* ?|^ ?\* ?", "", line) for line in re.sub(r" ?\*/\s*$", "", text).split("\n")]
    while lines and not lines[-1].strip():
        lines.pop()
    return lines


def _parts(source):
    """Comments at the margin and the code behind each, in order: (comment, code)."""
    source = re.sub(r"^#(?!define T[A-Z]+_(END|NO_|MAX|HEADER))[^\n]*\n", "", source, flags=re.M)
    source = re.sub(r'^extern "C" \{\n|^\}\n', "", source, flags=re.M)
    for match in re.finditer(r"^/\*.*?\*/[ \t]*\n(?P<code>enum[^\n]*\{\n.*?^\};\n|(?:(?!/\*)[^\n]+\n)*)", source,
                             re.M | re.S):
        comment = match.group(0)[:match.start("code") - match.start()].rstrip()
        yield comment, match.group("code").strip()


def _inline(text, known):
    """A line of prose: names of functions are links, other words of code are code."""
    def change(part):
        part = part.replace("*", r"\*").replace("<", r"\<")
        part = NAME.sub(lambda m: "{c:func}`" + m.group(1) + "`" if m.group(1) in known else f"`{m.group(1)}`", part)
        part = re.sub(r"(?<![\w/])docs/(\w+)\.md", r"[docs/\1.md](../docs/\1.md)", part)
        return re.sub(r"\b((?:TV|TARNVELDE)_[A-Z0-9_]+)\b", r"`\1`", part)

    return "".join(change(part) if index % 2 == 0 else part for index, part in enumerate(re.split(r"(`[^`]*`)", text)))


def _prose(lines, known):
    """Markdown of the lines of a comment: paragraphs, drawn lists of parameters, code."""
    out, code = [], []

    def end_code():
        if code:
            while not code[-1].strip():
                code.pop()
            language = "c" if any(line.rstrip().endswith(";") for line in code) else ""
            out.extend([f"```{language}", *[line[4:] for line in code], "```", ""])
            code.clear()

    in_list = False
    for line in lines:
        parameter = re.match(r"^(\w+)  +(\S.*)$", line)
        if not parameter and (line.startswith("    ") or (code and not line.strip())) and not in_list:
            code.append(line)
            continue
        end_code()
        if parameter:
            out.extend(["" if not in_list else None, f"- `{parameter.group(1)}`: {_inline(parameter.group(2), known)}"])
            in_list = True
        elif in_list and line.startswith("   "):
            text = line.strip()
            hard = "\\\n" if re.match(r"\d+: |Any other", text) else "\n"
            out[-1] += hard + "  " + _inline(text, known)
        elif re.match(r"^  - ", line):
            out.extend(["", line.strip()[:2] + _inline(line.strip()[2:], known)])
        elif out and out[-1] and out[-1].startswith("- ") and line.startswith("    "):
            out[-1] += " " + _inline(line.strip(), known)
        else:
            in_list = in_list and not line.strip()
            out.append(_inline(line, known) if line.strip() else "")
            in_list = False
    end_code()
    return "\n".join(line for line in out if line is not None).strip("\n")


def _cell(text):
    return text.replace("|", r"\|").replace("\n", " ")


def _members(body, known, head):
    """A table of the members of an enumeration or a structure; what has no words has none."""
    rows = []
    body = re.sub(r"/\*(.*?)\*/", lambda m: "/*" + m.group(1).replace(",", "\0").replace(";", "\1") + "*/", body,
                  flags=re.S)
    for match in re.finditer(r"([^,;/]+)([,;]?)[ \t]*(?:/\*(.*?)\*/)?", body, re.S):
        code = re.sub(r"\s+", " ", match.group(1)).strip()
        if not code:
            continue
        words = re.sub(r"\s+", " ", (match.group(3) or "").replace("\0", ",").replace("\1", ";")).strip()
        name, _, value = code.partition(" = ")
        cells = [f"`{name}`", value] if "Value" in head else [f"`{code}`"]
        cells.append(_inline(words, known))
        rows.append("| " + " | ".join(_cell(cell) for cell in cells) + " |")
    line = "| " + " | ".join(head) + " |\n|" + "---|" * len(head)
    return "\n".join([line, *rows])


def _directive(kind, declaration, text, level=3):
    fence = "`" * (level + 1)
    return f"{fence}{{c:{kind}}} {declaration}\n\n{text}\n{fence}\n"


def _declarations(code, comment, known):
    """The directives of the code behind a comment."""
    text = _prose(comment, known)
    enum = re.match(r"^enum\s*(\w*)\s*\{(.*)\};$", code, re.S)
    if enum:
        table = _members(enum.group(2), known, ["Name", "Value", "Meaning"])
        name = enum.group(1)
        return _directive("enum", name, text + "\n\n" + table) if name else text + "\n\n" + table + "\n"
    struct = re.match(r"^typedef struct (\w+) \{(.*)\} \w+;$", code, re.S)
    if struct:
        table = _members(struct.group(2), known, ["Member", "Meaning"])
        return _directive("struct", struct.group(1), text + "\n\n" + table)
    opaque = re.match(r"^typedef struct (\w+) \w+;$", code)
    if opaque:
        return _directive("struct", opaque.group(1), text)
    if code.startswith("typedef"):
        return _directive("type", re.sub(r"\s+", " ", code[8:]).rstrip(";"), text)
    out, texts = [], [text]
    macros = re.findall(r"^#define (\w+)([^\n]*)$", code, re.M)
    code = re.sub(r"^#define[^\n]*\n?", "", code, flags=re.M)
    functions = [re.sub(r"\s+", " ", part).strip() for part in re.split(r";", code) if part.strip()]
    names = [re.sub(r"^(TV|TARNVELDE)_API ", "", function) for function in functions]
    if names:
        body = texts[0]
        if macros:
            body += "\n\n" + ", ".join(f"`{name}` is {value.strip()}" for name, value in macros) + "."
        joined = "\n".join(names[:1] + ["          " + name for name in names[1:]])
        fence = "````"
        out.append(f"{fence}{{c:function}} {joined}\n\n{body}\n{fence}\n" if len(names) == 1 else
                   "\n".join(f"{fence}{{c:function}} {name}\n\n{body if name == names[-1] else ''}\n{fence}\n"
                             for name in names))
    else:
        out += [_directive("macro", name, (texts[0] if index == 0 else "") + f"\n\nIt is {value.strip()}.")
                for index, (name, value) in enumerate(macros)]
    return "\n".join(out)


def header_page(path):
    """The Markdown of a header's page."""
    source = path.read_text("utf-8")
    known = set(re.findall(r"^(?:TV|TARNVELDE)_API [^\n(]*?\*?\b(\w+)\(", source, re.M))
    parts = list(_parts(source))
    head = _comment_lines(parts[0][0])
    out = [f"# {path.name}", "", f"What the header says, as text. [The header itself]({path.name}).", "",
           _prose(head[1:], known), ""]
    seen = set()
    for comment, code in parts[1:]:
        lines = _comment_lines(comment)
        if RULE.match(lines[0] if lines else ""):
            lines = [line for line in lines if not RULE.match(line)]
            first = lines[0].rstrip()
            title = re.split(r"(?<=[a-z])[.:] ", first)[0].rstrip(".")
            rest = first[len(title):].lstrip(".: ")
            out += [f"## {title}", "", _prose(([rest] if rest else []) + lines[1:], known), ""]
            continue
        seen |= set(re.findall(r"\b((?:tv|tarnvelde)_\w+)\(", code))
        out += [_declarations(code, lines, known) if code else _prose(lines, known), ""]
    missing = known - seen
    if missing:
        raise ValueError(f"{path.name}: no page for {', '.join(sorted(missing))}")
    return "\n".join(out).rstrip("\n") + "\n"
