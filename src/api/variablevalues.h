#pragma once
// What the list of variables needs beyond the fields of records: sums and units, and what must hold of a value that a
// host sets.

#include <cstdint>
#include <limits>
#include <vector>

#include "hydrology/gage.h"
#include "hydrology/lid.h"
#include "hydrology/lidunit.h"
#include "hydrology/subcatch.h"
#include "links/conduit.h"
#include "links/link.h"
#include "model/decay.h"
#include "model/model.h"
#include "results/massbal.h"

struct CoupledList;

constexpr double ENDLESS = std::numeric_limits<double>::infinity();
constexpr double ABOVE_ZERO = std::numeric_limits<double>::min();     ///< the smallest value where 0 isn't allowed
constexpr double NOTHING = std::numeric_limits<double>::quiet_NaN();  ///< value of a forcing that nobody holds

/// An element of an array that a run may lack for want of memory: 0 then.
[[nodiscard]] inline double variablevalues_at(const double* values, int32_t k) {
    return values ? values[k] : 0.0;
}

// --- the whole model

struct FlowFigures {
    FlowTotalsRecord totals;  ///< m3
    double error;             ///< %
};

struct QualityFigures {
    QualTotalsRecord totals;  ///< kg
    double error;             ///< %
};

/// A column of the system as of now.
[[nodiscard]] double variablevalues_getSystem(Model& model, int32_t column);

/// The balances of the network as of now.
[[nodiscard]] FlowFigures variablevalues_getFlow(const Model& model);
[[nodiscard]] QualityFigures variablevalues_getQuality(const Model& model, int32_t pollutant);

// --- land

/// Buildup of a pollutant on all land uses of a subcatchment, kg.
[[nodiscard]] double variablevalues_getBuildup(const Model& model, const Subcatch& subcatch, int32_t pollutant);

/// Whether the units of a subcatchment find room on another area of it (m2); whether all find room if one has another
/// area (m2) or share (0 ... 1).
[[nodiscard]] bool variablevalues_canHaveArea(Model& model, int32_t subcatch, double area);
[[nodiscard]] bool variablevalues_canHaveArea(Model& model, LidUnit& unit, double area);
[[nodiscard]] bool variablevalues_canHaveShare(Model& model, LidUnit& unit, double share);

struct EventSums {
    int32_t count;
    double depth;  ///< mm
};

[[nodiscard]] EventSums variablevalues_sumEvents(const Gage& gage);

// --- LID controls

/// Whether the layers of a definition go together if a field of it is another one.
[[nodiscard]] bool variablevalues_canHave(const Lid& lid, double Lid::*field, double value);

/// Sets the decay of a pollutant in a layer, 1/day. The first pollutant of a roof has that of the mat in its storage.
void variablevalues_setLayerDecay(Lid& lid, Decay& decay, int32_t pollutant, double perDay);

/// Concentrations in the layers, as the rows of results work them out, mg/L.
[[nodiscard]] double variablevalues_getSurfaceQuality(const Model& model, const LidUnit& unit, int32_t pollutant);
[[nodiscard]] double variablevalues_getSoilQuality(const Model& model, const LidUnit& unit, int32_t pollutant);
[[nodiscard]] double variablevalues_getStorageQuality(const Model& model, const LidUnit& unit, int32_t pollutant);
[[nodiscard]] double variablevalues_getPavementQuality(const Model& model, const LidUnit& unit, int32_t pollutant);

// --- network

/// First-order decay, 1/day; 0 without. What is set keeps the pattern.
[[nodiscard]] double variablevalues_getDecay(const Decay& decay);
void variablevalues_setDecay(Decay& decay, double perDay);

/// Units of a reaction coefficient in one unit of its field.
[[nodiscard]] double variablevalues_getReactionUnit(int32_t type);

/// The setting that a host holds, or NOTHING.
[[nodiscard]] inline double variablevalues_getHeldSetting(const Link& link) {
    return link.isHostSetting ? link.setting : NOTHING;
}

/// Velocity in a conduit, m/s; 0 without water.
[[nodiscard]] double variablevalues_getVelocity(const Model& model, const Link& link, const Conduit& conduit);

/// Flows of all records of a list, m3/s.
[[nodiscard]] double variablevalues_sumFlows(const CoupledList& list);

/// What a host holds of a node (and a pollutant) in a list that is sorted by both.
[[nodiscard]] double variablevalues_getHeld(const std::vector<HostInflow>& list, int32_t node, int32_t pollutant);
void variablevalues_hold(std::vector<HostInflow>& list, int32_t node, int32_t pollutant, double value);
void variablevalues_release(std::vector<HostInflow>& list, int32_t node, int32_t pollutant);
