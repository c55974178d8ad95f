#!/usr/bin/env bash
# Builds with AddressSanitizer, LeakSanitizer and UndefinedBehaviorSanitizer and
# runs the whole test suite under them; then builds the concurrency test with
# ThreadSanitizer and runs it. Exits non-zero when anything fails.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/bootstrap.sh
export ASAN_OPTIONS="detect_leaks=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
cmake --preset asan > build-asan.log 2>&1 || { cat build-asan.log; exit 1; }
cmake --build --preset asan
ctest --preset asan

cmake --preset tsan > build-tsan.log 2>&1 || { cat build-tsan.log; exit 1; }
cmake --build --preset tsan --target concurrency_test
TSAN_OPTIONS="halt_on_error=1" ./build-tsan/tests/concurrency_test --gtest_filter='Concurrency.*'
