// Rain gages. Each entry of a gage's series stands for one recording interval, and between such periods it rains
// nothing: a hyetograph of blocks, as tipping buckets and design storms give it. The runoff step walks forward through
// the entries. The rain events, which control rules and hosts ask for, are found once per run from the whole series.

#include "hydrology/gage.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/plausible.h"
#include "model/project.h"
#include "model/timeseries.h"
#include "model/warnings.h"
#include "text/number.h"
#include "text/tokens.h"
#include "text/units.h"

static constexpr double ONE_SECOND = 1.1574074e-05;  ///< days; so many digits and no more, since rain starts by it

static constexpr double SMALLEST_CUT = 0.01;  ///< of an interval: with less, hours have few digits

static const char* const FormatWords[] = {"INTENSITY", "VOLUME", nullptr};

static Gage& getGage(Model& model, int32_t gage) {
    return model.gages[gage];
}

// --- reading and validation ----------------------------------------------------------------------------------------

/// Whole seconds of a recording interval; false for what is no time, no time above 0, or beyond 32 bits.
static bool readInterval(const Model& model, const Tokens& tokens, int32_t* interval) {
    double days;
    bool isWhole = true;
    if (!datetime_parseTime(tokens[2], &days, &isWhole)) {
        return false;
    }
    const double seconds = std::floor(days * SECONDS_PER_DAY + 0.5);
    if (!(seconds > 0.0 && seconds <= 2147483647.0)) {
        return false;
    }
    *interval = number_truncate(seconds);
    const std::string taken = warnings_formatNumber(seconds) + " s";
    if (!isWhole) {
        warnings_addAtLine(model, WARN_TIME_FORM, 2, tokens[0], {tokens[2], taken});
    } else if (std::abs(days * SECONDS_PER_DAY - seconds) > SMALLEST_CUT * seconds) {
        warnings_addAtLine(model, WARN_NUMBER_CUT, 2, tokens[0], {tokens[2], taken});
    }
    return true;
}

int32_t gage_readLine(Model& model, const Tokens& tokens, int32_t index) {
    if (tokens.count < 4) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const char* name = names_findId(model, GAGE, tokens[0]);
    if (!name) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    const int32_t format = tokens_findKeyword(tokens[1], FormatWords);
    if (format < 0) {
        return errors_setName(model, ERR_KEYWORD, tokens[1]);
    }
    int32_t interval;
    if (!readInterval(model, tokens, &interval)) {
        return errors_setName(model, ERR_DATE_TIME, tokens[2]);
    }
    const int32_t series = names_find(model, TSERIES, tokens[3]);
    if (series < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[3]);
    }
    plausible_check(model, PLAUSIBLE_GAGE_INTERVAL, interval, 2, name);
    plausible_checkPlain(model, interval, tokens[2], 2, name);
    Gage& gage = getGage(model, index);
    gage.name = name;
    gage.format = format;
    gage.interval = interval;
    gage.series = series;
    gage.coGage = -1;
    gage.isUsed = false;
    return ERR_NONE;
}

void gage_validateAll(Model& model) {
    // The first gage in use of each series: its followers take their rain from it.
    Table<int32_t> firstOfSeries = table_make(model.timeSeries.size(), -1);
    for (int32_t k = 0; k < model.gages.size(); ++k) {
        Gage& gage = model.gages[k];
        if (!gage.isUsed) {
            continue;
        }
        const int32_t series = gage.series;
        if (model.timeSeries[series].isUsedByInflow) {
            errors_report(model, ERR_GAGE_SERIES_SHARED, gage.name);
        }
        if (firstOfSeries[series] < 0) {
            firstOfSeries[series] = k;
            continue;
        }
        gage.coGage = firstOfSeries[series];
        if (getGage(model, gage.coGage).format != gage.format) {
            errors_report(model, ERR_GAGE_FORMAT, gage.name);
        }
    }
}

// --- rain ----------------------------------------------------------------------------------------------------------

/// A value of the series as a rate, m/s.
static double convertRain(const Gage& gage, double value) {
    if (gage.format == RAIN_INTENSITY) {
        return value / MM_PER_HOUR;
    }
    return value / gage.interval * SECONDS_PER_HOUR / MM_PER_HOUR;
}

bool gage_nextRain(Model& model, int32_t index) {
    Gage& gage = getGage(model, index);
    gage.nextRain = 0.0;
    if (gage.series < 0) {
        return false;
    }
    Series& series = model.timeSeries[gage.series];
    SeriesEntry entry;
    while (timeseries_getNextEntry(series, series.cursor, entry)) {
        gage.nextDate = entry.date;
        const double rain = convertRain(gage, entry.value);
        if (rain != 0.0) {
            gage.nextRain = rain;
            return true;
        }
        // An entry of 0 doesn't end a dry time: for the gage it isn't there.
    }
    return false;
}

static void takeNextRain(Model& model, int32_t index) {
    if (!gage_nextRain(model, index)) {
        getGage(model, index).nextDate = NO_DATE;
    }
}

void gage_initRain(Model& model, int32_t index) {
    gage_findEvents(model, index);
    Gage& gage = getGage(model, index);
    gage.startDate = gage.endDate = gage.nextDate = NO_DATE;
    gage.rain = gage.nextRain = gage.reportRain = 0.0;
    gage.isHeld = false;
    if (gage.series < 0) {
        return;
    }
    Series& series = model.timeSeries[gage.series];
    SeriesEntry first;
    if (!timeseries_getFirstEntry(series, series.cursor, first)) {
        return;
    }
    // The first entry is a period whatever its value; a zero there holds back what comes within its interval.
    gage.startDate = first.date;
    gage.rain = convertRain(gage, first.value);
    gage.endDate = datetime_addSeconds(gage.startDate, gage.interval);
    if (!(gage.startDate > model.options.startDateTime)) {
        takeNextRain(model, index);
    } else {
        gage.nextRain = gage.rain;
        gage.endDate = gage.nextDate = gage.startDate;
        gage.startDate = model.options.startDateTime;
        gage.rain = 0.0;
    }
}

/// Brings one gage to a time; gives its rain there.
static double advanceGage(Model& model, int32_t index, DateTime time) {
    Gage& gage = getGage(model, index);
    if (gage.startDate == NO_DATE) {
        return 0.0;
    }
    while (!(gage.startDate > time)) {
        if (time < gage.endDate) {
            return gage.rain;
        }
        if (gage.nextDate == NO_DATE || gage.nextDate > time) {
            break;
        }
        // Entries closer than the interval overlap: the next one begins late, and its own end stays where it is.
        gage.startDate = gage.nextDate;
        gage.endDate = datetime_addSeconds(gage.nextDate, gage.interval);
        gage.rain = gage.nextRain;
        takeNextRain(model, index);
    }
    return 0.0;
}

/// The rain of the series in place of the host's, and the host's again: the series goes on beneath what is held.
[[gnu::cold]] static void uncoverSeries(Model& model) {
    for (Gage& gage : model.gages) {
        gage.rain = gage.isHeld ? gage.seriesRain : gage.rain;
    }
}

[[gnu::cold]] static void coverSeries(Model& model) {
    for (Gage& gage : model.gages) {
        if (gage.isHeld) {
            gage.seriesRain = gage.rain;
            gage.rain = gage.heldRain;
        }
    }
}

void gage_hold(Model& model, int32_t index, double rain) {
    Gage& gage = getGage(model, index);
    if (!gage.isHeld) {
        gage.isHeld = true;
        gage.seriesRain = gage.rain;
        ++model.heldGageCount;
    }
    gage.rain = gage.heldRain = rain;
}

void gage_release(Model& model, int32_t index) {
    Gage& gage = getGage(model, index);
    if (gage.isHeld) {
        gage.isHeld = false;
        gage.rain = gage.seriesRain;
        --model.heldGageCount;
    }
}

void gage_advance(Model& model, DateTime date) {
    if (model.heldGageCount > 0) {
        uncoverSeries(model);
    }
    for (int32_t k = 0; k < model.gages.size(); ++k) {
        Gage& gage = model.gages[k];
        if (gage.isUsed) {
            gage.rain = gage.coGage >= 0 ? getGage(model, gage.coGage).rain : advanceGage(model, k, date + ONE_SECOND);
        }
    }
    if (model.heldGageCount > 0) {
        coverSeries(model);
    }
}

void gage_setReportRain(Model& model, DateTime date) {
    const DateTime time = date + ONE_SECOND;
    if (model.heldGageCount > 0) {
        uncoverSeries(model);
    }
    for (Gage& gage : model.gages) {
        if (gage.coGage >= 0) {
            gage.reportRain = getGage(model, gage.coGage).reportRain;
        } else if (gage.endDate > time) {
            gage.reportRain = gage.rain;
        } else if (gage.nextDate > time) {
            gage.reportRain = 0.0;
        } else {
            gage.reportRain = gage.nextRain;
        }
    }
    if (model.heldGageCount > 0) {
        coverSeries(model);
        for (Gage& gage : model.gages) {
            gage.reportRain = gage.isHeld ? gage.heldRain : gage.reportRain;
        }
    }
}

// --- events --------------------------------------------------------------------------------------------------------

/// Appends an event if it is large enough. False without memory for it.
static bool addEvent(Model& model, Gage& gage, DateTime start, DateTime end, double total) {
    if (!(total > model.options.eventMinValue)) {
        return true;
    }
    RainEvent* event = arena_allocateArray<RainEvent>(model.memory.project, 1);
    if (!event) {
        return false;
    }
    *event = {start, end, total, nullptr};
    (gage.lastEvent ? gage.lastEvent->next : gage.events) = event;
    gage.lastEvent = event;
    return true;
}

/// The last date at which a series can have a value other than 0. A single entry leaves no last date of its own.
static DateTime getSeriesEnd(const Series& series) {
    const DateTime first = series.cursor.before.date;
    return first > series.endDate ? first : series.endDate;
}

void gage_findEvents(Model& model, int32_t index) {
    if (index < 0 || getGage(model, index).series < 0) {
        return;
    }
    Gage& gage = getGage(model, index);
    Series& series = model.timeSeries[gage.series];
    timeseries_rewind(series, series.cursor);
    const DateTime seriesEnd = getSeriesEnd(series);
    const DateTime ahead = std::min(series.cursor.before.date, model.options.endDateTime);  // of all entries
    const double interval = gage.interval;
    double total = 0.0, dry = 0.0;
    DateTime date = model.options.startDateTime, first = model.options.startDateTime;
    while (date < model.options.endDateTime) {
        // The series is read here as a line from entry to entry, so that gaps in it count as ramps of rain.
        double depth = timeseries_lookup(series, series.cursor, date);
        if (gage.format == RAIN_INTENSITY) {
            depth = interval * depth / SECONDS_PER_HOUR;
        }
        if (total == 0.0) {
            if (depth != 0.0) {
                first = date;
                total = depth;
                dry = 0.0;
            }
        } else if (depth != 0.0) {
            total += depth;
            dry = 0.0;
        } else if (dry < model.options.eventInterval) {
            dry += interval;
        } else {
            dry = 0.0;
            // The last wet sample only where the gap is a multiple of the interval.
            if (!addEvent(model, gage, first, datetime_addSeconds(date, -model.options.eventInterval - interval),
                          total)) {
                return;
            }
            total = 0.0;
        }
        if (total == 0.0 && date > seriesEnd) {
            break;  // nothing but zeros from here on, however long the simulation goes on
        }
        const DateTime next = datetime_addSeconds(date, interval);
        if (!(next > date)) {
            break;  // so far ahead that an interval no longer moves the date
        }
        // Ahead of its first entry the series is 0, and a look-up there begins it anew: after the first one, further
        // ones leave all as it is. A start that is far too early would else be walked through interval by interval.
        date = next < ahead ? datetime_addSecondsUpTo(next, gage.interval, ahead) : next;
    }
    addEvent(model, gage, first, datetime_addSeconds(date, -dry), total);
}

bool gage_isInEvent(Model& model, int32_t index, DateTime date) {
    for (const RainEvent* event = getGage(model, index).events; event; event = event->next) {
        if (event->start <= date && date <= event->end) {
            return true;
        }
    }
    return false;
}
