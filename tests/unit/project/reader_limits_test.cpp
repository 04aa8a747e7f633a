// The reader at its limits: tables that the second pass fills otherwise than the first one counted them, numbers that
// no integer holds, and lines without an end.

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "model/project.h"
#include "nodes/reactor.h"
#include "support/child.h"
#include "support/lineerrors.h"
#include "support/model.h"
#include "support/sanitizer.h"

// --- what the two passes count -------------------------------------------------------------------------------------

TEST(SecondPass, MissesALineOfAnyTableThatQuotesHidFromTheFirst) {
    // In quotes the slash is a name for the first pass and a comment for the second, so one row stays empty.
    for (const std::string section : {"RAINGAGES", "SUBCATCHS", "JUNCTIONS", "PIPES", "POLLUTANTS", "LANDUSES"}) {
        EXPECT_EQ(getErrors("[" + section + "]\n\"/x\"\n"), "\n  \n  ERROR 217: invalid input line ") << section;
    }
}

TEST(SecondPass, MissesNoRuleThatQuotesHidFromIt) {
    // The first pass counts a rule, the second takes its line for one of a section that hosts keep. Nothing names a
    // rule by its place, so a place that stays empty does no harm.
    const Project project(getGeneral(10) + NETWORK + "[CONTROL_RULES]\n\"[LABELS]\"\nRULE R\n");
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(project.readReport(), "");
    EXPECT_EQ(testModel().counts.objects[RULE], 1);
}

TEST(SecondPass, WritesNothingBehindTheEndOfATable) {
    // The first pass skips these lines with their section. The second one finds headers in the quotes, and a line too
    // many behind each: none of them may touch a table.
    const struct {
        const char* section;
        const char* line;
        const char* id;
    } lines[] = {{"[PIPES]", "P9 A OUT NO 60 1 0 0", "P9"},
                 {"[POLLUTANTS]", "X 0", "X"},
                 {"[LANDUSES]", "L", "L"},
                 {"[RAINGAGES]", "G INTENSITY 0:05 S", "G"},
                 {"[SUBCATCHS]", "Z", "Z"}};
    std::string text = "[LABELS]\n", expected;
    int number = LINES_BEFORE + 1;
    for (const auto& line : lines) {
        text += std::string("\"") + line.section + "\"\n" + line.line + "\n";
        number += 2;
        expected += lineError(std::string("ERROR 207: duplicate ID name ") + line.id + " ", number, line.section,
                              line.line + std::string("\n"));
    }
    EXPECT_EQ(getErrors(text), expected);
}

// --- numbers -------------------------------------------------------------------------------------------------------

TEST(PipeLines, TakeANumberOfReachesThatNoIntegerHoldsAsTooLow) {
    for (const std::string number : {"2147483648", "1e300", "inf", "nan"}) {
        EXPECT_EQ(getErrors("[JUNCTIONS]\nB\n[PIPES]\nP2 B OUT NO 60 " + number + " 0.2 0\n", 503),
                  "\n  \n  ERROR 503: muskingum N value of Pipe P2 must be larger than zero.")
            << number;
    }
}

TEST(ConcentrationLines, RefuseANumberOnlyIfItIsNegativeWithTextBehind) {
    const std::string reactor =
        "[REACTORS]\nR CSTR OUT FLOW_CAPACITY 864 100 50 50\n[CONNECTIONS]\nC R OUT NO 0\n[INITIAL_CONCENTRATION]\n";
    const struct {
        const char* word;
        double value;
    } words[] = {{"12.5", 12.5}, {"word", 0.0}, {"3x", 3.0}, {"-1", -1.0}, {"-x", 0.0}};
    for (const auto& word : words) {
        std::string text = getGeneral(10);
        text.append(NETWORK).append(reactor).append("R any TSS 7\nR any TSS ").append(word.word).append("\n");
        Project project(text);
        EXPECT_EQ(project.open(), 0) << project.getReport();
        EXPECT_EQ(testModel().reactors.at(0).initQual[0], 0.0) << word.word;
        EXPECT_EQ(testModel().reactors.at(0).initQual[1], word.value) << word.word;
    }
    EXPECT_EQ(getErrors(reactor + "R any TSS -1x\n"), lineError("ERROR 211: invalid number -1x ", LINES_BEFORE + 6,
                                                                "[INITIAL_CONCENTRATION]", "R any TSS -1x\n"));
    EXPECT_EQ(getErrors(reactor + "R any ZINC -1x\n"), lineError("ERROR 209: undefined object ZINC ", LINES_BEFORE + 6,
                                                                 "[INITIAL_CONCENTRATION]", "R any ZINC -1x\n"));
}

// --- long lines ----------------------------------------------------------------------------------------------------

static constexpr size_t MEGABYTE = size_t{1} << 20;

/// A project with one line of equal characters in a section. Sanitizers make the reading ten times as slow, so they get
/// a sixteenth of it.
static void writeLongLine(const std::string& path, const std::string& section, char character, size_t length) {
    const std::string block(4 * MEGABYTE, character);
    std::ofstream file(path, std::ios::binary);
    file << getGeneral(10) << NETWORK << section << "\n";
    for (size_t written = 0; written < length / (IS_FREED_MEMORY_KEPT ? 16 : 1); written += block.size()) {
        file << block;
    }
    file << "\n";
}

/// Opens the project in a process that may take 256 MB: what is kept of a line must not grow with it.
static int openInLittleMemory(Project& project) {
    return process_fork([&] {
        if (!IS_FREED_MEMORY_KEPT) {
            process_limitMemory(256 * MEGABYTE);
        }
        const int32_t code = project.open();
        tarnvelde_close();
        return code == 0 ? 0 : 1;
    });
}

TEST(LongLines, OfBlanksAreSkipped) {
    Project project("");
    writeLongLine(project.input, "[PIPES]", ' ', 256 * MEGABYTE);  // a quarter of the time that a gigabyte takes
    EXPECT_EQ(openInLittleMemory(project), 0);
    EXPECT_EQ(project.getReport(), "");
}

TEST(LongLines, OfDescriptionAreTenPiecesOfALine) {
    Project project("");
    writeLongLine(project.input, "[DESCRIPTION]", 'x', 1024 * MEGABYTE);
    EXPECT_EQ(openInLittleMemory(project), 0);
    std::string expected;
    for (int k = 0; k < 10; ++k) {
        expected += "\n  " + std::string(1023, 'x');  // at most so much is taken at once, as a line of its own
    }
    const std::string report = project.getReport();
    EXPECT_TRUE(report == expected + "\n  ") << report.size() << " characters";
}
