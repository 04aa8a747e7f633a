// Tables of the manual, from the tables of a model.

#include "matrix.h"
#include "words.h"

namespace {

std::string show(std::string_view text) {
    return text.empty() ? std::string() : "`" + std::string(text) + "`";
}

void addComponents(const MatrixTable& table, std::string& page) {
    page += "| Component | Unit | Meaning | COD | N | P | charge, mol | TSS |\n|---|---|---|---|---|---|---|---|\n";
    for (const ComponentRow& row : table.components) {
        page += "| " + std::string(row.name) + " | " + std::string(row.unit) + " | " + std::string(row.meaning);
        for (const std::string_view content : row.contents) {
            page += " | " + show(content);
        }
        page += " |\n";
    }
}

void addParameters(const MatrixTable& table, std::string& page) {
    page += "\n| Parameter | At " + words_showNumber(table.referenceTemperature) +
            " °C | Factor per °C | Unit | Meaning |\n|---|---|---|---|---|\n";
    for (const ParameterRow& row : table.parameters) {
        page += "| " + std::string(row.name) + " | " + words_showNumber(row.value) + " | " +
                (row.theta == 1.0 ? std::string() : words_showNumber(row.theta)) + " | " + std::string(row.unit) +
                " | " + std::string(row.meaning) + " |\n";
    }
}

void addProcesses(const MatrixTable& table, std::string& page) {
    page += "\n| | Process | Rate |\n|---|---|---|\n";
    for (size_t p = 0; p < table.processes.size(); ++p) {
        page += "| " + std::to_string(p + 1) + " | " + std::string(table.processes[p].name) + " | " +
                show(table.processes[p].rate) + " |\n";
    }
    page += "\n| | Coefficients |\n|---|---|\n";
    for (size_t p = 0; p < table.processes.size(); ++p) {
        page += "| " + std::to_string(p + 1) + " | ";
        for (size_t c = 0; c < table.processes[p].cells.size(); ++c) {
            const CellRow& cell = table.processes[p].cells[c];
            page += (c > 0 ? ", " : "") + std::string(cell.component) + " " + show(cell.coefficient);
        }
        page += " |\n";
    }
}

// The matrix as numbers at the reference temperature.
void addNumbers(const MatrixTable& table, std::string& page) {
    Matrix matrix;
    if (!matrix_compile(table, {}, table.referenceTemperature, matrix).empty()) {
        return;
    }
    page += "\n| |";
    std::string rule = "\n|---|";
    for (const std::string& name : matrix.names) {
        page += " " + name + " |";
        rule += "---|";
    }
    page += rule + "\n";
    for (size_t p = 0; p < matrix.processes.size(); ++p) {
        page += "| " + std::to_string(p + 1) + " |";
        for (size_t c = 0; c < matrix.names.size(); ++c) {
            std::string cell;
            for (const Coefficient& coefficient : matrix.processes[p].coefficients) {
                cell = coefficient.component == c ? words_showShort(coefficient.value) : cell;
            }
            page += cell.empty() ? " |" : " " + cell + " |";
        }
        page += "\n";
    }
}

}  // namespace

std::string matrix_writeMarkdown(const MatrixTable& table) {
    constexpr std::array<std::string_view, CONTENT_COUNT> NAMES = {"COD", "N", "P", "charge", "TSS"};
    std::string page;
    addComponents(table, page);
    addParameters(table, page);
    addProcesses(table, page);
    page += "\nFrom continuity:";
    for (size_t k = 0; k < table.closures.size(); ++k) {
        page += std::string(k > 0 ? "," : "") + " " + std::string(table.closures[k].component) + " by " +
                std::string(NAMES[table.closures[k].content]);
    }
    page += ".\n";
    addNumbers(table, page);
    return page;
}
