// Objects that nothing names. Each class is looked through until the last object of it is known to serve, which mostly
// comes early.

#include "review/usage.h"

#include <algorithm>
#include <string>

#include "controls/rule.h"
#include "coupling/converter.h"
#include "coupling/outside.h"
#include "coupling/vorn.h"
#include "hydrology/gage.h"
#include "hydrology/landuse.h"
#include "hydrology/lid.h"
#include "hydrology/lidunit.h"
#include "hydrology/subcatch.h"
#include "links/conduit.h"
#include "links/pipe.h"
#include "links/pump.h"
#include "model/curve.h"
#include "model/decay.h"
#include "model/model.h"
#include "model/pattern.h"
#include "model/pollut.h"
#include "model/project.h"
#include "model/timeseries.h"
#include "model/warnings.h"
#include "nodes/inflows.h"
#include "nodes/lidmono.h"
#include "nodes/reactor.h"
#include "nodes/tank.h"

/// The objects of a class that are known to serve.
struct Served {
    Table<uint8_t> isServed;
    int32_t missing;

    bool isComplete() const { return missing == 0; }
};

static Served makeServed(int32_t count) {
    return {table_make(count, uint8_t{0}), count};
}

static void mark(Served& served, int32_t index) {
    if (served.isServed.holds(index) && !served.isServed[index]) {
        served.isServed[index] = 1;
        --served.missing;
    }
}

/// Tells of those of a class that don't serve. `getId` gives the ID of one.
template <class GetId>
static void tellUnserved(const Model& model, const Served& served, int32_t type, const char* word, GetId getId) {
    for (int32_t k = 0; k < served.isServed.size() && !served.isComplete(); ++k) {
        if (!served.isServed[k] && getId(k)) {
            warnings_addAbout(model, WARN_OBJECT_UNUSED, type, k, getId(k), {word});
        }
    }
}

// --- gages and series ----------------------------------------------------------------------------------------------

static void markGages(const Model& model, Served& gages) {
    for (int32_t k = 0; k < model.gages.size(); ++k) {
        if (model.gages[k].isUsed) {
            mark(gages, k);
        }
    }
    for (const Rule& rule : model.rules) {
        for (const Premise* premise = rule.premises; premise; premise = premise->next) {
            mark(gages, premise->left.gage);
            mark(gages, premise->right.gage);
        }
    }
}

static void reviewGages(const Model& model) {
    Served gages = makeServed(model.gages.size());
    markGages(model, gages);
    for (int32_t k = 0; k < model.gages.size(); ++k) {
        if (!gages.isServed[k]) {
            warnings_addAbout(model, WARN_GAGE_UNUSED, GAGE, k, model.gages[k].name,
                              {warnings_formatNumber(model.gages[k].interval)});
        }
    }
}

static void reviewSeries(const Model& model) {
    Served series = makeServed(model.timeSeries.size());
    for (int32_t k = 0; k < model.timeSeries.size(); ++k) {
        if (model.timeSeries[k].isUsedByInflow) {
            mark(series, k);
        }
    }
    for (const Gage& gage : model.gages) {
        mark(series, gage.series);
    }
    tellUnserved(model, series, TSERIES, "time series", [&](int32_t k) { return model.timeSeries[k].id; });
}

// --- patterns ------------------------------------------------------------------------------------------------------

static void markDecays(const Model& model, Served& patterns, const Decay* decays) {
    for (int32_t p = 0; decays && p < model_pollutantCount(model); ++p) {
        if (decays[p].type == FIRST_ORDER) {
            mark(patterns, decays[p].pattern);
        }
    }
}

static void markReactors(const Model& model, Served& patterns) {
    for (const Reactor& reactor : model.reactors) {
        mark(patterns, reactor.evapPattern);
        for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
            mark(patterns, reactor.reactionPattern[p]);
        }
    }
}

/// The patterns of decay, which stand with whatever holds water.
static void markStores(const Model& model, Served& patterns) {
    for (const Tank& tank : model.tanks) {
        markDecays(model, patterns, tank.decay);
    }
    for (const Conduit& conduit : model.conduits) {
        markDecays(model, patterns, conduit.decay);
    }
    for (const Lid& lid : model.lids) {
        for (const Decay* decays :
             {lid.surfaceDecay, lid.pavementDecay, lid.soilDecay, lid.storageDecay, lid.matDecay}) {
            markDecays(model, patterns, decays);
        }
    }
    for (int32_t k = 0; k < model.pipes.size() && !patterns.isComplete(); ++k) {
        markDecays(model, patterns, model.pipes[k].decay);
    }
}

static void reviewPatternUse(const Model& model) {
    Served patterns = makeServed(model.patterns.size());
    for (int32_t k = 0; k < model.nodes.size() && !patterns.isComplete(); ++k) {
        for (const DwfInflow* record = model.nodes[k].dwfInflow; record; record = record->next) {
            mark(patterns, record->pattern);
        }
    }
    if (!patterns.isComplete()) {
        markReactors(model, patterns);
        markStores(model, patterns);
    }
    tellUnserved(model, patterns, PATTERN, "pattern", [&](int32_t k) { return model.patterns[k].id; });
}

// --- curves, land uses, controls, converters -----------------------------------------------------------------------

static void reviewCurves(const Model& model) {
    Served curves = makeServed(model.curves.size());
    for (const Tank& tank : model.tanks) {
        mark(curves, tank.curve);
    }
    for (const Pump& pump : model.pumps) {
        mark(curves, pump.curve);
    }
    for (const Conduit& conduit : model.conduits) {
        mark(curves, conduit.curve);
    }
    tellUnserved(model, curves, CURVE, "curve", [&](int32_t k) { return model.curves[k].id; });
}

static void reviewLanduses(const Model& model) {
    Served landuses = makeServed(model.landuses.size());
    for (int32_t s = 0; s < model.subcatches.size() && !landuses.isComplete(); ++s) {
        for (int32_t k = 0; k < model.landuses.size(); ++k) {
            if (model.subcatches[s].landShares[k].fraction != 0.0) {
                mark(landuses, k);
            }
        }
    }
    tellUnserved(model, landuses, LANDUSE, "land use", [&](int32_t k) { return model.landuses[k].name; });
}

static void reviewLids(const Model& model) {
    Served lids = makeServed(model.lids.size());
    for (const LidUnit& unit : model.lidUnits) {
        mark(lids, unit.lid);
    }
    for (const LidMono& mono : model.lidMonos) {
        mark(lids, mono.unit.lid);
    }
    tellUnserved(model, lids, LID, "LID control", [&](int32_t k) { return model.lids[k].name; });
}

static void reviewConverters(const Model& model) {
    Served converters = makeServed(model.converters.size());
    for (const VornNode& node : model.vornNodes) {
        for (const CoupledList* list : {&node.outside.inflows, &node.outside.outflows}) {
            for (const CoupledFlow* record = list->head; record; record = record->next) {
                mark(converters, record->converter);
            }
        }
    }
    tellUnserved(model, converters, CONVERTER, "converter", [&](int32_t k) { return model.converters[k].name; });
}

// --- pollutants ----------------------------------------------------------------------------------------------------

static void markInflows(const Model& model, Served& pollutants) {
    for (int32_t k = 0; k < model.nodes.size() && !pollutants.isComplete(); ++k) {
        for (const DwfInflow* record = model.nodes[k].dwfInflow; record; record = record->next) {
            mark(pollutants, record->pollutant);
        }
        for (const ExtInflow* record = model.nodes[k].extInflow; record; record = record->next) {
            mark(pollutants, record->pollutant);
        }
    }
}

/// What lies on the land, and what stores hold at the start.
static void markStocks(const Model& model, Served& pollutants) {
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        for (const Landuse& landuse : model.landuses) {
            if (landuse.buildup[p].maxBuildup > 0.0 || landuse.washoff[p].emc > 0.0) {
                mark(pollutants, p);
            }
        }
        for (const Subcatch& subcatch : model.subcatches) {
            if (subcatch.initialLoad[p] > 0.0) {
                mark(pollutants, p);
            }
        }
        for (const Tank& tank : model.tanks) {
            if (tank.initQual[p] != 0.0) {
                mark(pollutants, p);
            }
        }
        for (const Reactor& reactor : model.reactors) {
            if (reactor.initQual[p] != 0.0) {
                mark(pollutants, p);
            }
        }
    }
}

static void reviewPollutants(const Model& model) {
    Served pollutants = makeServed(model_pollutantCount(model));
    if (!model.swmmNodes.empty() || !model.vornNodes.empty()) {
        return;  // models inside nodes may bring anything
    }
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        if (model.polluts[p].rainConcentration > 0.0) {
            mark(pollutants, p);
        }
    }
    markInflows(model, pollutants);
    if (!pollutants.isComplete()) {
        markStocks(model, pollutants);
    }
    for (int32_t p = 0; p < model_pollutantCount(model) && !pollutants.isComplete(); ++p) {
        if (!pollutants.isServed[p]) {
            warnings_addAbout(model, WARN_POLLUTANT_UNUSED, POLLUT, p, model.polluts[p].id);
        }
    }
}

// --- the whole -----------------------------------------------------------------------------------------------------

void usage_review(const Model& model) {
    reviewGages(model);
    reviewSeries(model);
    reviewPatternUse(model);
    reviewCurves(model);
    reviewLanduses(model);
    reviewLids(model);
    reviewConverters(model);
    reviewPollutants(model);
}
