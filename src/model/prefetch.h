#pragma once
// Memory ahead of its use. In a large network the order of the visits jumps through tables of many megabytes, and
// waiting for memory would be most of the work. Whoever walks knows its way some entries ahead and asks here for what
// the records there will need: first the record, a little later what it points to. Pipes, the bulk of a
// network, stand floors above this one and are told by their fields alone.

#include <cstddef>

#include "model/project.h"
#include "platform/memory.h"

/// A record of several lines of memory.
template <class Record>
void prefetch_record(const Record& record) {
    for (size_t offset = 0; offset < sizeof(Record); offset += 64) {
        memory_fetch(reinterpret_cast<const char*>(&record) + offset);
    }
}

/// What the record of a node, or of a link, points to.
inline void prefetch_arrays(const Node& node) {
    memory_fetch(node.massInflow);
    memory_fetch(node.newQual);
}
inline void prefetch_arrays(const Link& link) {
    memory_fetch(link.newQual);
    memory_fetch(link.oldQual);
}

/// What a pipe that is offered water will touch: its sums, and if it fires, its second line and its reaches.
template <class Pipe>
void prefetch_offer(const Pipe& pipe, const Link& link, double fireTime) {
    memory_fetch(pipe.sumMass);
    if (fireTime > pipe.nextFireTime) {
        memory_fetch(&pipe.storage);
        memory_fetch(pipe.sumMass + 8);  // the next line, where the reaches are
        memory_fetch(&link);
    }
}

/// Two pipes that the roll comes to soon: of the farther one the records, of the nearer one what they point to.
template <class Pipe>
void prefetch_roll(const Link& farther, const Pipe& fartherPipe, const Link& nearer) {
    memory_fetch(&farther);
    memory_fetch(&fartherPipe.newInflow);
    memory_fetch(nearer.newQual);
}
