/* A real-time controller: reads the depth of a storm tank at each step, and sets the pump and the gate for the next
 * one.
 *
 *     controller MODEL REPORT
 *
 * The pump follows the depth: from 0.3 m up it lifts what the works can take. The gate to the brook stays shut as long
 * as the tank can hold the storm; above 3 m it opens, and is wide open at 3.8 m.
 */
#include <stdio.h>
#include <tarnvelde.h>

static const double PUMP_CAPACITY = 0.25; /* m3/s */

/* The depth of the tank, m. This result is stored and returns -1 all the same: a mark shows whether it was. */
static int readDepth(double* depth) {
    *depth = -1.0;
    tarnvelde_getResult(TARNVELDE_TANK, "TANK", TARNVELDE_RESULT_TANK_DEPTH, depth);
    return *depth >= 0.0;
}

static double getPumpFlow(double depth) {
    const double share = (depth - 0.3) / 0.7;
    return PUMP_CAPACITY * (share < 0.0 ? 0.0 : share > 1.0 ? 1.0 : share);
}

static double getGateOpening(double depth) {
    const double share = (depth - 3.0) / 0.8;
    return share < 0.0 ? 0.0 : share > 1.0 ? 1.0 : share;
}

/* One look at the tank, one setting of pump and gate. 0 if the model isn't the one that we know. */
static int control(double* depth) {
    return readDepth(depth) && tarnvelde_setPumpFlow("PUMP", getPumpFlow(*depth)) == TARNVELDE_SUCCESS &&
           tarnvelde_setSetting("GATE", getGateOpening(*depth)) == TARNVELDE_SUCCESS;
}

static int32_t run(double* highest) {
    int32_t code;
    int step = 0;
    double days = 0.0, depth;
    do {
        if (!control(&depth)) {
            fprintf(stderr, "The model has no TANK, PUMP or GATE.\n");
            return -1;
        }
        *highest = depth > *highest ? depth : *highest;
        if (step % 30 == 0) {
            fprintf(stderr, "%8.1f %10.2f %12.3f %10.2f\n", step / 60.0, depth, getPumpFlow(depth),
                    getGateOpening(depth));
        }
        code = tarnvelde_step(&days);
        ++step;
    } while (code == 0 && days > 0.0); /* exactly 0 is the end */
    return code;
}

int main(int argc, char** argv) {
    int32_t code;
    double highest = 0.0;
    if (argc != 3) {
        fprintf(stderr, "controller MODEL REPORT\n");
        return 2;
    }
    code = tarnvelde_open(argv[1], argv[2], "");
    if (code == 0) {
        code = tarnvelde_start(TARNVELDE_SAVE_NOTHING);
    }
    if (code == 0) {
        /* On standard error, since the engine prints its progress on standard output. */
        fprintf(stderr, "   hours   depth, m   pump, m3/s    gate, -\n");
        code = run(&highest);
    }
    if (code == 0) {
        code = tarnvelde_report();
        fprintf(stderr, "Highest depth: %.2f m\n", highest);
    }
    tarnvelde_end();
    tarnvelde_close(); /* only now is the report complete */
    if (code == 301 || code == 303 || code == 305) {
        fprintf(stderr, "Error %d: model or report can't be opened, or have one name\n", (int)code);
    } else if (code > 0) {
        fprintf(stderr, "Error %d, see %s\n", (int)code, argv[2]);
    }
    return code == 0 ? 0 : 1;
}
