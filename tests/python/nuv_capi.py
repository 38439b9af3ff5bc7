"""The plain interface by ctypes: the other way to the same library, for tests to compare with."""

import ctypes
import os

import numpy

LIBRARY = ctypes.CDLL(os.environ["NUV_LIBNUVC"])
LIBRARY.nuv_new.restype = LIBRARY.nuv_result.restype = ctypes.c_void_p
FAILURES = {2: "CallError", 4: "LimitError", 7: "UnsupportedError"}


class Picture(ctypes.Structure):
    _fields_ = [("size", ctypes.c_size_t), ("width", ctypes.c_uint32), ("height", ctypes.c_uint32),
                ("channels", ctypes.c_uint16), ("bits", ctypes.c_uint16), ("color", ctypes.c_int32),
                ("type", ctypes.c_int32), ("palette_entries", ctypes.c_uint32)]


def passed(argument):
    """As C takes it; arrays by their address."""
    if isinstance(argument, numpy.ndarray):
        return ctypes.c_void_p(argument.ctypes.data)
    kind = ctypes.c_double if isinstance(argument, float) else ctypes.c_int64
    return argument if argument is None else kind(argument)


def result_of(samples, color, calls):
    """The bytes that the calls make of samples (bits packed, if they are bool), or the name of the
    failure. Each call is its function and its arguments behind the job."""
    lines = samples.reshape(*samples.shape[:2], -1)
    is_bits = samples.dtype == bool
    stored = numpy.ascontiguousarray(numpy.packbits(samples, axis=1) if is_bits else samples)
    picture = Picture(ctypes.sizeof(Picture), samples.shape[1], samples.shape[0], lines.shape[2],
                      1 if is_bits else 8 * samples.itemsize, color, 0, 0)
    job = ctypes.c_void_p(LIBRARY.nuv_new(None))
    try:
        LIBRARY.nuv_open_samples(job, passed(stored), ctypes.c_size_t(0), ctypes.byref(picture))
        for name, arguments in calls:
            getattr(LIBRARY, name)(job, *map(passed, arguments))
        status = LIBRARY.nuv_run_to_memory(job, None, None)
        count = ctypes.c_size_t()
        data = LIBRARY.nuv_result(job, ctypes.byref(count))
        return FAILURES[status] if status else ctypes.string_at(data, count.value)
    finally:
        LIBRARY.nuv_free(job)
