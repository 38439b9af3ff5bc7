#!/usr/bin/env python3
"""Has clang look at every source of a configured build, without making anything of them, and exits 1
if it warns. That takes half as long as building with it.

    tools/check_clang_warnings.py --build build/tidy --jobs 2

The build has to be configured for clang, with warnings as errors.
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


def look_at(entry):
    """(source, what clang printed, whether it passed)."""
    done = subprocess.run(syntax_command(entry), cwd=entry["directory"], capture_output=True,
                          text=True, check=False)
    return entry["file"], done.stdout + done.stderr, done.returncode == 0


def main():
    parser = argparse.ArgumentParser(description="Has clang look at every source of a build.")
    parser.add_argument("--build", type=Path, required=True)
    parser.add_argument("--jobs", type=int, default=1)
    options = parser.parse_args()

    database = (options.build / "compile_commands.json").read_text(encoding="utf-8")
    entries = list({entry["file"]: entry for entry in json.loads(database)}.values())
    print(f"{len(entries)} sources", flush=True)
    passed = bool(entries)
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        for source, output, good in pool.map(look_at, entries):
            if not good:
                passed = False
                print(f"{source}:\n{output}", flush=True)
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
