// Summary tables of nodes and links.

#include "results/tables.h"

#include <string>

#include "engine/errors.h"
#include "engine/project.h"
#include "hydrology/landuse.h"
#include "routing/node.h"

static const char* const NodeKindWords[] = {"JUNCTION", "TANK",    "OUTFALL",  "SPLITTER",
                                            "SWMM",     "REACTOR", "LID_MONO", "VORN"};
static const char* const LinkKindWords[] = {"PIPE", "PUMP", "CONNECTION", "CONDUIT", "WEIR", "ORIFICE"};

/// The title of a table between two lines of asterisks of its own length.
static void writeTitle(const char* title) {
    const std::string stars(std::string(title).size(), '*');
    report_writeLine("");
    report_writeLine(stars.c_str());
    report_writeLine(title);
    report_writeLine(stars.c_str());
}

/// Groups of 16 dashes, joined by single blanks.
static void writeDashes(size_t groups) {
    std::string line(16, '-');
    for (size_t k = 1; k < groups; ++k) {
        line += " ----------------";
    }
    report_writeLine(line.c_str());
}

/// Head of a table by pollutant: names, then a kilogram for each.
static void writePollutantHead(const char* object) {
    report_print(ReportFile, "\n  %-16s", "");
    for (const Pollut& pollutant : Polluts) {
        report_print(ReportFile, " %16s", pollutant.id);
    }
    report_print(ReportFile, "\n  %-16s", object);
    for (size_t p = 0; p < Polluts.size(); ++p) {
        report_print(ReportFile, " %16s", "kg");
    }
    writeDashes(1 + Polluts.size());
}

/// A row of such a table; `values` may be missing, and counts as 0 then.
static void writePollutantRow(const char* name, const double* values) {
    report_print(ReportFile, "\n  %-16s", name);
    for (size_t p = 0; p < Polluts.size(); ++p) {
        report_print(ReportFile, " %16.3f", values ? values[p] : 0.0);
    }
}

void tables_writeNodes() {
    if (Nodes.empty()) {
        return;
    }
    static constexpr const char* HEAD = "\n  %-16s %-16s %16s %16s";
    writeTitle("Node Inflow Summary");
    report_print(ReportFile, HEAD, "", "", "Inflow", "Max. Inflow");
    report_print(ReportFile, HEAD, "Node", "Type", "m3", "m3/s");
    writeDashes(4);
    for (const Node& node : Nodes) {
        if (node.kind < 0 || node.kind == SWMM || node.kind == VORN) {
            continue;  // an outside model reports for itself
        }
        report_print(ReportFile, "\n  %-16s %-16s %16.3f %16.3f", node.id, NodeKindWords[node.kind],
                     node.statInflowVolume, node.statMaxInflow);
    }
}

void tables_writeOutfalls() {
    if (Outfalls.empty() || Polluts.empty()) {
        return;
    }
    writeTitle("Outfall Loading Summary");
    writePollutantHead("Outfall");
    for (const Node& node : Nodes) {
        if (node.kind == OUTFALL) {
            writePollutantRow(node.id, Outfalls[static_cast<size_t>(node.kindIndex)].statLoad);
        }
    }
}

void tables_writeLinks() {
    if (Links.empty()) {
        return;
    }
    static constexpr const char* HEAD = "\n  %-16s %-16s %16s %16s %16s %16s";
    writeTitle("Link Flow Summary");
    report_print(ReportFile, HEAD, "", "", "Flow", "Max. Flow", "Flood", "Max. Flood");
    report_print(ReportFile, HEAD, "Link", "Type", "m3", "m3/s", "m3", "m3/s");
    writeDashes(6);
    for (const Link& link : Links) {
        if (link.kind >= 0) {
            report_print(ReportFile, "\n  %-16s %-16s %16.3f %16.3f %16.3f %16.3f", link.id, LinkKindWords[link.kind],
                         link.statFlowVolume, link.statMaxFlow, link.statFloodVolume, link.statMaxFlood);
        }
    }
}
