#!/usr/bin/env python3
"""What a picture and a chunk cost in nuv.batch, on 1 and 2 processes, and what follows for more.

    PYTHONPATH=build/release/python benchmarks/batch_curve.py [--pictures 48] [--small 500]

Photographs are 12 megapixels, made here, as JPEG; the chain is "max=1600". Runs take turns, three of
each, and the fastest counts, because others may use the machine. What a picture and a chunk cost is
processor time: of the processes for pictures, and of this process, which is client, scheduler and
worker at once; the cost of a chunk is that of a chunk with one picture of 16 x 16 pixels less that of
such a picture in a chunk with others. For more processes than two the table is computed, and says
from what.
"""

import argparse
import contextlib
import os
import sys
import tempfile
import time

import numpy

import nuv
from nuv import batch
from nuv.batch import cluster, processes

ROUNDS = 3
CHUNK_PICTURES = 8  # photographs in a chunk, as 64 MiB hold some


def make_photographs(folder, count):
    """Clouds with some grain, which need about as many bytes as photographs do."""
    random = numpy.random.default_rng(1)
    coarse = random.integers(0, 256, (60, 80, 3), dtype=numpy.uint8)
    smooth = nuv.from_array(coarse).scale(4000, 3000, nuv.Scaling.CUBIC).array()
    grain = random.integers(0, 24, smooth.shape, dtype=numpy.uint8)
    nuv.from_array(numpy.minimum(smooth, 231) + grain).save(f"{folder}/0.jpg", quality=85)
    for number in range(1, count):
        os.link(f"{folder}/0.jpg", f"{folder}/{number}.jpg")
    return [f"{folder}/{number}.jpg" for number in range(count)]


def make_small(folder, count):
    nuv.from_array(numpy.zeros((16, 16), numpy.uint8)).save(f"{folder}/0.pgm")
    for number in range(1, count):
        os.link(f"{folder}/0.pgm", f"{folder}/{number}.pgm")
    return [f"{folder}/{number}.pgm" for number in range(count)]


class Measured:
    """Seconds of a run, and of processors in it."""

    def __init__(self, client, sources, chain, chunk_bytes):
        with tempfile.TemporaryDirectory(dir=os.path.dirname(sources[0])) as folder:
            times, start = os.times(), time.monotonic()
            end = batch.run(sources, f"{folder}/%s.jpg", batch.Recipe(chain), scheduler=client,
                            chunk_bytes=chunk_bytes)
            self.seconds = time.monotonic() - start
        while processes._idle:  # or the system has not counted them yet
            processes._idle.pop().end()
        ended = os.times()
        self.of_pictures = ended.children_user + ended.children_system - (
            times.children_user + times.children_system)
        self.of_cluster = ended.user + ended.system - (times.user + times.system)
        if end.failed:
            sys.exit("batch_curve.py: a picture has failed")


def least(runs, field):
    return min(getattr(run, field) for run in runs)


def turns(jobs):
    """The runs of each job, which is called once a round."""
    runs = [[] for _ in jobs]
    for _ in range(ROUNDS):
        for kept, job in zip(runs, jobs):
            kept.append(job())
    return runs


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--pictures", type=int, default=48)
    parser.add_argument("--small", type=int, default=500)
    arguments = parser.parse_args()
    memory = "/dev/shm" if os.path.isdir("/dev/shm") else None
    with tempfile.TemporaryDirectory(dir=memory) as folder, contextlib.ExitStack() as stack:
        os.makedirs(f"{folder}/photos")
        os.makedirs(f"{folder}/small")
        photos = make_photographs(f"{folder}/photos", arguments.pictures)
        small = make_small(f"{folder}/small", arguments.small)
        size = os.path.getsize(photos[0])
        clients = {count: stack.enter_context(cluster.connected(None, count)) for count in (1, 2)}
        one, two, alone, together = turns([
            lambda: Measured(clients[1], photos, "max=1600", CHUNK_PICTURES * (size + (16 << 10))),
            lambda: Measured(clients[2], photos, "max=1600", CHUNK_PICTURES * (size + (16 << 10))),
            lambda: Measured(clients[1], small, "", 1),
            lambda: Measured(clients[1], small, "", 1 << 20),
        ])
    show(arguments, size, one, two, alone, together)


def show(arguments, size, one, two, alone, together):
    pictures = arguments.pictures
    picture = least(one, "of_pictures") / pictures
    handing = least(together, "of_cluster") / arguments.small
    chunk = least(alone, "of_cluster") / arguments.small - handing
    print(f"a photograph: {size / 1e6:.1f} MB, {1000 * picture:.1f} ms; to hand a picture to its "
          f"process and take back what became of it: {1000 * handing:.2f} ms; a chunk: "
          f"{1000 * chunk:.1f} ms\n")
    print("processes  pictures/s  MB/s read  of the first")
    rates = [pictures / least(runs, "seconds") for runs in (one, two)]
    for count, rate in enumerate(rates, 1):
        print(f"{count:9}  {rate:10.1f}  {rate * size / 1e6:9.0f}  {rate / rates[0]:12.2f}")
    print(f"computed: chunks of {CHUNK_PICTURES}, each process as fast as the one above, storage that"
          "\nkeeps up, one client and scheduler that do one chunk after the other")
    most = CHUNK_PICTURES / chunk
    for count in (4, 16, 64, 256, 1024):
        rate = min(count * rates[0], most)
        print(f"{count:9}  {rate:10.1f}  {rate * size / 1e6:9.0f}  {rate / rates[0]:12.2f}"
              f"{'  the scheduler sets the pace' if rate == most else ''}")


if __name__ == "__main__":
    main()
