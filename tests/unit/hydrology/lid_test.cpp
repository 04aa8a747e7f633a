// LID definitions and units: their lines with all that may be wrong in them, and the validation.

#include "hydrology/lid.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "hydrology/lidgroup.h"
#include "hydrology/subcatch.h"
#include "model/arena.h"
#include "model/decay.h"
#include "model/errors.h"
#include "model/project.h"
#include "support/lids.h"
#include "support/model.h"

namespace {

constexpr double TINY = 1e-15;

// --- good lines ----------------------------------------------------------------------------------------------------

TEST(LidLine, TypesAreKnownByTheirWordsInAnyCase) {
    const OpenLids open(withLids("A BC\nB rg\nC GR\nD It\nE PP\nF RB\nH VS\n"));
    ASSERT_EQ(testModel().lids.size(), 7);
    for (int32_t k = 0; k < 7; ++k) {
        EXPECT_EQ(testModel().lids[k].type, k);
    }
}

TEST(LidLine, ItemsBehindATypeAreFree) {
    const OpenLids open(withLids("A RB what ever -7\n"));
    EXPECT_EQ(open.code, 0);
}

TEST(LidLine, UnsetLayersAreEmptyAndTheSurfaceIsAllVoid) {
    const OpenLids open(withLids("A RB\n"));
    EXPECT_EQ(testModel().lids[0].surfaceVoid, 1.0);
    EXPECT_EQ(testModel().lids[0].surfaceDepth, 0.0);
    EXPECT_EQ(testModel().lids[0].soilDepth, 0.0);
    EXPECT_EQ(testModel().lids[0].drainCoefficient, 0.0);
    for (int32_t p = 0; p < 2; ++p) {
        EXPECT_EQ(testModel().lids[0].surfaceDecay[p].type, -1);
        EXPECT_EQ(testModel().lids[0].pavementDecay[p].type, -1);
        EXPECT_EQ(testModel().lids[0].soilDecay[p].type, -1);
        EXPECT_EQ(testModel().lids[0].storageDecay[p].type, -1);
        EXPECT_EQ(testModel().lids[0].matDecay[p].type, -1);
    }
}

TEST(LidLine, NameIsTheFirstSpelling) {
    const OpenLids open(withLids("Basin RB\nBASIN STORAGE 1000 0 0\n"));
    ASSERT_EQ(testModel().lids.size(), 1);
    EXPECT_STREQ(testModel().lids[0].name, "Basin");
}

TEST(LidLine, Surface) {
    const OpenLids open(withLids("A RB\nA SURFACE 150 0.2 0.3 4 5\n"));
    EXPECT_NEAR(testModel().lids[0].surfaceDepth, 0.15, TINY);
    EXPECT_NEAR(testModel().lids[0].surfaceVoid, 0.8, TINY);
    EXPECT_EQ(testModel().lids[0].surfaceRoughness, 0.3);
    EXPECT_NEAR(testModel().lids[0].surfaceSlope, 0.04, TINY);
    EXPECT_EQ(testModel().lids[0].sideSlope, 5.0);
}

TEST(LidLine, SurfaceWithoutDepthIsAllVoid) {
    const OpenLids open(withLids("A RB\nA SURFACE 0 0.2 0.3 4 5\n"));
    EXPECT_EQ(testModel().lids[0].surfaceVoid, 1.0);
}

TEST(LidLine, Soil) {
    const OpenLids open(withLids("A RB\nA SOIL 300 0.5 0.2 0.1 36 10\n"));
    EXPECT_NEAR(testModel().lids[0].soilDepth, 0.3, TINY);
    EXPECT_EQ(testModel().lids[0].porosity, 0.5);
    EXPECT_EQ(testModel().lids[0].fieldCapacity, 0.2);
    EXPECT_EQ(testModel().lids[0].wiltingPoint, 0.1);
    EXPECT_NEAR(testModel().lids[0].soilRate, 1e-5, 1e-20);
    EXPECT_EQ(testModel().lids[0].soilSlope, 10.0);
}

TEST(LidLine, StorageAndPavementTakeVoidsPerSolids) {
    const OpenLids open(withLids("A PP\nA STORAGE 400 1 7.2\nA PAVEMENT 100 0.25 360\n"));
    EXPECT_NEAR(testModel().lids[0].storageDepth, 0.4, TINY);
    EXPECT_EQ(testModel().lids[0].storageVoid, 0.5);
    EXPECT_NEAR(testModel().lids[0].storageRate, 2e-6, 1e-20);
    EXPECT_NEAR(testModel().lids[0].pavementDepth, 0.1, TINY);
    EXPECT_EQ(testModel().lids[0].pavementVoid, 0.2);
    EXPECT_NEAR(testModel().lids[0].pavementRate, 1e-4, 1e-18);
}

TEST(LidLine, DrainWithAndWithoutDelay) {
    const OpenLids open(withLids("A RB\nA DRAIN 2 0.5 50 6\nB RB\nB DRAIN 3 0.4 20\nC RB\nC DRAIN 1 1 1 \"\"\n"));
    ASSERT_EQ(open.code, 0);
    EXPECT_EQ(testModel().lids[0].drainCoefficient, 2.0);
    EXPECT_EQ(testModel().lids[0].drainExponent, 0.5);
    EXPECT_EQ(testModel().lids[0].drainDelay, 21600.0);
    EXPECT_EQ(testModel().lids[1].drainDelay, 0.0);
    EXPECT_EQ(testModel().lids[2].drainDelay, 0.0) << "an empty word is the number 0";
}

TEST(LidLine, MatIsReadOnlyBehindItsType) {
    const OpenLids open(
        withLids("A DRAINMAT 25 0.5 0.1\nA RB\nB GR\nB DRAINMAT 25 0.5 0.1\nB SOIL 100 0.5 0.2 0.1 36 10\n"));
    ASSERT_EQ(open.code, 0);
    EXPECT_EQ(testModel().lids[0].matDepth, 0.0);
    EXPECT_NEAR(testModel().lids[1].matDepth, 0.025, TINY);
    EXPECT_EQ(testModel().lids[1].matVoid, 0.5);
    EXPECT_EQ(testModel().lids[1].matRoughness, 0.1);
}

TEST(LidLine, MatOfNoRoofIsNotEvenTested) {
    const OpenLids open(withLids("A DRAINMAT\nA DRAINMAT x y z\nA RB\n"));
    EXPECT_EQ(open.code, 0);
}

TEST(LidLine, LayerAheadOfTheTypeIsRead) {
    const OpenLids open(withLids("A STORAGE 400 1 7.2\nA IT\n"));
    ASSERT_EQ(open.code, 0);
    EXPECT_NEAR(testModel().lids[0].storageDepth, 0.4, TINY);
}

TEST(LidLine, LaterTypeUndoesNothing) {
    const OpenLids open(withLids("A GR\nA DRAINMAT 25 0.5 0.1\nA RB\n"));
    EXPECT_EQ(testModel().lids[0].type, LID_RB);
    EXPECT_NEAR(testModel().lids[0].matDepth, 0.025, TINY);
}

TEST(LidLine, NotANumberIsNotNegative) {
    const OpenLids open(withLids("A RB\nA DRAIN nan inf 0\n"));
    EXPECT_EQ(open.code, 0);
}

struct DecayLayer {
    const char* word;
    Decay* Lid::*rules;
};

class DecayLineLayers : public ::testing::TestWithParam<DecayLayer> {};

TEST_P(DecayLineLayers, TakesTheRule) {
    LidProject project = withLids("A RB\n");
    project.decay = std::string("A LID Q FIRST 864 FLAT ") + GetParam().word + "\n";
    const OpenLids open(project);
    ASSERT_EQ(open.code, 0);
    const Decay* rules = testModel().lids[0].*GetParam().rules;
    EXPECT_EQ(rules[0].type, -1);
    EXPECT_EQ(rules[1].type, FIRST_ORDER);
    EXPECT_NEAR(rules[1].k, 0.01, TINY);
    EXPECT_EQ(rules[1].pattern, 0);
}

INSTANTIATE_TEST_SUITE_P(All, DecayLineLayers,
                         ::testing::Values(DecayLayer{"SURFACE", &Lid::surfaceDecay},
                                           DecayLayer{"soil", &Lid::soilDecay},
                                           DecayLayer{"STORAGE", &Lid::storageDecay},
                                           DecayLayer{"PAVEMENT", &Lid::pavementDecay},
                                           DecayLayer{"DRAINMAT", &Lid::matDecay}));

TEST(DecayLine, OfADrainStoresNothing) {
    LidProject project = withLids("A RB\n");
    project.decay = "A LID P FIRST 864 \"\" DRAIN\n";
    const OpenLids open(project);
    EXPECT_EQ(open.code, 0);
    for (const Decay* rules :
         {testModel().lids[0].surfaceDecay, testModel().lids[0].soilDecay, testModel().lids[0].storageDecay,
          testModel().lids[0].pavementDecay, testModel().lids[0].matDecay}) {
        EXPECT_EQ(rules[0].type, -1);
    }
}

TEST(DecayLine, NegativeAndWordlyRatesPass) {
    LidProject project = withLids("A RB\n");
    project.decay = "A LID P FIRST -864 \"\" SOIL\nA LID Q FIRST word \"\" SOIL\n";
    const OpenLids open(project);
    ASSERT_EQ(open.code, 0);
    EXPECT_NEAR(testModel().lids[0].soilDecay[0].k, -0.01, TINY);
    EXPECT_EQ(testModel().lids[0].soilDecay[1].k, 0.0);
    EXPECT_EQ(testModel().lids[0].soilDecay[1].pattern, -1);
}

// --- bad lines -----------------------------------------------------------------------------------------------------

class BadDefinition : public ::testing::TestWithParam<BadLidLine> {};

TEST_P(BadDefinition, IsTold) {
    const std::string text = withLids(std::string("A GR\n") + GetParam().line + "\n").text();
    const OpenResult result = openProject(text);
    EXPECT_EQ(result.code, 200);
    EXPECT_EQ(result.report, getLineError(text, GetParam().message, "[LIDS]", GetParam().line));
}

INSTANTIATE_TEST_SUITE_P(
    All, BadDefinition,
    ::testing::Values(
        BadLidLine{"B", TOO_FEW_ITEMS}, BadLidLine{"A MAT 1 2 3", "ERROR 205: invalid keyword MAT"},
        BadLidLine{"A BCC", "ERROR 205: invalid keyword BCC"}, BadLidLine{"A SURFACE 1 0 1 1", TOO_FEW_ITEMS},
        BadLidLine{"A SURFACE x 0 1 1 1", "ERROR 211: invalid number x"},
        BadLidLine{"A SURFACE -1 0 1 1 1", "ERROR 211: invalid number -1"},
        BadLidLine{"A SURFACE 0 1 1 1 1", "ERROR 211: invalid number 1"},
        BadLidLine{"A SURFACE 9 nan 1 1 1", "ERROR 211: invalid number nan"},
        BadLidLine{"A SURFACE 9 -0.1 1 1 1", "ERROR 211: invalid number -0.1"},
        BadLidLine{"A SURFACE 9 0 -2 -3 -4", "ERROR 211: invalid number -2"},
        BadLidLine{"A SURFACE 9 0 2 -3 -4", "ERROR 211: invalid number -3"},
        BadLidLine{"A SURFACE 9 0 2 3 -4", "ERROR 211: invalid number -4"},
        BadLidLine{"A SOIL 1 2 3 4 5", TOO_FEW_ITEMS},
        BadLidLine{"A SOIL -1 2 3 4 5 6", "ERROR 211: invalid number -1"},
        BadLidLine{"A SOIL 1 2 3 4 5 -6", "ERROR 211: invalid number -6"}, BadLidLine{"A STORAGE 1 2", TOO_FEW_ITEMS},
        BadLidLine{"A STORAGE 1 2 3x", "ERROR 211: invalid number 3x"}, BadLidLine{"A PAVEMENT 1 2", TOO_FEW_ITEMS},
        BadLidLine{"A PAVEMENT 1 -2 3", "ERROR 211: invalid number -2"}, BadLidLine{"A DRAINMAT 1 2", TOO_FEW_ITEMS},
        BadLidLine{"A DRAINMAT 1 -2 3", "ERROR 211: invalid number -2"}, BadLidLine{"A DRAIN 1 2", TOO_FEW_ITEMS},
        BadLidLine{"A DRAIN 1 -2 3", "ERROR 211: invalid number -2"},
        BadLidLine{"A DRAIN 1 2 3 -4", "ERROR 211: invalid number -4"}));

TEST(BadDefinitionName, KnownToNobodyIsTold) {
    // The first pass takes the word with its quotes, the second one without.
    const std::string text = withLids("\"A B\" RB\n").text();
    EXPECT_EQ(openProject(text).report, getLineError(text, "ERROR 209: undefined object A B", "[LIDS]", "\"A B\" RB"));
}

class BadDecay : public ::testing::TestWithParam<BadLidLine> {};

TEST_P(BadDecay, IsTold) {
    LidProject project = withLids("A RB\n");
    project.decay = std::string(GetParam().line) + "\n";
    const std::string text = project.text();
    const OpenResult result = openProject(text);
    EXPECT_EQ(result.code, 200);
    EXPECT_EQ(result.report, getLineError(text, GetParam().message, "[DECAY_COEFFICIENT]", GetParam().line));
}

INSTANTIATE_TEST_SUITE_P(
    All, BadDecay,
    ::testing::Values(BadLidLine{"A LID P FIRST 1", TOO_FEW_ITEMS}, BadLidLine{"A LID P FIRST 1 FLAT", TOO_FEW_ITEMS},
                      BadLidLine{"X LID P FIRST 1 FLAT", "ERROR 209: undefined object X"},
                      BadLidLine{"A LID X FIRST 1 FLAT SOIL", "ERROR 209: undefined object X"},
                      BadLidLine{"A LID P LAST 1 FLAT SOIL", "ERROR 205: invalid keyword LAST"},
                      BadLidLine{"A LID P ZERO 1 FLAT SOIL", "ERROR 800: not FIRST decay type for object A"},
                      BadLidLine{"A LID P CONST_RATIO x X X", "ERROR 800: not FIRST decay type for object A"},
                      BadLidLine{"A LID P CONST_CONCEN 1 \"\" SOIL", "ERROR 800: not FIRST decay type for object A"},
                      BadLidLine{"A LID P FIRST -1x FLAT SOIL", "ERROR 211: invalid number -1x"},
                      BadLidLine{"A LID P FIRST 1 X SOIL", "ERROR 209: undefined object X"},
                      BadLidLine{"A LID P FIRST 1 FLAT ROOF", "ERROR 205: invalid keyword ROOF"},
                      BadLidLine{"A LID X FIRST 1 FLAT DRAIN", "ERROR 209: undefined object X"},
                      // of several faults the first counts: pollutant, decay word, number, pattern, layer
                      BadLidLine{"A LID X LAST 1 FLAT SOIL", "ERROR 209: undefined object X"},
                      BadLidLine{"A LID P LAST -1x X ROOF", "ERROR 205: invalid keyword LAST"},
                      BadLidLine{"A LID P FIRST -1x X ROOF", "ERROR 211: invalid number -1x"},
                      BadLidLine{"A LID P FIRST 1 X ROOF", "ERROR 209: undefined object X"}));

// --- validation of definitions -------------------------------------------------------------------------------------

/// One good definition of each type, for tests that spoil one thing.
std::string getOpenReport(const std::string& lids) {
    return openProject(withLids(lids).text()).report;
}

TEST(Validation, GoodDefinitionsOfAllTypesPass) {
    for (const char* lids : GOOD_LIDS) {
        EXPECT_EQ(openProject(withLids(lids).text()).code, 0) << lids;
    }
}

TEST(Validation, MissingTypeIsTold) {
    const OpenResult result = openProject(withLids("A STORAGE 0 -0 0\n").text());
    EXPECT_EQ(result.code, 700);
    EXPECT_EQ(result.report, getLidError("ERROR 700: no type specified for LID A."));
}

class MissingLayer : public ::testing::TestWithParam<const char*> {};

TEST_P(MissingLayer, IsTold) {
    const OpenResult result = openProject(withLids(GetParam()).text());
    EXPECT_EQ(result.code, 701);
    EXPECT_EQ(result.report, getLidError("ERROR 701: missing layer for LID A."));
}

INSTANTIATE_TEST_SUITE_P(All, MissingLayer,
                         ::testing::Values("A BC\n", "A RG\nA STORAGE 400 1 7.2\n", "A GR\nA DRAINMAT 25 0.5 0.1\n",
                                           "A GR\nA SOIL 300 0.5 0.2 0.1 36 10\n", "A IT\n",
                                           "A PP\nA STORAGE 400 1 7.2\n", "A PP\nA PAVEMENT 0 1 1\n",
                                           // nothing after a missing layer is tested
                                           "A BC\nA STORAGE 400 0 0\n"));

struct BadParameter {
    const char* lids;
    const char* phrase;
};

class BadParameters : public ::testing::TestWithParam<BadParameter> {};

TEST_P(BadParameters, AreTold) {
    const OpenResult result = openProject(withLids(GetParam().lids).text());
    EXPECT_EQ(result.code, 703);
    EXPECT_EQ(result.report,
              getLidError(std::string("ERROR 703: invalid parameter value for LID A - ") + GetParam().phrase + "."));
}

INSTANTIATE_TEST_SUITE_P(
    All, BadParameters,
    ::testing::Values(BadParameter{"A PP\nA PAVEMENT 100 0 360\n", "check pavement layer parameters"},
                      BadParameter{"A PP\nA PAVEMENT 100 0.25 0\n", "check pavement layer parameters"},
                      BadParameter{"A RB\nA SOIL 300 0 0.2 0.1 36 10\n", "check soil layer parameters"},
                      BadParameter{"A RB\nA SOIL 300 0.2 0.2 0.1 36 10\n", "check soil layer parameters"},
                      BadParameter{"A RB\nA SOIL 300 0.5 0.1 0.1 36 10\n", "check soil layer parameters"},
                      BadParameter{"A RB\nA SOIL 300 0.5 0.2 0.1 0 10\n", "check soil layer parameters"},
                      BadParameter{"A RB\nA STORAGE 400 0 0\n", "check storage layer parameters"},
                      BadParameter{"A RB\nA STORAGE 400 inf 0\n", "check storage layer parameters"},
                      BadParameter{"A VS\nA SURFACE 100 0 0 1 2\n", "check swale surface parameters"},
                      BadParameter{"A VS\nA SURFACE 100 0 0.1 0 2\n", "check swale surface parameters"},
                      BadParameter{"A VS\nA SURFACE 0 0 0.1 1 2\n", "check swale surface parameters"},
                      // the storage line of a roof is tested before the mat takes its place
                      BadParameter{"A GR\nA SOIL 300 0.5 0.2 0.1 36 10\nA DRAINMAT 25 0.5 0.1\nA STORAGE 9 0 0\n",
                                   "check storage layer parameters"}));

TEST(Validation, PhrasesStandOnceEachAndInOrder) {
    const std::string report =
        getOpenReport("A PP\nA PAVEMENT 100 0 0\nA SOIL 300 0 0.2 0.1 0 10\nA STORAGE 400 0 0\n");
    const std::string head = "ERROR 703: invalid parameter value for LID A - check ";
    EXPECT_EQ(report, getLidError(head + "pavement layer parameters.") + getLidError(head + "soil layer parameters.") +
                          getLidError(head + "storage layer parameters."));
}

TEST(Validation, SoilOfNoDepthIsNotTested) {
    EXPECT_EQ(getOpenReport("A RB\nA SOIL 0 0 0 0 0 0\n"), "");
}

TEST(Validation, AlphaOfASurfaceIsThatOfManning) {
    const OpenLids open(
        withLids("A RB\nA SURFACE 100 0 0.25 4 0\nB RB\nB SURFACE 100 0 0 4 0\nC VS\n"
                 "C SURFACE 100 0 0.5 9 0\n"));
    ASSERT_EQ(open.code, 0);
    EXPECT_NEAR(testModel().lids[0].surfaceAlpha, 0.2 / 0.25, TINY);
    EXPECT_EQ(testModel().lids[1].surfaceAlpha, 0.0);
    EXPECT_NEAR(testModel().lids[2].surfaceAlpha, 0.3 / 0.5, TINY);
}

TEST(Validation, MatLiesOnTheSlopeOfTheSurface) {
    const OpenLids open(withLids("A GR\nA SOIL 300 0.5 0.2 0.1 36 10\nA DRAINMAT 25 0.5 0.1\nA SURFACE 0 0 0.5 4 0\n"));
    EXPECT_NEAR(testModel().lids[0].matAlpha, 0.2 / 0.1, 1e-14);
}

TEST(Validation, MatWithoutRoughnessHasNoAlpha) {
    const OpenLids open(withLids("A GR\nA SOIL 300 0.5 0.2 0.1 36 10\nA DRAINMAT 25 0.5 0\nA SURFACE 0 0 0.5 4 0\n"));
    EXPECT_EQ(testModel().lids[0].matAlpha, 0.0);
}

TEST(Validation, StorageWithoutThicknessIsAllVoidAndLetsTheDrainLieOnTheFloor) {
    const OpenLids open(withLids("A BC\nA SOIL 300 0.5 0.2 0.1 36 10\nA STORAGE 0 0.5 36\nA DRAIN 1 0.5 50\n"));
    ASSERT_EQ(open.code, 0);
    EXPECT_EQ(testModel().lids[0].storageVoid, 1.0);
    EXPECT_EQ(testModel().lids[0].drainOffset, 0.0);
    EXPECT_NEAR(testModel().lids[0].storageRate, 1e-5, 1e-20);
}

TEST(Validation, BarrelIsAllVoidAndTight) {
    const OpenLids open(withLids("A RB\nA STORAGE 1000 0.5 36\n"));
    EXPECT_EQ(testModel().lids[0].storageVoid, 1.0);
    EXPECT_EQ(testModel().lids[0].storageRate, 0.0);
    EXPECT_EQ(testModel().lids[0].storageDepth, 1.0);
}

TEST(Validation, MatStandsInForTheStorageOfARoof) {
    LidProject project =
        withLids("A GR\nA SOIL 300 0.5 0.2 0.1 36 10\nA DRAINMAT 25 0.4 0.1\nA STORAGE 400 1 36\nA DRAIN 1 1 5\n");
    project.decay = "A LID P FIRST 1 FLAT DRAINMAT\nA LID Q FIRST 2 \"\" DRAINMAT\n";
    const OpenLids open(project);
    ASSERT_EQ(open.code, 0);
    EXPECT_EQ(testModel().lids[0].storageDepth, testModel().lids[0].matDepth);
    EXPECT_EQ(testModel().lids[0].storageVoid, 0.4);
    EXPECT_EQ(testModel().lids[0].storageRate, 0.0);
    EXPECT_EQ(testModel().lids[0].drainOffset, 0.005)
        << "the storage line has a thickness, so the drain keeps its height";
    EXPECT_EQ(testModel().lids[0].storageDecay[0].type, FIRST_ORDER);
    EXPECT_EQ(testModel().lids[0].storageDecay[0].k, 1.0 / 86400.0);
    EXPECT_EQ(testModel().lids[0].storageDecay[0].pattern, 0);
    EXPECT_EQ(testModel().lids[0].storageDecay[1].type, -1) << "only the first pollutant follows the mat";
}

TEST(Validation, RoofWithoutAStorageLineLetsTheDrainLieOnTheFloor) {
    const OpenLids open(withLids("A GR\nA SOIL 300 0.5 0.2 0.1 36 10\nA DRAINMAT 25 0.4 0.1\nA DRAIN 1 1 5\n"));
    EXPECT_EQ(testModel().lids[0].drainOffset, 0.0);
}

TEST(Validation, MatWithoutARuleWipesTheFirstOfTheStorage) {
    LidProject project = withLids(GOOD_LIDS[LID_GR]);
    project.decay = "A LID P FIRST 1 \"\" STORAGE\nA LID Q FIRST 2 \"\" STORAGE\n";
    const OpenLids open(project);
    EXPECT_EQ(testModel().lids[0].storageDecay[0].type, -1);
    EXPECT_EQ(testModel().lids[0].storageDecay[1].type, FIRST_ORDER);
}

TEST(Validation, RoofWithoutPollutantsPasses) {
    LidProject project = withLids(GOOD_LIDS[LID_GR]);
    project.pollutants = "";
    EXPECT_EQ(openProject(project.text()).code, 0);
}

TEST(Validation, VoidOfAMatIsNotTested) {
    EXPECT_EQ(getOpenReport("A GR\nA SOIL 300 0.5 0.2 0.1 36 10\nA DRAINMAT 25 0 0.1\n"), "");
    EXPECT_EQ(getOpenReport("A GR\nA SOIL 300 0.5 0.2 0.1 36 10\nA DRAINMAT 25 9 0.1\n"), "");
}

}  // namespace
