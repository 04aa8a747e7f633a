// Orifices: outlets of tanks by Torricelli's law (1644), Q = c A sqrt(2 g h). The setting is the open share of the
// height. While the water stands below the upper edge of the opening, only the wetted part lets water through, at half
// its depth as the head; above it the head is that over the middle of the opening.

#include "links/orifice.h"

#include <cmath>

#include "links/circle.h"
#include "links/link.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/plausible.h"
#include "model/project.h"
#include "text/tokens.h"

static const char* const OrificeShapeWords[] = {"CIRCULAR", "RECTANGULAR", nullptr};

static constexpr double TWO_G = 19.62;  ///< m/s2

// --- reading -------------------------------------------------------------------------------------------------------

/// The numbers of a line after the shape. An error index, or 0.
static int32_t readSizes(Model& model, const Tokens& tokens, Orifice& orifice) {
    if (!tokens_getNonNegative(tokens[5], &orifice.coefficient) || orifice.coefficient == 0.0) {
        return errors_setName(model, ERR_NUMBER, tokens[5]);
    }
    if (!tokens_getNonNegative(tokens[6], &orifice.crest)) {
        return errors_setName(model, ERR_NUMBER, tokens[6]);
    }
    if (!tokens_getNonNegative(tokens[7], &orifice.height)) {
        return errors_setName(model, ERR_NUMBER, tokens[7]);
    }
    if (orifice.height == 0.0) {
        return errors_setName(model, ERR_NUMBER, tokens[5]);  // shows the coefficient, also when the height is at fault
    }
    if (orifice.shape == RECTANGULAR_ORIFICE) {
        if (tokens.count < 9) {
            return errors_setName(model, ERR_ITEMS, "");
        }
        if (!tokens_getDouble(tokens[8], &orifice.width) || !(orifice.width > 0.0)) {
            return errors_setName(model, ERR_NUMBER, tokens[8]);
        }
    }
    return ERR_NONE;
}

int32_t orifice_readLine(Model& model, const Tokens& tokens, int32_t link, int32_t kindIndex) {
    LinkHead head;
    if (const int32_t error = link_readHead(model, tokens, 8, head)) {
        return error;
    }
    Orifice orifice{};
    orifice.shape = tokens_findKeyword(tokens[4], OrificeShapeWords);
    if (orifice.shape < 0) {
        return errors_setName(model, ERR_KEYWORD, tokens[4]);
    }
    if (const int32_t error = readSizes(model, tokens, orifice)) {
        return error;
    }
    plausible_check(model, PLAUSIBLE_ORIFICE_COEFFICIENT, orifice.coefficient, 5, head.id);
    plausible_check(model, PLAUSIBLE_CREST, orifice.crest, 6, head.id);
    plausible_check(model, PLAUSIBLE_ORIFICE_SIZE, orifice.height, 7, head.id);
    if (orifice.shape == RECTANGULAR_ORIFICE) {
        plausible_check(model, PLAUSIBLE_ORIFICE_SIZE, orifice.width, 8, head.id);
    }
    link_setHead(model, link, ORIFICE, kindIndex, head);
    model.orifices[kindIndex] = orifice;
    return ERR_NONE;
}

// --- flow ----------------------------------------------------------------------------------------------------------

/// Area (m2) of a circle of diameter D (m) below the depth y (m). The order of the factors is that of this law alone:
/// conduits multiply in another one, and their areas differ in the last bits.
static double getFilledArea(double D, double y) {
    if (y > D) {
        return D * D * PI * 0.25;
    }
    if (y <= D / 2.0) {
        const double t = std::acos((D - 2.0 * y) / D);
        return 2.0 * t * (D * D) * PI * 0.25 / TWO_PI - std::sin(t) * (D / 2.0 - y) * D * 0.5;
    }
    const double t = std::acos((2.0 * y - D) / D);
    return std::sin(t) * (y - D / 2.0) * D * 0.5 + (TWO_PI - 2.0 * t) * (D * D) * PI * 0.25 / TWO_PI;
}

double orifice_getFlow(const Link& link, const Orifice& orifice, double depth) {
    if (!(depth > orifice.crest)) {
        return 0.0;
    }
    const double d = depth - orifice.crest;
    const double a = orifice.height * link.setting;
    const bool isFree = depth <= a + orifice.crest;
    const double head = isFree ? d / 2.0 : d - a / 2.0;
    const double y = isFree ? d : a;
    if (!(head > 0.0)) {
        return 0.0;
    }
    double area = 0.0;
    switch (orifice.shape) {
        case CIRCULAR_ORIFICE: area = getFilledArea(orifice.height, y); break;
        case RECTANGULAR_ORIFICE: area = y * orifice.width; break;
        default: break;  // a shape that only a host can set
    }
    return std::sqrt(head * TWO_G) * area * orifice.coefficient;
}
