// What is in a model of the second face, and its rows of results.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/allkinds.h"
#include "support/fileimage.h"
#include "support/generate.h"
#include "support/tvmodel.h"

/// A project of all kinds, open in a model of the second face.
struct ModelObjects : testing::Test {
    AllKinds project;
    TvModel model;

    void SetUp() override { ASSERT_EQ(tv_open(model, project.input.c_str(), nullptr), TV_OK); }

    std::string getId(int32_t objectClass, int32_t index) const {
        const char* id = nullptr;
        EXPECT_EQ(tv_getId(model, objectClass, index, &id), TV_OK) << objectClass << ' ' << index;
        return id ? id : "?";
    }

    std::vector<std::string> listIds(int32_t objectClass) const {
        std::vector<std::string> ids;
        for (int32_t k = 0; k < model.getCount(objectClass); ++k) {
            ids.push_back(getId(objectClass, k));
        }
        return ids;
    }

    std::string getRelated(int32_t relation, int32_t objectClass, const std::string& id, int32_t relatedClass) const {
        int32_t related = -2;
        EXPECT_EQ(tv_getRelation(model, relation, model.find(objectClass, id), &related), TV_OK);
        return related < 0 ? "" : getId(relatedClass, related);
    }
};

using Ids = std::vector<std::string>;

TEST_F(ModelObjects, AreListedInTheOrderOfTheFile) {
    EXPECT_EQ(listIds(TV_SYSTEM), Ids{""});
    EXPECT_EQ(listIds(TV_SUBCATCHMENT), (Ids{"S", "GRASS"}));
    EXPECT_EQ(listIds(TV_GAGE), Ids{"G"});
    EXPECT_EQ(listIds(TV_NODE), (Ids{"J", "T", "O", "SP", "SW", "R", "M", "V", "O2", "OS", "OR2"}));
    EXPECT_EQ(listIds(TV_LINK), (Ids{"P", "PU", "C", "D", "W", "OR", "CM", "CR", "CS", "CV"}));
    EXPECT_EQ(listIds(TV_POLLUTANT), (Ids{"B", "J"}));
    EXPECT_EQ(listIds(TV_LAND_USE), Ids{"ROAD"});
    EXPECT_EQ(listIds(TV_LID), Ids{"CELL"});
    EXPECT_EQ(listIds(TV_LID_UNIT), Ids{});
    EXPECT_EQ(listIds(TV_RULE), Ids{"X"});
    EXPECT_EQ(listIds(TV_CURVE), (Ids{"SHAPE", "DUTY"}));
    EXPECT_EQ(listIds(TV_SERIES), Ids{"RAIN"});
    EXPECT_EQ(listIds(TV_PATTERN), Ids{"DAY"});
}

TEST_F(ModelObjects, AreFoundByTheirIds) {
    for (int32_t objectClass = TV_SUBCATCHMENT; objectClass < TV_CLASS_COUNT; ++objectClass) {
        for (int32_t k = 0; k < model.getCount(objectClass); ++k) {
            if (objectClass != TV_RULE) {  // rules are told by their order alone
                EXPECT_EQ(model.find(objectClass, getId(objectClass, k)), k) << objectClass;
            }
        }
    }
    EXPECT_EQ(model.find(TV_SUBCATCHMENT, "grass"), 1);
    int32_t index = 77;
    EXPECT_EQ(tv_findObject(model, TV_NODE, "NONE", &index), TV_ERROR_ID);
    EXPECT_EQ(tv_findObject(model, TV_NODE, "", &index), TV_ERROR_ID);
    EXPECT_EQ(tv_findObject(model, TV_LID_UNIT, "CELL", &index), TV_ERROR_ID);
    EXPECT_EQ(tv_findObject(model, TV_CLASS_COUNT, "J", &index), TV_ERROR_CLASS);
    EXPECT_EQ(tv_findObject(model, -1, "J", &index), TV_ERROR_CLASS);
    EXPECT_EQ(tv_findObject(model, TV_NODE, nullptr, &index), TV_ERROR_NULL);
    EXPECT_EQ(tv_findObject(model, TV_NODE, "J", nullptr), TV_ERROR_NULL);
    EXPECT_EQ(index, 77);
}

TEST_F(ModelObjects, HaveTheirKinds) {
    const int32_t nodes[] = {TV_JUNCTION, TV_TANK,     TV_OUTFALL,    TV_SPLITTER, TV_SWMM_NODE,
                             TV_REACTOR,  TV_LID_NODE, TV_PLANT_NODE, TV_OUTFALL};
    const int32_t links[] = {TV_PIPE, TV_PUMP, TV_CONNECTION, TV_CONDUIT, TV_WEIR, TV_ORIFICE, TV_CONNECTION};
    int32_t kind = -1;
    for (int32_t k = 0; k < 9; ++k) {
        EXPECT_EQ(tv_getKind(model, TV_NODE, k, &kind), TV_OK);
        EXPECT_EQ(kind, nodes[k]) << k;
    }
    for (int32_t k = 0; k < 7; ++k) {
        EXPECT_EQ(tv_getKind(model, TV_LINK, k, &kind), TV_OK);
        EXPECT_EQ(kind, links[k]) << k;
    }
    EXPECT_EQ(tv_getKind(model, TV_SUBCATCHMENT, 1, &kind), TV_OK);
    EXPECT_EQ(kind, 0);
    kind = 77;
    EXPECT_EQ(tv_getKind(model, TV_NODE, 11, &kind), TV_ERROR_INDEX);
    EXPECT_EQ(tv_getKind(model, TV_NODE, -1, &kind), TV_ERROR_INDEX);
    EXPECT_EQ(tv_getKind(model, 99, 0, &kind), TV_ERROR_CLASS);
    EXPECT_EQ(tv_getKind(model, TV_NODE, 0, nullptr), TV_ERROR_NULL);
    EXPECT_EQ(kind, 77);
}

TEST_F(ModelObjects, AreConnected) {
    EXPECT_EQ(getRelated(TV_LINK_FROM, TV_LINK, "W", TV_NODE), "T");
    EXPECT_EQ(getRelated(TV_LINK_TO, TV_LINK, "W", TV_NODE), "O");
    EXPECT_EQ(getRelated(TV_SUBCATCHMENT_OUTLET, TV_SUBCATCHMENT, "S", TV_NODE), "OS");
    EXPECT_EQ(getRelated(TV_SUBCATCHMENT_GAGE, TV_SUBCATCHMENT, "S", TV_GAGE), "G");
    EXPECT_EQ(getRelated(TV_GAGE_SERIES, TV_GAGE, "G", TV_SERIES), "RAIN");
    EXPECT_EQ(getRelated(TV_REACTOR_SURPASS, TV_NODE, "R", TV_NODE), "OR2");
    EXPECT_EQ(getRelated(TV_REACTOR_EMPTYING, TV_NODE, "R", TV_NODE), "OR2");
    EXPECT_EQ(getRelated(TV_LID_NODE_GAGE, TV_NODE, "M", TV_GAGE), "G");
    EXPECT_EQ(getRelated(TV_LID_NODE_DRAIN, TV_NODE, "M", TV_NODE), "");
    EXPECT_EQ(getRelated(TV_SPLITTER_LINK, TV_NODE, "SP", TV_LINK), "C");
    EXPECT_EQ(getRelated(TV_TANK_CURVE, TV_NODE, "T", TV_CURVE), "SHAPE");
    int32_t related = 77;
    EXPECT_EQ(tv_getRelation(model, TV_TANK_CURVE, 0, &related), TV_ERROR_KIND);
    EXPECT_EQ(tv_getRelation(model, TV_LINK_FROM, 10, &related), TV_ERROR_INDEX);
    EXPECT_EQ(tv_getRelation(model, TV_UNIT_LID, 0, &related), TV_ERROR_INDEX);
    EXPECT_EQ(tv_getRelation(model, TV_RELATION_COUNT, 0, &related), TV_ERROR_CLASS);
    EXPECT_EQ(tv_getRelation(model, TV_LINK_FROM, 0, nullptr), TV_ERROR_NULL);
    EXPECT_EQ(related, 77);
}

TEST(ModelUnits, KnowTheirSubcatchment) {
    TvModel model;
    ASSERT_EQ(
        model.openText(getGeneral(10) + "[OUTFALLS]\nO\n[RAINGAGES]\nG INTENSITY 1:00 R\n[TIMESERIES]\nR 0 1 1 2\n"
                                        "[SUBCATCHS]\nS1 G O 1 100 50 2 0.01 0.1 1 3 50 6 4 5 30\n"
                                        "S2 G O 1 100 50 2 0.01 0.1 1 3 50 6 4 5 30\n"
                                        "[LIDS]\nROOF RB\nROOF STORAGE 300 0.67 0\nROOF DRAIN 3 0.5 0\n"
                                        "[LID_GROUPS]\nS2 ROOF 50 5 0 10 O\nS1 ROOF 50 5 0 10 O\n"),
        TV_OK)
        << model.getMessages()[0].text;
    ASSERT_EQ(model.getCount(TV_LID_UNIT), 2);
    int32_t related = -2;
    EXPECT_EQ(tv_getRelation(model, TV_UNIT_SUBCATCHMENT, 0, &related), TV_OK);
    EXPECT_EQ(related, 1);
    EXPECT_EQ(tv_getRelation(model, TV_UNIT_SUBCATCHMENT, 1, &related), TV_OK);
    EXPECT_EQ(related, 0);
    EXPECT_EQ(tv_getRelation(model, TV_UNIT_LID, 1, &related), TV_OK);
    EXPECT_EQ(related, 0);
    related = -2;
    EXPECT_EQ(tv_getRelation(model, TV_UNIT_DRAIN, 1, &related), TV_OK);
    EXPECT_EQ(related, 0);
}

// --- rows ----------------------------------------------------------------------------------------------------------

namespace {

/// All rows of a period, one table behind the other, as the binary file has them.
std::vector<float> readRows(tv_model* model) {
    std::vector<float> rows;
    tv_table table;
    for (int32_t t = 0; tv_getTable(model, t, &table) == TV_OK; ++t) {
        std::vector<float> values(static_cast<size_t>(table.rowCount) * static_cast<size_t>(table.columnCount));
        EXPECT_EQ(tv_getRows(model, t, values.data(), values.size()), TV_OK) << table.name;
        rows.insert(rows.end(), values.begin(), values.end());
    }
    return rows;
}

struct Collector {
    std::vector<std::vector<float>> periods;
    std::vector<double> dates;
    int32_t stepCode = 0, stopAt = -1;

    static int32_t collect(void* user, tv_model* model, int64_t period, double date) {
        Collector& self = *static_cast<Collector*>(user);
        EXPECT_EQ(period, static_cast<int64_t>(self.periods.size()) + 1);
        self.periods.push_back(readRows(model));
        self.dates.push_back(date);
        self.stepCode = tv_step(model);
        return period == self.stopAt;
    }
};

}  // namespace

TEST_F(ModelObjects, HaveTheRowsOfTheBinaryFile) {
    Collector collector;
    ASSERT_EQ(tv_keepRows(model, 1), TV_OK);
    ASSERT_EQ(tv_setPeriodCallback(model, Collector::collect, &collector), TV_OK);
    ASSERT_EQ(tv_start(model, project.results.c_str(), nullptr), TV_OK);
    std::vector<float> none(1000);
    EXPECT_EQ(tv_getRows(model, 0, none.data(), 14), TV_ERROR_NO_ROWS);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    EXPECT_EQ(collector.stepCode, TV_ERROR_BUSY);
    ASSERT_EQ(tv_end(model), TV_OK);
    ASSERT_GT(collector.periods.size(), 5u);
    const std::string file = readFile(project.results);
    const size_t length = 8 + collector.periods[0].size() * sizeof(float);
    size_t place = file.size() - 28 - collector.periods.size() * length;
    for (size_t k = 0; k < collector.periods.size(); ++k, place += length) {
        double date;
        std::memcpy(&date, file.data() + place, sizeof date);
        EXPECT_NEAR(date, collector.dates[k], 1.1 / 86400000.0);
        EXPECT_EQ(std::memcmp(file.data() + place + 8, collector.periods[k].data(), length - 8), 0) << k;
    }
}

TEST_F(ModelObjects, StopTheRunWhereTheCallbackSaysSo) {
    Collector collector;
    collector.stopAt = 3;
    ASSERT_EQ(tv_keepRows(model, 1), TV_OK);
    ASSERT_EQ(tv_setPeriodCallback(model, Collector::collect, &collector), TV_OK);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    EXPECT_EQ(model.getClock().period, 3);
    EXPECT_EQ(model.getPhase(), TV_STARTED);
    ASSERT_EQ(tv_runUntil(model, TV_END), TV_OK);
    EXPECT_EQ(model.getPhase(), TV_FINISHED);
}

TEST_F(ModelObjects, HaveTablesWithNamedColumns) {
    tv_table table{};
    ASSERT_EQ(tv_getTable(model, 0, &table), TV_OK);
    EXPECT_STREQ(table.name, "System");
    EXPECT_EQ(table.objectClass, TV_SYSTEM);
    EXPECT_EQ(table.rowCount, 1);
    ASSERT_EQ(tv_getTable(model, 2, &table), TV_OK);
    EXPECT_STREQ(table.name, "Junction");
    EXPECT_EQ(table.objectClass, TV_NODE);
    EXPECT_EQ(table.kind, TV_JUNCTION);
    EXPECT_EQ(table.rowCount, 1);
    const char *name = nullptr, *unit = nullptr;
    ASSERT_EQ(tv_getColumn(model, 2, table.columnCount - 1, &name, &unit), TV_OK);
    EXPECT_STREQ(name, "J");
    EXPECT_STREQ(unit, "mg/L");
    const char* first = nullptr;
    ASSERT_EQ(tv_getColumn(model, 2, 0, &first, &unit), TV_OK);
    EXPECT_STREQ(unit, "m3/s");
    EXPECT_EQ(tv_getColumn(model, 2, table.columnCount, &name, &unit), TV_ERROR_INDEX);
    EXPECT_EQ(tv_getColumn(model, 2, -1, &name, &unit), TV_ERROR_INDEX);
    EXPECT_EQ(tv_getTable(model, 99, &table), TV_ERROR_CLASS);
    EXPECT_EQ(tv_getTable(model, -1, &table), TV_ERROR_CLASS);

    int32_t outfalls[4];
    int32_t index = 0;
    for (int32_t t = 0; tv_getTable(model, t, &table) == TV_OK; ++t) {
        if (table.objectClass == TV_NODE && table.kind == TV_OUTFALL) {
            index = t;
        }
    }
    ASSERT_EQ(tv_getRowObjects(model, index, outfalls, 4), TV_OK);
    EXPECT_EQ((std::vector<int32_t>(outfalls, outfalls + 4)), (std::vector<int32_t>{2, 8, 9, 10}));
    EXPECT_EQ(tv_getRowObjects(model, index, outfalls, 3), TV_ERROR_SIZE);
    EXPECT_EQ(tv_getRowObjects(model, index, nullptr, 4), TV_ERROR_NULL);
}
