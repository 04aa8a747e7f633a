// What all readers of results share: the tables and their columns, the look for an object, summaries and dates.

#include "resultfile.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>
#include <optional>

#include "files.h"

ResultFile::~ResultFile() {
    if (binary) {
        std::fclose(binary);
    }
    sqlite3_close(database);
}

// --- tables --------------------------------------------------------------------------------------------------------

namespace {

struct KnownColumn {
    const char* name;  ///< stands in front of the pollutants' names if there is one for each
    const char* unit;
    bool isOfPollutants;
};

struct KnownTable {
    const char* name;
    std::vector<KnownColumn> columns;
};

const std::vector<KnownTable>& getKnownTables() {
    // clang-format off
    static const std::vector<KnownTable> tables = {
#define RESULT_TABLE(token, table, ...) {table, {
#define RESULT_COLUMN(column, unit, ...) {column, unit, false},
#define RESULT_BLOCK(prefix, unit, ...) {prefix, unit, true},
#define RESULT_END() }},
#include "columns.def"
    };
    // clang-format on
    return tables;
}

char toLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c == '-' ? '_' : c;
}

/// Columns of pollutants stand in the database with low lines for hyphens.
bool isSameColumn(const std::string& a, const std::string& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return toLower(x) == toLower(y); });
}

/// IDs differ by more than the case of their ASCII letters.
bool isSameName(const std::string& a, const std::string& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return x == y || (x != '-' && y != '-' && toLower(x) == toLower(y)); });
}

}  // namespace

std::vector<ResultTable> result_listTables(const std::vector<std::string>& pollutants) {
    std::vector<ResultTable> tables;
    for (const KnownTable& known : getKnownTables()) {
        ResultTable table;
        table.name = known.name;
        for (const KnownColumn& column : known.columns) {
            if (!column.isOfPollutants) {
                table.columns.push_back({column.name, column.unit});
                continue;
            }
            for (const std::string& pollutant : pollutants) {
                table.columns.push_back({column.name + pollutant, column.unit});
            }
        }
        tables.push_back(std::move(table));
    }
    return tables;
}

std::string result_getUnit(const std::string& tableName, const std::string& columnName) {
    if (tableName == RESULT_LID_UNITS) {  // like those of units in nodes, but for two columns
        return columnName == "Inflow" ? "m3/s" : columnName == "Volume" ? "m3" : result_getUnit("LID_Mono", columnName);
    }
    for (const KnownTable& table : getKnownTables()) {
        for (const KnownColumn& column : table.columns) {
            if (!column.isOfPollutants && tableName == table.name && columnName == column.name) {
                return column.unit;
            }
        }
    }
    return "mg/L";
}

// --- look for an object --------------------------------------------------------------------------------------------

namespace {

/// Names for a message. A file may have any number of them, a reader wants some.
struct NameList {
    const char* divider;
    std::string text{};
    size_t left = 0;  ///< out

    void add(const std::string& name) {
        constexpr size_t LONGEST = 2000;  // bytes
        if (left > 0 || text.size() + name.size() > LONGEST) {
            ++left;
        } else {
            text += (text.empty() ? "" : divider) + name;
        }
    }
    std::string get() const { return text + (left > 0 ? " and " + std::to_string(left) + " more" : ""); }
};

}  // namespace

std::vector<ResultChoice> result_findObject(const ResultFile& file, const std::string& object) {
    std::vector<ResultChoice> choices;
    for (size_t t = 0; t < file.tables.size(); ++t) {
        const ResultTable& table = file.tables[t];
        std::string name = object;
        const std::string prefix = table.name + ':';
        if (object.size() > prefix.size() && isSameName(object.substr(0, prefix.size()), prefix)) {
            name = object.substr(prefix.size());
        }
        for (size_t k = 0; k < table.objects.size(); ++k) {
            if (isSameName(table.objects[k], name) || isSameName(table.objects[k], object)) {
                choices.push_back({t, k, 0});
            }
        }
    }
    if (choices.empty()) {
        throw ResultError("no object " + object + " in " + file.name);
    }
    return choices;
}

size_t result_findColumnOf(const ResultTable& table, const std::string& column) {
    const std::string other = isSameColumn(column, "Outflow") ? "Outfow" : "Outflow";
    const bool hasOther = isSameColumn(column, "Outflow") || isSameColumn(column, "Outfow");
    size_t found = RESULT_NONE;
    for (size_t k = table.columns.size(); k-- > 0;) {
        const bool isOther = hasOther && found == RESULT_NONE && isSameColumn(table.columns[k].name, other);
        found = isSameColumn(table.columns[k].name, column) || isOther ? k : found;
    }
    return found;
}

size_t result_findTable(const ResultFile& file, const std::string& table) {
    NameList known{", "};
    for (size_t t = 0; t < file.tables.size(); ++t) {
        if (isSameName(file.tables[t].name, table)) {
            return t;
        }
        known.add(file.tables[t].name);
    }
    throw ResultError("no table " + table + " in " + file.name + "; there are " + known.get());
}

ResultChoice result_findColumn(const ResultFile& file, const std::string& object, const std::string& column) {
    std::vector<ResultChoice> found;
    const std::vector<ResultChoice> choices = result_findObject(file, object);
    size_t lastTable = RESULT_NONE, place = RESULT_NONE;
    for (const ResultChoice& choice : choices) {
        // Objects of one table stand together: what is found of the first holds for all.
        place = choice.table == lastTable ? place : result_findColumnOf(file.tables[choice.table], column);
        lastTable = choice.table;
        if (place != RESULT_NONE) {
            found.push_back({choice.table, choice.object, place});
        }
    }
    if (found.empty()) {
        NameList known{", "};
        for (size_t k = 0; k < choices.size(); ++k) {
            const bool isNew = k == 0 || choices[k - 1].table != choices[k].table;
            for (size_t c = 0; isNew && c < file.tables[choices[k].table].columns.size(); ++c) {
                known.add(file.tables[choices[k].table].columns[c].name);
            }
        }
        throw ResultError("no column " + column + " of " + object + "; there are " + known.get());
    }
    if (found.size() > 1) {
        NameList names{" or "};
        for (const ResultChoice& choice : found) {
            const ResultTable& table = file.tables[choice.table];
            names.add(table.name + ':' + table.objects[choice.object]);
        }
        throw ResultError("more than one object is called " + object + ": ask for " + names.get());
    }
    return found.front();
}

// --- reading -------------------------------------------------------------------------------------------------------

/// The kind of a file by its first bytes; none of what is no file of results.
static std::optional<ResultKind> findKind(std::FILE* stream) {
    static constexpr std::string_view DATABASE_MARK("SQLite format 3", sizeof "SQLite format 3");  // with its end
    std::array<char, DATABASE_MARK.size()> bytes{};
    const std::string_view head(bytes.data(), std::fread(bytes.data(), 1, bytes.size(), stream));
    if (head == DATABASE_MARK) {
        return ResultKind::DATABASE;
    }
    if (head.starts_with(RESULT_OBJECTS_MARK)) {
        return ResultKind::BY_OBJECT;
    }
    uint32_t number = 0;  // its lowest byte stands first
    for (size_t k = 0; k < std::min(head.size(), sizeof number); ++k) {
        number |= uint32_t{static_cast<unsigned char>(head[k])} << (8 * k);
    }
    return number == RESULT_MAGIC ? std::optional(ResultKind::BINARY) : std::nullopt;
}

bool result_isOne(const std::string& name) {
    std::FILE* const stream = files_isRegular(name) ? std::fopen(name.c_str(), "rb") : nullptr;
    if (stream == nullptr) {
        return false;
    }
    const bool isOne = findKind(stream).has_value();
    std::fclose(stream);
    return isOne;
}

void result_open(ResultFile& file, const std::string& name) {
    file.name = name;
    if (files_exists(name) && !files_isRegular(name)) {
        throw ResultError(name + " is no file of results");  // opening a pipe would wait for a writer
    }
    file.binary = std::fopen(name.c_str(), "rb");
    if (!file.binary) {
        throw ResultError("cannot open " + name + ": " + std::strerror(errno));
    }
    file.kind = findKind(file.binary).value_or(ResultKind::BINARY);
    switch (file.kind) {
        case ResultKind::DATABASE:
            std::fclose(file.binary);
            file.binary = nullptr;
            result_openDatabase(file);
            break;
        case ResultKind::BY_OBJECT: result_openObjects(file); break;
        case ResultKind::BINARY: result_openBinary(file); break;  // which says what is no file of results
    }
}

ResultRows::ResultRows(const ResultFile& resultFile, const ResultPart& itsPart, const ResultWindow& itsWindow)
    : file(resultFile), part(itsPart), window(itsWindow), values(itsPart.columns.size()) {
    switch (file.kind) {
        case ResultKind::BINARY: result_beginBinaryRows(*this); break;
        case ResultKind::DATABASE: result_beginDatabaseRows(*this); break;
        case ResultKind::BY_OBJECT: result_beginObjectRows(*this); break;
    }
}

ResultRows::~ResultRows() {
    sqlite3_finalize(query);
}

bool result_nextRow(ResultRows& rows) {
    switch (rows.file.kind) {
        case ResultKind::DATABASE: return result_nextDatabaseRow(rows);
        case ResultKind::BY_OBJECT: return result_nextObjectRow(rows);
        default: return result_nextBinaryRow(rows);
    }
}

bool result_isWithin(const ResultWindow& window, double date) {
    const auto second = [](double d) { return std::floor(d * 86400.0 + 0.5); };
    return second(date) >= second(window.from) && second(date) <= second(window.to);
}

ResultSeries result_readSeries(const ResultFile& file, const ResultChoice& choice, const ResultWindow& window) {
    ResultSeries series;
    const ResultPart part{choice.table, {choice.object}, {choice.column}};
    ResultRows rows(file, part, window);
    while (result_nextRow(rows)) {
        series.dates.push_back(rows.date);
        series.values.push_back(rows.values[0]);
    }
    return series;
}

uint64_t result_countRows(const ResultTable& table, const ResultFile& file, size_t object) {
    return file.kind == ResultKind::BINARY ? static_cast<uint64_t>(file.periods) : table.rowCounts[object];
}

void result_checkWindow(const ResultFile& file, const ResultWindow& window) {
    if (std::isinf(window.from) && std::isinf(window.to)) {
        return;
    }
    const ResultPart dates{0, {0}, {}};  // of the system
    if (ResultRows within(file, dates, window); result_nextRow(within)) {
        return;
    }
    ResultRows rows(file, dates, {});
    double first = 0.0, last = 0.0;
    size_t count = 0;
    for (; result_nextRow(rows); ++count) {
        first = count == 0 ? rows.date : first;
        last = rows.date;
    }
    throw ResultError("no report of " + file.name + " lies in this time; " +
                      (count == 0 ? "it holds none"
                                  : "its " + std::to_string(count) + " reports go from " + result_formatDate(first) +
                                        " to " + result_formatDate(last)));
}

// --- summaries -----------------------------------------------------------------------------------------------------

size_t result_findCarrier(const ResultTable& table) {
    static constexpr const char* CARRIERS[][2] = {
        {"Subcatchment", "Runoff"}, {"Junction", "TotInflow"}, {"Outfall", "TotInflow"},  {"Splitter", "TotInflow"},
        {"Reactor", "Outflow"},     {"Pipe", "Outfow"},        {"Connection", "Outflow"}, {"Conduit", "Outflow"},
        {"Pump", "Flow"},           {"Weir", "Flow"},          {"Orifice", "Flow"}};
    for (const auto& [name, flow] : CARRIERS) {
        if (table.name == name) {
            return result_findColumnOf(table, flow);
        }
    }
    return RESULT_NONE;
}

namespace {

/// A summary on its way: what its means are made of.
struct Sums {
    double values;
    double flow;  ///< of the rows that have a concentration as well
    double load;
};

void addValue(ResultSummary& summary, Sums& sums, double value, double date) {
    if (!std::isfinite(value)) {
        return;
    }
    summary.minimum = summary.count == 0 || value < summary.minimum ? value : summary.minimum;
    if (summary.count == 0 || value > summary.maximum) {
        summary.maximum = value;
        summary.maximumDate = date;
    }
    sums.values += value;
    ++summary.count;
}

}  // namespace

std::vector<ResultSummary> result_summarize(const ResultFile& file, const ResultPart& part,
                                            const ResultWindow& window) {
    const ResultTable& table = file.tables[part.table];
    const size_t columns = part.columns.size();
    ResultPart read = part;
    const size_t carrier = result_findCarrier(table);
    if (carrier != RESULT_NONE) {
        read.columns.push_back(carrier);  // stands behind the last one of the part
    }
    std::vector<ResultSummary> summaries(part.objects.size() * columns, ResultSummary{});
    std::vector<Sums> sums(summaries.size(), Sums{});
    ResultRows rows(file, read, window);
    while (result_nextRow(rows)) {
        const double flow = carrier == RESULT_NONE ? std::nan("") : rows.values[columns];
        for (size_t k = 0; k < columns; ++k) {
            const size_t place = rows.object * columns + k;
            const double value = rows.values[k];
            addValue(summaries[place], sums[place], value, rows.date);
            if (table.columns[part.columns[k]].unit == "mg/L" && std::isfinite(flow) && std::isfinite(value)) {
                sums[place].flow += flow;
                sums[place].load += flow * value;
            }
        }
    }
    for (size_t k = 0; k < summaries.size(); ++k) {
        summaries[k].mean = summaries[k].count > 0 ? sums[k].values / static_cast<double>(summaries[k].count) : 0.0;
        summaries[k].flowWeightedMean = sums[k].flow > 0.0 ? sums[k].load / sums[k].flow : std::nan("");
    }
    return summaries;
}

// --- texts ---------------------------------------------------------------------------------------------------------

std::string result_formatDate(double date) {
    using namespace std::chrono;
    if (!(std::fabs(date) < RESULT_FARTHEST_DATE)) {
        return "no date";
    }
    const auto second = static_cast<int64_t>(std::floor(date * 86400.0 + 0.5));
    const int64_t day = second >= 0 ? second / 86400 : -((86399 - second) / 86400);
    const int64_t ofDay = second - day * 86400;
    const year_month_day calendar{sys_days{1899y / December / 30} + days{day}};
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u %02d:%02d:%02d", static_cast<int>(calendar.year()),
                  static_cast<unsigned>(calendar.month()), static_cast<unsigned>(calendar.day()),
                  static_cast<int>(ofDay / 3600), static_cast<int>(ofDay / 60 % 60), static_cast<int>(ofDay % 60));
    return text;
}
