// The links of each node. Validation, the order of the network, tanks and the routing step ask for them; they are
// sorted once, by counting, when the whole project is read.

#include "model/topology.h"

#include "model/model.h"
#include "model/project.h"

static void indexLinks(const Model& model, LinkIndex& index, int32_t Link::*end) {
    index.start.fill(model.nodes.size() + 1, 0);
    index.links.resize(model.links.size());
    for (const Link& link : model.links) {
        ++index.start[link.*end + 1];
    }
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        index.start[k + 1] += index.start[k];
    }
    Table<int32_t> next = index.start;
    for (int32_t k = 0; k < model.links.size(); ++k) {
        index.links[next[model.links[k].*end]++] = k;
    }
}

static LinkList getLinks(const LinkIndex& index, int32_t node) {
    if (node + 1 >= index.start.size()) {
        return {nullptr, 0};
    }
    return {index.links.data() + index.start[node], index.start[node + 1] - index.start[node]};
}

void topology_indexLinks(Model& model) {
    indexLinks(model, model.outgoingLinks, &Link::fromNode);
    indexLinks(model, model.incomingLinks, &Link::toNode);
}

LinkList topology_getOutgoing(const Model& model, int32_t node) {
    return getLinks(model.outgoingLinks, node);
}

LinkList topology_getIncoming(const Model& model, int32_t node) {
    return getLinks(model.incomingLinks, node);
}
