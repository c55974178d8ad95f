#!/usr/bin/env python3
"""Writes the per-class tables of api-dump from a build's public headers.

Reads <build>/generated/include/Hardware/*.h, finds in each the accessor
class, its kind (a memory declares tableWidth), its static queries, its
fields (the five accessors T f(), fIs(T), fLen(), fOffset(), isFValid()) and
its indexed accessors (T g(U32 index), gIs(U32 index, T)), and writes one C++
file of tables that Dump.h describes. Only what a header declares is used, so
the same script serves any revision of the library. With --queries-only the
tables leave out fields, indexed accessors and records: the class's static
queries and its constructor only, a file that compiles in seconds.

    gen_dump.py --build BUILD --out Classes.cpp [--queries-only]
"""

import argparse
import pathlib
import re
import sys

VALUE_TYPES = {"U8", "U16", "U32", "U64", "Raw128", "Raw256", "Raw512", "Raw1024"}

# Static queries taking (U32 chipType, U8 variant): member of ClassOps -> name.
PAIR_QUERIES = {
    "width": "width",
    "regWidth": "regWidth",
    "tableWidth": "tableWidth",
    "arrayElements": "arrayElements",
    "maxIdentifier": "maxIdentifier",
    "addrStride": "addrStride",
    "entries": "entries",
    "indexMin": "index_min",
    "arrayIndexMin": "arrayIndex_min",
    "entrySpans": "entrySpans",
    "instanceCount": "instanceCount",
    "fieldCount": "fieldCount",
    "allFieldsMask": "allFieldsMask",
}

CLASS_RE = re.compile(r"\bclass (\w+)(?: final)? : public ([\w:]+) \{")
DECL_RE = re.compile(
    r"^(?P<static>static )?(?P<ret>[\w:]+) (?P<name>\w+)\((?P<params>[^)]*)\)(?P<const> const)?$")
# Words and attributes that don't change what a declaration offers a caller.
DECORATION_RE = re.compile(
    r"\[\[[^\]]*\]\]|\b(?:virtual|inline|explicit|noexcept|override|final)\b")
RECORD_RE = re.compile(r"^static const Orrery::EntrySpan (_entrySpans_\w+)\[(\d+)\]$")


def param_types(params):
    """The parameter list without names: "U32 chipType, U8 variant" -> "U32, U8"."""
    types = []
    for param in filter(None, (p.strip() for p in params.split(","))):
        words = param.replace("Hardware::", "").split()
        if len(words) >= 2 and words[:-1] != ["const"] and re.fullmatch(r"[A-Za-z_]\w*", words[-1]):
            words = words[:-1]  # the name
        types.append(" ".join(words))
    return ", ".join(types)


class Decl:
    def __init__(self, m):
        self.static = bool(m.group("static"))
        self.ret = m.group("ret")
        self.name = m.group("name")
        self.params = param_types(m.group("params"))
        self.const = bool(m.group("const"))


class Header:
    """The public declarations of one accessor class."""

    def __init__(self, path):
        text = re.sub(r"//[^\n]*", "", path.read_text())
        text = re.sub(r"\s+", " ", text)
        m = CLASS_RE.search(text)
        if not m or "::" in m.group(1):
            raise ValueError(f"{path}: no accessor class")
        self.name = m.group(1)
        body = text[m.end():]
        end = min(i for i in (body.find(" private:"), body.find("};")) if i >= 0)
        self.decls = []
        self.records = []
        for stmt in body[:end].split(";"):
            stmt = DECORATION_RE.sub(" ", stmt.replace("public:", ""))
            stmt = re.sub(r"\s+", " ", stmt).strip()
            r = RECORD_RE.match(stmt)
            if r:
                self.records.append((r.group(1), int(r.group(2))))
                continue
            d = DECL_RE.match(stmt)
            if d:
                self.decls.append(Decl(d))
        self.memory = self.has_static("tableWidth")

    def has_static(self, name, params="U32, U8"):
        return any(d.static and d.name == name and d.params == params for d in self.decls)

    def has_instance(self, name, params=""):
        return any(not d.static and d.name == name and d.params == params for d in self.decls)

    def fields(self):
        """(type, name) of every field with all five accessors, by name."""
        result = []
        for d in self.decls:
            if d.static or d.params or not d.const or d.ret not in VALUE_TYPES:
                continue
            f = d.name
            cap = f[0].upper() + f[1:]
            setter = any(x.name == f + "Is" and x.params and "," not in x.params
                         for x in self.decls)
            if (setter and self.has_instance(f + "Len") and self.has_instance(f + "Offset")
                    and self.has_instance("is" + cap + "Valid")):
                result.append((d.ret, f))
        return sorted(result, key=lambda tf: tf[1])

    def indexed(self):
        """(type, name) of every indexed accessor with getter and setter, by name."""
        result = []
        for d in self.decls:
            if d.static or d.params != "U32" or d.ret not in VALUE_TYPES:
                continue
            if any(x.name == d.name + "Is" and x.params.startswith("U32,")
                   for x in self.decls):
                result.append((d.ret, d.name))
        return sorted(result, key=lambda tg: tg[1])


def field_lines(t, f):
    """One FieldOps: the five accessors of field f of type t."""
    cap = f[0].upper() + f[1:]
    raw = "true" if t.startswith("Raw") else "false"
    return [
        f'  c.fields.push_back({{"{f}", sizeof({t}), {raw},',
        f"      [](const Base& b) {{ return bytesOf(self(b).{f}()); }},",
        f"      [](Base& b, const Bytes& in) {{ {t} v{{}}; fromBytes(v, in); self(b).{f}Is(v); }},",
        f"      [](const Base& b) {{ return self(b).{f}Len(); }},",
        f"      [](const Base& b) {{ return self(b).{f}Offset(); }},",
        f"      [](const Base& b) {{ return self(b).is{cap}Valid(); }}}});",
    ]


def indexed_lines(t, g):
    """One IndexedOps: getter and setter of indexed accessor g of type t."""
    return [
        f'  c.indexed.push_back({{"{g}", sizeof({t}),',
        f"      [](const Base& b, U32 i) {{ return bytesOf(self(b).{g}(i)); }},",
        f"      [](Base& b, U32 i, const Bytes& in) {{ {t} v{{}}; fromBytes(v, in);"
        f" self(b).{g}Is(i, v); }}}});",
    ]


def class_block(h, queries_only=False):
    """The C++ of one class: a namespace with its ops() function."""
    lines = [
        f"namespace {h.name}_ {{",
        f"using X = Hardware::{h.name};",
        "using namespace ApiDump;",
        "[[maybe_unused]] const X& self(const Base& b) { return static_cast<const X&>(b); }",
        "[[maybe_unused]] X& self(Base& b) { return static_cast<X&>(b); }",
        "",
        "ClassOps ops() {",
        "  ClassOps c;",
        f'  c.name = "{h.name}";',
        f"  c.memory = {'true' if h.memory else 'false'};",
    ]
    if h.has_static("chipTypeVariantValid", "ChipType, U8"):
        lines.append("  c.valid = [](Hardware::ChipType t, U8 v) {"
                     " return X::chipTypeVariantValid(t, v); };")
    for member, name in PAIR_QUERIES.items():
        if h.has_static(name):
            lines.append(f"  c.{member} = [](U32 t, U8 v) {{ return X::{name}(t, v); }};")
    if h.has_static("tableVariantCount", "U32"):
        lines.append("  c.tableVariantCount = [](U32 t) { return X::tableVariantCount(t); };")
    if h.has_static("hasIdentifier", "U32, U8, U32"):
        lines.append("  c.hasIdentifier = [](U32 t, U8 v, U32 i) {"
                     " return X::hasIdentifier(t, v, i); };")
    if any(d.static and d.name == "getSchanAddress" for d in h.decls):
        lines.append("  c.getSchanAddress = [](U32 t, U8 v, U32& a, U32& s, U32& b, U16 id, U32 e,"
                     " U16 ai) { return X::getSchanAddress(t, v, a, s, b, id, e, ai); };")
    lines.append("  c.make = [](Hardware::ChipType t, U8* buf, U16 len, U8 v)"
                 " -> std::unique_ptr<Base> {"
                 " return std::make_unique<X>(t, buf, len, false, v); };")
    if any(d.name == "handleBuf" for d in h.decls):
        lines.append("  c.handleBuf = [](Base& b, Hardware::ChipType t, U8* buf, U16 len, bool f,"
                     " U8 v) { self(b).handleBuf(t, buf, len, f, v); };")
    if h.has_instance("addrStride"):
        lines.append("  c.objAddrStride = [](const Base& b) { return self(b).addrStride(); };")
    if h.has_instance("isPrimary"):
        lines.append("  c.objIsPrimary = [](const Base& b) { return self(b).isPrimary(); };")
    if h.has_instance("getAllFields"):
        lines.append("  c.getAllFields = [](const Base& b) {"
                     " return bytesOf(self(b).getAllFields()); };")
    for t, f in [] if queries_only else h.fields():
        lines += field_lines(t, f)
    for t, g in [] if queries_only else h.indexed():
        lines += indexed_lines(t, g)
    for name, count in [] if queries_only else sorted(h.records):
        lines.append(f'  c.records.push_back({{"{name}", X::{name}, {count}}});')
    lines += ["  return c;", "}", f"}}  // namespace {h.name}_", ""]
    return lines


def generate(build, queries_only=False):
    folder = pathlib.Path(build) / "generated" / "include" / "Hardware"
    headers = []
    for path in sorted(folder.glob("*.h")):
        try:
            headers.append(Header(path))
        except ValueError:
            continue
    if not headers:
        raise SystemExit(f"gen_dump.py: no accessor headers under {folder}")
    headers.sort(key=lambda h: h.name)
    # Every class has fields; none found means the headers changed shape.
    empty = [h.name for h in headers if not h.fields()]
    if empty:
        raise SystemExit(f"gen_dump.py: no field accessors recognised in {', '.join(empty)}")
    print(f"gen_dump.py: {len(headers)} classes, {sum(len(h.fields()) for h in headers)} fields, "
          f"{sum(len(h.indexed()) for h in headers)} indexed accessors", file=sys.stderr)
    lines = [
        "// Generated by tools/api-dump/gen_dump.py from a build's public headers. Do not edit.",
        '#include "Dump.h"',
        "",
        "namespace {",
        "",
    ]
    for h in headers:
        lines += class_block(h, queries_only)
    lines += [
        "}  // namespace",
        "",
        "std::vector<ApiDump::ClassOps> ApiDump::allClasses() {",
        "  std::vector<ApiDump::ClassOps> all;",
    ]
    lines += [f"  all.push_back({h.name}_::ops());" for h in headers]
    lines += ["  return all;", "}", ""]
    return "\n".join(lines)


def main(argv):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", required=True, help="build folder of the library")
    parser.add_argument("--out", required=True, help="C++ file to write")
    parser.add_argument("--queries-only", action="store_true",
                        help="static queries and constructor only, no field tables")
    args = parser.parse_args(argv)
    out = pathlib.Path(args.out)
    text = generate(args.build, args.queries_only)
    # An unchanged file keeps its time, so a build run at configure time
    # doesn't compile it again.
    if not out.exists() or out.read_text() != text:
        out.write_text(text)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
