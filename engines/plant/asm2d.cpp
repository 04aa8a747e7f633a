// Activated Sludge Model No. 2d: Henze, Gujer, Mino, Matsuo, Wentzel, Marais, van Loosdrecht (1999), Water Science and
// Technology 39(1), and IWA Scientific and Technical Report 9 (2000). As the authors do, the coefficients of ammonium,
// phosphate, alkalinity and solids are taken from continuity.

#include "matrix.h"

static std::vector<ComponentRow> makeComponents() {
    return {
        {"S_O2", "g O2/m3", "oxygen", {"-1", "", "", "", ""}},
        {"S_F", "g COD/m3", "fermentable substrate", {"1", "i_NSF", "i_PSF", "", ""}},
        {"S_A", "g COD/m3", "fermentation products, acetate", {"1", "", "", "-1/64", ""}},
        {"S_I", "g COD/m3", "inert dissolved matter", {"1", "i_NSI", "i_PSI", "", ""}},
        {"S_NH4", "g N/m3", "ammonium and ammonia", {"", "1", "", "1/14", ""}},
        {"S_N2", "g N/m3", "nitrogen gas, dissolved", {"-24/14", "1", "", "", ""}},
        {"S_NO3", "g N/m3", "nitrate and nitrite", {"-64/14", "1", "", "-1/14", ""}},
        {"S_PO4", "g P/m3", "phosphate", {"", "", "1", "-1.5/31", ""}},
        {"S_ALK", "mol/m3", "alkalinity", {"", "", "", "-1", ""}},
        {"X_I", "g COD/m3", "inert particulate matter", {"1", "i_NXI", "i_PXI", "", "i_TSSXI"}},
        {"X_S", "g COD/m3", "slowly degradable substrate", {"1", "i_NXS", "i_PXS", "", "i_TSSXS"}},
        {"X_H", "g COD/m3", "heterotrophs", {"1", "i_NBM", "i_PBM", "", "i_TSSBM"}},
        {"X_PAO", "g COD/m3", "phosphorus accumulating organisms", {"1", "i_NBM", "i_PBM", "", "i_TSSBM"}},
        {"X_PP", "g P/m3", "polyphosphate", {"", "", "1", "-1/31", "3.23"}},
        {"X_PHA", "g COD/m3", "stored organics of PAO", {"1", "", "", "", "0.6"}},
        {"X_AUT", "g COD/m3", "nitrifiers", {"1", "i_NBM", "i_PBM", "", "i_TSSBM"}},
        {"X_TSS", "g/m3", "suspended solids", {"", "", "", "", "-1"}},
        {"X_MeOH", "g/m3", "metal hydroxides", {"", "", "", "", "1"}},
        {"X_MeP", "g/m3", "metal phosphates", {"", "", "1/4.87", "", "1"}},
    };
}

static std::vector<ParameterRow> makeStoichiometry() {
    return {
        {"i_NSI", 0.01, 1.0, "g N/g COD", "nitrogen in S_I"},
        {"i_NSF", 0.03, 1.0, "g N/g COD", "nitrogen in S_F"},
        {"i_NXI", 0.02, 1.0, "g N/g COD", "nitrogen in X_I"},
        {"i_NXS", 0.04, 1.0, "g N/g COD", "nitrogen in X_S"},
        {"i_NBM", 0.07, 1.0, "g N/g COD", "nitrogen in biomass"},
        {"i_PSI", 0.0, 1.0, "g P/g COD", "phosphorus in S_I"},
        {"i_PSF", 0.01, 1.0, "g P/g COD", "phosphorus in S_F"},
        {"i_PXI", 0.01, 1.0, "g P/g COD", "phosphorus in X_I"},
        {"i_PXS", 0.01, 1.0, "g P/g COD", "phosphorus in X_S"},
        {"i_PBM", 0.02, 1.0, "g P/g COD", "phosphorus in biomass"},
        {"i_TSSXI", 0.75, 1.0, "g TSS/g COD", "solids of X_I"},
        {"i_TSSXS", 0.75, 1.0, "g TSS/g COD", "solids of X_S"},
        {"i_TSSBM", 0.9, 1.0, "g TSS/g COD", "solids of biomass"},
        {"f_SI", 0.0, 1.0, "-", "S_I made by hydrolysis"},
        {"Y_H", 0.625, 1.0, "g COD/g COD", "yield of heterotrophs"},
        {"f_XI", 0.1, 1.0, "-", "X_I made by lysis"},
        {"Y_PAO", 0.625, 1.0, "g COD/g COD", "yield of PAO"},
        {"Y_PO4", 0.4, 1.0, "g P/g COD", "phosphate released when PHA is stored"},
        {"Y_PHA", 0.2, 1.0, "g COD/g P", "PHA needed to store polyphosphate"},
        {"Y_A", 0.24, 1.0, "g COD/g N", "yield of nitrifiers"},
    };
}

// Values at 20 degree C, factors from those at 20 and 10.
static std::vector<ParameterRow> makeKinetics() {
    return {
        {"K_h", 3.0, 1.0414, "1/d", "hydrolysis"},
        {"eta_NO3h", 0.6, 1.0, "-", "anoxic part of hydrolysis"},
        {"eta_fe", 0.4, 1.0, "-", "anaerobic part of hydrolysis"},
        {"K_O2", 0.2, 1.0, "g O2/m3", "oxygen, all but nitrifiers"},
        {"K_NO3", 0.5, 1.0, "g N/m3", "nitrate"},
        {"K_X", 0.1, 1.0, "g COD/g COD", "particulate substrate"},
        {"mu_H", 6.0, 1.0718, "1/d", "growth of heterotrophs"},
        {"q_fe", 3.0, 1.0718, "g COD/(g COD d)", "fermentation"},
        {"eta_NO3", 0.8, 1.0, "-", "anoxic part of growth"},
        {"b_H", 0.4, 1.0718, "1/d", "lysis of heterotrophs"},
        {"K_F", 4.0, 1.0, "g COD/m3", "growth on S_F"},
        {"K_fe", 4.0, 1.0, "g COD/m3", "fermentation of S_F"},
        {"K_A", 4.0, 1.0, "g COD/m3", "acetate"},
        {"K_NH4", 0.05, 1.0, "g N/m3", "ammonium as nutrient"},
        {"K_P", 0.01, 1.0, "g P/m3", "phosphate as nutrient"},
        {"K_ALK", 0.1, 1.0, "mol/m3", "alkalinity"},
        {"q_PHA", 3.0, 1.0414, "g COD/(g COD d)", "storage of PHA"},
        {"q_PP", 1.5, 1.0414, "g P/(g COD d)", "storage of polyphosphate"},
        {"mu_PAO", 1.0, 1.0409, "1/d", "growth of PAO"},
        {"eta_NO3P", 0.6, 1.0, "-", "anoxic part of PAO"},
        {"b_PAO", 0.2, 1.0718, "1/d", "lysis of PAO"},
        {"b_PP", 0.2, 1.0718, "1/d", "lysis of polyphosphate"},
        {"b_PHA", 0.2, 1.0718, "1/d", "lysis of PHA"},
        {"K_PS", 0.2, 1.0, "g P/m3", "phosphate, storage"},
        {"K_PP", 0.01, 1.0, "g P/g COD", "polyphosphate in PAO"},
        {"K_MAX", 0.34, 1.0, "g P/g COD", "most polyphosphate in PAO"},
        {"K_IPP", 0.02, 1.0, "g P/g COD", "inhibition of storage"},
        {"K_PHA", 0.01, 1.0, "g COD/g COD", "PHA in PAO"},
        {"mu_AUT", 1.0, 1.1107, "1/d", "growth of nitrifiers"},
        {"b_AUT", 0.15, 1.1161, "1/d", "lysis of nitrifiers"},
        {"K_O2A", 0.5, 1.0, "g O2/m3", "oxygen, nitrifiers"},
        {"K_NH4A", 1.0, 1.0, "g N/m3", "ammonium, nitrifiers"},
        {"K_ALKA", 0.5, 1.0, "mol/m3", "alkalinity, nitrifiers and redissolution"},
        {"k_PRE", 1.0, 1.0, "m3/(g d)", "precipitation"},
        {"k_RED", 0.6, 1.0, "1/d", "redissolution"},
    };
}

static std::vector<ProcessRow> makeHydrolysis() {
    const std::vector<CellRow> cells = {{"S_F", "1 - f_SI"}, {"S_I", "f_SI"}, {"X_S", "-1"}};
    return {
        {"aerobic hydrolysis", "K_h * monod(S_O2, K_O2) * X_S / (K_X * X_H + X_S) * X_H", cells},
        {"anoxic hydrolysis",
         "K_h * eta_NO3h * inhibition(K_O2, S_O2) * monod(S_NO3, K_NO3) * X_S / (K_X * X_H + X_S) * X_H", cells},
        {"anaerobic hydrolysis",
         "K_h * eta_fe * inhibition(K_O2, S_O2) * inhibition(K_NO3, S_NO3) * X_S / (K_X * X_H + X_S) * X_H", cells},
    };
}

static std::vector<ProcessRow> makeHeterotrophs() {
    return {
        {"growth on S_F",
         "mu_H * monod(S_O2, K_O2) * monod(S_F, K_F) * S_F / (S_F + S_A) * monod(S_NH4, K_NH4) * monod(S_PO4, K_P) * "
         "monod(S_ALK, K_ALK) * X_H",
         {{"S_O2", "1 - 1/Y_H"}, {"S_F", "-1/Y_H"}, {"X_H", "1"}}},
        {"growth on S_A",
         "mu_H * monod(S_O2, K_O2) * monod(S_A, K_A) * S_A / (S_F + S_A) * monod(S_NH4, K_NH4) * monod(S_PO4, K_P) * "
         "monod(S_ALK, K_ALK) * X_H",
         {{"S_O2", "1 - 1/Y_H"}, {"S_A", "-1/Y_H"}, {"X_H", "1"}}},
        {"denitrification on S_F",
         "mu_H * eta_NO3 * inhibition(K_O2, S_O2) * monod(S_NO3, K_NO3) * monod(S_F, K_F) * S_F / (S_F + S_A) * "
         "monod(S_NH4, K_NH4) * monod(S_PO4, K_P) * monod(S_ALK, K_ALK) * X_H",
         {{"S_F", "-1/Y_H"}, {"S_N2", "(1 - Y_H)/(40/14*Y_H)"}, {"S_NO3", "-(1 - Y_H)/(40/14*Y_H)"}, {"X_H", "1"}}},
        {"denitrification on S_A",
         "mu_H * eta_NO3 * inhibition(K_O2, S_O2) * monod(S_NO3, K_NO3) * monod(S_A, K_A) * S_A / (S_F + S_A) * "
         "monod(S_NH4, K_NH4) * monod(S_PO4, K_P) * monod(S_ALK, K_ALK) * X_H",
         {{"S_A", "-1/Y_H"}, {"S_N2", "(1 - Y_H)/(40/14*Y_H)"}, {"S_NO3", "-(1 - Y_H)/(40/14*Y_H)"}, {"X_H", "1"}}},
        {"fermentation",
         "q_fe * inhibition(K_O2, S_O2) * inhibition(K_NO3, S_NO3) * monod(S_F, K_fe) * monod(S_ALK, K_ALK) * X_H",
         {{"S_F", "-1"}, {"S_A", "1"}}},
        {"lysis of heterotrophs", "b_H * X_H", {{"X_I", "f_XI"}, {"X_S", "1 - f_XI"}, {"X_H", "-1"}}},
    };
}

static std::vector<ProcessRow> makeAccumulators() {
    return {
        {"storage of PHA",
         "q_PHA * monod(S_A, K_A) * monod(S_ALK, K_ALK) * X_PP / (K_PP * X_PAO + X_PP) * X_PAO",
         {{"S_A", "-1"}, {"S_PO4", "Y_PO4"}, {"X_PP", "-Y_PO4"}, {"X_PHA", "1"}}},
        {"aerobic storage of polyphosphate",
         "q_PP * monod(S_O2, K_O2) * monod(S_PO4, K_PS) * monod(S_ALK, K_ALK) * X_PHA / (K_PHA * X_PAO + X_PHA) * "
         "monod(rest(K_MAX - X_PP / X_PAO), K_IPP) * X_PAO",
         {{"S_O2", "-Y_PHA"}, {"S_PO4", "-1"}, {"X_PP", "1"}, {"X_PHA", "-Y_PHA"}}},
        {"anoxic storage of polyphosphate",
         "q_PP * eta_NO3P * inhibition(K_O2, S_O2) * monod(S_NO3, K_NO3) * monod(S_PO4, K_PS) * monod(S_ALK, K_ALK) * "
         "X_PHA / (K_PHA * X_PAO + X_PHA) * monod(rest(K_MAX - X_PP / X_PAO), K_IPP) * X_PAO",
         {{"S_N2", "Y_PHA/(40/14)"}, {"S_NO3", "-Y_PHA/(40/14)"}, {"S_PO4", "-1"}, {"X_PP", "1"}, {"X_PHA", "-Y_PHA"}}},
        {"aerobic growth of PAO",
         "mu_PAO * monod(S_O2, K_O2) * monod(S_NH4, K_NH4) * monod(S_PO4, K_P) * monod(S_ALK, K_ALK) * X_PHA / (K_PHA "
         "* "
         "X_PAO + X_PHA) * X_PAO",
         {{"S_O2", "1 - 1/Y_PAO"}, {"X_PAO", "1"}, {"X_PHA", "-1/Y_PAO"}}},
        {"anoxic growth of PAO",
         "mu_PAO * eta_NO3P * inhibition(K_O2, S_O2) * monod(S_NO3, K_NO3) * monod(S_NH4, K_NH4) * monod(S_PO4, K_P) * "
         "monod(S_ALK, K_ALK) * X_PHA / (K_PHA * X_PAO + X_PHA) * X_PAO",
         {{"S_N2", "(1 - Y_PAO)/(40/14*Y_PAO)"},
          {"S_NO3", "-(1 - Y_PAO)/(40/14*Y_PAO)"},
          {"X_PAO", "1"},
          {"X_PHA", "-1/Y_PAO"}}},
        {"lysis of PAO",
         "b_PAO * X_PAO * monod(S_ALK, K_ALK)",
         {{"X_I", "f_XI"}, {"X_S", "1 - f_XI"}, {"X_PAO", "-1"}}},
        {"lysis of polyphosphate", "b_PP * X_PP * monod(S_ALK, K_ALK)", {{"S_PO4", "1"}, {"X_PP", "-1"}}},
        {"lysis of PHA", "b_PHA * X_PHA * monod(S_ALK, K_ALK)", {{"S_A", "1"}, {"X_PHA", "-1"}}},
    };
}

static std::vector<ProcessRow> makeRest() {
    return {
        {"growth of nitrifiers",
         "mu_AUT * monod(S_O2, K_O2A) * monod(S_NH4, K_NH4A) * monod(S_PO4, K_P) * monod(S_ALK, K_ALKA) * X_AUT",
         {{"S_O2", "-(64/14 - Y_A)/Y_A"}, {"S_NO3", "1/Y_A"}, {"X_AUT", "1"}}},
        {"lysis of nitrifiers", "b_AUT * X_AUT", {{"X_I", "f_XI"}, {"X_S", "1 - f_XI"}, {"X_AUT", "-1"}}},
        {"precipitation", "k_PRE * S_PO4 * X_MeOH", {{"S_PO4", "-1"}, {"X_MeOH", "-3.45"}, {"X_MeP", "4.87"}}},
        {"redissolution",
         "k_RED * X_MeP * monod(S_ALK, K_ALKA)",
         {{"S_PO4", "1"}, {"X_MeOH", "3.45"}, {"X_MeP", "-4.87"}}},
    };
}

template <typename Row>
static void append(std::vector<Row>& rows, const std::vector<Row>& others) {
    rows.insert(rows.end(), others.begin(), others.end());
}

MatrixTable asm2d_makeTable() {
    MatrixTable table{
        "ASM2d",          20.0,
        makeComponents(), makeStoichiometry(),
        makeHydrolysis(), {{"S_NH4", NITROGEN}, {"S_PO4", PHOSPHORUS}, {"S_ALK", CHARGE}, {"X_TSS", SOLIDS}}};
    append(table.parameters, makeKinetics());
    append(table.processes, makeHeterotrophs());
    append(table.processes, makeAccumulators());
    append(table.processes, makeRest());
    return table;
}
