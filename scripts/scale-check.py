#!/usr/bin/env python3
"""What the library costs per field as the catalogue grows.

    scripts/scale-check.py [N ...]        (default: 1 4 16)

For each N it writes a catalogue N times the real one into a scratch tree
(${TMPDIR:-/tmp}/tc-scale/N: every class of accessors/ copied N - 1 times
under the names <Class>S2 ... <Class>SN), builds the library alone (Release,
no tests, no benchmarks, two jobs) and prints the generated lines, the
stripped library's bytes, the wall time of the build, and each of them per
field, together with the slowest and the largest translation unit (compiler
seconds and peak memory, measured through a compiler launcher).
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SCRATCH = os.path.join(os.environ.get("TMPDIR", "/tmp"), "tc-scale")
CLASS_LINE = re.compile(r'^class = "(\w+)"', re.MULTILINE)
# Logs "<seconds> <peak KiB> <source>" of every compiler run.
LAUNCHER = """#!/bin/sh
log=$1; shift
src=$(for a in "$@"; do case $a in *.cpp) echo "$a";; esac; done | tail -n 1)
exec /usr/bin/time -a -o "$log" -f "%e %M $src" "$@"
"""


def copy_sources(tree):
    """The project's sources, without build trees or version control."""
    ignore = shutil.ignore_patterns(".git", "build", "build-*", "*.log")
    shutil.copytree(ROOT, tree, ignore=ignore)


def multiply_catalogue(tree, n):
    """Adds copies 2..n of every catalogue file, each class renamed."""
    base = os.path.join(tree, "accessors")
    for sub in sorted(os.listdir(base)):
        folder = os.path.join(base, sub)
        if not os.path.isdir(folder):
            continue
        for name in sorted(os.listdir(folder)):
            if not name.endswith(".toml"):
                continue
            with open(os.path.join(folder, name), encoding="utf-8") as f:
                text = f.read()
            for copy in range(2, n + 1):
                renamed = CLASS_LINE.sub(lambda m: f'class = "{m.group(1)}S{copy}"', text)
                out = os.path.join(folder, f"{name[:-5]}S{copy}.toml")
                with open(out, "w", encoding="utf-8") as f:
                    f.write(renamed)


def field_count(tree):
    out = subprocess.run([sys.executable, os.path.join(tree, "generator", "tcgen.py"),
                          "--root", tree, "--check"], capture_output=True, text=True, check=True)
    return int(re.search(r"(\d+) fields", out.stdout).group(1))


def generated_lines(build):
    total = 0
    for dirpath, _, files in os.walk(os.path.join(build, "generated")):
        for name in files:
            with open(os.path.join(dirpath, name), encoding="utf-8") as f:
                total += sum(1 for _ in f)
    return total


def build(tree, n):
    """Configures and builds the library; returns (seconds, build directory, log of units)."""
    build_dir = os.path.join(tree, "build")
    units_log = os.path.join(tree, "units.log")
    launcher = os.path.join(tree, "launcher.sh")
    with open(launcher, "w", encoding="utf-8") as f:
        f.write(LAUNCHER)
    os.chmod(launcher, 0o755)
    subprocess.run(["cmake", "-S", tree, "-B", build_dir, "-DCMAKE_BUILD_TYPE=Release",
                    "-DTC_BUILD_TESTS=OFF", "-DTC_BUILD_BENCH=OFF",
                    f"-DCMAKE_CXX_COMPILER_LAUNCHER={launcher};{units_log}"],
                   check=True, stdout=subprocess.DEVNULL)
    start = time.monotonic()
    subprocess.run(["cmake", "--build", build_dir, "-j2", "--target", "TesselCountersOrrery"],
                   check=True, stdout=subprocess.DEVNULL)
    return time.monotonic() - start, build_dir, units_log


def units(log):
    rows = []
    with open(log, encoding="utf-8") as f:
        for line in f:
            parts = line.split()
            if len(parts) == 3 and re.fullmatch(r"[\d.]+", parts[0]):
                rows.append((float(parts[0]), int(parts[1]), os.path.basename(parts[2])))
    return rows


def measure(n):
    tree = os.path.join(SCRATCH, str(n))
    shutil.rmtree(tree, ignore_errors=True)
    os.makedirs(SCRATCH, exist_ok=True)
    copy_sources(tree)
    multiply_catalogue(tree, n)
    fields = field_count(tree)
    seconds, build_dir, log = build(tree, n)
    with tempfile.TemporaryDirectory() as tmp:
        stripped = os.path.join(tmp, "lib.so")
        subprocess.run(["strip", "-o", stripped,
                        os.path.join(build_dir, "libTesselCountersOrrery.so")], check=True)
        size = os.path.getsize(stripped)
    lines = generated_lines(build_dir)
    rows = units(log)
    slowest = max(rows)
    largest = max(rows, key=lambda r: r[1])
    return {"n": n, "fields": fields, "lines": lines, "bytes": size, "seconds": seconds,
            "slowest": slowest, "largest": largest}


def main():
    sizes = [int(a) for a in sys.argv[1:]] or [1, 4, 16]
    print("| N | fields | generated lines | per field | stripped bytes | per field "
          "| build s (-j2) | ms per field | slowest unit | largest unit |")
    print("|---|---|---|---|---|---|---|---|---|---|")
    for n in sizes:
        r = measure(n)
        slow, big = r["slowest"], r["largest"]
        print(f"| {n} | {r['fields']} | {r['lines']} | {r['lines'] / r['fields']:.1f} "
              f"| {r['bytes']} | {r['bytes'] / r['fields']:.0f} | {r['seconds']:.1f} "
              f"| {1000 * r['seconds'] / r['fields']:.1f} "
              f"| {slow[2]} {slow[0]:.1f} s | {big[2]} {big[1] // 1024} MB |", flush=True)


if __name__ == "__main__":
    main()
