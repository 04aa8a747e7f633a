"""The verdict on a run, as frames."""
from __future__ import annotations

import ctypes
from typing import TYPE_CHECKING, Any, Dict, List, Tuple

from . import _header as header
from ._header import Code, Grade, ObjectClass, Part

if TYPE_CHECKING:
    import pandas as pd

    from .model import Model

COLUMNS = ["part", "pollutant", "in", "missing", "error", "grade", "words"]
CAUSES = ["row", "class", "id", "missing", "share"]


def verdict_of(model: Model) -> pd.DataFrame:
    """The rows of a model's verdict; what makes the errors in `.attrs["causes"]`."""
    import pandas as pd

    rows, causes = rows_of(model)
    frame = pd.DataFrame(rows, columns=COLUMNS)
    frame.attrs["causes"] = pd.DataFrame(causes, columns=CAUSES)
    frame.attrs["units"] = {"in": "m3 or kg", "missing": "m3 or kg", "error": "%"}
    return frame


def rows_of(model: Model) -> Tuple[List[Dict[str, Any]], List[Dict[str, Any]]]:
    """The rows of a model's verdict, and the causes of its errors, each with the number of its row."""
    with model._lock:
        count = ctypes.c_int32()
        model._call("tv_judge", ctypes.byref(count))
        rows: List[Dict[str, Any]] = []
        causes: List[Dict[str, Any]] = []
        pollutants = model.pollutants.ids
        raw = header.RawVerdict()
        for row in range(count.value):
            model._call("tv_getVerdict", row, ctypes.byref(raw))
            rows.append({
                "part": Part(raw.part).name.lower(),
                "pollutant": pollutants[raw.pollutant] if raw.pollutant >= 0 else "",
                "in": getattr(raw, "in"), "missing": raw.missing, "error": raw.error,
                "grade": Grade(raw.grade).name.lower(), "words": raw.words.decode()})
            causes += _causes_of(model, row)
    return rows, causes


def _causes_of(model: Model, row: int) -> List[Dict[str, Any]]:
    found: List[Dict[str, Any]] = []
    raw = header.RawCause()
    while True:
        code = model._try("tv_getCause", row, len(found), ctypes.byref(raw))
        if code == Code.ERROR_INDEX:
            return found
        if code:
            raise model._error(code)
        place = ObjectClass(raw.objectClass)
        found.append({"row": row, "class": place.name.lower(), "id": model._identifier(place, raw.index),
                      "missing": raw.missing, "share": raw.share})
