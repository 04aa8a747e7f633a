#pragma once
// A reader of all kinds of results: the binary file, the database and the file by object. Whatever a file claims is
// checked before it is used, so a damaged or foreign one gives a message and nothing else.

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

/// What a user is told of a file that can't be read, or of a choice that isn't in it.
struct ResultError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct ResultColumn {
    std::string name;
    std::string unit;  ///< empty for a plain number
};

/// One class or kind of object. The table of the system has one object, which is called "System".
struct ResultTable {
    std::string name;
    std::vector<ResultColumn> columns;
    std::vector<std::string> objects;   ///< in UTF-8
    uint64_t firstValue = 0;            ///< binary file: place of its first row in a record
    std::vector<uint64_t> rowCounts;    ///< database, by object: rows of each object
    std::vector<uint64_t> datePlaces;   ///< by object: of the dates of its rows, 0 for those of the file
    std::vector<uint64_t> valuePlaces;  ///< by object: of its values, column after column
    bool hasIndex = false;              ///< database: by object and period
    bool isOrdered = true;              ///< database: its rows stand in order of time
};

/// What reading a database has cost so far. A damaged one can lead SQLite in circles, through the same pages again and
/// again, so the cost of a statement is held against the length of the file.
struct DatabaseWork {
    sqlite3* database = nullptr;
    uint64_t length = 0;  ///< bytes of the file
    uint64_t steps = 0;   ///< of SQLite's machine
    uint64_t pages = 0;   ///< that were asked for
    bool isTooMuch = false;
};

enum class ResultKind {
    BINARY,    ///< report by report
    DATABASE,  ///< likewise
    BY_OBJECT
};

/// How the dates of a file by object come about.
enum ResultDates : uint32_t {
    DATES_LISTED,       ///< they stand there
    DATES_OF_DATABASE,  ///< whole report steps after the start
    DATES_OF_BINARY     ///< the same and a millisecond more
};

struct ResultFile {
    std::string name;
    ResultKind kind = ResultKind::BINARY;
    std::FILE* binary = nullptr;  ///< of all kinds but the database
    sqlite3* database = nullptr;
    uint64_t resultsOffset = 0;                   ///< binary file: place of the first record
    uint64_t recordLength = 0;                    ///< binary file: bytes
    uint64_t sections[4] = {};                    ///< binary file: places of names, codes, dates and records
    uint32_t dates = DATES_LISTED;                ///< by object
    uint64_t datesPlace = 0;                      ///< by object: of the dates that are listed
    std::map<std::string, std::string> identity;  ///< by object: of the run
    bool isEnded = true;        ///< false of a binary file without a closing block, whose run was killed
    mutable DatabaseWork work;  ///< counted by whoever reads
    double startDate = 0.0;     ///< days since 30 December 1899
    int32_t reportStep = 0;     ///< s
    int32_t periods = 0;
    std::vector<ResultTable> tables;  ///< those with objects, in the order of the file

    ResultFile() = default;
    ~ResultFile();
    ResultFile(const ResultFile&) = delete;
    ResultFile& operator=(const ResultFile&) = delete;
};

/// A column of an object.
struct ResultChoice {
    size_t table;
    size_t object;
    size_t column;
};

/// A part of the run, both ends included. Dates are compared to the second, as they are shown.
struct ResultWindow {
    double from = -HUGE_VAL;
    double to = HUGE_VAL;
};

constexpr double RESULT_FARTHEST_DATE = 9.9e6;  ///< days; beyond lie years that no calendar here can hold
constexpr size_t RESULT_NONE = SIZE_MAX;        ///< no column

/// What is wanted of a table: objects in the order of the file, and columns in any.
struct ResultPart {
    size_t table;
    std::vector<size_t> objects;
    std::vector<size_t> columns;
};

/// A part of a binary file in memory. It grows as long as the reader goes on close behind it.
struct ResultBlock {
    std::vector<unsigned char> bytes;
    uint64_t begin = 0;  ///< place of the first byte in the file
    size_t length = 0;   ///< bytes that the next one takes
};

/// Where a walk through a file by object stands with one of them.
struct ResultReader {
    uint64_t rows = 0;          ///< of the object
    uint64_t row = 0;           ///< the next one
    double date = 0.0;          ///< of that
    uint64_t begin = 0;         ///< row of the first values in memory
    uint64_t count = 0;         ///< rows of those
    std::vector<float> values;  ///< column after column
    uint64_t dateBegin = 0;
    std::vector<double> dates;  ///< if they are listed
};

/// A walk through the rows of a part in order of time: at each time the objects in the order of the file.
struct ResultRows {
    const ResultFile& file;
    const ResultPart& part;
    ResultWindow window;

    // The row at hand.
    double date = 0.0;
    size_t object = 0;           ///< its place among the objects of the part
    std::vector<double> values;  ///< per column of the part. What is missing or no number is NaN

    // Where the walk is.
    int32_t period = 0;                                   ///< binary file: the next record
    size_t next = SIZE_MAX;                               ///< the object that is expected next
    std::vector<size_t> order;                            ///< binary file: columns of the part as they stand in a row
    ResultBlock block;                                    ///< binary file
    sqlite3_stmt* query = nullptr;                        ///< database
    std::vector<ResultReader> readers;                    ///< by object
    std::unordered_map<std::string_view, size_t> places;  ///< database: objects by their names, if they are several

    ResultRows(const ResultFile& resultFile, const ResultPart& itsPart, const ResultWindow& itsWindow);
    ~ResultRows();
    ResultRows(const ResultRows&) = delete;
    ResultRows& operator=(const ResultRows&) = delete;
};

/// Values of one column in order of time. What is missing or no number is NaN.
struct ResultSeries {
    std::vector<double> dates;
    std::vector<double> values;
};

struct ResultSummary {
    uint64_t count;  ///< values that are numbers
    double minimum;
    double mean;  ///< over time
    double maximum;
    double maximumDate;
    double flowWeightedMean;  ///< of a concentration; NaN without a flow that carries it
};

/// Whether a file begins as results of any kind do. What stands behind may be damaged; what can't be read is none.
[[nodiscard]] bool result_isOne(const std::string& name);

/// Opens a file of any kind. Throws ResultError.
void result_open(ResultFile& file, const std::string& name);

/// The tables in which an object is found, by its name in any case, or as "Table:Name". Throws ResultError for none.
std::vector<ResultChoice> result_findObject(const ResultFile& file, const std::string& object);

/// The column of an object, in any case and with '-' and '_' taken as one. Throws ResultError if none of the objects of
/// this name has it, or more than one.
ResultChoice result_findColumn(const ResultFile& file, const std::string& object, const std::string& column);

/// A column of a table by its name, in any case and with '-' and '_' taken as one; RESULT_NONE if there is none. The
/// flow out of a pipe is found as Outflow and as Outfow, which is how files spell it, and so is any other outflow.
size_t result_findColumnOf(const ResultTable& table, const std::string& column);

/// The column of the flow that carries the concentrations of a table; RESULT_NONE for what stands in a tank or in the
/// layers of a LID monomer, and isn't carried by any of theirs.
size_t result_findCarrier(const ResultTable& table);

/// A table by its name, in any case. Throws ResultError for none.
size_t result_findTable(const ResultFile& file, const std::string& table);

/// Takes the next row of the walk; false at its end. Throws ResultError.
[[nodiscard]] bool result_nextRow(ResultRows& rows);

ResultSeries result_readSeries(const ResultFile& file, const ResultChoice& choice, const ResultWindow& window);

/// Throws ResultError if no report lies in the window.
void result_checkWindow(const ResultFile& file, const ResultWindow& window);

/// Summaries of a part, object by object, and of each its columns.
std::vector<ResultSummary> result_summarize(const ResultFile& file, const ResultPart& part, const ResultWindow& window);

/// Rows that an object has at most, in all of the file.
uint64_t result_countRows(const ResultTable& table, const ResultFile& file, size_t object);

/// "2021-03-01 06:00:00", to the nearest second.
std::string result_formatDate(double date);

// --- parts of the reader -------------------------------------------------------------------------------------------

constexpr int32_t RESULT_VERSION = 21000;
constexpr int32_t RESULT_MAGIC = 516114522;  ///< at both ends of a binary file

/// The table of LID units on subcatchments (host/lidfile.h); only databases have it, and not those of the engine.
constexpr const char* RESULT_LID_UNITS = "LID_Unit";

/// The tables with their fixed columns and, for a binary file, the columns of the pollutants.
std::vector<ResultTable> result_listTables(const std::vector<std::string>& pollutants);

/// Unit of a column, by the names of table and column.
std::string result_getUnit(const std::string& table, const std::string& column);

bool result_isWithin(const ResultWindow& window, double date);

void result_openBinary(ResultFile& file);

/// The closing block of a binary file that has none.
std::vector<unsigned char> result_makeClosing(const ResultFile& file);

constexpr char RESULT_OBJECTS_MARK[] = "tvobject";  ///< at both ends of a file by object
constexpr size_t RESULT_MARK_LENGTH = sizeof RESULT_OBJECTS_MARK - 1;
constexpr uint32_t RESULT_OBJECTS_VERSION = 1;
constexpr uint64_t RESULT_OBJECTS_HEAD = 64;     ///< bytes
constexpr uint64_t RESULT_OBJECTS_ENTRY = 24;    ///< bytes of an object in the index
constexpr uint64_t RESULT_OBJECTS_CLOSING = 16;  ///< bytes

/// The checksum CRC-32, as zlib has it, of so many bytes more; 0 for none.
uint32_t result_addChecksum(uint32_t sum, const unsigned char* bytes, size_t size);

/// Date of a report, counted from 1, of a file whose dates aren't listed.
double result_getRegularDate(const ResultFile& file, uint32_t dates, uint64_t period);

void result_openObjects(ResultFile& file);
void result_beginObjectRows(ResultRows& rows);
bool result_nextObjectRow(ResultRows& rows);

void result_openDatabase(ResultFile& file);
void result_beginBinaryRows(ResultRows& rows);
void result_beginDatabaseRows(ResultRows& rows);
bool result_nextBinaryRow(ResultRows& rows);
bool result_nextDatabaseRow(ResultRows& rows);
