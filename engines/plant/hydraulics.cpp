// Flows of the step, from the inflow down to the overflow of the settler.

#include "hydraulics.h"

#include <algorithm>

static double applyRule(const FlowRule& rule, double treated) {
    return std::min(std::max(rule.constant + rule.ratio * treated, rule.least), rule.most);
}

void hydraulics_compute(const PlantModel& model, double inflow, Flows& flows) {
    const size_t tanks = model.tanks.size();
    flows.inflow = std::max(inflow, 0.0);
    flows.treated = std::min(flows.inflow, model.bypassAbove);
    flows.bypass = flows.inflow - flows.treated;
    flows.returned = applyRule(model.returned, flows.treated);
    flows.waste = std::min(applyRule(model.waste, flows.treated), flows.treated);
    flows.underflow = flows.returned + flows.waste;
    flows.overflow = flows.treated - flows.waste;
    flows.feed.assign(tanks, 0.0);
    flows.through.assign(tanks, 0.0);
    flows.entering.assign(tanks, 0.0);
    flows.recycles.assign(model.recycles.size(), 0.0);
    for (size_t k = 0; k < model.recycles.size(); ++k) {
        flows.recycles[k] = applyRule(model.recycles[k].flow, flows.treated);
    }
    for (size_t k = 0; k < tanks; ++k) {
        flows.feed[k] = model.tanks[k].share * flows.treated;
        double entering = (k > 0 ? flows.through[k - 1] : 0.0) + flows.feed[k];
        entering += k == model.returnTank ? flows.returned : 0.0;
        double leaving = 0.0;
        for (size_t r = 0; r < model.recycles.size(); ++r) {
            entering += model.recycles[r].to == k ? flows.recycles[r] : 0.0;
            leaving += model.recycles[r].from == k ? flows.recycles[r] : 0.0;
        }
        flows.entering[k] = entering;
        flows.through[k] = std::max(entering - leaving, 0.0);  // rounding alone takes it below 0
    }
}
