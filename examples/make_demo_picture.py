#!/usr/bin/env python3
"""Writes a picture of hills at sunset, the same at every run, as a binary PPM.

    make_demo_picture.py PATH [WIDTH HEIGHT]
"""

import math
import sys

SKY_TOP = (38, 62, 122)
SKY_LOW = (246, 176, 120)
SUN = (255, 236, 190)
SUN_PLACE = (0.68, 0.46)
SUN_RADIUS = 0.045
# Of each range of hills, from far to near: its height over the ground, the height and number of
# its waves, where they begin, and its colour.
HILLS = (
    (0.46, 0.050, 2.3, 0.4, (122, 104, 134)),
    (0.34, 0.060, 3.1, 2.0, (82, 78, 104)),
    (0.20, 0.070, 1.7, 4.1, (44, 54, 62)),
)
NOISE = 9


def mix(first, second, share):
    return tuple(a + (b - a) * share for a, b in zip(first, second))


def crest(hill, x):
    """Where the range begins at `x`, 0 at the top of the picture and 1 at its foot."""
    height, wave, count, phase, _ = hill
    turn = x * count * 2 * math.pi + phase
    return 1 - height - wave * (math.sin(turn) + 0.4 * math.sin(2.7 * turn + 1))


def sky(x, y, aspect):
    distance = math.hypot((x - SUN_PLACE[0]) * aspect, y - SUN_PLACE[1])
    if distance < SUN_RADIUS:
        return SUN
    color = mix(SKY_TOP, SKY_LOW, min(1.0, y / 0.6) ** 1.4)
    return mix(color, SUN, 0.55 * math.exp(-5 * (distance - SUN_RADIUS)))


def make_picture(width, height):
    aspect = width / height
    crests = [[crest(hill, (column + 0.5) / width) for column in range(width)] for hill in HILLS]
    pixels = bytearray()
    seed = 1
    for line in range(height):
        y = (line + 0.5) / height
        for column in range(width):
            color = None
            for hill, tops in zip(reversed(HILLS), reversed(crests)):
                if y >= tops[column]:
                    color = mix(hill[4], (20, 26, 30), min(1.0, (y - tops[column]) * 1.6))
                    break
            if color is None:
                color = sky((column + 0.5) / width, y, aspect)
            # Grain as a camera has it, from a linear congruential generator.
            seed = (seed * 1664525 + 1013904223) & 0xFFFFFFFF
            grain = (seed >> 16) % (2 * NOISE + 1) - NOISE
            pixels.extend(max(0, min(255, int(sample + grain))) for sample in color)
    return b"P6\n%d %d\n255\n" % (width, height) + bytes(pixels)


def main():
    width, height = (int(text) for text in sys.argv[2:4]) if len(sys.argv) > 3 else (640, 480)
    with open(sys.argv[1], "wb") as file:
        file.write(make_picture(width, height))


if __name__ == "__main__":
    main()
