// Fluxes between the layers of a settler.

#include "settler.h"

#include <algorithm>
#include <cmath>

double settler_computeVelocity(const Settler& settler, double solids, double unsettling) {
    const double settling = std::max(solids - unsettling, 0.0);
    const double velocity = settler.v0 * (std::exp(-settler.rh * settling) - std::exp(-settler.rp * settling));
    return std::max(0.0, std::min(settler.v0Most, velocity));
}

double settler_computeFlux(const Settler& settler, double upper, double lower, double unsettling, bool isAboveFeed) {
    const double leaving = settler_computeVelocity(settler, upper, unsettling) * std::max(upper, 0.0);
    if (isAboveFeed && lower <= settler.threshold) {
        return leaving;
    }
    return std::min(leaving, settler_computeVelocity(settler, lower, unsettling) * std::max(lower, 0.0));
}

void settler_addRates(const PlantModel& model, const Flows& flows, const double* feed, const double* layers,
                      SettlerWork& work, double* rates) {
    const Settler& settler = model.settler;
    const size_t components = model.matrix.names.size();
    const size_t count = settler.layers;
    const size_t feedLayer = settler.feed - 1;
    const double volume = settler.area * settler.depth / static_cast<double>(count);  // m3
    const double entering = flows.underflow + flows.overflow;                         // m3/d
    const double unsettling = settler.fns * matrix_computeSolids(model.matrix, feed);
    work.solids.resize(count);
    work.settled.assign(count, 0.0);
    for (size_t k = 0; k < count; ++k) {
        work.solids[k] = matrix_computeSolids(model.matrix, layers + k * components);
    }
    for (size_t k = 1; k < count; ++k) {
        const double flux = settler_computeFlux(settler, work.solids[k], work.solids[k - 1], unsettling, k > feedLayer);
        work.settled[k] = work.solids[k] > 0.0 ? flux / work.solids[k] : 0.0;
    }
    for (size_t k = 0; k < count; ++k) {
        const double* here = layers + k * components;
        double* change = rates + k * components;
        // Above the feed the water rises to the overflow, below it sinks to the underflow.
        const double leaving = k == feedLayer ? entering : (k > feedLayer ? flows.overflow : flows.underflow);
        const double* source = k == feedLayer ? feed : (k > feedLayer ? here - components : here + components);
        for (size_t c = 0; c < components; ++c) {
            double gain = leaving * (source[c] - here[c]);
            if (model.matrix.isParticulate[c]) {
                gain -= settler.area * work.settled[k] * here[c];
                gain += k + 1 < count ? settler.area * work.settled[k + 1] * here[c + components] : 0.0;
            }
            change[c] += gain / volume;
        }
    }
}
