#pragma once
// Text files read line by line, the same on every system.

#include <cstdint>
#include <cstdio>
#include <string_view>
#include <vector>

/// An open text file. CR LF reads as LF, and a byte 0x1A ends the file; a lone CR stays.
struct TextFile {
    std::FILE* file;  ///< null for a text in memory, all of which stands in the buffer
    std::vector<char> buffer;
    size_t at;       ///< next byte of the buffer
    size_t filled;   ///< bytes in the buffer
    int64_t offset;  ///< place of the buffer's first byte in the file
    bool isAtEnd;    ///< a read has met the end
};

/// Opens a file for reading; false if it can't be, which a directory can't.
[[nodiscard]] bool textfile_open(TextFile& text, const char* path);

/// The same of a text in memory, which is copied.
void textfile_openText(TextFile& text, const char* bytes, size_t size);

void textfile_close(TextFile& text);

/// Reads up to the next line feed, it included, but at most `size` - 1 characters, and ends them with a zero.
/// False if nothing was left. isAtEnd is true then, and also when the end cut the line short.
[[nodiscard]] bool textfile_getLine(TextFile& text, char* line, int32_t size);

/// What stands in memory of the text after the place; nothing, if that is at the end of the buffer.
[[nodiscard]] inline std::string_view textfile_peek(const TextFile& text) {
    return {text.buffer.data() + text.at, text.filled - text.at};
}

/// Whether anything but blanks and further marks stands after the byte 0x1A that has ended the file.
[[nodiscard]] bool textfile_hasMore(TextFile& text);

/// Place of the next character, and the way back to such a place.
[[nodiscard]] int64_t textfile_getPosition(const TextFile& text);
void textfile_setPosition(TextFile& text, int64_t position);
