#pragma once
// The fields of all records of the folder, told for saving and restoring (model/fields.h).

#include "links/conduit.h"
#include "links/connection.h"
#include "links/delayqueue.h"
#include "links/link.h"
#include "links/orifice.h"
#include "links/pipe.h"
#include "links/pump.h"
#include "links/weir.h"
#include "model/fields.h"
#include "model/model.h"

// --- links of all kinds --------------------------------------------------------------------------------------------

template <class V>
void link_walk(V& v, Link& link, Model& model) {
    const int64_t pollutants = model_pollutantCount(model);
    LinkFlood& flood = model.linkFloods[link_getIndex(model, link)];
    v.fixed(link.kind, link.isLagged, link.id, link.kindIndex, link.fromNode, link.toNode, link.clock, link.sumMass);
    v.state(NAMED(link.oldFlow));
    v.state(NAMED(link.newFlow));
    v.state(NAMED(link.newQual), pollutants);
    v.state(NAMED(link.oldQual), pollutants);
    v.state(NAMED(link.setting));
    v.state(NAMED(link.targetSetting));
    v.setting(NAMED(link.isHostSetting));
    v.total(NAMED(link.statFlowVolume));
    v.total(NAMED(link.statMaxFlow));
    v.total("link.statFloodVolume", flood.volume);
    v.total("link.statMaxFlood", flood.maximum);
}

/// Links whose setting may differ from 1, in the order in which they came to it.
struct GuidedLinkList {
    Model& model;

    static constexpr FieldSort SORT = SORT_STATE;
    static constexpr bool IS_SPARE = false;
    using Entry = int32_t;

    int64_t getLimit() const { return model.links.size(); }
    int64_t count() const { return model.guidedLinks.size(); }
    template <class Function>
    void forEach(Function function) const {
        for (int32_t& link : model.guidedLinks.rows) {
            function(link);
        }
    }
    bool reserve(int64_t, WalkMemory&) const {
        model.guidedLinks.reserve(model.links.size());
        return true;
    }
    void begin(int64_t, WalkMemory&) const {
        for (const int32_t link : model.guidedLinks) {
            model.isGuided[link] = 0;
        }
        model.guidedLinks.clear();
    }
    void put(int64_t, int32_t link) const { link_noteTarget(model, link); }
    template <class V>
    void walkEntry(V& v, int32_t& link) const {
        v.state(NAMED(link), FieldSpan{0, model.links.size() - 1.0});
    }
};

// --- pipes ---------------------------------------------------------------------------------------------------------

/// A pipe with its clock, which stands in the link.
template <class V>
void pipe_walk(V& v, Pipe& pipe, Model& model) {
    const int64_t pollutants = model_pollutantCount(model);
    Link& link = model.links[pipe.link];
    FireClock& clock = link.clock;
    pipe_settle(link, pipe);
    v.fixed(pipe.decay, pipe.link, clock.restKey);
    v.mark(clock.facts);
    v.setting(NAMED(pipe.hasDecay));
    decay_walk(v, pipe.decay, model);
    v.action.takeReaches(pipe, model);  // stepLength, reachCount and storage
    v.time("pipe.lastFireTime", clock.lastFireTime);
    v.time("pipe.nextFireTime", clock.nextFireTime);
    v.setting(NAMED(pipe.k));
    v.state("pipe.sumVolume", clock.sumVolume);
    v.state("pipe.sumMass", link.sumMass, pollutants);
    v.state("pipe.sumCount", clock.sumCount, FieldSpan{0, 1 << 30});
    v.setting(NAMED(pipe.n));
    v.setting(NAMED(pipe.x));
    v.state(NAMED(pipe.oldInflow));
    v.state(NAMED(pipe.newInflow));
    v.state(NAMED(pipe.oldFlood));
    v.state(NAMED(pipe.newFlood));
    v.setting(NAMED(pipe.maxFlow));
    v.state("pipe.isChanged", clock.isChanged);
}

// --- connections, and whatever else delays -------------------------------------------------------------------------

/// The entries of a queue; a restored one counts them from 0.
struct DelayEntryList {
    DelayQueue& queue;
    Model& model;

    static constexpr FieldSort SORT = SORT_STATE;
    static constexpr bool IS_SPARE = false;
    using Entry = DelayEntry;

    static int64_t getLimit() { return 1 << 30; }
    int64_t count() const { return queue.end - queue.first; }
    template <class Function>
    void forEach(Function function) const {
        for (int64_t k = queue.first; k < queue.end; ++k) {
            function(queue.entries[k & (queue.capacity - 1)]);
        }
    }
    bool reserve(int64_t wanted, WalkMemory& memory) const {
        return wanted <= queue.capacity || memory.keep(delayqueue_allocate(model, wanted));
    }
    void begin(int64_t wanted, WalkMemory& memory) const {
        if (wanted > queue.capacity) {
            queue.entries = static_cast<DelayEntry*>(memory.take());
            queue.capacity = delayqueue_getCapacity(wanted);
        }
        queue.first = 0;
        queue.end = wanted;
    }
    void put(int64_t place, const DelayEntry& entry) const { queue.entries[place] = entry; }
    template <class V>
    static void walkEntry(V& v, DelayEntry& entry) {
        v.date(NAMED(entry.date));
        v.state(NAMED(entry.value));
    }
};

template <class V>
void delayqueue_walk(V& v, const char* name, DelayQueue& queue, Model& model) {
    v.fixed(queue.entries, queue.capacity, queue.first, queue.end);
    v.list(name, DelayEntryList{queue, model});
}

/// One queue per pollutant.
template <class V>
void delayqueue_walkLoads(V& v, const char* name, DelayQueue*& queues, Model& model) {
    v.fixed(queues);
    for (int32_t p = 0; queues && p < model_pollutantCount(model); ++p) {
        delayqueue_walk(v, name, queues[p], model);
    }
}

template <class V>
void connection_walk(V& v, Connection& connection, Model& model) {
    v.setting(NAMED(connection.delay));
    v.state(NAMED(connection.oldInflow));
    v.state(NAMED(connection.newInflow));
    v.total(NAMED(connection.statDelayed));
    delayqueue_walk(v, NAMED(connection.flowQueue), model);
    delayqueue_walkLoads(v, NAMED(connection.loadQueue), model);
}

// --- the other kinds -----------------------------------------------------------------------------------------------

template <class V>
void conduit_walk(V& v, Conduit& conduit, const Model& model) {
    v.fixed(conduit.curve, conduit.decay, conduit.areaTable, conduit.transect, conduit.risingTable, conduit.restKey,
            conduit.keptChanges, conduit.fullVolume, conduit.areaDepth, conduit.area, conduit.flowDepth, conduit.flow);
    v.setting(NAMED(conduit.length));
    v.setting(NAMED(conduit.slope));
    v.setting(NAMED(conduit.slopeRoot));
    v.setting(NAMED(conduit.roughness));
    v.setting(NAMED(conduit.hasDecay));
    decay_walk(v, conduit.decay, model);
    v.action.takeSection(conduit, model);  // tableShape and fullDepth, by which the tables are made
    v.setting(NAMED(conduit.shape));
    v.setting(NAMED(conduit.height));
    v.setting(NAMED(conduit.width));
    v.state(NAMED(conduit.depth));
    v.state(NAMED(conduit.oldInflow));
    v.state(NAMED(conduit.newInflow));
    v.state(NAMED(conduit.oldFlood));
    v.state(NAMED(conduit.newFlood));
    v.total(NAMED(conduit.statMaxDepth));
    v.total(NAMED(conduit.statMaxVelocity));
}

template <class V>
void pump_walk(V& v, Pump& pump) {
    v.fixed(pump.curve);
    v.setting(NAMED(pump.initSetting));
    v.setting(NAMED(pump.startupDepth));
    v.setting(NAMED(pump.shutoffDepth));
    v.setting(NAMED(pump.useHostFlow));
    v.setting(NAMED(pump.hostFlow));
}

template <class V>
void weir_walk(V& v, Weir& weir) {
    v.setting(NAMED(weir.shape));
    v.setting(NAMED(weir.useHostCoefficient));
    v.setting(NAMED(weir.useHostHeight));
    v.setting(NAMED(weir.coefficient));
    v.setting(NAMED(weir.length));
    v.setting(NAMED(weir.crest));
    v.setting(NAMED(weir.opening));
    v.setting(NAMED(weir.hostCoefficient));
    v.setting(NAMED(weir.hostHeight));
}

template <class V>
void orifice_walk(V& v, Orifice& orifice) {
    v.setting(NAMED(orifice.shape));
    v.setting(NAMED(orifice.height));
    v.setting(NAMED(orifice.width));
    v.setting(NAMED(orifice.coefficient));
    v.setting(NAMED(orifice.crest));
}

// --- the whole folder ----------------------------------------------------------------------------------------------

template <class V>
void links_walk(V& v, Model& model) {
    v.rows("link", model.links, [&](V& own, Link& row) { link_walk(own, row, model); });
    v.rows("pipe", model.pipes, [&](V& own, Pipe& row) { pipe_walk(own, row, model); });
    v.rows("connection", model.connections, [&](V& own, Connection& row) { connection_walk(own, row, model); });
    v.rows("conduit", model.conduits, [&](V& own, Conduit& row) { conduit_walk(own, row, model); });
    v.rows("pump", model.pumps, [&](V& own, Pump& row) { pump_walk(own, row); });
    v.rows("weir", model.weirs, [&](V& own, Weir& row) { weir_walk(own, row); });
    v.rows("orifice", model.orifices, [&](V& own, Orifice& row) { orifice_walk(own, row); });
    v.fixed(model.linkFloods, model.transects, model.guidedLinks, model.isGuided);
    v.list("guidedLinks", GuidedLinkList{model});
    v.state(NAMED(model.floodingPipeCount), FieldSpan{0, static_cast<double>(model.pipes.size())});
    v.state(NAMED(model.hasEndlessQuality));
}
