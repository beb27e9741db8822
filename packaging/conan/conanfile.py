"""Conan 2 recipe: conan create packaging/conan"""
import pathlib

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import copy, rm, rmdir

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent


class Tavo45(ConanFile):
    name = "tavo45"
    version = "0.1.0"
    license = "MIT"
    description = "Reads, converts and writes raster images of old and present formats"
    topics = ("image", "tiff", "fax", "png", "jpeg", "gif")
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False]}
    default_options = {"shared": True}

    def export_sources(self):
        for pattern in ("CMakeLists.txt", "LICENSE", "cmake/*", "include/*", *self.rooms()):
            copy(self, pattern, ROOT, self.export_sources_folder)

    def rooms(self):
        """The folders of the library, as CMakeLists.txt lists them."""
        text = (ROOT / "CMakeLists.txt").read_text()
        names = text.partition("set(rooms ")[2].partition(")")[0].split()
        return [name + "/*" for name in names]

    def validate(self):
        if self.settings.compiler == "msvc":
            raise ConanInvalidConfiguration("on Windows the library is built by MinGW-w64")

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables.update(
            {"TAVO_TESTS": False, "TAVO_TOOLS": False, "TAVO_EXAMPLES": False})
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        """Installed are both kinds of library, and what tells CMake and pkg-config of them; Conan makes that
        anew for the one that was asked for."""
        CMake(self).install()
        package = pathlib.Path(self.package_folder)
        copy(self, "LICENSE", self.source_folder, package / "licenses")
        for name in ("cmake", "pkgconfig"):
            rmdir(self, package / "lib" / name)
        for pattern in ("libtavo45.a",) if self.options.shared else ("*.so*", "*.dll.a", "TAVO45.dll"):
            rm(self, pattern, package, recursive=True)

    def package_info(self):
        self.cpp_info.set_property("cmake_file_name", "Tavo45")
        kind = "tavo45" if self.options.shared else "tavo45_static"
        self.cpp_info.set_property("cmake_target_name", f"Tavo45::{kind}")
        windows = self.settings.os == "Windows"
        self.cpp_info.libs = ["TAVO45" if windows and self.options.shared else "tavo45"]
        if windows:
            self.cpp_info.system_libs = ["gdi32", "user32"]
