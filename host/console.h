#pragma once
// The standard streams of the process.

/// Standard streams that are closed lead nowhere from now on, so that no file of a run is taken for one of them.
void console_openStreams();

[[nodiscard]] bool console_isOutputTerminal();
[[nodiscard]] bool console_isErrorTerminal();

/// Whether all that was printed on standard output is there; else standard error says so.
[[nodiscard]] bool console_endOutput();
