#!/usr/bin/env python3
"""Makes the slips of tools/mutations one at a time, and asks the tests whether they notice.

    tools/run_mutations.py [--jobs N] [FILTER...]   builds and runs
    tools/run_mutations.py --list [FILTER...]       names them
    tools/run_mutations.py --check [FILTER...]      only sees whether each still fits the sources

A FILTER is the name of a file in tools/mutations, with or without ".txt", or words from the title of
a slip; without any, all are taken. The tree itself is not touched: the work is done on a copy below
build/mutations, built with -O1 and without sanitizers. A slip is

    == path/of/source.cpp: what the slip is, in a sentence
    @ regex of the ctest names that should catch it (all programs where this line is missing)
    -the lines as they stand, contiguous and once in the file, with their indentation
    +what stands there instead

and lines that begin with "#" in front of the first slip are comments. The answer is 1 when a slip
survives, does not apply, or does not compile.
"""

import argparse
import json
import os
import re
import resource
import shutil
import subprocess
import sys
import time
from dataclasses import dataclass, field
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutations"
TREE = WORK / "tree"
BUILD = WORK / "out"
SELF = "nuv_mutations"  # the test that runs --check, which notices every slip and proves nothing
TEST_SECONDS = 120      # a test that runs longer hangs, and has noticed
TEST_MEMORY = 8 << 30   # a slip may ask for memory without bound


@dataclass
class Slip:
    area: str
    path: str
    what: str
    tests: str = ""
    old: list = field(default_factory=list)
    new: list = field(default_factory=list)

    def title(self):
        return f"{self.path}: {self.what}"


class Misfit(Exception):
    """A slip that cannot be made; the text says why."""


def parse(path):
    slips = []
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        slip = slips[-1] if slips else None
        title = re.fullmatch(r"== ([^:\s]+): (.+)", line)
        if title:
            slips.append(Slip(path.stem, *title.groups()))
        elif slip and line.startswith("@ "):
            slip.tests = line[2:].strip()
        elif slip and line.startswith("-"):
            slip.old.append(line[1:])
        elif slip and line.startswith("+"):
            slip.new.append(line[1:])
        elif line.strip() and (slip or not line.startswith("#")):
            raise SystemExit(f"{path}:{number}: what is this? {line}")
    return slips


def chosen_slips(filters):
    slips = [slip for path in sorted((ROOT / "tools/mutations").glob("*.txt"))
             for slip in parse(path)]
    names = [re.sub(r"\.txt$", "", os.path.basename(text)) for text in filters]
    return [slip for slip in slips
            if not filters or any(name == slip.area or text in slip.title()
                                  for name, text in zip(names, filters))]


def with_slip(slip, root):
    """The text of the slip's source below `root`, with the slip in it."""
    path = root / slip.path
    if not path.is_file():
        raise Misfit("there is no such file")
    if not slip.old or slip.old == slip.new:
        raise Misfit("it changes nothing")
    text = "\n" + path.read_text(encoding="utf-8")
    old, new = ("".join("\n" + line for line in lines) for lines in (slip.old, slip.new))
    count = (text + "\n").count(old + "\n")
    if count != 1:
        raise Misfit(f"its lines stand {count} times in the file")
    at = (text + "\n").index(old + "\n")
    return (text[:at] + new + text[at + len(old):])[1:]


def misfit(slip, root):
    """Why the slip cannot be made in the sources below `root`; "" when it can."""
    try:
        with_slip(slip, root)
    except Misfit as reason:
        return str(reason)
    return ""


def write(path, data):
    """Writes what is not there yet, so that ninja builds what has changed and no more."""
    if not path.is_file() or path.read_bytes() != data:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)


def copy_tree():
    listed = subprocess.run(
        ["git", "ls-files", "--cached", "--others", "--exclude-standard", "-z"],
        cwd=ROOT, check=True, capture_output=True).stdout.decode().split("\0")
    names = {name for name in listed if name and (ROOT / name).is_file()}
    for name in names:
        write(TREE / name, (ROOT / name).read_bytes())
        shutil.copymode(ROOT / name, TREE / name)
    for path in [path for path in TREE.rglob("*") if path.is_file()]:
        if path.relative_to(TREE).as_posix() not in names and "__pycache__" not in path.parts:
            path.unlink()


def run(*command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          **options)


def must(*command, **options):
    done = run(*command, **options)
    if done.returncode != 0:
        raise SystemExit(f"{' '.join(map(str, command))} failed:\n{done.stdout}")
    return done.stdout


class Suite:
    """The tests of the build: their names, and the files that each needs built."""

    def __init__(self, jobs):
        self.jobs = str(jobs)
        built = {line.split(":")[0] for line in
                 must("ninja", "-C", BUILD, "-t", "targets", "all").splitlines()}
        self.needs, self.programs = {}, []
        for test in self.listed():
            inside = [os.path.relpath(word, BUILD) for word in test.get("command", [])
                      if word.startswith(str(BUILD))]
            self.needs[test["name"]] = [path for path in inside if path in built]
            if test.get("command", [""])[0].startswith(str(BUILD)):
                self.programs.append(test["name"])

    def listed(self):
        """ctest's tests. Of programs that were never built it tells no command: they are built."""
        for _ in range(2):
            tests = json.loads(must("ctest", "--show-only=json-v1", cwd=BUILD))["tests"]
            if all("command" in test for test in tests):
                break
            must("ninja", "-C", BUILD, "-j", self.jobs)
        return tests

    def named(self, regex):
        if not regex:
            return self.programs
        return [name for name in self.needs if re.search(regex, name) and name != SELF]

    def build(self, names):
        targets = sorted({path for name in names for path in self.needs[name]})
        return run("ninja", "-C", BUILD, "-j", self.jobs, *targets)

    def failing(self, names):
        """The tests that failed up to the first failure, and what ctest said."""
        done = run("ctest", "-j", self.jobs, "--stop-on-failure", "--output-on-failure",
                   "--timeout", str(TEST_SECONDS), "-R",
                   "^(" + "|".join(map(re.escape, names)) + ")$", cwd=BUILD,
                   preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS,
                                                         (TEST_MEMORY, TEST_MEMORY)))
        failed = re.findall(r"^\s*\d+ - (\S+) \(", done.stdout, re.M)
        if done.returncode != 0 and not failed:
            raise SystemExit(f"ctest failed:\n{done.stdout}")
        return failed, done.stdout


def verdict(slip, suite):
    """"caught", "survived" or what else became of the slip, and a remark."""
    if reason := misfit(slip, TREE):
        return "does not apply", reason
    names = suite.named(slip.tests)
    if not names:
        return "does not apply", f"no test is called {slip.tests}"
    path = TREE / slip.path
    whole = path.read_bytes()
    try:
        path.write_text(with_slip(slip, TREE), encoding="utf-8")
        built = suite.build(names)
        if built.returncode != 0:
            error = re.search(r"^.*error: .*$", built.stdout, re.M)
            return "does not compile", error.group(0) if error else built.stdout[-500:]
        failed, _ = suite.failing(names)
        return ("caught", ", ".join(failed)) if failed else ("survived", ", ".join(names))
    finally:
        path.write_bytes(whole)


def prepare(slips, jobs):
    """The copy, built, with the tests that the slips name; they have to pass without a slip."""
    copy_tree()
    must("cmake", "-G", "Ninja", "-S", TREE, "-B", BUILD, "-DCMAKE_BUILD_TYPE=Debug",
         "-DCMAKE_CXX_FLAGS_DEBUG=-O1", "-DNUV_WERROR=OFF", "-DNUV_ABI_CHECK=ON",
         "-DNUV_BUILD_PYTHON=ON")
    suite = Suite(jobs)
    names = sorted({name for slip in slips if not misfit(slip, TREE)
                    for name in suite.named(slip.tests)})
    if not names:
        return suite
    built = suite.build(names)
    if built.returncode != 0:
        raise SystemExit(f"the tree does not build:\n{built.stdout[-5000:]}")
    failed, said = suite.failing(names)
    if failed:
        raise SystemExit(f"without any slip these fail: {', '.join(failed)}\n{said[-5000:]}")
    return suite


def main():
    parser = argparse.ArgumentParser(description="Do the tests notice slips in the code?")
    parser.add_argument("--list", action="store_true", help="name the slips")
    parser.add_argument("--check", action="store_true", help="see whether they fit, build nothing")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("filters", nargs="*", metavar="FILTER")
    options = parser.parse_args()

    slips = chosen_slips(options.filters)
    if options.filters and not slips:
        raise SystemExit("no slip is called that")
    if options.list:
        for slip in slips:
            print(f"{slip.area}: {slip.title()}")
        return 0
    if options.check:
        misfits = [(slip, reason) for slip in slips if (reason := misfit(slip, ROOT))]
        for slip, reason in misfits:
            print(f"{slip.area}: {slip.title()}\n    {reason}")
        print(f"{len(slips)} slips, {len(misfits)} do not apply")
        return 1 if misfits else 0

    suite = prepare(slips, options.jobs)
    totals = {}
    for slip in slips:
        start = time.monotonic()
        word, remark = verdict(slip, suite)
        totals[word] = totals.get(word, 0) + 1
        print(f"{word}: {slip.title()}\n    {remark} ({time.monotonic() - start:.0f} s)", flush=True)
    print(", ".join(f"{count} {word}" for word, count in sorted(totals.items())) or "no slips")
    return 1 if set(totals) - {"caught"} else 0


if __name__ == "__main__":
    sys.exit(main())
