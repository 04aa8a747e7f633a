// The parts that the report's summary tables are made of: every table has the same kind of title, dashes as wide as its
// columns, and, if it is by pollutant, one column for each.

#include "results/tablewriter.h"

#include <string>

#include "model/model.h"
#include "model/pollut.h"
#include "model/reportfile.h"

void tablewriter_writeTitle(const Model& model, const char* title) {
    const std::string stars(std::string(title).size(), '*');
    reportfile_writeLine(model, "");
    reportfile_writeLine(model, stars.c_str());
    reportfile_writeLine(model, title);
    reportfile_writeLine(model, stars.c_str());
}

void tablewriter_writeDashes(const Model& model, int32_t groups) {
    std::string line(16, '-');
    for (int32_t k = 1; k < groups; ++k) {
        line += " ----------------";
    }
    reportfile_writeLine(model, line.c_str());
}

void tablewriter_writePollutantLines(const Model& model, int32_t width, const char* first, const char* second) {
    reportfile_print(model, "\n  %-*s", width, first);
    for (const Pollut& pollutant : model.polluts) {
        reportfile_print(model, " %16s", pollutant.id);
    }
    reportfile_print(model, "\n  %-*s", width, second);
    for (int32_t p = 0; p < model.polluts.size(); ++p) {
        reportfile_print(model, " %16s", "kg");
    }
}

void tablewriter_writePollutantHead(const Model& model, const char* object) {
    tablewriter_writePollutantLines(model, 16, "", object);
    tablewriter_writeDashes(model, 1 + model.polluts.size());
}

void tablewriter_writePollutantRow(const Model& model, const char* name, const double* values) {
    reportfile_print(model, "\n  %-16s", name);
    for (int32_t p = 0; p < model.polluts.size(); ++p) {
        reportfile_print(model, " %16.3f", values ? values[p] : 0.0);
    }
}
