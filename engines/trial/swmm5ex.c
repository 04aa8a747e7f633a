/* A test engine for SWMM nodes: junctions joined by reaches, each reach a linear reservoir that is fully mixed. It
 * stands for no real model; it keeps water and mass to the last drop and writes each call into a log. README.md tells
 * the model file and the log.
 */
#include "engine.h"

enum { MAX_OBJECTS = 32, MAX_SUBSTANCES = 8, PARAMETER_COUNT = 8 };
enum { GAGE, NODE, LINK, TYPE_COUNT };
enum { TOTAL_INFLOW = 4, FIRST_SUBSTANCE = 6 };

typedef struct {
    char name[NAME_SIZE];
    double numbers[PARAMETER_COUNT]; /* free, for the parameter calls */
    int node;                        /* of a gage; of a reach its upper end */
    int to;                          /* of a reach */
    double area;                     /* m2, of a gage */
    double rain;                     /* mm/h, of a gage */
    double constant;                 /* s, of a reach */
    double setting;                  /* of a reach */
    double startVolume, volume;      /* m3, of a reach */
    double flow;                     /* m3/s, out of a reach in the latest step */
    double startQual[MAX_SUBSTANCES];
    double mass[MAX_SUBSTANCES]; /* kg, of a reach */
    double springFlow;           /* m3/s, of a node */
    double springQual[MAX_SUBSTANCES];
    double extFlow;                 /* m3/s, for the next step */
    double extLoad[MAX_SUBSTANCES]; /* kg/s, for the next step */
    double inflow;                  /* m3/s, of a node in the latest step */
    double load[MAX_SUBSTANCES];    /* kg/s */
} Object;

static Object Objects[TYPE_COUNT][MAX_OBJECTS];
static int Counts[TYPE_COUNT];
static char Substances[MAX_SUBSTANCES][NAME_SIZE];
static int SubstanceCount;
static int IsMetric;
static char ReportFile[PATH_SIZE], ResultsFile[PATH_SIZE];
static double WaterIn, WaterOut, MassIn[MAX_SUBSTANCES], MassOut[MAX_SUBSTANCES];

static int findObject(int type, const char* name) {
    int k;
    if (type < 0 || type >= TYPE_COUNT || !name) {
        return -1;
    }
    for (k = 0; k < Counts[type]; ++k) {
        if (strcmp(Objects[type][k].name, name) == 0) {
            return k;
        }
    }
    return -1;
}

static int findSubstance(const char* name) {
    int k;
    for (k = 0; k < SubstanceCount; ++k) {
        if (strcmp(Substances[k], name) == 0) {
            return k;
        }
    }
    return -1;
}

/* --- model file ---------------------------------------------------------------------------------------------- */

static Object* addObject(int type, const char* name) {
    Object* object;
    if (Counts[type] == MAX_OBJECTS) {
        return NULL;
    }
    object = &Objects[type][Counts[type]++];
    memset(object, 0, sizeof *object);
    copyName(object->name, name);
    return object;
}

static void readQualities(const Line* line, int place, double* qualities) {
    int k;
    for (k = 0; k < MAX_SUBSTANCES; ++k) {
        qualities[k] = getNumber(line, place + k);
    }
}

/* Water only runs on to nodes further down in the file, and by one reach. */
static int readReach(const Line* line) {
    const int from = findObject(NODE, line->words[2]), to = findObject(NODE, line->words[3]);
    Object* reach;
    int k;
    for (k = 0; k < Counts[LINK]; ++k) {
        if (Objects[LINK][k].node == from) {
            return 0;
        }
    }
    reach = from >= 0 && to > from ? addObject(LINK, line->words[1]) : NULL;
    if (!reach) {
        return 0;
    }
    reach->node = from;
    reach->to = to;
    reach->constant = getNumber(line, 4);
    reach->startVolume = getNumber(line, 5);
    readQualities(line, 6, reach->startQual);
    return 1;
}

static int readGage(const Line* line) {
    const int node = findObject(NODE, line->words[2]);
    Object* gage = node >= 0 ? addObject(GAGE, line->words[1]) : NULL;
    if (!gage) {
        return 0;
    }
    gage->node = node;
    gage->area = getNumber(line, 3);
    return 1;
}

static int readLine(const Line* line) {
    const char* key = line->words[0];
    int k;
    if (strcmp(key, "substances") == 0) {
        for (k = 1; k < line->count && SubstanceCount < MAX_SUBSTANCES; ++k) {
            copyName(Substances[SubstanceCount++], line->words[k]);
        }
        return 1;
    }
    if (strcmp(key, "units") == 0 && line->count == 2) {
        IsMetric = strcmp(line->words[1], "metric") == 0;
        return 1;
    }
    if (strcmp(key, "node") == 0 && line->count == 2) {
        return addObject(NODE, line->words[1]) != NULL;
    }
    if (strcmp(key, "reach") == 0 && line->count >= 5) {
        return readReach(line);
    }
    if (strcmp(key, "gage") == 0 && line->count == 4) {
        return readGage(line);
    }
    if (strcmp(key, "spring") == 0 && line->count >= 3) {
        k = findObject(NODE, line->words[1]);
        if (k >= 0) {
            Objects[NODE][k].springFlow = getNumber(line, 2);
            readQualities(line, 3, Objects[NODE][k].springQual);
        }
        return k >= 0;
    }
    return 0;
}

ENTRY int swmm_open(const char* input, const char* report, const char* results) {
    int code;
    beginModel(input);
    memset(Counts, 0, sizeof Counts);
    SubstanceCount = 0;
    IsMetric = 1;
    snprintf(ReportFile, sizeof ReportFile, "%s", report);
    snprintf(ResultsFile, sizeof ResultsFile, "%s", results);
    code = readModel(input, readLine);
    code = code ? code : getRefusal("swmm_open");
    writeLog("swmm_open \"%s\" \"%s\" \"%s\" = %d", input, report, results, code);
    return code;
}

/* --- run ----------------------------------------------------------------------------------------------------- */

ENTRY int swmm_start(int save) {
    const int code = getRefusal("swmm_start");
    int k, s;
    Run.now = 0.0;
    Run.stepNumber = 0;
    WaterIn = WaterOut = 0.0;
    memset(MassIn, 0, sizeof MassIn);
    memset(MassOut, 0, sizeof MassOut);
    for (k = 0; k < MAX_OBJECTS; ++k) {
        Object *node = &Objects[NODE][k], *reach = &Objects[LINK][k];
        Objects[GAGE][k].rain = 0.0;
        node->inflow = node->extFlow = 0.0;
        memset(node->load, 0, sizeof node->load);
        memset(node->extLoad, 0, sizeof node->extLoad);
        reach->setting = 1.0;
        reach->flow = 0.0;
        reach->volume = reach->startVolume;
        for (s = 0; s < MAX_SUBSTANCES; ++s) {
            reach->mass[s] = reach->startVolume * reach->startQual[s] / 1000.0;
        }
    }
    if (save) {
        FILE* file = fopen(ResultsFile, "wb");
        if (file) {
            fclose(file);
        }
    }
    writeLog("swmm_start %d = %d", save, code);
    return code;
}

/* What comes into a node from outside; requests hold for one step. */
static void takeSources(Object* node, int index) {
    int k, s;
    node->inflow = node->extFlow + node->springFlow;
    for (k = 0; k < Counts[GAGE]; ++k) {
        if (Objects[GAGE][k].node == index) {
            node->inflow += Objects[GAGE][k].rain / 3600000.0 * Objects[GAGE][k].area;
        }
    }
    for (s = 0; s < MAX_SUBSTANCES; ++s) {
        node->load[s] = node->extLoad[s] + node->springFlow * node->springQual[s] / 1000.0;
    }
    node->extFlow = 0.0;
    memset(node->extLoad, 0, sizeof node->extLoad);
}

static void countSources(const Object* node, double step) {
    int s;
    WaterIn += node->inflow * step;
    for (s = 0; s < SubstanceCount; ++s) {
        MassIn[s] += node->load[s] * step;
    }
}

/* All that a node gets goes into its reach, and on to the next node; without a reach it leaves the model. */
static void passOn(Object* node, int index, double step) {
    Object* reach = NULL;
    double constant, out, available;
    int k, s;
    for (k = 0; k < Counts[LINK]; ++k) {
        reach = Objects[LINK][k].node == index ? &Objects[LINK][k] : reach;
    }
    if (!reach) {
        WaterOut += node->inflow * step;
        for (s = 0; s < SubstanceCount; ++s) {
            MassOut[s] += node->load[s] * step;
        }
        return;
    }
    available = reach->volume + node->inflow * step;
    constant = reach->setting > 0.0 ? reach->constant / reach->setting : HUGE_VAL;
    out = drainReservoir(&reach->volume, node->inflow, constant, step);
    reach->flow = out / step;
    Objects[NODE][reach->to].inflow += reach->flow;
    for (s = 0; s < SubstanceCount; ++s) {
        const double mass = drainMass(&reach->mass[s], node->load[s], step, available > 0.0 ? out / available : 0.0);
        Objects[NODE][reach->to].load[s] += mass / step;
    }
}

ENTRY int swmm_step(double* elapsed) {
    const double step = getStep();
    int code = getRefusal("swmm_step"), k;
    if (code) {
        writeLog("swmm_step = %d", code);
        return code;
    }
    if (step > 0.0) {
        for (k = 0; k < Counts[NODE]; ++k) {
            takeSources(&Objects[NODE][k], k);
            countSources(&Objects[NODE][k], step);
        }
        for (k = 0; k < Counts[NODE]; ++k) {
            passOn(&Objects[NODE][k], k, step);
        }
        moveClock(step);
    }
    *elapsed = getElapsed();
    writeLog("swmm_step = 0 : %.17g", *elapsed);
    return 0;
}

/* The books: what came in, what went out, and by how much the store has grown. */
ENTRY int swmm_end(void) {
    double stored = 0.0;
    char text[LINE_SIZE];
    int length, k, s;
    FILE* file = fopen(ReportFile, "wb");
    for (k = 0; k < Counts[LINK]; ++k) {
        stored += Objects[LINK][k].volume - Objects[LINK][k].startVolume;
    }
    length = snprintf(text, sizeof text, "water %.17g %.17g %.17g", WaterIn, WaterOut, stored);
    for (s = 0; s < SubstanceCount && length < LINE_SIZE; ++s) {
        double mass = 0.0;
        for (k = 0; k < Counts[LINK]; ++k) {
            const Object* reach = &Objects[LINK][k];
            mass += reach->mass[s] - reach->startVolume * reach->startQual[s] / 1000.0;
        }
        length += snprintf(text + length, sizeof text - (size_t)length, " %s %.17g %.17g %.17g", Substances[s],
                           MassIn[s], MassOut[s], mass);
    }
    if (file) {
        fprintf(file, "%s\n", text);
        fclose(file);
    }
    writeLog("swmm_end = %d : %s", getRefusal("swmm_end"), text);
    return getRefusal("swmm_end");
}

ENTRY int swmm_close(void) {
    writeLog("swmm_close = %d", getRefusal("swmm_close"));
    return getRefusal("swmm_close");
}

/* --- exchange in the step ------------------------------------------------------------------------------------ */

ENTRY int swmm_setExtInflow(const char* name, double flow) {
    const int node = findObject(NODE, name);
    int code = node < 0 ? -1 : getRefusal("swmm_setExtInflow");
    if (code == 0) {
        Objects[NODE][node].extFlow = flow;
    }
    writeLog("swmm_setExtInflow \"%s\" %.17g = %d", name, flow, code);
    return code;
}

ENTRY int swmm_setExtPollutLoad(const char* name, const char* substance, double load) {
    const int node = findObject(NODE, name), s = findSubstance(substance);
    int code = node < 0 || s < 0 ? -1 : getRefusal("swmm_setExtPollutLoad");
    if (code == 0) {
        Objects[NODE][node].extLoad[s] = load;
    }
    writeLog("swmm_setExtPollutLoad \"%s\" \"%s\" %.17g = %d", name, substance, load, code);
    return code;
}

ENTRY int swmm_setSetting(const char* name, double setting, double length) {
    const int reach = findObject(LINK, name);
    int code = reach < 0 ? -1 : getRefusal("swmm_setSetting");
    if (code == 0) {
        Objects[LINK][reach].setting = setting;
    }
    writeLog("swmm_setSetting \"%s\" %.17g %.17g = %d", name, setting, length, code);
    return code;
}

static int getNodeResult(const Object* node, int property, double* value) {
    if (property == TOTAL_INFLOW) {
        *value = node->inflow;
    } else if (property >= FIRST_SUBSTANCE && property < FIRST_SUBSTANCE + SubstanceCount) {
        *value = node->inflow != 0.0 ? node->load[property - FIRST_SUBSTANCE] / node->inflow * 1000.0 : 0.0;
    } else {
        return -1;
    }
    return 0;
}

static int getLinkResult(const Object* reach, int property, double* value) {
    switch (property) {
        case 0: *value = reach->flow; return 0;
        case 1: *value = reach->volume; return 0;
        default: return -1;
    }
}

ENTRY int swmm_getResult(int type, const char* name, int property, double* value) {
    const int object = findObject(type, name);
    int code = object < 0 ? -1 : getRefusal("swmm_getResult");
    if (code == 0) {
        code = type == NODE   ? getNodeResult(&Objects[NODE][object], property, value)
               : type == LINK ? getLinkResult(&Objects[LINK][object], property, value)
                              : -1;
    }
    if (code == 0) {
        writeLog("swmm_getResult %d \"%s\" %d = 0 : %.17g", type, name, property, *value);
    } else {
        writeLog("swmm_getResult %d \"%s\" %d = %d", type, name, property, code);
    }
    return code;
}

/* --- questions ----------------------------------------------------------------------------------------------- */

ENTRY int swmm_isNode(const char* name) {
    const int index = findObject(NODE, name);
    writeLog("swmm_isNode \"%s\" = %d", name, index);
    return index;
}

ENTRY int swmm_isLink(const char* name) {
    const int index = findObject(LINK, name);
    writeLog("swmm_isLink \"%s\" = %d", name, index);
    return index;
}

ENTRY int swmm_isPollut(const char* name, int* index) {
    const int found = findSubstance(name);
    if (found >= 0) {
        *index = found;
        writeLog("swmm_isPollut \"%s\" = 0 : %d", name, found);
        return 0;
    }
    writeLog("swmm_isPollut \"%s\" = -1", name);
    return -1;
}

ENTRY int swmm_getStartAndEndTime(double* start, double* end) {
    const int code = getRefusal("swmm_getStartAndEndTime");
    if (code == 0) {
        *start = Run.start;
        *end = Run.end;
    }
    writeLog("swmm_getStartAndEndTime = %d", code);
    return code;
}

ENTRY double swmm_getRoutingStep(void) {
    writeLog("swmm_getRoutingStep = %.17g", Run.steps[0]);
    return Run.steps[0];
}

ENTRY int swmm_getUnitSystem(void) {
    writeLog("swmm_getUnitSystem = %d", IsMetric);
    return IsMetric;
}

ENTRY int swmm_getObjCount(int type) {
    const int count = type >= 0 && type < TYPE_COUNT ? Counts[type] : -1;
    writeLog("swmm_getObjCount %d = %d", type, count);
    return count;
}

ENTRY int swmm_getObjID(int type, int index, char* name) {
    const int isThere = type >= 0 && type < TYPE_COUNT && index >= 0 && index < Counts[type];
    if (isThere) {
        strcpy(name, Objects[type][index].name);
    }
    writeLog("swmm_getObjID %d %d = %d", type, index, isThere ? 0 : -1);
    return isThere ? 0 : -1;
}

ENTRY int swmm_getObjIndex(int type, const char* name) {
    const int index = findObject(type, name);
    writeLog("swmm_getObjIndex %d \"%s\" = %d", type, name, index);
    return index;
}

ENTRY int swmm_getCurrentSetting(const char* name, double* setting) {
    const int reach = findObject(LINK, name);
    if (reach >= 0) {
        *setting = Objects[LINK][reach].setting;
    }
    writeLog("swmm_getCurrentSetting \"%s\" = %d", name, reach < 0 ? -1 : 0);
    return reach < 0 ? -1 : 0;
}

/* --- parameters: eight free numbers per object ----------------------------------------------------------------- */

static double* findNumber(int type, const char* name, int code) {
    const int object = findObject(type, name);
    return object >= 0 && code >= 0 && code < PARAMETER_COUNT ? &Objects[type][object].numbers[code] : NULL;
}

static int getParameter(const char* entry, int type, const char* name, int code, double* value) {
    const double* number = findNumber(type, name, code);
    if (number) {
        *value = *number;
    }
    writeLog("%s %d \"%s\" %d = %d", entry, type, name, code, number ? 0 : -1);
    return number ? 0 : -1;
}

static int setParameter(const char* entry, int type, const char* name, int code, double value) {
    double* number = findNumber(type, name, code);
    if (number) {
        *number = value;
    }
    writeLog("%s %d \"%s\" %d %.17g = %d", entry, type, name, code, value, number ? 0 : -1);
    return number ? 0 : -1;
}

ENTRY int swmm_getParam(int type, const char* name, int code, double* value) {
    return getParameter("swmm_getParam", type, name, code, value);
}

ENTRY int swmm_setParam(int type, const char* name, int code, double value) {
    return setParameter("swmm_setParam", type, name, code, value);
}

ENTRY int swmm_getNodeParam(int type, const char* name, int code, double* value) {
    return getParameter("swmm_getNodeParam", type, name, code, value);
}

ENTRY int swmm_setNodeParam(int type, const char* name, int code, double value) {
    return setParameter("swmm_setNodeParam", type, name, code, value);
}

ENTRY int swmm_getLinkParam(int type, const char* name, int code, double* value) {
    return getParameter("swmm_getLinkParam", type, name, code, value);
}

ENTRY int swmm_setLinkParam(int type, const char* name, int code, double value) {
    return setParameter("swmm_setLinkParam", type, name, code, value);
}

static int setNumber(const char* entry, int type, const char* name, int code, double value) {
    double* number = findNumber(type, name, code);
    if (number) {
        *number = value;
    }
    writeLog("%s \"%s\" %.17g = %d", entry, name, value, number ? 0 : -1);
    return number ? 0 : -1;
}

ENTRY int swmm_setNodeDepth(const char* name, double depth) {
    return setNumber("swmm_setNodeDepth", NODE, name, 7, depth);
}

ENTRY int swmm_setLinkDepth(const char* name, double depth) {
    return setNumber("swmm_setLinkDepth", LINK, name, 6, depth);
}

ENTRY int swmm_setLinkFlow(const char* name, double flow) {
    return setNumber("swmm_setLinkFlow", LINK, name, 7, flow);
}

ENTRY int swmm_setRainfall(const char* name, double rainfall) {
    const int gage = findObject(GAGE, name);
    if (gage >= 0) {
        Objects[GAGE][gage].rain = rainfall;
    }
    writeLog("swmm_setRainfall \"%s\" %.17g = %d", name, rainfall, gage < 0 ? -1 : 0);
    return gage < 0 ? -1 : 0;
}

/* --- looked up, and never called ------------------------------------------------------------------------------- */

static int refuseCall(const char* entry) {
    writeLog("%s = -1", entry);
    return -1;
}

ENTRY int swmm_run(void) {
    return refuseCall("swmm_run");
}

ENTRY int swmm_report(void) {
    return refuseCall("swmm_report");
}

ENTRY int swmm_getMassBalErr(void) {
    return refuseCall("swmm_getMassBalErr");
}

ENTRY int swmm_getVersion(void) {
    return refuseCall("swmm_getVersion");
}

ENTRY int swmm_getError(void) {
    return refuseCall("swmm_getError");
}

ENTRY int swmm_getWarnings(void) {
    return refuseCall("swmm_getWarnings");
}

/* All that a run changes. The model itself is that of the file. */
static const Piece Pieces[] = {{&Run.now, sizeof Run.now},   {&Run.stepNumber, sizeof Run.stepNumber},
                               {Objects, sizeof Objects},    {&WaterIn, sizeof WaterIn},
                               {&WaterOut, sizeof WaterOut}, {MassIn, sizeof MassIn},
                               {MassOut, sizeof MassOut}};
enum { PIECE_COUNT = sizeof Pieces / sizeof Pieces[0] };

ENTRY int swmm_saveState(void* buffer, int size) {
    const int refusal = getRefusal("swmm_saveState");
    return refusal ? refusal : savePieces(Pieces, PIECE_COUNT, buffer, size);
}

ENTRY int swmm_restoreState(const void* bytes, int size) {
    const int refusal = getRefusal("swmm_restoreState");
    return refusal ? refusal : restorePieces(Pieces, PIECE_COUNT, bytes, size);
}
