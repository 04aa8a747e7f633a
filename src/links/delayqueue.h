#pragma once
// A pure delay: values with the dates at which they leave, read by interpolation.

#include <cstdint>

#include "text/datetime.h"

struct Model;

struct DelayEntry {
    DateTime date;
    double value;  ///< a flow, m3/s, or a load, kg/s
};

/// A ring buffer of entries in the order of their arrival. Its memory lives as long as the run.
struct DelayQueue {
    DelayEntry* entries;  ///< null while nothing was ever queued
    int32_t capacity;     ///< a power of 2, or 0
    int64_t first;        ///< running number of the head
    int64_t end;          ///< running number after the tail
};

/// The capacity of a ring for so many entries, and memory for it, null without.
[[nodiscard]] int32_t delayqueue_getCapacity(int64_t count);
[[nodiscard]] DelayEntry* delayqueue_allocate(Model& model, int64_t count);

/// Appends an entry. False without memory: the value is lost then.
bool delayqueue_push(Model& model, DelayQueue& queue, DateTime date, double value);

/// Sum of the values that leave after a date, up to another one; and of those that leave after that.
struct DelaySum {
    double inTime;
    double late;
};
[[nodiscard]] DelaySum delayqueue_sumUp(const DelayQueue& queue, DateTime now, DateTime end);

/// The value at a date, and 0 before the first entry and after the last. Entries that the date has passed are dropped,
/// but for the one just before it.
[[nodiscard]] double delayqueue_getValue(DelayQueue& queue, DateTime date);
