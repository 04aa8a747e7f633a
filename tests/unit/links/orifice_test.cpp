#include "links/orifice.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "model/errors.h"
#include "results/rows.h"
#include "support/model.h"
#include "support/storage.h"

static constexpr double G2 = 19.62;

/// A tank with the orifice O, whose line goes on behind the two nodes as given.
static std::string getProject(const std::string& rest) {
    return getGeneral(10) + "[TANKS]\nT B 5 2\n[OUTFALLS]\nOUT\n[ORIFICES]\n" + "O T OUT " + rest + "\n" +
           getBasin("B", 100.0);
}

struct OrificeLaw : testing::Test {
    static double getFlow(double depth) { return orifice_getFlow(Records::link("O"), testModel().orifices[0], depth); }
};

TEST_F(OrificeLaw, IsTorricelliOverTheMiddleOfASubmergedRectangle) {
    StartedProject model(getProject("NO RECTANGULAR 0.62 0.5 0.4 0.3"));
    for (const double h : {0.95, 1.5, 4.0}) {
        const double expected = 0.62 * (0.4 * 0.3) * std::sqrt(G2 * (h - 0.5 - 0.2));
        EXPECT_NEAR(getFlow(h), expected, 1e-12) << h;
    }
}

TEST_F(OrificeLaw, LetsOnlyTheWettedPartOfARectangleRun) {
    StartedProject model(getProject("NO RECTANGULAR 0.62 0.5 0.4 0.3"));
    for (const double h : {0.55, 0.7, 0.9}) {
        const double d = h - 0.5;
        EXPECT_NEAR(getFlow(h), 0.62 * (d * 0.3) * std::sqrt(G2 * d / 2.0), 1e-12) << h;
    }
}

/// Area of a circle of diameter D below the depth y, by Simpson's rule over the chords; in the angle, where the
/// integrand is smooth.
static double integrateSegment(double D, double y) {
    const double r = D / 2.0;
    const double end = std::acos(1.0 - y / r);
    const int n = 2000;
    double sum = 0.0;
    for (int k = 0; k <= n; ++k) {
        const double t = end * k / n;
        const double weight = k == 0 || k == n ? 1.0 : k % 2 == 1 ? 4.0 : 2.0;
        sum += weight * 2.0 * r * r * std::sin(t) * std::sin(t);
    }
    return sum * end / n / 3.0;
}

TEST_F(OrificeLaw, TakesTheSegmentOfAPartlyFilledCircle) {
    StartedProject model(getProject("NO CIRCULAR 0.65 1 0.4"));
    for (const double d : {0.05, 0.2, 0.3, 0.39}) {
        const double expected = 0.65 * integrateSegment(0.4, d) * std::sqrt(G2 * d / 2.0);
        EXPECT_NEAR(getFlow(1.0 + d), expected, 1e-8 * expected) << d;
    }
}

TEST_F(OrificeLaw, TakesTheWholeCircleUnderWater) {
    StartedProject model(getProject("NO CIRCULAR 0.65 1 0.4"));
    for (const double h : {1.41, 2.0, 4.5}) {
        const double expected = 0.65 * std::acos(-1.0) * 0.04 * std::sqrt(G2 * (h - 1.0 - 0.2));
        EXPECT_NEAR(getFlow(h), expected, 1e-8 * expected) << h;
    }
}

TEST_F(OrificeLaw, OpensTheShareOfItsSetting) {
    StartedProject model(getProject("NO CIRCULAR 0.65 1 0.4"));
    model.link("O").setting = 0.25;  // a segment of 0.1 m, under water
    const double expected = 0.65 * integrateSegment(0.4, 0.1) * std::sqrt(G2 * (0.8 - 0.05));
    EXPECT_NEAR(getFlow(1.8), expected, 1e-8 * expected);
}

TEST_F(OrificeLaw, GivesNothingWithASettingOf0) {
    StartedProject model(getProject("NO CIRCULAR 0.65 1 0.4"));
    model.link("O").setting = 0.0;
    EXPECT_EQ(getFlow(3.0), 0.0);
}

TEST_F(OrificeLaw, GivesNothingAtAndBelowTheCrest) {
    StartedProject model(getProject("NO RECTANGULAR 0.62 0.5 0.4 0.3"));
    EXPECT_EQ(getFlow(0.5), 0.0);
    EXPECT_EQ(getFlow(0.2), 0.0);
    EXPECT_GT(getFlow(std::nextafter(0.5, 1.0)), 0.0);
}

TEST_F(OrificeLaw, KeepsItsRoundedConstantsAndTheOrderOfItsFactors) {
    StartedProject model(getProject("NO CIRCULAR 1 0 0.7"));
    const double D = 0.7, d = 0.2;
    const double t = std::acos((D - 2.0 * d) / D);
    const double area =
        (((2.0 * t) * (D * D)) * 3.14159265 * 0.25) / 6.2831853 - ((std::sin(t) * (D / 2.0 - d)) * D) * 0.5;
    EXPECT_EQ(getFlow(d), (std::sqrt(d / 2.0 * 19.62) * area) * 1.0);
    EXPECT_EQ(getFlow(3.0), std::sqrt((3.0 - D / 2.0) * 19.62) *
                                (std::sin(std::acos(1.0)) * (D - D / 2.0) * D * 0.5 +
                                 (((6.2831853 - 2.0 * std::acos(1.0)) * (D * D)) * 3.14159265 * 0.25) / 6.2831853));
}

TEST_F(OrificeLaw, GivesNothingWithAShapeThatIsNone) {
    StartedProject model(getProject("NO CIRCULAR 0.65 1 0.4"));
    testModel().orifices[0].shape = 2;
    EXPECT_EQ(getFlow(3.0), 0.0);
}

TEST(OrificeLine, FillsTheRow) {
    StartedProject model(getProject("YES rectangular 0.62 0.5 0.4 0.3 more words"));
    EXPECT_EQ(model.link("O").kind, ORIFICE);
    EXPECT_EQ(model.link("O").isLagged, 1);
    const Orifice& orifice = testModel().orifices[0];
    EXPECT_EQ(orifice.shape, RECTANGULAR_ORIFICE);
    EXPECT_EQ(orifice.coefficient, 0.62);
    EXPECT_EQ(orifice.crest, 0.5);
    EXPECT_EQ(orifice.height, 0.4);
    EXPECT_EQ(orifice.width, 0.3);
}

TEST(OrificeLine, IgnoresTheWidthOfACircle) {
    StartedProject model(getProject("NO CIRCULAR 0.62 0.5 0.4 x"));
    EXPECT_EQ(testModel().orifices[0].width, 0.0);
}

TEST(OrificeLine, IsRefusedAtTheFirstWrongWord) {
    const struct {
        const char* line;
        const char* message;
    } cases[] = {
        {"O T OUT NO CIRCULAR x 0.5", "ERROR 203: too few items "},
        {"O T1 OUT NO CIRCULAR x 0.5 0.4", "ERROR 209: undefined object T1 "},
        {"O T OUT1 NO CIRCULAR x 0.5 0.4", "ERROR 209: undefined object OUT1 "},
        {"O T OUT MAYBE CIRCULAR x 0.5 0.4", "ERROR 205: invalid keyword MAYBE "},
        {"O T OUT NO ROUND x 0.5 0.4", "ERROR 205: invalid keyword ROUND "},
        {"O T OUT NO CIRCULAR x -1 0.4", "ERROR 211: invalid number x "},
        {"O T OUT NO CIRCULAR -0.6 x 0.4", "ERROR 211: invalid number -0.6 "},
        {"O T OUT NO CIRCULAR 0 x 0.4", "ERROR 211: invalid number 0 "},
        {"O T OUT NO CIRCULAR 0.6 -1 x", "ERROR 211: invalid number -1 "},
        {"O T OUT NO CIRCULAR 0.6 1 x", "ERROR 211: invalid number x "},
        {"O T OUT NO CIRCULAR 0.6 1 -0.4", "ERROR 211: invalid number -0.4 "},
        {"O T OUT NO CIRCULAR 0.6 1 0.0",
         "ERROR 211: invalid number 0.6 "},  // the height is 0, shown is the coefficient
        {"O T OUT NO RECTANGULAR 0.6 1 0", "ERROR 211: invalid number 0.6 "},
        {"O T OUT NO RECTANGULAR 0.6 1 0.4", "ERROR 203: too few items "},
        {"O T OUT NO RECTANGULAR 0.6 1 0.4 0", "ERROR 211: invalid number 0 "},
        {"O T OUT NO RECTANGULAR 0.6 1 0.4 nan", "ERROR 211: invalid number nan "},
        {"O T OUT NO RECTANGULAR 0.6 1 0.4 w", "ERROR 211: invalid number w "},
    };
    for (const auto& bad : cases) {
        const std::string text =
            getGeneral(10) + "[TANKS]\nT B 5 2\n[OUTFALLS]\nOUT\n[ORIFICES]\n" + bad.line + "\n" + getBasin("B", 100.0);
        EXPECT_TRUE(refusesLine(text, bad.message, "[ORIFICES]", bad.line));
    }
}

TEST(OrificeLine, MayHoldNumbersThatAreNone) {
    StartedProject model(getProject("NO CIRCULAR nan nan nan"));
    EXPECT_EQ(orifice_getFlow(model.link("O"), testModel().orifices[0], 2.0),
              0.0);  // nothing lies above a crest that is no number
}

TEST(OrificeCheck, WantsATankUpstream) {
    const OpenResult result =
        openProject(getGeneral(10) + "[JUNCTIONS]\nJ\n[OUTFALLS]\nOUT\n[ORIFICES]\nO J OUT NO CIRCULAR 0.6 0 1\n");
    EXPECT_EQ(result.code, 153);
    EXPECT_EQ(result.report, "\n  \n  ERROR 153: Weir or Orifice O must be an outlet link of tank.");
}

TEST(OrificeRow, MixesOldAndNew) {
    StartedProject model(getProject("NO CIRCULAR 0.65 1 0.4") + "[POLLUTANTS]\nA 0\nB 0\n");
    Link& link = model.link("O");
    link.oldFlow = 1.0;
    link.newFlow = 2.0;
    link.oldQual[0] = 8.0;
    link.newQual[0] = 4.0;
    link.oldQual[1] = 0.0;
    link.newQual[1] = 1.0;
    float row[3];
    rows_fill(testModel(), ORIFICE_TABLE, model.findLink("O"), 0.25, row);
    EXPECT_EQ(row[0], 1.25f);
    EXPECT_EQ(row[1], 7.0f);
    EXPECT_EQ(row[2], 0.25f);
}
