// Activated Sludge Model No. 1: Henze, Grady, Gujer, Marais, Matsuo (1987), IAWPRC Scientific and Technical Reports 1.
// Three components go with it that the report hasn't: nitrogen gas, which closes the books of denitrification,
// dissolved phosphorus and mineral solids, which nothing changes. And heterotrophs need some ammonium to grow (K_NG),
// where the report lets them take what isn't there; 0 is as the report has it, and as the benchmark.

#include "matrix.h"

static std::vector<ComponentRow> makeComponents() {
    return {
        {"S_I", "g COD/m3", "inert dissolved matter", {"1", "", "", "", ""}},
        {"S_S", "g COD/m3", "readily degradable substrate", {"1", "", "", "", ""}},
        {"X_I", "g COD/m3", "inert particulate matter", {"1", "", "", "", "i_TSS"}},
        {"X_S", "g COD/m3", "slowly degradable substrate", {"1", "", "", "", "i_TSS"}},
        {"X_BH", "g COD/m3", "heterotrophic biomass", {"1", "i_XB", "", "", "i_TSS"}},
        {"X_BA", "g COD/m3", "autotrophic biomass", {"1", "i_XB", "", "", "i_TSS"}},
        {"X_P", "g COD/m3", "inert products of decay", {"1", "i_XP", "", "", "i_TSS"}},
        {"S_O", "g O2/m3", "oxygen", {"-1", "", "", "", ""}},
        {"S_NO", "g N/m3", "nitrate and nitrite", {"-i_ON", "1", "", "-1/14", ""}},
        {"S_NH", "g N/m3", "ammonium and ammonia", {"", "1", "", "1/14", ""}},
        {"S_ND", "g N/m3", "dissolved organic nitrogen", {"", "1", "", "", ""}},
        {"X_ND", "g N/m3", "particulate organic nitrogen", {"", "1", "", "", ""}},
        {"S_ALK", "mol/m3", "alkalinity", {"", "", "", "-1", ""}},
        {"S_N2", "g N/m3", "nitrogen gas, dissolved", {"-(i_ON - i_OD)", "1", "", "", ""}},
        {"S_PO4", "g P/m3", "phosphorus, unchanged", {"", "", "1", "", ""}},
        {"X_MIN", "g/m3", "mineral solids, unchanged", {"", "", "", "", "1"}},
    };
}

// Values of the report at 20 degree C, factors from its values at 20 and 10.
static std::vector<ParameterRow> makeReportParameters() {
    return {
        {"Y_H", 0.67, 1.0, "g COD/g COD", "yield of heterotrophs"},
        {"Y_A", 0.24, 1.0, "g COD/g N", "yield of autotrophs"},
        {"f_P", 0.08, 1.0, "-", "part of biomass that becomes inert"},
        {"i_XB", 0.086, 1.0, "g N/g COD", "nitrogen in biomass"},
        {"i_XP", 0.06, 1.0, "g N/g COD", "nitrogen in products of decay"},
        {"i_TSS", 0.75, 1.0, "g TSS/g COD", "solids of particulate COD"},
        {"i_ON", 4.57, 1.0, "g COD/g N", "oxygen that makes nitrate of ammonium"},
        {"i_OD", 2.86, 1.0, "g COD/g N", "oxygen that nitrate replaces"},
        {"mu_H", 6.0, 1.0718, "1/d", "growth of heterotrophs"},
        {"K_S", 20.0, 1.0, "g COD/m3", "half saturation, substrate"},
        {"K_OH", 0.2, 1.0, "g O2/m3", "half saturation, oxygen, heterotrophs"},
        {"K_NO", 0.5, 1.0, "g N/m3", "half saturation, nitrate"},
        {"K_NG", 0.05, 1.0, "g N/m3", "half saturation, ammonium as nutrient"},
        {"b_H", 0.62, 1.1198, "1/d", "decay of heterotrophs"},
        {"eta_g", 0.8, 1.0, "-", "anoxic part of growth"},
        {"eta_h", 0.4, 1.0, "-", "anoxic part of hydrolysis"},
        {"k_h", 3.0, 1.1161, "g COD/(g COD d)", "hydrolysis"},
        {"K_X", 0.03, 1.1161, "g COD/g COD", "half saturation, hydrolysis"},
        {"mu_A", 0.8, 1.1031, "1/d", "growth of autotrophs"},
        {"K_NH", 1.0, 1.0, "g N/m3", "half saturation, ammonium"},
        {"b_A", 0.1, 1.1031, "1/d", "decay of autotrophs"},
        {"K_OA", 0.4, 1.0, "g O2/m3", "half saturation, oxygen, autotrophs"},
        {"k_a", 0.08, 1.0718, "m3/(g COD d)", "ammonification"},
    };
}

// Where the benchmark of Copp (2002) differs, at its 15 degree C, factors from the values of its long run at 15 and 10.
static std::vector<ParameterRow> makeBenchmarkParameters() {
    std::vector<ParameterRow> rows = makeReportParameters();
    const std::vector<ParameterRow> others = {
        {"i_XB", 0.08, 1.0, "", ""},   {"mu_H", 4.0, 1.0592, "", ""}, {"K_S", 10.0, 1.0, "", ""},
        {"b_H", 0.3, 1.0845, "", ""},  {"eta_h", 0.8, 1.0, "", ""},   {"k_h", 3.0, 1.0371, "", ""},
        {"K_X", 0.1, 1.0, "", ""},     {"mu_A", 0.5, 1.1076, "", ""}, {"b_A", 0.05, 1.1076, "", ""},
        {"k_a", 0.05, 1.0456, "", ""}, {"K_NG", 0.0, 1.0, "", ""},
    };
    for (ParameterRow& row : rows) {
        for (const ParameterRow& other : others) {
            if (row.name == other.name) {
                row.value = other.value;
                row.theta = other.theta;
            }
        }
    }
    return rows;
}

static std::vector<ProcessRow> makeProcesses() {
    return {
        {"aerobic growth of heterotrophs",
         "mu_H * monod(S_S, K_S) * monod(S_O, K_OH) * monod(S_NH, K_NG) * X_BH",
         {{"S_S", "-1/Y_H"}, {"X_BH", "1"}, {"S_O", "-(1 - Y_H)/Y_H"}, {"S_NH", "-i_XB"}}},
        {"anoxic growth of heterotrophs",
         "mu_H * monod(S_S, K_S) * inhibition(K_OH, S_O) * monod(S_NO, K_NO) * eta_g * monod(S_NH, K_NG) * X_BH",
         {{"S_S", "-1/Y_H"},
          {"X_BH", "1"},
          {"S_NO", "-(1 - Y_H)/(i_OD*Y_H)"},
          {"S_N2", "(1 - Y_H)/(i_OD*Y_H)"},
          {"S_NH", "-i_XB"}}},
        {"aerobic growth of autotrophs",
         "mu_A * monod(S_NH, K_NH) * monod(S_O, K_OA) * X_BA",
         {{"X_BA", "1"}, {"S_O", "-(i_ON - Y_A)/Y_A"}, {"S_NO", "1/Y_A"}, {"S_NH", "-i_XB - 1/Y_A"}}},
        {"decay of heterotrophs",
         "b_H * X_BH",
         {{"X_S", "1 - f_P"}, {"X_BH", "-1"}, {"X_P", "f_P"}, {"X_ND", "i_XB - f_P*i_XP"}}},
        {"decay of autotrophs",
         "b_A * X_BA",
         {{"X_S", "1 - f_P"}, {"X_BA", "-1"}, {"X_P", "f_P"}, {"X_ND", "i_XB - f_P*i_XP"}}},
        {"ammonification", "k_a * S_ND * X_BH", {{"S_NH", "1"}, {"S_ND", "-1"}}},
        {"hydrolysis of entrapped organics",
         "k_h * X_S / (K_X * X_BH + X_S) * (monod(S_O, K_OH) + eta_h * inhibition(K_OH, S_O) * monod(S_NO, K_NO)) * "
         "X_BH",
         {{"S_S", "1"}, {"X_S", "-1"}}},
        {"hydrolysis of entrapped organic nitrogen",
         "k_h * X_ND / (K_X * X_BH + X_S) * (monod(S_O, K_OH) + eta_h * inhibition(K_OH, S_O) * monod(S_NO, K_NO)) * "
         "X_BH",
         {{"S_ND", "1"}, {"X_ND", "-1"}}},
    };
}

MatrixTable asm1_makeTable(bool isBenchmark) {
    return {"ASM1",           isBenchmark ? 15.0 : 20.0,
            makeComponents(), isBenchmark ? makeBenchmarkParameters() : makeReportParameters(),
            makeProcesses(),  {{"S_ALK", CHARGE}}};
}
