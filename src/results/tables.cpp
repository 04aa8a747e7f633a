// Summary tables of nodes and links, from what each visit of the run has counted. Called by the report.

#include "results/tables.h"

#include "model/pollut.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "nodes/outfall.h"
#include "results/tablewriter.h"

void tables_writeNodes() {
    if (Nodes.empty()) {
        return;
    }
    static constexpr const char* HEAD = "\n  %-16s %-16s %16s %16s";
    tablewriter_writeTitle("Node Inflow Summary");
    reportfile_print(HEAD, "", "", "Inflow", "Max. Inflow");
    reportfile_print(HEAD, "Node", "Type", "m3", "m3/s");
    tablewriter_writeDashes(4);
    for (const Node& node : Nodes) {
        if (node.kind < 0 || node.kind == SWMM || node.kind == VORN) {
            continue;  // an outside model reports for itself
        }
        reportfile_print("\n  %-16s %-16s %16.3f %16.3f", node.id, NodeKindWords[node.kind], node.statInflowVolume,
                         node.statMaxInflow);
    }
}

void tables_writeOutfalls() {
    if (Outfalls.empty() || Polluts.empty()) {
        return;
    }
    tablewriter_writeTitle("Outfall Loading Summary");
    tablewriter_writePollutantHead("Outfall");
    for (const Node& node : Nodes) {
        if (node.kind == OUTFALL) {
            tablewriter_writePollutantRow(node.id, Outfalls[node.kindIndex].statLoad);
        }
    }
}

void tables_writeLinks() {
    if (Links.empty()) {
        return;
    }
    static constexpr const char* HEAD = "\n  %-16s %-16s %16s %16s %16s %16s";
    tablewriter_writeTitle("Link Flow Summary");
    reportfile_print(HEAD, "", "", "Flow", "Max. Flow", "Flood", "Max. Flood");
    reportfile_print(HEAD, "Link", "Type", "m3", "m3/s", "m3", "m3/s");
    tablewriter_writeDashes(6);
    for (const Link& link : Links) {
        if (link.kind >= 0) {
            reportfile_print("\n  %-16s %-16s %16.3f %16.3f %16.3f %16.3f", link.id, LinkKindWords[link.kind],
                             link.statFlowVolume, link.statMaxFlow, link.statFloodVolume, link.statMaxFlood);
        }
    }
}
