// Names of objects. IDs are unique within their class, without regard to the case of ASCII letters. A table of names is
// an open hash table of row numbers over a list of entries; the texts live in the project's memory and are copied once,
// so every record may keep a plain pointer to the ID as it was first written.

#include "model/names.h"

#include <cstring>
#include <vector>

#include "model/arena.h"
#include "model/model.h"
#include "model/project.h"
#include "text/tokens.h"

static uint32_t hashName(const char* name) {
    uint32_t hash = 2166136261u;  // FNV-1a
    for (; *name; ++name) {
        hash = (hash ^ static_cast<unsigned char>(tokens_toUpper(*name))) * 16777619u;
    }
    return hash ^ (hash >> 15);
}

static bool isEqual(const char* a, const char* b) {
    while (*a && tokens_toUpper(*a) == tokens_toUpper(*b)) {
        ++a;
        ++b;
    }
    return tokens_toUpper(*a) == tokens_toUpper(*b);
}

static size_t findSlot(const NameTable& table, const char* name, uint32_t hash) {
    const size_t mask = table.slots.size() - 1;
    size_t slot = hash & mask;
    while (table.slots[slot].entry >= 0) {
        if (table.slots[slot].hash == hash &&
            isEqual(table.entries[static_cast<size_t>(table.slots[slot].entry)].key, name)) {
            break;
        }
        slot = (slot + 1) & mask;
    }
    return slot;
}

static void growTable(NameTable& table) {
    const size_t size = table.slots.empty() ? 64 : table.slots.size() * 2;
    table.slots.assign(size, {-1, 0});
    for (size_t k = 0; k < table.entries.size(); ++k) {
        const NameEntry& entry = table.entries[k];
        table.slots[findSlot(table, entry.key, entry.hash)] = {static_cast<int32_t>(k), entry.hash};
    }
}

static const NameEntry* findEntry(const Model& model, int32_t type, const char* id) {
    const NameTable& table = model.names[static_cast<size_t>(type)];
    if (!id || table.slots.empty()) {
        return nullptr;
    }
    const int32_t entry = table.slots[findSlot(table, id, hashName(id))].entry;
    return entry < 0 ? nullptr : &table.entries[static_cast<size_t>(entry)];
}

int32_t names_add(Model& model, int32_t type, const char* id, int32_t index) {
    NameTable& table = model.names[static_cast<size_t>(type)];
    if (table.entries.size() * 2 >= table.slots.size()) {
        growTable(table);
    }
    const uint32_t hash = hashName(id);
    const size_t slot = findSlot(table, id, hash);
    if (table.slots[slot].entry >= 0) {
        return 0;
    }
    const char* key = names_copyText(model, id);
    if (!key) {
        return -1;
    }
    table.entries.push_back({key, hash, index});  // first: if it fails for memory, no slot names what isn't there
    table.slots[slot] = {static_cast<int32_t>(table.entries.size()) - 1, hash};
    return 1;
}

int32_t names_find(const Model& model, int32_t type, const char* id) {
    const NameEntry* entry = findEntry(model, type, id);
    return entry && *id ? entry->index : -1;
}

const char* names_findId(const Model& model, int32_t type, const char* id) {
    const NameEntry* entry = findEntry(model, type, id);
    return entry && *id ? entry->key : nullptr;
}

double names_getMeanWalk(const Model& model, int32_t type) {
    const NameTable& table = model.names[static_cast<size_t>(type)];
    const size_t mask = table.slots.size() - 1;
    double sum = 0.0;
    for (const NameEntry& entry : table.entries) {
        const size_t walk = (findSlot(table, entry.key, entry.hash) - (entry.hash & mask)) & mask;
        sum += static_cast<double>(walk + 1);
    }
    return table.entries.empty() ? 0.0 : sum / static_cast<double>(table.entries.size());
}

const char* names_copyText(Model& model, const char* text) {
    const size_t size = std::strlen(text) + 1;
    char* copy = arena_allocateArray<char>(model.memory.project, static_cast<int64_t>(size));
    return copy ? static_cast<const char*>(std::memcpy(copy, text, size)) : nullptr;
}
