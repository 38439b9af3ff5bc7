"""Random chains: what the module makes of them, and what the plain interface does."""

import random

import numpy
from hypothesis import HealthCheck, assume, given, settings
from hypothesis import strategies as st
from nuv_capi import result_of

import nuv

COLORS = [color.value for color in nuv.Color]
GRAY_OR_RGB = [nuv.Color.GRAY, nuv.Color.RGB, nuv.Color.YCBCR, nuv.Color.CMYK]


def table_for(r, image, shape):
    bits = image.bits if image.bits in (8, 16) else 8
    return numpy.random.default_rng(r.randrange(99)).integers(
        0, 1 << bits, shape, dtype=f"u{bits // 8}")


def fit(r, _):
    how, flags = r.randrange(5), r.randrange(8)
    box = r.randrange(1, 60), r.randrange(1, 60)
    return (lambda image: image.fit(*box, nuv.Scaling(how), enlarge=flags & 1, fill=flags & 2,
                                    fast=flags & 4)), (how, *box, flags)


def scale(r, _):
    how, *size = r.randrange(5), r.randrange(60), r.randrange(1, 60)
    return (lambda image: image.scale(*size, nuv.Scaling(how))), (how, *size)


def pick(r, image):
    channels = [r.randrange(image.channels) for _ in range(r.randint(1, 4))]
    color = r.choice(COLORS)
    return (lambda i: i.pick_channels(channels, color)), (
        numpy.array(channels, numpy.uint16), len(channels), color)


def convert(r, _):
    bits, kind = r.choice([1, 8, 16, 32]), r.randrange(3)
    slope, offset = r.choice([1.0, 0.5, 257.0]), r.choice([0.0, 1.0, 99.5])
    return (lambda image: image.convert(bits, kind, slope=slope, offset=offset)), (
        kind, bits, slope, offset)


def table(r, image):
    entries = table_for(r, image, r.choice([(200,), (image.channels, 256)]))
    return (lambda i: i.table(entries)), (
        entries, entries.shape[-1], entries.size // entries.shape[-1], 8 * entries.itemsize)


def color_table(r, image):
    assume(image.bits in (8, 16) and image.channels <= 4)  # the call itself refuses others
    grid = table_for(r, image, (r.randint(2, 4),) * image.channels + (r.randint(1, 4),))
    color = r.choice(GRAY_OR_RGB)
    return (lambda i: i.color_table(grid, color)), (grid, grid.shape[0], grid.shape[-1], color)


def matrix(r, image):
    rows = [[r.choice([0.0, 0.5, 1.0, -1.0]) for _ in range(image.channels)]
            for _ in range(r.randint(1, 4))]
    offsets = r.choice([[], [float(r.randrange(50)) for _ in rows]])
    color = r.choice(COLORS)
    return (lambda i: i.matrix(rows, offsets, color)), (
        numpy.array(rows), len(rows), numpy.array(offsets) if offsets else None, color)


def plain(name, *choices):
    """An operation whose arguments are the same in both, drawn from ranges or lists."""
    def draw(r, _):
        arguments = [r.choice(choice) for choice in choices]
        return (lambda image: getattr(image, name)(*arguments)), arguments
    return draw


def shift(r, _):
    bits, by, kind = r.choice([8, 16, 32]), r.randint(-9, 9), r.randrange(2)
    return (lambda image: image.shift(bits, by, kind)), (kind, bits, by)


OPERATIONS = {
    "crop": plain("crop", range(40), range(40), range(1, 50), range(1, 50)),
    "rotate": plain("rotate", [0, 90, 180, -90, 45]), "flip": plain("flip", range(2)),
    "upright": plain("upright"), "scale": scale, "fit": fit, "invert": plain("invert"),
    "pick_channels": pick, "reverse_channels": plain("reverse_channels"),
    "recolor": plain("recolor", COLORS), "convert": convert, "shift": shift,
    "clamp": plain("clamp", range(-9, 99), range(9, 300)),
    "expand_bits": plain("expand_bits", [8, 16], range(300), range(300)),
    "table": table, "color_table": color_table, "matrix": matrix,
}
FORMS = {
    "samples": (lambda image: bytes(image.samples()), "nuv_as_samples", (0,)),
    "planar": (lambda image: bytes(image.samples(planar=True)), "nuv_as_samples", (1,)),
    "jpeg": (lambda image: image.jpeg(60, "420"), "nuv_as_jpeg", (60, 0x1011)),
    "lossless": (lambda image: image.lossless(optimise=True), "nuv_as_lossless_jpeg", (1,)),
    "anymap": (nuv.Image.anymap, "nuv_as_anymap", ()),
}
VIEWS = [lambda a: a, lambda a: a[::-1], lambda a: a[:, ::-2], lambda a: a[..., ::-1],
         lambda a: a.swapaxes(0, 1), lambda a: a[1::2, 3:]]


@settings(max_examples=400, deadline=None, database=None, derandomize=True,
          suppress_health_check=list(HealthCheck))
@given(st.sampled_from(["u1", "u2", "u4", "?"]), st.sampled_from([0, 1, 3, 4]),
       st.sampled_from(VIEWS), st.sampled_from(sorted(FORMS)),
       st.lists(st.tuples(st.sampled_from(sorted(OPERATIONS)), st.integers(0, 1 << 32)),
                max_size=5))
def test_a_chain_gives_what_the_plain_interface_gives(kind, channels, view, form, steps):
    if kind == "?":
        channels = 0  # of bits there is one
    noise = numpy.random.default_rng(len(steps)).integers(
        0, 1 << 31, (37, 45, channels) if channels else (37, 45))
    samples = view((noise & 1).astype(bool) if kind == "?" else noise.astype(kind))
    color = {3: nuv.Color.RGB, 4: nuv.Color.CMYK}.get(channels, nuv.Color.GRAY)
    result, c_name, c_arguments = FORMS[form]
    calls = []
    image = nuv.from_array(samples, color)
    try:
        for name, seed in steps:
            call, arguments = OPERATIONS[name](random.Random(seed), image)
            calls.append((f"nuv_{name}", arguments))
            image = call(image)
        made = result(image)
        if form == "samples" and image.bits > 1:
            array = image.array()
            assert array.tobytes() == made and array.shape[1::-1] == image.size
            assert numpy.concatenate(list(image.lines(5))).tobytes() == made
    except nuv.Error as error:
        made = type(error).__name__
        assert image.array().size  # a failure is the step's, and the image is what it was
    assert made == result_of(samples, color, [*calls, (c_name, c_arguments)])
