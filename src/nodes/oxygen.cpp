// Oxygen in the water of a reactor, after Streeter and Phelps (1925): air closes the deficit, what is missing to
// saturation, in proportion to it, and each pollutant that reacts opens it. Demands of first order are those of the sag
// curve, all others are spread evenly over the time. The reactor reads the lines and adds up the demands.

#include "nodes/oxygen.h"

#include <cmath>

#include "model/arena.h"
#include "model/model.h"

const char* const OxygenWords[] = {"SATURATION", "REAERATION", nullptr};

OxygenLaw* oxygen_findLaw(OxygenLaw* laws, int32_t pollutant) {
    OxygenLaw* law = laws;
    while (law && law->pollutant != pollutant) {
        law = law->next;
    }
    return law;
}

OxygenLaw* oxygen_makeLaw(Model& model, OxygenLaw*& laws, int32_t pollutant) {
    OxygenLaw* law = oxygen_findLaw(laws, pollutant);
    if (law) {
        return law;
    }
    law = arena_allocateArray<OxygenLaw>(model.memory.project, 1);
    auto* demand = arena_allocateArray<double>(model.memory.project, model_pollutantCount(model));
    if (!law || !demand) {
        return nullptr;
    }
    *law = {pollutant, 0.0, demand, laws};
    laws = law;
    return law;
}

/// (1 - exp(-x)) / x: the mean of exp(-y) for y from 0 to x.
static double getMeanDecay(double x) {
    return x != 0.0 ? -std::expm1(-x) / x : 1.0;
}

double oxygen_getLeft(double reaeration, double seconds) {
    return std::exp(-reaeration * seconds);
}

double oxygen_getFirstOrder(double reaeration, double k, double seconds) {
    return k * seconds * std::exp(-k * seconds) * getMeanDecay((reaeration - k) * seconds);
}

double oxygen_getEven(double reaeration, double seconds) {
    return getMeanDecay(reaeration * seconds);
}
