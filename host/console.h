#pragma once
// The standard streams of the process.

/// Standard streams that are closed lead nowhere from now on, so that no file of a run is taken for one of them.
void console_openStreams();

[[nodiscard]] bool console_isOutputTerminal();
[[nodiscard]] bool console_isErrorTerminal();

/// Whether something that was printed on standard output couldn't be written: there is no sense in more of it.
[[nodiscard]] bool console_isOutputBroken();

/// Ends standard output. Gives the exit status: `status`, if all that was printed is there. If not, standard error says
/// so, but where a pipe has lost its reader, who needs no word about it.
[[nodiscard]] int console_endOutput(int status);
