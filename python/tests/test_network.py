"""Networks of projects as graphs."""

from __future__ import annotations

import builtins
import pathlib
from typing import Any

import networkx
import pytest

from tarnvelde.network import network
from tarnvelde.project import Project, ProjectFormatError

EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples"

TWINS = """\
[JUNCTIONS]
Head
[SPLITTERS]
S  A  RATIO  0.5
[OUTFALLS]
Out
[PIPES]
IN  head  s    NO  300  1  0.2  0
A   S     OUT  NO  300  2  0.2  0
B   S     Out  YES 300  3  0.2  0
[SUBCATCHS]
Land  G  HEAD  1  100  50  1  0.01  0.1  1  3  40  5  4  5  0
"""


def test_links_are_edges_with_their_parameters() -> None:
    graph = network(Project.parse(TWINS))
    assert graph.nodes["S"] == {"kind": "splitter", "link": "A", "split_mode": "RATIO", "split_value": 0.5}
    assert set(graph.nodes) == {"Head", "S", "Out"}
    assert sorted(graph["S"]["Out"]) == ["A", "B"]
    assert graph["S"]["Out"]["B"] == {"kind": "pipe", "is_lagged": True, "k": 300.0, "reach_count": 3.0, "x": 0.2,
                                      "max_flow": 0.0}
    assert graph.has_edge("Head", "S", key="IN")


def test_edits_show() -> None:
    project = Project.parse(TWINS)
    project.remove("PIPES", "B")
    assert network(project).number_of_edges() == 2


def test_land_is_added_if_wanted() -> None:
    graph = network(Project.parse(TWINS), land=True)
    assert graph.nodes["subcatchment", "Land"]["area"] == 1.0
    assert graph[("subcatchment", "Land")]["Head"] == {"runoff": {"kind": "runoff"}}
    assert ("subcatchment", "Land") not in network(Project.parse(TWINS))


@pytest.mark.parametrize("name", ["first-storm", "wetland-control", "interceptor", "green-street"])
def test_every_node_and_link_of_an_example_is_there(name: str) -> None:
    project = Project.read(EXAMPLES / name / f"{name}.inp")
    graph = network(project)
    links = [section for section in ("PIPES", "PUMPS", "CONNECTIONS", "CONDUITS", "WEIRS", "ORIFICES")]
    nodes = [section for section in ("JUNCTIONS", "TANKS", "OUTFALLS", "SPLITTERS", "REACTORS", "LID_MONOS")]
    assert sorted(key for _, _, key in graph.edges(keys=True)) == sorted(
        link for section in links for link in project[section].index)
    assert sorted(graph) == sorted(node for section in nodes for node in project[section].index)
    ends = set(project["OUTFALLS"].index)
    assert {node for node, degree in graph.out_degree() if degree == 0} == ends


def test_models_inside_nodes() -> None:
    graph = network(Project.read(EXAMPLES / "coupled" / "coupled.inp"))
    assert graph.nodes["OLDTOWN"] == {"kind": "swmm_node", "model": "oldtown.inp", "saves_results": False}
    assert graph.nodes["WORKS"]["kind"] == "plant" and "INFLOW" not in graph
    assert networkx.has_path(graph, "VILLAGE", "RIVER")


def test_discharges_without_links() -> None:
    wetland = network(Project.read(EXAMPLES / "wetland-control" / "wetland-control.inp"), discharges=True)
    assert wetland.has_edge("POND", "BYPASS", key="surplus") and wetland.has_edge("LAGOON", "MEADOW", key="emptying")
    street = Project.read(EXAMPLES / "green-street" / "green-street.inp")
    graph = network(street, land=True, discharges=True)
    assert graph.has_edge("BASIN", "MAIN", key="drain")
    assert graph.has_edge(("subcatchment", "BC"), "DRAINS", key="drain CELL")
    assert ("subcatchment", "RG") in graph and not graph.has_edge(("subcatchment", "RG"), "DRAINS")
    assert not network(street).has_edge("BASIN", "MAIN", key="drain")
    assert ("subcatchment", "BC") not in network(street, discharges=True)


@pytest.mark.parametrize("line, land", [("[PIPES]\nX Head Nowhere NO 1 1 0 0\n", False),
                                        ("[SUBCATCHS]\nX G Nowhere 1 1 1 1 1 1 1 1 1 1 1 1 0\n", True)])
def test_nodes_that_are_not_there(line: str, land: bool) -> None:
    with pytest.raises(ProjectFormatError, match="X names the node Nowhere"):
        network(Project.parse(TWINS + line), land=land)


def test_without_networkx(monkeypatch: pytest.MonkeyPatch) -> None:
    whole = builtins.__import__

    def refuse(name: str, *rest: Any, **more: Any) -> Any:
        if name == "networkx":
            raise ImportError("no networkx")
        return whole(name, *rest, **more)

    monkeypatch.setattr(builtins, "__import__", refuse)
    with pytest.raises(ImportError, match="install"):
        network(Project())
