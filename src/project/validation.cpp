// Validation and start state: each goes over all classes of object in the order in which the later ones build on the
// earlier ones. A second start of one project begins exactly like the first.

#include "project/validation.h"

#include <cstdio>

#include "coupling/converter.h"
#include "hydrology/evap.h"
#include "hydrology/gage.h"
#include "hydrology/lid.h"
#include "hydrology/lidgroup.h"
#include "hydrology/runoff.h"
#include "hydrology/subcatch.h"
#include "model/curve.h"
#include "model/errors.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "model/timeseries.h"
#include "model/topology.h"
#include "nodes/inflows.h"
#include "results/massbal.h"
#include "routing/linkkinds.h"
#include "routing/network.h"
#include "routing/nodekinds.h"
#include "text/datetime.h"

static void validateCurves() {
    for (const Curve& curve : Curves) {
        if (const int32_t error = curve_validate(curve)) {
            errors_report(error, curve.id);
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
    reportfile_print(" at %s %s.", day, time);
}

static void validateSeries() {
    for (Series& series : TimeSeries) {
        const int32_t error = timeseries_validate(series);
        if (error == ERR_CURVE_SEQUENCE) {
            errors_report(ERR_SERIES_SEQUENCE, series.id);
            writePlace(series.cursor.after.date);
        } else if (error) {
            errors_report(error, series.id);
        }
    }
}

void validation_run() {
    validateCurves();
    validateSeries();
    lid_validateAll();
    lidgroup_validateAll();
    if (RunoffStep < RoutingStep) {
        errors_report(ERR_RUNOFF_STEP, "");
    }
    subcatch_validateAll();
    gage_validateAll();
    topology_indexLinks();
    network_validate();
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        nodekinds_validate(k);
        inflows_validateDryWeather(k);
    }
    for (const Link& link : Links) {
        linkkinds_validate(link);
    }
    for (int32_t k = 0; k < Converters.size(); ++k) {
        converter_validate(k);
    }
}

/// The cursors of all inflow series stand as the validation left them, at the end of their entries. The walk of the
/// nodes then rewinds those of the newest records only.
static void resetInflowSeries() {
    for (const Node& node : Nodes) {
        for (const ExtInflow* record = node.extInflow; record; record = record->next) {
            if (record->series >= 0) {
                Series& series = TimeSeries[record->series];
                timeseries_moveToEnd(series, series.cursor);
            }
        }
    }
}

void validation_setStartState() {
    Evap.rate = 0.0;
    massbal_open();
    lidgroup_initAll();
    resetInflowSeries();
    for (int32_t k = 0; k < Gages.size(); ++k) {
        gage_initRain(k);
    }
    runoff_initState();
    for (int32_t k = 0; k < Nodes.size(); ++k) {
        nodekinds_initState(k);
    }
    for (Link& link : Links) {
        linkkinds_initState(link);
    }
}
