#pragma once
// The standard streams of the process.

/// Standard streams that are closed lead nowhere from now on, so that no file of a run is taken for one of them.
void console_openStreams();

/// From now on, what is printed on standard output goes nowhere. Returns what console_restore needs.
int console_silence();

/// Standard output is back where it was.
void console_restore(int saved);
