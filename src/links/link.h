#pragma once
// The folder links: a room for each kind of link. It uses the folders model, text and platform; it must know no node
// and no other kind of link: what it needs of its upper node comes as an offer, what it has for the lower one is
// fetched. A room owns the record of its kind, its table, the parser of its line, its start state and its update; the
// room routing/linkkinds calls these.
//
// What all links share: the front part of their lines, their start state, the roll from new to old at each step, and
// their settings. Links know no node: what the node at the upstream end has for them comes as an offer.

#include <cstdint>

#include "model/project.h"
#include "text/tokens.h"

struct Model;

/// What a node has for one of its outgoing links in a step.
struct Offer {
    double flow;            ///< m3/s
    double loadedFlow;      ///< m3/s, the part of `flow` that carries the concentrations
    const double* quality;  ///< mg/L, one per pollutant
};

/// The front part of a link's line.
struct LinkHead {
    const char* id;
    int32_t fromNode;
    int32_t toNode;
    bool isLagged;
};

/// Reads words 0 to 2, the link and its two nodes. An error index, or 0.
[[nodiscard]] int32_t link_readEnds(Model& model, const Tokens& tokens, LinkHead& head);

/// Reads NO or YES at word `place`. An error index, or 0.
[[nodiscard]] int32_t link_readLag(Model& model, const Tokens& tokens, int32_t place, LinkHead& head);

/// Reads the front part of a line of at least `needed` words: all kinds but the pump have the lag after the ends. An
/// error index, or 0.
[[nodiscard]] int32_t link_readHead(Model& model, const Tokens& tokens, int32_t needed, LinkHead& head);

/// Fills the common row of a link, once its whole line has proved good.
void link_setHead(Model& model, int32_t link, int32_t kind, int32_t kindIndex, const LinkHead& head);

/// The row of a link that stands in the table.
[[nodiscard]] int32_t link_getIndex(const Model& model, const Link& link);

/// Puts what all kinds share to time zero.
void link_initState(const Model& model, Link& link);

/// New becomes old: the flow, and the concentrations.
inline void link_shiftFlow(Link& link) {
    link.oldFlow = link.newFlow;
}
void link_shiftQuality(const Model& model, Link& link);

/// Lists the pumps for a run.
void link_openSettings(Model& model);

/// Says that somebody else than a step may have written to a link or to the record of its kind: what it knows of itself
/// may be wrong now.
inline void link_forgetFacts(Link& link) {
    link.clock.facts = 0;
}

[[nodiscard]] inline bool link_hasFact(const Link& link, LinkFact fact) {
    return (link.clock.facts & fact) != 0;
}
inline void link_setFact(Link& link, LinkFact fact, bool holds) {
    link.clock.facts = static_cast<uint8_t>(holds ? link.clock.facts | fact : link.clock.facts & ~fact);
}

/// Says that `targetSetting` of a link was written by a rule or the host.
void link_noteTarget(Model& model, int32_t link);

/// The host holds the setting of a link. What rules and switches ask for goes on to be noted, and holds again once
/// `isHostSetting` is no more.
void link_holdSetting(Model& model, int32_t link, double setting);

/// The setting follows its target, unless the host holds it. True if it moves.
[[nodiscard]] bool link_applyTarget(Link& link);
