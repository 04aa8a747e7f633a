// Exchange with the models inside SWMM nodes. Fifteen functions go straight through to the engine of a node, whatever
// it makes of what it gets; three queue a request that reaches the engine in the routing step. Nothing here touches the
// current error.

#include <exception>

#include "api/defaultmodel.h"
#include "api/exchange.h"
#include "coupling/swmm.h"
#include "model/model.h"
#include "model/names.h"
#include "platform/arithmetic.h"
#include "tarnvelde.h"

/// The functions of a node's engine, or null. The kind of the node isn't looked at: any node reaches the engine in the
/// place that the node has among those of its own kind. What such a call gives is part of the interface.
static const SwmmEntries* findEngine(const Model& model, const char* name) {
    const int32_t node = exchange_findRow(model, NODE, name, model.nodes.size());
    if (node < 0) {
        return nullptr;
    }
    const int32_t row = model.nodes[node].kindIndex;
    return row >= 0 && model.swmmNodes.holds(row) ? &model.swmmNodes[row].entries : nullptr;
}

static bool isText(const char* text) {
    return text && *text;
}

// --- functions that go through --------------------------------------------------------------------------------------

int32_t tarnvelde_setSwmmRainfall(const char* node, const char* gage, double rainfall) {
    const PlainArithmetic arithmetic;
    Model& model = defaultmodel_get();
    const SwmmEntries* engine = findEngine(model, node);
    return engine && isText(gage) ? engine->swmm_setRainfall(gage, rainfall) : FAILURE;
}

int32_t tarnvelde_getSwmmResult(const char* node, int32_t type, const char* id, int32_t property, double* value) {
    const PlainArithmetic arithmetic;
    Model& model = defaultmodel_get();
    const SwmmEntries* engine = findEngine(model, node);
    return engine && isText(id) && value ? engine->swmm_getResult(type, id, property, value) : FAILURE;
}

int32_t tarnvelde_getSwmmObjCount(const char* node, int32_t type) {
    const PlainArithmetic arithmetic;
    Model& model = defaultmodel_get();
    const SwmmEntries* engine = findEngine(model, node);
    return engine ? engine->swmm_getObjCount(type) : FAILURE;
}

int32_t tarnvelde_getSwmmObjID(const char* node, int32_t type, int32_t index, char* id) {
    const PlainArithmetic arithmetic;
    Model& model = defaultmodel_get();
    const SwmmEntries* engine = findEngine(model, node);
    return engine && id ? engine->swmm_getObjID(type, index, id) : FAILURE;
}

int32_t tarnvelde_getSwmmObjIndex(const char* node, int32_t type, const char* id) {
    const PlainArithmetic arithmetic;
    Model& model = defaultmodel_get();
    const SwmmEntries* engine = findEngine(model, node);
    return engine && isText(id) ? engine->swmm_getObjIndex(type, id) : FAILURE;
}

int32_t tarnvelde_getSwmmCurrentSetting(const char* node, const char* link, double* setting) {
    const PlainArithmetic arithmetic;
    Model& model = defaultmodel_get();
    const SwmmEntries* engine = findEngine(model, node);
    return engine && isText(link) && setting ? engine->swmm_getCurrentSetting(link, setting) : FAILURE;
}

using ParamGetter = Entry<int(int type, const char* id, int code, double* value)> SwmmEntries::*;
using ParamSetter = Entry<int(int type, const char* id, int code, double value)> SwmmEntries::*;

/// Parameters of objects, of nodes and of links are asked for in one way, and so are they set.
static int32_t getParam(const Model& model, const char* node, ParamGetter entry, int32_t type, const char* id,
                        int32_t code, double* value) {
    const SwmmEntries* engine = findEngine(model, node);
    return engine && isText(id) && value ? (engine->*entry)(type, id, code, value) : FAILURE;
}

static int32_t setParam(const Model& model, const char* node, ParamSetter entry, int32_t type, const char* id,
                        int32_t code, double value) {
    const SwmmEntries* engine = findEngine(model, node);
    return engine && isText(id) ? (engine->*entry)(type, id, code, value) : FAILURE;
}

int32_t tarnvelde_getSwmmParam(const char* node, int32_t type, const char* id, int32_t parameter, double* value) {
    const PlainArithmetic arithmetic;
    Model& model = defaultmodel_get();
    return getParam(model, node, &SwmmEntries::swmm_getParam, type, id, parameter, value);
}

int32_t tarnvelde_setSwmmParam(const char* node, int32_t type, const char* id, int32_t parameter, double value) {
    const PlainArithmetic arithmetic;
    Model& model = defaultmodel_get();
    return setParam(model, node, &SwmmEntries::swmm_setParam, type, id, parameter, value);
}

int32_t tarnvelde_getSwmmNodeParam(const char* node, int32_t type, const char* id, int32_t parameter, double* value) {
    const PlainArithmetic arithmetic;
    Model& model = defaultmodel_get();
    return getParam(model, node, &SwmmEntries::swmm_getNodeParam, type, id, parameter, value);
}

int32_t tarnvelde_setSwmmNodeParam(const char* node, int32_t type, const char* id, int32_t parameter, double value) {
    const PlainArithmetic arithmetic;
    Model& model = defaultmodel_get();
    return setParam(model, node, &SwmmEntries::swmm_setNodeParam, type, id, parameter, value);
}

int32_t tarnvelde_getSwmmLinkParam(const char* node, int32_t type, const char* id, int32_t parameter, double* value) {
    const PlainArithmetic arithmetic;
    Model& model = defaultmodel_get();
    return getParam(model, node, &SwmmEntries::swmm_getLinkParam, type, id, parameter, value);
}

int32_t tarnvelde_setSwmmLinkParam(const char* node, int32_t type, const char* id, int32_t parameter, double value) {
    const PlainArithmetic arithmetic;
    Model& model = defaultmodel_get();
    return setParam(model, node, &SwmmEntries::swmm_setLinkParam, type, id, parameter, value);
}

int32_t tarnvelde_setSwmmNodeDepth(const char* node, const char* id, double depth) {
    const PlainArithmetic arithmetic;
    Model& model = defaultmodel_get();
    const SwmmEntries* engine = findEngine(model, node);
    return engine && isText(id) ? engine->swmm_setNodeDepth(id, depth) : FAILURE;
}

int32_t tarnvelde_setSwmmLinkDepth(const char* node, const char* id, double depth) {
    const PlainArithmetic arithmetic;
    Model& model = defaultmodel_get();
    const SwmmEntries* engine = findEngine(model, node);
    return engine && isText(id) ? engine->swmm_setLinkDepth(id, depth) : FAILURE;
}

int32_t tarnvelde_setSwmmLinkFlow(const char* node, const char* id, double flow) {
    const PlainArithmetic arithmetic;
    Model& model = defaultmodel_get();
    const SwmmEntries* engine = findEngine(model, node);
    return engine && isText(id) ? engine->swmm_setLinkFlow(id, flow) : FAILURE;
}

// --- requests for the routing step ----------------------------------------------------------------------------------

/// Appends a request with copies of the texts. Without memory nothing is queued.
static int32_t queueRequest(const Model& model, std::vector<SwmmRequest>& queue, const char* node, const char* object,
                            const char* pollutant, double value) {
    try {
        queue.push_back({names_find(model, NODE, node), object, pollutant, value});
        return 0;
    } catch (const std::exception&) {
        return FAILURE;
    }
}

int32_t tarnvelde_setSwmmExtInflow(const char* node, const char* id, double flow) {
    const PlainArithmetic arithmetic;
    Model& model = defaultmodel_get();
    if (!isText(node) || !isText(id) || flow < 0.0) {
        return FAILURE;
    }
    const SwmmEntries* engine = findEngine(model, node);
    if (!engine || engine->swmm_isNode(id) < 0) {
        return FAILURE;
    }
    return queueRequest(model, model.requests.swmmInflows, node, id, "", flow);
}

int32_t tarnvelde_setSwmmSetting(const char* node, const char* link, double setting) {
    const PlainArithmetic arithmetic;
    Model& model = defaultmodel_get();
    if (!isText(node) || !isText(link) || setting < 0.0 || setting > 1.0) {
        return FAILURE;
    }
    const SwmmEntries* engine = findEngine(model, node);
    if (!engine || engine->swmm_isLink(link) < 0) {
        return FAILURE;
    }
    return queueRequest(model, model.requests.swmmSettings, node, link, "", setting);
}

int32_t tarnvelde_setSwmmExtLoad(const char* node, const char* id, const char* pollutant, double load) {
    const PlainArithmetic arithmetic;
    Model& model = defaultmodel_get();
    if (!isText(node) || !isText(id) || !pollutant || load < 0.0) {
        return FAILURE;
    }
    const SwmmEntries* engine = findEngine(model, node);
    if (!engine || engine->swmm_isNode(id) < 0) {
        return FAILURE;
    }
    return queueRequest(model, model.requests.swmmLoads, node, id, pollutant, load);
}
