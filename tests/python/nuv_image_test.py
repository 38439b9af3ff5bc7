"""Chains, sources and results of the module nuv."""

import io
import os
from pathlib import Path

import numpy
import pytest

import nuv


def same(left, right):
    return left.dtype == right.dtype and numpy.array_equal(left, right)


def test_an_image_stays_what_it_is_and_gives_each_branch_its_own_run(jpeg):
    image = nuv.open(jpeg)
    whole = image.array()
    corner, middle = image.crop(0, 0, 10, 10), image.crop(20, 10, 5, 7)
    assert (image.size, corner.size, middle.size) == ((60, 40), (10, 10), (5, 7))
    assert same(middle.array(), whole[10:17, 20:25])
    assert same(corner.array(), whole[:10, :10])
    assert same(corner.array(), whole[:10, :10])  # and once more


def test_every_source_gives_the_same(jpeg, tmp_path):
    path = tmp_path / "a picture ü.jpg"
    path.write_bytes(jpeg)
    whole = nuv.open(jpeg).array()
    for source in (path, str(path), bytearray(jpeg), memoryview(jpeg), io.BytesIO(jpeg)):
        assert same(nuv.open(source).array(), whole)
    assert nuv.info(path) == nuv.info(io.BytesIO(jpeg)) == nuv.info(jpeg)


def test_results_in_every_form_hold_the_same_samples(samples, tmp_path):
    image = nuv.from_array(samples)
    assert same(image.array(), samples)
    assert same(numpy.asarray(image), samples)
    assert same(image.array(planar=True), samples.transpose(2, 0, 1))
    assert bytes(image.samples()) == samples.tobytes()
    assert image.anymap() == b"P6\n60 40\n255\n" + samples.tobytes()
    assert same(nuv.open(image.lossless(optimise=True)).array(), samples)
    for rows in (1, 7, 40, 1000):
        assert same(numpy.concatenate(list(image.lines(rows))), samples)
    for name in ("x.ppm", "x.JPG", "x.raw"):
        image.save(tmp_path / name)
        stream = io.BytesIO()
        image.save(stream, format={"M": "anymap", "G": "jpeg", "W": "raw"}[name[-1].upper()])
        assert (tmp_path / name).read_bytes() == stream.getvalue()


def test_words_do_what_the_tool_does_with_them(samples, tmp_path):
    image = nuv.from_array(samples)
    by_calls = image.crop(4, 2, 50, 30).scale(25, 15).rotate(90).array()
    assert same(image.apply("crop=4,2,50x30  fine=50%\trotate=90").array(), by_calls)
    assert same(image.apply(["crop=4,2,50x30", "fine=50%"]).apply(("rotate=90",)).array(), by_calls)
    image.save(tmp_path / "x.pgm")
    assert nuv.open(tmp_path / "x.pgm").channels == 1
    nuv.check_output("x.ljpg", optimise=True)
    for call, error, text in (
        (lambda: image.apply("roate=90"), nuv.CallError, "did you mean rotate?"),
        (lambda: nuv.check_words("lut=missing:8"), nuv.CallError, "missing: No such file"),
        (lambda: image.apply("fine=1 crop=9,9,1x1"), nuv.UnsupportedError, "begins outside"),
        (lambda: image.apply("crop=0,0,0x1"), nuv.CallError, "not of the form"),
        (lambda: image.save(tmp_path / "x.pbm"), nuv.UnsupportedError, "one bit a pixel"),
        (lambda: image.save(tmp_path / "x.gif"), nuv.CallError, "or format names the kind"),
        (lambda: image.save(tmp_path / "x.pgm", quality=5), nuv.CallError, "JPEG files alone"),
        (lambda: image.save(tmp_path / "x.jpg", quality=101), nuv.CallError, "0 to 100"),
        (lambda: image.save(tmp_path / "x.jpg", sampling="421"), nuv.CallError, "sampling is"),
    ):
        with pytest.raises(error, match=text.replace("?", r"\?")):
            call()


def test_an_image_tells_what_it_is_and_shows_itself(samples, jpeg, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    (tmp_path / "x.jpg").write_bytes(jpeg)
    with nuv.open("x.jpg") as image:
        assert repr(image) == "<nuv.Image 60 x 40, 3 x 8 bits, YCBCR, from 'x.jpg'>"
    monkeypatch.chdir("/")
    assert same(image.array(), nuv.open(jpeg).array())  # the file that it was
    bits = nuv.from_array(samples[..., 0] > 99)
    for shown in (image, bits, nuv.from_array(samples.astype("u2") * 257), nuv.open(palette())):
        small = nuv.open(shown.scale(600, 300, nuv.Scaling.NEAREST)._repr_jpeg_())
        assert small.size == (480, 240)
        assert abs(brightness(small) - brightness(shown)) < 0.02
    assert nuv.from_array(samples.astype("u4"))._repr_jpeg_() is None


def palette():
    return Path(os.environ["NUV_TEST_DATA"], "png/palette_4.png")


def brightness(image):
    """Of what a preview shows, from 0 to 1."""
    array = image.recolor(nuv.Color.GRAY).array()
    return array.mean() / (1 if array.dtype == bool else numpy.iinfo(array.dtype).max)


def test_thumbnails_are_upright_and_fit(jpeg):
    tiff = bytes.fromhex("4d4d002a00000008 0001 0112 0003 00000001 00060000 00000000")
    segment = b"Exif\0\0" + tiff
    lying = jpeg[:2] + b"\xff\xe1" + (len(segment) + 2).to_bytes(2, "big") + segment + jpeg[2:]
    told = nuv.info(lying)
    assert (told.orientation, told.width, told.height) == (6, 60, 40)
    assert same(nuv.open(lying).upright().array(), numpy.rot90(nuv.open(jpeg).array(), -1))
    assert nuv.thumbnail(lying, 20).size == (13, 20)
    assert nuv.thumbnail(lying, 100, 90, enlarge=True).size == (60, 90)
    assert nuv.thumbnail(lying, 8, 16, crop=True).size == (8, 16)
    assert nuv.thumbnail(palette(), 8).channels == 3
    refused = Path(os.environ["NUV_TEST_DATA"], "tiff/refused_lzw.tif")
    assert nuv.info(refused)[:4] == (13, 5, 3, 8)
    with pytest.raises(nuv.UnsupportedError):
        nuv.open(refused)
