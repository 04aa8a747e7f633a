// Dates are read as the engine reads those of the project file, but nothing may stand behind them.

#include "dates.h"

#include <cctype>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstddef>

#include "units.h"

/// Takes a whole number without a sign, and moves on.
static bool takeNumber(const char*& at, const char* end, int* number) {
    const std::from_chars_result result = std::from_chars(at, end, *number);
    if (result.ec != std::errc() || *at == '-') {
        return false;
    }
    at = result.ptr;
    return true;
}

static bool takeCharacter(const char*& at, const char* end, const char* allowed) {
    for (; at < end && *allowed; ++allowed) {
        if (*at == *allowed) {
            ++at;
            return true;
        }
    }
    return false;
}

/// Takes a month: its number, or the first three letters of its name.
static bool takeMonth(const char*& at, const char* end, int* month) {
    static constexpr const char* NAMES = "JANFEBMARAPRMAYJUNJULAUGSEPOCTNOVDEC";
    if (takeNumber(at, end, month)) {
        return true;
    }
    for (int k = 0; k < 12 && end - at >= 3; ++k) {
        int same = 0;
        while (same < 3 && std::toupper(static_cast<unsigned char>(at[same])) == NAMES[3 * k + same]) {
            ++same;
        }
        if (same == 3) {
            *month = k + 1;
            at += 3;
            return true;
        }
    }
    return false;
}

static bool takeDay(const char*& at, const char* end, double* date) {
    using namespace std::chrono;
    int year = 0, month = 0, day = 0;
    if (!takeNumber(at, end, &year) || !takeCharacter(at, end, "/-") || !takeMonth(at, end, &month) ||
        !takeCharacter(at, end, "/-") || !takeNumber(at, end, &day)) {
        return false;
    }
    const year_month_day calendar{std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
                                  std::chrono::day{static_cast<unsigned>(day)}};
    if (year < 1 || year > 9999 || month > 12 || day > 31 || !calendar.ok()) {
        return false;
    }
    *date = static_cast<double>((sys_days{calendar} - sys_days{1899y / December / 30}).count());
    return true;
}

/// Takes a time of day: decimal hours, or hours, minutes and seconds. In days, 1 at most.
static bool takeTime(const char*& at, const char* end, double* days) {
    double hours = 0.0;
    const std::from_chars_result decimal = std::from_chars(at, end, hours, std::chars_format::fixed);
    if (decimal.ec == std::errc() && decimal.ptr == end) {
        at = end;
        *days = hours / HOURS_PER_DAY;
    } else {
        int hour = 0, minute = 0, second = 0;
        if (!takeNumber(at, end, &hour) || !takeCharacter(at, end, ":") || !takeNumber(at, end, &minute) ||
            (takeCharacter(at, end, ":") && !takeNumber(at, end, &second)) || minute > 59 || second > 59 || hour > 24) {
            return false;
        }
        *days = ((hour * 60 + minute) * 60 + second) / SECONDS_PER_DAY;
    }
    return *days >= 0.0 && *days <= 1.0;
}

bool dates_parse(const std::string& text, double* date) {
    const char* at = text.data();
    const char* end = at + text.size();
    double day = 0.0, time = 0.0;
    if (!takeDay(at, end, &day)) {
        return false;
    }
    if (at < end && (!takeCharacter(at, end, " T") || !takeTime(at, end, &time) || at < end)) {
        return false;
    }
    *date = day + time;
    return true;
}

double dates_countSeconds(double date) {
    return std::floor(date * SECONDS_PER_DAY + 0.5);
}
