#pragma once
// A splitter: divides its inflow between two links by a rule.

#include <cstdint>

#include "model/project.h"
#include "text/tokens.h"

struct Model;

enum SplitterMode : int32_t { SPLIT_FLOW, SPLIT_RATIO, SPLIT_FLOW_RATIO };

/// The second link is the other one that starts at the node.
struct Splitter {
    int32_t link;       ///< the first link, which gets the split part
    int32_t mode;       ///< SplitterMode
    double value;       ///< threshold, m3/s, or in mode RATIO the share of the first link, 0 ... 1
    double ratio;       ///< mode FLOW_RATIO: share of the first link in what exceeds the threshold, at most 1
    bool useHostValue;  ///< hostValue counts in place of value
    double hostValue;   ///< as value
    double oldFlow;     ///< m3/s, to the first link
    double newFlow;     ///< m3/s
    double statVolume;  ///< m3, to the first link
};

/// A line of [SPLITTERS] for the row `node` of the nodes and the row `kindIndex` of the splitters. An error index, or
/// 0.
[[nodiscard]] int32_t splitter_readLine(Model& model, const Tokens& tokens, int32_t node, int32_t kindIndex);

/// Tests a splitter when all is read; writes what is wrong to the report.
void splitter_validate(Model& model, int32_t node);

void splitter_initState(Splitter& splitter);
void splitter_shiftState(Splitter& splitter);

/// Divides an inflow (m3/s).
void splitter_divide(Splitter& splitter, double inflow);

/// The part of an inflow (m3/s) that one of the two links gets.
[[nodiscard]] inline double splitter_getFlow(const Splitter& splitter, double inflow, int32_t link) {
    return splitter.link == link ? splitter.newFlow : inflow - splitter.newFlow;
}
