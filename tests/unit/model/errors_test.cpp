#include "model/errors.h"

#include <gtest/gtest.h>

#include <iterator>
#include <regex>
#include <string>

#include "model/reportfile.h"
#include "support/model.h"
#include "support/tempfolder.h"

struct ExpectedError {
    int32_t publicCode;
    const char* message;
};

/// The whole table once more, as those who read reports know it. The line feed and the two blanks in front of every
/// message are left out.
// clang-format off
static constexpr ExpectedError EXPECTED_ERRORS[] = {
    {0, ""},
    {101, "ERROR 101: memory allocation error."},
    {131, "ERROR 131: Object %s form cyclic loops in the drainage system."},
    {133, "ERROR 133: Node %s has more than one outlet link."},
    {135, "ERROR 135: cannot span enough nodes, it may be resulted from loop network."},
    {137, "ERROR 137: Node %s has no downstream link."},
    {139, "ERROR 139: Outfall %s has one outlet link."},
    {141, "ERROR 141: Pump %s must be an outlet link of tank."},
    {143, "ERROR 143: SWMM node %s has an invalid link or subcatchment."},
    {145, "ERROR 145: the link from Tank %s is not pump, weir or orifice."},
    {147, "ERROR 147: the overflow node of Tank %s can not be a SWMM node."},
    {149, "ERROR 149: the surpass or emptying node of Reactor %s can not be a SWMM node."},
    {151, "ERROR 151: the outflow link of SWMM node %s can not be a pump, weir or orifice."},
    {153, "ERROR 153: Weir or Orifice %s must be an outlet link of tank."},
    {155, "ERROR 155: the from node of Link %s is not a splitter."},
    {157, "ERROR 157: there must be 2 links connected to Splitter %s."},
    {159, "ERROR 159: time series for Rain Gage %s is also used by another object."},
    {161, "ERROR 161: Curve %s has invalid or out of sequence data."},
    {163, "ERROR 163: Time Series %s has its data out of sequence."},
    {171, "ERROR 171: simulation start date comes after ending date."},
    {173, "ERROR 173: reporting time step or duration is less than routing time step."},
    {175, "ERROR 175: simulation start date/time of system is inconsistent with that of swmm node %s."},
    {177, "ERROR 177: simulation end date/time of system is inconsistent with that of swmm node %s."},
    {179, "ERROR 179: runoff time step is less than routing time step."},
    {181, "ERROR181: mustkingum K value of Pipe %s is less than routing time step."},
    {183, "ERROR183: unit system of swmm node %s must be SI."},
    {200, "ERROR 200: one or more errors in input file."},
    {201, "ERROR 201: too many characters in input line "},
    {203, "ERROR 203: too few items "},
    {205, "ERROR 205: invalid keyword %s "},
    {207, "ERROR 207: duplicate ID name %s "},
    {209, "ERROR 209: undefined object %s "},
    {211, "ERROR 211: invalid number %s "},
    {213, "ERROR 213: invalid date/time %s "},
    {215, "ERROR 215: control rule clause invalid or out of sequence "},
    {217, "ERROR 217: invalid input line "},
    {219, "ERROR 219: mismatched control rule attribute "},
    {231, "ERROR 231: swmm input file for swmm node %s does not exist."},
    {233, "ERROR 233: cannot open swmm input file for swmm node %s."},
    {235, "ERROR 235: cannot get simulation start and end date/time from swmm project for swmm node %s."},
    {237, "ERROR 237: cannot find swmm node %s."},
    {239, "ERROR 239: cannot start swmm simulation for swmm node %s."},
    {241, "ERROR 241: Pollutant %s does not exist in swmm input file."},
    {243, "ERROR 243: swmm dll \"%s\" does not exist."},
    {245, "ERROR 245: duplicate swmm inp path for swmm node %s."},
    {247, "ERROR 247: temporary folder \"%s\" for swmm dll does not exist."},
    {249, "ERROR 249: cannot find swmm link %s."},
    {301, "ERROR 301: files share same names."},
    {303, "ERROR 303: cannot open input file."},
    {305, "ERROR 305: cannot open report file."},
    {307, "ERROR 307: cannot open binary results file."},
    {309, "ERROR 309: error writing to binary results file."},
    {311, "ERROR 311: error reading from binary results file."},
    {313, "ERROR 313: cannot open database file."},
    {315, "ERROR 315: Database SQL error: %s."},
    {361, "ERROR 361: could not open external file used for Time Series %s."},
    {363, "ERROR 363: invalid data in external file used for Time Series %s."},
    {400, "ERROR 400: project not open or last run not ended."},
    {500, "ERROR 500: startup depth not higher than shutoff depth for Pump %s."},
    {501, "ERROR 501: ambiguous outlet ID name for Subcatchment %s "},
    {503, "ERROR 503: muskingum N value of Pipe %s must be larger than zero."},
    {505, "ERROR 505: muskingum X value of Pipe %s must be in the range of 0.0 and 0.5."},
    {507, "ERROR 507: Pattern %s of dry weather inflow must be an hourly type."},
    {509, "ERROR 509: Pattern %s of reactor must be an monthly type."},
    {511, "ERROR 511: Curve of Pump %s must be a pump type."},
    {513, "ERROR 513: Curve of Tank %s must be a tank type."},
    {515, "ERROR 515: reacting type of Reactor %s must be a ZERO or FIRST type."},
    {517, "ERROR 517: maximum infiltration rate of Subcatchment %s must be larger than minimum infiltration rate."},
    {600, "ERROR 600: cannot get function address from swmm5 dll."},
    {601, "ERROR 601: cannot copy file."},
    {603, "ERROR 603: cannot delete file."},
    {700, "ERROR 700: no type specified for LID %s."},
    {701, "ERROR 701: missing layer for LID %s."},
    {703, "ERROR 703: invalid parameter value for LID %s."},
    {705, "ERROR 705: LID area exceeds total area for Subcatchment %s."},
    {707, "ERROR 707: LID capture area exceeds total area for Subcatchment %s."},
    {800, "ERROR 800: not FIRST decay type for object %s "},
    {900, "ERROR 900: inconsistent rainfall format for Rain Gage %s."},
    {910, "ERROR 910: Converter %s of VORN influent type has no enough constituent conversion point."},
    {911, "ERROR 911: Converter %s of VORN effluent type has no enough constituent conversion point."},
    {920, "ERROR 920: vorn dll \"%s\" does not exist."},
    {921, "ERROR 921: temporary folder \"%s\" for vorn dll does not exist."},
    {922, "ERROR 922: vorn input file for vorn node %s does not exist."},
    {923, "ERROR 923: duplicate vorn inp path for vorn node %s."},
    {924, "ERROR 924: cannot open vorn input file for vorn node %s."},
    {925, "ERROR 925: cannot get simulation start and end date/time from vorn project for vorn node %s."},
    {926, "ERROR 926: simulation start date/time of system is inconsistent with that of vorn node %s."},
    {927, "ERROR 927: simulation end date/time of system is inconsistent with that of vorn node %s."},
    {928, "ERROR 928: cannot find vorn influent %s."},
    {929, "ERROR 929: cannot find vorn effluent %s."},
    {930, "ERROR 930: the effluent link of VORN node %s can not be a pump, weir or orifice."},
    {931, "ERROR 931: the solution type of VORN node %s must be unsteady-state."},
    {932, "ERROR 932: cannot start vorn simulation for vorn node %s."},
};
// clang-format on

/// What `work` writes to an open report.
template <class Work>
static std::string catchReport(Work work) {
    const TempFolder folder;
    testModel().files.report = std::fopen(folder.file("r").c_str(), "wb");
    work();
    std::fclose(testModel().files.report);
    testModel().files.report = nullptr;
    return readFile(folder.file("r"));
}

TEST(Errors, PrintTheirPublicCode) {
    EXPECT_EQ(ERROR_COUNT, 93);
    const std::regex number("\n  ERROR ?([0-9]+): .*");
    for (int32_t k = 1; k < ERROR_COUNT; ++k) {
        std::string message = errors_getMessage(k);
        std::smatch match;
        ASSERT_TRUE(std::regex_match(message, match, number)) << k;
        EXPECT_EQ(std::stoi(match[1]), errors_getPublicCode(k));
    }
    EXPECT_STREQ(errors_getMessage(0), "");
    EXPECT_EQ(errors_getPublicCode(0), 0);
}

TEST(Errors, AreTheWholeTableToTheByte) {
    ASSERT_EQ(std::size(EXPECTED_ERRORS), static_cast<size_t>(ERROR_COUNT));
    for (int32_t k = 1; k < ERROR_COUNT; ++k) {
        EXPECT_EQ(errors_getPublicCode(k), EXPECTED_ERRORS[k].publicCode) << k;
        EXPECT_EQ(errors_getMessage(k), std::string("\n  ") + EXPECTED_ERRORS[k].message);
    }
}

TEST(Errors, StandAtTheirPlaces) {
    // The places that other programs know by number, from each end of the table and its middle.
    EXPECT_EQ(ERR_MEMORY, 1);
    EXPECT_EQ(ERR_INPUT, 26);
    EXPECT_EQ(ERR_DATABASE_SQL, 54);
    EXPECT_EQ(ERR_NOT_OPEN, 57);
    EXPECT_EQ(ERR_CONVERTER_INFLUENT, 78);
    EXPECT_EQ(ERR_VORN_START, 92);
    EXPECT_STREQ(errors_getMessage(24), "\n  ERROR181: mustkingum K value of Pipe %s is less than routing time step.");
}

TEST(Errors, AreEmptyOutsideTheTable) {
    for (const int32_t index : {-1, 93, INT32_MAX, INT32_MIN}) {
        EXPECT_STREQ(errors_getMessage(index), "");
        EXPECT_EQ(errors_getPublicCode(index), 0);
    }
}

TEST(WriteError, PutsABlankLineInFrontAndTakesTheTextAsItIs) {
    const std::string text = catchReport([] { errors_report(testModel(), ERR_PIPE_X, "a%s%n%d"); });
    EXPECT_EQ(text, "\n  \n  ERROR 505: muskingum X value of Pipe a%s%n%d must be in the range of 0.0 and 0.5.");
    EXPECT_EQ(testModel().error.code, ERR_PIPE_X);
    testModel().error.code = 0;
}

TEST(WriteError, PrintsTheEmptyTextForNone) {
    EXPECT_EQ(catchReport([] { errors_report(testModel(), ERR_PIPE_X, nullptr); }),
              "\n  \n  ERROR 505: muskingum X value of Pipe  must be in the range of 0.0 and 0.5.");
    testModel().error.code = 0;
}

TEST(WriteError, KeepsAnUnknownIndexAndWritesNoMessage) {
    EXPECT_EQ(catchReport([] { errors_report(testModel(), 93, "x"); }), "\n  ");
    EXPECT_EQ(testModel().error.code, 93);
    EXPECT_EQ(catchReport([] { errors_report(testModel(), -5, "x"); }), "\n  ");
    EXPECT_EQ(testModel().error.code, -5);
    testModel().error.code = 0;
}

TEST(WriteError, SetsTheErrorWithoutAReport) {
    testModel().files.report = nullptr;
    errors_report(testModel(), ERR_PIPE_N, "P");
    EXPECT_EQ(testModel().error.code, ERR_PIPE_N);
    errors_report(testModel(), ERR_PIPE_X, "P");
    EXPECT_EQ(testModel().error.code, ERR_PIPE_X);  // the later one
    testModel().error.code = 0;
}
