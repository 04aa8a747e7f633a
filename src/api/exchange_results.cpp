// Results, read by number between steps: the values as they stand after the step, not interpolated. Only a subcatchment
// and the concentrations answer with success; of the other values a host must read what is stored and pass over the
// code.

#include <optional>

#include "api/exchange.h"
#include "hydrology/gage.h"
#include "hydrology/lid.h"
#include "hydrology/subcatch.h"
#include "links/conduit.h"
#include "links/connection.h"
#include "links/pipe.h"
#include "nodes/lidmono.h"
#include "nodes/node.h"
#include "nodes/reactor.h"
#include "nodes/tank.h"
#include "tarnvelde.h"

namespace {

/// What a call finds: a value and the code to answer with, or nothing.
struct Answer {
    double value;
    int32_t result;
};

using Found = std::optional<Answer>;

/// A value that is handed over with the failure code.
Found tell(double value) {
    return Answer{value, FAILURE};
}

/// The concentration with number `code` - `first`, mg/L.
Found tellQuality(const double* quality, int32_t code, int32_t first) {
    const int32_t p = code - first;
    if (p < 0 || p >= project_pollutantCount() || !quality) {
        return std::nullopt;
    }
    return Answer{quality[p], SUCCESS};
}

Found findSubcatchResult(const Subcatch& s, int32_t code) {
    switch (code) {
        case 0: return Answer{s.rain * 3600000.0, SUCCESS};
        case 1: return Answer{s.evapRate * 86400000.0, SUCCESS};
        case 2: return Answer{s.infilRate * 3600000.0, SUCCESS};
        case 3: return Answer{s.thisRunoff < s.area * DRY_RATE ? 0.0 : s.thisRunoff, SUCCESS};
        default: return tellQuality(s.thisQuality, code, 4);
    }
}

// --- nodes ---------------------------------------------------------------------------------------------------------

Found findPlainNodeResult(const Node& node, int32_t code) {
    switch (code) {
        case 0: return tell(node.newInflow);
        case 1: return tell(node.newLatFlow);
        default: return tellQuality(node.newQual, code, 2);
    }
}

Found findTankResult(const Node& node, int32_t code) {
    const Tank& tank = Tanks[node.kindIndex];
    switch (code) {
        case 0: return tell(tank.newDepth);
        case 1: return tell(tank_getVolume(static_cast<int32_t>(&node - Nodes.data()), tank.newDepth));
        case 2: return tell(node.newInflow);
        case 3: return tell(node.newLatFlow);
        case 4: return tell(tank.newFlood);
        default: return tellQuality(node.newQual, code, 5);
    }
}

Found findSplitterResult(const Node& node, int32_t code) {
    const Splitter& splitter = Splitters[node.kindIndex];
    switch (code) {
        case 0: return tell(node.newInflow);
        case 1: return tell(node.newLatFlow);
        case 2: return tell(splitter.newFlow);
        case 3: return tell(node.newInflow - splitter.newFlow);
        default: return tellQuality(node.newQual, code, 4);
    }
}

/// Evaporation and infiltration are in mm/day and mm/h, as they stand after a step.
Found findReactorResult(const Node& node, int32_t code) {
    const Reactor& reactor = Reactors[node.kindIndex];
    switch (code) {
        case 0: return tell(reactor.storedVolume);
        case 1: return tell(node.newInflow);
        case 2: return tell(node.newLatFlow);
        case 3: return tell(reactor.newOutflow);
        case 4: return tell(reactor.surpassFlow);
        case 5: return tell(reactor.evapFlow);
        case 6: return tell(reactor.infilFlow);
        case 7: return tell(reactor.emptyingFlow);
        default: return tellQuality(node.newQual, code, 8);
    }
}

/// Concentration of a mass (kg, of one pollutant) in a volume, mg/L; 0 in no volume. Before a first start there are no
/// masses: they count as 0.
double getConcentration(const double* masses, int32_t p, double volume) {
    return volume > 0.0 && masses ? masses[p] / volume * 1000.0 : 0.0;
}

/// The numbers end with the first pollutant of the soil: further layers can't be asked for.
Found findLidMonoQuality(const LidUnit& unit, int32_t code) {
    const Lid* lid = Lids.holds(unit.lid) ? &Lids[unit.lid] : nullptr;
    const int32_t p = code - 11;
    if (!lid || p < 0 || project_pollutantCount() == 0 || p > project_pollutantCount()) {
        return std::nullopt;
    }
    if (p < project_pollutantCount()) {
        const double volume = unit.surfaceLevel * lid->surfaceVoid * unit.area;
        return Answer{getConcentration(unit.thisSurfaceMass, p, volume), SUCCESS};
    }
    return tell(getConcentration(unit.thisSoilMass, 0, unit.soilMoisture * lid->porosity * unit.area));
}

Found findLidMonoResult(const Node& node, int32_t code) {
    const LidMono& mono = LidMonos[node.kindIndex];
    const LidUnit& unit = mono.unit;
    switch (code) {
        case 0: return tell(node.newInflow);
        case 1: return tell(node.newLatFlow);
        case 2: return tell(mono.gage >= 0 ? Gages[mono.gage].rain * 3600000.0 : 0.0);
        case 3: return tell(mono.evapRate);
        case 4: return tell(unit.thisSurfaceFlow);
        case 5: return tell(mono.infilRate);
        case 6: return tell(unit.thisDrainFlow);
        case 7: return tell(unit.surfaceLevel);
        case 8: return tell(unit.soilMoisture);
        case 9: return tell(unit.storageLevel);
        case 10: return tell(unit.pavementLevel);
        default: return findLidMonoQuality(unit, code);
    }
}

Found findNodeResult(int32_t kind, const char* name, int32_t code) {
    const Node* node = exchange_findNode(name, kind);
    if (!node) {
        return std::nullopt;
    }
    switch (kind) {
        case TANK: return findTankResult(*node, code);
        case SPLITTER: return findSplitterResult(*node, code);
        case REACTOR: return findReactorResult(*node, code);
        case LID_MONO: return findLidMonoResult(*node, code);
        default: return findPlainNodeResult(*node, code);
    }
}

// --- links ---------------------------------------------------------------------------------------------------------

Found findPipeResult(const Link& link, int32_t code) {
    const Pipe& pipe = Pipes[link.kindIndex];
    switch (code) {
        case 0: return tell(pipe_getVolume(pipe));
        case 1: return tell(pipe.newInflow);
        case 2: return tell(link.newFlow);
        case 3: return tell(pipe.newFlood);
        default: return tellQuality(link.newQual, code, 4);
    }
}

Found findConnectionResult(const Link& link, int32_t code) {
    switch (code) {
        case 0: return tell(Connections[link.kindIndex].newInflow);
        case 1: return tell(link.newFlow);
        default: return tellQuality(link.newQual, code, 2);
    }
}

Found findConduitResult(const Link& link, int32_t code) {
    const Conduit& conduit = Conduits[link.kindIndex];
    const double area = conduit_getArea(static_cast<int32_t>(&link - Links.data()), conduit.depth);
    switch (code) {
        case 0: return tell(conduit.depth);
        case 1: return tell(area * conduit.length);
        case 2: return tell(area != 0.0 && link.newFlow / area > 0.0 ? 1.0 : 0.0);  // whether it flows, not how fast
        case 3: return tell(conduit.newInflow);
        case 4: return tell(link.newFlow);
        case 5: return tell(conduit.newFlood);
        default: return tellQuality(link.newQual, code, 6);
    }
}

Found findLinkResult(int32_t kind, const char* name, int32_t code) {
    const Link* link = exchange_findLink(name, kind);
    if (!link) {
        return std::nullopt;
    }
    switch (kind) {
        case PIPE: return findPipeResult(*link, code);
        case CONNECTION: return findConnectionResult(*link, code);
        case CONDUIT: return findConduitResult(*link, code);
        default: return code == 0 ? tell(link->newFlow) : tellQuality(link->newQual, code, 1);
    }
}

Found findResult(int32_t object, const char* name, int32_t code) {
    switch (object) {
        case OBJECT_CODE_SUBCATCH: {
            const int32_t row = exchange_findRow(SUBCATCH, name, Subcatches.size());
            return row >= 0 ? findSubcatchResult(Subcatches[row], code) : std::nullopt;
        }
        case OBJECT_CODE_JUNCTION: return findNodeResult(JUNCTION, name, code);
        case OBJECT_CODE_TANK: return findNodeResult(TANK, name, code);
        case OBJECT_CODE_OUTFALL: return findNodeResult(OUTFALL, name, code);
        case OBJECT_CODE_SPLITTER: return findNodeResult(SPLITTER, name, code);
        case OBJECT_CODE_REACTOR: return findNodeResult(REACTOR, name, code);
        case OBJECT_CODE_LID_MONO: return findNodeResult(LID_MONO, name, code);
        case OBJECT_CODE_PIPE: return findLinkResult(PIPE, name, code);
        case OBJECT_CODE_PUMP: return findLinkResult(PUMP, name, code);
        case OBJECT_CODE_CONNECTION: return findLinkResult(CONNECTION, name, code);
        case OBJECT_CODE_CONDUIT: return findLinkResult(CONDUIT, name, code);
        case OBJECT_CODE_WEIR: return findLinkResult(WEIR, name, code);
        case OBJECT_CODE_ORIFICE: return findLinkResult(ORIFICE, name, code);
        default: return std::nullopt;
    }
}

}  // namespace

int32_t tarnvelde_getResult(int32_t object, const char* name, int32_t code, double* value) {
    if (!value || code < 0) {
        return FAILURE;
    }
    const Found found = findResult(object, name, code);
    if (!found) {
        return FAILURE;
    }
    *value = found->value;
    return found->result;
}
