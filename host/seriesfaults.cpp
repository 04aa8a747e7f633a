// A line of a series file is date, time and value. It is read here as leniently as the engine does it, so that the line
// named is one that it refuses.

#include "seriesfaults.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string_view>
#include <vector>

#include "dates.h"
#include "files.h"
#include "projectlines.h"

static constexpr const char* BLANKS = " \t\n\v\f\r";
static constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
static constexpr unsigned char FIRST_FOREIGN = 0x80;  ///< bytes from here on are none of ASCII

static bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

static bool isForeign(char c) {
    return static_cast<unsigned char>(c) >= FIRST_FOREIGN;
}

/// Words between blanks; quotes are nothing special here.
static std::vector<std::string> splitWords(const std::string& line) {
    std::vector<std::string> words;
    for (size_t at = line.find_first_not_of(BLANKS); at != std::string::npos;) {
        const size_t end = std::min(line.find_first_of(BLANKS, at), line.size());
        words.push_back(line.substr(at, end - at));
        at = line.find_first_not_of(BLANKS, end);
    }
    return words;
}

/// Year, month and day with any character between them, as long as there is a stroke; what follows the day is ignored.
static bool isDate(const std::string& word) {
    if (word.find_first_of("/-") == std::string::npos) {
        return false;
    }
    size_t at = 0;
    const auto skipDigits = [&] {
        for (; at < word.size() && isDigit(word[at]); ++at) {
        }
    };
    std::string day = word;
    skipDigits();
    if (at < day.size()) {
        day[at++] = '/';
    }
    const size_t month = at;
    skipDigits();
    at = at == month ? month + 3 : at;  // a name
    if (at < day.size()) {
        day[at++] = '/';
    }
    skipDigits();
    double date = 0.0;
    return at <= day.size() && dates_parse(day.substr(0, at), &date);
}

static bool isTime(const std::string& word) {
    return isDigit(word[0]) || word[0] == '-' || word[0] == '+' || word[0] == '.';
}

/// A byte above 127 ends a number, and where it comes first the number is 0. Hexadecimal ones are read, too.
static bool isNumber(const std::string& word) {
    const size_t sign = word.size() > 1 && (word[0] == '+' || word[0] == '-') ? 1 : 0;
    const bool isHexadecimal = word.compare(sign, 2, "0x") == 0 || word.compare(sign, 2, "0X") == 0;
    const char* const begin = word.data() + sign + (isHexadecimal ? 2 : 0);
    const char* const end = word.data() + word.size();
    double number = 0.0;
    const auto [stop, error] =
        std::from_chars(begin, end, number, isHexadecimal ? std::chars_format::hex : std::chars_format::general);
    const bool isSigned = sign == 1 && (*begin == '-' || *begin == '+');  // twice
    return isForeign(word[0]) ||
           (!isSigned && error != std::errc::invalid_argument && (stop == end || isForeign(*stop)));
}

/// What is wrong with a line, if it isn't read; empty otherwise.
static std::string describeFault(const std::string& bytes, int64_t number) {
    const std::vector<std::string> words = splitWords(bytes);
    if (words.empty() || words[0][0] == ';') {
        return {};
    }
    if (number == 1 && words[0].starts_with(BYTE_ORDER_MARK)) {
        return "begins with a byte order mark: save the file as UTF-8 without one";
    }
    if (words.size() == 1) {
        return "has one word in place of three, date, time and value: " + words[0];
    }
    if (words.size() == 2) {
        return "has two words in place of three, date, time and value: " + words[0] + ' ' + words[1];
    }
    if (!isDate(words[0])) {
        return "begins with no date: " + words[0];
    }
    if (!isTime(words[1])) {
        return "has no time in its second word: " + words[1];
    }
    return isNumber(words[2]) ? "" : "has no number in its third word: " + words[2];
}

static std::string findFile(const std::string& project, const std::string& name) {
    const size_t folder = project.find_last_of("/\\") + 1;
    return files_isRegular(name) ? name : project.substr(0, folder) + name;
}

std::string seriesfaults_find(const std::string& project, const std::string& name) {
    const std::string path = findFile(project, name);
    if (!files_isRegular(path)) {
        return {};
    }
    std::ifstream file(files_toPath(path), std::ios::binary);
    ProjectPiece piece;
    bool isEmpty = true;
    for (int64_t number = 1; file.is_open() && projectlines_read(*file.rdbuf(), piece); ++number) {
        const std::string fault = describeFault(piece.bytes, number);
        if (!fault.empty()) {
            std::string text = "line " + std::to_string(number);
            text += " of ";
            text += name;
            text += ' ';
            text += fault;
            return text;
        }
        const std::vector<std::string> words = splitWords(piece.bytes);
        isEmpty = isEmpty && (words.empty() || words[0][0] == ';');
    }
    return isEmpty ? name + " holds no entry" : "";
}
