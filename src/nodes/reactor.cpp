// Treatment reactors: basins, filters and wetlands. A CSTR is one completely mixed store that passes water on once it
// is full, loses some to air and ground, and can be emptied by a rule; a PFR lets water and load through unmixed after
// a fixed time. Both take in what their capacity allows and send the rest to a surplus node. The reaction law of each
// pollutant is of zero or first order (Levenspiel 1962), or a plain removal. The room nodekinds calls reactor_update at
// the reactor's turn. Surplus and emptying are no links: they are added at once to lateral
// inflow and load of their nodes, which the order of the network places after the reactor. A node that was visited
// before has had its turn, and loses them at its next roll.

#include "nodes/reactor.h"

#include <algorithm>
#include <cmath>

#include "model/arena.h"
#include "model/decay.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/pattern.h"
#include "model/plausible.h"
#include "model/project.h"
#include "model/still.h"
#include "model/warnings.h"
#include "nodes/node.h"
#include "nodes/oxygen.h"
#include "text/tokens.h"
#include "text/units.h"

static const char* const ReactorTypeWords[] = {"CSTR", "PFR", nullptr};
static const char* const CapacityTypeWords[] = {"FLOW_CAPACITY", "SURFACE_LOADING", nullptr};

// --- reading -------------------------------------------------------------------------------------------------------

bool reactor_createArrays(Model& model, Reactor& reactor) {
    const int64_t count = model_pollutantCount(model);
    reactor.emptyingNode = -1;
    reactor.evapPattern = -1;
    reactor.reactionType = arena_allocateArray<int32_t>(model.memory.project, count);
    reactor.reactionCoeff = arena_allocateArray<double>(model.memory.project, count);
    reactor.reactionPattern = arena_allocateArray<int32_t>(model.memory.project, count);
    reactor.initQual = arena_allocateArray<double>(model.memory.project, count);
    if (!reactor.reactionType || !reactor.reactionCoeff || !reactor.reactionPattern || !reactor.initQual) {
        return false;
    }
    std::fill_n(reactor.reactionType, count, -1);
    std::fill_n(reactor.reactionPattern, count, -1);
    return true;
}

/// Reads a number that isn't negative at token `place`. An error index, or 0.
static int32_t readNumber(Model& model, const Tokens& tokens, int32_t place, double& value) {
    return tokens_getNonNegative(tokens[place], &value) ? ERR_NONE : errors_setName(model, ERR_NUMBER, tokens[place]);
}

/// Reads a pattern at token `place`, which may be empty. An error index, or 0.
static int32_t readPattern(Model& model, const Tokens& tokens, int32_t place, int32_t& pattern) {
    pattern = -1;
    if (*tokens[place]) {
        pattern = names_find(model, PATTERN, tokens[place]);
        if (pattern < 0) {
            return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[place]);
        }
    }
    return ERR_NONE;
}

/// Tokens 1 to 4: type, surplus node, and the capacity per day.
static int32_t readCapacity(Model& model, const Tokens& tokens, Reactor& values) {
    values.type = tokens_findKeyword(tokens[1], ReactorTypeWords);
    if (values.type < 0) {
        return errors_setName(model, ERR_KEYWORD, tokens[1]);
    }
    values.surpassNode = names_find(model, NODE, tokens[2]);
    if (values.surpassNode < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[2]);
    }
    values.capacityType = tokens_findKeyword(tokens[3], CapacityTypeWords);
    if (values.capacityType < 0) {
        return errors_setName(model, ERR_KEYWORD, tokens[3]);
    }
    double perDay;
    if (const int32_t error = readNumber(model, tokens, 4, perDay)) {
        return error;
    }
    plausible_checkSet(model,
                       values.capacityType == SURFACE_LOADING ? PLAUSIBLE_REACTOR_LOADING : PLAUSIBLE_REACTOR_CAPACITY,
                       perDay, 4, tokens[0]);
    (values.capacityType == SURFACE_LOADING ? values.surfaceLoading : values.flowCapacity) = perDay / SECONDS_PER_DAY;
    return ERR_NONE;
}

/// What stays for as long as the run never comes out of a plug flow.
static void checkRetention(const Model& model, const Reactor& values, const char* id) {
    const double duration = model_getDuration(model);
    if (values.type == PFR && values.retentionTime + model.options.routingStep > duration + 0.5 && duration > 0.0) {
        warnings_addAtLine(model, WARN_DELAY_RUN, 5, id,
                           {warnings_formatNumber(values.retentionTime), warnings_formatNumber(duration)});
    }
}

/// Tokens 5 to 7: size, area, and how full a CSTR is at the start.
static int32_t readSize(Model& model, const Tokens& tokens, Reactor& values) {
    double size;
    if (const int32_t error = readNumber(model, tokens, 5, size)) {
        return error;
    }
    if (values.type == CSTR && size == 0.0) {
        return errors_setName(model, ERR_NUMBER, tokens[5]);
    }
    plausible_checkSet(model, values.type == PFR ? PLAUSIBLE_RETENTION : PLAUSIBLE_REACTOR_VOLUME, size, 5, tokens[0]);
    (values.type == PFR ? values.retentionTime : values.volume) = values.type == PFR ? size * SECONDS_PER_HOUR : size;
    checkRetention(model, values, tokens[0]);
    if (const int32_t error = readNumber(model, tokens, 6, values.area)) {
        return error;
    }
    plausible_checkSet(model, PLAUSIBLE_REACTOR_AREA, values.area, 6, tokens[0]);
    if (values.type == PFR) {
        return ERR_NONE;
    }
    if (tokens.count < 8) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    double percent;
    if (const int32_t error = readNumber(model, tokens, 7, percent)) {
        return error;
    }
    plausible_checkSet(model, PLAUSIBLE_REACTOR_FILL, percent, 7, tokens[0]);
    if (percent > PERCENT) {
        warnings_addAtLine(model, WARN_VALUE_LIMIT, 7, tokens[0], {tokens[7], "100 %"});
    }
    values.initFraction = (percent > PERCENT ? PERCENT : percent) / PERCENT;
    return ERR_NONE;
}

int32_t reactor_readLine(Model& model, const Tokens& tokens, int32_t node, int32_t kindIndex) {
    if (tokens.count < 7) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const char* id = names_findId(model, NODE, tokens[0]);
    if (!id) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    Reactor& reactor = model.reactors[kindIndex];
    Reactor values = reactor;
    if (const int32_t error = readCapacity(model, tokens, values)) {
        return error;
    }
    if (const int32_t error = readSize(model, tokens, values)) {
        return error;
    }
    node_setRow(model, node, REACTOR, kindIndex, id);
    reactor = values;
    return ERR_NONE;
}

/// The reactor that token 0 names; null if it is none, or if its own line hasn't been read (well).
static Reactor* findReactor(Model& model, const Tokens& tokens) {
    const int32_t node = names_find(model, NODE, tokens[0]);
    return node >= 0 && model.nodes[node].kind == REACTOR ? &model.reactors[model.nodes[node].kindIndex] : nullptr;
}

/// The range of the coefficient of a law; -1 for a concentration.
static int32_t getReactionRange(int32_t type) {
    switch (type) {
        case CONST_RATIO: return PLAUSIBLE_REACTOR_RATIO;
        case ZERO_ORDER: return PLAUSIBLE_ZERO_ORDER;
        case FIRST_ORDER: return PLAUSIBLE_DECAY_RATE;
        default: return -1;
    }
}

/// A reaction as a line gives it.
struct ReactionLine {
    Reactor* reactor;
    int32_t pollutant;
    double value;
    int32_t pattern;
};

/// Whose reaction a line gives.
static int32_t readReacting(Model& model, const Tokens& tokens, ReactionLine& line) {
    if (tokens.count < 5) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    line.reactor = findReactor(model, tokens);
    if (!line.reactor) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    line.pollutant = names_find(model, POLLUT, tokens[1]);
    return line.pollutant < 0 ? errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[1]) : ERR_NONE;
}

/// The number of a line, and the pattern of its factors.
static int32_t readReactionValue(Model& model, const Tokens& tokens, ReactionLine& line) {
    const int32_t error = readNumber(model, tokens, 3, line.value);
    return error ? error : readPattern(model, tokens, 4, line.pattern);
}

static void setReaction(const Model& model, const Tokens& tokens, const ReactionLine& line, int32_t type,
                        double coefficient) {
    if (line.reactor->reactionType[line.pollutant] >= 0) {
        warnings_addAtLine(model, WARN_LINE_REPLACED, -1, tokens[0], {"this reaction of the reactor", ""});
    }
    line.reactor->reactionType[line.pollutant] = type;
    line.reactor->reactionCoeff[line.pollutant] = coefficient;
    line.reactor->reactionPattern[line.pollutant] = line.pattern;
}

int32_t reactor_readDecay(Model& model, const Tokens& tokens) {
    ReactionLine line;
    if (const int32_t error = readReacting(model, tokens, line)) {
        return error;
    }
    const int32_t type = tokens_findKeyword(tokens[2], ReactionWords);
    if (type < 0) {
        return errors_setName(model, ERR_KEYWORD, tokens[2]);
    }
    if (const int32_t error = readReactionValue(model, tokens, line)) {
        return error;
    }
    if (const int32_t range = getReactionRange(type); range >= 0) {
        plausible_checkSet(model, range, line.value, 3, tokens[0]);
    }
    const bool isRate = type == ZERO_ORDER || type == FIRST_ORDER;
    setReaction(model, tokens, line, type, isRate ? line.value / SECONDS_PER_DAY : line.value);
    return ERR_NONE;
}

/// The first line about a pollutant makes it oxygen, further ones add to its law.
int32_t reactor_readOxygen(Model& model, const Tokens& tokens) {
    ReactionLine line;
    if (const int32_t error = readReacting(model, tokens, line)) {
        return error;
    }
    const int32_t word = tokens_findKeyword(tokens[2], OxygenWords), taker = names_find(model, POLLUT, tokens[2]);
    if (word < 0 && taker < 0) {
        return errors_setName(model, ERR_KEYWORD, tokens[2]);
    }
    if (const int32_t error = readReactionValue(model, tokens, line)) {
        return error;
    }
    OxygenLaw* law = oxygen_makeLaw(model, line.reactor->oxygen, line.pollutant);
    if (!law) {
        return errors_setName(model, ERR_MEMORY, "");
    }
    if (line.reactor->reactionType[line.pollutant] != OXYGEN) {
        setReaction(model, tokens, {line.reactor, line.pollutant, 0.0, -1}, OXYGEN, 0.0);
    }
    switch (word) {
        case OXYGEN_SATURATION: law->saturation = line.value; break;
        case OXYGEN_REAERATION:
            line.reactor->reactionCoeff[line.pollutant] = line.value / SECONDS_PER_DAY;
            line.reactor->reactionPattern[line.pollutant] = line.pattern;
            break;
        default: law->demand[taker] = line.value; break;
    }
    return ERR_NONE;
}

/// Tells of what a line of [REACTORS_EMPTYING] says in vain. `rates` are emptying, infiltration and evaporation.
static void reviewEmptying(const Model& model, const Tokens& tokens, const Reactor& reactor, const double rates[3]) {
    if (reactor.emptyingNode >= 0) {
        warnings_addAtLine(model, WARN_LINE_REPLACED, -1, tokens[0], {"the emptying of the reactor", ""});
    }
    if (reactor.type == PFR) {
        warnings_addAtLine(model, WARN_LINE_DROPPED, 0, tokens[0],
                           {"a PFR loses nothing; its emptying node counts in the order of the nodes alone"});
    } else if (reactor.area == 0.0 && (rates[1] > 0.0 || rates[2] > 0.0)) {
        warnings_addAtLine(model, WARN_REACTOR_AREA, rates[1] > 0.0 ? 3 : 4, tokens[0]);
    }
}

int32_t reactor_readEmptying(Model& model, const Tokens& tokens) {
    if (tokens.count < 6) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    Reactor* reactor = findReactor(model, tokens);
    if (!reactor) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    const int32_t node = names_find(model, NODE, tokens[1]);
    if (node < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[1]);
    }
    double rates[3];
    for (int32_t k = 0; k < 3; ++k) {
        if (const int32_t error = readNumber(model, tokens, 2 + k, rates[k])) {
            return error;
        }
    }
    int32_t pattern;
    if (const int32_t error = readPattern(model, tokens, 5, pattern)) {
        return error;
    }
    plausible_checkSet(model, PLAUSIBLE_EMPTYING, rates[0], 2, tokens[0]);
    plausible_checkSet(model, PLAUSIBLE_REACTOR_INFILTRATION, rates[1], 3, tokens[0]);
    plausible_check(model, PLAUSIBLE_EVAPORATION, rates[2], 4, tokens[0]);
    reviewEmptying(model, tokens, *reactor, rates);
    reactor->emptyingNode = node;
    reactor->emptyingRate = rates[0] / SECONDS_PER_HOUR;
    reactor->infilRate = rates[1] / MM_PER_HOUR;
    reactor->evapRate = rates[2] / MM_PER_DAY;
    reactor->evapPattern = pattern;
    return ERR_NONE;
}

// --- validation, start and end of a run ----------------------------------------------------------------------------

void reactor_validate(Model& model, const Node& node, const Reactor& reactor) {
    const char* id = node.id;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        const int32_t type = reactor.reactionType[p];
        if (reactor.type == CSTR && (type == CONST_CONCEN || type == CONST_RATIO)) {
            errors_report(model, ERR_REACTOR_TYPE, id);
        }
        if (reactor.reactionPattern[p] >= 0) {
            const Pattern& pattern = model.patterns[reactor.reactionPattern[p]];
            if (pattern.type != PATTERN_MONTHLY) {
                errors_report(model, ERR_REACTOR_PATTERN, pattern.id);
            }
        }
    }
    for (const int32_t target : {reactor.surpassNode, reactor.emptyingNode}) {
        if (target >= 0 && model.nodes[target].kind == SWMM) {
            errors_report(model, ERR_REACTOR_TARGET_SWMM, id);
        }
    }
}

double reactor_getInitVolume(const Reactor& reactor) {
    return reactor.initFraction * reactor.volume;
}

void reactor_initState(Model& model, Reactor& reactor) {
    reactor.isEmptying = 0;
    reactor.useHostRate = false;
    reactor.storedVolume = reactor_getInitVolume(reactor);
    reactor.oldOutflow = reactor.newOutflow = 0.0;
    reactor.surpassFlow = reactor.emptyingFlow = 0.0;
    reactor.evapDepth = reactor.infilDepth = 0.0;
    reactor.restKey = 0;
    reactor.flowQueue = DelayQueue{};
    const int64_t count = model_pollutantCount(model);
    double* memory = arena_allocateArray<double>(model.memory.run, 3 * count);
    reactor.loadQueue = arena_allocateArray<DelayQueue>(model.memory.run, count);
    if (!memory || !reactor.loadQueue) {
        reactor_endState(reactor);
        errors_report(model, ERR_MEMORY, "");
        return;
    }
    reactor.qual = memory;
    reactor.inletQual = memory + count;
    reactor.qualBefore = memory + 2 * count;
    std::copy_n(reactor.initQual, count, reactor.qual);
}

void reactor_endState(Reactor& reactor) {
    reactor.flowQueue = DelayQueue{};
    reactor.loadQueue = nullptr;
    reactor.qual = reactor.inletQual = reactor.qualBefore = nullptr;
}

void reactor_shiftState(Reactor& reactor) {
    reactor.oldOutflow = reactor.newOutflow;
}

// --- reaction ------------------------------------------------------------------------------------------------------

double reactor_react(const Model& model, const Reactor& reactor, int32_t p, double c, double seconds, int32_t hour) {
    const double k = reactor.reactionCoeff[p] * pattern_getFactor(model, reactor.reactionPattern[p], hour);
    switch (reactor.reactionType[p]) {
        case CONST_CONCEN: return k < c ? k : c;
        case CONST_RATIO: return (1.0 - (k < 1.0 ? k : 1.0)) * c;
        case ZERO_ORDER: {
            const double left = c - k * seconds;
            return left > 0.0 ? left : 0.0;
        }
        case FIRST_ORDER: return c * std::exp(-k * seconds);
        default: return c;
    }
}

/// Oxygen that is left of the concentrations `quality` when all demands have reacted for `seconds`.
static double reactOxygen(const Model& model, const Reactor& reactor, const OxygenLaw& law, const double* quality,
                          double seconds, int32_t hour) {
    const auto getRate = [&](int32_t p) {
        return reactor.reactionCoeff[p] * pattern_getFactor(model, reactor.reactionPattern[p], hour);
    };
    const double reaeration = getRate(law.pollutant);
    double deficit = (law.saturation - quality[law.pollutant]) * oxygen_getLeft(reaeration, seconds);
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        if (law.demand[p] == 0.0) {
            continue;
        }
        const double c = quality[p];
        deficit += law.demand[p] * (reactor.reactionType[p] == FIRST_ORDER
                                        ? c * oxygen_getFirstOrder(reaeration, getRate(p), seconds)
                                        : (c - reactor_react(model, reactor, p, c, seconds, hour)) *
                                              oxygen_getEven(reaeration, seconds));
    }
    const double left = law.saturation - deficit;
    return left > 0.0 ? left : 0.0;
}

/// Concentration that is left of one pollutant of the concentrations `quality`.
static double reactOne(const Model& model, const Reactor& reactor, int32_t p, const double* quality, double seconds,
                       int32_t hour) {
    const OxygenLaw* law = reactor.reactionType[p] == OXYGEN ? oxygen_findLaw(reactor.oxygen, p) : nullptr;
    return law ? reactOxygen(model, reactor, *law, quality, seconds, hour)
               : reactor_react(model, reactor, p, quality[p], seconds, hour);
}

// --- inlet ---------------------------------------------------------------------------------------------------------

static void setInletQuality(const Model& model, const Node& node, Reactor& reactor) {
    // Taken before the surplus is sent: a reactor may be its own surplus node.
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        reactor.inletQual[p] = node.newInflow != 0.0 ? node.massInflow[p] / node.newInflow * G_PER_KG : 0.0;
    }
}

/// Flow (m3/s) that the reactor takes in of an inflow; sets surpassFlow. An inflow of exactly the capacity counts as
/// one above it.
static double limitInflow(Reactor& reactor, double inflow, double dt) {
    const double capacity =
        reactor.capacityType == SURFACE_LOADING ? reactor.area * reactor.surfaceLoading : reactor.flowCapacity;
    reactor.surpassFlow = 0.0;
    if (capacity > inflow) {
        return inflow;
    }
    if (reactor.type == PFR) {
        reactor.surpassFlow = inflow - capacity;
        return capacity;
    }
    // A stirred tank first fills up, whatever its capacity: that limits what runs through a full one.
    const double excess = dt * inflow + reactor.storedVolume - reactor.volume;
    if (excess > dt * capacity) {
        reactor.surpassFlow = (excess - dt * capacity) / dt;
        return (reactor.volume - reactor.storedVolume) / dt + capacity;
    }
    return inflow;
}

/// Adds a flow, with the concentrations of `qual`, to what a node gets from the side in this step.
static void discharge(Model& model, int32_t target, double flow, const double* qual, double* statLoad) {
    const double dt = model.options.routingStep;
    Node& node = model.nodes[target];
    node.newLatFlow += flow;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        const double load = flow * qual[p] / G_PER_KG;
        node.massInflow[p] += load;
        statLoad[p] += load * dt;
    }
}

// --- plug flow -----------------------------------------------------------------------------------------------------

/// Reaction of one pollutant in the flow taken in: the concentration that leaves after `seconds`.
static double reactInflow(const Model& model, Reactor& reactor, int32_t p, double flow, double seconds, int32_t hour) {
    const double dt = model.options.routingStep;
    const double c = reactOne(model, reactor, p, reactor.inletQual, seconds, hour);
    reactor.statReactedLoad[p] += (reactor.inletQual[p] - c) * flow / G_PER_KG * dt;
    return c;
}

/// A plug-flow reactor without retention: the water leaves in the step in which it comes.
static void passThrough(const Model& model, Node& node, Reactor& reactor, double flow, int32_t hour) {
    const double dt = model.options.routingStep;
    reactor.newOutflow = flow;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        if (flow == 0.0) {
            node.newQual[p] = 0.0;
            continue;
        }
        const double c = reactInflow(model, reactor, p, flow, 0.0, hour);
        node.newQual[p] = c;
        reactor.statOutflowLoad[p] += flow * c / G_PER_KG * dt;
    }
}

/// A plug-flow reactor: what comes in is treated at once, for the time that it will be under way, and queued. What
/// would leave after the end of the run is counted as delayed instead.
static void passPlug(Model& model, Node& node, Reactor& reactor, double flow, DateTime date, int32_t hour) {
    const double dt = model.options.routingStep;
    const double exitTime = reactor.retentionTime * MS_PER_SECOND + model.clock.newRoutingTime;
    const bool leavesInTime = exitTime <= model.options.totalDuration;
    const DateTime exitDate = leavesInTime ? model_getDate(model, exitTime) : 0.0;
    if (leavesInTime) {
        delayqueue_push(model, reactor.flowQueue, exitDate, flow);
    } else {
        model.totals.flow.delayedVolume += dt * flow;
        reactor.statDelayed += dt * flow;
    }
    reactor.newOutflow = delayqueue_getValue(reactor.flowQueue, date);
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        const double c = flow != 0.0 ? reactInflow(model, reactor, p, flow, reactor.retentionTime, hour) : 0.0;
        const double load = c * flow / G_PER_KG;
        if (leavesInTime) {
            delayqueue_push(model, reactor.loadQueue[p], exitDate, load);
        } else {
            model.totals.quality[p].delayedMass += dt * load;
        }
        const double value = delayqueue_getValue(reactor.loadQueue[p], date);
        node.newQual[p] = reactor.newOutflow != 0.0 ? value * G_PER_KG / reactor.newOutflow : 0.0;
        reactor.statOutflowLoad[p] += node.newQual[p] * reactor.newOutflow / G_PER_KG * dt;
    }
}

// --- stirred tank --------------------------------------------------------------------------------------------------

/// Mixes `inflowVolume` into the store and lets the mix react for one step. Gives whether nothing reacts. Oxygen reacts
/// with the mix as the others find it, so ahead of them.
static bool mixAndReact(const Model& model, Reactor& reactor, double inflowVolume, int32_t hour) {
    const double dt = model.options.routingStep;
    const double stored = reactor.storedVolume;
    const int32_t pollutants = model_pollutantCount(model);
    if (!(inflowVolume + stored > 0.0)) {
        std::fill_n(reactor.qual, pollutants, 0.0);
        return true;
    }
    for (int32_t p = 0; p < pollutants; ++p) {
        double& qual = reactor.qual[p];
        qual = (inflowVolume * reactor.inletQual[p] + stored * qual) / (inflowVolume + stored);
    }
    bool isInert = true;
    for (int32_t pass = reactor.oxygen ? 0 : 1; pass < 2; ++pass) {
        for (int32_t p = 0; p < pollutants; ++p) {
            if (reactor.oxygen && (reactor.reactionType[p] == OXYGEN) != (pass == 0)) {
                continue;
            }
            double& qual = reactor.qual[p];
            const double c = reactOne(model, reactor, p, reactor.qual, dt, hour);
            const double reacted = (qual - c) * (inflowVolume + stored) / G_PER_KG;
            reactor.statReactedLoad[p] += reacted;
            isInert = isInert && reacted == 0.0;
            qual = c;
        }
    }
    return isInert;
}

/// What is above the full volume goes to the outlet.
static void overflow(const Model& model, Node& node, Reactor& reactor, double inflowVolume) {
    const double dt = model.options.routingStep;
    const double volume = inflowVolume + reactor.storedVolume;
    const bool isFull = volume > reactor.volume;
    reactor.storedVolume = isFull ? reactor.volume : volume;
    reactor.newOutflow = isFull ? (volume - reactor.volume) / dt : 0.0;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        node.newQual[p] = isFull ? reactor.qual[p] : 0.0;
        reactor.statOutflowLoad[p] += node.newQual[p] * reactor.newOutflow / G_PER_KG * dt;
    }
}

/// Evaporation (m3/s) of what there is of `evap`. It leaves its load behind, unless it takes the last of the water:
/// then the load is lost to the ground.
static double evaporate(const Model& model, Reactor& reactor, double evap) {
    const double dt = model.options.routingStep;
    const double stored = reactor.storedVolume;
    const double loss = dt * evap;
    const bool isDry = loss >= stored;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        double& qual = reactor.qual[p];
        if (isDry) {
            reactor.statInfilLoad[p] += qual * stored / G_PER_KG;
            qual = 0.0;
        } else {
            qual = stored * qual / (stored - loss);
        }
    }
    reactor.storedVolume = isDry ? 0.0 : stored - loss;
    return isDry ? stored / dt : evap;
}

/// Infiltration (m3/s) of what there is of `infil`.
static double infiltrate(const Model& model, Reactor& reactor, double infil) {
    const double dt = model.options.routingStep;
    const double most = reactor.storedVolume / dt;
    const bool isDry = infil >= most;
    const double flow = isDry ? most : infil;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        reactor.statInfilLoad[p] += reactor.qual[p] * flow / G_PER_KG * dt;
        if (isDry) {
            reactor.qual[p] = 0.0;
        }
    }
    reactor.storedVolume = isDry ? 0.0 : reactor.storedVolume - dt * infil;
    return flow;
}

/// A loss (m3/s) as a depth per time over the area, in a unit of so much in 1 m/s.
static double getDepthRate(const Reactor& reactor, double flow, double unit) {
    return reactor.area != 0.0 ? flow / reactor.area * unit : 0.0;
}

/// Sends stored water to the emptying node while a rule wants it. Without such a node no water may leave, whatever a
/// rule says and whatever rate the host has set.
static void emptyStore(Model& model, Reactor& reactor) {
    const double dt = model.options.routingStep;
    reactor.emptyingFlow = 0.0;
    if (reactor.emptyingNode < 0) {
        return;
    }
    bool isDry = false;
    if (reactor.isEmptying != 0) {
        const double rate = reactor.useHostRate ? reactor.hostRate : reactor.emptyingRate;
        isDry = dt * rate > reactor.storedVolume;
        reactor.emptyingFlow = isDry ? reactor.storedVolume / dt : rate;
        reactor.storedVolume = isDry ? 0.0 : reactor.storedVolume - dt * rate;
    }
    discharge(model, reactor.emptyingNode, reactor.emptyingFlow, reactor.qual, reactor.statEmptyingLoad);
    if (isDry) {
        std::fill_n(reactor.qual, model_pollutantCount(model), 0.0);
    }
}

// --- the step ------------------------------------------------------------------------------------------------------

/// A stirred tank in a step: takes in a flow, and mixes, reacts, overflows, loses and empties. Gives whether
/// nothing reacts.
static bool stir(Model& model, Node& node, Reactor& reactor, double flow, int32_t hour) {
    const double dt = model.options.routingStep;
    const double infil = reactor.area * reactor.infilRate;
    const double evap = pattern_getFactor(model, reactor.evapPattern, hour) * reactor.evapRate * reactor.area;
    const double inflowVolume = dt * flow;
    const bool isInert = mixAndReact(model, reactor, inflowVolume, hour);
    overflow(model, node, reactor, inflowVolume);
    reactor.evapDepth = getDepthRate(reactor, evaporate(model, reactor, evap), MM_PER_DAY);
    reactor.infilDepth = getDepthRate(reactor, infiltrate(model, reactor, infil), MM_PER_HOUR);
    emptyStore(model, reactor);
    return isInert;
}

/// Whether nothing comes to a reactor in this step and no rule empties it: it can rest then.
static bool getsNothing(const Model& model, const Node& node, const Reactor& reactor) {
    return still_isZero(node.newInflow) && reactor.isEmptying == 0 &&
           still_areZeros(node.massInflow, model_pollutantCount(model));
}

/// Whether a step to which nothing came has left a stirred tank as it was, and sent nothing anywhere.
static bool isStill(const Model& model, const Node& node, const Reactor& reactor, double storedBefore) {
    const uint64_t flows = still_getBits(reactor.newOutflow) | still_getBits(reactor.surpassFlow) |
                           still_getBits(reactor.emptyingFlow) | still_getBits(reactor.evapDepth) |
                           still_getBits(reactor.infilDepth);
    const int32_t pollutants = model_pollutantCount(model);
    return flows == 0 && still_getBits(reactor.storedVolume) == still_getBits(storedBefore) &&
           still_areZeros(node.newQual, pollutants) &&
           std::equal(reactor.qual, reactor.qual + pollutants, reactor.qualBefore,
                      [](double a, double b) { return std::isfinite(a) && still_getBits(a) == still_getBits(b); });
}

/// A step to which nothing came, in which nothing reacted, which sent nothing anywhere and which left the bits of the
/// store as they were will be followed by one of the same kind, as long as nothing comes, no rule empties the store,
/// the hour is the same and the key of the model stands. All that it adds to sums is 0, a finite load by a flow of 0:
/// so the reactor rests. A plug flow doesn't: its queue moves.
static void stepStore(Model& model, Node& node, Reactor& reactor, double flow, int32_t hour) {
    const double before = reactor.storedVolume;
    std::copy_n(reactor.qual, model_pollutantCount(model), reactor.qualBefore);
    const bool isInert = stir(model, node, reactor, flow, hour);
    if (isInert && getsNothing(model, node, reactor) && isStill(model, node, reactor, before)) {
        reactor.restKey = model.rest.key;
        model.rest.isHourly = true;
    }
}

void reactor_update(Model& model, Node& node, Reactor& reactor) {
    if (reactor.restKey == model.rest.key && model.rest.isAllowed && getsNothing(model, node, reactor)) {
        return;
    }
    reactor.restKey = 0;
    const DateTime date = model_getDate(model, model.clock.newRoutingTime);
    const int32_t hour = datetime_getHour(date);
    setInletQuality(model, node, reactor);
    const double flow = limitInflow(reactor, node.newInflow, model.options.routingStep);
    discharge(model, reactor.surpassNode, reactor.surpassFlow, reactor.inletQual, reactor.statSurpassLoad);
    if (reactor.type != PFR) {
        stepStore(model, node, reactor, flow, hour);
    } else if (reactor.retentionTime == 0.0) {
        passThrough(model, node, reactor, flow, hour);
    } else {
        passPlug(model, node, reactor, flow, date, hour);
    }
}

// --- statistics and results ----------------------------------------------------------------------------------------

void reactor_openStatistics(Model& model) {
    const int64_t count = model_pollutantCount(model);
    for (Reactor& reactor : model.reactors) {
        reactor.statSurpass = reactor.statEmptying = reactor.statOutflow = reactor.statDelayed = 0.0;
        reactor.statEvap = reactor.statInfil = 0.0;
        double* memory = arena_allocateArray<double>(model.memory.results, 5 * count);
        if (!memory) {
            errors_report(model, ERR_MEMORY, "");
        }
        for (double** array : {&reactor.statSurpassLoad, &reactor.statEmptyingLoad, &reactor.statInfilLoad,
                               &reactor.statReactedLoad, &reactor.statOutflowLoad}) {
            *array = memory;
            memory = memory ? memory + count : nullptr;
        }
    }
}

void reactor_countStep(Reactor& reactor, double dt) {
    reactor.statSurpass += dt * reactor.surpassFlow;
    reactor.statEmptying += dt * reactor.emptyingFlow;
    reactor.statEvap += dt * reactor.evapDepth / MM_PER_DAY * reactor.area;
    reactor.statInfil += dt * reactor.infilDepth / MM_PER_HOUR * reactor.area;
    reactor.statOutflow += dt * reactor.newOutflow;
}

void reactor_clearStatistics(Model& model) {
    for (Reactor& reactor : model.reactors) {
        if (reactor.statSurpassLoad) {
            std::fill_n(reactor.statSurpassLoad, 5 * static_cast<int64_t>(model_pollutantCount(model)), 0.0);
        }
    }
}

/// What stands in the queue of a plug flow and leaves within the run, times the length of a step.
static double getQueued(const Model& model, const DelayQueue& queue) {
    const DateTime now = model_getDate(model, model.clock.newRoutingTime);
    const DateTime end = model_getDate(model, model.options.totalDuration);
    return delayqueue_sumUp(queue, now, end).inTime * model.options.routingStep;
}

Balance reactor_getBalance(const Model& model, const Node& node) {
    const Reactor& reactor = model.reactors[node.kindIndex];
    return {0.0, node.statInflowVolume, reactor.statOutflow + reactor.statSurpass + reactor.statEmptying,
            reactor.statEvap + reactor.statInfil,
            reactor.storedVolume + reactor.statDelayed + getQueued(model, reactor.flowQueue)};
}

double reactor_getStoredLoad(const Model& model, const Reactor& reactor, int32_t pollutant) {
    const double stored = reactor.qual ? reactor.storedVolume * reactor.qual[pollutant] / G_PER_KG : 0.0;
    return stored + (reactor.loadQueue ? getQueued(model, reactor.loadQueue[pollutant]) : 0.0);
}
