// The life of one model and the clock of its run.

#include "api/run.h"

#include <cstdio>
#include <string>

#include "coupling/coupled.h"
#include "hydrology/runoff.h"
#include "model/errors.h"
#include "model/inputfiles.h"
#include "model/messages.h"
#include "model/model.h"
#include "model/reportfile.h"
#include "model/warnings.h"
#include "platform/files.h"
#include "platform/outputs.h"
#include "platform/workers.h"
#include "project/inputnames.h"
#include "project/options.h"
#include "project/reader.h"
#include "project/validation.h"
#include "results/massbal.h"
#include "results/report.h"
#include "results/results.h"
#include "review/review.h"
#include "review/runreview.h"
#include "routing/placebalances.h"
#include "routing/routing.h"
#include "text/units.h"

static constexpr size_t FILE_NAME_SIZE = 259;

static int32_t getPublicCode(const Model& model) {
    return errors_getPublicCode(model.error.code);
}

/// A call in the wrong state.
static int32_t refuseCall(Model& model) {
    errors_report(model, ERR_NOT_OPEN, "");
    return getPublicCode(model);
}

// --- opening -------------------------------------------------------------------------------------------------------

static std::string cutName(const char* name) {
    return std::string(name).substr(0, FILE_NAME_SIZE);
}

static void refuseReport(Model& model) {
    messages_tell(model, "\n    Cannot open report file ");
    model.error.code = ERR_REPORT_FILE;
}

/// Takes the names, refuses two that are the same, and opens input and report.
static void openFiles(Model& model, const char* input, const char* report, const char* results) {
    const PathParts parts = files_splitPath(input);
    model.files.inputFolder = parts.drive + parts.folder;
    model.files.databaseName = model.files.inputFolder + parts.base + ".db";
    model.files.inputName = cutName(input);
    model.files.reportName = cutName(report);
    model.files.resultsName = cutName(results);
    if (model.files.inputName == model.files.reportName || model.files.inputName == model.files.resultsName ||
        model.files.reportName == model.files.resultsName) {
        messages_tell(model, "\n    Cannot use duplicate file names.");
        model.error.code = ERR_FILE_NAMES;
        return;
    }
    if (!textfile_open(model.files.input, model.files.inputName.c_str())) {
        messages_tell(model, "\n    Cannot open input file ");
        messages_tell(model, model.files.inputName.c_str());
        model.error.code = ERR_INPUT_FILE;
        return;
    }
    inputfiles_add(model, model.files.inputName, PROJECT_USE);
    OutputFault fault;
    reportfile_hold(model);  // whose memory is asked for ahead of the file
    model.files.report = outputs_open(model.files.reportPlace, model.files.reportName, false, fault);
    if (!model.files.report) {
        refuseReport(model);
    }
}

int32_t run_open(Model& model, const char* input, const char* report, const char* results) {
    model.error.code = ERR_NONE;
    options_setDefaults(model);
    openFiles(model, input, report, results);
    if (model.error.code) {
        return getPublicCode(model);
    }
    run_read(model);
    if (model.error.code) {
        inputnames_note(model);
    }
    if (!inputfiles_findUse(model, model.files.reportName, false).empty()) {
        outputs_leave(model.files.reportPlace, model.files.report);
        refuseReport(model);
    }
    reportfile_release(model);
    return getPublicCode(model);
}

int32_t run_read(Model& model) {
    model.isOpen = true;
    report_writeBanner(model);
    messages_tell(model, "\n  Retrieving project data");
    reader_readProject(model);
    if (model.error.code) {
        warnings_tellRest(model);
        return getPublicCode(model);
    }
    report_writeDescription(model);
    validation_run(model);
    if (model.error.code) {
        warnings_tellRest(model);
    } else {
        review_project(model);
    }
    return getPublicCode(model);
}

// --- start ---------------------------------------------------------------------------------------------------------

int32_t run_start(Model& model, int32_t sinks) {
    if (model.error.code) {
        return getPublicCode(model);
    }
    if (!model.isOpen || model.isStarted) {
        return refuseCall(model);
    }
    model.clock.elapsedDays = 0.0;
    pace_noteChange(model.pace);
    runoff_resetClock(model);
    routing_resetClock(model);
    model.sinks = sinks;
    model.clock.reportTime = model.options.reportStep * MS_PER_SECOND;
    model.isStarted = true;  // whatever happens below, so that the end releases it
    results_releaseBuffers(model);
    validation_setStartState(model);
    runoff_limitStep(model);
    runoff_open(model);
    routing_open(model);
    if (model.log) {
        placebalances_takeStart(model);
        warnings_openRun(model);
    }
    results_open(model);
    return getPublicCode(model);
}

// --- step ----------------------------------------------------------------------------------------------------------

/// Brings the runoff clock up to a time. False if a runoff step met an error, old or new.
static bool advanceRunoff(Model& model, double time) {
    while (time > model.clock.newRunoffTime) {
        runoff_advance(model);
        if (model.error.code) {
            return false;
        }
    }
    return true;
}

/// One routing step, the last one cut at the end of the run. The clock stands still after the end and while the runoff
/// fails.
static double advanceModel(Model& model) {
    const double now = model.clock.newRoutingTime;
    if (!(model.options.totalDuration > now)) {
        return now;
    }
    const double next = now + model.options.routingStep * MS_PER_SECOND;
    const double time = model.options.totalDuration < next ? model.options.totalDuration : next;
    if (!advanceRunoff(model, time) || !routing_isReady(model)) {
        return now;
    }
    routing_step(model);
    routing_countStep(model);
    routing_cutClock(model, time);
    return time;
}

/// Means are taken over the steps of a period; the step that crosses the report time counts to the next one.
static void saveResults(Model& model, double time) {
    if (time < model.clock.reportTime) {
        if (model.options.reportAverage) {
            results_accumulate(model);
        }
        return;
    }
    if (model.options.reportAverage && time == model.clock.reportTime) {
        results_accumulate(model);
    }
    results_write(model);
    if (model.options.reportAverage && time > model.clock.reportTime) {
        results_accumulate(model);
    }
    model.clock.reportTime += model.options.reportStep * MS_PER_SECOND;  // once, however many report times have passed
}

int32_t run_step(Model& model, double* elapsedDays) {
    if (!model.isOpen || !model.isStarted) {
        return refuseCall(model);
    }
    const double time = advanceModel(model);
    runreview_lookAtStep(model);
    if (model.sinks) {
        saveResults(model, time);
    }
    model.clock.elapsedDays = model.options.totalDuration > time ? time / MS_PER_DAY : 0.0;
    if (elapsedDays) {
        *elapsedDays = model.clock.elapsedDays;
    }
    return getPublicCode(model);
}

// --- report, end and close -----------------------------------------------------------------------------------------

int32_t run_report(Model& model) {
    if (!model.error.code) {
        messages_tell(model, "\n  Writing output report");
        if (model.isOpen) {
            report_writeTables(model);
            reportfile_flush(model);
            massbal_close(model);
        }
    }
    return getPublicCode(model);
}

int32_t run_end(Model& model) {
    if (!model.isOpen) {
        return refuseCall(model);
    }
    if (model.isStarted) {
        results_end(model);
        workers_stop(*model.workers);
        runoff_close(model);
        routing_close(model);
        model.isStarted = false;
    }
    return getPublicCode(model);
}

void run_close(Model& model) {
    workers_stop(*model.workers);
    if (model.isStarted) {
        routing_close(model);
    }
    coupled_deleteNodes(model);
    textfile_close(model.files.input);
    reportfile_release(model);
    outputs_leave(model.files.reportPlace, model.files.report);
    results_close(model);
    model_clearHostLists(model);
    model.isOpen = model.isStarted = false;
}
