// Parameters, read and written by number between steps. Units are those of the project file, so each parameter is
// converted on its way out and back on its way in; what is set is not checked. A parameter that a run has copied at its
// start, as a pipe's own period, follows at the next start.

#include <cmath>

#include "api/defaultmodel.h"
#include "api/exchange.h"
#include "hydrology/subcatch.h"
#include "links/conduit.h"
#include "links/connection.h"
#include "links/link.h"
#include "links/orifice.h"
#include "links/pipe.h"
#include "links/pump.h"
#include "links/weir.h"
#include "model/model.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"
#include "platform/arithmetic.h"
#include "tarnvelde.h"
#include "text/number.h"
#include "text/units.h"

namespace {

/// A parameter in a record: a number, or an integer that the host sees as one.
struct Parameter {
    double* number;
    int32_t* integer;
};

constexpr Parameter NO_PARAMETER{nullptr, nullptr};

Parameter inNumber(double& number) {
    return {&number, nullptr};
}

Parameter inInteger(int32_t& integer) {
    return {nullptr, &integer};
}

bool exists(const Parameter& parameter) {
    return parameter.number || parameter.integer;
}

double read(const Parameter& parameter) {
    return parameter.number ? *parameter.number : *parameter.integer;
}

void write(const Parameter& parameter, double value) {
    if (parameter.number) {
        *parameter.number = value;
    } else {
        *parameter.integer = number_truncate(value);
    }
}

// --- fields --------------------------------------------------------------------------------------------------------

/// For each object of the list a function that finds the field of a parameter in a row of its table.
// clang-format off
#define PARAMETER_OBJECT(token, kind, table)              \
    Parameter find##token(Model& model, int32_t row, int32_t number) {  \
        auto* record = table.find(row);                   \
        if (!record) {                                    \
            return NO_PARAMETER;                          \
        }                                                 \
        switch (number) {
#define PARAMETER_NUMBER(number, field) case number: return inNumber(record->field);
#define PARAMETER_INTEGER(number, field) case number: return inInteger(record->field);
#define PARAMETER_END() default: return NO_PARAMETER; } }
// clang-format on
#include "api/parameters.def"

struct ParameterObject {
    int32_t object;  ///< ExchangeObject
    int32_t kind;    ///< NodeKind or LinkKind; -1 of a subcatchment
    Parameter (*find)(Model& model, int32_t row, int32_t number);
};

constexpr ParameterObject ParameterObjects[] = {
#define PARAMETER_OBJECT(token, kind, table) {OBJECT_CODE_##token, kind, find##token},
#include "api/parameters.def"
};

/// The entry of an object code, or null.
const ParameterObject* findObject(int32_t object) {
    for (const ParameterObject& entry : ParameterObjects) {
        if (entry.object == object) {
            return &entry;
        }
    }
    return nullptr;
}

bool isLinkCode(int32_t object) {
    return object >= OBJECT_CODE_PIPE && object <= OBJECT_CODE_ORIFICE;
}

// --- units of subcatchments ----------------------------------------------------------------------------------------

constexpr int32_t PARAMETER_AREA = 0, PARAMETER_INFIL_DECAY = 10, PARAMETER_DRYING_TIME = 11;

/// Units of a parameter in one unit of its field. The infiltration rates are in mm/s here, though the file gives mm/h.
double getUnit(int32_t code) {
    switch (code) {
        case 2:
        case 3: return PERCENT;
        case 6:
        case 7:
        case 8:
        case 9:
        case 12: return MM_PER_M;
        case PARAMETER_INFIL_DECAY: return SECONDS_PER_HOUR;
        default: return 1.0;
    }
}

/// Logarithm of the share of infiltration capacity that a soil lacks when it counts as dry again.
double getDryLogarithm() {
    return std::log(1.0 - 0.98);
}

/// What a host reads of the drying time is the reciprocal of the days that the file gave: the field holds them in the
/// denominator.
double toHost(int32_t code, double field) {
    switch (code) {
        case PARAMETER_AREA: return field * HA_PER_M2;
        case PARAMETER_DRYING_TIME: return field * -SECONDS_PER_DAY / getDryLogarithm();
        default: return field * getUnit(code);
    }
}

double fromHost(int32_t code, double value) {
    switch (code) {
        case PARAMETER_AREA: return value / HA_PER_M2;
        case PARAMETER_DRYING_TIME: return getDryLogarithm() / value / -SECONDS_PER_DAY;
        default: return value / getUnit(code);
    }
}

// --- objects by name -----------------------------------------------------------------------------------------------

Parameter findParameter(Model& model, const ParameterObject& entry, const char* name, int32_t code) {
    if (entry.kind < 0) {
        return entry.find(model, exchange_findRow(model, SUBCATCH, name, model.subcatches.size()), code);
    }
    if (isLinkCode(entry.object)) {
        const Link* link = exchange_findLink(model, name, entry.kind);
        return link ? entry.find(model, link->kindIndex, code) : NO_PARAMETER;
    }
    const Node* node = exchange_findNode(model, name, entry.kind);
    return node ? entry.find(model, node->kindIndex, code) : NO_PARAMETER;
}

/// For a value of a link to be written, the kind is looked up at the link's number in the table of nodes: the call
/// works only where a node of the right number stands there, and then writes the link's row in the table of the wanted
/// kind, whatever the link is.
Parameter findWrittenParameter(Model& model, const ParameterObject& entry, const char* name, int32_t code) {
    if (!isLinkCode(entry.object)) {
        return findParameter(model, entry, name, code);
    }
    const int32_t link = exchange_findRow(model, LINK, name, model.links.size());
    const Node* node = model.nodes.find(link);
    if (!node || node->kind != entry.kind) {
        return NO_PARAMETER;
    }
    const int32_t row = model.links[link].kindIndex;
    const Pipe* pipe = entry.kind == PIPE ? model.pipes.find(row) : nullptr;
    if (pipe) {
        link_forgetFacts(model.links[pipe->link]);
    }
    return entry.find(model, row, code);
}

/// A value of a pump is moved, and the call fails all the same: it goes on to a connection, which a pump isn't.
int32_t getResult(int32_t object) {
    return object == OBJECT_CODE_PUMP ? FAILURE : SUCCESS;
}

}  // namespace

int32_t tarnvelde_getParam(int32_t object, const char* name, int32_t code, double* value) {
    const QuickArithmetic arithmetic;
    Model& model = defaultmodel_get();
    const ParameterObject* entry = findObject(object);
    const Parameter parameter = entry && value ? findParameter(model, *entry, name, code) : NO_PARAMETER;
    if (!exists(parameter)) {
        return FAILURE;
    }
    if (object == OBJECT_CODE_SUBCATCH) {
        *value = toHost(code, read(parameter));
    } else if (object != OBJECT_CODE_PIPE || code != 0) {  // the K of a pipe is never told, and that is no failure
        *value = read(parameter);
    }
    return getResult(object);
}

int32_t tarnvelde_setParam(int32_t object, const char* name, int32_t code, double value) {
    const QuickArithmetic arithmetic;
    Model& model = defaultmodel_get();
    const ParameterObject* entry = findObject(object);
    const Parameter parameter = entry ? findWrittenParameter(model, *entry, name, code) : NO_PARAMETER;
    if (!exists(parameter)) {
        return FAILURE;
    }
    pace_noteChange(model.pace);
    write(parameter, object == OBJECT_CODE_SUBCATCH ? fromHost(code, value) : value);
    return getResult(object);
}
