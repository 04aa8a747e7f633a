#pragma once
// The folder controls: what an operator would do, written down as rules. It uses all kinds of object on the floors
// below, looks at their states, and changes only what an operator could: settings, splits, the emptying of a reactor;
// it must know neither results nor the routing step, which asks it once at its beginning. One room reads the clauses,
// the other evaluates them.
//
// Control rules: premises on the state of the network, and actions on its settings.

#include <cstdint>

#include "model/table.h"
#include "text/tokens.h"

struct Model;

/// Words that a clause, one line of a rule, begins with.
enum ClauseWord : int32_t { CLAUSE_RULE, CLAUSE_IF, CLAUSE_AND, CLAUSE_OR, CLAUSE_THEN, CLAUSE_ELSE, CLAUSE_PRIORITY };

extern const char* const ClauseWords[];

enum RuleAttribute : int32_t {
    ATTRIBUTE_DEPTH,
    ATTRIBUTE_INFLOW,
    ATTRIBUTE_FLOW,
    ATTRIBUTE_STATUS,
    ATTRIBUTE_SETTING,
    ATTRIBUTE_EVENT,
    ATTRIBUTE_EMPTYING,
    ATTRIBUTE_FILL,
    ATTRIBUTE_VALUE,
    ATTRIBUTE_POLLUTANT  ///< and more: the concentration of the pollutant of row attribute - ATTRIBUTE_POLLUTANT
};

enum RuleRelation : int32_t {
    RELATION_EQUAL,
    RELATION_UNEQUAL,
    RELATION_LESS,
    RELATION_AT_MOST,
    RELATION_GREATER,
    RELATION_AT_LEAST
};

enum RuleLogic : int32_t { LOGIC_AND = 2, LOGIC_OR = 3 };

/// No value: a premise with it is false. Whoever writes this number into a condition gets just that.
constexpr double NO_VALUE = -1.0e10;

/// An object and one of its attributes. All fields are -1 when not used; `node` and `link` are rows of the common
/// tables, the others but for `gage` and `attribute` rows of the table of the kind.
struct RuleOperand {
    int32_t node;
    int32_t junction;
    int32_t tank;
    int32_t outfall;
    int32_t link;
    int32_t pipe;
    int32_t pump;
    int32_t weir;
    int32_t orifice;
    int32_t gage;
    int32_t reactor;
    int32_t splitter;
    int32_t lidMono;
    int32_t conduit;
    int32_t connection;
    int32_t attribute;  ///< RuleAttribute
};

/// A comparison of two operands, or of one with a value.
struct Premise {
    int32_t logic;  ///< RuleLogic; the first one of a rule counts as AND
    RuleOperand left;
    RuleOperand right;
    int32_t relation;  ///< RuleRelation
    double value;      ///< NO_VALUE if `right` is compared with
    Premise* next;
};

/// A new value for an object. A name can be that of a link and of a node: both are kept then, and the link gets it.
struct Action {
    int32_t rule;
    int32_t link;  ///< -1 if the name is no link
    int32_t node;  ///< -1 if the name is no node; so the fields of its kinds
    int32_t splitter;
    int32_t reactor;
    int32_t swmm;
    const char* swmmLink;  ///< ID of a link inside a SWMM node; null in the actions of all other types
    int32_t attribute;     ///< RuleAttribute
    double value;          ///< setting, status, split value or flag
    int32_t target;        ///< number of what it acts on, the same for all actions on that; set at the start of a run
    Action* next;
};

struct Rule {
    const char* name;   ///< the ID as first seen; null until read
    double priority;    ///< the higher one wins
    Premise* premises;  ///< in the order of the lines
    Premise* lastPremise;
    Action* thenActions;  ///< the last line first
    Action* elseActions;  ///< the last line first

    // What it did in the run.
    int64_t fulfilledSteps;  ///< steps that it began fulfilled
    int64_t firedCount;      ///< how often it became fulfilled; at the start counts as well
    int32_t isFulfilled;     ///< 1 if the last evaluation found it fulfilled
};

/// The actions that stand at the end of an evaluation, at most one for each target, as a list of cells. The list begins
/// each step with the cells of the largest step so far, empty, and fills them from its head; further cells are put in
/// front of the head. Engines inside SWMM nodes see their calls in the order of this list. Here the chosen actions
/// stand in the order in which their targets were met; cellCount says how many found a cell waiting.
struct ActionList {
    Action** chosen;  ///< by place, one for each target at most
    int32_t* place;   ///< by target: place in `chosen`, or -1
    int32_t targetCount;
    int32_t chosenCount;
    int32_t cellCount;  ///< cells made by earlier evaluations
};

/// Makes the table for the counted rules.
void rule_createAll(Model& model);

/// Finds out which actions share a target; writes it to the report if memory is short.
void rule_openRun(Model& model);

/// Evaluates all rules on the state of the step before, and applies the actions that win. The number of changes.
int32_t rule_evaluate(Model& model);

/// Forgets which actions the last evaluation chose, as the next one does first. Nothing but their cells outlives it.
void rule_forgetChoice(Model& model);

/// Whether a premise holds.
[[nodiscard]] bool rule_testPremise(Model& model, const Premise& premise);

/// The present value of an operand, or NO_VALUE.
[[nodiscard]] double rule_operandValue(Model& model, const RuleOperand& operand);
