#pragma once
// The program under test and small projects to run it on.

#include <string>
#include <vector>

#include "support/process.h"

/// Runs `tarnvelde` with these arguments.
inline ProcessResult runProgram(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), TARNVELDE_PROGRAM);
    return process_run(arguments);
}

/// Runs it for some seconds at most; one that is still there then gives 124.
inline ProcessResult runProgramWithin(int seconds, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"timeout", std::to_string(seconds), TARNVELDE_PROGRAM});
    return process_run(arguments);
}

inline size_t countFiles(const std::filesystem::path& folder) {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

/// Two hours of a constant inflow through one pipe.
inline constexpr const char* GOOD_PROJECT =
    "[GENERAL]\n"
    "START_DATE 2024/01/01\n"
    "END_DATE 2024/01/01\n"
    "END_TIME 02:00\n"
    "ROUTING_STEP 0:01:00\n"
    "[JUNCTIONS]\n"
    "J1\n"
    "[OUTFALLS]\n"
    "O1\n"
    "[PIPES]\n"
    "P1 J1 O1 NO 300 1 0.2 0\n"
    "[INFLOWS]\n"
    "J1 FLOW FLOW 0.5 \"\" 1\n";

/// Three lines with an error, in the lines 6 to 8. One echo begins like a message.
inline constexpr const char* BAD_PROJECT =
    "[JUNCTIONS]\n"
    "J1\n"
    "[OUTFALLS]\n"
    "O1\n"
    "[PIPES]\n"
    "P1 J1 NOWHERE NO 300 1 0.2 0\n"
    "ERROR J1 O1\n"
    "P3 J1 O1 NO 3OO 1 0.2 0\n";
