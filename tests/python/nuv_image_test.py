"""Chains, sources and results of the module nuv."""

import io

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
