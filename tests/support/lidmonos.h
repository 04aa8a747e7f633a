#pragma once
// A project with a LID control that stands in the network as a node, whose sections a test changes as it needs them.

#include <gtest/gtest.h>

#include <string>

#include "model/project.h"
#include "nodes/lidmono.h"
#include "nodes/node.h"
#include "support/lids.h"
#include "support/model.h"

/// One node M (a trench of 100 m2) with a connection to the outfall OUT, and an inflow of its own.
class MonoTest : public ::testing::Test, protected Project {
protected:
    LidProject project;
    std::string mono = "M IT * 100 0 0 100\n";
    std::string inflows = "M FLOW FLOW 0.01 \"\" 0\nM CONCEN P 50 \"\" 0\n";
    std::string links = "[CONNECTIONS]\nC M OUT NO 0\n";

    void SetUp() override { project.lids = "IT IT\nIT STORAGE 500 1 0\n"; }

    std::string getText() {
        LidProject whole = project;
        whole.nodes = "[LID_MONOS]\n" + mono + links + "[INFLOWS]\n" + inflows;
        return whole.text();
    }

    int32_t open() {
        write(getText());
        return Project::open();
    }
    void start() {
        ASSERT_EQ(open(), 0) << readReport();
        ASSERT_EQ(tarnvelde_start(0), 0);
    }

    static LidMono& record() { return testModel().lidMonos[0]; }
    static LidUnit& unit() { return testModel().lidMonos[0].unit; }
    static Node& node() { return testModel().nodes[findMono()]; }

    static int32_t findMono() {
        for (int32_t k = 0; k < testModel().nodes.size(); ++k) {
            if (testModel().nodes[k].kind == LID_MONO) {
                return k;
            }
        }
        return -1;
    }

    /// The node's inflow as the pass would have it, and one step of the unit.
    static void stepWith(double flow, double load) {
        node().newInflow = flow;
        node().massInflow[0] = load;
        lidmono_step(testModel(), findMono());
    }
};
