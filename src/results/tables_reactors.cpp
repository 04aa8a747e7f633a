// Summary tables of reactors: what became of their water, and of each pollutant.

#include <string>

#include "engine/errors.h"
#include "engine/project.h"
#include "hydrology/landuse.h"
#include "results/tables.h"
#include "routing/reactor.h"

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

static void writeQuantity() {
    static constexpr const char* HEAD = "\n  %-16s %16s %16s %16s %16s %16s";
    writeTitle("Reactor Quantity Summary");
    report_print(ReportFile, HEAD, "", "Surpass", "Evap.", "Infil.", "Emptying", "Outflow");
    report_print(ReportFile, HEAD, "Reactor", "m3", "m3", "m3", "m3", "m3");
    writeDashes(6);
    for (const Node& node : Nodes) {
        if (node.kind == REACTOR) {
            const Reactor& reactor = Reactors[static_cast<size_t>(node.kindIndex)];
            report_print(ReportFile, "\n  %-16s %16.3f %16.3f %16.3f %16.3f %16.3f", node.id, reactor.statSurpass,
                         reactor.statEvap, reactor.statInfil, reactor.statEmptying, reactor.statOutflow);
        }
    }
}

/// One block of the quality table: a way that pollutants took, and a row for each reactor. Loads that are missing count
/// as 0.
static void writeBlock(const char* title, double* Reactor::*loads) {
    report_print(ReportFile, "\n  %s", title);
    for (const Node& node : Nodes) {
        if (node.kind == REACTOR) {
            const double* values = Reactors[static_cast<size_t>(node.kindIndex)].*loads;
            report_print(ReportFile, "\n  %-16s", node.id);
            for (size_t p = 0; p < Polluts.size(); ++p) {
                report_print(ReportFile, " %16.3f", values ? values[p] : 0.0);
            }
        }
    }
}

static void writeQuality() {
    writeTitle("Reactor Quality Summary");
    report_print(ReportFile, "\n  %-16s", "");
    for (const Pollut& pollutant : Polluts) {
        report_print(ReportFile, " %16s", pollutant.id);
    }
    report_print(ReportFile, "\n  %-16s", "Reactor");
    for (size_t p = 0; p < Polluts.size(); ++p) {
        report_print(ReportFile, " %16s", "kg");
    }
    writeDashes(1 + Polluts.size());
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
