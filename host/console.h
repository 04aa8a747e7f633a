#pragma once
// The standard streams of the process.

/// Standard streams that are closed lead nowhere from now on, so that no file of a run is taken for one of them.
void console_openStreams();

[[nodiscard]] bool console_isOutputTerminal();
[[nodiscard]] bool console_isErrorTerminal();
