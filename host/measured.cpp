// A line that can't be read is told and left out: loggers stumble, and the rest of what they wrote is good.

#include "measured.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>

#include "characters.h"
#include "dates.h"
#include "files.h"

namespace {

constexpr size_t LONGEST_LINE = 1U << 20U;  ///< bytes of a line; beyond is no table

std::string trim(const std::string& text) {
    const size_t begin = text.find_first_not_of(" \t\r");
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

/// Cells of a line. Quotes hold a divider together; two within them are one.
std::vector<std::string> splitCells(const std::string& line, char divider) {
    std::vector<std::string> cells(1);
    bool isQuoted = false;
    for (size_t k = 0; k < line.size(); ++k) {
        const char c = line[k];
        if (c == '"' && isQuoted && k + 1 < line.size() && line[k + 1] == '"') {
            cells.back() += c;
            ++k;
        } else if (c == '"') {
            isQuoted = !isQuoted;
        } else if (c == divider && !isQuoted) {
            cells.emplace_back();
        } else {
            cells.back() += c;
        }
    }
    for (std::string& cell : cells) {
        cell = trim(cell);
    }
    return cells;
}

/// Where no comma divides the cells, one may stand for the point.
bool readNumber(std::string text, char divider, double* number) {
    const size_t comma = text.find(',');
    if (divider != ',' && comma != std::string::npos && text.find('.') == std::string::npos) {
        text[comma] = '.';
    }
    const char* begin = text.data() + (text.starts_with('+') ? 1 : 0);
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(begin, end, *number);
    return error == std::errc() && stop == end && std::isfinite(*number);
}

bool isMissing(const std::string& text) {
    return text.empty() || characters_toLower(text) == "nan";
}

/// A date with what loggers put behind it: parts of a second, which are dropped, and the Z of world time.
bool readDate(std::string text, double* date) {
    if (text.ends_with('Z')) {
        text.pop_back();
    }
    const size_t point = text.rfind('.'), colon = text.rfind(':');
    if (point != std::string::npos && colon != std::string::npos && point > colon &&
        std::all_of(text.begin() + static_cast<std::ptrdiff_t>(point) + 1, text.end(),
                    [](unsigned char c) { return std::isdigit(c) != 0; })) {
        text.resize(point);
    }
    return dates_parse(text, date);
}

/// The unit of a title, in brackets at its end and without a blank.
std::string findUnit(const std::string& title) {
    const size_t begin = title.rfind('(');
    const bool hasUnit = begin != std::string::npos && title.ends_with(')');
    const std::string unit = hasUnit ? title.substr(begin + 1, title.size() - begin - 2) : "";
    return unit.find(' ') == std::string::npos ? unit : "";
}

std::string cutUnit(const std::string& title) {
    const std::string unit = findUnit(title);
    return unit.empty() ? title : trim(title.substr(0, title.rfind('(')));
}

/// Lines of a file with their numbers, without the mark of UTF-8 and the ends of lines.
struct LineReader {
    std::ifstream stream;
    const std::string& name;
    std::string line{};
    size_t number = 0;

    explicit LineReader(const std::string& file) : stream(file, std::ios::binary), name(file) {}
    [[nodiscard]] bool take() {
        if (!std::getline(stream, line)) {
            return false;
        }
        ++number;
        if (line.size() > LONGEST_LINE) {
            throw ResultError(name + ", line " + std::to_string(number) + " is too long for a table");
        }
        if (number == 1 && line.starts_with("\xEF\xBB\xBF")) {
            line.erase(0, 3);
        }
        line = trim(line);
        return true;
    }
    [[nodiscard]] bool isEmpty() const { return line.empty() || line[0] == '#'; }
};

/// What divides the cells of the first line; what stands in quotes doesn't.
char findDivider(const std::string& line) {
    for (const char divider : {';', '\t'}) {
        if (splitCells(line, divider).size() > 1) {
            return divider;
        }
    }
    return ',';
}

bool isHead(const std::vector<std::string>& cells, char divider) {
    double number = 0.0;
    return !readDate(cells[0], &number) && std::none_of(cells.begin() + 1, cells.end(), [&](const std::string& cell) {
        return readNumber(cell, divider, &number);
    });
}

/// The place of a column, which isn't the first one.
size_t findColumn(const std::string& file, const std::vector<std::string>& titles, size_t count,
                  const std::string& column) {
    for (size_t k = 1; k < titles.size(); ++k) {
        if (characters_toLower(titles[k]) == characters_toLower(column) ||
            characters_toLower(cutUnit(titles[k])) == characters_toLower(column)) {
            return k;
        }
    }
    size_t number = 2;
    const auto [stop, error] = std::from_chars(column.data(), column.data() + column.size(), number);
    const bool isNumber = error == std::errc() && stop == column.data() + column.size();
    if ((column.empty() || isNumber) && number >= 2 && number <= count) {
        return number - 1;
    }
    std::string known;
    for (size_t k = 1; k < titles.size(); ++k) {
        known += (known.empty() ? "; there are " : ", ") + characters_shorten(titles[k], 40);
    }
    throw ResultError((column.empty() ? "no column of values" : "no column " + column) + " in " + file +
                      characters_shorten(known, 400));
}

/// Takes a line of values. An empty text, or what is wrong with it.
std::string takeRow(const std::vector<std::string>& cells, char divider, size_t column, ResultSeries& series) {
    double date = 0.0, value = 0.0;
    if (!readDate(cells[0], &date)) {
        return "no date: " + cells[0];
    }
    if (column >= cells.size()) {
        return "no value in column " + std::to_string(column + 1);
    }
    if (isMissing(cells[column])) {
        return "";
    }
    if (!readNumber(cells[column], divider, &value)) {
        return "no number: " + cells[column];
    }
    series.dates.push_back(date);
    series.values.push_back(value);
    return "";
}

}  // namespace

std::string measured_getFile(const std::string& name) {
    for (size_t end = name.size(); end != std::string::npos && end > 0; end = name.rfind(':', end - 1)) {
        if (files_exists(name.substr(0, end))) {
            return name.substr(0, end);
        }
    }
    return name;
}

Measured measured_read(const std::string& name) {
    const std::string file = measured_getFile(name);
    const std::string column = file.size() < name.size() ? name.substr(file.size() + 1) : "";
    if (files_exists(file) && !files_isRegular(file)) {
        throw ResultError(file + " is no file of measured values");
    }
    LineReader lines(file);
    if (!lines.stream) {
        throw ResultError("cannot open " + file);
    }
    Measured measured;
    measured.name = characters_toUtf8(files_toPath(file).stem().string());
    std::vector<std::string> titles;
    size_t place = 0;  // none yet: the first column has the dates
    char divider = ',';
    while (lines.take()) {
        if (lines.isEmpty()) {
            continue;
        }
        divider = place == 0 ? findDivider(lines.line) : divider;
        const std::vector<std::string> cells = splitCells(lines.line, divider);
        if (place == 0) {
            titles = isHead(cells, divider) ? cells : titles;
            place = findColumn(file, titles, cells.size(), column);
            if (!titles.empty()) {
                measured.name += ' ' + characters_toUtf8(cutUnit(titles[place]));
                measured.unit = findUnit(titles[place]);
                continue;
            }
        }
        if (const std::string fault = takeRow(cells, divider, place, measured.series); !fault.empty()) {
            measured.faults.push_back(file + ", line " + std::to_string(lines.number) + ": " +
                                      characters_shorten(fault, 100));
        }
    }
    if (lines.stream.bad()) {
        throw ResultError("cannot read " + file);
    }
    if (measured.series.values.empty()) {
        throw ResultError(measured.faults.empty() ? file + " holds no value"
                                                  : measured.faults[0] + "; no other line has a value either");
    }
    return measured;
}
