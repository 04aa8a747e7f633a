// Reading of control rules. The reader of the project file hands over [CONTROL_RULES] clause by clause; the last clause
// word decides which may follow:
//
//     any state --RULE--> RULE --IF--> IF --THEN--> THEN --ELSE--> ELSE          rulereader_readLine
//     IF          --AND, OR--> IF                                                rulereader_readPremise
//     THEN, ELSE  --AND-----> as it was                                          rulereader_readAction
//     THEN, ELSE  --PRIORITY--> PRIORITY, after which only RULE may come        readPriority
//
// The state moves before the rest of the line is read, so that one bad line spoils none of those after it.

#include "controls/rulereader.h"

#include <cstring>

#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/project.h"
#include "model/warnings.h"
#include "nodes/reactor.h"
#include "text/tokens.h"

enum RuleObject : int32_t {
    OBJECT_JUNCTION,
    OBJECT_TANK,
    OBJECT_OUTFALL,
    OBJECT_PIPE,
    OBJECT_PUMP,
    OBJECT_WEIR,
    OBJECT_ORIFICE,
    OBJECT_GAGE,
    OBJECT_REACTOR,
    OBJECT_SPLITTER,
    OBJECT_LID_MONO,
    OBJECT_CONDUIT,
    OBJECT_CONNECTION,
    OBJECT_SWMM
};

const char* const ClauseWords[] = {"RULE", "IF", "AND", "OR", "THEN", "ELSE", "PRIORITY", nullptr};

static const char* const ObjectWords[] = {"JUNCTION", "TANK",    "OUTFALL",    "PIPE",    "PUMP",
                                          "WEIR",     "ORIFICE", "GAGE",       "REACTOR", "SPLITTER",
                                          "LID_MONO", "CONDUIT", "CONNECTION", "SWMM",    nullptr};
static const char* const AttributeWords[] = {"DEPTH", "INFLOW",   "FLOW", "STATUS", "SETTING",
                                             "EVENT", "EMPTYING", "FILL", "VALUE",  nullptr};
static const char* const RelationWords[] = {"=", "<>", "<", "<=", ">", ">=", nullptr};
static const char* const PumpStatusWords[] = {"OFF", "ON", nullptr};
static const char* const PipeStatusWords[] = {"CLOSED", "OPEN", nullptr};
static const char* const EventWords[] = {"OUT", "IN", nullptr};

static constexpr RuleOperand NoOperand{-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};

/// How a type of object is looked up in a condition, and which attributes it has there.
struct ConditionObject {
    int32_t type;                 ///< NODE, LINK or GAGE; -1 for what has no name
    int32_t kind;                 ///< NodeKind or LinkKind
    int32_t RuleOperand::*field;  ///< where its row in the table of the kind goes
    uint32_t attributes;          ///< a bit for each RuleAttribute
};

static constexpr uint32_t bit(int32_t attribute) {
    return 1u << attribute;
}

/// By RuleObject.
static const ConditionObject ConditionObjects[] = {
    {NODE, JUNCTION, &RuleOperand::junction, bit(ATTRIBUTE_INFLOW)},
    {NODE, TANK, &RuleOperand::tank, bit(ATTRIBUTE_DEPTH) | bit(ATTRIBUTE_INFLOW)},
    {NODE, OUTFALL, &RuleOperand::outfall, bit(ATTRIBUTE_INFLOW)},
    {LINK, PIPE, &RuleOperand::pipe, bit(ATTRIBUTE_FLOW)},
    {LINK, PUMP, &RuleOperand::pump, bit(ATTRIBUTE_FLOW) | bit(ATTRIBUTE_STATUS)},
    {LINK, WEIR, &RuleOperand::weir, bit(ATTRIBUTE_FLOW)},
    {LINK, ORIFICE, &RuleOperand::orifice, bit(ATTRIBUTE_FLOW)},
    {GAGE, -1, &RuleOperand::gage, bit(ATTRIBUTE_EVENT)},
    {NODE, REACTOR, &RuleOperand::reactor, bit(ATTRIBUTE_INFLOW) | bit(ATTRIBUTE_FILL)},
    {NODE, SPLITTER, &RuleOperand::splitter, bit(ATTRIBUTE_INFLOW)},
    {NODE, LID_MONO, &RuleOperand::lidMono, bit(ATTRIBUTE_INFLOW)},
    {LINK, CONDUIT, &RuleOperand::conduit, bit(ATTRIBUTE_DEPTH) | bit(ATTRIBUTE_FLOW)},
    {LINK, CONNECTION, &RuleOperand::connection, bit(ATTRIBUTE_FLOW)},
    {-1, -1, nullptr, ~0u}};

/// An attribute that an action may set, and the words of its value; null for a number.
struct ActionAttribute {
    int32_t object;  ///< RuleObject
    int32_t attribute;
    const char* const* words;
};

static const ActionAttribute ActionAttributes[] = {
    {OBJECT_PIPE, ATTRIBUTE_STATUS, PipeStatusWords}, {OBJECT_PIPE, ATTRIBUTE_SETTING, nullptr},
    {OBJECT_PUMP, ATTRIBUTE_STATUS, PumpStatusWords}, {OBJECT_PUMP, ATTRIBUTE_SETTING, nullptr},
    {OBJECT_WEIR, ATTRIBUTE_SETTING, nullptr},        {OBJECT_ORIFICE, ATTRIBUTE_SETTING, nullptr},
    {OBJECT_SPLITTER, ATTRIBUTE_VALUE, nullptr},      {OBJECT_REACTOR, ATTRIBUTE_EMPTYING, NoYesWords},
    {OBJECT_SWMM, ATTRIBUTE_SETTING, nullptr}};

// --- tokens --------------------------------------------------------------------------------------------------------

static int32_t refuseClause(Model& model) {
    return errors_setName(model, ERR_RULE_CLAUSE, "");
}

static int32_t refuseKeyword(Model& model, const Tokens& tokens, int32_t place) {
    return errors_setName(model, ERR_KEYWORD, tokens[place]);
}

/// Reads one of some words as its number in their list. An error index, or 0.
static int32_t readWord(Model& model, const Tokens& tokens, int32_t place, const char* const* words, double& value) {
    const int32_t word = tokens_findKeyword(tokens[place], words);
    value = word;
    return word < 0 ? refuseKeyword(model, tokens, place) : ERR_NONE;
}

static int32_t readNumber(Model& model, const Tokens& tokens, int32_t place, double& value) {
    return tokens_getDouble(tokens[place], &value) ? ERR_NONE : errors_setName(model, ERR_NUMBER, tokens[place]);
}

/// Whether a clause word stands after what has been read: two clauses on one line.
static bool isClauseWord(const Tokens& tokens, int32_t place) {
    return place < tokens.count && tokens_findKeyword(tokens[place], ClauseWords) >= 0;
}

/// Relations are matched as exact text.
static int32_t findRelation(const char* text) {
    for (int32_t k = 0; RelationWords[k]; ++k) {
        if (std::strcmp(text, RelationWords[k]) == 0) {
            return k;
        }
    }
    return -1;
}

// --- conditions ----------------------------------------------------------------------------------------------------

/// Finds an object of a condition by name. False if there is none, or none of that kind so far.
static bool findObject(const Model& model, const ConditionObject& object, const char* name, RuleOperand& operand) {
    const int32_t index = names_find(model, object.type, name);
    if (index < 0) {
        return false;
    }
    if (object.type == GAGE) {
        operand.gage = index;
        return true;
    }
    const bool isNode = object.type == NODE;
    const int32_t row = index;
    if ((isNode ? model.nodes[row].kind : model.links[row].kind) != object.kind) {
        return false;
    }
    (isNode ? operand.node : operand.link) = index;
    operand.*object.field = isNode ? model.nodes[row].kindIndex : model.links[row].kindIndex;
    return true;
}

/// A pollutant in the water of a node or link, as one number.
static uint64_t makeSensor(const RuleOperand& operand, int32_t pollutant) {
    const bool isNode = operand.node >= 0;
    const auto place = static_cast<uint64_t>(isNode ? operand.node : operand.link);
    return static_cast<uint64_t>(pollutant) << 33 | static_cast<uint64_t>(isNode) << 32 | place;
}

int32_t rulereader_readSensor(Model& model, const Tokens& tokens) {
    if (tokens.count < 3) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const int32_t type = tokens_findKeyword(tokens[0], ObjectWords);
    if (type < 0 || (ConditionObjects[type].type != NODE && ConditionObjects[type].type != LINK)) {
        return refuseKeyword(model, tokens, 0);
    }
    RuleOperand place = NoOperand;
    if (!findObject(model, ConditionObjects[type], tokens[1], place)) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[1]);
    }
    const int32_t pollutant = names_find(model, POLLUT, tokens[2]);
    if (pollutant < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[2]);
    }
    model.sensors.insert(makeSensor(place, pollutant));
    return ERR_NONE;
}

/// The attribute of an object of a condition: one of its words, or a pollutant of which it has a sensor. -1 if it is
/// neither.
static int32_t findAttribute(const Model& model, const ConditionObject& object, const RuleOperand& operand,
                             const char* word) {
    const int32_t attribute = tokens_findKeyword(word, AttributeWords);
    if (attribute >= 0) {
        return (object.attributes & bit(attribute)) != 0 ? attribute : -1;
    }
    const int32_t pollutant = model.sensors.empty() ? -1 : names_find(model, POLLUT, word);
    const bool isWater = object.type == NODE || object.type == LINK;
    return isWater && pollutant >= 0 && model.sensors.contains(makeSensor(operand, pollutant))
               ? ATTRIBUTE_POLLUTANT + pollutant
               : -1;
}

int32_t rulereader_readOperand(Model& model, const Tokens& tokens, int32_t& place, RuleOperand& operand) {
    operand = NoOperand;
    const int32_t type = tokens_findKeyword(tokens[place], ObjectWords);
    if (type < 0) {
        return refuseKeyword(model, tokens, place);
    }
    const ConditionObject& object = ConditionObjects[type];
    int32_t at = place + 1;
    if (object.type >= 0) {
        if (at >= tokens.count) {
            return errors_setName(model, ERR_ITEMS, "");
        }
        if (!findObject(model, object, tokens[at], operand)) {
            return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[at]);
        }
        ++at;
    }
    if (at >= tokens.count) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    operand.attribute = findAttribute(model, object, operand, tokens[at]);
    if (operand.attribute < 0) {
        return refuseKeyword(model, tokens, at);
    }
    place = at;
    return ERR_NONE;
}

/// The right side of a condition: an object of the same attribute, or a value in the words of the left attribute.
static int32_t readRightSide(Model& model, const Tokens& tokens, int32_t& place, Premise& premise) {
    premise.value = NO_VALUE;
    premise.right = NoOperand;
    const int32_t attribute = premise.left.attribute;
    if (tokens_findKeyword(tokens[place], ObjectWords) >= 0 && place + 3 >= tokens.count) {
        if (const int32_t error = rulereader_readOperand(model, tokens, place, premise.right)) {
            return error;
        }
        return premise.right.attribute != attribute ? errors_setName(model, ERR_RULE_ATTRIBUTE, "") : ERR_NONE;
    }
    int32_t error;
    switch (attribute) {
        case ATTRIBUTE_STATUS: error = readWord(model, tokens, place, PumpStatusWords, premise.value); break;
        case ATTRIBUTE_EVENT: error = readWord(model, tokens, place, EventWords, premise.value); break;
        default: error = readNumber(model, tokens, place, premise.value); break;
    }
    ++place;
    return error;
}

/// Whether an operand has no value that a condition could be true with.
static const char* findFault(const Model& model, const RuleOperand& operand, bool isSwmm) {
    if (isSwmm) {
        return "a condition about SWMM is false";
    }
    const bool isPlug = operand.reactor >= 0 && model.reactors[operand.reactor].type == PFR;
    return isPlug && operand.attribute == ATTRIBUTE_FILL ? "the FILL of a PFR is no number: only <> is true" : nullptr;
}

static bool isNamed(const RuleOperand& operand) {
    return operand.node >= 0 || operand.link >= 0 || operand.gage >= 0;
}

/// Notes a condition. Whether its rule had only ANDs so far, or only ORs, and this is the first of the other sort. The
/// IF is neither.
static bool noteLogic(RuleLogics& logics, int32_t rule, int32_t logic) {
    if (logics.rule != rule) {
        logics = {rule, false, false};
        return false;
    }
    const bool wasMixed = logics.hasAnd && logics.hasOr;
    (logic == LOGIC_AND ? logics.hasAnd : logics.hasOr) = true;
    return !wasMixed && logics.hasAnd && logics.hasOr;
}

/// Tells of a condition that can't change, or hardly be met. An AND is read twice, and told once, as an AND.
static void reviewPremise(const Model& model, const Tokens& tokens, int32_t rule, const Premise& premise) {
    const char* const id = model.rules[rule].name;
    const bool isAnd = tokens_matchKeyword(tokens[0], ClauseWords[CLAUSE_AND]);
    if (!warnings_isWanted(model) || !id || (isAnd && premise.logic == LOGIC_OR)) {
        return;
    }
    const bool isFirstMix = noteLogic(model.log->warnings.logics, rule, premise.logic);
    const bool hasRight = premise.right.attribute >= 0;
    const char* fault = findFault(model, premise.left, tokens_matchKeyword(tokens[1], ObjectWords[OBJECT_SWMM]));
    if (!fault && hasRight) {
        fault = findFault(model, premise.right, !isNamed(premise.right));
    }
    if (!fault && !hasRight && premise.value == NO_VALUE) {
        fault = "-1e10 stands for no value";
    }
    if (fault) {
        warnings_addAtLine(model, WARN_RULE_CONDITION, 1, id, {fault});
        return;
    }
    const bool isExact = premise.relation == RELATION_EQUAL || premise.relation == RELATION_UNEQUAL;
    const bool isWord = premise.left.attribute == ATTRIBUTE_STATUS || premise.left.attribute == ATTRIBUTE_EVENT;
    if (isExact && !isWord && premise.value != 0.0) {
        warnings_addAtLine(model, WARN_RULE_EQUAL, 4, id, {tokens[4]});
    }
    // A second threshold of the quantity that the rule begins with is a case of its first condition.
    const Premise* first = model.rules[rule].premises;
    if (isFirstMix && first && std::memcmp(&first->left, &premise.left, sizeof premise.left) != 0) {
        warnings_addAtLine(model, WARN_RULE_MIXED, 0, id);
    }
}

static void appendPremise(Rule& rule, Premise* premise) {
    (rule.lastPremise ? rule.lastPremise->next : rule.premises) = premise;
    rule.lastPremise = premise;
}

int32_t rulereader_readPremise(Model& model, const Tokens& tokens, int32_t rule, int32_t logic) {
    if (tokens.count < 5) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    Premise premise{};
    premise.logic = logic;
    int32_t place = 1;
    if (const int32_t error = rulereader_readOperand(model, tokens, place, premise.left)) {
        return error;
    }
    premise.relation = findRelation(tokens[place + 1]);
    if (premise.relation < 0) {
        return refuseKeyword(model, tokens, place + 1);
    }
    place += 2;
    if (place >= tokens.count) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    if (const int32_t error = readRightSide(model, tokens, place, premise)) {
        return error;
    }
    if (isClauseWord(tokens, place)) {
        return refuseClause(model);
    }
    reviewPremise(model, tokens, rule, premise);
    auto* kept = arena_allocateArray<Premise>(model.memory.project, 1);
    if (!kept) {
        return errors_setName(model, ERR_MEMORY, "");
    }
    *kept = premise;
    appendPremise(model.rules[rule], kept);
    return ERR_NONE;
}

// --- actions -------------------------------------------------------------------------------------------------------

/// The row of a node in the table of a kind, or -1.
static int32_t getRowOfKind(const Node& node, int32_t kind) {
    return node.kind == kind ? node.kindIndex : -1;
}

/// Looks a name up as link and as node, whatever type the line gives it. False if it is neither.
static bool findTargets(const Model& model, Action& action, const char* name) {
    action.link = names_find(model, LINK, name);
    action.node = names_find(model, NODE, name);
    action.splitter = action.reactor = action.swmm = -1;
    if (action.node >= 0) {
        const Node& node = model.nodes[action.node];
        action.splitter = getRowOfKind(node, SPLITTER);
        action.reactor = getRowOfKind(node, REACTOR);
        action.swmm = getRowOfKind(node, SWMM);
    }
    return action.link >= 0 || action.node >= 0;
}

static bool isActionObject(int32_t object) {
    for (const ActionAttribute& allowed : ActionAttributes) {
        if (allowed.object == object) {
            return true;
        }
    }
    return false;
}

/// Attribute and value of an action on an object of the network.
static int32_t readActionValue(Model& model, const Tokens& tokens, int32_t object, Action& action) {
    action.attribute = tokens_findKeyword(tokens[3], AttributeWords);
    for (const ActionAttribute& allowed : ActionAttributes) {
        if (allowed.object == object && allowed.attribute == action.attribute) {
            return allowed.words ? readWord(model, tokens, 5, allowed.words, action.value)
                                 : readNumber(model, tokens, 5, action.value);
        }
    }
    return refuseKeyword(model, tokens, 3);
}

/// Link, attribute and value of an action inside a SWMM node.
static int32_t readSwmmValue(Model& model, const Tokens& tokens, Action& action) {
    action.attribute = tokens_findKeyword(tokens[4], AttributeWords);
    if (action.attribute != ATTRIBUTE_SETTING) {
        return refuseKeyword(model, tokens, 4);
    }
    if (tokens.count < 7) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    return readNumber(model, tokens, 6, action.value);
}

/// Tells of an action that does something else than its line says.
static void reviewAction(const Model& model, const Tokens& tokens, int32_t object, const Action& action, double value) {
    if (!warnings_isWanted(model)) {
        return;
    }
    const char* const id = model.rules[action.rule].name;
    WarningLog& warnings = model.log->warnings;
    if (action.link < 0 && model.nodes[action.node].kind < 0) {
        warnings_addAtLine(model, WARN_SECTION_ORDER, 2, id, {tokens[2]});
    } else {
        warnings.actions.push_back(
            {warnings_getReading(warnings), ObjectWords[object], action.rule, action.link, action.node});
    }
    const int32_t relation = object == OBJECT_SWMM ? 5 : 4;
    if (findRelation(tokens[relation]) > RELATION_EQUAL) {
        warnings_addAtLine(model, WARN_RULE_RELATION, relation, id, {tokens[relation]});
    }
    if (action.value != value) {
        warnings_addAtLine(model, WARN_VALUE_LIMIT, relation + 1, id,
                           {tokens[relation + 1], warnings_formatNumber(action.value)});
    }
}

/// Settings are limited to 0 ... 1 and split values to 0 and more. What is no number counts as 0.
static void limitValue(Action& action) {
    if (action.attribute == ATTRIBUTE_SETTING || action.attribute == ATTRIBUTE_VALUE) {
        action.value = action.value > 0.0 ? action.value : 0.0;
    }
    if (action.attribute == ATTRIBUTE_SETTING) {
        action.value = action.value < 1.0 ? action.value : 1.0;
    }
}

/// Keeps an action ahead of those read before it: of two lines of a rule on one target the later one is met first.
static int32_t keepAction(Model& model, Rule& rule, const Action& action, const char* swmmLink) {
    auto* kept = arena_allocateArray<Action>(model.memory.project, 1);
    if (!kept) {
        return errors_setName(model, ERR_MEMORY, "");
    }
    *kept = action;
    if (swmmLink) {
        kept->swmmLink = names_copyText(model, swmmLink);
        if (!kept->swmmLink) {
            return errors_setName(model, ERR_MEMORY, "");
        }
    }
    Action*& head = model.clauseState == CLAUSE_THEN ? rule.thenActions : rule.elseActions;
    kept->next = head;
    head = kept;
    return ERR_NONE;
}

int32_t rulereader_readAction(Model& model, const Tokens& tokens, int32_t rule) {
    if (tokens.count < 6) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const int32_t object = tokens_findKeyword(tokens[1], ObjectWords);
    if (!isActionObject(object)) {
        return refuseKeyword(model, tokens, 1);
    }
    Action action{};
    action.rule = rule;
    if (!findTargets(model, action, tokens[2])) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[2]);
    }
    const bool isSwmm = object == OBJECT_SWMM;
    if (const int32_t error =
            isSwmm ? readSwmmValue(model, tokens, action) : readActionValue(model, tokens, object, action)) {
        return error;
    }
    if (isClauseWord(tokens, 6)) {
        return refuseClause(model);
    }
    const double value = action.value;
    limitValue(action);
    reviewAction(model, tokens, object, action, value);
    return keepAction(model, model.rules[rule], action, isSwmm ? tokens[3] : nullptr);
}

// --- clauses -------------------------------------------------------------------------------------------------------

static int32_t readRule(Model& model, const Tokens& tokens, Rule& rule) {
    if (!rule.name) {
        rule.name = names_findId(model, RULE, tokens[1]);
    }
    model.clauseState = CLAUSE_RULE;
    return tokens.count > 2 ? refuseClause(model) : ERR_NONE;
}

/// AND continues the list that the rule is in. Among conditions the premise is put in twice, as AND and as OR. The
/// second one is tested only when the first has failed, and fails then as well: it changes no outcome.
static int32_t readAnd(Model& model, const Tokens& tokens, int32_t rule) {
    if (model.clauseState != CLAUSE_IF) {
        return rulereader_readAction(model, tokens, rule);
    }
    rulereader_readPremise(model, tokens, rule, LOGIC_AND);
    return rulereader_readPremise(model, tokens, rule, LOGIC_OR);
}

static int32_t readPriority(Model& model, const Tokens& tokens, Rule& rule) {
    model.clauseState = CLAUSE_PRIORITY;
    double priority;
    if (const int32_t error = readNumber(model, tokens, 1, priority)) {
        return error;
    }
    rule.priority = priority;
    return tokens.count > 2 ? refuseClause(model) : ERR_NONE;
}

/// Whether a clause may stand after the one read last.
static bool isInSequence(const Model& model, int32_t clause) {
    const bool isInActions = model.clauseState == CLAUSE_THEN || model.clauseState == CLAUSE_ELSE;
    switch (clause) {
        case CLAUSE_RULE: return true;
        case CLAUSE_IF: return model.clauseState == CLAUSE_RULE;
        case CLAUSE_AND: return model.clauseState == CLAUSE_IF || isInActions;
        case CLAUSE_OR:
        case CLAUSE_THEN: return model.clauseState == CLAUSE_IF;
        case CLAUSE_ELSE: return model.clauseState == CLAUSE_THEN;
        case CLAUSE_PRIORITY: return isInActions;
        default: return false;
    }
}

int32_t rulereader_readLine(Model& model, const Tokens& tokens, int32_t rule, int32_t clause) {
    if (!isInSequence(model, clause)) {
        return refuseClause(model);
    }
    switch (clause) {
        case CLAUSE_RULE: return readRule(model, tokens, model.rules[rule]);
        case CLAUSE_IF: model.clauseState = CLAUSE_IF; return rulereader_readPremise(model, tokens, rule, LOGIC_AND);
        case CLAUSE_AND: return readAnd(model, tokens, rule);
        case CLAUSE_OR: return rulereader_readPremise(model, tokens, rule, LOGIC_OR);
        case CLAUSE_PRIORITY: return readPriority(model, tokens, model.rules[rule]);
        default: model.clauseState = clause; return rulereader_readAction(model, tokens, rule);
    }
}
