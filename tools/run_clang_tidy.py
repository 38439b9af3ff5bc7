#!/usr/bin/env python3
"""Runs clang-tidy over the sources of a build, several at once. Exits 1 if it finds anything.

    tools/run_clang_tidy.py --changed --build build/tidy --jobs 2
    tools/run_clang_tidy.py --all --build build/tidy

--changed takes the sources that differ from where the branch left main; on main itself, from the
commit before; and besides all that is not committed. For a changed header that none of these
includes, one source that does include it stands in. Sources that are not begun within the time limit
(seconds) are named and left out.
"""

import argparse
import concurrent.futures
import json
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
MAIN_BRANCHES = ("origin/main", "main")


def git(*arguments):
    """The lines that git prints; None when it fails."""
    done = subprocess.run(["git", *arguments], cwd=ROOT, capture_output=True, text=True, check=False)
    return done.stdout.splitlines() if done.returncode == 0 else None


def base_commit():
    """The commit to compare with; None when there is no earlier one."""
    head = git("rev-parse", "HEAD")
    for branch in MAIN_BRANCHES:
        base = git("merge-base", "HEAD", branch)
        if base and base != head:
            return base[0]
    before = git("rev-parse", "--verify", "--quiet", "HEAD~1")
    return before[0] if before else None


def changed_files():
    """Paths from the root; None when all files have to count as changed."""
    base = base_commit()
    if base is None:
        return None
    changed = git("diff", "--name-only", "--diff-filter=d", base)
    untracked = git("ls-files", "--others", "--exclude-standard")
    return None if changed is None or untracked is None else set(changed) | set(untracked)


def compiled_sources(build):
    database = json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))
    paths = {(Path(entry["directory"]) / entry["file"]).resolve() for entry in database}
    return sorted(path.relative_to(ROOT).as_posix() for path in paths if path.is_relative_to(ROOT))


def select(sources, changed):
    """The sources to look at, those that changed themselves first."""
    chosen = [source for source in sources if source in changed]
    texts = {source: (ROOT / source).read_text(encoding="utf-8") for source in sources}
    for header in sorted(path for path in changed if path.endswith(".h")):
        include = f'"{header}"'
        if any(include in texts[source] for source in chosen):
            continue
        chosen.extend([source for source in sources if include in texts[source]][:1])
    return chosen


def tidy(source, build, deadline):
    """(source, what clang-tidy printed, whether it passed); None for the latter when too late."""
    if time.monotonic() > deadline:
        return source, "", None
    done = subprocess.run(["clang-tidy", "-p", str(build), "--quiet", source], cwd=ROOT,
                          capture_output=True, text=True, check=False)
    # The other stream counts what was left out, and matters only when there is nothing else.
    return source, done.stdout or done.stderr, done.returncode == 0


def main():
    parser = argparse.ArgumentParser(description="Runs clang-tidy over the sources of a build.")
    which = parser.add_mutually_exclusive_group(required=True)
    which.add_argument("--changed", action="store_true")
    which.add_argument("--all", action="store_true")
    parser.add_argument("--build", type=Path, required=True)
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--limit", type=float)
    options = parser.parse_args()

    sources = compiled_sources(options.build)
    changed = changed_files() if options.changed else None
    chosen = sources if changed is None else select(sources, changed)
    limit = options.limit or (480 if options.changed else float("inf"))
    deadline = time.monotonic() + limit
    print(f"{len(chosen)} of {len(sources)} sources", flush=True)

    passed, late = True, []
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        runs = [pool.submit(tidy, source, options.build, deadline) for source in chosen]
        for run in concurrent.futures.as_completed(runs):
            source, output, good = run.result()
            if good is None:
                late.append(source)
            elif not good:
                passed = False
                print(f"{source}:\n{output}", flush=True)
    if late:
        print(f"Not looked at, for the time was up: {' '.join(sorted(late))}")
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
