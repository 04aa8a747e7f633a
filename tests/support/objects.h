#pragma once
// Tables of nodes and links that a test fills itself, without a project file.

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>

#include "links/conduit.h"
#include "links/link.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/project.h"
#include "model/topology.h"
#include "nodes/lidmono.h"
#include "nodes/node.h"
#include "nodes/reactor.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"
#include "routing/linkkinds.h"
#include "routing/network.h"

inline void clearObjects() {
    Nodes.clear();
    Links.clear();
    Splitters.clear();
    Reactors.clear();
    LidMonos.clear();
    Tanks.clear();
    Conduits.clear();
    std::fill(std::begin(ObjectCount), std::end(ObjectCount), 0);
    std::fill(std::begin(NodeKindCount), std::end(NodeKindCount), 0);
    std::fill(std::begin(LinkKindCount), std::end(LinkKindCount), 0);
    names_clear();
    topology_clear();
    linkkinds_clearRun();
    SortedNodes = nullptr;
    arena_release(RunArena);
    arena_release(ProjectArena);
    ErrorCode = 0;
    ErrorObjectName.clear();
}

/// Registers a node and adds its record; a kind of -1 is that of a refused line.
inline int32_t addNode(const std::string& id, int32_t kind = JUNCTION) {
    const int32_t index = ObjectCount[NODE]++;
    names_add(NODE, id.c_str(), index);
    Node node{};
    node.id = names_findId(NODE, id.c_str());
    node.kind = kind;
    node.kindIndex = kind < 0 ? 0 : NodeKindCount[kind]++;
    Nodes.push_back(node);
    return index;
}

/// Registers an open link and adds its record; a kind of -1 is that of a refused line.
inline int32_t addLink(const std::string& id, int32_t kind) {
    const int32_t index = ObjectCount[LINK]++;
    names_add(LINK, id.c_str(), index);
    Link link{};
    link.id = names_findId(LINK, id.c_str());
    link.kind = kind;
    link.kindIndex = kind < 0 ? 0 : LinkKindCount[kind]++;
    link.setting = link.targetSetting = 1.0;
    Links.push_back(link);
    return index;
}
