// The text report: continuity tables of land and network, then a summary of each class of object that the project has.
// Column strings and widths are kept to the byte, trailing blanks included: programs read these tables.

#include "results/report.h"

#include "model/model.h"
#include "model/pollut.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "results/massbal.h"
#include "results/tables.h"
#include "results/tablewriter.h"
#include "text/units.h"

void report_writeBanner(const Model& model) {
    reportfile_print(model, "\n  TARNVELDE - VERSION 2.1");
    reportfile_print(model, "\n  -----------------------");
    reportfile_print(model, "\n");
}

void report_writeDescription(const Model& model) {
    bool isWritten = false;
    for (const std::string& line : model.description) {
        if (!line.empty()) {
            reportfile_writeLine(model, line.c_str());
            isWritten = true;
        }
    }
    if (isWritten) {
        reportfile_writeLine(model, "");
    }
}

// --- continuity ----------------------------------------------------------------------------------------------------

static void writeRunoffRow(const Model& model, const char* name, double volume, double totalArea) {
    const double depth = totalArea > 0.0 ? volume / totalArea * MM_PER_M : 0.0;
    reportfile_print(model, "\n  %-26s %16.3f %16.3f ", name, volume, depth);
}

static void writeRunoffContinuity(Model& model) {
    const RunoffBalance b = massbal_closeRunoff(model);
    static constexpr const char* HEAD = "\n  %-26s %16s %16s";
    reportfile_print(model, HEAD, "**************************", "Volume", "Depth");
    reportfile_print(model, HEAD, "Runoff Quantity Continuity", "m3", "mm");
    reportfile_print(model, HEAD, "**************************", "----------------", "----------------");
    writeRunoffRow(model, "Total Rainfall", b.rainfall, b.totalArea);
    writeRunoffRow(model, "Init. LID Storage", b.initLidStorage, b.totalArea);
    if (b.initSurfaceStorage != 0.0) {
        writeRunoffRow(model, "Init. Surface Storage", b.initSurfaceStorage, b.totalArea);
    }
    writeRunoffRow(model, "Evap. Loss", b.evap, b.totalArea);
    writeRunoffRow(model, "Infil. Loss", b.infil, b.totalArea);
    writeRunoffRow(model, "Surface Runoff", b.runoff, b.totalArea);
    writeRunoffRow(model, "LID Drainage", b.lidDrainage, b.totalArea);
    writeRunoffRow(model, "Final Storage", b.finalStorage, b.totalArea);
    reportfile_print(model, "\n  %-26s %16.3f", "Continuity Error (%)", b.error);
}

/// Head of a continuity table with a column for each pollutant.
static void writePollutantHead(const Model& model, const char* title) {
    reportfile_writeLine(model, "");
    tablewriter_writePollutantLines(model, 26, "**************************", title);
    reportfile_writeLine(model, "**************************");
    for (int32_t p = 0; p < model.polluts.size(); ++p) {
        reportfile_print(model, " ----------------");
    }
}

/// A row of a continuity table: one figure of each pollutant's balance.
template <class Balance>
static void writePollutantRow(const Model& model, const char* name, const Table<Balance>& balances,
                              double Balance::*figure) {
    reportfile_print(model, "\n  %-26s", name);
    for (const Balance& balance : balances) {
        reportfile_print(model, " %16.3f", balance.*figure);
    }
}

static void writeWashoffContinuity(Model& model) {
    Table<WashoffBalance> b;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        b.push_back(massbal_getWashoff(model, p));
    }
    writePollutantHead(model, "Runoff Quality Continuity");
    writePollutantRow(model, "Init. Buildup", b, &WashoffBalance::initBuildup);
    writePollutantRow(model, "Surface Buildup", b, &WashoffBalance::surfaceBuildup);
    writePollutantRow(model, "Wet Deposition", b, &WashoffBalance::wetDeposition);
    writePollutantRow(model, "Infil. Loss", b, &WashoffBalance::infilLoss);
    writePollutantRow(model, "BMP Removal", b, &WashoffBalance::bmpRemoval);
    writePollutantRow(model, "LID Removal", b, &WashoffBalance::lidRemoval);
    writePollutantRow(model, "Surface Washoff", b, &WashoffBalance::surfaceWashoff);
    writePollutantRow(model, "LID Drainage", b, &WashoffBalance::lidDrainage);
    writePollutantRow(model, "LID Final Storage", b, &WashoffBalance::lidFinalStorage);
    writePollutantRow(model, "Remaining Buildup", b, &WashoffBalance::remainingBuildup);
    writePollutantRow(model, "Continuity Error (%)", b, &WashoffBalance::error);
}

static void writeFlowContinuity(Model& model) {
    double error;
    const FlowTotalsRecord t = massbal_closeFlow(model, &error);
    static constexpr const char* HEAD = "\n  %-26s %16s";
    reportfile_print(model, HEAD, "**************************", "Volume");
    reportfile_print(model, HEAD, "Flow Routing Continuity", "m3");
    reportfile_print(model, HEAD, "**************************", "----------------");
    const struct {
        const char* name;
        double volume;
    } rows[] = {{"Dry Weather Inflow", t.dryWeatherInflow},
                {"Wet Weather Inflow", t.wetWeatherInflow},
                {"External Inflow", t.externalInflow},
                {"SWMM Inflow", t.swmmInflow},
                {"VORN Inflow", t.vornInflow},
                {"External Outflow", t.externalOutflow},
                {"Flooding Loss", t.floodingLoss},
                {"SWMM Outflow", t.swmmOutflow},
                {"VORN Outflow", t.vornOutflow},
                {"Evap. Loss", t.evapLoss},
                {"Seepage Loss", t.seepageLoss},
                {"Delayed Vol.", t.delayedVolume},
                {"Init. Storage", t.initStorage},
                {"Final Storage", t.finalStorage}};
    for (const auto& row : rows) {
        reportfile_print(model, "\n  %-26s %16.3f ", row.name, row.volume);
    }
    reportfile_print(model, "\n  %-26s %16.3f", "Continuity Error (%)", error);
}

struct QualityBalance : QualTotalsRecord {
    double error;  ///< %
};

static void writeQualityContinuity(Model& model) {
    Table<QualityBalance> b = table_make(model.polluts.size(), QualityBalance{});
    for (int32_t p = 0; p < b.size(); ++p) {
        static_cast<QualTotalsRecord&>(b[p]) = massbal_closeQuality(model, p, &b[p].error);
    }
    using Q = QualityBalance;
    const auto writeRow = [&](const char* name, double QualTotalsRecord::*figure) {
        writePollutantRow(model, name, b, static_cast<double Q::*>(figure));
    };
    writePollutantHead(model, "Quality Routing Continuity");
    writeRow("Dry Weather Inflow", &Q::dryWeatherInflow);
    writeRow("Wet Weather Inflow", &Q::wetWeatherInflow);
    writeRow("External Inflow", &Q::externalInflow);
    writeRow("SWMM Inflow", &Q::swmmInflow);
    writeRow("VORN Inflow", &Q::vornInflow);
    writeRow("External Outflow", &Q::externalOutflow);
    writeRow("Flooding Loss", &Q::floodingLoss);
    writeRow("SWMM Outflow", &Q::swmmOutflow);
    writeRow("VORN Outflow", &Q::vornOutflow);
    writeRow("Seepage Loss", &Q::seepageLoss);
    writeRow("Reacted Loss", &Q::reactedLoss);
    writeRow("Delayed Mass", &Q::delayedMass);
    writeRow("Init. Storage", &Q::initStorage);
    writeRow("Final Storage", &Q::finalStorage);
    writePollutantRow(model, "Continuity Error (%)", b, &Q::error);
}

// --- all tables ----------------------------------------------------------------------------------------------------

void report_writeTables(Model& model) {
    writeRunoffContinuity(model);
    if (!model.polluts.empty()) {
        writeWashoffContinuity(model);
    }
    writeFlowContinuity(model);
    if (!model.polluts.empty()) {
        writeQualityContinuity(model);
    }
    tables_writeSubcatches(model);
    tables_writeWashoff(model);
    tables_writeLidUnits(model);
    tables_writeLidUnitQuality(model);
    tables_writeNodes(model);
    tables_writeTanks(model);
    tables_writeOutfalls(model);
    tables_writeReactors(model);
    tables_writeLidMonos(model);
    tables_writeLidMonoQuality(model);
    tables_writeLinks(model);
    tables_writeConduits(model);
    tables_writeGageEvents(model);
}
