// Every kind of warning is raised by a case of its own, at its place, and by no sound neighbour of it.

#include "warnings/cases.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "support/tvmodel.h"

std::vector<WarningCase>& warningCases() {
    static std::vector<WarningCase> cases;
    return cases;
}

WarningCaseEntry::WarningCaseEntry(const char* file, int line, WarningCase entry) {
    entry.file = file;
    entry.line = line;
    warningCases().push_back(std::move(entry));
}

std::string aDay(const std::string& sections) {
    return "[GENERAL]\nSTART_DATE 2024/06/18\nEND_DATE 2024/06/19\nROUTING_STEP 0:01:00\nRUNOFF_STEP 0:05:00\n"
           "REPORT_STEP 1:00:00\n" +
           sections;
}

/// A model that has read a project, and run it.
static TvModel makeModel(const std::string& project, bool isRun) {
    TvModel model;
    EXPECT_EQ(tv_setEngines(model, TARNVELDE_ENGINE_FOLDER, nullptr, TARNVELDE_ENGINE_FOLDER, nullptr), TV_OK);
    const int32_t code = model.openText(project);
    if (isRun) {
        EXPECT_EQ(code, TV_OK) << project;
        EXPECT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
        EXPECT_EQ(tv_runUntil(model, TV_END), TV_OK);
        EXPECT_EQ(tv_end(model), TV_OK);
    }
    return model;
}

static std::vector<tv_message> pickWarnings(const TvModel& model) {
    std::vector<tv_message> warnings;
    for (const tv_message& message : model.getMessages()) {
        if (message.level == TV_WARNING) {
            warnings.push_back(message);
        }
    }
    return warnings;
}

std::vector<std::string> getWarnings(const std::string& project, bool isRun) {
    const TvModel model = makeModel(project, isRun);
    std::vector<std::string> names;
    for (const tv_message& warning : pickWarnings(model)) {
        names.push_back(std::string(warning.name) + " " + warning.object);
    }
    return names;
}

static std::string getWord(const tv_message& message) {
    return message.column > 0
               ? std::string(message.words)
                     .substr(static_cast<size_t>(message.column) - 1, static_cast<size_t>(message.length))
               : "";
}

class WarningCases : public testing::TestWithParam<WarningCase> {};

TEST_P(WarningCases, IsRaisedAtItsPlaceAndNotByItsSoundNeighbour) {
    const WarningCase& test = GetParam();
    const testing::ScopedTrace trace(test.file.c_str(), test.line, test.name);
    const TvModel faulty = makeModel(test.faulty, test.isRun);
    bool isFound = false;
    for (const tv_message& warning : pickWarnings(faulty)) {
        if (warning.name == test.name) {
            isFound = true;
            EXPECT_TRUE(test.object == "-" || warning.object == test.object) << warning.object;
            EXPECT_TRUE(test.word == "-" || getWord(warning) == test.word) << getWord(warning);
            EXPECT_STRNE(warning.text, "");
            EXPECT_EQ(std::string(warning.text).find('%' + std::string("1")), std::string::npos) << warning.text;
            break;
        }
    }
    EXPECT_TRUE(isFound) << testing::PrintToString(getWarnings(test.faulty, test.isRun));
    const TvModel sound = makeModel(test.sound, test.isRun);
    EXPECT_EQ(sound.getPhase(), TV_OPEN) << "the sound neighbour has errors";
    for (const tv_message& warning : pickWarnings(sound)) {
        EXPECT_STRNE(warning.name, test.name.c_str()) << warning.text;
    }
}

static std::string nameCase(const testing::TestParamInfo<WarningCase>& info) {
    std::string name;
    for (const char c : info.param.name) {
        name += isalnum(static_cast<unsigned char>(c)) ? c : '_';
    }
    return name + "_" + std::to_string(info.index);
}

INSTANTIATE_TEST_SUITE_P(All, WarningCases, testing::ValuesIn(warningCases()), nameCase);

TEST(WarningKinds, HaveACaseEach) {
    std::set<std::string> tested;
    for (const WarningCase& test : warningCases()) {
        tested.insert(test.name);
    }
    int32_t count = 0;
    ASSERT_EQ(tv_getWarningKindCount(&count), TV_OK);
    EXPECT_GT(count, 0);
    for (int32_t k = 0; k < count; ++k) {
        tv_warning_kind kind{};
        ASSERT_EQ(tv_getWarningKind(k, &kind), TV_OK);
        EXPECT_TRUE(tested.count(kind.name)) << kind.name << " has no case";
    }
}

TEST(WarningKinds, HaveNamesOfTheirOwnAndWords) {
    std::set<std::string> names;
    int32_t count = 0;
    ASSERT_EQ(tv_getWarningKindCount(&count), TV_OK);
    for (int32_t k = 0; k < count; ++k) {
        tv_warning_kind kind{};
        ASSERT_EQ(tv_getWarningKind(k, &kind), TV_OK);
        EXPECT_TRUE(names.insert(kind.name).second) << kind.name;
        EXPECT_EQ(std::string(kind.name).rfind("W-", 0), 0u) << kind.name;
        EXPECT_STRNE(kind.text, "") << kind.name;
        EXPECT_STRNE(kind.effect, "") << kind.name;
        EXPECT_STRNE(kind.advice, "") << kind.name;
    }
    tv_warning_kind kind{};
    EXPECT_EQ(tv_getWarningKind(count, &kind), TV_ERROR_INDEX);
    EXPECT_EQ(tv_getWarningKind(-1, &kind), TV_ERROR_INDEX);
    EXPECT_EQ(tv_getWarningKind(0, nullptr), TV_ERROR_NULL);
    EXPECT_EQ(tv_getWarningKindCount(nullptr), TV_ERROR_NULL);
}
