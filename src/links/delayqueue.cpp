// Pure delay, used by connections and plug-flow reactors: what goes in leaves unchanged a fixed time later. Readings
// fall between the dates of the entries and are interpolated; a delay line that has run dry delivers nothing.

#include "links/delayqueue.h"

#include <cmath>

#include "model/arena.h"
#include "model/model.h"

static constexpr int32_t FIRST_CAPACITY = 8;

static DelayEntry& getEntry(const DelayQueue& queue, int64_t number) {
    return queue.entries[number & (queue.capacity - 1)];
}

int32_t delayqueue_getCapacity(int64_t count) {
    int32_t capacity = FIRST_CAPACITY;
    while (capacity < count && capacity <= INT32_MAX / 2) {
        capacity *= 2;
    }
    return capacity;
}

DelayEntry* delayqueue_allocate(Model& model, int64_t count) {
    return arena_allocateArray<DelayEntry>(model.memory.run, delayqueue_getCapacity(count));
}

static bool grow(Model& model, DelayQueue& queue) {
    if (queue.capacity > INT32_MAX / 2) {
        return false;
    }
    const int32_t capacity = queue.capacity ? queue.capacity * 2 : FIRST_CAPACITY;
    auto* entries = arena_allocateArray<DelayEntry>(model.memory.run, capacity);
    if (!entries) {
        return false;
    }
    for (int64_t k = queue.first; k < queue.end; ++k) {
        entries[k & (capacity - 1)] = getEntry(queue, k);
    }
    queue.entries = entries;
    queue.capacity = capacity;
    return true;
}

bool delayqueue_push(Model& model, DelayQueue& queue, DateTime date, double value) {
    if (queue.end - queue.first == queue.capacity && !grow(model, queue)) {
        return false;
    }
    getEntry(queue, queue.end++) = {date, value};
    return true;
}

/// The value on the line between two entries. Its terms stand in another order than a curve's (curve_interpolate):
/// where two values meet that are no numbers, the order decides whose sign the results show.
static double interpolate(const DelayEntry& a, const DelayEntry& b, DateTime date) {
    static constexpr double SAME_DATE = 1.0e-20;  // days
    if (std::fabs(b.date - a.date) < SAME_DATE) {
        return (a.value + b.value) * 0.5;
    }
    return a.value + (b.value - a.value) * (date - a.date) / (b.date - a.date);
}

double delayqueue_getValue(DelayQueue& queue, DateTime date) {
    if (queue.first == queue.end) {
        return 0.0;
    }
    DelayEntry before = getEntry(queue, queue.first);
    if (before.date > date) {
        return 0.0;
    }
    if (before.date == date) {
        return before.value;
    }
    // A host may have shifted the delay, so dates can be equal or out of order: then the removal below takes entries
    // that this walk still stands on. Their values stay readable in the ring until the next push.
    const int64_t end = queue.end;
    for (int64_t k = queue.first + 1; k < end; ++k) {
        const DelayEntry behind = getEntry(queue, k);
        if (behind.date >= date) {
            return interpolate(before, behind, date);
        }
        while (queue.first < end && getEntry(queue, queue.first).date <= before.date) {
            ++queue.first;
        }
        before = behind;
    }
    return 0.0;
}

DelaySum delayqueue_sumUp(const DelayQueue& queue, DateTime now, DateTime end) {
    DelaySum sum{};
    for (int64_t k = queue.first; k < queue.end; ++k) {
        const DelayEntry& entry = getEntry(queue, k);
        if (entry.date > now) {
            // Of the next entry a share has left before: readings fall between the dates.
            const bool isNext = k > queue.first && !(getEntry(queue, k - 1).date > now);
            const double share = isNext ? (entry.date - now) / (entry.date - getEntry(queue, k - 1).date) : 1.0;
            (entry.date > end ? sum.late : sum.inTime) += entry.value * share;
        }
    }
    return sum;
}
