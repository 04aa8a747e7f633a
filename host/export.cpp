// Looks at what is asked for ahead of all work: the form goes by the name of the output, and no output may be an input.

#include "export.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <utility>

#include "characters.h"
#include "files.h"
#include "posix.h"
#include "results.h"
#include "status.h"

// --- writing -------------------------------------------------------------------------------------------------------

ExportText::~ExportText() {
    if (stream) {
        (void)std::fclose(stream);
    }
}

ExportText::ExportText(ExportText&& other) noexcept
    : aside(std::move(other.aside)), stream(std::exchange(other.stream, nullptr)) {}

void export_refuse(const std::string& failure) {
    if (!failure.empty()) {
        throw ResultError(failure);
    }
}

void export_tell(const std::string& message) {
    std::fprintf(stderr, "tarnvelde: %s\n", characters_makePrintable(message).c_str());
}

ExportText export_beginText(const std::string& name) {
    ExportText text;
    export_refuse(aside_begin(text.aside, name));
    const int number = posix_duplicate(text.aside.file);
    text.stream = number < 0 ? nullptr : fdopen(number, "wb");
    if (!text.stream) {
        const int reason = errno;
        if (number >= 0) {
            close(number);
        }
        throw ResultError("cannot write " + name + ": " + std::strerror(reason));
    }
    return text;
}

void export_closeText(ExportText& text) {
    const bool isBroken = std::ferror(text.stream) != 0;
    const bool isClosed = std::fclose(std::exchange(text.stream, nullptr)) == 0;
    if (isBroken || !isClosed) {
        throw ResultError("cannot write " + text.aside.name + (isBroken ? "" : ": ") +
                          (isBroken ? " to its end" : std::strerror(errno)));
    }
}

void export_placeText(ExportText& text) {
    export_refuse(aside_end(text.aside));
}

int64_t export_getTime(const ResultFile& file, double date) {
    if (!(std::fabs(date) < RESULT_FARTHEST_DATE)) {
        throw ResultError(file.name + " is damaged: its dates can't be");
    }
    return static_cast<int64_t>(std::floor(date * 86400.0 + 0.5));
}

// --- the command ---------------------------------------------------------------------------------------------------

static bool isFolderName(const std::string& name) {
    return files_isFolder(name) || files_endsAsFolder(name);
}

ExportForm export_getForm(const std::string& name) {
    std::string extension = files_toPath(name).extension().string();
    for (char& c : extension) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return isFolderName(name)        ? ExportForm::CSV
           : extension == ".csv"     ? ExportForm::CSV
           : extension == ".nc"      ? ExportForm::NETCDF
           : extension == ".geojson" ? ExportForm::GEOJSON
           : extension == ".gpkg"    ? ExportForm::GEOPACKAGE
                                     : ExportForm::NONE;
}

/// Why the words don't go together; empty if they do.
static std::string findMisuse(const ExportRequest& request, ExportForm form) {
    const bool isMap = form == ExportForm::GEOJSON || form == ExportForm::GEOPACKAGE;
    if (request.isLong && (form != ExportForm::CSV || isFolderName(request.output))) {
        return "--long makes one file of values separated by commas: let its name end with .csv";
    }
    if (isMap && request.model.empty()) {
        return "a map needs the project of the results, which has the network and its coordinates: --model MODEL.inp";
    }
    const std::vector<std::string> inputs{request.file, request.model};
    const bool isTaken = std::any_of(inputs.begin(), inputs.end(), [&](const std::string& input) {
        return !input.empty() &&
               (files_isSame(input, request.output) || files_isSame(input, aside_getName(request.output)));
    });
    return isTaken ? "the export would take the place of what it reads" : "";
}

static void write(const ExportWork& work) {
    switch (export_getForm(work.request.output)) {
        case ExportForm::CSV: exportcsv_write(work); break;
        case ExportForm::NETCDF: exportnetcdf_write(work); break;
        default: exportmap_write(work); break;
    }
}

int export_execute(const ExportRequest& request) {
    ResultWindow window;
    if (!results_readWindow(request.from, request.to, &window)) {
        return EXIT_WRONG_USAGE;
    }
    if (const std::string misuse = findMisuse(request, export_getForm(request.output)); !misuse.empty()) {
        export_tell(misuse);
        return EXIT_WRONG_USAGE;
    }
    try {
        ResultFile file;
        results_open(file, request.file);
        // All objects of a name are meant, whatever their tables, as in a summary.
        ResultsRequest choice{};
        choice.objects = request.objects;
        choice.tables = request.tables;
        choice.columns = request.columns;
        choice.isSummary = true;
        result_checkWindow(file, window);
        write({file, request, results_choose(file, choice), window});
    } catch (const ResultError& error) {
        export_tell(error.what());
        return EXIT_ENGINE_ERROR;
    }
    return EXIT_DONE;
}
