// The parts that the report's summary tables are made of: every table has the same kind of title, dashes as wide as its
// columns, and, if it is by pollutant, one column for each.

#include "results/tablewriter.h"

#include <string>

#include "engine/errors.h"
#include "hydrology/landuse.h"

void table_writeTitle(const char* title) {
    const std::string stars(std::string(title).size(), '*');
    report_writeLine("");
    report_writeLine(stars.c_str());
    report_writeLine(title);
    report_writeLine(stars.c_str());
}

void table_writeDashes(size_t groups) {
    std::string line(16, '-');
    for (size_t k = 1; k < groups; ++k) {
        line += " ----------------";
    }
    report_writeLine(line.c_str());
}

void table_writePollutantHead(const char* object) {
    report_print(ReportFile, "\n  %-16s", "");
    for (const Pollut& pollutant : Polluts) {
        report_print(ReportFile, " %16s", pollutant.id);
    }
    report_print(ReportFile, "\n  %-16s", object);
    for (size_t p = 0; p < Polluts.size(); ++p) {
        report_print(ReportFile, " %16s", "kg");
    }
    table_writeDashes(1 + Polluts.size());
}

void table_writePollutantRow(const char* name, const double* values) {
    report_print(ReportFile, "\n  %-16s", name);
    for (size_t p = 0; p < Polluts.size(); ++p) {
        report_print(ReportFile, " %16.3f", values ? values[p] : 0.0);
    }
}
