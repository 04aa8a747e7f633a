// Patterns of dry-weather flow, of reactors and of decay. All are looked up by the hour of the day, whatever their type
// says; the type only decides which objects may name them.

#include "model/pattern.h"

#include "model/errors.h"
#include "model/names.h"
#include "model/project.h"
#include "text/tokens.h"

Table<Pattern> Patterns;

static const char* const PatternTypeWords[] = {"MONTHLY", "HOURLY", nullptr};

int32_t pattern_read(const Tokens& tokens) {
    if (tokens.count < 2) {
        return errors_setName(ERR_ITEMS, "");
    }
    const int32_t index = names_find(PATTERN, tokens[0]);
    if (index < 0) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    Pattern& pattern = Patterns[index];
    int32_t k = 1;
    if (!pattern.id) {
        pattern.id = names_findId(PATTERN, tokens[0]);
        const int32_t type = tokens_findKeyword(tokens[1], PatternTypeWords);
        if (type < 0) {
            return errors_setName(ERR_KEYWORD, tokens[1]);
        }
        pattern.type = type;
        k = 2;
    }
    for (; k < tokens.count && pattern.count < PATTERN_SIZE; ++k) {
        double factor;
        if (!tokens_getDouble(tokens[k], &factor)) {
            return errors_setName(ERR_NUMBER, tokens[k]);
        }
        pattern.factors[pattern.count++] = factor;
    }
    return ERR_NONE;
}

double pattern_getFactor(int32_t pattern, int32_t hour) {
    return Patterns.holds(pattern) ? Patterns[pattern].factors[hour] : 1.0;
}

double pattern_hourlyFactor(int32_t pattern, DateTime date) {
    return Patterns.holds(pattern) ? Patterns[pattern].factors[datetime_getHour(date)] : 1.0;
}
