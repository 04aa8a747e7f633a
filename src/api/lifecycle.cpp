// The functions of tarnvelde.h that open, run and close a project: a thin coat around the life of the default model,
// which lets nothing be thrown and makes no difference between a null and an empty name.

#include <cmath>
#include <cstdio>

#include "api/defaultmodel.h"
#include "api/guard.h"
#include "api/run.h"
#include "model/errors.h"
#include "model/messages.h"
#include "model/model.h"
#include "platform/arithmetic.h"
#include "platform/locale.h"
#include "results/results.h"
#include "tarnvelde.h"
#include "text/number.h"
#include "text/units.h"

static constexpr const char* DEFAULT_VORN_LIBRARY = "";  ///< leads to the folder of the host program

/// A call that lets nothing be thrown; without memory the memory error is its result.
template <class Work>
static int32_t guardCall(Work&& work) {
    const PlainArithmetic arithmetic;
    const NumberLocale locale;
    return guard_run(std::forward<Work>(work), [] {
        errors_report(defaultmodel_get(), ERR_MEMORY, "");
        return errors_getPublicCode(ERR_MEMORY);
    });
}

static const char* getTextOrNothing(const char* text) {
    return text ? text : "";
}

static int32_t setPaths(std::string& library, std::string& folder, const char* libraryPath, const char* tempFolder) {
    return guardCall([&] {
        library = getTextOrNothing(libraryPath);
        folder = getTextOrNothing(tempFolder);
        return 0;
    });
}

int32_t tarnvelde_initSwmmDll(const char* libraryPath, const char* tempFolder) {
    EngineLibraries& engines = defaultmodel_get().engines;
    return setPaths(engines.swmmLibrary, engines.swmmFolder, libraryPath, tempFolder);
}

int32_t tarnvelde_initVornDll(const char* libraryPath, const char* tempFolder) {
    EngineLibraries& engines = defaultmodel_get().engines;
    return setPaths(engines.vornLibrary, engines.vornFolder, libraryPath, tempFolder);
}

/// A project that is still open is released as it is: nothing is completed or deleted.
int32_t tarnvelde_open(const char* input, const char* report, const char* results) {
    return guardCall([&] {
        return run_open(defaultmodel_renew(), getTextOrNothing(input), getTextOrNothing(report),
                        getTextOrNothing(results));
    });
}

/// A save mode that names no sink makes rows for nobody.
static int32_t getSinks(int32_t saveMode) {
    switch (saveMode) {
        case TARNVELDE_SAVE_NOTHING: return 0;
        case TARNVELDE_SAVE_BINARY: return SINK_FILE;
        case TARNVELDE_SAVE_DATABASE: return SINK_DATABASE;
        default: return SINK_NOBODY;
    }
}

int32_t tarnvelde_start(int32_t saveMode) {
    return guardCall([&] { return run_start(defaultmodel_get(), getSinks(saveMode)); });
}

int32_t tarnvelde_step(double* elapsedDays) {
    return guardCall([&] { return run_step(defaultmodel_get(), elapsedDays); });
}

int32_t tarnvelde_report() {
    return guardCall([] { return run_report(defaultmodel_get()); });
}

int32_t tarnvelde_end() {
    return guardCall([] { return run_end(defaultmodel_get()); });
}

/// Without memory for a new model the old one stays, closed, until the next opening.
int32_t tarnvelde_close() {
    guardCall([] {
        run_close(defaultmodel_get());
        defaultmodel_renew();
        return 0;
    });
    return 0;
}

// --- the whole run -------------------------------------------------------------------------------------------------

/// Writes day and hour over those written before. Both are cut from plain doubles, so rounding may show an hour too
/// low.
static void showProgress(const Model& model, double elapsedDays) {
    messages_tell(model, "\b\b\b\b\b\b\b\b\b\b\b\b\b\b");
    char text[64];
    std::snprintf(text, sizeof text, "%-5ld hour: %-2ld", static_cast<long>(number_truncate(elapsedDays)),
                  static_cast<long>(number_truncate((elapsedDays - std::floor(elapsedDays)) * HOURS_PER_DAY)));
    messages_tell(model, text);
}

static void stepToEnd(const Model& model) {
    messages_tell(model, "\n  Simulating day: 0     hour:  0");
    int32_t lastHour = 0;
    double elapsed = 0.0;
    do {
        tarnvelde_step(&elapsed);
        const int32_t hour = number_truncate(elapsed * HOURS_PER_DAY);
        if (hour > lastHour) {
            showProgress(model, elapsed);
            lastHour = hour;
        }
    } while (elapsed > 0.0 && !model.error.code);
    messages_tell(model, "\n  Simulation complete           ");
}

int32_t tarnvelde_run(const char* input, const char* report, const char* results) {
    const PlainArithmetic arithmetic;
    tarnvelde_initVornDll(DEFAULT_VORN_LIBRARY, "");
    tarnvelde_open(input, report, results);
    if (!defaultmodel_get().error.code) {
        tarnvelde_start(TARNVELDE_SAVE_BINARY);
        if (!defaultmodel_get().error.code) {
            stepToEnd(defaultmodel_get());
        }
        tarnvelde_report();
        tarnvelde_end();
    }
    tarnvelde_close();
    return errors_getPublicCode(defaultmodel_get().error.code);
}
