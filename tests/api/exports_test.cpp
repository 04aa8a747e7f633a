// What the shared library shows: exactly the functions that its header declares.

#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "support/process.h"

static std::set<std::string> readHeaderNames() {
    const std::string header = readFile(TARNVELDE_SOURCE_DIR "/include/tarnvelde.h");
    const std::regex declaration("TARNVELDE_API\\s+int32_t\\s+(\\w+)\\s*\\(");
    std::set<std::string> names;
    for (auto match = std::sregex_iterator(header.begin(), header.end(), declaration); match != std::sregex_iterator();
         ++match) {
        names.insert((*match)[1]);
    }
    return names;
}

static std::set<std::string> readLibraryNames() {
    const ProcessResult listing = process_run({TARNVELDE_NM, "-D", "--defined-only", "-P", TARNVELDE_LIBRARY_FILE});
    EXPECT_EQ(listing.status, 0) << listing.err;
    std::set<std::string> names;
    std::istringstream lines(listing.out);
    for (std::string line; std::getline(lines, line);) {
        names.insert(line.substr(0, line.find(' ')));
    }
    return names;
}

TEST(Exports, HeaderDeclares47Functions) {
    EXPECT_EQ(readHeaderNames().size(), 47u);
}

TEST(Exports, LibraryShowsWhatTheHeaderDeclaresAndNothingElse) {
    EXPECT_EQ(readLibraryNames(), readHeaderNames());
}
