#!/usr/bin/env bash
# Compares every answer of the library's public API between two revisions:
#
#   scripts/compare-api.sh [--trace-on] REV_A REV_B
#
# REV is any git revision, or WORKTREE for the working tree as it stands
# (changed and untracked files, not ignored ones). Each revision's library is
# built once, alone (Release, no tests, no benchmarks), under
# ${TMPDIR:-/tmp}/tc-compare/lib-<tree hash>; api-dump from THIS tree's
# tools/api-dump is built against it and run. --trace-on runs the dump with
# trace level 8 on, through the library's traced paths.
#
# Exit status: 0 if the two dumps are identical, 1 if not (the first 200
# lines of the diff are shown, the whole diff is kept), 2 on a build failure.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
scratch=${TMPDIR:-/tmp}/tc-compare
dumpArgs=()
suffix=""
if [[ ${1:-} == --trace-on ]]; then
  dumpArgs=(--trace-on)
  suffix="-trace-on"
  shift
fi
if [[ $# -ne 2 ]]; then
  sed -n '2,14p' "$0" | sed 's/^# \{0,1\}//' >&2
  exit 2
fi
mkdir -p "$scratch"

say() { echo "compare-api: $*" >&2; }

# The tree hash of a revision. For WORKTREE, the working tree is added to a
# scratch index, so the real index and the files stay as they are.
treeOf() {
  if [[ $1 == WORKTREE ]]; then
    local index
    index=$(mktemp "$scratch/index.XXXXXX")
    cp "$(git -C "$root" rev-parse --absolute-git-dir)/index" "$index"
    GIT_INDEX_FILE=$index git -C "$root" add -A
    GIT_INDEX_FILE=$index git -C "$root" write-tree
    rm -f "$index"
  else
    git -C "$root" rev-parse --verify --quiet "$1^{tree}" || { say "no revision '$1'"; exit 2; }
  fi
}

# Builds the library of a tree once; later calls find it done.
buildLibrary() {
  local label=$1 tree=$2 dir=$scratch/lib-$2
  if [[ -f $dir/done ]]; then
    say "$label: library already built ($dir)"
    return
  fi
  say "$label: building the library in $dir"
  rm -rf "$dir"
  mkdir -p "$dir/src"
  git -C "$root" archive "$tree" | tar -x -C "$dir/src"
  if ! cmake -S "$dir/src" -B "$dir/build" -DCMAKE_BUILD_TYPE=Release -DTC_BUILD_TESTS=OFF \
      -DTC_BUILD_BENCH=OFF > "$dir/build.log" 2>&1 ||
     ! cmake --build "$dir/build" --target TesselCountersOrrery -j2 >> "$dir/build.log" 2>&1; then
    tail -n 40 "$dir/build.log" >&2
    say "$label: the library doesn't build (log: $dir/build.log)"
    exit 2
  fi
  touch "$dir/done"
}

# A hash of this tree's dump program, so that a changed program is rebuilt.
toolKey() {
  (cd "$root/tools/api-dump" && cat Dump.h ./*.cpp gen_dump.py build.sh) | sha1sum | cut -c1-12
}

# Builds api-dump against a built library and runs it; prints the output's path.
dumpOf() {
  local label=$1 tree=$2
  local lib=$scratch/lib-$tree
  local tool=$lib/dump-$(toolKey)
  local out=$tool/api$suffix.txt
  if [[ ! -x $tool/api-dump ]]; then
    rm -rf "$lib"/dump-*  # built by an older api-dump
    say "$label: building api-dump"
    if ! "$root/tools/api-dump/build.sh" "$lib/build" "$lib/src" "$tool" > "$tool.log" 2>&1; then
      tail -n 40 "$tool.log" >&2
      say "$label: api-dump doesn't build (log: $tool.log)"
      exit 2
    fi
  fi
  if [[ ! -f $out ]]; then
    say "$label: running api-dump ${dumpArgs[*]}"
    "$tool/api-dump" "${dumpArgs[@]}" > "$out.part"
    mv "$out.part" "$out"
  fi
  echo "$out"
}

treeA=$(treeOf "$1")
treeB=$(treeOf "$2")
buildLibrary "$1" "$treeA"
buildLibrary "$2" "$treeB"
dumpA=$(dumpOf "$1" "$treeA")
dumpB=$(dumpOf "$2" "$treeB")

if cmp -s "$dumpA" "$dumpB"; then
  say "identical: $(wc -l < "$dumpA") lines ($1 = $dumpA, $2 = $dumpB)"
  exit 0
fi
diffFile=$scratch/last$suffix.diff
diff -u --label "$1" --label "$2" "$dumpA" "$dumpB" > "$diffFile" || true
head -n 200 "$diffFile"
removed=$(grep -c '^-[^-]' "$diffFile" || true)
added=$(grep -c '^+[^+]' "$diffFile" || true)
say "different: $removed lines of $1 and $added lines of $2 differ; whole diff in $diffFile"
exit 1
