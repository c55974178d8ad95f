#!/usr/bin/env bash
# Installs the built project into a scratch prefix, then builds the example
# consumer against the installed package twice, with find_package and with
# pkg-config, and runs both. The consumer compiles with warnings of its own
# (CXX, the third argument, or c++): the package must add no warning flag to
# them, least of all -Werror, and its headers must give it no warning. Given
# PYTHON and the module's directory under the prefix, imports the installed
# Python module and uses it.
set -euo pipefail
build="$1"
source="$2"
cxx="${3:-${CXX:-c++}}"
python="${4:-}"
module_dir="${5:-}"
consumerFlags=(-Wall -Wextra -Wpedantic)
fail() { echo "installed package: $1" >&2; exit 1; }
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
prefix="$scratch/prefix"
cmake --install "$build" --prefix "$prefix" > "$scratch/install.log"
test -f "$prefix/include/TesselCountersOrrery.h"
ls "$prefix"/lib*/libTesselCountersOrrery.so.1 > /dev/null

# CMake: find_package(TesselCountersOrrery CONFIG).
cmake -S "$source/examples/consumer" -B "$scratch/consumer" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_FLAGS="${consumerFlags[*]}" \
  -DCMAKE_EXPORT_COMPILE_COMMANDS=ON > "$scratch/configure.log"
cmake --build "$scratch/consumer" > "$scratch/build.log" 2>&1 || { cat "$scratch/build.log"; exit 1; }
added=$(grep -o -- '-W[^ "]*' "$scratch/consumer/compile_commands.json" |
        grep -vxF -e "$(printf '%s\n' "${consumerFlags[@]}")" || true)
[[ -z $added ]] || fail "its targets add $added to the consumer's flags"
"$scratch/consumer/consumer"

# pkg-config: the .pc file alone tells the compiler and the linker where
# the headers and both libraries are.
pc="$(ls "$prefix"/lib*/pkgconfig/TesselCountersOrrery.pc)"
export PKG_CONFIG_PATH="$(dirname "$pc")"
test "$(pkg-config --modversion TesselCountersOrrery)" = "$(sed -n 's/^Version: //p' "$pc")"
libdir="$(pkg-config --variable=libdir TesselCountersOrrery)"
[[ $(pkg-config --cflags TesselCountersOrrery) != *-W* ]] || fail "its .pc file sets warnings"
# Here the headers come with -I, not as system headers as through CMake, so
# they would show their warnings: the consumer makes its own warnings errors.
# shellcheck disable=SC2046
"$cxx" -std=c++17 "${consumerFlags[@]}" -Werror -o "$scratch/consumer-pc" \
  "$source/examples/consumer/main.cpp" $(pkg-config --cflags --libs TesselCountersOrrery) \
  -Wl,-rpath,"$libdir"
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
  test -f "$prefix/$module_dir/tessel_counters/__init__.pyi"
  test -f "$prefix/$module_dir/tessel_counters/py.typed"
  echo "installed package: the Python module imports from $module_dir"
fi
