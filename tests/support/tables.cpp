#include "support/tables.h"

#include <algorithm>
#include <iterator>

#include "controls/rule.h"
#include "coupling/converter.h"
#include "coupling/swmm.h"
#include "hydrology/gage.h"
#include "hydrology/lid.h"
#include "hydrology/subcatch.h"
#include "links/conduit.h"
#include "links/connection.h"
#include "links/link.h"
#include "links/pipe.h"
#include "model/arena.h"
#include "model/curve.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/pattern.h"
#include "model/timeseries.h"
#include "model/topology.h"
#include "nodes/lidmono.h"
#include "nodes/node.h"
#include "nodes/reactor.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"
#include "routing/linkkinds.h"
#include "routing/network.h"
#include "tarnvelde.h"

Tables::Tables() {
    tarnvelde_close();
    clear();
}

static void clearNodes() {
    Nodes.clear();
    Splitters.clear();
    Tanks.clear();
    Reactors.clear();
    LidMonos.clear();
    SwmmNodes.clear();
    std::fill(std::begin(NodeKindCount), std::end(NodeKindCount), 0);
    SortedNodes = nullptr;
    topology_clear();
}

static void clearLinks() {
    Links.clear();
    Conduits.clear();
    Connections.clear();
    Pipes.clear();
    std::fill(std::begin(LinkKindCount), std::end(LinkKindCount), 0);
    linkkinds_clearRun();
}

void Tables::clear() {
    rule_deleteAll();
    clearNodes();
    clearLinks();
    Subcatches.clear();
    Gages.clear();
    Lids.clear();
    Patterns.clear();
    curve_deleteAll();
    timeseries_deleteAll();
    Converters.clear();
    HostInflows.clear();
    names_clear();
    std::fill(std::begin(ObjectCount), std::end(ObjectCount), 0);
    for (Arena* arena : {&RunArena, &ResultArena, &ProjectArena}) {
        arena_release(*arena);
    }
    ErrorCode = 0;
    ErrorObjectName.clear();
}

int32_t Tables::addName(int32_t type, const std::string& id) {
    const int32_t index = ObjectCount[type]++;
    names_add(type, id.c_str(), index);
    return index;
}

int32_t Tables::addNode(const std::string& id, int32_t kind) {
    const int32_t index = addName(NODE, id);
    Node node{};
    node.id = names_findId(NODE, id.c_str());
    node.kind = kind;
    node.kindIndex = kind < 0 ? 0 : NodeKindCount[kind]++;
    Nodes.push_back(node);
    return index;
}

void Tables::addNodes(std::initializer_list<int32_t> kinds) {
    for (const int32_t kind : kinds) {
        addNode(std::string(1, static_cast<char>('A' + ObjectCount[NODE])), kind);
    }
}

void Tables::addNodes(int32_t count) {
    for (int32_t k = 0; k < count; ++k) {
        addNodes({SWMM});
    }
}

void Tables::makeReactor(int32_t node, int32_t surpass, int32_t emptying) {
    Nodes[node].kind = REACTOR;
    Nodes[node].kindIndex = Reactors.size();
    Reactor reactor{};
    reactor.surpassNode = surpass;
    reactor.emptyingNode = emptying;
    Reactors.push_back(reactor);
}

void Tables::makeLidMono(int32_t node, int32_t drain) {
    Nodes[node].kind = LID_MONO;
    Nodes[node].kindIndex = LidMonos.size();
    LidMono mono{};
    mono.unit.drainNode = drain;
    LidMonos.push_back(mono);
}

int32_t Tables::addLink(const std::string& id, int32_t kind) {
    const int32_t index = addName(LINK, id);
    Link link{};
    link.id = names_findId(LINK, id.c_str());
    link.kind = kind;
    link.kindIndex = kind < 0 ? 0 : LinkKindCount[kind]++;
    link.setting = link.targetSetting = 1.0;
    Links.push_back(link);
    return index;
}

int32_t Tables::addLink(const std::string& id, int32_t from, int32_t to, int32_t kind) {
    const int32_t index = addLink(id, kind);
    Links.back().fromNode = from;
    Links.back().toNode = to;
    return index;
}

void Tables::connect(std::initializer_list<const char*> links) {
    for (const std::string id : links) {
        const size_t first = id[0] == '~' ? 1 : 0;
        addLink(id, id[first] - 'A', id[first + 1] - 'A');
        Links.back().isLagged = first == 1;
    }
}
