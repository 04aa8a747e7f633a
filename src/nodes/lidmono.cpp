// LID monomers. A share of what reaches the node runs through the unit, the rest passes around it and leaves by the
// same link; the underdrain may have a node of its own. The step is that of the routing, with a state apart from all
// units on subcatchments.

#include "nodes/lidmono.h"

#include <algorithm>
#include <cstring>

#include "hydrology/evap.h"
#include "hydrology/gage.h"
#include "hydrology/lidunit.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/pollut.h"
#include "model/project.h"
#include "nodes/node.h"
#include "text/tokens.h"

Table<LidMono> LidMonos;

static constexpr double MM_PER_HOUR = 3600000.0;  ///< mm/h in one m/s
static constexpr double MM_PER_DAY = 86400000.0;  ///< mm/day in one m/s

static LidMono& getMono(int32_t node) {
    return LidMonos[Nodes[node].kindIndex];
}

// --- reading and validation ----------------------------------------------------------------------------------------

/// The gage, or none: a node that no rain falls on needs none, but must say so.
static int32_t readGage(const Tokens& tokens, int32_t& gage) {
    gage = names_find(GAGE, tokens[2]);
    if (gage < 0 && (LidMonoRainfall || std::strcmp(tokens[2], "*") != 0)) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[2]);
    }
    return ERR_NONE;
}

int32_t lidmono_readLine(const Tokens& tokens, int32_t node, int32_t kindIndex) {
    if (tokens.count < 7) {
        return errors_setName(ERR_ITEMS, "");
    }
    const char* id = names_findId(NODE, tokens[0]);
    if (!id) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    LidMono mono{};
    mono.lid = names_find(LID, tokens[1]);
    if (mono.lid < 0) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[1]);
    }
    if (const int32_t error = readGage(tokens, mono.gage)) {
        return error;
    }
    double values[4];
    for (int32_t k = 0; k < 4; ++k) {
        if (!tokens_getNonNegative(tokens[3 + k], &values[k]) || (k == 0 && !(values[k] > 0.0))) {
            return errors_setName(ERR_NUMBER, tokens[3 + k]);
        }
    }
    mono.area = values[0];
    mono.fullWidth = values[1];
    mono.initialSaturation = values[2] / 100.0;
    mono.fromImpervious = values[3] / 100.0;
    mono.drainNode = -1;
    if (tokens.count > 7) {
        mono.drainNode = names_find(NODE, tokens[7]);
        if (mono.drainNode < 0) {
            return errors_setName(ERR_UNDEFINED_OBJECT, tokens[7]);
        }
    }
    mono.next = -1;
    node_setRow(node, LID_MONO, kindIndex, id);
    LidMonos[kindIndex] = mono;
    return ERR_NONE;
}

void lidmono_validate(int32_t node) {
    LidMono& mono = getMono(node);
    mono.initialSaturation = mono.initialSaturation > 1.0 ? 1.0 : mono.initialSaturation;
    mono.fromImpervious = mono.fromImpervious > 1.0 ? 1.0 : mono.fromImpervious;
    if (mono.gage >= 0) {
        Gages[mono.gage].isUsed = 1;
    }
}

// --- start of a run ------------------------------------------------------------------------------------------------

/// The void of the mat is taken from the definition whose place in its table is the node's place among its kind, which
/// may be another control's. Only the initial storage in the report depends on it, and users compare that with older
/// runs.
static double getMatVoid(int32_t kindIndex) {
    return Lids.holds(kindIndex) ? Lids[kindIndex].matVoid : 0.0;
}

static void initLevels(LidMono& mono, int32_t kindIndex) {
    const Lid& lid = Lids[mono.lid];
    mono.surfaceLevel = mono.pavementLevel = mono.soilMoisture = mono.storageLevel = 0.0;
    double depth = 0.0;
    if (lid.soilDepth > 0.0) {
        mono.soilMoisture = lid.wiltingPoint + (lid.porosity - lid.wiltingPoint) * mono.initialSaturation;
        depth = mono.soilMoisture * lid.soilDepth;
    }
    if (lid.storageDepth > 0.0) {
        mono.storageLevel = lid.storageDepth * mono.initialSaturation;
        depth += mono.storageLevel * lid.storageVoid;
    }
    if (lid.matDepth > 0.0) {
        mono.storageLevel = lid.matDepth * mono.initialSaturation;
        depth += mono.storageLevel * getMatVoid(kindIndex);
    }
    mono.initialDepth = mono.finalDepth = depth;
}

/// The twelve arrays of masses and loads side by side, or none.
static void setArrays(LidMono& mono, double* memory) {
    const int64_t count = project_pollutantCount();
    double** const arrays[] = {&mono.lastSurfaceMass, &mono.lastPavementMass, &mono.lastSoilMass,
                               &mono.lastStorageMass, &mono.thisSurfaceMass,  &mono.thisPavementMass,
                               &mono.thisSoilMass,    &mono.thisStorageMass,  &mono.lastSurfaceLoad,
                               &mono.thisSurfaceLoad, &mono.lastDrainLoad,    &mono.thisDrainLoad};
    for (double** array : arrays) {
        *array = memory;
        memory += memory ? count : 0;
    }
}

static void allocArrays(LidMono& mono) {
    double* memory = arena_allocateArray<double>(ResultArena, 12 * static_cast<int64_t>(project_pollutantCount()));
    if (!memory) {
        report_writeError(ERR_MEMORY, "");
    }
    setArrays(mono, memory);
}

void lidmono_forgetArrays() {
    for (LidMono& mono : LidMonos) {
        lid_freeBalance(mono);
        setArrays(mono, nullptr);
    }
}

void lidmono_init(int32_t node) {
    LidMono& mono = getMono(node);
    mono.dryTime = 0.0;  // and not the dry days of the project, as the units of subcatchments start with
    initLevels(mono, Nodes[node].kindIndex);
    mono.rainDepth = mono.inflowDepth = mono.evapDepth = mono.infilDepth = 0.0;
    mono.surfaceOutDepth = mono.drainDepth = 0.0;
    lid_allocBalance(mono);
    mono.lastSurfaceFlow = mono.thisSurfaceFlow = mono.lastDrainFlow = mono.thisDrainFlow = 0.0;
    mono.evapRate = mono.infilRate = 0.0;
    mono.surfaceChange = mono.soilChange = mono.storageChange = mono.pavementChange = 0.0;
    allocArrays(mono);
}

// --- the routing step ----------------------------------------------------------------------------------------------

static void roll(double& last, double& current) {
    last = current;
    current = 0.0;
}

void lidmono_shiftState(int32_t kindIndex) {
    LidMono& mono = LidMonos[kindIndex];
    roll(mono.lastSurfaceFlow, mono.thisSurfaceFlow);
    roll(mono.lastDrainFlow, mono.thisDrainFlow);
    mono.evapRate = mono.infilRate = 0.0;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        roll(mono.lastSurfaceMass[p], mono.thisSurfaceMass[p]);
        roll(mono.lastPavementMass[p], mono.thisPavementMass[p]);
        roll(mono.lastSoilMass[p], mono.thisSoilMass[p]);
        roll(mono.lastStorageMass[p], mono.thisStorageMass[p]);
        roll(mono.lastSurfaceLoad[p], mono.thisSurfaceLoad[p]);
        roll(mono.lastDrainLoad[p], mono.thisDrainLoad[p]);
    }
}

/// Loads that enter the unit: its share of the node's, and with its rain.
static void setLoads(const Node& node, LidMono& mono, double rain, double dt, double* load) {
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        load[p] = node.massInflow[p] * mono.fromImpervious;
        if (LidMonoRainfall) {
            const double concentration = Polluts[p].rainConcentration;
            load[p] += mono.area * rain * concentration / 1000.0;
            mono.rainLoad[p] += mono.area * rain * concentration * dt / 1000.0;
        }
    }
}

/// Mixes what comes over the surface with what passed around the unit. The load of a drain that joins the link is left
/// out, though its water is in the link's flow.
static void mixOutflow(Node& node, const LidMono& mono) {
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        const double bypass = (1.0 - mono.fromImpervious) * node.massInflow[p];
        node.newQual[p] =
            mono.thisSurfaceFlow == 0.0 ? 0.0 : (mono.thisSurfaceLoad[p] + bypass) / mono.thisSurfaceFlow * 1000.0;
    }
}

/// Hands the drain to its node. The load goes along only while the storage still holds water behind the step: the last
/// of it, and all of controls without a storage, loses its pollutants here.
static void passDrain(const LidMono& mono, double drainFlow) {
    if (mono.drainNode == -1) {
        return;
    }
    Node& target = Nodes[mono.drainNode];
    target.newLatFlow += drainFlow;
    const Lid& lid = Lids[mono.lid];
    if (mono.area * lid.storageVoid * mono.storageLevel != 0.0) {
        for (int32_t p = 0; p < project_pollutantCount(); ++p) {
            target.massInflow[p] += mono.thisDrainLoad[p];
        }
    }
}

void lidmono_step(int32_t index) {
    Node& node = Nodes[index];
    if (node.kind != LID_MONO) {
        return;
    }
    LidMono& mono = getMono(index);
    const double dt = RoutingStep;
    const double rain = mono.gage >= 0 ? Gages[mono.gage].rain : 0.0;
    const double evap = rain > 0.0 ? 0.0 : Evap.rate;  // also where the rain itself doesn't fall on the node
    double inflow = node.newInflow / mono.area * mono.fromImpervious;
    const double bypass = (1.0 - mono.fromImpervious) * node.newInflow;
    if (LidMonoRainfall) {
        inflow += rain;
    }
    double* load = lid_getLoadScratch();
    setLoads(node, mono, rain, dt, load);
    double evapRate, infilRate, drainRate;
    const double outflow =
        lid_solveUnit(mono, Lids[mono.lid], inflow, evap, dt, &evapRate, &infilRate, &drainRate, load);
    mono.thisDrainFlow = drainRate * mono.area;
    mono.infilRate = infilRate * MM_PER_HOUR;
    mono.thisSurfaceFlow = outflow * mono.area + bypass;
    mono.evapRate = evapRate * MM_PER_DAY;
    mixOutflow(node, mono);
    passDrain(mono, drainRate * mono.area);
    mono.dryTime = !(rain > DRY_RATE) ? mono.dryTime + dt : 0.0;
    if (LidMonoRainfall) {
        mono.rainDepth += dt * rain;
    }
    lid_addBalance();
}

int32_t lidmono_getDrainTarget(int32_t kindIndex, int32_t* targets) {
    if (!LidMonos.holds(kindIndex) || LidMonos[kindIndex].drainNode < 0) {
        return 0;
    }
    targets[0] = LidMonos[kindIndex].drainNode;
    return 1;
}

double lidmono_getOutflow(const LidMono& mono) {
    return mono.drainNode == -1 ? mono.thisSurfaceFlow + mono.thisDrainFlow : mono.thisSurfaceFlow;
}

// --- results -------------------------------------------------------------------------------------------------------

double lidmono_getVolume(int32_t kindIndex) {
    const LidMono& mono = LidMonos[kindIndex];
    const Lid& lid = Lids[mono.lid];
    // Of the soil the porosity stands for the depth, as in the concentrations below.
    return mono.area * (mono.surfaceLevel * lid.surfaceVoid + mono.pavementLevel * lid.pavementVoid +
                        mono.soilMoisture * lid.porosity + mono.storageLevel * lid.storageVoid);
}

/// Concentrations of a layer, mg/L, over its present volume (m3).
static void setLayer(const double* lastMass, const double* thisMass, double volume, double f, float* row) {
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        const double last = lastMass ? lastMass[p] : 0.0;
        const double now = thisMass ? thisMass[p] : 0.0;
        row[p] = volume == 0.0 ? 0.0F : static_cast<float>(((1.0 - f) * last + f * now) / volume * 1000.0);
    }
}

void lidmono_getResults(int32_t index, double f, float* row) {
    const Node& node = Nodes[index];
    const LidMono& mono = getMono(index);
    const Lid& lid = Lids[mono.lid];
    const double u = 1.0 - f;
    const double rain = mono.gage >= 0 ? Gages[mono.gage].reportRain * MM_PER_HOUR : 0.0;
    const double values[] = {u * node.oldInflow + f * node.newInflow,
                             u * node.oldLatFlow + f * node.newLatFlow,
                             rain,
                             mono.evapRate,
                             u * mono.lastSurfaceFlow + f * mono.thisSurfaceFlow,
                             mono.infilRate,
                             u * mono.lastDrainFlow + f * mono.thisDrainFlow,
                             mono.surfaceLevel,
                             mono.soilMoisture,
                             mono.storageLevel,
                             mono.pavementLevel};
    for (const double value : values) {
        *row++ = static_cast<float>(value);
    }
    const int32_t count = project_pollutantCount();
    setLayer(mono.lastSurfaceMass, mono.thisSurfaceMass, lid.surfaceVoid * mono.surfaceLevel * mono.area, f, row);
    // Of the soil the volume is porosity times moisture here, not moisture times depth, which is its water: results
    // have always shown its concentrations so.
    setLayer(mono.lastSoilMass, mono.thisSoilMass, lid.porosity * mono.soilMoisture * mono.area, f, row + count);
    setLayer(mono.lastStorageMass, mono.thisStorageMass, lid.storageVoid * mono.storageLevel * mono.area, f,
             row + 2 * count);
    setLayer(mono.lastPavementMass, mono.thisPavementMass, lid.pavementVoid * mono.pavementLevel * mono.area, f,
             row + 3 * count);
}
