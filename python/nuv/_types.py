"""Names, records and failures of nuv."""

from __future__ import annotations

from enum import IntEnum
from typing import NamedTuple


class Color(IntEnum):
    """What the channels of a pixel mean. All values run from 0 to the largest sample."""

    OTHER = 0
    GRAY = 0x10
    """0 is black."""
    GRAY_REVERSE = 0x11
    """0 is white."""
    LSTAR = 0x12
    """Lightness of CIE L*a*b*."""
    RGB = 0x100
    """sRGB."""
    ADOBE_RGB = 0x101
    HSL = 0x102
    CMY = 0x103
    XYZ = 0x104
    """White is D50."""
    ICC_LAB = 0x105
    """CIE L*a*b* as ICC profiles store it."""
    ITU_LAB = 0x106
    """CIE L*a*b* as T.42 stores it."""
    YCBCR = 0x1000
    CMYK = 0x2000


class SampleType(IntEnum):
    UNSIGNED = 0
    SIGNED = 1
    REAL = 2


class Scaling(IntEnum):
    """From the fastest to the finest."""

    NEAREST = 0
    """The nearest pixel; any samples."""
    LINEAR = 1
    CUBIC = 2
    AREA = 3
    """The mean of the covered area."""
    FINE = 4
    """What the ratio asks for: cubic, a mask, or the area and a mask."""


class Axis(IntEnum):
    LEFT_TO_RIGHT = 0
    TOP_TO_BOTTOM = 1


class Unit(IntEnum):
    """Of a resolution."""

    NONE = 0
    INCH = 1
    CENTIMETRE = 3
    METRE = 4


class Info(NamedTuple):
    """What a stored picture is."""

    width: int
    height: int
    channels: int
    bits: int
    """Of a stored sample."""
    color: Color
    format: str
    """"jpeg", "jfif", "tiff", "pnm" ..."""
    coding: str
    """"raw", "sequential", "progressive", "lossless", "pack_bits" ..."""
    x_resolution: float
    """Pixels a unit; 0 where the source does not tell."""
    y_resolution: float
    resolution_unit: Unit
    orientation: int | None
    """1 to 8 as in TIFF 6.0."""
    sampling: str | None
    """Of a JPEG in YCbCr "444", "422", "420", "411" or "other"."""
    quality: int | None
    """Of a JPEG with losses an estimate, 0 to 100."""


class Error(Exception):
    """A failure of nuv. Failures of the system are OSError and MemoryError, with the same fields."""

    path: str | None
    """Of the source or the result."""
    byte: int | None
    """Of the file, from 0, where it is known."""
    line: int | None
    """Of the source as it is stored, from 0, where it is known."""

    def __init__(self, message: str, path: str | None = None, byte: int | None = None,
                 line: int | None = None) -> None:
        super().__init__(message)
        self.path = path
        self.byte = byte
        self.line = line

    def __str__(self) -> str:
        message = super().__str__()
        return message if self.path is None else f"{self.path}: {message}"


class CallError(Error, ValueError):
    """An argument that has no meaning, or that does not fit the picture."""


class UnknownKindError(Error, ValueError):
    """The data is no picture of a kind that is known."""


class UnsupportedError(Error, ValueError):
    """A kind, or an operation on such a picture, that is not served."""


class DamagedError(Error, ValueError):
    """The source ends early, or its data means nothing."""


class InvalidError(DamagedError):
    """The source holds values that its kind forbids."""


class LimitError(Error, ValueError):
    """A limit of the call is passed, or what the library can count."""


class Cancelled(Error):
    """The progress function has answered False."""


class DamagedWarning(UserWarning):
    """The source was damaged and is mended; an error with strict=True."""
