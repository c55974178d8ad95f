#!/usr/bin/env python3
"""Non-blank lines of tests against the hand-written code, catalogue included.

    scripts/test-ratio.py [--files]

Counts the files git tracks. Tests: everything under tests/ and fuzz/, and
test sources elsewhere (test_*.py, *_test.cpp, *_test.py). Code: every other
source, script, build file and catalogue file (.cpp .h .py .sh .cmake .in .toml
.js .css .html, CMakeLists.txt, .ci/run). Not counted: documentation, golden
outputs, seed corpora and editor settings. The project keeps the ratio at or
below 0.35; --files lists the count of each file.
"""

import os
import re
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
CODE = re.compile(r"(\.(cpp|h|py|sh|cmake|in|toml|js|css|html)|CMakeLists\.txt|^\.ci/run)$")
TEST = re.compile(r"^(tests|fuzz)/|(^|/)test_[^/]*\.py$|_test\.(cpp|py)$")
NOT_COUNTED = re.compile(r"/golden/|/corpus/|/regressions/")


def non_blank(path):
    with open(os.path.join(ROOT, path), encoding="utf-8", errors="replace") as f:
        return sum(1 for line in f if line.strip())


def main():
    files = subprocess.run(["git", "-C", ROOT, "ls-files"], capture_output=True, text=True,
                           check=True).stdout.split()
    counts = {"tests": 0, "code": 0}
    listing = []
    for path in files:
        if NOT_COUNTED.search(path) or not CODE.search(path) or not os.path.exists(
                os.path.join(ROOT, path)):
            continue
        kind = "tests" if TEST.search(path) else "code"
        n = non_blank(path)
        counts[kind] += n
        listing.append((kind, n, path))
    if "--files" in sys.argv:
        for kind, n, path in sorted(listing):
            print(f"{kind:5} {n:6} {path}")
    ratio = counts["tests"] / counts["code"]
    print(f"tests {counts['tests']}  code {counts['code']}  ratio {ratio:.2f} (limit 0.35)")
    return 0 if ratio <= 0.35 else 1


if __name__ == "__main__":
    sys.exit(main())
