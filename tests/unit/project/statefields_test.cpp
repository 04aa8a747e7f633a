// That no field of a record is left out of a state: every byte of every record is told by a walk, but for what the
// alignment of the next field leaves free.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "project/stateactions.h"
#include "support/allkinds.h"
#include "support/model.h"
#include "support/stateruns.h"

namespace {

struct ToldField {
    size_t size;
    size_t alignment;
};

/// Where the fields are that a walk tells.
using ToldFields = std::map<const char*, ToldField>;

/// Notes the place of each field.
struct FieldCollector {
    ToldFields* fields;

    template <class T>
    void note(const T& field) {
        ToldField& told = (*fields)[reinterpret_cast<const char*>(&field)];
        told = {std::max(told.size, sizeof field), alignof(T)};  // NOLINT(bugprone-sizeof-expression): of pointers too
    }
    template <FieldSort SORT, class T>
    void takeField(const char*, const T& field) {
        note(field);
    }
    template <FieldSort SORT, class T>
    void takeLimited(const char*, const T& field, FieldSpan) {
        note(field);
    }
    template <FieldSort SORT, class T>
    void takeArray(const char*, T* const& fields_, int64_t) {
        note(fields_);
    }
    template <class T>
    void takeFixed(const T& field) {
        note(field);
    }
    template <class T>
    void takeMark(const T& mark) {
        note(mark);
    }
    template <class List>
    void takeList(const char*, const List& list) {
        FieldWalk<FieldCollector> own{*this};
        list.forEach([&](auto& entry) { list.walkEntry(own, entry); });
    }
    void takeReaches(const Pipe& pipe, const Model&) {
        note(pipe.stepLength);
        note(pipe.reachCount);
        note(pipe.storage);
    }
    void takeSection(const Conduit& conduit, const Model&) {
        note(conduit.fullDepth);
        note(conduit.tableShape);
    }
    void takeEngine(const OutsideNode&) {}
    static size_t beginPart() { return 0; }
    static bool isPartTaken() { return true; }
    void endPart(size_t) {}
    void enterRow(const char*, int32_t) {}
    void leaveRows() {}
};

ToldFields collect(Model& model) {
    ToldFields fields;
    StateOrigin origin{};
    FieldWalk<FieldCollector> walk{{&fields}};
    state_walk(walk, model, origin, model.requests);
    return fields;
}

/// The first byte of a record that no field covers and no alignment explains; -1 if there is none. Of a record that
/// fills whole lines of memory the end may be free.
template <class Record>
int64_t findGap(const ToldFields& fields, const Record& record) {
    const char* const begin = reinterpret_cast<const char*>(&record);
    const char* const end = begin + sizeof record;
    const char* at = begin;
    for (auto field = fields.lower_bound(begin); field != fields.end() && field->first < end; ++field) {
        if (field->first > at && field->first - at >= static_cast<int64_t>(field->second.alignment)) {
            return at - begin;
        }
        at = std::max(at, field->first + field->second.size);
    }
    return end - at < static_cast<int64_t>(alignof(Record)) ? -1 : at - begin;
}

struct StateFields : testing::Test {
    AllKindsRun run{1};
    Model& model = testModel();
    ToldFields fields;

    void SetUp() override {
        model.requests.inflows.push_back({0, 0, 1.0});
        model.requests.swmmInflows.push_back({0, "a", "b", 1.0});
        fields = collect(model);
    }
    void TearDown() override { run.finish(); }
};

}  // namespace

TEST_F(StateFields, CoverTheModel) {
    EXPECT_EQ(findGap(fields, model), -1);
}

TEST_F(StateFields, CoverTheRecordsOfTheNetwork) {
    EXPECT_EQ(findGap(fields, model.nodes.at(0)), -1);
    EXPECT_EQ(findGap(fields, model.tanks.at(0)), -1);
    EXPECT_EQ(findGap(fields, model.outfalls.at(0)), -1);
    EXPECT_EQ(findGap(fields, model.splitters.at(0)), -1);
    EXPECT_EQ(findGap(fields, model.reactors.at(0)), -1);
    EXPECT_EQ(findGap(fields, model.lidMonos.at(0)), -1);
    EXPECT_EQ(findGap(fields, model.links.at(0)), -1);
    EXPECT_EQ(findGap(fields, model.pipes.at(0)), -1);
    EXPECT_EQ(findGap(fields, model.pumps.at(0)), -1);
    EXPECT_EQ(findGap(fields, model.connections.at(0)), -1);
    EXPECT_EQ(findGap(fields, model.connections.at(0).loadQueue[0]), -1);
    EXPECT_EQ(findGap(fields, model.conduits.at(0)), -1);
    EXPECT_EQ(findGap(fields, model.weirs.at(0)), -1);
    EXPECT_EQ(findGap(fields, model.orifices.at(0)), -1);
    const DelayQueue& queue = model.connections.at(0).flowQueue;
    ASSERT_LT(queue.first, queue.end);
    EXPECT_EQ(findGap(fields, queue.entries[queue.first & (queue.capacity - 1)]), -1);
}

TEST_F(StateFields, CoverTheRecordsOfTheLand) {
    EXPECT_EQ(findGap(fields, model.subcatches.at(0)), -1);
    EXPECT_EQ(findGap(fields, model.subcatches.at(0).landShares[0]), -1);
    EXPECT_EQ(findGap(fields, model.gages.at(0)), -1);
    ASSERT_NE(model.gages.at(0).events, nullptr);
    EXPECT_EQ(findGap(fields, *model.gages.at(0).events), -1);
    EXPECT_EQ(findGap(fields, *model.evap), -1);
}

TEST(StateFieldsOfUnits, CoverTheirRecord) {
    const GeneratedFolder folder(1);
    ModelRun generated(folder, "a");
    generated.start();
    EXPECT_EQ(findGap(collect(*generated.model), generated.model->lidUnits.at(0)), -1);
}

TEST_F(StateFields, CoverTheOtherRecords) {
    EXPECT_EQ(findGap(fields, model.timeSeries.at(0)), -1);
    EXPECT_EQ(findGap(fields, model.totals.quality[0]), -1);
    EXPECT_EQ(findGap(fields, *model.actionList), -1);
    EXPECT_EQ(findGap(fields, *model.results), -1);
    EXPECT_EQ(findGap(fields, model.swmmNodes.at(0)), -1);
    EXPECT_EQ(findGap(fields, *model.swmmNodes.at(0).outside.inflows.head), -1);
    EXPECT_EQ(findGap(fields, model.vornNodes.at(0)), -1);
    EXPECT_EQ(findGap(fields, model.requests.inflows[0]), -1);
    EXPECT_EQ(findGap(fields, model.requests.swmmInflows[0]), -1);
}

/// These fill lines of memory, whose end is free: a field more shows here, and the program isn't built.
TEST(StateFieldsOfLines, AreCounted) {
    const auto& [newInflow, newUpstreamFlow, newLatFlow, oldInflow, oldUpstreamFlow, oldLatFlow, statInflowVolume,
                 statMaxInflow, kind, kindIndex, massInflow, newQual, oldQual, id, extInflow, dwfInflow, isHead] =
        Node{};
    const auto& [clock, oldFlow, newFlow, statFlowVolume, statMaxFlow, linkNewQual, linkOldQual, sumMass, setting,
                 targetSetting, linkId, linkKindIndex, fromNode, toNode, linkKind, isLagged, isHostSetting] = Link{};
    const auto& [lastFireTime, nextFireTime, sumVolume, sumCount, restKey, isChanged, facts] = FireClock{};
    const auto& [stepLength, k, x, storage, pipeNewInflow, pipeOldInflow, n, reachCount, link, hasDecay, maxFlow,
                 newFlood, oldFlood, decay] = Pipe{};
    EXPECT_EQ(kind + linkKind + n + facts, 0);
}

TEST(StateFieldsOfLines, AreMissedWhereOneIsLeftOut) {
    struct Record {
        double a, b;
        bool c;
        int32_t d;
    } record{};
    ToldFields fields;
    FieldCollector collector{&fields};
    collector.takeFixed(record.a);
    collector.takeFixed(record.c);
    collector.takeFixed(record.d);
    EXPECT_EQ(findGap(fields, record), 8);
    collector.takeFixed(record.b);
    EXPECT_EQ(findGap(fields, record), -1);
}
