#pragma once
// The visits of a step: the nodes in their order, each with the links that enter and leave it. The order stands for the
// whole run, so all that a visit will need is listed ahead of time.

#include <cstdint>

#include "links/pipe.h"
#include "model/model.h"
#include "model/prefetch.h"
#include "model/project.h"
#include "model/table.h"

/// A link as the order of visits knows it: kind and row are those of the link table, at hand without a look there.
struct VisitLink {
    int32_t link;
    int32_t kindIndex;
    int32_t delivery;  ///< place of what it brings in the deliveries; -1 if its lower node has to fetch that itself
    int8_t kind;       ///< LinkKind, or -1 after the last
};

/// A run of such links, in the order of the link table.
struct VisitLinkList {
    const VisitLink* first;
    int32_t count;

    const VisitLink* begin() const { return first; }
    const VisitLink* end() const { return first + count; }
};

/// When the node of a visit rolls: in the visit, when its dry-weather inflow comes, or ahead of all that comes to it.
enum VisitRoll : int8_t { ROLL_IN_VISIT, ROLL_WITH_DRY_WEATHER, ROLL_AHEAD };

/// One visit of a step.
struct Visit {
    int32_t node;
    int8_t kind;     ///< NodeKind
    bool isCounted;  ///< the visit makes the statistics of the node
    int8_t roll;     ///< VisitRoll
    bool isServed;   ///< all that its links bring stands in the deliveries
    int32_t firstIncoming, incomingCount;
    int32_t firstOutgoing, outgoingCount;
};

/// What stands in `restingPipes` for a visit that doesn't rest.
enum VisitRest : int32_t {
    VISIT_AWAKE = -1,    ///< it may come to rest
    VISIT_RESTLESS = -2  ///< never in this run
};

/// What all visits of a step have in common.
struct VisitStep {
    double fireTime;      ///< ms, from which a pipe fires
    double deliveryTime;  ///< ms, for which a pipe delivers
    double dt;            ///< s
    int32_t pollutants;   ///< how many
    int32_t restKey;      ///< of what may rest in this step; -1 if nothing may
    bool isStraight;      ///< the visits go through the tables from front to back
};

/// Lists the visits of a run in the order of the nodes.
void visits_open(Model& model);

/// Forgets them.
void visits_close(Model& model);

[[nodiscard]] inline VisitLinkList visits_getIncoming(const Model& model, const Visit& visit) {
    return {model.incomingVisits.data() + visit.firstIncoming, visit.incomingCount};
}
[[nodiscard]] inline VisitLinkList visits_getOutgoing(const Model& model, const Visit& visit) {
    return {model.outgoingVisits.data() + visit.firstOutgoing, visit.outgoingCount};
}

/// The place for what a link delivers that is served.
[[nodiscard]] double* visits_getDelivery(Model& model, const VisitLink& link);

/// An entry of `nodesRolledAhead`: a node of a kind without a state of its own as it is, any other as -1 - node. So who
/// rolls the former needn't look at the kind, which doesn't stand among what a step moves.
[[nodiscard]] inline bool visits_isRolledByKind(int32_t kind) {
    return kind != JUNCTION && kind != OUTFALL;
}
[[nodiscard]] inline int32_t visits_getRolled(int32_t node, int32_t kind) {
    return visits_isRolledByKind(kind) ? -1 - node : node;
}

/// Says that a node may get water from the side ahead of its visit: it rolls before the visits from now on. False if
/// that was known.
[[nodiscard]] bool visits_listAhead(Model& model, int32_t node);

/// Lets the nodes to which nothing comes but dry-weather inflow roll when that does.
void visits_listDryWeather(Model& model);

// --- memory ahead --------------------------------------------------------------------------------------------------

// How far ahead of its visit a record is asked for, and how far what it points to: in nodes, and in links. Of a pipe
// that fires the record is asked for near, and its reaches next.
constexpr ptrdiff_t VISIT_NODES_FAR = 12, VISIT_NODES_NEAR = 5;
constexpr ptrdiff_t VISIT_LINKS_FAR = 40, VISIT_LINKS_NEAR = 20, VISIT_LINKS_NEXT = 10;

/// The same in rows of the tables where the visits go straight: nobody needs to look there who will come by. With
/// pollutants a visit takes so long that the processor is ahead of it by itself.
constexpr uintptr_t VISIT_ROWS_FAR = 12;

/// Asks for the memory that visits soon after this one will need; `lastAhead` is the last
/// one with so many after it.
inline void visits_fetchAhead(const Model& model, const Visit& visit, const Visit* lastAhead, const VisitStep& step) {
    if (step.isStraight) {
        if (step.pollutants == 0) {
            prefetch_line(prefetch_getFar(model.nodes[visit.node], VISIT_ROWS_FAR));
        }
        return;
    }
    if (&visit > lastAhead) {
        return;
    }
    const Node& far = model.nodes[(&visit)[VISIT_NODES_FAR].node];
    prefetch_line(&far);
    if (step.pollutants > 0) {
        prefetch_line(&far.kind);
        prefetch_arrays(model.nodes[(&visit)[VISIT_NODES_NEAR].node]);
    }
}

/// Asks for what links soon after this one need to be fetched, and to be handed an offer.
void visits_fetchIncoming(const Model& model, const VisitLink& link);

/// A pipe that will fire when it is offered something; of any that won't the first, which is always at hand:
/// a wrong guess would cost more. There must be pipes.
inline const Pipe& visits_getFiring(const Model& model, const VisitLink& place, const VisitStep& step) {
    const FireClock& clock = model.links[place.link].clock;  // empty but of a pipe
    const bool isFiring = (step.fireTime > clock.nextFireTime) & (clock.sumCount != 0);
    return model.pipes[place.kindIndex & (isFiring ? -1 : 0)];
}

/// What a pipe that rests won't need.
inline void visits_fetchOffer(const Model& model, const VisitLink& place, const VisitStep& step) {
    const Link& link = model.links[place.link];
    if (link.clock.restKey == step.restKey) {
        return;
    }
    if (place.delivery >= 0) {
        prefetch_line(model.deliveries.data() + int64_t{place.delivery} * (1 + step.pollutants));
    }
    if (step.pollutants > 0) {
        prefetch_line(link.sumMass);
        prefetch_arrays(link);
    }
}

/// The same where the visits go straight. Lines one after the other come faster than some of them, so that without
/// pollutants all pipes are asked for, whether they fire or not.
inline void visits_fetchStraight(const Model& model, const VisitLink& link, const VisitStep& step) {
    if (step.pollutants == 0) {
        prefetch_line(prefetch_getFar(model.links[link.link], VISIT_ROWS_FAR));
        prefetch_line(prefetch_getFar(model.pipes[link.kindIndex], VISIT_ROWS_FAR));
    } else {
        prefetch_line(&visits_getFiring(model, (&link)[VISIT_LINKS_NEXT], step));
    }
}

inline void visits_fetchOutgoing(const Model& model, const VisitLink& link, const VisitStep& step) {
    if (step.isStraight) {
        if (link.kind == PIPE) {
            visits_fetchStraight(model, link, step);
        }
        return;
    }
    if (link.kind == PIPE) {
        prefetch_line(&visits_getFiring(model, (&link)[VISIT_LINKS_NEAR], step));
        prefetch_reaches(visits_getFiring(model, (&link)[VISIT_LINKS_NEXT], step), step.pollutants);
    }
    const VisitLink& far = (&link)[VISIT_LINKS_FAR];
    if (far.kind == PIPE) {
        prefetch_line(&model.links[far.link]);
        if (step.pollutants > 0) {
            prefetch_line(&model.links[far.link].newQual);  // pointers, which are asked for before its turn
        }
    }
    const VisitLink& near = (&link)[VISIT_LINKS_NEAR];
    if (near.kind == PIPE) {
        visits_fetchOffer(model, near, step);
    }
}
