#pragma once
// The last net of the exported functions: what the standard library throws ends here.

#include <exception>
#include <utility>

#include "model/errors.h"

/// Runs `work`; if the memory for one of our tables isn't there, the memory error stands and `failure()` is the result.
template <class Work, class Failure>
int32_t guard_run(Work&& work, Failure&& failure) {
    try {
        return std::forward<Work>(work)();
    } catch (const std::exception&) {
        errors_report(ERR_MEMORY, "");
        return std::forward<Failure>(failure)();
    }
}
