// The links of each node. Validation, the order of the network, tanks and the routing step ask for them; they are
// sorted once, by counting, when the whole project is read.

#include "model/topology.h"

#include "model/project.h"

struct LinkIndex {
    Table<int32_t> start;  ///< by node: where its links begin; one more at the end
    Table<int32_t> links;
};

static LinkIndex Outgoing, Incoming;

static void indexLinks(LinkIndex& index, int32_t Link::*end) {
    index.start.fill(Nodes.size() + 1, 0);
    index.links.resize(Links.size());
    for (const Link& link : Links) {
        ++index.start[link.*end + 1];
    }
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        index.start[k + 1] += index.start[k];
    }
    Table<int32_t> next = index.start;
    for (int32_t k = 0; k < Links.size(); ++k) {
        index.links[next[Links[k].*end]++] = k;
    }
}

static LinkList getLinks(const LinkIndex& index, int32_t node) {
    if (node + 1 >= index.start.size()) {
        return {nullptr, 0};
    }
    return {index.links.data() + index.start[node], index.start[node + 1] - index.start[node]};
}

void topology_indexLinks() {
    indexLinks(Outgoing, &Link::fromNode);
    indexLinks(Incoming, &Link::toNode);
}

LinkList topology_getOutgoing(int32_t node) {
    return getLinks(Outgoing, node);
}

LinkList topology_getIncoming(int32_t node) {
    return getLinks(Incoming, node);
}

void topology_clear() {
    Outgoing = {};
    Incoming = {};
}
