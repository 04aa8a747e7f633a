#pragma once
// Mass balance of a run, and the statistics of its objects.

#include <cstdint>

struct Model;

/// Zeroes all totals and statistics for a new run, and takes the water stored at its start.
void massbal_open(Model& model);

/// Takes what stands in the system as the storage at the start, in place of what the project says: for a run that began
/// with a state. What delays water took it in by steps of `delayStep` seconds.
void massbal_takeStorage(Model& model, double delayStep);

/// Empties the statistics that are kept by pollutant. They stay in memory until the next start.
void massbal_close(Model& model);

/// Totals of the runoff over the run, m3, closed for the report.
struct RunoffBalance {
    double totalArea;  ///< m2
    double rainfall;
    double initLidStorage;
    double initSurfaceStorage;  ///< 0 but in a run that began with a state
    double evap;
    double infil;
    double runoff;
    double lidDrainage;
    double finalStorage;  ///< on the surfaces and in LID units
    double error;         ///< %
};

/// One pollutant on the land over the run, kg.
struct WashoffBalance {
    double initBuildup;
    double surfaceBuildup;
    double wetDeposition;
    double infilLoss;
    double bmpRemoval;
    double lidRemoval;
    double surfaceWashoff;
    double lidDrainage;
    double lidFinalStorage;
    double remainingBuildup;
    double error;  ///< %; what 0 / 0 gives where nothing came in
};

struct FlowTotalsRecord;
struct QualTotalsRecord;

/// The balances of the land as of now.
[[nodiscard]] RunoffBalance massbal_getRunoff(const Model& model);
[[nodiscard]] WashoffBalance massbal_getWashoff(const Model& model, int32_t pollutant);

/// The totals of the network with all that is stored at the end, and their continuity error, %. The running totals
/// stay as they are, so a second report prints the same; only the loads that seeped away and reacted in reactors are 0
/// after massbal_close, so with reactors the quality totals of a second report, and their error, differ.
FlowTotalsRecord massbal_getFlow(const Model& model, double* error);
QualTotalsRecord massbal_getQuality(const Model& model, int32_t pollutant, double* error);

/// The same for the report, whose continuity errors the model keeps.
[[nodiscard]] RunoffBalance massbal_closeRunoff(Model& model);
FlowTotalsRecord massbal_closeFlow(Model& model, double* error);
QualTotalsRecord massbal_closeQuality(Model& model, int32_t pollutant, double* error);
