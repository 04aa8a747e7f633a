#pragma once
// Hands single lines of a project file to their parsers.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <type_traits>

#include "model/errors.h"
#include "support/model.h"
#include "text/tokens.h"

inline Tokens TestTokens;  ///< the words of the line in hand

/// The result of a section's parser for a line.
template <class Parser>
int32_t parseLine(const std::string& line, Parser parser) {
    static char buffer[8192];
    std::strcpy(buffer, line.c_str());
    TestTokens = tokens_split(buffer);
    testModel().error.objectName = "untouched";
    if constexpr (std::is_invocable_v<Parser, const Tokens&>) {
        return parser(TestTokens);
    } else {
        return parser(testModel(), TestTokens);
    }
}

/// Expects an error and the text that its message will show.
template <class Parser>
void expectLineError(const std::string& line, Parser parser, int32_t error, const std::string& name) {
    EXPECT_EQ(parseLine(line, parser), error) << line;
    EXPECT_EQ(testModel().error.objectName, name) << line;
}
