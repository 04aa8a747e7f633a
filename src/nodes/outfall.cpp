// Outfalls. What reaches one leaves the system, and its loads are counted for the report. The room nodekinds calls this
// one after each routing step.

#include "nodes/outfall.h"

#include <algorithm>

#include "model/arena.h"
#include "model/errors.h"
#include "text/units.h"

Table<Outfall> Outfalls;

void outfall_countStep(const Node& node, Outfall& outfall) {
    const double dt = RoutingStep;
    FlowTotals.externalOutflow += dt * node.newInflow;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        const double load = node.newInflow * node.newQual[p] / G_PER_KG;
        QualTotals[p].externalOutflow += dt * load;
        outfall.statLoad[p] += dt * load;
    }
}

void outfall_openStatistics() {
    for (Outfall& outfall : Outfalls) {
        outfall.statLoad = arena_allocateArray<double>(ResultArena, project_pollutantCount());
        if (!outfall.statLoad) {
            errors_report(ERR_MEMORY, "");
        }
    }
}

void outfall_clearStatistics() {
    for (Outfall& outfall : Outfalls) {
        if (outfall.statLoad) {
            std::fill_n(outfall.statLoad, project_pollutantCount(), 0.0);
        }
    }
}
