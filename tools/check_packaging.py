#!/usr/bin/env python3
"""Checks that what packages say of the tree is what CMake does: version, libraries by their names,
exported symbols, files of each package, dependencies and options. Neither vcpkg nor conan has to be
there; what their files do is run on stand-ins. Prints one line for each difference, and exits 1 if
there is any.

    tools/check_packaging.py CMAKE BUILD_DIR

The libraries and the tool have to be built in BUILD_DIR, and shared.
"""

import fnmatch
import json
import re
import subprocess
import sys
import tempfile
import types
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
PORT = ROOT / "packaging/vcpkg/nuv"
# What CMake finds for what is shipped: its name in Debian, vcpkg and conan. Threads are everywhere.
LIBRARIES = {"PNG": ("libpng-dev", "libpng", "libpng"), "ZLIB": ("zlib1g-dev", "zlib", "zlib")}
TOOL = {"CLI11": ("libcli11-dev", "cli11", "cli11"),
        "nlohmann_json": ("nlohmann-json3-dev", "nlohmann-json", "nlohmann_json")}
PYTHON = {"Python": ("python3-dev",), "pybind11": ("pybind11-dev",)}
# What Debian's packages need to be built beside that.
DEBIAN_BUILD = {"cmake", "debhelper-compat", "dh-python", "help2man", "ninja-build"}
# The packages that the files of a component go into.
PACKAGES = {"runtime": {"libnuv1", "libnuvc0"}, "development": {"libnuv-dev"},
            "tools": {"nuv-tools"}, "python": {"python3-nuv"}}

problems = []


def text(*parts):
    return ROOT.joinpath(*parts).read_text(encoding="utf-8")


def check(what, found, wanted=True):
    if found != wanted:
        problems.append(f"{what}: {found!r}, and not {wanted!r}")


def check_names(what, found, wanted):
    if surplus := found - wanted:
        problems.append(f"{what}: more than there should be, {sorted(surplus)}")
    if missing := wanted - found:
        problems.append(f"{what}: missing {sorted(missing)}")


def in_column(table, number):
    return {row[number] for row in table.values()}


def found_packages(*cmake_lists):
    return {name for path in cmake_lists
            for name in re.findall(r"find_package\((\w+)", text(path))}


def stanzas():
    """debian/control, the source first: fields of a package by their names."""
    for stanza in text("debian/control").strip().split("\n\n"):
        yield {name: " ".join(value.split())
               for name, value in re.findall(r"^([\w-]+):((?:.*\n?)(?:[ \t].*\n?)*)", stanza, re.M)}


def names(field):
    """The packages of a field with dependencies, without versions and substitutions."""
    return {re.split(r"[ (]", part.strip())[0] for part in field.split(",")
            if part.strip() and not part.strip().startswith("${")}


def check_version(version):
    check("version in debian/changelog", text("debian/changelog").split("\n")[0],
          f"nuv ({version}) unstable; urgency=medium")
    check("version in vcpkg.json", json.loads(text(PORT / "vcpkg.json"))["version"], version)
    check("version in nuv.h",
          re.search(r"#define NUV_VERSION (\w+)", text("api/include/nuv/nuv.h")).group(1),
          "0x" + "".join(f"{int(part):02x}" for part in version.split(".")))


def check_libraries(installed, packages):
    """A shared library has the Debian package, the symbols and the dump that its name asks for."""
    sonames = {Path(path).name for path in installed if re.search(r"/lib\w+\.so\.\d+$", path)}
    check_names("shared libraries", sonames, {"libnuv.so.1", "libnuvc.so.0"})
    for soname in sorted(sonames):
        name, package = soname.split(".")[0], soname.replace(".so.", "")
        folder = "api" if name == "libnuvc" else "wrapper"
        shown = {line for line in text(folder, f"{name}.symbols").splitlines()
                 if not line.startswith("#")}
        node = re.search(r"^NUV\w+$", text(next((ROOT / folder).glob("*.map"))), re.M)
        versioned = ({f"{name}@{node.group()}" for name in shown | {node.group()}} if node
                     else {f"{name}@Base" for name in shown})
        first, _, *lines = text("debian", f"{package}.symbols").splitlines()
        check(f"debian/{package}.symbols", first, f"{soname} {package} #MINVER#")
        check_names(f"debian/{package}.symbols", {line.split()[0] for line in lines}, versioned)
        check(f"debian/control has {package}", package in packages)
        check(f"libnuv-dev depends on {package}",
              f"{package} (= ${{binary:Version}})" in packages["libnuv-dev"]["Depends"])
        dump = f"packaging/abi/{soname}.abi"
        check(f"{dump} is of {soname}", f"soname='{soname}'" in text(dump))


def check_files(component, files):
    """Each file of a component goes into one package, and each line of a package finds files."""
    lines = [(package, line.split()[0]) for package in sorted(PACKAGES[component])
             for line in text("debian", f"{package}.install").splitlines()]
    unused = set(lines)
    for path in files:
        takers = {(package, line) for package, line in lines
                  if fnmatch.fnmatch(path, line) or fnmatch.fnmatch(path, line + "/*")}
        check(f"packages with {path}", len({package for package, _ in takers}), 1)
        unused -= takers
    check(f"lines that find nothing among the files of {component}", sorted(unused), [])


def run_port(cmake, features):
    """The calls of the port file, in their order, with vcpkg's own commands only written down."""
    commands = ("check_features", "cmake_configure", "cmake_install", "cmake_config_fixup",
                "fixup_pkgconfig", "copy_tools", "install_copyright")
    stand_in = "".join(f"function(vcpkg_{name})\n  message(\"{name} ${{ARGN}}\")\nendfunction()\n"
                       for name in commands)
    with tempfile.TemporaryDirectory() as folder:
        script = Path(folder) / "port.cmake"
        script.write_text(f"cmake_policy(VERSION 3.21)\n{stand_in}"
                          f"set(CURRENT_PORT_DIR {PORT})\nset(FEATURES {features})\n"
                          f"set(CURRENT_PACKAGES_DIR {folder}/packages)\n"
                          f"include({PORT}/portfile.cmake)\n", encoding="utf-8")
        done = subprocess.run([cmake, "-P", script], capture_output=True, text=True, check=False)
    check("portfile.cmake runs", (done.returncode, done.stderr if done.returncode else ""), (0, ""))
    return done.stderr.splitlines()


def check_vcpkg(cmake, libraries, tool):
    port = json.loads(text(PORT / "vcpkg.json"))
    check_names("dependencies in vcpkg.json",
                {name for name in port["dependencies"] if isinstance(name, str)}, libraries)
    check_names("dependencies of the tool in vcpkg.json",
                set(port["features"]["tools"]["dependencies"]), tool)
    for features, has_tool in (("core", False), ("core;tools", True)):
        calls = run_port(cmake, features)
        check(f"the port takes this tree: {calls}",
              any(call.startswith(f"cmake_configure SOURCE_PATH;{ROOT};") for call in calls))
        check(f"the port has the tool with {features}",
              "copy_tools TOOL_NAMES;nuv;AUTO_CLEAN" in calls, has_tool)


def load_recipe():
    """The class of the recipe, with what it exports, on a stand-in for conan."""
    for name in ("conan", "conan.tools", "conan.tools.cmake", "conan.tools.files"):
        sys.modules[name] = types.ModuleType(name)
    sys.modules["conan"].ConanFile = type("ConanFile", (), {"export_sources_folder": None})
    for name in ("CMake", "CMakeDeps", "CMakeToolchain", "cmake_layout"):
        setattr(sys.modules["conan.tools.cmake"], name, None)
    exported = set()
    sys.modules["conan.tools.files"].copy = lambda recipe, pattern, src, dst: exported.add(pattern)
    path = ROOT / "packaging/conan/conanfile.py"
    scope = {}
    exec(compile(text(path), path, "exec"), scope)  # pylint: disable=exec-used
    scope["NuvConan"].recipe_folder = path.parent
    return scope["NuvConan"], exported


def check_conan(version, libraries, tool):
    kind, exported = load_recipe()
    for has_tool in (False, True):
        recipe = kind()
        recipe.options = types.SimpleNamespace(tools=has_tool)
        required = set()
        recipe.requires = lambda reference, to=required: to.add(reference.split("/")[0])
        recipe.set_version()
        recipe.requirements()
        recipe.export_sources()
        check("version in conan", recipe.version, version)
        check_names("requirements of conan", required, libraries | tool if has_tool else libraries)
    shipped = set(re.findall(r"^ *add_subdirectory\(([\w/]+)\)", text("CMakeLists.txt"), re.M))
    shipped -= {"benchmarks", "examples", "fuzz", "python", "tests"}
    check_names("what conan exports", exported,
                {f"{folder}/*" for folder in shipped} | {"CMakeLists.txt", "LICENSE", "cmake/*"})


def check_options():
    known = set(re.findall(r"(?:option|set)\((NUV_\w+)",
                           text("cmake/nuv_options.cmake") + text("python/CMakeLists.txt")))
    for path in ("debian/rules", PORT / "portfile.cmake", "packaging/conan/conanfile.py"):
        check(f"options in {path} that CMake does not know",
              sorted(set(re.findall(r"\bNUV_\w+", text(path))) - known), [])


def check_dependencies(source, development):
    """What is shipped needs what the tables name and nothing else, and Debian's packages say so."""
    libraries, tool = set(LIBRARIES) | {"Threads"}, set(TOOL) | {"Threads"}
    check_names("find_package of the libraries", found_packages("CMakeLists.txt"),
                libraries | {"GTest", "benchmark"})
    check_names("find_package of the tool", found_packages("tools/nuv/CMakeLists.txt"), tool)
    check_names("find_package of the module", found_packages("python/CMakeLists.txt"), set(PYTHON))
    found = re.findall(r"find_dependency\((\w+)", text("wrapper/nuv-config.cmake.in"))
    check_names("find_dependency", set(found), libraries)
    needed = in_column(LIBRARIES, 0)
    check_names("Build-Depends", names(source["Build-Depends"]),
                needed | in_column(TOOL, 0) | in_column(PYTHON, 0) | DEBIAN_BUILD)
    check_names("Depends of libnuv-dev", names(development["Depends"]),
                needed | PACKAGES["runtime"])
    for path in ("wrapper/nuv.pc.in", "api/nuvc.pc.in"):
        required = re.search(r"^Requires.private: (.*)$", text(path), re.M).group(1)
        check_names(f"Requires.private of {path}", names(required), in_column(LIBRARIES, 1))


def installed(cmake, build, component):
    """The files of a component, where they are in Debian."""
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([cmake, "--install", build, "--component", component, "--prefix",
                        f"{folder}/usr"], check=True, stdout=subprocess.DEVNULL)
        files = [path.relative_to(folder).as_posix() for path in Path(folder).rglob("*")
                 if not path.is_dir()]
    files = [re.sub(r"/lib/python[\d.]+/site-packages/", "/lib/python3/dist-packages/", path)
             for path in files]
    return [re.sub(r"^usr/lib\w*/(?!python3|\w+-linux)", "usr/lib/TRIPLET/", path) for path in files]


def main():
    cmake, build = sys.argv[1:]
    version = re.search(r"^project\(nuv VERSION ([\d.]+)", text("CMakeLists.txt"), re.M).group(1)
    source, *binaries = stanzas()
    packages = {stanza["Package"]: stanza for stanza in binaries}
    check_names("packages in debian/control", set(packages),
                set().union(*PACKAGES.values()) | {"libnuv-doc"})
    check_version(version)
    check_dependencies(source, packages["libnuv-dev"])
    check_vcpkg(cmake, in_column(LIBRARIES, 1), in_column(TOOL, 1))
    check_conan(version, in_column(LIBRARIES, 2), in_column(TOOL, 2))
    check_options()
    for component in PACKAGES:
        files = installed(cmake, build, component)
        if component == "python" and not files:
            continue  # a build without the module
        check_files(component, files)
        if component == "runtime":
            check_libraries(files, packages)
    for problem in problems:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
