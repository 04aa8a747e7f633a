// Summary tables of reactors: what became of their water, and of each pollutant. Called by the report.

#include "model/model.h"
#include "model/pollut.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "nodes/reactor.h"
#include "results/tables.h"
#include "results/tablewriter.h"

static void writeQuantity(const Model& model) {
    static constexpr const char* HEAD = "\n  %-16s %16s %16s %16s %16s %16s";
    tablewriter_writeTitle(model, "Reactor Quantity Summary");
    reportfile_print(model, HEAD, "", "Surpass", "Evap.", "Infil.", "Emptying", "Outflow");
    reportfile_print(model, HEAD, "Reactor", "m3", "m3", "m3", "m3", "m3");
    tablewriter_writeDashes(model, 6);
    for (const Node& node : model.nodes) {
        if (node.kind == REACTOR) {
            const Reactor& reactor = model.reactors[node.kindIndex];
            reportfile_print(model, "\n  %-16s %16.3f %16.3f %16.3f %16.3f %16.3f", node.id, reactor.statSurpass,
                             reactor.statEvap, reactor.statInfil, reactor.statEmptying, reactor.statOutflow);
        }
    }
}

/// One block of the quality table: a way that pollutants took, and a row for each reactor. Loads that are missing count
/// as 0.
static void writeBlock(const Model& model, const char* title, double* Reactor::*loads) {
    reportfile_print(model, "\n  %s", title);
    for (const Node& node : model.nodes) {
        if (node.kind == REACTOR) {
            tablewriter_writePollutantRow(model, node.id, model.reactors[node.kindIndex].*loads);
        }
    }
}

static void writeQuality(const Model& model) {
    tablewriter_writeTitle(model, "Reactor Quality Summary");
    tablewriter_writePollutantHead(model, "Reactor");
    writeBlock(model, "*Surpassing*", &Reactor::statSurpassLoad);
    writeBlock(model, "*Infiltration*", &Reactor::statInfilLoad);
    writeBlock(model, "*Emptying*", &Reactor::statEmptyingLoad);
    writeBlock(model, "*Reacted*", &Reactor::statReactedLoad);
    writeBlock(model, "*Outflow*", &Reactor::statOutflowLoad);
}

void tables_writeReactors(const Model& model) {
    if (model.reactors.empty()) {
        return;
    }
    writeQuantity(model);
    if (!model.polluts.empty()) {
        writeQuality(model);
    }
}
