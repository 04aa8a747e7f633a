// Lines of [SWMM_INPS] and [VORN_INPS]: every message, and to which node a record goes.

#include <gtest/gtest.h>

#include "coupling/swmm.h"
#include "coupling/vorn.h"
#include "model/arena.h"
#include "support/engines.h"
#include "support/lineerrors.h"
#include "support/lines.h"
#include "support/model.h"

/// A junction with a connection C to node S, and a connection D from there to an outfall.
static const std::string Frame =
    "[JUNCTIONS]\nJ\n[OUTFALLS]\nOUT\n[CONNECTIONS]\nC J S NO 0\nD S OUT NO 0\n"
    "[CONVERTERS]\nCV VORN_INFLUENT\nCV COD CONSTANT 0 0\nCV NH4 CONSTANT 0 0\nCV NO3 CONSTANT 0 0\n"
    "CV TP CONSTANT 0 0\nCV TSS CONSTANT 0 0\nCV ALK CONSTANT 0 0\n";

/// The messages of a project with these sections, with the place of each.
static std::string readSections(const std::string& sections) {
    CoupledProject p(Frame + sections);
    p.model("m.inp", getPassingModel(4)).model("m.sti", getPassingPlant(4));
    p.open();
    tarnvelde_close();
    return p.getReport();
}

static void expectMessage(const std::string& sections, const std::string& message, const std::string& line) {
    const std::string report = readSections(sections);
    EXPECT_NE(report.find("\n  \n  " + message + "at line "), std::string::npos) << sections << report;
    EXPECT_NE(report.find(":\n  " + line + "\n"), std::string::npos) << sections << report;
}

static void expectGood(const std::string& sections) {
    EXPECT_EQ(readSections(sections), "") << sections;
}

TEST(SwmmLines, Good) {
    expectGood("[SWMM_INPS]\nS m.inp no further words\ninflow IN C x\nOutflow OUT D\n");
}

TEST(SwmmLines, Definitions) {
    expectMessage("[SWMM_INPS]\nS m.inp\n", "ERROR 203: too few items ", "S m.inp");
    expectMessage("[SWMM_INPS]\nS m.inp MAYBE\n", "ERROR 205: invalid keyword MAYBE ", "S m.inp MAYBE");
    // A name in quotes is registered with its first quote.
    expectMessage("[SWMM_INPS]\n\"T\" m.inp NO\nS m.inp NO\n", "ERROR 209: undefined object T ", "\"T\" m.inp NO");
}

TEST(SwmmLines, Records) {
    const std::string definition = "[SWMM_INPS]\nS m.inp NO\n";
    expectMessage(definition + "INFLOW IN\n", "ERROR 203: too few items ", "INFLOW IN");
    expectMessage(definition + "OUTFLOW OUT\n", "ERROR 203: too few items ", "OUTFLOW OUT");
    expectMessage(definition + "INFLOW IN X\n", "ERROR 209: undefined object X ", "INFLOW IN X");
    expectMessage(definition + "OUTFLOW OUT X\n", "ERROR 209: undefined object X ", "OUTFLOW OUT X");
}

TEST(SwmmLines, RecordsBeforeADefinition) {
    expectMessage("[SWMM_INPS]\nINFLOW\nS m.inp NO\n", "ERROR 217: invalid input line ", "INFLOW");
    expectMessage("[SWMM_INPS]\nOUTFLOW OUT D\nS m.inp NO\n", "ERROR 217: invalid input line ", "OUTFLOW OUT D");
}

TEST(SwmmLines, BehindAWrongDefinitionGoWithIt) {
    const std::string report = readSections("[SWMM_INPS]\nS m.inp\nINFLOW IN C\n");
    EXPECT_EQ(report.find("ERROR 217"), std::string::npos) << report;
}

TEST(SwmmLines, BehindADefinitionOfAKnownNodeGoToTheNodeBefore) {
    const std::string report = readSections("[SWMM_INPS]\nS m.inp NO\nJ m.inp NO\nOUTFLOW OUT D\n");
    EXPECT_NE(report.find("ERROR 207: duplicate ID name J "), std::string::npos) << report;
    EXPECT_EQ(report.find("ERROR 217"), std::string::npos) << report;
    const std::string first = readSections("[SWMM_INPS]\nJ m.inp NO\nOUTFLOW OUT D\nS m.inp NO\n");
    EXPECT_NE(first.find("ERROR 207: duplicate ID name J "), std::string::npos) << first;
    EXPECT_NE(first.find("ERROR 217: invalid input line "), std::string::npos) << first;  // no node was begun yet
}

TEST(SwmmLines, WithWordsHiddenByQuotesNeverLeaveTheTable) {
    // The first pass takes the quoted words for the names of two nodes, the second for records.
    readSections("[SWMM_INPS]\n\"INFLOW\" a b\n\"OUTFLOW\" a b\nS m.inp NO\n");
    // Here the first pass finds no definition at all, and the second finds one.
    const std::string report =
        readSections("[SWMM_INPS]\nS m.inp NO\n[GRAPH]\n\"[SWMM_INPS]\"\nT m.inp NO\nOUTFLOW OUT D\n");
    EXPECT_NE(report.find("ERROR 207: duplicate ID name T "), std::string::npos) << report;
}

TEST(SwmmLines, AreKept) {
    CoupledProject p(Frame + "[SWMM_INPS]\nS m.inp YES\nOUTFLOW OUT D\nINFLOW IN C\nOUTFLOW IN D\nINFLOW OUT C\n");
    p.model("m.inp", getPassingModel(4));
    ASSERT_EQ(p.open(), 0) << p.getReport();
    ASSERT_EQ(testModel().swmmNodes.size(), 1);
    const OutsideNode& outside = testModel().swmmNodes[0].outside;
    EXPECT_EQ(outside.saveResults, 1);
    const CoupledFlow* in = outside.inflows.head;
    EXPECT_STREQ(in->objectId, "IN");
    EXPECT_EQ(in->index, p.findLink("C"));
    EXPECT_STREQ(in->next->objectId, "OUT");
    EXPECT_EQ(in->next->next, nullptr);
    const CoupledFlow* out = outside.outflows.head;
    EXPECT_STREQ(out->objectId, "OUT");
    EXPECT_EQ(out->index, p.findLink("D"));
    EXPECT_STREQ(out->next->objectId, "IN");
}

/// Subcatchments A, C and B; their numbers are those of no link of their names.
static const std::string Land =
    "[RAINGAGES]\nG INTENSITY 1:00 T\n[TIMESERIES]\nT 2021/03/01 0:00 36\n[SUBCATCHS]\n"
    "A G J 1 100 50 1 0.015 0.1 1 2 50 5 4 3 0\nC G J 1 100 50 1 0.015 0.1 1 2 50 5 4 3 0\n"
    "B G J 1 100 50 1 0.015 0.1 1 2 50 5 4 3 0\n";

TEST(SwmmLines, InflowsComeFromLinksAndElseFromSubcatchments) {
    CoupledProject p(Frame + Land + "[SWMM_INPS]\nS m.inp NO\nINFLOW IN B\nINFLOW IN C\n");
    p.model("m.inp", getPassingModel(4));
    ASSERT_EQ(p.open(), 0) << p.getReport();
    const int32_t link = p.findLink("C");
    ASSERT_NE(p.findSubcatch("C"), link);
    const CoupledFlow* in = testModel().swmmNodes[0].outside.inflows.head;
    EXPECT_EQ(in->index, p.findSubcatch("B"));
    EXPECT_EQ(in->index, 2);
    EXPECT_EQ(in->next->index, link);
}

TEST(SwmmLines, OutflowsGoToLinksOnly) {
    expectMessage(Land + "[SWMM_INPS]\nS m.inp NO\nOUTFLOW OUT B\n", "ERROR 209: undefined object B ", "OUTFLOW OUT B");
}

TEST(VornLines, Good) {
    expectGood("[VORN_INPS]\nS m.sti Yes\nINFLUENT I C CV\neffluent E D CV more\n");
}

TEST(VornLines, Definitions) {
    expectMessage("[VORN_INPS]\nS m.sti\n", "ERROR 203: too few items ", "S m.sti");
    expectMessage("[VORN_INPS]\nS m.sti ON\n", "ERROR 205: invalid keyword ON ", "S m.sti ON");
    expectMessage("[VORN_INPS]\n\"S\" m.sti NO\n", "ERROR 209: undefined object S ", "\"S\" m.sti NO");
}

TEST(VornLines, Records) {
    const std::string definition = "[VORN_INPS]\nS m.sti NO\n";
    for (const std::string& word : {std::string("INFLUENT"), std::string("EFFLUENT")}) {
        expectMessage(definition + word + " I C\n", "ERROR 203: too few items ", word + " I C");
        expectMessage(definition + word + " I X Y\n", "ERROR 209: undefined object X ", word + " I X Y");
        expectMessage(definition + word + " I C Y\n", "ERROR 209: undefined object Y ", word + " I C Y");
        expectMessage("[VORN_INPS]\n" + word + "\nS m.sti NO\n", "ERROR 217: invalid input line ", word);
    }
}

TEST(VornLines, BehindAWrongDefinitionGoWithIt) {
    const std::string report = readSections("[VORN_INPS]\nS m.sti ON\nINFLUENT I C CV\n");
    EXPECT_EQ(report.find("ERROR 217"), std::string::npos) << report;
}

TEST(CoupledLines, OfBothKindsHaveRunningNodesOfTheirOwn) {
    const std::string report = readSections("[SWMM_INPS]\nS m.inp NO\n[VORN_INPS]\nINFLUENT I C CV\n");
    EXPECT_NE(report.find("ERROR 217: invalid input line "), std::string::npos) << report;
}

// --- memory --------------------------------------------------------------------------------------------------------

TEST(CoupledMemory, ThatIsMissingRefusesTheLine) {
    CoupledProject p(Frame + "[SWMM_INPS]\nS m.inp NO\n[VORN_INPS]\nV m.sti NO\n");
    p.model("m.inp", getPassingModel(4)).model("m.sti", getPassingPlant(4));
    ASSERT_EQ(p.open(), 0) << p.getReport();
    const auto readSwmm = [](const Tokens& tokens) {
        return swmm_readLine(testModel(), tokens, Records::findNode("S"), 0);
    };
    const auto readVorn = [](const Tokens& tokens) {
        return vorn_readLine(testModel(), tokens, Records::findNode("V"), 0);
    };
    for (int request = 1; request <= 2; ++request) {  // the record, and its text
        arena_failAfter(request);
        expectLineError("INFLOW IN C", readSwmm, ERR_MEMORY, "");
        arena_failAfter(request);
        expectLineError("EFFLUENT E D CV", readVorn, ERR_MEMORY, "");
    }
    arena_failAfter(1);
    expectLineError("S other.inp YES", readSwmm, ERR_MEMORY, "");
    arena_failAfter(1);
    expectLineError("V other.sti YES", readVorn, ERR_MEMORY, "");
    EXPECT_EQ(testModel().swmmNodes[0].outside.inflows.head, nullptr);
    EXPECT_EQ(testModel().vornNodes[0].outside.outflows.head, nullptr);
    EXPECT_EQ(testModel().swmmNodes[0].outside.saveResults, 0);
}

TEST(CoupledMemory, ThatIsMissingAtAnyPlaceIsToldAndLeavesNothing) {
    const std::string text =
        "[POLLUTANTS]\nA 0\n" + Frame +
        "CE VORN_EFFLUENT\nCE A CONSTANT 1 1\n[SWMM_INPS]\nS m.inp NO\nINFLOW IN C\nOUTFLOW OUT D\n"
        "[VORN_INPS]\nV m.sti NO\nINFLUENT I D CV\nEFFLUENT E C CE\n";
    for (int request = 1; request < 120; ++request) {
        for (const bool atStart : {false, true}) {
            CoupledProject p(text);
            p.model("m.inp", getPassingModel(4, "substances A\n")).model("m.sti", getPassingPlant(4));
            arena_failAfter(atStart ? 0 : request);
            int32_t code = p.open();
            arena_failAfter(atStart ? request : 0);
            code = code != 0 ? code : tarnvelde_start(0);
            arena_failAfter(0);
            EXPECT_TRUE(code == 0 || code == 101 || code == 200) << request << ": " << code;
            double elapsed;
            tarnvelde_step(&elapsed);
            tarnvelde_step(&elapsed);
            tarnvelde_end();
            tarnvelde_close();
            EXPECT_TRUE(p.getCopies().empty());
        }
    }
}

TEST(CoupledRecords, NeedANodeFirst) {
    expectRefused("[SWMM_INPS]", "INFLOW", "ERROR 217: invalid input line ");
    expectRefused("[SWMM_INPS]", "outflow a b", "ERROR 217: invalid input line ");
    expectRefused("[VORN_INPS]", "INFLUENT", "ERROR 217: invalid input line ");
    expectRefused("[VORN_INPS]", "EFFLUENT x", "ERROR 217: invalid input line ");
}

TEST(CoupledNodes, MayNotTakeTheNameOfAnotherNode) {
    expectRefused("[SWMM_INPS]", "A NO m.inp", "ERROR 207: duplicate ID name A ");
}
