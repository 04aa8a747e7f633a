#pragma once
// How much memory the machine still has for this process.

#include <cstddef>

/// Whether `bytes` more would fit into the memory of the machine and of the process's control group.
bool memory_isAvailable(size_t bytes);

/// Asks the processor for the memory at an address that will be written soon. Any address will do.
inline void memory_fetch(const void* address) {
#if defined(__GNUC__)
    __builtin_prefetch(address, 1);
#else
    (void)address;
#endif
}
