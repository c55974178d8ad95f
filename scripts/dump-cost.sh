#!/usr/bin/env bash
# What dumps cost on a chip (the largest by default): dump list, dump decode of
# that list with random words (text and JSON; and of its first half, to show
# the cost grows with the dump), dump diff of two such dumps (the same, one
# word apart, every word apart). Each is timed alone with /usr/bin/time: wall
# and CPU seconds, peak memory. Builds nothing: run ./scripts/build.sh first.
#   scripts/dump-cost.sh [TOOL [CHIP]]     e.g. scripts/dump-cost.sh build/tessel-counters BCM88860_A0
set -euo pipefail
cd "$(dirname "$0")/.."
tool=${1:-build/tessel-counters}
chip=${2:-BCM88860_A0}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# NAME COMMAND...: the command's output into $work/out, its cost on one line.
cost() {
  local name=$1
  shift
  /usr/bin/time -o "$work/time" -f "%e %U %S %M" "$@" > "$work/out" 2> /dev/null || true
  tail -n 1 "$work/time" | awk -v name="$name" \
    '{ printf "%-40s %6.2f s wall %6.2f s CPU %8d KB\n", name, $1, $2 + $3, $4 }'
}

# The list $1 with random words (seed $2) in place of its zeros.
fill() {
  python3 - "$@" << 'EOF'
import random, sys
lines, seed = open(sys.argv[1]).read().splitlines(), int(sys.argv[2])
rnd = random.Random(seed)
out = [l.split("#")[0].split() for l in lines if not l.startswith("#")]
out = [h[:2] + ["0x%08x" % rnd.getrandbits(32) for _ in h[2:]] for h in out]
sys.stdout.write("".join(" ".join(h) + "\n" for h in out))
EOF
}

"$tool" dump list --chip "$chip" > "$work/list"
fill "$work/list" 1 > "$work/a"
fill "$work/list" 2 > "$work/b"
{ head -n -1 "$work/a"; tail -n 1 "$work/a" | awk '{ $3 = "0x1"; print }'; } > "$work/a1"
head -n $(($(wc -l < "$work/a") / 2)) "$work/a" > "$work/half"
echo "$chip: $(wc -l < "$work/a") entries, $(wc -c < "$work/a") bytes of dump"
cost "dump list" "$tool" dump list --chip "$chip"
cost "dump decode" "$tool" dump decode "$work/a" --chip "$chip"
cost "dump decode, half the dump" "$tool" dump decode "$work/half" --chip "$chip"
cost "dump decode --json" "$tool" dump decode "$work/a" --chip "$chip" --json
cost "dump decode --json, half the dump" "$tool" dump decode "$work/half" --chip "$chip" --json
cost "dump diff, the same" "$tool" dump diff "$work/a" "$work/a" --chip "$chip"
cost "dump diff, one word apart" "$tool" dump diff "$work/a" "$work/a1" --chip "$chip"
cost "dump diff, every word apart" "$tool" dump diff "$work/a" "$work/b" --chip "$chip"
cost "dump diff --json, every word apart" "$tool" dump diff "$work/a" "$work/b" --chip "$chip" --json
