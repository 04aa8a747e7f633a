// Summary tables of LID units on subcatchments and of LID monomer nodes. Called by the report.

#include "hydrology/lidgroup.h"
#include "hydrology/subcatch.h"
#include "model/pollut.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "nodes/lidmono.h"
#include "results/tables.h"
#include "results/tablewriter.h"
#include "text/units.h"

static constexpr const char* WATER_HEAD = "\n  %-16s %-16s %16s %16s %16s %16s %16s %16s %16s";
static constexpr const char* QUALITY_HEAD = "\n  %-16s %-16s %16s %16s %16s %16s %16s %16s";

/// Calls `write` with the name of the place and the unit, for each unit of each subcatchment.
template <class Write>
static void forEachUnit(Write write) {
    for (int32_t i = 0; i < Subcatches.size(); ++i) {
        for (const LidUnit& unit : lidgroup_getUnits(i)) {
            write(Subcatches[i].name, unit);
        }
    }
}

/// The same for each LID monomer node, in the order of the nodes.
template <class Write>
static void forEachMono(Write write) {
    for (const Node& node : Nodes) {
        if (node.kind == LID_MONO) {
            write(node.id, LidMonos[node.kindIndex].unit);
        }
    }
}

/// Water balance of a unit: its depths (m) times `factor`.
static void writeWaterRow(const char* place, const LidUnit& unit, double factor) {
    reportfile_print("\n  %-16s %-16s %16.3f %16.3f %16.3f %16.3f %16.3f %16.3f %16.3f", place, Lids[unit.lid].name,
                     unit.inflowDepth * factor, unit.evapDepth * factor, unit.infilDepth * factor,
                     unit.surfaceOutDepth * factor, unit.drainDepth * factor, unit.initialDepth * factor,
                     unit.finalDepth * factor);
}

/// Balance of one pollutant in a unit, kg.
static void writeQualityRow(const char* place, const LidUnit& unit, int32_t p) {
    const auto get = [p](const double* loads) { return loads ? loads[p] : 0.0; };
    reportfile_print("\n  %-16s %-16s %16.3f %16.3f %16.3f %16.3f %16.3f %16.3f", place, Lids[unit.lid].name,
                     get(unit.inflowLoad), get(unit.exfilLoad), get(unit.surfaceOutLoad), get(unit.drainOutLoad),
                     get(unit.reactedLoad), get(unit.finalLoad));
}

void tables_writeLidUnits() {
    if (Lids.empty()) {
        return;
    }
    tablewriter_writeTitle("Subcatchment LID Performance Summary");
    reportfile_print(WATER_HEAD, "", " ", "Inflow", "Evap.", "Infil.", "Surface Outflow", "Drain Outflow",
                     "Init. Storage", "Final Storage");
    reportfile_print(WATER_HEAD, "Subcatchment", "LID Process", "mm", "mm", "mm", "mm", "mm", "mm", "mm");
    tablewriter_writeDashes(9);
    forEachUnit([](const char* name, const LidUnit& unit) { writeWaterRow(name, unit, MM_PER_M); });
}

void tables_writeLidUnitQuality() {
    if (Lids.empty() || Polluts.empty()) {
        return;
    }
    tablewriter_writeTitle("Subcatchment LID Water Quality Summary");
    reportfile_print(QUALITY_HEAD, "", " ", "Inflow", "Infil.", "Surface Outflow", "Drain Outflow", "Removed",
                     "Final Storage");
    reportfile_print(QUALITY_HEAD, "Subcatchment", "LID Process", "kg", "kg", "kg", "kg", "kg", "kg");
    tablewriter_writeDashes(8);
    for (int32_t p = 0; p < Polluts.size(); ++p) {
        reportfile_print("\n  *%s*", Polluts[p].id);
        forEachUnit([p](const char* name, const LidUnit& unit) { writeQualityRow(name, unit, p); });
    }
}

void tables_writeLidMonos() {
    if (Lids.empty() || LidMonos.empty()) {
        return;
    }
    tablewriter_writeTitle("LID Monomer Performance Summary");
    reportfile_print(WATER_HEAD, "", " ", "Tot. Inflow", "Evap.", "Infil.", "Surface Outflow", "Drain Outflow",
                     "Init. Storage", "Final Storage");
    reportfile_print(WATER_HEAD, "Node", "LID Process", "m3", "m3", "m3", "m3", "m3", "m3", "m3");
    tablewriter_writeDashes(9);
    forEachMono([](const char* name, const LidUnit& mono) { writeWaterRow(name, mono, mono.area); });
}

void tables_writeLidMonoQuality() {
    if (Lids.empty() || LidMonos.empty() || Polluts.empty()) {
        return;
    }
    tablewriter_writeTitle("LID Monomer Water Quality Summary");
    reportfile_print(QUALITY_HEAD, "", " ", "Tot. Inflow", "Infil.", "Surface Outflow", "Drain Outflow", "Reacted",
                     "Final Storage");
    reportfile_print(QUALITY_HEAD, "Node", "LID Process", "kg", "kg", "kg", "kg", "kg", "kg");
    tablewriter_writeDashes(8);
    for (int32_t p = 0; p < Polluts.size(); ++p) {
        reportfile_print("\n  *%s*", Polluts[p].id);
        forEachMono([p](const char* name, const LidUnit& mono) { writeQualityRow(name, mono, p); });
    }
}
