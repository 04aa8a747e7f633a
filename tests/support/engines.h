#pragma once
// Projects with outside models: the models' files, private copies in a folder of their own, and the calls that the
// test engines logged.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/project.h"

/// s, routing step of these projects: the 128th part of a day, so that the clocks of engines meet it without rounding.
constexpr double COUPLED_STEP = 675.0;
constexpr double COUPLED_STEP_DAYS = 1.0 / 128.0;

inline std::string getClockTime(int seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%d:%02d:%02d", seconds / 3600, seconds / 60 % 60, seconds % 60);
    return text;
}

/// Options of a run of some routing steps from 1 March 2021 on.
inline std::string getCoupledGeneral(int steps) {
    const std::string step = getClockTime(675);
    return "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME " + getClockTime(675 * steps) +
           "\nROUTING_STEP " + step + "\nRUNOFF_STEP " + getClockTime(1350) + "\nREPORT_STEP " + step + "\n";
}

/// The same period in a model file. The day number of 1 March 2021 is 44256.
inline std::string getPeriod(int steps) {
    return "period 44256 0 44256 " + std::to_string(675 * steps) + "\n";
}

/// A number as the engines log it.
inline std::string showNumber(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

/// A project whose engines stand in the folder of the tests, and put their copies into one of its own.
struct CoupledProject : Project {
    std::string path = folder.path.string() + "/";
    std::string copies = path + "copies/";
    std::string log = path + "calls.log";

    explicit CoupledProject(const std::string& text, int steps = 4) : Project(getCoupledGeneral(steps) + text) {
        std::filesystem::create_directory(copies);
        setenv("TARNVELDE_ENGINE_LOG", log.c_str(), 1);
        tarnvelde_initSwmmDll(TARNVELDE_ENGINE_FOLDER, copies.c_str());
        tarnvelde_initVornDll(TARNVELDE_ENGINE_FOLDER, copies.c_str());
    }
    ~CoupledProject() {
        tarnvelde_close();
        tarnvelde_initSwmmDll("", "");
        tarnvelde_initVornDll("", "");
        unsetenv("TARNVELDE_ENGINE_LOG");
    }

    CoupledProject& model(const std::string& name, const std::string& text) {
        folder.write(name, text);
        return *this;
    }

    /// A line of the project file, with its end. The first one is number 1.
    std::string getLine(int number) const {
        std::ifstream file(input);
        std::string line;
        for (int k = 0; k < number; ++k) {
            std::getline(file, line);
        }
        return line + "\n";
    }

    /// Messages of the report, one by one, without the blank lines before them. The report must hold nothing else but
    /// the line of the project behind a message that names one. Closes the project.
    std::vector<std::string> getErrors() {
        tarnvelde_close();
        const std::string messages = getReport();
        std::vector<std::string> errors;
        std::string whole;
        std::istringstream lines(messages);
        for (std::string line; std::getline(lines, line);) {
            if (line.find("ERROR") != std::string::npos) {
                errors.push_back(line.substr(2));
                whole += "\n  \n  " + errors.back();
                const size_t place = line.rfind("at line ");
                whole += place == std::string::npos ? "" : "\n  " + getLine(std::stoi(line.substr(place + 8)));
            }
        }
        EXPECT_EQ(messages, whole);
        return errors;
    }

    /// The calls logged since the last time, without the folder of the project.
    std::vector<std::string> takeCalls() {
        std::vector<std::string> calls;
        std::istringstream lines(readFile(log));
        for (std::string line; std::getline(lines, line);) {
            for (size_t at; (at = line.find(path)) != std::string::npos;) {
                line.erase(at, path.size());
            }
            calls.push_back(line);
        }
        std::filesystem::remove(log);
        return calls;
    }

    /// Those of them that begin so.
    std::vector<std::string> takeCalls(const std::string& beginning) {
        std::vector<std::string> calls = takeCalls();
        calls.erase(std::remove_if(calls.begin(), calls.end(),
                                   [&](const std::string& call) { return call.rfind(beginning, 0) != 0; }),
                    calls.end());
        return calls;
    }

    std::vector<std::string> getCopies() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(copies)) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }
};

/// A SWMM model that lets everything through, with two objects on the way.
inline std::string getPassingModel(int steps, const std::string& more = "") {
    return getPeriod(steps) + "step 675\nnode IN\nnode OUT\nreach R IN OUT 0\n" + more;
}

/// A plant that lets everything through.
inline std::string getPassingPlant(int steps, const std::string& more = "") {
    return getPeriod(steps) + "step 675\ninfluent I\neffluent E\nbasin 0\n" + more;
}
