// Which balances there are is asked of the library: each has a variable of the whole model whose name ends with
// "_error".

#include "balances.h"

#include <cmath>
#include <cstdint>
#include <string>

static constexpr const char* ENDINGS[] = {"_continuity_error", "_error"};

/// The name of the balance that a variable belongs to; empty for other variables.
static std::string getBalance(const tv_variable& variable) {
    const std::string name = variable.name;
    if (variable.objectClass != TV_SYSTEM || variable.access != TV_TOTAL) {
        return {};
    }
    for (const std::string ending : ENDINGS) {
        if (name.ends_with(ending)) {
            return name.substr(0, name.size() - ending.size());
        }
    }
    return {};
}

/// Adds one error. It is no number where nothing came in, as of the pollutants of a land without any: 0 ÷ 0.
static void add(std::vector<Balance>& balances, const tv_model* model, int32_t variable, const std::string& name,
                int32_t pollutant) {
    double error = std::nan("");
    tv_getValue(model, variable, 0, pollutant, &error);
    const char* id = "";
    if (pollutant != TV_NO_POLLUTANT) {
        tv_getId(model, TV_POLLUTANT, pollutant, &id);
    }
    balances.push_back({name, id, error});
}

std::vector<Balance> balances_read(const tv_model* model) {
    std::vector<Balance> balances;
    int32_t variableCount = 0, pollutantCount = 0;
    tv_getVariableCount(&variableCount);
    tv_getCount(model, TV_POLLUTANT, &pollutantCount);
    for (int32_t k = 0; k < variableCount; ++k) {
        tv_variable variable{};
        tv_getVariable(k, &variable);
        const std::string name = getBalance(variable);
        if (name.empty()) {
            continue;
        }
        if (variable.isPerPollutant == 0) {
            add(balances, model, k, name, TV_NO_POLLUTANT);
        }
        for (int32_t p = 0; variable.isPerPollutant != 0 && p < pollutantCount; ++p) {
            add(balances, model, k, name, p);
        }
    }
    return balances;
}
