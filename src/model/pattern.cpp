// Patterns of dry-weather flow, of reactors and of decay. All are looked up by the hour of the day, whatever their type
// says; the type only decides which objects may name them.

#include "model/pattern.h"

#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/project.h"
#include "model/warnings.h"
#include "text/tokens.h"

static const char* const PatternTypeWords[] = {"MONTHLY", "HOURLY", nullptr};

int32_t pattern_read(Model& model, const Tokens& tokens) {
    if (tokens.count < 2) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const int32_t index = names_find(model, PATTERN, tokens[0]);
    if (index < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    Pattern& pattern = model.patterns[index];
    int32_t k = 1;
    if (!pattern.id) {
        pattern.id = names_findId(model, PATTERN, tokens[0]);
        const int32_t type = tokens_findKeyword(tokens[1], PatternTypeWords);
        if (type < 0) {
            return errors_setName(model, ERR_KEYWORD, tokens[1]);
        }
        pattern.type = type;
        k = 2;
    }
    for (; k < tokens.count && pattern.count < PATTERN_SIZE; ++k) {
        double factor;
        if (!tokens_getDouble(tokens[k], &factor)) {
            return errors_setName(model, ERR_NUMBER, tokens[k]);
        }
        pattern.factors[pattern.count++] = factor;
    }
    if (k < tokens.count) {
        warnings_addAtLine(model, WARN_PATTERN_FACTORS, k, pattern.id);
    }
    return ERR_NONE;
}

double pattern_getFactor(const Model& model, int32_t pattern, int32_t hour) {
    return model.patterns.holds(pattern) ? model.patterns[pattern].factors[hour] : 1.0;
}

double pattern_hourlyFactor(const Model& model, int32_t pattern, DateTime date) {
    return model.patterns.holds(pattern) ? model.patterns[pattern].factors[datetime_getHour(date)] : 1.0;
}
