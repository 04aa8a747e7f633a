// The steps of the project against each other and against its duration. Whole numbers of steps keep the balances exact;
// what is left over is counted in full, or shows in no sum.

#include "review/clock.h"

#include <cmath>
#include <string>

#include "hydrology/gage.h"
#include "hydrology/runoff.h"
#include "hydrology/subcatch.h"
#include "model/model.h"
#include "model/warnings.h"
#include "text/units.h"

// --- duration ------------------------------------------------------------------------------------------------------

static void reviewDuration(const Model& model) {
    static constexpr double LONGEST = 200.0, DAYS_PER_YEAR = 365.25, NEAR = 0.01;
    const Options& options = model.options;
    const double seconds = options.totalDuration / MS_PER_SECOND;
    const double years = seconds / SECONDS_PER_DAY / DAYS_PER_YEAR;
    if (years > LONGEST) {
        warnings_addAboutAll(model, WARN_DURATION_LONG, {warnings_formatNumber(std::round(years))});
    }
    const double exact = (options.endDateTime - options.startDateTime) * SECONDS_PER_DAY;
    const double meant = std::round(exact);
    if (meant > seconds && meant - exact < NEAR) {
        warnings_addAboutAll(model, WARN_DURATION,
                             {std::to_string(std::llround(seconds)), std::to_string(std::llround(meant))});
        return;  // the step that is cut by a second is told already, if it divides what was meant
    }
    if (const double rest = std::fmod(seconds, options.routingStep); rest > 0.0) {
        warnings_addAboutAll(model, WARN_STEP_LAST,
                             {warnings_formatNumber(options.routingStep), std::to_string(std::llround(seconds)),
                              warnings_formatNumber(rest)});
    }
}

// --- steps ---------------------------------------------------------------------------------------------------------

static void reviewReport(const Model& model) {
    const Options& options = model.options;
    if (options.reportStep % options.routingStep != 0) {
        warnings_addAboutAll(model, WARN_STEP_REPORT,
                             {warnings_formatNumber(options.reportStep), warnings_formatNumber(options.routingStep)});
    }
}

static void reviewRunoff(const Model& model) {
    if (model.subcatches.empty()) {
        return;
    }
    const RunoffStep step = runoff_findStep(model);
    if (step.seconds >= model.options.routingStep) {
        return;
    }
    const std::string seconds = warnings_formatNumber(step.seconds),
                      routing = warnings_formatNumber(model.options.routingStep);
    if (step.subcatch >= 0) {
        const std::string time = warnings_formatNumber(std::floor(step.flowTime));
        warnings_addAbout(
            model, WARN_STEP_RUNOFF, SUBCATCH, step.subcatch, model.subcatches[step.subcatch].name,
            {seconds, routing, "a sheet of 0.1 m passes this land, the last of the file, in " + time + " s"});
    } else if (step.gage >= 0) {
        warnings_addAbout(model, WARN_STEP_RUNOFF, GAGE, step.gage, model.gages[step.gage].name,
                          {seconds, routing, "it is the interval of this gage"});
    }
}

void clock_review(const Model& model) {
    reviewDuration(model);
    reviewReport(model);
    reviewRunoff(model);
}
