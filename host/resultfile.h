#pragma once
// A reader of both kinds of results: the binary file and the database. Whatever a file claims is checked before it is
// used, so a damaged or foreign one gives a message and nothing else.

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>
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
    std::vector<std::string> objects;  ///< in UTF-8
    uint64_t firstValue;               ///< binary file: place of its first row in a record
};

struct ResultFile {
    std::string name;
    std::FILE* binary = nullptr;  ///< the one or the other
    sqlite3* database = nullptr;
    uint64_t resultsOffset = 0;  ///< binary file: place of the first record
    uint64_t recordLength = 0;   ///< binary file: bytes
    double startDate = 0.0;      ///< days since 30 December 1899
    int32_t reportStep = 0;      ///< s
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

constexpr size_t RESULT_ALL = SIZE_MAX;   ///< objects of a table
constexpr size_t RESULT_NONE = SIZE_MAX;  ///< no column

/// A walk through the rows of a table in order of time: those of one object, or those of all in the order of the file.
struct ResultRows {
    const ResultFile& file;
    size_t table;
    size_t only;  ///< object, or RESULT_ALL
    ResultWindow window;

    // The row at hand.
    double date = 0.0;
    size_t object = 0;
    std::vector<double> values;  ///< per column. What is missing or no number is NaN

    // Where the walk is.
    int32_t period = 0;                              ///< binary file: the next record
    size_t nextRow = 0;                              ///< binary file: of those in `bytes`
    std::vector<unsigned char> bytes;                ///< binary file: rows of a record
    sqlite3_stmt* query = nullptr;                   ///< database
    std::unordered_map<std::string, size_t> places;  ///< database: objects by their names

    ResultRows(const ResultFile& resultFile, size_t itsTable, size_t onlyObject, const ResultWindow& itsWindow);
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

/// Opens a file of either kind. Throws ResultError.
void result_open(ResultFile& file, const std::string& name);

/// The tables in which an object is found, by its name in any case, or as "Table:Name". Throws ResultError for none.
std::vector<ResultChoice> result_findObject(const ResultFile& file, const std::string& object);

/// The column of an object, in any case and with '-' and '_' taken as one. Throws ResultError if none of the objects of
/// this name has it, or more than one.
ResultChoice result_findColumn(const ResultFile& file, const std::string& object, const std::string& column);

/// A column of a table by its name, in any case and with '-' and '_' taken as one; RESULT_NONE if there is none. The
/// flow out of a pipe is found as Outflow and as Outfow, which is how files spell it, and so is any other outflow.
size_t result_findColumnOf(const ResultTable& table, const std::string& column);

/// A table by its name, in any case. Throws ResultError for none.
size_t result_findTable(const ResultFile& file, const std::string& table);

/// Takes the next row of the walk; false at its end. Throws ResultError.
[[nodiscard]] bool result_nextRow(ResultRows& rows);

ResultSeries result_readSeries(const ResultFile& file, const ResultChoice& choice, const ResultWindow& window);

/// Throws ResultError if no report lies in the window.
void result_checkWindow(const ResultFile& file, const ResultWindow& window);

/// Summaries of all columns of a table, object by object; those of other objects than `only` stay empty.
std::vector<ResultSummary> result_summarize(const ResultFile& file, size_t table, size_t only,
                                            const ResultWindow& window);

/// "2021-03-01 06:00:00", to the nearest second.
std::string result_formatDate(double date);

// --- parts of the reader -------------------------------------------------------------------------------------------

constexpr int32_t RESULT_VERSION = 21000;

/// The tables with their fixed columns and, for a binary file, the columns of the pollutants.
std::vector<ResultTable> result_listTables(const std::vector<std::string>& pollutants);

/// Unit of a column, by the names of table and column.
std::string result_getUnit(const std::string& table, const std::string& column);

/// A text of the binary file in UTF-8.
std::string result_toUtf8(const std::string& text);

bool result_isWithin(const ResultWindow& window, double date);

void result_openBinary(ResultFile& file);
void result_openDatabase(ResultFile& file);
void result_beginDatabaseRows(ResultRows& rows);
bool result_nextBinaryRow(ResultRows& rows);
bool result_nextDatabaseRow(ResultRows& rows);
