#pragma once
// Storage: basins, and starts that find no memory.

#include <gtest/gtest.h>

#include <string>

#include "model/arena.h"
#include "support/lineerrors.h"
#include "support/project.h"

/// A curve of a basin with upright walls: the same area (m2) at all depths.
inline std::string getBasin(const char* id, double area) {
    return "[CURVES]\n" + std::string(id) + " TANK 0 " + std::to_string(area) + " 100 " + std::to_string(area) + "\n";
}

/// Starts a project again and again, each time with another request for memory refused. The start says so, and what
/// follows is safe.
inline void expectStartsWithoutMemory(const std::string& text) {
    bool hasFailed = false;
    for (int64_t k = 1; k < 40; ++k) {
        const Project project(text);
        ASSERT_EQ(project.open(), 0);
        arena_failAfter(k);
        const int32_t code = tarnvelde_start(0);
        arena_failAfter(0);
        EXPECT_TRUE(code == 0 || code == 101) << code;
        hasFailed = hasFailed || code == 101;
        double elapsed;
        tarnvelde_step(&elapsed);
        tarnvelde_end();
    }
    EXPECT_TRUE(hasFailed);
}
