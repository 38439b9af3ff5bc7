"""Reading scans, many strips, run-length coded screens and facsimile pages."""

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
        Command("nuv", (pictures.nuv, "convert", "-f", screen, pictures.path("ours.raw"))),
        (Command("GraphicsMagick", ("gm", "convert", screen, pictures.path("theirs.ppm"))),),
        aim=0.5)


def fax(pictures):
    width, height = pictures.page_size
    page = pictures.fax
    yield Case(
        "T.6 page, turned and halved", width * height,
        Command("nuv", (pictures.nuv, "convert", page, pictures.path("ours.raw"), "-f",
                        "rotate=90", "nearest=50%")),
        (Command("Leptonica", (pictures.leptonica, page, pictures.path("theirs.raw"))),
         Command("vips, turned alone", ("vips", "rot", page, pictures.path("theirs.v"), "d90"))),
        aim=0.5)
