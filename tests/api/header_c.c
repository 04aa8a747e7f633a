/* The header serves a C compiler as it is, first in its file and twice. */
#include "tarnvelde.h"

/* again */
#include "tarnvelde.h"

int32_t header_callFromC(void);

int32_t header_callFromC(void) {
    return tarnvelde_findObject(1, "no such node") == -1 ? tarnvelde_close() : -2;
}
