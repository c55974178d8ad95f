#!/usr/bin/env bash
# Builds the libFuzzer targets of fuzz/ in ./build-fuzz (clang, address and
# undefined-behaviour sanitizers) and runs each target: first every input in
# fuzz/regressions/TARGET/ once, then fuzzing for SECONDS (default 30) from
# the seeds in fuzz/corpus/TARGET/. Exits non-zero on any crash, sanitizer
# report, leak, failed check or hang, the input kept in build-fuzz/artifacts/;
# and when the repository's tree (git status, build folders aside) changed.
#
#   scripts/fuzz.sh [SECONDS [TARGET...]]      e.g. scripts/fuzz.sh 600 fuzz_tool
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
seconds=${1:-30}
shift $(( $# > 0 ? 1 : 0 ))
./scripts/bootstrap.sh
mkdir -p build-fuzz/artifacts
CXX=clang++ cmake -S . -B build-fuzz -DTC_BUILD_FUZZERS=ON -DTC_BUILD_TESTS=OFF -DTC_BUILD_PYTHON=OFF \
  -DTC_BUILD_BENCH=OFF -DTC_WARNINGS_AS_ERRORS=ON -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g1" \
  > build-fuzz/configure.log 2>&1 || { cat build-fuzz/configure.log; exit 1; }
cmake --build build-fuzz -j 2

tree() { git status --porcelain --untracked-files=all 2>/dev/null || true; }
before=$(tree)
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for bin in build-fuzz/fuzz/fuzz_*; do targets+=("$(basename "$bin")"); done
fi
for name in "${targets[@]}"; do
  bin=$root/build-fuzz/fuzz/$name
  work=$root/build-fuzz/corpus/$name
  mkdir -p "$work"
  flags=(-dict="$root/build-fuzz/fuzz/tessel.dict" -timeout=10 -rss_limit_mb=2048
         -artifact_prefix="$root/build-fuzz/artifacts/$name-" -print_final_stats=1)
  corpora=("$work")
  for dir in "$root/fuzz/corpus/$name" "$root/fuzz/regressions/$name"; do
    [ -d "$dir" ] && corpora+=("$dir")
  done
  regressions=("$root/fuzz/regressions/$name"/*)
  if [ -e "${regressions[0]}" ]; then
    echo "fuzz.sh: $name: replaying ${#regressions[@]} inputs that once failed"
    "$bin" "${flags[@]}" "${regressions[@]}"
  fi
  echo "fuzz.sh: $name: fuzzing for $seconds s"
  "$bin" "${flags[@]}" -max_total_time="$seconds" "${corpora[@]}"
done
if [ "$(tree)" != "$before" ]; then
  echo "fuzz.sh: the repository's tree changed during the run:" >&2
  diff <(echo "$before") <(tree) >&2 || true
  exit 1
fi
