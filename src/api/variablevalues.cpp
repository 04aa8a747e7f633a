// Values of variables that are more than a field, and the tests of those that are set.

#include "api/variablevalues.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "coupling/outside.h"
#include "hydrology/landuse.h"
#include "hydrology/lidgroup.h"
#include "nodes/reactor.h"
#include "results/rows.h"
#include "results/systemrow.h"
#include "text/units.h"

// --- the whole model -----------------------------------------------------------------------------------------------

double variablevalues_getSystem(Model& model, int32_t column) {
    double row[SYSTEM_LENGTH];
    systemrow_fillNow(model, row);
    return row[column];
}

FlowFigures variablevalues_getFlow(const Model& model) {
    FlowFigures balance{};
    balance.totals = massbal_getFlow(model, &balance.error);
    return balance;
}

QualityFigures variablevalues_getQuality(const Model& model, int32_t pollutant) {
    QualityFigures balance{};
    balance.totals = massbal_getQuality(model, pollutant, &balance.error);
    return balance;
}

// --- land ----------------------------------------------------------------------------------------------------------

double variablevalues_getBuildup(const Model& model, const Subcatch& subcatch, int32_t pollutant) {
    double sum = 0.0;
    for (int32_t l = 0; l < model.landuses.size(); ++l) {
        sum += subcatch.landShares[l].buildup[pollutant];
    }
    return sum;
}

/// Whether the units of a subcatchment go together while a field has another value.
static bool isGoodWith(const Model& model, int32_t subcatch, double& field, double value) {
    const double before = std::exchange(field, value);
    const bool isGood = lidgroup_isGood(model, subcatch);
    field = before;
    return isGood;
}

bool variablevalues_canHaveArea(Model& model, int32_t subcatch, double area) {
    return isGoodWith(model, subcatch, model.subcatches[subcatch].area, area);
}

bool variablevalues_canHaveArea(Model& model, LidUnit& unit, double area) {
    return isGoodWith(model, unit.subcatch, unit.area, area);
}

bool variablevalues_canHaveShare(Model& model, LidUnit& unit, double share) {
    return isGoodWith(model, unit.subcatch, unit.fromImpervious, share);
}

EventSums variablevalues_sumEvents(const Gage& gage) {
    EventSums sums{};
    for (const RainEvent* event = gage.events; event; event = event->next) {
        ++sums.count;
        sums.depth += event->total;
    }
    return sums;
}

// --- LID controls --------------------------------------------------------------------------------------------------

bool variablevalues_canHave(const Lid& lid, double Lid::*field, double value) {
    Lid changed = lid;
    changed.*field = value;
    return lid_isGood(changed);
}

void variablevalues_setLayerDecay(Lid& lid, Decay& decay, int32_t pollutant, double perDay) {
    variablevalues_setDecay(decay, perDay);
    if (lid.type == LID_GR && pollutant == 0 && &decay == lid.storageDecay) {
        lid.matDecay[0] = decay;
    }
}

/// Concentration of a mass (kg) in a volume (m3), mg/L; 0 in no volume.
static double getConcentration(const double* masses, int32_t pollutant, double volume) {
    return volume > 0.0 ? variablevalues_at(masses, pollutant) / volume * G_PER_KG : 0.0;
}

double variablevalues_getSurfaceQuality(const Model& model, const LidUnit& unit, int32_t p) {
    return getConcentration(unit.thisSurfaceMass, p, model.lids[unit.lid].surfaceVoid * unit.surfaceLevel * unit.area);
}

double variablevalues_getSoilQuality(const Model& model, const LidUnit& unit, int32_t p) {
    return getConcentration(unit.thisSoilMass, p, model.lids[unit.lid].porosity * unit.soilMoisture * unit.area);
}

double variablevalues_getStorageQuality(const Model& model, const LidUnit& unit, int32_t p) {
    return getConcentration(unit.thisStorageMass, p, model.lids[unit.lid].storageVoid * unit.storageLevel * unit.area);
}

double variablevalues_getPavementQuality(const Model& model, const LidUnit& unit, int32_t p) {
    return getConcentration(unit.thisPavementMass, p,
                            model.lids[unit.lid].pavementVoid * unit.pavementLevel * unit.area);
}

// --- network -------------------------------------------------------------------------------------------------------

double variablevalues_getDecay(const Decay& decay) {
    return decay.type == FIRST_ORDER ? decay.k * SECONDS_PER_DAY : 0.0;
}

void variablevalues_setDecay(Decay& decay, double perDay) {
    const int32_t pattern = decay.type == FIRST_ORDER ? decay.pattern : -1;
    decay = {FIRST_ORDER, pattern, perDay / SECONDS_PER_DAY, 0.0, 1.0};
}

double variablevalues_getReactionUnit(int32_t type) {
    return type == ZERO_ORDER || type == FIRST_ORDER || type == OXYGEN ? SECONDS_PER_DAY : 1.0;
}

double variablevalues_getVelocity(const Model& model, const Link& link, const Conduit& conduit) {
    const double area = conduit_getArea(model, conduit, conduit.depth);
    return area > 0.0 ? link.newFlow / area : 0.0;
}

double variablevalues_sumFlows(const CoupledList& list) {
    double sum = 0.0;
    for (const CoupledFlow* record = list.head; record; record = record->next) {
        sum += record->newFlow;
    }
    return sum;
}

/// The place of a node and a pollutant in a list, or where it would stand.
template <class List>
static auto findPlace(List& list, int32_t node, int32_t pollutant) {
    return std::lower_bound(list.begin(), list.end(), HostInflow{node, pollutant, 0.0},
                            [](const HostInflow& a, const HostInflow& b) {
                                return std::tie(a.node, a.pollutant) < std::tie(b.node, b.pollutant);
                            });
}

template <class List, class Place>
static bool isThere(const List& list, Place place, int32_t node, int32_t pollutant) {
    return place != list.end() && place->node == node && place->pollutant == pollutant;
}

double variablevalues_getHeld(const std::vector<HostInflow>& list, int32_t node, int32_t pollutant) {
    const auto place = findPlace(list, node, pollutant);
    return isThere(list, place, node, pollutant) ? place->value : NOTHING;
}

void variablevalues_hold(std::vector<HostInflow>& list, int32_t node, int32_t pollutant, double value) {
    const auto place = findPlace(list, node, pollutant);
    if (isThere(list, place, node, pollutant)) {
        place->value = value;
    } else {
        list.insert(place, {node, pollutant, value});
    }
}

void variablevalues_release(std::vector<HostInflow>& list, int32_t node, int32_t pollutant) {
    const auto place = findPlace(list, node, pollutant);
    if (isThere(list, place, node, pollutant)) {
        list.erase(place);
    }
}
