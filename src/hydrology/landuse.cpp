// Pollutants and what rain brings of them.

#include "hydrology/landuse.h"

#include "engine/errors.h"
#include "engine/project.h"
#include "input/names.h"
#include "input/tokens.h"

std::vector<Pollut> Polluts;

int32_t pollut_readParams(int32_t index) {
    if (TokCount < 2) {
        return error_setName(ERR_ITEMS, "");
    }
    const char* id = project_findId(POLLUT, Tok[0]);
    if (!id) {
        return error_setName(ERR_UNDEFINED_OBJECT, Tok[0]);
    }
    double concentration;
    if (!input_getNonNegative(Tok[1], &concentration)) {
        return error_setName(ERR_NUMBER, Tok[1]);
    }
    Polluts[static_cast<size_t>(index)] = {id, concentration};
    return ERR_NONE;
}
