#!/usr/bin/env bash
# Builds the library and the benchmark harness in ./build, then runs the
# harness of the accessors, then the model's (the address index). Arguments
# go to both (Google Benchmark flags); without any each runs every benchmark
# five times and prints mean, median and spread.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/bootstrap.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTC_BUILD_BENCH=ON > build.log 2>&1 || { cat build.log; exit 1; }
cmake --build build -j 2 --target tessel-bench tessel-model-bench
if [ $# -eq 0 ]; then
  set -- --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
fi
# A filter may match benchmarks of one harness only; the other then says so.
status=0
./build/bench/tessel-bench "$@" || status=$?
./build/bench/tessel-model-bench "$@" || status=$?
exit "$status"
