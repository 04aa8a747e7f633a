#pragma once
// The visits of a step: the nodes in their order, each with the links that enter and leave it. The order stands for the
// whole run, so all that a visit will need is listed ahead of time.

#include <cstdint>

#include "model/table.h"

struct Model;

/// A link as the order of visits knows it: kind and row are those of the link table, at hand without a look there.
struct VisitLink {
    int32_t link;
    int32_t kind;
    int32_t kindIndex;
    bool isCounted;  ///< the visit of its lower node makes its statistics
};

/// A run of such links, in the order of the link table.
struct VisitLinkList {
    const VisitLink* first;
    int32_t count;

    const VisitLink* begin() const { return first; }
    const VisitLink* end() const { return first + count; }
};

/// One visit of a step.
struct Visit {
    int32_t node;
    bool isCounted;  ///< the visit makes the statistics of the node
    int32_t firstIncoming, incomingCount;
    int32_t firstOutgoing, outgoingCount;
};

/// Lists the visits of a run in the order of the nodes.
void visits_open(Model& model);

/// Forgets them.
void visits_close(Model& model);

[[nodiscard]] VisitLinkList visits_getIncoming(const Model& model, const Visit& visit);
[[nodiscard]] VisitLinkList visits_getOutgoing(const Model& model, const Visit& visit);

/// Asks for the memory that visits soon behind this one will need; of the links, for what those soon behind this one
/// will.
void visits_fetchAhead(const Model& model, const Visit& visit);
void visits_fetchIncoming(const Model& model, const VisitLink& link);
void visits_fetchOutgoing(const Model& model, const VisitLink& link, double fireTime);
