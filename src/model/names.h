#pragma once
// Names of objects: from an ID to the row of its object's table, and the texts that records point at.

#include <array>
#include <cstddef>
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

/// The slots of one line of memory. A name is looked for from its slot on, over the end of the line as well.
struct alignas(64) NameLine {
    static constexpr size_t SLOTS = 8;
    NameSlot slots[SLOTS];
};

struct NameTable {
    std::vector<NameEntry> entries;
    std::vector<NameLine> lines;  ///< the count of their slots is a power of 2, at least twice the entries'

    /// Entries that look-ups seem to go through one by one: those after the last found of two walks, as the upper ends
    /// of links are one and the lower ends another. A guess alone, which no outcome depends on.
    mutable std::array<size_t, 2> walks{};
    mutable size_t latestWalk{};
};

using NameTables = std::array<NameTable, OBJECT_TYPE_COUNT>;  ///< by class

/// Makes the ID known as row `index` of its class. 1 when added, 0 if the class has it already, -1 without memory.
int32_t names_add(Model& model, int32_t type, const char* id, int32_t index);

/// Asks for the memory in which an ID would stand that will soon be made known; the outcome of nothing depends on it.
void names_fetch(const Model& model, int32_t type, const char* id);

/// Row of the object in the table of its class, whatever the case of the ID's letters; -1 if there is none.
[[nodiscard]] int32_t names_find(const Model& model, int32_t type, const char* id);

/// The same of an ID that mostly is the one of the entry `guess`, as that of a row is: found without a look-up then.
[[nodiscard]] int32_t names_findNear(const Model& model, int32_t type, const char* id, int32_t guess);

/// The ID as it was first seen, valid as long as the project; null if unknown.
[[nodiscard]] const char* names_findId(const Model& model, int32_t type, const char* id);

/// For tests: lines of memory of the table of a class that the look-up of one of its names goes through, in the mean;
/// 0 without names.
[[nodiscard]] double names_getMeanWalk(const Model& model, int32_t type);

/// A copy of a text that lives as long as the project; null without memory.
[[nodiscard]] const char* names_copyText(Model& model, const char* text);
