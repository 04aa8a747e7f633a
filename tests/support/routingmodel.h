#pragma once
// Small networks of pipes and connections, stepped by hand.

#include <gtest/gtest.h>

#include <string>

#include "links/pipe.h"
#include "model/project.h"
#include "nodes/node.h"
#include "support/project.h"

constexpr double DT = 60.0;  ///< s, the routing step of getGeneral

/// Series are asked a millisecond behind the minute: a slope of 1 per minute is off by this.
constexpr double MILLISECOND = 1.0 / 60000.0;

/// A started project that is stepped by hand.
struct Model {
    ProjectFile project;

    explicit Model(const std::string& text, int steps = 60) : project(getGeneral(steps) + text) {
        EXPECT_EQ(project.open(), 0) << project.getReport();
        EXPECT_EQ(tarnvelde_start(0), 0);
    }

    void step(int count = 1) {
        double elapsed;
        for (int k = 0; k < count; ++k) {
            ASSERT_EQ(tarnvelde_step(&elapsed), 0);
        }
    }

    static const Node& node(const char* name) { return Nodes[tarnvelde_findObject(1, name)]; }
    static Link& link(const char* name) { return Links[tarnvelde_findObject(2, name)]; }
    static Pipe& pipe(const char* name) { return Pipes[link(name).kindIndex]; }
};

inline const std::string A_TO_OUT = "[JUNCTIONS]\nA\n[OUTFALLS]\nOUT\n";

inline std::string onePipe(const std::string& values) {
    return A_TO_OUT + "[PIPES]\nP A OUT NO " + values + "\n";
}

inline std::string oneConnection(const std::string& delay) {
    return A_TO_OUT + "[CONNECTIONS]\nC A OUT NO " + delay + "\n";
}

inline const std::string TWO_POLLUTANTS = "[POLLUTANTS]\nX 0\nY 0\n";
