#pragma once
// The sections of a town's network.

#include "plan.h"
#include "text.h"

/// The name of a node; that of the outfall of `source`'s district if `node` is none.
void sections_writeNode(TownText& out, const TownPlan& plan, int64_t node, int64_t source = 0);

/// Nodes, links and rules.
void sections_writeNetwork(TownText& out, const TownPlan& plan);

/// Dry weather flow.
void sections_writeFlows(TownText& out, const TownPlan& plan);

/// Patterns and curves.
void sections_writeTables(TownText& out, const TownPlan& plan);
