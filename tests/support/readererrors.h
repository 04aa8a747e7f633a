#pragma once
// A project that is right, with sections added to it, and what the report then says.

#include <gtest/gtest.h>

#include <string>

#include "support/project.h"

/// A network that is right: A -> P1 -> OUT. Its lines end before the text that a test adds.
inline const std::string NETWORK =
    "[JUNCTIONS]\nA\n[OUTFALLS]\nOUT\n[PIPES]\nP1 A OUT NO 60 2 0.2 0\n[POLLUTANTS]\nCOD 0\nTSS 1.5\n"
    "[PATTERNS]\nH HOURLY 1 2\n[TIMESERIES]\nS 0 1 1 2\n";

/// What the report says of one more section.
inline std::string getErrors(const std::string& section, int32_t code = 200) {
    const OpenResult result = openProject(getGeneral(10) + NETWORK + section);
    EXPECT_EQ(result.code, code) << section;
    return result.report;
}

inline std::string lineError(const std::string& message, int line, const std::string& section,
                             const std::string& text) {
    return "\n  \n  " + message + "at line " + std::to_string(line) + " of " + section + " section:\n  " + text;
}

constexpr int LINES_BEFORE = 7 + 13;  ///< of getGeneral and NETWORK

/// Expects one error in the line that follows a header.
inline void expectRefused(const std::string& section, const std::string& line, const std::string& message) {
    EXPECT_EQ(getErrors(section + "\n" + line + "\n"), lineError(message, LINES_BEFORE + 2, section, line + "\n"));
}
