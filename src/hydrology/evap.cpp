// Evaporation: one constant rate, or one for each month. Negative rates pass, and act as they stand. The
// runoff step sets the rate of its date.

#include "hydrology/evap.h"

#include "model/errors.h"
#include "model/model.h"
#include "model/plausible.h"
#include "text/tokens.h"
#include "text/units.h"

static const char* const EvapWords[] = {"CONSTANT", "MONTHLY", nullptr};

int32_t evap_readLine(Model& model, const Tokens& tokens) {
    const int32_t kind = tokens_findKeyword(tokens[0], EvapWords);
    if (kind < 0) {
        return errors_setName(model, ERR_KEYWORD, tokens[0]);
    }
    if (model.evap->isSet) {
        return errors_setName(model, ERR_LINE, "");
    }
    const int32_t count = kind == EVAP_CONSTANT ? 1 : 12;
    if (tokens.count < count + 1) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    double rates[12];
    for (int32_t k = 0; k < count; ++k) {
        if (!tokens_getDouble(tokens[k + 1], &rates[k])) {
            return errors_setName(model, ERR_NUMBER, tokens[k + 1]);
        }
        plausible_check(model, PLAUSIBLE_EVAPORATION, rates[k], k + 1, "");
    }
    model.evap->kind = kind;
    model.evap->isSet = true;
    if (kind == EVAP_CONSTANT) {
        model.evap->constant = rates[0];
    } else {
        for (int32_t k = 0; k < 12; ++k) {
            model.evap->monthly[k] = rates[k];
        }
    }
    return ERR_NONE;
}

void evap_setRate(Model& model, DateTime date) {
    double rate = model.evap->constant;
    if (model.evap->kind != EVAP_CONSTANT) {
        rate = model.evap->monthly[datetime_decodeDate(date).month - 1];
    }
    model.evap->rate = model.evap->isHeld ? model.evap->heldRate : rate / MM_PER_DAY;
}
