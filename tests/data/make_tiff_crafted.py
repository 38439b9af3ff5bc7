#!/usr/bin/env python3
"""Makes the files of tiff_crafted beside this script: small TIFF files of every form, and such as no
program writes. Those named form_* and jpeg_* are sound. The lines of MANIFEST are written anew.
"""

import hashlib
import random
import shutil
import struct
from pathlib import Path

HERE = Path(__file__).resolve().parent
OUT = HERE / "tiff_crafted"
FORMATS = {1: "B", 2: "B", 3: "H", 4: "I", 5: "I", 7: "B", 12: "I", 14: "B"}


def shorts(*values):
    return (3, values)


def longs(*values):
    return (4, values)


def tiff(changes, data=bytes(range(64)), big=False, following=0):
    """A gray picture of 16 x 4 pixels of 8 bits in one strip behind the header, with changes to its
    tags: None leaves one out; a third and a fourth element stand for the count and for the place."""
    order = ">" if big else "<"
    tags = {0x100: shorts(16), 0x101: shorts(4), 0x102: shorts(8), 0x103: shorts(1),
            0x106: shorts(1), 0x111: longs(8), 0x115: shorts(1), 0x116: longs(4),
            0x117: longs(64), 0x11A: (5, (300, 1)), 0x11B: (5, (300, 1))}
    tags = {number: tag for number, tag in sorted({**tags, **changes}.items()) if tag}
    directory = 8 + len(data)
    place = directory + 2 + 12 * len(tags) + 4
    entries = values = b""
    for number, (kind, elements, *rest) in tags.items():
        value = struct.pack(f"{order}{len(elements)}{FORMATS[kind]}", *elements)
        count = rest[0] if rest else len(elements) // (2 if kind in (5, 12) else 1)
        entries += struct.pack(order + "HHI", number, kind, count)
        if len(rest) > 1:
            entries += struct.pack(order + "I", rest[1])
        elif len(value) > 4:
            entries += struct.pack(order + "I", place + len(values))
            values += value
        else:
            entries += value.ljust(4, b"\0")
    return (struct.pack(order + "2sHI", b"MM" if big else b"II", 42, directory) + data +
            struct.pack(order + "H", len(tags)) + entries + struct.pack(order + "I", following) +
            values)


def turned(data):
    return bytes(int(f"{byte:08b}"[::-1], 2) for byte in data)


def packed(data, draw):
    """PackBits in literals, with some codes that do nothing, and a run at the end."""
    out = b""
    while len(data) > 1 and data[:-1].rstrip(data[-1:]):
        count = min(draw.randint(1, 128), len(data))
        out += bytes([count - 1]) + data[:count] + (b"\x80" if draw.random() < 0.3 else b"")
        data = data[count:]
    return out + (bytes([(1 - len(data)) % 256]) + data[-1:] if data else b"")


def strips_of(strips, draw=None):
    """Strips one behind the other from 8 on, and their two tags."""
    data = b""
    offsets = []
    for strip in strips:
        data += bytes(draw.randint(0, 2)) if draw else b""
        offsets.append(8 + len(data))
        data += strip
    return data, {0x111: longs(*offsets), 0x117: longs(*map(len, strips))}


def picture(photometric=1, colors=1, extras=0, bits=8, coding=1, planar=1, order=1, across=1,
            down=1, width=9, height=5, rows=2, big=False, draw=None):
    """Of random bytes, those that fill up the lines with them."""
    samples = colors + extras
    planes = samples if planar == 2 and samples > 1 else 1
    units = planes == 1 and across * down > 1
    strips = []
    for plane in range(planes):
        for top in range(0, height, rows):
            lines = min(rows, height - top)
            if units:
                size = width // across * (across * down + 2) * -(-lines // down)
            else:
                shared = across if plane > 0 else 1
                lines //= down if plane > 0 else 1
                size = lines * ((samples // planes * bits * width // shared + 7) // 8)
            strip = draw.randbytes(size)
            strip = packed(strip[:-6] + strip[-6:-5] * 6, draw) if coding == 32773 else strip
            strips.append(turned(strip) if order == 2 else strip)
    data, tags = strips_of(strips, draw)
    tags.update({0x100: shorts(width), 0x101: shorts(height), 0x102: shorts(*[bits] * samples),
                 0x103: shorts(coding), 0x106: shorts(photometric), 0x10A: shorts(order),
                 0x115: shorts(samples), 0x116: shorts(rows), 0x11C: shorts(planar),
                 0x212: shorts(across, down)})
    if extras:
        tags[0x152] = shorts(*[0] * extras)
    if photometric == 3:
        tags[0x140] = (3, [draw.randrange(65536) for _ in range(3 << min(bits, 4))])
    return tiff(tags, data, big)


def forms(draw):
    colors = ((0, 1), (1, 1), (2, 3), (3, 1), (4, 1), (5, 3), (5, 4), (6, 3), (8, 1), (8, 3),
              (9, 3), (10, 3))
    factors = ((1, 1), (2, 1), (2, 2), (4, 1))
    for number in range(144):
        photometric, count = colors[number % 12]
        across, down = factors[number // 12 % 4] if photometric == 6 else (1, 1)
        subsampled = across > 1
        coding = 1 if subsampled else draw.choice((1, 1, 32773))
        bits = 8 if subsampled else draw.choice((1, 4, 8, 16))
        yield number, picture(
            photometric=photometric, colors=count, bits=bits, coding=coding,
            # With three inks or lightness alone the samples tell, and a palette has one.
            extras=draw.choice((0, 0, 1, 2)) if not subsampled and number % 12 not in (3, 5, 8)
            else 0,
            planar=draw.choice((1, 2)), order=draw.choice((0, 1, 2)), across=across, down=down,
            width=across * draw.choice((1, 7, 8, 9)), height=down * draw.randint(1, 4),
            rows=down * draw.choice((1, 3, 1000)) if not subsampled else down * draw.choice((1, 2)),
            big=draw.random() < 0.5 and (bits < 16 or coding == 1), draw=draw)


def parted(jpeg):
    """The tables of a stream, as a stream, and what is left of it."""
    tables = rest = jpeg[:2]
    at = 2
    while jpeg[at + 1] != 0xDA:
        size = 2 + int.from_bytes(jpeg[at + 2:at + 4], "big")
        if jpeg[at + 1] in (0xC4, 0xDB):
            tables += jpeg[at:at + size]
        else:
            rest += jpeg[at:at + size]
        at += size
    return tables + b"\xFF\xD9", rest + jpeg[at:]


def jpegs():
    """The streams are of 33 x 17 pixels."""
    whole, subsampled, gray, restarts = ((HERE / "jpeg" / name).read_bytes() for name in (
        "444.jpg", "420.jpg", "gray.jpg", "444_row_restarts.jpg"))
    tables, rest = parted(whole)

    def strips(streams, changes):
        data, tags = strips_of(streams)
        return tiff({0x100: shorts(33), 0x101: shorts(17 * len(streams)), 0x102: shorts(8, 8, 8),
                     0x103: shorts(7), 0x106: shorts(6), 0x115: shorts(3), 0x116: shorts(17),
                     0x212: shorts(1, 1), **tags, **changes}, data)

    apart = {0x15B: (7, tables)}
    one = {0x106: shorts(1), 0x115: shorts(1), 0x102: shorts(8), 0x212: None}
    yield "streams", strips((whole, subsampled), {})
    yield "tables_apart", strips((rest, rest), apart)
    yield "tables_in_both_places", strips((rest, subsampled), apart)
    yield "turned", strips((turned(subsampled), turned(whole)), {0x10A: shorts(2)})
    yield "turned_by_the_tag_alone", strips((whole, subsampled), {0x10A: shorts(2)})
    yield "gray", strips((gray, gray), one)
    yield "padded_tables", strips((rest,), {0x15B: (7, tables + bytes(2) + b"\xFF")})
    yield "cut_strip", strips((whole, subsampled[:-200], whole), {})
    yield "old_style", strips((subsampled,), {0x103: shorts(6), 0x201: longs(8),
                                              0x202: longs(len(subsampled))})
    # The stream begins anew with each strip, without a word of it: its code lies in the strip.
    interval = restarts.index(b"\xFF\xDD")
    restarts = restarts[:interval] + restarts[interval + 6:]
    scan = restarts.index(b"\xFF\xDA")
    yield "old_style_rows", strips((restarts,), {
        0x100: shorts(19), 0x101: shorts(15), 0x103: shorts(6), 0x116: shorts(8),
        0x111: longs(8 + scan + 14, 8 + scan + 14), 0x117: longs(len(restarts) - scan - 14,
                                                                 len(restarts) - scan - 14),
        0x201: longs(8), 0x202: longs(scan)})
    yield "refused_gray_strip", strips((whole, gray), {})
    yield "refused_no_tables", strips((rest,), {})
    yield "refused_old_style_by_tables", strips((rest,), {0x103: shorts(6)})


def odd_ones(draw):
    three = {0x115: shorts(3), 0x102: shorts(8, 8, 8)}

    def ycbcr(factors, size):
        return {0x106: shorts(6), 0x117: longs(size), 0x212: factors, **three}

    def strips(offsets, counts):
        return {0x111: longs(*offsets), 0x116: longs(2), 0x117: longs(*counts)}

    every_page = {0x111: longs(*[8] * 6), 0x117: longs(*[16] * 6)}
    return {
        "no_width": {0x100: None}, "width_0": {0x100: shorts(0)}, "no_colour": {0x106: None},
        "value_outside": {0x112: (4, (), 3, 4000)}, "no_type": {0x112: (14, (16,))},
        "no_resolution_across": {0x11A: None}, "no_resolution_down": {0x11B: None},
        "resolution_without_end": {0x11A: (5, (1, 0)), 0x128: shorts(3)},
        "real_numbers": {0x100: (12, (0, 0x40300000)), 0x101: (5, (9, 2)), 0x10D: (2, b"name\0")},
        "private_tag": {0x9999: longs(0)}, "no_coding": {0x103: None}, "lzw": {0x103: shorts(5)}, "deflate": {0x103: shorts(8)},
        "no_map": {0x106: shorts(3)}, "map_of_one": {0x106: shorts(3), 0x140: shorts(1)},
        "colours_300": {0x106: shorts(3), 0x140: shorts(*[0x5678] * 900)},
        "colour_of_one_sample": {0x106: shorts(2)},
        "gray_of_two": {0x115: shorts(2), 0x102: shorts(8, 8)}, "two_of_one": {0x115: shorts(2)},
        "one_depth_for_three": {0x106: shorts(2), 0x115: shorts(3)},
        "depths_differ": {0x106: shorts(2), 0x115: shorts(3), 0x102: shorts(8, 4, 8)},
        "extra_without_sample": {0x152: shorts(1)}, "samples_65535": {0x115: shorts(65535)},
        "jpeg_planes": {0x103: shorts(7), 0x106: shorts(2), 0x11C: shorts(2), **three},
        "rows_1000": {0x116: longs(1000)}, "rows_all": {0x116: longs(0xFFFFFFFF)},
        "rows_0": {0x116: longs(0)}, "one_offset_for_two": {0x116: longs(3)},
        "no_counts": {0x117: None}, "one_count_for_two": strips((8, 40), (32,)),
        "two_counts_for_one": {0x117: longs(64, 1)},
        "counts_of_1": strips((8, 40), (1, 1)), "counts_too_large": strips((8, 40), (40, 4000)),
        "more_strips": strips((8, 40, 8), (32, 32, 32)), "counts_0": strips((8, 40), (0, 0)),
        "strip_outside": strips((8, 100000), (32, 32)),
        "strip_outside_itself": strips((8, 100000), (32, 0)),
        "first_strip_outside": strips((100000, 8), (32, 32)),
        "chroma_for_each_untold": ycbcr(None, 192), "chroma_for_four_untold": ycbcr(None, 96),
        "chroma_for_none": ycbcr(shorts(0, 0), 96), "chroma_for_no_line": ycbcr(shorts(2, 0), 96),
        "chroma_for_three": ycbcr(shorts(3, 1), 96), "chroma_for_rows": ycbcr(shorts(1, 2), 96),
        "units_of_16_bits": {**ycbcr(shorts(2, 1), 96), 0x102: shorts(16, 16, 16)},
        "units_of_4_bits": {**ycbcr(shorts(2, 1), 96), 0x102: shorts(4, 4, 4)},
        "units_in_packbits": {**ycbcr(shorts(2, 1), 96), 0x103: shorts(32773)},
        "jpeg_16_bits": {0x103: shorts(7), 0x102: shorts(16)},
        "stream_behind_strip": {0x103: shorts(6), 0x201: longs(9)},
        "stream_too_short": {0x103: shorts(6), 0x201: longs(2), 0x202: longs(6)},
        "bits_2": {0x102: shorts(2)}, "tiles": {0x142: shorts(16)}, "log": {0x106: shorts(32844)},
        "fax_uncompressed": {0x103: shorts(3), 0x124: shorts(2), 0x102: shorts(1)},
        "fax4_uncompressed": {0x103: shorts(4), 0x125: shorts(2), 0x102: shorts(1)},
        "plane_of_one": {0x11C: shorts(2)}, "child": {0x14A: longs(8)},
        "width_20000001": {0x100: longs(0x20000001), 0x117: None},
        "height_ffffffff": {0x101: longs(0xFFFFFFFF), 0x116: longs(1), 0x111: (1, (), 60, 8)},
        "packbits_16_bits": {0x103: shorts(32773), 0x102: shorts(16)},
        # What they claim lies behind the end, where tests put zeros.
        "strips_131072": {0x100: shorts(1), 0x101: longs(131072), 0x116: longs(1),
                          0x111: (1, (), 131072, 8), 0x117: None},
        "strips_131073": {0x100: shorts(1), 0x101: longs(131073), 0x116: longs(1),
                          0x111: (1, (), 131073, 8), 0x117: None},
        "claims": {number: (1, (), 120000, 8) for number in range(0x130, 0x13C)},
        "planes_cut": {0x106: shorts(2), 0x11C: shorts(2), 0x116: longs(2), **three,
                       **every_page, 0x111: longs(8, 8, 8, 300, 8, 8)},
    }


def main():
    shutil.rmtree(OUT, ignore_errors=True)
    OUT.mkdir()
    draw = random.Random(1)
    files = {f"form_{number:03}": data for number, data in forms(draw)}
    files.update({f"jpeg_{name}": data for name, data in jpegs()})
    for number, (name, tags) in enumerate(odd_ones(draw).items()):
        files[name] = tiff(tags, big=number % 2 == 1)
    second = len(tiff({}))
    files["two_pages_in_a_circle"] = tiff({}, following=second) + tiff({}, following=72)[72:]
    for name, data in files.items():
        (OUT / f"{name}.tif").write_bytes(data)
    manifest = HERE / "MANIFEST"
    lines = [line for line in manifest.read_text().splitlines() if " tiff_crafted/" not in line]
    lines += [f"{hashlib.sha256(data).hexdigest()}  tiff_crafted/{name}.tif | made by "
              f"make_tiff_crafted.py | CC0-1.0" for name, data in sorted(files.items())]
    manifest.write_text("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
