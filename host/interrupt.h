#pragma once
// Signals that ask a run to stop: Ctrl-C, a terminal that goes, what a system sends that wants the process to end, and
// a pipe that nobody reads any more.

/// From now on the first such signal is only noted; a second one ends the process at once. One that the process was
/// started to ignore stays ignored. A broken pipe shows again with each write: it never ends the process.
void interrupt_install();

/// The number of the signal that was noted: 2 for Ctrl-C, 15 for a wish to end, 1 and 13 for a lost
/// terminal or pipe; 0 for none.
[[nodiscard]] int interrupt_get();

/// Its name, as "SIGINT".
[[nodiscard]] const char* interrupt_getName(int number);
