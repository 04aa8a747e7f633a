// What can't change isn't worked out. An object that has found out that its next step would leave it as it is - a pipe
// without a drop in it, a tank that nothing enters or leaves - keeps the key of the step in which it did. It rests
// while the key of the model is the same and nothing comes to it. The key moves on with all else that its step depends
// on and that the object doesn't test itself: with each change from outside (Pace), and with the hour of the day if
// anything that rests decays, since the factors of decays go by the hour. The routing step calls this room.

#include "routing/rest.h"

#include "links/conduit.h"
#include "links/pipe.h"
#include "model/model.h"
#include "model/project.h"
#include "nodes/reactor.h"
#include "nodes/tank.h"

/// Before a key comes again, all are woken that may have kept it: it has 16 bits, for which a pipe has room.
static void wakeAll(Model& model) {
    for (Pipe& pipe : model.pipes) {
        pipe.restKey = 0;
    }
    for (Conduit& conduit : model.conduits) {
        conduit.restKey = 0;
    }
    for (Tank& tank : model.tanks) {
        tank.restKey = 0;
    }
    for (Reactor& reactor : model.reactors) {
        reactor.restKey = 0;
    }
}

/// A key that nothing rests by.
static void moveKey(Model& model) {
    Rest& rest = model.rest;
    rest.isHourly = false;
    if (++rest.key == 0) {
        rest.key = 1;
        wakeAll(model);
    }
}

void rest_beginStep(Model& model, DateTime date) {
    Rest& rest = model.rest;
    const int32_t hour = datetime_getHour(date);
    const bool isHourOver = rest.isHourly && hour != rest.hour;
    if (model.pace.networkChanges != rest.seenChanges || isHourOver || rest.key == 0) {
        moveKey(model);
    }
    rest.seenChanges = model.pace.networkChanges;
    rest.hour = hour;
    rest.isAllowed = !model.pace.isPlain;
}

int32_t rest_getKey(const Model& model) {
    return model.rest.isAllowed ? model.rest.key : -1;
}
