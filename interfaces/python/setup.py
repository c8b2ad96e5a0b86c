"""Builds the module with CMake, and puts the shared library next to it: a wheel needs no other.

    pip install --no-build-isolation ./interfaces/python

takes CMake, a compiler with C++20, and pybind11 (Debian: pybind11-dev); nothing is downloaded.
"""

import re
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parents[2]


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        target = Path(self.get_ext_fullpath(ext.name)).resolve()
        target.parent.mkdir(parents=True, exist_ok=True)
        build = Path(self.build_temp).resolve()
        subprocess.run([
            "cmake", "-S", ROOT, "-B", build, "-D", f"Python_EXECUTABLE={sys.executable}",
            "-D", "CMAKE_BUILD_TYPE=Release", "-D", "TARNIX_PYTHON_REQUIRED=ON",
            "-D", "CMAKE_BUILD_RPATH_USE_ORIGIN=ON", "-D", "CMAKE_BUILD_WITH_INSTALL_RPATH=ON",
            "-D", "CMAKE_INSTALL_RPATH=$ORIGIN", "-D", "TARNIX_INSTALL=OFF",
            *(f"-DTARNIX_{part}=OFF" for part in ("TESTS", "BENCH", "EXAMPLES", "CLI"))],
            check=True)
        subprocess.run(["cmake", "--build", build, "--parallel", "--target", "tarnix_python"],
                       check=True)
        module = next((build / "interfaces/python/tarnix").glob("_core.*"))
        self.copy_file(str(module), str(target))
        for library in build.glob("libtarnix.so.*"):
            if re.fullmatch(r"libtarnix\.so\.\d+(\.\d+)?", library.name):  # the name it is asked by
                self.copy_file(str(library.resolve()), str(target.parent / library.name))


def version():
    text = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
    return re.search(r"project\(tarnix VERSION ([0-9.]+)", text).group(1)


setup(version=version(), packages=["tarnix"], package_data={"tarnix": ["py.typed", "*.pyi"]},
      ext_modules=[Extension("tarnix._core", sources=[])], cmdclass={"build_ext": CMakeBuild})
