#pragma once
// The fields of all records of the folder, told for saving and restoring (model/fields.h).

#include "hydrology/landfields.h"
#include "links/linkfields.h"
#include "model/fields.h"
#include "model/model.h"
#include "nodes/lidmono.h"
#include "nodes/node.h"
#include "nodes/outfall.h"
#include "nodes/outlets.h"
#include "nodes/reactor.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"

template <class V>
void node_walk(V& v, Node& node, const Model& model) {
    const int64_t pollutants = model_pollutantCount(model);
    v.fixed(node.kind, node.kindIndex, node.id, node.extInflow, node.dwfInflow, node.isHead);
    v.state(NAMED(node.newInflow));
    v.state(NAMED(node.newUpstreamFlow));
    v.state(NAMED(node.newLatFlow));
    v.state(NAMED(node.massInflow), pollutants);
    v.state(NAMED(node.newQual), pollutants);
    v.state(NAMED(node.oldQual), pollutants);
    v.total(NAMED(node.statInflowVolume));
    v.total(NAMED(node.statMaxInflow));
    v.state(NAMED(node.oldInflow));
    v.state(NAMED(node.oldUpstreamFlow));
    v.state(NAMED(node.oldLatFlow));
}

/// Levels follow from the crests alone, so a restored tank makes them anew.
template <class V>
void outlets_walkLevels(V& v, LevelList& list) {
    v.fixed(list.kind, list.count, list.levelCount, list.links, list.keys, list.newKeys, list.levels, list.volumes,
            list.byKey, list.members, list.flows);
    v.mark(list.isMade);
}

template <class V>
void tank_walk(V& v, Tank& tank, const Model& model) {
    const int64_t pollutants = model_pollutantCount(model);
    v.fixed(tank.curve, tank.decay, tank.initQual, tank.restKey, tank.lastDepth, tank.lastVolume);
    v.setting(NAMED(tank.hasDecay));
    decay_walk(v, tank.decay, model);
    v.setting(NAMED(tank.maxDepth));
    v.setting(NAMED(tank.initDepth));
    v.state(NAMED(tank.oldDepth));
    v.state(NAMED(tank.newDepth));
    v.state(NAMED(tank.qual), pollutants);
    v.state(NAMED(tank.oldFlood));
    v.state(NAMED(tank.newFlood));
    outlets_walkLevels(v, tank.outlets.orifices);
    outlets_walkLevels(v, tank.outlets.weirs);
    PumpList& pumps = tank.outlets.pumps;
    v.fixed(pumps.count, pumps.links, pumps.flows);
    v.total(NAMED(tank.statMaxDepth));
    v.total(NAMED(tank.statFloodVolume));
}

template <class V>
void outfall_walk(V& v, Outfall& outfall, const Model& model) {
    v.total(NAMED(outfall.statLoad), model_pollutantCount(model));
}

template <class V>
void splitter_walk(V& v, Splitter& splitter) {
    v.fixed(splitter.link);
    v.setting(NAMED(splitter.mode));
    v.setting(NAMED(splitter.value));
    v.setting(NAMED(splitter.ratio));
    v.setting(NAMED(splitter.useHostValue));
    v.setting(NAMED(splitter.hostValue));
    v.state(NAMED(splitter.oldFlow));
    v.state(NAMED(splitter.newFlow));
    v.total(NAMED(splitter.statVolume));
}

template <class V>
void reactor_walkStatistics(V& v, Reactor& reactor, int64_t pollutants) {
    v.total(NAMED(reactor.statSurpass));
    v.total(NAMED(reactor.statEmptying));
    v.total(NAMED(reactor.statEvap));
    v.total(NAMED(reactor.statInfil));
    v.total(NAMED(reactor.statOutflow));
    v.total(NAMED(reactor.statDelayed));
    v.total(NAMED(reactor.statSurpassLoad), pollutants);
    v.total(NAMED(reactor.statEmptyingLoad), pollutants);
    v.total(NAMED(reactor.statInfilLoad), pollutants);
    v.total(NAMED(reactor.statReactedLoad), pollutants);
    v.total(NAMED(reactor.statOutflowLoad), pollutants);
}

template <class V>
void reactor_walk(V& v, Reactor& reactor, Model& model) {
    const int64_t pollutants = model_pollutantCount(model);
    v.fixed(reactor.type, reactor.capacityType, reactor.reactionType, reactor.surpassNode, reactor.emptyingNode,
            reactor.reactionPattern, reactor.evapPattern, reactor.initQual, reactor.inletQual, reactor.qualBefore,
            reactor.restKey, reactor.oxygen);
    v.setting(NAMED(reactor.surfaceLoading));
    v.setting(NAMED(reactor.flowCapacity));
    v.setting(NAMED(reactor.area));
    v.setting(NAMED(reactor.retentionTime));
    v.setting(NAMED(reactor.volume));
    v.setting(NAMED(reactor.initFraction));
    v.setting(NAMED(reactor.reactionCoeff), pollutants);
    v.setting(NAMED(reactor.infilRate));
    v.setting(NAMED(reactor.evapRate));
    v.setting(NAMED(reactor.emptyingRate));
    v.setting(NAMED(reactor.useHostRate));
    v.setting(NAMED(reactor.hostRate));
    v.state(NAMED(reactor.evapDepth));
    v.state(NAMED(reactor.infilDepth));
    v.state(NAMED(reactor.isEmptying));
    v.state(NAMED(reactor.emptyingFlow));
    v.state(NAMED(reactor.surpassFlow));
    v.state(NAMED(reactor.oldOutflow));
    v.state(NAMED(reactor.newOutflow));
    v.state(NAMED(reactor.storedVolume));
    v.state(NAMED(reactor.qual), pollutants);
    delayqueue_walk(v, NAMED(reactor.flowQueue), model);
    delayqueue_walkLoads(v, NAMED(reactor.loadQueue), model);
    reactor_walkStatistics(v, reactor, pollutants);
}

template <class V>
void lidmono_walk(V& v, LidMono& mono, const Model& model) {
    lidunit_walk(v, mono.unit, model);
    v.fixed(mono.gage);
    v.state(NAMED(mono.evapRate));
    v.state(NAMED(mono.infilRate));
    v.total(NAMED(mono.rainDepth));
    v.total(NAMED(mono.statOutflowVolume));
}

template <class V>
void nodes_walk(V& v, Model& model) {
    v.rows("node", model.nodes, [&](V& own, Node& row) { node_walk(own, row, model); });
    v.rows("tank", model.tanks, [&](V& own, Tank& row) { tank_walk(own, row, model); });
    v.rows("outfall", model.outfalls, [&](V& own, Outfall& row) { outfall_walk(own, row, model); });
    v.rows("splitter", model.splitters, [&](V& own, Splitter& row) { splitter_walk(own, row); });
    v.rows("reactor", model.reactors, [&](V& own, Reactor& row) { reactor_walk(own, row, model); });
    v.rows("LID monomer", model.lidMonos, [&](V& own, LidMono& row) { lidmono_walk(own, row, model); });
    v.fixed(model.nodesWithDryWeather, model.nodesWithExternal);
}
