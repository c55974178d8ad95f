#!/usr/bin/env bash
# Installs the built project into a scratch prefix, then builds the example
# consumer against the installed package twice, with find_package and with
# pkg-config, and runs both. Given PYTHON and the module's directory under the
# prefix, imports the installed Python module and uses it.
set -euo pipefail
build="$1"
source="$2"
python="${3:-}"
module_dir="${4:-}"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
prefix="$scratch/prefix"
cmake --install "$build" --prefix "$prefix" > "$scratch/install.log"
test -f "$prefix/include/TesselCountersOrrery.h"
ls "$prefix"/lib*/libTesselCountersOrrery.so.1 > /dev/null

# CMake: find_package(TesselCountersOrrery CONFIG).
cmake -S "$source/examples/consumer" -B "$scratch/consumer" \
  -DCMAKE_PREFIX_PATH="$prefix" > "$scratch/configure.log"
cmake --build "$scratch/consumer" > "$scratch/build.log"
"$scratch/consumer/consumer"

# pkg-config: the .pc file alone tells the compiler and the linker where
# the headers and both libraries are.
pc="$(ls "$prefix"/lib*/pkgconfig/TesselCountersOrrery.pc)"
export PKG_CONFIG_PATH="$(dirname "$pc")"
test "$(pkg-config --modversion TesselCountersOrrery)" = "$(sed -n 's/^Version: //p' "$pc")"
libdir="$(pkg-config --variable=libdir TesselCountersOrrery)"
# shellcheck disable=SC2046
"${CXX:-c++}" -std=c++17 -o "$scratch/consumer-pc" "$source/examples/consumer/main.cpp" \
  $(pkg-config --cflags --libs TesselCountersOrrery) -Wl,-rpath,"$libdir"
"$scratch/consumer-pc"
echo "installed package: find_package and pkg-config consumers built and ran"

if [ -n "$python" ]; then
  # From outside the build tree, so that nothing but the prefix can be found.
  (cd "$scratch" && env -u LD_LIBRARY_PATH PYTHONPATH="$prefix/$module_dir" "$python" -c '
import sys, tessel_counters as tc
assert tc.__file__.startswith(sys.argv[1]), tc.__file__
r = tc.open("CrpsEngineCfg", "BCM88690_B0")
r.engineNMode = 5
assert r.hex().startswith("05"), r.hex()
' "$prefix/")
  test -f "$prefix/$module_dir/tessel_counters.pyi"
  echo "installed package: the Python module imports from $module_dir"
fi
