#pragma once
// A project of one reactor with an outfall for each way out of it.

#include <gtest/gtest.h>

#include <string>

#include "model/errors.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "nodes/node.h"
#include "nodes/reactor.h"
#include "routing/nodekinds.h"
#include "support/model.h"
#include "support/project.h"

/// What a project of one reactor R says beside the network that all of them have: R overflows over a connection without
/// delay into OUT, its surplus goes to SUR and its emptying to EMP.
struct ReactorProject {
    std::string reactor = "R CSTR SUR FLOW_CAPACITY 864000 100 0 0";
    std::string decay;
    std::string emptying;
    std::string inflow;   ///< lines of [INFLOWS]
    std::string quality;  ///< lines of [INITIAL_CONCENTRATION]
    std::string pollutants = "A 0\n";
    std::string more;  ///< whole sections
    std::string endTime = "2:00:00";
    std::string step = "0:01:00";

    std::string text() const {
        return "[GENERAL]\nSTART_DATE 2024/01/01\nEND_DATE 2024/01/01\nEND_TIME " + endTime + "\nROUTING_STEP " + step +
               "\nRUNOFF_STEP 0:30:00\nREPORT_STEP 0:30:00\n[POLLUTANTS]\n" + pollutants +
               "[OUTFALLS]\nOUT\nSUR\nEMP\n[PATTERNS]\nMONTHS MONTHLY 2 3\nHOURS HOURLY 4 5\n[REACTORS]\n" + reactor +
               "\n[CONNECTIONS]\nC R OUT NO 0\n[REACTORS_DECAY]\n" + decay + "\n[REACTORS_EMPTYING]\n" + emptying +
               "\n[INITIAL_CONCENTRATION]\n" + quality + "\n[INFLOWS]\n" + inflow + "\n" + more + "\n";
    }
};

/// A whole day of seconds, for rates that files give per day.
constexpr double DAY = 86400.0;

class ReactorTest : public ::testing::Test, protected Project {
protected:
    int32_t open(const ReactorProject& project) {
        write(project.text());
        testing::internal::CaptureStdout();
        const int32_t code = Project::open();
        testing::internal::GetCapturedStdout();
        return code;
    }
    void start(const ReactorProject& project) {
        ASSERT_EQ(open(project), 0) << readReport();
        ASSERT_EQ(tarnvelde_start(0), 0) << readReport();
    }

    /// One update of R with an inflow (m3/s) and its concentration (mg/L), apart from the rest of a step.
    static void update(double inflow, double concentration = 0.0) {
        for (const char* name : {"R", "SUR", "EMP"}) {
            nodekinds_shiftState(testModel(), node(name));
        }
        node("R").newInflow = inflow;
        if (model_pollutantCount(testModel()) > 0) {
            node("R").massInflow[0] = inflow * concentration / 1000.0;
        }
        reactor_update(testModel(), node("R"), reactor());
    }

    /// Expects the project to be refused with one message about a line.
    void expectRefused(const ReactorProject& text, const std::string& message) {
        EXPECT_EQ(open(text), 200);
        EXPECT_NE(readReport().find("\n  ERROR " + message), std::string::npos) << "wanted " << message << readReport();
    }

    static Reactor& reactor() { return testModel().reactors[0]; }
};

inline ReactorProject withReactor(const std::string& line) {
    ReactorProject text;
    text.reactor = line;
    return text;
}

inline ReactorProject withDecay(const std::string& line) {
    ReactorProject text;
    text.decay = line;
    return text;
}

inline ReactorProject withEmptying(const std::string& line) {
    ReactorProject text;
    text.emptying = line;
    return text;
}
