// Summary tables of subcatchments and rain gages. Called by the report.

#include "hydrology/gage.h"
#include "hydrology/subcatch.h"
#include "model/model.h"
#include "model/pollut.h"
#include "model/reportfile.h"
#include "results/tables.h"
#include "results/tablewriter.h"
#include "text/datetime.h"
#include "text/units.h"

void tables_writeSubcatches(const Model& model) {
    if (model.subcatches.empty()) {
        return;
    }
    static constexpr const char* HEAD = "\n  %-16s %16s %16s %16s %16s %16s %16s %16s %16s";
    tablewriter_writeTitle(model, "Subcatchment Runoff Summary");
    reportfile_print(model, HEAD, "", "Area", "Rainfall", "Evap.", "Infil.", "Runoff", "Runoff", "Peak Runoff",
                     "Runoff Coef.");
    reportfile_print(model, HEAD, "Subcatchment", "hm2", "mm", "mm", "mm", "mm", "m3", "m3/s", "");
    tablewriter_writeDashes(model, 9);
    for (const Subcatch& s : model.subcatches) {
        const double coefficient = s.rainfall == 0.0 ? 0.0 : s.runoff / s.rainfall;
        reportfile_print(model, "\n  %-16s %16.3f %16.3f %16.3f %16.3f %16.3f %16.3f %16.3f %16.3f", s.name,
                         s.area / M2_PER_HA, s.rainfall, s.evap, s.infil, s.runoff, s.area * s.runoff / MM_PER_M,
                         s.peakRunoff, coefficient);
    }
}

void tables_writeWashoff(const Model& model) {
    if (model.subcatches.empty() || model.polluts.empty()) {
        return;
    }
    tablewriter_writeTitle(model, "Subcatchment Washoff Summary");
    tablewriter_writePollutantHead(model, "Subcatchment");
    for (const Subcatch& s : model.subcatches) {
        tablewriter_writePollutantRow(model, s.name, s.surfaceWashoff);
    }
}

void tables_writeGageEvents(const Model& model) {
    if (model.gages.empty()) {
        return;
    }
    static constexpr const char* HEAD = "\n  %-16s %8s %-24s %-24s %16s";
    tablewriter_writeTitle(model, "Gage Event Summary");
    reportfile_print(model, HEAD, "", "", "", "", "Rainfall");
    reportfile_print(model, HEAD, "Gage", "No.", "Start Date Time", "End Date Time", "mm");
    reportfile_writeLine(
        model, "---------------- -------- ------------------------ ------------------------ ----------------");
    for (const Gage& gage : model.gages) {
        int32_t number = 0;
        for (const RainEvent* event = gage.events; event; event = event->next) {
            char start[DATE_TIME_TEXT_SIZE], end[DATE_TIME_TEXT_SIZE];
            datetime_formatDateTime(event->start, start);
            datetime_formatDateTime(event->end, end);
            reportfile_print(model, "\n  %-16s %8d %-24s %-24s %16.3f", gage.name, ++number, start, end, event->total);
        }
    }
}
