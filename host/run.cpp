// A simulation, taken through its steps here, so that it can be shown, and stopped between two of them with complete
// files.

#include "run.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "aside.h"
#include "balances.h"
#include "byobject.h"
#include "console.h"
#include "dates.h"
#include "errorplaces.h"
#include "files.h"
#include "handle.h"
#include "interrupt.h"
#include "lidfile.h"
#include "lidresults.h"
#include "lines.h"
#include "messages.h"
#include "outcome.h"
#include "progress.h"
#include "resultfile.h"
#include "status.h"
#include "verdict.h"

using std::chrono::steady_clock;

namespace {

constexpr int32_t CODE_SAME_NAMES = 301;
constexpr double ROUNDING = 1.0 / 86400000.0;  ///< d: the millisecond that a date may be off must not make a step more

/// A run on its way.
struct Run {
    const RunRequest& request;
    ProjectFiles files;
    ModelHandle model;
    RunLines lines{};
    Outcome outcome{};
    StatsStepsHandle stats{};  ///< none if they aren't asked for
    LidResultsHandle lids{};   ///< likewise
    double until = TV_END;     ///< date
    int signal = 0;            ///< that stopped it
};

// --- files ---------------------------------------------------------------------------------------------------------

ProjectFiles nameFiles(const RunRequest& request) {
    ProjectFiles files{request.model, request.report, request.results, request.database};
    if (files.report.empty()) {
        files.report = files_replaceExtension(request.model, ".rpt");
    }
    if (request.toDatabase) {
        if (files.database.empty()) {
            files.database = files_replaceExtension(request.model, ".db");
        }
    } else if (files.results.empty()) {
        files.results = files_replaceExtension(request.model, ".bin");
    }
    return files;
}

/// Whether any of the names means one file with another that stands behind it.
bool holdsOneTwice(const std::vector<std::string>& names) {
    for (size_t first = 0; first < names.size(); ++first) {
        for (size_t second = first + 1; second < names.size(); ++second) {
            if (!names[first].empty() && !names[second].empty() && files_isSame(names[first], names[second])) {
                return true;
            }
        }
    }
    return false;
}

/// Says when a state that is read is at a place where something else is written on its way.
std::string findLostState(const ProjectFiles& files, const RunRequest& request) {
    for (const std::string& state : {request.loadState, request.hotStart}) {
        for (const std::string& output : {files.report, files.results, files.database, request.saveState}) {
            if (!state.empty() && !output.empty() && files_isSame(state, aside_getName(output))) {
                std::string text = output;
                text.append(" is written as ").append(state);
                return text.append(" first, and that is the state to begin with");
            }
        }
    }
    return {};
}

/// A file of the run whose place another one would take, or that would take its place on its way.
std::string findLostFile(const std::string& file, const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        const bool isBoth = !file.empty() && !name.empty();
        if (isBoth && (files_isSame(file, name) || files_isSame(aside_getName(file), name) ||
                       files_isSame(file, aside_getName(name)))) {
            return name;
        }
    }
    return {};
}

/// Tells when two of the files of a run are one, which would cost the user one of them. But a state may be saved where
/// one was loaded from.
std::string findConflict(const ProjectFiles& files, const RunRequest& request) {
    const std::vector<std::string> names{files.model, files.report, files.results, files.database};
    if (holdsOneTwice(names)) {
        return "model, report and results must be three different files";
    }
    std::vector<std::string> others = names;
    for (const std::string& state : {request.saveState, request.loadState, request.hotStart}) {
        std::vector<std::string> all = names;
        all.push_back(state);
        if (holdsOneTwice(all)) {
            return "the state must be another file than model, report and results: " + state;
        }
        others.push_back(state);
    }
    if (const std::string lost = findLostFile(request.stats.file, others); !lost.empty()) {
        return "the statistics would take the place of " + lost;
    }
    others.push_back(request.stats.file);
    if (const std::string lost = findLostFile(request.byObject, others); !lost.empty()) {
        return "the file by object would take the place of " + lost;
    }
    others.push_back(request.byObject);
    for (const std::string& name : {request.lidResults, lidfile_getJournal(request.lidResults)}) {
        if (const std::string lost = findLostFile(name, others); !lost.empty()) {
            return "the results of LID units would take the place of " + lost;
        }
    }
    return findLostState(files, request);
}

// --- steps ---------------------------------------------------------------------------------------------------------

/// Keeps the first code other than 0.
void note(Run& run, int32_t code) {
    run.outcome.code = run.outcome.code != TV_OK ? run.outcome.code : code;
}

/// A failure of the program itself, which the engine knows nothing of.
void refuse(Run& run, int32_t code, const std::string& text) {
    note(run, code);
    run.outcome.messages.push_back(messages_make(code, text));
}

tv_clock getClock(const Run& run) {
    tv_clock clock{};
    tv_getClock(run.model.get(), &clock);
    return clock;
}

bool isStarted(const Run& run) {
    int32_t phase = TV_CLOSED;
    tv_getPhase(run.model.get(), &phase);
    return phase == TV_STARTED;
}

/// Whether a signal has asked to stop.
bool isInterrupted(Run& run) {
    run.signal = interrupt_get();
    if (run.signal != 0) {
        run.outcome.stopped = interrupt_getName(run.signal);
    }
    return run.signal != 0;
}

/// Whether the wish to stop has come, or the date.
bool mustStop(Run& run, double now) {
    if (!isInterrupted(run) && !(now < run.until - ROUNDING)) {
        run.outcome.stopped = "until";
    }
    return !run.outcome.stopped.empty();
}

/// Steps the started run to its end, or to where it is to stop. A code other than 0 ends it early.
void stepToEnd(Run& run) {
    tv_clock clock = getClock(run);
    const bool hasBar = run.lines.form == LineForm::NONE;
    const double first = clock.now;
    Progress progress = progress_begin(hasBar ? clock.end - first : 0.0);
    lines_begin(run.lines, clock.end - clock.start);
    while (run.outcome.code == TV_OK && isStarted(run) && !mustStop(run, clock.now)) {
        note(run, tv_step(run.model.get()));
        ++run.outcome.steps;
        if (run.stats && run.outcome.code == TV_OK) {
            statssteps_add(*run.stats, run.model.get());
        }
        const int64_t period = clock.period;
        clock = getClock(run);
        if (run.lids && clock.period > period) {
            lidresults_add(*run.lids, run.model.get());
        }
        progress_update(progress, clock.now - first);
        lines_update(run.lines, clock.now - clock.start);
    }
    progress_end(progress);
    if (run.outcome.code == TV_OK) {
        lines_tell(run.lines, run.outcome.stopped.empty() ? "Simulation complete" : "Simulation stopped");
    }
}

/// What is to be known of a run while it is there.
void lookAtRun(Run& run) {
    tv_getPhase(run.model.get(), &run.outcome.phase);
    run.outcome.hasClock = tv_getClock(run.model.get(), &run.outcome.clock) == TV_OK;
    if (run.request.isJson && run.outcome.code == TV_OK) {
        run.outcome.balances = balances_read(run.model.get());
    }
    if (run.outcome.code == TV_OK) {
        run.outcome.verdicts = verdict_read(run.model.get());
    }
    if (run.request.hasBalances && run.request.isJson && run.outcome.code == TV_OK) {
        run.outcome.places = verdict_readBalances(run.model.get());
    }
}

/// A name as the library takes it: null for no file.
const char* getName(const std::string& name) {
    return name.empty() ? nullptr : name.c_str();
}

/// Takes the state that is asked for into the run that has just been started.
void loadState(Run& run) {
    const RunRequest& request = run.request;
    const std::string& file = request.loadState.empty() ? request.hotStart : request.loadState;
    if (file.empty()) {
        return;
    }
    const int32_t code = request.loadState.empty() ? tv_hotStartFile(run.model.get(), file.c_str())
                                                   : tv_restoreStateFile(run.model.get(), file.c_str());
    if (code != TV_OK) {
        refuse(run, code, "cannot start from the state " + file + ": " + tv_describeCode(code));
    }
}

void saveState(Run& run) {
    const std::string& file = run.request.saveState;
    if (file.empty()) {
        return;
    }
    const int32_t code = tv_saveStateFile(run.model.get(), file.c_str());
    if (code != TV_OK) {
        refuse(run, code, "cannot save the state " + file + ": " + tv_describeCode(code));
    }
}

void writeStats(Run& run) {
    if (!run.stats) {
        return;
    }
    if (const std::string failure = statssteps_write(*run.stats); !failure.empty()) {
        refuse(run, TV_ERROR_FILE, failure);
    }
}

/// A run without a step leaves no results.
void endLidResults(Run& run) {
    if (run.lids && run.outcome.steps > 0) {
        if (const std::string failure = lidresults_end(*run.lids); !failure.empty()) {
            refuse(run, TV_ERROR_FILE, failure);
        }
    }
    run.lids.reset();
}

/// What can be known to fail is refused ahead of the start, which empties the files of results.
void start(Run& run) {
    tv_model* model = run.model.get();
    const tv_clock clock = getClock(run);
    if (!(run.until > clock.start)) {
        refuse(run, TV_ERROR_RANGE,
               "the date to stop at is not later than the start of the run, " + result_formatDate(clock.start));
        run.outcome.status = EXIT_WRONG_USAGE;
        return;
    }
    for (const std::string& state : {run.request.loadState, run.request.hotStart}) {
        if (!state.empty() && !files_isReadable(state)) {
            refuse(run, TV_ERROR_FILE, "cannot open the state " + state);
            return;
        }
    }
    if (run.request.hasBalances) {
        note(run, tv_keepLoads(model, 1));
    }
    int32_t form = 0;
    for (const std::string& part : run.request.databaseParts) {
        form |= run_getDatabaseFlag(part);
    }
    note(run, tv_setDatabaseForm(model, form));
    note(run, tv_start(model, getName(run.files.results), getName(run.files.database)));
    const std::pair<const char*, std::string> outputs[] = {
        {"state", run.request.saveState},
        {"statistics", run.request.stats.file},
        {"file by object", run.request.byObject},
        {"results of LID units", run.request.lidResults},
        {"journal of LID units", lidfile_getJournal(run.request.lidResults)}};
    for (const auto& [what, name] : outputs) {
        if (run.outcome.code == TV_OK && !name.empty()) {
            note(run, tv_testOutput(model, what, name.c_str()));
        }
    }
    if (run.outcome.code == TV_OK) {
        loadState(run);
    }
    if (run.outcome.code == TV_OK && !run.request.stats.file.empty()) {
        run.stats = statssteps_begin(run.request.stats, run.request.model, model);
    }
    if (run.outcome.code == TV_OK && !run.request.lidResults.empty()) {
        std::string failure;
        run.lids = lidresults_begin(run.request.lidResults, model, failure);
        if (!run.lids) {
            refuse(run, TV_ERROR_FILE, failure);
        }
    }
}

/// Brings the run to its end, from wherever it stands. The state is saved ahead of the report, and a report is written
/// even if the state can't be saved.
void finish(Run& run) {
    tv_model* model = run.model.get();
    lookAtRun(run);
    const bool hasRun = run.outcome.phase == TV_STARTED || run.outcome.phase == TV_FINISHED;
    if (run.outcome.code == TV_OK && hasRun) {
        saveState(run);
        writeStats(run);
        lines_tell(run.lines, "Writing output report");
        note(run, tv_report(model));
    }
    if (hasRun) {
        endLidResults(run);
        note(run, tv_end(model));
    }
    if (run.outcome.phase != TV_CLOSED) {
        note(run, tv_close(model));
    }
}

/// Once the results are in place they are read again, and written object by object.
void writeByObject(Run& run) {
    const std::string& source = run.files.results.empty() ? run.files.database : run.files.results;
    if (run.request.byObject.empty() || run.outcome.code != TV_OK || run.outcome.steps == 0) {
        return;
    }
    try {
        ResultFile results;
        result_open(results, source);
        byobject_write(results, run.request.byObject);
    } catch (const ResultError& error) {
        refuse(run, TV_ERROR_FILE, error.what());
    }
}

/// The program itself finds no memory for its report. The model is not aware of that: its report has no tables
/// yet, and would take the place of an earlier one without them.
void completeFiles(const Run& run) {
    tv_report(run.model.get());
    tv_close(run.model.get());
}

void work(Run& run) {
    lines_tell(run.lines, "Retrieving project data");
    note(run, tv_open(run.model.get(), run.files.model.c_str(), run.files.report.c_str()));
    if (run.outcome.code == TV_OK && !isInterrupted(run)) {
        start(run);
    }
    if (run.outcome.code == TV_OK && isStarted(run)) {
        stepToEnd(run);
    }
    finish(run);
    writeByObject(run);
    lines_end(run.lines);
}

// --- what is told --------------------------------------------------------------------------------------------------

int getStatus(const Run& run) {
    if (run.outcome.status != EXIT_DONE) {
        return run.outcome.status;
    }
    if (run.outcome.code != TV_OK) {
        return EXIT_ENGINE_ERROR;
    }
    if (run.signal != 0) {
        return EXIT_SIGNAL + run.signal;
    }
    const bool isDoubtful = messages_areDoubtful(run.outcome.messages) || verdict_isRed(run.outcome.verdicts);
    return run.request.isStrict && isDoubtful ? EXIT_DOUBT : EXIT_DONE;
}

/// The files that there are.
std::vector<std::pair<std::string, std::string>> listFiles(const ProjectFiles& files, const RunRequest& request) {
    std::vector<std::pair<std::string, std::string>> list;
    const std::pair<const char*, const std::string*> all[] = {
        {"report", &files.report},      {"results", &files.results},         {"database", &files.database},
        {"state", &request.saveState},  {"statistics", &request.stats.file}, {"lidResults", &request.lidResults},
        {"byObject", &request.byObject}};
    for (const auto& [use, name] : all) {
        if (!name->empty() && files_exists(*name)) {
            list.emplace_back(use, *name);
        }
    }
    return list;
}

void showFiles(const Outcome& outcome) {
    for (const auto& [use, name] : outcome.files) {
        const char* title = use == "report"       ? "Report:"
                            : use == "state"      ? "State:"
                            : use == "statistics" ? "Stats:"
                            : use == "lidResults" ? "LIDs:"
                                                  : "Results:";
        std::printf("  %-8s %s\n", title, messages_makePrintable(name).c_str());
    }
}

void showStop(const Run& run) {
    if (run.outcome.stopped.empty() || run.outcome.code != TV_OK) {
        return;
    }
    const std::string now = result_formatDate(run.outcome.clock.now);
    if (run.signal != 0 && run.outcome.steps > 0) {
        std::fprintf(stderr, "tarnvelde: stopped by %s at %s; the files hold the run up to there\n",
                     run.outcome.stopped.c_str(), now.c_str());
    } else if (run.signal != 0) {
        std::fprintf(stderr, "tarnvelde: stopped by %s before the first step; no file was written\n",
                     run.outcome.stopped.c_str());
    } else if (!run.request.isQuiet && !run.request.isJson) {
        std::printf("  Stopped: %s\n", now.c_str());
    }
}

/// A line that counts warnings, and says where to read more.
void showCounts(const Run& run) {
    const std::string words = messages_describeCounts(messages_count(run.outcome.messages));
    if (!words.empty()) {
        std::fprintf(stderr, "tarnvelde: %s%s (tarnvelde explain NAME says what to do)\n", words.c_str(),
                     messages_nameNotes(run.outcome.messages).c_str());
    } else if (!run.request.isQuiet && !run.request.isJson) {
        std::fprintf(stderr, "tarnvelde: no warnings\n");
    }
}

/// A project that has errors is looked at by a check, which says more about each.
void showCheck(const Run& run) {
    const std::vector<HostMessage>& messages = run.outcome.messages;
    const bool isAboutProject = std::any_of(messages.begin(), messages.end(), [](const HostMessage& message) {
        return message.level == TV_ERROR && errorplaces_isOfProject(message.code);
    });
    if (isAboutProject && !run.request.isQuiet && !run.request.isJson) {
        std::fprintf(stderr, "tarnvelde: tarnvelde check %s shows what to do\n",
                     messages_makePrintable(run.files.model).c_str());
    }
}

int tell(Run& run) {
    Outcome& outcome = run.outcome;
    const std::vector<HostMessage> messages = messages_read(run.model.get(), run.files);
    outcome.messages.insert(outcome.messages.begin(), messages.begin(), messages.end());
    outcome.status = getStatus(run);
    messages_show(outcome.messages, {false, false, console_isErrorTerminal(), MESSAGES_WARNINGS_SHOWN});
    messages_showEnd(outcome.code, run.files.model);
    showCheck(run);
    if (outcome.code == TV_OK) {
        verdict_show(outcome.verdicts, !run.request.isQuiet && !run.request.isJson);
        showCounts(run);
    }
    if (outcome.status != EXIT_ENGINE_ERROR && outcome.status != EXIT_WRONG_USAGE) {
        outcome.files = listFiles(run.files, run.request);
        showStop(run);
        if (!run.request.isQuiet && !run.request.isJson) {
            showFiles(outcome);
        }
    }
    if (run.request.isJson && !outcome_writeJson(outcome)) {
        return EXIT_ENGINE_ERROR;
    }
    return outcome.status;
}

LineForm chooseForm(const RunRequest& request) {
    if (request.isQuiet || request.toDatabase || request.isJson) {
        return LineForm::NONE;
    }
    return console_isOutputTerminal() ? LineForm::TERMINAL : LineForm::PLAIN;
}

}  // namespace

int32_t run_getDatabaseFlag(const std::string& part) {
    static constexpr std::pair<const char*, int32_t> FLAGS[] = {{"index", TV_DATABASE_INDEX},
                                                                {"units", TV_DATABASE_UNITS},
                                                                {"dates", TV_DATABASE_DATES},
                                                                {"full", TV_DATABASE_FULL}};
    for (const auto& [name, flag] : FLAGS) {
        if (part == name) {
            return flag;
        }
    }
    return 0;
}

int run_execute(const RunRequest& request) {
    const auto begin = steady_clock::now();
    Run run{request, nameFiles(request), handle_make(request.engines)};
    tv_setThreads(run.model.get(), request.threads);
    run.lines.form = chooseForm(request);
    run.outcome.command = "run";
    run.outcome.project = request.model;
    (void)dates_parse(request.until, &run.until);  // a text that isn't empty has been found to be a date
    if (const std::string conflict = findConflict(run.files, request); !conflict.empty()) {
        refuse(run, CODE_SAME_NAMES, conflict);
    } else {
        interrupt_install();
        try {
            work(run);
        } catch (const std::bad_alloc&) {
            completeFiles(run);
            throw;
        }
    }
    run.outcome.wallTime = std::chrono::duration<double>(steady_clock::now() - begin).count();
    return tell(run);
}
