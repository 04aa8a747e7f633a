#pragma once
// Projects with outside models, from 1 March 2021 on.

#include <string>
#include <vector>

#include "host.h"
#include "text.h"

inline std::string coupled_getGeneral(int steps, int step) {
    const int end = steps * step;
    return "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/0" + std::to_string(1 + end / 86400) + "\nEND_TIME " +
           clockTime(end % 86400) + "\nROUTING_STEP " + clockTime(step) + "\nRUNOFF_STEP " + clockTime(2 * step) +
           "\nREPORT_STEP " + clockTime(step) + "\nREPORT_AVERAGE NO\n";
}

/// The same period in a model file. The day number of 1 March 2021 is 44256.
inline std::string coupled_getPeriod(int steps, int step) {
    const int end = steps * step;
    return "period 44256 0 " + std::to_string(44256 + end / 86400) + " " + std::to_string(end % 86400) + "\n";
}

/// A project with an object of every kind, by steps of 675 s. Its first six nodes have the kinds 0 to 5 in this order,
/// and so have its first six links: a host may thus set the parameters of these links. A pollutant bears the name of a
/// node, J.
std::vector<File> coupled_makeAllKinds(int steps);
