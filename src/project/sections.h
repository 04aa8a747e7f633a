#pragma once
// Sections of the project file.

#include <cstdint>

/// Sections by their number, which is their place in the list of names.
enum SectionNumber : int32_t {
#define TARNVELDE_SECTION(number, name, countRule, type) number,
#define TARNVELDE_NODE_SECTION(number, name, kind) number,
#define TARNVELDE_COUPLED_SECTION(number, name, kind) number,
#define TARNVELDE_LINK_SECTION(number, name, kind) number,
#include "model/sections.def"
    SECTION_COUNT
};

/// What the first pass does with a line of a section.
enum CountRule : int32_t {
    COUNT_NOTHING,
    COUNT_OPTION,        ///< a general option
    COUNT_OBJECT,        ///< one object of a class
    COUNT_NEW_OBJECT,    ///< one object, unless its name is known: objects of several lines
    COUNT_NODE,          ///< one node of a kind
    COUNT_LINK,          ///< one link of a kind
    COUNT_RULE,          ///< one rule for each RULE line
    COUNT_COUPLED_NODE,  ///< one node, unless the name is a known node or begins an exchange record
};

/// What an object's line in the second pass is: a row of which table.
struct Section {
    const char* name;
    CountRule countRule;
    int32_t type;  ///< ObjectType of COUNT_OBJECT and COUNT_NEW_OBJECT, NodeKind or LinkKind of the others
};

extern const Section Sections[SECTION_COUNT];

/// Number of a section by its name in brackets, or -1.
[[nodiscard]] int32_t sections_find(const char* name);
