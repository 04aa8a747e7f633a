// Texts in the form of a GUID, 8-4-4-4-12 hexadecimal digits, which name the private copies of an engine's library.
// They only have to differ in one folder at one time; whoever makes a copy takes the next text where a file of the name
// is there already. The generator is one of our own, so a host's random numbers are left alone.

#include "coupling/guid.h"

#include <cstdio>

#include "platform/clock.h"

/// 15 bits of a linear congruential generator.
static int32_t drawNumber(uint32_t& state) {
    state = state * 1103515245u + 12345u;
    return static_cast<int32_t>(state >> 16 & 0x7fff);
}

void guid_write(uint32_t seed, char* buffer) {
    uint32_t state = seed;
    char* at = buffer;
    // The remainders are by 255 and 15, so that no pair is ff and no digit behind the version is f: by this
    // our files can be told from others.
    for (int32_t i = 0; i < 16; ++i) {
        const int32_t number = drawNumber(state) % 255;
        const unsigned digit = static_cast<unsigned>(number % 15);
        switch (i) {
            case 6: std::snprintf(at, 3, "4%x", digit); break;
            case 8: std::snprintf(at, 3, "%c%x", "89ab"[drawNumber(state) % 4], digit); break;
            default: std::snprintf(at, 3, "%02x", static_cast<unsigned>(number)); break;
        }
        at += 2;
        if (i == 3 || i == 5 || i == 7 || i == 9) {
            *at++ = '-';
        }
    }
    *at = 0;
}

void guid_make(char* buffer) {
    guid_write(clock_getMicroseconds(), buffer);
}
