#pragma once
// The network as a graph that a test draws, and what validation and sorting make of it.

#include <gtest/gtest.h>

#include <cstdio>
#include <initializer_list>
#include <string>
#include <vector>

#include "model/arena.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "model/topology.h"
#include "nodes/lidmono.h"
#include "nodes/reactor.h"
#include "routing/loops.h"
#include "routing/network.h"
#include "routing/nodekinds.h"
#include "support/objects.h"

class NetworkTest : public ::testing::Test {
protected:
    void SetUp() override {
        clearObjects();
        ReportFile = std::tmpfile();
        ASSERT_NE(ReportFile, nullptr);
    }

    void TearDown() override {
        std::fclose(ReportFile);
        ReportFile = nullptr;
        clearObjects();
    }
};
/// A link between two nodes of the tables.
inline void addLink(const std::string& id, int32_t from, int32_t to, int32_t kind = PIPE) {
    addLink(id, kind);
    Links.back().fromNode = from;
    Links.back().toNode = to;
}

/// Nodes A, B, C ... of these kinds.
inline void addNodes(std::initializer_list<int32_t> kinds) {
    for (const int32_t kind : kinds) {
        addNode(std::string(1, static_cast<char>('A' + ObjectCount[NODE])), kind);
    }
}

/// Nodes A, B, C ... of a kind that may have any number of outlets.
inline void addNodes(int32_t count) {
    for (int32_t k = 0; k < count; ++k) {
        addNodes({SWMM});
    }
}

/// Makes a node a reactor; without an emptying node `emptying` is -1.
inline void makeReactor(int32_t node, int32_t surpass, int32_t emptying) {
    Nodes[node].kind = REACTOR;
    Nodes[node].kindIndex = Reactors.size();
    Reactor reactor{};
    reactor.surpassNode = surpass;
    reactor.emptyingNode = emptying;
    Reactors.push_back(reactor);
}

inline void makeLidMono(int32_t node, int32_t drain) {
    Nodes[node].kind = LID_MONO;
    Nodes[node].kindIndex = LidMonos.size();
    LidMono mono{};
    mono.unit.drainNode = drain;
    LidMonos.push_back(mono);
}

/// Links between nodes of one letter: "AB2" leads from A to B, and with a "~" in front does so a step late.
inline void connect(std::initializer_list<const char*> links) {
    for (const std::string id : links) {
        const size_t first = id[0] == '~' ? 1 : 0;
        addLink(id, id[first] - 'A', id[first + 1] - 'A');
        Links.back().isLagged = first == 1;
    }
}

inline std::string readReport() {
    std::fflush(ReportFile);
    std::rewind(ReportFile);
    std::string text;
    for (int c = std::fgetc(ReportFile); c != EOF; c = std::fgetc(ReportFile)) {
        text += static_cast<char>(c);
    }
    return text;
}

/// What the report holds after a validation of the tables as they are.
inline std::string validate() {
    topology_indexLinks();
    network_validate();
    return readReport();
}

/// Bytes of the report for some messages: a line of two blanks ahead of each.
inline std::string report(const std::vector<std::string>& messages) {
    std::string text;
    for (const std::string& message : messages) {
        text += "\n  \n  " + message;
    }
    return text;
}

inline std::vector<int32_t> heads() {
    std::vector<int32_t> indices;
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        if (Nodes[k].isHead) {
            indices.push_back(k);
        }
    }
    return indices;
}

inline std::vector<int32_t> sort() {
    arena_release(RunArena);
    SortedNodes = arena_allocateArray<int32_t>(RunArena, static_cast<int64_t>(Nodes.size()));
    network_sortNodes();
    return {SortedNodes, SortedNodes + Nodes.size()};
}

inline std::vector<int32_t> validateAndSort() {
    validate();
    return sort();
}

inline LoopCheck checkLoops() {
    validate();
    return loops_check();
}

inline const char* const TOO_FEW = "ERROR 135: cannot span enough nodes, it may be resulted from loop network.";

inline std::string cyclic(const std::string& name) {
    return "ERROR 131: Object " + name + " form cyclic loops in the drainage system.";
}

using Indices = std::vector<int32_t>;
