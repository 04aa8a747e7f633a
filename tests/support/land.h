#pragma once
// A small project with one gage, one subcatchment and one outfall, whose sections a test changes as it needs them.

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>

#include "hydrology/gage.h"
#include "hydrology/landuse.h"
#include "hydrology/subcatch.h"
#include "model/errors.h"
#include "model/pollut.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "support/project.h"

/// Lines of a time series. A line of three words has no date, which the project file asks for: it gets the day of the
/// test.
inline std::string datedSeries(const std::string& lines) {
    std::istringstream stream(lines);
    std::string line, text;
    while (std::getline(stream, line)) {
        std::istringstream words(line);
        std::string id, time, value, rest;
        words >> id >> time >> value;
        const bool isShort = !(words >> rest) && time.find(':') != std::string::npos;
        if (isShort) {
            line = id;
            line.append(" 2021/03/01 ").append(time).append(" ").append(value);
        }
        text.append(line).append("\n");
    }
    return text;
}

struct LandProject {
    std::string times =
        "START_DATE 2021/03/01\nSTART_TIME 0\nEND_DATE 2021/03/01\nEND_TIME 6\n"
        "RUNOFF_STEP 0:05:00\nROUTING_STEP 0:01:00\nREPORT_STEP 0:05:00\nREPORT_AVERAGE NO\n";
    std::string general;
    std::string gages = "G INTENSITY 0:05 T\n";
    std::string subcatchs = "S G O 1 100 50 1 0.015 0.1 1 2 50 5 4 3 0\n";
    std::string nodes = "O\n";
    std::string series = "T 2021/03/01 0:00 12\nT 0:05 24\n";
    std::string more;  ///< whole sections

    std::string text() const {
        return "[GENERAL]\n" + times + general + "[RAINGAGES]\n" + gages + "[SUBCATCHS]\n" + subcatchs +
               "[OUTFALLS]\n" + nodes + "[TIMESERIES]\n" + datedSeries(series) + more;
    }
};

class LandTest : public ::testing::Test, protected Project {
protected:
    int32_t open(const LandProject& project) { return openText(project.text()); }

    int32_t openText(const std::string& text) {
        write(text);
        return Project::open();
    }

    /// Opens, and starts without results.
    int32_t start(const LandProject& project) {
        const int32_t code = open(project);
        return code ? code : tarnvelde_start(0);
    }

    /// Whether the report of a project, that must fail with a code, holds a text.
    ::testing::AssertionResult failsWith(const LandProject& project, int32_t code, const std::string& text) {
        const int32_t got = open(project);
        const std::string messages = readReport();
        tarnvelde_close();
        if (got != code) {
            return ::testing::AssertionFailure() << "code " << got << "\n" << messages;
        }
        if (messages.find(text) == std::string::npos) {
            return ::testing::AssertionFailure() << "no \"" << text << "\" in\n" << messages;
        }
        return ::testing::AssertionSuccess();
    }
};

/// mm/h in m/s.
constexpr double ONE_MM_PER_HOUR = 1.0 / 3600000.0;
