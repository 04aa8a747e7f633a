#pragma once
// The loads of every node and link over a run, for balances of pollutants by place. Kept only if a host asks for them:
// each visit of a step is then looked at from outside, ahead of it and after it, and no kind of node or link knows.

#include <cstdint>
#include <vector>

#include "model/balance.h"
#include "routing/visits.h"

struct Model;

/// Loads by place and pollutant, kg.
struct PlaceLoads {
    std::vector<double> initial, in, out, lost, delayed;
};

struct LoadBook {
    bool isWanted;  ///< by the host, from the next start on
    bool isKept;    ///< in this run
    PlaceLoads nodes, links;
    std::vector<double> before;     ///< totals ahead of the visit, BOOKED_TOTALS of each pollutant
    std::vector<double> delivered;  ///< loads of a link, kg/s
};

/// Begins the book, if it is wanted, with what stands in the places now.
void loadbook_open(Model& model);

/// Around the visit of a node.
void loadbook_beginVisit(Model& model, int32_t node, VisitLinkList incoming);
void loadbook_endVisit(Model& model, int32_t node, VisitLinkList outgoing);

/// At the end of a step: what floods.
void loadbook_endStep(Model& model);

/// One pollutant of a place. False if no book is kept.
[[nodiscard]] bool loadbook_getNode(const Model& model, int32_t node, int32_t pollutant, Balance& balance);
[[nodiscard]] bool loadbook_getLink(const Model& model, int32_t link, int32_t pollutant, Balance& balance);
