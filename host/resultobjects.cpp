// Reads a file by object (docs/results.md): a head with all names, an index with a place for each object, and behind
// it the values of each object, column after column. Places have to follow each other without a gap, so that nothing
// that an index says can lead anywhere else; the head has a checksum.

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>

#include "posix.h"
#include "resultfile.h"

namespace {

constexpr uint64_t MOST_MEMORY_OF_WALK = uint64_t{32} << 20;  ///< bytes of values in a walk
constexpr uint64_t MOST_ROWS = uint64_t{1} << 16;             ///< of an object that are read at once
constexpr uint64_t LEAST_ROWS = 32;

[[noreturn]] void fail(const ResultFile& file, const std::string& what) {
    throw ResultError(file.name + ' ' + what);
}

void readAt(const ResultFile& file, uint64_t place, void* target, size_t size) {
    auto* at = static_cast<char*>(target);
    while (size > 0) {
        const ssize_t count = pread(fileno(file.binary), at, size, static_cast<off_t>(place));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            fail(file, "can't be read");
        }
        at += count;
        place += static_cast<uint64_t>(count);
        size -= static_cast<size_t>(count);
    }
}

uint64_t getUnsigned(const unsigned char* bytes, size_t size) {
    uint64_t value = 0;
    for (size_t k = size; k-- > 0;) {
        value = value << 8 | bytes[k];
    }
    return value;
}

/// A walk through all that stands ahead of the series, in one direction.
struct HeadWalk {
    const ResultFile& file;
    uint64_t end;  ///< of what may be read
    uint64_t place = 0;
    uint32_t sum = 0;
    std::vector<unsigned char> block{};
    size_t at = 0;  ///< in the block

    void take(void* target, size_t size) {
        if (size > end - place) {
            fail(file, "is truncated or damaged: its head is longer than its place");
        }
        auto* bytes = static_cast<unsigned char*>(target);
        while (size > 0) {
            if (at == block.size()) {
                constexpr uint64_t BLOCK = 1 << 16;
                block.resize(static_cast<size_t>(std::min(BLOCK, end - place)));
                at = 0;
                readAt(file, place, block.data(), block.size());
            }
            const size_t part = std::min(size, block.size() - at);
            std::memcpy(bytes, block.data() + at, part);
            sum = result_addChecksum(sum, block.data() + at, part);
            at += part;
            bytes += part;
            place += part;
            size -= part;
        }
    }
    uint64_t takeUnsigned(size_t size) {
        std::array<unsigned char, 8> bytes{};
        take(bytes.data(), size);
        return getUnsigned(bytes.data(), size);
    }
    uint32_t takeCount() { return static_cast<uint32_t>(takeUnsigned(4)); }
    /// A count of what takes so many bytes at least.
    uint32_t takeCountOf(uint64_t bytes) {
        const uint32_t count = takeCount();
        if (count > (end - place) / bytes) {
            fail(file, "is damaged: it counts more than it has room for");
        }
        return count;
    }
    std::string takeText() {
        std::string text(takeCountOf(1), '\0');
        take(text.data(), text.size());
        return text;
    }
};

/// Places that the head tells.
struct Places {
    uint64_t length;
    uint64_t dates;
    uint64_t index;
    uint64_t series;
};

constexpr uint64_t LEAST_TABLE = 12, LEAST_COLUMN = 8, LEAST_OBJECT = 4;  ///< bytes in the list of names

void readTable(HeadWalk& walk, ResultFile& file) {
    ResultTable table;
    table.name = walk.takeText();
    const uint32_t columns = walk.takeCountOf(LEAST_COLUMN), objects = walk.takeCountOf(LEAST_OBJECT);
    for (uint32_t k = 0; k < columns; ++k) {
        std::string name = walk.takeText();
        table.columns.push_back({std::move(name), walk.takeText()});
    }
    for (uint32_t k = 0; k < objects; ++k) {
        table.objects.push_back(walk.takeText());
    }
    if (columns == 0 || objects == 0) {
        fail(file, "is damaged: a table has no column or no object");
    }
    file.tables.push_back(std::move(table));
}

/// Each table is one of those that there are, in their order, and the first that of the system.
void checkTables(const ResultFile& file) {
    size_t next = 0;
    const std::vector<ResultTable> known = result_listTables({});
    for (const ResultTable& table : file.tables) {
        while (next < known.size() && known[next].name != table.name) {
            ++next;
        }
        if (next++ == known.size()) {
            fail(file, "is damaged: its tables are none of results, or out of order");
        }
    }
    if (file.tables.empty() || file.tables[0].name != known[0].name || file.tables[0].objects.size() != 1) {
        fail(file, "is damaged: it lacks the table of the system");
    }
}

/// What the run is known by: names and values, in turn.
void readIdentity(HeadWalk& walk, ResultFile& file) {
    for (uint32_t count = walk.takeCountOf(8); count > 0; --count) {
        const std::string name = walk.takeText();
        file.identity[name] = walk.takeText();
    }
}

void readNames(HeadWalk& walk, ResultFile& file, uint64_t index) {
    const uint32_t tables = walk.takeCountOf(LEAST_TABLE);
    readIdentity(walk, file);
    for (uint32_t k = 0; k < tables; ++k) {
        readTable(walk, file);
    }
    checkTables(file);
    while (walk.place % 8 != 0) {
        if (walk.takeUnsigned(1) != 0) {
            fail(file, "is damaged: its names don't end where they should");
        }
    }
    if (walk.place != index) {
        fail(file, "is damaged: its index is not where the head says");
    }
}

/// Rows of an object, and where they stand: right behind what stands ahead of them.
void readEntry(HeadWalk& walk, const ResultFile& file, ResultTable& table, uint64_t end, uint64_t& place) {
    const uint64_t rows = walk.takeCount(), none = walk.takeCount();
    const uint64_t dates = walk.takeUnsigned(8), values = walk.takeUnsigned(8);
    const bool hasOwn = dates != 0;
    const uint64_t length = rows * ((hasOwn ? 8 : 0) + 4 * static_cast<uint64_t>(table.columns.size()));
    const bool fits = rows <= std::numeric_limits<int32_t>::max() && length <= end - place && none == 0 &&
                      (hasOwn || rows == 0 || rows == static_cast<uint64_t>(file.periods));
    if (!fits || (hasOwn && dates != place) || values != place + (hasOwn ? 8 * rows : 0)) {
        fail(file, "is damaged: its series are not where the index should say");
    }
    place += length;
    table.rowCounts.push_back(rows);
    table.datePlaces.push_back(dates);
    table.valuePlaces.push_back(values);
}

void readIndex(HeadWalk& walk, ResultFile& file, const Places& places) {
    const uint64_t end = places.length - RESULT_OBJECTS_CLOSING;
    uint64_t place = places.series;
    const bool isListed = file.dates == DATES_LISTED;
    if (places.dates != (isListed ? place : 0) || (isListed && 8 * static_cast<uint64_t>(file.periods) > end - place)) {
        fail(file, "is damaged: its dates are not where the head says");
    }
    place += isListed ? 8 * static_cast<uint64_t>(file.periods) : 0;
    for (ResultTable& table : file.tables) {
        for (size_t k = 0; k < table.objects.size(); ++k) {
            readEntry(walk, file, table, end, place);
        }
    }
    if (walk.place != places.series || place != end) {
        fail(file, "is damaged: its length doesn't fit its index");
    }
}

/// The first part of the head, up to the names.
Places readHead(HeadWalk& walk, ResultFile& file, uint64_t length) {
    std::array<char, RESULT_MARK_LENGTH> mark{};
    walk.take(mark.data(), mark.size());
    if (walk.takeCount() != RESULT_OBJECTS_VERSION) {
        fail(file, "is of another version");
    }
    file.dates = walk.takeCount();
    file.startDate = std::bit_cast<double>(walk.takeUnsigned(8));
    file.reportStep = static_cast<int32_t>(walk.takeCount());
    file.periods = static_cast<int32_t>(walk.takeCount());
    Places places{};
    for (uint64_t* place : {&places.length, &places.dates, &places.index, &places.series}) {
        *place = walk.takeUnsigned(8);
    }
    if (file.dates > DATES_OF_BINARY || !std::isfinite(file.startDate) || file.reportStep <= 0) {
        fail(file, "is damaged: it has no start or no report step");
    }
    if (places.length != length) {
        fail(file, length < places.length ? "is truncated" : "is damaged: it is longer than its head says");
    }
    if (file.periods < 0 || static_cast<uint64_t>(file.periods) > length) {
        fail(file, "is damaged: it promises more reports than it has room for");
    }
    if (places.index > places.series || places.series > length - RESULT_OBJECTS_CLOSING) {
        fail(file, "is damaged: its parts are not where they should be");
    }
    file.datesPlace = places.dates;
    return places;
}

double getDate(const ResultRows& rows, ResultReader& reader, size_t object) {
    const ResultFile& file = rows.file;
    const ResultTable& table = file.tables[rows.part.table];
    const uint64_t own = table.datePlaces[object];
    if (own == 0 && file.dates != DATES_LISTED) {
        return result_getRegularDate(file, file.dates, reader.row + 1);
    }
    if (reader.row < reader.dateBegin || reader.row >= reader.dateBegin + reader.dates.size()) {
        const uint64_t most = std::clamp(MOST_MEMORY_OF_WALK / (8 * rows.readers.size()), LEAST_ROWS, MOST_ROWS);
        std::vector<unsigned char> bytes(8 * static_cast<size_t>(std::min(most, reader.rows - reader.row)));
        readAt(file, (own == 0 ? file.datesPlace : own) + 8 * reader.row, bytes.data(), bytes.size());
        reader.dateBegin = reader.row;
        reader.dates.clear();
        for (size_t k = 0; k < bytes.size(); k += 8) {
            reader.dates.push_back(std::bit_cast<double>(getUnsigned(&bytes[k], 8)));
        }
    }
    return reader.dates[static_cast<size_t>(reader.row - reader.dateBegin)];
}

/// Goes on to the next row within the window; behind the last one the date is infinite.
void seek(const ResultRows& rows, ResultReader& reader, size_t object) {
    for (; reader.row < reader.rows; ++reader.row) {
        reader.date = getDate(rows, reader, object);
        if (result_isWithin(rows.window, reader.date)) {
            return;
        }
    }
    reader.date = HUGE_VAL;
}

/// Reads values of an object from its next row on.
void readValues(const ResultRows& rows, ResultReader& reader, size_t object) {
    const ResultTable& table = rows.file.tables[rows.part.table];
    const uint64_t columns = rows.part.columns.size();
    const uint64_t most = MOST_MEMORY_OF_WALK / (4 * columns * rows.readers.size());
    reader.begin = reader.row;
    reader.count = std::min(std::clamp(most, LEAST_ROWS, MOST_ROWS), reader.rows - reader.row);
    reader.values.resize(static_cast<size_t>(columns * reader.count));
    std::vector<unsigned char> bytes(4 * static_cast<size_t>(reader.count));
    for (size_t c = 0; c < columns; ++c) {
        readAt(rows.file, table.valuePlaces[object] + 4 * (rows.part.columns[c] * reader.rows + reader.row),
               bytes.data(), bytes.size());
        for (size_t k = 0; k < reader.count; ++k) {
            reader.values[c * reader.count + k] =
                std::bit_cast<float>(static_cast<uint32_t>(getUnsigned(&bytes[4 * k], 4)));
        }
    }
}

}  // namespace

uint32_t result_addChecksum(uint32_t sum, const unsigned char* bytes, size_t size) {
    static const std::array<uint32_t, 256> table = [] {
        std::array<uint32_t, 256> made{};
        for (uint32_t k = 0; k < made.size(); ++k) {
            uint32_t value = k;
            for (int bit = 0; bit < 8; ++bit) {
                value = (value & 1) != 0 ? value >> 1 ^ 0xEDB88320u : value >> 1;
            }
            made[k] = value;
        }
        return made;
    }();
    sum = ~sum;
    for (size_t k = 0; k < size; ++k) {
        sum = table[(sum ^ bytes[k]) & 0xFF] ^ sum >> 8;
    }
    return ~sum;
}

/// The very operations by which the engine and the reader of databases come to their dates.
double result_getRegularDate(const ResultFile& file, uint32_t dates, uint64_t period) {
    const double seconds = static_cast<double>(period) * file.reportStep;
    if (dates == DATES_OF_DATABASE) {
        return file.startDate + seconds / 86400.0;
    }
    const double midnight = std::floor(file.startDate);
    const double second = std::floor((file.startDate - midnight) * 86400.0 + 0.5);
    return (second + (seconds * 1000.0 + 1.0) / 1000.0) / 86400.0 + midnight;
}

void result_openObjects(ResultFile& file) {
    const int64_t size = posix_getSize(fileno(file.binary));
    if (size < 0) {
        fail(file, "can't be read");
    }
    const auto length = static_cast<uint64_t>(size);
    if (length < RESULT_OBJECTS_HEAD + RESULT_OBJECTS_CLOSING) {
        fail(file, "is truncated");
    }
    HeadWalk walk{file, RESULT_OBJECTS_HEAD};
    const Places places = readHead(walk, file, length);
    std::array<unsigned char, RESULT_OBJECTS_CLOSING> closing{};
    readAt(file, length - RESULT_OBJECTS_CLOSING, closing.data(), closing.size());
    if (std::memcmp(&closing[8], RESULT_OBJECTS_MARK, RESULT_MARK_LENGTH) != 0) {
        fail(file, "is truncated or damaged: it doesn't end with its mark");
    }
    walk.end = places.series;
    readNames(walk, file, places.index);
    readIndex(walk, file, places);
    if (getUnsigned(closing.data(), 8) != walk.sum) {
        fail(file, "is damaged: its head was changed");
    }
}

void result_beginObjectRows(ResultRows& rows) {
    const ResultTable& table = rows.file.tables[rows.part.table];
    rows.readers.resize(rows.part.objects.size());
    for (size_t k = 0; k < rows.readers.size(); ++k) {
        const size_t object = rows.part.objects[k];
        rows.readers[k].rows = table.rowCounts[object];
        seek(rows, rows.readers[k], object);
    }
}

bool result_nextObjectRow(ResultRows& rows) {
    for (;;) {
        for (; rows.next < rows.readers.size(); ++rows.next) {
            ResultReader& reader = rows.readers[rows.next];
            const size_t object = rows.part.objects[rows.next];
            if (reader.date != rows.date || reader.row >= reader.rows) {
                continue;
            }
            if (!rows.values.empty() && (reader.row < reader.begin || reader.row >= reader.begin + reader.count)) {
                readValues(rows, reader, object);
            }
            for (size_t c = 0; c < rows.values.size(); ++c) {
                rows.values[c] = static_cast<double>(reader.values[c * reader.count + (reader.row - reader.begin)]);
            }
            ++reader.row;
            seek(rows, reader, object);
            rows.object = rows.next++;
            return true;
        }
        double nearest = HUGE_VAL;
        for (const ResultReader& reader : rows.readers) {
            nearest = reader.row < reader.rows && reader.date < nearest ? reader.date : nearest;
        }
        if (nearest == HUGE_VAL) {
            return false;
        }
        rows.date = nearest;
        rows.next = 0;
    }
}
