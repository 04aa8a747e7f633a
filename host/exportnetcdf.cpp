// netCDF-4 after the CF conventions (Climate and Forecast metadata conventions, version 1.8): a dimension for each
// table of results, and a variable over time and objects for each of its columns.
//
// A series of one object is what is mostly read, so pieces of the file hold many times of few objects. Results are
// walked through in blocks of such pieces: some thousand times, and as many objects as have room.

#ifdef TARNVELDE_NETCDF_LIBRARY
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <new>
#include <set>

#include "characters.h"
#include "export.h"
#include "files.h"
#include "mapfile.h"
#include "netcdfcalls.h"
#include "results.h"
#include "runidentity.h"

#ifndef TARNVELDE_NETCDF_LIBRARY

void exportnetcdf_write(const ExportWork& work) {
    throw ResultError("cannot write " + work.request.output + ": this program was built without the netCDF library");
}

#else

namespace {

constexpr size_t MOST_TIMES = 4096;             ///< of a piece
constexpr size_t PIECE = size_t{1} << 16;       ///< values of a piece at most
constexpr uint64_t BLOCK = uint64_t{64} << 20;  ///< bytes of a block
constexpr int DEFLATION = 4;                    ///< of 9

/// A file on its way. One that fails is left as it is: to close it, the library would write once more.
struct NetcdfFile {
    const AsideFile& aside;
    NetcdfCalls calls{};
    int id = -1;
};

void demand(const NetcdfFile& file, int status) {
    if (status != NC_NOERR) {
        throw ResultError("cannot write " + file.aside.name + ": " + file.calls.strerror(status) +
                          (status == NC_EHDFERR ? "; the disk may be full" : ""));
    }
}

void putText(const NetcdfFile& file, int variable, const char* name, const std::string& text) {
    demand(file, file.calls.put_att_text(file.id, variable, name, text.size(), text.c_str()));
}

// --- names ---------------------------------------------------------------------------------------------------------

/// Units as UDUNITS has them.
std::string getUnit(const std::string& unit) {
    static constexpr std::array<std::array<const char*, 2>, 8> UNITS = {{{"m3/s", "m3 s-1"},
                                                                         {"mm/h", "mm h-1"},
                                                                         {"mm/d", "mm day-1"},
                                                                         {"m/s", "m s-1"},
                                                                         {"m3", "m3"},
                                                                         {"m", "m"},
                                                                         {"mg/L", "mg L-1"},
                                                                         {"", "1"}}};
    for (const auto& [ours, theirs] : UNITS) {
        if (unit == ours) {
            return theirs;
        }
    }
    return unit;
}

/// Letters, digits and low lines, as the conventions want names.
std::string makeName(const std::string& text) {
    std::string name;
    for (const char c : text) {
        const bool isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        name += isPlain ? c : '_';
    }
    return name;
}

/// A name that no other variable has: pollutants may differ by what names can't hold.
std::string makeUnique(const std::string& name, std::set<std::string>& taken) {
    std::string unique = name;
    for (int number = 2; !taken.insert(unique).second; ++number) {
        unique = name + "_" + std::to_string(number);
    }
    return unique;
}

// --- the head ------------------------------------------------------------------------------------------------------

/// Variables of a part of the results.
struct PartVariables {
    const ResultPart& part;
    bool isSystem;  ///< which has no dimension but time
    int dimension = -1;
    int ids = -1;
    std::vector<int> columns{};
    size_t pieceTimes = 1, pieceObjects = 1;
};

struct NetcdfWork {
    const ExportWork& work;
    NetcdfFile file;
    std::vector<int64_t> times{};  ///< s since 30 December 1899, one after the other
    int64_t start = 0;             ///< s since then
    int timeDimension = -1, timeVariable = -1;
    std::string means{};  ///< what the project says of REPORT_AVERAGE, YES or NO; empty if it isn't known
    std::set<std::string> names{};
    std::vector<PartVariables> parts{};
};

/// The times of all reports are those of the system, which has a row in each.
std::vector<int64_t> readTimes(const ExportWork& work) {
    const ResultPart system{0, {0}, {}};
    std::vector<int64_t> times;
    ResultRows rows(work.file, system, work.window);
    while (result_nextRow(rows)) {
        const int64_t time = export_getTime(work.file, rows.date);
        if (!times.empty() && time <= times.back()) {
            throw ResultError(work.file.name + " is damaged: its reports don't follow one another");
        }
        times.push_back(time);
    }
    return times;
}

std::string readMeans(const ExportRequest& request) {
    if (request.model.empty()) {
        return {};
    }
    const std::string word = characters_toLower(map_readOption(request.model, "REPORT_AVERAGE"));
    return word == "no" ? "NO" : "YES";
}

void describeFile(const NetcdfWork& netcdf) {
    const NetcdfFile& file = netcdf.file;
    const std::string name = files_toPath(netcdf.work.file.name).filename().string();
    putText(file, NC_GLOBAL, "Conventions", "CF-1.8");
    putText(file, NC_GLOBAL, "title", "Results of " + name);
    putText(file, NC_GLOBAL, "source", "Tarnvelde " TARNVELDE_VERSION ", a simulation of urban drainage");
    putText(file, NC_GLOBAL, "history", "tarnvelde export " + name);
    const auto identity = runidentity_read(netcdf.work.file);
    if (!identity.empty()) {
        putText(file, NC_GLOBAL, "run", runidentity_describe(identity));
    }
}

void defineTime(NetcdfWork& netcdf) {
    const NetcdfFile& file = netcdf.file;
    demand(file, file.calls.def_dim(file.id, "time", netcdf.times.size(), &netcdf.timeDimension));
    demand(file, file.calls.def_var(file.id, "time", NC_DOUBLE, 1, &netcdf.timeDimension, &netcdf.timeVariable));
    putText(file, netcdf.timeVariable, "standard_name", "time");
    putText(file, netcdf.timeVariable, "long_name", "time of the report");
    putText(file, netcdf.timeVariable, "units",
            "seconds since " + result_formatDate(static_cast<double>(netcdf.start) / 86400.0));
    putText(file, netcdf.timeVariable, "calendar", "proleptic_gregorian");
    putText(file, netcdf.timeVariable, "axis", "T");
    netcdf.names.insert("time");
}

/// Rows of nodes and links may be means of a report period; those of the land and of the system never are.
std::string getCellMethods(const NetcdfWork& netcdf, const ResultTable& table) {
    const bool isSample = table.name == "System" || table.name == "Subcatchment" || netcdf.means == "NO";
    return netcdf.means.empty() ? "" : isSample ? "time: point" : "time: mean";
}

/// A column in words, as the manual has it.
struct ColumnMeaning {
    const char* table;
    const char* column;  ///< stands in front of the pollutants' names if there is one for each
    bool isOfPollutants;
    const char* meaning;
};

constexpr ColumnMeaning MEANINGS[] = {
#define RESULT_TABLE(token, table, ...) {table, "", false, ""},
#define RESULT_COLUMN(column, unit, meaning) {"", column, false, meaning},
#define RESULT_BLOCK(prefix, unit, meaning) {"", prefix, true, meaning},
#include "columns.def"
};

/// The words without the marks that they have in the manual.
std::string describe(const ResultTable& table, const ResultColumn& column) {
    bool isTable = false;
    std::string words = column.name;
    for (const ColumnMeaning& known : MEANINGS) {
        isTable = *known.table ? table.name == known.table : isTable;
        const std::string name = known.column;
        if (isTable && *known.meaning && !known.isOfPollutants && column.name == name) {
            words = known.meaning;
            break;
        }
        if (isTable && known.isOfPollutants && column.unit == "mg/L" && column.name.starts_with(name)) {
            words = column.name.substr(name.size()) + ": " + known.meaning;
        }
    }
    std::erase_if(words, [](char c) { return c == '*' || c == '`'; });
    return words;
}

void describeColumn(const NetcdfWork& netcdf, const ResultTable& table, const ResultColumn& column, int variable) {
    const NetcdfFile& file = netcdf.file;
    putText(file, variable, "long_name", characters_toUtf8(describe(table, column)));
    putText(file, variable, "column", characters_toUtf8(column.name));
    putText(file, variable, "units", getUnit(column.unit));
    if (column.name == "Rainfall") {
        putText(file, variable, "standard_name", "rainfall_rate");
    }
    if (table.name != "System") {
        putText(file, variable, "coordinates", characters_toLower(table.name) + "_id");
    }
    if (const std::string methods = getCellMethods(netcdf, table); !methods.empty()) {
        putText(file, variable, "cell_methods", methods);
    }
}

void defineColumn(NetcdfWork& netcdf, PartVariables& variables, const ResultTable& table, size_t column) {
    const NetcdfFile& file = netcdf.file;
    const std::string wanted = characters_toLower(table.name) + "_" + makeName(table.columns[column].name);
    const std::string name = makeUnique(wanted, netcdf.names);
    const std::array<int, 2> dimensions = {netcdf.timeDimension, variables.dimension};
    const std::array<size_t, 2> piece = {variables.pieceTimes, variables.pieceObjects};
    const int count = variables.isSystem ? 1 : 2;
    int variable = -1;
    demand(file, file.calls.def_var(file.id, name.c_str(), NC_FLOAT, count, dimensions.data(), &variable));
    demand(file, file.calls.def_var_chunking(file.id, variable, NC_CHUNKED, piece.data()));
    demand(file, file.calls.def_var_deflate(file.id, variable, 1, 1, DEFLATION));
    // Pieces are written whole, one after the other: there is nothing to keep of them.
    demand(file, file.calls.set_var_chunk_cache(file.id, variable, sizeof(float) * PIECE, 1, 1.0F));
    const float none = std::nanf("");
    demand(file, file.calls.def_var_fill(file.id, variable, NC_FILL, &none));
    describeColumn(netcdf, table, table.columns[column], variable);
    variables.columns.push_back(variable);
}

void definePart(NetcdfWork& netcdf, const ResultPart& part) {
    const NetcdfFile& file = netcdf.file;
    const ResultTable& table = netcdf.work.file.tables[part.table];
    PartVariables variables{part, table.name == "System"};
    variables.pieceTimes = std::min(netcdf.times.size(), MOST_TIMES);
    variables.pieceObjects = std::clamp<size_t>(PIECE / variables.pieceTimes, 1, part.objects.size());
    if (!variables.isSystem) {
        const std::string dimension = characters_toLower(table.name), label = dimension + "_id";
        demand(file, file.calls.def_dim(file.id, dimension.c_str(), part.objects.size(), &variables.dimension));
        demand(file, file.calls.def_var(file.id, label.c_str(), NC_STRING, 1, &variables.dimension, &variables.ids));
        putText(file, variables.ids, "long_name", "ID of the " + table.name);
        netcdf.names.insert(label);
    }
    for (const size_t column : part.columns) {
        defineColumn(netcdf, variables, table, column);
    }
    netcdf.parts.push_back(std::move(variables));
}

// --- values --------------------------------------------------------------------------------------------------------

void writeTimes(const NetcdfWork& netcdf) {
    std::vector<double> seconds;
    for (const int64_t time : netcdf.times) {
        seconds.push_back(static_cast<double>(time - netcdf.start));
    }
    demand(netcdf.file, netcdf.file.calls.put_var_double(netcdf.file.id, netcdf.timeVariable, seconds.data()));
}

void writeIds(const NetcdfWork& netcdf, const PartVariables& variables) {
    const ResultTable& table = netcdf.work.file.tables[variables.part.table];
    std::vector<const char*> ids;
    for (const size_t object : variables.part.objects) {
        ids.push_back(table.objects[object].c_str());
    }
    if (!variables.isSystem) {
        demand(netcdf.file, netcdf.file.calls.put_var_string(netcdf.file.id, variables.ids, ids.data()));
    }
}

/// Some objects over the times of a piece.
struct ValueBlock {
    size_t firstObject;  ///< of the part's
    size_t objects;
    size_t firstTime = 0;
    std::vector<std::vector<float>> values{};  ///< per column, time by time; NaN where there is no row
};

void clear(ValueBlock& block, size_t columns, size_t times) {
    block.values.resize(columns);
    for (std::vector<float>& values : block.values) {
        values.assign(times * block.objects, std::nanf(""));
    }
}

void writeBlock(const NetcdfWork& netcdf, const PartVariables& variables, ValueBlock& block) {
    const size_t times = std::min(variables.pieceTimes, netcdf.times.size() - block.firstTime);
    const std::array<size_t, 2> start = {block.firstTime, block.firstObject};
    const std::array<size_t, 2> count = {times, block.objects};
    for (size_t k = 0; k < variables.columns.size(); ++k) {
        demand(netcdf.file, netcdf.file.calls.put_vara_float(netcdf.file.id, variables.columns[k], start.data(),
                                                             count.data(), block.values[k].data()));
    }
    block.firstTime += times;
    clear(block, variables.columns.size(), variables.pieceTimes);
}

float toFloat(double value) {
    return std::isfinite(value) && std::fabs(value) <= std::numeric_limits<float>::max() ? static_cast<float>(value)
                                                                                         : std::nanf("");
}

/// One walk through the rows of some objects.
void writeObjects(const NetcdfWork& netcdf, const PartVariables& variables, size_t first, const ResultPart& cut) {
    ValueBlock block{first, cut.objects.size()};
    clear(block, variables.columns.size(), variables.pieceTimes);
    size_t place = 0;  // of the row's time
    ResultRows rows(netcdf.work.file, cut, netcdf.work.window);
    while (result_nextRow(rows)) {
        const int64_t time = export_getTime(netcdf.work.file, rows.date);
        while (place < netcdf.times.size() && netcdf.times[place] < time) {
            ++place;
        }
        if (place == netcdf.times.size() || netcdf.times[place] != time) {
            throw ResultError(netcdf.work.file.name + " is damaged: the system has no row of " +
                              result_formatDate(rows.date));
        }
        while (place >= block.firstTime + variables.pieceTimes) {
            writeBlock(netcdf, variables, block);
        }
        for (size_t k = 0; k < variables.columns.size(); ++k) {
            block.values[k][(place - block.firstTime) * block.objects + rows.object] = toFloat(rows.values[k]);
        }
    }
    while (block.firstTime < netcdf.times.size()) {
        writeBlock(netcdf, variables, block);
    }
}

/// Blocks hold whole pieces, so that none is packed twice.
void writePart(const NetcdfWork& netcdf, const PartVariables& variables) {
    const std::vector<size_t>& objects = variables.part.objects;
    const uint64_t bytes = sizeof(float) * variables.pieceTimes * variables.pieceObjects * variables.columns.size();
    const size_t step = variables.pieceObjects * static_cast<size_t>(std::max<uint64_t>(1, BLOCK / bytes));
    for (size_t first = 0; first < objects.size(); first += step) {
        ResultPart cut{variables.part.table, {}, variables.part.columns};
        const size_t count = std::min(step, objects.size() - first);
        for (size_t k = first; k < first + count; ++k) {
            cut.objects.push_back(objects[k]);
        }
        writeObjects(netcdf, variables, first, cut);
    }
}

void writeFile(const ExportWork& work, const AsideFile& aside) {
    NetcdfWork netcdf{work, {aside}};
    NetcdfFile& file = netcdf.file;
    if (const std::string failure = netcdfcalls_open(file.calls); !failure.empty()) {
        throw ResultError("cannot write " + work.request.output + ": " + failure);
    }
    netcdf.times = readTimes(work);
    netcdf.start = export_getTime(work.file, work.file.startDate);
    netcdf.means = readMeans(work.request);
    demand(file, file.calls.create(aside.aside.c_str(), NC_NETCDF4 | NC_CLOBBER, &file.id));
    describeFile(netcdf);
    defineTime(netcdf);
    for (const ResultPart& part : work.parts) {
        definePart(netcdf, part);
    }
    demand(file, file.calls.enddef(file.id));
    writeTimes(netcdf);
    for (const PartVariables& variables : netcdf.parts) {
        writeIds(netcdf, variables);
        writePart(netcdf, variables);
    }
    demand(file, file.calls.close(file.id));
}

// --- a process of its own ------------------------------------------------------------------------------------------

enum WriterStatus : int { WRITER_DONE = 0, WRITER_FAILED = 1, WRITER_WITHOUT_MEMORY = 2 };

/// What the process does that writes: its status. Why it fails goes into a pipe.
int runWriter(const ExportWork& work, const AsideFile& aside, int pipe) {
    try {
        writeFile(work, aside);
        return WRITER_DONE;
    } catch (const ResultError& error) {
        const ssize_t written = write(pipe, error.what(), std::strlen(error.what()));
        return written < 0 ? WRITER_WITHOUT_MEMORY : WRITER_FAILED;
    } catch (const std::bad_alloc&) {
        return WRITER_WITHOUT_MEMORY;
    }
}

/// All that the other process says.
std::string readMessage(int pipe) {
    std::string message;
    std::array<char, 512> bytes{};
    for (;;) {
        const ssize_t count = read(pipe, bytes.data(), bytes.size());
        if (count <= 0 && !(count < 0 && errno == EINTR)) {
            return message;
        }
        message.append(bytes.data(), static_cast<size_t>(std::max<ssize_t>(count, 0)));
    }
}

int waitFor(pid_t child) {
    int state = 0;
    while (waitpid(child, &state, 0) < 0 && errno == EINTR) {
    }
    return state;
}

}  // namespace

// The library falls over where the disk is full or memory is short, at the latest at the end of its process: so it gets
// one that may.
void exportnetcdf_write(const ExportWork& work) {
    const std::string failure = "cannot write " + work.request.output + ": ";
    AsideFile aside;
    export_refuse(aside_begin(aside, work.request.output));
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw ResultError(failure + std::strerror(errno));
    }
    const pid_t child = fork();
    if (child == 0) {
        _exit(runWriter(work, aside, ends[1]));
    }
    const int reason = errno;
    close(ends[1]);
    const std::string message = child < 0 ? failure + std::strerror(reason) : readMessage(ends[0]);
    close(ends[0]);
    export_refuse(child < 0 ? message : "");
    const int state = waitFor(child);
    if (WIFEXITED(state) && WEXITSTATUS(state) == WRITER_DONE) {
        export_refuse(aside_end(aside));
        return;
    }
    if (WIFEXITED(state) && WEXITSTATUS(state) == WRITER_WITHOUT_MEMORY) {
        throw std::bad_alloc();
    }
    throw ResultError(!message.empty() ? message
                                       : failure + "the netCDF library failed; memory or the disk may be short");
}

#endif
