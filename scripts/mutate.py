#!/usr/bin/env python3
"""Which realistic faults the test suite catches.

    scripts/mutate.py [--only ID,ID...] [--list] [--keep]

Copies the source tree to ${TMPDIR:-/tmp}/tc-mutate, builds it once, then for
each fault below: writes it into the copy, rebuilds, runs ctest (all tests
but the install test, which builds nothing of the library's logic) and puts
the file back. A fault is caught when the build rejects it (the generator's
checks, or a build step that runs the tool) or when a test fails; missed when
everything passes; "build" when the fault itself doesn't compile.
Prints one line per fault and a summary. A developer's tool, not run by CI:
a whole run rebuilds the library for every generator fault and takes a while.

Each fault is one exact text in one file replaced by another; a fault whose
text no longer occurs says so, so the list is kept in step with the code.
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SCRATCH = os.path.join(os.environ.get("TMPDIR", "/tmp"), "tc-mutate")

# (id, file, text, replacement, what the fault is)
FAULTS = [
    # The core's checks and their texts.
    ("len-bytes", "core/src/Layout.h", "cell.offset) + cell.width + 7) / 8",
     "cell.offset) + cell.width + 6) / 8", "length needed by a field one byte short"),
    ("len-fast-get", "core/src/Layout.h",
     "if (self.len() >= w.need && !TC_TRACE_ON(8))",
     "if (self.len() + 1u >= w.need && !TC_TRACE_ON(8))",
     "getter's short path lets a buffer one byte short through"),
    ("value-first-too-wide", "core/src/Layout.h", "|| (value >> width) == 0;",
     "|| (value >> width) <= 1;", "value check lets the first too-wide value through"),
    ("value-unchecked-fast", "core/src/Layout.h",
     "self.len() >= w.need && valueFits(w.width, value) && !TC_TRACE_ON(8)",
     "self.len() >= w.need && !TC_TRACE_ON(8)", "setter's short path skips the value check"),
    ("value-byte-exempt", "core/src/Layout.h", "return width == 8 || width == 16",
     "return width == 16", "an 8-bit field of a wider type no longer takes any value"),
    ("convert-setfield64", "core/src/Layout.h",
     "set(k, field, self, toFieldType(k.fields[field].type, value));",
     "set(k, field, self, value);", "setField64 doesn't convert the value to the field's type"),
    ("len-text", "core/src/Access.cpp", 'failBound("len_", ">=", cellBytes(cell)',
     'failBound("len_", ">", cellBytes(cell)', "length check's text"),
    ("variant-text", "core/src/Fatal.cpp", "static_cast<U64>(-2 - row)",
     "static_cast<U64>(-1 - row)", "wrong variant in a \"variant == v\" check"),
    ("absent-variant-name", "core/src/Access.cpp",
     'failBound("variant_", "==", cell.offset', 'failBound("variant", "==", cell.offset',
     "field check names the static query's variable"),
    ("len-check-missing", "core/src/Access.cpp",
     "  checkLength(k, Op::Set, field, cell, self.len());\n  if (!valueFits",
     "  if (!valueFits", "setter's checked path makes no length check"),
    ("address-stride", "core/src/Layout.h", ": row.address + arrayIndex * row.addrStride;",
     ": row.address + arrayIndex;", "register address ignores the stride"),
    ("address-entry", "core/src/Layout.h",
     "? row.address + tableEntry + arrayIndex * row.entries",
     "? row.address + tableEntry * row.entries + arrayIndex",
     "memory address swaps entry and element"),
    ("identifier-bound", "core/src/Layout.h", "identifier < row.instanceCount) {",
     "identifier <= row.instanceCount) {", "address of one instance past the last"),
    ("has-identifier", "core/src/Access.cpp", "return identifier < k.rows[r].instanceCount;",
     "return identifier <= k.rows[r].instanceCount;", "hasIdentifier true one past the last"),
    ("array-zero-text", "core/src/Access.cpp", "row.arrayElements == 1 && row.arrayIndexIsZero",
     "row.arrayElements == 1 && !row.arrayIndexIsZero", "\"arrayIndex == 0\" on the wrong chips"),
    ("table-variants", "core/src/Access.cpp", "return r < 0 ? 0 : k.rows[r].tableVariantCount;",
     "return r < 0 ? 0 : k.rows[r].instanceCount;", "tableVariantCount answers another count"),
    ("width-zero", "core/src/Access.cpp",
     "  if (!isFieldValid(k, id, self)) return 0;\n", "",
     "fieldWidth asks the field's width without asking validity"),
    ("word-bound", "core/src/Access.cpp", "if (word >= words) failBound",
     "if (word > words) failBound", "stringField reads past a raw value's last word"),
    ("name-key-only", "core/src/Access.cpp",
     "field.key == key && sameBytes(field.name, name.data(), name.size())",
     "field.key == key", "by name, a name taken for another of its length and ending"),
    ("name-probe", "core/src/Access.cpp", "slot = (slot + 1) & k.nameSlotMask",
     "slot = (slot + 2) & k.nameSlotMask", "by name, the probe skips every other slot"),
    ("index-bound", "core/src/Access.cpp", "if (index < ix.count) return ix.fields[index];",
     "if (index <= ix.count) return ix.fields[index];", "indexed accessor one past its bound"),
    ("trace-const", "core/src/Fatal.cpp", 'if (shape.flags & kConst) text << " const";', "",
     "trace and assertion texts lose \"const\""),
    ("trace-ctor-chip", "core/src/Fatal.cpp", "<< chipName(chipType) <<",
     "<< chipName(static_cast<U8>(chipType + 1)) <<", "constructor's trace line names the wrong chip"),
    ("all-fields-len", "core/src/Access.cpp", "if (self.len() < 4 * k.words)",
     "if (self.len() + 4 < 4 * k.words)", "getAllFields takes a buffer a word short"),
    ("mask-bits", "core/src/Access.cpp", "32 * k.words, 0, 0);", "32 * k.words - 1, 0, 0);",
     "allFieldsMask drops its last bit"),
    # The bit copy.
    ("copy-window", "platform/include/Orrery/Bits.h", "return rest < 8 ? rest : 8;",
     "return rest < 7 ? rest : 7;", "bit copy's window one byte short"),
    ("copy-bytes", "platform/include/Orrery/Bits.h",
     "if (((nbits | dstBitOffset | srcBitOffset) & 7) == 0) {",
     "if (((nbits | dstBitOffset) & 7) == 0) {", "whole-byte copy taken for a misaligned source"),
    ("wide-read-byte", "platform/include/Orrery/Bits.h", "if (shift != 0 && rest > 8) word |=",
     "if (shift != 0 && rest > 9) word |=", "wide read loses the byte after a word's last 8"),
    ("wide-write-keep", "platform/include/Orrery/Bits.h", "(~U64{0} << (j == 0 ? shift : 0))",
     "(~U64{0} << 0)", "wide write clobbers the bits before the field"),
    # The generator.
    ("absent-reason", "generator/layout.py", "return Cell(variants[0], 0) if len(variants) == 1",
     "return Cell(variants[0], 0) if len(variants) >= 1",
     "a field absent on a variant of a chip with several names one variant"),
    ("mask-width", "generator/layout.py", "for bit in range(offset, offset + width):",
     "for bit in range(offset, offset + width - 1):", "field masks miss each field's top bit"),
    ("one-variant-switch", "generator/emit_cpp.py",
     'o(f"return variant == {v} || row < 0 ? row : tc::noRowBut({v});")',
     'o(f"return variant <= {v} + 1 || row < 0 ? row : tc::noRowBut({v});")',
     "row switch takes the next variant too"),
    ("array-zero-row", "generator/emit_cpp.py",
     'zero = "true" if r.array_index_is_zero else "false"', 'zero = "false"',
     "no memory checks \"arrayIndex == 0\""),
    ("table-width", "generator/operations.py",
     'query("tableWidth", "U16", "width", MEMORY)',
     'query("tableWidth", "U16", "entries", MEMORY)', "tableWidth answers the entries"),
    ("factory-class", "generator/emit_shared.py",
     'f"return std::make_shared<Hardware::{k.name}::WithStorage>(chipType, variant);"',
     'f"return std::make_shared<Hardware::{chunk[0].name}::WithStorage>(chipType, variant);"',
     "factory entries make the first class of their unit"),
    ("block-formula", "generator/emit_shared.py", 'o(f"block = {with_identifier(cell.block)};")',
     'o(f"block = {with_identifier(cell.block.replace(\'id\', \'0\'))};")',
     "every instance of a block gets the first's number"),
    # The tool's model and checking layer.
    ("read-word", "tools/model/Fields.cpp", "object.stringField(field.name.c_str(), static_cast<U16>(w));",
     "object.stringField(field.name.c_str(), 0);", "a wide field read as its first 64 bits again"),
    ("stray-last", "tools/model/Fields.cpp", "for (unsigned k = 0; k < bits; ++k) {",
     "for (unsigned k = 0; k + 1 < bits; ++k) {", "a stray bit at the entry's end missed"),
    ("crosses", "tools/model/Fields.cpp", "} else if (!(lo <= olo && ohi <= hi)) {",
     "} else if (false) {", "a partial overlap not named"),
    ("view-indent", "tools/tessel-counters/Commands.cpp",
     "std::string(2 * static_cast<std::size_t>(d.views[i].depth), ' ') + f.name",
     "std::string(0, ' ') + f.name", "decode doesn't indent a view under its field"),
    ("value-base", "tools/tessel-counters/Args.cpp",
     "  auto bytes = digitsToBytes(digits, hex ? 16 : 10);\n  if (bitLength(bytes) > width)",
     "  auto bytes = digitsToBytes(digits, 16);\n  if (bitLength(bytes) > width)",
     "a decimal field value parsed as hex"),
    ("error-status", "tools/tessel-counters/Run.cpp", "  int status = kUsageError;",
     "  int status = 0;", "bad input ends in status 0"),
    ("raw-write", "tools/tessel-counters/Catalog.cpp", "field.width, field.offset, 0);",
     "0, field.offset, 0);", "a raw field's write doesn't reach the buffer"),
    ("distinct-same-offset", "tools/tessel-counters/Catalog.cpp",
     "if (g.offset < field.offset + field.width && field.offset < g.offset + g.width)",
     "if (g.offset < field.offset + field.width && field.offset < g.offset)",
     "two fields from one offset not refused together"),
    ("index-past", "tools/tessel-counters/Catalog.cpp", "  if (value < count) return static_cast<U32>(value);",
     "  if (value <= count) return static_cast<U32>(value);", "an index one past the last let through"),
    # The Python module.
    ("py-value-bit", "python/native.cpp",
     "return py::reinterpret_steal<py::int_>(PyLong_FromString(hex.c_str(), nullptr, 16));",
     "return py::int_(py::reinterpret_steal<py::int_>(PyLong_FromString(hex.c_str(), nullptr, 16))"
     ".attr(\"__xor__\")(1));", "a field's value one bit off in Python"),
    ("py-index-error", "python/native.cpp", "      return PyExc_IndexError;",
     "      return PyExc_ValueError;", "an index out of range raises ValueError"),
    ("py-negative", "python/native.cpp", "  if (text[0] == '-')", "  if (text[0] == '+')",
     "a negative value not told as negative"),
    # The catalogue.
    ("cat-offset", "accessors/ingress/FlpbContextEnablers.toml", None, None,
     "a field one bit off (first offset of the file + 1)"),
    ("cat-width", "accessors/egress/ErppDeviceCfgBtr.toml", None, None,
     "a field one bit narrower (first width of the file - 1)"),
    ("cat-address", "accessors/crps/CrpsEngineCfg.toml", "address = 268", "address = 269",
     "a register's base address off by one"),
    ("cat-stride", "accessors/crps/CrpsModulesrcCfg.toml",
     "addrStride = 2, instanceCount = 1, fieldCount = 6, address = 383",
     "addrStride = 1, instanceCount = 1, fieldCount = 6, address = 383",
     "a register's address stride"),
    ("cat-block", "core/data/blocks.toml", None, None, "a block number off by one (the first)"),
]


def catalogue_fault(fid, text):
    """The faults that change the first number of a kind in a catalogue file."""
    if fid == "cat-offset":
        m = re.search(r'"(\d+):(\d+)"', text)
        return text[:m.start()] + f'"{int(m.group(1)) + 1}:{m.group(2)}"' + text[m.end():]
    if fid == "cat-width":
        m = re.search(r'"(\d+):(\d+)"', text)
        return text[:m.start()] + f'"{m.group(1)}:{int(m.group(2)) - 1}"' + text[m.end():]
    if fid == "cat-block":
        m = re.search(r"block = (\d+)", text) or re.search(r"\[\s*(\d+),\s*(\d+)\s*\]", text)
        number = m.group(m.lastindex)
        start = m.start(m.lastindex)
        return text[:start] + str(int(number) + 1) + text[start + len(number):]
    raise ValueError(fid)


def run(cmd, cwd, log):
    with open(log, "a", encoding="utf-8") as out:
        return subprocess.run(cmd, cwd=cwd, stdout=out, stderr=subprocess.STDOUT).returncode == 0


def prepare(keep):
    tree = os.path.join(SCRATCH, "src")
    build = os.path.join(SCRATCH, "build")
    if not keep or not os.path.isdir(build):
        shutil.rmtree(SCRATCH, ignore_errors=True)
        shutil.copytree(ROOT, tree, ignore=shutil.ignore_patterns(".git", "build", "build-*"))
        log = os.path.join(SCRATCH, "setup.log")
        if not (run(["cmake", "-S", tree, "-B", build, "-DTC_BUILD_BENCH=OFF"], SCRATCH, log) and
                run(["cmake", "--build", build, "-j2"], SCRATCH, log)):
            sys.exit(f"mutate: the unchanged tree doesn't build; see {log}")
    return tree, build


def failing_tests(log):
    with open(log, encoding="utf-8", errors="replace") as f:
        names = re.findall(r"\d+ - (\S+) \(Failed\)", f.read())
    return names


def try_fault(tree, build, fault):
    fid, rel, text, replacement, _ = fault
    path = os.path.join(tree, rel)
    with open(path, encoding="utf-8") as f:
        original = f.read()
    if text is None:
        changed = catalogue_fault(fid, original)
    elif original.count(text) != 1:
        return "stale", [f"text occurs {original.count(text)} times in {rel}"]
    else:
        changed = original.replace(text, replacement)
    log = os.path.join(SCRATCH, f"{fid}.log")
    open(log, "w").close()
    try:
        with open(path, "w", encoding="utf-8") as f:
            f.write(changed)
        if not run(["cmake", "--build", build, "-j2"], build, log):
            text = open(log, encoding="utf-8", errors="replace").read()
            if "rejected" in text:
                return "caught", ["generator rejects it"]
            if "error:" in text:
                return "build", [log]  # the fault doesn't compile: fix its text
            return "caught", ["a step of the build that runs the tool fails"]
        if run(["ctest", "-j2", "-E", "installed_package", "--output-on-failure"], build, log):
            return "missed", []
        return "caught", failing_tests(log)[:4]
    finally:
        with open(path, "w", encoding="utf-8") as f:
            f.write(original)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--only", help="comma-separated fault ids")
    parser.add_argument("--list", action="store_true", help="list the faults and stop")
    parser.add_argument("--keep", action="store_true", help="reuse the scratch build if there")
    args = parser.parse_args()
    faults = FAULTS
    if args.only:
        wanted = set(args.only.split(","))
        faults = [f for f in FAULTS if f[0] in wanted]
    if args.list:
        for fid, rel, _, _, what in faults:
            print(f"{fid:22} {rel:48} {what}")
        return 0
    tree, build = prepare(args.keep)
    results = {}
    for fault in faults:
        start = time.monotonic()
        verdict, detail = try_fault(tree, build, fault)
        results[fault[0]] = verdict
        print(f"{verdict:7} {fault[0]:22} {time.monotonic() - start:5.0f} s  {fault[4]}"
              f"{'  [' + ', '.join(detail) + ']' if detail else ''}", flush=True)
    # Leave the scratch build as it was for the next run.
    run(["cmake", "--build", build, "-j2"], build, os.path.join(SCRATCH, "restore.log"))
    counts = {v: list(results.values()).count(v) for v in sorted(set(results.values()))}
    print("summary: " + ", ".join(f"{n} {v}" for v, n in counts.items()))
    return 0


if __name__ == "__main__":
    sys.exit(main())
