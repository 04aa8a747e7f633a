// The clock of the machine. Only the names of private copies are made of it, in the room guid.

#include "platform/clock.h"

#if defined(_WIN32)

#include <windows.h>

uint32_t clock_getMicroseconds() {
    LARGE_INTEGER counter{}, frequency{};
    QueryPerformanceCounter(&counter);
    QueryPerformanceFrequency(&frequency);
    const double rest = static_cast<double>(counter.QuadPart % frequency.QuadPart);
    return static_cast<uint32_t>(rest * 1000000.0 / static_cast<double>(frequency.QuadPart));
}

#else

#include <ctime>

uint32_t clock_getMicroseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint32_t>(static_cast<double>(now.tv_nsec) * 1000000.0 / 1000000000.0);
}

#endif
