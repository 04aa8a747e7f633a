#pragma once
// What becomes of the program when a request for memory is refused where nobody can catch that: ahead of main, in a
// function that may not throw, or when the refusal itself can't be thrown.

/// Whether a request for memory has been refused at any time. Streams that are written into memory keep that to
/// themselves, and their text is cut.
[[nodiscard]] bool memory_wasRefused();

/// Says on standard error that memory doesn't suffice, without asking for any.
void memory_tellRefusal();
