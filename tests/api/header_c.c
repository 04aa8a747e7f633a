/* The headers serve a C compiler as they are, first in its file and twice. */
#include "tarnvelde_model.h"

#include "tarnvelde.h"

/* again */
#include "tarnvelde.h"
#include "tarnvelde_model.h"

int32_t header_callFromC(void);
int32_t header_callModelFromC(void);

int32_t header_callFromC(void) {
    return tarnvelde_findObject(1, "no such node") == -1 ? tarnvelde_close() : -2;
}

int32_t header_callModelFromC(void) {
    tv_model* model = NULL;
    int32_t code = tv_create(&model);
    const int32_t stepCode = tv_step(model);
    if (code == TV_OK) {
        code = tv_free(model);
    }
    return stepCode == TV_ERROR_NOT_OPEN ? code : TV_ERROR_BUSY;
}
