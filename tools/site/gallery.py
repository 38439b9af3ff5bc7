#!/usr/bin/env python3
"""Makes the pictures of the gallery with the tool, out of pictures that it draws itself, and puts
them where docs/gallery.md has a mark for them: the page of the site has both.

    gallery.py NUV FOLDER      FOLDER holds the pages of the site, gallery.md among them
"""

import html
import math
import re
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
METHODS = ("nearest", "linear", "cubic", "area", "fine")
TILE = (176, 132)  # pixels, five of which stand side by side on a screen and two on a telephone
LARGE_TILE = (288, 216)
# Of each picture and size the corner of what is shown; enlarged ones are cut out before.
CORNERS = {
    "photograph": {"25": (64, 30), "60": (224, 106), "200": (402, 198)},
    "text": {"25": (4, 4), "60": (10, 10), "200": (12, 16)},
    "screen": {"25": (36, 27), "60": (150, 110), "200": (270, 200)},
}
CHANNELS = {
    "rgb": ("red", "green", "blue"),
    "ycbcr": ("Y", "Cb", "Cr"),
    "hsl": ("hue", "saturation", "lightness"),
    "icc-lab": ("L*", "a*", "b*"),
    "cmyk": ("cyan", "magenta", "yellow", "black"),
}
WORDS = """A picture is pulled
through a chain of stages,
a few lines at a time. Most
stages hold one line; those
that turn a picture hold it
whole, and say so. Nothing
moves before the last stage
asks for its first line, and
that is why a chain of ten
stages takes no more memory
than it does with one."""
RUN_COLORS = (bytes((27, 94, 140)), bytes((222, 120, 40)))
MARK = re.compile(r"^<!-- (\w+) ?(\w*) -->$", re.MULTILINE)


class Gallery:
    """The pictures, and the folder that they are made in."""

    def __init__(self, nuv, folder, work):
        self.nuv = nuv
        self.folder = folder / "gallery"
        self.folder.mkdir()
        self.work = work
        script = ROOT / "examples/make_demo_picture.py"
        subprocess.run([sys.executable, script, work / "photograph.ppm"], check=True)
        self.draw_text()
        self.draw_screen()

    def convert(self, source, result, *words):
        """Answers what the tool has told."""
        done = subprocess.run([self.nuv, "convert", source, "-o", result, *words], cwd=self.work,
                              capture_output=True, text=True, check=False)
        if done.returncode not in (0, 2):
            sys.exit(done.stderr)
        return done.stderr.strip()

    def draw_text(self):
        """The words in letters of 1 bit, small in letters.pbm, and three times as large with smooth
        edges in text.pgm."""
        letters = subprocess.run(["pbmtext", "-builtin", "bdf", "-nomargins"], input=WORDS.encode(),
                                 capture_output=True, check=True).stdout
        with open(self.work / "letters.pbm", "wb") as file:
            margins = [f"-{side}=6" for side in ("left", "right", "top", "bottom")]
            subprocess.run(["pnmpad", "-white", *margins], input=letters, stdout=file, check=True)
        self.convert("letters.pbm", "gray.pgm", "color=gray")
        self.convert("gray.pgm", "text.pgm", "cubic=300%", "convert=1:128:1", "color=gray")

    def draw_screen(self):
        """Lines that grow thicker from left to right, 5 pixels apart, at 15 degrees."""
        width, height = 640, 480
        cosine, sine = math.cos(math.radians(15)), math.sin(math.radians(15))
        pixels = bytes(
            255 if (x * sine + y * cosine) / 5 % 1 > 0.15 + 0.7 * x / width else 0
            for y in range(height) for x in range(width))
        (self.work / "screen.pgm").write_bytes(b"P5\n%d %d\n255\n" % (width, height) + pixels)

    def figure(self, picture, name, text, size=TILE, code=True):
        """The picture of that file as a PNG, in HTML."""
        with open(self.folder / f"{name}.png", "wb") as file:
            subprocess.run(["pnmtopng", "-quiet", "-compression", "9", self.work / picture], stdout=file,
                           check=True)
        told = html.escape(text, quote=False)
        return (f'<figure><img src="gallery/{name}.png" width="{size[0]}" height="{size[1]}" '
                f'alt="{html.escape(text)}"><figcaption>{f"<code>{told}</code>" if code else told}'
                "</figcaption></figure>")

    def scaling(self, source):
        path = next(self.work.glob(f"{source}.p?m"))
        for percent, (left, top) in CORNERS[source].items():
            width, height = TILE[0] // 2, TILE[1] // 2
            crop = f"crop={left},{top},{width}x{height}"
            figures = []
            for method in METHODS:
                scale = f"{method}={percent}%"
                words = [crop, scale] if percent == "200" else [scale, crop]
                self.convert(path.name, f"scaled{path.suffix}", *words)
                figures.append(self.figure(f"scaled{path.suffix}", f"{source}_{percent}_{method}", scale))
            yield figures

    def runs(self, _):
        self.convert("letters.pbm", "page.pbm", f"crop=0,0,{TILE[0]}x{TILE[1]}")
        with open(self.work / "page.tif", "wb") as file:
            subprocess.run(["pamtotiff", "-g4", "-quiet", self.work / "page.pbm"], stdout=file, check=True)
        figures = [self.figure("page.pbm", "page", "a page in T.6", code=False)]
        count = self.draw_runs("page.pbm")
        figures.append(self.figure("runs.ppm", "page_runs", f"its {count} runs of black", code=False))
        for degrees in (90, 180, 270):
            self.convert("page.tif", "turned.pbm", f"rotate={degrees}")
            count = self.draw_runs("turned.pbm")
            size = TILE if degrees == 180 else TILE[::-1]
            figures.append(self.figure("turned.pbm", f"page_{degrees}", f"rotate={degrees}: {count} runs",
                                       size))
        yield figures

    def draw_runs(self, name):
        """Writes runs.ppm, in which the black runs of each line have two colours in turn, and answers
        how many there are."""
        data = subprocess.run(["pnmtoplainpnm", self.work / name], capture_output=True, check=True).stdout
        width, height = (int(word) for word in data.split()[1:3])
        bits = "".join(data.decode().split("\n", 2)[2].split())
        pixels = bytearray()
        count = 0
        for line in (bits[i * width:(i + 1) * width] for i in range(height)):
            for run in re.findall("0+|1+", line):
                count += run[0] == "1"
                pixels += (b"\xff\xff\xff" if run[0] == "0" else RUN_COLORS[count % 2]) * len(run)
        (self.work / "runs.ppm").write_bytes(b"P6\n%d %d\n255\n" % (width, height) + pixels)
        return count

    def colors(self, _):
        self.convert("photograph.ppm", "small.ppm", f"area={TILE[0]}x{TILE[1]}")
        yield [self.figure("small.ppm", "colors", "the picture", code=False)]
        for color, names in CHANNELS.items():
            figures = []
            for number, name in enumerate(names):
                self.convert("small.ppm", "channel.pgm", f"color={color}", f"channel={number}")
                figures.append(self.figure("channel.pgm", f"{color}_{number}", f"color={color}: {name}"))
            yield figures

    def damage(self, _):
        self.convert("photograph.ppm", "whole.ppm", f"area={LARGE_TILE[0]}x{LARGE_TILE[1]}")
        self.convert("whole.ppm", "whole.jpg", "--quality", "85")
        baseline = (self.work / "whole.jpg").read_bytes()
        progressive = subprocess.run(["cjpeg", "-quality", "85", "-progressive", self.work / "whole.ppm"],
                                     capture_output=True, check=True).stdout
        middle = len(baseline) * 2 // 5
        rubbish = bytes((31 * i + 7) % 251 for i in range(40))
        figures = []
        for name, data, text in (
                ("cut", baseline[:len(baseline) * 3 // 5], "Cut off at 60 % of its bytes."),
                ("struck", baseline[:middle] + rubbish + baseline[middle + len(rubbish):],
                 "40 bytes in the middle are rubbish."),
                ("coarse", progressive[:len(progressive) // 6], "Progressive, cut off at a sixth of its bytes.")):
            (self.work / f"{name}.jpg").write_bytes(data)
            told = self.convert(f"{name}.jpg", "saved.ppm", "color=rgb").removeprefix(f"nuv: {name}.jpg: ")
            figures.append(self.figure("saved.ppm", name, f"{text} {told}", LARGE_TILE, code=False))
        yield figures

    def at(self, mark):
        rows = ('<div class="tiles">\n' + "\n".join(figures) + "\n</div>"
                for figures in getattr(self, mark[1])(mark[2]))
        return "\n\n".join(rows)


def main():
    nuv, folder = Path(sys.argv[1]).resolve(), Path(sys.argv[2])
    page = folder / "gallery.md"
    with tempfile.TemporaryDirectory() as work:
        gallery = Gallery(nuv, folder, Path(work))
        page.write_text(MARK.sub(gallery.at, page.read_text(encoding="utf-8")), encoding="utf-8")


if __name__ == "__main__":
    main()
