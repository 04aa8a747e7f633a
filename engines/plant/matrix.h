#pragma once
// A model of activated sludge as a Gujer matrix: components with what they hold, processes with their rates and
// coefficients, each written once, as text. The equations, the checks of continuity and the tables of the manual are
// made from it.

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "expression.h"

/// What is neither made nor lost by a process, and the solids, which follow from the components.
enum Content : size_t { COD, NITROGEN, PHOSPHORUS, CHARGE, SOLIDS, CONTENT_COUNT };

struct ComponentRow {
    std::string_view name;
    std::string_view unit;
    std::string_view meaning;
    std::array<std::string_view, CONTENT_COUNT> contents;  ///< g COD, g N, g P, mol, g TSS in one unit; empty: none
};

struct ParameterRow {
    std::string_view name;
    double value;  ///< at the reference temperature
    double theta;  ///< factor per degree C; 1: no effect
    std::string_view unit;
    std::string_view meaning;
};

struct CellRow {
    std::string_view component;
    std::string_view coefficient;
};

struct ProcessRow {
    std::string_view name;
    std::string_view rate;  ///< 1/d times the unit of the component whose coefficient is 1
    std::vector<CellRow> cells;
};

/// A column whose coefficients close a content.
struct ClosureRow {
    std::string_view component;
    Content content;
};

struct MatrixTable {
    std::string_view name;
    double referenceTemperature;  ///< degree C
    std::vector<ComponentRow> components;
    std::vector<ParameterRow> parameters;
    std::vector<ProcessRow> processes;
    std::vector<ClosureRow> closures;
};

/// A parameter that a model file sets.
struct ParameterChoice {
    std::string name;
    double value = 0.0;   ///< at the reference temperature
    double theta = -1.0;  ///< below 0: that of the table
};

struct Coefficient {
    size_t component;
    double value;
};

struct Process {
    Expression rate;
    std::vector<Coefficient> coefficients;
};

/// The table with its numbers at a temperature.
struct Matrix {
    std::vector<std::string> names;                           ///< of components
    std::vector<bool> isParticulate;                          ///< settles
    std::vector<std::array<double, CONTENT_COUNT>> contents;  ///< of components
    std::vector<double> solids;                               ///< g TSS per unit, as it is measured in a sample
    std::vector<Process> processes;
    size_t oxygen = 0;
};

/// The table of ASM1, with the typical values of the report at 20 degree C, or with those of the benchmark at 15.
[[nodiscard]] MatrixTable asm1_makeTable(bool isBenchmark);

/// The table of ASM2d, at 20 degree C.
[[nodiscard]] MatrixTable asm2d_makeTable();

/// Numbers at a temperature, degree C. An empty text, or what is wrong.
[[nodiscard]] std::string matrix_compile(const MatrixTable& table, const std::vector<ParameterChoice>& choices,
                                         double temperature, Matrix& matrix);

/// What a process makes of a content, by one unit of its rate; 0 where it is closed.
[[nodiscard]] double matrix_computeGap(const Matrix& matrix, size_t process, Content content);

/// Adds the rates of change by all processes, unit/d, at concentrations.
void matrix_addRates(const Matrix& matrix, const double* concentrations, double* rates);

/// Suspended solids, g/m3.
[[nodiscard]] double matrix_computeSolids(const Matrix& matrix, const double* concentrations);

/// The number of a component; that of all components if there is none of the name. Any case.
[[nodiscard]] size_t matrix_findComponent(const Matrix& matrix, std::string_view name);

/// The tables of the manual.
[[nodiscard]] std::string matrix_writeMarkdown(const MatrixTable& table);
