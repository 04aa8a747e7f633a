#pragma once
// The clock of the machine, for names that must differ and for nothing else: no result depends on it.

#include <cstdint>

/// Microseconds of the current second of a clock that counts finely.
[[nodiscard]] uint32_t clock_getMicroseconds();
