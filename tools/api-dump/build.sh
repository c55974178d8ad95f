#!/usr/bin/env bash
# Builds api-dump against one build of the library:
#   tools/api-dump/build.sh BUILD_DIR SOURCE_DIR OUT_DIR     -> OUT_DIR/api-dump
# BUILD_DIR holds the library and its generated headers, SOURCE_DIR the tree
# it was configured from (for the core and platform headers).
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)
src=$(cd "$2" && pwd)
outdir=$3
mkdir -p "$outdir"
outdir=$(cd "$outdir" && pwd)

lib=$(find "$build" -maxdepth 2 -name libTesselCountersOrrery.so -print -quit)
platform=$(find "$build" -maxdepth 3 -name libOrreryPlatform.so -print -quit)
[[ -n $lib && -n $platform ]] || { echo "build.sh: no library under $build" >&2; exit 2; }
libdirs="$(dirname "$lib"):$(dirname "$platform")"

python3 "$here/gen_dump.py" --build "$build" --out "$outdir/Classes.cpp"

flags=(-std=c++17 -O1 -Wall -Wextra -I"$here" -I"$src/core/include" -I"$build/generated/include"
       -I"$src/platform/include")
# Two compilers at a time, the generated tables first since they take longest.
pids=()
for cpp in "$outdir/Classes.cpp" "$here"/*.cpp; do
  obj="$outdir/$(basename "${cpp%.cpp}").o"
  ${CXX:-g++} "${flags[@]}" -c "$cpp" -o "$obj" &
  pids+=($!)
  if (( ${#pids[@]} >= 2 )); then wait "${pids[0]}"; pids=("${pids[@]:1}"); fi
done
for pid in "${pids[@]}"; do wait "$pid"; done
${CXX:-g++} "$outdir"/*.o -L"$(dirname "$lib")" -L"$(dirname "$platform")" \
  -lTesselCountersOrrery -lOrreryPlatform -Wl,-rpath,"$libdirs" -o "$outdir/api-dump"
