// Coordinates of a project: what the reader of [MAP] takes, what it tells, and that it sees lines, headers and IDs as
// the engine does.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "mapfile.h"
#include "support/tempfolder.h"
#include "tarnvelde_model.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// Two nodes, a link and a subcatchment, in sixteen lines.
constexpr const char* TOWN =
    "[GENERAL]\nSTART_DATE 2024/01/01\nEND_DATE 2024/01/01\nEND_TIME 1:00\n"
    "[JUNCTIONS]\nN1\n[OUTFALLS]\nOut\n[PIPES]\nP1 N1 Out NO 300 1 0.2 0\n"
    "[RAINGAGES]\nG INTENSITY 1:00 R\n[TIMESERIES]\nR 2024/01/01 0:00 0 1:00 0\n"
    "[SUBCATCHS]\nS1 G N1 1 100 50 2 0.01 0.1 1 3 50 6 4 5 30\n";

ProjectMap readText(const std::string& text) {
    const TempFolder folder;
    return map_read(folder.write("town.inp", text));
}

ProjectMap readMap(const std::string& lines) {
    return readText(TOWN + std::string("[MAP]\n") + lines);
}

/// Shapes as text: ID, line, points.
std::vector<std::string> show(const std::vector<MapShape>& shapes) {
    std::vector<std::string> texts;
    for (const MapShape& shape : shapes) {
        std::string text = shape.id + "@" + std::to_string(shape.line);
        for (const MapPoint& point : shape.points) {
            text += " " + std::to_string(point.x).substr(0, 6) + "," + std::to_string(point.y).substr(0, 6);
        }
        texts.push_back(text);
    }
    return texts;
}

/// IDs of a class as the engine has them.
std::vector<std::string> listIds(const tv_model* model, int32_t objectClass) {
    std::vector<std::string> ids;
    int32_t count = 0;
    EXPECT_EQ(tv_getCount(model, objectClass, &count), TV_OK);
    for (int32_t k = 0; k < count; ++k) {
        const char* id = nullptr;
        EXPECT_EQ(tv_getId(model, objectClass, k, &id), TV_OK);
        ids.emplace_back(id);
    }
    return ids;
}

std::vector<std::string> listIds(const std::vector<MapShape>& shapes) {
    std::vector<std::string> ids;
    for (const MapShape& shape : shapes) {
        ids.push_back(shape.id);
    }
    return ids;
}

}  // namespace

TEST(MapFile, TakesEachKindOfLine) {
    const ProjectMap map = readMap(
        "CRS EPSG:25832\n;; what ID x y\n// nothing\n\nNODE N1 3455.25 -5\nnode OUT 1e2 +0.5 // behind it\n"
        "LINK \"p1\" 10 11 12 13\nSUBCATCHMENT S1 1 2 3 4 5 6\n");
    EXPECT_THAT(map.messages, IsEmpty());
    EXPECT_EQ(map.crs, "EPSG:25832");
    EXPECT_THAT(show(map.nodes), ElementsAre("N1@22 3455.2,-5.000", "Out@23 100.00,0.5000"));
    EXPECT_THAT(show(map.links), ElementsAre("P1@24 10.000,11.000 12.000,13.000"));
    EXPECT_THAT(show(map.areas), ElementsAre("S1@25 1.0000,2.0000 3.0000,4.0000 5.0000,6.0000"));
    EXPECT_EQ(map.nodes[0].points[0].x, 3455.25);
}

TEST(MapFile, TheCentreOfAnAreaIsOnePoint) {
    const ProjectMap map = readMap("SUBCATCHMENT S1 7 8\n");
    EXPECT_THAT(map.messages, IsEmpty());
    EXPECT_THAT(show(map.areas), ElementsAre("S1@18 7.0000,8.0000"));
}

TEST(MapFile, AnOutlineThatIsClosedIsOneThatIsNot) {
    EXPECT_THAT(show(readMap("SUBCATCHMENT S1 1 2 3 4 5 6 1 2\n").areas),
                ElementsAre("S1@18 1.0000,2.0000 3.0000,4.0000 5.0000,6.0000"));
    EXPECT_THAT(readMap("SUBCATCHMENT S1 1 2 3 4 1 2\n").messages,
                ElementsAre("line 18 of [MAP]: SUBCATCHMENT S1: an outline has three points or more, a centre is one"));
}

TEST(MapFile, TellsWhatIsWrongAndKeepsTheRest) {
    const ProjectMap map = readMap(
        "PLACE N1 1 2\nCRS\nNODE\nNODE N9 1 2\nNODE P1 1 2\nNODE N1 1,5 2\nNODE N1 0x10 2\nNODE N1 nan 2\nNODE N1 1\n"
        "NODE N1\nNODE N1 1 2 3 4\nNODE N1 1 2\nNODE n1 3 4\nLINK P1\nLINK P1 1 2 3\nSUBCATCHMENT S1 1 2 3 4\n"
        "place N1 1 2\nCRS A\nCRS B\nNODE OUT 1e999 2\nNODE Out 3 4\nNODE N1 \"\" 2\n");
    EXPECT_THAT(
        map.messages,
        ElementsAre("line 18 of [MAP]: unknown word PLACE; its lines are skipped",
                    "line 19 of [MAP]: CRS without its name, as EPSG:25832", "line 20 of [MAP]: NODE without its ID",
                    "line 21 of [MAP]: NODE N9: the project has no node of this ID",
                    "line 22 of [MAP]: NODE P1: the project has no node of this ID",
                    "line 23 of [MAP]: NODE N1: no number: 1,5", "line 24 of [MAP]: NODE N1: no number: 0x10",
                    "line 25 of [MAP]: NODE N1: no number: nan", "line 26 of [MAP]: NODE N1: an x without its y",
                    "line 27 of [MAP]: NODE N1: a node is at one point, x and y",
                    "line 28 of [MAP]: NODE N1: a node is at one point, x and y",
                    "line 30 of [MAP]: NODE n1: it has a place already",
                    "line 31 of [MAP]: LINK P1: no point between the ends of the link",
                    "line 32 of [MAP]: LINK P1: an x without its y",
                    "line 33 of [MAP]: SUBCATCHMENT S1: an outline has three points or more, a centre is one",
                    "line 36 of [MAP]: CRS B: there is one already, A", "line 37 of [MAP]: NODE OUT: no number: 1e999",
                    "line 39 of [MAP]: NODE N1: it has a place already"));
    EXPECT_THAT(show(map.nodes), ElementsAre("N1@29 1.0000,2.0000", "Out@38 3.0000,4.0000"));
    EXPECT_THAT(map.links, IsEmpty());
    EXPECT_THAT(map.areas, IsEmpty());
}

TEST(MapFile, MessagesHaveAnEnd) {
    std::string lines;
    for (int k = 0; k < 103; ++k) {
        lines += "NODE X 1 2\n";
    }
    const ProjectMap map = readMap(lines + "NODE N1 1 2\n");
    ASSERT_THAT(map.messages, SizeIs(101));
    EXPECT_EQ(map.messages.back(), "and 3 more of [MAP]");
    EXPECT_THAT(map.nodes, SizeIs(1));
}

TEST(MapFile, MessagesHideNothing) {
    EXPECT_THAT(readMap("NODE \x1B[2J 1 2\n").messages,
                ElementsAre("line 18 of [MAP]: NODE ?[2J: the project has no node of this ID"));
}

TEST(MapFile, AFileThatCantBeReadIsAMessage) {
    const TempFolder folder;
    EXPECT_THAT(map_read(folder.file("none.inp")).messages, ElementsAre("cannot read " + folder.file("none.inp")));
    EXPECT_THAT(map_read(folder.path.string()).messages, ElementsAre("cannot read " + folder.path.string()));
    EXPECT_THAT(map_read("").messages, ElementsAre("cannot read "));
    EXPECT_THAT(readText("").messages, IsEmpty());
}

// An outline of 200 points has 402 words and some 2400 bytes, beyond the 40 words and 1023 bytes of other sections.
TEST(MapFile, AnOutlineMayBeLong) {
    std::string line = "SUBCATCHMENT S1";
    for (int k = 0; k < 200; ++k) {
        line += " " + std::to_string(1000 + k) + ".5 7";
    }
    const ProjectMap map = readMap(line + "\nNODE N1 1 2\n");
    EXPECT_THAT(map.messages, IsEmpty());
    ASSERT_THAT(map.areas, SizeIs(1));
    ASSERT_THAT(map.areas[0].points, SizeIs(200));
    for (size_t k = 0; k < 200; ++k) {
        ASSERT_EQ(map.areas[0].points[k].x, 1000.5 + static_cast<double>(k));
    }
    ASSERT_THAT(map.nodes, SizeIs(1));
    EXPECT_EQ(map.nodes[0].line, 20) << "1616 bytes are two lines to the engine";
}

// 15 + 200 * 9 bytes and a line feed are 1816, two pieces of 1023 at most; the engine counts in such pieces.
TEST(MapFile, LinesAreCountedAsTheEngineCounts) {
    const TempFolder folder;
    std::string line = "SUBCATCHMENT S1";
    for (int k = 0; k < 200; ++k) {
        line += " 1000.5 7";
    }
    const std::string file = folder.write("town.inp", TOWN + ("[MAP]\n" + line + "\nNODE N1 x 2\n[NOWHERE]\n"));
    const ProjectMap map = map_read(file);
    EXPECT_THAT(map.messages, ElementsAre("line 20 of [MAP]: NODE N1: no number: x"));
    tv_model* model = nullptr;
    ASSERT_EQ(tv_create(&model), TV_OK);
    EXPECT_EQ(tv_open(model, file.c_str(), folder.file("r").c_str()), 200);
    tv_message message{};
    ASSERT_EQ(tv_getMessage(model, 0, &message), TV_OK);
    EXPECT_EQ(message.line, 21) << "the header below it";
    tv_free(model);
}

// Each odd form here is one that the engine takes: it opens the project, and its IDs are the reader's.
TEST(MapFile, SeesObjectsAsTheEngineDoes) {
    const std::string text =
        "[GENERAL]\nSTART_DATE 2024/01/01\nEND_DATE 2024/01/01\nEND_TIME 1:00\r\n"
        "  [junctions] behind it\n/ a comment\n\tN1\rrest // more\n//N2\n;N3\na\"b\nN\xE4\n\xC3\xB6\n" +
        std::string("NUL\0hidden\n", 11) +
        "[PIPES]\nP1 N1 O1 NO 300 1 0.2 0\nP2 ;N3 o1 NO 300 1 0.2 0\n"
        "P3 a\"b O1 NO 300 1 0.2 0\nP4 N\xE4 O1 NO 300 1 0.2 0\nP5 \xC3\xB6 O1 NO 300 1 0.2 0\n"
        "P6 NUL O1 NO 300 1 0.2 0\n[OUTFALLS]\nO1\nINFLOW\n[JUNCTIONS]\n" +
        std::string(1023, ' ') +
        "Far\n"
        "[PIPES]\nP7 FAR O1 NO 300 1 0.2 0\n[INFLOWS]\n\"[MAP]\"\n"
        "NODE N1 1 2\nNODE ;n3 1 2\nNODE A\"B 1 2\nNODE \"N\xE4\" 1 2\nNODE \xC3\xB6 1 2\nNODE nul 1 2\nNODE O1 1 2\n"
        "NODE inflow 1 2\nNODE FAR 1 2\nLINK P1 1 2\nLINK P2 1 2\nLINK P3 1 2\nLINK P4 1 2\nLINK P5 1 2\nLINK P6 1 2\n"
        "LINK P7 1 2\n[LEGEND]\nNODE N1 3 4\n\x1A\n[JUNCTIONS]\nN99\n[MAP]\nNODE N99 1 2\n";
    const TempFolder folder;
    const std::string file = folder.write("odd.inp", text);
    const ProjectMap map = map_read(file);
    EXPECT_THAT(map.messages, IsEmpty());
    tv_model* model = nullptr;
    ASSERT_EQ(tv_create(&model), TV_OK);
    ASSERT_EQ(tv_open(model, file.c_str(), folder.file("odd.rpt").c_str()), TV_OK) << readFile(folder.file("odd.rpt"));
    EXPECT_EQ(listIds(map.nodes), listIds(model, TV_NODE));
    EXPECT_EQ(listIds(map.links), listIds(model, TV_LINK));
    tv_free(model);
}

// Words that go on with a coupled node are no IDs; a header ends a line that is longer than the engine's.
TEST(MapFile, KnowsRecordsOfCoupledNodesAndHeadersInLongLines) {
    const ProjectMap map = readText(
        "[SWMM_INPS]\nSW a.inp NO\nINFLOW IN CR\nOutflow OUT CS\n[VORN_INPS]\nV p.sti NO\nINFLUENT I CS C\n"
        "[MAP]\nNODE SW 1 2\nNODE V 1 2\nNODE INFLOW 1 2\nNODE outflow 1 2\nNODE INFLUENT 1 2\n"
        "// " +
        std::string(1020, 'x') + "[JUNCTIONS]\nNODE V 3 4\nJ\n[MAP]\nNODE J 5 6\n");
    EXPECT_THAT(listIds(map.nodes), ElementsAre("SW", "V", "J"));
    EXPECT_THAT(map.messages, ElementsAre("line 11 of [MAP]: NODE INFLOW: the project has no node of this ID",
                                          "line 12 of [MAP]: NODE outflow: the project has no node of this ID",
                                          "line 13 of [MAP]: NODE INFLUENT: the project has no node of this ID"));
}

TEST(MapFile, TheExamplesHaveEachObjectOnTheMap) {
    for (const std::string name : {"storm-tank", "first-storm", "green-street"}) {
        const TempFolder folder;
        std::string file = TARNVELDE_SOURCE_DIR "/examples/";
        file.append(name).append("/").append(name).append(".inp");
        const ProjectMap map = map_read(file);
        EXPECT_THAT(map.messages, IsEmpty()) << name;
        EXPECT_NE(map.crs, "") << name;
        tv_model* model = nullptr;
        ASSERT_EQ(tv_create(&model), TV_OK);
        ASSERT_EQ(tv_open(model, file.c_str(), folder.file("r").c_str()), TV_OK);
        EXPECT_THAT(listIds(map.nodes), testing::UnorderedElementsAreArray(listIds(model, TV_NODE))) << name;
        EXPECT_THAT(listIds(map.areas), testing::UnorderedElementsAreArray(listIds(model, TV_SUBCATCHMENT))) << name;
        tv_free(model);
    }
}
