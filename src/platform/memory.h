#pragma once
// How much memory the machine still has for this process.

#include <cstddef>

/// Whether `bytes` more would fit into the memory of the machine and of the process's control group.
bool memory_isAvailable(size_t bytes);
