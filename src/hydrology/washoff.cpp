// Pollutants on the subcatchments. Each land use on its share of the area builds up mass in dry weather and gives it to
// the runoff; rain brings pollutants of its own, which stand well mixed in the ponded water and leave with it. Called
// by the runoff step. Masses are in kg.

#include "hydrology/washoff.h"

#include "hydrology/landuse.h"
#include "model/model.h"
#include "model/pollut.h"
#include "model/project.h"
#include "text/units.h"

// --- buildup -------------------------------------------------------------------------------------------------------

void washoff_initBuildup(const Model& model, Subcatch& subcatch) {
    for (int32_t l = 0; l < model.landuses.size(); ++l) {
        const Landuse& landuse = model.landuses[l];
        LandShare& share = subcatch.landShares[l];
        const double area = subcatch.area * share.fraction * HA_PER_M2;
        for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
            share.buildup[p] =
                subcatch.initialLoad[p] > 0.0
                    ? subcatch.initialLoad[p] * area
                    : landuse_getBuildup(landuse.buildup[p], area, 0.0, model.options.startDryDays * SECONDS_PER_DAY);
            if (subcatch.initBuildup && landuse.washoff[p].usesBuildup) {
                subcatch.initBuildup[p] += share.buildup[p];
            }
        }
    }
}

// --- washoff -------------------------------------------------------------------------------------------------------

void washoff_washLand(const Model& model, Subcatch& subcatch, double rate, double dt) {
    if (rate < DRY_RATE) {
        return;
    }
    RunoffRate runoff = landuse_makeRate(rate);
    for (int32_t l = 0; l < model.landuses.size(); ++l) {
        LandShare& share = subcatch.landShares[l];
        if (!(share.fraction > 0.0)) {
            continue;
        }
        const double landArea = subcatch.area * share.fraction;
        for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
            const WashoffRule& rule = model.landuses[l].washoff[p];
            double& buildup = share.buildup[p];
            double mass = landuse_getWashoff(rule, buildup, landArea, runoff) * dt * subcatch.thisRunoff * landArea /
                          subcatch.area;
            if (rule.usesBuildup) {
                if (buildup > mass) {
                    buildup -= mass;
                } else {
                    mass = buildup;
                    buildup = 0.0;
                }
            }
            const double removed = mass * rule.removal;
            if (removed > 0.0) {
                mass -= removed;
            }
            subcatch.runoffLoad[p] += mass;
            subcatch.thisWashoffRate[p] += mass / dt;
            subcatch.bmpRemoval[p] += removed;
            if (!rule.usesBuildup) {
                // What no buildup paid for enters the balance as if it had built up in this step.
                subcatch.surfaceBuildup[p] += mass + removed;
            }
        }
    }
}

/// Share of the washoff of rain and ponded water that the land uses of a subcatchment treat.
static double getRemoval(const Model& model, const Subcatch& subcatch, int32_t pollutant) {
    double removal = 0.0;
    for (int32_t l = 0; l < model.landuses.size(); ++l) {
        removal += subcatch.landShares[l].fraction * model.landuses[l].washoff[pollutant].removal;
    }
    return removal;
}

void washoff_washRain(const Model& model, Subcatch& subcatch, const RunoffVolumes& volumes, double dt) {
    if (subcatch.area == subcatch.lidArea) {
        return;
    }
    const double area = subcatch.area - subcatch.lidArea;
    const double f = subcatch.imperviousFraction;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        const double deposition = model.polluts[p].rainConcentration / G_PER_KG * area * subcatch.rain * dt;
        subcatch.wetDeposition[p] += deposition;
        if (volumes.wetInflow == 0.0) {
            subcatch.pondedMass[p] = 0.0;
            continue;
        }
        const double mass = deposition + subcatch.pondedMass[p];
        const double concentration = mass / volumes.wetInflow;
        double infiltrated = (volumes.infil - volumes.lidInfil) * concentration;
        infiltrated = infiltrated > mass ? mass : infiltrated;
        subcatch.infilLoss[p] += infiltrated;
        double out = volumes.surfaceOutflow * concentration;
        out = out > mass - infiltrated ? mass - infiltrated : out;
        const double removal = getRemoval(model, subcatch, p);
        subcatch.bmpRemoval[p] += removal * out;
        // What stays is worked out from the depths, not from what is left: mass is kept as far as they agree.
        subcatch.pondedMass[p] =
            ((1.0 - f) * subcatch.perviousDepth + f * subcatch.imperviousDepth) * concentration * area;
        const double rest = out - removal * out;
        subcatch.runoffLoad[p] += rest;
        subcatch.thisWashoffRate[p] += rest / dt;
    }
}

void washoff_dryPond(const Model& model, Subcatch& subcatch, double wetInflow) {
    const double area = subcatch.area - subcatch.lidArea;
    const double depth = subcatch.imperviousFraction * subcatch.imperviousDepth;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        double& mass = subcatch.pondedMass[p];
        if (mass != 0.0) {
            mass = wetInflow == 0.0 ? 0.0 : depth * (mass / wetInflow) * area;
        }
    }
}
