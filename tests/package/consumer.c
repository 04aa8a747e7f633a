/* The smallest host: nothing is open, so nothing is found and closing is harmless. */
#include <tarnvelde.h>

int main(void) {
    return tarnvelde_findObject(1, "J1") == -1 && tarnvelde_close() == 0 ? 0 : 1;
}
