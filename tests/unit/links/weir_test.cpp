#include "links/weir.h"

#include <gtest/gtest.h>

#include <cmath>

#include "model/errors.h"
#include "results/rows.h"
#include "support/model.h"
#include "support/storage.h"

/// A tank with the weir W, whose line goes on behind the two nodes as given.
static std::string getProject(const std::string& rest) {
    return getGeneral(10) + "[TANKS]\nT B 5 2\n[OUTFALLS]\nOUT\n[WEIRS]\n" + "W T OUT " + rest + "\n" +
           getBasin("B", 100.0);
}

static double getFlow(double depth) {
    return weir_getFlow(Records::link("W"), testModel().weirs[0], depth);
}

TEST(WeirLaw, IsPoleniOverARectangularCrest) {
    StartedProject model(getProject("NO RECTANGULAR 1.8 2.5 1.2 0.3"));
    for (const double h : {1.3, 1.7, 3.0}) {
        const double head = h - 1.2;
        EXPECT_NEAR(getFlow(h), 1.8 * 2.5 * head * std::sqrt(head), 1e-12) << h;
    }
}

TEST(WeirLaw, LeavesTheLengthOutOfATriangle) {
    StartedProject model(getProject("NO TRIANGULAR 1.4 2.5 1.2 0.3"));
    for (const double h : {1.3, 1.7, 3.0}) {
        const double head = h - 1.2;
        EXPECT_NEAR(getFlow(h), 1.4 * head * head * std::sqrt(head), 1e-12) << h;
    }
}

TEST(WeirLaw, GivesNothingAtTheCrest) {
    StartedProject model(getProject("NO RECTANGULAR 1.8 2.5 1.2 0.3"));
    EXPECT_EQ(getFlow(1.2), 0.0);
    EXPECT_EQ(getFlow(1.0), 0.0);
    EXPECT_GT(getFlow(std::nextafter(1.2, 2.0)), 0.0);
}

TEST(WeirLaw, LiftsTheCrestAsTheSettingFalls) {
    StartedProject model(getProject("NO RECTANGULAR 1.8 2.5 1.25 0.5"));
    model.link("W").setting = 0.0;
    EXPECT_EQ(getFlow(1.75), 0.0);
    EXPECT_EQ(weir_getLevel(model.link("W"), testModel().weirs[0]), 1.75);
    model.link("W").setting = 0.5;
    EXPECT_EQ(weir_getLevel(model.link("W"), testModel().weirs[0]), 1.5);
    EXPECT_NEAR(getFlow(2.5), 1.8 * 2.5, 1e-12);  // a head of 1 m
}

TEST(WeirLaw, StandsAtItsCrestWithoutARule) {
    StartedProject model(getProject("NO RECTANGULAR 1.8 2.5 1.25 0.5"));
    model.step(3);
    EXPECT_EQ(model.link("W").setting, 1.0);
    EXPECT_EQ(model.link("W").targetSetting, 1.0);
}

TEST(WeirLaw, GivesNothingWithAShapeThatIsNone) {
    StartedProject model(getProject("NO RECTANGULAR 1.8 2.5 1.2 0.3"));
    testModel().weirs[0].shape = 2;
    EXPECT_EQ(getFlow(3.0), 0.0);
}

// --- host ----------------------------------------------------------------------------------------------------------

TEST(WeirHost, MayGiveCoefficientAndHeight) {
    StartedProject model(getProject("NO RECTANGULAR 1.8 2.5 1.25 0.5"));
    EXPECT_EQ(tarnvelde_setWeirParams("W", 0, 2.0), 0);
    EXPECT_EQ(tarnvelde_setWeirParams("w", 1, 0.0), 0);
    EXPECT_NEAR(getFlow(2.25), 2.0 * 2.5, 1e-12);
}

TEST(WeirHost, MovesTheCrestToTheFullOpeningWithTheCoefficientAlone) {
    StartedProject model(getProject("NO RECTANGULAR 1.8 2.5 1.25 0.5"));
    EXPECT_EQ(tarnvelde_setWeirParams("W", 0, 1.8), 0);
    EXPECT_EQ(getFlow(1.75), 0.0);
    EXPECT_NEAR(getFlow(2.75), 1.8 * 2.5, 1e-12);
    model.link("W").setting = 0.5;  // without effect now
    EXPECT_NEAR(getFlow(2.75), 1.8 * 2.5, 1e-12);
}

TEST(WeirHost, SwitchesTheWeirOverWithAnySelector) {
    StartedProject model(getProject("NO RECTANGULAR 1.8 2.5 1.25 0.5"));
    EXPECT_EQ(tarnvelde_setWeirParams("W", 7, 3.0), 0);
    EXPECT_TRUE(testModel().weirs[0].useHostCoefficient && testModel().weirs[0].useHostHeight);
    EXPECT_EQ(testModel().weirs[0].hostCoefficient, 1.8);
    EXPECT_EQ(testModel().weirs[0].hostHeight, 0.5);
}

TEST(WeirHost, IsRefused) {
    StartedProject model(getProject("NO RECTANGULAR 1.8 2.5 1.25 0.5"));
    EXPECT_EQ(tarnvelde_setWeirParams("W", 0, 0.0), -1);
    EXPECT_EQ(tarnvelde_setWeirParams("W", 1, -0.1), -1);
    EXPECT_EQ(tarnvelde_setWeirParams("W", 5, -0.1), -1);
    EXPECT_EQ(tarnvelde_setWeirParams("V", 1, 0.1), -1);
    EXPECT_EQ(tarnvelde_setWeirParams(nullptr, 1, 0.1), -1);
    EXPECT_FALSE(testModel().weirs[0].useHostCoefficient || testModel().weirs[0].useHostHeight);
}

TEST(WeirHost, IsForgottenAtTheNextStart) {
    StartedProject model(getProject("NO RECTANGULAR 1.8 2.5 1.25 0.5"));
    tarnvelde_setWeirParams("W", 0, 2.0);
    tarnvelde_setWeirParams("W", 1, 0.1);
    tarnvelde_end();
    tarnvelde_start(0);
    EXPECT_FALSE(testModel().weirs[0].useHostCoefficient || testModel().weirs[0].useHostHeight);
    EXPECT_EQ(testModel().weirs[0].hostCoefficient, 1.8);
    EXPECT_EQ(testModel().weirs[0].hostHeight, 0.5);
}

TEST(WeirHost, ChangesTheFlowButNotTheLevel) {
    StartedProject model(getProject("NO RECTANGULAR 1.8 2.5 1.25 0.5"));
    tarnvelde_setWeirParams("W", 1, 0.2);
    EXPECT_EQ(weir_getLevel(model.link("W"), testModel().weirs[0]), 1.25);
}

TEST(WeirHost, KeepsItsValuesWhenTheWeirItselfIsChanged) {
    StartedProject model(getProject("NO RECTANGULAR 1.8 2.5 1.25 0.5"));
    tarnvelde_setWeirParams("W", 7, 0.0);
    testModel().weirs[0].coefficient = 1.0;
    testModel().weirs[0].opening = 0.1;
    EXPECT_NEAR(getFlow(2.75), 1.8 * 2.5, 1e-12);
}

// --- line ----------------------------------------------------------------------------------------------------------

TEST(WeirLine, FillsTheRow) {
    StartedProject model(getProject("yes Triangular 1.8 2.5 1.2 0 // note"));
    EXPECT_EQ(model.link("W").kind, WEIR);
    EXPECT_EQ(model.link("W").isLagged, 1);
    EXPECT_EQ(testModel().weirs[0].shape, TRIANGULAR_WEIR);
    EXPECT_EQ(testModel().weirs[0].coefficient, 1.8);
    EXPECT_EQ(testModel().weirs[0].length, 2.5);
    EXPECT_EQ(testModel().weirs[0].crest, 1.2);
    EXPECT_EQ(testModel().weirs[0].opening, 0.0);
}

TEST(WeirLine, IsRefusedAtTheFirstWrongWord) {
    const struct {
        const char* line;
        const char* message;
    } cases[] = {
        {"W X OUT NO RECTANGULAR 1.8 2.5 1.2", "ERROR 203: too few items "},
        {"W X OUT NO RECTANGULAR 1.8 2.5 1.2 0", "ERROR 209: undefined object X "},
        {"W T Y NO RECTANGULAR 1.8 2.5 1.2 0", "ERROR 209: undefined object Y "},
        {"W T OUT N RECTANGULAR 1.8 2.5 1.2 0", "ERROR 205: invalid keyword N "},
        {"W T OUT NO CIRCULAR 1.8 2.5 1.2 0", "ERROR 205: invalid keyword CIRCULAR "},
        {"W T OUT NO TRIANGULAR 0 0 1.2 0", "ERROR 211: invalid number 0 "},
        {"W T OUT NO TRIANGULAR 1.8 0.0 1.2 0", "ERROR 211: invalid number 0.0 "},
        {"W T OUT NO TRIANGULAR a b 1.2 0", "ERROR 211: invalid number a "},
        {"W T OUT NO TRIANGULAR 1.8 -2 c 0", "ERROR 211: invalid number -2 "},
        {"W T OUT NO TRIANGULAR 1.8 2.5 -1 d", "ERROR 211: invalid number -1 "},
        {"W T OUT NO TRIANGULAR 1.8 2.5 0 d", "ERROR 211: invalid number d "},
    };
    for (const auto& bad : cases) {
        const std::string text =
            getGeneral(10) + "[TANKS]\nT B 5 2\n[OUTFALLS]\nOUT\n[WEIRS]\n" + bad.line + "\n" + getBasin("B", 100.0);
        EXPECT_TRUE(refusesLine(text, bad.message, "[WEIRS]", bad.line));
    }
}

TEST(WeirCheck, WantsATankUpstream) {
    const OpenResult result =
        openProject(getGeneral(10) + "[JUNCTIONS]\nJ\n[OUTFALLS]\nOUT\n[WEIRS]\nW J OUT NO TRIANGULAR 1.4 1 0 0\n");
    EXPECT_EQ(result.code, 153);
    EXPECT_EQ(result.report, "\n  \n  ERROR 153: Weir or Orifice W must be an outlet link of tank.");
}

TEST(WeirRow, MixesOldAndNew) {
    StartedProject model(getProject("NO RECTANGULAR 1.8 2.5 1.25 0.5") + "[POLLUTANTS]\nA 0\n");
    Link& link = model.link("W");
    link.oldFlow = 1.0;
    link.newFlow = 2.0;
    link.oldQual[0] = 8.0;
    link.newQual[0] = 4.0;
    float row[2];
    rows_fill(testModel(), WEIR_TABLE, model.findLink("W"), 0.75, row);
    EXPECT_EQ(row[0], 1.75f);
    EXPECT_EQ(row[1], 5.0f);
}
