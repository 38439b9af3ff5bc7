"""The scheduler's side of a run: chunks go out, records come in."""
from __future__ import annotations

import contextlib
import importlib
import os
import queue
import time
import uuid
from collections import deque
from collections.abc import Generator, Iterator
from dataclasses import dataclass
from typing import Any

from . import processes
from .jobs import Recipe, Task
from .records import Record

CHUNKS_AHEAD = 2  # for each thread of a worker: one it is at, and one that waits there
MOST_TRIES = 4
LOOK_SECONDS = 1.0
GATHER_SECONDS = 60


class Lost(RuntimeError):
    """The cluster is gone, or does not serve; what was recorded stands."""


@contextlib.contextmanager
def connected(scheduler: Any, threads: int | None) -> Iterator[Any]:
    """A distributed.Client: of an address, of a scheduler's file, of a cluster, a client as it is,
    or, for None, of this process with so many threads. What was made for it ends with it."""
    distributed: Any = importlib.import_module("distributed")
    with contextlib.ExitStack() as stack:
        if isinstance(scheduler, distributed.Client):
            yield scheduler
            return
        if scheduler is None:
            # Threads will do: pictures have processes of their own. Servers of pages about it are
            # always there, and would listen to everybody; and the memory of a worker is that of the
            # whole program here, which is not for it to judge.
            scheduler = stack.enter_context(distributed.LocalCluster(
                n_workers=1, threads_per_worker=threads or len(os.sched_getaffinity(0)),
                processes=False, memory_limit=0, dashboard_address="127.0.0.1:0",
                worker_dashboard_address="127.0.0.1:0", scheduler_kwargs={"dashboard": False}))
        is_file = isinstance(scheduler, str) and os.path.isfile(scheduler)
        where = {"scheduler_file" if is_file else "address": scheduler}
        try:
            client = distributed.Client(**where, set_as_default=False)
        except (OSError, ValueError) as error:
            raise Lost(f"no scheduler at {scheduler}: {error}") from None
        stack.callback(client.close, timeout=5)
        yield client


def _work_on(tasks: list[Task],
             orders: processes.Orders) -> tuple[str, list[processes.Outcome]]:
    """On a worker, whose name comes with the outcomes."""
    distributed: Any = importlib.import_module("distributed")
    return distributed.get_worker().address, processes.work_on(tasks, orders)


@dataclass
class _Chunk:
    tasks: list[Task]
    tries: int = 0
    workers: frozenset[str] = frozenset()  # where it may run; empty for anywhere
    future: Any = None


class Run:
    """Works at chunks on a cluster.

    A chunk whose worker ends is done again elsewhere. When too many ended over it, its halves go
    on, down to the picture that it is; that one's record is "lost". A worker that has no room for
    results is given no more, as long as there is another one, which then does the picture.
    """

    def __init__(self, client: Any, recipe: Recipe, chunks: Iterator[list[Task]],
                 patience: float) -> None:
        self._client = client
        self._orders = processes.Orders(recipe, os.getcwd(), uuid.uuid4().hex)
        self._fresh = chunks
        self._again: deque[_Chunk] = deque()
        self._flying: dict[str, _Chunk] = {}
        self._ended: queue.SimpleQueue[str] = queue.SimpleQueue()
        self._threads: dict[str, int] = {}  # of each worker
        self._full: set[str] = set()  # workers without room
        self._patience = patience
        self._looked = self._served = float("-inf")

    def records(self) -> Generator[list[Record], None, None]:
        """Those of each chunk as it ends, exactly one for each task. Lost when there is no cluster
        any more, or no worker for as long as patience lasts."""
        self._served = time.monotonic()
        try:
            while True:
                self._look()
                self._send()
                if not self._flying:
                    return
                with contextlib.suppress(queue.Empty):
                    records = self._receive(self._ended.get(timeout=LOOK_SECONDS))
                    if records:
                        yield records
        finally:
            self._stop()

    def _look(self) -> None:
        """At the scheduler and at who works for it, now and then."""
        now = time.monotonic()
        if now - self._looked < LOOK_SECONDS:
            return
        self._looked = now
        with self._asking():
            if self._client.status != "running":
                raise OSError("the connection has ended")
            self._threads = self._client.nthreads()
        if self._threads:
            self._served = now
        elif now - self._served > self._patience:
            raise Lost(f"there was no worker for {self._patience:g} seconds")
        for key, chunk in list(self._flying.items()):
            if chunk.workers and chunk.workers.isdisjoint(self._threads):
                del self._flying[key]
                self._client.cancel([chunk.future])
                self._again.append(chunk)

    @contextlib.contextmanager
    def _asking(self) -> Iterator[None]:
        """The scheduler for something; what a client throws then has many classes."""
        try:
            yield
        except Exception as error:
            self._flying.clear()  # there is nobody to tell that it is wanted no more
            raise Lost(f"the scheduler is gone: {error}") from None

    def _send(self) -> None:
        most = CHUNKS_AHEAD * max(sum(self._threads.values()), 1)
        while len(self._flying) < most:
            if self._again:
                chunk = self._again.popleft()
            elif tasks := next(self._fresh, None):
                chunk = _Chunk(tasks)
            else:
                return
            chunk.workers = frozenset(self._threads.keys() - self._full if self._full else ())
            with self._asking():
                chunk.future = self._client.submit(
                    _work_on, chunk.tasks, self._orders, pure=False,
                    key=f"nuv-batch-{uuid.uuid4().hex}", workers=sorted(chunk.workers) or None)
            self._flying[chunk.future.key] = chunk
            chunk.future.add_done_callback(lambda future: self._ended.put(future.key))

    def _receive(self, key: str) -> list[Record]:
        chunk = self._flying.pop(key, None)
        if chunk is None:  # it was cancelled
            return []
        killed: Any = importlib.import_module("distributed").KilledWorker
        try:
            worker, outcomes = chunk.future.result(timeout=GATHER_SECONDS)
        except killed:
            return self._split(chunk)
        except Exception as error:
            self._looked = float("-inf")  # it may be the scheduler
            chunk.tries += 1
            if chunk.tries == MOST_TRIES:
                raise Lost(f"a chunk has failed {MOST_TRIES} times: {error!r}") from error
            self._again.append(chunk)
            return []
        refused = [outcome for outcome in outcomes if outcome.is_full]
        if refused:
            self._full.add(worker)
            if chunk.tries + 1 < MOST_TRIES and self._threads.keys() - self._full:
                names = {outcome.record.destination for outcome in refused}
                tasks = [task for task in chunk.tasks if task.destination in names]
                self._again.append(_Chunk(tasks, chunk.tries + 1))
                outcomes = [outcome for outcome in outcomes if not outcome.is_full]
        return [outcome.record for outcome in outcomes]

    def _split(self, chunk: _Chunk) -> list[Record]:
        if len(chunk.tasks) > 1:
            middle = len(chunk.tasks) // 2
            self._again.extend((_Chunk(chunk.tasks[:middle]), _Chunk(chunk.tasks[middle:])))
            return []
        task = chunk.tasks[0]
        return [Record(task.source, task.destination, "lost", recipe=self._orders.recipe.digest,
                       message="Every worker that was given it has ended.")]

    def _stop(self) -> None:
        """Of what still runs: when a caller has had enough."""
        if not self._flying:
            return
        with contextlib.suppress(Exception):
            self._client.cancel([chunk.future for chunk in self._flying.values()])
            self._client.run(processes.cancel, self._orders.run)
        self._flying.clear()
