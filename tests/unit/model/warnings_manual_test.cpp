// The chapter of warnings, whose tables are made from the lists of kinds and of ranges.

#include <cmath>
#include <cstdio>
#include <string>

#include "model/plausible.h"
#include "model/warnings.h"
#include "support/manual.h"

static const char* getSeverity(const WarningKind& kind) {
    switch (kind.severity) {
        case SEVERITY_NOTE: return "note";
        case SEVERITY_WARNING: return "warning";
        default: return "serious";
    }
}

/// Letters in place of what a case fills in.
static std::string showText(const char* text) {
    std::string shown;
    for (const char* at = text; *at; ++at) {
        if (*at == '%' && at[1] >= '1' && at[1] <= '9') {
            shown += std::string("*") + static_cast<char>('a' + (*++at - '1')) + '*';
        } else if (*at == '|') {
            shown += "\\|";
        } else {
            shown += *at;
        }
    }
    return shown;
}

static std::string makeKinds(int32_t group) {
    std::string table = "| Name | Weight | What it says | What happens | What to do |\n|---|---|---|---|---|\n";
    for (const WarningKind& kind : WarningKinds) {
        if (kind.group == group) {
            table += std::string("| `") + kind.name + "` | " + getSeverity(kind) + " | " + showText(kind.text) + " | " +
                     kind.effect + " | " + kind.advice + " |\n";
        }
    }
    return table;
}

static std::string showNumber(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

static std::string showRange(double low, double high) {
    if (std::isinf(high)) {
        return std::isinf(low) ? "any" : showNumber(low) + " or more";
    }
    return std::isinf(low) ? "up to " + showNumber(high) : showNumber(low) + " ... " + showNumber(high);
}

/// Two slips, for numbers too small and too large, are parted by a semicolon; either may be missing.
static std::string showSlip(const std::string& slip) {
    const size_t at = slip.find(';');
    if (at == std::string::npos) {
        return slip;
    }
    const std::string small = slip.substr(0, at), large = slip.substr(at + 1);
    return (small.empty() ? "" : "too small: " + small) + (small.empty() || large.empty() ? "" : "; ") +
           (large.empty() ? "" : "too large: " + large);
}

static std::string makeRanges() {
    std::string table =
        "| Quantity | Unit | Usual | Doubt outside | Likely slip | Source | Warning |\n|---|---|---|---|---|---|---|\n";
    for (const Plausible& range : Plausibles) {
        table += std::string("| ") + range.quantity + " | " + range.unit + " | " + showRange(range.low, range.high) +
                 " | " + showRange(range.doubtLow, range.doubtHigh) + " | " + showSlip(range.slip) + " | " +
                 range.source + " | `" + WarningKinds[range.warning].name + "` |\n";
    }
    return table;
}

TEST(Manual, WarningsAreThoseOfTheLists) {
    manual_check("warnings.md", "src/model/warnings.def and src/model/plausible.def",
                 "### Dropped, or taken otherwise\n\n" + makeKinds(WARNING_DROPPED) + "\n### Implausible\n\n" +
                     makeKinds(WARNING_IMPLAUSIBLE) + "\n### In a run\n\n" + makeKinds(WARNING_RUN) +
                     "\n## What is usual\n\n" + makeRanges());
}
