// Summary tables of tanks and of conduits.

#include "results/tables.h"

#include "engine/errors.h"
#include "engine/project.h"
#include "results/tablewriter.h"
#include "routing/conduit.h"
#include "routing/tank.h"

static constexpr const char* HEAD = "\n  %-16s %16s %16s %16s";
static constexpr const char* ROW = "\n  %-16s %16.3f %16.3f %16.3f";

void tables_writeTanks() {
    if (Tanks.empty()) {
        return;
    }
    table_writeTitle("Tank Depth Summary");
    report_print(ReportFile, HEAD, "", "Max. Depth", "Max. Vol.", "Tot. Flood");
    report_print(ReportFile, HEAD, "Tank", "m", "m3", "m3");
    table_writeDashes(4);
    for (size_t k = 0; k < Nodes.size(); ++k) {
        if (Nodes[k].kind == TANK) {
            const Tank& tank = Tanks[static_cast<size_t>(Nodes[k].kindIndex)];
            report_print(ReportFile, ROW, Nodes[k].id, tank.statMaxDepth,
                         tank_getVolume(static_cast<int32_t>(k), tank.statMaxDepth), tank.statFloodVolume);
        }
    }
}

void tables_writeConduits() {
    if (Conduits.empty()) {
        return;
    }
    table_writeTitle("Conduit Flow Summary");
    report_print(ReportFile, HEAD, "", "Max. Depth", "Max. Capacity", "Max. Velocity");
    report_print(ReportFile, HEAD, "Conduit", "m", "", "m/s");
    table_writeDashes(4);
    for (const Link& link : Links) {
        if (link.kind == CONDUIT) {
            const Conduit& conduit = Conduits[static_cast<size_t>(link.kindIndex)];
            const double capacity = conduit.fullDepth > 0.0 ? conduit.statMaxDepth / conduit.fullDepth : 0.0;
            report_print(ReportFile, ROW, link.id, conduit.statMaxDepth, capacity, conduit.statMaxVelocity);
        }
    }
}
