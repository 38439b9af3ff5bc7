"""Jobs of many pictures: what is planned, what is recorded, and what faults do to a run."""
import csv
import dataclasses
import itertools
import json
import os
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path

import numpy
import pytest

import nuv
from nuv import batch
from nuv.batch import cluster as cluster_side
from nuv.batch import command, jobs, processes, records
from nuv.batch.records import Record

distributed = pytest.importorskip("distributed")

GOOD = 30
WHOLE = (60, 40)  # pixels and lines of a good picture that the chains below leave as it is


@pytest.fixture
def folder(tmp_path, monkeypatch):
    """Good pictures in in/, and the working directory."""
    monkeypatch.chdir(tmp_path)
    Path("in").mkdir()
    Path("out").mkdir()
    samples = numpy.random.default_rng(1).integers(0, 256, (40, 60, 3), dtype=numpy.uint8)
    nuv.from_array(samples).save("in/00.ppm")
    for number in range(1, GOOD):
        Path(f"in/{number:02}.ppm").write_bytes(Path("in/00.ppm").read_bytes())
    return tmp_path


@pytest.fixture(scope="module")
def cluster():
    page = "127.0.0.1:0"
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, host="127.0.0.1",
                                  dashboard_address=page, worker_dashboard_address=page) as local:
        yield local


def records_of(path):
    with open(path, encoding="utf-8", errors="surrogateescape", newline="") as file:
        if path.endswith(".csv"):
            return [Record(*row) for row in itertools.islice(csv.reader(file), 1, None)]
        return [Record(**json.loads(line)) for line in file]


def check_all_there(bad=()):
    """Every good picture is there once, every bad one is in the record once, and nothing else."""
    told = {record.source: record.status for record in records_of("run.csv")}
    assert len(told) == len(records_of("run.csv")) == GOOD + len(bad)
    assert {source: status for source, status in told.items() if status != "done"} == dict(bad)
    assert sorted(os.listdir("out")) == [f"{number:02}.jpg" for number in range(GOOD)]
    assert {nuv.info(f"out/{name}")[:2] for name in os.listdir("out")} == {WHOLE}


@pytest.mark.parametrize(("names", "pattern", "expected"), [
    # fmt: off
    (["a/x.tif", "b/y"],       "%d/%s-%n%%.jpg", ["a/x-1%.jpg", "b/y-2%.jpg"]),
    (["x.y.tif"],              "a/%s.jpg",       ["a/x.y.jpg"]),
    (["x.tif"],                "a/%q.jpg",       "is followed by s, d, n or %"),
    (["x.tif"],                "a/x.jpg%",       "is followed by s, d, n or %"),
    (["a/x.tif", "b/x.tif"],   "a/%s.jpg",       "a/x.jpg: would be written from a/x.tif and again"),
    (["a/x.tif", "link/y.tif"], "%d/z.jpg",      "link/z.jpg: would be written from a/x.tif and"),
    (["a/x.tif", "a/x.tif"],   "a/%s.jpg",       "and again from a/x.tif"),
    (["a/x.tif", "b/x.jpg"],   "link/%s.tif",    "but is itself a source"),
    (["a/x.tif"],              "c/%s.tif",       "c: there is no such folder"),
    ([],                       "%s.jpg",         "no picture"),
    (["a/x.tif\0b/y.tif"],     "a/%s.jpg",       "no file has such a name"),
    # fmt: on
])
def test_destinations_follow_the_pattern_or_are_refused_at_once(tmp_path, monkeypatch, names,
                                                                pattern, expected):
    monkeypatch.chdir(tmp_path)
    for name in ("a", "b"):
        Path(name).mkdir()
    Path("link").symlink_to("a")
    if isinstance(expected, list):
        assert [task.destination for task in batch.plan(names, pattern)] == expected
    else:
        with pytest.raises(batch.UsageError) as refusal:
            batch.plan(names, pattern)
        assert expected in str(refusal.value)


def test_chunks_are_cut_by_bytes():
    each = jobs.PICTURE_OVERHEAD
    tasks = [batch.Task("", "", size * each) for size in (1, 1, 9, 0, 0, 0, 0, 0)]
    cut = [[task.bytes // each for task in chunk] for chunk in jobs.chunks_of(tasks, 4 * each)]
    assert cut == [[1, 1], [9], [0, 0, 0, 0], [0]]


@pytest.mark.parametrize("kind", ["csv", "jsonl"])
def test_a_run_goes_on_where_the_record_and_the_results_say(folder, capsys, kind):
    names = [b"in/a\xff.ppm", b'in/b "\n,.ppm', b"in/c.ppm"]
    for name in names:
        Path(os.fsdecode(name)).write_bytes(Path("in/00.ppm").read_bytes())
    Path("in/half.jpg").write_bytes(nuv.open("in/00.ppm").jpeg()[:700])
    Path("in/text").write_text("nothing that is known")
    record = f"run.{kind}"
    words = ["in/*", "-o", "out/%s.jpg", "--record", record, "-j", "2", "--resume"]

    def run(status, *more):
        assert command.main([*words, *more]) == status
        lines = records_of(record)
        assert len(lines) == GOOD + 5 == len({line.source for line in lines})
        return capsys.readouterr().err.splitlines()[-1].removeprefix("nuv.batch: ")

    assert run(1) == f"{GOOD + 4} written, 1 of them mended, 1 failed"
    failed, mended = sorted((line for line in records_of(record) if line.status != "done"),
                            reverse=True)
    assert (failed.status, mended.status) == ("unknown-kind", "mended")
    assert int(failed.byte) == 0 and int(mended.line) >= 1 and float(mended.seconds) > 0
    assert os.path.getsize(mended.destination) == int(mended.bytes)
    Path("in/text").unlink()
    Path("in/text").write_bytes(Path("in/00.ppm").read_bytes())
    assert run(0) == f"1 written, 0 failed, {GOOD + 4} were there already"
    later = time.time() + 5
    os.utime("in/03.ppm", (later, later))
    Path("out/04.jpg").unlink()
    Path("out/05.jpg").write_bytes(b"short")
    with open(record, "r+b") as file:  # ended in the middle of its last line
        file.truncate(file.seek(0, os.SEEK_END) - 7)
    assert run(0) == f"4 written, 0 failed, {GOOD + 1} were there already"
    assert run(2, "--chain", "rotate=90") == f"{GOOD + 5} written, 1 of them mended, 0 failed"
    assert nuv.info("out/00.jpg")[:2] == WHOLE[::-1]


@pytest.mark.parametrize(("words", "text"), [
    # fmt: off
    (["in/*", "-o", "out/%s.jpg", "-c", "roate=90"],              "did you mean rotate?"),
    (["in/*", "-o", "out/%s.jpg", "-c", "'"],                     "No closing quotation"),
    (["in/*", "-o", "out/%s.gif"],                                "no kind that can be written"),
    (["in/*", "-o", "out/%s.pgm", "--quality", "9"],              "serve JPEG files alone"),
    (["in/*", "-o", "out/%s.jpg", "--max-memory", "many"],        "number, as 50M"),
    (["in/*", "-o", "out/%s.jpg", "-j", "0"],                     "invalid number from 1"),
    (["in/*", "-o", "out/%s.jpg", "--resume"],                    "--resume needs --record"),
    (["in/*", "-o", "out/%s.jpg", "--record", "run.txt"],         "ends in .csv or .jsonl"),
    (["in/*", "-o", "out/%s.jpg", "--record", "kept.csv"],        "is there already"),
    (["in/*", "-o", "out/%s.jpg", "--record", "kept.csv", "--resume"], "holds no records"),
    (["none/*", "-o", "out/%s.jpg"],                              "none/*: there is no such file"),
    (["in/*"],                                                    "required: -o"),
    # fmt: on
])
def test_a_command_line_that_means_nothing_does_nothing(folder, capsys, words, text):
    Path("kept.csv").write_text("dear to somebody\n")
    assert command.main(words) == 64
    assert text in capsys.readouterr().err
    assert os.listdir("out") == [] and Path("kept.csv").read_text() == "dear to somebody\n"


def test_a_run_on_this_machine_listens_to_nobody_else(folder):
    def heard(*_):
        own = {os.readlink(f"/proc/self/fd/{number}") for number in os.listdir("/proc/self/fd")
               if os.path.lexists(f"/proc/self/fd/{number}")}
        for line in Path("/proc/net/tcp").read_text().splitlines()[1:]:
            _, local, _, state, *_, inode = line.split()[:10]
            if state == "0A" and f"socket:[{inode}]" in own:
                addresses.add(local.split(":")[0])

    addresses = set()
    batch.run("in/*", "out/%s.jpg", processes=2, told=heard)
    assert addresses == {"0100007F"}  # 127.0.0.1, as the system writes it


def test_a_record_serves_one_run_at_a_time(folder):
    held = records.RecordFile("run.csv")
    with pytest.raises(batch.UsageError, match="another run"):
        batch.run("in/*", "out/%s.jpg", record="run.csv", resume=True)
    Path(f"run.csv.{os.getpid()}").write_text("left\n")
    held.begin([], "")  # and still when the file is another one
    assert Path("run.csv").read_text() == records._Csv.head.replace("\r", "")
    with pytest.raises(batch.UsageError, match="another run"):
        batch.run("in/*", "out/%s.jpg", record="run.csv", resume=True)
    held.close()


def test_a_process_that_hangs_or_dies_costs_its_picture_alone(folder, monkeypatch):
    monkeypatch.setattr(processes, "GRACE_SECONDS", 0.2)
    os.mkfifo("fifo")
    good, hangs = (processes.Orders(batch.Recipe(chain, timeout=timeout), str(folder))
                   for chain, timeout in (("", 20), ("lut=fifo:8", 0.2)))
    tasks = batch.plan(["in/00.ppm", "in/01.ppm"], "out/%s.jpg")
    assert [each.record.status for each in processes.work_on(tasks, hangs)] == ["timeout"] * 2
    assert [each.record.status for each in processes.work_on(tasks, good)] == ["done"] * 2
    process = processes._take()
    threading.Timer(0.3, process._process.kill).start()
    none, outcome = processes._work_at(process, tasks[0], hangs._replace(
        recipe=batch.Recipe("lut=fifo:8")))
    assert none is None and outcome.record.status == "crashed" and "SIGKILL" in outcome.record.message
    process = processes._take()
    process._process.stdin.close()  # as if it had waited for too long
    process._process.wait(5)
    process._process.stdin = open(os.devnull, "wb")
    again, outcome = processes._work_at(process, tasks[0], good)
    assert again is not process and outcome.record.status == "done"
    again.end()


def test_a_process_that_has_waited_for_too_long_ends_well():
    code = "from nuv.batch import picture; picture.IDLE_SECONDS = 0.1; picture.serve()"
    with subprocess.Popen([sys.executable, "-c", code], stdin=subprocess.PIPE) as process:
        assert process.wait(60) == 0


def test_the_system_bounds_what_the_library_does_not_count():
    code = "from nuv.batch import picture; picture._limit_memory(1); bytearray(1 << 30)"
    told = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, timeout=60)
    assert told.stderr.endswith("MemoryError\n")


def test_two_that_do_the_same_leave_one_whole_file(folder):
    tasks = batch.plan(["in/00.ppm"], "out/00.jpg") * 20
    orders = processes.Orders(batch.Recipe(), str(folder))
    threads = [threading.Thread(target=processes.work_on, args=(tasks, orders))
               for _ in range(2)]
    for step in (threading.Thread.start, threading.Thread.join):
        list(map(step, threads))
    assert os.listdir("out") == ["00.jpg"]
    assert Path("out/00.jpg").read_bytes() == nuv.open("in/00.ppm").jpeg()


@pytest.mark.parametrize(("head", "recipe", "status"), [
    # fmt: off
    (b"P6 60000 60000 255\n",       batch.Recipe(),                                        "limit"),
    (b"P5 16000 16000 255\n",       batch.Recipe("mirror-y mirror-y", max_memory=64 << 20), "limit"),
    (b"P5 30000 8000 255\n",        batch.Recipe("fine=300% fine=33.4% " * 8 + "fine=60x40", max_pixels=None, timeout=2), "timeout"),
    # fmt: on
])
def test_a_poisoned_picture_stops_at_its_limit(folder, cluster, head, recipe, status):
    with open("in/poison.ppm", "wb") as file:
        file.write(head)
        file.truncate(len(head) + 256_000_000)  # of zeros that take no room
    start = time.monotonic()
    end = batch.run("in/*", "out/%s.jpg", recipe, scheduler=cluster, record="run.csv")
    assert (end.written, end.failed) == (GOOD, 1) and time.monotonic() - start < 20
    check_all_there({"in/poison.ppm": status})


def test_a_worker_that_is_killed_costs_nothing(folder, cluster):
    with distributed.Client(cluster) as client:
        victim = next(iter(client.run(os.getpid).values()))

        def kill(progress, _):
            if progress.done and kill.is_due:
                kill.is_due = False
                os.kill(victim, signal.SIGKILL)

        kill.is_due = True
        batch.run("in/*", "out/%s.jpg", batch.Recipe("fine=2000% fine=60x40"), scheduler=client,
                  record="run.csv", chunk_bytes=60_000, told=kill)
    assert not kill.is_due
    check_all_there()


def test_a_caller_that_has_enough_stops_the_workers(folder, cluster):
    def stop(progress, _):
        if progress.done:
            raise KeyboardInterrupt

    with distributed.Client(cluster) as client:
        with pytest.raises(KeyboardInterrupt) as _:  # and what it holds on to
            batch.run("in/*", "out/%s.jpg", batch.Recipe("fine=2000% fine=60x40"),
                      scheduler=client, chunk_bytes=60_000, told=stop)
        assert all(client.run(lambda: len(processes._cancelled)).values())
    assert len(os.listdir("out")) < GOOD


def fill_the_disk(most_bytes):
    """On a worker: no file of its processes gets larger."""
    import resource  # pylint: disable=import-outside-toplevel
    while processes._idle:
        processes._idle.pop().end()
    resource.setrlimit(resource.RLIMIT_FSIZE, (most_bytes, resource.RLIM_INFINITY))


@pytest.mark.parametrize("full", [1, 2])
def test_what_a_full_disk_refuses_is_done_elsewhere_or_told(folder, cluster, full):
    with distributed.Client(cluster) as client:
        client.wait_for_workers(2, timeout=20)
        workers = list(client.nthreads())[:full]
        client.run(fill_the_disk, 512, workers=workers)
        end = batch.run("in/*", "out/%s.jpg", scheduler=client, record="run.csv")
        client.run(fill_the_disk, -1)
    if full == 1:
        return check_all_there()
    assert (end.written, end.failed) == (0, GOOD) and os.listdir("out") == []
    assert {record[2] for record in records_of("run.csv")} == {"io"}


def test_a_run_ends_with_its_scheduler_and_goes_on_with_the_next(folder):
    started = []

    def start(*words):
        started.append(subprocess.Popen([sys.executable, "-m", *words], start_new_session=True))
        return started[-1]

    def start_cluster():
        Path("where.json").unlink(missing_ok=True)
        page = ("--no-dashboard", "--dashboard-address", "127.0.0.1:0")
        head = start("distributed.cli.dask_scheduler", "--host", "127.0.0.1", "--port", "0",
                     "--scheduler-file", "where.json", *page)
        while not Path("where.json").exists():
            time.sleep(0.05)
        start("distributed.cli.dask_worker", "--scheduler-file", "where.json", "--no-nanny",
              "--nthreads", "1", "--death-timeout", "5", *page)
        return head

    words = ("nuv.batch", "in/*.ppm", "-o", "out/%s.jpg", "-c", "fine=4000% fine=60x40",
             "--record", "run.csv", "--resume", "--scheduler", "where.json", "--chunk", "60k")
    try:
        head = start_cluster()
        run = start(*words)
        while not (Path("run.csv").exists() and len(records_of("run.csv")) > 1):
            assert run.poll() is None
            time.sleep(0.02)
        head.kill()
        assert run.wait(15) == 1
        assert len(records_of("run.csv")) < GOOD
        start_cluster()
        assert start(*words).wait(30) == 0
        check_all_there()
    finally:
        for process in started:
            process.kill()
            process.wait()


@dataclasses.dataclass
class Future:
    """Ends at once, with what it is given; with None never."""

    key: str
    end: object

    def result(self, timeout):
        if isinstance(self.end, Exception):
            raise self.end
        return self.end

    def add_done_callback(self, call):
        if self.end is not None:
            call(self)


class Client:
    """Of a cluster whose workers do with tasks what `work(tasks, workers)` says."""

    status = "running"

    def __init__(self, work, workers=("a", "b")):
        self.work, self.workers = work, dict.fromkeys(workers, 1)

    def nthreads(self):
        return self.workers

    def submit(self, _function, tasks, _orders, *, key, workers, pure):
        return Future(key, self.work(tasks, workers))

    cancel = run = lambda *_: None


def statuses(client, monkeypatch):
    """What becomes of eight pictures in two chunks."""
    monkeypatch.setattr(cluster_side, "LOOK_SECONDS", 0.01)
    tasks = [batch.Task(name, name, 0) for name in "01234567"]
    run = cluster_side.Run(client, batch.Recipe(), iter([tasks[:5], tasks[5:]]), patience=0.1)
    ends = sorted((record.source, record.status) for some in run.records() for record in some)
    assert [source for source, _ in ends] == list("01234567")
    return [status for _, status in ends]


def ended(worker, tasks, status="done"):
    return worker, [processes.Outcome(Record(task.source, task.destination, status),
                                      is_full=status == "io") for task in tasks]


def test_a_picture_that_ends_every_worker_is_lost_alone(monkeypatch):
    def work(tasks, _):
        is_bad = any(task.source == "3" for task in tasks)
        return distributed.KilledWorker("task", None, 3) if is_bad else ended("a", tasks)

    assert statuses(Client(work), monkeypatch) == ["done"] * 3 + ["lost"] + ["done"] * 4


def test_a_worker_that_alone_had_room_and_goes_is_not_waited_for(monkeypatch):
    def work(tasks, workers):
        if workers == ["b"]:
            client.workers = {"a": 1, "c": 1}
            return None
        return ended("c", tasks) if workers == ["c"] else ended("a", tasks, "io")

    client = Client(work)
    assert statuses(client, monkeypatch) == ["done"] * 8


@pytest.mark.parametrize(("work", "workers", "text"), [
    # fmt: off
    (lambda *_: RuntimeError("broken"), ("a",), "failed 4 times: RuntimeError"),
    (lambda *_: None,                   (),     "no worker for 0.1 seconds"),
    # fmt: on
])
def test_a_cluster_that_does_not_serve_is_given_up(monkeypatch, work, workers, text):
    with pytest.raises(batch.Lost, match=text):
        statuses(Client(work, workers), monkeypatch)
