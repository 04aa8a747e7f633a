// How fast a model goes: the functions of tarnvelde_model.h that say how its steps are worked out, of which no result
// shows anything.

#include "api/defaultmodel.h"
#include "api/modelhandle.h"

/// Does something with the pace of a model, or without one of that behind the other header.
template <class Work>
static int32_t changePace(tv_model* handle, Work&& work) {
    if (!handle) {
        work(defaultmodel_get().pace);
        return TV_OK;
    }
    return modelhandle_look(handle, NEED_NOTHING, [&]() -> int32_t {
        work(handle->pace);
        if (handle->model) {
            work(handle->model->pace);
        }
        return TV_OK;
    });
}

int32_t tv_setThreads(tv_model* handle, int32_t count) {
    if (count < 1 || count > TV_MAX_THREADS) {
        return TV_ERROR_RANGE;
    }
    return changePace(handle, [&](Pace& pace) { pace.threadCount = count; });
}

int32_t tv_setSkipping(tv_model* handle, int32_t isWanted) {
    return changePace(handle, [&](Pace& pace) {
        pace.isPlain = isWanted == 0;
        pace_noteChange(pace);
    });
}
