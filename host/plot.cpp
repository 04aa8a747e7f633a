// What is asked for is looked at, read, and drawn: lines over time, their duration curves, or a long section.

#include "plot.h"

#include <cstdio>

#include "aside.h"
#include "characters.h"
#include "files.h"
#include "measured.h"
#include "plotdrawing.h"
#include "plotlines.h"
#include "plotscript.h"
#include "results.h"
#include "section.h"
#include "sectionscript.h"
#include "status.h"

namespace {

bool isTaken(const std::string& input, const std::string& output) {
    return files_isSame(input, output) || files_isSame(input, aside_getName(output));
}

/// What the picture would be written over; empty for nothing.
std::string findLost(const PlotRequest& request) {
    if (isTaken(request.file, request.output)) {
        return "the results";
    }
    if (!request.model.empty() && isTaken(request.model, request.output)) {
        return "the project";
    }
    for (const std::string& name : request.measured) {
        if (isTaken(measured_getFile(name), request.output)) {
            return "what was measured";
        }
    }
    return "";
}

/// What a call has to have beside its file; empty if there is all.
std::string findMissing(const PlotRequest& request) {
    return !request.section.empty()  ? ""
           : request.objects.empty() ? "--object"
           : request.columns.empty() ? "--column"
                                     : "";
}

int draw(const PlotRequest& request, const ResultWindow& window) {
    if (request.section.empty()) {
        return plotdrawing_put(plotscript_make(plotlines_read(request, window)), request.output);
    }
    Section section;
    return section_read(request, window, section)
               ? plotdrawing_put(sectionscript_make(request, window, section), request.output)
               : EXIT_ENGINE_ERROR;
}

}  // namespace

int plot_execute(const PlotRequest& request) {
    ResultWindow window;
    if (!results_readWindow(request.from, request.to, &window)) {
        return EXIT_WRONG_USAGE;
    }
    if (const std::string missing = findMissing(request); !missing.empty()) {
        std::fprintf(stderr, "tarnvelde: %s is required, or --section\n", missing.c_str());
        return EXIT_WRONG_USAGE;
    }
    if (const std::string lost = findLost(request); !lost.empty()) {
        std::fprintf(stderr, "tarnvelde: the picture would take the place of %s\n", lost.c_str());
        return EXIT_WRONG_USAGE;
    }
    try {
        return draw(request, window);
    } catch (const ResultError& error) {
        std::fprintf(stderr, "tarnvelde: %s\n", characters_makePrintable(error.what()).c_str());
        return EXIT_ENGINE_ERROR;
    }
}
