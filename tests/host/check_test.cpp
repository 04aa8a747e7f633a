// `tarnvelde check`: errors with their places, and nothing left behind.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "jsontext.h"
#include "program.h"
#include "terminal.h"

using testing::HasSubstr;
using testing::Not;

TEST(HostCheck, GoodProjectGivesZero) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    const ProcessResult result = runProgram({"check", model});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, model + ": no errors\n");
    EXPECT_EQ(result.err, "");
}

TEST(HostCheck, EachErrorIsShownWithItsPlace) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", BAD_PROJECT);
    const ProcessResult result = runProgram({"check", model});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, model + ": 3 errors\n");
    EXPECT_EQ(
        result.err,
        "ERROR 209: undefined object NOWHERE at line 6 of [PIPES] section:\n"
        "  P1 J1 NOWHERE NO 300 1 0.2 0\n"
        "        ^^^^^^^\n"
        "  what to do:   Check the spelling, and that a line in the section of its kind defines the object; cure "
        "the other messages first.\n"
        "ERROR 203: too few items at line 7 of [PIPES] section:\n"
        "  ERROR J1 O1\n"
        "  what to do:   Compare the line with the table of its section in the manual; \"\" is a word, for none.\n"
        "ERROR 211: invalid number 3OO at line 8 of [PIPES] section:\n"
        "  P3 J1 O1 NO 3OO 1 0.2 0\n"
        "              ^^^\n"
        "  what to do:   Write it with a decimal point, without a unit, % or commas, and within the range of the "
        "table of its section. For a connection the text shows the NO or YES before the delay, for an orifice of "
        "height 0 its coefficient.\n"
        "tarnvelde: " +
            model + ": the engine ended with code 200\n");
}

TEST(HostCheck, ErrorsOfTheWholeNetworkAreShown) {
    TempFolder folder;
    const ProcessResult result = runProgram({"check", folder.write("model.inp",
                                                                   "[GENERAL]\n"
                                                                   "END_DATE 2024/01/02\n"
                                                                   "[JUNCTIONS]\n"
                                                                   "ALONE\n")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("ERROR 137: Node ALONE has no downstream link at line 4 of [JUNCTIONS] section:\n"
                                      "  ALONE\n  ^^^^^\n  what to do:   Add a link that starts there"));
    EXPECT_THAT(result.err, HasSubstr("code 137\n"));
}

TEST(HostCheck, LineOfGeneralIsShownWithoutALineFeedOfItsOwn) {
    TempFolder folder;
    const ProcessResult result = runProgram({"check", folder.write("model.inp",
                                                                   "[GENERAL]\n"
                                                                   "STRAT_DATE 2024/01/02\n"
                                                                   "ROUTING_STEP never\n")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("ERROR 205: invalid keyword STRAT_DATE at line 2 of [GENERAL] section:\n"
                                      "  STRAT_DATE\n"
                                      "  ^^^^^^^^^^\n"
                                      "  what to do:   Use a keyword of "));
    EXPECT_THAT(result.err, HasSubstr("ERROR 213: invalid date/time never at line 3 of [GENERAL] section:\n"
                                      "  ROUTING_STEP\n"));
}

TEST(HostCheck, EndOfTheListOfErrorsIsShown) {
    TempFolder folder;
    std::string text = "[PIPES]\n";
    for (int k = 0; k < 102; ++k) {
        text += "P" + std::to_string(k) + "\n";
    }
    const ProcessResult result = runProgram({"check", folder.write("model.inp", text)});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("ERROR 203: too few items at line 101 of [PIPES] section:\n"
                                      "  P99\n"
                                      "Maximum error count exceeded.\n"));
}

TEST(HostCheck, MissingModelIsError303) {
    TempFolder folder;
    const ProcessResult result = runProgram({"check", folder.file("nothing.inp")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("ERROR 303: cannot open the project file"));
}

TEST(HostCheck, TheEntryOfASeriesThatIsOutOfOrderIsShown) {
    TempFolder folder;
    const std::string project = std::string(GOOD_PROJECT) + "[TIMESERIES]\nT1 2024/01/01 1:00 0 0:30 1\n";
    const ProcessResult result = runProgram({"check", folder.write("model.inp", project)});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err,
                HasSubstr("ERROR 163: Time Series T1 has its data out of sequence. at 2024/01/01 00:30:00 at line "));
    EXPECT_THAT(result.err, HasSubstr(" of [TIMESERIES] section:\n  T1 2024/01/01 1:00 0 0:30 1\n  ^^\n"));
}

struct HostCheckLeaves : testing::TestWithParam<const char*> {};

TEST_P(HostCheckLeaves, NoFileBehind) {
    TempFolder folder;
    std::filesystem::create_directory(folder.path / "temporary");
    const std::string model = folder.write("model.inp", GetParam());
    process_run({"env", "TMPDIR=" + folder.file("temporary"), TARNVELDE_PROGRAM, "check", model});
    EXPECT_EQ(countFiles(folder.path / "temporary"), 0u);
    EXPECT_EQ(countFiles(folder.path), 2u);
}

INSTANTIATE_TEST_SUITE_P(HostCheck, HostCheckLeaves, testing::Values(GOOD_PROJECT, BAD_PROJECT));

TEST(HostCheck, EnginesAreTakenFromTheFolderThatIsGiven) {
    namespace fs = std::filesystem;
    TempFolder folder;
    fs::copy(fs::path(TARNVELDE_SOURCE_DIR) / "examples" / "coupled", folder.path, fs::copy_options::recursive);
    fs::create_directory(folder.path / "engines");
    const std::vector<std::string> arguments{"check", folder.file("coupled.inp"), "--engines", folder.file("engines")};
    const ProcessResult without = runProgram(arguments);
    EXPECT_EQ(without.status, 1);
    EXPECT_THAT(without.err, HasSubstr(folder.file("engines/swmm5ex.dll")));
    EXPECT_THAT(without.err, HasSubstr(folder.file("engines/vorn.dll")));
    for (const char* name : {"libswmm5ex.so", "libvorn.so"}) {
        fs::copy_file(fs::path(TARNVELDE_ENGINE_FOLDER) / name, folder.path / "engines" / name);
    }
    const ProcessResult with = runProgram(arguments);
    EXPECT_EQ(with.status, 0) << with.err;
    EXPECT_EQ(countFiles(folder.path / "engines"), 2u) << "private copies are left";
}

TEST(HostCheck, AFolderOfEnginesMayBeCalledAsIsUsualAndOtherwise) {
    namespace fs = std::filesystem;
    TempFolder folder;
    fs::copy(fs::path(TARNVELDE_SOURCE_DIR) / "examples" / "coupled", folder.path, fs::copy_options::recursive);
    for (const char* name : {"engines", "engines/", "back\\"}) {
        fs::create_directories(folder.path / name);
        for (const char* library : {"libswmm5ex.so", "libvorn.so"}) {
            fs::copy_file(fs::path(TARNVELDE_ENGINE_FOLDER) / library, folder.path / name / library,
                          fs::copy_options::overwrite_existing);
        }
        const ProcessResult result =
            runProgram({"check", folder.file("coupled.inp"), "--engines", folder.path.string() + '/' + name});
        EXPECT_EQ(result.status, 0) << name << ' ' << result.err;
    }
}

TEST(HostCheck, PrivateCopiesAreMadeInTheFolderThatIsGiven) {
    namespace fs = std::filesystem;
    TempFolder folder;
    fs::copy(fs::path(TARNVELDE_SOURCE_DIR) / "examples" / "coupled", folder.path, fs::copy_options::recursive);
    fs::create_directory(folder.path / "scratch");
    const auto longAgo = fs::last_write_time(folder.path) - std::chrono::hours(1);
    fs::last_write_time(folder.path / "scratch", longAgo);
    const ProcessResult result = runProgram({"check", folder.file("coupled.inp"), "--engines", TARNVELDE_ENGINE_FOLDER,
                                             "--scratch", folder.file("scratch")});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_NE(fs::last_write_time(folder.path / "scratch"), longAgo) << "nothing was ever made there";
    EXPECT_EQ(countFiles(folder.path / "scratch"), 0u);
}

TEST(HostCheck, AnUnknownHeaderMakesOneMessage) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", std::string(GOOD_PROJECT) +
                                                            "[PIPE]\nP7 J1 O1 NO 300 1 0.2 0\nP8 J1 O1 NO 300 1 0.2 0\n"
                                                            "[OUTFALLS]\nO9\n");
    const ProcessResult result = runProgram({"check", model});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, model + ": 1 error\n");
    EXPECT_THAT(result.err, HasSubstr("[PIPE]\n"));
    EXPECT_THAT(result.err, Not(HasSubstr("P7")));
    // The report keeps a line for each.
    const ProcessResult run = runProgram({"run", model});
    EXPECT_THAT(run.err, HasSubstr("P7"));
    EXPECT_THAT(readFile(folder.file("model.rpt")), HasSubstr("P8 J1 O1"));
}

TEST(HostCheck, AFileOfUtf16MakesOneWarning) {
    for (const bool isBigEndian : {false, true}) {
        std::string text = isBigEndian ? "\xFE\xFF" : "\xFF\xFE";
        for (const char* at = GOOD_PROJECT; *at != 0; ++at) {
            text += isBigEndian ? std::string{'\0', *at} : std::string{*at, '\0'};
        }
        TempFolder folder;
        const ProcessResult result = runProgram({"check", folder.write("model.inp", text)});
        EXPECT_EQ(result.status, 1);
        const size_t first = result.err.find("W-line-nul");
        EXPECT_THAT(result.err, HasSubstr("a file in UTF-16 must be saved as UTF-8"));
        EXPECT_EQ(result.err.find("W-line-nul", first + 1), std::string::npos) << result.err;
    }
}

TEST(HostCheck, EachUnknownHeaderHasAMessageOfItsOwn) {
    TempFolder folder;
    const std::string model =
        folder.write("model.inp", std::string("[PIPE]\nP1 J1 O1\n[JUNKTIONS]\nJ2\n") + GOOD_PROJECT);
    const ProcessResult result = runProgram({"check", model});
    EXPECT_EQ(result.status, 1);
    const size_t first = result.err.find(" at line 1 of input file:\n  [PIPE]\n");
    const size_t second = result.err.find(" at line 3 of input file:\n  [JUNKTIONS]\n");
    ASSERT_NE(first, std::string::npos) << result.err;
    ASSERT_NE(second, std::string::npos) << result.err;
    EXPECT_LT(first, second);
    EXPECT_THAT(result.err.substr(0, first), HasSubstr("ERROR 205: [PIPE] "));
    EXPECT_THAT(result.err.substr(first, second - first), HasSubstr("ERROR 205: [JUNKTIONS] "));
    EXPECT_EQ(result.err.find("P1 J1 O1\n"), std::string::npos) << "what stands below them is none of it";
    EXPECT_EQ(result.err.find("W-section-unknown"), std::string::npos) << "one message for each";
}

TEST(HostCheck, MessagesStandInTheOrderOfTheFile) {
    // The errors of [GENERAL] are found first, and a warning about a conduit last of all.
    TempFolder folder;
    const ProcessResult result = runProgram(
        {"check", folder.write("model.inp",
                               "[CONDUITS]\nC1 J1 O1 NO 20 5 0.013 CIRCULAR 0.6\n[GENERAL]\nSTART_DATE 2024/06/18\n"
                               "END_DATE 2024/06/19\nROUTING_STEP 0:00:30\n[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n"
                               "[CONDUITS]\nC2 J2 O1 NO 20 0.005 0.013 CIRCULAR 0.6\n[JUNCTIONS]\nJ2\n")});
    EXPECT_EQ(result.status, 0);
    const size_t first = result.err.find("W-step-conduit: C1"), second = result.err.find("W-unit-slope: C2");
    ASSERT_NE(first, std::string::npos) << result.err;
    ASSERT_NE(second, std::string::npos) << result.err;
    EXPECT_LT(first, second);
}

TEST(HostCheck, ColoursComeOnATerminalAlone) {
    TempFolder folder;
    const std::string model =
        folder.write("model.inp",
                     "[GENERAL]\nSTART_DATE 2024/06/18\nEND_DATE 2024/06/19\nROUTING_STEP 0:00:30\n"
                     "[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONDUITS]\n"
                     "C1 J1 O1 NO 20 5 0.013 CIRCULAR 0.6\n");
    EXPECT_THAT(terminal_run({"check", model}), HasSubstr("\033[31mSERIOUS W-step-conduit: \033[0mC1: "));
    const ProcessResult result = runProgram({"check", model});
    EXPECT_THAT(result.err, HasSubstr("SERIOUS W-step-conduit: C1: "));
    EXPECT_THAT(result.err, Not(HasSubstr("\033")));
    // Red for what can't be right, yellow for what can hardly be meant, blue for what may be.
    const std::string wrong = terminal_run({"check", folder.write("wrong.inp", BAD_PROJECT)}, STDERR_FILENO, 1);
    EXPECT_THAT(wrong, HasSubstr("\033[31mERROR 209: \033[0m"));
    const std::string doubtful =
        terminal_run({"check", folder.write("doubtful.inp", std::string(GOOD_PROJECT) +
                                                                "[POLLUTANTS]\nSPARE 0\n[PATTERNS]\nIDLE HOURLY 1\n")});
    EXPECT_THAT(doubtful, HasSubstr("\033[33mWARNING "));
    EXPECT_THAT(doubtful, HasSubstr("\033[36mNOTE "));
}

/// A project with a word too many in a line.
static std::string withWords(const std::string& words) {
    return std::string(GOOD_PROJECT) + "[CONNECTIONS]\nC1 J1 O1 NO 0 " + words + "\n";
}

TEST(HostCheck, ControlCharactersReachNoTerminal) {
    // U+009B is CSI, as ESC [ is; in UTF-8 it is C2 9B, elsewhere the byte 9B alone.
    TempFolder folder;
    for (const char* word : {"\x1B[31mX", "\x07X", "\x7FX",
                             "\xC2\x9B"
                             "31mX",
                             "\x9B"
                             "31mX",
                             "\xC2\x80X"}) {
        const std::string model = folder.write("model.inp", withWords(word));
        const ProcessResult result = runProgram({"check", model});
        EXPECT_THAT(result.err, HasSubstr("W-words-unused"));
        EXPECT_THAT(result.err, Not(HasSubstr(std::string(word).substr(0, word[0] == '\xC2' ? 2 : 1))));
        EXPECT_THAT(result.err, HasSubstr("NO 0 ?"));
        const ProcessResult json = runProgram({"check", model, "--json"});
        EXPECT_TRUE(isJson(json.out)) << json.out;
        EXPECT_THAT(json.out, Not(HasSubstr("\xC2\x9B")));
    }
    // Letters whose last byte looks like one are none.
    const ProcessResult result = runProgram({"check", folder.write("model.inp", withWords("\xC3\x9B\xE2\x80\x93"))});
    EXPECT_THAT(result.err, HasSubstr("NO 0 \xC3\x9B\xE2\x80\x93\n"));
}

TEST(HostCheck, ThePointerStandsBelowTheWordWhateverStandsInFront) {
    TempFolder folder;
    for (const char* name : {"N", "\xC3\xA4", "\x9B", "\xC2\x9B", "\xE4"}) {
        const ProcessResult result =
            runProgram({"check", folder.write("model.inp", std::string(GOOD_PROJECT) + "[JUNCTIONS]\n" + name +
                                                               "\n[CONNECTIONS]\nC1\t" + name + "\tO1 NO 0 word\n")});
        EXPECT_THAT(result.err, HasSubstr(" word\n    \t \t        ^^^^\n"));
    }
}

TEST(HostCheck, NameOfTheProjectCantControlTheTerminal) {
    TempFolder folder;
    const ProcessResult result = runProgram({"check", folder.write("m\x1B[31m.inp", GOOD_PROJECT)});
    EXPECT_THAT(result.out, testing::EndsWith("m?[31m.inp: no errors\n"));
}

TEST(HostCheck, AnAnswerThatCantBeWrittenIsAnError) {
    TempFolder folder;
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    for (const std::string& arguments : {"check " + model, "check --json " + model, std::string("explain")}) {
        const ProcessResult result =
            process_run({"sh", "-c", std::string(TARNVELDE_PROGRAM) + ' ' + arguments + " >/dev/full"});
        EXPECT_EQ(result.status, 1) << arguments;
    }
}
