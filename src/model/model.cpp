// What belongs to the model as a whole. How one is put together and taken apart, by the records of all rooms, stands in
// project/assembly.

#include "model/model.h"

#include "text/datetime.h"
#include "text/units.h"

const char* const NodeKindWords[NODE_KIND_COUNT] = {
#define TARNVELDE_NODE_SECTION(number, name, kind) #kind,
#define TARNVELDE_COUPLED_SECTION(number, name, kind) #kind,
#include "model/sections.def"
};
const char* const LinkKindWords[LINK_KIND_COUNT] = {
#define TARNVELDE_LINK_SECTION(number, name, kind) #kind,
#include "model/sections.def"
};

double model_getDate(const Model& model, double clock) {
    return datetime_addSeconds(model.options.startDateTime, (clock + 1.0) / MS_PER_SECOND);
}

void model_clearHostLists(Model& model) {
    model.requests.inflows.clear();
    model.requests.loads.clear();
    model.requests.heldInflows.clear();
    model.requests.heldLoads.clear();
    model.requests.swmmInflows.clear();
    model.requests.swmmSettings.clear();
    model.requests.swmmLoads.clear();
}

double model_getDuration(const Model& model) {
    const Options& options = model.options;
    return (options.endDate + options.endTime - options.startDate - options.startTime) * SECONDS_PER_DAY;
}
