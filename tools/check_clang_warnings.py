#!/usr/bin/env python3
"""Has clang look at every source of a configured build, without making anything of them, and exits 1
if it warns. That takes half as long as building with it.

    tools/check_clang_warnings.py --build build/tidy --but build/fuzz --jobs 2

The build has to be configured for clang, with warnings as errors. What another such build has made
already, with --but, is left out.
"""

import argparse
import concurrent.futures
import json
import shlex
import subprocess
import sys
from pathlib import Path


def syntax_command(entry):
    """The compiler's call of an entry of the compilation database, told to stop behind the checks."""
    words = shlex.split(entry["command"])
    if Path(words[0]).name == "ccache":
        del words[0]
    at = words.index("-o")
    del words[at:at + 2]
    return words + ["-fsyntax-only"]


def entries_of(build):
    database = (build / "compile_commands.json").read_text(encoding="utf-8")
    return json.loads(database)


def made_by(build):
    """The sources of which a build has made objects."""
    made = set()
    for entry in entries_of(build):
        words = shlex.split(entry["command"])
        if (Path(entry["directory"]) / words[words.index("-o") + 1]).is_file():
            made.add(entry["file"])
    return made


def look_at(entry):
    """(source, what clang printed, whether it passed)."""
    done = subprocess.run(syntax_command(entry), cwd=entry["directory"], capture_output=True,
                          text=True, check=False)
    return entry["file"], done.stdout + done.stderr, done.returncode == 0


def main():
    parser = argparse.ArgumentParser(description="Has clang look at every source of a build.")
    parser.add_argument("--build", type=Path, required=True)
    parser.add_argument("--but", type=Path, help="another build by clang that has just been made")
    parser.add_argument("--jobs", type=int, default=1)
    options = parser.parse_args()

    sources = {entry["file"]: entry for entry in entries_of(options.build)}
    made = made_by(options.but) if options.but else set()
    entries = [entry for file, entry in sources.items() if file not in made]
    print(f"{len(entries)} of {len(sources)} sources", flush=True)
    passed = bool(sources)
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        for source, output, good in pool.map(look_at, entries):
            if not good:
                passed = False
                print(f"{source}:\n{output}", flush=True)
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
