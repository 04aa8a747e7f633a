// The book of loads. What comes to a node is its mass inflow, what a link brings and gets follows from the flows and
// concentrations that a visit leaves behind; what reacts, and what would leave after the end, is read off the totals,
// which only the node visited and its outgoing links can have moved.

#include "routing/loadbook.h"

#include <algorithm>

#include "model/model.h"
#include "routing/linkkinds.h"
#include "routing/nodekinds.h"
#include "text/units.h"

/// Totals that a visit may move.
static constexpr double QualTotalsRecord::*BookedTotals[] = {
    &QualTotalsRecord::reactedLoss, &QualTotalsRecord::delayedMass, &QualTotalsRecord::swmmInflow,
    &QualTotalsRecord::vornInflow,  &QualTotalsRecord::swmmOutflow, &QualTotalsRecord::vornOutflow};
static constexpr int64_t BOOKED_TOTALS = 6;
enum BookedTotal : int64_t { REACTED, DELAYED, SWMM_IN, VORN_IN, SWMM_OUT, VORN_OUT };

static int64_t getPlace(const Model& model, int64_t object, int32_t p) {
    return object * model_pollutantCount(model) + p;
}

static double& at(std::vector<double>& loads, int64_t place) {
    return loads[static_cast<size_t>(place)];
}

static double at(const std::vector<double>& loads, int64_t place) {
    return loads[static_cast<size_t>(place)];
}

// --- start ---------------------------------------------------------------------------------------------------------

static void openLoads(PlaceLoads& loads, int64_t count) {
    for (std::vector<double>* list : {&loads.initial, &loads.in, &loads.out, &loads.lost, &loads.delayed}) {
        list->assign(static_cast<size_t>(count), 0.0);
    }
}

/// Takes off what a node counts by itself since the start of the run, which lies before a restored state.
static void takeOffOwnLoads(const Model& model, PlaceLoads& nodes, int32_t node, int32_t p) {
    Balance own{};
    nodekinds_addOwnLoads(model, node, p, own);
    const int64_t place = getPlace(model, node, p);
    at(nodes.in, place) = -own.in;
    at(nodes.out, place) = -own.out;
    at(nodes.lost, place) = -own.lost;
}

void loadbook_open(Model& model) {
    LoadBook& book = *model.loadBook;
    book.isKept = book.isWanted && model_pollutantCount(model) > 0;
    if (!book.isKept) {
        return;
    }
    const int64_t pollutants = model_pollutantCount(model);
    openLoads(book.nodes, model.nodes.size() * pollutants);
    openLoads(book.links, model.links.size() * pollutants);
    book.before.assign(static_cast<size_t>(BOOKED_TOTALS * pollutants), 0.0);
    book.delivered.assign(static_cast<size_t>(pollutants), 0.0);
    for (int32_t p = 0; p < pollutants; ++p) {
        for (int32_t k = 0; k < model.nodes.size(); ++k) {
            at(book.nodes.initial, getPlace(model, k, p)) = nodekinds_getStoredLoad(model, k, p);
            takeOffOwnLoads(model, book.nodes, k, p);
        }
        for (int32_t k = 0; k < model.links.size(); ++k) {
            at(book.links.initial, getPlace(model, k, p)) =
                linkkinds_getStoredLoad(model, k, p) + linkkinds_getLoadUnderWay(model, k, p);
        }
    }
}

// --- a visit -------------------------------------------------------------------------------------------------------

void loadbook_beginVisit(Model& model, int32_t node, VisitLinkList incoming) {
    LoadBook& book = *model.loadBook;
    const double dt = model.options.routingStep;
    const int32_t pollutants = model_pollutantCount(model);
    for (const VisitLink& link : incoming) {
        std::fill(book.delivered.begin(), book.delivered.end(), 0.0);
        (void)linkkinds_deliver(model, link.link, book.delivered.data());
        for (int32_t p = 0; p < pollutants; ++p) {
            const double load = dt * book.delivered[static_cast<size_t>(p)];
            at(book.links.out, getPlace(model, link.link, p)) += load;
            at(book.nodes.in, getPlace(model, node, p)) += nodekinds_isModel(model, node) ? load : 0.0;
        }
    }
    for (int32_t p = 0; p < pollutants; ++p) {
        for (int64_t t = 0; t < BOOKED_TOTALS; ++t) {
            at(book.before, p * BOOKED_TOTALS + t) = model.totals.quality[p].*BookedTotals[t];
        }
    }
}

/// What the visit has added to a total of a pollutant.
static double getGain(const Model& model, int32_t p, int64_t total) {
    return model.totals.quality[p].*BookedTotals[total] - at(model.loadBook->before, p * BOOKED_TOTALS + total);
}

/// Loads that the node gives to its links; the sum.
static double giveLoads(Model& model, int32_t node, VisitLinkList outgoing, int32_t p) {
    LoadBook& book = *model.loadBook;
    const double dt = model.options.routingStep;
    double sum = 0.0;
    for (const VisitLink& link : outgoing) {
        const double load = dt * nodekinds_getOfferedLoad(model, node, link.link, p);
        at(book.links.in, getPlace(model, link.link, p)) += load;
        if (linkkinds_isBeyondEnd(model, link.link)) {
            at(book.links.delayed, getPlace(model, link.link, p)) += load;
        }
        sum += load;
    }
    return sum;
}

/// What has reacted belongs to the node if it holds water, else to its links, by what each got.
static void shareReacted(Model& model, int32_t node, VisitLinkList outgoing, int32_t p, double given) {
    LoadBook& book = *model.loadBook;
    const double reacted = getGain(model, p, REACTED);
    if (nodekinds_isStore(model, node)) {
        at(book.nodes.lost, getPlace(model, node, p)) += reacted;
        return;
    }
    for (const VisitLink& link : outgoing) {
        const double load = model.options.routingStep * nodekinds_getOfferedLoad(model, node, link.link, p);
        const double share = outgoing.count == 1 ? 1.0 : given == 0.0 ? 0.0 : load / given;
        at(book.links.lost, getPlace(model, link.link, p)) += share * reacted;
    }
}

/// What the visit counted as delayed and no link has taken.
static double getOwnDelay(const Model& model, int32_t node, VisitLinkList outgoing, int32_t p) {
    double own = getGain(model, p, DELAYED);
    for (const VisitLink& link : outgoing) {
        const double load = model.options.routingStep * nodekinds_getOfferedLoad(model, node, link.link, p);
        own -= linkkinds_isBeyondEnd(model, link.link) ? load : 0.0;
    }
    return own;
}

/// A node with a model inside: what the model took, and what it gave, which goes to its links in equal parts.
static void endModelVisit(Model& model, int32_t node, VisitLinkList outgoing, int32_t p) {
    LoadBook& book = *model.loadBook;
    at(book.nodes.out, getPlace(model, node, p)) += getGain(model, p, SWMM_OUT) + getGain(model, p, VORN_OUT);
    const double given = getGain(model, p, SWMM_IN) + getGain(model, p, VORN_IN);
    const auto count = static_cast<double>(outgoing.count);
    for (const VisitLink& link : outgoing) {
        at(book.links.in, getPlace(model, link.link, p)) += given / count;
        at(book.links.lost, getPlace(model, link.link, p)) += getGain(model, p, REACTED) / count;
        at(book.links.delayed, getPlace(model, link.link, p)) += getGain(model, p, DELAYED) / count;
    }
}

void loadbook_endVisit(Model& model, int32_t node, VisitLinkList outgoing) {
    LoadBook& book = *model.loadBook;
    const double dt = model.options.routingStep;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        if (nodekinds_isModel(model, node)) {
            endModelVisit(model, node, outgoing, p);
            continue;
        }
        const double given = giveLoads(model, node, outgoing, p);
        shareReacted(model, node, outgoing, p, given);
        const int64_t place = getPlace(model, node, p);
        at(book.nodes.in, place) += dt * model.nodes[node].massInflow[p];
        at(book.nodes.out, place) += given + dt * nodekinds_getDirectLoad(model, node, p);
        at(book.nodes.delayed, place) += getOwnDelay(model, node, outgoing, p);
    }
}

void loadbook_endStep(Model& model) {
    LoadBook& book = *model.loadBook;
    const double dt = model.options.routingStep;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        for (int32_t k = 0; k < model.nodes.size(); ++k) {
            at(book.nodes.lost, getPlace(model, k, p)) += dt * nodekinds_getFloodLoad(model, k, p);
        }
        for (int32_t k = 0; k < model.links.size(); ++k) {
            at(book.links.lost, getPlace(model, k, p)) += dt * linkkinds_getFloodLoad(model, k, p);
        }
    }
}

// --- balances ------------------------------------------------------------------------------------------------------

static Balance makeBalance(const PlaceLoads& loads, int64_t place) {
    return {at(loads.initial, place), at(loads.in, place), at(loads.out, place), at(loads.lost, place),
            at(loads.delayed, place)};
}

bool loadbook_getNode(const Model& model, int32_t node, int32_t pollutant, Balance& balance) {
    if (!model.loadBook->isKept) {
        return false;
    }
    balance = makeBalance(model.loadBook->nodes, getPlace(model, node, pollutant));
    balance.stored += nodekinds_getStoredLoad(model, node, pollutant);
    nodekinds_addOwnLoads(model, node, pollutant, balance);
    return true;
}

bool loadbook_getLink(const Model& model, int32_t link, int32_t pollutant, Balance& balance) {
    if (!model.loadBook->isKept) {
        return false;
    }
    balance = makeBalance(model.loadBook->links, getPlace(model, link, pollutant));
    balance.stored += linkkinds_getStoredLoad(model, link, pollutant);
    return true;
}
