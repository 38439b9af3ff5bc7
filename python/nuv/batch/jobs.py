"""What is to be done: a recipe, the pictures it is for, and where each result goes."""
from __future__ import annotations

import glob
import hashlib
import os
import shlex
from collections.abc import Iterable, Iterator, Sequence
from dataclasses import dataclass
from typing import Any, NamedTuple

PICTURE_OVERHEAD = 16 << 10  # bytes that opening and ending a picture count for in a chunk
LARGEST_CHUNK = 64 << 20
CHUNKS_PER_PROCESS = 8  # at least, so that all of them end at about the same time


class UsageError(ValueError):
    """A job that means nothing, found out before the first picture."""


@dataclass(frozen=True)
class Recipe:
    """What is done with a picture, whichever it is.

    `chain` holds the tool's words, as "auto-orient max=1600". `write` is a kind of file by the name
    that the tool has for it; empty: by the ending of the destination. Limits are those of one
    picture: `max_pixels` of any picture in the chain, `max_memory` bytes that it takes at once;
    `timeout` seconds. None stands for no limit.
    """

    chain: str = ""
    write: str = ""
    quality: int | None = None
    sampling: str | None = None
    optimise: bool = False
    page: int = 0
    strict: bool = False
    max_pixels: int | None = 1 << 28
    max_memory: int | None = 1 << 30
    timeout: float | None = 300

    @property
    def words(self) -> list[str]:
        try:
            return shlex.split(self.chain)
        except ValueError as error:
            raise UsageError(f"the chain {self.chain!r}: {error}") from None

    @property
    def settings(self) -> dict[str, Any]:
        """Of what is written, as Image.save() takes them."""
        return {"format": self.write, "quality": self.quality, "sampling": self.sampling,
                "optimise": self.optimise}

    @property
    def digest(self) -> str:
        """Eight digits that change with whatever changes the result."""
        parts = (self.words, self.write, self.quality, self.sampling, self.optimise, self.page,
                 self.strict)
        return hashlib.sha256(repr(parts).encode("utf-8", "surrogateescape")).hexdigest()[:8]


class Task(NamedTuple):
    """One picture on its way."""

    source: str
    destination: str
    bytes: int  # of the source; 0 where it cannot be told


def find_sources(patterns: Iterable[str]) -> list[str]:
    """The files that paths and patterns stand for, those of a pattern in the order of their names.

    `**` stands for any number of folders. UsageError for a pattern that nothing fits.
    """
    sources: list[str] = []
    for pattern in patterns:
        if not glob.has_magic(pattern) or os.path.lexists(pattern):
            sources.append(pattern)
            continue
        found = sorted(path for path in glob.iglob(pattern, recursive=True)
                       if not os.path.isdir(path))
        if not found:
            raise UsageError(f"{pattern}: there is no such file")
        sources += found
    return sources


def read_list(lines: Iterable[bytes]) -> list[str]:
    """The paths of a text file that has one on each line."""
    return [os.fsdecode(line.rstrip(b"\r\n")) for line in lines if line.strip()]


def expanded(pattern: str, source: str, number: int) -> str:
    """The destination of a source: %s is its name without the ending, %d its folder, %n its number
    from 1, %% a percent sign."""
    folder, name = os.path.split(source)
    parts = {"s": os.path.splitext(name)[0], "d": folder or ".", "n": str(number), "%": "%"}
    letters = iter(pattern)
    try:
        return "".join(parts[next(letters, "")] if letter == "%" else letter for letter in letters)
    except KeyError:
        raise UsageError(f"the destination {pattern!r}: % is followed by s, d, n or %") from None


def plan(sources: Iterable[str | os.PathLike[str]], destination: str) -> list[Task]:
    """One task for each source. UsageError when two would write one file, when one would write over
    a source, be it its own, and for a folder that is not there."""
    names = [os.fspath(source) for source in sources]
    for name in names:
        if "\0" in name:
            raise UsageError(f"{name!r:.60}: no file has such a name; nothing was done")
    tasks = [Task(name, expanded(destination, name, number), _size_of(name))
             for number, name in enumerate(names, 1)]
    if not tasks:
        raise UsageError("there is no picture to work at")
    _refuse_collisions(tasks)
    return tasks


def chunks_of(tasks: Iterable[Task], chunk_bytes: int) -> Iterator[list[Task]]:
    """The tasks in runs of about so many bytes; a larger picture has a chunk of its own."""
    chunk: list[Task] = []
    weight = 0
    for task in tasks:
        own = task.bytes + PICTURE_OVERHEAD
        if chunk and weight + own > chunk_bytes:
            yield chunk
            chunk, weight = [], 0
        chunk.append(task)
        weight += own
    if chunk:
        yield chunk


def good_chunk_bytes(tasks: Iterable[Task], processes: int) -> int:
    """How large chunks are when nobody asks: each process gets several."""
    weight = sum(task.bytes + PICTURE_OVERHEAD for task in tasks)
    return min(LARGEST_CHUNK, weight // (CHUNKS_PER_PROCESS * max(processes, 1)))


def _size_of(path: str) -> int:
    try:
        return os.stat(path).st_size
    except (OSError, ValueError):  # told by the picture's own record
        return 0


class _Identities:
    """What a file is called when it is called the same by all; folders are looked up once."""

    def __init__(self) -> None:
        self.folders: dict[str, str] = {}

    def of(self, path: str) -> str:
        if os.path.islink(path):
            return os.path.realpath(path)
        folder, name = os.path.split(path)
        if folder not in self.folders:
            self.folders[folder] = os.path.realpath(folder)
        return os.path.join(self.folders[folder], name)


def _refuse_collisions(tasks: Sequence[Task]) -> None:
    identities = _Identities()
    sources = {identities.of(task.source) for task in tasks}
    taken: dict[str, str] = {}
    for task in tasks:
        identity = identities.of(task.destination)
        if identity in taken:
            raise UsageError(f"{task.destination}: would be written from {taken[identity]} and "
                             f"again from {task.source}; nothing was done")
        taken[identity] = task.source
        if identity in sources:  # whoever does a task again must find what was there before
            raise UsageError(f"{task.destination}: would be written from {task.source}, but is "
                             "itself a source; nothing was done")
    for folder in identities.folders.values():
        if not os.path.isdir(folder):
            raise UsageError(f"{folder}: there is no such folder to write to; nothing was done")
