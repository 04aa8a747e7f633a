#pragma once
// What comes out of an outside model, handed to the links of the network: each kind of link takes it in its own way.

#include <cstdint>

#include "coupling/outside.h"

struct Model;

/// Hands a record's outflow to the link that it names. `totals` are those that the kind of model adds to.
void feed_pipe(Model& model, const CoupledFlow& record, const OutsideNode& outside, const OutsideTotals& totals);
void feed_connection(Model& model, const CoupledFlow& record, const OutsideNode& outside, const OutsideTotals& totals);
void feed_conduit(Model& model, const CoupledFlow& record, const OutsideNode& outside, const OutsideTotals& totals);
