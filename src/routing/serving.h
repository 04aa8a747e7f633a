#pragma once
// The bulk of all steps: pipes whose lower node comes later in the step. What such a pipe brings there is worked out
// while it is in hand, at the visit of its upper node, and so is its part in the statistics.

#include <cstdint>

#include "links/link.h"
#include "links/pipe.h"
#include "model/model.h"
#include "model/statistics.h"
#include "model/still.h"
#include "routing/rest.h"
#include "routing/visits.h"

/// Whether a pipe is offered nothing: if it rests, that leaves it as it is but for its clock.
inline bool serving_isNothing(const Offer& offer, int32_t pollutants) {
    return still_isZero(offer.flow) && still_areZeros(offer.quality, pollutants);
}

/// Hands a pipe that is served what its upper node offers, and lays down what it delivers. `pollutants` are those of
/// the step, by which the compiler can make a case of its own of 0.
///
/// A pipe at rest delivers +0.0 or -0.0, as in the step in which it came to rest, and stays so. Its volume grows by the
/// same and its largest flow meets it: both changed nothing then, and change nothing now. Once it is woken its lower
/// node has to look at what it lays down.
[[gnu::always_inline]] inline void serving_serve(Model& model, const VisitLink& place, const Offer& offer,
                                                 const VisitStep& step, int32_t pollutants) {
    Pipe& pipe = model.pipes[place.kindIndex];
    Link& link = model.links[place.link];
    if (link.clock.restKey == step.restKey) {
        if (serving_isNothing(offer, pollutants)) {
            pipe_tick(model, link, step.fireTime);
            return;
        }
        rest_wakeVisit(model, link.toNode);
    }
    link.clock.restKey = 0;
    pipe_roll(model, link);
    pipe_update(model, link, pipe, offer, step.fireTime, step.dt, pollutants);
    statistics_countLink(link, step.dt);
    double* delivery = model.deliveries.data() + int64_t{place.delivery} * (1 + pollutants);
    pipe_layDown(link, pipe, step.deliveryTime, delivery, pollutants);
}
