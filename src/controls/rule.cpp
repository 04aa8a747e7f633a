// Control rules: what an operator would do, written down. At the start of each routing step all rules look at the
// network as the step before left it; each puts forward the actions of its THEN or of its ELSE part; where several act
// on one object the highest priority wins, and the first met of equal ones. The routing step calls rule_evaluate after
// the automatic switches, so a rule overrules a pump's depths, and before the settings follow their targets. A
// pipe or an orifice is held by a rule for as long as the rule says so in every step; all else stays as it was put.

#include "controls/rule.h"

#include <algorithm>
#include <cstring>

#include "coupling/swmm.h"
#include "hydrology/gage.h"
#include "links/conduit.h"
#include "links/link.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/project.h"
#include "nodes/reactor.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"
#include "text/number.h"

void rule_createAll(Model& model) {
    model.rules.fill(model.counts.objects[RULE], Rule{});
    model.clauseState = CLAUSE_PRIORITY;
}

// --- targets -------------------------------------------------------------------------------------------------------

static bool isSwmmNode(const Model& model, int32_t node) {
    return model.nodes[node].kind == SWMM;
}

/// Order of two texts, a missing one before all others.
static int32_t compareTexts(const char* a, const char* b) {
    if (!a || !b) {
        return (a ? 1 : 0) - (b ? 1 : 0);
    }
    return std::strcmp(a, b);
}

/// Order of what two actions act on, 0 if it is the same: a link; else a node, and inside a SWMM node one of its links.
static int32_t compareTargets(const Model& model, const Action& a, const Action& b) {
    if (a.link != b.link) {
        return a.link < b.link ? -1 : 1;
    }
    if (a.link >= 0) {
        return 0;
    }
    if (a.node != b.node) {
        return a.node < b.node ? -1 : 1;
    }
    return isSwmmNode(model, a.node) ? compareTexts(a.swmmLink, b.swmmLink) : 0;
}

static std::vector<Action*> listActions(const Model& model) {
    std::vector<Action*> actions;
    for (const Rule& rule : model.rules) {
        for (Action* list : {rule.thenActions, rule.elseActions}) {
            for (Action* action = list; action; action = action->next) {
                actions.push_back(action);
            }
        }
    }
    return actions;
}

void rule_openRun(Model& model) {
    for (Rule& rule : model.rules) {
        rule.fulfilledSteps = rule.firedCount = 0;
        rule.isFulfilled = 0;
    }
    // Kinds of objects are known for good once the project is read, so the targets of a first run serve all others.
    if (model.rules.empty() || model.actionList->chosen) {
        return;
    }
    std::vector<Action*> actions = listActions(model);
    std::sort(actions.begin(), actions.end(),
              [&](const Action* a, const Action* b) { return compareTargets(model, *a, *b) < 0; });
    int32_t target = -1;
    for (size_t k = 0; k < actions.size(); ++k) {
        target += k == 0 || compareTargets(model, *actions[k - 1], *actions[k]) != 0 ? 1 : 0;
        actions[k]->target = target;
    }
    *model.actionList = ActionList{};
    model.actionList->place = arena_allocateArray<int32_t>(model.memory.project, target + 1);
    model.actionList->chosen = arena_allocateArray<Action*>(model.memory.project, target + 1);
    if (!model.actionList->place || !model.actionList->chosen) {
        *model.actionList = ActionList{};
        errors_report(model, ERR_MEMORY, "");
        return;
    }
    model.actionList->targetCount = target + 1;
    std::fill_n(model.actionList->place, model.actionList->targetCount, -1);
}

// --- premises ------------------------------------------------------------------------------------------------------

static double getDepth(const Model& model, const RuleOperand& operand) {
    if (operand.node >= 0 && operand.tank >= 0) {
        return model.tanks[operand.tank].newDepth;
    }
    return operand.link >= 0 && operand.conduit >= 0 ? model.conduits[operand.conduit].depth : NO_VALUE;
}

/// How full a reactor is. A plug-flow reactor has no volume, and what 0 / 0 gives is unequal to all values.
static double getFill(const Model& model, int32_t index) {
    const Reactor& reactor = model.reactors[index];
    return reactor.storedVolume / reactor.volume;
}

/// Concentration of a pollutant in the water that a node had, or that a link delivered.
static double getConcentration(const Model& model, const RuleOperand& operand) {
    const int32_t pollutant = operand.attribute - ATTRIBUTE_POLLUTANT;
    if (operand.node >= 0) {
        return model.nodes[operand.node].newQual[pollutant];
    }
    return operand.link >= 0 ? model.links[operand.link].newQual[pollutant] : NO_VALUE;
}

double rule_operandValue(Model& model, const RuleOperand& operand) {
    if (operand.attribute >= ATTRIBUTE_POLLUTANT) {
        return getConcentration(model, operand);
    }
    switch (operand.attribute) {
        case ATTRIBUTE_DEPTH: return getDepth(model, operand);
        case ATTRIBUTE_INFLOW: return operand.node >= 0 ? model.nodes[operand.node].newInflow : NO_VALUE;
        case ATTRIBUTE_FLOW: return operand.link >= 0 ? model.links[operand.link].newFlow : NO_VALUE;
        case ATTRIBUTE_STATUS:
            return operand.link >= 0 && operand.pump >= 0 ? model.links[operand.link].setting : NO_VALUE;
        case ATTRIBUTE_EVENT:
            return operand.gage >= 0
                       ? gage_isInEvent(model, operand.gage, model_getDate(model, model.clock.newRoutingTime))
                       : NO_VALUE;
        case ATTRIBUTE_FILL: return operand.reactor >= 0 ? getFill(model, operand.reactor) : NO_VALUE;
        default: return NO_VALUE;
    }
}

bool rule_testPremise(Model& model, const Premise& premise) {
    const double a = rule_operandValue(model, premise.left);
    const double b = premise.value == NO_VALUE ? rule_operandValue(model, premise.right) : premise.value;
    if (a == NO_VALUE || b == NO_VALUE) {
        return false;
    }
    switch (premise.relation) {
        case RELATION_EQUAL: return a == b;
        case RELATION_UNEQUAL: return a != b;
        case RELATION_LESS: return a < b;
        case RELATION_AT_MOST: return a <= b;
        case RELATION_GREATER: return a > b;
        case RELATION_AT_LEAST: return a >= b;
        default: return false;
    }
}

/// The premises from left to right, without precedence. An AND after a false result ends the rule, whatever follows.
static bool isFulfilled(Model& model, const Rule& rule) {
    bool isTrue = true;
    for (const Premise* premise = rule.premises; premise; premise = premise->next) {
        if (premise->logic == LOGIC_OR) {
            isTrue = isTrue || rule_testPremise(model, *premise);
        } else if (isTrue) {
            isTrue = rule_testPremise(model, *premise);
        } else {
            break;
        }
    }
    return isTrue;
}

// --- actions -------------------------------------------------------------------------------------------------------

static double getPriority(const Model& model, const Action& action) {
    return model.rules[action.rule].priority;
}

/// Puts an action forward: it takes a free target, or one that an action of lower priority holds.
static void choose(Model& model, Action& action) {
    int32_t& place = model.actionList->place[action.target];
    if (place < 0) {
        place = model.actionList->chosenCount++;
        model.actionList->chosen[place] = &action;
    } else if (getPriority(model, action) > getPriority(model, *model.actionList->chosen[place])) {
        model.actionList->chosen[place] = &action;
    }
}

static int32_t applyToLink(Model& model, const Action& action) {
    Link& link = model.links[action.link];
    if (link.targetSetting == action.value) {
        return 0;
    }
    link.targetSetting = action.value;
    link_noteTarget(model, action.link);
    return 1;
}

/// Sets the value that the project gave the splitter: one set by the host goes on to hide it, and it stays for a second
/// run.
static int32_t applyToSplitter(Model& model, const Action& action) {
    Splitter& splitter = model.splitters[action.splitter];
    if (action.value < 0.0 || action.value == splitter.value) {
        return 0;
    }
    splitter.value = action.value;
    return 1;
}

static int32_t applyToReactor(Model& model, const Action& action) {
    Reactor& reactor = model.reactors[action.reactor];
    if (action.value == reactor.isEmptying) {
        return 0;
    }
    reactor.isEmptying = number_truncate(action.value);
    return 1;
}

/// Hands a setting to the engine of a SWMM node, in every step, changed or not.
static void applyToSwmm(Model& model, const Action& action) {
    if (!action.swmmLink) {
        return;  // the line named the node under another type, and no link inside it
    }
    if (swmm_isLink(model, action.swmm, action.swmmLink) >= 0) {
        swmm_setSetting(model, action.swmm, action.swmmLink, action.value, model.options.routingStep);
    }
}

static int32_t apply(Model& model, const Action& action) {
    if (action.link >= 0) {
        return applyToLink(model, action);
    }
    if (action.splitter >= 0) {
        return applyToSplitter(model, action);
    }
    if (action.reactor >= 0) {
        return applyToReactor(model, action);
    }
    if (action.swmm >= 0) {
        applyToSwmm(model, action);
    }
    return 0;
}

/// Applies the chosen actions in the order of their cells: those in new cells, the newest first, then the others.
static int32_t applyChosen(Model& model) {
    int32_t changes = 0;
    const int32_t old = std::min(model.actionList->cellCount, model.actionList->chosenCount);
    for (int32_t k = model.actionList->chosenCount - 1; k >= old; --k) {
        changes += apply(model, *model.actionList->chosen[k]);
    }
    for (int32_t k = 0; k < old; ++k) {
        changes += apply(model, *model.actionList->chosen[k]);
    }
    return changes;
}

/// Counts the step that now begins.
static void count(Rule& rule, bool isFulfilledNow) {
    rule.firedCount += isFulfilledNow && rule.isFulfilled == 0 ? 1 : 0;
    rule.fulfilledSteps += isFulfilledNow ? 1 : 0;
    rule.isFulfilled = isFulfilledNow ? 1 : 0;
}

void rule_forgetChoice(Model& model) {
    for (int32_t k = 0; k < model.actionList->chosenCount; ++k) {
        model.actionList->place[model.actionList->chosen[k]->target] = -1;
    }
    model.actionList->cellCount = std::max(model.actionList->cellCount, model.actionList->chosenCount);
    model.actionList->chosenCount = 0;
}

int32_t rule_evaluate(Model& model) {
    if (model.rules.empty() || !model.actionList->chosen) {
        return 0;
    }
    rule_forgetChoice(model);
    for (Rule& rule : model.rules) {
        const bool isTrue = isFulfilled(model, rule);
        count(rule, isTrue);
        for (Action* action = isTrue ? rule.thenActions : rule.elseActions; action; action = action->next) {
            choose(model, *action);
        }
    }
    return applyChosen(model);
}
