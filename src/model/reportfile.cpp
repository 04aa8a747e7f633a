// The text report as a stream. The lifecycle opens and closes it; errors write their messages into it as they come, and
// the room report its tables at the end.
//
// A report is held back while its project is read: only then is it known that neither the file nor the one that is
// written aside is one that the project reads. What can't be held for want of memory is written at once.

#include "model/reportfile.h"

#include <cstdarg>
#include <cstdio>
#include <new>

#include "model/model.h"
#include "platform/outputs.h"
#include "platform/print.h"

static constexpr size_t HELD_SIZE = size_t{1} << 16;  ///< so that the message of missing memory has a place

void reportfile_hold(Model& model) {
    model.files.heldReport = std::make_unique<HeldText>();
    model.files.heldReport->place = &model.files.reportPlace;
    model.files.heldReport->text.reserve(HELD_SIZE);
}

static void writeHeld(const Files& files) {
    HeldText& held = *files.heldReport;
    if (!held.hasBegun) {
        outputs_empty(*held.place, files.report);
        held.hasBegun = true;
    }
    std::fwrite(held.text.data(), 1, held.text.size(), files.report);
    held.text.clear();
}

void reportfile_release(Model& model) {
    if (model.files.report && model.files.heldReport) {
        writeHeld(model.files);
        std::fflush(model.files.report);
    }
    model.files.heldReport.reset();
}

static void write(const Model& model, const char* text) {
    const Files& files = model.files;
    if (files.heldReport) {
        try {
            files.heldReport->text.append(text);
            return;
        } catch (const std::bad_alloc&) {
            writeHeld(files);
        }
    }
    std::fputs(text, files.report);
}

void reportfile_print(const Model& model, const char* format, ...) {
    if (!model.files.report) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    if (model.files.heldReport) {
        char text[2048];
        print_toText(text, sizeof text, format, arguments);
        write(model, text);
    } else {
        print_toFile(model.files.report, format, arguments);
    }
    va_end(arguments);
}

void reportfile_write(const Model& model, const char* text) {
    if (model.files.report) {
        write(model, text);
    }
}

void reportfile_flush(const Model& model) {
    if (model.files.report && !model.files.heldReport) {
        std::fflush(model.files.report);
    }
}

bool reportfile_isWell(const Model& model) {
    return !model.files.report || std::ferror(model.files.report) == 0;
}

void reportfile_writeLine(const Model& model, const char* text) {
    if (model.files.report) {
        write(model, "\n  ");
        write(model, text);
    }
}
