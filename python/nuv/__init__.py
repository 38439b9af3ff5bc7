"""Pictures too large to hold.

A chain is built by calls and runs once, at jpeg(), save(), array() or lines(). It holds some lines of
the picture at a time, lets other threads run meanwhile, and ends at Ctrl-C.

    import nuv

    nuv.open("photo.jpg").upright().fit(256, 256).save("small.jpg", quality=85)
"""

from ._nuv import (Image, __version__, build_info, check_output,  # noqa: A004
                   check_words, from_array, info, open, thumbnail)
from ._types import (Axis, CallError, Cancelled, Color, DamagedError, DamagedWarning, Error, Info,
                     InvalidError, LimitError, SampleType, Scaling, Unit, UnknownKindError,
                     UnsupportedError)

__all__ = [
    "Axis", "CallError", "Cancelled", "Color", "DamagedError", "DamagedWarning", "Error", "Image",
    "Info", "InvalidError", "LimitError", "SampleType", "Scaling", "Unit", "UnknownKindError",
    "UnsupportedError", "__version__", "build_info", "check_output", "check_words", "from_array",
    "info", "open", "thumbnail",
]
