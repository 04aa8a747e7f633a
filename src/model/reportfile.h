#pragma once
// The text report as a stream that every floor may write a message or a line of a table to.

#include <cstdio>

struct Model;

/// Formatted write to the report, if one is open.
#if defined(__GNUC__)
__attribute__((format(printf, 2, 3)))
#endif
void reportfile_print(const Model& model, const char* format, ...);

/// Writes a text as it stands to the report, if one is open.
void reportfile_write(const Model& model, const char* text);

/// Hands what was written to the system.
void reportfile_flush(const Model& model);

/// What is written from now on waits in memory, and the file keeps what it holds; until the text takes its place.
void reportfile_hold(Model& model);
void reportfile_release(Model& model);

/// Whether all that was written to the report so far is in the hands of the system.
[[nodiscard]] bool reportfile_isWell(const Model& model);

/// Writes a line feed, two blanks and the text to the report, if one is open.
void reportfile_writeLine(const Model& model, const char* text);
