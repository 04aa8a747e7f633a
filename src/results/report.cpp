// The text report: continuity tables of land and network, then a summary of each class of object that the project has.
// Column strings and widths are kept to the byte, trailing blanks included: programs read these tables.

#include "results/report.h"

#include "model/pollut.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "results/massbal.h"
#include "results/tables.h"
#include "results/tablewriter.h"
#include "text/units.h"

void report_writeBanner() {
    reportfile_print("\n  TARNVELDE - VERSION 2.1");
    reportfile_print("\n  -----------------------");
    reportfile_print("\n");
}

void report_writeDescription() {
    bool isWritten = false;
    for (const std::string& line : Description) {
        if (!line.empty()) {
            reportfile_writeLine(line.c_str());
            isWritten = true;
        }
    }
    if (isWritten) {
        reportfile_writeLine("");
    }
}

// --- continuity ----------------------------------------------------------------------------------------------------

static void writeRunoffRow(const char* name, double volume, double totalArea) {
    const double depth = totalArea > 0.0 ? volume / totalArea * MM_PER_M : 0.0;
    reportfile_print("\n  %-26s %16.3f %16.3f ", name, volume, depth);
}

static void writeRunoffContinuity() {
    const RunoffBalance b = massbal_closeRunoff();
    static constexpr const char* HEAD = "\n  %-26s %16s %16s";
    reportfile_print(HEAD, "**************************", "Volume", "Depth");
    reportfile_print(HEAD, "Runoff Quantity Continuity", "m3", "mm");
    reportfile_print(HEAD, "**************************", "----------------", "----------------");
    writeRunoffRow("Total Rainfall", b.rainfall, b.totalArea);
    writeRunoffRow("Init. LID Storage", b.initLidStorage, b.totalArea);
    writeRunoffRow("Evap. Loss", b.evap, b.totalArea);
    writeRunoffRow("Infil. Loss", b.infil, b.totalArea);
    writeRunoffRow("Surface Runoff", b.runoff, b.totalArea);
    writeRunoffRow("LID Drainage", b.lidDrainage, b.totalArea);
    writeRunoffRow("Final Storage", b.finalStorage, b.totalArea);
    reportfile_print("\n  %-26s %16.3f", "Continuity Error (%)", b.error);
}

/// Head of a continuity table with a column for each pollutant.
static void writePollutantHead(const char* title) {
    reportfile_writeLine("");
    tablewriter_writePollutantLines(26, "**************************", title);
    reportfile_writeLine("**************************");
    for (int32_t p = 0; p < Polluts.size(); ++p) {
        reportfile_print(" ----------------");
    }
}

/// A row of a continuity table: one figure of each pollutant's balance.
template <class Balance>
static void writePollutantRow(const char* name, const Table<Balance>& balances, double Balance::*figure) {
    reportfile_print("\n  %-26s", name);
    for (const Balance& balance : balances) {
        reportfile_print(" %16.3f", balance.*figure);
    }
}

static void writeWashoffContinuity() {
    Table<WashoffBalance> b;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        b.push_back(massbal_closeWashoff(p));
    }
    writePollutantHead("Runoff Quality Continuity");
    writePollutantRow("Init. Buildup", b, &WashoffBalance::initBuildup);
    writePollutantRow("Surface Buildup", b, &WashoffBalance::surfaceBuildup);
    writePollutantRow("Wet Deposition", b, &WashoffBalance::wetDeposition);
    writePollutantRow("Infil. Loss", b, &WashoffBalance::infilLoss);
    writePollutantRow("BMP Removal", b, &WashoffBalance::bmpRemoval);
    writePollutantRow("LID Removal", b, &WashoffBalance::lidRemoval);
    writePollutantRow("Surface Washoff", b, &WashoffBalance::surfaceWashoff);
    writePollutantRow("LID Drainage", b, &WashoffBalance::lidDrainage);
    writePollutantRow("LID Final Storage", b, &WashoffBalance::lidFinalStorage);
    writePollutantRow("Remaining Buildup", b, &WashoffBalance::remainingBuildup);
    writePollutantRow("Continuity Error (%)", b, &WashoffBalance::error);
}

static void writeFlowContinuity() {
    double error;
    const FlowTotalsRecord t = massbal_closeFlow(&error);
    static constexpr const char* HEAD = "\n  %-26s %16s";
    reportfile_print(HEAD, "**************************", "Volume");
    reportfile_print(HEAD, "Flow Routing Continuity", "m3");
    reportfile_print(HEAD, "**************************", "----------------");
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
        reportfile_print("\n  %-26s %16.3f ", row.name, row.volume);
    }
    reportfile_print("\n  %-26s %16.3f", "Continuity Error (%)", error);
}

struct QualityBalance : QualTotalsRecord {
    double error;  ///< %
};

static void writeQualityContinuity() {
    Table<QualityBalance> b = table_make(Polluts.size(), QualityBalance{});
    for (int32_t p = 0; p < b.size(); ++p) {
        static_cast<QualTotalsRecord&>(b[p]) = massbal_closeQuality(p, &b[p].error);
    }
    using Q = QualityBalance;
    const auto writeRow = [&](const char* name, double QualTotalsRecord::*figure) {
        writePollutantRow(name, b, static_cast<double Q::*>(figure));
    };
    writePollutantHead("Quality Routing Continuity");
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
    writePollutantRow("Continuity Error (%)", b, &Q::error);
}

// --- all tables ----------------------------------------------------------------------------------------------------

void report_writeTables() {
    writeRunoffContinuity();
    if (!Polluts.empty()) {
        writeWashoffContinuity();
    }
    writeFlowContinuity();
    if (!Polluts.empty()) {
        writeQualityContinuity();
    }
    tables_writeSubcatches();
    tables_writeWashoff();
    tables_writeLidUnits();
    tables_writeLidUnitQuality();
    tables_writeNodes();
    tables_writeTanks();
    tables_writeOutfalls();
    tables_writeReactors();
    tables_writeLidMonos();
    tables_writeLidMonoQuality();
    tables_writeLinks();
    tables_writeConduits();
    tables_writeGageEvents();
}
