// General options. They are read in the first of the reader's two passes, so that the start date is known when the
// second one meets times without a date.

#include "project/options.h"

#include <cmath>

#include "model/errors.h"
#include "model/project.h"
#include "text/datetime.h"
#include "text/tokens.h"
#include "text/units.h"

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

void options_setDefaults() {
    StartDate = EndDate = datetime_encodeDate(2020, 1, 1);
    StartTime = EndTime = 0.0;
    StartDateTime = StartDate + 0.0;
    EndDateTime = 0.0;
    TotalDuration = 0.0;
    EventMinValue = 2.0;
    EventInterval =
        2.0 * SECONDS_PER_MINUTE;  // two minutes, though the option counts in minutes: 120 there is two hours
    StartDryDays = 0.0;
    ConduitLengthening = 0.0;
    RunoffStep = 300;
    RoutingStep = 5;
    ReportStep = 300;
    ReportAverage = true;
    LidMonoRainfall = false;
}

static int32_t readDate(const char* value, double* date) {
    double day;
    if (!datetime_parseDate(value, &day)) {
        return errors_setName(ERR_DATE_TIME, value);
    }
    *date = day;
    return ERR_NONE;
}

static int32_t readTime(const char* value, double* time) {
    double days;
    if (!datetime_parseTime(value, &days)) {
        return errors_setName(ERR_DATE_TIME, value);
    }
    *time = days;
    return ERR_NONE;
}

/// A time step in whole seconds. The whole days are cut towards zero while the rest of a day is counted from below, so
/// a negative time of less than a day is a step, too.
static int32_t readStep(const char* value, int32_t* step) {
    double days;
    if (!datetime_parseTime(value, &days)) {
        return errors_setName(ERR_DATE_TIME, value);
    }
    const double seconds = std::trunc(days) * SECONDS_PER_DAY + datetime_getSecondOfDay(days);
    if (!(seconds > 0.0 && seconds <= 2147483647.0)) {
        return errors_setName(ERR_NUMBER, value);
    }
    *step = static_cast<int32_t>(seconds);
    return ERR_NONE;
}

static int32_t readNumber(const char* value, double* number) {
    double x;
    if (!tokens_getNonNegative(value, &x)) {
        return errors_setName(ERR_NUMBER, value);
    }
    *number = x;
    return ERR_NONE;
}

static int32_t readFlag(const char* value, bool* flag) {
    const int32_t word = tokens_findKeyword(value, NoYesWords);
    if (word < 0) {
        return errors_setName(ERR_KEYWORD, value);
    }
    *flag = word != 0;
    return ERR_NONE;
}

static int32_t readInterval(const char* value) {
    double minutes = 0.0;
    const int32_t error = readNumber(value, &minutes);
    if (!error) {
        EventInterval = minutes * SECONDS_PER_MINUTE;
    }
    return error;
}

int32_t options_read(const char* key, const char* value) {
    switch (tokens_findKeyword(key, OptionWords)) {
        case START_DATE: return readDate(value, &StartDate);
        case START_TIME: return readTime(value, &StartTime);
        case END_DATE: return readDate(value, &EndDate);
        case END_TIME: return readTime(value, &EndTime);
        case RUNOFF_STEP: return readStep(value, &RunoffStep);
        case ROUTING_STEP: return readStep(value, &RoutingStep);
        case REPORT_STEP: return readStep(value, &ReportStep);
        case START_DRY_DAYS: return readNumber(value, &StartDryDays);
        case REPORT_AVERAGE: return readFlag(value, &ReportAverage);
        case LID_MONO_RAINFALL: return readFlag(value, &LidMonoRainfall);
        case EVENT_INTERVAL: return readInterval(value);
        case EVENT_MIN_VALUE: return readNumber(value, &EventMinValue);
        case CONDUIT_LENGTHENING: return readNumber(value, &ConduitLengthening);
        case EVENT_RAIN:
        case RTC_ON:
        case RTC_STEP: return ERR_NONE;  // settings of hosts
        default: return errors_setName(ERR_KEYWORD, key);
    }
}
