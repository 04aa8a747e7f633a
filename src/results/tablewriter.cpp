// The parts that the report's summary tables are made of: every table has the same kind of title, dashes as wide as its
// columns, and, if it is by pollutant, one column for each.

#include "results/tablewriter.h"

#include <string>

#include "model/pollut.h"
#include "model/reportfile.h"

void tablewriter_writeTitle(const char* title) {
    const std::string stars(std::string(title).size(), '*');
    reportfile_writeLine("");
    reportfile_writeLine(stars.c_str());
    reportfile_writeLine(title);
    reportfile_writeLine(stars.c_str());
}

void tablewriter_writeDashes(int32_t groups) {
    std::string line(16, '-');
    for (int32_t k = 1; k < groups; ++k) {
        line += " ----------------";
    }
    reportfile_writeLine(line.c_str());
}

void tablewriter_writePollutantLines(int32_t width, const char* first, const char* second) {
    reportfile_print("\n  %-*s", width, first);
    for (const Pollut& pollutant : Polluts) {
        reportfile_print(" %16s", pollutant.id);
    }
    reportfile_print("\n  %-*s", width, second);
    for (int32_t p = 0; p < Polluts.size(); ++p) {
        reportfile_print(" %16s", "kg");
    }
}

void tablewriter_writePollutantHead(const char* object) {
    tablewriter_writePollutantLines(16, "", object);
    tablewriter_writeDashes(1 + Polluts.size());
}

void tablewriter_writePollutantRow(const char* name, const double* values) {
    reportfile_print("\n  %-16s", name);
    for (int32_t p = 0; p < Polluts.size(); ++p) {
        reportfile_print(" %16.3f", values ? values[p] : 0.0);
    }
}
