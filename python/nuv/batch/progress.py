"""How far a run is, and a line on a terminal that tells it."""
from __future__ import annotations

import time
from dataclasses import dataclass, field
from typing import TextIO

from .records import Record


@dataclass
class Progress:
    """Counts of pictures, and bytes of sources."""

    pictures: int
    bytes: int
    settled: int = 0  # there was nothing to do
    written: int = 0  # with those that were mended
    mended: int = 0
    failed: int = 0
    bytes_done: int = 0
    start: float = field(default_factory=time.monotonic)

    def count(self, record: Record, source_bytes: int) -> None:
        self.bytes_done += source_bytes
        self.written += record.is_written
        self.mended += record.status == "mended"
        self.failed += not record.is_written

    @property
    def done(self) -> int:
        return self.settled + self.written + self.failed

    @property
    def seconds(self) -> float:
        return time.monotonic() - self.start

    def __str__(self) -> str:
        words = [f"{self.done} of {self.pictures}", f"{self.bytes_done / 1e6:.0f} MB"]
        if self.bytes_done and self.seconds > 1:
            rate = self.bytes_done / self.seconds
            words += [f"{rate / 1e6:.1f} MB/s", f"{_clock((self.bytes - self.bytes_done) / rate)} left"]
        if self.failed:
            words.append(f"{self.failed} failed")
        return ", ".join(words)


def _clock(seconds: float) -> str:
    minutes, second = divmod(round(seconds), 60)
    hours, minute = divmod(minutes, 60)
    return f"{hours}:{minute:02}:{second:02}" if hours else f"{minute}:{second:02}"


class Bar:
    """A line that stays the last one of a terminal."""

    CELLS = 24
    APART = 0.1  # seconds between two

    def __init__(self, terminal: TextIO | None) -> None:
        self._terminal = terminal
        self._next = 0.0

    def draw(self, progress: Progress) -> None:
        now = time.monotonic()
        if self._terminal is None or now < self._next:
            return
        self._next = now + self.APART
        full = self.CELLS * progress.done // max(progress.pictures, 1)
        bar = "#" * full + "." * (self.CELLS - full)
        self._terminal.write(f"\r[{bar}] {progress}\x1b[K")
        self._terminal.flush()

    def wipe(self) -> None:
        if self._terminal is not None:
            self._terminal.write("\r\x1b[K")
            self._terminal.flush()
            self._next = 0.0
