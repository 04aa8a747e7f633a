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
#include "support/model.h"
#include "tarnvelde.h"

Tables::Tables() {
    tarnvelde_close();
    clear();
}

void Tables::clear() {
    defaultmodel_renew().error = {};
}

int32_t Tables::addName(int32_t type, const std::string& id) {
    const int32_t index = testModel().counts.objects[type]++;
    names_add(testModel(), type, id.c_str(), index);
    return index;
}

int32_t Tables::addNode(const std::string& id, int32_t kind) {
    const int32_t index = addName(NODE, id);
    Node node{};
    node.id = names_findId(testModel(), NODE, id.c_str());
    node.kind = kind;
    node.kindIndex = kind < 0 ? 0 : testModel().counts.nodeKinds[kind]++;
    testModel().nodes.push_back(node);
    return index;
}

void Tables::addNodes(std::initializer_list<int32_t> kinds) {
    for (const int32_t kind : kinds) {
        addNode(std::string(1, static_cast<char>('A' + testModel().counts.objects[NODE])), kind);
    }
}

void Tables::addNodes(int32_t count) {
    for (int32_t k = 0; k < count; ++k) {
        addNodes({SWMM});
    }
}

void Tables::makeReactor(int32_t node, int32_t surpass, int32_t emptying) {
    testModel().nodes[node].kind = REACTOR;
    testModel().nodes[node].kindIndex = testModel().reactors.size();
    Reactor reactor{};
    reactor.surpassNode = surpass;
    reactor.emptyingNode = emptying;
    testModel().reactors.push_back(reactor);
}

void Tables::makeLidMono(int32_t node, int32_t drain) {
    testModel().nodes[node].kind = LID_MONO;
    testModel().nodes[node].kindIndex = testModel().lidMonos.size();
    LidMono mono{};
    mono.unit.drainNode = drain;
    testModel().lidMonos.push_back(mono);
}

int32_t Tables::addLink(const std::string& id, int32_t kind) {
    const int32_t index = addName(LINK, id);
    Link link{};
    link.id = names_findId(testModel(), LINK, id.c_str());
    link.kind = static_cast<int16_t>(kind);
    link.kindIndex = kind < 0 ? 0 : testModel().counts.linkKinds[kind]++;
    link.setting = link.targetSetting = 1.0;
    testModel().links.push_back(link);
    testModel().linkFloods.push_back({});
    return index;
}

int32_t Tables::addLink(const std::string& id, int32_t from, int32_t to, int32_t kind) {
    const int32_t index = addLink(id, kind);
    testModel().links.back().fromNode = from;
    testModel().links.back().toNode = to;
    return index;
}

void Tables::connect(std::initializer_list<const char*> links) {
    for (const std::string id : links) {
        const size_t first = id[0] == '~' ? 1 : 0;
        addLink(id, id[first] - 'A', id[first + 1] - 'A');
        testModel().links.back().isLagged = first == 1;
    }
}
