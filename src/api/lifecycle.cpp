// The lifecycle of a project and the clock of a run. One project per process, held in process-wide variables:
//
//     closed  --tarnvelde_open-->   open      also with errors in the project: its close then frees what was read
//     open    --tarnvelde_start-->  started   also with errors of the start
//     started --tarnvelde_step-->   started   until the elapsed time handed back is 0
//     started --tarnvelde_end-->    open      may be started again
//     any     --tarnvelde_close-->  closed
//
// tarnvelde_report belongs between the last step and the end. The current error is sticky: only an open clears it.

#include <cmath>
#include <cstdio>
#include <cstring>

#include "api/guard.h"
#include "hydrology/evap.h"
#include "hydrology/runoff.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "platform/console.h"
#include "platform/files.h"
#include "platform/locale.h"
#include "project/objects.h"
#include "project/options.h"
#include "project/reader.h"
#include "project/validation.h"
#include "results/massbal.h"
#include "results/report.h"
#include "results/results.h"
#include "routing/routing.h"
#include "tarnvelde.h"
#include "text/datetime.h"
#include "text/number.h"
#include "text/units.h"

static constexpr size_t FILE_NAME_SIZE = 259;
static constexpr int32_t SAVE_TO_FILE = 1;
static constexpr const char* DEFAULT_VORN_LIBRARY = "";  ///< leads to the folder of the host program

static int32_t getPublicCode() {
    return errors_getPublicCode(ErrorCode);
}

/// A call in the wrong state.
static int32_t refuseCall() {
    errors_report(ERR_NOT_OPEN, "");
    return getPublicCode();
}

static std::string getText(const char* text) {
    return text ? text : "";
}

static int32_t setPaths(std::string& library, std::string& folder, const char* libraryPath, const char* tempFolder) {
    const auto store = [&] {
        library = getText(libraryPath);
        folder = getText(tempFolder);
        return 0;
    };
    return guard_run(store, getPublicCode);
}

int32_t tarnvelde_initSwmmDll(const char* libraryPath, const char* tempFolder) {
    return setPaths(SwmmDllPath, SwmmTempDir, libraryPath, tempFolder);
}

int32_t tarnvelde_initVornDll(const char* libraryPath, const char* tempFolder) {
    return setPaths(VornDllPath, VornTempDir, libraryPath, tempFolder);
}

// --- opening -------------------------------------------------------------------------------------------------------

static void closeFiles() {
    textfile_close(InputFile);
    if (ReportFile) {
        std::fclose(ReportFile);
        ReportFile = nullptr;
    }
}

/// Lets go of the project in memory.
static void releaseProject() {
    if (IsStarted) {
        routing_close();
    }
    objects_delete();
    names_clear();
    arena_release(ProjectArena);
}

/// A project that is still open when a new one comes is let go of as it stands: nothing is completed or deleted.
static void abandonProject() {
    if (IsOpen) {
        releaseProject();
    }
    results_abandon();
    closeFiles();
    IsOpen = IsStarted = false;
}

static void clearState() {
    RunoffError = FlowError = QualityError = 0.0;
    FlowTotals = FlowTotalsRecord{};
    DateFormat = 0;
    ErrorCode = ERR_NONE;
    IsOpen = IsStarted = false;
    std::memset(ObjectCount, 0, sizeof ObjectCount);
    std::memset(NodeKindCount, 0, sizeof NodeKindCount);
    std::memset(LinkKindCount, 0, sizeof LinkKindCount);
    for (std::string& line : Description) {
        line.clear();
    }
    project_clearHostLists();
    Evap = EvapRecord{};
    options_setDefaults();
}

static std::string cutName(const char* name) {
    return getText(name).substr(0, FILE_NAME_SIZE);
}

/// Takes the names, refuses two that are the same, and opens input and report.
static void openFiles(const char* input, const char* report, const char* results) {
    const PathParts parts = files_splitPath(getText(input));
    InputFolder = parts.drive + parts.folder;
    DbFileName = InputFolder + parts.base + ".db";
    InputFileName = cutName(input);
    ReportFileName = cutName(report);
    ResultsFileName = cutName(results);
    if (InputFileName == ReportFileName || InputFileName == ResultsFileName || ReportFileName == ResultsFileName) {
        console_write("\n    Cannot use duplicate file names.");
        ErrorCode = ERR_FILE_NAMES;
        return;
    }
    if (!textfile_open(InputFile, InputFileName.c_str())) {
        console_write("\n    Cannot open input file ");
        console_write(InputFileName.c_str());
        ErrorCode = ERR_INPUT_FILE;
        return;
    }
    ReportFile = std::fopen(ReportFileName.c_str(), "wb");
    if (!ReportFile) {
        console_write("\n    Cannot open report file ");
        ErrorCode = ERR_REPORT_FILE;
    }
}

static int32_t openProject(const char* input, const char* report, const char* results) {
    abandonProject();
    clearState();
    openFiles(input, report, results);
    if (ErrorCode) {
        return getPublicCode();
    }
    IsOpen = true;
    report_writeBanner();
    console_write("\n  Retrieving project data");
    reader_readProject();
    if (ErrorCode) {
        return getPublicCode();
    }
    report_writeDescription();
    validation_run();
    return getPublicCode();
}

int32_t tarnvelde_open(const char* input, const char* report, const char* results) {
    const NumberLocale locale;
    return guard_run([&] { return openProject(input, report, results); }, getPublicCode);
}

// --- start ---------------------------------------------------------------------------------------------------------

static int32_t startRun(int32_t saveMode) {
    if (ErrorCode) {
        return getPublicCode();
    }
    if (!IsOpen || IsStarted) {
        return refuseCall();
    }
    ElapsedDays = 0.0;
    runoff_resetClock();
    routing_resetClock();
    SaveMode = saveMode;
    ReportTime = ReportStep * MS_PER_SECOND;
    IsStarted = true;  // whatever happens below, so that the end lets go of it
    results_releaseBuffers();
    validation_setStartState();
    runoff_limitStep();
    runoff_open();
    routing_open();
    results_open();
    return getPublicCode();
}

int32_t tarnvelde_start(int32_t saveMode) {
    const NumberLocale locale;
    return guard_run([&] { return startRun(saveMode); }, getPublicCode);
}

// --- step ----------------------------------------------------------------------------------------------------------

/// Brings the runoff clock up to a time. False if a runoff step met an error, old or new.
static bool advanceRunoff(double time) {
    while (time > NewRunoffTime) {
        runoff_advance();
        if (ErrorCode) {
            return false;
        }
    }
    return true;
}

/// One routing step, the last one cut at the end of the run. The clock stands still after the end and while the runoff
/// fails.
static double advanceModel() {
    const double now = NewRoutingTime;
    if (!(TotalDuration > now)) {
        return now;
    }
    const double next = now + RoutingStep * MS_PER_SECOND;
    const double time = TotalDuration < next ? TotalDuration : next;
    if (!advanceRunoff(time) || !routing_isReady()) {
        return now;
    }
    routing_step();
    routing_countStep();
    routing_cutClock(time);
    return time;
}

/// Means are taken over the steps of a period; the step that crosses the report time counts to the next one.
static void saveResults(double time) {
    if (time < ReportTime) {
        if (ReportAverage) {
            results_accumulate();
        }
        return;
    }
    if (ReportAverage && time == ReportTime) {
        results_accumulate();
    }
    results_write();
    if (ReportAverage && time > ReportTime) {
        results_accumulate();
    }
    ReportTime += ReportStep * MS_PER_SECOND;  // once, however many report times have passed
}

static int32_t stepRun(double* elapsedDays) {
    if (!IsOpen || !IsStarted) {
        return refuseCall();
    }
    const double time = advanceModel();
    if (SaveMode) {
        saveResults(time);
    }
    ElapsedDays = TotalDuration > time ? time / MS_PER_DAY : 0.0;
    if (elapsedDays) {
        *elapsedDays = ElapsedDays;
    }
    return getPublicCode();
}

int32_t tarnvelde_step(double* elapsedDays) {
    const NumberLocale locale;
    return guard_run([&] { return stepRun(elapsedDays); }, getPublicCode);
}

// --- report, end and close -----------------------------------------------------------------------------------------

static int32_t reportRun() {
    if (!ErrorCode) {
        console_write("\n  Writing output report");
        if (IsOpen && ReportFile) {
            report_writeTables();
            std::fflush(ReportFile);
            massbal_close();
        }
    }
    return getPublicCode();
}

int32_t tarnvelde_report() {
    const NumberLocale locale;
    return guard_run(reportRun, getPublicCode);
}

static int32_t endRun() {
    if (!IsOpen) {
        return refuseCall();
    }
    if (IsStarted) {
        results_end();
        runoff_close();
        routing_close();
        IsStarted = false;
    }
    return getPublicCode();
}

int32_t tarnvelde_end() {
    const NumberLocale locale;
    return guard_run(endRun, getPublicCode);
}

static int32_t closeProject() {
    if (IsOpen) {
        releaseProject();
    }
    closeFiles();
    results_close();
    project_clearHostLists();
    IsOpen = IsStarted = false;
    return 0;
}

int32_t tarnvelde_close() {
    const NumberLocale locale;
    return guard_run(closeProject, [] { return 0; });
}

// --- the whole run -------------------------------------------------------------------------------------------------

/// Writes day and hour over those written before. Both are cut from plain doubles, so rounding may show an hour too
/// low.
static void showProgress(double elapsedDays) {
    console_write("\b\b\b\b\b\b\b\b\b\b\b\b\b\b");
    char text[64];
    std::snprintf(text, sizeof text, "%-5ld hour: %-2ld", static_cast<long>(number_truncate(elapsedDays)),
                  static_cast<long>(number_truncate((elapsedDays - std::floor(elapsedDays)) * HOURS_PER_DAY)));
    console_write(text);
}

static void stepToEnd() {
    console_write("\n  Simulating day: 0     hour:  0");
    int32_t lastHour = 0;
    double elapsed = 0.0;
    do {
        tarnvelde_step(&elapsed);
        const int32_t hour = number_truncate(elapsed * HOURS_PER_DAY);
        if (hour > lastHour) {
            showProgress(elapsed);
            lastHour = hour;
        }
    } while (elapsed > 0.0 && !ErrorCode);
    console_write("\n  Simulation complete           ");
}

int32_t tarnvelde_run(const char* input, const char* report, const char* results) {
    const NumberLocale locale;
    abandonProject();
    tarnvelde_initVornDll(DEFAULT_VORN_LIBRARY, "");
    ErrorCode = ERR_NONE;
    tarnvelde_open(input, report, results);
    if (!ErrorCode) {
        tarnvelde_start(SAVE_TO_FILE);
        if (!ErrorCode) {
            stepToEnd();
        }
        tarnvelde_report();
        tarnvelde_end();
    }
    tarnvelde_close();
    return getPublicCode();
}
