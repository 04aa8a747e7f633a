// The exchange functions: what a host reads and writes between steps. They answer with a code of their own, 0 or -1, and
// never touch the current error. Names are looked up first, so that a call on a closed project, with a null or an unknown
// name changes nothing.

#include "engine/project.h"
#include "hydrology/gage.h"
#include "input/names.h"
#include "routing/node.h"
#include "routing/pump.h"
#include "routing/reactor.h"
#include "routing/tank.h"
#include "routing/weir.h"
#include "tarnvelde.h"

static constexpr int32_t SUCCESS = 0;
static constexpr int32_t FAILURE = -1;

/// The node of a name if it is of a kind, or null.
static const Node* findNode(const char* name, int32_t kind) {
    const int32_t index = project_findObject(NODE, name);
    if (index < 0 || static_cast<size_t>(index) >= Nodes.size()) {
        return nullptr;
    }
    const Node& node = Nodes[static_cast<size_t>(index)];
    return node.kind == kind ? &node : nullptr;
}

/// The link of a name if it is of a kind, or null.
static const Link* findLink(const char* name, int32_t kind) {
    const int32_t index = project_findObject(LINK, name);
    if (index < 0 || static_cast<size_t>(index) >= Links.size()) {
        return nullptr;
    }
    const Link& link = Links[static_cast<size_t>(index)];
    return link.kind == kind ? &link : nullptr;
}

// --- project -------------------------------------------------------------------------------------------------------

int32_t tarnvelde_findObject(int32_t objectClass, const char* name) {
    switch (objectClass) {
        case 0: return project_findObject(SUBCATCH, name);
        case 1: return project_findObject(NODE, name);
        case 2: return project_findObject(LINK, name);
        default: return FAILURE;
    }
}

int32_t tarnvelde_getMassBalErr(double* runoffError, double* flowError, double* qualityError) {
    const bool isClosed = IsOpen && !IsStarted;
    const struct {
        double* out;
        double error;
    } figures[] = {{runoffError, RunoffError}, {flowError, FlowError}, {qualityError, QualityError}};
    for (const auto& figure : figures) {
        if (figure.out) {
            *figure.out = isClosed ? figure.error : 0.0;
        }
    }
    return SUCCESS;
}

// --- nodes ---------------------------------------------------------------------------------------------------------

int32_t tarnvelde_setSplittedValue(const char* name, double value) {
    const Node* node = findNode(name, SPLITTER);
    if (!node || value < 0.0) {
        return FAILURE;
    }
    Splitter& splitter = Splitters[static_cast<size_t>(node->kindIndex)];
    splitter.hostValue = splitter.mode == SPLIT_RATIO && value > 1.0 ? 1.0 : value;
    splitter.useHostValue = 1;
    return SUCCESS;
}

int32_t tarnvelde_setTankDepth(const char* name, double depth) {
    const Node* node = findNode(name, TANK);
    if (!node) {
        return FAILURE;
    }
    Tanks[static_cast<size_t>(node->kindIndex)].newDepth = depth;
    return SUCCESS;
}

// --- links ---------------------------------------------------------------------------------------------------------

int32_t tarnvelde_setPumpFlow(const char* name, double flow) {
    const Link* link = findLink(name, PUMP);
    if (!link) {
        return FAILURE;
    }
    Pump& pump = Pumps[static_cast<size_t>(link->kindIndex)];
    pump.hostFlow = flow;
    pump.useHostFlow = 1;
    return SUCCESS;
}

int32_t tarnvelde_setWeirParams(const char* name, int32_t which, double value) {
    const Link* link = findLink(name, WEIR);
    if (!link || value < 0.0) {
        return FAILURE;
    }
    Weir& weir = Weirs[static_cast<size_t>(link->kindIndex)];
    switch (which) {
        case 0:
            if (value == 0.0) {
                return FAILURE;
            }
            weir.hostCoefficient = value;
            break;
        case 1: weir.hostHeight = value; break;
        default: break;  // stores nothing, and yet switches the weir over to the host's values
    }
    weir.useHostParams = 1;
    return SUCCESS;
}

// --- gages ---------------------------------------------------------------------------------------------------------

int32_t tarnvelde_isInEvent(const char* name) {
    const int32_t gage = project_findObject(GAGE, name);
    if (gage < 0 || static_cast<size_t>(gage) >= Gages.size()) {
        return FAILURE;
    }
    // A millisecond behind the clock: at the very end of an event it is over.
    return gage_isInEvent(gage, project_getDate(NewRoutingTime));
}

int32_t tarnvelde_setReactorEmptyingValue(const char* name, double value) {
    const Node* node = findNode(name, REACTOR);
    if (!node || value < 0.0) {
        return FAILURE;
    }
    Reactors[static_cast<size_t>(node->kindIndex)].emptyingRate = value;
    return SUCCESS;
}

// --- answered with a failure until their objects can be reached -----------------------------------------------------

int32_t tarnvelde_setExtInflow(const char*, double) {
    return FAILURE;
}

int32_t tarnvelde_setExtLoad(const char*, const char*, double) {
    return FAILURE;
}

int32_t tarnvelde_setSetting(const char*, double) {
    return FAILURE;
}

int32_t tarnvelde_getSetting(const char*, double*) {
    return FAILURE;
}

int32_t tarnvelde_setLinkFlow(const char*, double) {
    return FAILURE;
}

int32_t tarnvelde_getNodeType(const char*, int32_t*) {
    return FAILURE;
}

int32_t tarnvelde_getLinkType(const char*, int32_t*) {
    return FAILURE;
}

int32_t tarnvelde_getDateTime(double*, double*) {
    return FAILURE;
}

int32_t tarnvelde_getRoutingStep(double*) {
    return FAILURE;
}

int32_t tarnvelde_getParam(int32_t, const char*, int32_t, double*) {
    return FAILURE;
}

int32_t tarnvelde_setParam(int32_t, const char*, int32_t, double) {
    return FAILURE;
}

int32_t tarnvelde_getResult(int32_t, const char*, int32_t, double*) {
    return FAILURE;
}
