#pragma once
// Memory ahead of its use. In a large network the order of the visits jumps through tables of many megabytes, and
// waiting for memory would be most of the work. Whoever walks knows its way some entries ahead and asks here for what
// the records there will need: first the record, a little later what it points to. Pipes, the bulk of a
// network, stand floors above this one and are told by their fields alone.

#include <cstddef>
#include <cstdint>

#include "model/project.h"
#include "platform/memory.h"

/// A record of several lines of memory.
template <class Record>
void prefetch_record(const Record& record) {
    for (size_t offset = 0; offset < sizeof(Record); offset += 64) {
        memory_fetch(reinterpret_cast<const char*>(&record) + offset);
    }
}

/// A record so many rows after one of its table, which the walk will come by if it goes straight. There may be none,
/// so that it is no sum of a pointer.
template <class Record>
const Record* prefetch_getFar(const Record& record, uintptr_t rows) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<const Record*>(reinterpret_cast<uintptr_t>(&record) + rows * sizeof(Record));
}

/// What the record of a node, or of a link, points to.
inline void prefetch_arrays(const Node& node) {
    memory_fetch(node.massInflow);
    memory_fetch(node.newQual);
    memory_fetch(node.oldQual);
}
inline void prefetch_arrays(const Link& link) {
    memory_fetch(link.newQual);
    memory_fetch(link.oldQual);
}

/// Both states of the concentrations of a node.
inline void prefetch_states(const Node& node) {
    memory_fetch(node.newQual);
    memory_fetch(node.oldQual);
}

/// A record of one line of memory, or the first line of a longer one; null will do.
inline void prefetch_line(const void* record) {
    memory_fetch(record);
}

/// The reaches of a pipe, and with pollutants the lines in which they go on.
template <class Pipe>
void prefetch_reaches(const Pipe& pipe, int32_t pollutants) {
    memory_fetch(pipe.storage);
    if (pollutants > 0) {
        memory_fetch(pipe.storage + 8);
        memory_fetch(pipe.storage + 16);
    }
}
