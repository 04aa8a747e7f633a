#pragma once
// Infiltration into a soil by Horton's law.

/// A soil, as Horton's curve of its infiltration rate describes it.
struct HortonSoil {
    double maxRate;    ///< m/s, initial rate
    double minRate;    ///< m/s, final rate
    double decay;      ///< 1/s, decay constant
    double recovery;   ///< 1/s, recovery while it is dry; 0 or less: none
    double maxVolume;  ///< m, limit of the cumulative infiltration; 0 means none
};

/// How far a soil has come.
struct HortonState {
    double time;    ///< s, equivalent time on the curve
    double volume;  ///< m, cumulative infiltration; kept only with a limit
};

/// Infiltration over a step of `dt` (s) that offers `available` (m/s): m/s, never above what is offered.
[[nodiscard]] double horton_getRate(const HortonSoil& soil, HortonState& state, double available, double dt);
