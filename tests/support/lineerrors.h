#pragma once
// What the report says of a line that is refused: the message, its place, and the line itself.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/project.h"

/// A message about line `number` of a file; `line` has its end. The blank after the word that a message shows may be
/// left out, unless this word is empty.
inline std::string lineError(const std::string& message, long number, const std::string& section,
                             const std::string& line) {
    const std::string gap = message.back() == '.' || message.back() == ' ' ? "" : " ";
    return "\n  \n  " + message + gap + "at line " + std::to_string(number) + " of " + section + " section:\n  " + line;
}

/// A message about a line that stands once in a text.
inline std::string getLineError(const std::string& text, const std::string& message, const std::string& section,
                                const std::string& line) {
    const size_t place = text.rfind("\n" + line + "\n");
    EXPECT_NE(place, std::string::npos) << line;
    const auto number = 2 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(place), '\n');
    return lineError(message, number, section, line + "\n");
}

/// Whether a project is refused for a line, among others maybe.
inline testing::AssertionResult refusesLine(const std::string& text, const std::string& message,
                                            const std::string& section, const std::string& line) {
    const OpenResult result = openProject(text);
    if (result.code == 200 && result.report.find(getLineError(text, message, section, line)) != std::string::npos) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << line << "\ncode " << result.code << ", report: " << result.report;
}

/// A network that is right: A -> P1 -> OUT. Its lines end before the text that a test adds.
inline const std::string NETWORK =
    "[JUNCTIONS]\nA\n[OUTFALLS]\nOUT\n[PIPES]\nP1 A OUT NO 60 2 0.2 "
    "0\n[POLLUTANTS]\nCOD 0\nTSS 1.5\n"
    "[PATTERNS]\nH HOURLY 1 2\n[TIMESERIES]\nS 0 1 1 2\n";
constexpr int LINES_BEFORE = 7 + 13;  ///< of getGeneral and NETWORK

/// What the report says of one more section.
inline std::string getErrors(const std::string& section, int32_t code = 200) {
    const OpenResult result = openProject(getGeneral(10) + NETWORK + section);
    EXPECT_EQ(result.code, code) << section;
    return result.report;
}

/// Expects one error in the line that follows a header.
inline void expectRefused(const std::string& section, const std::string& line, const std::string& message) {
    EXPECT_EQ(getErrors(section + "\n" + line + "\n"), lineError(message, LINES_BEFORE + 2, section, line + "\n"));
}
