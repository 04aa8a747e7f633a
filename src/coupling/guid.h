#pragma once
// Names for private copies of a library.

#include <cstdint>

constexpr int32_t GUID_SIZE = 37;  ///< bytes of a GUID text, with the zero at its end

/// Writes a GUID text made from the clock; two calls in one microsecond give the same text.
void guid_make(char* buffer);

/// The same from a seed.
void guid_write(uint32_t seed, char* buffer);
