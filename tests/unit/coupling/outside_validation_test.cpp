// Checks of coupled nodes once all is read: paths, dates, units, objects, pollutants.

#include <gtest/gtest.h>

#include "coupling/swmm.h"
#include "coupling/vorn.h"
#include "model/project.h"
#include "support/engines.h"
#include "support/model.h"

namespace fs = std::filesystem;

using Strings = std::vector<std::string>;

/// An outfall, and a SWMM node A with a link to it.
static std::string makeSwmm(const std::string& path, const std::string& records = "") {
    return "[OUTFALLS]\nO\n[CONNECTIONS]\nC A O NO 0\n[SWMM_INPS]\nA " + path + " NO\n" + records;
}

static std::string makeVorn(const std::string& path, const std::string& records = "") {
    return "[OUTFALLS]\nO\n[CONNECTIONS]\nC P O NO 0\n[CONVERTERS]\nCE VORN_EFFLUENT\n[VORN_INPS]\nP " + path +
           " NO\n" + records;
}

/// The messages of a project whose models are those of m.inp and m.sti.
static Strings getErrors(const std::string& text, const std::string& model, int32_t code) {
    CoupledProject p(text);
    p.model("m.inp", model).model("m.sti", model);
    EXPECT_EQ(p.open(), code);
    return p.getErrors();
}

// --- paths ---------------------------------------------------------------------------------------------------------

TEST(ModelPath, IsTakenFromTheFolderOfTheProject) {
    CoupledProject p(makeSwmm("sub/city.inp"));
    fs::create_directory(p.path + "sub");
    p.model("sub/city.inp", getPassingModel(4));
    ASSERT_EQ(p.open(), 0) << p.getReport();
    EXPECT_EQ(testModel().swmmNodes[0].outside.inpFile, p.path + "sub/city.inp");
    EXPECT_EQ(testModel().swmmNodes[0].rptFile, p.path + "sub/city.rpt");
    EXPECT_EQ(testModel().swmmNodes[0].outFile, p.path + "sub/city.out");
    EXPECT_EQ(p.takeCalls("city swmm_open"),
              Strings{"city swmm_open \"sub/city.inp\" \"sub/city.rpt\" \"sub/city.out\" = 0"});
}

TEST(ModelPath, AsGivenComesFirst) {
    CoupledProject p(makeSwmm("here.inp"));
    p.model("here.inp", "period 1 0 2 0\n");  // has other dates than the one in the current folder
    const fs::path before = fs::current_path();
    TempFolder current;
    current.write("here.inp", getPassingModel(4));
    fs::current_path(current.path);
    EXPECT_EQ(p.open(), 0) << p.getReport();
    fs::current_path(before);
    EXPECT_STREQ(testModel().swmmNodes[0].outside.inpFile, "here.inp");
    EXPECT_STREQ(testModel().swmmNodes[0].rptFile, "here.rpt");
}

TEST(ModelPath, FromTheRootIsTriedBehindTheFolderOfTheProjectToo) {
    const std::string path = "/no-such-folder-at-the-root/m";
    CoupledProject p(makeSwmm(path + ".inp"));
    fs::create_directory(p.path + path.substr(0, path.rfind('/')));
    p.model(path.substr(1) + ".inp", getPassingModel(4));
    ASSERT_EQ(p.open(), 0) << p.getReport();
    EXPECT_EQ(testModel().swmmNodes[0].outside.inpFile, p.path + path + ".inp");
    CoupledProject q(makeVorn(path + ".sti"));
    fs::create_directory(q.path + path.substr(0, path.rfind('/')));
    q.model(path.substr(1) + ".sti", getPassingPlant(4));
    ASSERT_EQ(q.open(), 0) << q.getReport();
    EXPECT_EQ(testModel().vornNodes[0].outside.inpFile, q.path + path + ".sti");
}

TEST(ModelPath, LosesItsExtension) {
    CoupledProject p(makeSwmm("city.v2.txt"));
    p.model("city.v2.txt", "only there").model("city.v2.inp", getPassingModel(4));
    EXPECT_EQ(p.open(), 0) << p.getReport();
    CoupledProject q(makeVorn("plant"));
    q.model("plant", "only there").model("plant.sti", getPassingPlant(4));
    EXPECT_EQ(q.open(), 0) << q.getReport();
    EXPECT_EQ(testModel().vornNodes[0].outside.inpFile, q.path + "plant.sti");
}

TEST(ModelPath, OfAFolderPasses) {
    CoupledProject p(makeSwmm("city"));
    fs::create_directory(p.path + "city");
    p.model("city.inp", getPassingModel(4));
    EXPECT_EQ(p.open(), 0) << p.getReport();
}

TEST(ModelPath, MissingEndsTheChecksOfTheNode) {
    EXPECT_EQ(getErrors(makeSwmm("none.inp", "INFLOW NO C\n"), "", 231),
              Strings{"ERROR 231: swmm input file for swmm node A does not exist."});
    // A plant's is told by the same message.
    EXPECT_EQ(getErrors(makeVorn("none.sti", "EFFLUENT NO C CE\n"), "", 231),
              Strings{"ERROR 231: swmm input file for swmm node P does not exist."});
    EXPECT_EQ(getErrors(makeSwmm("/none.inp"), "", 231),
              Strings{"ERROR 231: swmm input file for swmm node A does not exist."});
}

TEST(ModelPath, ThatExistsWithAnotherExtensionOnlyIsTheEnginesAffair) {
    CoupledProject p(makeSwmm("city.txt"));
    p.model("city.txt", "");
    EXPECT_EQ(p.open(), 177);
    EXPECT_EQ(p.getErrors(),
              (Strings{"ERROR 233: cannot open swmm input file for swmm node A.",
                       "ERROR 175: simulation start date/time of system is inconsistent with that of swmm node A.",
                       "ERROR 177: simulation end date/time of system is inconsistent with that of swmm node A."}));
}

TEST(ModelPath, OfAnotherNodeEndsTheChecks) {
    CoupledProject p(makeSwmm("m.inp") + "B m.txt NO\nINFLOW NO C\nE ./m.inp NO\n");
    p.model("m.inp", getPassingModel(4)).model("m.txt", "");
    EXPECT_EQ(p.open(), 245);
    // "./m.inp" is another path, byte for byte.
    EXPECT_EQ(testModel().swmmNodes[2].outside.inpFile, p.path + "./m.inp");
    EXPECT_STREQ(testModel().swmmNodes[1].outside.inpFile, "m.txt");
    EXPECT_EQ(p.getErrors(), Strings{"ERROR 245: duplicate swmm inp path for swmm node B."});

    CoupledProject q(makeVorn("m.sti") + "Q m.sti NO\nINFLUENT NO C CE\n");
    q.model("m.sti", getPassingPlant(4));
    EXPECT_EQ(q.open(), 923);
    EXPECT_EQ(q.getErrors(), Strings{"ERROR 923: duplicate vorn inp path for vorn node Q."});
}

TEST(ModelPath, ARefusedNodeIsComparedByThePathOfItsLine) {
    // B is refused, and its line gives the very path that E ends up with.
    TempFolder models;
    models.write("x.inp", getPassingModel(4));
    models.write("m.inp", getPassingModel(4));
    const std::string x = models.file("x.inp"), m = models.file("m.inp");
    CoupledProject p(makeSwmm(m) + "B " + m + " NO\nE " + x + " NO\nF " + m + " NO\n");
    EXPECT_EQ(p.open(), 245);
    EXPECT_EQ(p.getErrors(), (Strings{"ERROR 245: duplicate swmm inp path for swmm node B.",
                                      "ERROR 245: duplicate swmm inp path for swmm node F."}));
}

// --- answers of the engine -----------------------------------------------------------------------------------------

TEST(SwmmValidation, EachAnswerIsTold) {
    EXPECT_EQ(getErrors(makeSwmm("m.inp"), getPassingModel(4), 0), Strings{});
    EXPECT_EQ(getErrors(makeSwmm("m.inp"), getPassingModel(4, "refuse swmm_open 7\n"), 233),
              Strings{"ERROR 233: cannot open swmm input file for swmm node A."});
    EXPECT_EQ(getErrors(makeSwmm("m.inp"), getPassingModel(4, "refuse swmm_getStartAndEndTime -2\n"), 177),
              (Strings{"ERROR 235: cannot get simulation start and end date/time from swmm project for swmm node A.",
                       "ERROR 175: simulation start date/time of system is inconsistent with that of swmm node A.",
                       "ERROR 177: simulation end date/time of system is inconsistent with that of swmm node A."}));
    EXPECT_EQ(getErrors(makeSwmm("m.inp"), getPassingModel(4, "units feet\n"), 183),
              Strings{"ERROR183: unit system of swmm node A must be SI."});
}

TEST(SwmmValidation, DatesMustBeTheSameToTheLastBit) {
    EXPECT_EQ(getErrors(makeSwmm("m.inp"), "period 44256 0.00001 44256 2700\n", 175),
              Strings{"ERROR 175: simulation start date/time of system is inconsistent with that of swmm node A."});
    EXPECT_EQ(getErrors(makeSwmm("m.inp"), "period 44256 0 44256 2700.00001\n", 177),
              Strings{"ERROR 177: simulation end date/time of system is inconsistent with that of swmm node A."});
}

TEST(SwmmValidation, ObjectsAndPollutants) {
    EXPECT_EQ(getErrors(makeSwmm("m.inp", "INFLOW X C\nOUTFLOW Y C\nOUTFLOW OUT C\nINFLOW IN C\n") +
                            "[POLLUTANTS]\nTSS 0\nCOD 0\n",
                        getPassingModel(4, "substances COD\n"), 241),
              (Strings{"ERROR 237: cannot find swmm node X.", "ERROR 237: cannot find swmm node Y.",
                       "ERROR 241: Pollutant TSS does not exist in swmm input file."}));
}

TEST(SwmmValidation, TellsTheObjectOfARecordBeforeItsLink) {
    EXPECT_EQ(getErrors("[TANKS]\nT TC 5 2\n[OUTFALLS]\nO\n[PUMPS]\nU T O PC NO ON 0 0\n"
                        "[CURVES]\nTC TANK 0 100 10 100\nPC PUMP1 100 1\n"
                        "[SWMM_INPS]\nA m.inp NO\nOUTFLOW none U\nOUTFLOW OUT U\nOUTFLOW gone U\n",
                        getPassingModel(4), 151),
              (Strings{"ERROR 237: cannot find swmm node none.",
                       "ERROR 151: the outflow link of SWMM node A can not be a pump, weir or orifice.",
                       "ERROR 151: the outflow link of SWMM node A can not be a pump, weir or orifice.",
                       "ERROR 237: cannot find swmm node gone.",
                       "ERROR 151: the outflow link of SWMM node A can not be a pump, weir or orifice."}));
}

TEST(SwmmValidation, IsDoneThoughTheNetworkIsWrong) {
    CoupledProject p(makeSwmm("m.inp") + "[JUNCTIONS]\nJ\n");
    p.model("m.inp", getPassingModel(4));
    p.open();
    tarnvelde_close();
    EXPECT_EQ(p.takeCalls(), (Strings{"m swmm_open \"m.inp\" \"m.rpt\" \"m.out\" = 0", "m swmm_getStartAndEndTime = 0",
                                      "m swmm_getUnitSystem = 1", "m swmm_close = 0"}));
}

TEST(SwmmValidation, AModelThatDidNotOpenIsClosedAllTheSame) {
    CoupledProject p(makeSwmm("m.inp"));
    p.model("m.inp", getPassingModel(4, "refuse swmm_open 7\n"));
    EXPECT_EQ(p.open(), 233);
    EXPECT_EQ(testModel().swmmNodes[0].outside.isOpen, 1);
    p.takeCalls();
    tarnvelde_close();
    EXPECT_EQ(p.takeCalls(), Strings{"m swmm_close = 0"});
}

TEST(SwmmValidation, TheCallsInTheirOrder) {
    CoupledProject p(makeSwmm("m.inp", "OUTFLOW OUT C\nINFLOW IN C\n") + "[POLLUTANTS]\nTSS 0\nCOD 0\n");
    p.model("m.inp", getPassingModel(4, "substances COD TSS\n"));
    ASSERT_EQ(p.open(), 0);
    EXPECT_EQ(p.takeCalls(),
              (Strings{"m swmm_open \"m.inp\" \"m.rpt\" \"m.out\" = 0", "m swmm_getStartAndEndTime = 0",
                       "m swmm_getUnitSystem = 1", "m swmm_isNode \"IN\" = 0", "m swmm_isNode \"OUT\" = 1",
                       "m swmm_isPollut \"TSS\" = 0 : 1", "m swmm_isPollut \"COD\" = 0 : 0"}));
}

TEST(VornValidation, EachAnswerIsTold) {
    EXPECT_EQ(getErrors(makeVorn("m.sti"), getPassingPlant(4), 0), Strings{});
    EXPECT_EQ(getErrors(makeVorn("m.sti"), getPassingPlant(4, "refuse vorn_open 7\n"), 924),
              Strings{"ERROR 924: cannot open vorn input file for vorn node P."});
    EXPECT_EQ(getErrors(makeVorn("m.sti"), getPassingPlant(4, "refuse vorn_getStartAndEndTime 1\n"), 927),
              (Strings{"ERROR 925: cannot get simulation start and end date/time from vorn project for vorn node P.",
                       "ERROR 926: simulation start date/time of system is inconsistent with that of vorn node P.",
                       "ERROR 927: simulation end date/time of system is inconsistent with that of vorn node P."}));
    EXPECT_EQ(getErrors(makeVorn("m.sti"), getPassingPlant(4, "solution steady\n"), 931),
              Strings{"ERROR 931: the solution type of VORN node P must be unsteady-state."});
}

TEST(VornValidation, UnitsMustBeOfTheirType) {
    EXPECT_EQ(getErrors(makeVorn("m.sti",
                                 "INFLUENT E C CE\nINFLUENT X C CE\nEFFLUENT I C CE\nEFFLUENT X C CE\n"
                                 "INFLUENT I C CE\nEFFLUENT E C CE\n"),
                        getPassingPlant(4), 929),
              (Strings{"ERROR 928: cannot find vorn influent E.", "ERROR 928: cannot find vorn influent X.",
                       "ERROR 929: cannot find vorn effluent I.", "ERROR 929: cannot find vorn effluent X."}));
}

TEST(VornValidation, TheCallsInTheirOrder) {
    CoupledProject p(makeVorn("m.sti", "EFFLUENT E C CE\nINFLUENT I C CE\n"));
    p.model("m.sti", getPassingPlant(4));
    ASSERT_EQ(p.open(), 0);
    tarnvelde_close();
    EXPECT_EQ(p.takeCalls(),
              (Strings{"m vorn_open \"m.sti\" = 0", "m vorn_getStartAndEndTime = 0", "m vorn_getSolutionType = 1",
                       "m vorn_getUnitType \"I\" = 0", "m vorn_getUnitType \"E\" = 1", "m vorn_close = 0"}));
}

TEST(VornValidation, APlantThatDidNotOpenIsClosedAllTheSame) {
    CoupledProject p(makeVorn("m.sti"));
    p.model("m.sti", getPassingPlant(4, "refuse vorn_open 7\n"));
    EXPECT_EQ(p.open(), 924);
    EXPECT_EQ(testModel().vornNodes[0].outside.isOpen, 1);
    p.takeCalls();
    tarnvelde_close();
    EXPECT_EQ(p.takeCalls(), Strings{"m vorn_close = 0"});
}

// --- links of the records ------------------------------------------------------------------------------------------

/// Gives the link of a loaded project another kind, and checks the node once more.
static Strings validateWithKind(CoupledProject& p, int32_t kind, void (*validate)(Model&, int32_t), const char* node) {
    testModel().links[0].kind = static_cast<int16_t>(kind);
    validate(testModel(), Records::findNode(node));
    testModel().links[0].kind = CONNECTION;
    return p.getErrors();
}

TEST(OutflowLinks, MayNotBePumpsWeirsOrOrifices) {
    for (const int32_t kind : {PUMP, WEIR, ORIFICE}) {
        CoupledProject p(makeSwmm("m.inp", "OUTFLOW OUT C\nINFLOW IN C\n"));
        p.model("m.inp", getPassingModel(4));
        ASSERT_EQ(p.open(), 0);
        EXPECT_EQ(validateWithKind(p, kind, swmm_validate, "A"),
                  Strings{"ERROR 151: the outflow link of SWMM node A can not be a pump, weir or orifice."});
        CoupledProject q(makeVorn("m.sti", "EFFLUENT E C CE\n"));
        q.model("m.sti", getPassingPlant(4));
        ASSERT_EQ(q.open(), 0);
        EXPECT_EQ(validateWithKind(q, kind, vorn_validate, "P"),
                  Strings{"ERROR 151: the outflow link of SWMM node P can not be a pump, weir or orifice."});
    }
}
