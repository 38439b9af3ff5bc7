"""The process that pictures are worked at in: python3 -m nuv.batch.picture

It reads a line of JSON for each picture from standard input and answers it by one, and ends when
its input does, whatever it is at: so it never outlives the worker that started it. What a damaged
picture, the system or a limit does to it is not done to the worker.
"""
from __future__ import annotations

import errno
import json
import os
import queue
import resource
import sys
import threading
import time
import warnings
from typing import Any

import nuv

from .jobs import Recipe, Task
from .processes import LATE, Outcome
from .records import Record

IDLE_SECONDS = 60
# What the interpreter, its modules and a band need beside what the library counts.
OWN_MEMORY = 256 << 20

_STATUSES: tuple[tuple[type[BaseException], str], ...] = (
    (nuv.UnknownKindError, "unknown-kind"),
    (nuv.UnsupportedError, "unsupported"),
    (nuv.InvalidError, "invalid"),
    (nuv.DamagedError, "damaged"),
    (nuv.LimitError, "limit"),
    (nuv.Cancelled, "timeout"),
    (OSError, "io"),
    (MemoryError, "no-memory"),
    (Exception, "bad-call"),
)
# Of the machine that writes, and not of the picture: elsewhere it may go well.
_FULL = (errno.ENOSPC, errno.EDQUOT, errno.EFBIG, errno.EROFS)


def work(recipe: Recipe, folder: str, task: Task) -> Outcome:
    """Does it, and tells what came of it."""
    start = time.monotonic()
    record = Record(task.source, task.destination, "done", recipe=recipe.digest)
    is_full = False
    try:
        _limit_memory(recipe.max_memory)
        os.chdir(folder)
        line, message = _convert(recipe, task, start)
        record = record._replace(status="mended" if message else "done", line=line,
                                 bytes=os.stat(task.destination).st_size, message=message)
    except Exception as error:
        status = next(name for kind, name in _STATUSES if isinstance(error, kind))
        record = record._replace(
            status=status, byte=getattr(error, "byte", None),
            line=_from_1(getattr(error, "line", None)),
            message=LATE if status == "timeout" else _message_of(error, task.source))
        is_full = isinstance(error, OSError) and error.errno in _FULL
    return Outcome(record._replace(seconds=round(time.monotonic() - start, 4)), is_full)


def _from_1(line: int | None) -> int | None:
    return None if line is None else line + 1


def _message_of(error: Exception, source: str) -> str:
    """Without the name of the source, which the record has."""
    if isinstance(error, OSError) and error.filename:
        told = str(error.strerror)
        return told if error.filename == source else f"{error.filename}: {told}"
    return str(error.args[0] if error.args else error)


def _convert(recipe: Recipe, task: Task, start: float) -> tuple[int | None, str]:
    """The first line that was mended, from 1, and what is said of it; None and "" for none."""
    deadline = start + recipe.timeout if recipe.timeout else float("inf")

    def look(_done: int, _lines: int) -> bool:
        return time.monotonic() < deadline

    with warnings.catch_warnings(record=True) as told:
        warnings.simplefilter("always", nuv.DamagedWarning)
        with nuv.open(task.source, strict=recipe.strict, page=recipe.page,
                      max_pixels=recipe.max_pixels, max_memory=recipe.max_memory) as image:
            chain = image.apply(recipe.words)
            chain.save(task.destination, progress=look, **recipe.settings)
    for warning in told:
        if issubclass(warning.category, nuv.DamagedWarning):
            return (_from_1(chain.first_damaged_line),
                    str(warning.message).removeprefix(f"{task.source}: "))
    return None, ""


def _limit_memory(most_bytes: int | None) -> None:
    """The system's own limit, for what the library does not count."""
    _, hard = resource.getrlimit(resource.RLIMIT_DATA)
    soft = most_bytes + OWN_MEMORY if most_bytes else hard
    resource.setrlimit(resource.RLIMIT_DATA, (min(soft, hard) if hard >= 0 else soft, hard))


def _read_requests(requests: queue.SimpleQueue[list[Any]]) -> None:
    for line in sys.stdin.buffer:
        requests.put(json.loads(line))
    os._exit(0)  # the worker has ended, or needs this no more


def serve() -> None:
    answers = os.fdopen(os.dup(1), "w")
    os.dup2(2, 1)  # whoever prints
    requests: queue.SimpleQueue[list[Any]] = queue.SimpleQueue()
    threading.Thread(target=_read_requests, args=(requests,), daemon=True).start()
    print("true", file=answers, flush=True)
    while True:
        try:
            request = requests.get(timeout=IDLE_SECONDS)
        except queue.Empty:
            os._exit(0)  # the end of the interpreter would wait for the thread that reads, and abort
        recipe, folder, task = request
        outcome = work(Recipe(**recipe), folder, Task(*task))
        print(json.dumps(outcome), file=answers, flush=True)


if __name__ == "__main__":
    serve()
