// The identity of a run, asked for by the sinks once all their rows are there. It holds no time of the day: two runs of
// one project leave the same bytes.

#include "results/identity.h"

#include <cstdio>
#include <cstring>
#include <memory>

#include "model/errors.h"
#include "model/inputfiles.h"
#include "model/model.h"
#include "model/project.h"
#include "platform/files.h"
#include "platform/outputs.h"
#include "text/datetime.h"
#include "text/units.h"

std::string identity_formatDate(DateTime date) {
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
        {"version", TARNVELDE_VERSION},
        {"inputs", sum},
        {"begin", identity_formatDate(start)},
        {"end", identity_formatDate(start + model.clock.newRoutingTime / MS_PER_DAY)},
        {"state", getEnd(model)},
    };
    if (model.error.code != ERR_NONE) {
        list.emplace_back("code", std::to_string(errors_getPublicCode(model.error.code)));
    }
    return list;
}

static constexpr char FIRST_LINE[] = "tarnvelde run\n";

/// Whether a text of ours stands there, or nothing at all.
static bool isOurs(const std::string& path) {
    if (!files_exists(path)) {
        return true;
    }
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(files_openForReading(path.c_str()), std::fclose);
    char line[sizeof FIRST_LINE] = "";
    return file && std::fread(line, 1, sizeof FIRST_LINE - 1, file.get()) == sizeof FIRST_LINE - 1 &&
           std::memcmp(line, FIRST_LINE, sizeof FIRST_LINE - 1) == 0;
}

void identity_removeBeside(const std::string& results) {
    const std::string path = results + IDENTITY_ENDING;
    if (files_exists(path) && isOurs(path)) {
        files_delete(path.c_str());
    }
}

void identity_writeBeside(const Model& model, const std::string& results) {
    std::string text = FIRST_LINE;
    for (const auto& [name, value] : identity_list(model)) {
        text.append(name).append(" ").append(value).append("\n");
    }
    const std::string path = results + IDENTITY_ENDING;
    if (isOurs(path) && outputs_writeWhole(path, text.data(), text.size()) != OUTPUT_FINE) {
        identity_removeBeside(results);
    }
}
