"""Windows bitmaps read."""

from peers.measure import Case, Command


def bitmaps(pictures):
    """To raw samples beside an anymap; of the coded screen nuv gives indices, netpbm the colours."""
    ours = pictures.path("ours.raw")
    screen_width, screen_height = pictures.screen_size
    for name, stored, pixels, aim in (
            ("bitmap, 24 bits", pictures.bitmap, pictures.pixels, 0.3),
            ("bitmap, coded screen", pictures.screen, screen_width * screen_height, 0.3)):
        yield Case(
            name, pixels,
            Command("nuv", (pictures.nuv, "convert", "-f", stored, ours)),
            (Command("bmptopnm", ("bmptopnm", "-quiet", stored), pictures.path("theirs.pnm")),),
            aim=aim)
