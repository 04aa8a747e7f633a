// Summary tables of tanks and of conduits. Called by the report.

#include "results/tables.h"

#include "links/conduit.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "nodes/tank.h"
#include "results/tablewriter.h"

static constexpr const char* HEAD = "\n  %-16s %16s %16s %16s";
static constexpr const char* ROW = "\n  %-16s %16.3f %16.3f %16.3f";

void tables_writeTanks() {
    if (Tanks.empty()) {
        return;
    }
    tablewriter_writeTitle("Tank Depth Summary");
    reportfile_print(HEAD, "", "Max. Depth", "Max. Vol.", "Tot. Flood");
    reportfile_print(HEAD, "Tank", "m", "m3", "m3");
    tablewriter_writeDashes(4);
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        if (Nodes[k].kind == TANK) {
            const Tank& tank = Tanks[Nodes[k].kindIndex];
            reportfile_print(ROW, Nodes[k].id, tank.statMaxDepth, tank_getVolume(tank, tank.statMaxDepth),
                             tank.statFloodVolume);
        }
    }
}

void tables_writeConduits() {
    if (Conduits.empty()) {
        return;
    }
    tablewriter_writeTitle("Conduit Flow Summary");
    reportfile_print(HEAD, "", "Max. Depth", "Max. Capacity", "Max. Velocity");
    reportfile_print(HEAD, "Conduit", "m", "", "m/s");
    tablewriter_writeDashes(4);
    for (const Link& link : Links) {
        if (link.kind == CONDUIT) {
            const Conduit& conduit = Conduits[link.kindIndex];
            const double capacity = conduit.fullDepth > 0.0 ? conduit.statMaxDepth / conduit.fullDepth : 0.0;
            reportfile_print(ROW, link.id, conduit.statMaxDepth, capacity, conduit.statMaxVelocity);
        }
    }
}
