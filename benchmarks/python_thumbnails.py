#!/usr/bin/python3
"""Thumbnails of photographs from Python, beside Pillow and libvips.

    PYTHONPATH=build/release/python benchmarks/python_thumbnails.py MAKER [--pictures 200] [--rounds 3]

MAKER is build/bench/benchmarks/nuv_make_photo. Each picture, a JPEG file of about 12 megapixels,
4:2:0, becomes a JPEG of 256 x 192 pixels in memory. Two jobs: every pixel decoded, and reduced
decoding, which each of the three has. The peers take turns in each round, on one thread; what counts
is the processor time in user mode. Prints the median of a picture, and of the ratios of the rounds.

libvips is called by ctypes, for Debian has no package of its binding: less stands before it than
with one. It needs libvips42, python3-pil and cjpeg.
"""

import argparse
import ctypes
import io
import os
import resource
import statistics
import subprocess
import tempfile

os.environ["VIPS_CONCURRENCY"] = "1"

import nuv
from PIL import Image

SIZES = ((4000, 3000), (4032, 3024), (4096, 3072), (3968, 2976))
BOX = 256
QUALITY = 85
AIMS = {"every pixel": {"vips": 0.6, "Pillow": 0.3}, "reduced": {"vips": 1.0, "Pillow": 1.0}}


class Vips:
    """As much of libvips as a thumbnail takes."""

    def __init__(self):
        self.library = ctypes.CDLL("libvips.so.42")
        self.free = ctypes.CDLL("libgobject-2.0.so.0").g_object_unref
        self.free_bytes = ctypes.CDLL("libglib-2.0.so.0").g_free
        if self.library.vips_init(b"nuv"):
            raise SystemExit("libvips does not start")
        self.library.vips_cache_set_max(0)  # the same files come again

    def call(self, name, *arguments):
        if getattr(self.library, name)(*arguments, None) != 0:
            raise SystemExit(ctypes.string_at(self.library.vips_error_buffer()).decode())

    def saved(self, image):
        data, count = ctypes.c_void_p(), ctypes.c_size_t()
        self.call("vips_jpegsave_buffer", image, ctypes.byref(data), ctypes.byref(count), b"Q",
                  QUALITY)
        made = ctypes.string_at(data, count.value)
        self.free_bytes(data)
        self.free(image)
        return made

    def whole(self, path):
        image, small = ctypes.c_void_p(), ctypes.c_void_p()
        sequential = 1
        self.call("vips_jpegload", path.encode(), ctypes.byref(image), b"access", sequential)
        self.call("vips_thumbnail_image", image, ctypes.byref(small), BOX, b"height", BOX)
        made = self.saved(small)
        self.free(image)
        return made

    def reduced(self, path):
        small = ctypes.c_void_p()
        self.call("vips_thumbnail", path.encode(), ctypes.byref(small), BOX, b"height", BOX)
        return self.saved(small)


def by_pillow(path, **how):
    with Image.open(path) as image:
        image.thumbnail((BOX, BOX), Image.Resampling.LANCZOS, **how)
        made = io.BytesIO()
        image.save(made, "JPEG", quality=QUALITY)
        return made.getvalue()


def jobs(vips):
    return {
        "every pixel": {
            "nuv": lambda path: nuv.thumbnail(path, BOX).jpeg(QUALITY, "420"),
            "vips": vips.whole,
            "Pillow": lambda path: by_pillow(path, reducing_gap=None),
        },
        "reduced": {
            "nuv": lambda path: nuv.thumbnail(path, BOX, fast=True).jpeg(QUALITY, "420"),
            "vips": vips.reduced,
            "Pillow": by_pillow,
        },
    }


def photographs(maker, folder):
    paths = []
    for width, height in SIZES:
        photo = os.path.join(folder, f"{width}.ppm")
        paths.append(os.path.join(folder, f"{width}.jpg"))
        subprocess.run([maker, str(width), str(height), photo], check=True)
        subprocess.run(["cjpeg", "-quality", "85", "-outfile", paths[-1], photo], check=True)
        os.remove(photo)
    return paths


def user_seconds(call, paths, count):
    start = resource.getrusage(resource.RUSAGE_SELF).ru_utime
    for i in range(count):
        call(paths[i % len(paths)])
    return resource.getrusage(resource.RUSAGE_SELF).ru_utime - start


def measure(title, peers, paths, arguments):
    for name, call in peers.items():  # not the first time; and the same kind of result
        size = Image.open(io.BytesIO(call(paths[0]))).size
        assert size == (BOX, BOX * 3 // 4), (name, size)
    rounds = [{name: user_seconds(call, paths, arguments.pictures)
               for name, call in peers.items()} for _ in range(arguments.rounds)]
    for name in peers:
        milliseconds = 1000 * statistics.median(r[name] for r in rounds) / arguments.pictures
        line = f"{title}, {name}: {milliseconds:.1f} ms"
        if name != "nuv":
            ratio = statistics.median(r["nuv"] / r[name] for r in rounds)
            line += f"; nuv takes {ratio:.2f} of it (aim {AIMS[title][name]})"
        print(line)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("maker")
    parser.add_argument("--pictures", type=int, default=200)
    parser.add_argument("--rounds", type=int, default=3)
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        paths = photographs(arguments.maker, folder)
        for title, peers in jobs(Vips()).items():
            measure(title, peers, paths, arguments)


if __name__ == "__main__":
    main()
