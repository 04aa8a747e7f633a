// Summary tables of LID units on subcatchments and of LID monomer nodes. Called by the report.

#include "hydrology/lidgroup.h"
#include "hydrology/subcatch.h"
#include "model/model.h"
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
static void forEachUnit(Model& model, Write write) {
    for (int32_t i = 0; i < model.subcatches.size(); ++i) {
        for (const LidUnit& unit : lidgroup_getUnits(model, i)) {
            write(model.subcatches[i].name, unit);
        }
    }
}

/// The same for each LID monomer node, in the order of the nodes.
template <class Write>
static void forEachMono(const Model& model, Write write) {
    for (const Node& node : model.nodes) {
        if (node.kind == LID_MONO) {
            write(node.id, model.lidMonos[node.kindIndex].unit);
        }
    }
}

/// Water balance of a unit: its depths (m) times `factor`.
static void writeWaterRow(const Model& model, const char* place, const LidUnit& unit, double factor) {
    reportfile_print(model, "\n  %-16s %-16s %16.3f %16.3f %16.3f %16.3f %16.3f %16.3f %16.3f", place,
                     model.lids[unit.lid].name, unit.inflowDepth * factor, unit.evapDepth * factor,
                     unit.infilDepth * factor, unit.surfaceOutDepth * factor, unit.drainDepth * factor,
                     unit.initialDepth * factor, unit.finalDepth * factor);
}

/// Balance of one pollutant in a unit, kg.
static void writeQualityRow(const Model& model, const char* place, const LidUnit& unit, int32_t p) {
    const auto get = [p](const double* loads) { return loads ? loads[p] : 0.0; };
    reportfile_print(model, "\n  %-16s %-16s %16.3f %16.3f %16.3f %16.3f %16.3f %16.3f", place,
                     model.lids[unit.lid].name, get(unit.inflowLoad), get(unit.exfilLoad), get(unit.surfaceOutLoad),
                     get(unit.drainOutLoad), get(unit.reactedLoad), get(unit.finalLoad));
}

void tables_writeLidUnits(Model& model) {
    if (model.lids.empty()) {
        return;
    }
    tablewriter_writeTitle(model, "Subcatchment LID Performance Summary");
    reportfile_print(model, WATER_HEAD, "", " ", "Inflow", "Evap.", "Infil.", "Surface Outflow", "Drain Outflow",
                     "Init. Storage", "Final Storage");
    reportfile_print(model, WATER_HEAD, "Subcatchment", "LID Process", "mm", "mm", "mm", "mm", "mm", "mm", "mm");
    tablewriter_writeDashes(model, 9);
    forEachUnit(model, [&model](const char* name, const LidUnit& unit) { writeWaterRow(model, name, unit, MM_PER_M); });
}

void tables_writeLidUnitQuality(Model& model) {
    if (model.lids.empty() || model.polluts.empty()) {
        return;
    }
    tablewriter_writeTitle(model, "Subcatchment LID Water Quality Summary");
    reportfile_print(model, QUALITY_HEAD, "", " ", "Inflow", "Infil.", "Surface Outflow", "Drain Outflow", "Removed",
                     "Final Storage");
    reportfile_print(model, QUALITY_HEAD, "Subcatchment", "LID Process", "kg", "kg", "kg", "kg", "kg", "kg");
    tablewriter_writeDashes(model, 8);
    for (int32_t p = 0; p < model.polluts.size(); ++p) {
        reportfile_print(model, "\n  *%s*", model.polluts[p].id);
        forEachUnit(model,
                    [&model, p](const char* name, const LidUnit& unit) { writeQualityRow(model, name, unit, p); });
    }
}

void tables_writeLidMonos(const Model& model) {
    if (model.lids.empty() || model.lidMonos.empty()) {
        return;
    }
    tablewriter_writeTitle(model, "LID Monomer Performance Summary");
    reportfile_print(model, WATER_HEAD, "", " ", "Tot. Inflow", "Evap.", "Infil.", "Surface Outflow", "Drain Outflow",
                     "Init. Storage", "Final Storage");
    reportfile_print(model, WATER_HEAD, "Node", "LID Process", "m3", "m3", "m3", "m3", "m3", "m3", "m3");
    tablewriter_writeDashes(model, 9);
    forEachMono(model,
                [&model](const char* name, const LidUnit& mono) { writeWaterRow(model, name, mono, mono.area); });
}

void tables_writeLidMonoQuality(const Model& model) {
    if (model.lids.empty() || model.lidMonos.empty() || model.polluts.empty()) {
        return;
    }
    tablewriter_writeTitle(model, "LID Monomer Water Quality Summary");
    reportfile_print(model, QUALITY_HEAD, "", " ", "Tot. Inflow", "Infil.", "Surface Outflow", "Drain Outflow",
                     "Reacted", "Final Storage");
    reportfile_print(model, QUALITY_HEAD, "Node", "LID Process", "kg", "kg", "kg", "kg", "kg", "kg");
    tablewriter_writeDashes(model, 8);
    for (int32_t p = 0; p < model.polluts.size(); ++p) {
        reportfile_print(model, "\n  *%s*", model.polluts[p].id);
        forEachMono(model,
                    [&model, p](const char* name, const LidUnit& mono) { writeQualityRow(model, name, mono, p); });
    }
}
