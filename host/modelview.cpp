// A look at a model for those who show much of it.

#include "modelview.h"

#include <cmath>

#include "characters.h"

int32_t modelview_count(const tv_model* model, int32_t objectClass) {
    int32_t count = 0;
    tv_getCount(model, objectClass, &count);
    return count;
}

int32_t modelview_getRelated(const tv_model* model, int32_t relation, int32_t index) {
    int32_t related = -1;
    return tv_getRelation(model, relation, index, &related) == TV_OK ? related : -1;
}

std::string modelview_getId(const tv_model* model, int32_t objectClass, int32_t index) {
    if (objectClass == TV_LID_UNIT) {
        const int32_t land = modelview_getRelated(model, TV_UNIT_SUBCATCHMENT, index);
        const int32_t lid = modelview_getRelated(model, TV_UNIT_LID, index);
        return modelview_getId(model, TV_SUBCATCHMENT, land) + '/' + modelview_getId(model, TV_LID, lid);
    }
    const char* id = "";
    tv_getId(model, objectClass, index, &id);
    return characters_toUtf8(id);
}

static int32_t getKind(const tv_model* model, int32_t objectClass, int32_t index) {
    int32_t kind = -1;
    tv_getKind(model, objectClass, index, &kind);
    return kind;
}

const char* modelview_getKindName(const tv_model* model, int32_t objectClass, int32_t index) {
    if (objectClass == TV_SUBCATCHMENT) {
        return "subcatchment";
    }
    if (objectClass == TV_LID_UNIT) {
        return "LID unit";
    }
    const int32_t kind = getKind(model, objectClass, index);
    if (objectClass == TV_NODE) {
        switch (kind) {
            case TV_JUNCTION: return "junction";
            case TV_TANK: return "tank";
            case TV_OUTFALL: return "outfall";
            case TV_SPLITTER: return "splitter";
            case TV_SWMM_NODE: return "swmm";
            case TV_REACTOR: return "reactor";
            case TV_LID_NODE: return "lid";
            case TV_PLANT_NODE: return "plant";
            default: return "node";
        }
    }
    switch (kind) {
        case TV_PIPE: return "pipe";
        case TV_PUMP: return "pump";
        case TV_CONNECTION: return "connection";
        case TV_CONDUIT: return "conduit";
        case TV_WEIR: return "weir";
        case TV_ORIFICE: return "orifice";
        default: return "link";
    }
}

std::vector<double> modelview_getValues(const tv_model* model, int32_t objectClass, const char* variable,
                                        int32_t pollutant) {
    std::vector<double> values(static_cast<size_t>(modelview_count(model, objectClass)), std::nan(""));
    int32_t number = -1;
    if (tv_findVariable(objectClass, variable, &number) != TV_OK ||
        tv_getValues(model, number, pollutant, values.data(), values.size()) != TV_OK) {
        values.assign(values.size(), std::nan(""));
    }
    return values;
}

double modelview_getSystemValue(const tv_model* model, const char* variable, int32_t pollutant) {
    int32_t number = -1;
    double value = 0.0;
    const bool isKnown = tv_findVariable(TV_SYSTEM, variable, &number) == TV_OK &&
                         tv_getValue(model, number, 0, pollutant, &value) == TV_OK;
    return isKnown ? value : std::nan("");
}

std::vector<std::string> modelview_listPollutants(const tv_model* model) {
    std::vector<std::string> pollutants;
    for (int32_t p = 0; p < modelview_count(model, TV_POLLUTANT); ++p) {
        pollutants.push_back(modelview_getId(model, TV_POLLUTANT, p));
    }
    return pollutants;
}

std::vector<int32_t> modelview_listKind(const tv_model* model, int32_t objectClass, int32_t kind) {
    const bool hasKinds = objectClass == TV_NODE || objectClass == TV_LINK;
    std::vector<int32_t> indices;
    for (int32_t k = 0; k < modelview_count(model, objectClass); ++k) {
        if (!hasKinds || getKind(model, objectClass, k) == kind) {
            indices.push_back(k);
        }
    }
    return indices;
}
