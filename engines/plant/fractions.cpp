// In: six constituents become the components of the model. Out: these become the components that hosts know, those of
// ASM2d. The manual has both as tables.

#include "plantmodel.h"

const std::array<std::string_view, CONSTITUENT_COUNT> ConstituentNames = {"COD", "NH4", "NO3", "TP", "TSS", "ALK"};
const std::array<std::string_view, PRODUCT_COUNT> ProductNames = {
    "S_O2", "S_F", "S_A",   "S_I",  "S_NH4", "S_N2",  "S_NO3", "S_PO4",  "S_ALK", "X_I",
    "X_S",  "X_H", "X_PAO", "X_PP", "X_PHA", "X_AUT", "X_TSS", "X_MeOH", "X_MeP"};

namespace {

enum Constituent : size_t {
    CONSTITUENT_COD,
    CONSTITUENT_NH4,
    CONSTITUENT_NO3,
    CONSTITUENT_TP,
    CONSTITUENT_TSS,
    CONSTITUENT_ALK
};

// Solids and phosphorus of the organic components, which the constituents of the same name hold besides others.
double sumContent(const PlantModel& model, const double* components, Content content) {
    double sum = 0.0;
    for (size_t c = 0; c < model.matrix.names.size(); ++c) {
        if (model.matrix.contents[c][COD] > 0.0) {
            sum += model.matrix.contents[c][content] * components[c];
        }
    }
    return sum;
}

double rest(double value) {
    return value > 0.0 ? value : 0.0;
}

}  // namespace

double plantmodel_computeSaturation(double temperature) {
    const double t = temperature;
    return 14.652 - 0.41022 * t + 0.007991 * t * t - 0.000077774 * t * t * t;
}

void plantmodel_splitInflow(const PlantModel& model, const std::array<double, CONSTITUENT_COUNT>& constituents,
                            double* components) {
    const Fractions& part = model.fractions;
    const bool isFirst = model.kinetics == Kinetics::ASM1;
    const auto at = [&](std::string_view name) -> double& {
        return components[matrix_findComponent(model.matrix, name)];
    };
    for (size_t c = 0; c < model.matrix.names.size(); ++c) {
        components[c] = 0.0;
    }
    const double cod = rest(constituents[CONSTITUENT_COD]);
    const double slow =
        1.0 - part.inertDissolved - part.fermentable - part.acetate - part.inertParticulate - part.biomass;
    at("S_I") = part.inertDissolved * cod;
    at("X_I") = part.inertParticulate * cod;
    at("X_S") = rest(slow) * cod;
    at("S_ALK") = rest(constituents[CONSTITUENT_ALK]) / part.alkalinity;
    if (isFirst) {
        at("S_S") = (part.fermentable + part.acetate) * cod;
        at("X_BH") = part.biomass * cod;
        at("S_NH") = rest(constituents[CONSTITUENT_NH4]);
        at("S_NO") = rest(constituents[CONSTITUENT_NO3]);
        at("S_ND") = part.nitrogenDissolved * at("S_S");
        at("X_ND") = part.nitrogenParticulate * at("X_S");
        at("S_PO4") = rest(constituents[CONSTITUENT_TP]);
        at("X_MIN") = rest(constituents[CONSTITUENT_TSS] - sumContent(model, components, SOLIDS));
        return;
    }
    at("S_F") = part.fermentable * cod;
    at("S_A") = part.acetate * cod;
    at("X_H") = part.biomass * cod;
    at("S_NH4") = rest(constituents[CONSTITUENT_NH4]);
    at("S_NO3") = rest(constituents[CONSTITUENT_NO3]);
    at("S_PO4") = rest(constituents[CONSTITUENT_TP] - sumContent(model, components, PHOSPHORUS));
    const double organic = sumContent(model, components, SOLIDS);
    at("X_TSS") = organic + rest(constituents[CONSTITUENT_TSS] - organic);
}

void plantmodel_mapProducts(const PlantModel& model, const double* components,
                            std::array<double, PRODUCT_COUNT>& products) {
    constexpr size_t ALKALINITY = 8;
    const auto at = [&](std::string_view name) { return components[matrix_findComponent(model.matrix, name)]; };
    if (model.kinetics == Kinetics::ASM1) {
        products = {at("S_O"),
                    at("S_S"),
                    0.0,
                    at("S_I"),
                    at("S_NH"),
                    at("S_N2"),
                    at("S_NO"),
                    at("S_PO4"),
                    at("S_ALK"),
                    at("X_I") + at("X_P"),
                    at("X_S"),
                    at("X_BH"),
                    0.0,
                    0.0,
                    0.0,
                    at("X_BA"),
                    matrix_computeSolids(model.matrix, components),
                    0.0,
                    0.0};
    } else {
        for (size_t k = 0; k < PRODUCT_COUNT; ++k) {
            products[k] = components[k];
        }
    }
    products[ALKALINITY] *= model.fractions.alkalinity;
}
