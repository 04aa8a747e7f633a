// Calendar time in the proleptic Gregorian calendar. Every clock comparison and every line of the report goes through
// the rounding rules here: a time of day is taken to the nearest second and never runs over into the next day.

#include "text/datetime.h"

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "text/tokens.h"
#include "text/units.h"

static constexpr int32_t LAST_SECOND = 86399;  ///< of a day
static constexpr int32_t MONTH_DAYS[2][12] = {{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31},
                                              {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31}};
static constexpr const char* MONTH_NAMES[12] = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                                                "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};

static const int32_t* getMonthDays(int32_t year) {
    const bool isLeap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return MONTH_DAYS[isLeap ? 1 : 0];
}

DateTime datetime_encodeDate(int32_t year, int32_t month, int32_t day) {
    if (year < 1 || year > 9999 || month < 1 || month > 12) {
        return NO_DATE;
    }
    const int32_t* days = getMonthDays(year);
    if (day < 1 || day > days[month - 1]) {
        return NO_DATE;
    }
    const int32_t past = year - 1;
    int32_t count = 365 * past + past / 4 - past / 100 + past / 400 + day - 693594;
    for (int32_t m = 1; m < month; ++m) {
        count += days[m - 1];
    }
    return count;
}

CalendarDate datetime_decodeDate(DateTime date) {
    const double whole = std::floor(date);
    if (!(whole + 693594.0 > 0.0) || !(whole < 1.0e9)) {
        return {0, 1, 1};
    }
    int32_t rest = static_cast<int32_t>(whole) + 693593;
    int32_t year = 1;
    if (rest >= 146097) {  // days of 400 years
        year = rest / 146097 * 400 + 1;
        rest %= 146097;
    }
    int32_t centuries = rest / 36524;
    rest %= 36524;
    if (centuries == 4) {  // the last day of 400 years
        centuries = 3;
        rest += 36524;
    }
    year += centuries * 100 + rest / 1461 * 4;
    rest %= 1461;
    int32_t years = rest / 365;
    rest %= 365;
    if (years == 4) {  // the last day of a leap year
        years = 3;
        rest += 365;
    }
    year += years;
    const int32_t* days = getMonthDays(year);
    int32_t month = 0;
    while (rest >= days[month]) {
        rest -= days[month++];
    }
    return {year, month + 1, rest + 1};
}

/// Midnight of a time: its floor, and for all but early dates without the call, since every object asks at every step.
static double getMidnight(DateTime date) {
    return date >= 0.0 && date < 2147483648.0 ? static_cast<double>(static_cast<int32_t>(date)) : std::floor(date);
}

int32_t datetime_getSecondOfDay(DateTime date) {
    const double second = (date - getMidnight(date)) * SECONDS_PER_DAY + 0.5;
    if (!(second >= 1.0)) {
        return 0;  // also for a date that is no finite number
    }
    return second >= SECONDS_PER_DAY ? LAST_SECOND : static_cast<int32_t>(second);
}

int32_t datetime_getHour(DateTime date) {
    return datetime_getSecondOfDay(date) / 3600;
}

void datetime_formatTime(DateTime date, char* text) {
    const int32_t second = datetime_getSecondOfDay(date);
    const int32_t minute = second / 60;
    std::snprintf(text, TIME_TEXT_SIZE, "%02d:%02d:%02d", minute / 60, minute % 60, second % 60);
}

void datetime_formatDateTime(DateTime date, char* text) {
    const CalendarDate d = datetime_decodeDate(date);
    char time[TIME_TEXT_SIZE];
    datetime_formatTime(date, time);
    std::snprintf(text, DATE_TIME_TEXT_SIZE, "%4d/%02d/%02d %s", d.year, d.month, d.day, time);
}

DateTime datetime_addSeconds(DateTime date, double seconds) {
    return (datetime_getSecondOfDay(date) + seconds) / SECONDS_PER_DAY + getMidnight(date);
}

/// The days and the second of the day of a number of seconds since day 0.
static void splitSeconds(int64_t total, int64_t& day, int64_t& second) {
    constexpr int64_t DAY = 86400;
    second = (total % DAY + DAY) % DAY;
    day = (total - second) / DAY;
}

// A date that addSeconds has made stands within a part of a millisecond of a whole second, and it is an integer where
// that second is the first of a day: so its day and its second are those of exact numbers, however often seconds were
// added. The next date hangs on nothing else, so the last but one that is wanted may be made anew, from its day and
// second, and the last one of it by addSeconds.
DateTime datetime_addSecondsUpTo(DateTime date, int32_t seconds, DateTime limit) {
    constexpr double FARTHEST = 1.0e7;  // days; beyond, dates are too coarse for seconds
    if (!(std::fabs(date) < FARTHEST) || !(std::fabs(limit) < FARTHEST) || seconds <= 0) {
        return date;
    }
    const auto begin = static_cast<int64_t>(std::floor(date)) * 86400 + datetime_getSecondOfDay(date);
    const auto end = static_cast<int64_t>(std::floor(limit)) * 86400 + datetime_getSecondOfDay(limit);
    const int64_t count = (end - begin) / seconds - 2;
    if (count < 1) {
        return date;
    }
    int64_t day = 0, second = 0;
    splitSeconds(begin + (count - 1) * seconds, day, second);
    const double lastButOne = static_cast<double>(day) + static_cast<double>(second) / SECONDS_PER_DAY;
    return datetime_addSeconds(lastButOne, seconds);
}

// --- reading -------------------------------------------------------------------------------------------------------

static bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

static bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Reads an integer after blanks and moves on. Of a number too long for 64 bits, the nearest that fits is taken, and
/// of the 64 bits the lower 32.
static bool scanInteger(const char*& at, int32_t& value) {
    const char* start = at;
    while (isBlank(*start)) {
        ++start;
    }
    const char* digits = start + (*start == '-' || *start == '+' ? 1 : 0);
    if (!isDigit(*digits)) {
        return false;
    }
    static constexpr std::ptrdiff_t SHORT = 9;  // digits that fit in any case
    int32_t number = 0;
    const char* after = digits;
    while (isDigit(*after) && after - digits < SHORT) {
        number = number * 10 + (*after++ - '0');
    }
    if (!isDigit(*after)) {
        value = *start == '-' ? -number : number;
        at = after;
        return true;
    }
    char* end = nullptr;
    value = static_cast<int32_t>(static_cast<uint32_t>(std::strtoll(start, &end, 10)));
    at = end;
    return true;
}

/// Takes the next character, whatever it is.
static bool scanCharacter(const char*& at) {
    if (!*at) {
        return false;
    }
    ++at;
    return true;
}

/// Reads up to three characters up to a blank, after blanks.
static bool scanName(const char*& at, char* name) {
    while (isBlank(*at)) {
        ++at;
    }
    int32_t length = 0;
    while (length < 3 && *at && !isBlank(*at)) {
        name[length++] = *at++;
    }
    name[length] = 0;
    return length > 0;
}

/// Number of a month by its three letters, or 0.
static int32_t findMonth(const char* name) {
    for (int32_t m = 0; m < 12; ++m) {
        int32_t k = 0;
        while (k < 3 && tokens_toUpper(name[k]) == MONTH_NAMES[m][k]) {
            ++k;
        }
        if (k == 3) {
            return m + 1;
        }
    }
    return 0;
}

/// Reads three parts with a character between each; the part number `namePlace` (-1 for none) is the name of a month.
/// What isn't there stays 0. Gives the number of items read, of which a date has five.
static int32_t scanParts(const char*& text, int32_t namePlace, int32_t parts[3]) {
    parts[0] = parts[1] = parts[2] = 0;
    int32_t count = 0;
    for (int32_t k = 0; k < 3; ++k) {
        if (k > 0) {
            if (!scanCharacter(text)) {
                return count;
            }
            ++count;
        }
        if (k == namePlace) {
            char name[4] = {};
            if (!scanName(text, name)) {
                return count;
            }
            parts[k] = findMonth(name);
        } else if (!scanInteger(text, parts[k])) {
            return count;
        }
        ++count;
    }
    return count;
}

bool datetime_parseDate(const char* text, DateTime* date, bool* isWhole) {
    *date = NO_DATE;
    if (!std::strpbrk(text, "-/")) {
        return false;
    }
    int32_t parts[3];
    const char* end = text;
    if (scanParts(end, -1, parts) < 3) {
        end = text;
        if (scanParts(end, 1, parts) < 3) {
            return false;
        }
    }
    if (isWhole) {
        *isWhole = *end == 0;
    }
    *date = datetime_encodeDate(parts[0], parts[1], parts[2]);
    return *date != NO_DATE;
}

/// Whether digits and a colon stand in front, so that the text is no number.
static bool isClockTime(const char* text) {
    const char* at = text;
    while (isDigit(*at)) {
        ++at;
    }
    return at > text && *at == ':';
}

bool datetime_parseTime(const char* text, double* days, bool* isWhole) {
    double hours;
    if (!isClockTime(text) && tokens_getDouble(text, &hours)) {
        *days = hours / HOURS_PER_DAY;
        if (isWhole) {
            *isWhole = true;
        }
        return true;
    }
    *days = 0.0;
    int32_t parts[3] = {0, 0, 0};
    int32_t count = 0;
    const char* end = text;
    while (count < 3 && (count == 0 || *text++ == ':') && scanInteger(text, parts[count])) {
        ++count;
        end = text;
    }
    if (isWhole) {
        *isWhole = *end == 0;
    }
    if (count == 0 || parts[0] < 0 || parts[1] < 0 || parts[2] < 0) {
        return false;
    }
    const int64_t seconds = (static_cast<int64_t>(parts[0]) * 60 + parts[1]) * 60 + parts[2];
    *days = static_cast<double>(seconds) / SECONDS_PER_DAY;
    return true;
}
