#!/usr/bin/env python3
"""Makes the bitmaps of fuzz/corpus/nuv_bmp_fuzz: all sizes of headers and depths, upward and downward,
with colour tables of no stated size, of 1, 2 and a few colours, of all and of too many, with masks of
all kinds, and run-length data. Fields that nobody reads, pads and spare bits are random."""

import pathlib
import random
import struct

FOLDER = pathlib.Path(__file__).resolve().parents[2] / "fuzz/corpus/nuv_bmp_fuzz"
SIZES = (12, 40, 52, 56, 60, 96, 108, 112, 120, 124)
DEPTHS = (1, 4, 8, 16, 24, 32)
COLOR_SPACES = (0, 0x73524742, 0x57696E20, 0x4C494E4B, 0x4D424544, 7)
MASKS = (  # usual ones, reversed ones, none, beyond bit 15, with gaps, over one another
    (0xF800, 0x7E0, 0x1F), (0x7C00, 0x3E0, 0x1F), (0x1F, 0x7E0, 0xF800),
    (0x3FF00000, 0xFFC00, 0x3FF), (0x3FF, 0xFFC00, 0x3FF00000), (0xFF0000, 0xFF00, 0xFF),
    (0xFF000000, 0xFF0000, 0xFF00), (0xFF, 0, 0xFF00), (0, 0, 0), (0x1FE00, 0xFF, 0x100),
    (0xF, 0xFFF0, 0xFFFF0000), (0xFFFFE, 1, 0xFFF00000), (0xFFFF8000, 0x7000, 0xFFF),
    (0xFFFFFFFF, 0, 0), (0x0F00, 0xF0FF, 0), (0xFF00, 0x1FF, 0), (0x10000, 0x20000, 0x40000),
    (0xFFF, 0xF000, 0xF0000))
chance = random.Random(1)


def file_of(size, depth, width, height, coding=0, used=0, masks=MASKS[0], space=0):
    info = bytearray(chance.randbytes(124))
    if size == 12:
        struct.pack_into("<IhhHH", info, 0, size, width, height, 1, depth)
    else:
        struct.pack_into("<IiiHHI", info, 0, size, width, height, 1, depth, coding)
        struct.pack_into("<I", info, 32, used)
        struct.pack_into("<III", info, 40, *masks)
        struct.pack_into("<I", info, 56, space)
        struct.pack_into("<II", info, 112, chance.choice((20, 5000)), chance.choice((0, 4)))
    fields_behind = size == 40 and coding == 3
    entries = used or (1 << depth if depth <= 8 else 0)
    colors = bytearray(chance.randbytes(entries * (3 if size == 12 else 4)))
    if depth == 1 and entries >= 2 and chance.random() < 0.6:
        black_and_white = [0, 0, 0, 255, 255, 255][::chance.choice((1, -1))]
        for i, level in enumerate(black_and_white):
            colors[i // 3 * len(colors) // entries + i % 3] = level
    gap = chance.choice((0, 0, 3))
    line = (width * depth + 31) // 32 * 4
    pixels = chance.randbytes(line * abs(height))
    if coding in (1, 2):  # small numbers are short runs, ends and deltas
        pixels = bytes(byte % 4 for byte in chance.randbytes(200))
    head = bytes(info[:52 if fields_behind else size]) + bytes(colors)
    offset = 0 if chance.random() < 0.2 else 14 + len(head) + gap
    return (struct.pack("<2s4sHHI", b"BM", chance.randbytes(4), 0, 0, offset) + head + bytes(gap)
            + pixels)


def main():
    FOLDER.mkdir(exist_ok=True)
    for old in FOLDER.iterdir():
        old.unlink()
    number = 0
    for size in SIZES:
        for depth in DEPTHS:
            for direction in (1, -1):
                few = (0, 1, 2, 5, 1 << min(depth, 8), 300)
                stored = file_of(size, depth, chance.randint(1, 40), direction * chance.randint(1, 5),
                                 used=0 if size == 12 else few[(number + number // 12) % 6],
                                 space=chance.choice(COLOR_SPACES))
                name = f"header_{size}_{depth}_{'up' if direction > 0 else 'down'}"
                (FOLDER / name).write_bytes(stored)
                number += 1
    for i, masks in enumerate(MASKS):
        for depth in (16, 32):
            stored = file_of((40, 56, 108)[i % 3], depth, 21, 2, 3, masks=masks)
            (FOLDER / f"fields_{i}_{depth}").write_bytes(stored)
    for i in range(24):
        depth, coding = ((8, 1), (4, 2), (4, 1), (8, 2), (1, 1), (24, 2))[i % 6 if i < 6 else i % 2]
        stored = file_of(40, depth, 9, (1 + i % 5) * (1 if i % 4 < 2 else -1), coding, used=2 + i % 9)
        (FOLDER / f"run_length_{i}").write_bytes(stored)


if __name__ == "__main__":
    main()
