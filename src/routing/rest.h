#pragma once
// Whether objects of the network may rest in a step: what can't change isn't worked out.

#include <cstdint>

#include "model/model.h"
#include "routing/visits.h"
#include "text/datetime.h"

/// Decides for a step that ends at a date, and gives it the key of all rests that still hold.
void rest_beginStep(Model& model, DateTime date);

/// The key of what may rest in this step; -1 if nothing may.
[[nodiscard]] int32_t rest_getKey(const Model& model);

// --- visits at rest

/// Finds the visits of a run that may come to rest; and takes one of them out.
void rest_openVisits(Model& model);
void rest_forbidVisit(Model& model, int32_t node);

/// In a visit that found its node at rest: notes whether the next ones can be left out.
void rest_judgeVisit(Model& model, const Visit& visit, const VisitStep& step);

/// The first visit at rest from one on, or the end: those between are awake, and so is the one found if something has
/// come to it since.
[[nodiscard]] const Visit* rest_findVisit(const Model& model, const Visit* visit);

/// Lets the step pass over a run of visits at rest; the first one after it, which may be the one given.
[[nodiscard]] const Visit* rest_passVisits(Model& model, const Visit* visit, const VisitStep& step);

/// Whether a node's visits are left out.
[[nodiscard]] inline bool rest_isVisitResting(const Model& model, int32_t node) {
    const int32_t place = model.visitsByNode[node];
    return place >= 0 && model.restingPipes[place] >= 0;
}

/// Ends that: something comes to the node, a link that enters it rests no more, or the one that leaves it doesn't.
inline void rest_wakeVisit(Model& model, int32_t node) {
    if (rest_isVisitResting(model, node)) {
        model.restingPipes[model.visitsByNode[node]] = VISIT_AWAKE;
        --model.rest.visitCount;
    }
}
