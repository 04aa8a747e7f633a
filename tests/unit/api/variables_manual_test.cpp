// The tables of the manual that are made from the list of variables.

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <string>

#include "support/manual.h"
#include "tarnvelde_model.h"

namespace {

constexpr const char* CLASSES[TV_CLASS_COUNT] = {"TV_SYSTEM, the whole model",
                                                 "TV_SUBCATCHMENT, subcatchments",
                                                 "TV_GAGE, rain gages",
                                                 "TV_NODE, nodes",
                                                 "TV_LINK, links",
                                                 "TV_POLLUTANT, pollutants",
                                                 "TV_LAND_USE, land uses",
                                                 "TV_LID, definitions of LID controls",
                                                 "TV_LID_UNIT, LID units on subcatchments",
                                                 "TV_RULE, control rules",
                                                 "TV_CURVE, curves",
                                                 "TV_SERIES, time series",
                                                 "TV_PATTERN, patterns"};
constexpr const char* ACCESSES[] = {"parameter", "forcing", "state", "result", "total"};
constexpr const char* NODES[] = {"junction",  "tank",    "outfall",  "splitter",
                                 "SWMM node", "reactor", "LID node", "plant"};
constexpr const char* LINKS[] = {"pipe", "pump", "connection", "conduit", "weir", "orifice"};

template <size_t count>
std::string joinKinds(uint32_t kinds, const char* const (&words)[count]) {
    std::string text, missing;
    for (size_t k = 0; k < count; ++k) {
        std::string& list = (kinds >> k & 1u) != 0 ? text : missing;
        list += (list.empty() ? "" : ", ") + std::string(words[k]);
    }
    if (missing.empty()) {
        return "all";
    }
    return missing.size() < text.size() ? "all but " + missing : text;
}

std::string getKinds(const tv_variable& variable) {
    switch (variable.objectClass) {
        case TV_NODE: return joinKinds(variable.kinds, NODES);
        case TV_LINK: return joinKinds(variable.kinds, LINKS);
        default: return "";
    }
}

std::string showNumber(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

std::string getRange(const tv_variable& variable) {
    if (variable.when == TV_NEVER) {
        return "";
    }
    const std::string most = std::isinf(variable.maximum) ? "" : showNumber(variable.maximum);
    if (variable.minimum == DBL_MIN) {
        return "above 0" + (most.empty() ? "" : ", to " + most);
    }
    if (std::isinf(variable.minimum)) {
        return most.empty() ? "any" : "to " + most;
    }
    return showNumber(variable.minimum) + (most.empty() ? " or more" : " ... " + most);
}

std::string getWhen(const tv_variable& variable) {
    switch (variable.when) {
        case TV_WHEN_OPEN: return "before a start";
        case TV_WHEN_STARTED: return "in a run";
        case TV_NEVER: return "";
        default: return "always";
    }
}

std::string makeCell(const std::string& text) {
    return text.empty() ? "| " : "| " + text + ' ';
}

std::string makeRow(const tv_variable& variable, bool hasKinds) {
    std::string text = makeCell('`' + std::string(variable.name) + '`' + (variable.isPerPollutant ? " *p*" : ""));
    text += makeCell(variable.unit);
    text += hasKinds ? makeCell(getKinds(variable)) : "";
    return text + makeCell(ACCESSES[variable.access]) + makeCell(getWhen(variable)) + makeCell(getRange(variable)) +
           makeCell(variable.meaning) + "|\n";
}

std::string makeTables() {
    std::string text;
    int32_t count = 0;
    EXPECT_EQ(tv_getVariableCount(&count), TV_OK);
    for (int32_t c = 0; c < TV_CLASS_COUNT; ++c) {
        std::string rows;
        const bool hasKinds = c == TV_NODE || c == TV_LINK;
        for (int32_t v = 0; v < count; ++v) {
            tv_variable variable{};
            EXPECT_EQ(tv_getVariable(v, &variable), TV_OK);
            rows += variable.objectClass == c ? makeRow(variable, hasKinds) : "";
        }
        if (!rows.empty()) {
            text += (text.empty() ? "" : "\n") + std::string("### ") + CLASSES[c] + "\n\n| Variable | Unit | " +
                    (hasKinds ? "Kinds | " : "") + "What | Set | Range | Meaning |\n|---|---|---|---|---|---|" +
                    (hasKinds ? "---|" : "") + '\n' + rows;
        }
    }
    return text;
}

}  // namespace

TEST(Manual, HoldsTheVariables) {
    manual_check("variables.md", "the list of variables", makeTables());
}
