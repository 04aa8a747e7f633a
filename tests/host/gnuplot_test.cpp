// Pictures whose program fails, and folders in which none can be made.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "aside.h"
#include "host/resultsfixture.h"
#include "host/smalldisk.h"
#include "picture.h"

using testing::HasSubstr;

namespace fs = std::filesystem;

namespace {

/// Results, and a program that stands in for gnuplot.
struct Gnuplot : Results {
    std::string picture = folder.file("out.svg");

    /// Draws with a script of the shell in place of gnuplot.
    ProcessResult plot(const std::string& script) const {
        fs::create_directory(folder.path / "programs");
        const std::string program = folder.write("programs/gnuplot", "#!/bin/sh\n" + script + "\n");
        fs::permissions(program, fs::perms(0755));
        return draw({"PATH=" + folder.file("programs") + ":/usr/bin:/bin"});
    }
    /// Draws with other variables of the environment.
    ProcessResult draw(std::vector<std::string> variables) const {
        std::vector<std::string> arguments{"env"};
        arguments.insert(arguments.end(), variables.begin(), variables.end());
        arguments.insert(arguments.end(),
                         {TARNVELDE_PROGRAM, "plot", binary, "--object", "J1", "--column", "TotInflow", "-o", picture});
        return process_run(arguments);
    }
};

}  // namespace

TEST_F(Gnuplot, ThatFailsIsQuotedWithoutControlCharacters) {
    const ProcessResult result = plot("printf 'no font\\033[2J\\nat all\\n' >&2; exit 3");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "tarnvelde: gnuplot failed\nno font?[2J\nat all\n");
    EXPECT_FALSE(fs::exists(picture));
}

TEST_F(Gnuplot, ThatIsKilledIsToldWithItsSignal) {
    const ProcessResult result = plot("kill -TERM $$");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "tarnvelde: gnuplot failed: signal 15\n");
}

TEST_F(Gnuplot, ThatDrawsNothingHasFailed) {
    const ProcessResult result = plot("exit 0");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "tarnvelde: gnuplot failed\n");
}

TEST_F(Gnuplot, ThatCutsItsPictureLeavesTheOldOne) {
    folder.write("out.svg", "old");
    const ProcessResult result = plot("echo '<?xml version=\"1.0\"?><svg><title>x</title>' > picture");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("cannot write " + picture + ": gnuplot couldn't write the picture to "));
    EXPECT_EQ(readFile(picture), "old");
}

TEST_F(Gnuplot, ThatDrawsInAnotherMannerIsTakenAsItIs) {
    // Without the places of title and description there is none to put ours in, and marks of XML stay what they are.
    for (const char* svg : {"<?xml?><g></svg>", "<?xml?><svg></svg>", "<?xml?><svg><title>a</title></svg>",
                            "<?xml?><svg></desc><title>a</title></svg>"}) {
        const ProcessResult result = plot(std::string("printf '") + svg + "' > picture");
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(readFile(picture), svg);
    }
    ASSERT_EQ(plot("printf '<?xml?><svg><text>a]]>b</text></svg>' > picture").status, 0);
    EXPECT_EQ(readFile(picture), "<?xml?><svg><text>a]]&gt;b</text></svg>");
}

TEST_F(Gnuplot, WorksInAFolderThatIsThere) {
    // What no folder is stands aside for the one that all systems have.
    const ProcessResult result = draw({"TMPDIR=" + folder.file("nowhere")});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(picture_isWhole(PictureForm::SVG, readFile(picture)));
}

TEST_F(Gnuplot, WithoutAFolderIsNotStarted) {
    const ProcessResult result = draw({"TMPDIR=/proc"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "tarnvelde: cannot make a temporary folder\n");
}

TEST_F(Gnuplot, WithoutRoomForItsDataIsNotStarted) {
    const SmallDisk disk;
    if (!disk.isThere) {
        GTEST_SKIP() << "no file system may be mounted here";
    }
    disk.folder.write("filler", std::string(65536, 'x'));
    const ProcessResult result = draw({"TMPDIR=" + disk.folder.path.string()});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("cannot write to " + disk.folder.path.string()));
    EXPECT_EQ(countFiles(disk.folder.path), 1u) << "the folder of the picture is gone";
}

TEST_F(Gnuplot, PicturesStandInTheCurrentFolder) {
    const ProcessResult result =
        process_run({"sh", "-c", "cd \"$1\" && exec \"$0\" plot model.bin --object J1 --column TotInflow -o a.svg",
                     TARNVELDE_PROGRAM, folder.path.string()});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(picture_isWhole(PictureForm::SVG, readFile(folder.file("a.svg"))));
}

TEST_F(Gnuplot, APictureThatMayNotBeWrittenStays) {
    const SmallDisk disk;
    if (!disk.isThere) {
        GTEST_SKIP() << "no file system may be mounted here";
    }
    picture = disk.folder.write("out.svg", "old");
    ASSERT_TRUE(disk.close());
    const ProcessResult result = draw({});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "tarnvelde: cannot write " + picture + ": Read-only file system\n");
    EXPECT_EQ(readFile(picture), "old");
    EXPECT_THAT(disk.folder.list(), testing::ElementsAre("out.svg"));
}

TEST_F(Gnuplot, ALineHasAGapWhereThereIsNoNumber) {
    const std::string script = "grep -c . line0.dat > \"$OUT\"; grep -vc . line0.dat >> \"$OUT\"; exit 1";
    ASSERT_EQ(
        process_run({"sqlite3", database, "update Junction set TotInflow = null where Period = 2 and Name = 'J1'"})
            .status,
        0);
    binary = database;
    ASSERT_EQ(setenv("OUT", folder.file("counts").c_str(), 1), 0);
    plot(script);
    unsetenv("OUT");
    EXPECT_EQ(readFile(folder.file("counts")), "3\n1\n");
}

TEST_F(Gnuplot, AnObjectWithoutAReportInTheTimeIsTold) {
    ASSERT_EQ(process_run({"sqlite3", database, "delete from Junction where Name = 'J1' and Period > 2"}).status, 0);
    expectFailure(
        {"plot", database, "--object", "J1", "--column", "TotInflow", "--from", "2021/03/01 0:03", "-o", picture},
        "holds no report of J1 in this time");
}

TEST(PictureForms, AnUnknownOneIsNeverWhole) {
    EXPECT_FALSE(picture_isWhole(PictureForm::NONE, "<?xml?><svg></svg>"));
    EXPECT_FALSE(picture_isWhole(PictureForm::SVG, "<svg></svg>"));
    EXPECT_FALSE(picture_isWhole(PictureForm::PNG, "GIF89a"));
}

TEST(PictureLinks, ThatLeadInCirclesStayAsTheyAre) {
    TempFolder folder;
    fs::create_symlink("b.svg", folder.path / "a.svg");
    fs::create_symlink("a.svg", folder.path / "b.svg");
    EXPECT_THAT(aside_write(folder.file("a.svg"), "x"), HasSubstr("cannot write"));
    EXPECT_TRUE(fs::is_symlink(folder.path / "a.svg"));
    EXPECT_TRUE(fs::is_symlink(folder.path / "b.svg"));
    EXPECT_EQ(countFiles(folder.path), 2u);
}
