#!/usr/bin/env python3
"""The memory that a thumbnail of a large picture takes through the plain interface.

    benchmarks/thumbnail_memory.py build/bench [--size 12000 9000]

Builds examples/thumbnail.c against the library of the build directory and runs it on a photograph
as JPEG and as anymap, and on 16 x 16 pixels of the same kind. Prints what the system has counted as
the most memory of each process, and the difference, which is what the size of the picture costs.
"""

import argparse
import os
import subprocess
import sys
import tempfile

SMALL = (16, 16)


def peak_mebibytes(words):
    """Of the whole process, with the program and its libraries. By GNU time, for a child of this
    one would begin with its memory."""
    run = subprocess.run(["/usr/bin/time", "-f", "%M", *words], stderr=subprocess.PIPE, text=True)
    if run.returncode != 0:
        sys.exit(f"thumbnail_memory.py: {run.stderr}")
    return int(run.stderr.split()[-1]) / 1024


def build_example(build, folder):
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    library = os.path.abspath(os.path.join(build, "api"))
    program = os.path.join(folder, "thumbnail")
    subprocess.run(["cc", "-O2", os.path.join(root, "examples", "thumbnail.c"),
                    "-I", os.path.join(build, "include"), "-L", library, "-lnuvc",
                    f"-Wl,-rpath,{library}", "-o", program], check=True)
    return program


def pictures(build, folder, size):
    photo = os.path.join(folder, f"{size[0]}x{size[1]}.ppm")
    maker = os.path.join(build, "benchmarks", "nuv_make_photo")
    subprocess.run([maker, str(size[0]), str(size[1]), photo], check=True)
    jpeg = photo.replace(".ppm", ".jpg")
    subprocess.run(["cjpeg", "-quality", "75", "-outfile", jpeg, photo], check=True)
    return {"anymap": photo, "JPEG, 4:2:0": jpeg}


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", help="build directory")
    parser.add_argument("--size", type=int, nargs=2, default=(12000, 9000))
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        program = build_example(arguments.build, folder)
        small = pictures(arguments.build, folder, SMALL)
        for kind, picture in pictures(arguments.build, folder, arguments.size).items():
            result = os.path.join(folder, "thumbnail.jpg")
            least = peak_mebibytes((program, small[kind], result))
            most = peak_mebibytes((program, picture, result))
            print(f"{kind}: {most:.1f} MiB, {most - least:.1f} more than for "
                  f"{SMALL[0]} x {SMALL[1]} pixels")


if __name__ == "__main__":
    main()
