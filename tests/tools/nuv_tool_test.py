#!/usr/bin/env python3
"""Runs the rows of tool_rows_*.py: commands of the tool, and what they should do.

    nuv_tool_test.py PATH_OF_NUV [TEXT]    only the rows with this text in their command

A row is (exit status, command, files made, stdout, stderr[, check]). The command goes to bash, in a
folder of its own that has the pictures made below. No other file than those made, with spaces
between, may be there behind it. In stdout and stderr a * stands for anything; each line of stderr
begins with "nuv: ". The check is a command that has to succeed then: a peer that agrees.
"""

import concurrent.futures
import importlib
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.dont_write_bytecode = True
MAKE_PICTURES = f"""
cd {HERE.parent / "data"}
cp jpeg/420.jpg $1/photo.jpg
cp jpeg/adobe_cmyk.jpg $1/cmyk.jpg
cp jpeg/refused_arithmetic.jpg $1/arithmetic.jpg
cp png/palette_4.png $1/palette.png
cp tiff/fax_t6.tif tiff/two_pages.tif tiff/refused_lzw.tif $1
cp tiff_crafted/jpeg_turned.tif $1/turned.tif
cp sunras/seven_colours.ras $1/indices.ras
cd $1
djpeg -pnm photo.jpg >in.ppm  # 33 x 17, 13 bytes of header
ppmtopgm in.ppm >gray.pgm
pgmtopbm -threshold gray.pgm >bits.pbm
pamdepth 65535 in.ppm >deep.ppm
pnmtoplainpnm deep.ppm >plain.ppm
head -c 900 in.ppm >cut.ppm
head -c 900 photo.jpg >half.jpg
echo "no picture at all, and long enough to look like one" >text
mkdir folder
mkfifo fifo
"""
# What commands may call beside programs.
FUNCTIONS = """
near() { pnmpsnr -target="$1" "$2" "$3" | grep -qx match; }  # decibels and two anymaps
"""


def expected(text):
    pattern = re.escape(text).replace(r"\*", ".*")
    return re.compile(pattern + "\n" if text else "", re.DOTALL)


def run(command, folder, tool):
    environment = os.environ | {"PATH": f"{tool.parent}:{os.environ['PATH']}", "LC_ALL": "C.UTF-8",
                                "NUV_SOURCE": str(HERE.parents[1] / "tools/nuv")}
    return subprocess.run(["bash", "-o", "pipefail", "-c", FUNCTIONS + command], cwd=folder,
                          env=environment, capture_output=True, stdin=subprocess.DEVNULL,
                          text=True, errors="replace", timeout=120, check=False)


def problem_of(row, pictures, tool):
    """What a row did that it should not have, or nothing."""
    status, command, made, out, error, *check = row
    with tempfile.TemporaryDirectory() as folder:
        run(f"cp -R {pictures}/. .", folder, tool)
        before = set(os.listdir(folder))
        done = run(command, folder, tool)
        there = set(os.listdir(folder))
        if done.returncode != status:
            return f"answers {done.returncode}: {done.stderr}"
        if there != before | set(made.split()):
            return f"files: {' '.join(sorted(there ^ before))}"
        if not expected(out).fullmatch(done.stdout):
            return f"stdout: {done.stdout}"
        if not expected(error).fullmatch(done.stderr):
            return f"stderr: {done.stderr}"
        if not re.fullmatch("(nuv: [^\n]+\n)*", done.stderr):
            return f"not the form of its lines: {done.stderr}"
        checked = run(*check, folder, tool) if check else done
        return f"the check: {checked.stdout}{checked.stderr}" if checked.returncode and check else ""


def main():
    tool = Path(sys.argv[1]).resolve()
    text = "".join(sys.argv[2:])
    sys.path.insert(0, str(HERE))
    rows = [row for path in sorted(HERE.glob("tool_rows_*.py"))
            for row in importlib.import_module(path.stem).ROWS if text in row[1]]
    failed = 0
    with tempfile.TemporaryDirectory() as pictures, \
            concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        subprocess.run(["bash", "-e", "-c", MAKE_PICTURES, "make", pictures], check=True,
                       stderr=subprocess.DEVNULL)
        for row, problem in zip(rows, pool.map(lambda row: problem_of(row, pictures, tool), rows)):
            if problem:
                failed += 1
                print(f"{row[1]}\n    {problem}", file=sys.stderr)
    print(f"{len(rows)} rows, {failed} failed")
    return 1 if failed or not rows else 0


if __name__ == "__main__":
    sys.exit(main())
