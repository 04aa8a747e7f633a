"""What include/tarnvelde_model.h declares: numbers with names, structures, functions.

Written by scripts/make-python-mirror.py; changes belong there.
"""
from __future__ import annotations

import ctypes
import enum
from typing import Any, Dict, List, Tuple

HEADER_VERSION = (2, 0)
END = 1.0e10  # a date after every end
NO_POLLUTANT = -1
MAX_THREADS = 256


class Code(enum.IntEnum):
    """`tv_code` of the header."""

    OK = 0
    ERROR_NULL = -2  # a pointer that must not be null is null
    ERROR_NOT_OPEN = -3  # no project is open in the model, or it failed to open
    ERROR_OPEN = -4  # a project is open already: close it first
    ERROR_NOT_STARTED = -5  # no run is started
    ERROR_STARTED = -6  # a run is started already: end it first
    ERROR_FINISHED = -7  # the run has reached its end: there is no further step
    ERROR_CLASS = -8  # no such class, kind, relation or table
    ERROR_INDEX = -9  # no object, pollutant, column or message of this index
    ERROR_ID = -10  # no object of this ID, or no variable of this name
    ERROR_VARIABLE = -11  # no such variable
    ERROR_KIND = -12  # the object is of a kind that doesn't have this variable
    ERROR_READ_ONLY = -13  # the variable can't be set
    ERROR_NOT_NOW = -14  # the variable can't be set, or isn't known, at this stage
    ERROR_RANGE = -15  # the value is outside the variable's range, or no number
    ERROR_SIZE = -16  # the array is too small, or of another length than asked for
    ERROR_MEMORY = -17  # the machine's memory doesn't suffice
    ERROR_BUSY = -18  # the model is at work: the call comes from within one of its callbacks
    ERROR_FILE = -19  # a file can't be read or written
    ERROR_NO_STATE = -20  # the bytes are no state, or are cut short
    ERROR_STATE_VERSION = -21  # the state was saved by another version, or on another kind of machine
    ERROR_STATE_PROJECT = -22  # the state belongs to another project
    ERROR_STATE_DAMAGED = -23  # the state was changed since it was saved
    ERROR_STATE_ENGINE = -24  # an engine inside a node can't save its state; the last message names the node
    ERROR_NO_ROWS = -25  # rows are not kept (tv_keepRows), or no period has ended yet


class Phase(enum.IntEnum):
    """`tv_phase` of the header."""

    CLOSED = 0  # no project
    OPEN = 1  # a project without errors, not started or ended
    STARTED = 2  # between two steps of a run
    FINISHED = 3  # the run has reached its end, or an error has stopped it; its last state can be looked at
    FAILED = 4  # a project with errors: its messages can be read, and it can be closed


class Level(enum.IntEnum):
    """`tv_level` of the header."""

    INFO = 0
    WARNING = 1
    ERROR = 2


class Severity(enum.IntEnum):
    """`tv_severity` of the header."""

    NOTE = 0  # unusual, but possibly meant
    DOUBT = 1  # probably not meant
    SERIOUS = 2  # results can't be right


class WarningGroup(enum.IntEnum):
    """`tv_warning_group` of the header."""

    DROPPED = 0  # reading: something is dropped, or read in another way than it seems to say
    IMPLAUSIBLE = 1  # reading: something is probably not meant
    IN_RUN = 2  # a run: something goes wrong with the water


class ObjectClass(enum.IntEnum):
    """`tv_class` of the header."""

    SYSTEM = 0  # the whole model; its only index is 0
    SUBCATCHMENT = 1
    GAGE = 2
    NODE = 3
    LINK = 4
    POLLUTANT = 5
    LAND_USE = 6
    LID = 7  # a definition of a LID control
    LID_UNIT = 8  # a LID control on a subcatchment; it has no ID of its own
    RULE = 9
    CURVE = 10
    SERIES = 11
    PATTERN = 12


class NodeKind(enum.IntEnum):
    """`tv_node_kind` of the header."""

    JUNCTION = 0
    TANK = 1
    OUTFALL = 2
    SPLITTER = 3
    SWMM_NODE = 4
    REACTOR = 5
    LID_NODE = 6
    PLANT_NODE = 7


class LinkKind(enum.IntEnum):
    """`tv_link_kind` of the header."""

    PIPE = 0
    PUMP = 1
    CONNECTION = 2
    CONDUIT = 3
    WEIR = 4
    ORIFICE = 5


class DatabaseForm(enum.IntEnum):
    """`tv_database_form` of the header."""

    INDEX = 1  # an index of each table by object and period
    UNITS = 2  # a table of the units of all columns
    DATES = 4  # a table of the dates of all periods
    FULL = 8  # values as they are in single precision, and not to six decimals


class Relation(enum.IntEnum):
    """`tv_relation` of the header."""

    LINK_FROM = 0  # link: node at the upstream end
    LINK_TO = 1  # link: node at the downstream end
    SUBCATCHMENT_OUTLET = 2  # subcatchment: node that gets the runoff
    SUBCATCHMENT_GAGE = 3  # subcatchment: rain gage
    GAGE_SERIES = 4  # gage: time series of the rain
    UNIT_SUBCATCHMENT = 5  # LID unit: subcatchment that it is on
    UNIT_LID = 6  # LID unit: its definition
    UNIT_DRAIN = 7  # LID unit: node that gets the underdrain
    REACTOR_SURPASS = 8  # node, a reactor: node that gets the flow above the capacity
    REACTOR_EMPTYING = 9  # node, a reactor: node that the store is emptied to
    LID_NODE_DRAIN = 10  # node, a LID node: node that gets the underdrain
    LID_NODE_GAGE = 11  # node, a LID node: rain gage
    SPLITTER_LINK = 12  # node, a splitter: the link that gets the split part
    TANK_CURVE = 13  # node, a tank: curve of its areas


class Access(enum.IntEnum):
    """`tv_access` of the header."""

    PARAMETER = 0  # given by the project file; a value that is set holds until the project is closed
    FORCING = 1  # given by the host: an added inflow, a held setting; holds until it is released or the run ends
    STATE = 2  # what the run has at this moment
    RESULT = 3  # made by the last step: flows, rates, concentrations
    TOTAL = 4  # sums, peaks and balances since the start


class When(enum.IntFlag):
    """`tv_when` of the header."""

    NEVER = 0
    WHEN_OPEN = 1
    WHEN_STARTED = 2
    ALWAYS = 3  # both


class Part(enum.IntEnum):
    """`tv_part` of the header."""

    RUNOFF = 0
    WASHOFF = 1
    FLOW = 2
    QUALITY = 3


class Grade(enum.IntEnum):
    """`tv_grade` of the header."""

    NOTHING = 0  # nothing came in
    GREEN = 1  # under 1 %: usual
    AMBER = 2  # up to 5 %: look where it comes from
    RED = 3  # above, no number, or out of nothing: don't rely on the results until it is explained


class RawClock(ctypes.Structure):
    """`tv_clock` of the header."""

    _fields_ = [
        ("start", ctypes.c_double),
        ("now", ctypes.c_double),
        ("end", ctypes.c_double),
        ("step", ctypes.c_double),
        ("progress", ctypes.c_double),
        ("period", ctypes.c_int64),
    ]


class RawMessage(ctypes.Structure):
    """`tv_message` of the header."""

    _fields_ = [
        ("level", ctypes.c_int32),
        ("code", ctypes.c_int32),
        ("name", ctypes.c_char_p),
        ("text", ctypes.c_char_p),
        ("section", ctypes.c_char_p),
        ("line", ctypes.c_int64),
        ("words", ctypes.c_char_p),
        ("object", ctypes.c_char_p),
        ("severity", ctypes.c_int32),
        ("column", ctypes.c_int32),
        ("length", ctypes.c_int32),
        ("effect", ctypes.c_char_p),
        ("advice", ctypes.c_char_p),
        ("date", ctypes.c_double),
    ]


class RawWarningKind(ctypes.Structure):
    """`tv_warning_kind` of the header."""

    _fields_ = [
        ("name", ctypes.c_char_p),
        ("group", ctypes.c_int32),
        ("severity", ctypes.c_int32),
        ("text", ctypes.c_char_p),
        ("effect", ctypes.c_char_p),
        ("advice", ctypes.c_char_p),
    ]


class RawVariable(ctypes.Structure):
    """`tv_variable` of the header."""

    _fields_ = [
        ("name", ctypes.c_char_p),
        ("objectClass", ctypes.c_int32),
        ("kinds", ctypes.c_uint32),
        ("unit", ctypes.c_char_p),
        ("meaning", ctypes.c_char_p),
        ("isPerPollutant", ctypes.c_int32),
        ("access", ctypes.c_int32),
        ("when", ctypes.c_int32),
        ("minimum", ctypes.c_double),
        ("maximum", ctypes.c_double),
    ]


class RawTable(ctypes.Structure):
    """`tv_table` of the header."""

    _fields_ = [
        ("name", ctypes.c_char_p),
        ("objectClass", ctypes.c_int32),
        ("kind", ctypes.c_int32),
        ("rowCount", ctypes.c_int32),
        ("columnCount", ctypes.c_int32),
    ]


class RawBalance(ctypes.Structure):
    """`tv_balance` of the header."""

    _fields_ = [
        ("initial", ctypes.c_double),
        ("in", ctypes.c_double),
        ("out", ctypes.c_double),
        ("lost", ctypes.c_double),
        ("stored", ctypes.c_double),
        ("missing", ctypes.c_double),
        ("error", ctypes.c_double),
    ]


class RawVerdict(ctypes.Structure):
    """`tv_verdict` of the header."""

    _fields_ = [
        ("part", ctypes.c_int32),
        ("pollutant", ctypes.c_int32),
        ("in", ctypes.c_double),
        ("missing", ctypes.c_double),
        ("error", ctypes.c_double),
        ("grade", ctypes.c_int32),
        ("words", ctypes.c_char_p),
        ("causeCount", ctypes.c_int32),
    ]


class RawCause(ctypes.Structure):
    """`tv_cause` of the header."""

    _fields_ = [
        ("objectClass", ctypes.c_int32),
        ("index", ctypes.c_int32),
        ("missing", ctypes.c_double),
        ("share", ctypes.c_double),
    ]


LogCallback = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.POINTER(RawMessage))
PeriodCallback = ctypes.CFUNCTYPE(
    ctypes.c_int32, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int64, ctypes.c_double)

# Each function with its result and arguments.
FUNCTIONS: Dict[str, Tuple[Any, List[Any]]] = {
    "tv_getVersion": (ctypes.c_char_p, []),
    "tv_describeCode": (ctypes.c_char_p, [ctypes.c_int32]),
    "tv_create": (ctypes.c_int32, [ctypes.POINTER(ctypes.c_void_p)]),
    "tv_free": (ctypes.c_int32, [ctypes.c_void_p]),
    "tv_setEngines": (
        ctypes.c_int32,
        [
            ctypes.c_void_p,
            ctypes.c_char_p,
            ctypes.c_char_p,
            ctypes.c_char_p,
            ctypes.c_char_p,
        ],
    ),
    "tv_setSurroundings": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int32]),
    "tv_open": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_char_p]),
    "tv_openText": (
        ctypes.c_int32,
        [
            ctypes.c_void_p,
            ctypes.c_char_p,
            ctypes.c_size_t,
            ctypes.c_char_p,
            ctypes.c_char_p,
        ],
    ),
    "tv_start": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_char_p]),
    "tv_step": (ctypes.c_int32, [ctypes.c_void_p]),
    "tv_runUntil": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_double]),
    "tv_report": (ctypes.c_int32, [ctypes.c_void_p]),
    "tv_end": (ctypes.c_int32, [ctypes.c_void_p]),
    "tv_close": (ctypes.c_int32, [ctypes.c_void_p]),
    "tv_getPhase": (ctypes.c_int32, [ctypes.c_void_p, ctypes.POINTER(ctypes.c_int32)]),
    "tv_getClock": (ctypes.c_int32, [ctypes.c_void_p, ctypes.POINTER(RawClock)]),
    "tv_setThreads": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_int32]),
    "tv_setSkipping": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_int32]),
    "tv_setLog": (ctypes.c_int32, [ctypes.c_void_p, LogCallback, ctypes.c_void_p]),
    "tv_getMessageCount": (ctypes.c_int32, [ctypes.c_void_p, ctypes.POINTER(ctypes.c_int32)]),
    "tv_getMessage": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_int32, ctypes.POINTER(RawMessage)]),
    "tv_setWarnings": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_int32]),
    "tv_getWarningKindCount": (ctypes.c_int32, [ctypes.POINTER(ctypes.c_int32)]),
    "tv_getWarningKind": (ctypes.c_int32, [ctypes.c_int32, ctypes.POINTER(RawWarningKind)]),
    "tv_getCount": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_int32, ctypes.POINTER(ctypes.c_int32)]),
    "tv_getId": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_int32, ctypes.c_int32, ctypes.POINTER(ctypes.c_char_p)]),
    "tv_getKind": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_int32, ctypes.c_int32, ctypes.POINTER(ctypes.c_int32)]),
    "tv_findObject": (
        ctypes.c_int32,
        [
            ctypes.c_void_p,
            ctypes.c_int32,
            ctypes.c_char_p,
            ctypes.POINTER(ctypes.c_int32),
        ],
    ),
    "tv_getRelation": (
        ctypes.c_int32,
        [
            ctypes.c_void_p,
            ctypes.c_int32,
            ctypes.c_int32,
            ctypes.POINTER(ctypes.c_int32),
        ],
    ),
    "tv_getVariableCount": (ctypes.c_int32, [ctypes.POINTER(ctypes.c_int32)]),
    "tv_getVariable": (ctypes.c_int32, [ctypes.c_int32, ctypes.POINTER(RawVariable)]),
    "tv_findVariable": (ctypes.c_int32, [ctypes.c_int32, ctypes.c_char_p, ctypes.POINTER(ctypes.c_int32)]),
    "tv_getValue": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_int32, ctypes.c_int32, ctypes.c_int32, ctypes.c_void_p]),
    "tv_setValue": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_int32, ctypes.c_int32, ctypes.c_int32, ctypes.c_double]),
    "tv_getValues": (
        ctypes.c_int32,
        [
            ctypes.c_void_p,
            ctypes.c_int32,
            ctypes.c_int32,
            ctypes.c_void_p,
            ctypes.c_size_t,
        ],
    ),
    "tv_setValues": (
        ctypes.c_int32,
        [
            ctypes.c_void_p,
            ctypes.c_int32,
            ctypes.c_int32,
            ctypes.c_void_p,
            ctypes.c_size_t,
        ],
    ),
    "tv_releaseValue": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_int32, ctypes.c_int32, ctypes.c_int32]),
    "tv_keepLoads": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_int32]),
    "tv_getBalance": (
        ctypes.c_int32,
        [
            ctypes.c_void_p,
            ctypes.c_int32,
            ctypes.c_int32,
            ctypes.c_int32,
            ctypes.POINTER(RawBalance),
        ],
    ),
    "tv_judge": (ctypes.c_int32, [ctypes.c_void_p, ctypes.POINTER(ctypes.c_int32)]),
    "tv_getVerdict": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_int32, ctypes.POINTER(RawVerdict)]),
    "tv_getCause": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_int32, ctypes.c_int32, ctypes.POINTER(RawCause)]),
    "tv_setDatabaseForm": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_int32]),
    "tv_keepRows": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_int32]),
    "tv_setPeriodCallback": (ctypes.c_int32, [ctypes.c_void_p, PeriodCallback, ctypes.c_void_p]),
    "tv_getTable": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_int32, ctypes.POINTER(RawTable)]),
    "tv_getColumn": (
        ctypes.c_int32,
        [
            ctypes.c_void_p,
            ctypes.c_int32,
            ctypes.c_int32,
            ctypes.POINTER(ctypes.c_char_p),
            ctypes.POINTER(ctypes.c_char_p),
        ],
    ),
    "tv_getRowObjects": (
        ctypes.c_int32,
        [
            ctypes.c_void_p,
            ctypes.c_int32,
            ctypes.POINTER(ctypes.c_int32),
            ctypes.c_size_t,
        ],
    ),
    "tv_getRows": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_int32, ctypes.c_void_p, ctypes.c_size_t]),
    "tv_getStateSize": (ctypes.c_int32, [ctypes.c_void_p, ctypes.POINTER(ctypes.c_size_t)]),
    "tv_saveState": (
        ctypes.c_int32,
        [
            ctypes.c_void_p,
            ctypes.c_void_p,
            ctypes.c_size_t,
            ctypes.POINTER(ctypes.c_size_t),
        ],
    ),
    "tv_restoreState": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_size_t]),
    "tv_saveStateFile": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_char_p]),
    "tv_restoreStateFile": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_char_p]),
    "tv_testOutput": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_char_p]),
    "tv_hotStart": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_size_t]),
    "tv_hotStartFile": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_char_p]),
    "tv_clone": (ctypes.c_int32, [ctypes.c_void_p, ctypes.POINTER(ctypes.c_void_p)]),
}
