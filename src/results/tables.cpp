// Summary tables of nodes and links, from what each visit of the run has counted. Called by the report.

#include "results/tables.h"

#include "model/model.h"
#include "model/pollut.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "nodes/outfall.h"
#include "results/tablewriter.h"

void tables_writeNodes(const Model& model) {
    if (model.nodes.empty()) {
        return;
    }
    static constexpr const char* HEAD = "\n  %-16s %-16s %16s %16s";
    tablewriter_writeTitle(model, "Node Inflow Summary");
    reportfile_print(model, HEAD, "", "", "Inflow", "Max. Inflow");
    reportfile_print(model, HEAD, "Node", "Type", "m3", "m3/s");
    tablewriter_writeDashes(model, 4);
    for (const Node& node : model.nodes) {
        if (node.kind < 0 || node.kind == SWMM || node.kind == VORN) {
            continue;  // an outside model reports for itself
        }
        reportfile_print(model, "\n  %-16s %-16s %16.3f %16.3f", node.id, NodeKindWords[node.kind],
                         node.statInflowVolume, node.statMaxInflow);
    }
}

void tables_writeOutfalls(const Model& model) {
    if (model.outfalls.empty() || model.polluts.empty()) {
        return;
    }
    tablewriter_writeTitle(model, "Outfall Loading Summary");
    tablewriter_writePollutantHead(model, "Outfall");
    for (const Node& node : model.nodes) {
        if (node.kind == OUTFALL) {
            tablewriter_writePollutantRow(model, node.id, model.outfalls[node.kindIndex].statLoad);
        }
    }
}

void tables_writeLinks(const Model& model) {
    if (model.links.empty()) {
        return;
    }
    static constexpr const char* HEAD = "\n  %-16s %-16s %16s %16s %16s %16s";
    tablewriter_writeTitle(model, "Link Flow Summary");
    reportfile_print(model, HEAD, "", "", "Flow", "Max. Flow", "Flood", "Max. Flood");
    reportfile_print(model, HEAD, "Link", "Type", "m3", "m3/s", "m3", "m3/s");
    tablewriter_writeDashes(model, 6);
    for (int32_t k = 0; k < model.links.size(); ++k) {
        const Link& link = model.links[k];
        const LinkFlood& flood = model.linkFloods[k];
        if (link.kind >= 0) {
            reportfile_print(model, "\n  %-16s %-16s %16.3f %16.3f %16.3f %16.3f", link.id, LinkKindWords[link.kind],
                             link.statFlowVolume, link.statMaxFlow, flood.volume, flood.maximum);
        }
    }
}
