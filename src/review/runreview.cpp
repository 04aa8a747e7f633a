// A look at a run from beside. In a step only the totals are looked at, which a number that is none reaches with the
// water; where it came from is searched for once.

#include "review/runreview.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "hydrology/subcatch.h"
#include "model/model.h"
#include "model/topology.h"
#include "model/warnings.h"
#include "review/verdict.h"
#include "routing/linkkinds.h"
#include "text/units.h"

// --- numbers that are none -----------------------------------------------------------------------------------------

/// A sum that is finite if all totals of the network are.
static double sumTotals(const Model& model) {
    const FlowTotalsRecord& flow = model.totals.flow;
    double sum = flow.externalInflow + flow.dryWeatherInflow + flow.wetWeatherInflow + flow.swmmInflow +
                 flow.vornInflow + flow.floodingLoss + flow.externalOutflow;
    for (int32_t p = 0; model.totals.quality && p < model_pollutantCount(model); ++p) {
        const QualTotalsRecord& quality = model.totals.quality[p];
        sum += quality.externalInflow + quality.dryWeatherInflow + quality.wetWeatherInflow + quality.floodingLoss +
               quality.reactedLoss + quality.externalOutflow;
    }
    return sum;
}

static bool areFinite(const double* values, int32_t count) {
    return std::all_of(values, values + (values ? count : 0), [](double value) { return std::isfinite(value); });
}

static bool isSound(const Model& model, const Subcatch& s) {
    return std::isfinite(s.thisRunoff) && std::isfinite(s.rain) &&
           areFinite(s.thisQuality, model_pollutantCount(model));
}

static bool isSound(const Model& model, const Node& node) {
    const int32_t count = model_pollutantCount(model);
    return std::isfinite(node.newInflow) && areFinite(node.newQual, count) && areFinite(node.massInflow, count);
}

static bool isSound(const Model& model, const Link& link) {
    return std::isfinite(link.newFlow) && areFinite(link.newQual, model_pollutantCount(model));
}

/// Tells of the first object upstream: the land, then the nodes in the order of their visits, then the links.
static void tellNumber(const Model& model) {
    for (int32_t k = 0; k < model.subcatches.size(); ++k) {
        if (!isSound(model, model.subcatches[k])) {
            warnings_addInRun(model, WARN_RUN_NUMBER, SUBCATCH, k, model.subcatches[k].name);
            return;
        }
    }
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        const int32_t node = model.sortedNodes[k];
        if (!isSound(model, model.nodes[node])) {
            warnings_addInRun(model, WARN_RUN_NUMBER, NODE, node, model.nodes[node].id);
            return;
        }
    }
    for (int32_t k = 0; k < model.links.size(); ++k) {
        if (!isSound(model, model.links[k])) {
            warnings_addInRun(model, WARN_RUN_NUMBER, LINK, k, model.links[k].id);
            return;
        }
    }
    warnings_addInRun(model, WARN_RUN_NUMBER, NODE, -1, "");  // gone again: some total has taken it
}

void runreview_lookAtStep(const Model& model) {
    if (!warnings_isWanted(model) || model.log->warnings.isNumberTold || std::isfinite(sumTotals(model))) {
        return;
    }
    model.log->warnings.isNumberTold = true;
    if (model.sortedNodes) {
        tellNumber(model);
    }
}

// --- balances ------------------------------------------------------------------------------------------------------

static constexpr double LARGE_SHARE = 0.05;   // of what a place got: its balance is off
static constexpr double SMALL_SHARE = 0.001;  // of what the part got: nobody needs to care

static const char* getId(const Model& model, int32_t type, int32_t index) {
    switch (type) {
        case SUBCATCH: return model.subcatches[index].name;
        case NODE: return model.nodes[index].id;
        default: return model.links[index].id;
    }
}

/// Whether a place misses more than it may have on its way, which no account has.
static bool isOff(const Model& model, const VerdictCause& cause, double in, double partIn) {
    const double missing = std::fabs(balance_getMissing(cause.balance));
    const double onItsWay = cause.type == LINK ? linkkinds_getMostUnderWay(model, cause.index) : 0.0;
    return missing > LARGE_SHARE * std::fabs(in) + onItsWay && missing > SMALL_SHARE * std::fabs(partIn);
}

static void tellCause(const Model& model, const VerdictCause& cause, double partIn) {
    const double in = cause.balance.initial + cause.balance.in;
    const double missing = balance_getMissing(cause.balance);
    if (!isOff(model, cause, in, partIn)) {
        return;
    }
    const std::string percent = in == 0.0 ? "-" : warnings_formatNumber(missing / in * PERCENT);
    warnings_addAbout(model, WARN_RUN_BALANCE, cause.type, cause.index, getId(model, cause.type, cause.index),
                      {warnings_formatNumber(in), warnings_formatNumber(missing), percent});
}

/// Tells of the nodes out of which more was taken than came, the first on each way: what flows on is negative as well.
static void tellNegative(const Model& model) {
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        const Node& node = model.nodes[k];
        const LinkList incoming = topology_getIncoming(model, k);
        const bool isFirst = std::none_of(incoming.begin(), incoming.end(), [&](int32_t link) {
            return model.nodes[model.links[link].fromNode].statInflowVolume < 0.0;
        });
        if (node.statInflowVolume < 0.0 && isFirst) {
            warnings_addAbout(model, WARN_RUN_NEGATIVE, NODE, k, node.id,
                              {warnings_formatNumber(node.statInflowVolume)});
        }
    }
}

void runreview_end(const Model& model) {
    if (!warnings_isWanted(model) || model.log->warnings.isRunReviewed) {
        return;
    }
    model.log->warnings.isRunReviewed = true;
    for (const Verdict& verdict : verdict_make(model)) {
        if (verdict.pollutant >= 0) {
            continue;
        }
        for (const VerdictCause& cause : verdict.causes) {
            tellCause(model, cause, verdict.in);
        }
    }
    tellNegative(model);
    warnings_tellRest(model);
}
