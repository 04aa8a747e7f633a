// LID monomers. A share of what reaches the node runs through the unit, the rest passes around it and leaves by the
// same link; the underdrain may have a node of its own. The step is that of the routing, with a state apart from all
// units on subcatchments.

#include "nodes/lidmono.h"

#include <cstring>

#include "hydrology/evap.h"
#include "hydrology/gage.h"
#include "hydrology/lidsolver.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/pollut.h"
#include "model/project.h"
#include "nodes/node.h"
#include "text/datetime.h"
#include "text/tokens.h"
#include "text/units.h"

static LidMono& getMono(Model& model, int32_t node) {
    return model.lidMonos[model.nodes[node].kindIndex];
}

// --- reading and validation ----------------------------------------------------------------------------------------

/// The gage, or none: a node that no rain falls on needs none, but must say so.
static int32_t readGage(Model& model, const Tokens& tokens, int32_t& gage) {
    gage = names_find(model, GAGE, tokens[2]);
    if (gage < 0 && (model.options.lidMonoRainfall || std::strcmp(tokens[2], "*") != 0)) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[2]);
    }
    return ERR_NONE;
}

int32_t lidmono_readLine(Model& model, const Tokens& tokens, int32_t node, int32_t kindIndex) {
    if (tokens.count < 7) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const char* id = names_findId(model, NODE, tokens[0]);
    if (!id) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    LidMono mono{};
    LidUnit& unit = mono.unit;
    unit.lid = names_find(model, LID, tokens[1]);
    if (unit.lid < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[1]);
    }
    if (const int32_t error = readGage(model, tokens, mono.gage)) {
        return error;
    }
    if (const int32_t error = lidunit_readItems(model, tokens, 3, true, unit)) {
        return error;
    }
    unit.next = -1;
    unit.subcatch = -1;
    node_setRow(model, node, LID_MONO, kindIndex, id);
    model.lidMonos[kindIndex] = mono;
    return ERR_NONE;
}

void lidmono_validate(Model& model, int32_t node) {
    LidMono& mono = getMono(model, node);
    LidUnit& unit = mono.unit;
    unit.initialSaturation = unit.initialSaturation > 1.0 ? 1.0 : unit.initialSaturation;
    unit.fromImpervious = unit.fromImpervious > 1.0 ? 1.0 : unit.fromImpervious;
    if (mono.gage >= 0) {
        model.gages[mono.gage].isUsed = true;
    }
}

// --- start of a run ------------------------------------------------------------------------------------------------

/// The void of the mat is taken from the definition whose place in its table is the node's place among its kind, which
/// may be another control's. Only the initial storage in the report depends on it.
static double getMatVoid(const Model& model, int32_t kindIndex) {
    return model.lids.holds(kindIndex) ? model.lids[kindIndex].matVoid : 0.0;
}

void lidmono_forgetArrays(Model& model) {
    for (LidMono& mono : model.lidMonos) {
        lidunit_forgetBalance(mono.unit);
        lidunit_forgetArrays(mono.unit);
    }
}

void lidmono_init(Model& model, int32_t node) {
    LidMono& mono = getMono(model, node);
    LidUnit& unit = mono.unit;
    lidunit_initState(unit, model.lids[unit.lid], getMatVoid(model, model.nodes[node].kindIndex));
    unit.dryTime = 0.0;  // and not the dry days of the project, as the units of subcatchments start with
    mono.rainDepth = mono.statOutflowVolume = 0.0;
    mono.evapRate = mono.infilRate = 0.0;
    lidunit_openBalance(model, unit);
    if (!lidunit_createArrays(model, unit, model.memory.results)) {
        errors_report(model, ERR_MEMORY, "");
    }
}

// --- the routing step ----------------------------------------------------------------------------------------------

void lidmono_shiftState(Model& model, int32_t kindIndex) {
    LidMono& mono = model.lidMonos[kindIndex];
    lidunit_shiftState(model, mono.unit);
    mono.evapRate = mono.infilRate = 0.0;
}

/// Loads that enter the unit: its share of the node's, and with its rain.
static void setLoads(const Model& model, const Node& node, LidUnit& unit, double rain, double dt) {
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        unit.load[p] = node.massInflow[p] * unit.fromImpervious;
        if (model.options.lidMonoRainfall) {
            const double concentration = model.polluts[p].rainConcentration;
            unit.load[p] += unit.area * rain * concentration / G_PER_KG;
            unit.rainLoad[p] += unit.area * rain * concentration * dt / G_PER_KG;
        }
    }
}

/// Mixes what comes over the surface with what passed around the unit. The load of a drain that joins the link is left
/// out, though its water is in the link's flow.
static void mixOutflow(const Model& model, Node& node, const LidUnit& unit) {
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        const double bypass = (1.0 - unit.fromImpervious) * node.massInflow[p];
        node.newQual[p] =
            unit.thisSurfaceFlow == 0.0 ? 0.0 : (unit.thisSurfaceLoad[p] + bypass) / unit.thisSurfaceFlow * G_PER_KG;
    }
}

/// Whether the load of the drain goes along with its water.
static bool passesDrainLoad(const Model& model, const LidUnit& unit) {
    return unit.area * model.lids[unit.lid].storageVoid * unit.storageLevel != 0.0;
}

/// Hands the drain to its node. The load goes along only while the storage still holds water after the step: the last
/// of it, and all of controls without a storage, loses its pollutants here.
static void passDrain(Model& model, const LidUnit& unit) {
    if (unit.drainNode == -1) {
        return;
    }
    Node& target = model.nodes[unit.drainNode];
    target.newLatFlow += unit.thisDrainFlow;
    if (passesDrainLoad(model, unit)) {
        for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
            target.massInflow[p] += unit.thisDrainLoad[p];
        }
    }
}

void lidmono_step(Model& model, int32_t index) {
    Node& node = model.nodes[index];
    LidMono& mono = getMono(model, index);
    LidUnit& unit = mono.unit;
    const double dt = model.options.routingStep;
    const double rain = mono.gage >= 0 ? model.gages[mono.gage].rain : 0.0;
    double inflow = node.newInflow / unit.area * unit.fromImpervious;
    const double bypass = (1.0 - unit.fromImpervious) * node.newInflow;
    if (model.options.lidMonoRainfall) {
        inflow += rain;
    }
    setLoads(model, node, unit, rain, dt);
    // No evaporation in rain, also where the rain itself doesn't fall on the node. The hour of the reactions is that of
    // the runoff clock, for a node in the network too.
    LidStep step;
    step.unit = &unit;
    step.lid = &model.lids[unit.lid];
    step.hour = datetime_getHour(model_getDate(model, model.clock.newRunoffTime));
    step.dt = dt;
    step.inflow = inflow;
    step.evap = rain > 0.0 ? 0.0 : model.evap->rate;
    const LidOutflow out = lidsolver_advance(model, step);
    unit.thisDrainFlow = out.drain * unit.area;
    unit.thisSurfaceFlow = out.surface * unit.area + bypass;
    mono.infilRate = out.infil * MM_PER_HOUR;
    mono.evapRate = out.evap * MM_PER_DAY;
    mono.statOutflowVolume += dt * lidmono_getOutflow(mono);
    mixOutflow(model, node, unit);
    passDrain(model, unit);
    unit.dryTime = !(rain > DRY_RATE) ? unit.dryTime + dt : 0.0;
    if (model.options.lidMonoRainfall) {
        mono.rainDepth += dt * rain;
    }
}

int32_t lidmono_getDrainTarget(const Model& model, int32_t kindIndex, int32_t* targets) {
    if (!model.lidMonos.holds(kindIndex) || model.lidMonos[kindIndex].unit.drainNode < 0) {
        return 0;
    }
    targets[0] = model.lidMonos[kindIndex].unit.drainNode;
    return 1;
}

double lidmono_getOutflow(const LidMono& mono) {
    const LidUnit& unit = mono.unit;
    return unit.drainNode == -1 ? unit.thisSurfaceFlow + unit.thisDrainFlow : unit.thisSurfaceFlow;
}

// --- results -------------------------------------------------------------------------------------------------------

double lidmono_getVolume(const Model& model, int32_t kindIndex) {
    const LidUnit& unit = model.lidMonos[kindIndex].unit;
    const Lid& lid = model.lids[unit.lid];
    // Of the soil the porosity stands for the depth, as in the concentrations of the rows of results.
    return unit.area * (unit.surfaceLevel * lid.surfaceVoid + unit.pavementLevel * lid.pavementVoid +
                        unit.soilMoisture * lid.porosity + unit.storageLevel * lid.storageVoid);
}

Balance lidmono_getBalance(const Model& model, const Node& node) {
    const LidMono& mono = model.lidMonos[node.kindIndex];
    const LidUnit& unit = mono.unit;
    Balance balance = lidunit_getBalance(unit);
    balance.in = node.statInflowVolume + unit.area * mono.rainDepth;
    balance.out = mono.statOutflowVolume + (unit.drainNode == -1 ? 0.0 : unit.area * unit.drainDepth);
    balance.initial = 0.0;
    return balance;
}

double lidmono_getPassedDrainLoad(const Model& model, const LidMono& mono, int32_t pollutant) {
    const LidUnit& unit = mono.unit;
    return unit.drainNode != -1 && passesDrainLoad(model, unit) ? unit.thisDrainLoad[pollutant] : 0.0;
}
