#pragma once
// Small networks of one pipe or one connection.

#include <string>

#include "links/pipe.h"
#include "model/project.h"
#include "nodes/node.h"
#include "support/project.h"

constexpr double DT = 60.0;  ///< s, the routing step of getGeneral

/// Series are asked a millisecond after the minute: a slope of 1 per minute is off by this.
constexpr double MILLISECOND = 1.0 / 60000.0;

inline const std::string A_TO_OUT = "[JUNCTIONS]\nA\n[OUTFALLS]\nOUT\n";

inline std::string onePipe(const std::string& values) {
    return A_TO_OUT + "[PIPES]\nP A OUT NO " + values + "\n";
}

inline std::string oneConnection(const std::string& delay) {
    return A_TO_OUT + "[CONNECTIONS]\nC A OUT NO " + delay + "\n";
}

inline const std::string TWO_POLLUTANTS = "[POLLUTANTS]\nX 0\nY 0\n";
