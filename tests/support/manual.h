#pragma once
// Chapters of the manual whose tables are made from lists. With TARNVELDE_WRITE_MANUAL in the environment, as
// scripts/write-manual.sh sets it, they are written and not compared.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "support/tempfolder.h"

/// Compares what stands between the marks of a chapter with what should, or puts it there.
inline void manual_check(const std::string& chapter, const std::string& source, const std::string& tables) {
    const std::string begin = "<!-- from " + source + ": scripts/write-manual.sh -->\n";
    const std::string end = "<!-- end of the list -->\n";
    const std::string file = std::string(TARNVELDE_SOURCE_DIR) + "/docs/" + chapter;
    std::string text = readFile(file);
    const size_t beginPlace = text.find(begin);
    const size_t endPlace = text.find(end);
    ASSERT_NE(beginPlace, std::string::npos) << chapter;
    ASSERT_NE(endPlace, std::string::npos) << chapter;
    const size_t from = beginPlace + begin.size();
    if (std::getenv("TARNVELDE_WRITE_MANUAL")) {
        std::ofstream(file, std::ios::binary) << text.replace(from, endPlace - from, '\n' + tables + '\n');
        return;
    }
    EXPECT_EQ(text.substr(from, endPlace - from), '\n' + tables + '\n')
        << chapter << " isn't up to date: run scripts/write-manual.sh";
}
