// What is in a model: the functions of tarnvelde_model.h that count, name and connect objects.

#include "api/modelobjects.h"

#include "api/modelhandle.h"
#include "controls/rule.h"
#include "hydrology/gage.h"
#include "hydrology/landuse.h"
#include "hydrology/lid.h"
#include "hydrology/lidunit.h"
#include "hydrology/subcatch.h"
#include "model/curve.h"
#include "model/pattern.h"
#include "model/pollut.h"
#include "model/timeseries.h"
#include "nodes/lidmono.h"
#include "nodes/reactor.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"

// --- classes -------------------------------------------------------------------------------------------------------

int32_t modelobjects_getCount(const Model& model, int32_t objectClass) {
    switch (objectClass) {
        case TV_SYSTEM: return 1;
        case TV_SUBCATCHMENT: return model.subcatches.size();
        case TV_GAGE: return model.gages.size();
        case TV_NODE: return model.nodes.size();
        case TV_LINK: return model.links.size();
        case TV_POLLUTANT: return model.polluts.size();
        case TV_LAND_USE: return model.landuses.size();
        case TV_LID: return model.lids.size();
        case TV_LID_UNIT: return model.lidUnits.size();
        case TV_RULE: return model.rules.size();
        case TV_CURVE: return model.curves.size();
        case TV_SERIES: return model.timeSeries.size();
        case TV_PATTERN: return model.patterns.size();
        default: return -1;
    }
}

static const char* getId(const Model& model, int32_t objectClass, int32_t index) {
    switch (objectClass) {
        case TV_SUBCATCHMENT: return model.subcatches[index].name;
        case TV_GAGE: return model.gages[index].name;
        case TV_NODE: return model.nodes[index].id;
        case TV_LINK: return model.links[index].id;
        case TV_POLLUTANT: return model.polluts[index].id;
        case TV_LAND_USE: return model.landuses[index].name;
        case TV_LID: return model.lids[index].name;
        case TV_RULE: return model.rules[index].name;
        case TV_CURVE: return model.curves[index].id;
        case TV_SERIES: return model.timeSeries[index].id;
        case TV_PATTERN: return model.patterns[index].id;
        default: return nullptr;
    }
}

/// Class of names of each object class; -1 for those without names.
static constexpr int32_t NameClasses[TV_CLASS_COUNT] = {-1,  SUBCATCH, GAGE, NODE,  LINK,    POLLUT, LANDUSE,
                                                        LID, -1,       RULE, CURVE, TSERIES, PATTERN};

int32_t modelobjects_getClass(int32_t nameClass) {
    for (int32_t k = 0; k < TV_CLASS_COUNT; ++k) {
        if (nameClass >= 0 && NameClasses[k] == nameClass) {
            return k;
        }
    }
    return TV_SYSTEM;
}

int32_t modelobjects_test(const Model& model, int32_t objectClass, int32_t index) {
    const int32_t count = modelobjects_getCount(model, objectClass);
    if (count < 0) {
        return TV_ERROR_CLASS;
    }
    return index >= 0 && index < count ? TV_OK : TV_ERROR_INDEX;
}

int32_t tv_getCount(const tv_model* handle, int32_t objectClass, int32_t* count) {
    return modelhandle_look(handle, NEED_OPEN, [&]() -> int32_t {
        if (!count) {
            return TV_ERROR_NULL;
        }
        const int32_t objects = modelobjects_getCount(*handle->model, objectClass);
        if (objects < 0) {
            return TV_ERROR_CLASS;
        }
        *count = objects;
        return TV_OK;
    });
}

int32_t tv_getId(const tv_model* handle, int32_t objectClass, int32_t index, const char** id) {
    return modelhandle_look(handle, NEED_OPEN, [&]() -> int32_t {
        if (!id) {
            return TV_ERROR_NULL;
        }
        if (const int32_t code = modelobjects_test(*handle->model, objectClass, index)) {
            return code;
        }
        const char* found = getId(*handle->model, objectClass, index);
        *id = found ? found : "";
        return TV_OK;
    });
}

int32_t tv_getKind(const tv_model* handle, int32_t objectClass, int32_t index, int32_t* kind) {
    return modelhandle_look(handle, NEED_OPEN, [&]() -> int32_t {
        if (!kind) {
            return TV_ERROR_NULL;
        }
        if (const int32_t code = modelobjects_test(*handle->model, objectClass, index)) {
            return code;
        }
        *kind = modelobjects_getKind(*handle->model, objectClass, index);
        return TV_OK;
    });
}

int32_t modelobjects_getKind(const Model& model, int32_t objectClass, int32_t index) {
    switch (objectClass) {
        case TV_NODE: return model.nodes[index].kind;
        case TV_LINK: return model.links[index].kind;
        default: return 0;
    }
}

int32_t tv_findObject(const tv_model* handle, int32_t objectClass, const char* id, int32_t* index) {
    return modelhandle_look(handle, NEED_OPEN, [&]() -> int32_t {
        if (!id || !index) {
            return TV_ERROR_NULL;
        }
        const Model& model = *handle->model;
        if (modelobjects_getCount(model, objectClass) < 0) {
            return TV_ERROR_CLASS;
        }
        const int32_t names = NameClasses[objectClass];
        const int32_t found = names < 0 ? -1 : names_find(model, names, id);
        if (found < 0 || found >= modelobjects_getCount(model, objectClass)) {
            return TV_ERROR_ID;
        }
        *index = found;
        return TV_OK;
    });
}

// --- relations -----------------------------------------------------------------------------------------------------

/// The class of the objects that have a relation, or -1 for no relation.
static int32_t getRelationClass(int32_t relation) {
    switch (relation) {
        case TV_LINK_FROM:
        case TV_LINK_TO: return TV_LINK;
        case TV_SUBCATCHMENT_OUTLET:
        case TV_SUBCATCHMENT_GAGE: return TV_SUBCATCHMENT;
        case TV_GAGE_SERIES: return TV_GAGE;
        case TV_UNIT_SUBCATCHMENT:
        case TV_UNIT_LID:
        case TV_UNIT_DRAIN: return TV_LID_UNIT;
        case TV_REACTOR_SURPASS:
        case TV_REACTOR_EMPTYING:
        case TV_LID_NODE_DRAIN:
        case TV_LID_NODE_GAGE:
        case TV_SPLITTER_LINK:
        case TV_TANK_CURVE: return TV_NODE;
        default: return -1;
    }
}

/// The kind of node that has a relation, or -1 for any object of its class.
static int32_t getRelationKind(int32_t relation) {
    switch (relation) {
        case TV_REACTOR_SURPASS:
        case TV_REACTOR_EMPTYING: return TV_REACTOR;
        case TV_LID_NODE_DRAIN:
        case TV_LID_NODE_GAGE: return TV_LID_NODE;
        case TV_SPLITTER_LINK: return TV_SPLITTER;
        case TV_TANK_CURVE: return TV_TANK;
        default: return -1;
    }
}

static int32_t getRelated(const Model& model, int32_t relation, int32_t index) {
    const int32_t row = getRelationClass(relation) == TV_NODE ? model.nodes[index].kindIndex : -1;
    switch (relation) {
        case TV_LINK_FROM: return model.links[index].fromNode;
        case TV_LINK_TO: return model.links[index].toNode;
        case TV_SUBCATCHMENT_OUTLET: return model.subcatches[index].outNode;
        case TV_SUBCATCHMENT_GAGE: return model.subcatches[index].gage;
        case TV_GAGE_SERIES: return model.gages[index].series;
        case TV_UNIT_SUBCATCHMENT: return model.lidUnits[index].subcatch;
        case TV_UNIT_LID: return model.lidUnits[index].lid;
        case TV_UNIT_DRAIN: return model.lidUnits[index].drainNode;
        case TV_REACTOR_SURPASS: return model.reactors[row].surpassNode;
        case TV_REACTOR_EMPTYING: return model.reactors[row].emptyingNode;
        case TV_LID_NODE_DRAIN: return model.lidMonos[row].unit.drainNode;
        case TV_LID_NODE_GAGE: return model.lidMonos[row].gage;
        case TV_SPLITTER_LINK: return model.splitters[row].link;
        default: return model.tanks[row].curve;
    }
}

int32_t tv_getRelation(const tv_model* handle, int32_t relation, int32_t index, int32_t* related) {
    return modelhandle_look(handle, NEED_OPEN, [&]() -> int32_t {
        if (!related) {
            return TV_ERROR_NULL;
        }
        const Model& model = *handle->model;
        const int32_t objectClass = getRelationClass(relation);
        if (objectClass < 0) {
            return TV_ERROR_CLASS;
        }
        if (const int32_t code = modelobjects_test(model, objectClass, index)) {
            return code;
        }
        const int32_t kind = getRelationKind(relation);
        if (kind >= 0 && model.nodes[index].kind != kind) {
            return TV_ERROR_KIND;
        }
        const int32_t found = getRelated(model, relation, index);
        *related = found < 0 ? -1 : found;
        return TV_OK;
    });
}
