#pragma once
// Failures: one table of messages, one current error, and the two writes that tell the report about it.

#include <cstdint>
#include <cstdio>
#include <string>

/// Index of a failure: its place in the table of messages. 0 means no error.
enum ErrorIndex : int32_t {
#define TARNVELDE_ERROR(enumerator, code, text) enumerator,
#include "model/errors.def"
#undef TARNVELDE_ERROR
    ERROR_COUNT
};

extern int32_t ErrorCode;            ///< the last failure, an ErrorIndex; sticky until the next open
extern std::string ErrorObjectName;  ///< what the %s of a reader's message shows: a token or an ID
extern std::FILE* ReportFile;        ///< the text report; null while none is open

/// The message of a failure, its one %s still in it; the empty text for an index outside the table.
[[nodiscard]] const char* errors_getMessage(int32_t index);

/// The number printed in the message: what the lifecycle functions return. 0 for an index outside the table.
[[nodiscard]] int32_t errors_getPublicCode(int32_t index);

/// The message of a failure with `text` in the place of its %s. `text` is data: a % in it means nothing.
[[nodiscard]] std::string errors_formatMessage(int32_t index, const char* text);

/// Writes a blank line and the message to the report, if one is open, and makes `index` the current error.
void report_writeError(int32_t index, const char* text);

/// Formatted write to a stream; nothing happens without one.
#if defined(__GNUC__)
__attribute__((format(printf, 2, 3)))
#endif
void report_print(std::FILE* stream, const char* format, ...);

/// Writes a line feed, two blanks and the text to the report, if one is open.
void report_writeLine(const char* text);

/// Prints a text on standard output as it stands, and flushes, so that progress is seen at once.
void console_write(const char* text);

/// Stores the text that the message of a failure shows, and gives back the failure: how a line's parser fails.
int32_t errors_setName(int32_t index, const char* text);
