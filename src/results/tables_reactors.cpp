// Summary tables of reactors: what became of their water, and of each pollutant. Called by the report.

#include "model/pollut.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "nodes/reactor.h"
#include "results/tables.h"
#include "results/tablewriter.h"

static void writeQuantity() {
    static constexpr const char* HEAD = "\n  %-16s %16s %16s %16s %16s %16s";
    tablewriter_writeTitle("Reactor Quantity Summary");
    reportfile_print(HEAD, "", "Surpass", "Evap.", "Infil.", "Emptying", "Outflow");
    reportfile_print(HEAD, "Reactor", "m3", "m3", "m3", "m3", "m3");
    tablewriter_writeDashes(6);
    for (const Node& node : Nodes) {
        if (node.kind == REACTOR) {
            const Reactor& reactor = Reactors[node.kindIndex];
            reportfile_print("\n  %-16s %16.3f %16.3f %16.3f %16.3f %16.3f", node.id, reactor.statSurpass,
                             reactor.statEvap, reactor.statInfil, reactor.statEmptying, reactor.statOutflow);
        }
    }
}

/// One block of the quality table: a way that pollutants took, and a row for each reactor. Loads that are missing count
/// as 0.
static void writeBlock(const char* title, double* Reactor::*loads) {
    reportfile_print("\n  %s", title);
    for (const Node& node : Nodes) {
        if (node.kind == REACTOR) {
            tablewriter_writePollutantRow(node.id, Reactors[node.kindIndex].*loads);
        }
    }
}

static void writeQuality() {
    tablewriter_writeTitle("Reactor Quality Summary");
    tablewriter_writePollutantHead("Reactor");
    writeBlock("*Surpassing*", &Reactor::statSurpassLoad);
    writeBlock("*Infiltration*", &Reactor::statInfilLoad);
    writeBlock("*Emptying*", &Reactor::statEmptyingLoad);
    writeBlock("*Reacted*", &Reactor::statReactedLoad);
    writeBlock("*Outflow*", &Reactor::statOutflowLoad);
}

void tables_writeReactors() {
    if (Reactors.empty()) {
        return;
    }
    writeQuantity();
    if (!Polluts.empty()) {
        writeQuality();
    }
}
