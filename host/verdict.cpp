// The verdict in lines. Of the pollutants only the worst is shown: each of them is in the report and the JSON.

#include "verdict.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <new>

#include "messages.h"

static constexpr size_t PLACES_SHOWN = 3;

// --- reading -------------------------------------------------------------------------------------------------------

static const char* getPartName(int32_t part) {
    switch (part) {
        case TV_PART_RUNOFF: return "runoff";
        case TV_PART_WASHOFF: return "washoff";
        case TV_PART_FLOW: return "flow";
        default: return "quality";
    }
}

static const char* getKindName(int32_t objectClass) {
    switch (objectClass) {
        case TV_SUBCATCHMENT: return "subcatchment";
        case TV_LID_UNIT: return "LID unit";
        case TV_NODE: return "node";
        default: return "link";
    }
}

static std::string getRawId(const tv_model* model, int32_t objectClass, int32_t index) {
    const char* id = "";
    tv_getId(model, objectClass, index, &id);
    return id;
}

/// A LID unit is known by its subcatchment and its definition.
static std::string getName(const tv_model* model, int32_t objectClass, int32_t index) {
    if (objectClass != TV_LID_UNIT) {
        return getRawId(model, objectClass, index);
    }
    int32_t subcatchment = -1, lid = -1;
    tv_getRelation(model, TV_UNIT_SUBCATCHMENT, index, &subcatchment);
    tv_getRelation(model, TV_UNIT_LID, index, &lid);
    return getRawId(model, TV_SUBCATCHMENT, subcatchment) + '/' + getRawId(model, TV_LID, lid);
}

static HostVerdict readRow(const tv_model* model, int32_t row) {
    tv_verdict v{};
    tv_getVerdict(model, row, &v);
    HostVerdict verdict{getPartName(v.part), "", v.in, v.missing, v.error, v.grade, v.words, {}};
    if (v.pollutant != TV_NO_POLLUTANT) {
        verdict.pollutant = getRawId(model, TV_POLLUTANT, v.pollutant);
    }
    for (int32_t k = 0; k < v.causeCount; ++k) {
        tv_cause cause{};
        tv_getCause(model, row, k, &cause);
        verdict.causes.push_back({getKindName(cause.objectClass), getName(model, cause.objectClass, cause.index),
                                  cause.missing, cause.share});
    }
    return verdict;
}

std::vector<HostVerdict> verdict_read(tv_model* model) {
    std::vector<HostVerdict> verdicts;
    int32_t count = 0;
    const int32_t code = tv_judge(model, &count);
    if (code == TV_ERROR_MEMORY) {
        throw std::bad_alloc();  // no outcome is shown without its verdict
    }
    if (code == TV_OK) {
        for (int32_t row = 0; row < count; ++row) {
            verdicts.push_back(readRow(model, row));
        }
    }
    return verdicts;
}

static std::vector<std::pair<std::string, tv_balance>> readLoads(const tv_model* model, int32_t objectClass,
                                                                 int32_t index) {
    std::vector<std::pair<std::string, tv_balance>> loads;
    int32_t count = 0;
    tv_getCount(model, TV_POLLUTANT, &count);
    for (int32_t p = 0; p < count; ++p) {
        tv_balance load{};
        if (tv_getBalance(model, objectClass, index, p, &load) == TV_OK) {
            loads.emplace_back(getRawId(model, TV_POLLUTANT, p), load);
        }
    }
    return loads;
}

std::vector<HostBalance> verdict_readBalances(const tv_model* model) {
    std::vector<HostBalance> balances;
    for (const int32_t objectClass : {TV_SUBCATCHMENT, TV_LID_UNIT, TV_NODE, TV_LINK}) {
        int32_t count = 0;
        tv_getCount(model, objectClass, &count);
        for (int32_t k = 0; k < count; ++k) {
            tv_balance water{};
            if (tv_getBalance(model, objectClass, k, TV_NO_POLLUTANT, &water) == TV_OK) {
                balances.push_back({getKindName(objectClass), getName(model, objectClass, k), water,
                                    readLoads(model, objectClass, k)});
            }
        }
    }
    return balances;
}

bool verdict_isRed(const std::vector<HostVerdict>& verdicts) {
    return std::any_of(verdicts.begin(), verdicts.end(),
                       [](const HostVerdict& verdict) { return verdict.grade == TV_GRADE_RED; });
}

const char* verdict_getGradeName(int32_t grade) {
    switch (grade) {
        case TV_GRADE_GREEN: return "green";
        case TV_GRADE_AMBER: return "amber";
        case TV_GRADE_RED: return "red";
        default: return "nothing came in";
    }
}

// --- lines ---------------------------------------------------------------------------------------------------------

/// Whether something went where nothing had come in: there is no error in % then.
static bool isFromNowhere(const HostVerdict& verdict) {
    return verdict.in == 0.0 && verdict.grade == TV_GRADE_RED;
}

static double getSize(const HostVerdict& verdict) {
    return std::isfinite(verdict.error) && !isFromNowhere(verdict) ? std::fabs(verdict.error) : INFINITY;
}

/// The row of a part that is farthest off; null if the project has none.
static const HostVerdict* findWorst(const std::vector<HostVerdict>& verdicts, const char* part) {
    const HostVerdict* worst = nullptr;
    for (const HostVerdict& verdict : verdicts) {
        if (verdict.part == part && (!worst || getSize(verdict) > getSize(*worst))) {
            worst = &verdict;
        }
    }
    return worst;
}

static std::string formatError(const HostVerdict& verdict) {
    const std::string name = verdict.part + (verdict.pollutant.empty() ? "" : " of " + verdict.pollutant) + ' ';
    if (verdict.grade == TV_GRADE_NOTHING) {
        return name + "none came in";
    }
    if (isFromNowhere(verdict)) {
        return name + "from nowhere " + verdict_getGradeName(verdict.grade);
    }
    char number[32];
    std::snprintf(number, sizeof number, "%.3f %%", verdict.error);
    return name + number + ' ' + verdict_getGradeName(verdict.grade);
}

static std::string formatAmount(double amount, const char* unit) {
    char text[40];
    std::snprintf(text, sizeof text, "%.4g %s", amount, unit);
    return text;
}

/// The places of a part that miss most.
static std::string formatCauses(const HostVerdict& verdict) {
    const char* unit = verdict.pollutant.empty() ? "m3" : "kg";
    const std::string matter = verdict.part + (verdict.pollutant.empty() ? "" : " of " + verdict.pollutant);
    std::string text = formatAmount(verdict.missing, unit) + " of " + formatAmount(verdict.in, unit) +
                       " are in no account (" + matter + ')';
    for (size_t k = 0; k < std::min(PLACES_SHOWN, verdict.causes.size()); ++k) {
        const HostPlace& place = verdict.causes[k];
        text += (k == 0 ? ", most at " : ", ") + place.kind + ' ' + place.id + ' ' + formatAmount(place.missing, unit);
    }
    const bool isHidden = verdict.part == "quality" && verdict.causes.empty() && verdict.grade > TV_GRADE_GREEN;
    return text + (isHidden ? "; --balances names the places" : "");
}

static void showVerdictLine(const std::string& line) {
    std::fprintf(stderr, "tarnvelde: %s\n", messages_makePrintable(line).c_str());
}

void verdict_show(const std::vector<HostVerdict>& verdicts, bool isGreenShown) {
    std::string errors, words;
    int32_t grade = TV_GRADE_NOTHING;
    const HostVerdict* farthest = nullptr;
    for (const char* part : {"runoff", "flow", "washoff", "quality"}) {
        if (const HostVerdict* worst = findWorst(verdicts, part)) {
            errors += (errors.empty() ? "" : ", ") + formatError(*worst);
            words = worst->grade > grade ? worst->words : words;
            grade = std::max(grade, worst->grade);
            farthest = !farthest || getSize(*worst) > getSize(*farthest) ? worst : farthest;
        }
    }
    if (errors.empty() || (grade <= TV_GRADE_GREEN && !isGreenShown)) {
        return;
    }
    showVerdictLine("continuity errors: " + errors + (grade > TV_GRADE_GREEN ? ": " + words : ""));
    showVerdictLine(formatCauses(*farthest));
}
