// Sections of the project file, made of the one list of them. The reader asks for their
// numbers.

#include "project/sections.h"

#include "model/project.h"
#include "text/tokens.h"

const Section Sections[SECTION_COUNT] = {
#define TARNVELDE_SECTION(number, name, countRule, type) {name, countRule, type},
#define TARNVELDE_NODE_SECTION(number, name, kind) {name, COUNT_NODE, kind},
#define TARNVELDE_COUPLED_SECTION(number, name, kind) {name, COUNT_COUPLED_NODE, kind},
#define TARNVELDE_LINK_SECTION(number, name, kind) {name, COUNT_LINK, kind},
#include "model/sections.def"
};

int32_t sections_find(const char* name) {
    for (int32_t k = 0; k < SECTION_COUNT; ++k) {
        if (tokens_matchKeyword(name, Sections[k].name)) {
            return k;
        }
    }
    return -1;
}
