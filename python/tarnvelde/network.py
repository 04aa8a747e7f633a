"""The network of a project as a graph of networkx, for whatever graphs are good for: paths, orders, drawings."""

from __future__ import annotations

from typing import Any, Dict, Iterator, List, Tuple

from .project import Project
from .project_text import ProjectFormatError, fold, is_missing
from .sections import SECTIONS, Section

__all__ = ["network"]

#: Nodes to which others send water without a link: section of the sender, column of the receiver, kind of the edge.
_DISCHARGES = (("REACTORS", "surplus_node", "surplus"), ("REACTORS_EMPTYING", "emptying_node", "emptying"),
               ("LID_MONOS", "drain_node", "drain"))


def network(project: Project, land: bool = False, discharges: bool = False) -> Any:
    """Return the network of a project as a ``networkx.MultiDiGraph``.

    Nodes and edges have the columns of their tables as attributes, as far as their lines give them, and ``kind``:
    junction, tank, outfall, splitter, reactor, lid_node, swmm_node or plant; pipe, pump, connection, conduit, weir or
    orifice. IDs are spelled as the lines that define them do.

    Args:
        project: The project, with all edits so far.
        land: Add the subcatchments, as nodes ``("subcatchment", ID)`` of kind subcatchment, with an edge of kind
            runoff to the outlet of each.
        discharges: Add edges of the kinds surplus, emptying and drain, where reactors and LID controls send water to
            nodes without a link; of a control on a subcatchment only with `land`.

    Returns:
        The graph. The keys of its edges are the IDs of the links; other edges have their kind as the key.

    Raises:
        ImportError: networkx isn't installed.
        ProjectFormatError: A link, an outlet or a discharge names a node that isn't there.
    """
    try:
        import networkx
    except ImportError as error:
        raise ImportError("network() needs networkx: pip install networkx (Debian: python3-networkx)") from error
    graph = networkx.MultiDiGraph()
    names: Dict[str, str] = {}
    for section in _find_sections("node"):
        for name, values in _iterate_nodes(project, section):
            names[fold(name)] = name
            graph.add_node(name, kind=section.kind, **values)
    for section in _find_sections("link"):
        for name, values in _iterate_rows(project, section):
            upstream = _find(names, values.pop("upstream_node", None), section.name, name)
            downstream = _find(names, values.pop("downstream_node", None), section.name, name)
            graph.add_edge(upstream, downstream, key=name, kind=section.kind, **values)
    if land:
        _add_land(graph, project, names)
    if discharges:
        _add_discharges(graph, project, names, land)
    return graph


def _find_sections(defined: str) -> List[Section]:
    return [section for section in SECTIONS.values() if section.defines == defined]


def _iterate_rows(project: Project, section: Section) -> Iterator[Tuple[str, Dict[str, Any]]]:
    """The rows of a table by their IDs, without what a row doesn't have."""
    frame = project[section.name]
    columns = [(name, frame[name].tolist()) for name in frame.columns]
    for k, label in enumerate(frame.index.tolist()):
        row = {name: values[k] for name, values in columns if not is_missing(values[k])}
        yield str(label), row


def _iterate_nodes(project: Project, section: Section) -> Iterator[Tuple[str, Dict[str, Any]]]:
    for label, values in _iterate_rows(project, section):
        if "entry" in values:
            # Lines of models inside nodes: the definitions alone have a model.
            if "model" in values:
                yield str(values.pop("entry")), values
        elif section.keys:
            yield label, values


def _find(names: Dict[str, str], word: Any, section: str, name: str) -> str:
    found = names.get(fold(str(word)))
    if found is None:
        raise ProjectFormatError(f"{name} names the node {word}, which isn't there", section)
    return found


def _add_land(graph: Any, project: Project, names: Dict[str, str]) -> None:
    for name, values in _iterate_rows(project, SECTIONS["SUBCATCHS"]):
        outlet = _find(names, values.get("outlet"), "SUBCATCHS", name)
        graph.add_node(("subcatchment", name), kind="subcatchment", **values)
        graph.add_edge(("subcatchment", name), outlet, key="runoff", kind="runoff")


def _add_discharges(graph: Any, project: Project, names: Dict[str, str], land: bool) -> None:
    for section, receiver, kind in _DISCHARGES:
        for name, values in _iterate_rows(project, SECTIONS[section]):
            if receiver in values:
                source = _find(names, name, section, name)
                graph.add_edge(source, _find(names, values[receiver], section, name), key=kind, kind=kind)
    if not land:
        return
    spelled = {fold(str(name)): name for name in project["SUBCATCHS"].index.tolist()}
    frame = project["LID_GROUPS"]
    for (name, lid), node in zip(frame.index.tolist(), frame["drain_node"].tolist()):
        if not is_missing(node):
            graph.add_edge(("subcatchment", spelled.get(fold(str(name)), name)),
                           _find(names, node, "LID_GROUPS", name), key=f"drain {lid}", kind="drain")
