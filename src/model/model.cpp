// The variables of the one project that a process can hold. Whoever changes one is told in the rooms; here they only
// stand. One project per process is the rule because of them, and hosts that want many runs start many processes.

#include "model/model.h"

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

double project_getDate(const Model& model, double clock) {
    return datetime_addSeconds(model.options.startDateTime, (clock + 1.0) / MS_PER_SECOND);
}

void project_clearHostLists(Model& model) {
    model.requests.inflows.clear();
    model.requests.loads.clear();
    model.requests.heldInflows.clear();
    model.requests.heldLoads.clear();
    model.requests.swmmInflows.clear();
    model.requests.swmmSettings.clear();
    model.requests.swmmLoads.clear();
}
