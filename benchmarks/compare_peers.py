#!/usr/bin/env python3
"""Does the same jobs with nuv and with other programs, in turns, and compares their processor time.

The build directory is one of the preset "bench". A job is whole programs with all that they read
and write, without threads, on files that lie in memory where /dev/shm is. A round runs nuv, its
peers and a copy, which is nuv on the same picture without the operation. "ratio" is nuv's user time
over the peer's, "both" the same with the time that the system spent for them, each the median over
all rounds: below 1, nuv is faster. Taking turns cancels what else the machine does.

The group "start" is of another kind: what programs take that have nothing to do, the median of many
short runs, in milliseconds and in page faults.

With --instructions nothing is timed: callgrind counts the instructions for two small sizes, and
their difference, which has no start of a program in it, is shown for each pixel.

A peer that is not installed is left out, and a line says so.
"""

import argparse
import filecmp
import os
import shutil
import statistics
import subprocess
import sys
import tempfile

from peers import bitmapcases, geometrycases, jpegcases, pngcases, tiffcases
from peers.measure import Command, count_instructions, median_ratio, start, take_turns
from peers.pictures import Pictures

GROUPS = {
    "encode": jpegcases.encode,
    "decode": jpegcases.decode,
    "lossless": jpegcases.lossless,
    "bitmaps": bitmapcases.bitmaps,
    "png": pngcases.png,
    "scale": geometrycases.scale,
    "rotate": geometrycases.rotate,
    "tiff": tiffcases.tiff,
    "fax": tiffcases.fax,
}
NEEDED = {  # what a group cannot make its files without
    "decode": ("cjpeg",),
    "lossless": ("dump2dcm", "dcmcjpeg"),
    "bitmaps": ("ppmtobmp",),
    "png": ("pnmtopng",),
    "fax": ("pnmtotiff",),
}
SMALL_SIZES = ((600, 400), (1200, 800))
STARTS_PER_ROUND = 200


def present(case):
    """The peers of a case that are installed; says which are not."""
    for peer in case.peers:
        if peer.is_missing():
            print(f"{case.name}: {peer.words[0]} is not installed, left out")
    return [peer for peer in case.peers if not peer.is_missing()]


def check_equal(case):
    if case.equal and not filecmp.cmp(*case.equal, shallow=False):
        sys.exit(f"compare_peers.py: {case.name}: the results differ")


def milliseconds(times, field):
    return 1000 * statistics.median(getattr(t, field) for t in times)


def ratio(ours, theirs, field):
    return median_ratio([getattr(t, field) for t in ours], [getattr(t, field) for t in theirs])


def compare_times(case, rounds):
    peers = present(case)
    floors = [case.floor] if case.floor else []
    copies = [case.copy] if case.copy else []
    times = take_turns([case.ours, *peers, *floors, *copies], rounds)
    if peers:
        check_equal(case)
    ours = times[0]
    head = (f"{case.name:28}{milliseconds(ours, 'user'):8.0f}{milliseconds(ours, 'system'):7.0f}"
            f"{case.pixels / milliseconds(ours, 'both') / 1000:7.0f}")
    if copies:
        head += f"{100 * ratio(times[-1], ours, 'both'):6.0f} %"
    for peer, theirs in zip([*peers, *floors], times[1:]):
        tail = "" if peer is case.floor else (
            f"{ratio(ours, theirs, 'user'):7.2f}{ratio(ours, theirs, 'both'):7.2f}"
            f"{case.aim or '':7}")
        print(f"{head:60}{peer.name:20}{milliseconds(theirs, 'user'):7.0f}"
              f"{milliseconds(theirs, 'system'):7.0f}{tail}", flush=True)
        head = ""


def time_group(cases, rounds):
    print(f"{'':28}{'nuv user':>8}{'system':>7}{'MP/s':>7}{'of copy':>8}  {'peer':20}{'user':>7}"
          f"{'system':>7}{'ratio':>7}{'both':>7}{'aim':>7}")
    for case in cases:
        compare_times(case, rounds)


def count_group(cases_by_size):
    print(f"{'instructions a pixel':28}{'nuv':>8}  peers")
    for small, large in zip(*cases_by_size):
        pixels = large.pixels - small.pixels
        names = [case.name for case in [small.ours, *present(small)]]
        pairs = zip([small.ours, *small.peers], [large.ours, *large.peers])
        counts = [(count_instructions(b) - count_instructions(a)) / pixels
                  for a, b in pairs if not a.is_missing()]
        texts = [f"{name} {count:.1f}" for name, count in zip(names[1:], counts[1:])]
        print(f"{small.name:28}{counts[0]:8.1f}  {', '.join(texts)}", flush=True)


def compare_starts(nuv, rounds):
    programs = [Command("nuv --version", (nuv, "--version")),
                Command("djpeg -version", ("djpeg", "-version")), Command("true", ("true",))]
    programs = [program for program in programs if not program.is_missing()]
    runs = [[start(program) for program in programs] for _ in range(STARTS_PER_ROUND * rounds)]
    print(f"{'start of a program':28}{'ms':>8}{'faults':>8}{'ratio':>7}")
    for i, program in enumerate(programs):
        times = [run[i][0] for run in runs]
        ratio_text = f"{median_ratio([run[0][0] for run in runs], times):7.2f}" if i != 0 else ""
        faults = statistics.median(run[i][1] for run in runs)
        print(f"{program.name:28}{statistics.median(times):8.2f}{faults:8.0f}{ratio_text}")


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", help="build directory")
    parser.add_argument("--only", nargs="+", choices=[*GROUPS, "start"],
                        default=[*GROUPS, "start"])
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--size", type=int, nargs=2, default=(6000, 4000))
    parser.add_argument("--instructions", action="store_true")
    parser.add_argument("--folder", default="/dev/shm" if os.path.isdir("/dev/shm") else None,
                        help="where the files lie while the programs run")
    return parser.parse_args()


def main():
    arguments = parse_arguments()
    sizes = SMALL_SIZES if arguments.instructions else [arguments.size]
    with tempfile.TemporaryDirectory(dir=arguments.folder) as work:
        os.environ["MAGICK_TMPDIR"] = os.environ["TMPDIR"] = work
        pictures = [Pictures(arguments.build, work, *size) for size in sizes]
        makers = [] if arguments.only == ["start"] else [pictures[0].make_photo]
        for program in (pictures[0].nuv, *makers):
            if shutil.which(program) is None:
                sys.exit(f"compare_peers.py: {program} is missing")
        for name in arguments.only:
            if name == "start":
                compare_starts(pictures[0].nuv, arguments.rounds)
                continue
            missing = [p for p in NEEDED.get(name, ()) if shutil.which(p) is None]
            if missing:
                print(f"{name}: {' and '.join(missing)} not installed, left out")
                continue
            groups = [GROUPS[name](files) for files in pictures]
            try:
                if arguments.instructions:
                    count_group(groups)
                else:
                    time_group(groups[0], arguments.rounds)
            except subprocess.CalledProcessError as error:
                sys.exit(f"compare_peers.py: {error}")


if __name__ == "__main__":
    main()
