// The balances of all places. Statistics that each room keeps anyway tell what passed; what stood there at the start is
// taken when a run begins.

#include "routing/placebalances.h"

#include "hydrology/landuse.h"
#include "hydrology/lidgroup.h"
#include "hydrology/subcatch.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "routing/linkkinds.h"
#include "routing/loadbook.h"
#include "routing/nodekinds.h"
#include "text/units.h"

/// The start volume of a place; 0 before the first start.
static double getStart(const Model& model, int64_t place) {
    return model.totals.startVolumes ? model.totals.startVolumes[place] : 0.0;
}

/// Places stand in the order of subcatchments, nodes, links.
static int64_t getNodePlace(const Model& model, int32_t node) {
    return int64_t{model.subcatches.size()} + node;
}

static int64_t getLinkPlace(const Model& model, int32_t link) {
    return int64_t{model.subcatches.size()} + model.nodes.size() + link;
}

// --- land ----------------------------------------------------------------------------------------------------------

/// The units of a subcatchment in turn.
template <class Work>
static void forEachUnit(const Model& model, int32_t subcatch, Work work) {
    const LidGroup* group = model.lidGroups.find(subcatch);
    for (int32_t k = group ? group->firstUnit : -1; k >= 0; k = model.lidUnits[k].next) {
        work(model.lidUnits[k]);
    }
}

/// Seconds by which the land is ahead of the network. What it sheds in them is counted yet, though it has gone.
static double getLead(const Model& model) {
    return (model.clock.newRunoffTime - model.clock.newRoutingTime) / MS_PER_SECOND;
}

static double getSurfaceVolume(const Subcatch& s) {
    return ((1.0 - s.imperviousFraction) * s.perviousDepth + s.imperviousFraction * s.imperviousDepth) *
           (s.area - s.lidArea);
}

/// Water on the ground at the start of a run; one that begins with a state has its land ahead of its network.
static double getStartVolume(const Model& model, const Subcatch& s) {
    const double gain = (s.rain - s.evapRate - s.infilRate) * s.area - s.thisRunoff;
    return getSurfaceVolume(s) - gain * getLead(model);
}

Balance placebalances_getSubcatch(const Model& model, int32_t subcatch) {
    const Subcatch& s = model.subcatches[subcatch];
    const double perDepth = s.area / MM_PER_M;  // m3 for 1 mm
    Balance balance{getStart(model, subcatch), perDepth * s.rainfall, perDepth * s.runoff,
                    perDepth * (s.evap + s.infil), getSurfaceVolume(s)};
    forEachUnit(model, subcatch, [&](const LidUnit& unit) {
        balance.initial += unit.area * unit.initialDepth;
        balance.out += unit.area * unit.drainDepth;
        balance.stored += unit.area * unit.finalDepth;
    });
    return balance;
}

Balance placebalances_getUnit(const Model& model, int32_t index) {
    return lidunit_getBalance(model.lidUnits[index]);
}

bool placebalances_getUnitLoad(const Model& model, int32_t index, int32_t pollutant, Balance& balance) {
    return lidunit_getLoadBalance(model.lidUnits[index], pollutant, balance);
}

bool placebalances_getSubcatchLoad(const Model& model, int32_t subcatch, int32_t p, Balance& balance) {
    const Subcatch& s = model.subcatches[subcatch];
    if (!s.initBuildup) {
        return false;  // never started
    }
    balance = {s.initBuildup[p], s.surfaceBuildup[p] + s.wetDeposition[p], s.surfaceWashoff[p],
               s.infilLoss[p] + s.bmpRemoval[p], s.pondedMass[p]};
    for (int32_t l = 0; l < model.landuses.size(); ++l) {
        balance.stored += model.landuses[l].washoff[p].usesBuildup ? s.landShares[l].buildup[p] : 0.0;
    }
    forEachUnit(model, subcatch, [&](const LidUnit& unit) {
        if (unit.rainLoad) {
            balance.in += unit.rainLoad[p];
            balance.lost += unit.exfilLoad[p] + unit.reactedLoad[p];
            balance.out += unit.drainOutLoad[p];
            balance.stored += unit.finalLoad[p];
        }
    });
    return true;
}

// --- network -------------------------------------------------------------------------------------------------------

Balance placebalances_getNode(const Model& model, int32_t node) {
    Balance balance = nodekinds_getBalance(model, node);
    balance.initial = getStart(model, getNodePlace(model, node));
    return balance;
}

bool placebalances_getNodeLoad(const Model& model, int32_t node, int32_t pollutant, Balance& balance) {
    return loadbook_getNode(model, node, pollutant, balance);
}

bool placebalances_getLinkLoad(const Model& model, int32_t link, int32_t pollutant, Balance& balance) {
    return loadbook_getLink(model, link, pollutant, balance);
}

Balance placebalances_getLink(const Model& model, int32_t link) {
    Balance balance = linkkinds_getBalance(model, link);
    balance.in = nodekinds_getGiven(model, link);
    balance.initial = getStart(model, getLinkPlace(model, link));
    return balance;
}

// --- start ---------------------------------------------------------------------------------------------------------

void placebalances_takeStart(Model& model) {
    if (!model.totals.startVolumes) {
        model.totals.startVolumes = arena_allocateArray<double>(model.memory.results, model_getPlaceCount(model));
    }
    if (!model.totals.startVolumes) {
        errors_report(model, ERR_MEMORY, "");
        return;
    }
    loadbook_open(model);
    double* volumes = model.totals.startVolumes;
    for (const Subcatch& s : model.subcatches) {
        *volumes++ = getStartVolume(model, s);
    }
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        *volumes++ = nodekinds_getBalance(model, k).stored;
    }
    for (int32_t k = 0; k < model.links.size(); ++k) {
        *volumes++ = linkkinds_getBalance(model, k).stored + linkkinds_getUnderWay(model, k);
    }
}
