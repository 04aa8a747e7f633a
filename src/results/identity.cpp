// The identity of a run, asked for by the sinks once all their rows are there. It holds no time of the day: two runs of
// one project leave the same bytes.

#include "results/identity.h"

#include <cstdio>

#include "model/errors.h"
#include "model/model.h"
#include "model/project.h"
#include "platform/files.h"
#include "platform/outputs.h"
#include "text/datetime.h"
#include "text/units.h"

static std::string formatDate(DateTime date) {
    const CalendarDate day = datetime_decodeDate(date);
    const int32_t second = datetime_getSecondOfDay(date);
    char text[80];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", day.year, day.month, day.day, second / 3600,
                  second / 60 % 60, second % 60);
    return text;
}

static const char* getEnd(const Model& model) {
    if (model.error.code != ERR_NONE) {
        return "failed";
    }
    return model.options.totalDuration > model.clock.newRoutingTime ? "stopped" : "complete";
}

std::vector<std::pair<const char*, std::string>> identity_list(const Model& model) {
    char sum[24];
    std::snprintf(sum, sizeof sum, "%016llx", static_cast<unsigned long long>(model.files.inputsSum));
    const double start = model.options.startDateTime;
    std::vector<std::pair<const char*, std::string>> list{
        {"version", TARNVELDE_VERSION}, {"inputs", sum},
        {"begin", formatDate(start)},   {"end", formatDate(start + model.clock.newRoutingTime / MS_PER_DAY)},
        {"state", getEnd(model)},
    };
    if (model.error.code != ERR_NONE) {
        list.emplace_back("code", std::to_string(errors_getPublicCode(model.error.code)));
    }
    return list;
}

void identity_removeBeside(const Model& model) {
    files_delete((model.files.resultsName + IDENTITY_ENDING).c_str());
}

void identity_writeBeside(const Model& model) {
    std::string text = "tarnvelde run\n";
    for (const auto& [name, value] : identity_list(model)) {
        text.append(name).append(" ").append(value).append("\n");
    }
    const std::string path = model.files.resultsName + IDENTITY_ENDING;
    if (outputs_writeWhole(path, text.data(), text.size()) != OUTPUT_FINE) {
        files_delete(path.c_str());
    }
}
