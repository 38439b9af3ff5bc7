"""PNG pictures read."""

from peers.measure import Case, Command


def png(pictures):
    """To samples; the peer, of netpbm, goes through the same libpng and writes an anymap."""
    ours = pictures.path("ours.ppm")
    theirs = pictures.path("theirs.ppm")
    for level in (6, 1):
        stored = pictures.png(level)
        yield Case(
            f"PNG, RGB, level {level}", pictures.pixels,
            Command("nuv", (pictures.nuv, "convert", "-q", "--force", "-o", ours, stored)),
            (Command("pngtopnm", ("pngtopnm", "-quiet", stored), theirs),),
            aim=1.0, equal=(ours, theirs))
