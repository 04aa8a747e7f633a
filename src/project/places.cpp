// Where the objects of a project stand in its file. Few projects are ever asked for that, so it is found when one is,
// by the rules of the reader's first pass: which line of which section makes a new object.

#include "project/places.h"

#include <cstring>
#include <string>
#include <vector>

#include "model/messages.h"
#include "model/model.h"
#include "model/names.h"
#include "project/sections.h"
#include "routing/nodekinds.h"
#include "text/textfile.h"
#include "text/tokens.h"

/// Notes the place of an object, if the word is the ID of the one that comes next.
static void note(const Model& model, WarningLog& warnings, int32_t type, const char* word, const LinePlace& place) {
    std::vector<LinePlace>& places = warnings.places[type];
    if (names_find(model, type, word) == static_cast<int32_t>(places.size())) {
        places.push_back(place);
    }
}

static void noteLine(const Model& model, WarningLog& warnings, const char* word, const LinePlace& place) {
    const Section& section = Sections[place.section];
    switch (section.countRule) {
        case COUNT_OBJECT:
        case COUNT_NEW_OBJECT: note(model, warnings, section.type, word, place); break;
        case COUNT_NODE:
        case COUNT_COUPLED_NODE: note(model, warnings, NODE, word, place); break;
        case COUNT_LINK: note(model, warnings, LINK, word, place); break;
        case COUNT_RULE:
            if (tokens_matchKeyword(word, "RULE")) {
                warnings.places[RULE].push_back(place);
            }
            break;
        default: break;
    }
}

void places_find(const Model& model, WarningLog& warnings) {
    TextFile* file = warnings.source;
    if (!file) {
        return;
    }
    const int64_t position = textfile_getPosition(*file);
    textfile_setPosition(*file, 0);
    LinePlace place{0, 0, -1};
    char line[LINE_SIZE];
    for (int64_t next = 0; textfile_getLine(*file, line, LINE_SIZE); next = textfile_getPosition(*file)) {
        ++place.line;
        place.offset = next;
        const size_t begin = std::strspn(line, " \t\n\r");
        char* word = line + begin;
        word[std::strcspn(word, " \t\n\r")] = 0;
        if (*word == '[') {
            place.section = sections_find(word);
        } else if (*word && *word != '/' && place.section >= 0) {
            noteLine(model, warnings, word, place);
        }
    }
    textfile_setPosition(*file, position);
}
