// The list of warnings is that of the library.

#include "explain.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>

#include "characters.h"
#include "messages.h"
#include "status.h"
#include "tarnvelde_model.h"

static const char* getSeverityName(int32_t severity) {
    return severity == TV_NOTE ? "note" : severity == TV_SERIOUS ? "serious warning" : "warning";
}

static const char* getGroupName(int32_t group) {
    switch (group) {
        case TV_DROPPED: return "reading: something is dropped, or read in another way than it seems to say";
        case TV_IMPLAUSIBLE: return "reading: something is probably not meant";
        default: return "a run: something goes wrong with the water";
    }
}

static void show(const tv_warning_kind& kind) {
    std::printf("%s (%s)\n  found in      %s\n  says          %s\n  what happens  %s\n  what to do    %s\n", kind.name,
                getSeverityName(kind.severity), getGroupName(kind.group), kind.text, kind.effect, kind.advice);
}

int explain_execute(const std::string& name) {
    const std::string wanted = characters_toLower(name);
    int32_t count = 0, found = 0;
    tv_getWarningKindCount(&count);
    for (int32_t k = 0; k < count; ++k) {
        tv_warning_kind kind{};
        tv_getWarningKind(k, &kind);
        const std::string known = characters_toLower(kind.name);
        if (wanted.empty() || wanted == known || "w-" + wanted == known) {
            show(kind);
            ++found;
        }
    }
    if (found == 0) {
        std::fprintf(stderr, "tarnvelde: no warning %s; tarnvelde explain lists them all\n",
                     messages_makePrintable(name).c_str());
        return EXIT_WRONG_USAGE;
    }
    return EXIT_DONE;
}
