"""Reading scans, many strips, and run-length coded screens."""

from peers.measure import Case, Command


def tiff(pictures):
    width, height = pictures.scan_size
    scan = pictures.scan
    yield Case(
        "scan, area to 10 %", width * height,
        Command("nuv", (pictures.nuv, "convert", scan, pictures.path("ours.jpg"), "-f",
                        "--max-pixels", "0", "area=10%")),
        (Command("vips shrink", ("vips", "shrink", scan, pictures.path("theirs.jpg"), "10", "10")),),
        aim=0.5)
    strips = pictures.many_strips
    yield Case("info on 100,000 strips", pictures.strips * pictures.strip_width,
               Command("nuv", (pictures.nuv, "info", strips)),
               (Command("tiffinfo", ("tiffinfo", strips)),), aim=1.0)
    width, height = pictures.screen_size
    screen = pictures.screen
    yield Case(
        "screen in RLE8", width * height,
        Command("nuv", (pictures.nuv, "convert", screen, pictures.path("ours.raw"))),
        (Command("GraphicsMagick", ("gm", "convert", screen, pictures.path("theirs.ppm"))),),
        aim=0.5)
