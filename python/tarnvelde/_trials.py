"""Generations of trials, run as members of ensembles."""
from __future__ import annotations

import shutil
from pathlib import Path
from typing import Any, Callable, Dict, List, NamedTuple

import pandas as pd

from ._places import written_aside
from .errors import RunError


class Trial(NamedTuple):
    """What became of a trial. found: what was looked for in its results; None if it wasn't done."""

    outcome: str
    message: str
    found: Any


class Runner:
    """Runs generations of trials into folders of their own below `out`, and looks at their results."""

    def __init__(self, project: Any, out: Path, keep: bool, options: Dict[str, Any]) -> None:
        self._project = project
        self._out = out
        self._keep = keep
        self._options = options
        self._count = 0

    def run(self, members: pd.DataFrame, look: Callable[[Any, str], Any]) -> List[Trial]:
        """Runs members; of each that is done what `look` finds, given the ensemble and the name. Folders of trials are
        taken away behind it unless they are to be kept."""
        from .ensemble import ensemble

        folder = self._out / "generations" / f"{self._count:04d}"
        self._count += 1
        options = dict(self._options)
        if len(members) == 1 and not {"backend", "client", "timeout"} & set(options):
            options["backend"] = "serial"  # a process of its own would take longer than most runs
        made = ensemble(self._project, members, out=folder, progress=False, **options)
        status = made.status
        trials = []
        for name in members.index:
            outcome, message = str(status.at[name, "outcome"]), status.at[name, "message"]
            message = message if isinstance(message, str) else ""
            trials.append(Trial(outcome, message, look(made, name) if outcome == "done" else None))
        if not self._keep:
            shutil.rmtree(folder, ignore_errors=True)
        return trials


def refuse_if_none(trials: List[Trial]) -> None:
    """RunError if not one trial was done, with the message of the first."""
    if trials and all(trial.outcome != "done" for trial in trials):
        raise RunError(f"none of {len(trials)} trials could be run; the first: {trials[0].outcome}: "
                       f"{trials[0].message}")


def write_text(path: Path, text: str) -> None:
    """Writes a file, which is put in place when it is whole."""
    with written_aside(path) as file:
        file.write(text.encode("utf-8", "surrogateescape"))
