#pragma once
// A conduit: an open channel or a closed pipe with a cross-section, routed as one store.

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "links/link.h"
#include "model/decay.h"
#include "model/table.h"
#include "text/tokens.h"

struct Model;

enum ConduitShape : int32_t { CIRCULAR_CONDUIT, RECTANGULAR_CONDUIT, IRREGULAR_CONDUIT };

struct Transect;

struct Conduit {
    double length;              ///< m
    double slope;               ///< m/m
    double roughness;           ///< s/m^(1/3), Manning's n
    int32_t shape;              ///< ConduitShape
    int32_t curve;              ///< curve of the transect, or -1
    double height;              ///< m, diameter or height; 0 for a transect
    double width;               ///< m, of a rectangle
    Decay* decay;               ///< one per pollutant
    bool hasDecay;              ///< some pollutant decays here
    const double* areaTable;    ///< m2 of a circle at the depths (i + 1) / 100 of fullDepth; null for other shapes
    const Transect* transect;   ///< the curve's points, prepared; null without a curve
    const double* risingTable;  ///< the area table, if its areas never fall
    int32_t tableShape;         ///< ConduitShape at the start of the run, of which the tables are
    double fullDepth;           ///< m, likewise
    double slopeRoot;           ///< square root of the slope
    double depth;               ///< m, now
    double oldInflow;           ///< m3/s
    double newInflow;           ///< m3/s
    double oldFlood;            ///< m3/s, what the full conduit couldn't hold; it leaves the system
    double newFlood;            ///< m3/s
    uint16_t restKey;           ///< the key of the model under which the conduit was found to be at rest; 0 if it isn't
    uint64_t keptChanges;       ///< Pace::networkChanges for which the numbers kept below hold; 0 if none are kept
    double fullVolume;          ///< m3, of the full section
    double areaDepth, area;     ///< m, m2: the depth whose area was asked for last
    double flowDepth, flow;     ///< m, m3/s: the depth whose normal flow was asked for last
    double statMaxDepth;        ///< m
    double statMaxVelocity;     ///< m/s
};

/// Areas of circles by depth, as the conduits of a project need them. Sewers come in a few diameters, and all of one
/// diameter share a table, so that the tables of a large network stay at hand.
struct CircleTables {
    std::unordered_map<uint64_t, std::vector<double>> byDiameter;  ///< by the bits of the diameter
};

/// A line of [CONDUITS] for the row `link` of the links and the row `kindIndex` of the conduits. An error index, or 0.
[[nodiscard]] int32_t conduit_readLine(Model& model, const Tokens& tokens, int32_t link, int32_t kindIndex);

void conduit_validate(const Model& model, Conduit& conduit);

/// Ahead of a start: releases tables of circles that no conduit has now, if there are many.
void conduit_dropTables(Model& model);

/// Empties a conduit for a run, and makes its full depth and its areas by depth.
void conduit_buildTables(Model& model, Conduit& conduit);

/// The same tables for the shape and the full depth (m) of another start: their memory, false without, and then the
/// tables.
[[nodiscard]] bool conduit_reserveTables(Model& model, Conduit& conduit, int32_t shape, double fullDepth);
void conduit_remakeTables(Model& model, Conduit& conduit, int32_t shape, double fullDepth);

/// New becomes old: flow, inflow and flood.
void conduit_shiftFlows(Link& link, Conduit& conduit);

/// Filled area (m2) at a depth (m).
[[nodiscard]] double conduit_getArea(const Model& model, const Conduit& conduit, double depth);

/// For tests: depth (m) at a volume (m3).
[[nodiscard]] double conduit_getDepth(const Model& model, const Conduit& conduit, double volume);

/// Area (m2) and wetted perimeter (m) of the section at a depth (m), without tables: known before a start. The transect
/// is that of an irregular one, null for other shapes.
struct ConduitSection {
    double area;
    double perimeter;
};
[[nodiscard]] ConduitSection conduit_getSection(const Conduit& conduit, const Transect* transect, double depth);

/// Water that stands in the conduit, m3.
[[nodiscard]] double conduit_getVolume(const Model& model, const Conduit& conduit);

/// Takes in what its upstream node offers, and delivers what leaves at this step.
void conduit_update(Model& model, Link& link, Conduit& conduit, const Offer& offer);

/// Sends a flow (m3/s) with its concentrations (mg/L) through the store.
void conduit_route(Model& model, Link& link, Conduit& conduit, double inflow, const double* concentrations);

/// Adds the depth and the velocity of a step to the statistics. The flow is divided by the area that it left behind.
void conduit_countStep(const Model& model, const Link& link, Conduit& conduit);
