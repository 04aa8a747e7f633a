"""The network as a graph."""
from __future__ import annotations

import ctypes
from typing import TYPE_CHECKING, Any

from ._header import LinkKind, NodeKind, ObjectClass, Relation

if TYPE_CHECKING:
    from .model import Model


def graph_of(model: Model) -> Any:
    """A networkx.MultiDiGraph of a model's nodes and links."""
    try:
        import networkx
    except ImportError:
        raise ImportError("a graph needs networkx (Debian: python3-networkx)") from None
    graph = networkx.MultiDiGraph(name=model._name)
    kind = ctypes.c_int32()
    nodes, links = model.nodes, model.links
    for index, identifier in enumerate(nodes):
        model._call("tv_getKind", int(ObjectClass.NODE), index, ctypes.byref(kind))
        graph.add_node(identifier, kind=NodeKind(kind.value).name.lower())
    ids = nodes.ids
    for index, identifier in enumerate(links):
        model._call("tv_getKind", int(ObjectClass.LINK), index, ctypes.byref(kind))
        ends = []
        for relation in (Relation.LINK_FROM, Relation.LINK_TO):
            end = ctypes.c_int32()
            model._call("tv_getRelation", int(relation), index, ctypes.byref(end))
            ends.append(ids[end.value])
        graph.add_edge(*ends, key=identifier, id=identifier, kind=LinkKind(kind.value).name.lower())
    return graph
