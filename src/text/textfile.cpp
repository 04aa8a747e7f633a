// Text files. Project and series files travel between systems, so the end of a line and the end of a file are the same
// here on all of them.

#include "text/textfile.h"

#include <bit>
#include <cstring>

#include "platform/files.h"

static constexpr size_t BUFFER_SIZE = size_t{1} << 16;
static constexpr int END = -1;
static constexpr char END_MARK = 0x1A;

bool textfile_open(TextFile& text, const char* path) {
    textfile_close(text);
    text.file = files_openForReading(path);
    if (!text.file) {
        return false;
    }
    text.buffer.resize(BUFFER_SIZE);
    return true;
}

void textfile_openText(TextFile& text, const char* bytes, size_t size) {
    textfile_close(text);
    text.buffer.assign(bytes, bytes + size);
    text.filled = size;
}

void textfile_close(TextFile& text) {
    if (text.file) {
        std::fclose(text.file);
    }
    text = TextFile{};
}

static bool fillBuffer(TextFile& text) {
    if (!text.file) {
        return false;
    }
    text.offset += static_cast<int64_t>(text.filled);
    text.at = 0;
    text.filled = std::fread(text.buffer.data(), 1, text.buffer.size(), text.file);
    return text.filled > 0;
}

/// The next byte without taking it, or END.
static int peekByte(TextFile& text) {
    if (text.at == text.filled && !fillBuffer(text)) {
        return END;
    }
    const char c = text.buffer[text.at];
    return c == END_MARK ? END : static_cast<unsigned char>(c);
}

static int getCharacter(TextFile& text) {
    const int c = peekByte(text);
    if (c == END) {
        return END;
    }
    ++text.at;
    if (c == '\r' && peekByte(text) == '\n') {
        ++text.at;
        return '\n';
    }
    return c;
}

/// Eight bytes as a number, the first of them its lowest.
static uint64_t loadWord(const char* bytes) {
    uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    if constexpr (std::endian::native == std::endian::big) {
        uint64_t turned = 0;
        for (size_t k = 0; k < sizeof word; ++k) {
            turned = turned << 8 | (word >> 8 * k & 0xFF);
        }
        word = turned;
    }
    return word;
}

/// The number of bytes below a blank's that stand in front in a word, 8 if none is there. Such a byte borrows from its
/// top bit when a blank is taken off; so do others above it, but none ahead of the first.
static size_t findControl(uint64_t word) {
    static constexpr uint64_t BLANKS = 0x2020202020202020u, TOPS = 0x8080808080808080u;
    return static_cast<size_t>(std::countr_zero((word - BLANKS) & ~word & TOPS)) / 8;
}

/// Copies a line eight bytes at a time, if all of it stands in the buffer with eight more bytes, it fits, and nothing
/// in it asks for a closer look. Its length, or 0 with nothing taken: then it is read byte by byte.
static size_t copyWholeLine(TextFile& text, char* line, size_t size) {
    const char* const from = text.buffer.data() + text.at;
    const size_t left = text.filled - text.at;
    const size_t most = left < size ? left : size;
    for (size_t at = 0; at + sizeof(uint64_t) < most;) {
        std::memcpy(line + at, from + at, sizeof(uint64_t));
        const size_t step = findControl(loadWord(from + at));
        at += step;
        if (step == sizeof(uint64_t)) {
            continue;
        }
        const bool isPair = from[at] == '\r' && from[at + 1] == '\n';
        if (from[at] == '\n' || isPair) {
            line[at] = '\n';
            line[at + 1] = 0;
            text.at += at + (isPair ? 2 : 1);
            return at + 1;
        }
        if (from[at] == END_MARK) {
            return 0;
        }
        ++at;  // a tab, or a byte that means nothing here
    }
    return 0;
}

bool textfile_getLine(TextFile& text, char* line, int32_t size) {
    if (copyWholeLine(text, line, static_cast<size_t>(size)) > 0) {
        return true;
    }
    int32_t length = 0;
    while (length < size - 1) {
        const int c = getCharacter(text);
        if (c == END) {
            text.isAtEnd = true;
            break;
        }
        line[length++] = static_cast<char>(c);
        if (c == '\n') {
            break;
        }
    }
    line[length] = 0;
    return length > 0;
}

bool textfile_hasMore(TextFile& text) {
    while (text.at < text.filled || fillBuffer(text)) {
        const auto c = static_cast<unsigned char>(text.buffer[text.at++]);
        if (c > ' ') {
            return true;
        }
    }
    return false;
}

int64_t textfile_getPosition(const TextFile& text) {
    return text.offset + static_cast<int64_t>(text.at);
}

void textfile_setPosition(TextFile& text, int64_t position) {
    text.isAtEnd = false;
    if (position >= text.offset && position <= text.offset + static_cast<int64_t>(text.filled)) {
        text.at = static_cast<size_t>(position - text.offset);
        return;
    }
    files_seek(text.file, position);
    text.offset = position;
    text.at = text.filled = 0;
}
