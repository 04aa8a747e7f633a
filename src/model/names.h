#pragma once
// Names of objects: from an ID to the row of its object's table, and the texts that records point at.

#include <array>
#include <cstdint>
#include <vector>

#include "model/project.h"

struct Model;

struct NameEntry {
    const char* key;
    uint32_t hash;
    int32_t index;
};

/// The hash stands here once more: most looks at a slot that isn't the right one end with it, without a look at the
/// entry.
struct NameSlot {
    int32_t entry;  ///< number, or -1
    uint32_t hash;
};

struct NameTable {
    std::vector<NameEntry> entries;
    std::vector<NameSlot> slots;  ///< their count is a power of 2, at least twice the entries'
};

using NameTables = std::array<NameTable, OBJECT_TYPE_COUNT>;  ///< by class

/// Makes the ID known as row `index` of its class. 1 when added, 0 if the class has it already, -1 without memory.
int32_t names_add(Model& model, int32_t type, const char* id, int32_t index);

/// Row of the object in the table of its class, whatever the case of the ID's letters; -1 if there is none.
[[nodiscard]] int32_t names_find(const Model& model, int32_t type, const char* id);

/// The ID as it was first seen, valid as long as the project; null if unknown.
[[nodiscard]] const char* names_findId(const Model& model, int32_t type, const char* id);

/// For tests: slots of the table of a class that the look-up of one of its names goes through, in the mean; 0 without
/// names.
[[nodiscard]] double names_getMeanWalk(const Model& model, int32_t type);

/// A copy of a text that lives as long as the project; null without memory.
[[nodiscard]] const char* names_copyText(Model& model, const char* text);
