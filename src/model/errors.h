#pragma once
// Failures: one table of messages, one current error, and how a room tells of one.

#include <cstdint>
#include <string>

struct Model;

/// Index of a failure: its place in the table of messages. 0 means no error.
enum ErrorIndex : int32_t {
#define TARNVELDE_ERROR(enumerator, code, text) enumerator,
#include "model/errors.def"
#undef TARNVELDE_ERROR
    ERROR_COUNT
};

/// The last failure of a model.
struct CurrentError {
    int32_t code;            ///< ErrorIndex; sticky until the next open
    std::string objectName;  ///< what the %s of a reader's message shows: a token or an ID
};

/// The message of a failure, its one %s still in it; the empty text for an index outside the table.
[[nodiscard]] const char* errors_getMessage(int32_t index);

/// The number printed in the message: what the lifecycle functions return. 0 for an index outside the table.
[[nodiscard]] int32_t errors_getPublicCode(int32_t index);

/// The message of a public code in plain words, with dots where it names something.
[[nodiscard]] const char* errors_describe(int32_t publicCode);

/// Writes a blank line and the message to the report, if one is open, and makes `index` the current error.
void errors_report(Model& model, int32_t index, const char* text);

/// Stores the text that the message of a failure shows, and gives back the failure: how a line's parser fails.
[[nodiscard]] int32_t errors_setName(Model& model, int32_t index, const char* text);
