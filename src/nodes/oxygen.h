#pragma once
// Oxygen in a reactor: what air brings, and what the reactions of other pollutants take.

#include <cstdint>

struct Model;

/// A pollutant of a reactor that is oxygen. Lives as long as the project.
struct OxygenLaw {
    int32_t pollutant;
    double saturation;  ///< mg/L
    double* demand;     ///< by pollutant: mg that are taken for each mg that reacts
    OxygenLaw* next;    ///< of the same reactor
};

/// What a line of [REACTORS_DECAY] can give of a law; a pollutant in its place gives a demand.
enum OxygenWord : int32_t { OXYGEN_SATURATION, OXYGEN_REAERATION };

extern const char* const OxygenWords[];

/// The law of a pollutant, or null.
[[nodiscard]] OxygenLaw* oxygen_findLaw(OxygenLaw* laws, int32_t pollutant);

/// The same, made if there is none: no saturation, no demand. Null without memory.
[[nodiscard]] OxygenLaw* oxygen_makeLaw(Model& model, OxygenLaw*& laws, int32_t pollutant);

/// What is left after `seconds` of a deficit (or of anything) that air closes at a rate of `reaeration` (1/s).
[[nodiscard]] double oxygen_getLeft(double reaeration, double seconds);

/// The deficit after `seconds` for each mg/L that was there, and reacted at a rate of `k` (1/s).
[[nodiscard]] double oxygen_getFirstOrder(double reaeration, double k, double seconds);

/// The deficit after `seconds` for each mg/L that reacted evenly in this time.
[[nodiscard]] double oxygen_getEven(double reaeration, double seconds);
