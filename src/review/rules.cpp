// What the actions of rules act on. An action finds its object by name among links and nodes alike, whatever type its
// line gives, and one whose object takes no value does nothing. Links may stand after the rules, so their kinds are
// known only now.

#include "review/rules.h"

#include <string>

#include "controls/rule.h"
#include "coupling/coupled.h"
#include "model/model.h"
#include "model/project.h"
#include "model/warnings.h"
#include "nodes/reactor.h"
#include "text/tokens.h"

/// The type that a rule gives to an object that takes a value; null for one that takes none.
static const char* findType(const Model& model, const ActionLine& action) {
    if (action.link >= 0) {
        const int32_t kind = model.links[action.link].kind;
        return kind == PIPE || kind == PUMP || kind == WEIR || kind == ORIFICE ? LinkKindWords[kind] : nullptr;
    }
    const int32_t kind = model.nodes[action.node].kind;
    return kind == SPLITTER || kind == REACTOR || kind == SWMM ? NodeKindWords[kind] : nullptr;
}

/// Why a reactor can't be emptied; null if it can.
static const char* findFault(const Model& model, const ActionLine& action) {
    if (action.link >= 0 || model.nodes[action.node].kind != REACTOR) {
        return nullptr;
    }
    const Reactor& reactor = model.reactors[model.nodes[action.node].kindIndex];
    if (reactor.type == PFR) {
        return "a PFR stores nothing to be emptied";
    }
    return reactor.emptyingNode < 0 ? "the reactor has no line in [REACTORS_EMPTYING]" : nullptr;
}

static void reviewTarget(const Model& model, const ActionLine& action) {
    const char* const rule = model.rules[action.rule].name;
    const char* const name = action.link >= 0 ? model.links[action.link].id : model.nodes[action.node].id;
    const char* const type = findType(model, action);
    if (!type) {
        const char* kind = action.link >= 0 ? LinkKindWords[model.links[action.link].kind]
                                            : NodeKindWords[model.nodes[action.node].kind];
        warnings_addAtPlace(model, WARN_RULE_TARGET, action.place, 2, rule, {name, std::string("it is a ") + kind});
    } else if (!tokens_matchKeyword(type, action.type)) {
        warnings_addAtPlace(model, WARN_RULE_TYPE, action.place, 1, rule, {name, type, action.type});
    } else if (const char* fault = findFault(model, action)) {
        warnings_addAtPlace(model, WARN_RULE_TARGET, action.place, 2, rule, {name, fault});
    }
}

static bool isSameTarget(const Model& model, const Action& a, const Action& b) {
    if (a.link >= 0 || b.link >= 0) {
        return a.link == b.link;
    }
    return a.node == b.node && model.nodes[a.node].kind != SWMM;
}

/// Of two lines of one list on one object the later one counts. Later lines stand in front.
static void reviewList(const Model& model, int32_t rule, const Action* list, const char* part) {
    static constexpr int32_t MOST = 50;  ///< actions of a list that are compared with each other
    int32_t count = 0;
    for (const Action* action = list; action && count < MOST; action = action->next, ++count) {
        for (const Action* later = list; later != action; later = later->next) {
            if (isSameTarget(model, *action, *later)) {
                const char* name = action->link >= 0 ? model.links[action->link].id : model.nodes[action->node].id;
                warnings_addAbout(model, WARN_RULE_TWICE, RULE, rule, model.rules[rule].name, {name, part});
                break;
            }
        }
    }
}

void rules_review(const Model& model) {
    for (const ActionLine& action : model.log->warnings.actions) {
        reviewTarget(model, action);
    }
    for (int32_t k = 0; k < model.rules.size(); ++k) {
        const Rule& rule = model.rules[k];
        if (rule.name && !rule.thenActions && !rule.elseActions) {
            warnings_addAbout(model, WARN_RULE_EMPTY, RULE, k, rule.name);
        }
        reviewList(model, k, rule.thenActions, "THEN");
        reviewList(model, k, rule.elseActions, "ELSE");
    }
}
