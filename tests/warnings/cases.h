#pragma once
// The cases of warnings: for each kind at least one project that raises it, and its sound neighbour, which doesn't.

#include <string>
#include <vector>

struct WarningCase {
    std::string name;    ///< of the warning, as "W-unit-slope"
    std::string faulty;  ///< a project that raises it
    std::string sound;   ///< one that doesn't, as like it as can be
    std::string object;  ///< what the warning names; "-" if that doesn't matter
    std::string word;    ///< what the warning points at; empty for the line as a whole, "-" if that doesn't matter
    bool isRun = false;  ///< it comes in a run
    std::string file{};  ///< of the case
    int line = 0;
};

std::vector<WarningCase>& warningCases();

/// Adds a case when the program starts.
struct WarningCaseEntry {
    WarningCaseEntry(const char* file, int line, WarningCase entry);
};

#define WARNING_CASE_NAME_2(line) warningCase##line
#define WARNING_CASE_NAME(line) WARNING_CASE_NAME_2(line)

/// WARNING_CASE(name, faulty, sound, object, word): a case that shows when the project is opened.
#define WARNING_CASE(...) \
    static const WarningCaseEntry WARNING_CASE_NAME(__LINE__)(__FILE__, __LINE__, WarningCase{__VA_ARGS__})

/// The same of a warning that comes in a run, or when it ends.
#define RUN_WARNING_CASE(...) \
    static const WarningCaseEntry WARNING_CASE_NAME(__LINE__)(__FILE__, __LINE__, WarningCase{__VA_ARGS__, true})

/// A day at steps of a minute, reported by the hour, and the sections of a case behind it. The day has whole steps, so
/// that nothing of it raises a warning.
[[nodiscard]] std::string aDay(const std::string& sections);

/// What opening a project, and running it, raises: "W-name object" for each warning, in their order.
[[nodiscard]] std::vector<std::string> getWarnings(const std::string& project, bool isRun = false);
