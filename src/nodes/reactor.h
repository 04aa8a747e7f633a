#pragma once
// A treatment unit in the network: a stirred tank or a plug-flow reactor, with a reaction law per pollutant.

#include <cstdint>

#include "links/delayqueue.h"
#include "model/balance.h"
#include "model/project.h"
#include "text/tokens.h"

struct Model;
struct OxygenLaw;

enum ReactorType : int32_t { CSTR, PFR };

enum CapacityType : int32_t { FLOW_CAPACITY, SURFACE_LOADING };

/// Arrays have one element per pollutant. Parameters live as long as the project, the state as long as the run, and the
/// statistics from a start to the next.
struct Reactor {
    int32_t type;              ///< ReactorType
    int32_t capacityType;      ///< CapacityType
    int32_t* reactionType;     ///< ReactionType; -1 means no reaction
    int32_t surpassNode;       ///< node that gets what the capacity doesn't let in
    int32_t emptyingNode;      ///< node that the store is emptied to, or -1
    double surfaceLoading;     ///< m/s
    double flowCapacity;       ///< m3/s
    double area;               ///< m2
    double retentionTime;      ///< s, PFR
    double volume;             ///< m3, CSTR: above it the store overflows to the outlet
    double initFraction;       ///< 0 ... 1, CSTR: share of `volume` filled at the start
    double* reactionCoeff;     ///< mg/L, a ratio, mg/L per second or 1/s, by reactionType; of oxygen its reaeration
    int32_t* reactionPattern;  ///< factors of reactionCoeff by the hour, or -1
    OxygenLaw* oxygen;         ///< laws of the pollutants that are oxygen; null without any
    double emptyingRate;       ///< m3/s
    bool useHostRate;          ///< hostRate counts in place of emptyingRate
    double hostRate;           ///< m3/s
    double infilRate;          ///< m/s
    double evapRate;           ///< m/s
    int32_t evapPattern;       ///< factors of evapRate by the hour, or -1
    double* initQual;          ///< mg/L
    double evapDepth;          ///< mm/day, evaporation of the step over the area
    double infilDepth;         ///< mm/h, infiltration of the step over the area
    int32_t isEmptying;        ///< not 0: a rule has started the emptying
    double emptyingFlow;       ///< m3/s
    double surpassFlow;        ///< m3/s
    double oldOutflow;         ///< m3/s, to the outgoing link
    double newOutflow;         ///< m3/s
    double storedVolume;       ///< m3, CSTR
    double* qual;              ///< mg/L, of the stored water, CSTR
    double* inletQual;         ///< mg/L, of the inflow; scratch of one step, as is the next one
    double* qualBefore;        ///< mg/L, of the stored water ahead of the step
    uint16_t restKey;          ///< the key of the model under which the reactor was found to be at rest; 0 if it isn't
    DelayQueue flowQueue;      ///< m3/s, PFR
    DelayQueue* loadQueue;     ///< kg/s, PFR
    double statSurpass;        ///< m3
    double statEmptying;       ///< m3
    double statEvap;           ///< m3
    double statInfil;          ///< m3
    double statOutflow;        ///< m3
    double statDelayed;        ///< m3, that would leave after the end of the run, PFR
    double* statSurpassLoad;   ///< kg
    double* statEmptyingLoad;  ///< kg
    double* statInfilLoad;     ///< kg
    double* statReactedLoad;   ///< kg
    double* statOutflowLoad;   ///< kg
};

/// Makes the arrays of parameters: no reaction, no pattern. False without memory.
[[nodiscard]] bool reactor_createArrays(Model& model, Reactor& reactor);

/// A line of [REACTORS], [REACTORS_DECAY], [REACTORS_OXYGEN] or [REACTORS_EMPTYING]. An error index, or 0.
[[nodiscard]] int32_t reactor_readLine(Model& model, const Tokens& tokens, int32_t node, int32_t kindIndex);
[[nodiscard]] int32_t reactor_readDecay(Model& model, const Tokens& tokens);
[[nodiscard]] int32_t reactor_readOxygen(Model& model, const Tokens& tokens);
[[nodiscard]] int32_t reactor_readEmptying(Model& model, const Tokens& tokens);

/// Tests a reactor when all is read; writes what is wrong to the report.
void reactor_validate(Model& model, const Node& node, const Reactor& reactor);

void reactor_initState(Model& model, Reactor& reactor);
void reactor_endState(Reactor& reactor);
void reactor_shiftState(Reactor& reactor);

/// Water in store at the start of a run, m3.
[[nodiscard]] double reactor_getInitVolume(const Reactor& reactor);

/// Takes in the inflow of the node in this step, treats it, and sends surplus and emptying to their nodes. Sets
/// newOutflow and the node's newQual, which the outgoing link takes.
void reactor_update(Model& model, Node& node, Reactor& reactor);

/// Concentration (mg/L) that is left of `concentration` after `seconds` of reaction in an hour of the day. Oxygen is
/// left as it is: it hangs on other pollutants.
[[nodiscard]] double reactor_react(const Model& model, const Reactor& reactor, int32_t pollutant, double concentration,
                                   double seconds, int32_t hour);

/// Statistics: made and zeroed for a run, added to after each step, and emptied by pollutant.
void reactor_openStatistics(Model& model);
void reactor_countStep(Reactor& reactor, double dt);
void reactor_clearStatistics(Model& model);

/// One pollutant in the store, and on its way through a plug flow, kg.
[[nodiscard]] double reactor_getStoredLoad(const Model& model, const Reactor& reactor, int32_t pollutant);

/// Water over the run, m3, but for what it held at the start.
[[nodiscard]] Balance reactor_getBalance(const Model& model, const Node& node);
