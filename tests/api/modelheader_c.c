/* The examples in the header of models as objects, as a C compiler takes them. A test compares the lines. */
#include <stdio.h>

#include "tarnvelde_model.h"

int32_t modelheader_runTown(void);
int32_t modelheader_addInflow(tv_model* model);

/* clang-format off */
int32_t modelheader_runTown(void) {
    tv_model* model;
    int32_t code = tv_create(&model);
    if (code == TV_OK) code = tv_open(model, "town.inp", "town.rpt");
    if (code == TV_OK) code = tv_start(model, "town.bin", NULL);
    if (code == TV_OK) code = tv_runUntil(model, TV_END);
    if (code == TV_OK) code = tv_report(model);
    if (code != TV_OK) fprintf(stderr, "%s\n", tv_describeCode(code));
    tv_free(model);
    return code;
}

int32_t modelheader_addInflow(tv_model* model) {
    int32_t variable, node;
    int32_t code = tv_findVariable(TV_NODE, "added_inflow", &variable);
    if (code == TV_OK) code = tv_findObject(model, TV_NODE, "J1", &node);
    if (code == TV_OK) code = tv_setValue(model, variable, node, TV_NO_POLLUTANT, 0.25);
    return code;
}
/* clang-format on */
