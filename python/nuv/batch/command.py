"""The command line: python3 -m nuv.batch"""
from __future__ import annotations

import argparse
import logging
import math
import os
import signal
import sys
from collections.abc import Sequence
from typing import NoReturn

from . import run
from .cluster import Lost
from .jobs import Recipe, UsageError, find_sources, read_list
from .progress import Bar, Progress
from .records import Record

# As the tool has them.
DONE, FAILED, MENDED, USAGE = 0, 1, 2, 64

EPILOG = """\
The destination: %s stands for the name of the source without its ending, %d for its folder, %n for
its number, %% for a percent sign. Its ending tells what is written. Each result takes its place when
it is whole. `nuv help words` tells the words of a chain.

Exit status: 0 all went well; 1 a picture failed, or the cluster did; 2 none failed, but damage in one
was mended; 64 the command line means nothing, and nothing was done.

Examples:
  python3 -m nuv.batch 'in/*.jpg' -o 'out/%s.jpg' -c 'auto-orient max=1600' --quality 85
  python3 -m nuv.batch --list names.txt -o '%d/%s.pgm' -c 'color=gray' --record run.csv
  python3 -m nuv.batch --list names.txt -o '%d/%s.pgm' -c 'color=gray' --record run.csv --resume
  python3 -m nuv.batch 'in/**/*.tif' -o 'out/%n.jpg' --scheduler tcp://head:8786 --record run.jsonl
"""


class _Parser(argparse.ArgumentParser):
    def error(self, message: str) -> NoReturn:
        raise UsageError(message)


def _amount(thousand: int) -> type:
    """A type of argparse for a number with k, M or G behind it."""
    class Amount(int):
        def __new__(cls, text: str) -> Amount:
            power = "kMG".find(text[-1:]) + 1
            digits = text[:-1] if power else text
            if not (digits.isascii() and digits.isdigit()):
                raise ValueError(text)
            return super().__new__(cls, int(digits) * thousand ** power)

    Amount.__name__ = "number, as 50M"
    return Amount


def _count(text: str) -> int:
    if not (text.isascii() and text.isdigit()) or int(text) == 0:
        raise ValueError(text)
    return int(text)


_count.__name__ = "number from 1"


def _seconds(text: str) -> float:
    value = float(text)
    if not 0 <= value < math.inf:
        raise ValueError(text)
    return value


_seconds.__name__ = "number of seconds"


def _parser() -> argparse.ArgumentParser:
    parser = _Parser(prog="python3 -m nuv.batch", epilog=EPILOG, allow_abbrev=False,
                     formatter_class=argparse.RawDescriptionHelpFormatter,
                     description="Does the same with many pictures, on all processors of this "
                                 "machine or on a cluster of dask.distributed.")
    parser.add_argument("sources", nargs="*", metavar="SRC",
                        help="a picture, or a pattern of names; ** stands for folders at any depth")
    parser.add_argument("--list", metavar="FILE",
                        help="a text file with a picture on each line; - is standard input")
    parser.add_argument("-o", "--output", metavar="PATTERN", required=True,
                        help="where to write, see below")
    parser.add_argument("-c", "--chain", metavar="WORDS", default="",
                        help="what to do with each picture, as 'auto-orient max=1600'")

    form = parser.add_argument_group("what is written")
    form.add_argument("--write", metavar="KIND", default="",
                      help="jpeg, lossless, anymap, raw or planar; by default as the ending says")
    form.add_argument("--quality", type=int, metavar="0-100", help="of a JPEG, by default 75")
    form.add_argument("--sampling", metavar="444|422|420|411", help="of a JPEG, by default 422")
    form.add_argument("--optimise", action="store_true",
                      help="make the Huffman table of a lossless JPEG for the picture")
    form.add_argument("--page", type=_amount(1000), default=0, metavar="N",
                      help="which picture of a file of several, from 0")
    form.add_argument("--strict", action="store_true",
                      help="refuse damaged pictures in place of mending them")

    limits = parser.add_argument_group("what a picture may take; 0 for no limit")
    limits.add_argument("--max-pixels", type=_amount(1000), default=1 << 28, metavar="N[k|M|G]",
                        help="pixels, by default 268435456")
    limits.add_argument("--max-memory", type=_amount(1024), default=1 << 30, metavar="N[k|M|G]",
                        help="bytes of memory, by default 1G")
    limits.add_argument("--timeout", type=_seconds, default=300, metavar="SECONDS",
                        help="time, by default 300")

    records = parser.add_argument_group("what became of each picture")
    records.add_argument("--record", metavar="FILE", help="a line for each picture: .csv or .jsonl")
    records.add_argument("--resume", action="store_true",
                         help="go on with the record: do what has failed, is missing, or is older "
                              "than its source")
    records.add_argument("-f", "--force", action="store_true",
                         help="begin the record anew if there is one")
    records.add_argument("-q", "--quiet", action="store_true", help="tell of failures alone")
    records.add_argument("--progress", action="store_true",
                         help="tell how far the work is, though this is no terminal")

    where = parser.add_argument_group("where it runs")
    where.add_argument("--scheduler", metavar="ADDRESS",
                       help="of a cluster, as tcp://head:8786, or the file of its scheduler; by "
                            "default this machine")
    where.add_argument("-j", "--jobs", type=_count, metavar="N",
                       help="how many pictures are worked at side by side on this machine, by "
                            "default one on each processor")
    where.add_argument("--chunk", type=_amount(1024), metavar="N[k|M|G]",
                       help="bytes of pictures that a worker is given at once, by default up to 64M")
    where.add_argument("--wait", type=_seconds, default=600, metavar="SECONDS",
                       help="how long to wait while there is no worker at all, by default 600")
    return parser


def _escaped(text: str) -> str:
    """As it may go to a terminal; bytes that are no UTF-8 as \\xff."""
    def shown(letter: str) -> str:
        if letter.isprintable() and letter != "\\":
            return letter
        if "\udc80" <= letter <= "\udcff":
            return f"\\x{ord(letter) & 0xff:02x}"
        return letter.encode("unicode_escape").decode()

    return "".join(map(shown, text))


def _report(text: str) -> None:
    print(f"nuv.batch: {_escaped(text)}", file=sys.stderr)


def _sources(arguments: argparse.Namespace) -> list[str]:
    sources = find_sources(arguments.sources)
    if arguments.list == "-":
        sources += read_list(sys.stdin.buffer)
    elif arguments.list is not None:
        with open(arguments.list, "rb") as lines:
            sources += read_list(lines)
    return sources


def _recipe(arguments: argparse.Namespace) -> Recipe:
    return Recipe(arguments.chain, arguments.write, arguments.quality, arguments.sampling,
                  arguments.optimise, int(arguments.page), arguments.strict,
                  int(arguments.max_pixels) or None, int(arguments.max_memory) or None,
                  arguments.timeout or None)


def _run(arguments: argparse.Namespace, bar: Bar) -> Progress:
    def told(progress: Progress, records: Sequence[Record]) -> None:
        for record in records:
            if record.status == "mended" and arguments.quiet or record.status == "done":
                continue
            bar.wipe()
            _report(f"{record.source}: {record.message}")
        bar.draw(progress)

    try:
        return run(_sources(arguments), arguments.output, _recipe(arguments),
                   record=arguments.record, resume=arguments.resume, force=arguments.force,
                   scheduler=arguments.scheduler, processes=arguments.jobs,
                   chunk_bytes=arguments.chunk, patience=arguments.wait, told=told)
    finally:
        bar.wipe()


def _summed_up(end: Progress) -> str:
    return (f"{end.written} written, " + (f"{end.mended} of them mended, " if end.mended else "") +
            f"{end.failed} failed" +
            (f", {end.settled} were there already" if end.settled else ""))


def main(words: Sequence[str] | None = None) -> int:
    """Answers the exit status."""
    # What it tells, with pages of where in itself, is in the one line that Lost has.
    logging.getLogger("distributed.client").disabled = True
    try:
        arguments = _parser().parse_args(words)
        wants_bar = arguments.progress or sys.stderr.isatty() and not arguments.quiet
        end = _run(arguments, Bar(sys.stderr if wants_bar else None))
    except UsageError as error:
        _report(str(error))
        return USAGE
    except (Lost, OSError, ModuleNotFoundError) as error:
        _report(str(error))
        return FAILED
    except KeyboardInterrupt:
        # Ends at once, and by the signal, as the caller's shell wants to see it.
        signal.signal(signal.SIGINT, signal.SIG_DFL)
        os.kill(os.getpid(), signal.SIGINT)
        raise
    if not arguments.quiet:
        _report(_summed_up(end))
    if end.failed:
        return FAILED
    return MENDED if end.mended else DONE
