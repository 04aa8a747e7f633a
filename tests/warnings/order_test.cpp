// The order of sections means nothing where the manual says so: whatever it is, the same warnings come.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <set>
#include <sstream>

#include "support/generateall.h"
#include "support/tempfolder.h"
#include "warnings/cases.h"

struct Section {
    std::string header;  ///< empty in front of the first one
    std::string lines;
};

/// The sections of a project, those of one name put together in their order.
static std::vector<Section> cutSections(const std::string& project) {
    std::vector<Section> sections{{"", ""}};
    size_t place = 0;
    std::istringstream lines(project);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string first;
        words >> first;
        if (first.empty() || first[0] != '[') {
            sections[place].lines += line + "\n";
            continue;
        }
        std::transform(first.begin(), first.end(), first.begin(), [](unsigned char c) { return toupper(c); });
        place = 0;
        while (place < sections.size() && sections[place].header != first) {
            ++place;
        }
        if (place == sections.size()) {
            sections.push_back({first, ""});
        }
    }
    return sections;
}

/// Sections whose lines add to objects, and stand behind those that define them.
static bool isLate(const Section& section) {
    static const std::set<std::string> names = {"[DECAY_COEFFICIENT]", "[INITIAL_CONCENTRATION]", "[REACTORS_DECAY]",
                                                "[REACTORS_EMPTYING]", "[CONTROL_RULES]"};
    return names.count(section.header) > 0;
}

static std::string shuffle(const std::string& project, unsigned seed) {
    std::vector<Section> sections = cutSections(project);
    std::mt19937 random(seed);
    std::shuffle(sections.begin() + 1, sections.end(), random);
    std::stable_partition(sections.begin() + 1, sections.end(), [](const Section& s) { return !isLate(s); });
    std::string text;
    for (const Section& section : sections) {
        text += (section.header.empty() ? "" : section.header + "\n") + section.lines;
    }
    return text;
}

/// The warnings of a project, but for those about the order of links and outlets, which has a meaning and is another
/// where their sections are.
static std::multiset<std::string> pick(const std::string& project) {
    std::multiset<std::string> picked;
    for (const std::string& warning : getWarnings(project)) {
        const std::string name = warning.substr(0, warning.find(' '));
        if (name != "W-node-order" && name != "W-outlet-order" && name != "W-discharge-order") {
            picked.insert(warning);
        }
    }
    return picked;
}

static void expectTheSame(const std::string& project) {
    const std::multiset<std::string> expected = pick(project);
    for (unsigned seed = 1; seed <= 4; ++seed) {
        const std::string other = shuffle(project, seed);
        EXPECT_EQ(pick(other), expected) << other;
    }
}

/// Whether a kind is about the order itself: that of the sections, of the bytes of the file, or the numbers of objects.
static bool isAboutOrder(const std::string& name) {
    static const std::set<std::string> names = {"W-byte-order-mark", "W-section-unknown", "W-section-quoted",
                                                "W-section-order",   "W-file-end-mark",   "W-line-nul",
                                                "W-coupled-record"};
    return names.count(name) > 0;
}

TEST(SectionOrder, MakesNoWarningInTheCases) {
    for (const WarningCase& test : warningCases()) {
        if (!test.isRun && !isAboutOrder(test.name)) {
            const testing::ScopedTrace trace(test.file.c_str(), test.line, test.name);
            expectTheSame(test.faulty);
            expectTheSame(test.sound);
        }
    }
}

TEST(SectionOrder, MakesNoWarningInTheExamples) {
    int count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(TARNVELDE_SOURCE_DIR "/examples")) {
        if (entry.path().extension() == ".inp" && entry.path().parent_path().filename() != "coupled") {
            const testing::ScopedTrace trace(__FILE__, __LINE__, entry.path().string());
            const std::string project = readFile(entry.path());
            expectTheSame(project);
            ++count;
        }
    }
    EXPECT_GT(count, 5);
}

TEST(SectionOrder, MakesNoWarningInGeneratedProjects) {
    const TempFolder folder;
    folder.write("series.txt", GeneratedSeriesFile);
    folder.write("rain.txt", GeneratedSeriesFile);
    size_t count = 0;
    for (unsigned seed = 1; seed <= 12; ++seed) {
        std::string project = generateProject(seed);
        for (size_t at; (at = project.find("FILE ")) != std::string::npos;) {
            project.replace(at, 5, "FILE\t" + folder.path.string() + "/");
        }
        count += pick(project).size();
        expectTheSame(project);
    }
    EXPECT_GT(count, 0u);
}
