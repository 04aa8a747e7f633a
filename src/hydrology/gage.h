#pragma once
// Rain gages: a time series as a stepwise rain rate, and the rain events in it.

#include <cstdint>

#include "model/table.h"
#include "text/datetime.h"
#include "text/tokens.h"

struct Model;

enum GageFormat : int32_t { RAIN_INTENSITY, RAIN_VOLUME };

/// A spell of rain without a long gap in it.
struct RainEvent {
    DateTime start;
    DateTime end;
    double total;  ///< mm
    RainEvent* next;
};

/// Each entry of the series stands for one recording interval; between such periods it rains nothing.
struct Gage {
    const char* name;      ///< the ID as first seen; null until read
    int32_t format;        ///< GageFormat: series values in mm/h, or in mm per interval
    int32_t interval;      ///< s, recording interval
    int32_t series;        ///< time series
    RainEvent* events;     ///< in order of time
    DateTime startDate;    ///< start of the present rain period, or NO_DATE
    DateTime endDate;      ///< its end
    DateTime nextDate;     ///< start of the next period with rain, or NO_DATE
    double rain;           ///< m/s, of the present period
    double nextRain;       ///< m/s, of the next period
    double reportRain;     ///< m/s, shown in results at a saving time
    bool isHeld;           ///< the host holds the rain: `rain` is the host's
    double heldRain;       ///< m/s
    double seriesRain;     ///< m/s, `rain` by the series while the host's stands there
    int32_t coGage;        ///< an earlier gage on the same series, or -1
    bool isUsed;           ///< a subcatchment or a LID monomer node takes its rain from here
    RainEvent* lastEvent;  ///< end of the list of events
};

/// A line of [RAINGAGES], for the row `gage`. An error index, or 0.
[[nodiscard]] int32_t gage_readLine(Model& model, const Tokens& tokens, int32_t gage);

/// Tests the gages in use, and links those that share a series; writes what is wrong to the report.
void gage_validateAll(Model& model);

/// Puts a gage to the start of a run, and adds the events of its series.
void gage_initRain(Model& model, int32_t gage);

/// Adds the events of the whole simulation period to the list of a gage.
void gage_findEvents(Model& model, int32_t gage);

/// Moves on to the next entry with rain. False at the end of the series.
[[nodiscard]] bool gage_nextRain(Model& model, int32_t gage);

/// Brings every gage in use to a date.
void gage_advance(Model& model, DateTime date);

/// The host holds the rain (m/s) of a gage, and lets it go.
void gage_hold(Model& model, int32_t gage, double rain);
void gage_release(Model& model, int32_t gage);

/// Fills reportRain of every gage; called before each writing of results.
void gage_setReportRain(Model& model, DateTime date);

/// Whether a date lies within a rain event of the gage, both ends included.
[[nodiscard]] bool gage_isInEvent(Model& model, int32_t gage, DateTime date);
