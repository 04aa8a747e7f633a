#pragma once
// Memory as the machine sees it: how much is left, in which pages it lies, what of it the processor should have ready.

#include <cstddef>

/// Whether `bytes` more would fit into the memory of the machine and of the process's control group, once the
/// `promised` bytes that the process asked for before are all in use: the machine counts only those that were touched.
[[nodiscard]] bool memory_isAvailable(size_t bytes, size_t promised);

/// Asks the system to hold a table in large pages, so that walks that jump through it need fewer look-ups of addresses.
/// Called before the table is first written; a small one stays as it is.
void memory_useLargePages(void* table, size_t bytes);

/// Asks the processor for the memory at an address that will be written soon. Any address will do.
inline void memory_fetch(const void* address) {
#if defined(__GNUC__)
    __builtin_prefetch(address, 1);
    __asm__ volatile("");  // no instruction; without it gcc takes a function that only asks for memory for an idle one
#else
    (void)address;
#endif
}
