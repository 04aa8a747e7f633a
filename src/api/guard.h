#pragma once
// The last net of the exported functions: what the standard library throws ends here.

#include <cstdint>
#include <exception>
#include <utility>

/// Runs `work`; if the memory for one of our tables isn't there, `failure()` tells of it and gives the result.
template <class Work, class Failure>
int32_t guard_run(Work&& work, Failure&& failure) {
    try {
        return std::forward<Work>(work)();
    } catch (const std::exception&) {
        return std::forward<Failure>(failure)();
    }
}
