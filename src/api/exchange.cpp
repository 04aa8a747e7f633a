// The exchange functions: what a host reads and writes between steps. They answer with a code of their own, 0 or -1,
// and never touch the current error. Names are looked up first, so that a call on a closed project, with a null or an
// unknown name changes nothing. Those that only hand numbers on leave the processor as the host has set it: to copy, or
// to make a double of a whole number, is exact in every setting and notes nothing.

#include "api/exchange.h"

#include <exception>

#include "api/defaultmodel.h"
#include "hydrology/gage.h"
#include "hydrology/subcatch.h"
#include "links/link.h"
#include "links/pipe.h"
#include "links/pump.h"
#include "links/weir.h"
#include "model/model.h"
#include "model/names.h"
#include "model/pollut.h"
#include "model/project.h"
#include "nodes/reactor.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"
#include "platform/arithmetic.h"
#include "tarnvelde.h"

int32_t exchange_findRow(const Model& model, int32_t type, const char* name, int32_t tableSize) {
    // A project that failed to open may know names whose tables were never made.
    const int32_t row = names_find(model, type, name);
    return row >= 0 && row < tableSize ? row : -1;
}

Node* exchange_findNode(Model& model, const char* name, int32_t kind) {
    const int32_t row = exchange_findRow(model, NODE, name, model.nodes.size());
    return row >= 0 && model.nodes[row].kind == kind ? &model.nodes[row] : nullptr;
}

Link* exchange_findLink(Model& model, const char* name, int32_t kind) {
    const int32_t row = exchange_findRow(model, LINK, name, model.links.size());
    return row >= 0 && model.links[row].kind == kind ? &model.links[row] : nullptr;
}

// --- project -------------------------------------------------------------------------------------------------------

int32_t tarnvelde_findObject(int32_t objectClass, const char* name) {
    Model& model = defaultmodel_get();
    switch (objectClass) {
        case 0: return exchange_findRow(model, SUBCATCH, name, model.subcatches.size());
        case 1: return exchange_findRow(model, NODE, name, model.nodes.size());
        case 2: return exchange_findRow(model, LINK, name, model.links.size());
        default: return FAILURE;
    }
}

int32_t tarnvelde_getDateTime(double* start, double* end) {
    Model& model = defaultmodel_get();
    if (!model.isOpen || !start || !end) {
        return FAILURE;
    }
    *start = model.options.startDateTime;
    *end = model.options.endDateTime;
    return SUCCESS;
}

int32_t tarnvelde_getRoutingStep(double* seconds) {
    Model& model = defaultmodel_get();
    if (!model.isOpen || !seconds) {
        return FAILURE;
    }
    *seconds = model.options.routingStep;
    return SUCCESS;
}

int32_t tarnvelde_getMassBalErr(double* runoffError, double* flowError, double* qualityError) {
    Model& model = defaultmodel_get();
    const bool isClosed = model.isOpen && !model.isStarted;
    const struct {
        double* out;
        double error;
    } figures[] = {{runoffError, model.totals.runoffError},
                   {flowError, model.totals.flowError},
                   {qualityError, model.totals.qualityError}};
    for (const auto& figure : figures) {
        if (figure.out) {
            *figure.out = isClosed ? figure.error : 0.0;
        }
    }
    return SUCCESS;
}

// --- inflows of one step -------------------------------------------------------------------------------------------

/// Appends to a list. Without memory the call fails and leaves the current error alone.
static int32_t append(std::vector<HostInflow>& list, const HostInflow& entry) {
    try {
        list.push_back(entry);
        return SUCCESS;
    } catch (const std::exception&) {
        return FAILURE;
    }
}

int32_t tarnvelde_setExtInflow(const char* name, double value) {
    const QuickArithmetic arithmetic;
    Model& model = defaultmodel_get();
    const int32_t node = exchange_findRow(model, NODE, name, model.nodes.size());
    if (node < 0 || value < 0.0) {
        return FAILURE;
    }
    return append(model.requests.inflows, {node, 0, value});
}

/// Adds to the entry of the node if there is one, whatever its pollutant, and to the list otherwise.
static int32_t addLoad(Model& model, int32_t node, int32_t pollutant, double value) {
    for (HostInflow& load : model.requests.loads) {
        if (load.node == node) {
            load.value += value;
            return SUCCESS;
        }
    }
    return append(model.requests.loads, {node, pollutant, value});
}

int32_t tarnvelde_setExtLoad(const char* name, const char* pollutantName, double value) {
    const QuickArithmetic arithmetic;
    Model& model = defaultmodel_get();
    if (!pollutantName || value < 0.0) {
        return FAILURE;
    }
    // The node's name is looked up among the pollutants too, and the pollutant's name nowhere: the call succeeds only
    // for a node that is named like a pollutant.
    const int32_t node = exchange_findRow(model, NODE, name, model.nodes.size());
    const int32_t pollutant = exchange_findRow(model, POLLUT, name, model.polluts.size());
    if (node < 0 || pollutant < 0) {
        return FAILURE;
    }
    return addLoad(model, node, pollutant, value);
}

// --- nodes ---------------------------------------------------------------------------------------------------------

int32_t tarnvelde_setSplittedValue(const char* name, double value) {
    const QuickArithmetic arithmetic;
    Model& model = defaultmodel_get();
    const Node* node = exchange_findNode(model, name, SPLITTER);
    if (!node || value < 0.0) {
        return FAILURE;
    }
    pace_noteNetworkChange(model.pace);
    Splitter& splitter = model.splitters[node->kindIndex];
    splitter.hostValue = splitter.mode == SPLIT_RATIO && value > 1.0 ? 1.0 : value;
    splitter.useHostValue = true;
    return SUCCESS;
}

int32_t tarnvelde_setTankDepth(const char* name, double depth) {
    Model& model = defaultmodel_get();
    const Node* node = exchange_findNode(model, name, TANK);
    if (!node) {
        return FAILURE;
    }
    pace_noteNetworkChange(model.pace);
    model.tanks[node->kindIndex].newDepth = depth;
    return SUCCESS;
}

int32_t tarnvelde_setReactorEmptyingValue(const char* name, double value) {
    const QuickArithmetic arithmetic;
    Model& model = defaultmodel_get();
    const Node* node = exchange_findNode(model, name, REACTOR);
    if (!node || value < 0.0) {
        return FAILURE;
    }
    pace_noteNetworkChange(model.pace);
    model.reactors[node->kindIndex].emptyingRate = value;
    return SUCCESS;
}

int32_t tarnvelde_getNodeType(const char* name, int32_t* type) {
    Model& model = defaultmodel_get();
    if (!type) {
        return FAILURE;
    }
    *type = -1;
    const int32_t node = exchange_findRow(model, NODE, name, model.nodes.size());
    if (node < 0) {
        return FAILURE;
    }
    *type = model.nodes[node].kind;
    return SUCCESS;
}

// --- links ---------------------------------------------------------------------------------------------------------

int32_t tarnvelde_setPumpFlow(const char* name, double flow) {
    Model& model = defaultmodel_get();
    const Link* link = exchange_findLink(model, name, PUMP);
    if (!link) {
        return FAILURE;
    }
    Pump& pump = model.pumps[link->kindIndex];
    pace_noteNetworkChange(model.pace);
    pump.hostFlow = flow;
    pump.useHostFlow = true;
    return SUCCESS;
}

int32_t tarnvelde_setWeirParams(const char* name, int32_t which, double value) {
    const QuickArithmetic arithmetic;
    Model& model = defaultmodel_get();
    const Link* link = exchange_findLink(model, name, WEIR);
    if (!link || value < 0.0) {
        return FAILURE;
    }
    pace_noteNetworkChange(model.pace);
    Weir& weir = model.weirs[link->kindIndex];
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
    weir.useHostCoefficient = weir.useHostHeight = true;
    return SUCCESS;
}

int32_t tarnvelde_setSetting(const char* name, double value) {
    const QuickArithmetic arithmetic;
    Model& model = defaultmodel_get();
    const int32_t index = exchange_findRow(model, LINK, name, model.links.size());
    if (index < 0 || value < 0.0 || value > 1.0) {
        return FAILURE;
    }
    Link& link = model.links[index];
    pace_noteNetworkChange(model.pace);
    link.isHostSetting = true;
    link.targetSetting = value;
    if (link.setting != value) {  // a zero keeps its sign
        link.setting = value;
        link_forgetFacts(link);
    }
    link_noteTarget(model, index);
    return SUCCESS;
}

int32_t tarnvelde_getSetting(const char* name, double* setting) {
    Model& model = defaultmodel_get();
    if (!setting) {
        return FAILURE;
    }
    *setting = -1.0;
    const int32_t index = exchange_findRow(model, LINK, name, model.links.size());
    if (index < 0) {
        return FAILURE;
    }
    *setting = model.links[index].setting;
    return SUCCESS;
}

int32_t tarnvelde_setLinkFlow(const char* name, double flow) {
    const QuickArithmetic arithmetic;
    Model& model = defaultmodel_get();
    const int32_t index = exchange_findRow(model, LINK, name, model.links.size());
    if (index < 0) {
        return FAILURE;
    }
    Link& link = model.links[index];
    pace_noteNetworkChange(model.pace);
    link.newFlow = flow;
    if (link.kind == PIPE) {
        pipe_noteChange(model, link.kindIndex);
    }
    return SUCCESS;
}

int32_t tarnvelde_getLinkType(const char* name, int32_t* type) {
    Model& model = defaultmodel_get();
    if (!type) {
        return FAILURE;
    }
    *type = -1;
    const int32_t index = exchange_findRow(model, LINK, name, model.links.size());
    if (index < 0) {
        return FAILURE;
    }
    *type = model.links[index].kind;
    return SUCCESS;
}

// --- gages ---------------------------------------------------------------------------------------------------------

int32_t tarnvelde_isInEvent(const char* name) {
    const QuickArithmetic arithmetic;
    Model& model = defaultmodel_get();
    const int32_t gage = exchange_findRow(model, GAGE, name, model.gages.size());
    if (gage < 0) {
        return FAILURE;
    }
    // A millisecond after the clock: at the very end of an event it is over.
    return gage_isInEvent(model, gage, model_getDate(model, model.clock.newRoutingTime));
}
