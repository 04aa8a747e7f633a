// Outfalls. What reaches one leaves the system, and its loads are counted for the report. The room nodekinds calls this
// one after each routing step.

#include "nodes/outfall.h"

#include <algorithm>

#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "text/units.h"

void outfall_countStep(Model& model, const Node& node, Outfall& outfall) {
    const double dt = model.options.routingStep;
    model.totals.flow.externalOutflow += dt * node.newInflow;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        const double load = node.newInflow * node.newQual[p] / G_PER_KG;
        model.totals.quality[p].externalOutflow += dt * load;
        outfall.statLoad[p] += dt * load;
    }
}

void outfall_openStatistics(Model& model) {
    for (Outfall& outfall : model.outfalls) {
        outfall.statLoad = arena_allocateArray<double>(model.memory.results, model_pollutantCount(model));
        if (!outfall.statLoad) {
            errors_report(model, ERR_MEMORY, "");
        }
    }
}

void outfall_clearStatistics(Model& model) {
    for (Outfall& outfall : model.outfalls) {
        if (outfall.statLoad) {
            std::fill_n(outfall.statLoad, model_pollutantCount(model), 0.0);
        }
    }
}
