// Text files. Project and series files travel between systems, so the end of a line and the end of a file are the same
// here on all of them.

#include "text/textfile.h"

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

bool textfile_getLine(TextFile& text, char* line, int32_t size) {
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
