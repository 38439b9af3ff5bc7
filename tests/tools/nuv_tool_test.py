#!/usr/bin/env python3
"""Whole runs of the tool `nuv`, with netpbm and djpeg as the judges of what it makes.

    nuv_tool_test.py PATH_OF_NUV [unittest arguments]
"""

import array
import math
import os
import resource
import signal
import stat
import struct
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

TOOL = sys.argv.pop(1)
WIDTH, HEIGHT = 37, 23


def peer(*command, data=None, cwd=None):
    """What another program makes of `data`, or of nothing."""
    return subprocess.run(command, input=data, cwd=cwd, capture_output=True, check=True).stdout


def smooth_picture(width=WIDTH, height=HEIGHT):
    """A binary PPM with slow changes of colour, which a JPEG keeps well."""
    samples = bytearray()
    for y in range(height):
        for x in range(width):
            samples += bytes((128 + round(100 * math.sin(x / 19)), 255 * y // height,
                              (3 * x + 2 * y) % 256 // 2 + 40))
    return b"P6\n%d %d\n255\n" % (width, height) + bytes(samples)


def samples_of(pnm):
    """The samples behind the header that netpbm writes, those of 16 bits in the host's order."""
    lines = 2 if pnm[:2] == b"P4" else 3
    header, rest = pnm.split(b"\n", lines)[:lines], pnm.split(b"\n", lines)[lines]
    if lines == 3 and int(header[2]) > 255:
        words = array.array("H", rest)
        if sys.byteorder == "little":
            words.byteswap()
        return words.tobytes()
    return rest


def frame_header(jpeg):
    """(lines, samples per line, factors of the first component) of a baseline JPEG."""
    place = jpeg.index(b"\xff\xc0")
    return (int.from_bytes(jpeg[place + 5:place + 7], "big"),
            int.from_bytes(jpeg[place + 7:place + 9], "big"), jpeg[place + 11])


def psnr(first, second):
    error = sum((a - b) ** 2 for a, b in zip(first, second)) / len(first)
    return 10 * math.log10(255 ** 2 / error) if error else math.inf


class ToolTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.ppm = smooth_picture()
        self.write("in.ppm", self.ppm)

    def write(self, name, data):
        (self.folder / name).write_bytes(data)

    def read(self, name):
        return (self.folder / name).read_bytes()

    def run_tool(self, *arguments, code=0, makes=(), limit=None):
        """Runs the tool in the folder. `makes` are the files that are there only afterwards; nothing
        else may be. A failure tells so in one line, and success in none."""
        def set_limit():
            if limit is not None:
                resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
        before = set(os.listdir(self.folder))
        done = subprocess.run([TOOL, *map(str, arguments)], cwd=self.folder, capture_output=True,
                              text=True, check=False, preexec_fn=set_limit, timeout=120)
        self.assertIn(done.returncode, code if isinstance(code, tuple) else (code,), done.stderr)
        self.assertEqual(set(os.listdir(self.folder)), before | set(makes))
        if code:
            self.assertRegex(done.stderr, r"\A(nuv: [^\n]+\n)+\Z")
        else:
            self.assertEqual(done.stderr, "")
        return done

    def convert(self, *arguments, **expected):
        return self.run_tool("convert", *arguments, **expected)

    def refuse(self, text, *arguments):
        """The tool fails, with one line that has `text`, and makes nothing."""
        done = self.run_tool("convert", *arguments, code=(1, 64))
        self.assertEqual(done.stderr.count("\n"), 1, done.stderr)
        self.assertIn(text, done.stderr)


class Info(ToolTest):
    def test_tells_of_each_picture_in_one_aligned_line(self):
        gray = peer("ppmtopgm", data=self.ppm)
        self.write("gray.pgm", gray)
        self.write("bits.pbm", peer("pgmtopbm", "-threshold", data=gray))
        self.write("sun.ras", peer("pnmtorast", "-standard", data=self.ppm))
        for name, options in (("raw.tif", "-none"), ("lzw.tif", "-lzw")):
            self.write(name, peer("pnmtotiff", options, data=self.ppm))
        self.write("net.png", peer("pnmtopng", data=self.ppm))
        # Of a bitmap in run-length coding the headers say so.
        self.write("run.bmp", b"BM" + struct.pack("<IIIIiiHHIIiiII", 0, 0, 58, 40, 37, 23, 1, 8, 1, 0,
                                                  0, 0, 1, 0) + bytes(4))
        names = ["in.ppm", "gray.pgm", "bits.pbm", "sun.ras", "run.bmp", "net.png", "raw.tif",
                 "lzw.tif"]
        lines = self.run_tool("info", *names).stdout.splitlines()
        rgb, unread = ["37x23", "3x8", "rgb"], "stored in a way that is not read"
        self.assertEqual([line.split(maxsplit=4) for line in lines],
                         [["in.ppm", *rgb, "PNM, uncompressed"],
                          ["gray.pgm", "37x23", "1x8", "gray", "PNM, uncompressed"],
                          ["bits.pbm", "37x23", "1x1", "gray-reverse", "PNM, uncompressed"],
                          ["sun.ras", *rgb, "Sun raster, uncompressed"],
                          ["run.bmp", "37x23", "1x8", "rgb", "Windows bitmap, compressed"],
                          ["net.png", *rgb, "PNG"], ["raw.tif", *rgb, "TIFF, uncompressed"],
                          ["lzw.tif", *rgb, f"TIFF, {unread}"]])
        self.assertEqual(len({line.index(" 37x23") for line in lines}), 1)
        self.refuse(f"lzw.tif: is {unread}", "lzw.tif", "out.raw")

    def test_names_what_is_not_a_picture_and_still_tells_of_the_others(self):
        self.write("text", b"no picture at all, and long enough to look like one")
        self.write("cut.ppm", b"P6\n37")
        self.write("cut.tif", b"MM\0*\0\0\0\x08\0")
        os.mkdir(self.folder / "folder")
        os.mkfifo(self.folder / "fifo")
        names = ["text", "cut.ppm", "cut.tif", "folder", "fifo", "missing", "-"]
        done = self.run_tool("info", *names, "in.ppm", code=1)
        self.assertEqual(len(done.stdout.splitlines()), 1)
        self.assertTrue(done.stdout.startswith("in.ppm "))
        for name, line in zip(names, done.stderr.splitlines(), strict=True):
            self.assertIn(name, line)
        self.assertIn("cut.tif: begins like a TIFF file, but is damaged\n", done.stderr)
        self.assertIn("text: is not a picture of a known kind\n", done.stderr)


class Convert(ToolTest):
    def test_gives_the_samples_that_netpbm_and_arithmetic_give(self):
        gray = peer("ppmtopgm", data=self.ppm)
        bits = peer("pgmtopbm", "-threshold", data=gray)
        deep = peer("pamdepth", "65535", data=self.ppm)
        plain = peer("pnmtoplainpnm", data=deep)  # samples of 16 bits are read from it alone
        samples = samples_of(self.ppm)
        planes = samples[0::3] + samples[1::3] + samples[2::3]
        inverse = bytes(range(255, -1, -1))
        self.write("inverses", inverse * 3)

        def flipped(picture, how):
            return samples_of(peer("pamflip", how, data=picture))

        raw = f"{WIDTH}x{HEIGHT}x3x8:rgb"
        halves = array.array("H", ((257 * v + 1) // 2 for v in samples)).tobytes()
        rows = [
            (bits, "mirror-x", flipped(bits, "-lr")),  # netpbm, too, says 1 for black
            (plain, "mirror-x", flipped(deep, "-lr")),
            (self.ppm, "mirror-x mirror-x rotate=450", flipped(self.ppm, "-cw")),
            (bits, "rotate=-90", flipped(bits, "-ccw")),
            (self.ppm, "lut=inverses:8", samples.translate(inverse)),
            (self.ppm, "convert=-1:255:8", samples.translate(inverse)),
            (plain, "convert=0.5:0:16", halves),
            (self.ppm, "--write planar", planes),
            (planes, f"--input-raw {raw} --planar-input", samples),
            (b"\xAB\xC8" * 7, "--input-raw 13x7x1x1", b"\xAB\xC8" * 7),
        ]
        for number, (source, arguments, wanted) in enumerate(rows):
            with self.subTest(number, arguments=arguments):
                self.write("source", source)
                self.convert("source", f"{number}.raw", *arguments.split(), makes=[f"{number}.raw"])
                self.assertEqual(self.read(f"{number}.raw"), wanted)

    def test_scales_to_the_size_asked_for(self):
        height_of_20, width_of_9 = round(20 * HEIGHT / WIDTH), round(9 * WIDTH / HEIGHT)
        for operation, size in (("nearest=10x7", (7, 10)), ("linear=20x", (height_of_20, 20)),
                                ("cubic=x9", (9, width_of_9)), ("area=0.1%", (1, 1)),
                                ("fine=200%", (2 * HEIGHT, 2 * WIDTH))):
            with self.subTest(operation):
                self.convert("in.ppm", "out.jpg", operation, makes=["out.jpg"])
                self.assertEqual(frame_header(self.read("out.jpg"))[:2], size)

    def test_writes_lossless_jpegs_that_read_back_the_same(self):
        deep = peer("pnmtoplainpnm", data=peer("pamdepth", "65535", data=self.ppm))
        for picture, options in ((self.ppm, ()), (deep, ("--optimise",))):
            self.write("source", picture)
            for source, made, *rest in (("source", "samples.raw"), ("source", "out.ljpg", *options),
                                        ("out.ljpg", "back.raw")):
                self.convert(source, made, *rest, makes=[made])
            self.assertEqual(self.read("back.raw"), self.read("samples.raw"))

    def test_changes_colours_as_netpbm_and_djpeg_do(self):
        def nearest(made, wanted, most):
            self.assertEqual(len(made), len(wanted))
            self.assertLessEqual(max(abs(a - b) for a, b in zip(made, wanted)), most)

        gray = samples_of(peer("ppmtopgm", data=self.ppm))
        self.convert("in.ppm", "out.raw", "color=gray", makes=["out.raw"])
        nearest(self.read("out.raw"), gray, 1)
        # A JPEG gets the colours that its samples stand for by then.
        best = ("--quality", "100", "--sampling", "444")
        for operation, wanted, most in (("color=ycbcr", samples_of(self.ppm), 5),
                                        ("color=gray", gray, 2)):
            self.convert("in.ppm", "out.jpg", operation, *best, makes=["out.jpg"])
            nearest(samples_of(peer("djpeg", "-pnm", "out.jpg", cwd=self.folder)), wanted, most)

    def test_writes_jpegs_that_djpeg_reads_without_a_warning(self):
        factors = {"444": 0x11, "422": 0x21, "420": 0x22, "411": 0x41}
        for number, (sampling, factor) in enumerate(factors.items()):
            with self.subTest(sampling):
                name = f"out{number}.jpg"
                self.convert("in.ppm", name, "--sampling", sampling, makes=[name])
                jpeg = self.read(name)
                self.assertEqual(frame_header(jpeg), (HEIGHT, WIDTH, factor))
                done = subprocess.run(["djpeg", "-strict", "-pnm"], input=jpeg, capture_output=True,
                                      check=True)
                self.assertEqual(done.stderr, b"")
                self.assertGreater(psnr(samples_of(done.stdout), samples_of(self.ppm)), 26)
        self.convert("in.ppm", "plain.jpeg", makes=["plain.jpeg"])
        self.assertEqual(self.read("plain.jpeg"), self.read("out1.jpg"))

    def test_options_set_the_size_and_the_kind(self):
        sizes = []
        for quality in (10, 50, 95):
            self.convert("in.ppm", "a.raw", "--write", "jpeg", "--quality", quality, makes=["a.raw"])
            sizes.append(len(self.read("a.raw")))
        self.assertTrue(sizes[0] < sizes[1] < sizes[2])
        self.assertEqual(self.read("a.raw")[:2], b"\xff\xd8")


class Destination(ToolTest):
    def test_a_source_may_be_its_own_destination(self):
        self.convert("in.ppm", "in.ppm", "--write", "jpeg")
        self.assertEqual(frame_header(self.read("in.ppm"))[:2], (HEIGHT, WIDTH))

    def test_a_link_stays_and_rights_stay(self):
        self.write("real.raw", b"old")
        os.chmod(self.folder / "real.raw", 0o640)
        os.symlink("real.raw", self.folder / "link.raw")
        self.convert("in.ppm", "link.raw")
        self.assertTrue((self.folder / "link.raw").is_symlink())
        self.assertEqual(self.read("real.raw"), samples_of(self.ppm))
        self.assertEqual(stat.S_IMODE((self.folder / "real.raw").stat().st_mode), 0o640)
        mask = os.umask(0o027)
        self.addCleanup(os.umask, mask)
        self.convert("in.ppm", "new.raw", makes=["new.raw"])
        self.assertEqual(stat.S_IMODE((self.folder / "new.raw").stat().st_mode), 0o640)

    def test_a_failure_leaves_what_was_there(self):
        for kind in ("raw", "jpeg", "planar"):
            for kept in (len(self.ppm) - 1, len(self.ppm) // 2, 14):
                with self.subTest(kind=kind, kept=kept):
                    self.write("cut.ppm", self.ppm[:kept])
                    self.write("old", b"old")
                    self.refuse("cut.ppm: ", "cut.ppm", "old", "--write", kind)
                    self.assertEqual(self.read("old"), b"old")

        for kind in ("raw", "jpeg", "planar"):  # and so does a disk that is full
            for limit in (0, 400):
                with self.subTest(kind=kind, limit=limit):
                    self.run_tool("convert", "in.ppm", "out", "--write", kind, code=1, limit=limit)

    def test_only_files_in_folders_that_exist_are_written(self):
        os.mkdir(self.folder / "folder")
        os.mkfifo(self.folder / "fifo")
        self.refuse("folder: is not a regular file", "in.ppm", "folder")
        self.refuse("fifo: is not a regular file", "in.ppm", "fifo")
        self.refuse("/dev/null: is not a regular file", "in.ppm", "/dev/null")
        self.refuse("No such file or directory", "in.ppm", "nowhere/out.raw")
        self.refuse("Not a directory", "in.ppm", "in.ppm/out.raw")

    def test_a_signal_leaves_nothing_behind(self):
        with open(self.folder / "large", "wb") as file:
            file.truncate(20000 * 20000)
        before = set(os.listdir(self.folder))
        with subprocess.Popen([TOOL, "convert", "large", "out.jpg", "mirror-x", "--input-raw",
                               "20000x20000x1x8"], cwd=self.folder) as run:
            while run.poll() is None and set(os.listdir(self.folder)) == before:
                time.sleep(0.001)
            run.send_signal(signal.SIGTERM)
        self.assertEqual(run.returncode, -signal.SIGTERM)
        self.assertEqual(set(os.listdir(self.folder)), before)


class Refusals(ToolTest):
    def test_each_has_its_line(self):
        self.write("text", b"no picture at all, and long enough to look like one")
        self.write("bits.pbm", b"P4\n8 1\n\x55")
        self.write("four", bytes(16))
        few = peer("pnmquant", "4", data=self.ppm)
        self.write("indices.ras", peer("pnmtorast", "-standard", data=few))
        raw = ("--input-raw", "2x2x4x8")
        for text, *arguments in (
                ("'-' cannot stand", "in.ppm", "-"),
                ("missing: No such file", "missing", "out.raw"),
                ("text: is not a picture", "text", "out.raw"),
                ("unknown operation 'mirror'", "in.ppm", "out.raw", "mirror"),
                ("multiple of 90 degrees, not '91'", "in.ppm", "out.raw", "mirror-x", "rotate=91"),
                ("'0x5' is not a size", "in.ppm", "out.raw", "cubic=0x5"),
                ("'-50%' is not a size", "in.ppm", "out.raw", "nearest=-50%"),
                ("'nan%' is not a size", "in.ppm", "out.raw", "nearest=nan%"),
                ("'blue' is not gray", "in.ppm", "out.raw", "color=blue"),
                ("is not FILE:BITS", "in.ppm", "out.raw", "lut=text:9"),
                ("missing: No such file", "in.ppm", "out.raw", "lut=missing:8"),
                ("four: does not hold a table", "in.ppm", "out.raw", "lut=four:8"),
                ("is not SLOPE:OFFSET:BITS", "in.ppm", "out.raw", "convert=1:nan:8"),
                ("too large", "in.ppm", "out.raw", "nearest=1x4294967295", "nearest=x4294967295",
                 "nearest=1000000%"),
                ("no colour tables", "indices.ras", "out.raw", "linear=50%"),
                ("'mirror-x=1' is not of the form mirror-x", "in.ppm", "out.raw", "mirror-x=1"),
                ("--write png: not one of", "in.ppm", "out.raw", "--write", "png"),
                ("a lossless JPEG has 1 or 3", "bits.pbm", "out.ljpg"),
                ("serves lossless JPEG files alone", "in.ppm", "out.jpg", "--optimise"),
                ("a JPEG has 1 or 3 channels of 8 bits", "four", "out.jpg", *raw),
                ("no colour table", "indices.ras", "out.jpg"),
                ("--quality", "in.ppm", "out.jpg", "--quality", "101"),
                ("--sampling", "in.ppm", "out.jpg", "--sampling", "440"),
                ("serve JPEG files alone", "in.ppm", "out.raw", "--quality", "50"),
                ("needs --input-raw", "in.ppm", "out.raw", "--planar-input"),
                ("1 and 3 channels", "four", "out.raw", "--planar-input", *raw),
                ("fewer than --input-raw", "four", "out.raw", "--input-raw", "17x1x1x8"),
                ("is a stored picture", "in.ppm", "out.raw", "--input-raw", "2x2x1x8"),
                ("not of the form", "four", "out.raw", "--input-raw", "0x2x4x8"),
                ("not of the form", "four", "out.raw", "--input-raw", "4294967296x2x4x8"),
                ("does not end in", "four", "out.raw", "--input-raw", "2x2x4x8:cmyk"),
                ("this colour has 3 channels", "four", "out.raw", "--input-raw", "4x4x1x8:rgb"),
                ("fewer than --input-raw", "four", "out.raw", "--input-raw",
                 "4294967295x4294967295x65535x65535"),
                ("SRC is required",),
                ("DST is required", "in.ppm")):
            with self.subTest(arguments=arguments):
                self.refuse(text, *arguments)

    def test_a_command_is_needed(self):
        for arguments in ((), ("convart",), ("info",), ("info", "--quality", "3", "in.ppm")):
            with self.subTest(arguments=arguments):
                self.run_tool(*arguments, code=64)


if __name__ == "__main__":
    unittest.main()
