// Summary tables of subcatchments and rain gages. Called by the report.

#include "hydrology/gage.h"
#include "hydrology/subcatch.h"
#include "model/pollut.h"
#include "model/reportfile.h"
#include "results/tables.h"
#include "results/tablewriter.h"
#include "text/datetime.h"
#include "text/units.h"

void tables_writeSubcatches() {
    if (Subcatches.empty()) {
        return;
    }
    static constexpr const char* HEAD = "\n  %-16s %16s %16s %16s %16s %16s %16s %16s %16s";
    tablewriter_writeTitle("Subcatchment Runoff Summary");
    reportfile_print(HEAD, "", "Area", "Rainfall", "Evap.", "Infil.", "Runoff", "Runoff", "Peak Runoff",
                     "Runoff Coef.");
    reportfile_print(HEAD, "Subcatchment", "hm2", "mm", "mm", "mm", "mm", "m3", "m3/s", "");
    tablewriter_writeDashes(9);
    for (const Subcatch& s : Subcatches) {
        const double coefficient = s.rainfall == 0.0 ? 0.0 : s.runoff / s.rainfall;
        reportfile_print("\n  %-16s %16.3f %16.3f %16.3f %16.3f %16.3f %16.3f %16.3f %16.3f", s.name,
                         s.area / M2_PER_HA, s.rainfall, s.evap, s.infil, s.runoff, s.area * s.runoff / MM_PER_M,
                         s.peakRunoff, coefficient);
    }
}

void tables_writeWashoff() {
    if (Subcatches.empty() || Polluts.empty()) {
        return;
    }
    tablewriter_writeTitle("Subcatchment Washoff Summary");
    tablewriter_writePollutantHead("Subcatchment");
    for (const Subcatch& s : Subcatches) {
        tablewriter_writePollutantRow(s.name, s.surfaceWashoff);
    }
}

void tables_writeGageEvents() {
    if (Gages.empty()) {
        return;
    }
    static constexpr const char* HEAD = "\n  %-16s %8s %-24s %-24s %16s";
    tablewriter_writeTitle("Gage Event Summary");
    reportfile_print(HEAD, "", "", "", "", "Rainfall");
    reportfile_print(HEAD, "Gage", "No.", "Start Date Time", "End Date Time", "mm");
    reportfile_writeLine(
        "---------------- -------- ------------------------ ------------------------ ----------------");
    for (const Gage& gage : Gages) {
        int32_t number = 0;
        for (const RainEvent* event = gage.events; event; event = event->next) {
            char start[DATE_TIME_TEXT_SIZE], end[DATE_TIME_TEXT_SIZE];
            datetime_formatDateTime(event->start, start);
            datetime_formatDateTime(event->end, end);
            reportfile_print("\n  %-16s %8d %-24s %-24s %16.3f", gage.name, ++number, start, end, event->total);
        }
    }
}
