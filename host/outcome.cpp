// The JSON of `run` and `check`. Members without a value are left out, so that what is there can be trusted.

#include "outcome.h"

#include <cstdio>

#include "json.h"
#include "resultfile.h"

static const char* getPhaseName(int32_t phase) {
    switch (phase) {
        case TV_OPEN: return "open";
        case TV_STARTED: return "started";
        case TV_FINISHED: return "finished";
        case TV_FAILED: return "failed";
        default: return "closed";
    }
}

static const char* getLevelName(int32_t level) {
    return level == TV_ERROR ? "error" : level == TV_WARNING ? "warning" : "info";
}

static const char* getSeverityWord(int32_t severity) {
    return severity == TV_NOTE ? "note" : severity == TV_SERIOUS ? "serious" : "warning";
}

static std::string formatMember(const char* name, const std::string& value) {
    return ",\n \"" + std::string(name) + "\": " + value;
}

/// A member of a text, none if it is empty.
static std::string formatText(const char* name, const std::string& text) {
    return text.empty() ? std::string() : std::string(", \"") + name + "\": " + json_quote(text);
}

static std::string formatMessage(const HostMessage& message) {
    std::string json = std::string("{\"level\": \"") + getLevelName(message.level) + '"';
    if (message.code != 0) {
        json += ", \"code\": " + std::to_string(message.code);
    }
    json += formatText("name", message.name);
    if (message.level == TV_WARNING) {
        json += ", \"severity\": " + json_quote(getSeverityWord(message.severity));
    }
    json += ", \"text\": " + json_quote(message.text);
    json += formatText("section", message.section);
    if (message.line > 0) {
        json += ", \"line\": " + std::to_string(message.line);
    }
    json += formatText("words", message.words);
    if (message.column > 0) {
        json += ", \"column\": " + std::to_string(message.column) + ", \"length\": " + std::to_string(message.length);
    }
    json += formatText("object", message.object) + formatText("effect", message.effect);
    json += formatText("advice", message.advice);
    if (message.date != 0.0) {
        json += ", \"date\": " + json_quote(result_formatDate(message.date));
    }
    return json + '}';
}

static std::string formatClock(const Outcome& outcome) {
    std::string json = formatMember("start", json_quote(result_formatDate(outcome.clock.start)));
    json += formatMember("now", json_quote(result_formatDate(outcome.clock.now)));
    json += formatMember("end", json_quote(result_formatDate(outcome.clock.end)));
    json += formatMember("routingStep", json_formatNumber(outcome.clock.step));
    if (outcome.command == "run") {
        json += formatMember("steps", std::to_string(outcome.steps));
        json += formatMember("periods", std::to_string(outcome.clock.period));
    }
    return json;
}

/// Balances of water are numbers; those of pollutants are objects with a number for each.
static std::string formatBalances(const std::vector<Balance>& balances) {
    std::string json = "{";
    for (size_t k = 0; k < balances.size(); ++k) {
        const Balance& b = balances[k];
        const bool isFirst = k == 0 || balances[k - 1].name != b.name;
        json += isFirst ? (k == 0 ? "" : ", ") + json_quote(b.name) + ": " : std::string(", ");
        if (b.pollutant.empty()) {
            json += json_formatNumber(b.error);
            continue;
        }
        const bool isLast = k + 1 == balances.size() || balances[k + 1].name != b.name;
        json +=
            (isFirst ? "{" : "") + json_quote(b.pollutant) + ": " + json_formatNumber(b.error) + (isLast ? "}" : "");
    }
    return json + '}';
}

/// A number behind its name in an object that has members already.
static std::string formatNumber(const char* name, double value) {
    return std::string(", \"") + name + "\": " + json_formatNumber(value);
}

static std::string formatVerdict(const HostVerdict& verdict) {
    std::string json = "{\"part\": " + json_quote(verdict.part) + formatText("pollutant", verdict.pollutant);
    json += formatNumber("in", verdict.in) + formatNumber("missing", verdict.missing);
    json += formatNumber("error", verdict.error) + formatText("grade", verdict_getGradeName(verdict.grade));
    json += formatText("words", verdict.words);
    std::string causes;
    for (const HostPlace& place : verdict.causes) {
        causes += (causes.empty() ? "{\"kind\": " : ", {\"kind\": ") + json_quote(place.kind) +
                  formatText("id", place.id) + formatNumber("missing", place.missing) +
                  formatNumber("share", place.share) + '}';
    }
    return json + ", \"causes\": [" + causes + "]}";
}

/// The members of a balance, behind others.
static std::string formatBalance(const tv_balance& balance) {
    return formatNumber("initial", balance.initial) + formatNumber("in", balance.in) +
           formatNumber("out", balance.out) + formatNumber("lost", balance.lost) +
           formatNumber("stored", balance.stored) + formatNumber("missing", balance.missing) +
           formatNumber("error", balance.error);
}

static std::string formatPlaceBalance(const HostBalance& place) {
    std::string json = "{\"kind\": " + json_quote(place.kind) + formatText("id", place.id) + formatBalance(place.water);
    for (const auto& [pollutant, load] : place.loads) {
        json += (&load == &place.loads.front().second ? ", \"pollutants\": [{\"id\": " : "}, {\"id\": ") +
                json_quote(pollutant) + formatBalance(load);
    }
    return json + (place.loads.empty() ? "}" : "}]}");
}

/// An array with an element in each line.
template <class Element, class Format>
static std::string formatArray(const std::vector<Element>& elements, Format format) {
    std::string json = "[";
    for (const Element& element : elements) {
        json += (&element == elements.data() ? "\n  " : ",\n  ") + format(element);
    }
    return json + (elements.empty() ? "]" : "\n ]");
}

static std::string formatCounts(const MessageCounts& counts) {
    return "{\"errors\": " + std::to_string(counts.errors) + ", \"serious\": " + std::to_string(counts.serious) +
           ", \"warnings\": " + std::to_string(counts.warnings) + ", \"notes\": " + std::to_string(counts.notes) + '}';
}

bool outcome_writeJson(const Outcome& outcome) {
    std::string json = "{\"program\": " + json_quote(std::string("tarnvelde ") + tv_getVersion());
    json += formatMember("command", json_quote(outcome.command));
    json += formatMember("project", json_quote(outcome.project));
    std::string files;
    for (const auto& [use, name] : outcome.files) {
        files += (files.empty() ? "" : ", ") + json_quote(use) + ": " + json_quote(name);
    }
    json += formatMember("files", '{' + files + '}');
    json += formatMember("phase", json_quote(getPhaseName(outcome.phase)));
    json += formatMember("code", std::to_string(outcome.code));
    json += formatMember("meaning", json_quote(tv_describeCode(outcome.code)));
    json += formatMember("status", std::to_string(outcome.status));
    if (!outcome.stopped.empty()) {
        json += formatMember("stopped", json_quote(outcome.stopped));
    }
    json += formatMember("messages", formatArray(outcome.messages, formatMessage));
    json += formatMember("counts", formatCounts(messages_count(outcome.messages)));
    if (outcome.hasClock) {
        json += formatClock(outcome);
    }
    if (!outcome.balances.empty()) {
        json += formatMember("continuityErrors", formatBalances(outcome.balances));
    }
    if (!outcome.verdicts.empty()) {
        json += formatMember("verdict", formatArray(outcome.verdicts, formatVerdict));
    }
    if (!outcome.places.empty()) {
        json += formatMember("balances", formatArray(outcome.places, formatPlaceBalance));
    }
    json += formatMember("wallTime", json_formatNumber(outcome.wallTime));
    json += "\n}\n";
    return std::fwrite(json.data(), 1, json.size(), stdout) == json.size() && std::fflush(stdout) == 0;
}
