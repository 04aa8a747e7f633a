// The matrices: what each process keeps, coefficients and rates worked out by hand, and the tables of the manual.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "matrix.h"
#include "support/tempfolder.h"

namespace {

Matrix compile(const MatrixTable& table, double temperature = 20.0) {
    Matrix matrix;
    EXPECT_EQ(matrix_compile(table, {}, temperature, matrix), "");
    return matrix;
}

/// A coefficient; processes count from 1 as in the literature.
double getCoefficient(const Matrix& matrix, size_t process, const char* component) {
    for (const Coefficient& coefficient : matrix.processes.at(process - 1).coefficients) {
        if (matrix.names[coefficient.component] == component) {
            return coefficient.value;
        }
    }
    return 0.0;
}

double computeRate(const Matrix& matrix, size_t process, const std::map<std::string, double>& concentrations) {
    std::vector<double> point(matrix.names.size());
    for (const auto& [name, value] : concentrations) {
        const size_t component = matrix_findComponent(matrix, name);
        EXPECT_LT(component, point.size()) << name;
        point.at(component) = value;
    }
    return expression_compute(matrix.processes.at(process - 1).rate, point.data());
}

}  // namespace

TEST(PlantMatrix, KeepsCodNitrogenPhosphorusAndChargeInEachProcess) {
    for (const double temperature : {8.0, 15.0, 20.0}) {
        for (const MatrixTable& table : {asm1_makeTable(false), asm1_makeTable(true), asm2d_makeTable()}) {
            const Matrix matrix = compile(table, temperature);
            ASSERT_EQ(matrix.processes.size(), table.name == "ASM1" ? 8U : 21U);
            for (size_t p = 0; p < matrix.processes.size(); ++p) {
                for (const Content content : {COD, NITROGEN, PHOSPHORUS, CHARGE}) {
                    EXPECT_NEAR(matrix_computeGap(matrix, p, content), 0.0, 1e-12)
                        << table.name << ", " << table.processes[p].name << ", content " << content;
                }
            }
        }
    }
}

TEST(PlantMatrix, MakesTheSolidsOfAsm2dFromWhatTheyAreMadeOf) {
    const Matrix matrix = compile(asm2d_makeTable());
    for (size_t p = 0; p < matrix.processes.size(); ++p) {
        EXPECT_NEAR(matrix_computeGap(matrix, p, SOLIDS), 0.0, 1e-12) << p;
    }
}

// Henze et al. 1999, the stoichiometric matrix with its typical values, which are printed with two or three digits.
TEST(PlantMatrix, HasThePrintedCoefficientsOfAsm2d) {
    const Matrix matrix = compile(asm2d_makeTable());
    EXPECT_NEAR(getCoefficient(matrix, 4, "S_O2"), -0.6, 1e-12);
    EXPECT_NEAR(getCoefficient(matrix, 4, "S_F"), -1.6, 1e-12);
    EXPECT_NEAR(getCoefficient(matrix, 4, "S_NH4"), -0.022, 1e-12);
    EXPECT_NEAR(getCoefficient(matrix, 4, "S_PO4"), -0.004, 1e-12);
    EXPECT_NEAR(getCoefficient(matrix, 6, "S_NO3"), -0.21, 1e-12);
    EXPECT_NEAR(getCoefficient(matrix, 1, "X_TSS"), -0.75, 1e-12);
    EXPECT_NEAR(getCoefficient(matrix, 10, "X_TSS"), -0.692, 1e-12);
    EXPECT_NEAR(getCoefficient(matrix, 11, "X_TSS"), 3.11, 1e-12);
    EXPECT_NEAR(getCoefficient(matrix, 13, "X_TSS"), -0.06, 1e-12);
    EXPECT_NEAR(getCoefficient(matrix, 18, "S_NH4"), -1 / 0.24 - 0.07, 1e-12);
    EXPECT_NEAR(getCoefficient(matrix, 20, "X_TSS"), 1.42, 1e-12);
    EXPECT_NEAR(getCoefficient(matrix, 20, "S_ALK"), 1.5 / 31, 1e-12);
}

// Alkalinity of ASM1 follows from charge; the report writes it out.
TEST(PlantMatrix, HasTheAlkalinityOfAsm1) {
    const Matrix matrix = compile(asm1_makeTable(false));
    EXPECT_NEAR(getCoefficient(matrix, 1, "S_ALK"), -0.086 / 14, 1e-12);
    EXPECT_NEAR(getCoefficient(matrix, 2, "S_ALK"), (1 - 0.67) / (14 * 2.86 * 0.67) - 0.086 / 14, 1e-12);
    EXPECT_NEAR(getCoefficient(matrix, 3, "S_ALK"), -0.086 / 14 - 1 / (7 * 0.24), 1e-12);
    EXPECT_NEAR(getCoefficient(matrix, 6, "S_ALK"), 1.0 / 14, 1e-12);
    EXPECT_NEAR(getCoefficient(matrix, 3, "S_O"), -(4.57 - 0.24) / 0.24, 1e-12);
    EXPECT_NEAR(getCoefficient(matrix, 4, "X_ND"), 0.086 - 0.08 * 0.06, 1e-12);
}

TEST(PlantMatrix, ComputesRatesAsTheyAreWritten) {
    const Matrix first = compile(asm1_makeTable(false));
    const std::map<std::string, double> mixed = {{"S_S", 20.0},   {"S_O", 0.2}, {"S_NO", 0.5}, {"S_NH", 0.95},
                                                 {"X_BH", 100.0}, {"X_S", 3.0}, {"X_ND", 0.6}};
    EXPECT_NEAR(computeRate(first, 1, mixed), 6.0 * 0.5 * 0.5 * 0.95 * 100.0, 1e-9);
    EXPECT_NEAR(computeRate(first, 2, mixed), 6.0 * 0.5 * 0.5 * 0.5 * 0.8 * 0.95 * 100.0, 1e-9);
    const double hydrolysis = 3.0 * (0.03 / (0.03 + 0.03)) * (0.5 + 0.4 * 0.5 * 0.5) * 100.0;
    EXPECT_NEAR(computeRate(first, 7, mixed), hydrolysis, 1e-9);
    EXPECT_NEAR(computeRate(first, 8, mixed), hydrolysis * 0.6 / 3.0, 1e-9);
    const Matrix second = compile(asm2d_makeTable());
    const std::map<std::string, double> stored = {{"S_O2", 0.2},   {"S_PO4", 0.2}, {"S_ALK", 0.1},
                                                  {"X_PAO", 10.0}, {"X_PHA", 0.1}, {"X_PP", 3.2}};
    EXPECT_NEAR(computeRate(second, 11, stored), 1.5 * 0.5 * 0.5 * 0.5 * 0.5 * 0.5 * 10.0, 1e-9);
    EXPECT_EQ(
        computeRate(second, 11,
                    {{"S_O2", 2.0}, {"S_PO4", 5.0}, {"S_ALK", 5.0}, {"X_PAO", 10.0}, {"X_PHA", 1.0}, {"X_PP", 3.5}}),
        0.0)
        << "no more than K_MAX";
}

TEST(PlantMatrix, CountsWhatIsNotThereAsNothing) {
    for (const MatrixTable& table : {asm1_makeTable(false), asm2d_makeTable()}) {
        const Matrix matrix = compile(table);
        for (const double value : {0.0, -1.0}) {
            const std::vector<double> point(matrix.names.size(), value);
            std::vector<double> rates(matrix.names.size());
            matrix_addRates(matrix, point.data(), rates.data());
            for (const double rate : rates) {
                EXPECT_EQ(rate, 0.0);
            }
        }
    }
}

// 6 1/d at 20 degree C and 3 at 10, Henze et al. 1987.
TEST(PlantMatrix, TakesParametersToTheTemperature) {
    const Matrix cold = compile(asm1_makeTable(false), 10.0);
    EXPECT_NEAR(computeRate(cold, 4, {{"X_BH", 1.0}}), 0.20, 0.001);
    const double rate = computeRate(cold, 1, {{"S_S", 20.0}, {"S_O", 0.2}, {"S_NH", 0.05}, {"X_BH", 1.0}});
    EXPECT_NEAR(rate, 3.0 / 8, 0.001);
}

TEST(PlantMatrix, RefusesTextsThatAreNoExpressions) {
    const NameLookup lookup = [](std::string_view name) {
        NameMeaning meaning;
        meaning.isKnown = name == "K";
        meaning.number = 2.0;
        return meaning;
    };
    Expression expression;
    ASSERT_EQ(expression_compile("-(1 - K)/(2*K) + 3", lookup, expression), "");
    EXPECT_TRUE(expression_isConstant(expression));
    EXPECT_EQ(expression_compute(expression, nullptr), 3.25);
    for (const char* text : {"", "K +", "(K", "K)", "L", "monod(K)", "other(K, K)", "1..2", "K K"}) {
        EXPECT_NE(expression_compile(text, lookup, expression), "") << text;
    }
}

// The pages hold the tables that the code has now.
TEST(PlantMatrix, IsPrintedInTheManual) {
    const std::string page = readFile(std::string(TARNVELDE_SOURCE_DIR) + "/docs/plant.md");
    EXPECT_THAT(page, testing::HasSubstr(matrix_writeMarkdown(asm1_makeTable(false))));
    EXPECT_THAT(page, testing::HasSubstr(matrix_writeMarkdown(asm2d_makeTable())));
}
