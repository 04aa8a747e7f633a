// The command line `tarnvelde`: a user of the public header like any other.
//
//     tarnvelde run MODEL.inp [--report F] [--results F] [--database[=F] [--database-with LIST]] [--by-object[=F]]
//                             [--until D] [--save-state F] [--load-state F | --hot-start F] [--threads N]
//                             [--engines D] [--scratch D] [--stats[=F] [--stats-gap H] [--stats-threshold Q]]
//                             [--lid-results F] [--strict] [--quiet] [--json [--balances]]
//     tarnvelde check MODEL.inp [--engines D] [--scratch D] [--strict] [--json]
//     tarnvelde results FILE [--object O ...] [--table T ...] [--column C ...] [--from D] [--to D] [--summary]
//                            [--csv | --json] | --recover | --by-object -o F
//     tarnvelde stats FILE [--object O ...] [--table T ...] [--column C] [--gap H] [--threshold Q] [--from D] [--to D]
//                          [--events] [--curve] [--csv | --json]
//     tarnvelde plot FILE --object O [--object O ...] --column C [--column C ...] [--from D] [--to D] [--rain [O]]
//                         [--mean H] [--curve] [--measured F[:C] ...] -o OUT.svg|OUT.png|OUT.pdf
//     tarnvelde plot FILE --section FROM TO [--via N ...] --model MODEL.inp [--at D ...] [--from D] [--to D] -o OUT...
//     tarnvelde report MODEL.inp|RESULTS [--compare OTHER] [--model MODEL.inp] [-o PAGE.html] [--title T]
//                      [--data-limit MB] [--gap H] [--threshold Q] [--template F] [--balances] [--threads N]
//                      [--engines D] [--scratch D] [--quiet]
//     tarnvelde export FILE -o OUT.csv|FOLDER/|OUT.nc|OUT.geojson|OUT.gpkg [--model MODEL.inp] [--object O ...] ...
//     tarnvelde explain [NAME]
//     tarnvelde ensemble MODEL.inp TABLE.csv -o FOLDER ...    (by the Python package)
//     tarnvelde --version
//     tarnvelde [COMMAND] --help
//
// Exit status: 0 on success, 1 when the engine reports an error or results can't be read, 2 on wrong usage, 3 where
// --strict finds warnings or a red balance, 130 and 143 for a run that a signal stopped, 141 where the reader of a pipe
// has gone.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "characters.h"
#include "check.h"
#include "commands.h"
#include "console.h"
#include "dates.h"
#include "ensemble.h"
#include "explain.h"
#include "export.h"
#include "files.h"
#include "handle.h"
#include "memory.h"
#include "page.h"
#include "picture.h"
#include "plot.h"
#include "results.h"
#include "run.h"
#include "stats.h"
#include "status.h"
#include "tarnvelde_model.h"
#include "version.h"

static constexpr double MOST_AMOUNT = 1e6;  ///< h, or m3/s
static constexpr double MOST_LIMIT = 1000;  ///< MB

static std::string refuseEmpty(const std::string& name) {
    return name.empty() ? "a file name can't be empty" : "";
}

static CLI::Option* addModel(CLI::App& command, std::string& model) {
    return command.add_option("MODEL", model, "The project file")->required()->check(refuseEmpty);
}

static std::string refuseNoDate(const std::string& text) {
    double date = 0.0;
    return dates_parse(text, &date) ? "" : "no date: " + text;
}

static std::string refuseNoFolder(const std::string& name) {
    return files_isFolder(name) ? "" : "no folder: " + name;
}

/// A whole number, without a sign: the parser itself would take 1.5 for 1.
static std::string refuseNoThreads(const std::string& text) {
    int32_t count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole && count >= 1 && count <= TV_MAX_THREADS
               ? ""
               : "threads are from 1 to " + std::to_string(TV_MAX_THREADS) + ", not " + text;
}

/// A folder of engines, or the name of some.
static std::string refuseNoEngines(const std::string& name) {
    return handle_findEngines(name).empty() ? refuseNoFolder(name) : "";
}

static void addFile(CLI::App& command, const char* option, std::string& name, const char* meaning) {
    command.add_option(option, name, meaning)->type_name("FILE")->check(refuseEmpty);
}

static void addEngines(CLI::App& command, EngineFolders& folders) {
    command
        .add_option(
            "--engines", folders.engines,
            "The folder of the engines inside nodes, or \"nested\" for projects, \"plant\" for treatment plants "
            "inside nodes; may be given several times [that of this program, else that of those installed with "
            "it]")
        ->type_name("FOLDER")
        ->allow_extra_args(false)
        ->check(refuseNoEngines);
    command
        .add_option("--scratch", folders.scratch,
                    "The folder for private copies of engines [that of TMPDIR, else /tmp or /var/tmp]")
        ->type_name("FOLDER")
        ->check(refuseNoFolder);
}

static void addCommonOptions(CLI::App& command, EngineFolders& folders, bool& isJson, bool& isStrict) {
    addEngines(command, folders);
    command.add_flag("--json", isJson, "One JSON object on standard output, for programs");
    command.add_flag("--strict", isStrict, "Exit status 3 if there are warnings, or a balance is red");
}

/// A flag without a value means the file beside the model.
static void settleFlags(const CLI::App& command, RunRequest& request) {
    request.toDatabase = command.count("--database") > 0;
    if (request.database == "true") {
        request.database.clear();
    }
    if (request.byObject == "true") {
        request.byObject = files_replaceExtension(request.model, ".tvo");
    }
    if (request.stats.file == "true") {
        request.stats.file = files_replaceExtension(request.model, ".stats.json");
    }
}

static std::string refuseNoDatabasePart(const std::string& part) {
    return run_getDatabaseFlag(part) != 0 ? "" : "a database comes with index, units, dates or full, not with " + part;
}

/// Hours, or a flow: a finite number that isn't negative.
static std::string refuseNoAmount(const std::string& text) {
    double amount = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), amount);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return isNumber && amount >= 0.0 && amount <= MOST_AMOUNT ? "" : "no number from 0 to 1e6: " + text;
}

/// Hours of a mean, which may not be none.
static std::string refuseNoLength(const std::string& text) {
    const std::string fault = refuseNoAmount(text);
    return fault.empty() && std::strtod(text.c_str(), nullptr) == 0.0 ? "no mean has a length of 0" : fault;
}

static void addAmounts(CLI::App& command, const std::string& prefix, double& gap, double& threshold) {
    command.add_option("--" + prefix + "gap", gap, "Hours without flow that end an event [6]")
        ->type_name("HOURS")
        ->check(refuseNoAmount);
    command.add_option("--" + prefix + "threshold", threshold, "What is above this counts as flow, m3/s [0]")
        ->type_name("FLOW")
        ->check(refuseNoAmount);
}

static void addThreads(CLI::App& command, int32_t& threads) {
    command.add_option("--threads", threads, "Threads that share the work, with the same results [1]")
        ->type_name("N")
        ->check(refuseNoThreads);
}

static void addStepsOptions(CLI::App& command, StatsStepsRequest& request) {
    CLI::Option* stats =
        command.add_flag("--stats", request.file,
                         "Events of overflows, step by step, as JSON: MODEL.stats.json beside the model, or with "
                         "--stats=FILE that file; as a list if it ends with .csv");
    addAmounts(command, "stats-", request.gap, request.threshold);
    command.get_option("--stats-gap")->needs(stats);
    command.get_option("--stats-threshold")->needs(stats);
}

static void addRunOptions(CLI::App& command, RunRequest& request) {
    addModel(command, request.model);
    addFile(command, "--report", request.report, "The text report [MODEL.rpt beside the model]");
    addFile(command, "--results", request.results,
            "The binary results file [MODEL.bin beside the model; none with --database]");
    command.add_flag(
        "--database", request.database,
        "Results go to a SQLite database: MODEL.db beside the model, or with --database=FILE to that file");
    command
        .add_option("--database-with", request.databaseParts,
                    "What the database holds besides its tables, separated by commas: index, units, dates, full")
        ->type_name("LIST")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(refuseNoDatabasePart)
        ->needs("--database");
    command.add_flag("--by-object", request.byObject,
                     "The same results, object by object: MODEL.tvo beside the model, or with --by-object=FILE "
                     "that file");
    command.add_option("--until", request.until, "Stop at this date, as 2024/06/18 or '2024/06/18 6:30'")
        ->type_name("DATE")
        ->check(refuseNoDate);
    addFile(command, "--save-state", request.saveState, "The file for the state at the end, or where the run stops");
    CLI::Option* load = command.add_option("--load-state", request.loadState, "Go on from a state of this project");
    load->type_name("FILE")->check(refuseEmpty);
    CLI::Option* hot = command.add_option("--hot-start", request.hotStart,
                                          "Begin with the water of a state of this network, at the project's start");
    hot->type_name("FILE")->check(refuseEmpty)->excludes(load);
    addThreads(command, request.threads);
    addStepsOptions(command, request.stats);
    addFile(command, "--lid-results", request.lidResults,
            "LID units over time: a database of results, or with .csv at its end a table");
    addCommonOptions(command, request.engines, request.isJson, request.isStrict);
    command.add_flag(
        "--balances", request.hasBalances,
        "Keep the loads of each place: the verdict names those that lose some, and the JSON has all balances");
    command.add_flag("--quiet", request.isQuiet, "Nothing on standard output, nor about balances that are green");
}

static void addWindow(CLI::App& command, std::string& from, std::string& to) {
    command.add_option("--from", from, "Reports from this date on, as 2024/06/18 or '2024/06/18 6:30'")
        ->type_name("DATE")
        ->check(refuseNoDate);
    command.add_option("--to", to, "Reports up to this date")->type_name("DATE")->check(refuseNoDate);
}

static void addForms(CLI::App& command, SeriesForm& form) {
    CLI::Option* csv = command.add_flag_callback(
        "--csv", [&form] { form = SeriesForm::CSV; }, "Values separated by commas");
    CLI::Option* json = command.add_flag_callback(
        "--json", [&form] { form = SeriesForm::JSON; }, "JSON, for programs");
    csv->excludes(json);
}

/// An option that may be given several times, with one word each.
static CLI::Option* addWords(CLI::App& command, const char* option, std::vector<std::string>& words, const char* type,
                             const char* meaning) {
    return command.add_option(option, words, meaning)->type_name(type)->allow_extra_args(false)->check(refuseEmpty);
}

static void addResultFile(CLI::App& command, std::string& file) {
    command.add_option("FILE", file, "The binary results file, the database or the file by object")
        ->required()
        ->check(refuseEmpty);
}

static void addObjects(CLI::App& command, std::vector<std::string>& objects, std::vector<std::string>& tables) {
    addWords(command, "--object", objects, "ID", "This object, by its ID; may be given several times");
    addWords(command, "--table", tables, "NAME", "All objects of this table, as Pipe; may be given several times");
}

static void addResultsOptions(CLI::App& command, ResultsRequest& request) {
    addResultFile(command, request.file);
    addObjects(command, request.objects, request.tables);
    addWords(command, "--column", request.columns, "NAME", "This column alone; may be given several times");
    addWindow(command, request.from, request.to);
    command.add_flag("--summary", request.isSummary,
                     "Minimum, mean over time, flow-weighted mean, maximum and its time per column");
    addForms(command, request.form);
    command.add_flag("--recover", request.isRecovery,
                     "Close a binary file whose run was killed, after its last whole report");
    CLI::Option* byObject =
        command.add_flag("--by-object", request.isByObject,
                         "Make a file of the same results object by object, in which one series is found at once");
    CLI::Option* output = command.add_option("-o,--output", request.output, "The file by object, as town.tvo");
    output->type_name("FILE")->check(refuseEmpty)->needs(byObject);
    byObject->needs(output);
    for (const char* other :
         {"--object", "--table", "--column", "--from", "--to", "--summary", "--csv", "--json", "--recover"}) {
        byObject->excludes(command.get_option(other));
    }
}

static void addStatsOptions(CLI::App& command, StatsRequest& request) {
    addResultFile(command, request.file);
    addObjects(command, request.objects, request.tables);
    command.get_option("--table")->description(
        "All objects of this table, as Pipe; may be given several times [Outfall, Pump, Weir and Orifice]");
    command.add_option("--column", request.column, "Which flow, as Flood [that which carries the water]")
        ->type_name("NAME")
        ->check(refuseEmpty);
    addAmounts(command, "", request.gap, request.threshold);
    addWindow(command, request.from, request.to);
    command.add_flag("--events", request.hasEvents, "Each event, with its volume, peak and loads");
    command.add_flag("--curve", request.hasCurve, "The flow duration curve");
    addForms(command, request.form);
}

static std::string refuseNoPicture(const std::string& name) {
    return picture_getForm(name) == PictureForm::NONE ? "a picture ends with .svg, .png or .pdf, not as " + name : "";
}

static void addSectionOptions(CLI::App& command, PlotRequest& request) {
    CLI::Option* section = command.add_option(
        "--section", request.section, "A long section from the node FROM down to the node TO, in place of lines");
    CLI::Option* model = command.add_option("--model", request.model, "The project file, for the section");
    section->type_name("NODE")->expected(2)->check(refuseEmpty)->needs(model);
    model->type_name("FILE")->check(refuseEmpty)->needs(section);
    addWords(command, "--via", request.via, "ID", "A node that the section leads through; may be given several times")
        ->needs(section);
    addWords(command, "--at", request.at, "DATE", "Levels at this date; may be given several times")
        ->check(refuseNoDate)
        ->needs(section);
    addEngines(command, request.engines);
    for (const char* other : {"--object", "--column", "--rain", "--mean", "--curve", "--measured"}) {
        section->excludes(command.get_option(other));
    }
}

static void addPlotOptions(CLI::App& command, PlotRequest& request) {
    addResultFile(command, request.file);
    addWords(command, "--object", request.objects, "ID",
             "Draw lines for this object, by its ID; may be given several times");
    addWords(command, "--column", request.columns, "NAME",
             "What the lines show; may be given several times. Two units share a picture, more have a panel each");
    addWindow(command, request.from, request.to);
    CLI::Option* rain = command.add_option("--rain", request.rain,
                                           "Rain hangs from the top: that of all the land, or of this subcatchment");
    rain->type_name("[ID]")->expected(0, 1);
    command
        .add_option("--mean", request.mean,
                    "Concentrations as means of the last HOURS, weighted by the flow that carries them")
        ->type_name("HOURS")
        ->check(refuseNoLength);
    CLI::Option* curve = command.add_flag("--curve", request.isCurve, "Duration curves in place of lines over time");
    curve->excludes(rain)->excludes(addWords(command, "--measured", request.measured, "FILE[:COLUMN]",
                                             "Points from a CSV file; may be given several times"));
    addSectionOptions(command, request);
    command
        .add_option("-o,--output", request.output, "The picture, whose form is that of its name: .svg, .png or .pdf")
        ->type_name("FILE")
        ->required()
        ->check(refuseNoPicture);
}

static std::string refuseNoLimit(const std::string& text) {
    double limit = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), limit);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return isNumber && limit >= 0.0 && limit <= MOST_LIMIT ? "" : "no number from 0 to 1000: " + text;
}

static void addPageOptions(CLI::App& command, PageRequest& request) {
    command.add_option("INPUT", request.input, "The project file, which is run, or results")
        ->required()
        ->check(refuseEmpty);
    addFile(command, "--compare", request.compare, "Another project, or results, to compare with the first");
    addFile(command, "--model", request.model, "The project file of the results, for its network");
    addFile(command, "-o,--output", request.output, "The page [INPUT.html beside the input]");
    command.add_option("--title", request.title, "The title [the name of the input]")->type_name("TEXT");
    command.add_option("--data-limit", request.dataLimit, "What the lines of the page may take, MB [40]")
        ->type_name("MB")
        ->check(refuseNoLimit);
    addAmounts(command, "", request.gap, request.threshold);
    addFile(command, "--template", request.templateFile,
            "A page of your own, with the marks <!--TITLE--> and <!--DATA--> [that which is built in]");
    addThreads(command, request.threads);
    addEngines(command, request.engines);
    command.add_flag("--balances", request.hasBalances,
                     "Keep the loads of each place: the verdict names those that lose some");
    command.add_flag("--quiet", request.isQuiet, "Nothing on standard output, nor about balances that are green");
}

static std::string refuseNoExport(const std::string& name) {
    return export_getForm(name) == ExportForm::NONE
               ? "an export ends with .csv, .nc, .geojson or .gpkg, or is a folder, not as " + name
               : "";
}

static void addExportOptions(CLI::App& command, ExportRequest& request) {
    addResultFile(command, request.file);
    command
        .add_option("-o,--output", request.output,
                    "Where it goes; the form is that of the name: .csv, or a folder, for values separated by commas, a "
                    "file for each table; .nc for netCDF; .geojson or .gpkg for a map")
        ->type_name("FILE")
        ->required()
        ->check(refuseNoExport);
    command
        .add_option("--model", request.model,
                    "The project of the results: a map takes the network and its coordinates from it")
        ->type_name("FILE")
        ->check(refuseEmpty);
    addObjects(command, request.objects, request.tables);
    addWords(command, "--column", request.columns, "NAME", "This column alone; may be given several times");
    addWindow(command, request.from, request.to);
    command.add_flag("--long", request.isLong, "One list of all values, in place of a file for each table");
    addEngines(command, request.engines);
}

/// A message if the first word is no command: the parser would only call it unexpected.
static std::string findUnknownCommand(const CLI::App& app, int argumentCount, char** arguments) {
    const std::string first = argumentCount > 1 ? arguments[1] : "--help";
    std::vector<std::string> known;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        known.push_back(command->get_name());
    }
    const bool isKnown = std::find(known.begin(), known.end(), first) != known.end();
    return isKnown || first.starts_with('-') ? "" : commands_describeUnknown(first, known);
}

/// Prints the help, the version, or what is wrong with the words that were given, which may hold any byte.
static int endUsage(const CLI::App& app, const CLI::ParseError& error) {
    std::ostringstream out, err;
    const int status = app.exit(error, out, err) == 0 ? EXIT_DONE : EXIT_WRONG_USAGE;
    const std::string text = out.str();
    if (memory_wasRefused()) {
        throw std::bad_alloc();
    }
    std::fputs(text.c_str(), stdout);
    std::fputs(characters_makePrintableLines(err.str()).c_str(), stderr);
    return status;
}

static void addGeneralOptions(CLI::App& app) {
    app.set_version_flag("--version", version_describe, "Version, library, commit, compiler and SQLite");
    app.require_subcommand(1);
    app.footer(
        "Exit status: 0 on success, 1 when the engine reports an error or results can't be read, 2 on wrong usage, "
        "3 where --strict finds warnings or a red balance, 130 and 143 for a run that Ctrl-C or a signal to end "
        "stopped.");
}

/// What a user may ask for, command by command.
struct Requests {
    RunRequest run{};
    CheckRequest check{};
    std::string warning;
    ResultsRequest results{};
    StatsRequest stats;
    PlotRequest plot{};
    PageRequest page;
    ExportRequest exported;
};

static void addCommands(CLI::App& app, Requests& requests) {
    const auto add = [&app](const char* name, const char* meaning) -> CLI::App& {
        return *app.add_subcommand(name, meaning);
    };
    addRunOptions(add("run", "Run a simulation"), requests.run);
    CLI::App& check = add("check", "Read and validate a project; show each error with its place and what to do");
    addModel(check, requests.check.model);
    addCommonOptions(check, requests.check.engines, requests.check.isJson, requests.check.isStrict);
    add("explain", "Explain what a warning or an error means, and what to do")
        .add_option("NAME", requests.warning, "Its name, as W-unit-slope, or the number of an error [all warnings]");
    addResultsOptions(add("results", "Show what a file of results holds"), requests.results);
    addStatsOptions(add("stats", "Events, volumes, loads and peaks of flows"), requests.stats);
    addPlotOptions(add("plot", "Draw results over time, as duration curves, or a long section"), requests.plot);
    addPageOptions(add("report", "Write a page that shows all of a run"), requests.page);
    addExportOptions(add("export", "Results in the forms of other programs: CSV, netCDF, maps"), requests.exported);
    add("ensemble", "Run a project many times, by the Python package: tarnvelde ensemble --help");
}

/// Does what was asked; the exit status.
static int execute(const CLI::App& app, Requests& requests) {
    const CLI::App& command = *app.get_subcommands().front();
    const std::string& name = command.get_name();
    if (name == "results") {
        return results_execute(requests.results);
    }
    if (name == "stats") {
        return stats_execute(requests.stats);
    }
    if (name == "plot") {
        requests.plot.hasRain = command.count("--rain") > 0;
        requests.plot.hasMean = command.count("--mean") > 0;
        return plot_execute(requests.plot);
    }
    if (name == "report") {
        return page_execute(requests.page);
    }
    if (name == "export") {
        return export_execute(requests.exported);
    }
    if (name == "explain") {
        return explain_execute(requests.warning);
    }
    if (name == "check") {
        return check_execute(requests.check);
    }
    settleFlags(command, requests.run);
    return run_execute(requests.run);
}

static int runCommand(int argumentCount, char** arguments) {
    CLI::App app("Tarnvelde simulates urban drainage and water quality.", "tarnvelde");
    addGeneralOptions(app);
    Requests requests;
    addCommands(app, requests);
    if (const std::string unknown = findUnknownCommand(app, argumentCount, arguments); !unknown.empty()) {
        std::fprintf(stderr, "tarnvelde: %s\n", unknown.c_str());
        return EXIT_WRONG_USAGE;
    }
    if (argumentCount > 1 && std::string(arguments[1]) == "ensemble") {
        return ensemble_execute(argumentCount - 2, arguments + 2);  // whose words are Python's to read
    }
    try {
        app.parse(argumentCount, arguments);
    } catch (const CLI::ParseError& error) {
        return endUsage(app, error);
    }
    return execute(app, requests);
}

int main(int argumentCount, char** arguments) {
    console_openStreams();
    int status = EXIT_ENGINE_ERROR;
    try {
        status = runCommand(argumentCount, arguments);
    } catch (const std::bad_alloc&) {
        memory_tellRefusal();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tarnvelde: %s\n", characters_makePrintable(error.what()).c_str());
    }
    return console_endOutput(status);
}
