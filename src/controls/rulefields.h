#pragma once
// What the rules keep from step to step, told for saving and restoring (model/fields.h).

#include "controls/rule.h"
#include "model/fields.h"
#include "model/model.h"

constexpr double MOST_STEPS = 9.0e18;  ///< more than any run makes

/// Whoever walks here has called rule_forgetChoice before, so that nothing is chosen.
template <class V>
void rules_walk(V& v, Model& model) {
    ActionList& list = *model.actionList;
    v.rows("rule", model.rules, [&](V& own, Rule& row) {
        own.fixed(row.name, row.premises, row.lastPremise, row.thenActions, row.elseActions);
        own.setting(NAMED(row.priority));
        own.total(NAMED(row.fulfilledSteps), FieldSpan{0.0, MOST_STEPS});
        own.total(NAMED(row.firedCount), FieldSpan{0.0, MOST_STEPS});
        own.total(NAMED(row.isFulfilled), FieldSpan{0.0, 1.0});
    });
    v.fixed(model.actionList, list.chosen, list.place, list.targetCount, list.chosenCount);
    v.setting(NAMED(list.cellCount), FieldSpan{0.0, static_cast<double>(list.targetCount)});
}
