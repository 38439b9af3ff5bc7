"""What became of each picture, as a file that a later run can go on with."""
from __future__ import annotations

import contextlib
import csv
import fcntl
import io
import json
import os
from collections.abc import Iterable, Iterator, Sequence
from typing import Any, NamedTuple, TextIO

from .jobs import Task, UsageError

WRITTEN = ("done", "mended")


class Record(NamedTuple):
    """What became of a picture: a line of the file.

    `status` is "done", "mended", a failure by the name that `nuv info --json` has for it, "timeout",
    "crashed" when the process that worked at the picture ended, or "lost" when all workers did that
    were given it. `byte`, from 0, and `line`, from 1, tell where in the source, where that is known.
    `seconds` is the time that it took, `bytes` the size of the result, and `recipe` stands for what
    was done.
    """

    source: str
    destination: str
    status: str
    byte: int | None = None
    line: int | None = None
    seconds: float = 0
    bytes: int | None = None
    message: str = ""
    recipe: str = ""

    @property
    def is_written(self) -> bool:
        return self.status in WRITTEN


def is_settled(task: Task, record: Record | None, recipe: str) -> bool:
    """True when the record and the destination say that nothing is left to do: the same was done,
    the result has the size that it had then, and it is younger than the source."""
    if record is None or not record.is_written or record.recipe != recipe:
        return False
    try:
        source, result = os.stat(task.source), os.stat(task.destination)
    except OSError:
        return False
    return (record.source == task.source and result.st_size == record.bytes
            and result.st_mtime_ns > source.st_mtime_ns)


class RecordFile:
    """Records as CSV with a line of names, or as JSON Lines, by the ending of `path`.

    With `resume` the last record of each destination counts; without it and `force` the file must
    not be there. A line that is not whole, as a run that was ended leaves it, counts as none. One
    run at a time may have the file.
    """

    def __init__(self, path: str, *, resume: bool = False, force: bool = False) -> None:
        self._path = path
        self._form: _Csv | _JsonLines
        match os.path.splitext(path)[1].lower():
            case ".csv":
                self._form = _Csv()
            case ".jsonl" | ".ndjson":
                self._form = _JsonLines()
            case _:
                raise UsageError(f"{path}: a record ends in .csv or .jsonl")
        self._file = _lock(path)
        self.old: dict[str, Record] = {}
        is_empty = os.fstat(self._file.fileno()).st_size == 0
        if not (is_empty or resume or force):
            self.close()
            raise UsageError(f"{path}: is there already; --resume goes on with it, --force begins "
                             "it anew")
        if resume and not is_empty:
            self._file.seek(0)
            self.old = {record.destination: record for record in self._form.read(self._file)}
            if not self.old and not self._form.is_empty:
                self.close()
                raise UsageError(f"{path}: holds no records")

    def begin(self, tasks: Sequence[Task], recipe: str) -> list[Task]:
        """The tasks that are left to do. The records of the others stay, and the file is whole at
        any time."""
        left = [task for task in tasks
                if not is_settled(task, self.old.get(task.destination), recipe)]
        for task in left:
            self.old.pop(task.destination, None)
        beside = f"{self._path}.{os.getpid()}"
        try:
            fresh = _lock(beside)
            fresh.truncate(0)  # what a run of this number has left when it was ended
            fresh.write(self._form.head)
            fresh.writelines(map(self._form.line, self.old.values()))
            fresh.flush()
            os.fsync(fresh.fileno())
            os.replace(beside, self._path)
        except BaseException:
            with contextlib.suppress(OSError):
                os.unlink(beside)
            raise
        self._file.close()
        self._file = fresh
        self.old.clear()
        return left

    def add(self, records: Iterable[Record]) -> None:
        self._file.writelines(map(self._form.line, records))
        self._file.flush()

    def close(self) -> None:
        self._file.close()


def _lock(path: str) -> TextIO:
    while True:
        file = open(path, "a+", encoding="utf-8", errors="surrogateescape", newline="")
        try:
            fcntl.flock(file, fcntl.LOCK_EX | fcntl.LOCK_NB)
            if os.path.samestat(os.fstat(file.fileno()), os.stat(path)):
                return file
        except BlockingIOError:
            file.close()
            raise UsageError(f"{path}: another run writes it") from None
        except FileNotFoundError:  # replaced between the two
            pass
        file.close()


def _record_of(fields: dict[str, Any]) -> Record:
    """Throws ValueError, KeyError or TypeError for what is no whole record."""
    def number(text: Any) -> int | None:
        return None if text in (None, "") else int(text)

    if not isinstance(fields["recipe"], str) or not fields["recipe"]:
        raise ValueError("not whole")
    return Record(**fields)._replace(
        byte=number(fields["byte"]), line=number(fields["line"]), bytes=number(fields["bytes"]),
        seconds=float(fields["seconds"]))


class _Csv:
    head = ",".join(Record._fields) + "\r\n"
    is_empty = False

    def read(self, file: TextIO) -> Iterator[Record]:
        rows = csv.reader(file)
        names: list[str] = next(rows, [])
        self.is_empty = tuple(names) == Record._fields
        for row in rows:
            try:
                yield _record_of(dict(zip(names, row, strict=True)))
            except (ValueError, KeyError, TypeError):
                continue

    def line(self, record: Record) -> str:
        text = io.StringIO()
        csv.writer(text).writerow(record)
        return text.getvalue()


class _JsonLines:
    head = ""
    is_empty = False

    def read(self, file: TextIO) -> Iterator[Record]:
        for line in file:
            try:
                yield _record_of(json.loads(line))
            except (ValueError, KeyError, TypeError):
                continue

    def line(self, record: Record) -> str:
        return json.dumps(record._asdict()) + "\n"
