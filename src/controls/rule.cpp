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
#include "model/project.h"
#include "nodes/reactor.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"
#include "text/number.h"

Table<Rule> Rules;

/// The actions that stand at the end of an evaluation, at most one for each target, as a list of cells. The list begins
/// each step with the cells of the largest step so far, empty, and fills them from its head; further cells are put in
/// front of the head. Engines inside SWMM nodes see their calls in the order of this list. Here the chosen actions
/// stand in the order in which their targets were met; cellCount says how many found a cell waiting.
struct ActionListRecord {
    Action** chosen;  ///< by place, one for each target at most
    int32_t* place;   ///< by target: place in `chosen`, or -1
    int32_t targetCount;
    int32_t chosenCount;
    int32_t cellCount;  ///< cells made by earlier evaluations
};

static ActionListRecord ActionList;

void rule_createAll() {
    Rules.fill(ObjectCount[RULE], Rule{});
    ClauseState = CLAUSE_PRIORITY;
}

void rule_deleteAll() {
    Rules = {};
    ActionList = ActionListRecord{};
    ClauseState = CLAUSE_PRIORITY;
}

// --- targets -------------------------------------------------------------------------------------------------------

static bool isSwmmNode(int32_t node) {
    return Nodes[node].kind == SWMM;
}

/// Order of two texts, a missing one before all others.
static int32_t compareTexts(const char* a, const char* b) {
    if (!a || !b) {
        return (a ? 1 : 0) - (b ? 1 : 0);
    }
    return std::strcmp(a, b);
}

/// Order of what two actions act on, 0 if it is the same: a link; else a node, and inside a SWMM node one of its links.
static int32_t compareTargets(const Action& a, const Action& b) {
    if (a.link != b.link) {
        return a.link < b.link ? -1 : 1;
    }
    if (a.link >= 0) {
        return 0;
    }
    if (a.node != b.node) {
        return a.node < b.node ? -1 : 1;
    }
    return isSwmmNode(a.node) ? compareTexts(a.swmmLink, b.swmmLink) : 0;
}

static std::vector<Action*> listActions() {
    std::vector<Action*> actions;
    for (const Rule& rule : Rules) {
        for (Action* list : {rule.thenActions, rule.elseActions}) {
            for (Action* action = list; action; action = action->next) {
                actions.push_back(action);
            }
        }
    }
    return actions;
}

void rule_openRun() {
    // Kinds of objects are known for good once the project is read, so the targets of a first run serve all others.
    if (Rules.empty() || ActionList.chosen) {
        return;
    }
    std::vector<Action*> actions = listActions();
    std::sort(actions.begin(), actions.end(),
              [](const Action* a, const Action* b) { return compareTargets(*a, *b) < 0; });
    int32_t target = -1;
    for (size_t k = 0; k < actions.size(); ++k) {
        target += k == 0 || compareTargets(*actions[k - 1], *actions[k]) != 0 ? 1 : 0;
        actions[k]->target = target;
    }
    ActionList = ActionListRecord{};
    ActionList.place = arena_allocateArray<int32_t>(ProjectArena, target + 1);
    ActionList.chosen = arena_allocateArray<Action*>(ProjectArena, target + 1);
    if (!ActionList.place || !ActionList.chosen) {
        ActionList = ActionListRecord{};
        errors_report(ERR_MEMORY, "");
        return;
    }
    ActionList.targetCount = target + 1;
    std::fill_n(ActionList.place, ActionList.targetCount, -1);
}

// --- premises ------------------------------------------------------------------------------------------------------

static double getDepth(const RuleOperand& operand) {
    if (operand.node >= 0 && operand.tank >= 0) {
        return Tanks[operand.tank].newDepth;
    }
    return operand.link >= 0 && operand.conduit >= 0 ? Conduits[operand.conduit].depth : NO_VALUE;
}

/// How full a reactor is. A plug-flow reactor has no volume, and what 0 / 0 gives is unequal to all values.
static double getFill(int32_t index) {
    const Reactor& reactor = Reactors[index];
    return reactor.storedVolume / reactor.volume;
}

double rule_operandValue(const RuleOperand& operand) {
    switch (operand.attribute) {
        case ATTRIBUTE_DEPTH: return getDepth(operand);
        case ATTRIBUTE_INFLOW: return operand.node >= 0 ? Nodes[operand.node].newInflow : NO_VALUE;
        case ATTRIBUTE_FLOW: return operand.link >= 0 ? Links[operand.link].newFlow : NO_VALUE;
        case ATTRIBUTE_STATUS: return operand.link >= 0 && operand.pump >= 0 ? Links[operand.link].setting : NO_VALUE;
        case ATTRIBUTE_EVENT:
            return operand.gage >= 0 ? gage_isInEvent(operand.gage, project_getDate(NewRoutingTime)) : NO_VALUE;
        case ATTRIBUTE_FILL: return operand.reactor >= 0 ? getFill(operand.reactor) : NO_VALUE;
        default: return NO_VALUE;
    }
}

bool rule_testPremise(const Premise& premise) {
    const double a = rule_operandValue(premise.left);
    const double b = premise.value == NO_VALUE ? rule_operandValue(premise.right) : premise.value;
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
static bool isFulfilled(const Rule& rule) {
    bool isTrue = true;
    for (const Premise* premise = rule.premises; premise; premise = premise->next) {
        if (premise->logic == LOGIC_OR) {
            isTrue = isTrue || rule_testPremise(*premise);
        } else if (isTrue) {
            isTrue = rule_testPremise(*premise);
        } else {
            break;
        }
    }
    return isTrue;
}

// --- actions -------------------------------------------------------------------------------------------------------

static double getPriority(const Action& action) {
    return Rules[action.rule].priority;
}

/// Puts an action forward: it takes a free target, or one that an action of lower priority holds.
static void choose(Action& action) {
    int32_t& place = ActionList.place[action.target];
    if (place < 0) {
        place = ActionList.chosenCount++;
        ActionList.chosen[place] = &action;
    } else if (getPriority(action) > getPriority(*ActionList.chosen[place])) {
        ActionList.chosen[place] = &action;
    }
}

static int32_t applyToLink(const Action& action) {
    Link& link = Links[action.link];
    if (link.targetSetting == action.value) {
        return 0;
    }
    link.targetSetting = action.value;
    link_noteTarget(action.link);
    return 1;
}

/// Sets the value that the project gave the splitter: one set by the host goes on to hide it, and it stays for a second
/// run.
static int32_t applyToSplitter(const Action& action) {
    Splitter& splitter = Splitters[action.splitter];
    if (action.value < 0.0 || action.value == splitter.value) {
        return 0;
    }
    splitter.value = action.value;
    return 1;
}

static int32_t applyToReactor(const Action& action) {
    Reactor& reactor = Reactors[action.reactor];
    if (action.value == reactor.isEmptying) {
        return 0;
    }
    reactor.isEmptying = number_truncate(action.value);
    return 1;
}

/// Hands a setting to the engine of a SWMM node, in every step, changed or not.
static void applyToSwmm(const Action& action) {
    if (!action.swmmLink) {
        return;  // the line named the node under another type, and no link inside it
    }
    if (swmm_isLink(action.swmm, action.swmmLink) >= 0) {
        swmm_setSetting(action.swmm, action.swmmLink, action.value, RoutingStep);
    }
}

static int32_t apply(const Action& action) {
    if (action.link >= 0) {
        return applyToLink(action);
    }
    if (action.splitter >= 0) {
        return applyToSplitter(action);
    }
    if (action.reactor >= 0) {
        return applyToReactor(action);
    }
    if (action.swmm >= 0) {
        applyToSwmm(action);
    }
    return 0;
}

/// Applies the chosen actions in the order of their cells: those in new cells, the newest first, then the others.
static int32_t applyChosen() {
    int32_t changes = 0;
    const int32_t old = std::min(ActionList.cellCount, ActionList.chosenCount);
    for (int32_t k = ActionList.chosenCount - 1; k >= old; --k) {
        changes += apply(*ActionList.chosen[k]);
    }
    for (int32_t k = 0; k < old; ++k) {
        changes += apply(*ActionList.chosen[k]);
    }
    return changes;
}

static void emptyCells() {
    for (int32_t k = 0; k < ActionList.chosenCount; ++k) {
        ActionList.place[ActionList.chosen[k]->target] = -1;
    }
    ActionList.cellCount = std::max(ActionList.cellCount, ActionList.chosenCount);
    ActionList.chosenCount = 0;
}

int32_t rule_evaluate() {
    if (Rules.empty() || !ActionList.chosen) {
        return 0;
    }
    emptyCells();
    for (const Rule& rule : Rules) {
        for (Action* action = isFulfilled(rule) ? rule.thenActions : rule.elseActions; action; action = action->next) {
            choose(*action);
        }
    }
    return applyChosen();
}
