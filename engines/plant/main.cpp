// tarnvelde-plant: a plant alone, from the command line.

#include <unistd.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "plant.h"
#include "results.h"
#include "series.h"
#include "words.h"

namespace {

enum Status : int { DONE = 0, FAILED = 1, USAGE = 2 };

const char* const Help =
    "tarnvelde-plant check MODEL.sti\n"
    "tarnvelde-plant steady MODEL.sti [--out FILE]\n"
    "tarnvelde-plant run MODEL.sti [--inflow FILE.csv] [--results FILE.csv]\n"
    "tarnvelde-plant matrix asm1|bsm1|asm2d [--markdown]\n"
    "\n"
    "A wastewater treatment plant alone: activated sludge with ASM1 or ASM2d and a secondary settler.\n"
    "check   reads the model file, and says what is wrong in which line\n"
    "steady  finds the steady state at the design inflow, and shows it as a section [INITIAL]\n"
    "run     runs the period of the model file with the design inflow, or with that of a table; shows the balances\n"
    "matrix  shows components, parameters, rates and coefficients as tables in Markdown\n"
    "The exit status is 0, 1 after an error of a file or of the run, 2 for a wrong command line.\n";

struct Options {
    std::string command;
    std::string model;
    std::string inflow;
    std::string results;
};

void say(const std::string& text) {
    (void)std::fwrite(text.data(), 1, text.size(), stdout);
}

int fail(const std::string& text) {
    (void)std::fflush(stdout);
    (void)std::fwrite(text.data(), 1, text.size(), stderr);
    return FAILED;
}

bool isSameFile(const std::string& left, const std::string& right) {
    std::error_code error;
    return !left.empty() && !right.empty() && (left == right || std::filesystem::equivalent(left, right, error));
}

int openPlant(const std::string& path, Plant& plant) {
    std::string bytes;
    const std::string error = modelfile_load(path, bytes);
    if (!error.empty()) {
        return fail(path + ": " + error + "\n");
    }
    const std::vector<FileMessage> messages = plant_open(path, bytes, plant);
    return messages.empty() ? static_cast<int>(DONE) : fail(modelfile_describe(path, messages));
}

int checkModel(const Options& options) {
    Plant plant;
    if (openPlant(options.model, plant) != DONE) {
        return FAILED;
    }
    say(options.model + ": " + std::string(plant.model.table.name) + ", " + std::to_string(plant.model.tanks.size()) +
        " tanks, " + std::to_string(plant.integrator.system.layout.layers) + " layers, " +
        std::to_string(plant.integrator.system.layout.size()) + " equations\n");
    return DONE;
}

int showSteady(const Options& options) {
    Plant plant;
    if (openPlant(options.model, plant) != DONE) {
        return FAILED;
    }
    const std::string error = plant_start(plant);
    if (!error.empty()) {
        return fail(options.model + ": " + error + "\n");
    }
    const std::string text = results_writeState(plant);
    if (options.results.empty()) {
        say(text);
        return DONE;
    }
    const std::string wrong = results_writeFile(options.results, text);
    return wrong.empty() ? static_cast<int>(DONE) : fail(wrong + "\n");
}

int readInflow(const Options& options, const PlantModel& model, std::vector<InflowRow>& rows) {
    std::string bytes;
    rows = {{0.0, model.designFlow, model.designInflow}};
    if (options.inflow.empty()) {
        return DONE;
    }
    const std::string error = modelfile_load(options.inflow, bytes);
    if (!error.empty()) {
        return fail(options.inflow + ": " + error + "\n");
    }
    const std::vector<FileMessage> messages = series_read(bytes, model, rows);
    return messages.empty() ? static_cast<int>(DONE) : fail(modelfile_describe(options.inflow, messages));
}

int runPlant(const Options& options) {
    Plant plant;
    std::vector<InflowRow> rows;
    if (openPlant(options.model, plant) != DONE || readInflow(options, plant.model, rows) != DONE) {
        return FAILED;
    }
    std::string error = plant_start(plant);
    if (!error.empty()) {
        return fail(options.model + ": " + error + "\n");
    }
    std::string table = results_writeHead(plant);
    size_t row = 0;
    while (!plant_isOver(plant) && error.empty()) {
        const double day = static_cast<double>(plant.now) / 86400.0;
        while (row + 1 < rows.size() && rows[row + 1].day <= day) {
            ++row;
        }
        error = plant_stepWith(plant, rows[row].flow, rows[row].components);
        table += error.empty() && !options.results.empty() ? results_writeRow(plant) : std::string();
    }
    const std::string wrong = options.results.empty() ? "" : results_writeFile(options.results, table);
    say(results_writeBooks(plant));
    if (!error.empty()) {
        return fail(options.model + ": " + error + "\n");
    }
    return wrong.empty() ? static_cast<int>(DONE) : fail(wrong + "\n");
}

int showMatrix(const std::string& name) {
    if (words_areEqual(name, "asm1") || words_areEqual(name, "bsm1")) {
        say(matrix_writeMarkdown(asm1_makeTable(words_areEqual(name, "bsm1"))));
    } else if (words_areEqual(name, "asm2d")) {
        say(matrix_writeMarkdown(asm2d_makeTable()));
    } else {
        (void)fail("tarnvelde-plant: no matrix " + name + "\n");
        return USAGE;
    }
    return DONE;
}

bool takeOptions(const std::vector<std::string>& words, Options& options) {
    for (size_t k = 0; k < words.size(); ++k) {
        const bool isOut = (words[k] == "--results" && options.command == "run") ||
                           (words[k] == "--out" && options.command == "steady");
        const bool isInflow = words[k] == "--inflow" && options.command == "run";
        if ((isOut || isInflow) && k + 1 < words.size() && !words[k + 1].empty()) {
            (isOut ? options.results : options.inflow) = words[k + 1];
            ++k;
        } else if (words[k] == "--markdown" && options.command == "matrix") {
            continue;
        } else if (words[k].substr(0, 2) != "--" && options.model.empty()) {
            options.model = words[k];
        } else {
            return false;
        }
    }
    return !options.model.empty();
}

int work(const std::vector<std::string>& words) {
    Options options;
    if (!words.empty() && (words[0] == "--help" || words[0] == "-h")) {
        say(Help);
        return DONE;
    }
    if (!words.empty()) {
        options.command = words[0];
    }
    if (words.empty() || !takeOptions({words.begin() + 1, words.end()}, options)) {
        (void)fail(Help);
        return USAGE;
    }
    if (isSameFile(options.results, options.model) || isSameFile(options.results, options.inflow)) {
        return fail("tarnvelde-plant: " + options.results + " is read, and can't be written\n");
    }
    if (options.command == "check") {
        return checkModel(options);
    }
    if (options.command == "steady") {
        return showSteady(options);
    }
    if (options.command == "run") {
        return runPlant(options);
    }
    if (options.command == "matrix") {
        return showMatrix(options.model);
    }
    (void)fail(Help);
    return USAGE;
}

}  // namespace

int main(int count, char** words) {
    try {
        const int status = work({words + 1, words + count});
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
            return fail("tarnvelde-plant: standard output can't be written\n");
        }
        return status;
    } catch (const std::exception& error) {
        return fail(std::string("tarnvelde-plant: ") + error.what() + "\n");
    }
}
