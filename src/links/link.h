#pragma once
// What all links share: the front part of their lines, their start state, and the roll from new to old at each step.

#include <cstddef>
#include <cstdint>

#include "model/project.h"
#include "platform/memory.h"
#include "text/tokens.h"

/// A link as the order of visits knows it: kind and row are those of the link table, at hand without a look there.
struct VisitLink {
    int32_t link;
    int32_t kind;
    int32_t kindIndex;
    int32_t isCounted;  ///< 1: the visit of its lower node makes its statistics
};

/// Links ahead in the order of the visits at which a record is asked for, and at which the arrays are, to which the
/// record points. The lists of that order go on for so many entries behind their end.
constexpr ptrdiff_t LINKS_FAR = 16;
constexpr ptrdiff_t LINKS_NEAR = 7;

/// A run of such links, in the order of the link table.
struct VisitLinkList {
    const VisitLink* first;
    int32_t count;

    const VisitLink* begin() const { return first; }
    const VisitLink* end() const { return first + count; }
};

/// Tokens 0 to 2 of a link's line: the link and its two nodes.
struct LinkEnds {
    const char* id;
    int32_t fromNode;
    int32_t toNode;
};

/// Reads tokens 0 to 2. An error index, or 0.
int32_t link_readEnds(const Tokens& tokens, LinkEnds& ends);

/// Reads NO or YES at token `place`. An error index, or 0.
int32_t link_readLag(const Tokens& tokens, int32_t place, int32_t& isLagged);

/// Fills the common row of a link, once its whole line has proved good.
void link_setEnds(int32_t link, int32_t kind, int32_t kindIndex, const LinkEnds& ends, int32_t isLagged);

/// A line of a link section, for the row `link` and the row `kindIndex` of its kind. An error index, or 0.
int32_t link_readParams(const Tokens& tokens, int32_t link, int32_t kind, int32_t kindIndex);

/// Tests a link when all is read; writes what is wrong to the report.
void link_validate(int32_t link);

/// Puts a link to time zero.
void link_initState(int32_t link);

/// Lets go of what a link holds for the run.
void link_endState(int32_t link);

/// New becomes old: flow and flood, then the concentrations.
void link_shiftHydState(int32_t link);
void link_shiftQualState(int32_t link);

/// Prepares the two lists below for a run.
void link_openLists();

/// Forgets them.
void link_clearLists();

/// Rolls all links at the start of a step. Links that stand still, as pipes do between firings, are left out: old and
/// new are the same there already.
void link_shiftAll();

/// Says that a link's new state differs from its old one, so that the next step rolls it. `kindIndex` is the link's row
/// in the table of its kind, which the caller has at hand.
void link_noteChange(int32_t link, int32_t kindIndex);

/// Whether that was said since the last roll.
bool link_isChanged(int32_t link);

/// Says that `targetSetting` of a link was written by a rule or the host. All other links stand open for good, and the
/// two functions below leave them out.
void link_noteTarget(int32_t link);

/// What automatic switches ask for at the start of a step.
void link_setTargets();

/// The settings follow their targets, unless the host holds them.
void link_applyTargets();
