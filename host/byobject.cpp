// Makes a file by object of results that stand report by report (docs/results.md). Values are kept until those of an
// object make a piece that is worth a call, of as many objects at a time as have room in memory together; so each walk
// through the results takes some more objects, and no other file is needed. Where each piece belongs is known ahead.

#include "byobject.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <vector>

#include "aside.h"
#include "files.h"
#include "resultfile.h"
#include "results.h"
#include "runidentity.h"

namespace {

constexpr uint64_t MOST_MEMORY = uint64_t{64} << 20;  ///< bytes of values that wait
constexpr uint64_t WORTH_A_CALL = 4096;               ///< values

/// A file by object on its way.
struct Target {
    const ResultFile& results;
    AsideFile file{};
    uint32_t dates = DATES_LISTED;
    uint64_t datesPlace = 0;             ///< 0 if they aren't listed
    uint64_t index = 0, series = 0;      ///< places
    uint64_t length = 0;                 ///< bytes of all
    std::vector<ResultTable> tables{};   ///< with rows and places of all objects
    std::vector<unsigned char> bytes{};  ///< on their way into the file

    void write(uint64_t place, const void* data, size_t size) {
        const std::string failure = aside_writeAt(file, place, data, size);
        if (!failure.empty()) {
            throw ResultError(failure);
        }
    }
};

template <class Number>
void add(std::vector<unsigned char>& bytes, Number number) {
    for (size_t k = 0; k < sizeof number; ++k) {
        bytes.push_back(static_cast<unsigned char>(number >> (8 * k)));
    }
}

void addText(std::vector<unsigned char>& bytes, const std::string& text) {
    add(bytes, static_cast<uint32_t>(text.size()));
    bytes.insert(bytes.end(), text.begin(), text.end());
}

// --- what there is -------------------------------------------------------------------------------------------------

/// The rule that all dates of a binary file follow, to the last bit; else they are listed.
uint32_t findDates(const ResultFile& results) {
    if (results.kind == ResultKind::DATABASE) {
        return DATES_OF_DATABASE;
    }
    bool isPlain = true, isOfBinary = true;
    const ResultPart part{0, {0}, {}};  // of the system
    ResultRows rows(results, part, {});
    for (uint64_t period = 1; (isPlain || isOfBinary) && result_nextRow(rows); ++period) {
        isPlain = isPlain && rows.date == result_getRegularDate(results, DATES_OF_DATABASE, period);
        isOfBinary = isOfBinary && rows.date == result_getRegularDate(results, DATES_OF_BINARY, period);
    }
    return isOfBinary ? DATES_OF_BINARY : isPlain ? DATES_OF_DATABASE : DATES_LISTED;
}

/// Counts the rows of a table of a database, and marks the objects that lack some of the periods, or have them
/// otherwise than one after the other.
void surveyRows(const ResultFile& results, size_t number, ResultTable& table) {
    ResultPart part{number, {}, {}};
    for (size_t k = 0; k < table.objects.size(); ++k) {
        part.objects.push_back(k);
    }
    ResultRows rows(results, part, {});
    while (result_nextRow(rows)) {
        const uint64_t row = ++table.rowCounts[rows.object];
        if (rows.date != result_getRegularDate(results, DATES_OF_DATABASE, row)) {
            table.datePlaces[rows.object] = 1;
        }
    }
    const auto periods = static_cast<uint64_t>(results.periods);
    for (size_t k = 0; k < table.objects.size(); ++k) {
        if (table.rowCounts[k] > std::numeric_limits<int32_t>::max()) {
            throw ResultError(results.name + " has too many rows of one object");
        }
        table.datePlaces[k] = table.rowCounts[k] == periods || table.rowCounts[k] == 0 ? table.datePlaces[k] : 1;
    }
}

/// Gives each object its place.
void layOut(Target& target) {
    uint64_t place = target.series;
    if (target.dates == DATES_LISTED) {
        target.datesPlace = place;
        place += 8 * static_cast<uint64_t>(target.results.periods);
    }
    for (ResultTable& table : target.tables) {
        for (size_t k = 0; k < table.objects.size(); ++k) {
            if (table.datePlaces[k] != 0) {
                table.datePlaces[k] = place;
                place += 8 * table.rowCounts[k];
            }
            table.valuePlaces[k] = place;
            place += 4 * table.columns.size() * table.rowCounts[k];
        }
    }
    target.length = place + RESULT_OBJECTS_CLOSING;
    if (static_cast<uint64_t>(target.results.periods) > target.length) {
        throw ResultError(target.results.name + " is damaged: it counts more reports than it has rows");
    }
}

void survey(Target& target) {
    const ResultFile& results = target.results;
    target.dates = findDates(results);
    target.tables = results.tables;
    for (size_t t = 0; t < target.tables.size(); ++t) {
        ResultTable& table = target.tables[t];
        const bool isBinary = results.kind == ResultKind::BINARY;
        table.rowCounts.assign(table.objects.size(), isBinary ? static_cast<uint64_t>(results.periods) : 0);
        table.datePlaces.assign(table.objects.size(), 0);
        table.valuePlaces.assign(table.objects.size(), 0);
        if (!isBinary) {
            surveyRows(results, t, table);
        }
    }
}

// --- head and closing ----------------------------------------------------------------------------------------------

/// Names of what the results hold, up to the index.
std::vector<unsigned char> makeNames(const Target& target) {
    std::vector<unsigned char> bytes;
    add(bytes, static_cast<uint32_t>(target.tables.size()));
    const auto identity = runidentity_read(target.results);
    add(bytes, static_cast<uint32_t>(identity.size()));
    for (const auto& [name, value] : identity) {
        addText(bytes, name);
        addText(bytes, value);
    }
    for (const ResultTable& table : target.tables) {
        addText(bytes, table.name);
        add(bytes, static_cast<uint32_t>(table.columns.size()));
        add(bytes, static_cast<uint32_t>(table.objects.size()));
        for (const ResultColumn& column : table.columns) {
            addText(bytes, column.name);
            addText(bytes, column.unit);
        }
        for (const std::string& object : table.objects) {
            addText(bytes, object);
        }
    }
    bytes.resize((bytes.size() + 7) / 8 * 8);
    return bytes;
}

void addHead(const Target& target, std::vector<unsigned char>& bytes) {
    bytes.insert(bytes.end(), RESULT_OBJECTS_MARK, RESULT_OBJECTS_MARK + RESULT_MARK_LENGTH);
    add(bytes, RESULT_OBJECTS_VERSION);
    add(bytes, target.dates);
    add(bytes, std::bit_cast<uint64_t>(target.results.startDate));
    add(bytes, static_cast<uint32_t>(target.results.reportStep));
    add(bytes, static_cast<uint32_t>(target.results.periods));
    for (const uint64_t place : {target.length, target.datesPlace, target.index, target.series}) {
        add(bytes, place);
    }
    bytes.resize(RESULT_OBJECTS_HEAD);
}

/// All that stands ahead of the series, and the end of the file behind them.
void writeFrame(Target& target) {
    const std::vector<unsigned char> names = makeNames(target);
    uint64_t objects = 0;
    for (const ResultTable& table : target.tables) {
        objects += table.objects.size();
    }
    target.index = RESULT_OBJECTS_HEAD + names.size();
    target.series = target.index + objects * RESULT_OBJECTS_ENTRY;
    layOut(target);
    std::vector<unsigned char> bytes;
    addHead(target, bytes);
    bytes.insert(bytes.end(), names.begin(), names.end());
    for (const ResultTable& table : target.tables) {
        for (size_t k = 0; k < table.objects.size(); ++k) {
            add(bytes, table.rowCounts[k]);  // 64 bits: a count, and four bytes of 0
            add(bytes, table.datePlaces[k]);
            add(bytes, table.valuePlaces[k]);
        }
    }
    target.write(0, bytes.data(), bytes.size());
    std::vector<unsigned char> closing;
    add(closing, uint64_t{result_addChecksum(0, bytes.data(), bytes.size())});
    closing.insert(closing.end(), RESULT_OBJECTS_MARK, RESULT_OBJECTS_MARK + RESULT_MARK_LENGTH);
    target.write(target.length - RESULT_OBJECTS_CLOSING, closing.data(), closing.size());
}

// --- series --------------------------------------------------------------------------------------------------------

/// Values of some objects of a table that wait for more of them.
struct Pieces {
    const ResultTable& table;
    const ResultPart& part;
    uint64_t most;                  ///< rows of an object
    std::vector<float> values;      ///< object by object, and of each column by column
    std::vector<double> dates;      ///< object by object, of those that have their own
    std::vector<uint64_t> waiting;  ///< rows by object
    std::vector<uint64_t> written;
};

void writeNumbers(Target& target, uint64_t place, const float* values, uint64_t count) {
    target.bytes.clear();
    for (uint64_t k = 0; k < count; ++k) {
        add(target.bytes, std::bit_cast<uint32_t>(values[k]));
    }
    target.write(place, target.bytes.data(), target.bytes.size());
}

void writeNumbers(Target& target, uint64_t place, const double* dates, uint64_t count) {
    target.bytes.clear();
    for (uint64_t k = 0; k < count; ++k) {
        add(target.bytes, std::bit_cast<uint64_t>(dates[k]));
    }
    target.write(place, target.bytes.data(), target.bytes.size());
}

/// Writes what waits of an object, the k-th one of the part.
void writePieces(Target& target, Pieces& pieces, size_t k) {
    const ResultTable& table = pieces.table;
    const size_t object = pieces.part.objects[k];
    const uint64_t count = pieces.waiting[k], columns = table.columns.size();
    if (table.datePlaces[object] != 0) {
        writeNumbers(target, table.datePlaces[object] + 8 * pieces.written[k], &pieces.dates[k * pieces.most], count);
    }
    for (uint64_t c = 0; c < columns; ++c) {
        const uint64_t place = table.valuePlaces[object] + 4 * (c * table.rowCounts[object] + pieces.written[k]);
        writeNumbers(target, place, &pieces.values[(k * columns + c) * pieces.most], count);
    }
    pieces.written[k] += count;
    pieces.waiting[k] = 0;
}

[[noreturn]] void failAsChanged(const ResultFile& results) {
    throw ResultError(results.name + " has changed while it was read");
}

/// Writes the series of some objects in one walk through the results.
void writeObjects(Target& target, const ResultPart& part, uint64_t most) {
    const ResultTable& table = target.tables[part.table];
    const size_t count = part.objects.size(), columns = part.columns.size();
    Pieces pieces{table, part, most, {}, {}, std::vector<uint64_t>(count), std::vector<uint64_t>(count)};
    pieces.values.resize(count * columns * most);
    const bool hasOwnDates =
        std::any_of(part.objects.begin(), part.objects.end(), [&](size_t k) { return table.datePlaces[k] != 0; });
    pieces.dates.resize(hasOwnDates ? count * most : 0);
    ResultRows rows(target.results, part, {});
    while (result_nextRow(rows)) {
        const size_t k = rows.object;
        if (pieces.written[k] + pieces.waiting[k] >= table.rowCounts[part.objects[k]]) {
            failAsChanged(target.results);
        }
        const uint64_t row = pieces.waiting[k]++;
        for (size_t c = 0; c < columns; ++c) {
            pieces.values[(k * columns + c) * most + row] = static_cast<float>(rows.values[c]);
        }
        if (hasOwnDates) {
            pieces.dates[k * most + row] = rows.date;
        }
        if (pieces.waiting[k] == most) {
            writePieces(target, pieces, k);
        }
    }
    for (size_t k = 0; k < count; ++k) {
        writePieces(target, pieces, k);
        if (pieces.written[k] != table.rowCounts[part.objects[k]]) {
            failAsChanged(target.results);
        }
    }
}

/// Writes the series of a table: of as many objects in one walk as leave room for pieces that are worth a call.
void writeTable(Target& target, size_t number) {
    const ResultTable& table = target.tables[number];
    ResultPart all{number, {}, {}};
    for (size_t c = 0; c < table.columns.size(); ++c) {
        all.columns.push_back(c);
    }
    for (size_t k = 0; k < table.objects.size(); ++k) {
        all.objects.push_back(k);
    }
    const uint64_t longest = std::max<uint64_t>(*std::max_element(table.rowCounts.begin(), table.rowCounts.end()), 1);
    const uint64_t width = 4 * table.columns.size() + 8;  // bytes of a row
    const uint64_t least = std::min(longest, WORTH_A_CALL);
    for (size_t begin = 0; begin < all.objects.size();) {
        const ResultPart part = results_cut(all, begin, MOST_MEMORY, [&](size_t) { return width * least; });
        const uint64_t room = MOST_MEMORY / (width * part.objects.size());
        writeObjects(target, part, std::clamp(room, least, longest));
        begin += part.objects.size();
    }
}

/// The dates of a binary file that follow no rule.
void writeDates(Target& target) {
    const ResultPart part{0, {0}, {}};
    ResultRows rows(target.results, part, {});
    std::vector<double> dates;
    uint64_t place = target.datesPlace;
    for (bool isThere = true; isThere;) {
        isThere = result_nextRow(rows);
        if (isThere) {
            dates.push_back(rows.date);
        }
        if (!isThere || dates.size() == WORTH_A_CALL) {
            writeNumbers(target, place, dates.data(), dates.size());
            place += 8 * dates.size();
            dates.clear();
        }
    }
}

}  // namespace

std::string byobject_findConflict(const std::string& source, const std::string& target) {
    for (const std::string& input : {source, source + ".run", source + "-journal"}) {
        if (files_isSame(input, target) || files_isSame(input, aside_getName(target))) {
            return "the file by object would take the place of the results";
        }
    }
    return {};
}

void byobject_write(const ResultFile& results, const std::string& target) {
    if (results.kind == ResultKind::BY_OBJECT) {
        throw ResultError(results.name + " is by object already");
    }
    Target made{results};
    if (const std::string failure = aside_begin(made.file, target); !failure.empty()) {
        throw ResultError(failure);
    }
    survey(made);
    writeFrame(made);
    if (made.dates == DATES_LISTED) {
        writeDates(made);
    }
    for (size_t t = 0; t < made.tables.size(); ++t) {
        writeTable(made, t);
    }
    if (const std::string failure = aside_end(made.file); !failure.empty()) {
        throw ResultError(failure);
    }
}
