"""pip install . : configures the project with CMake (Release, without tests
and benchmarks), builds the library and the Python package alone, installs
CMake's component python (the package, its stubs and the two libraries it
loads, beside it) into a staging folder and puts the package into the wheel.
CMAKE_BUILD_PARALLEL_LEVEL sets the build's jobs (2 unless set); CMAKE_ARGS,
split at spaces, adds arguments to the configure step after those above
(-DCMAKE_BUILD_TYPE=Debug, for instance)."""

import os
import re
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = os.path.dirname(os.path.abspath(__file__))


def version():
    """The library's version, from the project() of CMakeLists.txt."""
    with open(os.path.join(ROOT, "CMakeLists.txt")) as f:
        return re.search(r"project\(TesselCountersOrrery VERSION ([\d.]+)", f.read()).group(1)


def copy_package(stage, out):
    """The staged package into `out`, each library once under its soname: a link
    becomes a copy of the file it names, and that file is left out."""
    os.makedirs(out, exist_ok=True)
    names = os.listdir(stage)
    linked = {os.path.basename(os.path.realpath(os.path.join(stage, n)))
              for n in names if os.path.islink(os.path.join(stage, n))}
    for name in names:
        path = os.path.join(stage, name)
        if name in linked or name == "__pycache__":
            continue
        shutil.copyfile(path, os.path.join(out, name))
        shutil.copymode(path, os.path.join(out, name))


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        build = os.path.abspath(self.build_temp)
        stage = os.path.join(build, "stage")
        jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", "2")
        subprocess.run(["cmake", "-S", ROOT, "-B", build, "-DCMAKE_BUILD_TYPE=Release",
                        "-DTC_BUILD_TESTS=OFF", "-DTC_BUILD_BENCH=OFF",
                        f"-DPython3_EXECUTABLE={sys.executable}",
                        "-DTC_PYTHON_WITH_LIBRARIES=ON", "-DTC_PYTHON_INSTALL_DIR=.",
                        "-DCMAKE_INSTALL_LIBDIR=tessel_counters",
                        *os.environ.get("CMAKE_ARGS", "").split()], check=True)
        subprocess.run(["cmake", "--build", build, "--parallel", jobs, "--target",
                        "tessel_counters", "tessel_counters_stubs"], check=True)
        shutil.rmtree(stage, ignore_errors=True)
        subprocess.run(["cmake", "--install", build, "--component", "python", "--prefix", stage],
                       check=True)
        copy_package(os.path.join(stage, "tessel_counters"),
                     os.path.dirname(os.path.abspath(self.get_ext_fullpath(ext.name))))


os.makedirs(os.path.join(ROOT, "build-pip"), exist_ok=True)
setup(version=version(),
      packages=[],
      ext_modules=[Extension("tessel_counters._native", sources=[])],
      cmdclass={"build_ext": CMakeBuild},
      options={"build": {"build_base": "build-pip"}, "egg_info": {"egg_base": "build-pip"}},
      zip_safe=False)
