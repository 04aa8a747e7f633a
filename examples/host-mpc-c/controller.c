/* A controller that looks ahead: every half hour it tries three openings of a gate on a twin of the model, and takes
 * the one with which the least water spills.
 *
 *     controller MODEL REPORT
 */
#include <stdio.h>
#include <stdlib.h>
#include <tarnvelde_model.h>

#define CANDIDATES 3
static const double OPENINGS[CANDIDATES] = {0.2, 0.5, 1.0};
static const double DECISION_TIME = 0.5 / 24.0; /* d, between two decisions */
static const double LOOK_AHEAD = 0.5 / 24.0;    /* d */
static const double EQUAL = 1.0;                /* m3: less is no difference */

/* Indices of what the controller knows of the model. They are those of the twin, too. */
typedef struct Plant {
    int32_t gate, tank, brook, river; /* objects */
    int32_t opening, volume, spilled; /* variables */
} Plant;

/* What becomes of an opening. */
typedef struct Forecast {
    double spilled; /* m3 */
    double stored;  /* m3, in the tank at the end */
} Forecast;

static int32_t findPlant(const tv_model* model, Plant* plant) {
    int32_t code = tv_findObject(model, TV_LINK, "GATE", &plant->gate);
    if (code == TV_OK)
        code = tv_findObject(model, TV_NODE, "TANK", &plant->tank);
    if (code == TV_OK)
        code = tv_findObject(model, TV_NODE, "BROOK", &plant->brook);
    if (code == TV_OK)
        code = tv_findObject(model, TV_NODE, "RIVER", &plant->river);
    if (code == TV_OK)
        code = tv_findVariable(TV_LINK, "held_setting", &plant->opening);
    if (code == TV_OK)
        code = tv_findVariable(TV_NODE, "volume", &plant->volume);
    if (code == TV_OK)
        code = tv_findVariable(TV_NODE, "inflow_volume", &plant->spilled);
    return code;
}

static int32_t readSpills(const tv_model* model, const Plant* plant, double* brook, double* river) {
    const int32_t code = tv_getValue(model, plant->spilled, plant->brook, TV_NO_POLLUTANT, brook);
    return code == TV_OK ? tv_getValue(model, plant->spilled, plant->river, TV_NO_POLLUTANT, river) : code;
}

static int32_t setGate(tv_model* model, const Plant* plant, double opening) {
    return tv_setValue(model, plant->opening, plant->gate, TV_NO_POLLUTANT, opening);
}

/* Steps to a date, or to the end of the run, if the model isn't there already. */
static int32_t run(tv_model* model, double date) {
    const int32_t code = tv_runUntil(model, date);
    return code == TV_ERROR_FINISHED ? TV_OK : code;
}

/* Puts the twin into the state of the model, and lets it run ahead with an opening. */
static int32_t tryOpening(tv_model* twin, const Plant* plant, const void* state, size_t size, double opening,
                          Forecast* forecast) {
    tv_clock clock;
    double brook = 0.0, river = 0.0;
    int32_t code = tv_restoreState(twin, state, size);
    if (code == TV_OK)
        code = tv_getClock(twin, &clock);
    if (code == TV_OK)
        code = setGate(twin, plant, opening);
    if (code == TV_OK)
        code = run(twin, clock.now + LOOK_AHEAD);
    if (code == TV_OK)
        code = readSpills(twin, plant, &brook, &river);
    if (code == TV_OK)
        code = tv_getValue(twin, plant->volume, plant->tank, TV_NO_POLLUTANT, &forecast->stored);
    forecast->spilled = brook + river;
    return code;
}

/* The least spill first; among equals the most room in the tank for what comes after the look ahead; and a gate that
 * can stay where it is stays there. */
static int isBetter(const Forecast* a, int movesA, const Forecast* b, int movesB) {
    if (a->spilled < b->spilled - EQUAL || a->spilled > b->spilled + EQUAL) {
        return a->spilled < b->spilled;
    }
    if (a->stored < b->stored - EQUAL || a->stored > b->stored + EQUAL) {
        return a->stored < b->stored;
    }
    return movesA < movesB;
}

/* The best opening from now on. */
static int32_t decide(const tv_model* model, tv_model* twin, const Plant* plant, int* opening) {
    Forecast best = {0.0, 0.0}, forecast;
    const int before = *opening;
    size_t size = 0;
    void* state = NULL;
    int k;
    int32_t code = tv_getStateSize(model, &size);
    if (code == TV_OK && !(state = malloc(size))) {
        return TV_ERROR_MEMORY;
    }
    if (code == TV_OK)
        code = tv_saveState(model, state, size, &size);
    for (k = 0; k < CANDIDATES && code == TV_OK; ++k) {
        code = tryOpening(twin, plant, state, size, OPENINGS[k], &forecast);
        if (code == TV_OK && (k == 0 || isBetter(&forecast, k != before, &best, *opening != before))) {
            best = forecast;
            *opening = k;
        }
    }
    free(state);
    return code;
}

/* Runs the model with a fixed opening, or, with a twin, with those that it decides on. */
static int32_t simulate(tv_model* model, tv_model* twin, const Plant* plant, int opening) {
    int32_t phase = TV_STARTED, code = TV_OK;
    tv_clock clock;
    while (code == TV_OK && phase == TV_STARTED) {
        code = tv_getClock(model, &clock);
        if (code == TV_OK && twin)
            code = decide(model, twin, plant, &opening);
        if (code == TV_OK)
            code = setGate(model, plant, OPENINGS[opening]);
        if (code == TV_OK && twin) {
            const int minute = (int)((clock.now - clock.start) * 1440.0 + 0.5);
            printf("  %d:%02d  gate %.1f\n", 12 + minute / 60, minute % 60, OPENINGS[opening]);
        }
        if (code == TV_OK)
            code = run(model, clock.now + DECISION_TIME);
        tv_getPhase(model, &phase);
    }
    return code;
}

static int32_t tellSpills(const tv_model* model, const Plant* plant, const char* name, double* sum) {
    double brook = 0.0, river = 0.0;
    const int32_t code = readSpills(model, plant, &brook, &river);
    printf("%-14s %10.0f %10.0f %10.0f\n", name, brook, river, brook + river);
    *sum = brook + river;
    return code;
}

/* All four runs: one for each fixed opening, and the one that looks ahead, which is the last and leaves its report. */
static int32_t compare(tv_model* model, Plant* plant) {
    static const char* const NAMES[CANDIDATES + 1] = {"fixed at 0.2", "fixed at 0.5", "fixed at 1.0", "looking ahead"};
    double sums[CANDIDATES + 1], least;
    int32_t code = TV_OK;
    int k;
    for (k = 0; k <= CANDIDATES && code == TV_OK; ++k) {
        tv_model* twin = NULL;
        code = tv_start(model, NULL, NULL);
        if (code == TV_OK && k == CANDIDATES) {
            printf("\nThe gate, looking ahead:\n");
            code = tv_clone(model, &twin);
        }
        if (code == TV_OK)
            code = simulate(model, twin, plant, k < CANDIDATES ? k : 0);
        if (code == TV_OK && k == 0)
            printf("Spilled, m3         brook      river   together\n");
        if (code == TV_OK && twin)
            printf("\n");
        if (code == TV_OK)
            code = tellSpills(model, plant, NAMES[k], &sums[k]);
        if (code == TV_OK && twin)
            code = tv_report(model);
        tv_free(twin);
        tv_end(model);
    }
    if (code == TV_OK) {
        least = sums[0] < sums[1] ? sums[0] : sums[1];
        least = least < sums[2] ? least : sums[2];
        printf("\n%.0f m3 less than with the best of the fixed openings.\n", least - sums[CANDIDATES]);
    }
    return code;
}

int main(int argc, char** argv) {
    tv_model* model = NULL;
    Plant plant;
    int32_t code;
    if (argc != 3) {
        fprintf(stderr, "controller MODEL REPORT\n");
        return 2;
    }
    code = tv_create(&model);
    if (code == TV_OK)
        code = tv_open(model, argv[1], argv[2]);
    if (code == TV_OK)
        code = findPlant(model, &plant);
    if (code == TV_OK)
        code = compare(model, &plant);
    tv_free(model);
    if (code != TV_OK) {
        fprintf(stderr, "Error %d: %s\n", (int)code, tv_describeCode(code));
    }
    return code == TV_OK ? 0 : 1;
}
