// States of a run. A state is a head, which tells what it is, and the fields of the run one after the other, in the
// order of the walk (project/statefields.h). Saving is one walk over the model. Restoring is three: the first one
// reads and tests everything and writes nothing, the second takes memory ahead, the third can't fail any more. So a
// state that is refused changes nothing, and no bytes, whoever made them, lead out of their memory or of the model's.

#include "project/state.h"

#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

#include "controls/rule.h"
#include "coupling/coupled.h"
#include "model/model.h"
#include "project/stateactions.h"
#include "project/statefields.h"
#include "project/statehash.h"
#include "results/massbal.h"
#include "results/results.h"
#include "routing/loadbook.h"
#include "routing/placebalances.h"
#include "routing/routing.h"

static constexpr char MAGIC[8] = {'T', 'V', 'S', 'T', 'A', 'T', 'E', '\x1A'};
static constexpr uint32_t ORDER_MARK = 0x01020304;
static constexpr uint32_t FORMAT_VERSION = 4;
static constexpr uint32_t ENGINE_VERSION = 21000;
static constexpr unsigned char TYPE_SIZES[4] = {sizeof(double), sizeof(float), sizeof(int32_t), sizeof(size_t)};

/// The head of a state as it stands in the bytes; it has no padding.
struct StateHead {
    char magic[8];
    uint32_t orderMark;
    uint32_t formatVersion;
    uint32_t engineVersion;
    unsigned char typeSizes[4];
    uint64_t structure, content;  ///< fingerprints of the project
    uint64_t length;              ///< bytes after the head
    uint64_t sum;                 ///< of them
    uint64_t headSum;             ///< of all above
};
static_assert(sizeof(StateHead) == 64);
static_assert(sizeof(double) == 8 && sizeof(float) == 4);

static bool isReady(const Model& model) {
    return model.isStarted && routing_isReady(model) && model.results->isReady && !model.error.code;
}

// --- saving --------------------------------------------------------------------------------------------------------

const char* state_findRefusal(const Model& model) {
    for (const Node& node : model.nodes) {
        const OutsideNode* outside = coupled_findOutside(model, node);
        if (outside && outside_getStateSize(*outside) == 0) {
            return node.id;
        }
    }
    return nullptr;
}

static StateOrigin getOrigin(const Model& model) {
    return {model.clock.newRoutingTime, model_getDate(model, model.clock.newRoutingTime), model.options.routingStep,
            model.sinks != 0};
}

size_t state_getSize(Model& model) {
    if (!isReady(model) || state_findRefusal(model)) {
        return 0;
    }
    rule_forgetChoice(model);
    StateOrigin origin = getOrigin(model);
    FieldWalk<StateMeasure> measure{{sizeof(StateHead)}};
    state_walk(measure, model, origin, model.requests);
    return measure.action.bytes;
}

static StateHead makeHead(const Model& model, uint64_t length, uint64_t sum) {
    StateHead head{};
    std::memcpy(head.magic, MAGIC, sizeof MAGIC);
    head.orderMark = ORDER_MARK;
    head.formatVersion = FORMAT_VERSION;
    head.engineVersion = ENGINE_VERSION;
    std::memcpy(head.typeSizes, TYPE_SIZES, sizeof TYPE_SIZES);
    head.structure = model.fingerprint.structure;
    head.content = model.fingerprint.content;
    head.length = length;
    head.sum = sum;
    head.headSum = statehash_getSum(&head, offsetof(StateHead, headSum));
    return head;
}

static void write(Model& model, void* bytes) {
    char* start = static_cast<char*>(bytes) + sizeof(StateHead);
    StateHash hash;
    StateOrigin origin = getOrigin(model);
    FieldWalk<StateWriter> writer{{start, start, start, &hash, true}};
    state_walk(writer, model, origin, model.requests);
    const StateWriter& end = writer.action;
    statehash_add(hash, end.hashed, static_cast<size_t>(end.at - end.hashed));
    const StateHead head = makeHead(model, static_cast<uint64_t>(end.at - start), statehash_get(hash));
    std::memcpy(bytes, &head, sizeof head);
}

size_t state_saveInto(Model& model, void* bytes, size_t room) {
    const size_t size = state_getSize(model);
    if (size > 0 && size <= room) {
        write(model, bytes);
    }
    return size;
}

void state_save(Model& model, void* bytes) {
    state_saveInto(model, bytes, SIZE_MAX);
}

// --- the head ------------------------------------------------------------------------------------------------------

static StateFault readHead(const void* bytes, size_t size, StateHead& head) {
    if (!bytes || size < sizeof head || std::memcmp(bytes, MAGIC, sizeof MAGIC) != 0) {
        return STATE_NO_STATE;
    }
    std::memcpy(&head, bytes, sizeof head);
    if (head.orderMark != ORDER_MARK || head.formatVersion != FORMAT_VERSION || head.engineVersion != ENGINE_VERSION ||
        std::memcmp(head.typeSizes, TYPE_SIZES, sizeof TYPE_SIZES) != 0) {
        return STATE_VERSION;
    }
    if (head.headSum != statehash_getSum(&head, offsetof(StateHead, headSum))) {
        return STATE_DAMAGED;
    }
    if (head.length > size - sizeof head) {
        return STATE_NO_STATE;
    }
    return head.length < size - sizeof head ? STATE_DAMAGED : STATE_OK;
}

/// Head, fingerprints and sum; a new run may have other content.
static StateFault testState(const Model& model, const void* bytes, size_t size, bool isHot) {
    StateHead head;
    if (const StateFault fault = readHead(bytes, size, head)) {
        return fault;
    }
    if (head.structure != model.fingerprint.structure || (!isHot && head.content != model.fingerprint.content)) {
        return STATE_OTHER_PROJECT;
    }
    const char* payload = static_cast<const char*>(bytes) + sizeof head;
    return head.sum == statehash_getSum(payload, static_cast<size_t>(head.length)) ? STATE_OK : STATE_DAMAGED;
}

/// The origin is what stands first after the head.
static bool readOrigin(const void* bytes, size_t size, StateOrigin& origin) {
    const char* start = static_cast<const char*>(bytes) + sizeof(StateHead);
    const char* end = static_cast<const char*>(bytes) + size;
    ReadContext context{};
    FieldWalk<StateReader<READ_CHECK, false>> check{{start, end, &context, READ_GOOD}};
    stateorigin_walk(check, origin);
    if (check.action.fault != READ_GOOD) {
        return false;
    }
    FieldWalk<StateReader<READ_WRITE, false>> read{{start, end, &context, READ_GOOD}};
    stateorigin_walk(read, origin);
    return true;
}

double state_getTime(const void* bytes, size_t size) {
    StateHead head;
    StateOrigin origin{};
    return readHead(bytes, size, head) == STATE_OK && readOrigin(bytes, size, origin) ? origin.time : -1.0;
}

// --- restoring -----------------------------------------------------------------------------------------------------

static StateFault getFault(ReadFault fault) {
    switch (fault) {
        case READ_GOOD: return STATE_OK;
        case READ_OTHER: return STATE_OTHER_PROJECT;
        case READ_NO_MEMORY: return STATE_NO_MEMORY;
        default: return STATE_DAMAGED;
    }
}

template <ReadPass PASS, bool IS_HOT>
static StateFault readFields(Model& model, const void* bytes, size_t size, ReadContext& context,
                             HostRequests& requests) {
    const char* start = static_cast<const char*>(bytes);
    StateOrigin origin{};
    FieldWalk<StateReader<PASS, IS_HOT>> reader{{start + sizeof(StateHead), start + size, &context, READ_GOOD}};
    state_walk(reader, model, origin, requests);
    const StateReader<PASS, IS_HOT>& end = reader.action;
    return end.fault == READ_GOOD && end.at != end.end ? STATE_DAMAGED : getFault(end.fault);
}

/// Gives the engines their states. If one refuses, those before it get their own back.
static StateFault restoreEngines(const std::vector<EngineBytes>& engines) {
    std::vector<std::vector<char>> before;
    for (const EngineBytes& engine : engines) {
        before.emplace_back(static_cast<size_t>(outside_getStateSize(*engine.outside)));
    }
    for (size_t k = 0; k < engines.size(); ++k) {
        OutsideNode& outside = *engines[k].outside;
        outside_saveState(outside, before[k].data(), static_cast<int32_t>(before[k].size()));
        if (!outside_restoreState(outside, engines[k].bytes, engines[k].size)) {
            for (; k > 0; --k) {
                (void)outside_restoreState(*engines[k - 1].outside, before[k - 1].data(),
                                           static_cast<int32_t>(before[k - 1].size()));
            }
            return STATE_ENGINE;
        }
    }
    return STATE_OK;
}

/// What no field can tell alone: the clocks of the run are those of a moment that it can come to.
static bool areClocksGood(const Model& model, const Clock& clock, const StateOrigin& origin) {
    const double end = model.options.totalDuration;
    return clock.newRoutingTime == origin.time && clock.newRoutingTime <= end && clock.newRunoffTime <= end &&
           clock.oldRunoffTime <= clock.newRunoffTime && clock.oldRoutingTime <= clock.newRoutingTime;
}

/// The clocks as a state holds them, after its origin.
static Clock readClock(const void* bytes, size_t size) {
    const char* start = static_cast<const char*>(bytes);
    ReadContext context{};
    FieldWalk<StateReader<READ_WRITE, false>> reader{{start + sizeof(StateHead), start + size, &context, READ_GOOD}};
    StateOrigin origin{};
    Clock clock{};
    stateorigin_walk(reader, origin);
    clock_walk(reader, clock);
    return clock;
}

template <bool IS_HOT>
static StateFault restore(Model& model, const void* bytes, size_t size, StateOrigin& origin) {
    ReadContext context{};
    context.model = &model;
    HostRequests requests;
    if (const StateFault fault = readFields<READ_CHECK, IS_HOT>(model, bytes, size, context, requests)) {
        return fault;
    }
    (void)readOrigin(bytes, size, origin);
    const Clock clock = readClock(bytes, size);
    if (IS_HOT ? clock.newRunoffTime < origin.time || clock.oldRunoffTime > clock.newRunoffTime
               : !areClocksGood(model, clock, origin)) {
        return STATE_DAMAGED;
    }
    context.timeShift = -origin.time;
    context.dateShift = model_getDate(model, 0.0) - origin.date;
    if (const StateFault fault = readFields<READ_RESERVE, IS_HOT>(model, bytes, size, context, requests)) {
        return fault;
    }
    results_reserveTakeBack(model);
    if (const StateFault fault = restoreEngines(context.engines)) {
        return fault;
    }
    rule_forgetChoice(model);
    HostRequests passedOver;
    (void)readFields<READ_WRITE, IS_HOT>(model, bytes, size, context, passedOver);
    pace_noteChange(model.pace);
    model.areVisitsDue = true;  // a pipe may decay now
    if (!IS_HOT) {
        std::swap(model.requests, requests);
    }
    return STATE_OK;
}

StateFault state_restore(Model& model, const void* bytes, size_t size) {
    if (!isReady(model)) {
        return STATE_NO_RUN;
    }
    if (const StateFault fault = testState(model, bytes, size, false)) {
        return fault;
    }
    if (state_findRefusal(model)) {
        return STATE_ENGINE;
    }
    try {
        StateOrigin origin{};
        const StateFault fault = restore<false>(model, bytes, size, origin);
        if (!fault) {
            results_takeBack(model, origin.hasReports);
            loadbook_open(model);
        }
        return fault;
    } catch (const std::bad_alloc&) {
        return STATE_NO_MEMORY;
    } catch (const std::length_error&) {
        return STATE_NO_MEMORY;
    }
}

// --- hot start -----------------------------------------------------------------------------------------------------

StateFault state_hotStart(Model& model, const void* bytes, size_t size) {
    if (!isReady(model)) {
        return STATE_NO_RUN;
    }
    if (model.clock.newRoutingTime != 0.0 || model.clock.newRunoffTime != 0.0) {
        return STATE_NOT_AT_START;
    }
    if (const StateFault fault = testState(model, bytes, size, true)) {
        return fault;
    }
    try {
        StateOrigin origin{};
        const StateFault fault = restore<true>(model, bytes, size, origin);
        if (!fault) {
            if (origin.routingStep != model.options.routingStep) {
                pipe_changeStep(model, origin.routingStep);
            }
            massbal_takeStorage(model, origin.routingStep);
            if (model.totals.startVolumes) {
                placebalances_takeStart(model);
            }
        }
        return fault;
    } catch (const std::bad_alloc&) {
        return STATE_NO_MEMORY;
    } catch (const std::length_error&) {
        return STATE_NO_MEMORY;
    }
}

// --- comparing -----------------------------------------------------------------------------------------------------

static StateFault testFields(Model& model, const void* bytes, size_t size) {
    if (const StateFault fault = testState(model, bytes, size, false)) {
        return fault;
    }
    ReadContext context{};
    context.model = &model;
    HostRequests requests;
    return readFields<READ_CHECK, false>(model, bytes, size, context, requests);
}

StateDifference state_compare(Model& model, const void* a, size_t sizeA, const void* b, size_t sizeB) {
    StateDifference difference{};
    difference.fault = isReady(model) ? testFields(model, a, sizeA) : STATE_NO_RUN;
    difference.fault = difference.fault ? difference.fault : testFields(model, b, sizeB);
    if (difference.fault) {
        difference.isDifferent = true;
        return difference;
    }
    StateOrigin origin{};
    HostRequests requests;
    FieldWalk<StateComparer> comparer{{static_cast<const char*>(a) + sizeof(StateHead),
                                       static_cast<const char*>(b) + sizeof(StateHead), nullptr, -1, nullptr}};
    state_walk(comparer, model, origin, requests);
    const StateComparer& found = comparer.action;
    return {found.field != nullptr, STATE_OK, found.table, found.table ? found.row : -1, found.field};
}
