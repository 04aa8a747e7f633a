#!/usr/bin/env python3
"""Writes the modules of the Python package that mirror the library: numbers with names, structures and functions from
tarnvelde_model.h, and a class with its variables for each class of objects from the library's own list.

    scripts/make-python-mirror.py [--library FILE] [--check]

With --check nothing is written; the exit status is 1 where a module is out of date.
"""
import argparse
import ctypes
import keyword
import math
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
HEADER = ROOT / "include" / "tarnvelde_model.h"
PACKAGE = ROOT / "python" / "tarnvelde"

PLAIN = {
    "int32_t": "ctypes.c_int32",
    "uint32_t": "ctypes.c_uint32",
    "int64_t": "ctypes.c_int64",
    "size_t": "ctypes.c_size_t",
    "double": "ctypes.c_double",
    "float": "ctypes.c_float",
}

# Names of the enumerations in Python, and the prefix that their members lose.
ENUMERATIONS = {
    "tv_code": ("Code", "TV_"),
    "tv_phase": ("Phase", "TV_"),
    "tv_level": ("Level", "TV_"),
    "tv_severity": ("Severity", "TV_"),
    "tv_warning_group": ("WarningGroup", "TV_"),
    "tv_class": ("ObjectClass", "TV_"),
    "tv_node_kind": ("NodeKind", "TV_"),
    "tv_link_kind": ("LinkKind", "TV_"),
    "tv_relation": ("Relation", "TV_"),
    "tv_database_form": ("DatabaseForm", "TV_DATABASE_"),
    "tv_access": ("Access", "TV_"),
    "tv_when": ("When", "TV_"),
    "tv_part": ("Part", "TV_PART_"),
    "tv_grade": ("Grade", "TV_GRADE_"),
}

# Classes of objects in Python: name, text.
CLASSES = {
    "TV_SYSTEM": ("System", "The whole model."),
    "TV_SUBCATCHMENT": ("Subcatchment", "A subcatchment."),
    "TV_GAGE": ("Gage", "A rain gage."),
    "TV_NODE": ("Node", "A node of any kind."),
    "TV_LINK": ("Link", "A link of any kind."),
    "TV_POLLUTANT": ("Pollutant", "A pollutant."),
    "TV_LAND_USE": ("LandUse", "A land use."),
    "TV_LID": ("Lid", "The definition of a LID control."),
    "TV_LID_UNIT": ("LidUnit", "A LID control on a subcatchment."),
    "TV_RULE": ("Rule", "A control rule."),
    "TV_CURVE": ("Curve", "A curve."),
    "TV_SERIES": ("Series", "A time series."),
    "TV_PATTERN": ("Pattern", "A pattern."),
}
KINDS = {
    "TV_NODE": ["Junction", "Tank", "Outfall", "Splitter", "SwmmNode", "Reactor", "LidNode", "PlantNode"],
    "TV_LINK": ["Pipe", "Pump", "Connection", "Conduit", "Weir", "Orifice"],
}
KIND_TEXTS = {
    "Junction": "A junction.", "Tank": "A tank.", "Outfall": "An outfall.", "Splitter": "A flow splitter.",
    "SwmmNode": "A node with a SWMM model inside.", "Reactor": "A treatment reactor.",
    "LidNode": "A LID control that is a node.", "PlantNode": "A node with a treatment plant inside.",
    "Pipe": "A pipe, routed by Muskingum's method.", "Pump": "A pump.",
    "Connection": "A connection, which delays its flow.", "Conduit": "A conduit, routed as a kinematic wave.",
    "Weir": "A weir.", "Orifice": "An orifice.",
}


def strip_comments(text):
    return re.sub(r"/\*.*?\*/", "", text, flags=re.S)


def read_enumerations(text):
    """{name: [(member, value, comment)]}; a member's comment is what stands behind it on its line."""
    found = {}
    for name, body in re.findall(r"enum (\w+) \{(.*?)\};", text, flags=re.S):
        members = re.findall(r"(TV_\w+) = (-?\d+)\s*(?:,|\}|$|\s)\s*(?:/\*\s*(.*?)\s*\*/)?", body, flags=re.S)
        found[name] = [(member, int(value), " ".join(comment.split())) for member, value, comment in members]
    return found


def python_type(text, structures):
    """The type of ctypes for a type of C, as source."""
    text = text.replace("const ", "").strip()
    if text == "char*":
        return "ctypes.c_char_p"
    if text == "char**":
        return "ctypes.POINTER(ctypes.c_char_p)"
    if text in ("void*", "tv_model*"):
        return "ctypes.c_void_p"
    if text == "tv_model**":
        return "ctypes.POINTER(ctypes.c_void_p)"
    if text in ("tv_log", "tv_period"):
        return {"tv_log": "LogCallback", "tv_period": "PeriodCallback"}[text]
    if text.endswith("*"):
        inner = text[:-1].strip()
        if inner in structures:
            return f"ctypes.POINTER({structures[inner]})"
        if inner in ("double", "float"):  # one number or the memory of an array
            return "ctypes.c_void_p"
        return f"ctypes.POINTER({PLAIN[inner]})"
    return PLAIN[text]


def read_structures(text):
    """[(name in C, name in Python, [(field, type of C)])] in the order of the header."""
    found = []
    for name, body, _ in re.findall(r"typedef struct (\w+) \{(.*?)\} (\w+);", text, flags=re.S):
        fields = []
        for kind, names in re.findall(r"((?:const )?\w+\*?) ([\w, ]+);", body):
            fields += [(field.strip(), kind) for field in names.split(",")]
        python = "Raw" + "".join(part.capitalize() for part in name.split("_")[1:])
        found.append((name, python, fields))
    return found


def read_functions(text):
    """[(name, result, [types of the arguments])]"""
    found = []
    for result, name, arguments in re.findall(r"TV_API ((?:const )?\w+\*?) (tv_\w+)\((.*?)\);", text, flags=re.S):
        types = []
        for argument in arguments.split(","):
            argument = " ".join(argument.split())
            if argument != "void":
                types.append(re.match(r"(.*?[ *])\w+$", argument).group(1).strip())
        found.append((name, result, types))
    return found


def write_header_mirror():
    whole = HEADER.read_text()
    text = strip_comments(whole)
    enumerations = read_enumerations(whole)
    structures = read_structures(text)
    names = {c_name: python for c_name, python, _ in structures}
    lines = [
        '"""What include/tarnvelde_model.h declares: numbers with names, structures, functions.',
        "",
        "Written by scripts/make-python-mirror.py; changes belong there.",
        '"""',
        "from __future__ import annotations",
        "",
        "import ctypes",
        "import enum",
        "from typing import Any, Dict, List, Tuple",
        "",
        "HEADER_VERSION = (%s, %s)" % tuple(re.findall(r"#define TV_HEADER_M\w+ (\d+)", whole)),
        "END = %s  # a date after every end" % re.search(r"#define TV_END (\S+)", whole).group(1),
        "NO_POLLUTANT = -1",
        "MAX_THREADS = %s" % re.search(r"#define TV_MAX_THREADS (\d+)", whole).group(1),
    ]
    for c_name, members in enumerations.items():
        python, prefix = ENUMERATIONS[c_name]
        base = "IntFlag" if c_name == "tv_when" else "IntEnum"
        lines += ["", "", f"class {python}(enum.{base}):", f'    """`{c_name}` of the header."""', ""]
        if c_name == "tv_when":
            members = [*members, ("TV_ALWAYS", 3, "both")]
        for member, value, comment in members:
            if member.endswith("_COUNT"):
                continue
            line = f"    {member[len(prefix):]} = {value}"
            lines.append(line + (f"  # {comment}" if comment and len(line) + len(comment) < 114 else ""))
    for c_name, python, fields in structures:
        lines += ["", "", f"class {python}(ctypes.Structure):", f'    """`{c_name}` of the header."""', "",
                  "    _fields_ = ["]
        lines += [f'        ("{field}", {python_type(kind, names)}),' for field, kind in fields]
        lines.append("    ]")
    lines += ["", "", "LogCallback = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.POINTER(RawMessage))",
              "PeriodCallback = ctypes.CFUNCTYPE(",
              "    ctypes.c_int32, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int64, ctypes.c_double)", "",
              "# Each function with its result and arguments.", "FUNCTIONS: Dict[str, Tuple[Any, List[Any]]] = {"]
    for name, result, types in read_functions(text):
        arguments = [python_type(kind, names) for kind in types]
        line = f'    "{name}": ({python_type(result, names)}, [{", ".join(arguments)}]),'
        if len(line) > 120:
            lines += [f'    "{name}": (', f"        {python_type(result, names)},", "        [",
                      *[f"            {argument}," for argument in arguments], "        ],", "    ),"]
        else:
            lines.append(line)
    lines.append("}")
    return "\n".join(lines) + "\n"


def read_variables(library):
    """The library's list: dicts with the fields of tv_variable."""
    namespace = {}
    exec(compile(write_header_mirror(), "header", "exec"), namespace)  # the structures of the module above
    count = ctypes.c_int32()
    library.tv_getVariableCount(ctypes.byref(count))
    found = []
    for index in range(count.value):
        raw = namespace["RawVariable"]()
        library.tv_getVariable(index, ctypes.byref(raw))
        found.append({field: getattr(raw, field) for field, _ in raw._fields_})
        for field in ("name", "unit", "meaning"):
            found[-1][field] = found[-1][field].decode()
    return found


def describe_range(variable):
    low, high = variable["minimum"], variable["maximum"]
    if not variable["when"] or (math.isinf(low) and math.isinf(high)):
        return ""
    if 0.0 < low < 1e-300:
        text = "above 0"
    elif not math.isinf(low):
        text = f"from {low:g}"
    else:
        text = ""
    return (text + ("" if math.isinf(high) else f" to {high:g}")).strip()


def quantity_lines(variable):
    maker = "PollutantQuantity" if variable["isPerPollutant"] else "Quantity"
    words = variable["meaning"]
    limits = describe_range(variable)
    if limits:
        words += "; " + limits
    name = variable["name"]
    assert not keyword.iskeyword(name)
    access = ["PARAMETER", "FORCING", "STATE", "RESULT", "TOTAL"][variable["access"]]
    when = ["NEVER", "WHEN_OPEN", "WHEN_STARTED", "ALWAYS"][variable["when"]]
    start = f'    {name} = {maker}("{name}", "{variable["unit"]}", Access.{access}, When.{when},'
    words = words.replace("\\", "\\\\").replace('"', '\\"')
    indent = " " * (start.index("(") + 1)
    pieces, line = [], ""
    for word in words.split(" "):
        if len(indent) + len(line) + len(word) > 112:
            pieces.append(line)
            line = ""
        line += word + " "
    pieces.append(line.rstrip())
    texts = [f'{indent}"{piece}"' for piece in pieces]
    return [start, *texts[:-1], texts[-1] + ")"]


# Objects that an object is related to: class or kind, attribute, relation, class of the other object.
RELATIONS = {
    "Link": [("upstream_node", "LINK_FROM", "Node"), ("downstream_node", "LINK_TO", "Node")],
    "Subcatchment": [("outlet", "SUBCATCHMENT_OUTLET", "Node"), ("gage", "SUBCATCHMENT_GAGE", "Gage")],
    "Gage": [("series", "GAGE_SERIES", "Series")],
    "LidUnit": [("subcatchment", "UNIT_SUBCATCHMENT", "Subcatchment"), ("lid", "UNIT_LID", "Lid"),
                ("drain_node", "UNIT_DRAIN", "Node")],
    "Reactor": [("surplus_node", "REACTOR_SURPASS", "Node"), ("emptying_node", "REACTOR_EMPTYING", "Node")],
    "LidNode": [("drain_node", "LID_NODE_DRAIN", "Node"), ("gage", "LID_NODE_GAGE", "Gage")],
    "Splitter": [("split_link", "SPLITTER_LINK", "Link")],
    "Tank": [("area_curve", "TANK_CURVE", "Curve")],
}

# Names that users know a variable by.
ALIASES = {("Subcatchment", "impervious_share"): "imperviousness"}


def write_class(name, base, text, variables, class_name):
    lines = ["", "", f"class {name}({base}):", f'    """{text}"""', "", "    __slots__ = ()"]
    if class_name:
        lines.append(f"    _class = ObjectClass.{class_name}")
    if variables or name in RELATIONS:
        lines.append("")
    texts = {member: comment for member, _, comment in read_enumerations(HEADER.read_text())["tv_relation"]}
    for attribute, relation, other in RELATIONS.get(name, []):
        target = next(c_name for c_name, (python, _) in CLASSES.items() if python == other)[len("TV_"):]
        meaning = texts["TV_" + relation].split(": ", 1)[1]
        lines += [f'    {attribute}: Related["{other}"] = Related(Relation.{relation}, ObjectClass.{target},',
                  f'    {" " * len(attribute)}  {" " * (len(other) + 22)}"{meaning}")']
    for variable in variables:
        lines += quantity_lines(variable)
        alias = ALIASES.get((name, variable["name"]))
        if alias:
            lines.append(f"    {alias} = {variable['name']}")
    return lines


def write_variable_mirror(library):
    variables = read_variables(library)
    numbers = {member: value for member, value, _ in read_enumerations(HEADER.read_text())["tv_class"]}
    lines = [
        '"""The objects of a model: a class for each class and kind, with the variables that it has.',
        "",
        "Written by scripts/make-python-mirror.py from the library's list of variables; changes belong there.",
        '"""',
        "from __future__ import annotations",
        "",
        "from typing import Dict, Tuple, Type",
        "",
        "from ._header import Access, ObjectClass, Relation, When",
        "from ._quantities import ModelObject, PollutantQuantity, Quantity, Related",
    ]
    table = []
    for c_name, (python, text) in CLASSES.items():
        own = [v for v in variables if v["objectClass"] == numbers[c_name]]
        kinds = KINDS.get(c_name, [])
        every = (1 << len(kinds)) - 1
        shared = [v for v in own if not kinds or v["kinds"] & every == every]
        class_name = c_name[len("TV_"):]
        lines += write_class(python, "ModelObject", text, shared, class_name)
        table.append((f"(ObjectClass.{class_name}, -1)", python))
        for kind, kind_name in enumerate(kinds):
            rest = [v for v in own if v["kinds"] & (1 << kind) and v not in shared]
            lines += write_class(kind_name, python, KIND_TEXTS[kind_name], rest, None)
            table.append((f"(ObjectClass.{class_name}, {kind})", kind_name))
    lines += ["", "", "# By class and kind; -1 stands for an object of a class without kinds.",
              "CLASSES: Dict[Tuple[ObjectClass, int], Type[ModelObject]] = {"]
    lines += [f"    {key}: {value}," for key, value in table]
    lines.append("}")
    return "\n".join(lines) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--library", default=str(ROOT / "build" / "release" / "libtarnvelde.so"))
    parser.add_argument("--check", action="store_true")
    options = parser.parse_args()
    library = ctypes.CDLL(options.library)
    modules = {"_header.py": write_header_mirror(), "_objects.py": write_variable_mirror(library)}
    stale = 0
    for name, text in modules.items():
        path = PACKAGE / name
        if path.exists() and path.read_text() == text:
            continue
        stale += 1
        if options.check:
            print(f"{path.relative_to(ROOT)} is out of date: scripts/make-python-mirror.py", file=sys.stderr)
        else:
            path.write_text(text)
    return 1 if options.check and stale else 0


if __name__ == "__main__":
    sys.exit(main())
