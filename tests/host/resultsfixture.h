#pragma once
// A small model with results of both kinds.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "host/program.h"
#include "support/child.h"
#include "support/tempfolder.h"

/// Steps of a minute with a sample each; C1 delays 0.5 m3/s with 4 mg/L by two minutes.
inline constexpr const char* MODEL =
    "[GENERAL]\nSTART_DATE 2021/03/01\nEND_DATE 2021/03/01\nEND_TIME 0:04:30\nROUTING_STEP 0:01:00\n"
    "REPORT_STEP 0:01:00\nREPORT_AVERAGE NO\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO'1\n[CONNECTIONS]\nC1 J1 O'1 NO 120\n"
    "J1 J1 O'1 NO 0\n[POLLUTANTS]\nNH4-N 0\n[INFLOWS]\nJ1 FLOW FLOW 0.5 \"\" 1\nJ1 MASS NH4-N 0.002 \"\" 1\n";

template <class Number>
std::string getBytes(Number number) {
    std::string bytes(sizeof number, '\0');
    std::memcpy(bytes.data(), &number, sizeof number);
    return bytes;
}

inline constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();

/// The model without the second link, run into both kinds of file.
struct Results : testing::Test {
    TempFolder folder;
    std::string model, binary, database;

    void SetUp() override {
        std::string text = MODEL;
        text.erase(text.find("J1 J1 O'1"), std::string("J1 J1 O'1 NO 0\n").size());
        text.replace(text.find("O'1"), 3, "O_1");
        text.replace(text.find("O'1"), 3, "O_1");
        model = folder.write("model.inp", text);
        binary = folder.file("model.bin");
        database = folder.file("model.db");
        ASSERT_EQ(runProgram({"run", model, "--quiet"}).status, 0);
        ASSERT_EQ(runProgram({"run", model, "--quiet", "--database"}).status, 0);
    }

    /// Leaves the database as a program does that dies amid a transaction of more than it keeps in memory: with half
    /// of it in the file, and what it took the place of in the journal.
    void killTransaction() const {
        const ProcessResult result = process_run(
            {"sqlite3", database,
             "pragma cache_size=5; begin; delete from System; with recursive c(n) as (select 1 union all select n+1 "
             "from c where n < 50000) insert into System (Period) select n from c",
             ".shell kill -KILL $PPID"});
        ASSERT_EQ(result.status, 128 + SIGKILL) << result.err;
        ASSERT_TRUE(std::filesystem::exists(database + "-journal"));
    }

    /// Another run of the model, of ten years, into the same database. It dies when it has written some MB aside.
    void killDatabaseRun() const {
        std::string changed = readFile(model);
        changed.replace(changed.find("END_DATE 2021"), 13, "END_DATE 2031");
        folder.write("model.inp", changed);
        const std::string script =
            "\"$0\" run \"$1\" --database --quiet & run=$!\n"
            "while [ $(stat -c %s \"$2\" || echo 0) -le 4000000 ]; do kill -0 $run || exit 1; sleep 0.02; done\n"
            "kill -KILL $run\nwait $run\n";
        const ProcessResult result =
            process_run({"timeout", "60", "sh", "-c", script, TARNVELDE_PROGRAM, model, database + ".part"});
        ASSERT_EQ(result.status, 128 + SIGKILL) << result.err;
    }

    /// The binary file with `bytes` in place of those at `place`.
    std::string patch(size_t place, const std::string& bytes) const {
        std::string patched = readFile(binary);
        patched.replace(place, bytes.size(), bytes);
        return folder.write("patched.bin", patched);
    }

    /// Place of C1's outflow in the binary file. Each of the four records ahead of the closing block of 28 bytes is a
    /// date of 8 bytes and values of 4: 12 of the system, three each of J1, O_1 and C1, whose second one it is.
    size_t getOutflowPlace(size_t report) const {
        constexpr size_t RECORD = 8 + 4 * (12 + 3 * 3);
        return readFile(binary).size() - 28 - (4 - report) * RECORD + 8 + 4 * (12 + 3 + 3 + 1);
    }

    static void expectFailure(const std::vector<std::string>& arguments, const std::string& message) {
        const ProcessResult result = runProgram(arguments);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, testing::HasSubstr(message));
    }
};
