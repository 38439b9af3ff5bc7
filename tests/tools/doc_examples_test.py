#!/usr/bin/env python3
"""Compiles and runs each example in C and C++ of the documents, in a folder with the pictures that
they name. One that prints to stderr or writes no file that it names has failed.

    doc_examples_test.py COMPILER INCLUDE_FOLDER LIBRARY...
"""

import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
BLOCK = re.compile(r"^```(cpp|c)\n(.*?)^```$", re.DOTALL | re.MULTILINE)
PICTURES = {"scan.ppm": "pnm/colour.ppm", "photo.jpg": "jpeg/420.jpg"}
LANGUAGES = {"cpp": ["-x", "c++", "-std=c++20"], "c": ["-x", "c", "-std=c99"]}


def program(text):
    """The lines of an example as a whole program."""
    lines = text.splitlines()
    heads = [line for line in lines if line.startswith("#include")]
    rest = [line for line in lines if not line.startswith("#include")]
    return "\n".join(heads + ["int main(void) {"] + rest + ["return 0;", "}", ""])


def run(language, text, compiler, include, libraries):
    """What went wrong with an example, or nothing."""
    with tempfile.TemporaryDirectory() as folder:
        for name, fixture in PICTURES.items():
            shutil.copy(ROOT / "tests/data" / fixture, Path(folder) / name)
        paths = [f"-Wl,-rpath,{Path(library).resolve().parent}" for library in libraries]
        command = [compiler, *LANGUAGES[language], "-Wall", "-Wextra", f"-I{include}", "-",
                   "-x", "none", *libraries, *paths, "-o", f"{folder}/example"]
        built = subprocess.run(command, input=program(text), capture_output=True, text=True)
        if built.returncode != 0 or built.stderr:
            return built.stderr
        done = subprocess.run([f"{folder}/example"], cwd=folder, capture_output=True, text=True)
        missing = [name for name in re.findall(r'"([\w.]+\.(?:jpg|ppm))"', text)
                   if not (Path(folder) / name).is_file()]
        return done.stderr + " ".join(missing) or ("" if done.returncode == 0 else "exit status")


def main():
    compiler, include, *libraries = sys.argv[1:]
    examples = 0
    failed = 0
    for page in [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]:
        for language, text in BLOCK.findall(page.read_text(encoding="utf-8")):
            if "#include <nuv/" not in text:
                continue
            examples += 1
            problem = run(language, text, compiler, include, libraries)
            if problem:
                failed += 1
                print(f"{page.name}: {text}\n{problem}", file=sys.stderr)
    print(f"{examples} examples, {failed} failed")
    return 1 if failed or examples == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
