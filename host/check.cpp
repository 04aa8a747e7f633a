// A check is an opening without a report.

#include "check.h"

#include <chrono>
#include <cstdint>
#include <cstdio>

#include "handle.h"
#include "outcome.h"
#include "status.h"

int check_execute(const CheckRequest& request) {
    const auto begin = std::chrono::steady_clock::now();
    Outcome outcome{};
    outcome.command = "check";
    outcome.project = request.model;
    const ModelHandle model = handle_make(request.engines);
    outcome.code = tv_open(model.get(), request.model.c_str(), nullptr);
    tv_getPhase(model.get(), &outcome.phase);
    outcome.hasClock = tv_getClock(model.get(), &outcome.clock) == TV_OK;
    outcome.messages = messages_read(model.get(), {request.model, "", "", ""});
    outcome.status = outcome.code == TV_OK ? EXIT_DONE : EXIT_ENGINE_ERROR;
    outcome.wallTime = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    messages_show(outcome.messages);
    messages_showEnd(outcome.code, request.model);
    if (request.isJson) {
        return outcome_writeJson(outcome) ? outcome.status : EXIT_ENGINE_ERROR;
    }
    if (outcome.code == TV_OK) {
        std::printf("%s: no errors\n", request.model.c_str());
    }
    return outcome.status;
}
