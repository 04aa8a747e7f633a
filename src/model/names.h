#pragma once
// Names of objects: from an ID to the row of its object's table, and the texts that records point at.

#include <cstdint>

/// Empties the twelve tables of names and the pool of texts.
void names_clear();

/// Makes the ID known as row `index` of its class. 1 when added, 0 if the class has it already, -1 without memory.
int32_t names_add(int32_t type, const char* id, int32_t index);

/// Row of the object in the table of its class, whatever the case of the ID's letters; -1 if there is none.
[[nodiscard]] int32_t names_find(int32_t type, const char* id);

/// The ID as it was first seen, valid as long as the project; null if unknown.
[[nodiscard]] const char* names_findId(int32_t type, const char* id);

/// For tests: slots of the table of a class that the look-up of one of its names goes through, in the mean; 0 without
/// names.
[[nodiscard]] double names_getMeanWalk(int32_t type);

/// A copy of a text that lives as long as the project; null without memory.
[[nodiscard]] const char* names_copyText(const char* text);
