"""How far an ensemble has come, shown where somebody looks: on a terminal or in a notebook, never in a pipe."""
from __future__ import annotations

import sys
from typing import Any, Callable, Optional, Union

ProgressChoice = Union[None, bool, Callable[[int, int, int], None]]
"""None: where somebody looks; True: in any case; False: never; or a function of members ended, failed and in all."""


def is_notebook() -> bool:
    """Whether this runs in a notebook."""
    shell = sys.modules.get("IPython")
    found = shell.get_ipython() if shell is not None else None
    return found is not None and "IPKernelApp" in getattr(found, "config", {})


class Progress:
    """Shows members that have ended, of all. close() leaves the last state standing."""

    def __init__(self, choice: ProgressChoice, total: int, ended: int = 0) -> None:
        self._call: Optional[Callable[[int, int, int], None]] = None
        self._bar: Any = None
        self._is_plain = False
        self._width = 0
        self.total = total
        self.ended = ended
        self.failed = 0
        if callable(choice):
            self._call = choice
        elif choice is True or (choice is None and (is_notebook() or sys.stderr.isatty())):
            self._open()

    def _open(self) -> None:
        try:
            if is_notebook():
                from tqdm.auto import tqdm
            else:
                from tqdm import tqdm
        except ImportError:
            self._is_plain = True
            self._tell()
            return
        self._bar = tqdm(total=self.total, initial=self.ended, unit=" runs", dynamic_ncols=True, file=sys.stderr)

    def step(self, is_failed: bool) -> None:
        """A member has ended."""
        self.ended += 1
        self.failed += is_failed
        if self._call is not None:
            self._call(self.ended, self.failed, self.total)
        elif self._bar is not None:
            if is_failed:
                self._bar.set_postfix(failed=self.failed, refresh=False)
            self._bar.update()
        elif self._is_plain:
            self._tell()

    def _tell(self) -> None:
        text = f"{self.ended} of {self.total} runs" + (f", {self.failed} failed" if self.failed else "")
        sys.stderr.write("\r" + text.ljust(self._width))
        sys.stderr.flush()
        self._width = len(text)

    def close(self) -> None:
        """Ends the line."""
        if self._bar is not None:
            self._bar.close()
        elif self._is_plain:
            sys.stderr.write("\n")
