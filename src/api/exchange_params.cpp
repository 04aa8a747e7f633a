// Parameters, read and written by number between steps. Units are those of the project file, so each parameter is
// converted on its way out and back on its way in; what is set is not checked. A parameter that a run has copied at its
// start, as a pipe's own period, follows at the next start.

#include <cmath>

#include "api/exchange.h"
#include "hydrology/subcatch.h"
#include "links/conduit.h"
#include "links/connection.h"
#include "links/orifice.h"
#include "links/pipe.h"
#include "links/pump.h"
#include "links/weir.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"
#include "tarnvelde.h"

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
        *parameter.integer = project_truncate(value);
    }
}

// --- subcatchments -------------------------------------------------------------------------------------------------

constexpr int32_t PARAMETER_AREA = 0, PARAMETER_INFIL_DECAY = 10, PARAMETER_DRYING_TIME = 11;

/// The field of a subcatchment by the number of its parameter.
Parameter findField(Subcatch& s, int32_t code) {
    switch (code) {
        case 0: return inNumber(s.area);
        case 1: return inNumber(s.width);
        case 2: return inNumber(s.imperviousFraction);
        case 3: return inNumber(s.slope);
        case 4: return inNumber(s.imperviousRoughness);
        case 5: return inNumber(s.perviousRoughness);
        case 6: return inNumber(s.imperviousStorage);
        case 7: return inNumber(s.perviousStorage);
        case 8: return inNumber(s.soil.maxRate);
        case 9: return inNumber(s.soil.minRate);
        case 10: return inNumber(s.soil.decay);
        case 11: return inNumber(s.soil.recovery);
        case 12: return inNumber(s.soil.maxVolume);
        default: return NO_PARAMETER;
    }
}

/// Units of a parameter in one unit of its field. The infiltration rates are in mm/s here, though the file gives mm/h.
double getUnit(int32_t code) {
    switch (code) {
        case 2:
        case 3: return 100.0;
        case 6:
        case 7:
        case 8:
        case 9:
        case 12: return 1000.0;
        case PARAMETER_INFIL_DECAY: return 3600.0;
        default: return 1.0;
    }
}

/// Logarithm of the share of infiltration capacity that a soil lacks when it counts as dry again.
double getDryLogarithm() {
    return std::log(1.0 - 0.98);
}

/// What a host reads of the drying time is the reciprocal of the days that the file gave: the field holds them in the
/// denominator.
double readSubcatch(Subcatch& s, int32_t code) {
    const double field = read(findField(s, code));
    switch (code) {
        case PARAMETER_AREA: return field * 0.0001;
        case PARAMETER_DRYING_TIME: return field * -86400.0 / getDryLogarithm();
        default: return field * getUnit(code);
    }
}

void writeSubcatch(Subcatch& s, int32_t code, double value) {
    double field;
    switch (code) {
        case PARAMETER_AREA: field = value / 0.0001; break;
        case PARAMETER_DRYING_TIME: field = getDryLogarithm() / value / -86400.0; break;
        default: field = value / getUnit(code); break;
    }
    write(findField(s, code), field);
}

// --- nodes ---------------------------------------------------------------------------------------------------------

Parameter findTankField(Tank& tank, int32_t code) {
    switch (code) {
        case 0: return inNumber(tank.maxDepth);
        case 1: return inNumber(tank.initDepth);
        default: return NO_PARAMETER;
    }
}

Parameter findSplitterField(Splitter& splitter, int32_t code) {
    switch (code) {
        case 0: return inInteger(splitter.mode);
        case 1: return inNumber(splitter.value);
        case 2: return inNumber(splitter.ratio);
        default: return NO_PARAMETER;
    }
}

Parameter findNodeParameter(int32_t object, const char* name, int32_t code) {
    if (object == OBJECT_CODE_TANK) {
        const Node* node = exchange_findNode(name, TANK);
        return node ? findTankField(Tanks[node->kindIndex], code) : NO_PARAMETER;
    }
    if (object == OBJECT_CODE_SPLITTER) {
        const Node* node = exchange_findNode(name, SPLITTER);
        return node ? findSplitterField(Splitters[node->kindIndex], code) : NO_PARAMETER;
    }
    return NO_PARAMETER;
}

// --- links ---------------------------------------------------------------------------------------------------------

Parameter findPipeField(Pipe& pipe, int32_t code) {
    switch (code) {
        case 0: return inNumber(pipe.k);
        case 1: return inInteger(pipe.n);
        case 2: return inNumber(pipe.x);
        case 3: return inNumber(pipe.maxFlow);
        default: return NO_PARAMETER;
    }
}

Parameter findPumpField(Pump& pump, int32_t code) {
    switch (code) {
        case 0: return inNumber(pump.initSetting);
        case 1: return inNumber(pump.startupDepth);
        case 2: return inNumber(pump.shutoffDepth);
        default: return NO_PARAMETER;
    }
}

Parameter findConduitField(Conduit& conduit, int32_t code) {
    switch (code) {
        case 0: return inInteger(conduit.shape);
        case 1: return inNumber(conduit.height);
        case 2: return inNumber(conduit.width);
        default: return NO_PARAMETER;
    }
}

Parameter findWeirField(Weir& weir, int32_t code) {
    switch (code) {
        case 0: return inInteger(weir.shape);
        case 1: return inNumber(weir.coefficient);
        case 2: return inNumber(weir.length);
        case 3: return inNumber(weir.crest);
        case 4: return inNumber(weir.opening);
        default: return NO_PARAMETER;
    }
}

Parameter findOrificeField(Orifice& orifice, int32_t code) {
    switch (code) {
        case 0: return inInteger(orifice.shape);
        case 1: return inNumber(orifice.height);
        case 2: return inNumber(orifice.width);
        case 3: return inNumber(orifice.coefficient);
        case 4: return inNumber(orifice.crest);
        default: return NO_PARAMETER;
    }
}

/// A parameter of the row `row` in the table of a kind of link.
Parameter findLinkField(int32_t kind, int32_t row, int32_t code) {
    switch (kind) {
        case PIPE: {
            Pipe* pipe = Pipes.find(row);
            return pipe ? findPipeField(*pipe, code) : NO_PARAMETER;
        }
        case PUMP: {
            Pump* pump = Pumps.find(row);
            return pump ? findPumpField(*pump, code) : NO_PARAMETER;
        }
        case CONNECTION: {
            Connection* connection = Connections.find(row);
            return connection && code == 0 ? inNumber(connection->delay) : NO_PARAMETER;
        }
        case CONDUIT: {
            Conduit* conduit = Conduits.find(row);
            return conduit ? findConduitField(*conduit, code) : NO_PARAMETER;
        }
        case WEIR: {
            Weir* weir = Weirs.find(row);
            return weir ? findWeirField(*weir, code) : NO_PARAMETER;
        }
        case ORIFICE: {
            Orifice* orifice = Orifices.find(row);
            return orifice ? findOrificeField(*orifice, code) : NO_PARAMETER;
        }
        default: return NO_PARAMETER;
    }
}

bool isLinkCode(int32_t object) {
    return object >= OBJECT_CODE_PIPE && object <= OBJECT_CODE_ORIFICE;
}

/// For a value to be written, the kind is looked up at the link's number in the table of nodes: the call works only
/// where a node of the right number stands there, and then writes the link's row in the table of the wanted kind,
/// whatever the link is. Hosts have settled on the projects in which that does what they want.
Parameter findWrittenLinkParameter(int32_t kind, const char* name, int32_t code) {
    const int32_t link = exchange_findRow(LINK, name, Links.size());
    if (link < 0 || !Nodes.holds(link) || Nodes[link].kind != kind) {
        return NO_PARAMETER;
    }
    return findLinkField(kind, Links[link].kindIndex, code);
}

/// A value of a pump is moved, and the call fails all the same: it goes on to a connection, which a pump isn't.
int32_t getLinkResult(int32_t object) {
    return object == OBJECT_CODE_PUMP ? FAILURE : SUCCESS;
}

}  // namespace

int32_t tarnvelde_getParam(int32_t object, const char* name, int32_t code, double* value) {
    if (!value) {
        return FAILURE;
    }
    if (object == OBJECT_CODE_SUBCATCH) {
        const int32_t row = exchange_findRow(SUBCATCH, name, Subcatches.size());
        if (row < 0 || !exists(findField(Subcatches[row], code))) {
            return FAILURE;
        }
        *value = readSubcatch(Subcatches[row], code);
        return SUCCESS;
    }
    Parameter parameter = findNodeParameter(object, name, code);
    if (isLinkCode(object)) {
        const Link* link = exchange_findLink(name, object - OBJECT_CODE_PIPE);
        parameter = link ? findLinkField(link->kind, link->kindIndex, code) : NO_PARAMETER;
    }
    if (!exists(parameter)) {
        return FAILURE;
    }
    if (object != OBJECT_CODE_PIPE || code != 0) {  // the K of a pipe is never told, and that is no failure
        *value = read(parameter);
    }
    return getLinkResult(object);
}

int32_t tarnvelde_setParam(int32_t object, const char* name, int32_t code, double value) {
    if (object == OBJECT_CODE_SUBCATCH) {
        const int32_t row = exchange_findRow(SUBCATCH, name, Subcatches.size());
        if (row < 0 || !exists(findField(Subcatches[row], code))) {
            return FAILURE;
        }
        writeSubcatch(Subcatches[row], code, value);
        return SUCCESS;
    }
    const Parameter parameter = isLinkCode(object) ? findWrittenLinkParameter(object - OBJECT_CODE_PIPE, name, code)
                                                   : findNodeParameter(object, name, code);
    if (!exists(parameter)) {
        return FAILURE;
    }
    write(parameter, value);
    return getLinkResult(object);
}
