// What a host holds of a model.

#include "api/modelhandle.h"

static bool isFulfilled(const tv_model& handle, int32_t need) {
    switch (need) {
        case NEED_CLOSED: return handle.phase == TV_CLOSED;
        case NEED_PROJECT: return handle.phase != TV_CLOSED;
        case NEED_OPEN: return handle.phase != TV_CLOSED && handle.phase != TV_FAILED;
        case NEED_IDLE: return handle.phase == TV_OPEN;
        case NEED_RUN: return handle.phase == TV_STARTED || handle.phase == TV_FINISHED;
        case NEED_STEPPING: return handle.phase == TV_STARTED;
        default: return true;
    }
}

/// Why a need isn't fulfilled.
static int32_t getRefusal(const tv_model& handle, int32_t need) {
    if (need == NEED_CLOSED) {
        return TV_ERROR_OPEN;
    }
    if (handle.phase == TV_CLOSED || handle.phase == TV_FAILED) {
        return TV_ERROR_NOT_OPEN;
    }
    if (need == NEED_IDLE) {
        return TV_ERROR_STARTED;
    }
    return handle.phase == TV_FINISHED ? TV_ERROR_FINISHED : TV_ERROR_NOT_STARTED;
}

int32_t modelhandle_test(const tv_model* handle, int32_t need, bool isFreeInPeriod) {
    if (!handle) {
        return TV_ERROR_NULL;
    }
    if (handle->work == WORK_CALL || (handle->work == WORK_PERIOD && !isFreeInPeriod)) {
        return TV_ERROR_BUSY;
    }
    return isFulfilled(*handle, need) ? TV_OK : getRefusal(*handle, need);
}

int32_t modelhandle_tellError(tv_model* handle, size_t messageCount) {
    Model& model = *handle->model;
    const int32_t code = errors_getPublicCode(model.error.code);
    if (code != 0 && handle->log.messages.size() == messageCount) {
        messages_addError(model, code, errors_getMessage(model.error.code), "");
    }
    return code;
}

void modelhandle_updatePhase(tv_model* handle) {
    const Model& model = *handle->model;
    const bool hasMore = model.error.code == ERR_NONE && model.options.totalDuration > model.clock.newRoutingTime;
    handle->phase = hasMore ? TV_STARTED : TV_FINISHED;
}
