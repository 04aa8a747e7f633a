#pragma once
// One LID unit on a definition of its own, outside any project: for tests of its water and its pollutants.

#include <gtest/gtest.h>

#include <vector>

#include "hydrology/lid.h"
#include "hydrology/lidquality.h"
#include "hydrology/lidrates.h"
#include "hydrology/lidsolver.h"
#include "hydrology/lidunit.h"
#include "model/decay.h"
#include "model/project.h"
#include "support/model.h"
#include "support/tables.h"

struct States {
    double surface, soil, storage, pavement;
};

class UnitTest : public ::testing::Test, protected Tables {
protected:
    Lid lid{};
    LidUnit unit{};
    std::vector<double> load;
    LidStep fluxes{};
    LidStates rates{};

    // Outputs of the last step, m/s.
    double evapRate = 0.0, infilRate = 0.0, drainRate = 0.0, outflow = 0.0;

    void SetUp() override {
        lid.surfaceVoid = 1.0;
        lid.storageVoid = 1.0;
        unit.area = 100.0;
        unit.drainNode = unit.next = -1;
        setPollutants(0);
    }

    void setPollutants(int32_t count) {
        setPollutantCount(count);
        const size_t size = static_cast<size_t>(count);
        rules.assign(5 * size, NO_DECAY);
        values.assign(17 * size, 0.0);
        load.assign(size, 0.0);
        Decay* rule = rules.data();
        for (Decay** array :
             {&lid.surfaceDecay, &lid.pavementDecay, &lid.soilDecay, &lid.storageDecay, &lid.matDecay}) {
            *array = rule;
            rule += count;
        }
        unit.load = load.data();
        double* value = values.data();
        for (double** array :
             {&unit.lastSurfaceMass, &unit.lastPavementMass, &unit.lastSoilMass, &unit.lastStorageMass,
              &unit.thisSurfaceMass, &unit.thisPavementMass, &unit.thisSoilMass, &unit.thisStorageMass,
              &unit.thisSurfaceLoad, &unit.thisDrainLoad, &unit.rainLoad, &unit.inflowLoad, &unit.exfilLoad,
              &unit.surfaceOutLoad, &unit.drainOutLoad, &unit.finalLoad, &unit.reactedLoad}) {
            *array = value;
            value += count;
        }
    }

    void setSoil(double depth, double porosity, double fieldCapacity, double wiltingPoint, double rate, double slope) {
        lid.soilDepth = depth;
        lid.porosity = porosity;
        lid.fieldCapacity = fieldCapacity;
        lid.wiltingPoint = wiltingPoint;
        lid.soilRate = rate;
        lid.soilSlope = slope;
    }

    void setStorage(double depth, double voidFraction, double rate) {
        lid.storageDepth = depth;
        lid.storageVoid = voidFraction;
        lid.storageRate = rate;
    }

    void setDrain(double coefficient, double exponent, double offset) {
        lid.drainCoefficient = coefficient;
        lid.drainExponent = exponent;
        lid.drainOffset = offset;
    }

    void setLevels(const States& x) {
        unit.surfaceLevel = x.surface;
        unit.soilMoisture = x.soil;
        unit.storageLevel = x.storage;
        unit.pavementLevel = x.pavement;
    }

    /// Makes a step, for a call of a rate function by itself.
    void begin(double dt, double inflow, double evap = 0.0, double surfaceInfil = 0.0) {
        fluxes = LidStep{};
        fluxes.unit = &unit;
        fluxes.lid = &lid;
        fluxes.dt = dt;
        fluxes.inflow = inflow;
        fluxes.evap = evap;
        fluxes.surfaceInfil = surfaceInfil;
    }

    void call(LidStates (*function)(LidStep&, const LidStates&), const States& x) {
        rates = function(fluxes, {x.surface, x.soil, x.storage, x.pavement});
    }

    /// One step of the unit.
    void step(double dt, double inflow, double evap = 0.0) {
        begin(dt, inflow, evap);
        const LidOutflow out = lidsolver_advance(testModel(), fluxes);
        evapRate = out.evap;
        infilRate = out.infil;
        drainRate = out.drain;
        outflow = out.surface;
    }

    /// New becomes old for all masses and loads.
    void shift() {
        for (size_t p = 0; p < load.size(); ++p) {
            for (auto [last, now] : {std::pair{unit.lastSurfaceMass, unit.thisSurfaceMass},
                                     std::pair{unit.lastPavementMass, unit.thisPavementMass},
                                     std::pair{unit.lastSoilMass, unit.thisSoilMass},
                                     std::pair{unit.lastStorageMass, unit.thisStorageMass}}) {
                last[p] = now[p];
                now[p] = 0.0;
            }
            unit.thisSurfaceLoad[p] = unit.thisDrainLoad[p] = 0.0;
        }
    }

    /// Water in the four layers, m.
    double getStored() const {
        return unit.surfaceLevel * lid.surfaceVoid + unit.soilMoisture * lid.soilDepth +
               unit.storageLevel * lid.storageVoid + unit.pavementLevel * lid.pavementVoid;
    }

private:
    std::vector<Decay> rules;
    std::vector<double> values;
};
