// Validation and start state: each goes over all classes of object in the order in which the later ones build on the
// earlier ones. A second start of one project begins exactly like the first.

#include "input/validation.h"

#include <cstdio>

#include "coupling/converter.h"
#include "engine/errors.h"
#include "engine/project.h"
#include "hydrology/evap.h"
#include "hydrology/gage.h"
#include "hydrology/inflows.h"
#include "hydrology/lid.h"
#include "hydrology/lidunit.h"
#include "hydrology/subcatch.h"
#include "input/datetime.h"
#include "input/table.h"
#include "results/massbal.h"
#include "routing/link.h"
#include "routing/network.h"
#include "routing/node.h"

static void validateCurves() {
    for (Table& curve : Curves) {
        if (const int32_t error = table_validate(curve)) {
            report_writeError(error, curve.id);
        }
    }
}

/// Writes the date of the entry that is out of order. The month of the last form stands without a zero in front.
static void writePlace(DateTime date) {
    const CalendarDate d = datetime_decodeDate(date);
    char day[DATE_TIME_TEXT_SIZE], time[TIME_TEXT_SIZE];
    switch (DateFormat) {
        case 1: std::snprintf(day, sizeof day, "%02d/%02d/%04d", d.month, d.day, d.year); break;
        case 2: std::snprintf(day, sizeof day, "%02d/%2d/%4d", d.day, d.month, d.year); break;
        default: std::snprintf(day, sizeof day, "%4d/%02d/%02d", d.year, d.month, d.day); break;
    }
    datetime_formatTime(date, time);
    report_print(ReportFile, " at %s %s.", day, time);
}

static void validateSeries() {
    for (Table& series : TimeSeries) {
        const int32_t error = table_validate(series);
        if (error == ERR_CURVE_SEQUENCE) {
            report_writeError(ERR_SERIES_SEQUENCE, series.id);
            writePlace(series.x2);
        } else if (error) {
            report_writeError(error, series.id);
        }
    }
}

void project_validate() {
    validateCurves();
    validateSeries();
    lid_validateAll();
    if (RunoffStep < RoutingStep) {
        report_writeError(ERR_RUNOFF_STEP, "");
    }
    subcatch_validateAll();
    gage_validateAll();
    network_indexLinks();
    network_validate();
    for (size_t k = 0; k < Nodes.size(); ++k) {
        node_validate(static_cast<int32_t>(k));
        inflows_validateDryWeather(static_cast<int32_t>(k));
    }
    for (size_t k = 0; k < Links.size(); ++k) {
        link_validate(static_cast<int32_t>(k));
    }
    for (size_t k = 0; k < Converters.size(); ++k) {
        converter_validate(static_cast<int32_t>(k));
    }
}

/// The cursors of all inflow series stand as the validation left them, at the end of their entries. The walk of the
/// nodes then rewinds those of the newest records only.
static void resetInflowSeries() {
    for (const Node& node : Nodes) {
        for (const ExtInflow* record = node.extInflow; record; record = record->next) {
            if (record->series >= 0) {
                table_resetToEnd(TimeSeries[static_cast<size_t>(record->series)]);
            }
        }
    }
}

int32_t project_initState() {
    OldRunoffTime = 0.0;
    Evap.rate = 0.0;
    OldRoutingTime = 0.0;
    massbal_open();
    lid_initUnits();
    resetInflowSeries();
    for (size_t k = 0; k < Gages.size(); ++k) {
        gage_initRain(static_cast<int32_t>(k));
    }
    for (size_t k = 0; k < Subcatches.size(); ++k) {
        subcatch_initState(static_cast<int32_t>(k));
    }
    for (size_t k = 0; k < Nodes.size(); ++k) {
        node_initState(static_cast<int32_t>(k));
    }
    for (size_t k = 0; k < Links.size(); ++k) {
        link_initState(static_cast<int32_t>(k));
    }
    return ErrorCode;
}
