#pragma once
// Printing by a format of the C library, with the same bytes on every system.

#include <cstdarg>
#include <cstddef>
#include <cstdio>

/// As std::vsnprintf and std::vfprintf. A format may have the conversions d, s, c, f, e, g and x with all that goes
/// with them; a NaN is written with its sign.
int print_toText(char* text, size_t size, const char* format, va_list arguments);
int print_toFile(std::FILE* file, const char* format, va_list arguments);

/// One number by the format of one.
int print_number(char* text, size_t size, const char* format, double number);
