#pragma once
// What became of a project that was run or checked, told to programs.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "messages.h"
#include "tarnvelde_model.h"
#include "verdict.h"

/// A continuity error.
struct Balance {
    std::string name;       ///< of the balance, as "flow"
    std::string pollutant;  ///< ID; empty of a balance of water
    double error;           ///< %
};

struct Outcome {
    std::string command;  ///< "run" or "check"
    std::string project;
    std::vector<std::pair<std::string, std::string>> files;  ///< what each is for, and its name
    int32_t phase;                                           ///< tv_phase, after the last step
    int32_t code;                                            ///< of the engine
    int status;                                              ///< exit status of the program
    std::string stopped;  ///< what stopped the run ahead of its end; empty for nothing
    std::vector<HostMessage> messages;
    bool hasClock;
    tv_clock clock;
    int64_t steps;
    double wallTime;                ///< s
    std::vector<Balance> balances;  ///< those of one name stand together
    std::vector<HostVerdict> verdicts;
    std::vector<HostBalance> places;  ///< only if they are wanted
};

/// Prints one JSON object on standard output. False if it can't be written.
[[nodiscard]] bool outcome_writeJson(const Outcome& outcome);
