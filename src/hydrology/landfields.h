#pragma once
// The fields of all records of the folder, told for saving and restoring (model/fields.h).

#include "hydrology/evap.h"
#include "hydrology/gage.h"
#include "hydrology/landuse.h"
#include "hydrology/lid.h"
#include "hydrology/lidgroup.h"
#include "hydrology/lidunit.h"
#include "hydrology/subcatch.h"
#include "model/arena.h"
#include "model/fields.h"
#include "model/model.h"
#include "model/modelfields.h"

// --- subcatchments -------------------------------------------------------------------------------------------------

/// Parameters, which hosts set by number.
template <class V>
void subcatch_walkParameters(V& v, Subcatch& subcatch) {
    v.setting(NAMED(subcatch.area));
    v.setting(NAMED(subcatch.width));
    v.setting(NAMED(subcatch.imperviousFraction));
    v.setting(NAMED(subcatch.slope));
    v.setting(NAMED(subcatch.imperviousRoughness));
    v.setting(NAMED(subcatch.perviousRoughness));
    v.setting(NAMED(subcatch.imperviousStorage));
    v.setting(NAMED(subcatch.perviousStorage));
    v.setting(NAMED(subcatch.soil.maxRate));
    v.setting(NAMED(subcatch.soil.minRate));
    v.setting(NAMED(subcatch.soil.decay));
    v.setting(NAMED(subcatch.soil.recovery));
    v.setting(NAMED(subcatch.soil.maxVolume));
    v.setting(NAMED(subcatch.slopeRoot.slope));
    v.setting(NAMED(subcatch.slopeRoot.root));
}

template <class V>
void subcatch_walkWater(V& v, Subcatch& subcatch) {
    v.state(NAMED(subcatch.rain));
    v.state(NAMED(subcatch.evapRate));
    v.state(NAMED(subcatch.infilRate));
    v.state(NAMED(subcatch.imperviousRunoff));
    v.state(NAMED(subcatch.perviousRunoff));
    v.state(NAMED(subcatch.lastRunoff));
    v.state(NAMED(subcatch.thisRunoff));
    v.state(NAMED(subcatch.imperviousDepth));
    v.state(NAMED(subcatch.perviousDepth));
    v.state(NAMED(subcatch.infilState.time));
    v.state(NAMED(subcatch.infilState.volume));
    v.total(NAMED(subcatch.rainfall));
    v.total(NAMED(subcatch.evap));
    v.total(NAMED(subcatch.infil));
    v.total(NAMED(subcatch.runoff));
    v.total(NAMED(subcatch.peakRunoff));
}

template <class V>
void subcatch_walkLoads(V& v, Subcatch& subcatch, const Model& model) {
    const int64_t pollutants = model_pollutantCount(model);
    v.state(NAMED(subcatch.runoffLoad), pollutants);
    v.state(NAMED(subcatch.lastWashoffRate), pollutants);
    v.state(NAMED(subcatch.thisWashoffRate), pollutants);
    v.state(NAMED(subcatch.lastQuality), pollutants);
    v.state(NAMED(subcatch.thisQuality), pollutants);
    v.state(NAMED(subcatch.pondedMass), pollutants);
    for (int32_t l = 0; l < model.landuses.size(); ++l) {
        LandShare& share = subcatch.landShares[l];
        v.fixed(share.fraction);
        v.state(NAMED(share.buildup), pollutants);
    }
    v.total(NAMED(subcatch.initBuildup), pollutants);
    v.total(NAMED(subcatch.surfaceBuildup), pollutants);
    v.total(NAMED(subcatch.wetDeposition), pollutants);
    v.total(NAMED(subcatch.infilLoss), pollutants);
    v.total(NAMED(subcatch.bmpRemoval), pollutants);
    v.total(NAMED(subcatch.surfaceWashoff), pollutants);
}

template <class V>
void subcatch_walk(V& v, Subcatch& subcatch, const Model& model) {
    v.fixed(subcatch.name, subcatch.gage, subcatch.outNode, subcatch.initialLoad, subcatch.landShares,
            subcatch.imperviousSheet, subcatch.perviousSheet);
    v.setting(NAMED(subcatch.lidArea));
    subcatch_walkParameters(v, subcatch);
    subcatch_walkWater(v, subcatch);
    subcatch_walkLoads(v, subcatch, model);
}

// --- LID units, on the land and in nodes ---------------------------------------------------------------------------

template <class V>
void lidunit_walkWater(V& v, LidUnit& unit) {
    v.state(NAMED(unit.surfaceLevel));
    v.state(NAMED(unit.pavementLevel));
    v.state(NAMED(unit.soilMoisture));
    v.state(NAMED(unit.storageLevel));
    v.state(NAMED(unit.dryTime));
    v.state(NAMED(unit.surfaceChange));
    v.state(NAMED(unit.soilChange));
    v.state(NAMED(unit.storageChange));
    v.state(NAMED(unit.pavementChange));
    v.state(NAMED(unit.lastSurfaceFlow));
    v.state(NAMED(unit.thisSurfaceFlow));
    v.state(NAMED(unit.lastDrainFlow));
    v.state(NAMED(unit.thisDrainFlow));
    v.state(NAMED(unit.inflowRate));
    v.state(NAMED(unit.evapRate));
    v.state(NAMED(unit.infilRate));
    v.total(NAMED(unit.inflowDepth));
    v.total(NAMED(unit.evapDepth));
    v.total(NAMED(unit.infilDepth));
    v.total(NAMED(unit.surfaceOutDepth));
    v.total(NAMED(unit.drainDepth));
    v.total(NAMED(unit.initialDepth));
    v.state(NAMED(unit.finalDepth));  // what a new run begins with
}

template <class V>
void lidunit_walkLoads(V& v, LidUnit& unit, const Model& model) {
    const int64_t pollutants = model_pollutantCount(model);
    v.state(NAMED(unit.lastSurfaceMass), pollutants);
    v.state(NAMED(unit.lastPavementMass), pollutants);
    v.state(NAMED(unit.lastSoilMass), pollutants);
    v.state(NAMED(unit.lastStorageMass), pollutants);
    v.state(NAMED(unit.thisSurfaceMass), pollutants);
    v.state(NAMED(unit.thisPavementMass), pollutants);
    v.state(NAMED(unit.thisSoilMass), pollutants);
    v.state(NAMED(unit.thisStorageMass), pollutants);
    v.state(NAMED(unit.thisSurfaceLoad), pollutants);
    v.state(NAMED(unit.thisDrainLoad), pollutants);
    v.state(NAMED(unit.load), pollutants);
    v.total(NAMED(unit.rainLoad), pollutants);
    v.total(NAMED(unit.inflowLoad), pollutants);
    v.total(NAMED(unit.exfilLoad), pollutants);
    v.total(NAMED(unit.surfaceOutLoad), pollutants);
    v.total(NAMED(unit.drainOutLoad), pollutants);
    v.state(NAMED(unit.finalLoad), pollutants);  // as finalDepth
    v.total(NAMED(unit.reactedLoad), pollutants);
}

template <class V>
void lidunit_walk(V& v, LidUnit& unit, const Model& model) {
    v.fixed(unit.lid, unit.drainNode, unit.next, unit.subcatch);
    v.setting(NAMED(unit.area));
    v.setting(NAMED(unit.fullWidth));
    v.setting(NAMED(unit.initialSaturation));
    v.setting(NAMED(unit.fromImpervious));
    lidunit_walkWater(v, unit);
    lidunit_walkLoads(v, unit, model);
}

// --- rain ----------------------------------------------------------------------------------------------------------

/// The events of a gage. Each start adds those of the run to the ones before, so their number tells of the starts.
struct RainEventList {
    Gage& gage;
    Model& model;

    static constexpr FieldSort SORT = SORT_SETTING;
    static constexpr bool IS_SPARE = false;
    using Entry = RainEvent;

    static int64_t getLimit() { return INT32_MAX; }
    int64_t count() const {
        int64_t count = 0;
        for (const RainEvent* event = gage.events; event; event = event->next) {
            ++count;
        }
        return count;
    }
    template <class Function>
    void forEach(Function function) const {
        for (RainEvent* event = gage.events; event; event = event->next) {
            function(*event);
        }
    }
    bool reserve(int64_t wanted, WalkMemory& memory) const {
        for (int64_t k = count(); k < wanted; ++k) {
            if (!memory.keep(arena_allocateArray<RainEvent>(model.memory.project, 1))) {
                return false;
            }
        }
        return true;
    }
    void begin(int64_t wanted, WalkMemory& memory) const {
        for (int64_t k = count(); k < wanted; ++k) {
            auto* event = static_cast<RainEvent*>(memory.take());
            (gage.lastEvent ? gage.lastEvent->next : gage.events) = event;
            gage.lastEvent = event;
        }
        RainEvent** place = &gage.events;
        gage.lastEvent = nullptr;
        for (int64_t k = 0; k < wanted; ++k) {
            gage.lastEvent = *place;
            place = &(*place)->next;
        }
        *place = nullptr;
        next = gage.events;
    }
    void put(int64_t, const RainEvent& event) {
        RainEvent* behind = next->next;
        *next = event;
        next->next = behind;
        next = behind;
    }
    template <class V>
    static void walkEntry(V& v, RainEvent& event) {
        v.setting(NAMED(event.start));
        v.setting(NAMED(event.end));
        v.setting(NAMED(event.total));
        v.fixed(event.next);
    }

    mutable RainEvent* next = nullptr;
};

template <class V>
void gage_walk(V& v, Gage& gage, Model& model) {
    v.fixed(gage.name, gage.format, gage.interval, gage.series, gage.coGage, gage.isUsed, gage.events, gage.lastEvent);
    v.setting(NAMED(gage.startDate));
    v.setting(NAMED(gage.endDate));
    v.setting(NAMED(gage.nextDate));
    v.setting(NAMED(gage.rain));
    v.setting(NAMED(gage.nextRain));
    v.setting(NAMED(gage.reportRain));
    v.setting(NAMED(gage.isHeld));
    v.setting(NAMED(gage.heldRain));
    v.setting(NAMED(gage.seriesRain));
    v.list("gage.events", RainEventList{gage, model});
}

template <class V>
void evap_walk(V& v, EvapRecord& evap) {
    v.fixed(evap.kind, evap.monthly, evap.isSet);
    v.setting(NAMED(evap.constant));
    v.setting(NAMED(evap.rate));
    v.setting(NAMED(evap.isHeld));
    v.setting(NAMED(evap.heldRate));
}

// --- definitions ---------------------------------------------------------------------------------------------------

template <class V>
void lid_walk(V& v, Lid& lid, const Model& model) {
    v.fixed(lid.name, lid.type, lid.surfaceDecay, lid.pavementDecay, lid.soilDecay, lid.storageDecay, lid.matDecay);
    v.setting(NAMED(lid.surfaceDepth));
    v.setting(NAMED(lid.surfaceVoid));
    v.setting(NAMED(lid.surfaceRoughness));
    v.setting(NAMED(lid.surfaceSlope));
    v.setting(NAMED(lid.sideSlope));
    v.setting(NAMED(lid.surfaceAlpha));
    v.setting(NAMED(lid.pavementDepth));
    v.setting(NAMED(lid.pavementVoid));
    v.setting(NAMED(lid.pavementRate));
    v.setting(NAMED(lid.soilDepth));
    v.setting(NAMED(lid.porosity));
    v.setting(NAMED(lid.fieldCapacity));
    v.setting(NAMED(lid.wiltingPoint));
    v.setting(NAMED(lid.soilRate));
    v.setting(NAMED(lid.soilSlope));
    v.setting(NAMED(lid.storageDepth));
    v.setting(NAMED(lid.storageVoid));
    v.setting(NAMED(lid.storageRate));
    v.setting(NAMED(lid.drainCoefficient));
    v.setting(NAMED(lid.drainExponent));
    v.setting(NAMED(lid.drainOffset));
    v.setting(NAMED(lid.drainDelay));
    v.setting(NAMED(lid.matDepth));
    v.setting(NAMED(lid.matVoid));
    v.setting(NAMED(lid.matRoughness));
    v.setting(NAMED(lid.matAlpha));
    for (Decay* decays : {lid.surfaceDecay, lid.pavementDecay, lid.soilDecay, lid.storageDecay, lid.matDecay}) {
        decay_walk(v, decays, model);
    }
}

template <class V>
void landuse_walk(V& v, Landuse& landuse, const Model& model) {
    v.fixed(landuse.name, landuse.buildup, landuse.washoff);
    for (int32_t p = 0; landuse.buildup && landuse.washoff && p < model_pollutantCount(model); ++p) {
        BuildupRule& buildup = landuse.buildup[p];
        WashoffRule& washoff = landuse.washoff[p];
        v.fixed(washoff.kind, washoff.usesBuildup);
        v.setting(NAMED(buildup.maxBuildup));
        v.setting(NAMED(buildup.rateConstant));
        v.setting(NAMED(washoff.coefficient));
        v.setting(NAMED(washoff.exponent));
        v.setting(NAMED(washoff.emc));
        v.setting(NAMED(washoff.removal));
    }
}

// --- the whole folder ----------------------------------------------------------------------------------------------

/// What the land holds.
template <class V>
void land_walk(V& v, Model& model) {
    v.rows("subcatchment", model.subcatches, [&](V& own, Subcatch& row) { subcatch_walk(own, row, model); });
    v.rows("LID unit", model.lidUnits, [&](V& own, LidUnit& row) { lidunit_walk(own, row, model); });
    v.rows("LID definition", model.lids, [&](V& own, Lid& row) { lid_walk(own, row, model); });
    v.rows("land use", model.landuses, [&](V& own, Landuse& row) { landuse_walk(own, row, model); });
    v.fixed(model.lidGroups);
}

/// What falls on it and is taken from it.
template <class V>
void land_walkForcing(V& v, Model& model) {
    v.fixed(model.evap);
    evap_walk(v, *model.evap);
    v.setting(NAMED(model.heldGageCount), FieldSpan{0.0, static_cast<double>(model.gages.size())});
    v.rows("rain gage", model.gages, [&](V& own, Gage& row) { gage_walk(own, row, model); });
}
