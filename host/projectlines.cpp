// The engine reads a project twice: names are collected from the first word as it stands, lines are taken apart with
// quotes. Both are here.

#include "projectlines.h"

#include <algorithm>
#include <cstddef>

static constexpr size_t LONGEST_PIECE = 1023;  ///< bytes that the engine takes as a line
static constexpr char END_MARK = 0x1A;
static constexpr int END = std::char_traits<char>::eof();

static int takeByte(std::streambuf& file) {
    const int c = file.sgetc();
    if (c == END || c == END_MARK) {
        return END;
    }
    file.sbumpc();
    if (c == '\r' && file.sgetc() == '\n') {
        return file.sbumpc();
    }
    return c;
}

bool projectlines_read(std::streambuf& file, ProjectPiece& piece) {
    piece = {"", false};
    size_t taken = 0;
    bool hasZero = false;
    while (taken < LONGEST_PIECE && !piece.isEnded) {
        const int c = takeByte(file);
        piece.isEnded = c == END || c == '\n';
        taken += c == END ? 0 : 1;
        hasZero = hasZero || c == 0;
        if (c != END && !hasZero) {
            piece.bytes += static_cast<char>(c);
        }
    }
    return taken > 0;
}

static bool isSeparator(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::string_view projectlines_findFirst(std::string_view line) {
    const auto* const begin = std::find_if_not(line.begin(), line.end(), isSeparator);
    const auto* const end = std::find_if(begin, line.end(), isSeparator);
    return line.substr(static_cast<size_t>(begin - line.begin()), static_cast<size_t>(end - begin));
}

static bool isComment(std::string_view line, size_t at) {
    return line.substr(at, 2) == "//";
}

std::vector<std::string> projectlines_split(std::string_view line) {
    std::vector<std::string> words;
    size_t at = 0;
    const auto skip = [&] { at = std::min(line.find_first_not_of(" \t\n\r", at), line.size()); };
    for (skip(); at < line.size() && !isComment(line, at); skip()) {
        const bool isQuoted = line[at] == '"';
        const size_t begin = isQuoted ? at + 1 : at;
        at = isQuoted ? begin : begin + 1;
        while (at < line.size() && !isComment(line, at) &&
               (isQuoted ? line[at] != '"' && line[at] != '\n' : !isSeparator(line[at]))) {
            ++at;
        }
        words.emplace_back(line.substr(begin, at - begin));
        if (isComment(line, at)) {
            break;
        }
        at += at < line.size() ? 1 : 0;
    }
    return words;
}

std::string projectlines_fold(std::string_view text) {
    std::string folded(text);
    for (char& c : folded) {
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    return folded;
}
