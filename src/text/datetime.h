#pragma once
// Calendar time: a count of days, day 0 being 30 December 1899, with the time of day as its fraction.

#include <cstdint>

using DateTime = double;

constexpr DateTime NO_DATE = -693594.0;  ///< no date: year 1, month 1, day 0

struct CalendarDate {
    int32_t year, month, day;
};

/// Midnight of a date, or NO_DATE for one that doesn't exist.
[[nodiscard]] DateTime datetime_encodeDate(int32_t year, int32_t month, int32_t day);

/// The date of a time. What lies before year 1, and what is no finite number, is year 0, month 1, day 1.
[[nodiscard]] CalendarDate datetime_decodeDate(DateTime date);

/// Seconds since midnight, rounded, 0 ... 86399: 23:59:59.7 doesn't run over into the next day.
[[nodiscard]] int32_t datetime_getSecondOfDay(DateTime date);

/// Hour of the rounded second, 0 ... 23.
[[nodiscard]] int32_t datetime_getHour(DateTime date);

constexpr int32_t TIME_TEXT_SIZE = 40;       ///< bytes that a written time of day takes at most
constexpr int32_t DATE_TIME_TEXT_SIZE = 96;  ///< bytes that a written date and time take at most

/// Writes hh:mm:ss.
void datetime_formatTime(DateTime date, char* text);

/// Writes yyyy/mm/dd hh:mm:ss; a year below 1000 is padded with blanks.
void datetime_formatDateTime(DateTime date, char* text);

/// Reads a date as year, month and day, with any character between its parts. False, with NO_DATE, for what is
/// none. `isWhole` tells whether nothing is left behind it.
[[nodiscard]] bool datetime_parseDate(const char* text, DateTime* date, bool* isWhole = nullptr);

/// Reads decimal hours or hh:mm:ss into days. False, with 0, for what is no time. `isWhole` tells
/// whether nothing is left behind it.
[[nodiscard]] bool datetime_parseTime(const char* text, double* days, bool* isWhole = nullptr);

/// `date`, rounded to its whole second, plus `seconds`, which keep their fraction.
[[nodiscard]] DateTime datetime_addSeconds(DateTime date, double seconds);

/// What datetime_addSeconds makes of a date it has made itself, to the bit, if it adds whole seconds again and again as
/// long as the date stays ahead of `limit`; that may stop some times early.
[[nodiscard]] DateTime datetime_addSecondsUpTo(DateTime date, int32_t seconds, DateTime limit);
