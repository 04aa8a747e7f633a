// `tarnvelde ensemble` becomes Python: which one, with which words, and what is said where none has the package.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "program.h"

using testing::HasSubstr;

struct HostEnsemble : testing::Test {
    TempFolder folder;

    /// A program that prints its words, one a line, and ends with 7; asked for the package alone it has it.
    std::string makePython(const std::string& name) const {
        std::string path = folder.file(name);
        std::ofstream(path) << "#!/bin/sh\n[ \"$1\" = -c ] && exit 0\nprintf '%s\\n' \"$0\" \"$@\"\nexit 7\n";
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path;
    }

    /// Runs the program in an environment, in which the system's own Python can't start.
    static ProcessResult run(std::vector<std::string> environment, const std::vector<std::string>& words) {
        environment.insert(environment.begin(), {"env", "-u", "TARNVELDE_PYTHON", "PYTHONHOME=/nowhere"});
        environment.insert(environment.end(), {TARNVELDE_PROGRAM, "ensemble"});
        environment.insert(environment.end(), words.begin(), words.end());
        return process_run(environment);
    }
};

TEST_F(HostEnsemble, WordsAndStatusAreThoseOfTheNamedPython) {
    const std::string python = makePython("own-python");
    const ProcessResult result = run({"TARNVELDE_PYTHON=" + python}, {"a b.inp", "--help", "", "-o", "--", "out"});
    EXPECT_EQ(result.status, 7);
    EXPECT_EQ(result.out, python + "\n-m\ntarnvelde\nensemble\na b.inp\n--help\n\n-o\n--\nout\n");
    EXPECT_EQ(result.err, "");
}

TEST_F(HostEnsemble, ANamedPythonThatCannotStartIsTold) {
    const ProcessResult result = run({"TARNVELDE_PYTHON=/nowhere/python"}, {});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "tarnvelde: /nowhere/python can't be started: No such file or directory\n");
}

TEST_F(HostEnsemble, WithoutANameThePythonOnThePathIsTaken) {
    makePython("python3");
    const ProcessResult result = run({"PATH=" + folder.path.string() + ":/bin"}, {"x"});
    EXPECT_EQ(result.status, 7);
    EXPECT_THAT(result.out, HasSubstr("\n-m\ntarnvelde\nensemble\nx\n"));
}

TEST_F(HostEnsemble, WithoutThePackageItSaysWhatToInstall) {
    const ProcessResult result = run({"PATH=" + folder.path.string()}, {"x"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("TARNVELDE_PYTHON=/path/to/python3\n"));
}
