// The functions that a plant node calls: docs/outside-engines.md. One copy of the library holds one plant. A model file
// without sections is one of the small engine of engines/trial, whose functions are in this library under names of
// their own; a project can so have either in a node, and needs not know which.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "plant.h"
#include "results.h"
#include "words.h"

#define ENTRY extern "C" __attribute__((visibility("default")))

extern "C" {
int trial_open(const char* input);
int trial_start(int save);
int trial_step(double* elapsed);
int trial_end(void);
int trial_close(void);
int trial_setExtInflow(const char* name, int index, double value);
int trial_getExtOutflow(const char* name, int index, double* value);
int trial_getStartAndEndTime(double* start, double* end);
int trial_getUnitType(const char* name);
int trial_getSolutionType(void);
int trial_run(void);
int trial_report(void);
int trial_getDiffStep(void);
int trial_saveState(void* buffer, int size);
int trial_restoreState(const void* bytes, int size);
}

namespace {

enum Code : int { DONE = 0, NO_MEMORY = 101, BAD_LINE = 200, NO_FILE = 303, FAILED = 400, UNKNOWN = -1 };
constexpr double DAY = 86400.0;  // s

/// All that this copy of the library keeps.
struct OpenedModel {
    std::unique_ptr<Plant> plant;  ///< null: the small engine has the model, or none is open
    bool isTrial = false;
    bool isSaving = false;
    std::string rows;     ///< results of the run
    std::string message;  ///< of the latest call that failed
};

OpenedModel Opened;

/// Nothing may be thrown through a call.
template <typename Work>
int guard(const Work& work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return NO_MEMORY;
    } catch (...) {
        return FAILED;
    }
}

// Messages are kept for who asks, and go into the file that the environment names, as with the small engine; a library
// doesn't print.
void tell(const std::string& text) {
    Opened.message = text.substr(0, text.find_last_not_of('\n') + 1);
    const char* name = std::getenv("TARNVELDE_ENGINE_LOG");
    std::FILE* file = name != nullptr && *name != '\0' ? std::fopen(name, "ab") : nullptr;
    if (file != nullptr) {
        (void)std::fwrite(text.data(), 1, text.size(), file);
        (void)std::fclose(file);
    }
}

bool hasSections(const std::string& bytes) {
    for (size_t begin = 0; begin < bytes.size();) {
        const size_t place = bytes.find_first_not_of(" \t\r\n", begin);
        if (place == std::string::npos) {
            return false;
        }
        if (bytes.compare(place, 2, "//") != 0) {
            return bytes[place] == '[';
        }
        begin = std::min(bytes.find('\n', place), bytes.size());
    }
    return false;
}

// A name beside the model file: its own without the extension, and what is added.
std::string nameBeside(const std::string& path, const char* ending) {
    const size_t folder = path.find_last_of("/\\");
    const size_t dot = path.find_last_of('.');
    const bool hasDot = dot != std::string::npos && (folder == std::string::npos || dot > folder);
    return path.substr(0, hasDot ? dot : path.size()) + ending;
}

int openPlant(const char* input) {
    std::string bytes;
    Opened.plant.reset();
    Opened.isTrial = false;
    Opened.message.clear();
    const std::string error = modelfile_load(input, bytes);
    if (!error.empty()) {
        tell(std::string(input) + ": " + error + "\n");
        return NO_FILE;
    }
    if (!hasSections(bytes)) {
        Opened.isTrial = true;
        return trial_open(input);
    }
    auto plant = std::make_unique<Plant>();
    const std::vector<FileMessage> messages = plant_open(input, bytes, *plant);
    if (!messages.empty()) {
        tell(modelfile_describe(input, messages));
        return BAD_LINE;
    }
    Opened.plant = std::move(plant);
    return DONE;
}

int startPlant(Plant& plant, bool isSaving) {
    Opened.isSaving = isSaving;
    Opened.rows.clear();
    const std::string error = plant_start(plant);
    if (!error.empty()) {
        tell(plant.path + ": " + error + "\n");
        return FAILED;
    }
    Opened.rows = isSaving ? results_writeHead(plant) : std::string();
    return DONE;
}

int stepPlant(Plant& plant, double& elapsed) {
    const bool wasOver = plant_isOver(plant);
    const std::string error = plant_step(plant);
    elapsed = plant_isOver(plant) ? 0.0 : static_cast<double>(plant.now) / DAY;
    if (!error.empty() && !wasOver) {
        tell(plant.path + ": " + error + "\n");
    }
    if (Opened.isSaving && !wasOver && error.empty()) {
        Opened.rows += results_writeRow(plant);
    }
    return error.empty() ? DONE : FAILED;
}

int endPlant(const Plant& plant) {
    std::string error;
    if (Opened.isSaving && !Opened.rows.empty()) {
        error = results_writeFile(nameBeside(plant.path, "-results.csv"), Opened.rows);
        const std::string books =
            results_writeBooks(plant) + (plant.failure.empty() ? "" : "ERROR: " + plant.failure + "\n");
        error = error.empty() ? results_writeFile(nameBeside(plant.path, "-books.txt"), books) : error;
        Opened.rows.clear();
    }
    if (!error.empty()) {
        tell(error + "\n");
    }
    return error.empty() ? DONE : FAILED;
}

}  // namespace

ENTRY int vorn_open(const char* input) {
    return guard([&] { return input != nullptr ? openPlant(input) : static_cast<int>(NO_FILE); });
}

ENTRY int vorn_start(int save) {
    if (Opened.isTrial) {
        return trial_start(save);
    }
    return guard([&] { return Opened.plant ? startPlant(*Opened.plant, save != 0) : UNKNOWN; });
}

ENTRY int vorn_step(double* elapsedDays) {
    if (Opened.isTrial) {
        return trial_step(elapsedDays);
    }
    *elapsedDays = 0.0;  // what fails ends the run
    return guard([&] { return Opened.plant ? stepPlant(*Opened.plant, *elapsedDays) : UNKNOWN; });
}

ENTRY int vorn_end() {
    if (Opened.isTrial) {
        return trial_end();
    }
    return guard([&] { return Opened.plant ? endPlant(*Opened.plant) : UNKNOWN; });
}

ENTRY int vorn_close() {
    const int code = Opened.isTrial ? trial_close() : static_cast<int>(DONE);
    Opened = {};
    return code;
}

ENTRY int vorn_setExtInflow(const char* unit, int index, double value) {
    if (Opened.isTrial) {
        return trial_setExtInflow(unit, index, value);
    }
    if (!Opened.plant || unit == nullptr || index < 0 || index > static_cast<int>(CONSTITUENT_COUNT)) {
        return UNKNOWN;
    }
    Plant& plant = *Opened.plant;
    for (size_t k = 0; k < plant.inputs.size(); ++k) {
        if (plant.model.influents[k] == unit) {
            plant.inputs[k][static_cast<size_t>(index)] = value;
            return DONE;
        }
    }
    return UNKNOWN;
}

ENTRY int vorn_getExtOutflow(const char* unit, int index, double* value) {
    if (Opened.isTrial) {
        return trial_getExtOutflow(unit, index, value);
    }
    if (!Opened.plant || unit == nullptr || index < 0 || index > static_cast<int>(PRODUCT_COUNT)) {
        return UNKNOWN;
    }
    const Plant& plant = *Opened.plant;
    for (size_t k = 0; k < plant.outputs.size(); ++k) {
        if (plant.model.effluents[k].name == unit) {
            *value = plant.outputs[k][static_cast<size_t>(index)];
            return DONE;
        }
    }
    return UNKNOWN;
}

ENTRY int vorn_getStartAndEndTime(double* start, double* end) {
    if (Opened.isTrial) {
        return trial_getStartAndEndTime(start, end);
    }
    if (!Opened.plant) {
        return UNKNOWN;
    }
    *start = Opened.plant->model.start;
    *end = Opened.plant->model.end;
    return DONE;
}

ENTRY int vorn_getUnitType(const char* unit) {
    if (Opened.isTrial) {
        return trial_getUnitType(unit);
    }
    if (!Opened.plant || unit == nullptr) {
        return UNKNOWN;
    }
    for (const std::string& name : Opened.plant->model.influents) {
        if (name == unit) {
            return 0;
        }
    }
    for (const Effluent& effluent : Opened.plant->model.effluents) {
        if (effluent.name == unit) {
            return 1;
        }
    }
    return UNKNOWN;
}

ENTRY int vorn_getSolutionType() {
    return Opened.isTrial ? trial_getSolutionType() : 1;
}

ENTRY int vorn_saveState(void* buffer, int size) {
    if (Opened.isTrial) {
        return trial_saveState(buffer, size);
    }
    return guard([&] {
        const std::vector<char> bytes = Opened.plant ? state_save(*Opened.plant) : std::vector<char>();
        if (bytes.empty()) {
            return static_cast<int>(UNKNOWN);
        }
        const int needed = static_cast<int>(bytes.size());
        if (buffer != nullptr && size >= needed) {
            std::memcpy(buffer, bytes.data(), bytes.size());
        }
        return needed;
    });
}

ENTRY int vorn_restoreState(const void* bytes, int size) {
    if (Opened.isTrial) {
        return trial_restoreState(bytes, size);
    }
    return guard([&] {
        const bool isDone = Opened.plant && bytes != nullptr && size > 0 &&
                            state_restore(static_cast<const char*>(bytes), static_cast<size_t>(size), *Opened.plant);
        return isDone ? 0 : 1;
    });
}

/// The text of the latest failure, cut to the room there is; its whole length, 0 if there is none.
ENTRY int vorn_getMessage(char* text, int size) {
    const std::string& message = Opened.message;
    if (text != nullptr && size > 0) {
        const size_t length = std::min(message.size(), static_cast<size_t>(size) - 1);
        std::memcpy(text, message.data(), length);
        text[length] = '\0';
    }
    return static_cast<int>(message.size());
}

// --- looked up, and never called -------------------------------------------------------------------------------------

ENTRY int vorn_run() {
    return Opened.isTrial ? trial_run() : static_cast<int>(UNKNOWN);
}

ENTRY int vorn_report() {
    return Opened.isTrial ? trial_report() : static_cast<int>(UNKNOWN);
}

ENTRY int vorn_getDiffStep() {
    return Opened.isTrial ? trial_getDiffStep() : static_cast<int>(UNKNOWN);
}
