// Shows results on standard output: a list of what there is, series with their dates, or a summary of every column.

#include "results.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

#include "byobject.h"
#include "characters.h"
#include "console.h"
#include "dates.h"
#include "recover.h"
#include "runidentity.h"
#include "status.h"

// --- texts ---------------------------------------------------------------------------------------------------------

std::string results_formatNumber(double value, const char* none) {
    if (!(std::fabs(value) <= std::numeric_limits<float>::max())) {
        return none;
    }
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, static_cast<float>(value));
    return std::string(text, end.ptr);
}

std::string results_addUnit(const ResultColumn& column) {
    return column.unit.empty() ? column.name : column.name + " (" + column.unit + ')';
}

// --- list ----------------------------------------------------------------------------------------------------------

static const char* describeKind(const ResultFile& file) {
    switch (file.kind) {
        case ResultKind::DATABASE: return file.tables[0].hasIndex ? "database with an index" : "database";
        case ResultKind::BY_OBJECT: return "file by object";
        default: return "binary file";
    }
}

static void showList(const ResultFile& file) {
    std::printf("%s: %d reports of %d s from %s on\n", characters_makePrintable(file.name).c_str(),
                static_cast<int>(file.periods), static_cast<int>(file.reportStep),
                result_formatDate(file.startDate).c_str());
    std::printf("kind: %s\n", describeKind(file));
    const auto identity = runidentity_read(file);
    if (!identity.empty()) {
        std::printf("run: %s\n", runidentity_describe(identity).c_str());
    }
    for (const ResultTable& table : file.tables) {
        std::printf("\n%s\n  columns:", table.name.c_str());
        for (const ResultColumn& column : table.columns) {
            std::printf(" %s%s", characters_makePrintable(results_addUnit(column)).c_str(),
                        &column == &table.columns.back() ? "\n" : ",");
        }
        if (table.name == "System") {
            continue;
        }
        std::printf("  objects:");
        for (const std::string& object : table.objects) {
            if (console_isOutputBroken()) {
                return;
            }
            std::printf(" %s", characters_makePrintable(object).c_str());
        }
        std::printf("\n");
    }
}

// --- the command ---------------------------------------------------------------------------------------------------

void results_open(ResultFile& file, const std::string& name) {
    result_open(file, name);
    results_tellCut(file);
    if (file.periods == 0) {
        throw ResultError(file.name + " holds no report");
    }
}

void results_tellCut(const ResultFile& file) {
    if (!file.isEnded) {
        std::fprintf(stderr,
                     "tarnvelde: %s has no closing block: its run was killed, or a part of it is missing. Its %d whole "
                     "reports are shown; tarnvelde results --recover closes the file after them\n",
                     characters_makePrintable(file.name).c_str(), static_cast<int>(file.periods));
    }
}

bool results_readWindow(const std::string& from, const std::string& to, ResultWindow* window) {
    for (const auto& [text, date] : {std::pair{&from, &window->from}, std::pair{&to, &window->to}}) {
        (void)dates_parse(*text, date);  // a text that isn't empty has been found to be a date
    }
    if (window->from > window->to) {
        std::fprintf(stderr, "tarnvelde: --from %s is later than --to %s\n", from.c_str(), to.c_str());
        return false;
    }
    return true;
}

static int makeByObject(const ResultsRequest& request) {
    if (const std::string conflict = byobject_findConflict(request.file, request.output); !conflict.empty()) {
        std::fprintf(stderr, "tarnvelde: %s\n", conflict.c_str());
        return EXIT_WRONG_USAGE;
    }
    try {
        ResultFile file;
        result_open(file, request.file);
        results_tellCut(file);
        byobject_write(file, request.output);
    } catch (const ResultError& error) {
        std::fprintf(stderr, "tarnvelde: %s\n", characters_makePrintable(error.what()).c_str());
        return EXIT_ENGINE_ERROR;
    }
    return EXIT_DONE;
}

int results_execute(const ResultsRequest& request) {
    if (request.isRecovery) {
        return recover_execute(request.file);
    }
    if (request.isByObject) {
        return makeByObject(request);
    }
    ResultWindow window;
    if (!results_readWindow(request.from, request.to, &window)) {
        return EXIT_WRONG_USAGE;
    }
    const bool isChoice = !request.objects.empty() || !request.tables.empty() || !request.columns.empty();
    const bool isShown = isChoice || request.isSummary || request.form != SeriesForm::TABLE;
    if (!isShown && (!request.from.empty() || !request.to.empty())) {
        std::fprintf(stderr,
                     "tarnvelde: --from and --to go with --object, --table, --column, --summary, --csv or --json\n");
        return EXIT_WRONG_USAGE;
    }
    try {
        ResultFile file;
        result_open(file, request.file);
        results_tellCut(file);
        if (!isShown) {
            showList(file);
        } else if (request.isSummary) {
            results_showSummary(file, request, window);
        } else {
            results_showSeries(file, request, window);
        }
    } catch (const ResultError& error) {
        std::fprintf(stderr, "tarnvelde: %s\n", characters_makePrintable(error.what()).c_str());
        return EXIT_ENGINE_ERROR;
    }
    return EXIT_DONE;
}
