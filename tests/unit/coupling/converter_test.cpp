// Converters: lines of [CONVERTERS], what they must hold, and the amounts that they make.

#include "coupling/converter.h"

#include <gtest/gtest.h>

#include "hydrology/landuse.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/project.h"
#include "support/lines.h"
#include "support/model.h"
#include "support/project.h"
#include "support/tables.h"

/// Two converters, C and D, and two pollutants, TSS and COD.
struct ConverterLines : testing::Test, Tables {
    void SetUp() override {
        testModel().converters.fill(2, Converter{});
        addName(CONVERTER, "C");
        addName(CONVERTER, "D");
        addName(POLLUT, "TSS");
        addName(POLLUT, "COD");
    }

    static int32_t read(const Tokens& tokens) { return converter_readLine(testModel(), tokens); }
    static void expectGood(const std::string& line) { EXPECT_EQ(parseLine(line, read), 0) << line; }
    static void expectError(const std::string& line, int32_t error, const std::string& name) {
        expectLineError(line, read, error, name);
    }
    static int count(int32_t index = 0) {
        int number = 0;
        for (const ConverterPoint* point = testModel().converters[index].points; point; point = point->next) {
            ++number;
        }
        return number;
    }
};

TEST_F(ConverterLines, TypeLinesTakeTheTypeInAnyCase) {
    expectGood("c vorn_EFFLUENT and more words");
    EXPECT_EQ(testModel().converters[0].type, VORN_EFFLUENT);
    EXPECT_STREQ(testModel().converters[0].name, "C");
    expectGood("C VORN_INFLUENT");
    EXPECT_EQ(testModel().converters[0].type, VORN_INFLUENT);
}

TEST_F(ConverterLines, WithoutATypeLineAreInfluent) {
    expectGood("C ALK POLLUTANT TSS 0.5");
    EXPECT_EQ(testModel().converters[0].type, VORN_INFLUENT);
    EXPECT_EQ(testModel().converters[0].points->target, 5);
    EXPECT_STREQ(testModel().converters[0].name, "C");  // a point line names the converter as well
}

TEST_F(ConverterLines, InfluentPoints) {
    const char* words[] = {"COD", "nh4", "NO3", "Tp", "TSS", "ALK"};
    for (int k = 0; k < 6; ++k) {
        expectGood(std::string("C ") + words[k] + " pollutant cod 0.25");
    }
    int target = 0;
    for (const ConverterPoint* point = testModel().converters[0].points; point; point = point->next, ++target) {
        EXPECT_EQ(point->target, target);
        EXPECT_EQ(point->sourceKind, SOURCE_POLLUTANT);
        EXPECT_EQ(point->sourceIndex, 1);
        EXPECT_EQ(point->factor, 0.25);
        EXPECT_EQ(point->operation, OPERATION_ADD);
    }
    EXPECT_EQ(target, 6);
    expectGood("C COD CONSTANT 12.5 2 SUBTRACT ignored");
    EXPECT_EQ(testModel().converters[0].lastPoint->sourceKind, SOURCE_CONSTANT);
    EXPECT_EQ(testModel().converters[0].lastPoint->sourceIndex, -1);
    EXPECT_EQ(testModel().converters[0].lastPoint->constant, 12.5);
    EXPECT_EQ(testModel().converters[0].lastPoint->operation, OPERATION_SUBTRACT);
}

TEST_F(ConverterLines, EffluentPointsKnowAllComponents) {
    expectGood("C VORN_EFFLUENT");
    const char* words[] = {"S_O2", "S_F", "S_A",   "S_I",  "S_NH4", "S_N2",  "S_NO3", "S_PO4",  "S_ALK", "X_I",
                           "X_S",  "X_H", "X_PAO", "X_PP", "X_PHA", "X_AUT", "X_TSS", "x_meoh", "X_MeP"};
    for (const char* word : words) {
        expectGood(std::string("C TSS POLLUTANT ") + word + " 1");
    }
    int component = 0;
    for (const ConverterPoint* point = testModel().converters[0].points; point; point = point->next, ++component) {
        EXPECT_EQ(point->sourceIndex, component);
        EXPECT_EQ(point->target, 0);
    }
    EXPECT_EQ(component, 19);
}

TEST_F(ConverterLines, TheTypeAtTheLineDecides) {
    expectGood("C COD POLLUTANT TSS 1");
    expectGood("C VORN_EFFLUENT");
    expectGood("C COD POLLUTANT X_I 1");
    EXPECT_EQ(testModel().converters[0].points->target, 0);     // the constituent
    EXPECT_EQ(testModel().converters[0].lastPoint->target, 1);  // the pollutant
    expectError("C NH4 POLLUTANT X_I 1", ERR_UNDEFINED_OBJECT, "NH4");
}

TEST_F(ConverterLines, ErrorsFromLeftToRight) {
    expectError("C", ERR_ITEMS, "");
    expectError("X VORN_INFLUENT", ERR_UNDEFINED_OBJECT, "X");
    expectError("X COD POLLUTANT TSS", ERR_ITEMS, "");  // the count comes before the name
    expectError("X COD POLLUTANT TSS 1", ERR_UNDEFINED_OBJECT, "X");
    expectError("C CODX what nothing -1x", ERR_KEYWORD, "CODX");
    expectError("C COD what nothing -1x", ERR_KEYWORD, "what");
    expectError("C COD POLLUTANT nothing -1x", ERR_UNDEFINED_OBJECT, "nothing");
    expectError("C COD CONSTANT -2y -1x", ERR_NUMBER, "-2y");
    expectError("C COD CONSTANT 2 -1x MULTIPLY", ERR_NUMBER, "-1x");
    expectError("C COD CONSTANT 2 1 MULTIPLY", ERR_KEYWORD, "MULTIPLY");
    EXPECT_EQ(count(), 0);
    EXPECT_EQ(testModel().converters[0].name, nullptr);
    expectGood("D VORN_EFFLUENT");
    expectError("D ALK what nothing -1x", ERR_UNDEFINED_OBJECT, "ALK");
    expectError("D TSS what nothing -1x", ERR_KEYWORD, "what");
    expectError("D TSS POLLUTANT nothing -1x", ERR_KEYWORD, "nothing");
    expectError("D TSS CONSTANT -1e2z -1x", ERR_NUMBER, "-1e2z");
    EXPECT_EQ(count(1), 0);
}

TEST_F(ConverterLines, NumbersAreRefusedOnlyIfNegativeWithTextBehind) {
    const struct {
        const char* word;
        double value;
    } words[] = {{"-1", -1.0}, {"word", 0.0}, {"-x", 0.0}, {"3x", 3.0}, {"1e2", 100.0}};
    for (const auto& word : words) {
        expectGood(std::string("C COD CONSTANT ") + word.word + " " + word.word);
        EXPECT_EQ(testModel().converters[0].lastPoint->constant, word.value) << word.word;
        EXPECT_EQ(testModel().converters[0].lastPoint->factor, word.value) << word.word;
    }
    expectGood("C COD CONSTANT inf nan");
    expectGood("C COD CONSTANT -1\xa0 1");  // a byte above 127 behind a number is let through
    EXPECT_EQ(testModel().converters[0].lastPoint->constant, -1.0);
}

TEST_F(ConverterLines, APollutantOfATypeWordIsNoTarget) {
    testModel().counts.objects[POLLUT] = 3;
    names_add(testModel(), POLLUT, "VORN_INFLUENT", 2);
    expectGood("C VORN_EFFLUENT");
    expectGood("C VORN_INFLUENT CONSTANT 1 1");
    EXPECT_EQ(testModel().converters[0].type, VORN_INFLUENT);
    EXPECT_EQ(count(), 0);
}

TEST_F(ConverterLines, WithoutMemoryAreTheMemoryError) {
    arena_failAfter(1);
    expectError("C COD CONSTANT 1 1 MULTIPLY", ERR_MEMORY, "");
    arena_failAfter(0);
    EXPECT_EQ(count(), 0);
}

// --- validation ----------------------------------------------------------------------------------------------------

static const std::string Network = "[JUNCTIONS]\nA\n[OUTFALLS]\nOUT\n[CONNECTIONS]\nN A OUT NO 0\n";

static std::string repeatMessage(const std::string& message, int times) {
    std::string text = "\n  ";
    for (int k = 0; k < times; ++k) {
        text += (k ? "\n  \n  " : "\n  ") + message;
    }
    return text;
}

TEST(ConverterValidation, TellsEachMissingConstituent) {
    const std::string message =
        "ERROR 910: Converter Full of VORN influent type has no enough constituent conversion point.";
    const OpenResult none = openProject(getGeneral(2) + Network + "[CONVERTERS]\nFull VORN_INFLUENT\n");
    EXPECT_EQ(none.code, 910);
    EXPECT_EQ(none.report, repeatMessage(message, 6));
    const OpenResult some = openProject(getGeneral(2) + Network +
                                        "[CONVERTERS]\nFull COD CONSTANT 1 1\nfull ALK CONSTANT 1 1\n"
                                        "Full ALK CONSTANT 1 1\nFULL TP CONSTANT 1 1\n");
    EXPECT_EQ(some.report, repeatMessage(message, 3));
}

TEST(ConverterValidation, TellsTheFirstMissingPollutantOnly) {
    const std::string message =
        "ERROR 911: Converter E of VORN effluent type has no enough constituent conversion point.";
    const std::string pollutants = "[POLLUTANTS]\nA 0\nB 0\nC 0\n[CONVERTERS]\nE VORN_EFFLUENT\n";
    const OpenResult none = openProject(getGeneral(2) + Network + pollutants);
    EXPECT_EQ(none.code, 911);
    EXPECT_EQ(none.report, repeatMessage(message, 1));
    EXPECT_EQ(openProject(getGeneral(2) + Network + pollutants + "E A CONSTANT 0 0\nE C CONSTANT 0 0\n").code, 911);
    EXPECT_EQ(
        openProject(getGeneral(2) + Network + pollutants + "E A CONSTANT 0 0\nE C CONSTANT 0 0\nE B CONSTANT 0 0\n")
            .code,
        0);
}

TEST(ConverterValidation, AnEffluentWithoutPollutantsIsComplete) {
    EXPECT_EQ(openProject(getGeneral(2) + Network + "[CONVERTERS]\nE VORN_EFFLUENT\n").code, 0);
}

TEST(ConverterValidation, GoesOnWithTheNextConverter) {
    const OpenResult result =
        openProject(getGeneral(2) + Network + "[POLLUTANTS]\nA 0\n[CONVERTERS]\nE VORN_EFFLUENT\nF VORN_EFFLUENT\n");
    EXPECT_NE(result.report.find("Converter E of"), std::string::npos);
    EXPECT_NE(result.report.find("Converter F of"), std::string::npos);
}

// --- amounts -------------------------------------------------------------------------------------------------------

static ConverterPoint makePoint(int32_t target, int32_t sourceKind, int32_t sourceIndex, double constant, double factor,
                                int32_t operation = OPERATION_ADD) {
    return {target, sourceKind, sourceIndex, constant, factor, operation, nullptr};
}

struct ConverterAmounts : testing::Test, Tables {
    std::vector<ConverterPoint> points;
    double constituents[CONSTITUENT_COUNT] = {};

    void SetUp() override { setPollutantCount(2); }

    void apply(double flow, double firstLoad, double secondLoad) {
        for (size_t k = 0; k + 1 < points.size(); ++k) {
            points[k].next = &points[k + 1];
        }
        testModel().converters.fill(1, Converter{});
        testModel().converters[0].points = points.data();
        const double loads[] = {firstLoad, secondLoad};
        converter_applyInfluent(testModel(), 0, flow, loads, constituents);
    }
};

TEST_F(ConverterAmounts, OfPollutantsAreLoadsInGrams) {
    points = {makePoint(0, SOURCE_POLLUTANT, 0, 0.0, 0.5), makePoint(0, SOURCE_POLLUTANT, 1, 0.0, 2.0),
              makePoint(3, SOURCE_POLLUTANT, 1, 0.0, -1.0)};
    apply(7.0, 0.25, 0.125);
    EXPECT_EQ(constituents[0], 0.25 * 0.5 * 1000.0 + 0.125 * 2.0 * 1000.0);
    EXPECT_EQ(constituents[3], -125.0);  // nothing holds an addition above 0
}

TEST_F(ConverterAmounts, OfConstantsGoWithTheFlow) {
    points = {makePoint(4, SOURCE_CONSTANT, -1, 20.0, 0.75)};
    apply(0.5, 0.0, 0.0);
    EXPECT_EQ(constituents[4], 0.5 * 20.0 * 0.75);
    apply(0.0, 0.0, 0.0);
    EXPECT_EQ(constituents[4], 0.5 * 20.0 * 0.75);
}

TEST_F(ConverterAmounts, AreMultipliedFromLeftToRight) {
    // Factors whose products differ in the last bit if taken in another order.
    const double load = 0.1, factor = 0.1, flow = 0.1, constant = 0.1, share = 0.3;
    ASSERT_NE(load * factor * 1000.0, load * (factor * 1000.0));
    ASSERT_NE(load * factor * 1000.0, load * 1000.0 * factor);
    ASSERT_NE(flow * constant * share, flow * (constant * share));
    ASSERT_NE(flow * constant * share, flow * share * constant);
    points = {makePoint(0, SOURCE_POLLUTANT, 0, 0.0, factor), makePoint(1, SOURCE_CONSTANT, -1, constant, share)};
    apply(flow, load, 0.0);
    EXPECT_EQ(constituents[0], load * factor * 1000.0);
    EXPECT_EQ(constituents[1], flow * constant * share);
}

TEST_F(ConverterAmounts, TakenOffLeaveNothingBelowZero) {
    points = {
        makePoint(1, SOURCE_CONSTANT, -1, 10.0, 1.0), makePoint(1, SOURCE_CONSTANT, -1, 4.0, 1.0, OPERATION_SUBTRACT),
        makePoint(1, SOURCE_CONSTANT, -1, 9.0, 1.0, OPERATION_SUBTRACT), makePoint(1, SOURCE_CONSTANT, -1, 2.0, 1.0),
        makePoint(2, SOURCE_POLLUTANT, 0, 0.0, 1.0, OPERATION_SUBTRACT)};
    apply(1.0, 0.5, 0.0);
    EXPECT_EQ(constituents[1], 2.0);  // 10, 6, 0, 2
    EXPECT_EQ(constituents[2], 0.0);
}

TEST_F(ConverterAmounts, PassOverPointsThatMeanSomethingElse) {
    points = {makePoint(6, SOURCE_CONSTANT, -1, 1.0, 1.0), makePoint(-1, SOURCE_CONSTANT, -1, 1.0, 1.0),
              makePoint(0, SOURCE_POLLUTANT, 2, 1.0, 1.0), makePoint(0, SOURCE_POLLUTANT, -1, 1.0, 1.0)};
    for (const ConverterPoint& point : points) {
        EXPECT_FALSE(converter_isInfluentPoint(testModel(), point));
    }
    apply(1.0, 1.0, 1.0);
    for (const double constituent : constituents) {
        EXPECT_EQ(constituent, 0.0);
    }
    EXPECT_TRUE(converter_isEffluentPoint(testModel(), makePoint(1, SOURCE_POLLUTANT, 18, 0.0, 1.0)));
    EXPECT_FALSE(converter_isEffluentPoint(testModel(), makePoint(2, SOURCE_POLLUTANT, 18, 0.0, 1.0)));
    EXPECT_FALSE(converter_isEffluentPoint(testModel(), makePoint(-1, SOURCE_CONSTANT, -1, 0.0, 1.0)));
}
