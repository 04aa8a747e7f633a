/* The smallest host of both faces: nothing is open, so nothing is found and closing is harmless. */
#include <tarnvelde.h>
#include <tarnvelde_model.h>

int main(void) {
    tv_model* model = 0;
    if (tv_create(&model) != TV_OK || tv_close(model) != TV_ERROR_NOT_OPEN || tv_free(model) != TV_OK) {
        return 2;
    }
    return tarnvelde_findObject(1, "J1") == -1 && tarnvelde_close() == 0 ? 0 : 1;
}
