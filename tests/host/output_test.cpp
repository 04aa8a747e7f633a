// Standard output that can't be written, and files that the program puts in place of others.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "aside.h"
#include "host/resultsfixture.h"
#include "host/resultsimage.h"
#include "host/smalldisk.h"

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

namespace fs = std::filesystem;

namespace {

/// All that prints something on standard output.
std::vector<std::vector<std::string>> listPrinters(const std::string& model, const std::string& results) {
    return {{"--version"},
            {"--help"},
            {"run", "--help"},
            {"results", "--help"},
            {"run", model},
            {"run", model, "--json"},
            {"check", model},
            {"check", model, "--json"},
            {"explain"},
            {"explain", "W-unit-slope"},
            {"results", results},
            {"results", results, "--csv"},
            {"results", results, "--json"},
            {"results", results, "--table", "Junction"},
            {"results", results, "--object", "J1", "--csv"},
            {"results", results, "--summary"},
            {"results", results, "--summary", "--csv"},
            {"results", results, "--summary", "--json"}};
}

std::string join(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += word;
        text += ' ';
    }
    return text;
}

/// Runs the program with a pipe for standard output that nobody reads.
int runWithoutReader(const std::vector<std::string>& arguments, bool isSignalIgnored, const std::string& errors) {
    return process_fork([&] {
        int ends[2];
        if (pipe(ends) != 0) {
            return 99;
        }
        close(ends[0]);
        dup2(ends[1], STDOUT_FILENO);
        dup2(open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
        signal(SIGPIPE, isSignalIgnored ? SIG_IGN : SIG_DFL);
        std::vector<std::string> words = arguments;
        words.insert(words.begin(), TARNVELDE_PROGRAM);
        std::vector<char*> pointers;
        for (std::string& word : words) {
            pointers.push_back(word.data());
        }
        pointers.push_back(nullptr);
        execv(pointers[0], pointers.data());
        return 99;
    });
}

}  // namespace

/// Runs the program with a full disk behind standard output.
static ProcessResult runIntoFullDisk(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"sh", "-c", "exec \"$0\" \"$@\" > /dev/full", TARNVELDE_PROGRAM});
    return process_run(arguments);
}

// --- standard output -----------------------------------------------------------------------------------------------

TEST_F(Results, WhatGoesToAFullDiskEndsWithOneAndAMessage) {
    for (const std::vector<std::string>& arguments : listPrinters(model, binary)) {
        std::vector<std::string> command{"sh", "-c", "exec \"$@\" >/dev/full", "sh", TARNVELDE_PROGRAM};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const ProcessResult result = process_run(command);
        EXPECT_EQ(result.status, 1) << join(arguments);
        EXPECT_THAT(result.err, HasSubstr("tarnvelde: cannot write to standard output")) << join(arguments);
    }
    // What prints nothing has nothing to lose.
    EXPECT_EQ(
        process_run({"sh", "-c", "exec \"$@\" >/dev/full", "sh", TARNVELDE_PROGRAM, "run", model, "--quiet"}).status,
        0);
}

TEST(OutputOfManyRows, ThatGoesToAFullDiskEndsAtOnce) {
    TempFolder folder;
    // A long name, so that the first of many rows fills what the stream holds back.
    const std::string file = folder.write("a.bin", makeResults(44256.0, 900, 2000, std::string(9000, 'j')));
    for (const std::vector<std::string>& options : std::vector<std::vector<std::string>>{
             {}, {"--csv"}, {"--json"}, {"--column", "TotInflow"}, {"--summary"}, {"--summary", "--json"}}) {
        std::vector<std::string> arguments{"results", file};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ProcessResult result = runIntoFullDisk(arguments);
        EXPECT_EQ(result.status, 1) << join(options);
        EXPECT_THAT(result.err, testing::StartsWith("tarnvelde: cannot write to standard output")) << join(options);
    }
}

TEST(OutputOfErrors, ThatGoesToAFullDiskKeepsTheirStatus) {
    TempFolder folder;
    std::string many = BAD_PROJECT;
    for (int k = 0; k < 200; ++k) {
        many.append("X").append(std::to_string(k)).append(" J1 O1 NO 3OO 1 0.2 0\n");
    }
    for (const std::string& text : {std::string(BAD_PROJECT), many}) {
        const ProcessResult result = runIntoFullDisk({"check", folder.write("model.inp", text), "--json"});
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.err, HasSubstr("tarnvelde: cannot write to standard output"));
    }
}

TEST_F(Results, APipeWithoutAReaderEndsInSilence) {
    for (const std::vector<std::string>& arguments : listPrinters(model, binary)) {
        for (const bool isSignalIgnored : {false, true}) {
            const std::string errors = folder.file("errors");
            EXPECT_EQ(runWithoutReader(arguments, isSignalIgnored, errors), 141) << join(arguments) << isSignalIgnored;
            EXPECT_EQ(readFile(errors).find("standard output"), std::string::npos) << join(arguments);
        }
    }
}

// --- files written aside -------------------------------------------------------------------------------------------

TEST(Aside, WhatAKilledProgramLeftIsWrittenOver) {
    TempFolder folder;
    const std::string name = folder.write("a.svg", "old");
    folder.write("a.svg.part", "the beginning of something longer");
    EXPECT_EQ(aside_getName(name), name + ".part");
    EXPECT_EQ(aside_write(name, "new"), "");
    EXPECT_EQ(readFile(name), "new");
    EXPECT_THAT(folder.list(), ElementsAre("a.svg"));
}

TEST(Aside, WhatBelongsToOthersStaysAsItIs) {
    TempFolder folder;
    const std::string name = folder.write("a.svg", "old"), other = folder.write("other", "precious");
    const std::string part = name + ".part";
    const auto expectRefusal = [&](const char* reason) {
        EXPECT_THAT(aside_write(name, "new"), HasSubstr("a.svg.part is in the way")) << reason;
        EXPECT_EQ(readFile(name), "old") << reason;
        EXPECT_EQ(readFile(other), "precious") << reason;
        fs::remove(part);
    };
    fs::create_symlink("other", part);
    expectRefusal("a link");
    fs::create_hard_link(other, part);
    expectRefusal("a second name");
    ASSERT_EQ(mkfifo(part.c_str(), 0600), 0);
    expectRefusal("a pipe");
    fs::create_directory(part);
    expectRefusal("a folder");
    folder.write("a.svg.part", "half");
    const int held = open(part.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(held, LOCK_EX), 0);
    expectRefusal("a file that is being written");
    close(held);
    EXPECT_EQ(aside_write(name, "new"), "");
}

TEST(Aside, AFullDiskLeavesTheOldFileWhole) {
    const SmallDisk disk;
    if (!disk.isThere) {
        GTEST_SKIP() << "no file system may be mounted here";
    }
    const std::string name = disk.folder.write("a.svg", "old");
    EXPECT_THAT(aside_write(name, std::string(100000, 'x')), EndsWith("No space left on device"));
    EXPECT_EQ(readFile(name), "old");
    EXPECT_THAT(disk.folder.list(), ElementsAre("a.svg"));
    EXPECT_EQ(aside_write(name, std::string(20000, 'x')), "");
}

TEST(Aside, AFileThatGrowsTakesItsPlaceAtTheEnd) {
    const TempFolder folder;
    const std::string name = folder.write("a.csv", "old");
    {
        AsideFile file;
        ASSERT_EQ(aside_begin(file, name), "");
        EXPECT_EQ(aside_append(file, "first,"), "");
        EXPECT_EQ(readFile(name + ".part"), "first,");
        AsideFile other;
        EXPECT_THAT(aside_begin(other, name), HasSubstr("a.csv.part is in the way: another program is writing it"));
    }
    EXPECT_THAT(folder.list(), ElementsAre("a.csv")) << "what isn't ended goes";
    EXPECT_EQ(readFile(name), "old");
    AsideFile file;
    EXPECT_EQ(aside_begin(file, name), "");
    EXPECT_EQ(aside_append(file, "first,"), "");
    EXPECT_EQ(aside_append(file, "second"), "");
    EXPECT_EQ(aside_writeAt(file, 1, "I", 1), "");
    EXPECT_EQ(readFile(name), "old");
    EXPECT_EQ(aside_end(file), "");
    EXPECT_EQ(readFile(name), "fIrst,second");
    EXPECT_THAT(folder.list(), ElementsAre("a.csv"));
}

TEST(Aside, ANameOfAnyLengthHasRoomForTheEnding) {
    TempFolder folder;
    const std::string name = folder.file(std::string(251, 'a') + ".svg");
    EXPECT_EQ(aside_write(name, "new"), "");
    EXPECT_EQ(readFile(name), "new");
    EXPECT_EQ(countFiles(folder.path), 1u);
}

TEST_F(Results, APictureNeverTakesThePlaceOfItsResults) {
    const std::string whole = readFile(binary);
    const std::string named = folder.write("results.svg", whole);
    fs::create_symlink("results.svg", folder.path / "link.svg");
    fs::create_hard_link(named, folder.path / "second.svg");
    const std::string part = folder.write("x.svg.part", whole);
    const std::string dotted = (folder.path / "." / "results.svg").string();
    for (const auto& [file, output] : {std::pair{named, named},
                                       {named, dotted},
                                       {named, folder.file("link.svg")},
                                       {folder.file("link.svg"), named},
                                       {named, folder.file("second.svg")},
                                       {part, folder.file("x.svg")}}) {
        const ProcessResult result =
            runProgram({"plot", file, "--object", "J1", "--column", "TotInflow", "-o", output});
        EXPECT_EQ(result.status, 2) << file << ' ' << output;
        EXPECT_THAT(result.err, HasSubstr("the picture would take the place of the results"));
        EXPECT_EQ(readFile(named), whole);
        EXPECT_EQ(readFile(part), whole);
    }
}

TEST_F(Results, APictureOnAFullDiskIsToldAndTheOldOneStays) {
    const SmallDisk disk;
    if (!disk.isThere) {
        GTEST_SKIP() << "no file system may be mounted here";
    }
    disk.folder.write("filler", std::string(60000, 'x'));
    for (const char* name : {"a.svg", "a.png", "a.pdf"}) {
        const std::string picture = disk.folder.write(name, "old");
        const ProcessResult result =
            runProgram({"plot", binary, "--object", "J1", "--column", "TotInflow", "-o", picture});
        EXPECT_EQ(result.status, 1) << name;
        EXPECT_THAT(result.err, HasSubstr("No space left on device"));
        EXPECT_EQ(readFile(picture), "old");
        fs::remove(picture);
    }
    EXPECT_THAT(disk.folder.list(), ElementsAre("filler"));
}
