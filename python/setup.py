"""Builds the module by CMake, with the library in it. It needs CMake 3.21, a C++20 compiler, pybind11,
zlib and libpng. NUV_PYTHON_BUILD may name a folder that CMake has configured already, with
NUV_BUILD_PYTHON."""

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext
from setuptools.command.sdist import sdist

HERE = Path(__file__).resolve().parent
# The tree around this folder, or what a source distribution carries of it.
TREE = HERE.parent if (HERE.parent / "framework").is_dir() else HERE / "tree"
PARTS = ("CMakeLists.txt", "LICENSE", "api", "cmake", "core", "extension", "framework", "python",
         "tools/nuv", "wrapper")
MADE = shutil.ignore_patterns("build", "dist", "nuv-[0-9]*", "tree", "*.egg-info", "__pycache__", "*.so")


class BuildByCMake(build_ext):
    def configure(self, build):
        if shutil.which("ninja"):
            os.environ.setdefault("CMAKE_GENERATOR", "Ninja")
        options = {"CMAKE_BUILD_TYPE": "Release", "NUV_BUILD_PYTHON": "ON",
                   "NUV_BUILD_TESTS": "OFF", "NUV_BUILD_TOOL": "OFF",
                   "Python_EXECUTABLE": sys.executable}
        subprocess.run(["cmake", "-S", TREE, "-B", build,
                        *(f"-D{name}={value}" for name, value in options.items())], check=True)

    def build_extension(self, ext):
        target = Path(self.get_ext_fullpath(ext.name)).resolve()
        given = os.environ.get("NUV_PYTHON_BUILD")
        build = Path(given or self.build_temp).resolve()
        if not given:
            self.configure(build)
        subprocess.run(["cmake", "--build", build, "--target", "nuv_python_wheel",
                        "--parallel", str(os.cpu_count() or 1)], check=True)
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(build / "python/wheel" / target.name, target)


class SourcesWithTree(sdist):
    def make_release_tree(self, base_dir, files):
        super().make_release_tree(base_dir, files)
        for part in PARTS:
            to = Path(base_dir) / "tree" / part
            to.parent.mkdir(parents=True, exist_ok=True)
            if (TREE / part).is_dir():
                shutil.copytree(TREE / part, to, ignore=MADE)
            else:
                shutil.copy(TREE / part, to)


setup(
    version=re.search(r"project\(nuv VERSION ([\d.]+)", (TREE / "CMakeLists.txt").read_text())[1],
    ext_modules=[Extension("nuv._nuv", sources=[])],
    cmdclass={"build_ext": BuildByCMake, "sdist": SourcesWithTree},
)
