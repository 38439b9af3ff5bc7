"""How chains run: memory, threads, signals, callbacks and failures."""

import errno
import gc
import io
import os
import signal
import subprocess
import sys
import threading
import time
import warnings

import numpy
import pytest

import nuv

FLAT = nuv.from_array(numpy.broadcast_to(numpy.uint8(7), (9000, 9000)))
SLOW, TURNED = FLAT.scale(20000, 20000), FLAT.rotate(90).scale(20000, 20000)


def resident_bytes():
    with open("/proc/self/statm", encoding="ascii") as statm:
        return int(statm.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


def test_views_keep_what_they_show_and_nothing_open(samples, jpeg, tmp_path):
    path = tmp_path / "x.jpg"
    path.write_bytes(jpeg)
    expected = nuv.open(jpeg).array().copy()
    before = os.listdir("/proc/self/fd")
    views = [nuv.open(path).array() for _ in range(50)]
    views += [nuv.open(io.BytesIO(jpeg)).array()[::-1][::-1] for _ in range(50)]
    raw = nuv.from_array(samples.copy()).samples()
    source = nuv.open(bytearray(jpeg))
    gc.collect()
    assert os.listdir("/proc/self/fd") == before
    rubbish = [numpy.full(samples.shape, 255, numpy.uint8) for _ in range(500)]
    assert all(numpy.array_equal(view, expected) and not view.flags.owndata for view in views)
    assert bytes(raw) == samples.tobytes() and not raw.readonly and rubbish
    assert numpy.array_equal(source.array(), expected)
    held = bytearray(jpeg)
    image = nuv.open(held)
    with pytest.raises(BufferError):
        held.append(0)
    del image
    held.append(0)


def test_a_thousand_threads_over_a_hundred_pictures(samples, tmp_path):
    paths, expected = [], []
    for i in range(100):
        paths.append(tmp_path / f"{i}.jpg")
        nuv.from_array(samples).crop(i % 20, i // 10, 40, 30).save(paths[-1], quality=90)
        expected.append(nuv.open(paths[-1]).fit(20, 20).array().tobytes())
    shared = nuv.open(paths[0]).fit(20, 20)
    wrong = []

    def work(i):
        made = nuv.open(paths[i % 100]).fit(20, 20).array().tobytes()
        told = []
        again = bytes(shared.samples(progress=lambda *lines: told.append(lines)))
        if made != expected[i % 100] or again != expected[0] or told[-1] != (15, 15):
            wrong.append(i)

    threads = [threading.Thread(target=work, args=(i,)) for i in range(1000)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert wrong == []


def test_ten_thousand_runs_leave_nothing(jpeg):
    def run(i):
        image = nuv.open(jpeg if i % 3 else jpeg[:-900])
        image.first_damaged_line
        image.crop(i % 50, 0, 8, 8).table(numpy.arange(256, dtype="u1")).array()
        next(image.lines(1))
        with pytest.raises((nuv.Cancelled, nuv.UnsupportedError, ZeroDivisionError)):
            (image.expand_bits(8, 0, 1) if i % 2 else image.crop(0, 0, 9, 9)).jpeg(
                progress=lambda *_: 1 // (i % 4) < 0)

    def run_many(numbers):
        for i in numbers:
            run(i)
        gc.collect()
        return resident_bytes()

    nuv.open(jpeg)
    with pytest.warns(nuv.DamagedWarning):
        nuv.open(jpeg[:-900]).array()
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        before = run_many(range(1000))
        assert run_many(range(10000)) - before < 1 << 20


@pytest.mark.parametrize("run", [
    lambda path: SLOW.jpeg(), lambda path: SLOW.save(path), lambda path: list(SLOW.lines(20000)),
    lambda path: TURNED.jpeg(), lambda path: SLOW.jpeg(progress=lambda *_: None)])
def test_an_interrupt_ends_a_run(run, tmp_path):
    start = time.monotonic()
    threading.Timer(0.05, os.kill, (os.getpid(), signal.SIGINT)).start()
    with pytest.raises(KeyboardInterrupt):
        run(tmp_path / "x.jpg")
    assert time.monotonic() - start < 2
    assert os.listdir(tmp_path) == []


def test_other_threads_run_meanwhile():
    counted = 0
    is_done = False

    def count():
        nonlocal counted
        while not is_done:
            counted += 1

    thread = threading.Thread(target=count)
    thread.start()
    before = counted
    SLOW.crop(0, 0, 20000, 600).jpeg()
    after = counted
    is_done = True
    thread.join()
    assert after - before > 1000


def test_the_interpreter_ends_while_threads_are_told():
    program = """if True:
        import numpy, nuv, threading, time
        slow = nuv.from_array(numpy.broadcast_to(numpy.uint8(7), (9, 9))).scale(9000, 20000)
        for told in (None, lambda *_: None, lambda *_: time.sleep(0.01)):
            threading.Thread(target=slow.jpeg, kwargs={"progress": told}, daemon=True).start()
        time.sleep(0.05)"""
    done = subprocess.run([sys.executable, "-c", program], capture_output=True, check=False)
    assert done.returncode == 0 and b"terminate" not in done.stderr


def test_a_callback_is_told_each_band_and_may_cancel_or_raise(samples):
    image = nuv.from_array(samples)
    told = []
    image.jpeg(progress=lambda *lines: told.append(lines))
    assert told == [(line, 40) for line in range(1, 41)]
    with pytest.raises(nuv.Cancelled, match="behind line 3 of 40"):
        image.array(progress=lambda done, lines: done < 3)
    for call in (lambda: image.array(progress=lambda *_: [].pop()),
                 lambda: image.save(io.BytesIO(), format="jpeg", progress=lambda *_: [].pop())):
        with pytest.raises(IndexError):
            call()

    class Full(io.RawIOBase):
        def write(self, data):
            raise OSError(errno.ENOSPC, "full")

    with pytest.raises(OSError, match="full"):
        image.save(Full(), format="raw")


def row(call, error, text, path=None, byte=None, line=None, code=None):
    return pytest.param(call, error, text, path, byte, line, code, id=f"{error.__name__} {text}")


# fmt: off
@pytest.mark.parametrize("call, error, text, path, byte, line, code", [
    row(lambda jpeg: nuv.open("none.jpg"), FileNotFoundError, "No such file", "none.jpg", code=errno.ENOENT),
    row(lambda jpeg: nuv.open("/"), IsADirectoryError, "Is a directory", "/", code=errno.EISDIR),
    row(lambda jpeg: nuv.open(jpeg).save("/no/such/folder/x.jpg"), FileNotFoundError, "No such", "/no/such/folder/x.jpg", code=errno.ENOENT),
    row(lambda jpeg: nuv.open("/dev/null"), OSError, "no regular file", "/dev/null", code=errno.ESPIPE),
    row(lambda jpeg: nuv.open(b"hello, world"), nuv.UnknownKindError, "starts with 68 65 6c 6c", byte=0),
    row(lambda jpeg: nuv.open(b""), nuv.UnknownKindError, "is empty"),
    row(lambda jpeg: nuv.open(io.BytesIO()), nuv.UnknownKindError, "is empty"),
    row(lambda jpeg: nuv.open(jpeg[:300]), nuv.DamagedError, "header ends early", byte=2),
    row(lambda jpeg: nuv.open(jpeg[:-900], strict=True).array(), nuv.DamagedError, "from line 25 of 40", line=24),
    row(lambda jpeg: nuv.open(jpeg, max_pixels=2399), nuv.LimitError, "2399 are allowed"),
    row(lambda jpeg: nuv.open(jpeg, max_side=59), nuv.LimitError, "59 x 59 are allowed"),
    row(lambda jpeg: nuv.open(jpeg, max_memory=1000), nuv.LimitError, "1000 bytes are too few"),
    row(lambda jpeg: nuv.open(io.BytesIO(jpeg), max_memory=1000), nuv.LimitError, "more than 1000 bytes"),
    row(lambda jpeg: nuv.open(jpeg, page=1), nuv.CallError, "no page 1"),
    row(lambda jpeg: nuv.open(jpeg, max_side=0), ValueError, "max_side is above 0"),
    row(lambda jpeg: nuv.open(jpeg).crop(60, 0, 1, 1), nuv.CallError, "do not fit a picture of 60 x 40"),
    row(lambda jpeg: nuv.open(jpeg).expand_bits(8, 0, 1), nuv.UnsupportedError, "does not serve such"),
    row(lambda jpeg: nuv.open(jpeg).matrix([[1, 2]]), nuv.CallError, "a factor for each channel"),
    row(lambda jpeg: nuv.open(jpeg).matrix([[1, 2, 3]], [1, 2]), nuv.CallError, "as many offsets as rows"),
    row(lambda jpeg: nuv.open(jpeg).color_table(numpy.zeros((2, 2, 3, 3), "u1"), nuv.Color.RGB), nuv.CallError, "all of them equal"),
    row(lambda jpeg: nuv.open(jpeg).color_table(numpy.zeros((2, 2, 2, 3), "u2"), nuv.Color.RGB), nuv.CallError, "the picture's type"),
    row(lambda jpeg: nuv.open(jpeg).table(numpy.zeros((1, 1, 1), "u1")), nuv.CallError, "the shape"),
    row(lambda jpeg: nuv.open(jpeg).jpeg(101), nuv.CallError, "0 to 100"),
    row(lambda jpeg: nuv.open(jpeg).jpeg(75, "333"), ValueError, "a sampling is"),
    row(lambda jpeg: nuv.open(jpeg).lines(0), ValueError, "at least one line"),
    row(lambda jpeg: nuv.open(jpeg).pick_channels([0] * 65537), nuv.CallError, "up to 65535"),
    row(lambda jpeg: nuv.open(jpeg).apply("crop=99,9,1x1"), nuv.UnsupportedError, "begins outside"),
    row(lambda jpeg: nuv.open(jpeg, max_side="much"), TypeError, "another type"),
    row(lambda jpeg: nuv.Image.__new__(nuv.Image), TypeError, "not safe"),
    row(lambda jpeg: nuv.open(5), TypeError, "a source is"),
    row(lambda jpeg: nuv.open(io.StringIO("text")), TypeError, "opened as binary"),
    row(lambda jpeg: nuv.open("a\0b"), ValueError, "null byte"),
    row(lambda jpeg: nuv.from_array(numpy.zeros((2, 2))), ValueError, "samples are of"),
    row(lambda jpeg: nuv.from_array(numpy.zeros((2, 2), ">u2")), ValueError, "order of bytes"),
    row(lambda jpeg: nuv.from_array(numpy.zeros((2, 0), "u1")), ValueError, "no samples"),
    row(lambda jpeg: nuv.from_array(numpy.zeros(2, "u1")), ValueError, "the shape"),
    row(lambda jpeg: nuv.from_array(numpy.zeros((2, 2, 2), "u1"), nuv.Color.RGB), nuv.CallError, "describes no samples"),
    row(lambda jpeg: nuv.open(jpeg).__array__(copy=False), ValueError, "is a copy"),
])
# fmt: on
def test_failures_say_what_and_where(call, error, text, path, byte, line, code, jpeg):
    with pytest.raises(error, match=text) as caught:
        call(jpeg)
    told = caught.value
    if isinstance(told, (nuv.Error, OSError)):
        assert (told.path, told.byte, told.line) == (path, byte, line)
        assert getattr(told, "errno", None) == code


def test_damage_is_mended_and_told(jpeg):
    image = nuv.open(jpeg[:-900])
    assert image.first_damaged_line is None
    with pytest.warns(nuv.DamagedWarning, match="from line 25 of 40 on") as told:
        image.array()
    assert told[0].filename == __file__ and image.first_damaged_line == 24
    with pytest.warns(nuv.DamagedWarning):
        assert sum(len(band) for band in nuv.open(jpeg[:-900]).lines(16)) == 40


def test_a_name_may_have_any_bytes(jpeg, tmp_path):
    name = os.fsdecode(os.fsencode(tmp_path) + b"/\xff.jpg")
    with open(name, "wb") as file:
        file.write(jpeg[:-900])
    image = nuv.open(name)
    with pytest.warns(nuv.DamagedWarning, match="\udcff.jpg: The source is damaged"):
        assert sum(len(band) for band in image.lines(16)) == 40
    assert image.first_damaged_line == 24 and f"from {name!r}" in repr(image)
    for words, error in (("crop=99,9,1x1", nuv.UnsupportedError), (["lut=\udcff:8"], nuv.CallError)):
        with pytest.raises(error) as caught:
            image.apply(words)
    assert "\udcff: No such file" in str(caught.value)


def test_one_thread_at_a_time_reads_bands():
    bands = TURNED.lines(1)
    thread = threading.Thread(target=next, args=(bands,))
    thread.start()
    time.sleep(0.05)
    with pytest.raises(ValueError, match="another thread"):
        next(bands)
    thread.join()
