#!/usr/bin/env bash
# asan: builds with AddressSanitizer, LeakSanitizer and UndefinedBehaviorSanitizer
# and runs the whole test suite under them; tsan: builds the concurrency test
# with ThreadSanitizer and runs it. Without arguments, both in turn.
#   scripts/test-sanitizers.sh [asan] [tsan]
# Exits non-zero when anything fails.
set -euo pipefail
cd "$(dirname "$0")/.."

asan() {
  ./scripts/test.sh asan
}

tsan() {
  ./scripts/bootstrap.sh
  cmake --preset tsan > build-tsan.log 2>&1 || { cat build-tsan.log; exit 1; }
  cmake --build --preset tsan --target concurrency_test
  TSAN_OPTIONS="halt_on_error=1" ./build-tsan/tests/concurrency_test --gtest_filter='Concurrency.*'
}

[[ $# -gt 0 ]] || set -- asan tsan
for run in "$@"; do
  case $run in
    asan | tsan) "$run" ;;
    *) echo "test-sanitizers: unknown run '$run' (asan, tsan)" >&2; exit 2 ;;
  esac
done
