// What a run is known by. The text beside a binary file is one of the library's if it begins as such, and belongs to
// the file if it isn't older: a run that leaves none may have written over the results.

#include "runidentity.h"

#include <sqlite3.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <sstream>

#include "characters.h"
#include "files.h"
#include "posix.h"
#include "resultfile.h"

namespace {

constexpr const char* ENDING = ".run";
constexpr const char* FIRST_LINE = "tarnvelde run";
constexpr size_t MOST_BYTES = 4096;

using Identity = std::map<std::string, std::string>;

/// Whether the results can be those of the run: they begin where it began, and don't go beyond its end. Times of files
/// don't tell it all: they are as coarse as the system's clock, and a file that is moved keeps its own.
bool isOfRun(const Identity& identity, const ResultFile& file) {
    const auto begin = identity.find("begin"), end = identity.find("end");
    const double last = file.startDate + std::max(file.periods - 1, 0) * static_cast<double>(file.reportStep) / 86400.0;
    return file.isEnded && begin != identity.end() && begin->second == result_formatDate(file.startDate) &&
           end != identity.end() && end->second >= result_formatDate(last);
}

Identity readText(const ResultFile& file) {
    const std::string name = file.name + ENDING;
    if (!files_isRegular(name) || posix_isOlder(name, file.name)) {
        return {};
    }
    std::ifstream stream(name, std::ios::binary);
    std::string bytes(MOST_BYTES, '\0');
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<size_t>(stream.gcount()));
    std::istringstream lines(bytes);
    std::string line;
    Identity identity;
    if (!std::getline(lines, line) || line != FIRST_LINE) {
        return {};
    }
    while (std::getline(lines, line)) {
        const size_t blank = line.find(' ');
        if (blank != std::string::npos) {
            identity[line.substr(0, blank)] = line.substr(blank + 1);
        }
    }
    return isOfRun(identity, file) ? identity : Identity();
}

std::string getText(sqlite3_stmt* statement, int column) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    return text ? std::string(text).substr(0, MOST_BYTES) : std::string();
}

Identity readTable(const ResultFile& file) {
    static constexpr const char* QUESTION =
        "select Name, Value from TarnveldeRun where exists"
        " (select 1 from sqlite_master where name='TarnveldeRun' and type='table' and rootpage > 0 and"
        " (select group_concat(name||' '||type) from pragma_table_info('TarnveldeRun')) = 'Name TEXT,Value TEXT')"
        " limit 16";
    sqlite3_stmt* raw = nullptr;
    Identity identity;
    if (sqlite3_prepare_v2(file.database, QUESTION, -1, &raw, nullptr) != SQLITE_OK) {
        return identity;
    }
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(raw, sqlite3_finalize);
    while (sqlite3_step(raw) == SQLITE_ROW) {
        identity[getText(raw, 0)] = getText(raw, 1);
    }
    return identity;
}

}  // namespace

Identity runidentity_read(const ResultFile& file) {
    if (file.kind == ResultKind::BY_OBJECT) {
        return file.identity;
    }
    return file.database ? readTable(file) : readText(file);
}

std::string runidentity_describe(const Identity& identity) {
    const auto get = [&](const char* name) {
        const auto found = identity.find(name);
        return found == identity.end() ? std::string("?") : characters_makePrintable(found->second);
    };
    const std::string code = identity.count("code") > 0 ? " with code " + get("code") : std::string();
    return get("state") + code + ", from " + get("begin") + " to " + get("end") + "; version " + get("version") +
           ", inputs " + get("inputs");
}
