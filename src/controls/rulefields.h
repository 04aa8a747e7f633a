#pragma once
// What the rules keep from step to step, told for saving and restoring (model/fields.h).

#include "controls/rule.h"
#include "model/fields.h"
#include "model/model.h"

/// Whoever walks here has called rule_forgetChoice before, so that nothing is chosen.
template <class V>
void rules_walk(V& v, Model& model) {
    ActionList& list = *model.actionList;
    v.fixed(model.rules, model.actionList, list.chosen, list.place, list.targetCount, list.chosenCount);
    v.setting(NAMED(list.cellCount), FieldSpan{0.0, static_cast<double>(list.targetCount)});
}
