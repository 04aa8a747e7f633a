#pragma once
// A reader of both kinds of results: the binary file and the database. Whatever a file claims is checked before it is
// used, so a damaged or foreign one gives a message and nothing else.

#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

struct sqlite3;

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

/// Values of one column over the run, in order of time. What is missing or no number is NaN.
struct ResultSeries {
    std::vector<double> dates;
    std::vector<double> values;
};

struct ResultSummary {
    uint64_t count;  ///< values that are numbers
    double minimum;
    double mean;
    double maximum;
    double maximumDate;
};

/// Opens a file of either kind. Throws ResultError.
void result_open(ResultFile& file, const std::string& name);

/// The tables in which an object is found, by its name in any case, or as "Table:Name". Throws ResultError for none.
std::vector<ResultChoice> result_findObject(const ResultFile& file, const std::string& object);

/// The column of an object, in any case and with '-' and '_' taken as one. Throws ResultError if none of the objects of
/// this name has it, or more than one.
ResultChoice result_findColumn(const ResultFile& file, const std::string& object, const std::string& column);

ResultSeries result_readSeries(const ResultFile& file, const ResultChoice& choice);

/// Summaries of all columns of a table, object by object.
std::vector<ResultSummary> result_summarize(const ResultFile& file, size_t table);

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

void result_openBinary(ResultFile& file);
void result_openDatabase(ResultFile& file);
ResultSeries result_readBinarySeries(const ResultFile& file, const ResultChoice& choice);
ResultSeries result_readDatabaseSeries(const ResultFile& file, const ResultChoice& choice);
void result_summarizeBinary(const ResultFile& file, size_t table, std::vector<ResultSummary>& summaries);
void result_summarizeDatabase(const ResultFile& file, size_t table, std::vector<ResultSummary>& summaries);

/// Takes a value into a summary, whose mean is a sum until all are in.
void result_addValue(ResultSummary& summary, double value, double date);
