// Ranges of the numbers of a project file.

#include "model/plausible.h"

#include <cmath>
#include <string>

#include "model/model.h"
#include "model/warnings.h"

const Plausible Plausibles[PLAUSIBLE_COUNT] = {
#define TARNVELDE_PLAUSIBLE(enumerator, warning, quantity, unit, low, high, doubtLow, doubtHigh, slip, source) \
    {warning, quantity, unit, low, high, doubtLow, doubtHigh, slip, source},
#include "model/plausible.def"
};

static std::string formatRange(const Plausible& range) {
    const std::string low = warnings_formatNumber(range.low), high = warnings_formatNumber(range.high);
    if (std::isinf(range.high)) {
        return low + " or more";
    }
    return std::isinf(range.low) ? "up to " + high : low + " to " + high;
}

void plausible_tell(const Model& model, int32_t plausible, double value, int32_t word, const char* object) {
    const Plausible& range = Plausibles[plausible];
    const bool isDoubtful = !(value >= range.doubtLow && value <= range.doubtHigh);
    const std::string unit = range.unit[0] ? std::string(" ") + range.unit : "";
    const std::string slip = isDoubtful && range.slip[0] ? std::string(" (") + range.slip + ")" : "";
    warnings_addAtLine(model, range.warning, isDoubtful ? SEVERITY_WARNING : SEVERITY_NOTE, word, object,
                       {range.quantity, warnings_formatNumber(value) + unit, formatRange(range), slip});
}
