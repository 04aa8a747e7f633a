// Summary tables of tanks and of conduits. Called by the report.

#include "results/tables.h"

#include "links/conduit.h"
#include "model/model.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "nodes/tank.h"
#include "results/tablewriter.h"

static constexpr const char* HEAD = "\n  %-16s %16s %16s %16s";
static constexpr const char* ROW = "\n  %-16s %16.3f %16.3f %16.3f";

void tables_writeTanks(const Model& model) {
    if (model.tanks.empty()) {
        return;
    }
    tablewriter_writeTitle(model, "Tank Depth Summary");
    reportfile_print(model, HEAD, "", "Max. Depth", "Max. Vol.", "Tot. Flood");
    reportfile_print(model, HEAD, "Tank", "m", "m3", "m3");
    tablewriter_writeDashes(model, 4);
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        if (model.nodes[k].kind == TANK) {
            const Tank& tank = model.tanks[model.nodes[k].kindIndex];
            reportfile_print(model, ROW, model.nodes[k].id, tank.statMaxDepth,
                             tank_getVolume(model, tank, tank.statMaxDepth), tank.statFloodVolume);
        }
    }
}

void tables_writeConduits(const Model& model) {
    if (model.conduits.empty()) {
        return;
    }
    tablewriter_writeTitle(model, "Conduit Flow Summary");
    reportfile_print(model, HEAD, "", "Max. Depth", "Max. Capacity", "Max. Velocity");
    reportfile_print(model, HEAD, "Conduit", "m", "", "m/s");
    tablewriter_writeDashes(model, 4);
    for (const Link& link : model.links) {
        if (link.kind == CONDUIT) {
            const Conduit& conduit = model.conduits[link.kindIndex];
            const double capacity = conduit.fullDepth > 0.0 ? conduit.statMaxDepth / conduit.fullDepth : 0.0;
            reportfile_print(model, ROW, link.id, conduit.statMaxDepth, capacity, conduit.statMaxVelocity);
        }
    }
}
