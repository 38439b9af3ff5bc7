"""What a worker does: it hands pictures to processes of its own, and watches them."""
from __future__ import annotations

import dataclasses
import json
import os
import select
import signal
import subprocess
import sys
import threading
import time
from collections.abc import Sequence
from typing import Any, NamedTuple

from .jobs import Recipe, Task
from .records import Record

LATE = "It takes longer than is allowed (--timeout)."
GRACE_SECONDS = 2  # for a chain to notice by itself that its time is over
START_SECONDS = 60  # for a process to say that it is there


class Orders(NamedTuple):
    """What all pictures of a run have in common."""

    recipe: Recipe
    folder: str  # that names which are not absolute start from, also in the chain
    run: str = ""  # a name for cancel()


class Outcome(NamedTuple):
    record: Record
    is_full: bool = False  # the machine has no room for the result, another one may


class Ended(Exception):
    """The process has ended before it answered; by `status` as subprocess has it, or, where that
    is None, because it was late."""

    def __init__(self, status: int | None) -> None:
        super().__init__(status)
        self.status = status


class PictureProcess:
    """A process that works at one picture at a time: see picture.py."""

    def __init__(self) -> None:
        root = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
        environment = os.environ | {
            "PYTHONPATH": os.pathsep.join(filter(None, (root, os.environ.get("PYTHONPATH")))),
            "PYTHONSAFEPATH": "1",  # nothing out of the folder that it happens to stand in
            "OPENBLAS_NUM_THREADS": "1",
        }
        # A session of its own, or Ctrl-C would end it at once.
        self._process = subprocess.Popen(
            [sys.executable, "-m", "nuv.batch.picture"], env=environment, start_new_session=True,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self._read = b""
        try:
            self._answer(START_SECONDS)
        except Ended as ended:
            raise RuntimeError(f"no process for pictures: {why(ended)}") from None

    def work(self, task: Task, orders: Orders) -> Outcome:
        """Ended when the process has, and then it is of no more use."""
        request = (dataclasses.asdict(orders.recipe), orders.folder, task)
        assert self._process.stdin
        try:
            self._process.stdin.write(json.dumps(request).encode() + b"\n")
            self._process.stdin.flush()
        except BrokenPipeError:
            raise Ended(self.end()) from None
        seconds = orders.recipe.timeout
        record, is_full = self._answer(seconds and seconds + GRACE_SECONDS)
        return Outcome(Record(*record), is_full)

    def end(self) -> int | None:
        """Answers the status, None where the system does not let go of it."""
        self._process.kill()
        for pipe in (self._process.stdin, self._process.stdout):
            assert pipe
            try:
                pipe.close()
            except BrokenPipeError:  # of what stood in a buffer
                pass
        try:
            return self._process.wait(GRACE_SECONDS)
        except subprocess.TimeoutExpired:
            return None

    def _answer(self, seconds: float | None) -> Any:
        assert self._process.stdout
        descriptor = self._process.stdout.fileno()
        poll = select.poll()
        poll.register(descriptor, select.POLLIN)
        deadline = time.monotonic() + seconds if seconds else None
        while not self._read.endswith(b"\n"):
            left = None if deadline is None else max(deadline - time.monotonic(), 0) * 1000
            if not poll.poll(left):
                self.end()
                raise Ended(None)
            piece = os.read(descriptor, 1 << 16)
            if not piece:
                raise Ended(self._process.wait())
            self._read += piece
        answer, self._read = json.loads(self._read), b""
        return answer


def why(ended: Ended) -> str:
    if ended.status is None:
        return "it does not answer"
    if ended.status >= 0:
        return f"it has ended with status {ended.status}"
    return f"it has ended by {signal.Signals(-ended.status).name}"


# Of this worker: processes that wait for work, and runs whose work is wanted no more.
_lock = threading.Lock()
_idle: list[PictureProcess] = []
_cancelled: set[str] = set()


def cancel(run: str) -> None:
    """Work at the chunks of a run ends behind the picture that it is at."""
    _cancelled.add(run)


def work_on(tasks: Sequence[Task], orders: Orders) -> list[Outcome]:
    """What became of each picture of a chunk; of those that came behind cancel() nothing."""
    outcomes = []
    process: PictureProcess | None = None
    try:
        for task in tasks:
            if orders.run in _cancelled:
                break
            process, outcome = _work_at(process or _take(), task, orders)
            outcomes.append(outcome)
    finally:
        if process:
            with _lock:
                _idle.append(process)
    return outcomes


def _take() -> PictureProcess:
    with _lock:
        if _idle:
            return _idle.pop()
    return PictureProcess()


def _work_at(process: PictureProcess, task: Task,
             orders: Orders) -> tuple[PictureProcess | None, Outcome]:
    """The process is None when it is of no more use."""
    start = time.monotonic()
    try:
        try:
            return process, process.work(task, orders)
        except Ended as ended:
            if ended.status != 0:
                raise
        # It had waited for too long.
        process = PictureProcess()
        return process, process.work(task, orders)
    except Ended as ended:
        status, message = "crashed", f"The process that worked at it: {why(ended)}."
        if ended.status is None:
            status, message = "timeout", LATE
        seconds = round(time.monotonic() - start, 4)
        return None, Outcome(Record(task.source, task.destination, status, seconds=seconds,
                                    message=message, recipe=orders.recipe.digest))
