// Pollutants. Their number sizes every array that is kept by pollutant; beyond their names they have the concentration
// that rain brings along. The reader of the project file calls this room.

#include "model/pollut.h"

#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/plausible.h"
#include "model/project.h"
#include "model/warnings.h"

int32_t pollut_readLine(Model& model, const Tokens& tokens, int32_t index) {
    if (tokens.count < 2) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const char* id = names_findId(model, POLLUT, tokens[0]);
    if (!id) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    double concentration;
    if (!tokens_getNonNegative(tokens[1], &concentration)) {
        return errors_setName(model, ERR_NUMBER, tokens[1]);
    }
    plausible_check(model, PLAUSIBLE_RAIN_CONCENTRATION, concentration, 1, id);
    if (tokens_matchKeyword(id, "FLOW")) {
        warnings_addAtLine(model, WARN_POLLUTANT_NAME, 0, id);
    }
    model.polluts[index] = {id, concentration};
    return ERR_NONE;
}
