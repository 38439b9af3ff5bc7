"""Many pictures, on the processors of one machine or on a cluster of dask.distributed.

    from nuv import batch

    end = batch.run("in/*.jpg", "out/%s.jpg", batch.Recipe("auto-orient max=1600", quality=85),
                    record="run.csv")
    print(end.written, end.failed)

or `python3 -m nuv.batch --help`. Every worker needs nuv and sees the files under the same names.
"""
from __future__ import annotations

import contextlib
import os
from collections.abc import Callable, Iterable, Sequence
from typing import Any

import nuv

from .cluster import Lost, Run, connected
from .jobs import (Recipe, Task, UsageError, chunks_of, find_sources, good_chunk_bytes, plan,
                   read_list)
from .progress import Progress
from .records import Record, RecordFile, is_settled

__all__ = ["Lost", "Progress", "Recipe", "Record", "Task", "UsageError", "find_sources", "plan",
           "read_list", "run"]


def _check(recipe: Recipe, destinations: Sequence[str]) -> None:
    """Words and forms, before anything is done with them."""
    try:
        nuv.check_words(recipe.words)
        for destination in {os.path.splitext(path)[1]: path for path in destinations}.values():
            nuv.check_output(destination, **recipe.settings)
    except nuv.CallError as error:
        raise UsageError(str(error)) from None


def run(sources: str | Iterable[str | os.PathLike[str]], destination: str, recipe: Recipe = Recipe(), *,
        record: str | os.PathLike[str] | None = None, resume: bool = False, force: bool = False,
        scheduler: Any = None, processes: int | None = None, chunk_bytes: int | None = None,
        patience: float = 600,
        told: Callable[[Progress, Sequence[Record]], object] | None = None) -> Progress:
    """Does `recipe` with all sources, and tells how many it wrote.

    `sources` is a pattern of names, or one name after the other. `destination` is a pattern with %s
    for the name of the source without its ending, %d for its folder, %n for its number. `record` is
    a file for a line about each picture, .csv or .jsonl; with `resume` one that is there is gone on
    with, and only those pictures are done whose result is missing, older than the source, of
    another size than was recorded, or made by another recipe; `force` begins it anew.

    `scheduler` is an address, the path of a scheduler's file, a cluster or a distributed.Client; None
    runs `processes` (by default one for each processor) on this machine. Chunks have `chunk_bytes` of
    sources. `told` is called as records come.

    UsageError before anything is done; Lost when the cluster ends, or has no worker for `patience`
    seconds: what was recorded by then stands.
    """
    if resume and record is None:
        raise UsageError("--resume needs --record")
    tasks = plan(find_sources([sources]) if isinstance(sources, str) else sources, destination)
    _check(recipe, [task.destination for task in tasks])
    progress = Progress(len(tasks), sum(task.bytes for task in tasks))
    tell = told or (lambda _progress, _records: None)
    with contextlib.ExitStack() as stack:
        file = RecordFile(os.fspath(record), resume=resume, force=force) if record else None
        left = tasks
        if file:
            stack.callback(file.close)
            left = file.begin(tasks, recipe.digest)
        progress.settled = len(tasks) - len(left)
        progress.bytes = sum(task.bytes for task in left)
        tell(progress, [])
        if not left:
            return progress
        sizes = {task.destination: task.bytes for task in left}
        client = stack.enter_context(connected(scheduler, processes))
        if chunk_bytes is None:
            chunk_bytes = good_chunk_bytes(left, sum(client.nthreads().values()))
        work = Run(client, recipe, chunks_of(left, chunk_bytes), patience).records()
        # What is under way is called back before the client goes, whatever ends this.
        for records in stack.enter_context(contextlib.closing(work)):
            if file:
                file.add(records)
            for each in records:
                progress.count(each, sizes[each.destination])
            tell(progress, records)
    return progress
