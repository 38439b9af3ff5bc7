"""The recipe of the tree that it lies in: conan create packaging/conan"""

import re
from pathlib import Path

from conan import ConanFile
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy


class NuvConan(ConanFile):
    name = "nuv"
    description = "Streaming raster image processing"
    license = "BSD-2-Clause"
    topics = ("image", "jpeg", "tiff", "scaling")
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "tools": [True, False]}
    default_options = {"shared": True, "tools": True}

    @property
    def _tree(self):
        return Path(self.recipe_folder).parent.parent

    def set_version(self):
        text = (self._tree / "CMakeLists.txt").read_text(encoding="utf-8")
        self.version = re.search(r"^project\(nuv VERSION ([\d.]+)", text, re.M).group(1)

    def export_sources(self):
        for pattern in ("CMakeLists.txt", "LICENSE", "api/*", "cmake/*", "core/*", "extension/*",
                        "framework/*", "tools/nuv/*", "wrapper/*"):
            copy(self, pattern, src=self._tree, dst=self.export_sources_folder)

    def requirements(self):
        self.requires("libpng/[>=1.6 <2]")
        self.requires("zlib/[>=1.2.11 <2]")
        if self.options.tools:
            self.requires("cli11/[>=2 <3]")
            self.requires("nlohmann_json/[>=3 <4]")

    def layout(self):
        cmake_layout(self)

    def generate(self):
        CMakeDeps(self).generate()
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["NUV_BUILD_TESTS"] = False
        toolchain.cache_variables["NUV_BUILD_TOOL"] = bool(self.options.tools)
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(self, "LICENSE", src=self.source_folder, dst=Path(self.package_folder) / "licenses")
        CMake(self).install()

    def package_info(self):
        self.cpp_info.set_property("cmake_file_name", "nuv")
        for library in ("nuv", "nuvc"):
            component = self.cpp_info.components[library]
            component.libs = [library]
            component.requires = ["libpng::libpng", "zlib::zlib"]
            component.set_property("cmake_target_name", f"nuv::{library}")
            component.set_property("pkg_config_name", library)
            if not self.options.shared:
                component.system_libs = ["m", "pthread", "stdc++"]
