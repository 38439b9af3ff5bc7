#!/usr/bin/env python3
"""Encodes one picture with nuv and with cjpeg, in turns, and compares their processor time.

usage: compare_peers.py BUILD_DIRECTORY [--rounds N] [--runs N] [--size WIDTH HEIGHT]

The build directory holds tools/nuv/nuv and benchmarks/nuv_make_photo. A round runs each program
`runs` times; the figure of a pair is the ratio of the two user times, and the median over all
rounds is printed beside the medians of the times themselves. Taking turns cancels what else the
machine does. Needs nothing but the standard library; a ratio below 1 means that nuv is faster.
"""

import argparse
import os
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile

CASES = [
    # name, nuv's sampling, cjpeg's
    ("encode 4:2:0", "420", "2x2"),
    ("encode 4:2:2", "422", "2x1"),
    ("encode 4:4:4", "444", "1x1"),
]


def user_seconds(command, runs):
    before = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime
    for _ in range(runs):
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    return (resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime - before) / runs


def instructions(command):
    """Instructions in all, by callgrind; None without it."""
    if shutil.which("valgrind") is None:
        return None
    run = subprocess.run(
        ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"] + command,
        capture_output=True, text=True, check=False)
    for line in run.stderr.splitlines():
        if "Collected :" in line:
            return int(line.rsplit(":", 1)[1].split()[0])
    return None


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("build")
    parser.add_argument("--rounds", type=int, default=9)
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--size", type=int, nargs=2, default=(6000, 4000))
    arguments = parser.parse_args()

    nuv = os.path.join(arguments.build, "tools", "nuv", "nuv")
    make_photo = os.path.join(arguments.build, "benchmarks", "nuv_make_photo")
    for program in (nuv, make_photo, "cjpeg"):
        if shutil.which(program) is None:
            sys.exit(f"compare_peers.py: {program} is missing")

    with tempfile.TemporaryDirectory() as work:
        photo = os.path.join(work, "photo.ppm")
        small = os.path.join(work, "small.ppm")
        ours = os.path.join(work, "ours.jpg")
        theirs = os.path.join(work, "theirs.jpg")
        subprocess.run([make_photo, *map(str, arguments.size), photo], check=True)
        subprocess.run([make_photo, "1200", "800", small], check=True)

        def commands(picture, sampling, factors):
            return (
                [nuv, "convert", picture, ours, "--quality", "75", "--sampling", sampling],
                ["cjpeg", "-quality", "75", "-sample", factors, "-dct", "int",
                 "-outfile", theirs, picture],
            )

        print(f"{'':14}{'nuv s':>9}{'cjpeg s':>9}{'ratio':>8}{'instructions per pixel':>26}")
        for name, sampling, factors in CASES:
            pair = commands(photo, sampling, factors)
            times = [(user_seconds(pair[0], arguments.runs), user_seconds(pair[1], arguments.runs))
                     for _ in range(arguments.rounds)]
            ratio = statistics.median(a / b for a, b in times if b > 0)
            counted = [instructions(command) for command in commands(small, sampling, factors)]
            per_pixel = ["-" if n is None else f"{n / (1200 * 800):.1f}" for n in counted]
            print(f"{name:14}{statistics.median(a for a, _ in times):9.3f}"
                  f"{statistics.median(b for _, b in times):9.3f}{ratio:8.3f}"
                  f"{' / '.join(per_pixel):>26}")


if __name__ == "__main__":
    main()
