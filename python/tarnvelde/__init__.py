"""Tarnvelde: urban drainage and water quality.

    import tarnvelde as tv
    run = tv.run("town.inp")
    run.nodes["inflow"]["N4"].plot()

`run` simulates a project and gives its results, `Model` opens one to be looked at and steered step by step, `check`
lists its errors, `open_results` reads files of results, `Project` edits a project as tables.
"""
from ._header import Access, Code, Grade, Level, LinkKind, NodeKind, ObjectClass, Part, Phase, Relation, Severity, When
from ._library import library, version
from ._parameters import Factor, Range
from ._version import VERSION as __version__
from . import measures
from .control import Choice, ControlEnvironment, look_ahead
from .ensemble import Ensemble, ensemble
from .errors import (LibraryError, PhaseError, ProjectError, ResultsError, RunError, StateError, TarnveldeError,
                     UnknownError, ValueRefused)
from .events import event_totals, events
from .fit import Fit, fit
from .messages import DoubtWarning, EngineWarning, Message, NoteWarning, SeriousWarning
from .model import Model, State
from .network import network
from .project import Project, ProjectFormatError
from .results import Results, open_results
from .run import Run, check, run
from .sensitivity import Sensitivity, sensitivity

__all__ = [
    "Access", "Choice", "Code", "ControlEnvironment", "DoubtWarning", "EngineWarning", "Ensemble", "Factor", "Fit",
    "Grade", "Level", "LibraryError", "LinkKind", "Message", "Model", "NodeKind", "NoteWarning", "ObjectClass",
    "Part", "Phase", "PhaseError", "Project", "ProjectError", "ProjectFormatError", "Range", "Relation", "Results",
    "ResultsError", "Run", "RunError", "Sensitivity", "SeriousWarning", "Severity", "State", "StateError",
    "TarnveldeError", "UnknownError", "ValueRefused", "When", "__version__", "check", "ensemble", "event_totals",
    "events", "fit", "library", "look_ahead", "measures", "network", "open_results", "run", "sensitivity",
    "version",
]
