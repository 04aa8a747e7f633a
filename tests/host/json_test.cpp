// `--json`: one object on standard output, and what stands in it. Whether it is JSON is tested by a reader of JSON.

#include "json.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "jsontext.h"
#include "program.h"

using testing::HasSubstr;
using testing::Not;

TEST(HostJson, TellsOfARun) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    const ProcessResult result = runProgram({"run", model, "--json"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(isJson(result.out)) << result.out;
    for (const char* member :
         {"\"command\": \"run\"", "\"phase\": \"finished\"", "\"code\": 0", "\"status\": 0", "\"messages\": []",
          "\"start\": \"2024-01-01 00:00:00\"", "\"now\": \"2024-01-01 02:00:00\"", "\"end\": \"2024-01-01 02:00:00\"",
          "\"routingStep\": 60", "\"steps\": 120", "\"periods\": 24", "\"wallTime\": "}) {
        EXPECT_THAT(result.out, HasSubstr(member));
    }
    EXPECT_THAT(result.out, HasSubstr("\"project\": \"" + model + '"'));
    EXPECT_THAT(result.out, HasSubstr("\"report\": \"" + folder.file("model.rpt") + '"'));
    EXPECT_THAT(result.out, HasSubstr("\"results\": \"" + folder.file("model.bin") + '"'));
    EXPECT_THAT(result.out, Not(HasSubstr("stopped")));
}

TEST(HostJson, StandsAloneOnStandardOutput) {
    // The engine's first face prints the flows of orifices.
    TempFolder folder;
    std::filesystem::copy(std::filesystem::path(TARNVELDE_SOURCE_DIR) / "examples" / "storm-tank", folder.path);
    const ProcessResult result = runProgram({"run", folder.file("storm-tank.inp"), "--json"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(isJson(result.out));
}

TEST(HostJson, TellsTheContinuityErrors) {
    TempFolder folder;
    const std::string project = std::string(GOOD_PROJECT) + "J1 MASS TSS 0.002 \"\" 1\n[POLLUTANTS]\nTSS 0\nN\xE9 0\n";
    const ProcessResult result = runProgram({"run", folder.write("model.inp", project), "--json"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(isJson(result.out)) << result.out;
    EXPECT_THAT(result.out, HasSubstr("\"continuityErrors\": {"));
    EXPECT_THAT(result.out, HasSubstr("\"flow\": "));
    EXPECT_THAT(result.out, HasSubstr("\"quality\": {\"TSS\": "));
}

TEST(HostJson, WhereNothingCameInAnErrorIsNull) {
    TempFolder folder;
    const std::string project = std::string(GOOD_PROJECT) + "J1 MASS TSS 0.002 \"\" 1\n[POLLUTANTS]\nTSS 0\nZN 0\n";
    const ProcessResult result = runProgram({"run", folder.write("model.inp", project), "--json"});
    EXPECT_TRUE(isJson(result.out)) << result.out;
    EXPECT_THAT(result.out, HasSubstr("\"washoff\": {\"TSS\": null, \"ZN\": null}"));
    EXPECT_THAT(result.out, Not(HasSubstr("nan")));
    EXPECT_THAT(readFile(folder.file("model.rpt")), HasSubstr("nan")) << "the report is as it was";
}

TEST(HostJson, TellsOfARunThatStopped) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    const ProcessResult result = runProgram({"run", model, "--json", "--until", "2024/01/01 1:00"});
    EXPECT_TRUE(isJson(result.out)) << result.out;
    EXPECT_THAT(result.out, HasSubstr("\"phase\": \"started\""));
    EXPECT_THAT(result.out, HasSubstr("\"stopped\": \"until\""));
    EXPECT_THAT(result.out, HasSubstr("\"now\": \"2024-01-01 01:00:00\""));
    EXPECT_THAT(result.out, HasSubstr("\"steps\": 60,"));
}

TEST(HostJson, TellsOfErrorsWithTheirPlaces) {
    for (const char* command : {"run", "check"}) {
        TempFolder folder;
        const ProcessResult result = runProgram({command, folder.write("model.inp", BAD_PROJECT), "--json"});
        EXPECT_EQ(result.status, 1);
        EXPECT_TRUE(isJson(result.out)) << result.out;
        EXPECT_THAT(result.out, HasSubstr("\"phase\": \"failed\""));
        EXPECT_THAT(result.out, HasSubstr("\"code\": 200"));
        EXPECT_THAT(result.out, HasSubstr("\"status\": 1"));
        EXPECT_THAT(
            result.out,
            HasSubstr("{\"level\": \"error\", \"code\": 209, \"text\": \"undefined object NOWHERE\", \"section\": "
                      "\"[PIPES]\", \"line\": 6, \"words\": \"P1 J1 NOWHERE NO 300 1 0.2 0\", \"column\": 7, "
                      "\"length\": 7, \"object\": "
                      "\"NOWHERE\""));
        EXPECT_EQ(result.out.find("\"advice\": \"Check the spelling") != std::string::npos,
                  std::string(command) == "check");
        EXPECT_THAT(result.err, HasSubstr("ERROR 209: "));
    }
}

TEST(HostJson, TellsOfAGoodProject) {
    TempFolder folder;
    const ProcessResult result = runProgram({"check", folder.write("model.inp", GOOD_PROJECT), "--json"});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(isJson(result.out)) << result.out;
    EXPECT_THAT(result.out, HasSubstr("\"phase\": \"open\""));
    EXPECT_THAT(result.out, Not(HasSubstr("steps")));
}

TEST(HostJson, TellsOfAMissingProject) {
    TempFolder folder;
    const ProcessResult result = runProgram({"run", folder.file("nothing.inp"), "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(isJson(result.out)) << result.out;
    EXPECT_THAT(result.out, HasSubstr("\"phase\": \"closed\""));
    EXPECT_THAT(result.out, HasSubstr("\"code\": 303"));
    EXPECT_THAT(result.out, HasSubstr("cannot open the project file " + folder.file("nothing.inp")));
}

TEST(HostJson, AnyByteOfANameBecomesValidText) {
    TempFolder folder;
    const std::string model = folder.write("m\xFFo\"d\\e\nl\xC3\xBC.inp", "[PIPES]\nP\xE9\x01 \xF0\x9F\x92\xA7 J1\n");
    const ProcessResult result = runProgram({"check", model, "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(isJson(result.out)) << result.out;
    EXPECT_THAT(result.out, HasSubstr("m\xEF\xBF\xBDo\\\"d\\\\e\\u000al\xC3\xBC.inp"));
    EXPECT_THAT(result.out, HasSubstr("P\xEF\xBF\xBD\\u0001 \xF0\x9F\x92\xA7 J1"));
}

TEST(HostJson, WhatIsNoUtf8IsReplaced) {
    const std::string mark = "\xEF\xBF\xBD";
    EXPECT_EQ(json_quote(""), "\"\"");
    EXPECT_EQ(json_quote("a\"\\\t\x7F"), "\"a\\\"\\\\\\u0009\\u007f\"");
    EXPECT_EQ(json_quote("\xE2\x82\xAC \xED\x9F\xBF \xF4\x8F\xBF\xBF"),
              "\"\xE2\x82\xAC \xED\x9F\xBF \xF4\x8F\xBF\xBF\"");
    EXPECT_EQ(json_quote("\xC0\xAF"), '"' + mark + mark + '"') << "overlong";
    EXPECT_EQ(json_quote("\xE0\x80\xAF"), '"' + mark + mark + mark + '"') << "overlong";
    EXPECT_EQ(json_quote("\xED\xA0\x80"), '"' + mark + mark + mark + '"') << "a surrogate";
    EXPECT_EQ(json_quote("\xF4\x90\x80\x80"), '"' + mark + mark + mark + mark + '"') << "above the last character";
    EXPECT_EQ(json_quote("\xE2\x82"), '"' + mark + mark + '"') << "cut short";
    EXPECT_EQ(json_quote("\xC3x"), '"' + mark + "x\"");
    EXPECT_EQ(json_quote(std::string("a\0b", 3)), "\"a\\u0000b\"");
}

TEST(HostJson, NumbersReadBackAsTheyWere) {
    EXPECT_EQ(json_formatNumber(0.1), "0.1");
    EXPECT_EQ(json_formatNumber(60.0), "60");
    EXPECT_EQ(json_formatNumber(std::nan("")), "null");
    EXPECT_EQ(json_formatNumber(std::numeric_limits<double>::infinity()), "null");
}
