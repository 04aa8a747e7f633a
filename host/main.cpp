// The command line `tarnvelde`: a user of the public header like any other.
//
//     tarnvelde run MODEL.inp [--report F] [--results F] [--database] [--quiet]
//     tarnvelde check MODEL.inp
//
// Exit status: 0 on success, 1 when the engine reports an error, 2 on wrong usage.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>

#include "check.h"
#include "console.h"
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

static int runCommand(int argumentCount, char** arguments) {
    CLI::App app("Tarnvelde simulates urban drainage and water quality.", "tarnvelde");
    app.set_version_flag("--version", "tarnvelde " TARNVELDE_VERSION);
    app.require_subcommand(1);
    app.footer("Exit status: 0 on success, 1 when the engine reports an error, 2 on wrong usage.");

    RunRequest request{};
    CLI::App* run = app.add_subcommand("run", "Run a simulation");
    addRunOptions(*run, request);
    std::string checkedModel;
    CLI::App* check = app.add_subcommand("check", "Read and validate a project; tell each error with its place");
    addModel(*check, checkedModel);

    try {
        app.parse(argumentCount, arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_DONE : EXIT_WRONG_USAGE;
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
