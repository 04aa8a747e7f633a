"""Runs members on a Dask cluster, by a client that is connected to it."""
from __future__ import annotations

import os
from collections import deque
from pathlib import Path
from typing import Any, Deque, Dict, List, Sequence

from .ensemble_backends import Keeper, kill_member
from .ensemble_members import Task
from .ensemble_worker import Outcome, new_outcome, run_once
from .errors import RunError


_LEAST_WINDOW = 64
_WAIT_SECONDS = 1.0


def run_dask(tasks: Sequence[Task], client: Any, keeper: Keeper, out: Path) -> None:
    """Runs members on the workers of a distributed.Client, which see the ensemble's folder and the project under the
    same paths. A member whose worker is lost is tried once more, on its own, when all others have ended; those that
    only waited at that worker go on elsewhere. RunError if the scheduler is lost. ImportError without distributed."""
    try:
        import distributed
    except ImportError:
        raise ImportError('the back end "dask" needs distributed (Debian: python3-distributed)') from None
    if not isinstance(client, distributed.Client):
        raise TypeError(f"client is a distributed.Client, not {type(client).__name__}")
    if client.asynchronous:
        raise TypeError("client is asynchronous: an ensemble needs one that waits")
    token = os.urandom(8).hex()
    for left in out.glob("guard-*"):  # by a call that was killed
        left.unlink()
    # of a name that no other machine has looked for and remembers as missing
    guard = out / f"guard-{token}"
    guard.touch()
    try:
        suspects = _run_all([{**task, "token": token, "guard": str(guard)} for task in tasks], client, keeper, False)
        _run_all([{**task, "token": f"{token} alone"} for task in suspects], client, keeper, True)
    finally:
        guard.unlink(missing_ok=True)


def _run_all(tasks: Sequence[Task], client: Any, keeper: Keeper, is_alone: bool) -> List[Task]:
    """Runs members, so many at once that no worker waits, or one at once; those that were lost with their workers."""
    waiting: Deque[Task] = deque(tasks)
    open_tasks: Dict[Any, Task] = {}
    lost: List[Task] = []
    try:
        while waiting or open_tasks:
            window = 1 if is_alone else max(_LEAST_WINDOW, 4 * _count_threads(client))
            while waiting and len(open_tasks) < window:
                task = waiting.popleft()
                keeper.begin(task["name"])
                open_tasks[client.submit(run_once, task, pure=False, retries=0)] = task
            for future in _wait(open_tasks, client):
                task = open_tasks.pop(future)
                outcome = _outcome_of(future, task)
                if outcome["outcome"] != "suspect":
                    keeper.take(outcome)
                elif is_alone:
                    keeper.take(kill_member(task, "its worker was lost, two times"))
                else:
                    lost.append(task)
            keeper.tick()
    finally:
        if open_tasks and client.status == "running":
            client.cancel(list(open_tasks))
    return lost


def _count_threads(client: Any) -> int:
    """Runs that the cluster can do at once."""
    _check(client)
    return sum(client.nthreads().values())


def _check(client: Any) -> None:
    if client.status not in ("running", "connecting"):
        raise RunError(f"the client of Dask is {client.status}: the cluster is lost")


def _wait(open_tasks: Dict[Any, Task], client: Any) -> List[Any]:
    """Waits for some to end, a moment at most."""
    import distributed

    _check(client)
    try:
        wait: Any = distributed.wait
        return list(wait(list(open_tasks), timeout=_WAIT_SECONDS, return_when="FIRST_COMPLETED").done)
    except distributed.TimeoutError:
        return []


def _outcome_of(future: Any, task: Task) -> Outcome:
    """What became of a member. A scheduler that tells of a lost worker itself is taken at its word."""
    import distributed

    if future.status == "cancelled":
        raise RunError("members were cancelled: the cluster is lost")
    error = future.exception() if future.status == "error" else None
    if error is None:
        return dict(future.result())
    if isinstance(error, distributed.KilledWorker):
        return new_outcome(task, "suspect", str(error))
    return new_outcome(task, "failed", f"{type(error).__name__}: {error}")
