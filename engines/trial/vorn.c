/* A test engine for treatment plants: all influents run into one basin, a linear reservoir that is fully mixed; each
 * effluent takes a share of what leaves it, and the rest is wasted. It stands for no real plant; it keeps water and
 * mass to the last drop and writes each call into a log. README.md tells the model file and the log.
 */
#include "engine.h"

enum { MAX_UNITS = 16, CONSTITUENT_COUNT = 6, COMPONENT_COUNT = 19 };
enum { INFLUENT, EFFLUENT };
enum { COD, NH4, NO3, TP, TSS, ALK };

typedef struct {
    char name[NAME_SIZE];
    int type;
    double share;                         /* of an effluent */
    double values[1 + CONSTITUENT_COUNT]; /* of an influent: m3/s, then g/s, until set anew */
} Unit;

/* Components of the effluent as parts of a constituent. */
static const struct {
    int constituent;
    double part;
} Components[COMPONENT_COUNT] = {
    {COD, 0.0},  {COD, 0.12}, {COD, 0.08}, {COD, 0.1},  {NH4, 1.0}, {NO3, 0.0},  {NO3, 1.0},
    {TP, 0.7},   {ALK, 1.0},  {COD, 0.2},  {COD, 0.35}, {COD, 0.1}, {COD, 0.03}, {TP, 0.3},
    {COD, 0.01}, {COD, 0.01}, {TSS, 1.0},  {TSS, 0.0},  {TSS, 0.0},
};

static Unit Units[MAX_UNITS];
static int UnitCount;
static int IsUnsteady;
static double Constant, StartVolume, StartQual[CONSTITUENT_COUNT];
static double Volume, Mass[CONSTITUENT_COUNT];            /* m3, g */
static double Outflow, Concentrations[CONSTITUENT_COUNT]; /* m3/s, g/m3, of what leaves the basin */
static double WaterIn, WaterOut, MassIn[CONSTITUENT_COUNT], MassOut[CONSTITUENT_COUNT];

static Unit* findUnit(const char* name) {
    int k;
    for (k = 0; k < UnitCount; ++k) {
        if (strcmp(Units[k].name, name) == 0) {
            return &Units[k];
        }
    }
    return NULL;
}

static int readLine(const Line* line) {
    const char* key = line->words[0];
    int k;
    if (strcmp(key, "solution") == 0 && line->count == 2) {
        IsUnsteady = strcmp(line->words[1], "unsteady") == 0;
        return 1;
    }
    if (strcmp(key, "basin") == 0) {
        Constant = getNumber(line, 1);
        StartVolume = getNumber(line, 2);
        for (k = 0; k < CONSTITUENT_COUNT; ++k) {
            StartQual[k] = getNumber(line, 3 + k);
        }
        return 1;
    }
    if ((strcmp(key, "influent") == 0 || strcmp(key, "effluent") == 0) && line->count >= 2 && UnitCount < MAX_UNITS) {
        Unit* unit = &Units[UnitCount++];
        memset(unit, 0, sizeof *unit);
        copyName(unit->name, line->words[1]);
        unit->type = key[0] == 'i' ? INFLUENT : EFFLUENT;
        unit->share = line->count > 2 ? getNumber(line, 2) : 1.0;
        return 1;
    }
    return 0;
}

ENTRY int vorn_open(const char* input) {
    int code;
    beginModel(input);
    UnitCount = 0;
    IsUnsteady = 1;
    Constant = StartVolume = 0.0;
    memset(StartQual, 0, sizeof StartQual);
    code = readModel(input, readLine);
    code = code ? code : getRefusal("vorn_open");
    writeLog("vorn_open \"%s\" = %d", input, code);
    return code;
}

ENTRY int vorn_start(int save) {
    const int code = getRefusal("vorn_start");
    int k;
    Run.now = 0.0;
    Run.stepNumber = 0;
    WaterIn = WaterOut = Outflow = 0.0;
    Volume = StartVolume;
    for (k = 0; k < CONSTITUENT_COUNT; ++k) {
        Mass[k] = StartVolume * StartQual[k];
        MassIn[k] = MassOut[k] = Concentrations[k] = 0.0;
    }
    for (k = 0; k < UnitCount; ++k) {
        memset(Units[k].values, 0, sizeof Units[k].values);
    }
    writeLog("vorn_start %d = %d", save, code);
    return code;
}

static void stepBasin(double step) {
    double values[1 + CONSTITUENT_COUNT] = {0.0};
    double available, out;
    int k, c;
    for (k = 0; k < UnitCount; ++k) {
        for (c = 0; c <= CONSTITUENT_COUNT; ++c) {
            values[c] += Units[k].values[c];
        }
    }
    available = Volume + values[0] * step;
    out = drainReservoir(&Volume, values[0], Constant, step);
    Outflow = out / step;
    WaterIn += values[0] * step;
    WaterOut += out;
    for (c = 0; c < CONSTITUENT_COUNT; ++c) {
        const double mass = drainMass(&Mass[c], values[1 + c], step, available > 0.0 ? out / available : 0.0);
        MassIn[c] += values[1 + c] * step;
        MassOut[c] += mass;
        Concentrations[c] = out > 0.0 ? mass / out : 0.0;
    }
}

ENTRY int vorn_step(double* elapsed) {
    const double step = getStep();
    const int code = getRefusal("vorn_step");
    if (code) {
        writeLog("vorn_step = %d", code);
        return code;
    }
    if (step > 0.0) {
        stepBasin(step);
        moveClock(step);
    }
    *elapsed = getElapsed();
    writeLog("vorn_step = 0 : %.17g", *elapsed);
    return 0;
}

/* The books: what came in, what left the basin, and by how much the store has grown. */
ENTRY int vorn_end(void) {
    char text[LINE_SIZE];
    int length = snprintf(text, sizeof text, "water %.17g %.17g %.17g", WaterIn, WaterOut, Volume - StartVolume);
    int c;
    for (c = 0; c < CONSTITUENT_COUNT && length < LINE_SIZE; ++c) {
        length += snprintf(text + length, sizeof text - (size_t)length, " %d %.17g %.17g %.17g", c + 1, MassIn[c],
                           MassOut[c], Mass[c] - StartVolume * StartQual[c]);
    }
    writeLog("vorn_end = %d : %s", getRefusal("vorn_end"), text);
    return getRefusal("vorn_end");
}

ENTRY int vorn_close(void) {
    writeLog("vorn_close = %d", getRefusal("vorn_close"));
    return getRefusal("vorn_close");
}

ENTRY int vorn_setExtInflow(const char* name, int index, double value) {
    Unit* unit = findUnit(name);
    const int isGood = unit && unit->type == INFLUENT && index >= 0 && index <= CONSTITUENT_COUNT;
    const int code = isGood ? getRefusal("vorn_setExtInflow") : -1;
    if (code == 0) {
        unit->values[index] = value;
    }
    writeLog("vorn_setExtInflow \"%s\" %d %.17g = %d", name, index, value, code);
    return code;
}

ENTRY int vorn_getExtOutflow(const char* name, int index, double* value) {
    const Unit* unit = findUnit(name);
    const int isGood = unit && unit->type == EFFLUENT && index >= 0 && index <= COMPONENT_COUNT;
    const int code = isGood ? getRefusal("vorn_getExtOutflow") : -1;
    if (code != 0) {
        writeLog("vorn_getExtOutflow \"%s\" %d = %d", name, index, code);
        return code;
    }
    *value = index == 0 ? Outflow * unit->share
                        : Concentrations[Components[index - 1].constituent] * Components[index - 1].part;
    writeLog("vorn_getExtOutflow \"%s\" %d = 0 : %.17g", name, index, *value);
    return 0;
}

ENTRY int vorn_getStartAndEndTime(double* start, double* end) {
    const int code = getRefusal("vorn_getStartAndEndTime");
    if (code == 0) {
        *start = Run.start;
        *end = Run.end;
    }
    writeLog("vorn_getStartAndEndTime = %d", code);
    return code;
}

ENTRY int vorn_getUnitType(const char* name) {
    const Unit* unit = findUnit(name);
    const int type = unit ? unit->type : -1;
    writeLog("vorn_getUnitType \"%s\" = %d", name, type);
    return type;
}

ENTRY int vorn_getSolutionType(void) {
    writeLog("vorn_getSolutionType = %d", IsUnsteady);
    return IsUnsteady;
}

/* --- looked up, and never called ------------------------------------------------------------------------------- */

static int refuseCall(const char* entry) {
    writeLog("%s = -1", entry);
    return -1;
}

ENTRY int vorn_run(void) {
    return refuseCall("vorn_run");
}

ENTRY int vorn_report(void) {
    return refuseCall("vorn_report");
}

ENTRY int vorn_getDiffStep(void) {
    return refuseCall("vorn_getDiffStep");
}

/* All that a run changes. The model itself is that of the file. */
static const Piece Pieces[] = {{&Run.now, sizeof Run.now},
                               {&Run.stepNumber, sizeof Run.stepNumber},
                               {Units, sizeof Units},
                               {&Volume, sizeof Volume},
                               {Mass, sizeof Mass},
                               {&Outflow, sizeof Outflow},
                               {Concentrations, sizeof Concentrations},
                               {&WaterIn, sizeof WaterIn},
                               {&WaterOut, sizeof WaterOut},
                               {MassIn, sizeof MassIn},
                               {MassOut, sizeof MassOut}};
enum { PIECE_COUNT = sizeof Pieces / sizeof Pieces[0] };

ENTRY int vorn_saveState(void* buffer, int size) {
    const int refusal = getRefusal("vorn_saveState");
    return refusal ? refusal : savePieces(Pieces, PIECE_COUNT, buffer, size);
}

ENTRY int vorn_restoreState(const void* bytes, int size) {
    const int refusal = getRefusal("vorn_restoreState");
    return refusal ? refusal : restorePieces(Pieces, PIECE_COUNT, bytes, size);
}
