/* Tarnvelde: simulation of urban drainage and water quality.
 *
 * The first public face of libtarnvelde: 47 functions, plain C, usable from C and C++. tarnvelde_model.h is the second
 * one: models as objects, as many as wanted, with messages, variables and saved states.
 *
 * One project at a time. These functions name no model: they work on one of the process, and nothing is locked, so call
 * all of them from one thread. The library calls nothing back, never exits, installs no handler and changes neither the
 * current folder nor the locale. It prints progress lines on standard output (see each function).
 *
 * A whole run in one call:
 *
 *     int32_t code = tarnvelde_run("model.inp", "model.rpt", "model.bin");
 *
 * The same, step by step, so that the host can look at the model and act on it between steps:
 *
 *     double days = 0.0;
 *     int32_t code = tarnvelde_open("model.inp", "model.rpt", "model.bin");
 *     if (code == 0) code = tarnvelde_start(1);
 *     while (code == 0) {
 *         code = tarnvelde_step(&days);
 *         if (days == 0.0) break;
 *     }
 *     tarnvelde_report();
 *     tarnvelde_end();
 *     tarnvelde_close();
 *
 * Results. The nine functions of the life cycle return a public code: 0, or the number of the last error, as it is in
 * the message that the text report holds ("ERROR 209: ..." gives 209). Some codes are special: 200 says that the
 * report lists one or more errors of the project file; 301, 303, 305, 307 and 313 say that a file can't be used, a
 * message that goes to standard output and not to the report. The current error is sticky: only tarnvelde_open and
 * tarnvelde_run clear it, and a later error replaces an earlier one.
 *
 * All other functions return 0 for success and -1 for failure where nothing else is said. They leave the current error
 * alone and write no message. Called when they can't work - before an open, after a close, with a null pointer, with an
 * empty or unknown ID - they return -1 and change nothing, except that tarnvelde_getSetting, tarnvelde_getNodeType and
 * tarnvelde_getLinkType store -1.
 *
 * IDs and file names are NUL-terminated bytes. IDs are compared without regard to the case of the letters a to z.
 * Strings given to the library may be released when the call returns.
 *
 * Units, where a parameter or result says nothing else: flow m3/s, volume m3, depth m, concentration mg/L, load kg/s.
 * Dates are days since 30 December 1899 with the time of day as the fraction.
 */
#ifndef TARNVELDE_H
#define TARNVELDE_H

#include <stdint.h>

#if defined(_WIN32)
#if defined(TARNVELDE_BUILDING)
#define TARNVELDE_API __declspec(dllexport)
#else
#define TARNVELDE_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define TARNVELDE_API __attribute__((visibility("default")))
#else
#define TARNVELDE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------------------------------------
 * Numbers with names. The functions take and store plain int32_t; the names are for the host's source.
 * ------------------------------------------------------------------------------------------------------------------ */

/* What the functions of the exchange (all but the life cycle) return. */
enum { TARNVELDE_SUCCESS = 0, TARNVELDE_FAILURE = -1 };

/* Save modes of tarnvelde_start. */
enum TarnveldeSaveMode { TARNVELDE_SAVE_NOTHING = 0, TARNVELDE_SAVE_BINARY = 1, TARNVELDE_SAVE_DATABASE = 2 };

/* Classes of tarnvelde_findObject. */
enum TarnveldeClass { TARNVELDE_CLASS_SUBCATCHMENT = 0, TARNVELDE_CLASS_NODE = 1, TARNVELDE_CLASS_LINK = 2 };

/* What tarnvelde_getNodeType stores. */
enum TarnveldeNodeKind {
    TARNVELDE_NODE_UNKNOWN = -1,
    TARNVELDE_NODE_JUNCTION = 0,
    TARNVELDE_NODE_TANK = 1,
    TARNVELDE_NODE_OUTFALL = 2,
    TARNVELDE_NODE_SPLITTER = 3,
    TARNVELDE_NODE_SWMM = 4,
    TARNVELDE_NODE_REACTOR = 5,
    TARNVELDE_NODE_LID_MONOMER = 6,
    TARNVELDE_NODE_VORN = 7
};

/* What tarnvelde_getLinkType stores. */
enum TarnveldeLinkKind {
    TARNVELDE_LINK_UNKNOWN = -1,
    TARNVELDE_LINK_PIPE = 0,
    TARNVELDE_LINK_PUMP = 1,
    TARNVELDE_LINK_CONNECTION = 2,
    TARNVELDE_LINK_CONDUIT = 3,
    TARNVELDE_LINK_WEIR = 4,
    TARNVELDE_LINK_ORIFICE = 5
};

/* First argument of tarnvelde_getParam, tarnvelde_setParam and tarnvelde_getResult. */
enum TarnveldeObject {
    TARNVELDE_SUBCATCHMENT = 1,
    TARNVELDE_JUNCTION = 2,
    TARNVELDE_TANK = 3,
    TARNVELDE_OUTFALL = 4,
    TARNVELDE_SPLITTER = 5,
    TARNVELDE_REACTOR = 6,
    TARNVELDE_LID_MONOMER = 7,
    TARNVELDE_PIPE = 8,
    TARNVELDE_PUMP = 9,
    TARNVELDE_CONNECTION = 10,
    TARNVELDE_CONDUIT = 11,
    TARNVELDE_WEIR = 12,
    TARNVELDE_ORIFICE = 13
};

/* Parameters; the comment of tarnvelde_getParam explains some of them. */
enum TarnveldeParam {
    TARNVELDE_PARAM_SUBCATCHMENT_AREA = 0,                 /* ha */
    TARNVELDE_PARAM_SUBCATCHMENT_WIDTH = 1,                /* m */
    TARNVELDE_PARAM_SUBCATCHMENT_IMPERVIOUS = 2,           /* % */
    TARNVELDE_PARAM_SUBCATCHMENT_SLOPE = 3,                /* % */
    TARNVELDE_PARAM_SUBCATCHMENT_IMPERVIOUS_ROUGHNESS = 4, /* s/m^(1/3), Manning's n */
    TARNVELDE_PARAM_SUBCATCHMENT_PERVIOUS_ROUGHNESS = 5,   /* s/m^(1/3), Manning's n */
    TARNVELDE_PARAM_SUBCATCHMENT_IMPERVIOUS_STORAGE = 6,   /* mm */
    TARNVELDE_PARAM_SUBCATCHMENT_PERVIOUS_STORAGE = 7,     /* mm */
    TARNVELDE_PARAM_SUBCATCHMENT_MAX_INFILTRATION = 8,     /* mm/s, not mm/h */
    TARNVELDE_PARAM_SUBCATCHMENT_MIN_INFILTRATION = 9,     /* mm/s, not mm/h */
    TARNVELDE_PARAM_SUBCATCHMENT_INFILTRATION_DECAY = 10,  /* 1/h */
    TARNVELDE_PARAM_SUBCATCHMENT_DRYING_TIME = 11,         /* set: days; get: 1/days */
    TARNVELDE_PARAM_SUBCATCHMENT_MAX_INFILTRATED = 12,     /* mm */

    TARNVELDE_PARAM_TANK_FULL_DEPTH = 0,    /* m */
    TARNVELDE_PARAM_TANK_INITIAL_DEPTH = 1, /* m, acts at the next start */

    TARNVELDE_PARAM_SPLITTER_MODE = 0,  /* 0 FLOW, 1 RATIO, 2 FLOW_RATIO */
    TARNVELDE_PARAM_SPLITTER_VALUE = 1, /* m3/s; in mode RATIO a share, 0 ... 1 */
    TARNVELDE_PARAM_SPLITTER_RATIO = 2, /* share, 0 ... 1 */

    TARNVELDE_PARAM_PIPE_K = 0,        /* s; can be set, not read */
    TARNVELDE_PARAM_PIPE_N = 1,        /* number of reaches */
    TARNVELDE_PARAM_PIPE_X = 2,        /* 0 ... 0.5 */
    TARNVELDE_PARAM_PIPE_MAX_FLOW = 3, /* m3/s, 0 for no limit */

    TARNVELDE_PARAM_PUMP_INITIAL_SETTING = 0, /* 0 or 1, acts at the next start */
    TARNVELDE_PARAM_PUMP_STARTUP_DEPTH = 1,   /* m */
    TARNVELDE_PARAM_PUMP_SHUTOFF_DEPTH = 2,   /* m */

    TARNVELDE_PARAM_CONNECTION_DELAY = 0, /* s */

    TARNVELDE_PARAM_CONDUIT_SHAPE = 0,  /* 0 CIRCULAR, 1 RECTANGULAR, 2 IRREGULAR */
    TARNVELDE_PARAM_CONDUIT_HEIGHT = 1, /* m */
    TARNVELDE_PARAM_CONDUIT_WIDTH = 2,  /* m */

    TARNVELDE_PARAM_WEIR_SHAPE = 0,       /* 0 RECTANGULAR, 1 TRIANGULAR */
    TARNVELDE_PARAM_WEIR_COEFFICIENT = 1, /* m^(1/2)/s */
    TARNVELDE_PARAM_WEIR_LENGTH = 2,      /* m */
    TARNVELDE_PARAM_WEIR_CREST = 3,       /* m */
    TARNVELDE_PARAM_WEIR_OPENING = 4,     /* m */

    TARNVELDE_PARAM_ORIFICE_SHAPE = 0,       /* 0 CIRCULAR, 1 RECTANGULAR */
    TARNVELDE_PARAM_ORIFICE_HEIGHT = 1,      /* m */
    TARNVELDE_PARAM_ORIFICE_WIDTH = 2,       /* m */
    TARNVELDE_PARAM_ORIFICE_COEFFICIENT = 3, /* - */
    TARNVELDE_PARAM_ORIFICE_CREST = 4        /* m */
};

/* Selectors of tarnvelde_setWeirParams. */
enum TarnveldeWeirSelector {
    TARNVELDE_WEIR_SELECT_COEFFICIENT = 0, /* m^(1/2)/s */
    TARNVELDE_WEIR_SELECT_HEIGHT = 1       /* m, of the sill above the crest */
};

/* Results. The last one of an object is the first of its concentrations, mg/L: add the index of the pollutant. Those
 * and the results of a subcatchment return 0; all others are stored and return -1.
 */
enum TarnveldeResult {
    TARNVELDE_RESULT_SUBCATCHMENT_RAIN = 0,         /* mm/h */
    TARNVELDE_RESULT_SUBCATCHMENT_EVAPORATION = 1,  /* mm/day */
    TARNVELDE_RESULT_SUBCATCHMENT_INFILTRATION = 2, /* mm/h */
    TARNVELDE_RESULT_SUBCATCHMENT_RUNOFF = 3,       /* m3/s */
    TARNVELDE_RESULT_SUBCATCHMENT_QUALITY = 4,      /* mg/L */

    TARNVELDE_RESULT_JUNCTION_INFLOW = 0,         /* m3/s */
    TARNVELDE_RESULT_JUNCTION_LATERAL_INFLOW = 1, /* m3/s */
    TARNVELDE_RESULT_JUNCTION_QUALITY = 2,        /* mg/L */

    TARNVELDE_RESULT_OUTFALL_INFLOW = 0,         /* m3/s */
    TARNVELDE_RESULT_OUTFALL_LATERAL_INFLOW = 1, /* m3/s */
    TARNVELDE_RESULT_OUTFALL_QUALITY = 2,        /* mg/L */

    TARNVELDE_RESULT_TANK_DEPTH = 0,          /* m */
    TARNVELDE_RESULT_TANK_VOLUME = 1,         /* m3 */
    TARNVELDE_RESULT_TANK_INFLOW = 2,         /* m3/s */
    TARNVELDE_RESULT_TANK_LATERAL_INFLOW = 3, /* m3/s */
    TARNVELDE_RESULT_TANK_FLOODING = 4,       /* m3/s */
    TARNVELDE_RESULT_TANK_QUALITY = 5,        /* mg/L, after the decay, before the mixing */

    TARNVELDE_RESULT_SPLITTER_INFLOW = 0,         /* m3/s */
    TARNVELDE_RESULT_SPLITTER_LATERAL_INFLOW = 1, /* m3/s */
    TARNVELDE_RESULT_SPLITTER_FIRST_FLOW = 2,     /* m3/s */
    TARNVELDE_RESULT_SPLITTER_OTHER_FLOW = 3,     /* m3/s */
    TARNVELDE_RESULT_SPLITTER_QUALITY = 4,        /* mg/L */

    TARNVELDE_RESULT_REACTOR_VOLUME = 0,         /* m3, stored */
    TARNVELDE_RESULT_REACTOR_INFLOW = 1,         /* m3/s */
    TARNVELDE_RESULT_REACTOR_LATERAL_INFLOW = 2, /* m3/s */
    TARNVELDE_RESULT_REACTOR_OUTFLOW = 3,        /* m3/s */
    TARNVELDE_RESULT_REACTOR_SURPLUS = 4,        /* m3/s */
    TARNVELDE_RESULT_REACTOR_EVAPORATION = 5,    /* mm/day, not m3/s */
    TARNVELDE_RESULT_REACTOR_INFILTRATION = 6,   /* mm/h, not m3/s */
    TARNVELDE_RESULT_REACTOR_EMPTYING = 7,       /* m3/s */
    TARNVELDE_RESULT_REACTOR_QUALITY = 8,        /* mg/L */

    TARNVELDE_RESULT_LID_MONOMER_INFLOW = 0,           /* m3/s */
    TARNVELDE_RESULT_LID_MONOMER_LATERAL_INFLOW = 1,   /* m3/s */
    TARNVELDE_RESULT_LID_MONOMER_RAIN = 2,             /* mm/h */
    TARNVELDE_RESULT_LID_MONOMER_EVAPORATION = 3,      /* mm/day */
    TARNVELDE_RESULT_LID_MONOMER_SURFACE_FLOW = 4,     /* m3/s */
    TARNVELDE_RESULT_LID_MONOMER_EXFILTRATION = 5,     /* mm/h */
    TARNVELDE_RESULT_LID_MONOMER_DRAIN_FLOW = 6,       /* m3/s */
    TARNVELDE_RESULT_LID_MONOMER_SURFACE_DEPTH = 7,    /* m */
    TARNVELDE_RESULT_LID_MONOMER_SOIL_MOISTURE = 8,    /* share of the soil's volume */
    TARNVELDE_RESULT_LID_MONOMER_STORAGE_DEPTH = 9,    /* m */
    TARNVELDE_RESULT_LID_MONOMER_PAVEMENT_DEPTH = 10,  /* m */
    TARNVELDE_RESULT_LID_MONOMER_SURFACE_QUALITY = 11, /* mg/L */

    TARNVELDE_RESULT_PIPE_VOLUME = 0,   /* m3 */
    TARNVELDE_RESULT_PIPE_INFLOW = 1,   /* m3/s */
    TARNVELDE_RESULT_PIPE_FLOW = 2,     /* m3/s */
    TARNVELDE_RESULT_PIPE_FLOODING = 3, /* m3/s */
    TARNVELDE_RESULT_PIPE_QUALITY = 4,  /* mg/L */

    TARNVELDE_RESULT_CONNECTION_INFLOW = 0,  /* m3/s */
    TARNVELDE_RESULT_CONNECTION_FLOW = 1,    /* m3/s */
    TARNVELDE_RESULT_CONNECTION_QUALITY = 2, /* mg/L */

    TARNVELDE_RESULT_CONDUIT_DEPTH = 0,     /* m */
    TARNVELDE_RESULT_CONDUIT_VOLUME = 1,    /* m3 */
    TARNVELDE_RESULT_CONDUIT_IS_MOVING = 2, /* 1.0 or 0.0 */
    TARNVELDE_RESULT_CONDUIT_INFLOW = 3,    /* m3/s */
    TARNVELDE_RESULT_CONDUIT_FLOW = 4,      /* m3/s */
    TARNVELDE_RESULT_CONDUIT_FLOODING = 5,  /* m3/s */
    TARNVELDE_RESULT_CONDUIT_QUALITY = 6,   /* mg/L */

    TARNVELDE_RESULT_PUMP_FLOW = 0,    /* m3/s */
    TARNVELDE_RESULT_PUMP_QUALITY = 1, /* mg/L */

    TARNVELDE_RESULT_WEIR_FLOW = 0,    /* m3/s */
    TARNVELDE_RESULT_WEIR_QUALITY = 1, /* mg/L */

    TARNVELDE_RESULT_ORIFICE_FLOW = 0,   /* m3/s */
    TARNVELDE_RESULT_ORIFICE_QUALITY = 1 /* mg/L */
};

/* ------------------------------------------------------------------------------------------------------------------
 * Life cycle: nine functions. They return the public code of the current error, 0 if there is none.
 *
 *     Closed --tarnvelde_open--> Open --tarnvelde_start--> Started --tarnvelde_end--> Open --tarnvelde_close--> Closed
 * ------------------------------------------------------------------------------------------------------------------ */

/* Runs a whole project: open, start with the binary results file, every step, report, end, close.
 *
 * inputFile    the project file.
 * reportFile   the text report; it is emptied, and holds the messages of all errors.
 * resultsFile  the binary results file; it is emptied.
 *
 * Only the first 259 bytes of a name are used. The three names must differ, byte for byte, or the result is 301.
 * A project that is still open is abandoned, as by tarnvelde_open. Prints the progress of the run on standard
 * output, with backspaces after the first line. Whatever happens, the project is closed on return.
 *
 * The path of the treatment-plant library given by tarnvelde_initVornDll is replaced by the default: a host with a path
 * of its own steps the model itself. What tarnvelde_initSwmmDll gave is kept.
 */
TARNVELDE_API int32_t tarnvelde_run(const char* inputFile, const char* reportFile, const char* resultsFile);

/* Opens a project: clears the current error, opens the two text files, reads the project and checks it.
 *
 * The names are those of tarnvelde_run. resultsFile is only remembered here and opened by tarnvelde_start. The database
 * of save mode 2 always lies beside the project file, under its name with the extension ".db".
 *
 * After any error of the project the project counts as open all the same, so that tarnvelde_close releases everything
 * and the report is written to the disk; tarnvelde_start then returns the same code and does nothing. With a code of
 * 301, 303 or 305 the project is not open.
 *
 * A project that is still open is abandoned first, without a message: coupled models are ended, its memory is given
 * back and its files are closed as they are. Nothing is completed, committed or deleted. The binary results file of a
 * run that was not ended has no closing block and can't be read. All that the run has put into the database is lost,
 * also if it was ended, since only tarnvelde_close commits; the database is then as it was before tarnvelde_start. So
 * call tarnvelde_end and tarnvelde_close before the next open.
 */
TARNVELDE_API int32_t tarnvelde_open(const char* inputFile, const char* reportFile, const char* resultsFile);

/* Prepares a run of the open project from its start date.
 *
 * saveMode  0: no results are kept.
 *           1: results go to the binary results file; tarnvelde_close keeps it.
 *           2: results go to the database, values rounded to six decimals; tarnvelde_close commits and keeps it.
 *           Any other value keeps no results.
 *
 * With an error current it returns that error's code and does nothing. Returns 400 if no project is open or a run is
 * started already; this 400 stays the current error. After tarnvelde_end the project may be started again: flows,
 * depths, concentrations and settings start again, parameters changed by tarnvelde_setParam stay changed.
 *
 * A start that fails while it prepares the run leaves the run started: call tarnvelde_end, or tarnvelde_close.
 */
TARNVELDE_API int32_t tarnvelde_start(int32_t saveMode);

/* Advances the run by one routing step.
 *
 * elapsedDays  receives the time since the start of the simulation in days, and exactly 0 once the end is reached: that
 * is how a host sees the end. May be null.
 *
 * The last step is shortened so that it ends exactly at the end of the duration, which may be a second before the end
 * date where that date is no whole second to the last bit. Returns 400, and stores nothing, without a started run.
 * Errors of a step come back as the result; the function doesn't refuse to step after one, but while an error is
 * current the clock stops from the next runoff step on and the time stored never becomes 0, unless it is 0 already.
 * So leave the loop at the first result other than 0.
 */
TARNVELDE_API int32_t tarnvelde_step(double* elapsedDays);

/* Ends the run: writes the end of the binary results file, ends the coupled models, frees what the run needed.
 *
 * The project stays open. Without a started run it does nothing; without an open project it returns 400. Call
 * tarnvelde_report first: it reads the last state of the run, which is released here.
 */
TARNVELDE_API int32_t tarnvelde_end(void);

/* Writes the summary of the run into the text report: continuity of water and pollutants, a table per kind of object.
 *
 * With an error current it does nothing and returns that error's code. Call it once per run, after the last step and
 * before tarnvelde_end. The first call empties what is kept by pollutant of subcatchments, outfalls and reactors, so a
 * second one writes zeros there, and with reactors also without what seeped away and reacted in them: Seepage Loss,
 * Reacted Loss and the error of Quality Routing Continuity change. Outside a run it writes zeros for what is no longer
 * there. Prints one line on standard output. The three continuity errors of tarnvelde_getMassBalErr are computed here.
 */
TARNVELDE_API int32_t tarnvelde_report(void);

/* Closes the project: ends a run that is still started, closes all files, releases all memory.
 *
 * Keeps the binary results file of save mode 1 and commits the database of save mode 2; such a file of another save
 * mode is deleted. A database that others keep locked for 5 seconds stays as it was: the results are then kept beside
 * it, under its name with ".part" added, and a line on standard error says so. Always returns 0, and is harmless
 * when nothing is open.
 */
TARNVELDE_API int32_t tarnvelde_close(void);

/* Sets where the library of SWMM nodes is, and where the private copy of it that each such node runs may be put.
 *
 * libraryPath  a folder with its separator at the end, or a file in that folder; only the folder counts. If the text is
 *              empty, or nothing exists under that path, the folder of the running program counts. No other folder is
 *              tried: a folder that exists and lacks the library makes the open fail (code 243).
 * tempFolder   a folder that may be written to, with its separator at the end. If it is empty, the copies are put
 *              beside the library.
 *
 * Call it before tarnvelde_open or tarnvelde_run, if the project has SWMM nodes. Nothing is checked here: the open
 * fails if the library is missing (243) or the temporary folder doesn't exist (247). Null counts as empty. Always
 * returns 0.
 */
TARNVELDE_API int32_t tarnvelde_initSwmmDll(const char* libraryPath, const char* tempFolder);

/* The same for the library of treatment-plant nodes (codes 920 and 921). tarnvelde_run empties both texts. */
TARNVELDE_API int32_t tarnvelde_initVornDll(const char* libraryPath, const char* tempFolder);

/* ------------------------------------------------------------------------------------------------------------------
 * Looking up objects and the run.
 * ------------------------------------------------------------------------------------------------------------------ */

/* The index of an object in its table, counted from 0 in the order of the project file, or -1 if there is none.
 *
 * objectClass  0: subcatchments, 1: nodes, 2: links. Any other value gives -1.
 */
TARNVELDE_API int32_t tarnvelde_findObject(int32_t objectClass, const char* id);

/* Stores the kind of a node: 0 junction, 1 tank, 2 outfall, 3 splitter, 4 SWMM node, 5 reactor, 6 LID monomer,
 * 7 treatment-plant node. An unknown ID stores -1 and returns -1.
 */
TARNVELDE_API int32_t tarnvelde_getNodeType(const char* node, int32_t* kind);

/* Stores the kind of a link: 0 pipe, 1 pump, 2 connection, 3 conduit, 4 weir, 5 orifice.
 * An unknown ID stores -1 and returns -1.
 */
TARNVELDE_API int32_t tarnvelde_getLinkType(const char* link, int32_t* kind);

/* Stores the start and the end date of the simulation. -1 if no project is open. The dates are put together after the
 * last line of the project: if reading failed, the start is 43831.0 (1 January 2020) and the end 0.
 */
TARNVELDE_API int32_t tarnvelde_getDateTime(double* startDate, double* endDate);

/* Stores the routing step in seconds. -1 if no project is open. */
TARNVELDE_API int32_t tarnvelde_getRoutingStep(double* seconds);

/* 1 if the current time of the run lies in one of the rain events of a gage, 0 if not, -1 for an unknown gage. The
 * current time is the routing clock plus one millisecond.
 */
TARNVELDE_API int32_t tarnvelde_isInEvent(const char* gage);

/* Stores the continuity errors of runoff, flow routing and quality routing, in per cent. Always returns 0.
 *
 * Only an open project without a started run has them, so the time to ask is between tarnvelde_end and tarnvelde_close,
 * after a tarnvelde_report. At any other time zeros are stored. Of the pollutants,
 * in their order, each whose error has an absolute value above the figure held so far replaces it; the figure keeps its
 * sign, so after a negative one any later error counts. A null pointer is skipped.
 */
TARNVELDE_API int32_t tarnvelde_getMassBalErr(double* runoffError, double* flowError, double* qualityError);

/* ------------------------------------------------------------------------------------------------------------------
 * Acting on the run. A value given here is taken up by the next step, and is reset by the next start
 * (the rate of setReactorEmptyingValue stays).
 * ------------------------------------------------------------------------------------------------------------------ */

/* Adds an inflow to a node for one routing step, in m3/s, over what the project file says.
 *
 * Several calls for one node add up. Calls before tarnvelde_start wait for the first step. -1 for a negative value.
 */
TARNVELDE_API int32_t tarnvelde_setExtInflow(const char* node, double flow);

/* Adds a pollutant load to a node for one routing step, in kg/s.
 *
 * Both the node and the pollutant are looked up under the first name, and the second is only tested for null: the call
 * works for a node that has the name of a pollutant, and returns -1 for any other. A second call for the
 * same node in the same step adds to the first. -1 for a negative value.
 */
TARNVELDE_API int32_t tarnvelde_setExtLoad(const char* node, const char* pollutant, double load);

/* Sets the splitting value of a splitter for the rest of the run: m3/s, or in mode RATIO a share, where more than 1
 * counts as 1. From then on rules no longer act on it: what they write is hidden for this run, and counts from the next
 * start on. -1 if the node is no splitter or the value is negative.
 */
TARNVELDE_API int32_t tarnvelde_setSplittedValue(const char* splitter, double value);

/* Sets the flow of a pump for the rest of the run, m3/s. Curve, switching depths, rules and setting no longer matter;
 * the water in the tank still does, unless its full depth or full volume is 0. -1 if the link is no pump.
 */
TARNVELDE_API int32_t tarnvelde_setPumpFlow(const char* pump, double flow);

/* Sets the rate at which a reactor empties, m3/s. Whether it empties is up to the rules. -1 if the node is no reactor
 * or the value is negative.
 */
TARNVELDE_API int32_t tarnvelde_setReactorEmptyingValue(const char* reactor, double rate);

/* Sets the discharge of a weir for the rest of the run.
 *
 * selector  0: the discharge coefficient; a value of 0 is refused. 1: the height of the sill above the crest, m.
 *           Any other selector stores nothing and still counts as accepted.
 *
 * Every accepted call makes coefficient and height those of the host, and the flow no longer depends on the setting of
 * the weir. The height starts as the full opening: a host that sets the coefficient alone thus raises the sill to the
 * top, and has to give the height too. The setting still places the level at which the tank treats the weir: a sill
 * that is below the water while that level is above it gives a negative flow, and the tank gains water. So set
 * the setting to 1 as well. -1 if the link is no weir or the value is negative.
 */
TARNVELDE_API int32_t tarnvelde_setWeirParams(const char* weir, int32_t selector, double value);

/* Sets the setting of a link of any kind, 0 (closed) to 1 (open), and takes it out of the hands of the rules for the
 * rest of the run. tarnvelde_getSetting shows it at once, and the next step obeys it, but for these: a pipe obeys at
 * its next firing, up to K later, and without a largest flow only 0 matters to it; connections and conduits ignore it.
 * -1 for a value outside 0 to 1.
 */
TARNVELDE_API int32_t tarnvelde_setSetting(const char* link, double setting);

/* Stores the present setting of a link. An unknown ID stores -1.0 and returns -1. */
TARNVELDE_API int32_t tarnvelde_getSetting(const char* link, double* setting);

/* Sets the depth of the water in a tank, m; no limit is applied. What lies above the largest depth floods in the next
 * step. -1 if the node is no tank.
 */
TARNVELDE_API int32_t tarnvelde_setTankDepth(const char* tank, double depth);

/* Sets the present flow of a link of any kind, m3/s; no limit is applied. It holds until the link works out its flow
 * the next time, which most links do in the next step, before the node below takes it. It gets there from a pipe
 * between two firings and from a lagged link; elsewhere rules see it, and results that are interpolated. To add water,
 * use tarnvelde_setExtInflow.
 */
TARNVELDE_API int32_t tarnvelde_setLinkFlow(const char* link, double flow);

/* ------------------------------------------------------------------------------------------------------------------
 * Parameters and results by number. The first argument is the class of the object:
 *
 *     1 subcatchment   2 junction   3 tank        4 outfall    5 splitter   6 reactor   7 LID monomer
 *     8 pipe           9 pump      10 connection  11 conduit   12 weir      13 orifice
 *
 * Another class, an ID of another kind than the class says, and a parameter or result that the class doesn't have give
 * -1. Classes 2, 4, 6 and 7 have no parameters.
 * ------------------------------------------------------------------------------------------------------------------ */

/* Stores a parameter of an object, in the units of the project file where nothing else is said.
 *
 *     subcatchment   0 area, ha                           tank         0 largest depth, m
 *                    1 width, m                                        1 initial depth, m
 *                    2 impervious share, %                splitter     0 mode (0 FLOW, 1 RATIO, 2 FLOW_RATIO)
 *                    3 slope, %                                        1 value, 2 ratio, as in the file
 *                    4 Manning n, impervious              pipe         0 K, s: can't be read, see below
 *                    5 Manning n, pervious                             1 N, number of reaches
 *                    6 depression storage, impervious, mm              2 X, 0 to 0.5
 *                    7 depression storage, pervious, mm                3 largest flow, m3/s, 0 for no limit
 *                    8 largest infiltration rate, mm/s    pump         0 initial setting, 0 or 1
 *                    9 smallest infiltration rate, mm/s                1 startup depth, m
 *                   10 infiltration decay, 1/h                         2 shutoff depth, m
 *                   11 drying time, see below             connection   0 delay, s
 *                   12 largest infiltration volume, mm    conduit      0 shape (0 CIRCULAR, 1 RECTANGULAR, 2 IRREGULAR)
 *                                                                      1 height, m, 2 width, m
 *     weir           0 shape (0 RECTANGULAR, 1 TRIANGULAR)
 *                    1 coefficient, 2 length, m, 3 crest, m, 4 opening, m
 *     orifice        0 shape (0 CIRCULAR, 1 RECTANGULAR)
 *                    1 height, m, 2 width, m, 3 coefficient, 4 crest, m
 *
 * What a host has to know:
 *   - Infiltration rates are in mm/s, not in the mm/h of the file.
 *   - Drying time: the value is 1/days after the project was read, the reciprocal of what tarnvelde_setParam takes.
 *   - K of a pipe: returns 0 and stores nothing.
 *   - Pumps: the value is stored, and the result is -1 all the same. Fill *value with a mark first to recognise a
 * success.
 */
TARNVELDE_API int32_t tarnvelde_getParam(int32_t objectClass, const char* id, int32_t parameter, double* value);

/* Changes a parameter of an object, numbers and units as in tarnvelde_getParam; the drying time is given in days.
 * Modes, shapes and N are truncated to integers. No value is checked. A changed parameter stays changed in later runs
 * of the open project. tarnvelde_getParam shows it at once, but some act at the next start only:
 *   - the initial depth of a tank and the initial setting of a pump,
 *   - N of a pipe, where it is more than the reaches that the run began with,
 *   - of a conduit the full depth and the table of areas that shape and height make; the wetted perimeter and the
 *     areas of a rectangle follow at once,
 *   - coefficient and opening of a weir that the host has taken over by tarnvelde_setWeirParams.
 * The parameters of the last subcatchment may shorten the runoff step at the next start.
 *
 * What a host has to know:
 *   - Links (classes 8 to 13) are accepted by a comparison that looks at the node with the link's index, not at the
 *     link: that node's kind (tarnvelde_getNodeType) must have the number of the link's kind (tarnvelde_getLinkType),
 *     or the result is -1 and nothing is stored. The row written is that of the link's own place in the table of the
 *     class wanted. A host that wants to change links arranges the order of its nodes for it.
 *   - Pumps: once accepted, the value is stored, and the result is -1 all the same.
 *   - K of a pipe acts on the routing at once, and on the pipe's own period from the next start.
 */
TARNVELDE_API int32_t tarnvelde_setParam(int32_t objectClass, const char* id, int32_t parameter, double value);

/* Stores a result of the latest step; of a subcatchment, of the latest runoff step, which may be later; of a
 * pipe, of its latest firing, with the mean of that period as its inflow. p is the index of a pollutant, counted from
 * 0; n is the number of pollutants.
 *
 *     subcatchment   0 rain, mm/h; 1 evaporation, mm/day; 2 infiltration, mm/h; 3 runoff, m3/s; 4 + p runoff, mg/L
 *     junction       0 inflow; 1 lateral inflow; 2 + p concentration
 *     outfall        as a junction
 *     tank           0 depth; 1 volume; 2 inflow; 3 lateral inflow; 4 flooding, m3/s; 5 + p concentration released
 *     splitter       0 inflow; 1 lateral inflow; 2 flow to the first link; 3 the rest; 4 + p concentration
 *     reactor        0 stored volume; 1 inflow; 2 lateral inflow; 3 outflow; 4 surpassing flow; 5 evaporation, mm/day;
 *                    6 infiltration, mm/h; 7 emptying flow; 8 + p concentration
 *     LID monomer    0 inflow; 1 lateral inflow; 2 rain, mm/h; 3 evaporation; 4 surface flow; 5 exfiltration;
 *                    6 drain flow; 7 surface depth; 8 soil moisture; 9 storage depth; 10 pavement depth;
 *                    11 + p concentration of the surface layer; 11 + n concentration of pollutant 0 in the soil layer
 *     pipe           0 volume; 1 inflow; 2 flow; 3 flooding; 4 + p concentration
 *     pump           0 flow; 1 + p concentration
 *     connection     0 inflow; 1 flow; 2 + p concentration
 *     conduit        0 depth; 1 volume; 2 is 1.0 while water moves, 0.0 otherwise; 3 inflow; 4 flow; 5 flooding;
 *                    6 + p concentration
 *     weir, orifice  as a pump
 *
 * What a host has to know: only the results of a subcatchment and the concentrations return 0. All other results are
 * stored and return -1. Fill *value with a mark first to recognise a success. The last result of a LID monomer, 11 + n,
 * returns -1 as well.
 */
TARNVELDE_API int32_t tarnvelde_getResult(int32_t objectClass, const char* id, int32_t result, double* value);

/* ------------------------------------------------------------------------------------------------------------------
 * SWMM nodes. The first argument is the ID of a SWMM node of the project. Fifteen functions pass their other arguments
 * on to the engine of that node, and return what it returns: numbers of types, properties and parameters, and the
 * units, are that engine's. -1 if the node is unknown.
 *
 * The kind of the node is not tested: give the ID of a true SWMM node. Another node reaches the engine at its place in
 * the table of SWMM nodes; the result is -1 if there is none.
 * ------------------------------------------------------------------------------------------------------------------ */

/* Sets the rainfall of a gage of the SWMM model. */
TARNVELDE_API int32_t tarnvelde_setSwmmRainfall(const char* node, const char* gage, double rainfall);

/* Stores a result of an object of the SWMM model. */
TARNVELDE_API int32_t tarnvelde_getSwmmResult(const char* node, int32_t type, const char* id, int32_t property,
                                              double* value);

/* The number of objects of a type in the SWMM model. */
TARNVELDE_API int32_t tarnvelde_getSwmmObjCount(const char* node, int32_t type);

/* Writes the ID of an object of the SWMM model. The engine writes it and doesn't know the size of the buffer at `id`:
 * give at least 1025 bytes.
 */
TARNVELDE_API int32_t tarnvelde_getSwmmObjID(const char* node, int32_t type, int32_t index, char* id);

/* The index of an object of the SWMM model. */
TARNVELDE_API int32_t tarnvelde_getSwmmObjIndex(const char* node, int32_t type, const char* id);

/* Stores the present setting of a link of the SWMM model. */
TARNVELDE_API int32_t tarnvelde_getSwmmCurrentSetting(const char* node, const char* link, double* setting);

/* Stores a parameter of an object of the SWMM model. */
TARNVELDE_API int32_t tarnvelde_getSwmmParam(const char* node, int32_t type, const char* id, int32_t parameter,
                                             double* value);

/* Changes a parameter of an object of the SWMM model. */
TARNVELDE_API int32_t tarnvelde_setSwmmParam(const char* node, int32_t type, const char* id, int32_t parameter,
                                             double value);

/* Stores a parameter of a node of the SWMM model. */
TARNVELDE_API int32_t tarnvelde_getSwmmNodeParam(const char* node, int32_t type, const char* id, int32_t parameter,
                                                 double* value);

/* Changes a parameter of a node of the SWMM model. */
TARNVELDE_API int32_t tarnvelde_setSwmmNodeParam(const char* node, int32_t type, const char* id, int32_t parameter,
                                                 double value);

/* Stores a parameter of a link of the SWMM model. */
TARNVELDE_API int32_t tarnvelde_getSwmmLinkParam(const char* node, int32_t type, const char* id, int32_t parameter,
                                                 double* value);

/* Changes a parameter of a link of the SWMM model. */
TARNVELDE_API int32_t tarnvelde_setSwmmLinkParam(const char* node, int32_t type, const char* id, int32_t parameter,
                                                 double value);

/* Sets the depth at a node of the SWMM model. */
TARNVELDE_API int32_t tarnvelde_setSwmmNodeDepth(const char* node, const char* id, double depth);

/* Sets the depth in a link of the SWMM model. */
TARNVELDE_API int32_t tarnvelde_setSwmmLinkDepth(const char* node, const char* id, double depth);

/* Sets the flow of a link of the SWMM model. */
TARNVELDE_API int32_t tarnvelde_setSwmmLinkFlow(const char* node, const char* id, double flow);

/* Queues an external inflow at a node of the SWMM model; it reaches the engine when the next routing step comes to the
 * SWMM node, and is lost if that step comes to another SWMM node before, or if the engine's clock is ahead. -1 for a
 * negative value or a node that the SWMM model doesn't have.
 */
TARNVELDE_API int32_t tarnvelde_setSwmmExtInflow(const char* node, const char* id, double flow);

/* Queues a setting, 0 to 1, for a link of the SWMM model, in the same way: it is handed over before each step that the
 * engine makes within that routing step. -1 for a value outside 0 to 1 or a link that the SWMM model doesn't have.
 */
TARNVELDE_API int32_t tarnvelde_setSwmmSetting(const char* node, const char* link, double setting);

/* Queues a pollutant load at a node of the SWMM model, in the same way. -1 for a negative value or a node that the SWMM
 * model doesn't have. The name of the pollutant is not tested.
 */
TARNVELDE_API int32_t tarnvelde_setSwmmExtLoad(const char* node, const char* id, const char* pollutant, double load);

#ifdef __cplusplus
}
#endif

#endif
