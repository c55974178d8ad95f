#!/usr/bin/env python3
"""The benchmark harness of two revisions, run in turns on the same machine.

    scripts/bench-compare.py REV_A REV_B [--rounds R] [--filter REGEX]

REV is a git revision or WORKTREE (the working tree as it stands). Each
revision's library and harness are built once (RelWithDebInfo, no tests)
under ${TMPDIR:-/tmp}/tc-bench/<tree hash>, each with its own harness. Then the two harnesses run in turns, A B A B ..., R rounds (3), and
for every benchmark the median of its rounds on each side is printed with the
ratio B / A. Taking turns keeps a change of the machine's load from falling
on one side only.
"""

import argparse
import json
import os
import statistics
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SCRATCH = os.path.join(os.environ.get("TMPDIR", "/tmp"), "tc-bench")


def git(*args, env=None):
    return subprocess.run(["git", "-C", ROOT, *args], check=True, capture_output=True,
                          text=True, env=env).stdout.strip()


def tree_of(rev):
    """The tree hash of a revision; WORKTREE adds the working tree to a scratch index."""
    if rev != "WORKTREE":
        return git("rev-parse", "--verify", f"{rev}^{{tree}}")
    with tempfile.NamedTemporaryFile(dir=SCRATCH) as index:
        with open(os.path.join(git("rev-parse", "--absolute-git-dir"), "index"), "rb") as f:
            index.write(f.read())
        index.flush()
        env = dict(os.environ, GIT_INDEX_FILE=index.name)
        git("add", "-A", env=env)
        return git("write-tree", env=env)


def build(label, tree):
    """Builds a tree's harness once; returns its path."""
    where = os.path.join(SCRATCH, tree)
    harness = os.path.join(where, "build", "bench", "tessel-bench")
    if os.path.exists(os.path.join(where, "done")):
        return harness
    print(f"bench-compare: {label}: building in {where}", file=sys.stderr, flush=True)
    subprocess.run(["rm", "-rf", where], check=True)
    os.makedirs(os.path.join(where, "src"))
    archive = subprocess.run(["git", "-C", ROOT, "archive", tree], check=True,
                             capture_output=True).stdout
    subprocess.run(["tar", "-x", "-C", os.path.join(where, "src")], input=archive, check=True)
    with open(os.path.join(where, "build.log"), "w", encoding="utf-8") as log:
        for cmd in (["cmake", "-S", os.path.join(where, "src"), "-B", os.path.join(where, "build"),
                     "-DCMAKE_BUILD_TYPE=RelWithDebInfo", "-DTC_BUILD_TESTS=OFF",
                     "-DTC_BUILD_BENCH=ON", "-DTC_BUILD_PYTHON=OFF"],
                    ["cmake", "--build", os.path.join(where, "build"), "-j2",
                     "--target", "tessel-bench"]):
            if subprocess.run(cmd, stdout=log, stderr=subprocess.STDOUT).returncode != 0:
                sys.exit(f"bench-compare: {label} doesn't build (log: {where}/build.log)")
    open(os.path.join(where, "done"), "w", encoding="utf-8").close()
    return harness


def run(harness, regex):
    out = subprocess.run([harness, f"--benchmark_filter={regex}", "--benchmark_min_time=0.2",
                          "--benchmark_format=json"], check=True, capture_output=True, text=True)
    return {b["name"]: b["real_time"] for b in json.loads(out.stdout)["benchmarks"]}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("a")
    parser.add_argument("b")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--filter", default=".")
    args = parser.parse_args()
    os.makedirs(SCRATCH, exist_ok=True)
    harness = [build(rev, tree_of(rev)) for rev in (args.a, args.b)]
    times = ({}, {})
    for _ in range(args.rounds):
        for side in (0, 1):
            for name, ns in run(harness[side], args.filter).items():
                times[side].setdefault(name, []).append(ns)
    print(f"| Benchmark | {args.a}, ns | {args.b}, ns | {args.b} / {args.a} |")
    print("|---|---|---|---|")
    for name, old in times[0].items():
        if name in times[1]:
            a, b = statistics.median(old), statistics.median(times[1][name])
            print(f"| {name} | {a:.3g} | {b:.3g} | {b / a:.2f} |")
    with open("/proc/loadavg", encoding="utf-8") as f:
        print(f"\nload average after the runs: {' '.join(f.read().split()[:3])}")


if __name__ == "__main__":
    main()
