#pragma once
// Signals that ask a run to stop: Ctrl-C, and what a system sends that wants the process to end.

/// From now on the first such signal is only noted; a second one ends the process at once. One that the process was
/// started to ignore stays ignored.
void interrupt_install();

/// The number of the signal that was noted: 2 for Ctrl-C, 15 for a wish to end; 0 for none.
[[nodiscard]] int interrupt_get();

/// Its name, as "SIGINT".
[[nodiscard]] const char* interrupt_getName(int number);
