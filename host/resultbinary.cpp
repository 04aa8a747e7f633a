// Reads the binary results file. Its parts follow each other without a gap, so everything that the head promises can be
// counted and compared with the length of the file before anything is read by it.

#include <sys/stat.h>
#include <sys/types.h>

#include <bit>
#include <cmath>
#include <cstring>

#include "resultfile.h"

namespace {

constexpr int32_t MAGIC_NUMBER = 516114522;
constexpr uint64_t CLOSING_LENGTH = 28;

/// Tables with objects: all but that of the system.
size_t getTableCount() {
    static const size_t count = result_listTables({}).size() - 1;
    return count;
}

/// Two numbers, the counts of all tables, and that of the pollutants.
uint64_t getHeadLength() {
    return 4 * (2 + getTableCount() + 1);
}

/// A walk through the file.
struct Cursor {
    const ResultFile& file;
    uint64_t length;  ///< bytes of the file
    uint64_t place;

    [[noreturn]] void fail(const std::string& what) const { throw ResultError(file.name + ' ' + what); }
    void read(void* target, uint64_t size) {
        if (size > length - place) {
            fail("is truncated");
        }
        if (fseeko(file.binary, static_cast<off_t>(place), SEEK_SET) != 0 ||
            std::fread(target, 1, size, file.binary) != size) {
            fail("can't be read");
        }
        place += size;
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
    return result_toUtf8(name);
}

/// Counts of the head. Each object takes five bytes at least, which no count may promise beyond the file.
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
    if (sum > cursor.length / 5) {
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

/// Compares the closing block with what the walk has found.
void readClosing(Cursor& cursor, ResultFile& file, const uint64_t (&sections)[4]) {
    if (cursor.length < file.resultsOffset + CLOSING_LENGTH) {
        cursor.fail("is truncated");
    }
    cursor.place = cursor.length - CLOSING_LENGTH;
    uint32_t stored[4];
    for (uint32_t& section : stored) {
        section = static_cast<uint32_t>(cursor.readInteger());
    }
    const int32_t periods = cursor.readInteger();
    cursor.readInteger();  // the code of the run, which is no matter here
    if (cursor.readInteger() != MAGIC_NUMBER) {
        cursor.fail("is truncated, or its run was not ended: it has no closing block");
    }
    for (int k = 0; k < 4; ++k) {
        if (stored[k] != static_cast<uint32_t>(sections[k])) {
            cursor.fail("is damaged: its sections are not where the closing block says");
        }
    }
    if (periods < 0 ||
        cursor.length - CLOSING_LENGTH - file.resultsOffset != static_cast<uint64_t>(periods) * file.recordLength) {
        cursor.fail("is truncated or damaged: its length doesn't fit the number of reports");
    }
    file.periods = periods;
}

void readRecord(const ResultFile& file, int32_t period, uint64_t offset, std::vector<unsigned char>& bytes) {
    const uint64_t place = file.resultsOffset + static_cast<uint64_t>(period) * file.recordLength + offset;
    if (fseeko(file.binary, static_cast<off_t>(place), SEEK_SET) != 0 ||
        std::fread(bytes.data(), 1, bytes.size(), file.binary) != bytes.size()) {
        throw ResultError(file.name + " can't be read");
    }
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
    struct stat status;
    if (fstat(fileno(file.binary), &status) != 0) {
        throw ResultError(file.name + " can't be read");
    }
    Cursor cursor{file, static_cast<uint64_t>(status.st_size), 0};
    if (cursor.length < 4 || cursor.readInteger() != MAGIC_NUMBER) {
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
        values += table.objects.size() * table.columns.size();
    }
    file.recordLength = 8 + 4 * values;
    readClosing(cursor, file, sections);
    std::erase_if(file.tables, [](const ResultTable& table) { return table.objects.empty(); });
}

/// Reads the rows of the next record within the window; false if there is none.
static bool readRows(ResultRows& rows) {
    const ResultTable& table = rows.file.tables[rows.table];
    const size_t first = rows.only == RESULT_ALL ? 0 : rows.only;
    const size_t count = rows.only == RESULT_ALL ? table.objects.size() : 1;
    std::vector<unsigned char> date(8);
    while (rows.period < rows.file.periods) {
        const int32_t period = rows.period++;
        readRecord(rows.file, period, 0, date);
        rows.date = getDate(date.data());
        if (result_isWithin(rows.window, rows.date)) {
            rows.bytes.resize(4 * count * table.columns.size());
            readRecord(rows.file, period, 8 + 4 * (table.firstValue + first * table.columns.size()), rows.bytes);
            rows.nextRow = 0;
            return true;
        }
    }
    return false;
}

bool result_nextBinaryRow(ResultRows& rows) {
    const size_t columns = rows.file.tables[rows.table].columns.size();
    if (rows.nextRow * columns * 4 >= rows.bytes.size() && !readRows(rows)) {
        return false;
    }
    const unsigned char* row = rows.bytes.data() + 4 * rows.nextRow * columns;
    rows.values.resize(columns);
    for (size_t k = 0; k < columns; ++k) {
        rows.values[k] = static_cast<double>(getFloat(row + 4 * k));
    }
    rows.object = rows.only == RESULT_ALL ? rows.nextRow : rows.only;
    ++rows.nextRow;
    return true;
}
