#!/usr/bin/env python3
"""Every answer of the public API pinned: a digest per class in a committed record.

    scripts/pin-answers.py [--build DIR]             check a build's answers against the record
    scripts/pin-answers.py --refresh [--build DIR]   write the record from a build's answers
    scripts/pin-answers.py --dump API_DUMP           check with a built api-dump (ctest does)

tools/api-dump writes every answer of the public API, one line each: the
factory's list of classes, the field identifiers, the chips' names, then each
accessor class with its fatal checks. The record, tests/golden/api-answers.txt,
keeps for each of these parts its number of lines and a digest of them. The
catalogue's numbers live in the catalogue alone; an edit of it, of the
generator or of the core that moves an answer changes a part's digest, and
the check fails naming the part, until --refresh records the new answers and
the commit carries both the change and the record's.

Without --dump the api-dump target is built first in DIR (default ./build,
configured with the default preset if it isn't yet). Exit status: 0 when
every part matches (and after --refresh), 1 when some differ, 2 on an error.
"""

import argparse
import hashlib
import os
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
RECORD = os.path.join(ROOT, "tests", "golden", "api-answers.txt")
RECORD_NAME = os.path.relpath(RECORD, ROOT)
DIGITS = 20  # of the SHA-256, in hex

# The parts before the first class, by the first word of their lines. Class
# names begin with a capital letter, so these can't be taken for one.
PREAMBLE = {
    "classes": "factory",
    "class": "factory",
    "fieldIds": "field-ids",
    "fieldId": "field-ids",
    "chipAndVariant": "chip-names",
}

HEADER = """\
# Every answer of the library's public API, as tools/api-dump writes them, by
# part: the factory's classes, the field identifiers, the chips' names and each
# accessor class. Each line: the part, its number of answer lines, the first
# {digits} hex digits of their SHA-256. The ctest entry pinned_answers checks it;
# after a change that moves answers on purpose, scripts/pin-answers.py --refresh
# rewrites it, and the change's commit carries the record's change too.
""".format(digits=DIGITS)


class Part:
    def __init__(self):
        self.lines = 0
        self.sha = hashlib.sha256()

    def text(self):
        return self.lines, self.sha.hexdigest()[:DIGITS]


def answers(dump):
    """Runs api-dump; {part: (lines, digest)} in the order of its output."""
    parts = {}
    current = None
    # Symbols bound once in the parent, not again in each of the thousands of
    # children it forks: a tenth less CPU time.
    env = dict(os.environ, LD_BIND_NOW="1")
    with subprocess.Popen([dump], stdout=subprocess.PIPE, env=env) as proc:
        for line in proc.stdout:
            if line.startswith(b"== "):
                current = line.split()[1].decode()
                name = current
            elif current is None:
                word = line.split(b" ", 1)[0].decode()
                name = PREAMBLE.get(word, word)
            else:
                name = current
            part = parts.setdefault(name, Part())
            part.lines += 1
            part.sha.update(line)
    if proc.returncode != 0:
        sys.exit(f"pin-answers: {dump} ended with status {proc.returncode}")
    if not parts:
        sys.exit(f"pin-answers: {dump} wrote nothing")
    return {name: part.text() for name, part in parts.items()}


def read_record():
    record = {}
    with open(RECORD, encoding="utf-8") as f:
        for number, line in enumerate(f, 1):
            if not line.strip() or line.startswith("#"):
                continue
            words = line.split()
            if len(words) != 3 or not words[1].isdigit():
                sys.exit(f"pin-answers: {RECORD_NAME}:{number}: not 'part lines digest'")
            record[words[0]] = (int(words[1]), words[2])
    return record


def write_record(parts):
    width = max(len(name) for name in parts)
    with open(RECORD, "w", encoding="utf-8") as f:
        f.write(HEADER)
        for name, (lines, digest) in parts.items():
            f.write(f"{name:{width}} {lines:7} {digest}\n")


def build(folder):
    """Builds the api-dump target in folder; its path."""
    if not os.path.exists(os.path.join(folder, "CMakeCache.txt")):
        if os.path.abspath(folder) != os.path.join(ROOT, "build"):
            sys.exit(f"pin-answers: {folder} is not a configured build")
        subprocess.run(["cmake", "--preset", "default"], cwd=ROOT, check=True)
    done = subprocess.run(["cmake", "--build", folder, "--target", "api-dump", "-j2"])
    if done.returncode != 0:
        sys.exit(f"pin-answers: api-dump doesn't build in {folder} (configured with "
                 "-DTC_PIN_ANSWERS=OFF?)")
    return os.path.join(folder, "tests", "api-dump", "api-dump")


def record_commit():
    """The last commit that changed the record, whose answers it pins, and what it is."""
    try:
        commit = subprocess.run(["git", "-C", ROOT, "log", "-1", "--format=%h", "--", RECORD_NAME],
                                capture_output=True, text=True, check=True).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        commit = ""
    return (commit, f"{commit}, the last commit of the record") if commit else ("HEAD", "HEAD")


def check(parts):
    recorded = read_record()
    changed = []
    for name in dict.fromkeys([*parts, *recorded]):
        now, then = parts.get(name), recorded.get(name)
        if now == then:
            continue
        now_text = f"{now[0]} lines {now[1]}" if now else "no answers"
        then_text = f"{then[0]} lines {then[1]}" if then else "not recorded"
        changed.append(f"  {name}: {now_text}, recorded {then_text}")
    if not changed:
        print(f"pin-answers: the answers of all {len(parts)} parts are as recorded in {RECORD_NAME}")
        return 0
    commit, which = record_commit()
    print(f"pin-answers: {len(changed)} of {len(parts)} parts answer otherwise than "
          f"{RECORD_NAME} records:")
    print("\n".join(changed))
    print(f"The changed answers, against {which}:\n"
          f"  scripts/compare-api.sh {commit} WORKTREE\n"
          "If the change is meant, record it, and commit the record with the change:\n"
          "  scripts/pin-answers.py --refresh")
    return 1


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--refresh", action="store_true", help="write the record")
    where = parser.add_mutually_exclusive_group()
    where.add_argument("--build", default=os.path.join(ROOT, "build"),
                       help="build folder to build api-dump in (default ./build)")
    where.add_argument("--dump", help="a built api-dump to run")
    args = parser.parse_args()
    parts = answers(args.dump or build(args.build))
    if not args.refresh:
        return check(parts)
    before = read_record() if os.path.exists(RECORD) else {}
    write_record(parts)
    moved = [name for name in dict.fromkeys([*parts, *before]) if parts.get(name) != before.get(name)]
    if not before:
        moved = ["all (a new record)"]
    print(f"pin-answers: {RECORD_NAME} written, {len(parts)} parts; "
          + (f"changed: {', '.join(moved)}" if moved else "no part changed"))
    return 0


if __name__ == "__main__":
    sys.exit(main())
