"""Scaling and rotating."""

from peers.measure import Case, Command
from peers.pictures import magick_name


def scale(pictures):
    photo = pictures.photo
    copy = Command("copy", (pictures.nuv, "convert", "-f", photo, pictures.path("copy.raw")))

    def ours(method, percent):
        return Command("nuv", (pictures.nuv, "convert", "-f", photo, pictures.path("ours.raw"),
                               f"{method}={percent}%"))

    def vips(operation, *words):
        return Command(f"vips {operation}",
                       ("vips", operation, photo, pictures.path("theirs.v"), *words))

    def vips_resize(percent):
        return vips("resize", f"{percent / 100}", "--kernel", "cubic")

    def vips_by(operation, percent, *words):
        return vips(operation, f"{100 / percent}", f"{100 / percent}", *words)

    def graphicsmagick(percent, name):
        return Command("GraphicsMagick", ("gm", "convert", photo, "-filter", name, "-resize",
                                          f"{percent}%", pictures.path("theirs.ppm")))

    def imagemagick(percent, *words):
        return Command("ImageMagick",
                       (magick_name(), photo, *words, f"{percent}%", pictures.path("theirs.ppm")))

    def case(method, percent, aim, *peers):
        return Case(f"{method} to {percent} %", pictures.pixels, ours(method, percent), peers, copy,
                    aim=aim)

    x, y, width, height = (pictures.width * 3 // 4, pictures.height * 7 // 8, pictures.width // 8,
                           pictures.height // 16)
    yield Case("crop at the lower right", pictures.pixels,
               Command("nuv", (pictures.nuv, "convert", "-f", photo, pictures.path("ours.raw"),
                               f"crop={x},{y},{width}x{height}")),
               (Command("vips crop", ("vips", "crop", photo, pictures.path("theirs.v"),
                                      *map(str, (x, y, width, height)))),
                Command("pamcut", ("pamcut", *map(str, (x, y, width, height)), photo),
                        pictures.path("theirs.pam"))), copy)
    yield case("nearest", 10, None, vips_by("subsample", 10),
               Command("GraphicsMagick", ("gm", "convert", photo, "-sample", "10%",
                                          pictures.path("theirs.ppm"))))
    for percent in (25, 200):
        yield case("cubic", percent, 0.5, vips_resize(percent), graphicsmagick(percent, "catrom"))
    yield case("area", 40, 0.5, vips_by("shrink", 40),
               vips_by("reduce", 40, "--kernel", "linear"), imagemagick(40, "-scale"))
    for percent in (50, 30):
        yield case("linear", percent, 0.5, imagemagick(percent, "-filter", "triangle", "-resize"),
                   graphicsmagick(percent, "triangle"))
    for percent in (60, 20):
        yield case("fine", percent, 1.0, vips_resize(percent))


def rotate(pictures):
    page_pixels = pictures.page_size[0] * pictures.page_size[1]
    for kind, picture, pixels in (("RGB", pictures.photo, pictures.pixels),
                                  ("1 bit", pictures.page, page_pixels)):
        copy = Command("copy", (pictures.nuv, "convert", "-f", picture, pictures.path("copy.raw")))
        # pamflip turns counter-clockwise.
        for degrees, turned in ((90, "-r270"), (180, "-r180"), (270, "-r90")):
            yield Case(
                f"rotate {kind} by {degrees}", pixels,
                Command("nuv", (pictures.nuv, "convert", "-f", picture, pictures.path("ours.raw"),
                                f"rotate={degrees}")),
                (Command("vips rot", ("vips", "rot", picture, pictures.path("theirs.v"),
                                      f"d{degrees}")),
                 Command("pamflip", ("pamflip", turned, picture), pictures.path("theirs.pam"))),
                copy, aim=1.0)
