// General options. They are read in the first of the reader's two passes, so that the start date is known when the
// second one meets times without a date.

#include "project/options.h"

#include <cmath>
#include <string>

#include "model/errors.h"
#include "model/model.h"
#include "model/plausible.h"
#include "model/project.h"
#include "model/warnings.h"
#include "project/oddlines.h"
#include "project/sections.h"
#include "text/datetime.h"
#include "text/tokens.h"
#include "text/units.h"

static constexpr double SMALLEST_CUT = 0.01;  ///< of a step: with less, hours are written with few digits

enum OptionKey : int32_t {
    START_DATE,
    START_TIME,
    END_DATE,
    END_TIME,
    RUNOFF_STEP,
    ROUTING_STEP,
    REPORT_STEP,
    START_DRY_DAYS,
    REPORT_AVERAGE,
    LID_MONO_RAINFALL,
    EVENT_RAIN,
    EVENT_INTERVAL,
    EVENT_MIN_VALUE,
    CONDUIT_LENGTHENING,
    RTC_ON,
    RTC_STEP
};

static const char* const OptionWords[] = {
    "START_DATE",      "START_TIME",          "END_DATE",       "END_TIME",          "RUNOFF_STEP", "ROUTING_STEP",
    "REPORT_STEP",     "START_DRY_DAYS",      "REPORT_AVERAGE", "LID_MONO_RAINFALL", "EVENT_RAIN",  "EVENT_INTERVAL",
    "EVENT_MIN_VALUE", "CONDUIT_LENGTHENING", "RTC_ON",         "RTC_STEP",          nullptr};

void options_setDefaults(Model& model) {
    model.options.startDate = model.options.endDate = datetime_encodeDate(2020, 1, 1);
    model.options.startTime = model.options.endTime = 0.0;
    model.options.startDateTime = model.options.startDate + 0.0;
    model.options.endDateTime = 0.0;
    model.options.totalDuration = 0.0;
    model.options.eventMinValue = 2.0;
    model.options.eventInterval =
        2.0 * SECONDS_PER_MINUTE;  // two minutes, though the option counts in minutes: 120 there is two hours
    model.options.startDryDays = 0.0;
    model.options.conduitLengthening = 0.0;
    model.options.runoffStep = 300;
    model.options.routingStep = 5;
    model.options.reportStep = 300;
    model.options.reportAverage = true;
    model.options.lidMonoRainfall = false;
}

/// Tells of a time whose scan stops before the end of the word.
static void reviewTime(const Model& model, const char* key, const char* value, double days, bool isWhole) {
    if (!isWhole) {
        warnings_addAtLine(model, WARN_TIME_FORM, 1, key, {value, warnings_formatNumber(days * HOURS_PER_DAY) + " h"});
    }
}

static int32_t readDate(Model& model, const char* key, const char* value, double* date) {
    double day;
    bool isWhole = true;
    if (!datetime_parseDate(value, &day, &isWhole)) {
        return errors_setName(model, ERR_DATE_TIME, value);
    }
    if (!isWhole) {
        warnings_addAtLine(model, WARN_DATE_TAIL, 1, key, {value});
    }
    *date = day;
    return ERR_NONE;
}

static int32_t readTime(Model& model, const char* key, const char* value, double* time) {
    double days;
    bool isWhole = true;
    if (!datetime_parseTime(value, &days, &isWhole)) {
        return errors_setName(model, ERR_DATE_TIME, value);
    }
    reviewTime(model, key, value, days, isWhole);
    *time = days;
    return ERR_NONE;
}

/// A time step in whole seconds. The whole days are cut towards zero while the rest of a day is counted from below, so
/// a negative time of less than a day is a step, too.
static int32_t readStep(Model& model, const char* key, const char* value, int32_t* step) {
    double days;
    bool isWhole = true;
    if (!datetime_parseTime(value, &days, &isWhole)) {
        return errors_setName(model, ERR_DATE_TIME, value);
    }
    const double seconds = std::trunc(days) * SECONDS_PER_DAY + datetime_getSecondOfDay(days);
    if (!(seconds > 0.0 && seconds <= 2147483647.0)) {
        return errors_setName(model, ERR_NUMBER, value);
    }
    *step = static_cast<int32_t>(seconds);
    reviewTime(model, key, value, days, isWhole);
    const std::string taken = warnings_formatNumber(*step) + " s";
    if (days < 0.0) {
        warnings_addAtLine(model, WARN_STEP_NEGATIVE, 1, key, {value, taken});
    } else if (std::abs(days * SECONDS_PER_DAY - seconds) > SMALLEST_CUT * seconds) {
        warnings_addAtLine(model, WARN_NUMBER_CUT, 1, key, {value, taken});
    }
    return ERR_NONE;
}

static int32_t readNumber(Model& model, const char* value, double* number) {
    double x;
    if (!tokens_getNonNegative(value, &x)) {
        return errors_setName(model, ERR_NUMBER, value);
    }
    *number = x;
    return ERR_NONE;
}

static int32_t readFlag(Model& model, const char* value, bool* flag) {
    const int32_t word = tokens_findKeyword(value, NoYesWords);
    if (word < 0) {
        return errors_setName(model, ERR_KEYWORD, value);
    }
    *flag = word != 0;
    return ERR_NONE;
}

static int32_t getYear(DateTime date) {
    return datetime_decodeDate(date).year;
}

static int32_t readInterval(Model& model, const char* value) {
    double minutes = 0.0;
    const int32_t error = readNumber(model, value, &minutes);
    if (!error) {
        model.options.eventInterval = minutes * SECONDS_PER_MINUTE;
    }
    return error;
}

/// The value that an option has now against what is usual.
static void checkNumber(const Model& model, int32_t option, const char* key, const char* value) {
    const Options& options = model.options;
    switch (option) {
        case START_DATE: plausible_check(model, PLAUSIBLE_YEAR, getYear(options.startDate), 1, key); break;
        case START_TIME:
            plausible_check(model, PLAUSIBLE_TIME_OF_DAY, options.startTime * HOURS_PER_DAY, 1, key);
            break;
        case END_DATE: plausible_check(model, PLAUSIBLE_YEAR, getYear(options.endDate), 1, key); break;
        case END_TIME: plausible_check(model, PLAUSIBLE_TIME_OF_DAY, options.endTime * HOURS_PER_DAY, 1, key); break;
        case RUNOFF_STEP:
            plausible_check(model, PLAUSIBLE_RUNOFF_STEP, options.runoffStep, 1, key);
            plausible_checkPlain(model, options.runoffStep, value, 1, key);
            break;
        case ROUTING_STEP:
            plausible_check(model, PLAUSIBLE_ROUTING_STEP, options.routingStep, 1, key);
            plausible_checkPlain(model, options.routingStep, value, 1, key);
            break;
        case REPORT_STEP:
            plausible_check(model, PLAUSIBLE_REPORT_STEP, options.reportStep, 1, key);
            plausible_checkPlain(model, options.reportStep, value, 1, key);
            break;
        case START_DRY_DAYS: plausible_check(model, PLAUSIBLE_DRY_DAYS, options.startDryDays, 1, key); break;
        case EVENT_INTERVAL:
            plausible_check(model, PLAUSIBLE_EVENT_INTERVAL, options.eventInterval / SECONDS_PER_MINUTE, 1, key);
            break;
        case EVENT_MIN_VALUE: plausible_check(model, PLAUSIBLE_EVENT_MINIMUM, options.eventMinValue, 1, key); break;
        case CONDUIT_LENGTHENING:
            plausible_check(model, PLAUSIBLE_LENGTHENING, options.conduitLengthening, 1, key);
            break;
        default: break;
    }
}

static int32_t readOption(Model& model, int32_t option, const char* key, const char* value) {
    switch (option) {
        case START_DATE: return readDate(model, key, value, &model.options.startDate);
        case START_TIME: return readTime(model, key, value, &model.options.startTime);
        case END_DATE: return readDate(model, key, value, &model.options.endDate);
        case END_TIME: return readTime(model, key, value, &model.options.endTime);
        case RUNOFF_STEP: return readStep(model, key, value, &model.options.runoffStep);
        case ROUTING_STEP: return readStep(model, key, value, &model.options.routingStep);
        case REPORT_STEP: return readStep(model, key, value, &model.options.reportStep);
        case START_DRY_DAYS: return readNumber(model, value, &model.options.startDryDays);
        case REPORT_AVERAGE: return readFlag(model, value, &model.options.reportAverage);
        case LID_MONO_RAINFALL: return readFlag(model, value, &model.options.lidMonoRainfall);
        case EVENT_INTERVAL: return readInterval(model, value);
        case EVENT_MIN_VALUE: return readNumber(model, value, &model.options.eventMinValue);
        case CONDUIT_LENGTHENING: return readNumber(model, value, &model.options.conduitLengthening);
        case EVENT_RAIN:
        case RTC_ON:
        case RTC_STEP: return ERR_NONE;  // settings of hosts
        default: return errors_setName(model, ERR_KEYWORD, key);
    }
}

/// Reads an option and holds it against what is usual.
static int32_t readChecked(Model& model, int32_t option, const char* key, const char* value) {
    const int32_t error = readOption(model, option, key, value);
    if (!error) {
        checkNumber(model, option, key, value);
    }
    return error;
}

int32_t options_read(Model& model, const char* key, const char* value) {
    return readChecked(model, tokens_findKeyword(key, OptionWords), key, value);
}

// --- lines ---------------------------------------------------------------------------------------------------------

static bool isHostOption(int32_t option) {
    return option == EVENT_RAIN || option == RTC_ON || option == RTC_STEP;
}

/// Tells of what a good line holds besides its option and the value.
static void reviewWords(const Model& model, const Tokens& tokens, int32_t option) {
    if (isHostOption(option)) {
        return;
    }
    if (tokens.oddities & (TOKENS_ODD | TOKENS_END_EMPTY)) {
        oddlines_reviewNumber(model, tokens, 1, tokens[0]);
    }
    if (tokens.count > 2) {
        double days;
        const bool isDate = option == START_DATE || option == END_DATE;
        const bool isTime = isDate && datetime_parseTime(tokens[2], &days);
        const char* place = option == START_DATE ? "; the time is START_TIME" : "; the time is END_TIME";
        warnings_addAtLine(model, WARN_OPTION_WORDS, isTime ? SEVERITY_WARNING : SEVERITY_NOTE, 2, tokens[0],
                           {tokens[2], isTime ? place : ""});
    }
    warnings_noteGiven(model, option, 0, tokens[0], OptionWords[option]);
}

int32_t options_readLine(Model& model, const Tokens& tokens) {
    const int32_t option = tokens.count > 0 ? tokens_findKeyword(tokens[0], OptionWords) : -1;
    if (tokens.count < 2) {
        if (tokens.count > 0 && !isHostOption(option)) {
            warnings_addAtLine(model, WARN_OPTION_EMPTY, 0, tokens[0], {tokens[0]});
        }
        return ERR_NONE;
    }
    const int32_t error = readChecked(model, option, tokens[0], tokens[1]);
    if (!error) {
        reviewWords(model, tokens, option);
    }
    return error;
}

bool options_isGiven(const Model& model, const char* key) {
    return warnings_findGiven(model, SECTION_GENERAL, tokens_findKeyword(key, OptionWords), 0).line != 0;
}
