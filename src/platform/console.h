#pragma once
// The standard output and the standard error of the process.

/// Prints a text as it stands, and flushes, so that progress is seen at once.
void console_write(const char* text);

/// Prints a text as it stands on the standard error.
void console_complain(const char* text);
