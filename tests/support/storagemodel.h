#pragma once
// A started run whose tables a test looks into.

#include <gtest/gtest.h>

#include <string>

#include "links/conduit.h"
#include "model/arena.h"
#include "model/names.h"
#include "model/project.h"
#include "nodes/tank.h"
#include "support/project.h"

/// Opens a project that must be good and starts it without results; ends and closes it.
struct StorageModel {
    ProjectFile file;

    explicit StorageModel(const std::string& text) : file(text) {
        EXPECT_EQ(file.open(), 0);
        EXPECT_EQ(tarnvelde_start(0), 0);
    }
    ~StorageModel() { tarnvelde_end(); }
    StorageModel(const StorageModel&) = delete;
    StorageModel& operator=(const StorageModel&) = delete;

    int32_t step(int count = 1) {
        int32_t code = 0;
        for (int k = 0; k < count; ++k) {
            double elapsed = 0.0;
            code = tarnvelde_step(&elapsed);
        }
        return code;
    }
};

inline int32_t findNode(const char* name) {
    return names_find(NODE, name);
}

inline int32_t findLink(const char* name) {
    return names_find(LINK, name);
}

inline Node& getNode(const char* name) {
    return Nodes.at((findNode(name)));
}

inline Link& getLink(const char* name) {
    return Links.at((findLink(name)));
}

inline Tank& getTank(const char* name) {
    return Tanks.at((getNode(name).kindIndex));
}

inline Conduit& getConduit(const char* name) {
    return Conduits.at((getLink(name).kindIndex));
}

/// A curve of a basin with upright walls: the same area (m2) at all depths.
inline std::string getBasin(const char* id, double area) {
    return "[CURVES]\n" + std::string(id) + " TANK 0 " + std::to_string(area) + " 100 " + std::to_string(area) + "\n";
}

/// Whether a report holds a message with its place and the line itself, as the reader writes it.
inline testing::AssertionResult holdsLineError(const OpenResult& result, const std::string& message,
                                               const std::string& section, const std::string& line) {
    const std::string head = "\n  \n  " + message + "at line ";
    const size_t at = result.report.find(head);
    const std::string tail = " of " + section + " section:\n  " + line + "\n";
    if (result.code == 200 && at != std::string::npos) {
        const size_t digits = result.report.find_first_not_of("0123456789", at + head.size());
        if (result.report.compare(digits, tail.size(), tail) == 0) {
            return testing::AssertionSuccess();
        }
    }
    return testing::AssertionFailure() << line << "\ncode " << result.code << ", report: " << result.report;
}

/// Starts a project again and again, each time with another request for memory refused. The start says so, and what
/// follows is safe.
inline void expectStartsWithoutMemory(const std::string& text) {
    bool hasFailed = false;
    for (int64_t k = 1; k < 40; ++k) {
        ProjectFile project(text);
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
