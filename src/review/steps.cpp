// The routing step against what objects bear. A conduit is one store that releases the normal flow of its depth, so it
// bears no step in which water passes its whole length.

#include "review/steps.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>

#include "links/conduit.h"
#include "links/transect.h"
#include "model/arena.h"
#include "model/curve.h"
#include "model/model.h"
#include "model/project.h"
#include "model/warnings.h"

// --- conduits ------------------------------------------------------------------------------------------------------

/// What a conduit is from the first depth on at which it empties within one step.
struct EmptyingState {
    double depth;  ///< m
    double flow;   ///< m3/s
};

/// Depth (m) of the full section, by the project file.
static double getFullDepth(const Model& model, const Conduit& conduit) {
    if (conduit.shape != IRREGULAR_CONDUIT) {
        return conduit.height;
    }
    const Curve* curve = model.curves.find(conduit.curve);
    if (!curve || curve->entries.empty()) {
        return 0.0;
    }
    double lowest = curve->entries[0].y;
    for (const CurvePoint& point : curve->entries) {
        lowest = std::min(lowest, point.y);
    }
    return std::min(curve->entries.front().y, curve->entries.back().y) - lowest;
}

/// Whether water may pass the whole conduit in a step. The hydraulic radius is at most the full depth; with both sides
/// of Manning's law to the third power there is no root but that of the slope.
static bool mayEmpty(const Conduit& conduit, double fullDepth, double dt) {
    const double needed = conduit.length / dt * conduit.roughness;
    return fullDepth * fullDepth * conduit.slope * std::sqrt(conduit.slope) > needed * needed * needed;
}

/// The lowest of a hundred depths from which on water passes the whole length in a step.
static std::optional<EmptyingState> findEmptying(const Conduit& conduit, const Transect* transect, double fullDepth,
                                                 double dt) {
    for (int32_t k = 1; k <= GEOMETRY_COUNT; ++k) {
        const double depth = k * fullDepth / GEOMETRY_COUNT;
        const ConduitSection section = conduit_getSection(conduit, transect, depth);
        if (!(section.perimeter > 0.0)) {
            continue;
        }
        const double velocity = std::pow(section.area / section.perimeter, 2.0 / 3.0) * std::sqrt(conduit.slope) /
                                conduit.roughness;  // Manning 1891
        if (velocity * dt > conduit.length) {
            return EmptyingState{depth, velocity * section.area};
        }
    }
    return std::nullopt;
}

static std::optional<EmptyingState> findEmptying(const Model& model, const Conduit& conduit, double dt) {
    const double fullDepth = getFullDepth(model, conduit);
    if (!mayEmpty(conduit, fullDepth, dt)) {
        return std::nullopt;
    }
    Memory memory;
    const Transect* transect = nullptr;
    if (conduit.shape == IRREGULAR_CONDUIT) {
        const std::vector<CurvePoint>& points = model.curves[conduit.curve].entries;
        transect = transect_make(memory.run, points.data(), static_cast<int32_t>(points.size()));
    }
    return findEmptying(conduit, transect, fullDepth, dt);
}

static void reviewConduit(const Model& model, int32_t index, const Conduit& conduit) {
    const double dt = model.options.routingStep;
    if (const std::optional<EmptyingState> state = findEmptying(model, conduit, dt)) {
        // A conduit that empties only when it is nearly full may never do so.
        const bool isSure = state->depth < 0.5 * getFullDepth(model, conduit);
        warnings_addAbout(model, WARN_STEP_CONDUIT, isSure ? SEVERITY_SERIOUS : SEVERITY_WARNING, {LINK, index},
                          model.links[index].id,
                          {warnings_formatNumber(dt), warnings_formatNumber(state->flow) + " m3/s",
                           warnings_formatNumber(conduit.length)});
    }
}

// --- the whole -----------------------------------------------------------------------------------------------------

void steps_review(const Model& model) {
    for (int32_t k = 0; k < model.links.size() && !model.conduits.empty(); ++k) {
        if (model.links[k].kind == CONDUIT) {
            reviewConduit(model, k, model.conduits[model.links[k].kindIndex]);
        }
    }
}
