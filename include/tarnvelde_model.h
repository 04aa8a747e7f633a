/* Tarnvelde: models as objects.
 *
 * The second public face of libtarnvelde: plain C99, usable from C, C++ and every language that calls C. It complements
 * the 47 functions of tarnvelde.h, which work on one model of their own; both may be used in one process.
 *
 * A whole run:
 *
 *     tv_model* model;
 *     int32_t code = tv_create(&model);
 *     if (code == TV_OK) code = tv_open(model, "town.inp", "town.rpt");
 *     if (code == TV_OK) code = tv_start(model, "town.bin", NULL);
 *     if (code == TV_OK) code = tv_runUntil(model, TV_END);
 *     if (code == TV_OK) code = tv_report(model);
 *     if (code != TV_OK) fprintf(stderr, "%s\n", tv_describeCode(code));
 *     tv_free(model);
 *
 * Models. A process may hold any number of models. They share nothing: different models may be used in different
 * threads at the same time without locks, one model in one thread at a time. Nothing is printed, no handler is
 * installed, the current folder and the locale stay as they are. What a call hands out by pointer (IDs, texts) is valid
 * until the project is closed where nothing else is said, and belongs to the library.
 *
 * Codes. Every function that returns int32_t returns 0 (TV_OK), a positive public code of the engine (the number in the
 * message "ERROR 209: ..." of the report; docs/errors.md lists them), or a negative code of the list below for a call
 * that can't be done. A refused call changes nothing, and stores nothing through its pointers. tv_describeCode puts
 * each code into words, tv_getMessage gives what the engine said, with its place in the project file.
 *
 * Classes, indices. An object is named by its class and its index there, 0 ... count - 1, in the order of the project
 * file; an index is good as long as the project is open. IDs are compared without regard to the case of the letters a
 * to z.
 *
 * Units, where nothing else is said: flow m3/s, volume m3, depth m, concentration mg/L, load kg/s, mass kg. Dates are
 * days since 30 December 1899, with the time of day as the fraction.
 */
#ifndef TARNVELDE_MODEL_H
#define TARNVELDE_MODEL_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#if defined(TARNVELDE_BUILDING)
#define TV_API __declspec(dllexport)
#else
#define TV_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define TV_API __attribute__((visibility("default")))
#else
#define TV_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Version of this header: the first number changes when a host must be recompiled, the second with each addition. */
#define TV_HEADER_MAJOR 2
#define TV_HEADER_MINOR 0

/* A model: one project, its run and its results. */
typedef struct tv_model tv_model;

/* ------------------------------------------------------------------------------------------------------------------
 * Numbers with names. The functions take and store plain int32_t; the names are for the host's source.
 * ------------------------------------------------------------------------------------------------------------------ */

/* What a call returns besides the engine's own codes, which are positive. */
enum tv_code {
    TV_OK = 0,
    TV_ERROR_NULL = -2,           /* a pointer that must not be null is null */
    TV_ERROR_NOT_OPEN = -3,       /* no project is open in the model, or it failed to open */
    TV_ERROR_OPEN = -4,           /* a project is open already: close it first */
    TV_ERROR_NOT_STARTED = -5,    /* no run is started */
    TV_ERROR_STARTED = -6,        /* a run is started already: end it first */
    TV_ERROR_FINISHED = -7,       /* the run has reached its end: there is no further step */
    TV_ERROR_CLASS = -8,          /* no such class, kind, relation or table */
    TV_ERROR_INDEX = -9,          /* no object, pollutant, column or message of this index */
    TV_ERROR_ID = -10,            /* no object of this ID, or no variable of this name */
    TV_ERROR_VARIABLE = -11,      /* no such variable */
    TV_ERROR_KIND = -12,          /* the object is of a kind that doesn't have this variable */
    TV_ERROR_READ_ONLY = -13,     /* the variable can't be set */
    TV_ERROR_NOT_NOW = -14,       /* the variable can't be set, or isn't known, at this stage */
    TV_ERROR_RANGE = -15,         /* the value is outside the variable's range, or no number */
    TV_ERROR_SIZE = -16,          /* the array is too small, or of another length than asked for */
    TV_ERROR_MEMORY = -17,        /* the machine's memory doesn't suffice */
    TV_ERROR_BUSY = -18,          /* the model is at work: the call comes from within one of its callbacks */
    TV_ERROR_FILE = -19,          /* a file can't be read or written */
    TV_ERROR_NO_STATE = -20,      /* the bytes are no state, or are cut short */
    TV_ERROR_STATE_VERSION = -21, /* the state was saved by another version, or on another kind of machine */
    TV_ERROR_STATE_PROJECT = -22, /* the state belongs to another project */
    TV_ERROR_STATE_DAMAGED = -23, /* the state was changed since it was saved */
    TV_ERROR_STATE_ENGINE = -24,  /* an engine inside a node can't save its state; the last message names the node */
    TV_ERROR_NO_ROWS = -25        /* rows are not kept (tv_keepRows), or no period has ended yet */
};

/* The phase that a model is in. */
enum tv_phase {
    TV_CLOSED = 0,   /* no project */
    TV_OPEN = 1,     /* a project without errors, not started or ended */
    TV_STARTED = 2,  /* between two steps of a run */
    TV_FINISHED = 3, /* the run has reached its end, or an error has stopped it; its last state can be looked at */
    TV_FAILED = 4    /* a project with errors: its messages can be read, and it can be closed */
};

/* Level of a message. */
enum tv_level { TV_INFO = 0, TV_WARNING = 1, TV_ERROR = 2 };

/* How serious a warning is. */
enum tv_severity {
    TV_NOTE = 0,   /* unusual, but possibly meant */
    TV_DOUBT = 1,  /* probably not meant */
    TV_SERIOUS = 2 /* results can't be right */
};

/* When a kind of warning is found. */
enum tv_warning_group {
    TV_DROPPED = 0,     /* reading: something is dropped, or read in another way than it seems to say */
    TV_IMPLAUSIBLE = 1, /* reading: something is probably not meant */
    TV_IN_RUN = 2       /* a run: something goes wrong with the water */
};

/* Classes of object. */
enum tv_class {
    TV_SYSTEM = 0, /* the whole model; its only index is 0 */
    TV_SUBCATCHMENT = 1,
    TV_GAGE = 2,
    TV_NODE = 3,
    TV_LINK = 4,
    TV_POLLUTANT = 5,
    TV_LAND_USE = 6,
    TV_LID = 7,      /* a definition of a LID control */
    TV_LID_UNIT = 8, /* a LID control on a subcatchment; it has no ID of its own */
    TV_RULE = 9,
    TV_CURVE = 10,
    TV_SERIES = 11,
    TV_PATTERN = 12,
    TV_CLASS_COUNT = 13
};

/* Kinds of node and link, as tv_getKind stores them. */
enum tv_node_kind {
    TV_JUNCTION = 0,
    TV_TANK = 1,
    TV_OUTFALL = 2,
    TV_SPLITTER = 3,
    TV_SWMM_NODE = 4,
    TV_REACTOR = 5,
    TV_LID_NODE = 6,
    TV_PLANT_NODE = 7
};
enum tv_link_kind { TV_PIPE = 0, TV_PUMP = 1, TV_CONNECTION = 2, TV_CONDUIT = 3, TV_WEIR = 4, TV_ORIFICE = 5 };

/* What a database of results holds besides its tables: the sum of what is wanted. */
enum tv_database_form {
    TV_DATABASE_INDEX = 1, /* an index of each table by object and period */
    TV_DATABASE_UNITS = 2, /* a table of the units of all columns */
    TV_DATABASE_DATES = 4, /* a table of the dates of all periods */
    TV_DATABASE_FULL = 8   /* values as they are in single precision, and not to six decimals */
};

/* Which objects are connected: what tv_getRelation looks up. */
enum tv_relation {
    TV_LINK_FROM = 0,           /* link: node at the upstream end */
    TV_LINK_TO = 1,             /* link: node at the downstream end */
    TV_SUBCATCHMENT_OUTLET = 2, /* subcatchment: node that gets the runoff */
    TV_SUBCATCHMENT_GAGE = 3,   /* subcatchment: rain gage */
    TV_GAGE_SERIES = 4,         /* gage: time series of the rain */
    TV_UNIT_SUBCATCHMENT = 5,   /* LID unit: subcatchment that it is on */
    TV_UNIT_LID = 6,            /* LID unit: its definition */
    TV_UNIT_DRAIN = 7,          /* LID unit: node that gets the underdrain */
    TV_REACTOR_SURPASS = 8,     /* node, a reactor: node that gets the flow above the capacity */
    TV_REACTOR_EMPTYING = 9,    /* node, a reactor: node that the store is emptied to */
    TV_LID_NODE_DRAIN = 10,     /* node, a LID node: node that gets the underdrain */
    TV_LID_NODE_GAGE = 11,      /* node, a LID node: rain gage */
    TV_SPLITTER_LINK = 12,      /* node, a splitter: the link that gets the split part */
    TV_TANK_CURVE = 13,         /* node, a tank: curve of its areas */
    TV_RELATION_COUNT = 14
};

/* What kind of quantity a variable is. */
enum tv_access {
    TV_PARAMETER = 0, /* given by the project file; a value that is set holds until the project is closed */
    TV_FORCING = 1, /* given by the host: an added inflow, a held setting; holds until it is released or the run ends */
    TV_STATE = 2,   /* what the run has at this moment */
    TV_RESULT = 3,  /* made by the last step: flows, rates, concentrations */
    TV_TOTAL = 4    /* sums, peaks and balances since the start */
};

/* When a variable may be set; a sum of these. */
enum tv_when { TV_NEVER = 0, TV_WHEN_OPEN = 1, TV_WHEN_STARTED = 2 };

/* A date after every end: the argument of tv_runUntil for a whole run. */
#define TV_END 1.0e10

/* No pollutant: the argument for variables that have no value per pollutant. */
#define TV_NO_POLLUTANT (-1)

/* Dates and progress of a run. */
typedef struct tv_clock {
    double start;    /* date */
    double now;      /* date that the run has reached; the start before a first step */
    double end;      /* date */
    double step;     /* s, routing step */
    double progress; /* 0 ... 1 */
    int64_t period;  /* report periods that have ended */
} tv_clock;

/* What the engine said. Texts live as long as the message. */
typedef struct tv_message {
    int32_t level;       /* tv_level */
    int32_t code;        /* public code of the engine; 0 if it is no error */
    const char* name;    /* stable name of a warning, as "W-unit-slope"; empty for others */
    const char* text;    /* the message in words, one line */
    const char* section; /* of the project file, as "[PIPES]"; empty if it has no place there */
    int64_t line;        /* of the project file, from 1 on; 0 if it has no place there */
    const char* words;   /* the line as it is; empty if it has no place there */
    const char* object;  /* ID of the object, or the word that is wrong; may be empty */
    int32_t severity;    /* tv_severity of a warning */
    int32_t column;      /* of the word concerned in `words`, in bytes from 1 on; 0 for the line as a whole */
    int32_t length;      /* of that word, in bytes */
    const char* effect;  /* of a warning: what happens; empty for others */
    const char* advice;  /* of a warning: what to do; empty for others */
    double date;         /* of the run, for what happens at one moment of it; 0 for others */
} tv_message;

/* A kind of warning. docs/warnings.md lists them. */
typedef struct tv_warning_kind {
    const char* name;   /* as "W-unit-slope"; its meaning never changes */
    int32_t group;      /* tv_warning_group */
    int32_t severity;   /* tv_severity; the W-unit- kinds are notes where a number is only unusual */
    const char* text;   /* in words, with %1 ... %9 for the details of the case */
    const char* effect; /* what happens */
    const char* advice; /* what to do */
} tv_warning_kind;

/* A variable of the list. */
typedef struct tv_variable {
    const char* name;    /* unique in its class, as "inflow" */
    int32_t objectClass; /* tv_class */
    uint32_t kinds;      /* bit k: nodes or links of kind k have it; all bits for classes without kinds */
    const char* unit;    /* as "m3/s"; empty for a plain number */
    const char* meaning;
    int32_t isPerPollutant;  /* 1: one value for each pollutant */
    int32_t access;          /* tv_access */
    int32_t when;            /* tv_when: when it may be set */
    double minimum, maximum; /* of what may be set; infinite without a limit. DBL_MIN where 0 is not allowed */
} tv_variable;

/* A table of results: what a report period writes for each object of a class or kind. */
typedef struct tv_table {
    const char* name;    /* as in the database */
    int32_t objectClass; /* tv_class */
    int32_t kind;        /* of node or link; -1 for classes without kinds */
    int32_t rowCount;    /* objects that have a row */
    int32_t columnCount;
} tv_table;

/* Balance of a place over the run: m3 of water, or kg of a pollutant. */
typedef struct tv_balance {
    double initial; /* stored at the start */
    double in;
    double out;
    double lost;    /* to the air, the ground, by reaction, or as flood */
    double stored;  /* now, with what would leave after the end of the run */
    double missing; /* initial + in - out - lost - stored: in no account; negative for an excess */
    double error;   /* %, missing divided by initial + in; 0 if nothing came in */
} tv_balance;

/* A part of the system with a continuity table of its own. */
enum tv_part { TV_PART_RUNOFF = 0, TV_PART_WASHOFF = 1, TV_PART_FLOW = 2, TV_PART_QUALITY = 3 };

/* How serious a continuity error is. */
enum tv_grade {
    TV_GRADE_NOTHING = 0, /* nothing came in */
    TV_GRADE_GREEN = 1,   /* under 1 %: usual */
    TV_GRADE_AMBER = 2,   /* up to 5 %: look where it comes from */
    TV_GRADE_RED = 3      /* above, no number, or out of nothing: don't rely on the results until it is explained */
};

/* A row of the verdict. */
typedef struct tv_verdict {
    int32_t part;       /* tv_part */
    int32_t pollutant;  /* TV_NO_POLLUTANT for water */
    double in;          /* m3 or kg, with what was stored at the start */
    double missing;     /* m3 or kg, in no account; negative for an excess */
    double error;       /* %, as the report has it; 0 if nothing came in */
    int32_t grade;      /* tv_grade */
    const char* words;  /* the grade in words */
    int32_t causeCount; /* places that cause it, the ten largest; for pollutants only where loads are kept */
} tv_verdict;

/* A place that causes a part of an error. */
typedef struct tv_cause {
    int32_t objectClass; /* TV_SUBCATCHMENT, TV_NODE or TV_LINK */
    int32_t index;
    double missing; /* m3 or kg */
    double share;   /* 0 ... 1 of what is missing at all places, whatever its sign */
} tv_cause;

/* Called with each message as it comes. The model must not be used from within, except by tv_getPhase. */
typedef void (*tv_log)(void* user, const tv_message* message);

/* Called after each report period. The model may be looked at and set from within, but not stepped, ended or closed. A
 * result other than 0 stops tv_runUntil after the step. */
typedef int32_t (*tv_period)(void* user, tv_model* model, int64_t period, double date);

/* ------------------------------------------------------------------------------------------------------------------
 * Life
 * ------------------------------------------------------------------------------------------------------------------ */

/* Version of the library, as "2.1.0". Never null. */
TV_API const char* tv_getVersion(void);

/* A code in words. Never null; unknown codes say so. */
TV_API const char* tv_describeCode(int32_t code);

/* Makes a model, closed. TV_ERROR_NULL, TV_ERROR_MEMORY. */
TV_API int32_t tv_create(tv_model** model);

/* Ends a model in whatever phase it is: a run is stopped, files are closed and kept as they are, memory is released.
 * A null model is ignored. TV_ERROR_BUSY from within a callback. */
TV_API int32_t tv_free(tv_model* model);

/* Libraries of the engines inside nodes, null or empty for those beside the program, as in tarnvelde_initSwmmDll and
 * tarnvelde_initVornDll; and the folders for their private copies, each of which gets a folder of its own there: null
 * or empty for the temporary folder of the system. For the next opening. TV_ERROR_OPEN. */
TV_API int32_t tv_setEngines(tv_model* model, const char* swmmLibrary, const char* swmmFolder, const char* plantLibrary,
                             const char* plantFolder);

/* For an engine that opens a project of its own inside a node: what it was given by swmm_setSurroundings, handed on to
 * the engines inside its project. `projects` are the paths of the projects around, outermost first, each ended by a
 * line feed; `room` is how many projects more may be opened inside, all in all. For the next openings. TV_ERROR_OPEN,
 * TV_ERROR_NULL. docs/outside-engines.md has more. */
TV_API int32_t tv_setSurroundings(tv_model* model, const char* projects, int32_t room);

/* Opens a project file. The report goes to a file of its own, null for none. With a positive code the model is
 * TV_FAILED and its messages list every fault of the file; 301, 303 and 305 leave it closed. TV_ERROR_OPEN.
 *
 * Files of a run are written aside, under their names with ".part" added, and put in place when they are
 * complete: the report by tv_close, results by tv_end. Until then an earlier file stays as it is, and what a killed
 * process leaves is in the file aside. One run at a time writes a file: a second one gets 305 or 307. A file that
 * the project reads is refused as a report or results, under whatever name: 301. */
TV_API int32_t tv_open(tv_model* model, const char* path, const char* report);

/* Opens a project from text in memory, which is copied. Names of files in it are relative to the folder, null for the
 * current one. */
TV_API int32_t tv_openText(tv_model* model, const char* text, size_t length, const char* folder, const char* report);

/* Starts a run. Results go to a binary file, to a database, to both or, with nulls, nowhere. TV_ERROR_NOT_OPEN,
 * TV_ERROR_STARTED; with any other code nothing is started either. 301 if two of the run's files have one name. A
 * database holds values rounded to six decimals (TV_DATABASE_FULL keeps all). It is written under its name with ".part"
 * added, and put in place by tv_end; 313 if another run writes it. */
TV_API int32_t tv_start(tv_model* model, const char* results, const char* database);

/* One routing step. TV_ERROR_NOT_STARTED, TV_ERROR_FINISHED after the last one. A positive code ends the run early. */
TV_API int32_t tv_step(tv_model* model);

/* Steps until a date is reached or passed, or to the end. The date need not be one of a step. TV_ERROR_FINISHED if the
 * run was at its end before; TV_ERROR_RANGE if it is no number. */
TV_API int32_t tv_runUntil(tv_model* model, double date);

/* Writes balances and statistics, as of now, at the end of the report; nothing without a report. They are those of
 * the run so far. TV_ERROR_NOT_STARTED; TV_ERROR_FILE if the report can't be written. */
TV_API int32_t tv_report(tv_model* model);

/* Ends a run: results are complete, and put in place. The project stays open and may be started again.
 * TV_ERROR_NOT_STARTED; a positive code if the results can't be completed, as 315 if the database can't be put in
 * place: an earlier file stays then, and the message says why, and where the new results are. A run without a step
 * leaves no results. */
TV_API int32_t tv_end(tv_model* model);

/* Ends a run if there is one, and closes the project, whatever the code. The report is put in place, unless no step
 * was ever made and the project had no errors. TV_ERROR_NOT_OPEN if there is none; TV_ERROR_FILE if the report can't be
 * written to its last byte, and an earlier one stays then. */
TV_API int32_t tv_close(tv_model* model);

/* Stores the phase of the model, a tv_phase. Works always, from within callbacks too. */
TV_API int32_t tv_getPhase(const tv_model* model, int32_t* phase);

/* Stores dates and progress. TV_ERROR_NOT_OPEN. */
TV_API int32_t tv_getClock(const tv_model* model, tv_clock* clock);

/* ------------------------------------------------------------------------------------------------------------------
 * Pace
 * ------------------------------------------------------------------------------------------------------------------ */

/* How many threads share the work on the land, and on rows of results: 1 at first, at most TV_MAX_THREADS. The results
 * are the same to the last bit with any number. The number holds from the next step on, and for the projects that the
 * model opens later. For a null model it is that of the functions of tarnvelde.h, which no other thread may call
 * meanwhile. TV_ERROR_RANGE. */
#define TV_MAX_THREADS 256
TV_API int32_t tv_setThreads(tv_model* model, int32_t count);

/* Whether a step leaves out what can't change, such as the dry land of a dry week: it does at first. With 0 each object
 * works out each of its steps, to the same results. For tests, and for checking it; a null model as above. */
TV_API int32_t tv_setSkipping(tv_model* model, int32_t isWanted);

/* ------------------------------------------------------------------------------------------------------------------
 * Messages
 * ------------------------------------------------------------------------------------------------------------------ */

/* Sets the function that gets each message as it comes; null for none, as at first. */
TV_API int32_t tv_setLog(tv_model* model, tv_log log, void* user);

/* Messages since the last opening. They can be read until the next one, after a close too. */
TV_API int32_t tv_getMessageCount(const tv_model* model, int32_t* count);
TV_API int32_t tv_getMessage(const tv_model* model, int32_t index, tv_message* message);

/* Warnings are messages of level TV_WARNING: what is accepted but is probably not meant, when a project is opened,
 * and what goes wrong in a run. They change no result and no code, and are in no report. Of one kind and severity 100
 * are given with their place; one more message gives the number of the rest, "30 more of this kind". They are on at
 * first; a change holds from the next opening on. TV_ERROR_OPEN. */
TV_API int32_t tv_setWarnings(tv_model* model, int32_t isWanted);

/* The list of kinds, the same for all models. */
TV_API int32_t tv_getWarningKindCount(int32_t* count);
TV_API int32_t tv_getWarningKind(int32_t index, tv_warning_kind* kind);

/* ------------------------------------------------------------------------------------------------------------------
 * What is in the model. TV_ERROR_NOT_OPEN, TV_ERROR_CLASS, TV_ERROR_INDEX, TV_ERROR_ID.
 * ------------------------------------------------------------------------------------------------------------------ */

/* Objects of a class. */
TV_API int32_t tv_getCount(const tv_model* model, int32_t objectClass, int32_t* count);

/* ID as the project file has it; empty for the system and for LID units. */
TV_API int32_t tv_getId(const tv_model* model, int32_t objectClass, int32_t index, const char** id);

/* Kind of a node or a link; 0 in classes without kinds. */
TV_API int32_t tv_getKind(const tv_model* model, int32_t objectClass, int32_t index, int32_t* kind);

/* Index of an ID. */
TV_API int32_t tv_findObject(const tv_model* model, int32_t objectClass, const char* id, int32_t* index);

/* Index of the object that an object is related to; -1 if it has none. TV_ERROR_KIND if it is of another kind. */
TV_API int32_t tv_getRelation(const tv_model* model, int32_t relation, int32_t index, int32_t* related);

/* ------------------------------------------------------------------------------------------------------------------
 * Variables: docs/variables.md lists them. Values are in the units of the list. Parameters are known while a
 * project is open, all others in a run. An added inflow at a node, from the next step on, until it is released:
 *
 *     int32_t variable, node;
 *     int32_t code = tv_findVariable(TV_NODE, "added_inflow", &variable);
 *     if (code == TV_OK) code = tv_findObject(model, TV_NODE, "J1", &node);
 *     if (code == TV_OK) code = tv_setValue(model, variable, node, TV_NO_POLLUTANT, 0.25);
 *
 * TV_ERROR_VARIABLE, TV_ERROR_INDEX, TV_ERROR_KIND, TV_ERROR_NOT_NOW; setting: TV_ERROR_READ_ONLY, TV_ERROR_RANGE.
 * Within a kind an object may be of a type that doesn't have the variable: TV_ERROR_KIND too.
 * ------------------------------------------------------------------------------------------------------------------ */

/* The list of variables, the same for all models. */
TV_API int32_t tv_getVariableCount(int32_t* count);
TV_API int32_t tv_getVariable(int32_t variable, tv_variable* description);
TV_API int32_t tv_findVariable(int32_t objectClass, const char* name, int32_t* variable);

/* Value of one object; of a pollutant, or TV_NO_POLLUTANT. */
TV_API int32_t tv_getValue(const tv_model* model, int32_t variable, int32_t index, int32_t pollutant, double* value);
TV_API int32_t tv_setValue(tv_model* model, int32_t variable, int32_t index, int32_t pollutant, double value);

/* Values of all objects of the class in one call, `count` of them, as from tv_getCount. Objects of a kind without the
 * variable get nan. Setting skips these, and every nan: where the array has nan the value stays as it is; if one value
 * is refused, none is set. TV_ERROR_SIZE. */
TV_API int32_t tv_getValues(const tv_model* model, int32_t variable, int32_t pollutant, double* values, size_t count);
TV_API int32_t tv_setValues(tv_model* model, int32_t variable, int32_t pollutant, const double* values, size_t count);

/* Releases a forcing: rules and the project file decide again. TV_ERROR_READ_ONLY if it is no forcing. */
TV_API int32_t tv_releaseValue(tv_model* model, int32_t variable, int32_t index, int32_t pollutant);

/* ------------------------------------------------------------------------------------------------------------------
 * Balances and verdict of the run so far. What came in and left is counted as in the report's tables, so what is
 * missing at all places together is what the continuity error says. TV_ERROR_NOT_STARTED, TV_ERROR_CLASS,
 * TV_ERROR_INDEX.
 * ------------------------------------------------------------------------------------------------------------------ */

/* Whether the loads of nodes and links are kept by pollutant, from the next start on; 0 at first, since it makes
 * steps slower. TV_ERROR_NOT_OPEN, TV_ERROR_STARTED. */
TV_API int32_t tv_keepLoads(tv_model* model, int32_t isKept);

/* Water of a subcatchment, a LID unit, a node or a link; or of a pollutant, TV_ERROR_KIND for nodes and links whose
 * loads aren't kept. After a hot start balances begin with what is there then; loads of nodes and links do so after
 * a restored state as well. */
TV_API int32_t tv_getBalance(const tv_model* model, int32_t objectClass, int32_t index, int32_t pollutant,
                             tv_balance* balance);

/* Works the verdict out and stores how many rows it has: for the water on the land and in the network, and for each
 * pollutant likewise. The two functions below read it until it is worked out again. */
TV_API int32_t tv_judge(tv_model* model, int32_t* rowCount);
TV_API int32_t tv_getVerdict(const tv_model* model, int32_t row, tv_verdict* verdict);

/* The places that cause the error of a row, the largest first. TV_ERROR_INDEX after the last one. */
TV_API int32_t tv_getCause(const tv_model* model, int32_t row, int32_t cause, tv_cause* place);

/* ------------------------------------------------------------------------------------------------------------------
 * Rows of results, as the files get them, single precision, without a file
 * ------------------------------------------------------------------------------------------------------------------ */

/* How a database of results is written from the next start on, by the bits of tv_database_form; 0 at first. Index and
 * tables are made by tv_end, and only for a database that is written aside, as every file is.
 * TV_ERROR_STARTED, TV_ERROR_RANGE. */
TV_API int32_t tv_setDatabaseForm(tv_model* model, int32_t flags);

/* Whether the rows of the last period are kept for tv_getRows, from the next start on; 0 at first. TV_ERROR_STARTED. */
TV_API int32_t tv_keepRows(tv_model* model, int32_t isKept);

/* Sets the function that is called after each report period; null for none, as at first. */
TV_API int32_t tv_setPeriodCallback(tv_model* model, tv_period callback, void* user);

/* The tables and their columns; table 0 is that of the system. TV_ERROR_CLASS after the last one. */
TV_API int32_t tv_getTable(const tv_model* model, int32_t table, tv_table* description);
TV_API int32_t tv_getColumn(const tv_model* model, int32_t table, int32_t column, const char** name, const char** unit);

/* Indices in their class of the objects that the rows belong to, rowCount of them. TV_ERROR_SIZE. */
TV_API int32_t tv_getRowObjects(const tv_model* model, int32_t table, int32_t* indices, size_t count);

/* All rows of a table, one after the other, of the last period that has ended: rowCount times columnCount values.
 * TV_ERROR_NO_ROWS, TV_ERROR_SIZE. */
TV_API int32_t tv_getRows(const tv_model* model, int32_t table, float* values, size_t count);

/* ------------------------------------------------------------------------------------------------------------------
 * State: a run, saved between two steps and restored. docs/states.md lists what is carried over.
 *
 * TV_ERROR_NOT_STARTED, TV_ERROR_NO_STATE, TV_ERROR_STATE_VERSION, TV_ERROR_STATE_PROJECT, TV_ERROR_STATE_DAMAGED,
 * TV_ERROR_STATE_ENGINE.
 * ------------------------------------------------------------------------------------------------------------------ */

/* Bytes that a state of this moment takes. */
TV_API int32_t tv_getStateSize(const tv_model* model, size_t* size);

/* Writes the state into an array of at least that size; stores how much of it is used. TV_ERROR_SIZE. */
TV_API int32_t tv_saveState(const tv_model* model, void* bytes, size_t capacity, size_t* size);

/* Goes back, or ahead, to a state of this project. The run goes on from there to the same bits as the run that was
 * saved; rows of results that were written after this moment are removed. */
TV_API int32_t tv_restoreState(tv_model* model, const void* bytes, size_t size);

/* The same through a file, which is written aside and put in place when it is whole. TV_ERROR_FILE. */
TV_API int32_t tv_saveStateFile(const tv_model* model, const char* path);
TV_API int32_t tv_restoreStateFile(tv_model* model, const char* path);

/* Whether a state, or any other file that a host makes of a run, could be written to this path, for a host that wants
 * to know it before a long run; nothing is written. `what` is for the message, as "state". 301 if the project reads the
 * file or the run writes it, TV_ERROR_FILE if it can't be made; a message says why. */
TV_API int32_t tv_testOutput(tv_model* model, const char* what, const char* path);

/* Hot start: right after tv_start, takes water, pollutants and settings from the end of another run of the same
 * network; dates are those of this run, and totals, statistics and results start from zero. TV_ERROR_NOT_NOW after
 * the first step. */
TV_API int32_t tv_hotStart(tv_model* model, const void* bytes, size_t size);
TV_API int32_t tv_hotStartFile(tv_model* model, const char* path);

/* Makes a second model of a started one, in the same state, without report, results and callbacks; it keeps rows and
 * loads and gives warnings if the first one does. A project that was opened from a file is read again:
 * TV_ERROR_STATE_PROJECT if it has changed since. */
TV_API int32_t tv_clone(const tv_model* model, tv_model** clone);

#ifdef __cplusplus
}
#endif

#endif
