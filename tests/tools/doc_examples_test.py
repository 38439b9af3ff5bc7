#!/usr/bin/env python3
"""Runs the examples of the documents, in folders with the pictures that they name: those in C and
C++, each compiled, and the lines for the shell, those of the tool's help among them. One that fails, that prints to stderr where it should
not, or that writes no file that it names is told. So is a task of the cookbook of which C++, in one
program, or Python makes or prints something else than the tool.

    doc_examples_test.py COMPILER INCLUDE_FOLDER TOOL LIBRARY...

TOOL may be empty: lines for the shell are then left out, and the cookbook. Python is left out where
PYTHONPATH is empty.
"""

import contextlib
import io
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
import traceback
import warnings
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

if os.environ.get("PYTHONPATH"):
    import numpy
    import nuv
else:
    nuv = numpy = None

ROOT = Path(__file__).resolve().parent.parent.parent
DATA = ROOT / "tests/data"
BLOCK = re.compile(r"^```(cpp|c|sh|python)\n(.*?)^```$", re.DOTALL | re.MULTILINE)
PICTURES = {"scan.ppm": "pnm/colour.ppm", "photo.jpg": "jpeg/420.jpg", "fax.tif": "tiff/fax_t6.tif",
            "pages.tif": "tiff/two_pages.tif", "icon.png": "png/palette_4.png",
            "cmyk.jpg": "jpeg/adobe_cmyk.jpg", "deep.png": "png/colour_16.png",
            "photos/a.jpg": "jpeg/420.jpg", "photos/b.jpg": "jpeg/422_restarts.jpg"}
LANGUAGES = {"cpp": ["-x", "c++", "-std=c++20"], "c": ["-x", "c", "-std=c99"]}
HEADERS = ("array", "chrono", "cmath", "cstdio", "filesystem", "fstream", "iostream", "iterator",
           "nuv/nuv.hpp", "string", "vector")
TASK = re.compile(r"^(\d+)\. (.*?)(?=^\d+\. |\Z)", re.DOTALL | re.MULTILINE)


def fill(folder):
    for name, fixture in PICTURES.items():
        (folder / name).parent.mkdir(exist_ok=True)
        shutil.copy(DATA / fixture, folder / name)
    (folder / "samples.bin").write_bytes((folder / "scan.ppm").read_bytes()[-195:])
    (folder / "damaged.jpg").write_bytes((folder / "photo.jpg").read_bytes()[:900])


def missing(text, folder):
    names = re.findall(r"(?<![\w%])[\w/]+\.(?:jpg|ljpg|ppm|pgm|pbm|raw|bin)\b", text)
    return " ".join(name for name in names if not (folder / name).is_file())


def program(text):
    """The lines of an example as a whole program."""
    heads = [line for line in text.splitlines() if line.startswith("#include")]
    rest = [line for line in text.splitlines() if not line.startswith("#include")]
    return "\n".join(heads + ["int main(void) {"] + rest + ["return 0;", "}", ""])


def build(language, text, folder, compiler, include, libraries):
    paths = [f"-Wl,-rpath,{Path(library).resolve().parent}" for library in libraries]
    command = [compiler, *LANGUAGES[language], "-Wall", "-Wextra", f"-I{include}", "-",
               "-x", "none", *libraries, *paths, "-o", f"{folder}/example"]
    built = subprocess.run(command, input=text, capture_output=True, text=True, check=False)
    return built.stderr or ("" if built.returncode == 0 else "exit status")


def run_program(words, folder):
    with (folder / "photo.jpg").open("rb") as stream:
        done = subprocess.run(words, cwd=folder, stdin=stream, capture_output=True, text=True,
                              check=False)
    return done.stderr or ("" if done.returncode == 0 else "exit status"), done.stdout


def run_lines(text, folder, tool):
    path = f"{Path(tool).resolve().parent}:{os.environ['PATH']}"
    done = subprocess.run(["bash", "-e", "-o", "pipefail", "-c", text], cwd=folder, text=True,
                          env=os.environ | {"PATH": path}, capture_output=True, check=False)
    is_told = re.search("photos|damaged|verbose", text)
    is_wrong = done.returncode != 0 or (done.stderr and not is_told)
    return done.stderr if is_wrong else "", done.stdout if "print" in text else ""


def run_python(text, folder):
    printed = io.StringIO()
    os.chdir(folder)
    with open("photo.jpg", encoding="latin-1") as sys.stdin, contextlib.redirect_stdout(printed):
        try:
            exec(text, {"Path": Path, "ThreadPoolExecutor": ThreadPoolExecutor, "np": numpy,
                        "nuv": nuv, "sys": sys, "time": time})
        except Exception:
            return traceback.format_exc(), ""
    return "", printed.getvalue()


def made(folder, printed):
    """What an example has made or changed, by name; what it has printed has none."""
    before = {name: (DATA / fixture).read_bytes() for name, fixture in PICTURES.items()}
    after = {str(path.relative_to(folder)): path.read_bytes() for path in folder.rglob("*.*")}
    given = ("damaged.jpg", "samples.bin")
    return {name: data for name, data in after.items()
            if before.get(name) != data and name not in given} | ({"": printed} if printed else {})


def run_task(number, blocks, folder, tool):
    """Faults of one task of the cookbook, each language in a folder of its own."""
    known = None
    for language in ("sh", "cpp", "python") if nuv else ("sh", "cpp"):
        if language not in blocks:
            continue
        place = folder / f"{number}_{language}"
        place.mkdir()
        fill(place)
        problem, printed = (run_lines(blocks["sh"], place, tool) if language == "sh" else
                            run_program([folder / "example", number], place) if language == "cpp"
                            else run_python(blocks["python"], place))
        problem = problem or missing(blocks["sh"] if language == "sh" else "", place)
        if problem:
            yield f"{language}: {problem}"
        results = made(place, printed)
        if known is None:
            known = results
        yield from (f"{language}: {name or 'what it prints'} is not that of the tool"
                    for name, data in results.items()
                    if data != (known.setdefault(name, data) if name == "" else known.get(name)))
        if known and not results:
            yield f"{language}: makes nothing"


def run_cookbook(page, compiler, include, tool, libraries):
    tasks = {number: dict(BLOCK.findall(text)) for number, text in TASK.findall(page)}
    text = "".join(f"#include <{name}>\n" for name in HEADERS)
    for number, blocks in tasks.items():
        text += f"static void task_{number}()\n{{\n{blocks.get('cpp', '')}}}\n"
    text += "int main(int, char** words)\n{\nconst std::string number = words[1];\n" + "".join(
        f'if (number == "{number}")\ntask_{number}();\n' for number in tasks) + "}\n"
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        problem = build("cpp", text, folder, compiler, include, libraries)
        if problem:
            return [f"cookbook.md: {problem}"]
        return [f"cookbook.md, task {number}: {fault}" for number, blocks in tasks.items()
                for fault in run_task(number, blocks, folder, tool)]


def examples_of_help(tool):
    """Those with which each command ends its help; other than five of them are one that fails."""
    for command in ("", "info", "convert", "thumbnail", "help"):
        told = subprocess.run([tool, *command.split(), "--help"], capture_output=True, text=True,
                              check=True).stdout
        lines = told.partition("\nExamples:\n")[2].splitlines()
        yield from ((f"the help of nuv {command}", "sh", line if len(lines) == 5 else "false")
                    for line in lines or [""])


def examples(tool):
    """Each as the name of its page, its language and its text."""
    for page in [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]:
        blocks = BLOCK.findall(page.read_text(encoding="utf-8"))
        yield from ((page.name, *block) for block in blocks if "#include <nuv/" in block[1])
        yield from ((page.name, *block) for block in blocks
                    if block[0] == "sh" and page.name != "cookbook.md")
    yield from examples_of_help(tool) if tool else ()


def main():
    compiler, include, tool, *libraries = sys.argv[1:]
    libraries = [Path(library).resolve() for library in libraries]
    warnings.simplefilter("ignore")
    count = 0
    faults = []
    for page, language, text in examples(tool):
        if language == "sh" and not tool:
            continue
        count += 1
        with tempfile.TemporaryDirectory() as name:
            folder = Path(name)
            fill(folder)
            if language == "sh":
                problem = run_lines(text, folder, tool)[0]
            else:
                problem = build(language, program(text), folder, compiler, include, libraries)
                problem = problem or run_program([folder / "example"], folder)[0]
            problem = problem or missing(text, folder)
        if problem:
            faults.append(f"{page}: {text}\n{problem}")
    if tool:
        page = (ROOT / "docs/cookbook.md").read_text(encoding="utf-8")
        faults += run_cookbook(page, compiler, include, Path(tool).resolve(), libraries)
    print("\n".join(faults), file=sys.stderr)
    print(f"{count} examples, {len(faults)} faults")
    return 1 if faults or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
