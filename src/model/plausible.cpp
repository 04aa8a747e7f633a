// Ranges of the numbers of a project file.

#include "model/plausible.h"

#include <cmath>
#include <cstring>
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

/// The likely mistake of a number beyond doubt, in brackets; empty if none is known.
static std::string formatSlip(const Plausible& range, double value) {
    const std::string slip = range.slip;
    const size_t part = slip.find(';');
    const std::string own = part == std::string::npos ? slip
                            : value < range.doubtLow  ? slip.substr(0, part)
                                                      : slip.substr(part + 1);
    return own.empty() ? "" : " (" + own + ")";
}

void plausible_tell(const Model& model, int32_t plausible, double value, int32_t word, const char* object) {
    const Plausible& range = Plausibles[plausible];
    const bool isDoubtful = !(value >= range.doubtLow && value <= range.doubtHigh);
    const std::string unit = range.unit[0] ? std::string(" ") + range.unit : "";
    const std::string slip = isDoubtful ? formatSlip(range, value) : "";
    warnings_addAtLine(model, range.warning, isDoubtful ? SEVERITY_WARNING : SEVERITY_NOTE, word, object,
                       {range.quantity, warnings_formatNumber(value) + unit, formatRange(range), slip});
}

void plausible_checkPlain(const Model& model, int32_t seconds, const char* text, int32_t word, const char* object) {
    static constexpr int32_t LONG = 9000, DAY = 86400;  ///< s
    if (seconds > LONG && DAY % seconds != 0 && seconds % DAY != 0 && !std::strchr(text, ':')) {
        warnings_addAtLine(model, WARN_STEP_PLAIN, word, object, {text});
    }
}
