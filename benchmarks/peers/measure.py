"""Runs programs in turns and tells what processor time, or how many instructions, each took."""

import dataclasses
import math
import os
import shutil
import statistics
import subprocess

# A run that is shorter than this is repeated within a round: the clock ticks in milliseconds.
ROUND_SECONDS = 0.15
MOST_RUNS = 5


@dataclasses.dataclass(frozen=True)
class Command:
    """One program with its arguments. `prints_to` names the file that its standard output becomes."""

    name: str
    words: tuple
    prints_to: str = None

    def is_missing(self):
        return shutil.which(self.words[0]) is None

    def start(self, prefix=(), **streams):
        environment = dict(os.environ, OMP_NUM_THREADS="1", VIPS_CONCURRENCY="1")
        streams.setdefault("stdout", subprocess.DEVNULL)
        return subprocess.Popen([*prefix, *self.words], env=environment, **streams)


@dataclasses.dataclass(frozen=True)
class Case:
    """One job as nuv and its peers do it. `copy` is nuv without the job, and `floor` the same for a
    peer. `aim` is the ratio of times that is asked for; the files of `equal` have to hold the same
    bytes once all have run."""

    name: str
    pixels: int
    ours: Command
    peers: tuple
    copy: Command = None
    floor: Command = None
    aim: float = None
    equal: tuple = ()


@dataclasses.dataclass(frozen=True)
class Times:
    user: float
    system: float

    @property
    def both(self):
        return self.user + self.system


def run(command):
    """Processor time of one run, threads and all. Raises CalledProcessError when it fails."""
    with open(command.prints_to or os.devnull, "wb") as output:
        process = command.start(stdout=output)
        _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise subprocess.CalledProcessError(process.returncode, command.words)
    return Times(usage.ru_utime, usage.ru_stime)


def start(command):
    """Milliseconds of processor time, user and system, and page faults of one run, whose output goes
    nowhere. Nothing of this process is copied for it."""
    streams = [(os.POSIX_SPAWN_OPEN, number, os.devnull, os.O_RDWR, 0) for number in range(3)]
    pid = os.posix_spawn(shutil.which(command.words[0]), command.words, os.environ,
                         file_actions=streams)
    _, status, usage = os.wait4(pid, 0)
    if status != 0:
        raise subprocess.CalledProcessError(os.waitstatus_to_exitcode(status), command.words)
    return 1000 * (usage.ru_utime + usage.ru_stime), usage.ru_minflt + usage.ru_majflt


def run_often(command, runs):
    times = [run(command) for _ in range(runs)]
    return Times(sum(t.user for t in times) / runs, sum(t.system for t in times) / runs)


def take_turns(commands, rounds):
    """For each command its times, round by round; every other round goes backwards."""
    first = [run(command) for command in commands]  # not counted: it warms the files, too
    runs = [min(MOST_RUNS, math.ceil(ROUND_SECONDS / max(t.both, 0.001))) for t in first]
    times = [[] for _ in commands]
    for number in range(rounds):
        order = range(len(commands)) if number % 2 == 0 else reversed(range(len(commands)))
        for i in order:
            times[i].append(run_often(commands[i], runs[i]))
    return times


def median_ratio(ours, theirs):
    """The median over the rounds, in which what else the machine does cancels."""
    return statistics.median(a / b if b > 0 else math.inf for a, b in zip(ours, theirs))


def count_instructions(command):
    """Instructions of one run, by callgrind."""
    with open(command.prints_to or os.devnull, "wb") as output:
        process = command.start(
            ("valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"),
            stdout=output, stderr=subprocess.PIPE, text=True)
        _, log = process.communicate()
    for line in log.splitlines():
        if "Collected :" in line:
            return int(line.rsplit(":", 1)[1].split()[0])
    raise RuntimeError(f"callgrind counted nothing in {' '.join(command.words)}")
