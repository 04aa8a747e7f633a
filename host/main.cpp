// The command line `tarnvelde`: a user of the public header like any other.
//
//     tarnvelde run MODEL.inp [--report F] [--results F] [--database] [--quiet]
//     tarnvelde check MODEL.inp
//     tarnvelde results FILE [--object O [--column C]] [--summary] [--csv | --json]
//     tarnvelde plot FILE --object O [--object O ...] --column C -o OUT.svg
//     tarnvelde --version
//     tarnvelde [COMMAND] --help
//
// Exit status: 0 on success, 1 when the engine reports an error or results can't be read, 2 on wrong usage.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>

#include "check.h"
#include "console.h"
#include "plot.h"
#include "results.h"
#include "run.h"
#include "status.h"

static std::string refuseEmpty(const std::string& name) {
    return name.empty() ? "a file name can't be empty" : "";
}

static CLI::Option* addModel(CLI::App& command, std::string& model) {
    return command.add_option("MODEL", model, "The project file")->required()->check(refuseEmpty);
}

static void addRunOptions(CLI::App& command, RunRequest& request) {
    addModel(command, request.model);
    command.add_option("--report", request.report, "The text report [MODEL.rpt beside the model]")
        ->type_name("FILE")
        ->check(refuseEmpty);
    command.add_option("--results", request.results, "The binary results file [MODEL.bin beside the model]")
        ->type_name("FILE")
        ->check(refuseEmpty);
    command.add_flag("--database", request.toDatabase,
                     "Results go to the SQLite database MODEL.db beside the model, not to the binary file");
    command.add_flag("--quiet", request.isQuiet, "Nothing on standard output");
}

static void addResultsOptions(CLI::App& command, ResultsRequest& request) {
    command.add_option("FILE", request.file, "The binary results file or the database")->required()->check(refuseEmpty);
    CLI::Option* object = command.add_option("--object", request.object, "Show the series of this object, by its ID");
    object->check(refuseEmpty);
    command.add_option("--column", request.column, "This column alone")->check(refuseEmpty)->needs(object);
    CLI::Option* summary =
        command.add_flag("--summary", request.isSummary, "Minimum, mean, maximum and time of maximum per column");
    CLI::Option* csv = command.add_flag_callback(
        "--csv", [&request] { request.form = SeriesForm::CSV; }, "Values divided by commas");
    CLI::Option* json = command.add_flag_callback(
        "--json", [&request] { request.form = SeriesForm::JSON; }, "Series as JSON");
    csv->excludes(json);
    json->excludes(summary)->needs(object);
}

static void addPlotOptions(CLI::App& command, PlotRequest& request) {
    command.add_option("FILE", request.file, "The binary results file or the database")->required()->check(refuseEmpty);
    command.add_option("--object", request.objects, "Draw a line for this object; may be given several times")
        ->required()
        ->allow_extra_args(false);
    command.add_option("--column", request.column, "What the lines show")->required()->check(refuseEmpty);
    command.add_option("-o,--output", request.output, "The picture, in the form SVG")
        ->type_name("FILE")
        ->required()
        ->check(refuseEmpty);
}

static int runCommand(int argumentCount, char** arguments) {
    CLI::App app("Tarnvelde simulates urban drainage and water quality.", "tarnvelde");
    app.set_version_flag("--version", "tarnvelde " TARNVELDE_VERSION);
    app.require_subcommand(1);
    app.footer(
        "Exit status: 0 on success, 1 when the engine reports an error or results can't be read, 2 on wrong usage.");

    RunRequest request{};
    CLI::App* run = app.add_subcommand("run", "Run a simulation");
    addRunOptions(*run, request);
    std::string checkedModel;
    CLI::App* check = app.add_subcommand("check", "Read and validate a project; tell each error with its place");
    addModel(*check, checkedModel);

    ResultsRequest resultsRequest{};
    CLI::App* results = app.add_subcommand("results", "Show what a file of results holds");
    addResultsOptions(*results, resultsRequest);
    PlotRequest plotRequest{};
    CLI::App* plot = app.add_subcommand("plot", "Draw results over time");
    addPlotOptions(*plot, plotRequest);

    try {
        app.parse(argumentCount, arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_DONE : EXIT_WRONG_USAGE;
    }
    if (results->parsed()) {
        return results_execute(resultsRequest);
    }
    if (plot->parsed()) {
        return plot_execute(plotRequest);
    }
    return check->parsed() ? check_execute(checkedModel) : run_execute(request);
}

int main(int argumentCount, char** arguments) {
    console_openStreams();
    try {
        return runCommand(argumentCount, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tarnvelde: %s\n", error.what());
        return EXIT_ENGINE_ERROR;
    }
}
