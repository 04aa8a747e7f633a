#pragma once
// The standard output of the process.

/// Prints a text as it stands, and flushes, so that progress is seen at once.
void console_write(const char* text);
