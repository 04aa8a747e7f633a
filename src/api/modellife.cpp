// The functions of tarnvelde_model.h that open, run and end a model, and its messages.

#include <cerrno>
#include <cmath>
#include <cstdio>

#include "api/modelhandle.h"
#include "api/run.h"
#include "model/inputfiles.h"
#include "model/reportfile.h"
#include "model/warnings.h"
#include "platform/files.h"
#include "platform/outputs.h"
#include "project/fingerprint.h"
#include "project/inputnames.h"
#include "project/options.h"
#include "results/database.h"
#include "results/report.h"
#include "results/results.h"
#include "review/runreview.h"
#include "text/datetime.h"
#include "text/units.h"

static std::string getText(const char* text) {
    return text ? text : "";
}

const char* tv_getVersion(void) {
    return TARNVELDE_VERSION;
}

struct CodeWords {
    int32_t code;
    const char* words;
};

static constexpr CodeWords Codes[] = {
#define TV_CODE(name, words) {name, words},
#include "api/modelcodes.def"
};

const char* tv_describeCode(int32_t code) {
    for (const CodeWords& entry : Codes) {
        if (entry.code == code) {
            return entry.words;
        }
    }
    return errors_describe(code);
}

int32_t tv_create(tv_model** model) {
    if (!model) {
        return TV_ERROR_NULL;
    }
    return guard_run(
        [&]() -> int32_t {
            auto handle = std::make_unique<tv_model>();
            handle->log.owner = handle.get();
            handle->log.hear = [](void* owner, const Message& message) { modelhandle_hear(owner, message); };
            *model = handle.release();
            return TV_OK;
        },
        []() -> int32_t { return TV_ERROR_MEMORY; });
}

int32_t tv_setEngines(tv_model* model, const char* swmmLibrary, const char* swmmFolder, const char* plantLibrary,
                      const char* plantFolder) {
    return modelhandle_look(model, NEED_CLOSED, [&]() -> int32_t {
        EngineLibraries engines{
            getText(swmmLibrary),  getText(swmmFolder), getText(plantLibrary), getText(plantFolder), true,
            model->engines.around, model->engines.room};
        model->engines = std::move(engines);
        return TV_OK;
    });
}

int32_t tv_setSurroundings(tv_model* model, const char* projects, int32_t room) {
    return modelhandle_look(model, NEED_CLOSED, [&]() -> int32_t {
        if (!projects) {
            return TV_ERROR_NULL;
        }
        model->engines.around = projects;
        model->engines.room = room;
        return TV_OK;
    });
}

/// A fault of an output in words.
static std::string describe(OutputFault fault, const OutputPlace& place) {
    return outputs_describe(fault, place.reason);
}

// --- opening -------------------------------------------------------------------------------------------------------

static int32_t failToOpen(tv_model* handle, int32_t error, const std::string& detail = {}) {
    handle->model->error.code = error;
    const int32_t code = messages_addFault(*handle->model, error, detail);
    textfile_close(handle->model->files.input);
    handle->log.warnings.source = nullptr;
    handle->model.reset();
    handle->phase = TV_CLOSED;
    return code;
}

/// Opens the report aside. False, and the model is gone, if it can't be.
static bool openReport(tv_model* handle, const char* name, int32_t& code) {
    Files& files = handle->model->files;
    OutputFault fault;
    files.reportName = name;
    reportfile_hold(*handle->model);  // whose memory is asked for ahead of the file
    files.report = outputs_open(files.reportPlace, files.reportName, true, fault);
    if (!files.report) {
        code = failToOpen(handle, ERR_REPORT_FILE, files.reportName + ": " + describe(fault, files.reportPlace));
        return false;
    }
    return true;
}

/// Refuses a report that the project reads as an input. The report is dropped, and the model is gone.
static int32_t refuseReport(tv_model* handle, const std::string& use) {
    Files& files = handle->model->files;
    const std::string detail = "the report " + files.reportName + " is " + use;
    files.heldReport.reset();
    outputs_drop(files.reportPlace, files.report);
    run_close(*handle->model);
    return failToOpen(handle, ERR_FILE_NAMES, detail);
}

/// Opens the report, and reads the project whose text is open in the model.
static int32_t readProject(tv_model* handle, const char* report) {
    Model& model = *handle->model;
    int32_t code = TV_OK;
    if (report && !openReport(handle, report, code)) {
        return code;
    }
    const size_t messageCount = handle->log.messages.size();
    handle->phase = TV_FAILED;
    handle->isReportCut = true;  // and stays so, if memory doesn't suffice
    run_read(model);
    if (model.error.code == ERR_NONE) {
        handle->phase = TV_OPEN;
    } else if (report) {
        inputnames_note(model);
    }
    const std::string use = report ? inputfiles_findUse(model, model.files.reportName, false) : std::string();
    if (!use.empty()) {
        return refuseReport(handle, use);
    }
    reportfile_release(model);
    handle->isReportCut = false;
    reportfile_flush(model);
    return modelhandle_tellError(handle, messageCount);
}

/// A new project in place of the last, whose messages go.
static Model& makeModel(tv_model* handle) {
    handle->log.messages.clear();
    handle->log.warnings = WarningLog{};
    handle->columnNames.clear();
    handle->verdicts.clear();
    handle->hasRun = handle->isReportLost = handle->isReportCut = false;
    handle->model = std::make_unique<Model>();
    Model& model = *handle->model;
    model.isSilent = true;
    model.log = &handle->log;
    handle->log.warnings.isWanted = handle->wantsWarnings;
    handle->log.warnings.source = &model.files.input;
    model.engines = handle->engines;
    model.engines.hasPrivateCopies = true;
    model.pace = handle->pace;
    options_setDefaults(model);
    return model;
}

int32_t tv_open(tv_model* handle, const char* path, const char* report) {
    return modelhandle_move(handle, NEED_CLOSED, [&]() -> int32_t {
        if (!path) {
            return TV_ERROR_NULL;
        }
        std::string source = path;
        const PathParts parts = files_splitPath(source);
        Model& model = makeModel(handle);
        model.files.inputFolder = parts.drive + parts.folder;
        model.files.inputName = source;
        if (report && source == report) {
            return failToOpen(handle, ERR_FILE_NAMES);
        }
        if (!textfile_open(model.files.input, path)) {
            return failToOpen(handle, ERR_INPUT_FILE);
        }
        handle->isFromText = false;
        handle->source = std::move(source);
        inputfiles_add(model, handle->source, PROJECT_USE);
        return readProject(handle, report);
    });
}

int32_t tv_openText(tv_model* handle, const char* text, size_t length, const char* folder, const char* report) {
    return modelhandle_move(handle, NEED_CLOSED, [&]() -> int32_t {
        if (!text) {
            return TV_ERROR_NULL;
        }
        std::string copy(text, length), place = getText(folder);
        if (!place.empty() && place.back() != '/' && place.back() != '\\') {
            place += '/';
        }
        Model& model = makeModel(handle);
        model.files.inputFolder = place;
        textfile_openText(model.files.input, text, length);
        handle->isFromText = true;
        handle->source = std::move(copy);
        handle->folder = std::move(place);
        return readProject(handle, report);
    });
}

// --- run -----------------------------------------------------------------------------------------------------------

/// Looks after a run whose call is left for want of memory: a start is undone, a step is the last one, and an end that
/// went far enough is one.
class RunGuard {
public:
    explicit RunGuard(tv_model* model) : handle(model) {}
    ~RunGuard() {
        if (!isDone) {
            settle(*handle->model);
        }
    }
    RunGuard(const RunGuard&) = delete;
    RunGuard& operator=(const RunGuard&) = delete;

    int32_t finish(int32_t code) {
        isDone = true;
        return code;
    }

private:
    void settle(Model& model) const {
        if (model.isStarted && handle->phase != TV_OPEN) {
            model.error.code = ERR_MEMORY;
            handle->phase = TV_FINISHED;
            return;
        }
        run_end(model);
        if (handle->phase == TV_OPEN) {
            results_drop(model);  // the start is undone
        } else {
            results_close(model);
        }
        model.error.code = ERR_NONE;
        handle->phase = TV_OPEN;
    }

    tv_model* handle;
    bool isDone = false;
};

/// A call that moves a run.
template <class Work>
static int32_t moveRun(tv_model* handle, int32_t need, Work&& work) {
    return modelhandle_move(handle, need, [&]() -> int32_t {
        RunGuard guard(handle);
        return guard.finish(work());
    });
}

/// Why the files of a run can't be what their names say; empty if they can.
static std::string findConflict(const Model& model, const std::string& results, const std::string& database) {
    const std::string& report = model.files.reportName;
    if (const std::string use = inputfiles_findUse(model, results, false); !use.empty()) {
        return results + " is " + use;
    }
    if (const std::string use = inputfiles_findUse(model, database, true); !use.empty()) {
        return database + " is " + use;
    }
    const std::string& place = model.files.reportPlace.target;  // as it was found, wherever the host has gone since
    if (inputfiles_areOne(place, results, false) || inputfiles_areOne(place, database, true)) {
        return report + " is the report";
    }
    return inputfiles_areOne(results, database, true) ? "results and database are one file" : "";
}

int32_t tv_start(tv_model* handle, const char* results, const char* database) {
    return moveRun(handle, NEED_IDLE, [&]() -> int32_t {
        Model& model = *handle->model;
        const std::string conflict = findConflict(model, getText(results), getText(database));
        if (!conflict.empty()) {
            return messages_addFault(model, ERR_FILE_NAMES, conflict);
        }
        model.files.resultsName = getText(results);
        model.files.databaseName = getText(database);
        model.database->form = handle->databaseForm;
        const int32_t sinks = (results ? SINK_FILE : 0) | (database ? SINK_DATABASE : 0) |
                              (handle->keepsRows ? SINK_MEMORY : 0) | SINK_NOBODY;
        model.files.inputsSum = results || database ? fingerprint_sumInputs(model) : 0;
        const size_t messageCount = handle->log.messages.size();
        model.error.code = ERR_NONE;
        run_start(model, sinks);
        const int32_t code = modelhandle_tellError(handle, messageCount);
        if (code == TV_OK) {
            handle->hasStepped = false;
            modelhandle_updatePhase(handle);
        } else {
            run_end(model);
            results_drop(model);
        }
        return code;
    });
}

/// Marks a report as cut for as long as a step may add to it: a step that is left for want of memory is the last one,
/// and what it leaves is no report, until one is written.
template <class Work>
static int32_t moveSteps(tv_model* handle, Work&& work) {
    return moveRun(handle, NEED_STEPPING, [&]() -> int32_t {
        const bool wasCut = std::exchange(handle->isReportCut, true);
        const int32_t code = work();
        handle->isReportCut = wasCut;
        return code;
    });
}

/// One step, and the word to the host after a period. True if the host wants to stop.
static bool step(tv_model* handle) {
    Model& model = *handle->model;
    const int32_t period = model.results->period;
    run_step(model, nullptr);
    handle->hasRun = handle->hasStepped = true;
    modelhandle_updatePhase(handle);
    if (handle->phase == TV_FINISHED && model.error.code == ERR_NONE) {
        runreview_end(model);
    }
    if (!handle->listener || model.results->period == period) {
        return false;
    }
    const double date = datetime_addSeconds(
        model.options.startDateTime, static_cast<double>(period) * static_cast<double>(model.options.reportStep));
    const HandleGuard guard(handle, WORK_PERIOD);
    const HostArithmetic arithmetic(*handle->arithmetic);
    return handle->listener(handle->listenerUser, handle, period, date) != 0;
}

int32_t tv_step(tv_model* handle) {
    return moveSteps(handle, [&]() -> int32_t {
        const size_t messageCount = handle->log.messages.size();
        step(handle);
        return modelhandle_tellError(handle, messageCount);
    });
}

/// The date that the run has reached.
static double getNow(const Model& model) {
    return model.options.startDateTime + model.clock.newRoutingTime / MS_PER_DAY;
}

int32_t tv_runUntil(tv_model* handle, double date) {
    return moveSteps(handle, [&]() -> int32_t {
        if (std::isnan(date)) {
            return TV_ERROR_RANGE;
        }
        const Model& model = *handle->model;
        const size_t messageCount = handle->log.messages.size();
        // A millisecond's rounding of a date must not make a step more.
        const double until = (date - model.options.startDateTime) * MS_PER_DAY - 1.0;
        while (handle->phase == TV_STARTED && model.clock.newRoutingTime < until) {
            if (step(handle)) {
                break;
            }
        }
        return modelhandle_tellError(handle, messageCount);
    });
}

/// Tells that the report can't be written to its end, or not be put in place.
static int32_t tellReportLost(tv_model* handle, OutputFault fault, int32_t reason) {
    if (std::exchange(handle->isReportLost, true)) {
        return TV_ERROR_FILE;
    }
    const Files& files = handle->model->files;
    const std::string text =
        "the report can't be written: " + files.reportName + ": " + outputs_describe(fault, reason);
    messages_addError(*handle->model, TV_ERROR_FILE, text, "");
    return TV_ERROR_FILE;
}

int32_t tv_report(tv_model* handle) {
    return modelhandle_move(handle, NEED_RUN, [&]() -> int32_t {
        Model& model = *handle->model;
        handle->isReportCut = true;  // and stays so, if memory doesn't suffice
        runreview_end(model);
        report_writeTables(model);
        reportfile_flush(model);
        handle->isReportCut = false;
        return reportfile_isWell(model) ? TV_OK : tellReportLost(handle, OUTPUT_NOT_WRITTEN, errno);
    });
}

// --- end -----------------------------------------------------------------------------------------------------------

/// Ends the run with complete files.
static int32_t endRun(tv_model* handle) {
    const size_t messageCount = handle->log.messages.size();
    Model& model = *handle->model;
    const int32_t before = model.error.code;
    run_end(model);
    if (model.error.code == before) {
        model.error.code = ERR_NONE;  // what the close meets is told, also if the run has met the same
    }
    if (handle->hasStepped) {
        results_close(model);
    } else {
        results_drop(model);
    }
    handle->phase = TV_OPEN;
    const int32_t code = modelhandle_tellError(handle, messageCount);
    model.error.code = ERR_NONE;
    return code;
}

static int32_t closeProject(tv_model* handle) {
    int32_t code = handle->phase == TV_STARTED || handle->phase == TV_FINISHED ? endRun(handle) : TV_OK;
    Files& files = handle->model->files;
    reportfile_release(*handle->model);
    OutputFault fault = OUTPUT_FINE;
    if ((handle->hasRun || handle->phase == TV_FAILED) && !handle->isReportCut) {
        fault = outputs_finish(files.reportPlace, files.report);
    } else {
        outputs_drop(files.reportPlace, files.report);
    }
    if (fault != OUTPUT_FINE) {
        const int32_t lost = tellReportLost(handle, fault, files.reportPlace.reason);
        code = code != TV_OK ? code : lost;
    }
    run_close(*handle->model);
    handle->log.warnings.source = nullptr;
    handle->model.reset();
    handle->phase = TV_CLOSED;
    return code;
}

int32_t tv_end(tv_model* handle) {
    return moveRun(handle, NEED_RUN, [&] { return endRun(handle); });
}

int32_t tv_close(tv_model* handle) {
    return modelhandle_move(handle, NEED_PROJECT, [&]() -> int32_t { return closeProject(handle); });
}

int32_t tv_free(tv_model* handle) {
    if (!handle) {
        return TV_OK;
    }
    if (handle->work != WORK_NONE) {
        return TV_ERROR_BUSY;
    }
    int32_t code = TV_OK;
    if (handle->phase != TV_CLOSED) {
        code = modelhandle_move(handle, NEED_PROJECT, [&]() -> int32_t { return closeProject(handle); });
    }
    delete handle;
    return code;
}

// --- where it stands -----------------------------------------------------------------------------------------------

int32_t tv_getPhase(const tv_model* handle, int32_t* phase) {
    if (!handle || !phase) {
        return TV_ERROR_NULL;
    }
    *phase = handle->phase;
    return TV_OK;
}

int32_t tv_getClock(const tv_model* handle, tv_clock* clock) {
    return modelhandle_look(handle, NEED_OPEN, [&]() -> int32_t {
        if (!clock) {
            return TV_ERROR_NULL;
        }
        const Model& model = *handle->model;
        const bool hasRun = handle->phase != TV_OPEN;
        const double passed = hasRun ? model.clock.newRoutingTime : 0.0;
        clock->start = model.options.startDateTime;
        clock->now = hasRun ? getNow(model) : model.options.startDateTime;
        clock->end = model.options.endDateTime;
        clock->step = model.options.routingStep;
        clock->progress = model.options.totalDuration > 0.0 ? passed / model.options.totalDuration : 0.0;
        clock->period = hasRun ? model.results->period - 1 : 0;
        return TV_OK;
    });
}

// --- messages ------------------------------------------------------------------------------------------------------

static tv_message describe(const Message& message) {
    return {message.level,
            message.code,
            message.name.c_str(),
            message.text.c_str(),
            message.place.section.c_str(),
            message.place.line,
            message.place.words.c_str(),
            message.object.c_str(),
            message.severity,
            message.place.column,
            message.place.length,
            message.effect,
            message.advice,
            message.date};
}

void modelhandle_hear(void* owner, const Message& message) {
    const tv_model* handle = static_cast<tv_model*>(owner);
    if (handle->hearer) {
        const tv_message told = describe(message);
        const HostArithmetic arithmetic(*handle->arithmetic);
        handle->hearer(handle->hearerUser, &told);
    }
}

int32_t tv_setWarnings(tv_model* handle, int32_t isWanted) {
    return modelhandle_look(handle, NEED_CLOSED, [&]() -> int32_t {
        handle->wantsWarnings = isWanted != 0;
        return TV_OK;
    });
}

int32_t tv_getWarningKindCount(int32_t* count) {
    if (!count) {
        return TV_ERROR_NULL;
    }
    *count = WARNING_COUNT;
    return TV_OK;
}

int32_t tv_getWarningKind(int32_t index, tv_warning_kind* kind) {
    if (!kind) {
        return TV_ERROR_NULL;
    }
    if (index < 0 || index >= WARNING_COUNT) {
        return TV_ERROR_INDEX;
    }
    const WarningKind& row = WarningKinds[index];
    *kind = {row.name, row.group, row.severity, row.text, row.effect, row.advice};
    return TV_OK;
}

int32_t tv_setLog(tv_model* handle, tv_log log, void* user) {
    return modelhandle_look(handle, NEED_NOTHING, [&]() -> int32_t {
        handle->hearer = log;
        handle->hearerUser = user;
        return TV_OK;
    });
}

int32_t tv_getMessageCount(const tv_model* handle, int32_t* count) {
    return modelhandle_look(handle, NEED_NOTHING, [&]() -> int32_t {
        if (!count) {
            return TV_ERROR_NULL;
        }
        *count = static_cast<int32_t>(handle->log.messages.size());
        return TV_OK;
    });
}

int32_t tv_getMessage(const tv_model* handle, int32_t index, tv_message* message) {
    return modelhandle_look(handle, NEED_NOTHING, [&]() -> int32_t {
        if (!message) {
            return TV_ERROR_NULL;
        }
        if (index < 0 || static_cast<size_t>(index) >= handle->log.messages.size()) {
            return TV_ERROR_INDEX;
        }
        *message = describe(handle->log.messages[static_cast<size_t>(index)]);
        return TV_OK;
    });
}
