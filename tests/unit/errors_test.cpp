#include "engine/errors.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "support/tempfolder.h"

/// What `work` writes to an open report.
template <class Work>
static std::string catchReport(Work work) {
    const TempFolder folder;
    ReportFile = std::fopen(folder.file("r").c_str(), "wb");
    work();
    std::fclose(ReportFile);
    ReportFile = nullptr;
    return readFile(folder.file("r"));
}

TEST(Errors, PrintTheirPublicCode) {
    EXPECT_EQ(ERROR_COUNT, 93);
    const std::regex number("\n  ERROR ?([0-9]+): .*");
    for (int32_t k = 1; k < ERROR_COUNT; ++k) {
        std::string message = error_getMessage(k);
        std::smatch match;
        ASSERT_TRUE(std::regex_match(message, match, number)) << k;
        EXPECT_EQ(std::stoi(match[1]), error_getPublicCode(k));
    }
    EXPECT_STREQ(error_getMessage(0), "");
    EXPECT_EQ(error_getPublicCode(0), 0);
}

TEST(Errors, StandAtTheirPlaces) {
    // The places that other programs know by number, from each end of the table and its middle.
    EXPECT_EQ(ERR_MEMORY, 1);
    EXPECT_EQ(ERR_INPUT, 26);
    EXPECT_EQ(ERR_DATABASE_SQL, 54);
    EXPECT_EQ(ERR_NOT_OPEN, 57);
    EXPECT_EQ(ERR_CONVERTER_INFLUENT, 78);
    EXPECT_EQ(ERR_VORN_START, 92);
    EXPECT_STREQ(error_getMessage(24), "\n  ERROR181: mustkingum K value of Pipe %s is less than routing time step.");
}

TEST(Errors, AreEmptyOutsideTheTable) {
    for (const int32_t index : {-1, 93, INT32_MAX, INT32_MIN}) {
        EXPECT_STREQ(error_getMessage(index), "");
        EXPECT_EQ(error_getPublicCode(index), 0);
    }
}

TEST(WriteError, PutsABlankLineInFrontAndTakesTheTextAsItIs) {
    const std::string text = catchReport([] { report_writeError(ERR_PIPE_X, "a%s%n%d"); });
    EXPECT_EQ(text, "\n  \n  ERROR 505: muskingum X value of Pipe a%s%n%d must be in the range of 0.0 and 0.5.");
    EXPECT_EQ(ErrorCode, ERR_PIPE_X);
    ErrorCode = 0;
}

TEST(WriteError, PrintsTheEmptyTextForNone) {
    EXPECT_EQ(catchReport([] { report_writeError(ERR_PIPE_X, nullptr); }),
              "\n  \n  ERROR 505: muskingum X value of Pipe  must be in the range of 0.0 and 0.5.");
    ErrorCode = 0;
}

TEST(WriteError, KeepsAnUnknownIndexAndWritesNoMessage) {
    EXPECT_EQ(catchReport([] { report_writeError(93, "x"); }), "\n  ");
    EXPECT_EQ(ErrorCode, 93);
    EXPECT_EQ(catchReport([] { report_writeError(-5, "x"); }), "\n  ");
    EXPECT_EQ(ErrorCode, -5);
    ErrorCode = 0;
}

TEST(WriteError, SetsTheErrorWithoutAReport) {
    ReportFile = nullptr;
    report_writeError(ERR_PIPE_N, "P");
    EXPECT_EQ(ErrorCode, ERR_PIPE_N);
    report_writeError(ERR_PIPE_X, "P");
    EXPECT_EQ(ErrorCode, ERR_PIPE_X);  // the later one
    ErrorCode = 0;
}
