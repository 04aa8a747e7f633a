// Variables: what a host reads and sets by name. The list in variables.def becomes, for each variable, one function
// that reads it, one that reads it of all objects of its class, one that sets it and one that releases it.

#include <cmath>
#include <cstring>

#include "api/modelhandle.h"
#include "api/modelobjects.h"
#include "api/variablevalues.h"
#include "controls/rule.h"
#include "coupling/coupled.h"
#include "coupling/swmm.h"
#include "coupling/vorn.h"
#include "hydrology/evap.h"
#include "hydrology/landuse.h"
#include "hydrology/lidgroup.h"
#include "hydrology/lidrates.h"
#include "links/connection.h"
#include "links/link.h"
#include "links/orifice.h"
#include "links/pipe.h"
#include "links/pump.h"
#include "links/weir.h"
#include "model/curve.h"
#include "model/pattern.h"
#include "model/pollut.h"
#include "nodes/lidmono.h"
#include "nodes/outfall.h"
#include "nodes/reactor.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"
#include "results/rows.h"
#include "results/rowvalues.h"
#include "text/units.h"

namespace {

// --- words of the list ---------------------------------------------------------------------------------------------

constexpr int32_t BEFORE = TV_WHEN_OPEN;
constexpr int32_t IN_RUN = TV_WHEN_STARTED;
constexpr int32_t ALWAYS = TV_WHEN_OPEN | TV_WHEN_STARTED;

bool hasSurface(const Lid& lid) {
    return lid.type != LID_RB;
}

bool hasSoil(const Lid& lid) {
    return lid.soilDepth > 0.0 &&
           (lid.type == LID_BC || lid.type == LID_RG || lid.type == LID_GR || lid.type == LID_PP);
}

/// A storage of its own, with an underdrain: that of a roof is its mat.
bool hasStorage(const Lid& lid) {
    return lid.storageDepth > 0.0 && lid.type != LID_GR && lid.type != LID_VS;
}

/// Whether water seeps into the ground, also straight out of the soil.
bool seeps(const Lid& lid) {
    return lid.type == LID_BC || lid.type == LID_RG || lid.type == LID_IT || lid.type == LID_PP;
}

// The record of an object of each class.
#define OBJECT_SYSTEM
#define OBJECT_SUBCATCHMENT [[maybe_unused]] auto& s = model.subcatches[object];
#define OBJECT_GAGE [[maybe_unused]] auto& gage = model.gages[object];
#define OBJECT_NODE [[maybe_unused]] auto& node = model.nodes[object];
#define OBJECT_LINK [[maybe_unused]] auto& link = model.links[object];
#define OBJECT_POLLUTANT [[maybe_unused]] auto& pollutant = model.polluts[object];
#define OBJECT_LAND_USE [[maybe_unused]] auto& landuse = model.landuses[object];
#define OBJECT_LID [[maybe_unused]] auto& lid = model.lids[object];
#define OBJECT_LID_UNIT [[maybe_unused]] auto& unit = model.lidUnits[object];
#define OBJECT_RULE [[maybe_unused]] auto& rule = model.rules[object];
#define OBJECT_CURVE [[maybe_unused]] auto& curve = model.curves[object];
#define OBJECT_PATTERN [[maybe_unused]] auto& pattern = model.patterns[object];

// Whether an object is of a kind, the record of the kind, and its bit.
#define HAS_ANY true
#define HAS_PLAIN !coupled_isKind(node.kind)
#define HAS_TANK node.kind == TANK
#define HAS_OUTFALL node.kind == OUTFALL
#define HAS_SPLITTER node.kind == SPLITTER
#define HAS_SWMM node.kind == SWMM
#define HAS_REACTOR node.kind == REACTOR
#define HAS_LID_MONO node.kind == LID_MONO
#define HAS_VORN node.kind == VORN
#define HAS_PIPE link.kind == PIPE
#define HAS_PUMP link.kind == PUMP
#define HAS_CONNECTION link.kind == CONNECTION
#define HAS_CONDUIT link.kind == CONDUIT
#define HAS_WEIR link.kind == WEIR
#define HAS_ORIFICE link.kind == ORIFICE
#define RECORD_ANY
#define RECORD_PLAIN
#define RECORD_TANK [[maybe_unused]] auto& tank = model.tanks[node.kindIndex];
#define RECORD_OUTFALL [[maybe_unused]] auto& outfall = model.outfalls[node.kindIndex];
#define RECORD_SPLITTER [[maybe_unused]] auto& splitter = model.splitters[node.kindIndex];
#define RECORD_SWMM
#define RECORD_REACTOR [[maybe_unused]] auto& reactor = model.reactors[node.kindIndex];
#define RECORD_LID_MONO [[maybe_unused]] auto& mono = model.lidMonos[node.kindIndex];
#define RECORD_VORN
#define RECORD_PIPE [[maybe_unused]] auto& pipe = model.pipes[link.kindIndex];
#define RECORD_PUMP [[maybe_unused]] auto& pump = model.pumps[link.kindIndex];
#define RECORD_CONNECTION [[maybe_unused]] auto& connection = model.connections[link.kindIndex];
#define RECORD_CONDUIT [[maybe_unused]] auto& conduit = model.conduits[link.kindIndex];
#define RECORD_WEIR [[maybe_unused]] auto& weir = model.weirs[link.kindIndex];
#define RECORD_ORIFICE [[maybe_unused]] auto& orifice = model.orifices[link.kindIndex];
constexpr uint32_t BITS_ANY = ~0u;
constexpr uint32_t BITS_PLAIN = ((1u << NODE_KIND_COUNT) - 1) & ~(1u << SWMM) & ~(1u << VORN);
constexpr uint32_t BITS_TANK = 1u << TANK, BITS_OUTFALL = 1u << OUTFALL, BITS_SPLITTER = 1u << SPLITTER;
constexpr uint32_t BITS_SWMM = 1u << SWMM, BITS_REACTOR = 1u << REACTOR, BITS_LID_MONO = 1u << LID_MONO;
constexpr uint32_t BITS_VORN = 1u << VORN;
constexpr uint32_t BITS_PIPE = 1u << PIPE, BITS_PUMP = 1u << PUMP, BITS_CONNECTION = 1u << CONNECTION;
constexpr uint32_t BITS_CONDUIT = 1u << CONDUIT, BITS_WEIR = 1u << WEIR, BITS_ORIFICE = 1u << ORIFICE;

// --- what the list makes -------------------------------------------------------------------------------------------

#define VARIABLE_ARGUMENTS [[maybe_unused]] Model &model, [[maybe_unused]] int32_t object, [[maybe_unused]] int32_t p

// readNODE_inflow: the value of one object. False if it doesn't have the variable.
#define VARIABLE_ENTRY(class, name, ...)                                   \
    inline bool read##class##_##name(VARIABLE_ARGUMENTS, double& result) { \
        OBJECT_##class
#define READ_IF(kind, condition, value) \
    if (HAS_##kind) {                   \
        RECORD_##kind if (condition) {  \
            result = value;             \
            return true;                \
        }                               \
    }
#define END_VARIABLE() \
    return false;      \
    }
#include "api/variables.def"

// setNODE_depth: sets the value of one object that has the variable, or with `isTrial` only tests it.
#define VARIABLE_ENTRY(class, name, ...)                                                                            \
    int32_t set##class##_##name(VARIABLE_ARGUMENTS, [[maybe_unused]] double value, [[maybe_unused]] bool isTrial) { \
        OBJECT_##class
#define SET_IF(kind, has, condition, statement) \
    if (HAS_##kind) {                           \
        RECORD_##kind if (has) {                \
            if (!(condition)) {                 \
                return TV_ERROR_RANGE;          \
            }                                   \
            if (!isTrial) {                     \
                statement                       \
            }                                   \
            return TV_OK;                       \
        }                                       \
    }
#define END_VARIABLE()         \
    return TV_ERROR_READ_ONLY; \
    }
#include "api/variables.def"

// releaseNODE_added_inflow: releases a forcing.
#define VARIABLE_ENTRY(class, name, ...)                  \
    int32_t release##class##_##name(VARIABLE_ARGUMENTS) { \
        OBJECT_##class
#define RELEASE(kind, statement)              \
    if (HAS_##kind) {                         \
        RECORD_##kind statement return TV_OK; \
    }
#define END_VARIABLE()         \
    return TV_ERROR_READ_ONLY; \
    }
#include "api/variables.def"

#define VARIABLE_ENTRY(class, name, ...) constexpr uint32_t KINDS_##class##_##name = 0u
#define READ_IF(kind, ...) | BITS_##kind
#define END_VARIABLE() ;
#include "api/variables.def"

using Reader = bool (*)(Model& model, int32_t object, int32_t pollutant, double& result);
using Setter = int32_t (*)(Model& model, int32_t object, int32_t pollutant, double value, bool isTrial);
using Releaser = int32_t (*)(Model& model, int32_t object, int32_t pollutant);
using ColumnReader = void (*)(Model& model, int32_t pollutant, double* values, int32_t count);

/// The values of all objects; the reader is known when this is compiled and stands within the loop.
template <Reader reader>
void readColumn(Model& model, int32_t pollutant, double* values, int32_t count) {
    for (int32_t k = 0; k < count; ++k) {
        double value;
        values[k] = reader(model, k, pollutant, value) ? value : NOTHING;
    }
}

struct Variable {
    tv_variable description;
    Reader read;
    ColumnReader readAll;
    Setter set;
    Releaser release;
};

const Variable Variables[] = {
#define VARIABLE_ENTRY(class, name, unit, isPerPollutant, access, when, least, most, meaning)               \
    {{#name, TV_##class, KINDS_##class##_##name, unit, meaning, isPerPollutant, access, when, least, most}, \
     read##class##_##name,                                                                                  \
     readColumn<read##class##_##name>,                                                                      \
     set##class##_##name,                                                                                   \
     release##class##_##name},
#include "api/variables.def"
};

constexpr int32_t VARIABLE_COUNT = static_cast<int32_t>(std::size(Variables));

// --- tests ahead of the work ---------------------------------------------------------------------------------------

bool isVariable(int32_t variable) {
    return variable >= 0 && variable < VARIABLE_COUNT;
}

/// Tests the variable and the pollutant. 0, or the code of the refusal.
int32_t testColumn(const Model& model, int32_t variable, int32_t pollutant) {
    if (!isVariable(variable)) {
        return TV_ERROR_VARIABLE;
    }
    const int32_t first = Variables[variable].description.isPerPollutant ? 0 : TV_NO_POLLUTANT;
    const int32_t end = Variables[variable].description.isPerPollutant ? model_pollutantCount(model) : 0;
    return pollutant >= first && pollutant < end ? TV_OK : TV_ERROR_INDEX;
}

int32_t testValue(const Model& model, int32_t variable, int32_t index, int32_t pollutant) {
    if (!isVariable(variable)) {
        return TV_ERROR_VARIABLE;
    }
    if (const int32_t code = modelobjects_test(model, Variables[variable].description.objectClass, index)) {
        return code;
    }
    return testColumn(model, variable, pollutant);
}

/// Whether a variable is known in a phase: states and results belong to a run.
bool isKnown(int32_t phase, const tv_variable& variable) {
    return variable.access == TV_PARAMETER || phase == TV_STARTED || phase == TV_FINISHED;
}

/// Whether a variable may be set now. 0, or the code of the refusal.
int32_t testWhen(int32_t phase, const tv_variable& variable) {
    if (variable.when == TV_NEVER) {
        return TV_ERROR_READ_ONLY;
    }
    const int32_t now = phase == TV_OPEN ? TV_WHEN_OPEN : phase == TV_STARTED ? TV_WHEN_STARTED : TV_NEVER;
    return (variable.when & now) != 0 ? TV_OK : TV_ERROR_NOT_NOW;
}

/// Says that a value is written. What the host holds of a gage is seen as the rain of the next step.
void noteChange(Model& model, int32_t objectClass, int32_t index) {
    switch (objectClass) {
        case TV_GAGE: break;
        case TV_NODE: pace_noteNetworkChange(model.pace); break;
        case TV_LINK:
            pace_noteNetworkChange(model.pace);
            link_forgetFacts(model.links[index]);
            break;
        default: pace_noteChange(model.pace); break;
    }
}

/// Sets the value of an object that has the variable, or only tests it.
int32_t setValue(Model& model, const Variable& variable, int32_t index, int32_t pollutant, double value, bool isTrial) {
    const tv_variable& limits = variable.description;
    if (!std::isfinite(value) || value < limits.minimum || value > limits.maximum) {
        return TV_ERROR_RANGE;
    }
    if (!isTrial) {
        noteChange(model, limits.objectClass, index);
    }
    return variable.set(model, index, pollutant, value, isTrial);
}

/// Sets a column, or only tests it. What is nan, and objects without the variable, are passed over.
int32_t setColumn(Model& model, const Variable& variable, int32_t pollutant, const double* values, int32_t count,
                  bool isTrial) {
    for (int32_t k = 0; k < count; ++k) {
        double present;
        if (std::isnan(values[k]) || !variable.read(model, k, pollutant, present)) {
            continue;
        }
        if (const int32_t code = setValue(model, variable, k, pollutant, values[k], isTrial)) {
            return code;
        }
    }
    return TV_OK;
}

/// The units of one subcatchment share its room, and together may want more than each of them alone: they get back what
/// they had then.
int32_t setUnits(Model& model, const Variable& variable, int32_t pollutant, const double* values, int32_t count) {
    const Table<LidUnit> before = model.lidUnits;
    const int32_t code = setColumn(model, variable, pollutant, values, count, false);
    if (code != TV_OK) {
        model.lidUnits = before;
        for (int32_t k = 0; k < model.subcatches.size(); ++k) {
            lidgroup_deriveArea(model, k);
        }
    }
    return code;
}

}  // namespace

// --- the list ------------------------------------------------------------------------------------------------------

int32_t tv_getVariableCount(int32_t* count) {
    if (!count) {
        return TV_ERROR_NULL;
    }
    *count = VARIABLE_COUNT;
    return TV_OK;
}

int32_t tv_getVariable(int32_t variable, tv_variable* description) {
    if (!description) {
        return TV_ERROR_NULL;
    }
    if (!isVariable(variable)) {
        return TV_ERROR_VARIABLE;
    }
    *description = Variables[variable].description;
    return TV_OK;
}

int32_t tv_findVariable(int32_t objectClass, const char* name, int32_t* variable) {
    if (!name || !variable) {
        return TV_ERROR_NULL;
    }
    if (objectClass < 0 || objectClass >= TV_CLASS_COUNT) {
        return TV_ERROR_CLASS;
    }
    for (int32_t k = 0; k < VARIABLE_COUNT; ++k) {
        const tv_variable& entry = Variables[k].description;
        if (entry.objectClass == objectClass && std::strcmp(entry.name, name) == 0) {
            *variable = k;
            return TV_OK;
        }
    }
    return TV_ERROR_ID;
}

// --- one value -----------------------------------------------------------------------------------------------------

int32_t tv_getValue(const tv_model* handle, int32_t variable, int32_t index, int32_t pollutant, double* value) {
    return modelhandle_look(handle, NEED_OPEN, [&]() -> int32_t {
        if (!value) {
            return TV_ERROR_NULL;
        }
        Model& model = *handle->model;
        if (const int32_t code = testValue(model, variable, index, pollutant)) {
            return code;
        }
        if (!isKnown(handle->phase, Variables[variable].description)) {
            return TV_ERROR_NOT_NOW;
        }
        double found;
        if (!Variables[variable].read(model, index, pollutant, found)) {
            return TV_ERROR_KIND;
        }
        *value = found;
        return TV_OK;
    });
}

int32_t tv_setValue(tv_model* handle, int32_t variable, int32_t index, int32_t pollutant, double value) {
    return modelhandle_look(handle, NEED_OPEN, [&]() -> int32_t {
        Model& model = *handle->model;
        if (const int32_t code = testValue(model, variable, index, pollutant)) {
            return code;
        }
        const Variable& entry = Variables[variable];
        if (const int32_t code = testWhen(handle->phase, entry.description)) {
            return code;
        }
        double present;
        if (!entry.read(model, index, pollutant, present)) {
            return TV_ERROR_KIND;
        }
        return setValue(model, entry, index, pollutant, value, false);
    });
}

int32_t tv_releaseValue(tv_model* handle, int32_t variable, int32_t index, int32_t pollutant) {
    return modelhandle_look(handle, NEED_OPEN, [&]() -> int32_t {
        Model& model = *handle->model;
        if (const int32_t code = testValue(model, variable, index, pollutant)) {
            return code;
        }
        const Variable& entry = Variables[variable];
        if (entry.description.access != TV_FORCING) {
            return TV_ERROR_READ_ONLY;
        }
        if (const int32_t code = testWhen(handle->phase, entry.description)) {
            return code;
        }
        double present;
        if (!entry.read(model, index, pollutant, present)) {
            return TV_ERROR_KIND;
        }
        noteChange(model, entry.description.objectClass, index);
        return entry.release(model, index, pollutant);
    });
}

// --- columns -------------------------------------------------------------------------------------------------------

/// What both columns need: the variable, the pollutant, an array of the right length. 0, or the code of the refusal.
static int32_t testArray(const Model& model, int32_t variable, int32_t pollutant, const double* values, size_t count) {
    if (const int32_t code = testColumn(model, variable, pollutant)) {
        return code;
    }
    const int32_t objects = modelobjects_getCount(model, Variables[variable].description.objectClass);
    if (count != static_cast<size_t>(objects)) {
        return TV_ERROR_SIZE;
    }
    return values || count == 0 ? TV_OK : TV_ERROR_NULL;
}

int32_t tv_getValues(const tv_model* handle, int32_t variable, int32_t pollutant, double* values, size_t count) {
    return modelhandle_look(handle, NEED_OPEN, [&]() -> int32_t {
        Model& model = *handle->model;
        if (const int32_t code = testArray(model, variable, pollutant, values, count)) {
            return code;
        }
        if (!isKnown(handle->phase, Variables[variable].description)) {
            return TV_ERROR_NOT_NOW;
        }
        Variables[variable].readAll(model, pollutant, values, static_cast<int32_t>(count));
        return TV_OK;
    });
}

int32_t tv_setValues(tv_model* handle, int32_t variable, int32_t pollutant, const double* values, size_t count) {
    return modelhandle_look(handle, NEED_OPEN, [&]() -> int32_t {
        Model& model = *handle->model;
        if (const int32_t code = testArray(model, variable, pollutant, values, count)) {
            return code;
        }
        const Variable& entry = Variables[variable];
        if (const int32_t code = testWhen(handle->phase, entry.description)) {
            return code;
        }
        const int32_t objects = static_cast<int32_t>(count);
        if (const int32_t code = setColumn(model, entry, pollutant, values, objects, true)) {
            return code;
        }
        return entry.description.objectClass == TV_LID_UNIT
                   ? setUnits(model, entry, pollutant, values, objects)
                   : setColumn(model, entry, pollutant, values, objects, false);
    });
}
