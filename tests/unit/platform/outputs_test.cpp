// Files that the engine writes: in place, aside, and with others at the same file.

#include "platform/outputs.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/child.h"
#include "support/tempfolder.h"

namespace fs = std::filesystem;

namespace {

/// An output on its way.
struct Output {
    OutputPlace place;
    OutputFault fault = OUTPUT_FINE;
    std::FILE* file;

    Output(const std::string& name, bool isAside) : file(outputs_open(place, name, isAside, fault)) {}
    ~Output() { outputs_leave(place, file); }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
};

struct OutputFiles : testing::Test {
    TempFolder folder;
    std::string name = folder.file("result");
    std::string aside = name + FILE_IN_THE_MAKING;

    /// Writes `text` aside, and says how it ended.
    OutputFault make(const std::string& text) const { return outputs_writeWhole(name, text.data(), text.size()); }
};

}  // namespace

TEST_F(OutputFiles, AsideLeaveTheFileInPlaceUntilTheyAreComplete) {
    folder.write("result", "old");
    Output output(name, true);
    ASSERT_NE(output.file, nullptr);
    std::fputs("new", output.file);
    std::fflush(output.file);
    EXPECT_EQ(readFile(name), "old");
    EXPECT_EQ(readFile(aside), "new");
    EXPECT_EQ(outputs_finish(output.place, output.file), OUTPUT_FINE);
    EXPECT_EQ(readFile(name), "new");
    EXPECT_FALSE(fs::exists(aside));
}

TEST_F(OutputFiles, AsideThatAreDroppedLeaveNothing) {
    folder.write("result", "old");
    Output output(name, true);
    outputs_drop(output.place, output.file);
    EXPECT_EQ(readFile(name), "old");
    EXPECT_FALSE(fs::exists(aside));
}

TEST_F(OutputFiles, InPlaceKeepTheirBytesUntilTheyAreEmptied) {
    folder.write("result", "old");
    Output output(name, false);
    ASSERT_NE(output.file, nullptr);
    EXPECT_EQ(readFile(name), "old");
    EXPECT_TRUE(outputs_empty(output.place, output.file));
    EXPECT_EQ(readFile(name), "");
}

TEST_F(OutputFiles, AreWrittenByOneRunAtATime) {
    for (const bool isThere : {false, true}) {
        for (const bool isFirstAside : {false, true}) {
            for (const bool isSecondAside : {false, true}) {
                SCOPED_TRACE(testing::Message() << isThere << isFirstAside << isSecondAside);
                fs::remove(name);
                fs::remove(aside);
                if (isThere) {
                    folder.write("result", "old");
                }
                const Output first(name, isFirstAside);
                ASSERT_NE(first.file, nullptr);
                const Output second(name, isSecondAside);
                EXPECT_EQ(second.file, nullptr);
                EXPECT_EQ(second.fault, OUTPUT_IN_USE);
                EXPECT_EQ(process_fork([&] { return Output(name, isSecondAside).fault == OUTPUT_IN_USE ? 0 : 1; }), 0);
                EXPECT_EQ(fs::exists(name) ? readFile(name) : "", isThere ? "old" : "");
            }
        }
    }
}

TEST_F(OutputFiles, OfADeadRunAreFree) {
    const int status = process_fork([&] {
        OutputPlace place;
        OutputFault fault;
        std::FILE* file = outputs_open(place, name, true, fault);
        std::fputs("of a run that dies", file);
        std::fflush(file);
        _exit(0);
        return 1;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(readFile(aside), "of a run that dies");
    EXPECT_EQ(make("new"), OUTPUT_FINE);
    EXPECT_EQ(readFile(name), "new");
}

TEST_F(OutputFiles, ThatAnotherRunHasBegunToWriteInPlaceAreLeftToIt) {
    Output output(name, true);
    std::fputs("late", output.file);
    folder.write("result", "begun");
    const Output other(name, false);
    EXPECT_EQ(other.fault, OUTPUT_IN_USE);
    std::FILE* foreign = std::fopen(name.c_str(), "r+b");  // one that doesn't look aside
    ASSERT_NE(foreign, nullptr);
    ASSERT_EQ(flock(fileno(foreign), LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(outputs_finish(output.place, output.file), OUTPUT_IN_USE);
    std::fclose(foreign);
    EXPECT_EQ(readFile(name), "begun");
    EXPECT_EQ(readFile(aside), "late");
}

TEST_F(OutputFiles, BehindALinkLeaveTheLink) {
    folder.write("far", "old");
    fs::create_symlink("far", name);
    EXPECT_EQ(make("new"), OUTPUT_FINE);
    EXPECT_TRUE(fs::is_symlink(name));
    EXPECT_EQ(readFile(folder.file("far")), "new");
}

TEST_F(OutputFiles, AreMadeBehindALinkToNothing) {
    fs::create_symlink("far", name);
    EXPECT_EQ(make("new"), OUTPUT_FINE);
    EXPECT_TRUE(fs::is_symlink(name));
    EXPECT_EQ(readFile(folder.file("far")), "new");
}

TEST_F(OutputFiles, KeepWhoMayReadThem) {
    folder.write("result", "old");
    chmod(name.c_str(), 0640);
    EXPECT_EQ(make("new"), OUTPUT_FINE);
    struct stat status = {};
    ASSERT_EQ(stat(name.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640U);
}

TEST_F(OutputFiles, AreNoFoldersAndNoPipes) {
    fs::create_directory(name);
    EXPECT_EQ(make("new"), OUTPUT_NO_FILE);
    fs::remove(name);
    ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
    EXPECT_EQ(make("new"), OUTPUT_NO_FILE);
    fs::remove(name);
    fs::create_symlink(folder.file("trap"), aside);
    EXPECT_EQ(make("new"), OUTPUT_NO_ASIDE);
    EXPECT_FALSE(fs::exists(folder.file("trap")));
    EXPECT_EQ(Output("/dev/full", true).fault, OUTPUT_NO_FILE);
    EXPECT_EQ(Output("/dev/null", true).fault, OUTPUT_FINE);
}

TEST_F(OutputFiles, HaveNamesOfAnyLengthThatTheSystemTakes) {
    for (const size_t length : {size_t{250}, size_t{251}, size_t{255}}) {
        SCOPED_TRACE(length);
        name = folder.file(std::string(length, 'n'));
        EXPECT_EQ(make("old"), OUTPUT_FINE);
        EXPECT_EQ(make("new"), OUTPUT_FINE);
        EXPECT_EQ(readFile(name), "new");
        EXPECT_EQ(folder.list().size(), 1U);
        fs::remove(name);
    }
    name = folder.file(std::string(256, 'n'));
    EXPECT_EQ(make("new"), OUTPUT_NOT_OPEN);
    EXPECT_EQ(outputs_findObstacle(name), "File name too long");
    EXPECT_EQ(folder.list().size(), 0U);
}

TEST_F(OutputFiles, OfLongNamesThatBeginAlikeStandAsideApart) {
    const std::string front = folder.path.string() + '/' + std::string(250, 'n');
    const std::string report = outputs_nameAside(front + ".rpt"), results = outputs_nameAside(front + ".bin");
    EXPECT_NE(report, results);
    for (const std::string& path : {report, results}) {
        EXPECT_EQ(path.substr(0, path.rfind('~')), front.substr(0, path.rfind('~')));
        EXPECT_EQ(path.size() - path.rfind('/') - 1, 255U);
        EXPECT_EQ(path.substr(path.size() - 5), ".part");
    }
    EXPECT_EQ(outputs_nameAside(front), front + ".part");
    EXPECT_EQ(outputs_nameAside(front, 8).size(), front.size() + 5 - 8);
}

TEST_F(OutputFiles, OfLongNamesKeepWholeCharacters) {
    for (size_t shift = 0; shift < 3; ++shift) {
        std::string text(shift, 'n');
        while (text.size() + 3 <= 255) {
            text += "\xE2\x82\xAC";
        }
        const std::string path = outputs_nameAside(text);
        EXPECT_EQ((path.find('~') - shift) % 3, 0U);
        EXPECT_LE(path.size(), 255U);
        EXPECT_GT(path.size(), 252U);
    }
}

TEST_F(OutputFiles, TellWhatIsClosedToThem) {
    folder.write("there", "old");
    folder.write("closed", "old");
    folder.write("other", "old");
    folder.write("other.part", "old");
    fs::permissions(folder.file("there"), fs::perms(0666));
    fs::permissions(folder.file("other"), fs::perms(0666));
    fs::permissions(folder.file("closed"), fs::perms(0444));
    fs::permissions(folder.file("other.part"), fs::perms(0444));
    fs::permissions(folder.path, fs::perms(0555));
    const int status = process_fork([&] {
        if (!process_giveUpRights()) {
            return 77;
        }
        const auto expect = [&](const char* file, const std::string& words) {
            EXPECT_EQ(outputs_findObstacle(folder.file(file)), words) << file;
            const Output output(folder.file(file), true);
            EXPECT_EQ(output.file, nullptr) << file;
            EXPECT_EQ(outputs_describe(output.fault, output.place.reason), words) << file;
        };
        expect("new", "Permission denied in its folder");
        expect("there", "Permission denied in its folder");
        expect("closed", "Permission denied");
        expect("none/new", "No such file or directory");
        return testing::Test::HasFailure() ? 1 : 0;
    });
    fs::permissions(folder.path, fs::perms(0777));
    const int second = process_fork([&] {
        const bool isClosed = process_giveUpRights();
        EXPECT_EQ(outputs_findObstacle(folder.file("there")), "");
        EXPECT_EQ(outputs_findObstacle(folder.file("other")), "Permission denied for the .part file beside it");
        const Output output(folder.file("other"), true);
        EXPECT_EQ(outputs_describe(output.fault, output.place.reason),
                  "Permission denied for the .part file beside it");
        return !isClosed ? 77 : testing::Test::HasFailure() ? 1 : 0;
    });
    if (status == 77 || second == 77) {
        GTEST_SKIP() << "rights can't be given up here";
    }
    EXPECT_EQ(status, 0);
    EXPECT_EQ(second, 0);
}

TEST_F(OutputFiles, OfOthersInAFolderForAllAreNotReplaced) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root makes files of others";
    }
    folder.write("result", "old");
    fs::permissions(name, fs::perms(0666));
    fs::permissions(folder.path, fs::perms(01777));
    const int status = process_fork([&] {
        if (!process_giveUpRights()) {
            return 77;
        }
        EXPECT_EQ(outputs_findObstacle(name), "Operation not permitted");
        EXPECT_EQ(outputs_findObstacle(name, false), "");
        EXPECT_EQ(make("new"), OUTPUT_NOT_OPEN);
        EXPECT_EQ(outputs_findObstacle(folder.file("new")), "");
        return testing::Test::HasFailure() ? 1 : 0;
    });
    if (status == 77) {
        GTEST_SKIP() << "rights can't be given up here";
    }
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(fs::exists(aside));
    EXPECT_EQ(readFile(name), "old");
}

TEST_F(OutputFiles, ThatAreDroppedTakeNoPipeWithThem) {
    ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
    const int reader = open(name.c_str(), O_RDONLY | O_NONBLOCK);
    Output output(name, false);
    ASSERT_NE(output.file, nullptr);
    outputs_drop(output.place, output.file);
    EXPECT_TRUE(fs::exists(name));
    close(reader);
}

TEST_F(OutputFiles, InAMissingFolderCantBeOpened) {
    Output output(folder.file("no/result"), true);
    EXPECT_EQ(output.fault, OUTPUT_NOT_OPEN);
    EXPECT_EQ(outputs_describe(output.fault, output.place.reason), "No such file or directory");
}

TEST_F(OutputFiles, ThatFindNoRoomLeaveTheFileInPlace) {
    folder.write("result", "old");
    for (const size_t limit : {size_t{0}, size_t{1}, size_t{4095}, size_t{4096}, size_t{19999}}) {
        const int status = process_fork([&] {
            process_limitFileSize(limit);
            return make(std::string(20000, 'x')) == OUTPUT_NOT_WRITTEN ? 0 : 1;
        });
        EXPECT_EQ(status, 0) << limit;
        EXPECT_EQ(readFile(name), "old");
        EXPECT_FALSE(fs::exists(aside));
    }
}

TEST_F(OutputFiles, AreKnownUnderAllTheirNames) {
    folder.write("result", "old");
    fs::create_symlink("result", folder.file("link"));
    fs::create_hard_link(name, folder.file("twin"));
    fs::create_directory(folder.file("deep"));
    const FileIdentity file = outputs_identify(name);
    for (const char* other : {"link", "twin", "./result", "deep/../result"}) {
        EXPECT_TRUE(outputs_isSame(file, outputs_identify(folder.path.string() + '/' + other))) << other;
    }
    EXPECT_FALSE(outputs_isSame(file, outputs_identify(aside)));
    EXPECT_TRUE(outputs_isSame(outputs_identify(folder.file("none")), outputs_identify(folder.file("./none"))));
    EXPECT_FALSE(outputs_isSame(outputs_identify(folder.file("none")), outputs_identify(folder.file("nil"))));
}
