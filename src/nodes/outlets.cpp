// Outlets of a tank. A tank lets water go level by level, so orifices and weirs are sorted by the height of their
// crest. The order of the levels is not simply rising: the first outlet of the project file stays in front, and what
// lies below it is put directly after it. Which outlet drains first when water is short depends on this order, so it
// is kept, with all its odd cases. The levels of orifices stand for the whole run, those of weirs move with the
// settings; they are made anew only when a crest has moved.

#include "nodes/outlets.h"

#include <algorithm>
#include <cstring>

#include "links/orifice.h"
#include "links/weir.h"
#include "model/arena.h"
#include "model/model.h"
#include "model/project.h"
#include "model/topology.h"

static constexpr double SAME_LEVEL = 1.0e-10;  ///< m

static int32_t countKind(const Model& model, LinkList links, int32_t kind) {
    int32_t count = 0;
    for (const int32_t link : links) {
        count += model.links[link].kind == kind ? 1 : 0;
    }
    return count;
}

/// Link indices of a kind, in order; null without memory.
static int32_t* collectKind(Model& model, LinkList links, int32_t kind, int32_t count) {
    auto* places = arena_allocateArray<int32_t>(model.memory.run, count);
    int32_t k = 0;
    for (const int32_t link : links) {
        if (places && model.links[link].kind == kind) {
            places[k++] = link;
        }
    }
    return places;
}

static bool makeList(Model& model, LevelList& list, LinkList links, int32_t kind) {
    const int32_t n = countKind(model, links, kind);
    list = LevelList{};
    list.kind = kind;
    list.links = collectKind(model, links, kind, n);
    auto* numbers = arena_allocateArray<double>(model.memory.run, int64_t{5} * n);
    auto* places = arena_allocateArray<int32_t>(model.memory.run, int64_t{2} * n);
    if (!list.links || !numbers || !places) {
        return false;
    }
    list.count = n;
    list.keys = numbers;
    list.newKeys = numbers + n;
    list.levels = numbers + 2 * n;
    list.volumes = numbers + 3 * n;
    list.flows = numbers + 4 * n;
    list.byKey = places;
    list.members = places + n;
    return true;
}

static bool makePumps(Model& model, PumpList& pumps, LinkList links) {
    const int32_t n = countKind(model, links, PUMP);
    pumps = PumpList{};
    pumps.links = collectKind(model, links, PUMP, n);
    pumps.flows = arena_allocateArray<double>(model.memory.run, n);
    if (!pumps.links || !pumps.flows) {
        return false;
    }
    pumps.count = n;
    return true;
}

bool outlets_make(Model& model, Outlets& outlets, int32_t node) {
    const LinkList links = topology_getOutgoing(model, node);
    return makeList(model, outlets.orifices, links, ORIFICE) && makeList(model, outlets.weirs, links, WEIR) &&
           makePumps(model, outlets.pumps, links);
}

// --- levels --------------------------------------------------------------------------------------------------------

static double getKey(const Model& model, int32_t kind, const Link& link) {
    return kind == WEIR ? weir_getLevel(link, model.weirs[link.kindIndex]) : model.orifices[link.kindIndex].crest;
}

bool outlets_updateKeys(const Model& model, LevelList& list) {
    for (int32_t k = 0; k < list.count; ++k) {
        list.newKeys[k] = getKey(model, list.kind, model.links[list.links[k]]);
    }
    // By bytes, so that a crest that is no number doesn't count as moved at every step.
    const size_t size = static_cast<size_t>(list.count) * sizeof(double);
    if (list.isMade && (size == 0 || std::memcmp(list.keys, list.newKeys, size) == 0)) {
        return false;
    }
    std::swap(list.keys, list.newKeys);
    list.isMade = false;
    return true;
}

void outlets_insertLevel(double* levels, int32_t& count, double value) {
    int32_t place = 0;
    if (count > 0) {
        // Nothing ever goes in front of the first level. A value below it lands directly after it, even if it stands
        // further on already: it is then treated twice.
        int32_t at = 0;
        while (levels[at] != value && !(levels[at] > value) && at + 1 < count && !(levels[at + 1] > value)) {
            ++at;
        }
        if (levels[at] == value) {
            return;
        }
        place = at + 1;
    }
    std::copy_backward(levels + place, levels + count, levels + count + 1);
    levels[place] = value;
    ++count;
}

/// Rising keys, equal ones in the order of the links; what is no number comes last.
static bool standsBefore(const double* keys, int32_t a, int32_t b) {
    const bool isNumberA = keys[a] == keys[a];
    const bool isNumberB = keys[b] == keys[b];
    if (!isNumberA || !isNumberB) {
        return isNumberA != isNumberB ? isNumberA : a < b;
    }
    return keys[a] != keys[b] ? keys[a] < keys[b] : a < b;
}

void outlets_makeLevels(LevelList& list) {
    list.levelCount = 0;
    for (int32_t k = 0; k < list.count; ++k) {
        outlets_insertLevel(list.levels, list.levelCount, list.keys[k]);
        list.byKey[k] = k;
    }
    const double* keys = list.keys;
    std::sort(list.byKey, list.byKey + list.count, [keys](int32_t a, int32_t b) { return standsBefore(keys, a, b); });
    list.isMade = true;
}

int32_t outlets_findMembers(LevelList& list, double level) {
    const double* keys = list.keys;
    const int32_t* end = list.byKey + list.count;
    const int32_t* first = std::partition_point(list.byKey, list.byKey + list.count,
                                                [keys, level](int32_t k) { return keys[k] - level < -SAME_LEVEL; });
    int32_t count = 0;
    for (const int32_t* at = first; at != end && keys[*at] - level <= SAME_LEVEL; ++at) {
        list.members[count++] = *at;
    }
    // Different keys within the tolerance stand by key; the water is shared in the order of the links.
    if (!std::is_sorted(list.members, list.members + count)) {
        std::sort(list.members, list.members + count);
    }
    return count;
}

// --- flow ----------------------------------------------------------------------------------------------------------

double outlets_getFlow(const Model& model, const LevelList& list, int32_t place, double depth) {
    const Link& link = model.links[list.links[place]];
    return list.kind == WEIR ? weir_getFlow(link, model.weirs[link.kindIndex], depth)
                             : orifice_getFlow(link, model.orifices[link.kindIndex], depth);
}
