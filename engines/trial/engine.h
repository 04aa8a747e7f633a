/* What both test engines share: words of their model files, the log of their calls, and the law of their reservoirs.
 * Everything is static, so that each copy of a library has its own.
 */
#ifndef TEST_ENGINE_H
#define TEST_ENGINE_H

#include <float.h>
#include <math.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#if defined(_WIN32)
#define ENTRY __declspec(dllexport)
#else
#define ENTRY __attribute__((visibility("default")))
#endif

enum { MAX_WORDS = 40, MAX_STEPS = 8, MAX_REFUSALS = 8, NAME_SIZE = 64, LINE_SIZE = 1024, PATH_SIZE = 4096 };
enum { CODE_NO_FILE = 303, CODE_BAD_LINE = 200 };

/* What every model file may say. */
static struct {
    char model[NAME_SIZE]; /* base name of the model file */
    double start, end;     /* days */
    double steps[MAX_STEPS];
    int stepCount;
    double over; /* s, the run ends after so long; 0: at the end date */
    struct {
        char entry[NAME_SIZE];
        int code;
    } refusals[MAX_REFUSALS];
    int refusalCount;
    double now; /* s since the start */
    int stepNumber;
} Run;

/* --- arithmetic ------------------------------------------------------------------------------------------------ */

#if defined(__x86_64__)
/* Sets the processor as no caller wants it: rounding up, small numbers to zero, and x87 to single precision, if the
 * environment variable TARNVELDE_ENGINE_SPOILS is there. */
static void spoilArithmetic(void) {
    const unsigned vectors = 0xDFC0;
    const unsigned short control = 0x087F;
    if (getenv("TARNVELDE_ENGINE_SPOILS")) {
        __asm__ volatile("ldmxcsr %0\n\tfldcw %1" : : "m"(vectors), "m"(control));
    }
}

/* As a library does that was linked for fast mathematics. */
__attribute__((constructor)) static void spoilAtLoad(void) {
    spoilArithmetic();
}

__attribute__((destructor)) static void spoilAtUnload(void) {
    spoilArithmetic();
}
#else
static void spoilArithmetic(void) {}
#endif

/* --- log: one line per call ---------------------------------------------------------------------------------- */

static void writeLog(const char* format, ...) {
    const char* name = getenv("TARNVELDE_ENGINE_LOG");
    FILE* file = name && *name ? fopen(name, "ab") : NULL;
    va_list arguments;
    if (file) {
        fprintf(file, "%s ", *Run.model ? Run.model : "-");
        va_start(arguments, format);
        vfprintf(file, format, arguments);
        va_end(arguments);
        fputc('\n', file);
        fclose(file);
    }
    spoilArithmetic(); /* at the end of each call */
}

/* The code that the model file wants an entry to give back; 0 if it is to do its work. */
static int getRefusal(const char* entry) {
    int k;
    for (k = 0; k < Run.refusalCount; ++k) {
        if (strcmp(Run.refusals[k].entry, entry) == 0) {
            return Run.refusals[k].code;
        }
    }
    return 0;
}

/* --- model file ---------------------------------------------------------------------------------------------- */

typedef struct {
    char text[LINE_SIZE];
    const char* words[MAX_WORDS];
    int count;
} Line;

static void splitLine(Line* line) {
    char* word;
    line->text[strcspn(line->text, "#\r\n")] = 0;
    line->count = 0;
    for (word = strtok(line->text, " \t"); word && line->count < MAX_WORDS; word = strtok(NULL, " \t")) {
        line->words[line->count++] = word;
    }
}

static double getNumber(const Line* line, int place) {
    return place < line->count ? atof(line->words[place]) : 0.0;
}

static void copyName(char* name, const char* text) {
    strncpy(name, text, NAME_SIZE - 1);
    name[NAME_SIZE - 1] = 0;
}

/* Lines that all models know. 1 if it was one of them. */
static int readCommonLine(const Line* line) {
    const char* key = line->words[0];
    int k;
    if (strcmp(key, "period") == 0 && line->count == 5) {
        Run.start = getNumber(line, 1) + getNumber(line, 2) / 86400.0;
        Run.end = getNumber(line, 3) + getNumber(line, 4) / 86400.0;
        return 1;
    }
    if (strcmp(key, "step") == 0) {
        for (k = 1; k < line->count && k <= MAX_STEPS; ++k) {
            Run.steps[k - 1] = getNumber(line, k);
            Run.stepCount = k;
        }
        return 1;
    }
    if (strcmp(key, "over") == 0) {
        Run.over = getNumber(line, 1);
        return 1;
    }
    if (strcmp(key, "refuse") == 0 && line->count == 3 && Run.refusalCount < MAX_REFUSALS) {
        copyName(Run.refusals[Run.refusalCount].entry, line->words[1]);
        Run.refusals[Run.refusalCount++].code = atoi(line->words[2]);
        return 1;
    }
    return 0;
}

/* Takes the base name of a path as the name of the model, and forgets the model before. */
static void beginModel(const char* path) {
    const char* base = path + strlen(path);
    while (base > path && base[-1] != '/' && base[-1] != '\\') {
        --base;
    }
    memset(&Run, 0, sizeof Run);
    copyName(Run.model, base);
    if (strrchr(Run.model, '.')) {
        *strrchr(Run.model, '.') = 0;
    }
    Run.steps[0] = 60.0;
    Run.stepCount = 1;
}

/* Reads a file, each line by `readLine`, which gives 0 for a line that it can't use. */
static int readModel(const char* path, int (*readLine)(const Line*)) {
    FILE* file = fopen(path, "rb");
    Line line;
    int code = 0;
    if (!file) {
        return CODE_NO_FILE;
    }
    while (fgets(line.text, sizeof line.text, file)) {
        splitLine(&line);
        if (line.count > 0 && !readCommonLine(&line) && !readLine(&line)) {
            code = CODE_BAD_LINE;
        }
    }
    fclose(file);
    return code;
}

/* --- clock --------------------------------------------------------------------------------------------------- */

static double getDuration(void) {
    const double duration = floor((Run.end - Run.start) * 86400.0 + 0.5);
    return Run.over > 0.0 && Run.over < duration ? Run.over : duration;
}

/* Length of the next step, s; 0 once the run is over. */
static double getStep(void) {
    const double step = Run.steps[Run.stepNumber % Run.stepCount];
    const double rest = getDuration() - Run.now;
    return rest < step ? (rest > 0.0 ? rest : 0.0) : step;
}

static void moveClock(double step) {
    Run.now += step;
    ++Run.stepNumber;
}

/* What a step call stores: days since the start, 0 once the run is over. */
static double getElapsed(void) {
    return Run.now < getDuration() ? Run.now / 86400.0 : 0.0;
}

/* --- reservoir ----------------------------------------------------------------------------------------------- */

/* Volume that leaves a linear reservoir, outflow = volume / constant (s), in one step at a constant inflow: the exact
 * solution of its balance. `volume` moves on. Infinity as the constant shuts it, 0 lets everything through. */
static double drainReservoir(double* volume, double inflow, double constant, double step) {
    const double available = *volume + inflow * step;
    double kept = 0.0;
    if (available <= 0.0) {
        kept = available;
    } else if (fabs(constant) > DBL_MAX) {
        kept = available;
    } else if (constant > 0.0) {
        const double share = exp(-step / constant);
        kept = *volume * share + inflow * constant * (1.0 - share);
    }
    *volume = kept;
    return available - kept;
}

/* Mass that leaves with a share of the water; the reservoir is fully mixed. `mass` moves on. */
static double drainMass(double* mass, double load, double step, double share) {
    const double out = (*mass + load * step) * share;
    *mass += load * step - out;
    return out;
}

/* --- state --------------------------------------------------------------------------------------------------- */

/* A part of the state. */
typedef struct {
    void* at;
    size_t size;
} Piece;

/* Writes the pieces one after the other, if there is room enough; returns the bytes needed. */
static int savePieces(const Piece* pieces, int count, void* buffer, int size) {
    size_t needed = 0, place = 0;
    int k;
    for (k = 0; k < count; ++k) {
        needed += pieces[k].size;
    }
    for (k = 0; k < count && size >= 0 && needed <= (size_t)size; ++k) {
        memcpy((char*)buffer + place, pieces[k].at, pieces[k].size);
        place += pieces[k].size;
    }
    return (int)needed;
}

/* The way back; 1, and nothing has changed, if the size isn't that of the pieces. */
static int restorePieces(const Piece* pieces, int count, const void* bytes, int size) {
    size_t place = 0;
    int k;
    if (savePieces(pieces, count, NULL, -1) != size) {
        return 1;
    }
    for (k = 0; k < count; ++k) {
        memcpy(pieces[k].at, (const char*)bytes + place, pieces[k].size);
        place += pieces[k].size;
    }
    return 0;
}

#endif
