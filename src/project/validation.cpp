// Validation and start state: each goes over all classes of object in the order in which the later ones build on the
// earlier ones. A second start of one project begins exactly like the first.

#include "project/validation.h"

#include <cstdio>
#include <string>

#include "coupling/converter.h"
#include "hydrology/evap.h"
#include "hydrology/gage.h"
#include "hydrology/lid.h"
#include "hydrology/lidgroup.h"
#include "hydrology/runoff.h"
#include "hydrology/subcatch.h"
#include "model/curve.h"
#include "model/errors.h"
#include "model/messages.h"
#include "model/model.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "model/timeseries.h"
#include "model/topology.h"
#include "nodes/inflows.h"
#include "project/fingerprint.h"
#include "results/massbal.h"
#include "routing/linkkinds.h"
#include "routing/network.h"
#include "routing/nodekinds.h"
#include "text/datetime.h"

static void validateCurves(Model& model) {
    for (const Curve& curve : model.curves) {
        if (const int32_t error = curve_validate(curve)) {
            errors_report(model, error, curve.id);
        }
    }
}

/// The date of the entry that is out of order.
static std::string formatPlace(DateTime date) {
    const CalendarDate d = datetime_decodeDate(date);
    char time[TIME_TEXT_SIZE], text[DATE_TIME_TEXT_SIZE + TIME_TEXT_SIZE];
    datetime_formatTime(date, time);
    std::snprintf(text, sizeof text, " at %4d/%02d/%02d %s.", d.year, d.month, d.day, time);
    return text;
}

static void validateSeries(Model& model) {
    for (Series& series : model.timeSeries) {
        const int32_t error = timeseries_validate(model, series);
        if (error == ERR_CURVE_SEQUENCE) {
            const std::string place = formatPlace(series.cursor.after.date);
            messages_setDetail(model, place.c_str());
            errors_report(model, ERR_SERIES_SEQUENCE, series.id);
            reportfile_write(model, place.c_str());
        } else if (error) {
            errors_report(model, error, series.id);
        }
    }
}

void validation_run(Model& model) {
    validateCurves(model);
    validateSeries(model);
    lid_validateAll(model);
    lidgroup_validateAll(model);
    if (model.options.runoffStep < model.options.routingStep) {
        errors_report(model, ERR_RUNOFF_STEP, "");
    }
    subcatch_validateAll(model);
    gage_validateAll(model);
    topology_indexLinks(model);
    network_validate(model);
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        nodekinds_validate(model, k);
        inflows_validateDryWeather(model, k);
    }
    for (const Link& link : model.links) {
        linkkinds_validate(model, link);
    }
    for (int32_t k = 0; k < model.converters.size(); ++k) {
        converter_validate(model, k);
    }
    if (!model.error.code) {
        fingerprint_takeStructure(model);
    }
}

/// The cursors of all inflow series stand as the validation left them, at the end of their entries. The walk of the
/// nodes then rewinds those of the newest records only.
static void resetInflowSeries(Model& model) {
    for (const Node& node : model.nodes) {
        for (const ExtInflow* record = node.extInflow; record; record = record->next) {
            if (record->series >= 0) {
                Series& series = model.timeSeries[record->series];
                timeseries_moveToEnd(series, series.cursor);
            }
        }
    }
}

void validation_setStartState(Model& model) {
    model.evap->rate = 0.0;
    model.evap->isHeld = false;
    model.heldGageCount = 0;
    model.requests.heldInflows.clear();
    model.requests.heldLoads.clear();
    massbal_open(model);
    lidgroup_initAll(model);
    resetInflowSeries(model);
    for (int32_t k = 0; k < model.gages.size(); ++k) {
        gage_initRain(model, k);
    }
    runoff_initState(model);
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        nodekinds_initState(model, k);
    }
    linkkinds_dropTables(model);
    for (Link& link : model.links) {
        linkkinds_initState(model, link);
    }
}
