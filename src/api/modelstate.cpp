// Saved states, hot starts and clones: the functions of tarnvelde_model.h that take a run at one moment and go back to
// it.

#include <utility>

#include "api/modelhandle.h"
#include "model/inputfiles.h"
#include "platform/files.h"
#include "platform/outputs.h"
#include "project/state.h"
#include "routing/loadbook.h"

static int32_t getCode(StateFault fault) {
    switch (fault) {
        case STATE_OK: return TV_OK;
        case STATE_NO_RUN: return TV_ERROR_NOT_STARTED;
        case STATE_NO_STATE: return TV_ERROR_NO_STATE;
        case STATE_VERSION: return TV_ERROR_STATE_VERSION;
        case STATE_DAMAGED: return TV_ERROR_STATE_DAMAGED;
        case STATE_OTHER_PROJECT: return TV_ERROR_STATE_PROJECT;
        case STATE_NOT_AT_START: return TV_ERROR_NOT_NOW;
        case STATE_ENGINE: return TV_ERROR_STATE_ENGINE;
        default: return TV_ERROR_MEMORY;
    }
}

/// Why the state of a run can't be saved: 0, or a code. A node whose engine is in the way is named by a message.
static int32_t testSaving(const tv_model* handle) {
    Model& model = *handle->model;
    if (model.error.code != ERR_NONE) {
        return TV_ERROR_NOT_STARTED;
    }
    const char* node = state_findRefusal(model);
    if (!node) {
        return TV_OK;
    }
    messages_addError(model, 0, std::string("the engine of node ") + node + " can't save its state", node);
    return TV_ERROR_STATE_ENGINE;
}

// --- in memory -----------------------------------------------------------------------------------------------------

int32_t tv_getStateSize(const tv_model* handle, size_t* size) {
    return modelhandle_take(handle, NEED_RUN, [&]() -> int32_t {
        if (!size) {
            return TV_ERROR_NULL;
        }
        if (const int32_t code = testSaving(handle)) {
            return code;
        }
        *size = state_getSize(*handle->model);
        return TV_OK;
    });
}

int32_t tv_saveState(const tv_model* handle, void* bytes, size_t capacity, size_t* size) {
    return modelhandle_take(handle, NEED_RUN, [&]() -> int32_t {
        if (!bytes || !size) {
            return TV_ERROR_NULL;
        }
        if (const int32_t code = testSaving(handle)) {
            return code;
        }
        const size_t needed = state_saveInto(*handle->model, bytes, capacity);
        if (needed > capacity) {
            return TV_ERROR_SIZE;
        }
        *size = needed;
        return TV_OK;
    });
}

int32_t tv_restoreState(tv_model* handle, const void* bytes, size_t size) {
    return modelhandle_move(handle, NEED_RUN, [&]() -> int32_t {
        if (!bytes) {
            return TV_ERROR_NULL;
        }
        const StateFault fault = state_restore(*handle->model, bytes, size);
        if (fault == STATE_OK) {
            modelhandle_updatePhase(handle);
        }
        return getCode(fault);
    });
}

int32_t tv_hotStart(tv_model* handle, const void* bytes, size_t size) {
    return modelhandle_move(handle, NEED_RUN, [&]() -> int32_t {
        return bytes ? getCode(state_hotStart(*handle->model, bytes, size)) : TV_ERROR_NULL;
    });
}

// --- in files ------------------------------------------------------------------------------------------------------

/// What a file is to the run that must not become a state; empty if it is nothing.
static std::string findUse(const Model& model, const std::string& path) {
    const Files& files = model.files;
    if (std::string use = inputfiles_findUse(model, path, false); !use.empty()) {
        return use;
    }
    if (inputfiles_areOne(files.reportPlace.target, path, false)) {
        return "the report";
    }
    return inputfiles_areOne(files.resultsName, path, false)   ? "the file of results"
           : inputfiles_areOne(path, files.databaseName, true) ? "the database of results"
                                                               : "";
}

int32_t tv_testOutput(tv_model* handle, const char* what, const char* path) {
    return modelhandle_move(handle, NEED_RUN, [&]() -> int32_t {
        if (!what || !path) {
            return TV_ERROR_NULL;
        }
        Model& model = *handle->model;
        const std::string name = path, words = std::string("the ") + what + ' ' + name;
        if (const std::string use = findUse(model, name); !use.empty()) {
            return messages_addFault(model, ERR_FILE_NAMES, words + " is " + use);
        }
        const std::string obstacle = outputs_findObstacle(name);
        if (obstacle.empty()) {
            return TV_OK;
        }
        const std::string text = "cannot save " + words + ": " + obstacle;
        messages_add(handle->log, {MESSAGE_ERROR, TV_ERROR_FILE, "", text, {}, "", 0, "", "", 0.0});
        return TV_ERROR_FILE;
    });
}

int32_t tv_saveStateFile(const tv_model* handle, const char* path) {
    return modelhandle_take(handle, NEED_RUN, [&]() -> int32_t {
        if (!path) {
            return TV_ERROR_NULL;
        }
        if (const int32_t code = testSaving(handle)) {
            return code;
        }
        if (!findUse(*handle->model, path).empty()) {
            return TV_ERROR_FILE;
        }
        std::vector<char> bytes(state_getSize(*handle->model));
        state_save(*handle->model, bytes.data());
        return outputs_writeWhole(path, bytes.data(), bytes.size()) == OUTPUT_FINE ? TV_OK : TV_ERROR_FILE;
    });
}

/// Hands the bytes of a file to a function that takes a state.
static int32_t takeFile(tv_model* handle, const char* path, int32_t (*take)(tv_model*, const void*, size_t)) {
    if (const int32_t code = modelhandle_test(handle, NEED_RUN, false)) {
        return code;
    }
    if (!path) {
        return TV_ERROR_NULL;
    }
    return guard_run(
        [&]() -> int32_t {
            std::vector<char> bytes;
            return files_readWhole(path, bytes) ? take(handle, bytes.data(), bytes.size()) : TV_ERROR_FILE;
        },
        []() -> int32_t { return TV_ERROR_MEMORY; });
}

int32_t tv_restoreStateFile(tv_model* handle, const char* path) {
    return takeFile(handle, path, tv_restoreState);
}

int32_t tv_hotStartFile(tv_model* handle, const char* path) {
    return takeFile(handle, path, tv_hotStart);
}

// --- clones --------------------------------------------------------------------------------------------------------

/// Opens the project of a model in another one, which is closed.
static int32_t openAgain(const tv_model* handle, tv_model* clone) {
    clone->engines = handle->engines;
    clone->pace = handle->pace;
    return handle->isFromText
               ? tv_openText(clone, handle->source.data(), handle->source.size(), handle->folder.c_str(), nullptr)
               : tv_open(clone, handle->source.c_str(), nullptr);
}

int32_t tv_clone(const tv_model* handle, tv_model** clone) {
    return modelhandle_take(handle, NEED_RUN, [&]() -> int32_t {
        if (!clone) {
            return TV_ERROR_NULL;
        }
        if (const int32_t code = testSaving(handle)) {
            return code;
        }
        std::vector<char> state(state_getSize(*handle->model));
        state_save(*handle->model, state.data());
        tv_model* copy = nullptr;
        int32_t code = tv_create(&copy);
        if (code == TV_OK) {
            copy->keepsRows = handle->keepsRows;
            copy->wantsWarnings = handle->wantsWarnings;
            code = openAgain(handle, copy);
        }
        if (code == TV_OK) {
            copy->model->loadBook->isWanted = handle->model->loadBook->isKept;
            code = tv_start(copy, nullptr, nullptr);
        }
        if (code == TV_OK) {
            code = tv_restoreState(copy, state.data(), state.size());
        }
        if (code == TV_OK) {
            *clone = copy;
        } else {
            tv_free(copy);
        }
        return code;
    });
}
