// A slip of the finger is a letter too many, too few or wrong, or two in the wrong order.

#include "commands.h"

#include <algorithm>
#include <cstddef>

#include "characters.h"

/// Slips between two words.
static size_t countSlips(const std::string& a, const std::string& b) {
    std::vector<std::vector<size_t>> slips(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i) {
        for (size_t k = 0; k <= b.size(); ++k) {
            if (i == 0 || k == 0) {
                slips[i][k] = i + k;
                continue;
            }
            const size_t wrong = slips[i - 1][k - 1] + (a[i - 1] == b[k - 1] ? 0 : 1);
            slips[i][k] = std::min({slips[i - 1][k] + 1, slips[i][k - 1] + 1, wrong});
            if (i > 1 && k > 1 && a[i - 1] == b[k - 2] && a[i - 2] == b[k - 1]) {
                slips[i][k] = std::min(slips[i][k], slips[i - 2][k - 2] + 1);
            }
        }
    }
    return slips[a.size()][b.size()];
}

/// The nearest command; empty if none is near, as of a word most of whose letters would be slips.
static std::string guess(const std::string& name, const std::vector<std::string>& known) {
    constexpr size_t LONGEST = 32;  // no slip makes a command so long
    const std::string lower = characters_toLower(name.size() <= LONGEST ? name : "");
    std::string nearest;
    size_t least = std::min<size_t>(3, lower.size() / 2 + 1);
    for (const std::string& command : known) {
        const bool isBeginning = lower.size() > 1 && command.starts_with(lower);
        const size_t slips = isBeginning ? 1 : countSlips(lower, command);
        if (slips < least) {
            least = slips;
            nearest = command;
        }
    }
    return nearest;
}

std::string commands_describeUnknown(const std::string& name, const std::vector<std::string>& known) {
    const std::string shown = characters_makePrintable(name);
    std::string text = "there is no command " + shown;
    if (const std::string nearest = guess(name, known); !nearest.empty()) {
        text += "; did you mean " + nearest + '?';
    } else if (characters_toLower(name).ends_with(".inp")) {
        text += "; to run a project: tarnvelde run " + shown;
    }
    text += "\nCommands: ";
    for (const std::string& command : known) {
        text += (&command == known.data() ? "" : ", ") + command;
    }
    return text + "\nRun with --help for more information.";
}
