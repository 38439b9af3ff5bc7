"""The pictures that the programs work on, each made when it is first asked for."""

import functools
import itertools
import os
import random
import shutil
import struct
import subprocess


def page_of_text(width, height, path):
    """A bitmap that is black and white as a page of small print is: lines of random characters of
    40 x 60 pixels that are made of strokes, within a margin."""
    chance = random.Random(1)
    glyph_bytes, glyph_lines = 5, 60

    def glyph():
        lines = [0] * glyph_lines
        stems = [(chance.randrange(4, 30), chance.randrange(0, 15)) for _ in range(2)]
        for y in range(10, 50):
            for left, slant in stems:
                lines[y] |= 0x3F << (34 - left + (y * slant >> 6) % 8)
        for top in chance.sample(range(10, 45), 2):
            for y in range(top, top + 5):
                lines[y] |= 0x3FFFFFC << 6
        return [(line & 0xFFFFFFFFFF).to_bytes(glyph_bytes, "big") for line in lines]

    alphabet = [glyph() for _ in range(40)] + [[bytes(glyph_bytes)] * glyph_lines] * 8
    line_bytes = (width + 7) // 8
    margin = min(60, line_bytes // 8)
    count = (line_bytes - 2 * margin) // glyph_bytes
    blank = bytes(line_bytes)
    with open(path, "wb") as file:
        file.write(b"P4\n%d %d\n" % (width, height))
        for top in range(0, height, glyph_lines):
            row = chance.choices(alphabet, k=count)
            for y in range(min(glyph_lines, height - top)):
                text = bytes(margin) + b"".join(character[y] for character in row)
                file.write((text + blank)[:line_bytes])


def magick_name():
    """The versioned name is the program itself wherever `convert` is something else."""
    return next((p for p in ("magick", "convert-im6.q16") if shutil.which(p)), "convert")


def write_tiff(path, size, rows, strip_bytes):
    """An uncompressed gray picture of 8 bits, with `rows` lines a strip, whose strips are the bytes
    that `strip_bytes` gives in turn."""
    width, height = size
    count = (height + rows - 1) // rows
    sizes = [width * min(rows, height - rows * i) for i in range(count)]
    offsets = [8 + offset for offset in itertools.accumulate([0, *sizes])]
    directory = offsets.pop()
    values = directory + 2 + 9 * 12 + 4
    longs, one_long, one_short = 4, (4, 1), (3, 1)
    entries = ((256, *one_long, width), (257, *one_long, height), (258, *one_short, 8),
               (259, *one_short, 1), (262, *one_short, 1), (273, longs, count, values),
               (277, *one_short, 1), (278, *one_long, rows),
               (279, longs, count, values + longs * count))
    with open(path, "wb") as file:
        file.write(struct.pack("<2sHI", b"II", 42, directory))
        for wanted in sizes:
            file.write(next(strip_bytes)[:wanted])
        file.write(struct.pack("<H", len(entries)))
        for entry in entries:
            file.write(struct.pack("<HHII", *entry))
        file.write(struct.pack(f"<I{count}I{count}I", 0, *offsets, *sizes))


class Pictures:
    """Pictures of `width` x `height` pixels in `folder`, made by the programs in `build`."""

    def __init__(self, build, folder, width, height):
        self.nuv = os.path.join(build, "tools", "nuv", "nuv")
        self.make_photo = os.path.join(build, "benchmarks", "nuv_make_photo")
        self.leptonica = os.path.join(build, "benchmarks", "nuv_leptonica_turn")
        self.libjpeg = os.path.join(build, "benchmarks", "nuv_libjpeg_samples")
        self.folder = folder
        self.width = width
        self.height = height

    @property
    def pixels(self):
        return self.width * self.height

    def path(self, name):
        return os.path.join(self.folder, f"{self.width}x{self.height}_{name}")

    def _photo(self, width, height, name):
        path = self.path(name)
        subprocess.run([self.make_photo, str(width), str(height), path], check=True)
        return path

    @functools.cached_property
    def photo(self):
        return self._photo(self.width, self.height, "photo.ppm")

    @functools.cached_property
    def half_size(self):
        """Width and height of a picture of half as many pixels."""
        return self.width * 2 // 3, self.height * 3 // 4

    @functools.cached_property
    def half_photo(self):
        return self._photo(*self.half_size, "half.ppm")

    def jpeg(self, photo, factors, *switches):
        path = self.path(f"{factors}{''.join(switches)}.jpg")
        subprocess.run(["cjpeg", "-quality", "75", "-sample", factors, *switches, "-outfile", path,
                        photo], check=True)
        return path

    @functools.cached_property
    def gray16(self):
        """Raw samples that use all 16 bits: a photograph of a quarter of the pixels, enlarged."""
        photo = self._photo(self.width // 2, self.height // 2, "quarter.ppm")
        path = self.path("gray16.raw")
        subprocess.run([self.nuv, "convert", photo, path, "color=gray", "convert=257:0:16",
                        f"cubic={self.width}x{self.height}"], check=True)
        return path

    @functools.cached_property
    def rgb(self):
        """The samples of the photograph."""
        path = self.path("rgb.raw")
        subprocess.run([self.nuv, "convert", self.photo, path], check=True)
        return path

    def dicom(self, raw):
        """The samples of `gray16` or `rgb`, uncompressed, as dcmtk takes them."""
        kind = "US 1\n(0028,0004) CS [MONOCHROME2]" if raw == self.gray16 else (
            "US 3\n(0028,0004) CS [RGB]\n(0028,0006) US 0")
        bits = 16 if raw == self.gray16 else 8
        described, path = f"{raw}.dump", f"{raw}.dcm"
        if os.path.exists(path):
            return path
        with open(described, "w", encoding="ascii") as file:
            file.write(f"(0002,0010) UI =LittleEndianExplicit\n"
                       f"(0008,0016) UI =SecondaryCaptureImageStorage\n"
                       f"(0008,0018) UI [1.2.3.4]\n(0008,0060) CS [OT]\n"
                       f"(0028,0002) {kind}\n"
                       f"(0028,0010) US {self.height}\n(0028,0011) US {self.width}\n"
                       f"(0028,0100) US {bits}\n(0028,0101) US {bits}\n"
                       f"(0028,0102) US {bits - 1}\n(0028,0103) US 0\n(7fe0,0010) OW ={raw}\n")
        subprocess.run(["dump2dcm", "+te", described, path], check=True)
        return path

    def lossless_dicom(self, raw):
        path = f"{raw}_lossless.dcm"
        subprocess.run(["dcmcjpeg", "+e1", self.dicom(raw), path], check=True)
        return path

    def lossless(self, dicom):
        """The stream inside a file of dcmcjpeg: PS3.5, A.4: a table of offsets, then one fragment."""
        with open(dicom, "rb") as file:
            data = file.read()
        at = data.index(b"\xe0\x7f\x10\x00OB\0\0\xff\xff\xff\xff") + 12
        at += 8 + int.from_bytes(data[at + 4:at + 8], "little")
        size = int.from_bytes(data[at + 4:at + 8], "little")
        path = f"{dicom}.jpg"
        with open(path, "wb") as file:
            file.write(data[at + 8:at + 8 + size])
        return path

    @functools.cached_property
    def page_size(self):
        """A4 at 600 dots per inch beside 24 megapixels, and in proportion."""
        return self.width * 4960 // 6000, self.height * 7016 // 4000

    @functools.cached_property
    def page(self):
        path = self.path("page.pbm")
        page_of_text(*self.page_size, path)
        return path

    @functools.cached_property
    def fax(self):
        """The page in T.6."""
        path = self.path("page.tif")
        with open(path, "wb") as file:
            subprocess.run(["pnmtotiff", "-quiet", "-g4", self.page], stdout=file, check=True)
        return path

    @functools.cached_property
    def bitmap(self):
        path = self.path("photo.bmp")
        with open(path, "wb") as file:
            subprocess.run(["ppmtobmp", "-quiet", "-windows", "-bpp", "24", self.photo],
                           stdout=file, check=True)
        return path

    def png(self, level):
        path = self.path(f"level{level}.png")
        with open(path, "wb") as file:
            subprocess.run(["pnmtopng", "-quiet", "-compression", str(level), self.photo],
                           stdout=file, check=True)
        return path

    @functools.cached_property
    def scan_size(self):
        """20000 x 20000 beside 24 megapixels, and in proportion."""
        return self.width * 10 // 3, self.height * 5

    @functools.cached_property
    def scan(self):
        path = self.path("scan.tif")
        lines = random.Random(1).randbytes(self.scan_size[0] * 67)
        begins = itertools.count(0, self.scan_size[0] // 7)
        strips = (lines[i % (3 * self.scan_size[0]):] for i in begins)
        write_tiff(path, self.scan_size, 64, strips)
        return path

    strips = 100000
    strip_width = 100

    @functools.cached_property
    def many_strips(self):
        path = self.path("strips.tif")
        write_tiff(path, (self.strip_width, self.strips), 1,
                   itertools.repeat(bytes(range(self.strip_width))))
        return path

    @functools.cached_property
    def screen_size(self):
        """1920 x 1080 beside 24 megapixels, and in proportion."""
        return self.width * 1920 // 6000, self.height * 1080 // 4000

    @functools.cached_property
    def screen(self):
        """A screen of text in run-length coding."""
        text, path = self.path("screen.pbm"), self.path("screen.bmp")
        page_of_text(*self.screen_size, text)
        subprocess.run([magick_name(), text, "-blur", "1", "-colors", "64", "-type", "Palette",
                        "-compress", "RLE", f"BMP3:{path}"], check=True)
        return path
