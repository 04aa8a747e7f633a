// Pollutants in the layers of a LID unit. Each layer is well mixed; a pollutant goes down with the water, at the
// concentration of the start of the step, and what stays reacts. A layer with next to no water can't hold any
// pollutant: what arrives passes through it within the step. Called by the solver once the fluxes of the step are
// known, with the unit still at its levels before the step.

#include "hydrology/lidquality.h"

#include <algorithm>

#include "model/decay.h"
#include "model/model.h"
#include "model/project.h"
#include "text/units.h"

static constexpr double MIN_VOLUME = 0.01;  ///< m3, below which a layer counts as dry

/// A layer during the step of one pollutant.
struct Layer {
    double volume;  ///< m3, at the start of the step
    double mass;    ///< kg, likewise
    double in;      ///< kg, arriving in the step
    double out;     ///< kg, leaving downward
};

static double getConcentration(double volume, double mass) {
    return volume > MIN_VOLUME ? mass / volume * G_PER_KG : 0.0;
}

/// Mass that a flux (m/s) of the step carries at a concentration (mg/L), kg.
static double getCarriedMass(const LidStep& s, double rate, double concentration) {
    return rate * s.unit->area * s.dt * concentration / G_PER_KG;
}

/// A layer on the way down.
static Layer passDown(const LidStep& s, double volume, double mass, double in, double rate) {
    const bool isDry = !(volume > MIN_VOLUME);
    return {volume, mass, in, isDry ? in : getCarriedMass(s, rate, getConcentration(volume, mass))};
}

/// Concentration of what is left in a layer, mg/L: mass after the step over the volume before it.
static double getMixed(double mass, double volume) {
    return volume > MIN_VOLUME ? std::max(mass / volume * G_PER_KG, 0.0) : 0.0;
}

/// Reaction in a layer; gives the concentration after it and books what is gone.
static double react(const Model& model, const LidStep& s, int32_t p, Decay* rules, double mixed, double volume) {
    const double left = decay_react(model, rules[p], mixed, s.hour, s.dt);
    s.unit->reactedLoad[p] += (mixed - left) * volume / G_PER_KG;
    return left;
}

/// Soil and pavement: what stays reacts.
static double finishLayer(const Model& model, const LidStep& s, int32_t p, const Layer& layer, Decay* rules) {
    const double mixed = getMixed(layer.in + layer.mass - layer.out, layer.volume);
    return react(model, s, p, rules, mixed, layer.volume) * layer.volume / G_PER_KG;
}

/// The surface: water leaves it downward and over the berm. Gives its concentration after the reaction, mg/L.
static double finishSurface(const Model& model, const LidStep& s, int32_t p, double volume, double infilRate) {
    LidUnit& unit = *s.unit;
    const double c = getConcentration(volume, unit.lastSurfaceMass[p]);
    const double mass = s.dt * unit.load[p] + unit.lastSurfaceMass[p] - getCarriedMass(s, infilRate, c) -
                        getCarriedMass(s, s.surfaceOutflow, c);
    const double left = react(model, s, p, s.lid->surfaceDecay, getMixed(mass, volume), volume);
    unit.thisSurfaceMass[p] = left * volume / G_PER_KG;
    unit.surfaceOutLoad[p] += getCarriedMass(s, s.surfaceOutflow, left);
    unit.thisSurfaceLoad[p] = s.surfaceOutflow * unit.area * left / G_PER_KG;
    return left;
}

/// A storage that holds water: seepage and drain take their shares of what stood in it before what arrives, and carry
/// the concentration after the reaction.
static void finishWetStorage(const Model& model, const LidStep& s, int32_t p, double volume, double in) {
    LidUnit& unit = *s.unit;
    const double mass = unit.lastStorageMass[p];
    const double c = getConcentration(volume, mass);
    const double exfil = s.storageExfil * unit.area * s.dt;
    const double drain = s.storageDrain * unit.area * s.dt;
    const double mixed = getMixed(mass + in - drain * c / G_PER_KG - exfil * c / G_PER_KG, volume);
    const double left = react(model, s, p, s.lid->storageDecay, mixed, volume);
    unit.thisStorageMass[p] = left * volume / G_PER_KG;
    unit.exfilLoad[p] += exfil * left / G_PER_KG;
    unit.drainOutLoad[p] += drain * left / G_PER_KG;
    unit.thisDrainLoad[p] = s.storageDrain * unit.area * left / G_PER_KG;
}

/// A storage next to empty: what arrives leaves at once, by the ways that water takes. Without any it is in no total.
static void finishDryStorage(const LidStep& s, int32_t p, double in) {
    LidUnit& unit = *s.unit;
    unit.thisStorageMass[p] = 0.0;
    const double out = s.storageExfil + s.storageDrain;
    if (s.lid->type == LID_GR) {
        unit.drainOutLoad[p] += in;
        unit.thisDrainLoad[p] = in / s.dt;
    } else if (out > 0.0) {
        const double drained = in * s.storageDrain / out;
        unit.drainOutLoad[p] += drained;
        unit.thisDrainLoad[p] = drained / s.dt;
        unit.exfilLoad[p] += in - drained;
    }
}

/// A stack of layers: all types but barrel and swale.
static void moveThroughStack(const Model& model, const LidStep& s, int32_t p) {
    const Lid& lid = *s.lid;
    LidUnit& unit = *s.unit;
    const double surfaceVolume = unit.area * unit.surfaceLevel * lid.surfaceVoid;
    const double storageVolume = unit.area * unit.storageLevel * lid.storageVoid;
    double in = passDown(s, surfaceVolume, unit.lastSurfaceMass[p], s.dt * unit.load[p], s.surfaceInfil).out;
    Layer pavement{}, soil{};
    if (lid.type == LID_PP) {
        pavement = passDown(s, unit.area * unit.pavementLevel * lid.pavementVoid, unit.lastPavementMass[p], in,
                            s.pavementPerc);
        in = pavement.out;
    }
    if (lid.type != LID_IT) {
        soil = passDown(s, unit.area * unit.soilMoisture * lid.soilDepth, unit.lastSoilMass[p], in, s.soilPerc);
        in = soil.out;
    }
    if (storageVolume > MIN_VOLUME) {
        finishWetStorage(model, s, p, storageVolume, in);
    } else {
        finishDryStorage(s, p, in);
    }
    if (lid.type != LID_IT) {
        unit.thisSoilMass[p] = finishLayer(model, s, p, soil, lid.soilDecay);
    }
    if (lid.type == LID_PP) {
        unit.thisPavementMass[p] = finishLayer(model, s, p, pavement, lid.pavementDecay);
    }
    finishSurface(model, s, p, surfaceVolume, s.surfaceInfil);
}

/// A swale has its surface alone, and seeps from it.
static void moveThroughSwale(const Model& model, const LidStep& s, int32_t p) {
    LidUnit& unit = *s.unit;
    const double volume = unit.area * unit.surfaceLevel * s.lid->surfaceVoid;
    const double left = finishSurface(model, s, p, volume, s.storageExfil);
    unit.exfilLoad[p] += getCarriedMass(s, s.storageExfil, left);
}

/// A barrel has its storage alone; what doesn't fit in goes over its rim with the inflow's concentration.
static void moveThroughBarrel(const Model& model, const LidStep& s, int32_t p) {
    LidUnit& unit = *s.unit;
    const double volume = unit.area * unit.storageLevel * s.lid->storageVoid;
    const double load = unit.load[p];
    double in = 0.0;
    unit.thisSurfaceLoad[p] = 0.0;
    if (s.inflow * unit.area * s.dt > MIN_VOLUME) {
        in = s.dt * load * s.storageInflow / s.inflow;
        unit.surfaceOutLoad[p] += s.dt * load * s.surfaceOutflow / s.inflow;
        unit.thisSurfaceLoad[p] = s.surfaceOutflow * load / s.inflow;
    }
    if (volume > MIN_VOLUME) {
        finishWetStorage(model, s, p, volume, in);
        return;
    }
    unit.thisStorageMass[p] = 0.0;
    unit.drainOutLoad[p] += in;
    // Unlike the balance above it, this load doesn't ask how much came in.
    unit.thisDrainLoad[p] = s.inflow != 0.0 ? s.storageInflow * load / s.inflow : 0.0;
}

void lidquality_advance(const Model& model, const LidStep& s) {
    LidUnit& unit = *s.unit;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        unit.inflowLoad[p] += s.dt * unit.load[p];
        switch (s.lid->type) {
            case LID_RB: moveThroughBarrel(model, s, p); break;
            case LID_VS: moveThroughSwale(model, s, p); break;
            default: moveThroughStack(model, s, p); break;
        }
        unit.finalLoad[p] =
            unit.thisSurfaceMass[p] + unit.thisPavementMass[p] + unit.thisSoilMass[p] + unit.thisStorageMass[p];
    }
}

void lidquality_dry(const Model& model, LidUnit& unit, const Lid& lid, int32_t hour, double dt) {
    const double volume = unit.area * unit.soilMoisture * lid.soilDepth;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        const double mass = unit.lastSoilMass[p] = unit.thisSoilMass[p];
        if (mass == 0.0) {
            continue;
        }
        const double mixed = getMixed(mass, volume);
        const double left = decay_react(model, lid.soilDecay[p], mixed, hour, dt);
        unit.reactedLoad[p] += (mixed - left) * volume / G_PER_KG;
        unit.thisSoilMass[p] = left * volume / G_PER_KG;
        unit.finalLoad[p] = unit.thisSoilMass[p];
    }
}
