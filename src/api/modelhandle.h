#pragma once
// What a host holds of a model, and the way into it that all functions of tarnvelde_model.h share: what a call needs is
// tested ahead of its work, nothing is thrown through it, and a call from within a callback meets the same care.

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "api/guard.h"
#include "model/errors.h"
#include "model/messages.h"
#include "model/model.h"
#include "platform/arithmetic.h"
#include "platform/locale.h"
#include "review/verdict.h"
#include "tarnvelde_model.h"

/// What keeps a model busy.
enum HandleWork : int32_t {
    WORK_NONE,
    WORK_PERIOD,  ///< a callback after a period: looking and setting are free
    WORK_CALL     ///< a call, so maybe the log: nothing is free
};

struct tv_model {
    std::unique_ptr<Model> model;  ///< null while closed
    MessageLog log;
    EngineLibraries engines;
    int32_t phase = TV_CLOSED;  ///< tv_phase
    int32_t work = WORK_NONE;   ///< HandleWork
    bool hasRun = false;        ///< of this project, so that its report has something to tell
    bool hasStepped = false;    ///< of the run, so that its results have
    bool isReportLost = false;  ///< and its host was told
    bool isReportCut = false;   ///< memory was lacking amid it
    bool keepsRows = false;
    int32_t databaseForm = 0;  ///< tv_database_form
    bool wantsWarnings = true;
    Pace pace;  ///< as the host has set it, for this model and the next

    // Where the project came from, for a clone.
    bool isFromText = false;
    std::string source;  ///< the path, or the text itself
    std::string folder;  ///< of a text

    std::vector<Verdict> verdicts;  ///< of the last call that judged

    /// Names of columns that a host was told, which are made of two.
    mutable std::set<std::string> columnNames;

    tv_log hearer = nullptr;
    void* hearerUser = nullptr;
    tv_period listener = nullptr;
    void* listenerUser = nullptr;

    /// Of the call that is under way, the innermost one: as the callbacks of the host compute.
    mutable PlainArithmetic* arithmetic = nullptr;
};

/// What a call needs of the model.
enum HandleNeed : int32_t {
    NEED_CLOSED,    ///< no project
    NEED_PROJECT,   ///< a project, with or without errors
    NEED_OPEN,      ///< a project without errors
    NEED_IDLE,      ///< a project without errors, and no run
    NEED_RUN,       ///< a run, maybe at its end
    NEED_STEPPING,  ///< a run that isn't at its end
    NEED_NOTHING
};

/// 0, or the code of the refusal. A call that looks or sets is free in the callback after a period, one that steps,
/// ends or closes isn't.
[[nodiscard]] int32_t modelhandle_test(const tv_model* handle, int32_t need, bool isFreeInPeriod);

/// Puts the handle under work for as long as it lives.
class HandleGuard {
public:
    HandleGuard(tv_model* model, int32_t work) : handle(model), before(std::exchange(model->work, work)) {}
    ~HandleGuard() { handle->work = before; }
    HandleGuard(const HandleGuard&) = delete;
    HandleGuard& operator=(const HandleGuard&) = delete;

private:
    tv_model* handle;
    int32_t before;
};

/// Computes by default for as long as it lives, and lets callbacks know how the host does.
class CallArithmetic {
public:
    explicit CallArithmetic(const tv_model* model) : handle(model), before(std::exchange(model->arithmetic, &plain)) {}
    ~CallArithmetic() { handle->arithmetic = before; }
    CallArithmetic(const CallArithmetic&) = delete;
    CallArithmetic& operator=(const CallArithmetic&) = delete;

private:
    PlainArithmetic plain;
    const tv_model* handle;
    PlainArithmetic* before;
};

/// A call that looks, or sets something between steps.
template <class Handle, class Work>
int32_t modelhandle_look(Handle* handle, int32_t need, Work&& work) {
    if (const int32_t code = modelhandle_test(handle, need, true)) {
        return code;
    }
    const QuickArithmetic arithmetic;
    return guard_run(std::forward<Work>(work), []() -> int32_t { return TV_ERROR_MEMORY; });
}

/// The same for a call that reaches engines, files or the log.
template <class Work>
int32_t modelhandle_take(const tv_model* handle, int32_t need, Work&& work) {
    if (const int32_t code = modelhandle_test(handle, need, true)) {
        return code;
    }
    const CallArithmetic arithmetic(handle);
    return guard_run(std::forward<Work>(work), []() -> int32_t { return TV_ERROR_MEMORY; });
}

/// A call that moves the model from one phase to another. A failure of the engine becomes a message if it wasn't told.
template <class Work>
int32_t modelhandle_move(tv_model* handle, int32_t need, Work&& work) {
    if (const int32_t code = modelhandle_test(handle, need, false)) {
        return code;
    }
    const CallArithmetic arithmetic(handle);
    const NumberLocale locale;
    const HandleGuard guard(handle, WORK_CALL);
    return guard_run(std::forward<Work>(work), []() -> int32_t { return TV_ERROR_MEMORY; });
}

/// The public code of the model's current error; tells of an error that no message has told since `messageCount`.
int32_t modelhandle_tellError(tv_model* handle, size_t messageCount);

/// Hands a message to the host; the owner is the handle.
void modelhandle_hear(void* owner, const Message& message);

/// Puts the handle into the phase of its run.
void modelhandle_updatePhase(tv_model* handle);
