#pragma once
// Where the kinds of link are told apart: one function for each thing that is done to a link of any kind. A new kind is
// a room among the links, and its cases here.

#include <cstdint>

#include "coupling/outside.h"
#include "links/link.h"
#include "model/balance.h"
#include "model/decay.h"
#include "routing/visits.h"

struct Model;

/// A line of a link section, for the row `link` and the row `kindIndex` of its kind. An error index, or 0.
[[nodiscard]] int32_t linkkinds_readLine(Model& model, const Tokens& tokens, int32_t kind, int32_t link,
                                         int32_t kindIndex);

/// The decay of a link that holds water, one record per pollutant; null for the other kinds.
[[nodiscard]] Decay* linkkinds_findDecay(const Model& model, const Link& link);

/// Tests a link when all is read; writes what is wrong to the report.
void linkkinds_validate(Model& model, const Link& link);

/// Ahead of a start: releases what several links have shared, and none shares any more.
void linkkinds_dropTables(Model& model);

/// Puts a link to time zero, and releases what it holds for the run.
void linkkinds_initState(Model& model, Link& link);
void linkkinds_endState(Model& model, Link& link);

/// Prepares the links for a run.
void linkkinds_openRun(Model& model);

/// Rolls the links from new to old at the start of a step, but for those that are served, which do so in the visit.
void linkkinds_shiftAll(Model& model);

/// What automatic switches ask for at the start of a step.
void linkkinds_setTargets(Model& model);

/// The settings follow their targets, unless the host holds them. A pipe whose setting moves rests no more.
void linkkinds_applyTargets(Model& model);

/// Hands a link what its upstream node offers in a step; kinds that only a tank feeds are passed over.
void linkkinds_update(Model& model, const VisitLink& link, const Offer& offer, const VisitStep& step);

/// Adds what a link delivers in a step to its lower node. One that is served has left it in the deliveries.
void linkkinds_addDelivery(Model& model, const VisitLink& link, Node& node);

/// Water of a link over the run, m3, but for what it was given and what it held at the start; and what is on its way
/// through it and in no storage, as of now.
[[nodiscard]] Balance linkkinds_getBalance(const Model& model, int32_t link);
[[nodiscard]] double linkkinds_getUnderWay(const Model& model, int32_t link);

/// The most that a link of this kind may rightly have on its way, m3: a pipe collects for a period before it lets go.
[[nodiscard]] double linkkinds_getMostUnderWay(const Model& model, int32_t link);

/// What a link delivers in a step into an outside model: the flow, m3/s, and the loads, kg/s, in place of the zeros of
/// `loads`.
[[nodiscard]] double linkkinds_deliver(const Model& model, int32_t link, double* loads);

/// Hands the outflows of a node's model to the links that the records name.
void linkkinds_feed(Model& model, int32_t node, const OutsideNode& outside, const OutsideTotals& totals);

/// Adds a step to the statistics and the totals: the links that no visit has counted, and what floods.
void linkkinds_countStep(Model& model);

// --- pollutants of a balance, for the book of loads; by pollutant p

/// What a link holds, and what is on its way through it and in no storage, kg.
[[nodiscard]] double linkkinds_getStoredLoad(const Model& model, int32_t link, int32_t p);
[[nodiscard]] double linkkinds_getLoadUnderWay(const Model& model, int32_t link, int32_t p);

/// What floods, kg/s.
[[nodiscard]] double linkkinds_getFloodLoad(const Model& model, int32_t link, int32_t p);

/// Whether what enters a link now would leave it after the end of the run, and so never does.
[[nodiscard]] bool linkkinds_isBeyondEnd(const Model& model, int32_t link);
