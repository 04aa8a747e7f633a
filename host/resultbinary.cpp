// Reads the binary results file. Its parts follow each other without a gap, so everything that the head promises can be
// counted and compared with the length of the file before anything is read by it.

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <numeric>

#include "characters.h"
#include "posix.h"
#include "resultfile.h"

namespace {

constexpr uint64_t CLOSING_LENGTH = 28;
constexpr uint64_t MOST_VALUES = uint64_t{1} << 60;  ///< of a record

/// Tables with objects: all but that of the system.
size_t getTableCount() {
    static const size_t count = result_listTables({}).size() - 1;
    return count;
}

/// Two numbers, the counts of all tables, and that of the pollutants.
uint64_t getHeadLength() {
    return 4 * (2 + getTableCount() + 1);
}

constexpr size_t LEAST_BLOCK = 512, GREATEST_BLOCK = size_t{256} << 10;  ///< bytes
constexpr uint64_t CLOSE_BY = size_t{16} << 10;                          ///< bytes that are sooner read than skipped

/// Reads the next block of a file, from `place` on. Where a reader goes on close behind the last one, blocks grow: then
/// what is wanted is dense, and calls cost more than bytes.
void readBlock(const ResultFile& file, ResultBlock& block, uint64_t place, size_t least) {
    const uint64_t end = block.begin + block.bytes.size();
    const bool isClose = !block.bytes.empty() && place >= block.begin && place <= end + CLOSE_BY;
    block.length = isClose ? std::min(2 * block.length, GREATEST_BLOCK) : LEAST_BLOCK;
    block.bytes.resize(std::max(block.length, least));
    size_t filled = 0;
    while (filled < block.bytes.size()) {
        const ssize_t count = pread(fileno(file.binary), block.bytes.data() + filled, block.bytes.size() - filled,
                                    static_cast<off_t>(place + filled));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        filled += static_cast<size_t>(count);
    }
    block.bytes.resize(filled);
    block.begin = place;
    if (filled < least) {
        throw ResultError(file.name + " can't be read");
    }
}

/// Bytes of a file, which stay where they are until the next call. There are at most LEAST_BLOCK of them.
const unsigned char* getBytes(const ResultFile& file, ResultBlock& block, uint64_t place, size_t size) {
    if (place < block.begin || place + size > block.begin + block.bytes.size()) {
        readBlock(file, block, place, size);
    }
    return block.bytes.data() + (place - block.begin);
}

/// A walk through the file.
struct Cursor {
    const ResultFile& file;
    uint64_t length;  ///< bytes of the file
    uint64_t place;
    ResultBlock block{};

    [[noreturn]] void fail(const std::string& what) const { throw ResultError(file.name + ' ' + what); }
    void read(void* target, uint64_t size) {
        if (size > length - place) {
            fail("is truncated");
        }
        for (auto* at = static_cast<unsigned char*>(target); size > 0;) {
            const size_t part = static_cast<size_t>(std::min<uint64_t>(size, LEAST_BLOCK));
            std::memcpy(at, getBytes(file, block, place, part), part);
            at += part;
            place += part;
            size -= part;
        }
    }
    uint64_t readUnsigned(size_t size) {
        unsigned char bytes[8];
        read(bytes, size);
        uint64_t value = 0;
        for (size_t k = size; k-- > 0;) {
            value = value << 8 | bytes[k];
        }
        return value;
    }
    int32_t readInteger() { return static_cast<int32_t>(static_cast<uint32_t>(readUnsigned(4))); }
    double readDouble() { return std::bit_cast<double>(readUnsigned(8)); }
};

float getFloat(const unsigned char* bytes) {
    return std::bit_cast<float>(static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8 |
                                static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24);
}

std::string readName(Cursor& cursor) {
    const int32_t size = cursor.readInteger();
    if (size < 1) {
        cursor.fail("is damaged: a name has no length");
    }
    if (static_cast<uint64_t>(size) > cursor.length - cursor.place) {
        cursor.fail("is truncated");
    }
    std::string name(static_cast<size_t>(size), '\0');
    cursor.read(name.data(), name.size());
    if (std::strlen(name.c_str()) + 1 != name.size()) {
        cursor.fail("is damaged: a name doesn't end where it should");
    }
    name.pop_back();
    return characters_toUtf8(name);
}

constexpr uint64_t LEAST_NAME = 5;  ///< bytes: a length, and an end

/// Counts of the head, none of which may promise more than the file has room for.
std::vector<uint64_t> readCounts(Cursor& cursor) {
    std::vector<uint64_t> counts;
    uint64_t sum = 0;
    for (size_t k = 0; k <= getTableCount(); ++k) {
        const int32_t count = cursor.readInteger();
        if (count < 0) {
            cursor.fail("is damaged: it counts less than no objects");
        }
        counts.push_back(static_cast<uint64_t>(count));
        sum += counts.back();
    }
    // Each pollutant has a name, and codes in all tables: one for each of its columns.
    const std::vector<ResultTable> none = result_listTables({}), one = result_listTables({""});
    uint64_t codes = 0;
    for (size_t t = 0; t < none.size(); ++t) {
        codes += one[t].columns.size() - none[t].columns.size();
    }
    const uint64_t left = cursor.length - cursor.place;
    if (sum > left / LEAST_NAME || counts.back() > left / (LEAST_NAME + 4 * codes)) {
        cursor.fail("is truncated");
    }
    return counts;
}

void readNames(Cursor& cursor, const std::vector<uint64_t>& counts, std::vector<ResultTable>& tables) {
    std::vector<std::vector<std::string>> names(getTableCount() + 1);
    for (size_t k = 0; k < names.size(); ++k) {
        for (uint64_t n = 0; n < counts[k]; ++n) {
            names[k].push_back(readName(cursor));
        }
    }
    tables = result_listTables(names.back());
    tables[0].objects = {"System"};
    for (size_t k = 0; k < getTableCount(); ++k) {
        tables[k + 1].objects = std::move(names[k]);
    }
}

void readCodes(Cursor& cursor, const std::vector<ResultTable>& tables) {
    for (const ResultTable& table : tables) {
        if (static_cast<uint32_t>(cursor.readInteger()) != table.columns.size()) {
            cursor.fail("is damaged: a table has another number of columns");
        }
        for (size_t k = 0; k < table.columns.size(); ++k) {
            if (static_cast<uint32_t>(cursor.readInteger()) != k) {
                cursor.fail("is damaged: its columns are out of order");
            }
        }
    }
}

/// A file whose run was killed counts as long as its last whole record.
void takeWholeRecords(const Cursor& cursor, ResultFile& file) {
    const uint64_t records = (cursor.length - file.resultsOffset) / file.recordLength;
    if (records == 0 || records > INT32_MAX) {
        cursor.fail("is truncated, or its run was not ended: it has no closing block");
    }
    file.isEnded = false;
    file.periods = static_cast<int32_t>(records);
}

bool hasClosing(Cursor& cursor, const ResultFile& file) {
    if (cursor.length < file.resultsOffset + CLOSING_LENGTH) {
        return false;
    }
    cursor.place = cursor.length - 4;
    return cursor.readInteger() == RESULT_MAGIC;
}

/// Compares the closing block with what the walk has found.
void readClosing(Cursor& cursor, ResultFile& file, const uint64_t (&sections)[4]) {
    if (!hasClosing(cursor, file)) {
        takeWholeRecords(cursor, file);
        return;
    }
    cursor.place = cursor.length - CLOSING_LENGTH;
    uint32_t stored[4];
    for (uint32_t& section : stored) {
        section = static_cast<uint32_t>(cursor.readInteger());
    }
    const int32_t periods = cursor.readInteger();
    const uint64_t records = cursor.length - CLOSING_LENGTH - file.resultsOffset;
    for (int k = 0; k < 4; ++k) {
        if (stored[k] != static_cast<uint32_t>(sections[k])) {
            cursor.fail("is damaged: its sections are not where the closing block says");
        }
    }
    // Divided, since a product of what a file claims may be too large for any number.
    if (periods < 0 || records / file.recordLength != static_cast<uint64_t>(periods) ||
        records % file.recordLength != 0) {
        cursor.fail("is truncated or damaged: its length doesn't fit the number of reports");
    }
    // Without a report nothing of the file stands behind its values. Objects and columns may then promise the product
    // of what they take themselves.
    constexpr uint64_t MOST_WITHOUT_REPORT = 256;  // bytes of a record for each byte of the file
    if (periods == 0 && file.recordLength / MOST_WITHOUT_REPORT > cursor.length) {
        cursor.fail("is damaged: it promises more values than it has room for");
    }
    file.periods = periods;
}

double getDate(const unsigned char* bytes) {
    uint64_t value = 0;
    for (size_t k = 8; k-- > 0;) {
        value = value << 8 | bytes[k];
    }
    return std::bit_cast<double>(value);
}

}  // namespace

void result_openBinary(ResultFile& file) {
    const int64_t size = posix_getSize(fileno(file.binary));
    if (size < 0) {
        throw ResultError(file.name + " can't be read");
    }
    Cursor cursor{file, static_cast<uint64_t>(size), 0};
    if (cursor.length < 4 || cursor.readInteger() != RESULT_MAGIC) {
        cursor.fail("is no file of results");
    }
    if (cursor.length < getHeadLength() + CLOSING_LENGTH) {
        cursor.fail("is truncated");
    }
    if (cursor.readInteger() != RESULT_VERSION) {
        cursor.fail("is of another version");
    }
    const std::vector<uint64_t> counts = readCounts(cursor);
    uint64_t sections[4] = {cursor.place, 0, 0, 0};
    readNames(cursor, counts, file.tables);
    sections[1] = cursor.place;
    readCodes(cursor, file.tables);
    sections[2] = cursor.place;
    file.startDate = cursor.readDouble();
    file.reportStep = cursor.readInteger();
    if (!std::isfinite(file.startDate) || file.reportStep <= 0) {
        cursor.fail("is damaged: it has no start or no report step");
    }
    sections[3] = file.resultsOffset = cursor.place;
    uint64_t values = 0;
    for (ResultTable& table : file.tables) {
        table.firstValue = values;
        const uint64_t left = MOST_VALUES - values;
        if (table.objects.size() > left / table.columns.size()) {
            cursor.fail("is damaged: its records are longer than any file");
        }
        values += table.objects.size() * table.columns.size();
    }
    file.recordLength = 8 + 4 * values;
    std::copy(std::begin(sections), std::end(sections), std::begin(file.sections));
    readClosing(cursor, file, sections);
    std::erase_if(file.tables, [](const ResultTable& table) { return table.objects.empty(); });
}

std::vector<unsigned char> result_makeClosing(const ResultFile& file) {
    std::vector<unsigned char> bytes;
    const auto add = [&](uint32_t number) {
        for (int k = 0; k < 4; ++k) {
            bytes.push_back(static_cast<unsigned char>(number >> (8 * k)));
        }
    };
    for (const uint64_t section : file.sections) {
        add(static_cast<uint32_t>(section));
    }
    add(static_cast<uint32_t>(file.periods));
    add(0);  // nobody knows of an error
    add(RESULT_MAGIC);
    return bytes;
}

/// Goes to the next record within the window; false if there is none.
static bool findRecord(ResultRows& rows) {
    while (rows.period < rows.file.periods) {
        const uint64_t place = rows.file.resultsOffset + static_cast<uint64_t>(rows.period++) * rows.file.recordLength;
        rows.date = getDate(getBytes(rows.file, rows.block, place, 8));
        if (result_isWithin(rows.window, rows.date)) {
            rows.next = 0;
            return true;
        }
    }
    return false;
}

/// Blocks are read forward, so values are taken in the order of the file.
void result_beginBinaryRows(ResultRows& rows) {
    const std::vector<size_t>& columns = rows.part.columns;
    rows.order.resize(columns.size());
    std::iota(rows.order.begin(), rows.order.end(), size_t{0});
    std::sort(rows.order.begin(), rows.order.end(), [&](size_t a, size_t b) { return columns[a] < columns[b]; });
}

bool result_nextBinaryRow(ResultRows& rows) {
    const ResultFile& file = rows.file;
    const ResultTable& table = file.tables[rows.part.table];
    if (rows.next >= rows.part.objects.size() && !findRecord(rows)) {
        return false;
    }
    rows.object = rows.next++;
    const uint64_t record = file.resultsOffset + static_cast<uint64_t>(rows.period - 1) * file.recordLength + 8;
    const uint64_t row = record + 4 * (table.firstValue + rows.part.objects[rows.object] * table.columns.size());
    for (const size_t k : rows.order) {
        rows.values[k] = static_cast<double>(getFloat(getBytes(file, rows.block, row + 4 * rows.part.columns[k], 4)));
    }
    return true;
}
