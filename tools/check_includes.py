#!/usr/bin/env python3
"""Checks who includes whom. Prints one line for each offence and exits 1 if there is any.

    tools/check_includes.py [ROOT]

The rules, which docs/style.md explains:
  - A project header is named from the repository root, in quotes, and exists.
  - framework includes framework alone, and inside it an area never includes one further right:
    base < containers, utility < io, buffer < engine < manager.
  - A core module includes framework, core/include and the root headers of other core modules;
    core/include does not include modules; there is no cycle.
  - An extension module includes framework, core and the root headers of other extension modules;
    there is no cycle.
  - wrapper includes all of them. Nobody includes wrapper, but for its own tests, and for benchmarks
    and fuzzers, which may use its public header.
  - api, the plain interface, includes all but wrapper, and nobody includes it but, as above, its own
    tests, benchmarks and fuzzers.
  - A header in a folder of a module is private: it is included by its own module, by the tests of
    that module, by tests/forms, which compares the kernels of all modules, and by benchmarks and
    fuzzers, which measure and attack what nobody else sees.
  - A module of several rooms has an order among them (ROOM_RANK); a room includes its own headers
    and those of rooms further left, and never a neighbour of the same rank.
  - Tools and examples are users of the library: they include its public headers, <nuv/...>, and
    their own files. So is the module for Python, which may include what the tool is made of, too.
"""

import re
import sys
from pathlib import Path

INCLUDE = re.compile(r'^\s*#\s*include\s+(["<])([^">]+)[">]')
SOURCES = {".h", ".cpp", ".inc"}
TOP_FOLDERS = ("framework", "core", "extension", "wrapper", "api", "tests", "fuzz", "benchmarks",
               "tools", "examples", "python")
FRAMEWORK_RANK = {"base": 0, "containers": 1, "utility": 1, "io": 2, "buffer": 2, "engine": 3,
                  "manager": 4}
ALLOWED_TOPS = {
    "framework": {"framework"},
    "core": {"framework", "core"},
    "extension": {"framework", "core", "extension"},
    "wrapper": {"framework", "core", "extension", "wrapper"},
    "api": {"framework", "core", "extension", "api"},
    "tests": {"framework", "core", "extension", "tests"},
    "fuzz": {"framework", "core", "extension", "tests", "fuzz"},
    "benchmarks": {"framework", "core", "extension", "tests", "benchmarks"},
    "tools": {"tools"},
    "examples": {"examples"},
    "python": {"python", "tools"},
}
# The headers at the root of a module belong to the room that knows the manager, source.
ROOM_RANK = {
    "core/ccitt": {"codec": 0, "source": 1},
    "core/jpeg": {"stream": 0, "kernels": 1, "decode": 2, "encode": 2, "source": 3},
    "core/scale": {"kernels": 0, "source": 1},
    "core/tiff": {"structure": 0, "source": 1},
}
PUBLIC_HEADERS = {"wrapper/nuv_wrapper.h", "api/include/nuv/nuv.h"}


def module_of(path):
    """"core/jpeg" for "core/jpeg/source/x.h"; one folder for the tops without modules."""
    parts = path.split("/")
    return "/".join(parts[:2]) if parts[0] in ("framework", "core", "extension") else parts[0]


def room_of(path):
    """"stream" for "core/jpeg/stream/x.h"; "source" for a header at the root of a module."""
    parts = path.split("/")
    return parts[2] if len(parts) > 3 else "source"


def is_private(path):
    """True for a header in a folder of a module."""
    return module_of(path).count("/") == 1 and path.count("/") > 2


def may_see_private(path, module):
    """True if `path` may include the headers in the folders of `module`."""
    folder = path.rsplit("/", 1)[0]
    if folder == module or folder.startswith(module + "/"):
        return True
    if folder.split("/")[0] in ("benchmarks", "fuzz") or folder == "tests/forms":
        return True
    if not folder.startswith("tests/"):
        return False
    tested = folder[len("tests/"):]
    return (module + "/").startswith(tested + "/") or (tested + "/").startswith(module + "/")


def offence(path, target):
    """What is wrong with `path` including `target`, both from the root; None when nothing is."""
    top, target_top = path.split("/")[0], target.split("/")[0]
    if target_top in ("wrapper", "api") and path.startswith(f"tests/{target_top}/"):
        return None
    if top in ("benchmarks", "fuzz") and target in PUBLIC_HEADERS:
        return None
    if target_top not in ALLOWED_TOPS[top]:
        return f"{top} must not include {target_top}"
    module, target_module = module_of(path), module_of(target)
    if is_private(target) and not may_see_private(path, target_module):
        return f"private to {target_module}"
    if module == target_module and module in ROOM_RANK:
        ranks, room, target_room = ROOM_RANK[module], room_of(path), room_of(target)
        for name in (room, target_room):
            if name not in ranks:
                return f"{module}/{name} has no place in the order of rooms"
        if room != target_room and ranks[target_room] >= ranks[room]:
            return f"{module}/{room} must not include {module}/{target_room}"
    if top == "framework":
        area, target_area = module.split("/")[1], target_module.split("/")[1]
        for name in (area, target_area):
            if name not in FRAMEWORK_RANK:
                return f"framework/{name} has no place in the order of areas"
        if FRAMEWORK_RANK[target_area] > FRAMEWORK_RANK[area]:
            return f"framework/{area} must not include framework/{target_area}"
        if area == "base" and target_area != "base":
            return "framework/base includes framework/base alone"
    if module == "core/include" and target_top == "core" and target_module != module:
        return "core/include must not include a module"
    return None


def find_cycle(graph):
    """The modules of one cycle in order, the first one repeated at the end; [] without one."""
    done = set()

    def walk(module, trail):
        if module in trail:
            return trail[trail.index(module):] + [module]
        if module in done:
            return []
        for target in sorted(graph.get(module, ())):
            cycle = walk(target, trail + [module])
            if cycle:
                return cycle
        done.add(module)
        return []

    for start in sorted(graph):
        cycle = walk(start, [])
        if cycle:
            return cycle
    return []


def sources_below(root):
    for top in TOP_FOLDERS:
        for path in sorted((root / top).rglob("*")):
            if path.suffix in SOURCES and path.is_file():
                yield path.relative_to(root).as_posix()


def check(root):
    """All offences, as lines to print."""
    offences = []
    graph = {}
    for path in sources_below(root):
        text = (root / path).read_text(encoding="utf-8")
        for number, line in enumerate(text.splitlines(), 1):
            match = INCLUDE.match(line)
            if not match:
                continue
            quoted, target = match.group(1) == '"', match.group(2)
            if not quoted:
                if target.split("/")[0] in TOP_FOLDERS:
                    offences.append(f"{path}:{number}: <{target}> is a project header: use quotes")
                continue
            if ".." in target.split("/") or not (root / target).is_file():
                offences.append(f'{path}:{number}: "{target}" is no file, seen from the root')
                continue
            reason = offence(path, target)
            if reason:
                offences.append(f'{path}:{number}: "{target}": {reason}')
            elif path.split("/")[0] in ("core", "extension"):
                source, sink = module_of(path), module_of(target)
                if source != sink:
                    graph.setdefault(source, set()).add(sink)
    cycle = find_cycle(graph)
    if cycle:
        offences.append("modules include each other in a circle: " + " -> ".join(cycle))
    return offences


def main():
    root = Path(sys.argv[1]) if len(sys.argv) > 1 else Path(__file__).resolve().parent.parent
    offences = check(root)
    for line in offences:
        print(line)
    return 1 if offences else 0


if __name__ == "__main__":
    sys.exit(main())
