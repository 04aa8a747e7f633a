// Names of objects. IDs are unique within their class, without regard to the case of ASCII letters. A table of names is
// an open hash table of row numbers over a list of entries; the texts live in the project's memory and are copied once,
// so every record may keep a plain pointer to the ID as it was first written.

#include "model/names.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <vector>

#include "model/arena.h"
#include "model/model.h"
#include "model/project.h"
#include "platform/memory.h"
#include "text/tokens.h"

/// Objects are mostly numbered, and named in the file one after the other: J17, J18, J19. So names that differ in the
/// lowest bits of their last letter alone get the slots of one line of memory, and most look-ups meet the line of the
/// one before.
static constexpr uint32_t NEIGHBOURS = NameLine::SLOTS - 1;

static uint64_t mix(uint64_t sum) {
    sum = (sum ^ (sum >> 30)) * 0xBF58476D1CE4E5B9u;
    sum = (sum ^ (sum >> 27)) * 0x94D049BB133111EBu;
    return sum ^ (sum >> 31);
}

static uint32_t hashName(const char* name) {
    uint64_t sum = 0, word = 0;  // the word takes eight letters; none is 0, so its top byte tells that it is full
    for (; *name; ++name) {
        if (word >> 56) {
            sum = mix(sum ^ word);
            word = 0;
        }
        word = word << 8 | static_cast<unsigned char>(tokens_toUpper(*name));
    }
    const uint32_t last = static_cast<uint32_t>(word) & NEIGHBOURS;
    return (static_cast<uint32_t>(mix(sum ^ word / NameLine::SLOTS)) & ~NEIGHBOURS) | last;
}

static bool isEqual(const char* a, const char* b) {
    for (; *a == *b; ++a, ++b) {  // most are written alike
        if (!*a) {
            return true;
        }
    }
    while (*a && tokens_toUpper(*a) == tokens_toUpper(*b)) {
        ++a;
        ++b;
    }
    return tokens_toUpper(*a) == tokens_toUpper(*b);
}

static size_t countSlots(const NameTable& table) {
    return table.lines.size() * NameLine::SLOTS;
}

static NameSlot& getSlot(std::vector<NameLine>& lines, size_t slot) {
    return lines[slot / NameLine::SLOTS].slots[slot % NameLine::SLOTS];
}

static const NameSlot& getSlot(const NameTable& table, size_t slot) {
    return table.lines[slot / NameLine::SLOTS].slots[slot % NameLine::SLOTS];
}

static size_t findSlot(const NameTable& table, const char* name, uint32_t hash) {
    const size_t mask = countSlots(table) - 1;
    size_t slot = hash & mask;
    for (;;) {
        const NameSlot& found = getSlot(table, slot);
        if (found.entry < 0 ||
            (found.hash == hash && isEqual(table.entries[static_cast<size_t>(found.entry)].key, name))) {
            return slot;
        }
        slot = (slot + 1) & mask;
    }
}

/// Room for more elements, on large pages if it takes several: look-ups jump about in it.
template <class Element>
static std::vector<Element> makeRoom(size_t count) {
    std::vector<Element> room;
    room.reserve(count);
    memory_useLargePages(room.data(), count * sizeof(Element));
    return room;
}

/// Names go from slot to slot in the order of the old ones, so both ends of the way move on through memory.
static void growTable(NameTable& table) {
    static constexpr size_t FIRST_LINES = 8;
    const size_t size = table.lines.empty() ? FIRST_LINES : table.lines.size() * 2;
    const size_t mask = size * NameLine::SLOTS - 1;
    NameLine free;
    std::fill(std::begin(free.slots), std::end(free.slots), NameSlot{-1, 0});
    std::vector<NameLine> lines = makeRoom<NameLine>(size);
    lines.assign(size, free);
    for (const NameLine& line : table.lines) {
        for (const NameSlot& old : line.slots) {
            size_t slot = old.hash & mask;
            while (old.entry >= 0 && getSlot(lines, slot).entry >= 0) {
                slot = (slot + 1) & mask;
            }
            if (old.entry >= 0) {
                getSlot(lines, slot) = old;
            }
        }
    }
    std::vector<NameEntry> entries = makeRoom<NameEntry>(size * NameLine::SLOTS / 2);
    entries.assign(table.entries.begin(), table.entries.end());
    table.lines.swap(lines);
    table.entries.swap(entries);
}

/// The entry of one of the walks through a table, if the ID is written as that; its place, or the number of entries.
static size_t guessEntry(const NameTable& table, const char* id) {
    for (size_t k = 0; k < table.walks.size(); ++k) {
        const size_t guess = table.walks[k];
        if (guess < table.entries.size() && std::strcmp(table.entries[guess].key, id) == 0) {
            table.latestWalk = k;
            return guess;
        }
    }
    table.latestWalk = (table.latestWalk + 1) % table.walks.size();  // the other one was in use
    return table.entries.size();
}

static const NameEntry* findEntry(const Model& model, int32_t type, const char* id) {
    const NameTable& table = model.names[static_cast<size_t>(type)];
    if (!id || table.lines.empty()) {
        return nullptr;
    }
    size_t place = guessEntry(table, id);
    if (place == table.entries.size()) {
        const int32_t entry = getSlot(table, findSlot(table, id, hashName(id))).entry;
        if (entry < 0) {
            return nullptr;
        }
        place = static_cast<size_t>(entry);
    }
    table.walks[table.latestWalk] = place + 1;
    return &table.entries[place];
}

int32_t names_add(Model& model, int32_t type, const char* id, int32_t index) {
    NameTable& table = model.names[static_cast<size_t>(type)];
    if (table.entries.size() * 2 >= countSlots(table)) {
        growTable(table);
    }
    const uint32_t hash = hashName(id);
    const size_t slot = findSlot(table, id, hash);
    if (getSlot(table, slot).entry >= 0) {
        return 0;
    }
    const char* key = names_copyText(model, id);
    if (!key) {
        return -1;
    }
    table.entries.push_back({key, hash, index});  // first: if it fails for memory, no slot names what isn't there
    getSlot(table.lines, slot) = {static_cast<int32_t>(table.entries.size()) - 1, hash};
    return 1;
}

void names_fetch(const Model& model, int32_t type, const char* id) {
    const NameTable& table = model.names[static_cast<size_t>(type)];
    if (!table.lines.empty()) {
        memory_fetch(&getSlot(table, hashName(id) & (countSlots(table) - 1)));
    }
}

int32_t names_find(const Model& model, int32_t type, const char* id) {
    const NameEntry* entry = findEntry(model, type, id);
    return entry && *id ? entry->index : -1;
}

int32_t names_findNear(const Model& model, int32_t type, const char* id, int32_t guess) {
    const std::vector<NameEntry>& entries = model.names[static_cast<size_t>(type)].entries;
    const auto place = static_cast<size_t>(guess);
    // A row points at the text of its entry, and no other entry is found by that text.
    const bool isThere = place < entries.size() && entries[place].key == id;
    return isThere && *id ? entries[place].index : names_find(model, type, id);
}

const char* names_findId(const Model& model, int32_t type, const char* id) {
    const NameEntry* entry = findEntry(model, type, id);
    return entry && *id ? entry->key : nullptr;
}

double names_getMeanWalk(const Model& model, int32_t type) {
    const NameTable& table = model.names[static_cast<size_t>(type)];
    const size_t lines = table.lines.size();
    double sum = 0.0;
    for (const NameEntry& entry : table.entries) {
        const size_t first = (entry.hash & (countSlots(table) - 1)) / NameLine::SLOTS;
        const size_t last = findSlot(table, entry.key, entry.hash) / NameLine::SLOTS;
        sum += static_cast<double>((last - first) % lines + 1);
    }
    return table.entries.empty() ? 0.0 : sum / static_cast<double>(table.entries.size());
}

const char* names_copyText(Model& model, const char* text) {
    const size_t size = std::strlen(text) + 1;
    char* copy = arena_allocateArray<char>(model.memory.project, static_cast<int64_t>(size));
    return copy ? static_cast<const char*>(std::memcpy(copy, text, size)) : nullptr;
}
