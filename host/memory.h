#pragma once
// What becomes of the program when a request for memory is refused where nobody can catch that: ahead of main, in a
// function that may not throw, or when the refusal itself can't be thrown.

/// Says on standard error that memory doesn't suffice, without asking for any.
void memory_tellRefusal();
