"""Builds the `znconverters` module with the project's CMake build, for `pip install .`.

The module ships with the two shared libraries it needs, in `znconverters.libs/` beside
it, found through an RPATH relative to the module. Nothing is downloaded: pybind11 comes
from the system (pybind11-dev) or from an installed pybind11 package, so offline

    pip install --no-build-isolation .

works with setuptools, wheel and pybind11 already installed. CMAKE_BUILD_PARALLEL_LEVEL
sets the number of compile jobs (default one).
"""

import glob
import os
import re
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = os.path.dirname(os.path.abspath(__file__))
LIBS_DIR = "znconverters.libs"


def project_version():
    with open(os.path.join(ROOT, "CMakeLists.txt"), encoding="utf-8") as f:
        return re.search(r"project\(\w+ VERSION ([\d.]+)", f.read()).group(1)


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        build_dir = os.path.abspath(os.path.join(self.build_temp, "cmake"))
        prefix = os.path.join(build_dir, "prefix")
        configure = [
            "cmake", "-S", ROOT, "-B", build_dir,
            "-DCMAKE_BUILD_TYPE=Release",
            "-DZN_BUILD_TESTS=OFF", "-DZN_BUILD_TOOLS=OFF", "-DZN_BUILD_PYTHON=ON",
            f"-DPython_EXECUTABLE={sys.executable}",
            f"-DCMAKE_INSTALL_PREFIX={prefix}",
            "-DZN_PYTHON_INSTALL_DIR=python",
            # The module finds the libraries in their directory beside it, and each
            # library the other in the same directory.
            f"-DZN_PYTHON_INSTALL_RPATH=$ORIGIN/{LIBS_DIR}",
            "-DCMAKE_INSTALL_RPATH=$ORIGIN",
        ]
        try:
            import pybind11

            configure.append(f"-Dpybind11_DIR={pybind11.get_cmake_dir()}")
        except ImportError:
            pass  # CMake looks for the system's pybind11
        subprocess.run(configure, check=True)
        subprocess.run(["cmake", "--build", build_dir], check=True)
        subprocess.run(["cmake", "--install", build_dir, "--prefix", prefix], check=True)

        modules = glob.glob(os.path.join(prefix, "python", "znconverters*"))
        if len(modules) != 1:
            sys.exit(f"the CMake build made no single znconverters module: {modules}")
        target = self.get_ext_fullpath(ext.name)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        shutil.copyfile(modules[0], target)
        libs = os.path.join(os.path.dirname(target), LIBS_DIR)
        os.makedirs(libs, exist_ok=True)
        # The name the loader asks for (libX.so.1), holding the real file.
        for library in glob.glob(os.path.join(prefix, "lib*", "libZn*Lib64.so.*")):
            name = os.path.basename(library)
            if re.fullmatch(r"lib\w+\.so\.\d+", name):
                shutil.copyfile(library, os.path.join(libs, name))


# Build products stay under build/, which the checkout ignores.
BUILD_BASE = os.path.join("build", "pip")
os.makedirs(BUILD_BASE, exist_ok=True)

setup(
    version=project_version(),
    py_modules=[],
    packages=[],
    ext_modules=[Extension("znconverters", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
    options={"build": {"build_base": BUILD_BASE}, "egg_info": {"egg_base": BUILD_BASE}},
    zip_safe=False,
)
