// From the tables of a model to its numbers and to its pages.

#include "matrix.h"

#include <cmath>

#include "words.h"

namespace {

struct Names {
    const MatrixTable& table;
    std::vector<double> values;  // of the parameters, at the temperature
    bool withComponents = false;
};

NameMeaning findName(const Names& names, std::string_view name) {
    for (size_t k = 0; k < names.values.size(); ++k) {
        if (names.table.parameters[k].name == name) {
            return {true, false, 0, names.values[k]};
        }
    }
    for (size_t k = 0; names.withComponents && k < names.table.components.size(); ++k) {
        if (names.table.components[k].name == name) {
            return {true, true, static_cast<uint32_t>(k), 0.0};
        }
    }
    return {};
}

std::string computeNumber(const Names& names, std::string_view text, double& number) {
    if (text.empty()) {
        number = 0.0;
        return {};
    }
    Expression expression;
    std::string error = expression_compile(
        text, [&](std::string_view name) { return findName(names, name); }, expression);
    number = error.empty() ? expression_compute(expression, nullptr) : 0.0;
    return error.empty() && !std::isfinite(number) ? "no number: " + std::string(text) : error;
}

std::string takeParameters(const MatrixTable& table, const std::vector<ParameterChoice>& choices, double temperature,
                           Names& names) {
    for (const ParameterRow& row : table.parameters) {
        double value = row.value;
        double theta = row.theta;
        for (const ParameterChoice& choice : choices) {
            if (words_areEqual(choice.name, row.name)) {
                value = choice.value;
                theta = choice.theta > 0.0 ? choice.theta : theta;
            }
        }
        names.values.push_back(value * std::pow(theta, temperature - table.referenceTemperature));
        if (!std::isfinite(names.values.back())) {
            return "parameter " + std::string(row.name) + " is too large at this temperature";
        }
    }
    return {};
}

std::string takeComponents(const Names& names, Matrix& matrix) {
    for (const ComponentRow& row : names.table.components) {
        std::array<double, CONTENT_COUNT> contents{};
        for (size_t content = 0; content < CONTENT_COUNT; ++content) {
            std::string error = computeNumber(names, row.contents[content], contents[content]);
            if (!error.empty()) {
                return error;
            }
        }
        if (row.name == "S_O" || row.name == "S_O2") {
            matrix.oxygen = matrix.names.size();
        }
        matrix.names.emplace_back(row.name);
        matrix.isParticulate.push_back(row.name.substr(0, 2) == "X_");
        matrix.contents.push_back(contents);
    }
    // Where solids are a component of their own, it alone is what a sample shows.
    const size_t own = matrix_findComponent(matrix, "X_TSS");
    for (size_t c = 0; c < matrix.names.size(); ++c) {
        const bool hasOwn = own < matrix.names.size();
        matrix.solids.push_back(hasOwn ? (c == own ? 1.0 : 0.0) : matrix.contents[c][SOLIDS]);
    }
    return {};
}

// The coefficient of a column that closes its content: what all others make of it, taken away.
void closeContent(const Matrix& matrix, size_t column, Content content, std::vector<double>& coefficients) {
    double made = 0.0;
    for (size_t c = 0; c < coefficients.size(); ++c) {
        made += c == column ? 0.0 : coefficients[c] * matrix.contents[c][content];
    }
    coefficients[column] = -made / matrix.contents[column][content];
}

std::string takeProcess(Names& names, const ProcessRow& row, Matrix& matrix) {
    std::vector<double> coefficients(matrix.names.size());
    Process process;
    names.withComponents = false;
    for (const CellRow& cell : row.cells) {
        const size_t component = matrix_findComponent(matrix, cell.component);
        std::string error = component < matrix.names.size()
                                ? computeNumber(names, cell.coefficient, coefficients[component])
                                : "unknown component " + std::string(cell.component);
        if (!error.empty()) {
            return error;
        }
    }
    for (const ClosureRow& closure : names.table.closures) {
        closeContent(matrix, matrix_findComponent(matrix, closure.component), closure.content, coefficients);
    }
    for (size_t c = 0; c < coefficients.size(); ++c) {
        if (!std::isfinite(coefficients[c])) {
            return "the coefficients of " + std::string(row.name) + " are no numbers";
        }
        if (coefficients[c] != 0.0) {
            process.coefficients.push_back({c, coefficients[c]});
        }
    }
    names.withComponents = true;
    std::string error = expression_compile(
        row.rate, [&](std::string_view name) { return findName(names, name); }, process.rate);
    matrix.processes.push_back(std::move(process));
    return error;
}

}  // namespace

std::string matrix_compile(const MatrixTable& table, const std::vector<ParameterChoice>& choices, double temperature,
                           Matrix& matrix) {
    matrix = {};
    Names names{table, {}, false};
    std::string error = takeParameters(table, choices, temperature, names);
    if (error.empty()) {
        error = takeComponents(names, matrix);
    }
    for (size_t p = 0; p < table.processes.size() && error.empty(); ++p) {
        error = takeProcess(names, table.processes[p], matrix);
    }
    return error;
}

double matrix_computeGap(const Matrix& matrix, size_t process, Content content) {
    double made = 0.0;
    for (const Coefficient& coefficient : matrix.processes[process].coefficients) {
        made += coefficient.value * matrix.contents[coefficient.component][content];
    }
    return made;
}

void matrix_addRates(const Matrix& matrix, const double* concentrations, double* rates) {
    for (const Process& process : matrix.processes) {
        const double rate = expression_compute(process.rate, concentrations);
        for (const Coefficient& coefficient : process.coefficients) {
            rates[coefficient.component] += coefficient.value * rate;
        }
    }
}

double matrix_computeSolids(const Matrix& matrix, const double* concentrations) {
    double solids = 0.0;
    for (size_t c = 0; c < matrix.solids.size(); ++c) {
        solids += matrix.solids[c] * concentrations[c];
    }
    return solids;
}

size_t matrix_findComponent(const Matrix& matrix, std::string_view name) {
    size_t c = 0;
    while (c < matrix.names.size() && !words_areEqual(matrix.names[c], name)) {
        ++c;
    }
    return c;
}
