// What `tarnvelde results` can be asked for: several objects, whole tables, all of a file, and a part of the run.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/resultsfixture.h"

using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

/// One pipe of four reaches, and a connection, whose columns of the outflow are spelt in two ways.
constexpr const char* TWO_LINKS =
    "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME 0:04:30\nROUTING_STEP 0:01:00\n"
    "REPORT_STEP 0:01:00\nREPORT_AVERAGE NO\n[JUNCTIONS]\nJ1\nJ2\n[OUTFALLS]\nO1\n[PIPES]\nP1 J1 J2 NO 60 1 0.2 0\n"
    "[CONNECTIONS]\nC1 J2 O1 NO 0\n[INFLOWS]\nJ1 FLOW FLOW 0.5 \"\" 1\n";

std::vector<std::string> add(std::vector<std::string> arguments, const std::vector<std::string>& more) {
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

}  // namespace

TEST_F(Results, SeveralObjectsGoIntoOneListOfCsv) {
    for (const std::string& file : {binary, database}) {
        const ProcessResult result = runProgram(
            {"results", file, "--object", "O_1", "--object", "j1", "--object", "J1", "--column", "TOTINFLOW", "--csv"});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out,
                  "Date,Table,Object,Column,Value\n"
                  "2021-03-01 00:01:00,Junction,J1,TotInflow (m3/s),0.5\n"
                  "2021-03-01 00:02:00,Junction,J1,TotInflow (m3/s),0.5\n"
                  "2021-03-01 00:03:00,Junction,J1,TotInflow (m3/s),0.5\n"
                  "2021-03-01 00:04:00,Junction,J1,TotInflow (m3/s),0.5\n"
                  "2021-03-01 00:01:00,Outfall,O_1,TotInflow (m3/s),0\n"
                  "2021-03-01 00:02:00,Outfall,O_1,TotInflow (m3/s),0\n"
                  "2021-03-01 00:03:00,Outfall,O_1,TotInflow (m3/s),0.5\n"
                  "2021-03-01 00:04:00,Outfall,O_1,TotInflow (m3/s),0.5\n");
    }
}

TEST_F(Results, SeveralObjectsAreTablesOneBehindTheOther) {
    const ProcessResult result = runProgram({"results", binary, "--object", "J1", "--object", "C1", "--from",
                                             "2021/03/01 0:03", "--to", "2021/03/01 0:03", "--column", "NH4-N"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out,
              "Junction J1\nDate                        NH4-N (mg/L)\n2021-03-01 00:03:00                    4\n\n"
              "Connection C1\nDate                        NH4-N (mg/L)\n2021-03-01 00:03:00                    4\n");
}

TEST_F(Results, SeveralObjectsAreAnArrayInJson) {
    const ProcessResult result = runProgram({"results", binary, "--object", "J1", "--object", "O_1", "--column",
                                             "LatInflow", "--from", "2021-03-01T0:04", "--json"});
    EXPECT_EQ(
        result.out,
        "[{\"table\": \"Junction\", \"object\": \"J1\",\n \"dates\": [\"2021-03-01 00:04:00\"],\n \"columns\": [\n"
        "  {\"name\": \"LatInflow\", \"unit\": \"m3/s\", \"values\": [0.5]}\n ]},\n"
        "{\"table\": \"Outfall\", \"object\": \"O_1\",\n \"dates\": [\"2021-03-01 00:04:00\"],\n \"columns\": [\n"
        "  {\"name\": \"LatInflow\", \"unit\": \"m3/s\", \"values\": [0]}\n ]}]\n");
}

TEST_F(Results, SeveralColumnsStandInTheOrderInWhichTheyAreAskedFor) {
    const ProcessResult result = runProgram({"results", binary, "--object", "C1", "--column", "outflow", "--column",
                                             "inflow", "--column", "Outflow", "--csv"});
    EXPECT_THAT(result.out, StartsWith("Date,Outflow (m3/s),Inflow (m3/s)\n2021-03-01 00:01:00,0,0.5\n"));
}

TEST_F(Results, WithoutAnObjectCsvListsAllOfThem) {
    for (const std::string& file : {binary, database}) {
        const ProcessResult all = runProgram({"results", file, "--csv"});
        EXPECT_EQ(all.status, 0) << all.err;
        EXPECT_THAT(all.out, StartsWith("Date,Table,Object,Column,Value\n"
                                        "2021-03-01 00:01:00,System,System,Rainfall (mm/h),0\n"));
        EXPECT_THAT(all.out, HasSubstr("\n2021-03-01 00:03:00,Connection,C1,Outflow (m3/s),0.5\n"));
        // Four reports of 12 values of the system and three for each of the others.
        EXPECT_EQ(std::count(all.out.begin(), all.out.end(), '\n'), 1 + 4 * (12 + 3 * 3));
        const ProcessResult column = runProgram({"results", file, "--csv", "--column", "LatInflow"});
        EXPECT_EQ(std::count(column.out.begin(), column.out.end(), '\n'), 1 + 4 * 2);
        EXPECT_THAT(column.out, Not(HasSubstr("Connection")));
    }
}

TEST_F(Results, AllOfAFileAndWholeTablesAreJsonToo) {
    const ProcessResult all = runProgram({"results", binary, "--json"});
    EXPECT_THAT(all.out, StartsWith("[{\"table\": \"System\", \"object\": \"System\",\n"));
    EXPECT_THAT(all.out, HasSubstr("},\n{\"table\": \"Junction\""));
    EXPECT_THAT(all.out, EndsWith("]}\n ]}]\n"));
    const ProcessResult table = runProgram({"results", binary, "--table", "outfall", "--json"});
    EXPECT_THAT(table.out, StartsWith("[{\"table\": \"Outfall\", \"object\": \"O_1\",\n"));
    EXPECT_THAT(table.out, Not(HasSubstr("Junction")));
}

TEST_F(Results, ATableIsAllOfItsObjects) {
    for (const std::string& file : {binary, database}) {
        const ProcessResult result = runProgram(
            {"results", file, "--table", "JUNCTION", "--column", "LatInflow", "--csv", "--to", "2021/03/01 0:01"});
        EXPECT_EQ(result.out, "Date,Table,Object,Column,Value\n2021-03-01 00:01:00,Junction,J1,LatInflow (m3/s),0.5\n");
    }
    expectFailure({"results", binary, "--table", "Tank"},
                  "no table Tank in " + binary + "; there are System, Junction, Outfall, Connection");
    expectFailure({"results", binary, "--table", "Outfall", "--column", "Depth"},
                  "no column Depth in the table Outfall of ");
    expectFailure({"results", binary, "--column", "Depth", "--csv"}, "no column Depth in " + binary);
}

TEST_F(Results, AWindowHoldsBothOfItsEnds) {
    for (const std::string& file : {binary, database}) {
        const std::vector<std::string> series{"results", file, "--object", "C1", "--column", "Outflow", "--csv"};
        EXPECT_EQ(runProgram(add(series, {"--from", "2021/03/01 0:02", "--to", "2021/03/01 0:03:00"})).out,
                  "Date,Outflow (m3/s)\n2021-03-01 00:02:00,0\n2021-03-01 00:03:00,0.5\n");
        EXPECT_EQ(runProgram(add(series, {"--from", "2021/03/01 0:03:01"})).out,
                  "Date,Outflow (m3/s)\n2021-03-01 00:04:00,0.5\n");
        EXPECT_EQ(runProgram(add(series, {"--to", "2021/03/01 0:01:59"})).out,
                  "Date,Outflow (m3/s)\n2021-03-01 00:01:00,0\n");
        EXPECT_THAT(
            runProgram({"results", file, "--summary", "--csv", "--from", "2021/03/01 0:02", "--to", "2021/03/01 0:03"})
                .out,
            HasSubstr("\nConnection,C1,Outflow (m3/s),0,0.25,0.5,2021-03-01 00:03:00,\n"));
    }
}

TEST_F(Results, AWindowWithoutReportsSaysWhenThereAreSome) {
    for (const std::string& file : {binary, database}) {
        expectFailure({"results", file, "--summary", "--from", "2021/03/02"},
                      "lies in this time; its 4 reports go from 2021-03-01 00:01:00 to 2021-03-01 00:04:00");
        expectFailure({"results", file, "--object", "C1", "--to", "2021/03/01"}, "lies in this time; its 4 reports");
        expectFailure({"results", file, "--csv", "--from", "2021/03/01 0:02:01", "--to", "2021/03/01 0:02:59"},
                      "lies in this time");
    }
}

TEST_F(Results, TheOutflowOfAPipeIsFoundByBothOfItsNames) {
    folder.write("links.inp", TWO_LINKS);
    ASSERT_EQ(runProgram({"run", folder.file("links.inp"), "--quiet"}).status, 0);
    ASSERT_EQ(runProgram({"run", folder.file("links.inp"), "--quiet", "--database"}).status, 0);
    for (const std::string& file : {folder.file("links.bin"), folder.file("links.db")}) {
        for (const char* name : {"Outflow", "outfow", "OUTFLOW"}) {
            const ProcessResult pipe = runProgram({"results", file, "--object", "p1", "--column", name, "--csv"});
            EXPECT_THAT(pipe.out, StartsWith("Date,Outfow (m3/s)\n")) << name << pipe.err;
            const ProcessResult link = runProgram({"results", file, "--object", "C1", "--column", name, "--csv"});
            EXPECT_THAT(link.out, StartsWith("Date,Outflow (m3/s)\n")) << name << link.err;
        }
        const ProcessResult both = runProgram({"results", file, "--column", "Outflow", "--csv"});
        EXPECT_THAT(both.out, HasSubstr(",Pipe,P1,Outfow (m3/s),"));
        EXPECT_THAT(both.out, HasSubstr(",Connection,C1,Outflow (m3/s),"));
        EXPECT_THAT(both.out, HasSubstr(",System,System,Outflow (m3/s),"));
    }
}

TEST_F(Results, AFlowWeightedMeanIsLoadByVolume) {
    // The flow steps from 0.1 to 0.4 m3/s and the load from 1 to 1.6 g/s: 10 and 4 mg/L, two reports of each. Over time
    // the mean is 7 mg/L, that of the water (2 x 1 + 2 x 1.6) / (2 x 0.1 + 2 x 0.4) = 5.2 mg/L.
    std::string text = MODEL;
    text.erase(text.find("J1 J1 O'1"), std::string("J1 J1 O'1 NO 0\n").size());
    text.replace(text.find("C1 J1 O'1 NO 120"), 16, "C1 J1 O'1 NO 0");
    for (int k = 0; k < 2; ++k) {
        text.replace(text.find("O'1"), 3, "O_1");
    }
    text.replace(text.find("J1 FLOW FLOW 0.5 \"\" 1"), 21, "J1 FLOW FLOW 0 Q 1");
    text.replace(text.find("J1 MASS NH4-N 0.002 \"\" 1"), 24, "J1 MASS NH4-N 0 M 1");
    text +=
        "[TIMESERIES]\nQ 2021/02/28 0:00 0.1\nQ 2021/03/01 0:00 0.1 0:02:20 0.1 0:02:21 0.4 1:00 0.4\n"
        "M 2021/02/28 0:00 0.001\nM 2021/03/01 0:00 0.001 0:02:20 0.001 0:02:21 0.0016 1:00 0.0016\n";
    folder.write("load.inp", text);
    ASSERT_EQ(runProgram({"run", folder.file("load.inp"), "--quiet"}).status, 0);
    ASSERT_EQ(runProgram({"run", folder.file("load.inp"), "--quiet", "--database"}).status, 0);
    for (const std::string& file : {folder.file("load.bin"), folder.file("load.db")}) {
        const ProcessResult csv = runProgram({"results", file, "--summary", "--csv"});
        for (const char* row : {"Junction,J1,NH4", "Outfall,O_1,NH4", "Connection,C1,NH4"}) {
            EXPECT_THAT(csv.out, ContainsRegex(std::string(row) + "[-_]N \\(mg/L\\),4,7,10,2021-03-01 00:01:00,5.2\n"));
        }
        const ProcessResult json =
            runProgram({"results", file, "--summary", "--object", "C1", "--column", "nh4-n", "--json"});
        EXPECT_THAT(json.out, HasSubstr("\"unit\": \"mg/L\", \"minimum\": 4, \"meanOverTime\": 7, "
                                        "\"flowWeightedMean\": 5.2, \"maximum\": 10, \"timeOfMaximum\": "
                                        "\"2021-03-01 00:01:00\"}]\n"));
    }
}

TEST_F(Results, SummaryNamesItsMeans) {
    const ProcessResult result = runProgram({"results", binary, "--summary", "--object", "C1"});
    EXPECT_THAT(result.out, ContainsRegex("^ +Mean  Flow-weighted"));
    EXPECT_THAT(result.out, ContainsRegex("\nTable +Object +Column +Minimum +over time +mean +Maximum +Time of max"));
    EXPECT_THAT(result.out, Not(HasSubstr("Junction")));
    EXPECT_THAT(result.out, Not(HasSubstr("no flow-weighted mean")));
}

TEST_F(Results, SummaryTakesSeveralObjectsAndColumns) {
    const ProcessResult result = runProgram({"results", database, "--summary", "--csv", "--object", "C1", "--object",
                                             "J1", "--column", "nh4-n", "--column", "Outflow"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("no column Outflow of J1"));
    const ProcessResult both = runProgram(
        {"results", database, "--summary", "--csv", "--object", "C1", "--object", "J1", "--column", "nh4-n"});
    EXPECT_EQ(std::count(both.out.begin(), both.out.end(), '\n'), 3);
}

TEST_F(Results, WhereNoWaterCameTheSummarySaysSoInWords) {
    std::string dry = readFile(model);
    dry.replace(dry.find("J1 FLOW FLOW 0.5"), 16, "J1 FLOW FLOW 0.0");
    ASSERT_EQ(runProgram({"run", folder.write("dry.inp", dry), "--quiet"}).status, 0);
    const std::string file = folder.file("dry.bin");
    const ProcessResult table = runProgram({"results", file, "--summary", "--object", "C1"});
    EXPECT_THAT(table.out, ContainsRegex("NH4-N \\(mg/L\\) +0 +0 +- +0  2021"));
    EXPECT_THAT(table.out,
                EndsWith("\n-  no flow-weighted mean: no flow carries this concentration, or no water came\n"));
    EXPECT_THAT(runProgram({"results", file, "--summary", "--json"}).out, HasSubstr("\"flowWeightedMean\": null"));
    EXPECT_THAT(runProgram({"results", file, "--summary", "--csv"}).out,
                HasSubstr("Connection,C1,NH4-N (mg/L),0,0,0,2021-03-01 00:01:00,\n"));
}

TEST_F(Results, ATableShowsADashForWhatIsNoNumber) {
    const std::string file = patch(getOutflowPlace(2), getBytes(NOT_A_NUMBER));
    const ProcessResult result = runProgram({"results", file, "--object", "C1", "--column", "Outflow"});
    EXPECT_THAT(result.out, ContainsRegex("\n2021-03-01 00:03:00 +-\n"));
    EXPECT_THAT(result.out, EndsWith("\n\n-  no number, as where no step fell into a report period\n"));
    EXPECT_THAT(result.out, Not(HasSubstr("nan")));
}

TEST_F(Results, ASummaryOfNoNumbersIsNullInJson) {
    std::string patched = readFile(binary);
    for (size_t report = 0; report < 4; ++report) {
        patched.replace(getOutflowPlace(report), 4, getBytes(NOT_A_NUMBER));
    }
    const std::string file = folder.write("patched.bin", patched);
    EXPECT_THAT(runProgram({"results", file, "--summary", "--json", "--object", "C1", "--column", "Outflow"}).out,
                HasSubstr("\"minimum\": null, \"meanOverTime\": null, \"maximum\": null, \"timeOfMaximum\": null}"));
    EXPECT_THAT(runProgram({"results", file, "--summary"}).out, HasSubstr("\n\n-  no number in the whole column\n"));
}

TEST_F(Results, AFullDiskBehindStandardOutputIsTold) {
    const ProcessResult result =
        process_run({"sh", "-c", "exec \"$@\" >/dev/full", "sh", TARNVELDE_PROGRAM, "results", binary, "--json"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("cannot write to standard output"));
}
