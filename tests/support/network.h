#pragma once
// The network as a graph that a test draws, and what validation and sorting make of it.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "model/arena.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "model/topology.h"
#include "nodes/lidmono.h"
#include "nodes/reactor.h"
#include "routing/loops.h"
#include "routing/network.h"
#include "routing/nodekinds.h"
#include "support/model.h"
#include "support/tables.h"

struct NetworkTest : testing::Test, protected Tables {
    void SetUp() override {
        testModel().files.report = std::tmpfile();
        ASSERT_NE(testModel().files.report, nullptr);
    }

    /// Empties the tables; the report goes on.
    static void clear() {
        std::FILE* report = std::exchange(testModel().files.report, nullptr);
        Tables::clear();
        testModel().files.report = report;
    }
};

inline std::string readReport() {
    std::fflush(testModel().files.report);
    std::rewind(testModel().files.report);
    std::string text;
    for (int c = std::fgetc(testModel().files.report); c != EOF; c = std::fgetc(testModel().files.report)) {
        text += static_cast<char>(c);
    }
    return text;
}

/// What the report holds after a validation of the tables as they are.
inline std::string validate() {
    topology_indexLinks(testModel());
    network_validate(testModel());
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
    for (int32_t k = 0; k < testModel().nodes.size(); ++k) {
        if (testModel().nodes[k].isHead) {
            indices.push_back(k);
        }
    }
    return indices;
}

inline std::vector<int32_t> sort() {
    arena_release(testModel().memory.run);
    testModel().sortedNodes =
        arena_allocateArray<int32_t>(testModel().memory.run, static_cast<int64_t>(testModel().nodes.size()));
    network_sortNodes(testModel());
    return {testModel().sortedNodes, testModel().sortedNodes + testModel().nodes.size()};
}

inline std::vector<int32_t> validateAndSort() {
    validate();
    return sort();
}

inline LoopCheck checkLoops() {
    validate();
    return loops_check(testModel());
}

inline const char* const TOO_FEW = "ERROR 135: cannot span enough nodes, it may be resulted from loop network.";

inline std::string cyclic(const std::string& name) {
    return "ERROR 131: Object " + name + " form cyclic loops in the drainage system.";
}

using Indices = std::vector<int32_t>;
