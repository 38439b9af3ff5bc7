"""JPEG written and read, lossy and lossless."""

from peers.measure import Case, Command


def encode(pictures):
    photo = pictures.photo
    ours = pictures.path("ours.jpg")
    theirs = pictures.path("theirs.jpg")
    for sampling, factors, aim in (("420", "2x2", 1.25), ("422", "2x1", 1.25), ("444", "1x1", None)):
        yield Case(
            f"encode {':'.join(sampling)}", pictures.pixels,
            Command("nuv", (pictures.nuv, "convert", photo, ours, "-f", "--quality", "75",
                            "--sampling", sampling)),
            (Command("cjpeg", ("cjpeg", "-quality", "75", "-sample", factors, "-dct", "int",
                               "-outfile", theirs, photo)),),
            aim=aim)


def decode(pictures):
    """To component samples, chroma repeated. Both sides write the same bytes."""
    ours = pictures.path("ours.raw")
    theirs = pictures.path("theirs.raw")
    half = pictures.half_size[0] * pictures.half_size[1]
    for name, photo, pixels, factors, *switches in (
            ("baseline 4:2:0", pictures.photo, pictures.pixels, "2x2"),
            ("baseline 4:2:2", pictures.photo, pictures.pixels, "2x1"),
            ("baseline 4:4:4", pictures.photo, pictures.pixels, "1x1"),
            ("progressive 4:2:0", pictures.half_photo, half, "2x2", "-progressive"),
            ("progressive 4:4:4", pictures.half_photo, half, "1x1", "-progressive")):
        stored = pictures.jpeg(photo, factors, *switches)
        yield Case(
            f"decode {name}", pixels,
            Command("nuv", (pictures.nuv, "convert", "-f", stored, ours)),
            (Command("libjpeg", (pictures.libjpeg, stored, theirs)),),
            Command("copy", (pictures.nuv, "convert", "-f", photo, pictures.path("copy.raw"))),
            aim=1.25, equal=(ours, theirs))


def lossless(pictures):
    """16 bits of gray, and RGB. dcmconv reads and writes as dcmtk's coders do, and codes nothing."""
    for kind, raw, form in (("gray 16", pictures.gray16, "1x16:gray"),
                            ("RGB", pictures.rgb, "3x8:rgb")):
        plain, stored = pictures.dicom(raw), pictures.lossless_dicom(raw)
        raw_words = ("--input-raw", f"{pictures.width}x{pictures.height}x{form}")
        theirs, ours = pictures.path("theirs.dcm"), pictures.path("ours.ljpg")
        copy = Command("copy", (pictures.nuv, "convert", "-f", raw, pictures.path("copy.raw"),
                                *raw_words))
        floor = Command("dcmconv, no coding", ("dcmconv", plain, theirs))
        encoded = (pictures.nuv, "convert", raw, ours, "-f", *raw_words)
        peers = (Command("dcmcjpeg", ("dcmcjpeg", "+e1", plain, theirs)),)
        for name, words in (("fixed table", ()), ("own table", ("--optimise",))):
            yield Case(f"lossless {kind}, {name}", pictures.pixels,
                       Command("nuv", (*encoded, *words)), peers, copy, floor, 0.5)
        ours = pictures.path("ours.raw")
        yield Case(f"decode lossless {kind}", pictures.pixels,
                   Command("nuv", (pictures.nuv, "convert", "-f", pictures.lossless(stored), ours)),
                   (Command("dcmdjpeg", ("dcmdjpeg", stored, theirs)),),
                   copy, floor, 0.5, (ours, raw))
