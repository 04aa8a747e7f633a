// What the shared library shows: exactly the functions that its header declares.

#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "support/process.h"

static std::set<std::string> readHeaderNames(const std::string& name, const std::string& mark) {
    const std::string header = readFile(TARNVELDE_SOURCE_DIR "/include/" + name);
    const std::regex declaration(mark + "_API\\s+(?:int32_t\\s+|const char\\*\\s*)(\\w+)\\s*\\(");
    std::set<std::string> names;
    for (auto match = std::sregex_iterator(header.begin(), header.end(), declaration); match != std::sregex_iterator();
         ++match) {
        names.insert((*match)[1]);
    }
    return names;
}

/// The functions of the one model, and those of models as objects.
static std::set<std::string> readNamesOfOne() {
    return readHeaderNames("tarnvelde.h", "TARNVELDE");
}
static std::set<std::string> readNamesOfMany() {
    return readHeaderNames("tarnvelde_model.h", "TV");
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
    EXPECT_EQ(readNamesOfOne().size(), 47u);
}

TEST(Exports, LibraryShowsWhatTheHeadersDeclareAndNothingElse) {
    std::set<std::string> names = readNamesOfOne();
    names.merge(readNamesOfMany());
    EXPECT_EQ(readLibraryNames(), names);
}

/// Those that a released library has had. One that vanishes breaks the hosts that call it, so its number changes; a new
/// one is added to the list with the version that brings it (docs/packages.md).
TEST(Exports, NoneOfTheListHasVanishedAndEachNewOneIsInIt) {
    std::istringstream list(readFile(TARNVELDE_SOURCE_DIR "/packaging/debian/libtarnvelde2.symbols"));
    std::set<std::string> names;
    std::string line;
    std::getline(list, line);  // the name of the library
    while (std::getline(list, line)) {
        const size_t end = line.find("@Base ");
        ASSERT_NE(end, std::string::npos) << line;
        names.insert(line.substr(1, end - 1));
    }
    EXPECT_EQ(readLibraryNames(), names);
}
