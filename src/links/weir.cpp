// Weirs: outlets of tanks by the overfall law (Poleni 1717): Q = c L h^1.5 over a rectangular crest, Q = c h^2.5
// through a triangular notch, h being the head over the crest. The setting of a weir is the share of its opening that
// is lowered: at 1 the crest stands at `crest`, at 0 it is lifted by the whole opening.

#include "links/weir.h"

#include <cmath>

#include "links/link.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/plausible.h"
#include "model/project.h"
#include "text/tokens.h"

static const char* const WeirShapeWords[] = {"RECTANGULAR", "TRIANGULAR", nullptr};

static void checkNumbers(const Model& model, const Weir& weir, const char* id) {
    if (weir.shape == RECTANGULAR_WEIR) {
        plausible_check(model, PLAUSIBLE_WEIR_COEFFICIENT, weir.coefficient, 5, id);
        plausible_check(model, PLAUSIBLE_WEIR_LENGTH, weir.length, 6, id);
    } else {
        plausible_check(model, PLAUSIBLE_NOTCH_COEFFICIENT, weir.coefficient, 5, id);
    }
    plausible_check(model, PLAUSIBLE_CREST, weir.crest, 7, id);
    plausible_check(model, PLAUSIBLE_WEIR_OPENING, weir.opening, 8, id);
}

int32_t weir_readLine(Model& model, const Tokens& tokens, int32_t link, int32_t kindIndex) {
    LinkHead head;
    if (const int32_t error = link_readHead(model, tokens, 9, head)) {
        return error;
    }
    Weir weir{};
    weir.shape = tokens_findKeyword(tokens[4], WeirShapeWords);
    if (weir.shape < 0) {
        return errors_setName(model, ERR_KEYWORD, tokens[4]);
    }
    double* const values[] = {&weir.coefficient, &weir.length, &weir.crest, &weir.opening};
    for (int32_t k = 0; k < 4; ++k) {
        // A triangular weir needs a length too, though its flow doesn't depend on it.
        const bool mayBeZero = k >= 2;
        if (!tokens_getNonNegative(tokens[5 + k], values[k]) || (!mayBeZero && *values[k] == 0.0)) {
            return errors_setName(model, ERR_NUMBER, tokens[5 + k]);
        }
    }
    checkNumbers(model, weir, head.id);
    link_setHead(model, link, WEIR, kindIndex, head);
    model.weirs[kindIndex] = weir;
    return ERR_NONE;
}

void weir_initState(Weir& weir) {
    weir.useHostCoefficient = weir.useHostHeight = false;
    weir.hostHeight = weir.opening;
    weir.hostCoefficient = weir.coefficient;
}

double weir_getLevel(const Link& link, const Weir& weir) {
    return (1.0 - link.setting) * weir.opening + weir.crest;
}

double weir_getFlow(const Link& link, const Weir& weir, double depth) {
    const double coefficient = weir.useHostCoefficient ? weir.hostCoefficient : weir.coefficient;
    // A host of the first face that gave the coefficient alone has the height at the full opening, and the setting has
    // no effect any more.
    const double base = weir.useHostHeight ? weir.hostHeight + weir.crest : weir_getLevel(link, weir);
    if (base >= depth) {
        return 0.0;
    }
    switch (weir.shape) {
        case RECTANGULAR_WEIR: return std::pow(depth - base, 1.5) * coefficient * weir.length;
        case TRIANGULAR_WEIR: return std::pow(depth - base, 2.5) * coefficient;
        default: return 0.0;  // a shape that only a host can set
    }
}
