#pragma once
// A project of one reactor with an outfall for each way out of it.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "model/errors.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "nodes/node.h"
#include "nodes/reactor.h"
#include "routing/nodekinds.h"
#include "support/project.h"
#include "support/tempfolder.h"
#include "tarnvelde.h"

/// What a project of one reactor R says beside the network that all of them have: R overflows over a connection without
/// delay into OUT, its surplus goes to SUR and its emptying to EMP.
struct ProjectText {
    std::string reactor = "R CSTR SUR FLOW_CAPACITY 864000 100 0 0";
    std::string decay;
    std::string emptying;
    std::string inflow;   ///< lines of [INFLOWS]
    std::string quality;  ///< lines of [INITIAL_CONCENTRATION]
    std::string pollutants = "A 0\n";
    std::string more;  ///< whole sections
    std::string endTime = "2:00:00";
    std::string step = "0:01:00";
};

inline std::string makeText(const ProjectText& t) {
    return "[GENERAL]\nSTART_DATE 2024/01/01\nEND_DATE 2024/01/01\nEND_TIME " + t.endTime + "\nROUTING_STEP " + t.step +
           "\nRUNOFF_STEP 0:30:00\nREPORT_STEP 0:30:00\n[POLLUTANTS]\n" + t.pollutants +
           "[OUTFALLS]\nOUT\nSUR\nEMP\n[PATTERNS]\nMONTHS MONTHLY 2 3\nHOURS HOURLY 4 5\n[REACTORS]\n" + t.reactor +
           "\n[CONNECTIONS]\nC R OUT NO 0\n[REACTORS_DECAY]\n" + t.decay + "\n[REACTORS_EMPTYING]\n" + t.emptying +
           "\n[INITIAL_CONCENTRATION]\n" + t.quality + "\n[INFLOWS]\n" + t.inflow + "\n" + t.more + "\n";
}

/// A whole day of seconds, for rates that files give per day.
constexpr double DAY = 86400.0;

class ReactorTest : public ::testing::Test {
protected:
    void TearDown() override { tarnvelde_close(); }

    int32_t open(const ProjectText& text) {
        folder.write("m.inp", makeText(text));
        testing::internal::CaptureStdout();
        const int32_t code =
            tarnvelde_open(folder.file("m.inp").c_str(), folder.file("m.rpt").c_str(), folder.file("m.bin").c_str());
        testing::internal::GetCapturedStdout();
        return code;
    }

    void start(const ProjectText& text) {
        ASSERT_EQ(open(text), 0) << report();
        ASSERT_EQ(tarnvelde_start(0), 0) << report();
    }

    std::string report() {
        if (ReportFile) {
            std::fflush(ReportFile);
        }
        return readFile(folder.path / "m.rpt");
    }

    static void runToEnd() { ASSERT_EQ(stepToEnd(), 0); }

    static void step(int32_t count = 1) {
        double elapsed;
        for (int32_t k = 0; k < count; ++k) {
            ASSERT_EQ(tarnvelde_step(&elapsed), 0);
        }
    }

    /// One update of R with an inflow (m3/s) and its concentration (mg/L), apart from the rest of a step.
    static void update(double inflow, double concentration = 0.0) {
        for (const char* name : {"R", "SUR", "EMP"}) {
            nodekinds_shiftState(node(name));
        }
        node("R").newInflow = inflow;
        if (project_pollutantCount() > 0) {
            node("R").massInflow[0] = inflow * concentration / 1000.0;
        }
        reactor_update(node("R"), reactor());
    }

    /// Expects the project to be refused with one message about a line.
    void expectRefused(const ProjectText& text, const std::string& message) {
        EXPECT_EQ(open(text), 200);
        EXPECT_NE(report().find("\n  ERROR " + message), std::string::npos) << "wanted " << message << report();
    }

    static Node& node(const char* name) { return Nodes[tarnvelde_findObject(1, name)]; }

    static Reactor& reactor() { return Reactors[0]; }

    TempFolder folder;
};

inline ProjectText withReactor(const std::string& line) {
    ProjectText text;
    text.reactor = line;
    return text;
}

inline ProjectText withDecay(const std::string& line) {
    ProjectText text;
    text.decay = line;
    return text;
}

inline ProjectText withEmptying(const std::string& line) {
    ProjectText text;
    text.emptying = line;
    return text;
}
