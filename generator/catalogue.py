"""Reads and checks the accessor catalogue.

The catalogue is plain TOML under accessors/<subsystem>/ plus the shared
tables under core/data/. This module turns it into records, one value per
(chip, variant), and rejects data that can't be right with a message that
names the file, the class and the field. The keys each record may have are
the tables of keys.py; the checks of what the values mean are here.
"""

import ast
import os
import re
import tomllib
from dataclasses import dataclass
from functools import cached_property
from typing import NoReturn

import keys as K
from operations import Scope, member_names, reserved_names


class CatalogueError(Exception):
    pass


# --------------------------------------------------------------------------
# Small helpers

def load_toml(path: str) -> dict:
    with open(path, "rb") as f:
        return tomllib.load(f)


def fail(where: str, message: str) -> NoReturn:
    raise CatalogueError(f"{where}: {message}")


def check_keys(obj: object, what: str, required: K.Keys, optional: K.Keys) -> None:
    """Stops unless `obj` is a table whose keys are all known, with every
    required one, each of its type; the message names what is wrong."""
    if not isinstance(obj, dict):
        fail(what, "must be a table")
    problems = K.key_problems(obj, required, optional)
    if problems:
        fail(what, "; ".join(problems))


_SUBST = {"\u00b7": "*", "\u2212": "-", "\u2013": "-", "\u2014": "-"}


def normalise(text: str) -> str:
    for a, b in _SUBST.items():
        text = text.replace(a, b)
    return text


_COMPARE = {ast.Lt: lambda a, b: a < b, ast.LtE: lambda a, b: a <= b,
            ast.Gt: lambda a, b: a > b, ast.GtE: lambda a, b: a >= b,
            ast.Eq: lambda a, b: a == b, ast.NotEq: lambda a, b: a != b}
_ARITHMETIC = {ast.Add: lambda a, b: a + b, ast.Sub: lambda a, b: a - b,
               ast.Mult: lambda a, b: a * b, ast.FloorDiv: lambda a, b: a // b}


def evaluate(expr: int | str, env: dict, where: str) -> int:
    """Evaluates an integer formula: + - * //, parentheses, names from env.
    A comparison (< <= > >= == !=, chained as in "0 <= N < c") gives 1 or 0."""
    if isinstance(expr, int):
        return expr
    try:
        tree = ast.parse(normalise(str(expr)).strip(), mode="eval")
    except SyntaxError:
        fail(where, f"formula {expr!r} doesn't parse")

    def walk(node: ast.AST) -> int:
        if isinstance(node, ast.Constant) and isinstance(node.value, int):
            return node.value
        if isinstance(node, ast.Name):
            if node.id not in env:
                fail(where, f"formula {expr!r} names {node.id!r}, which isn't defined here")
            return env[node.id]
        if isinstance(node, ast.UnaryOp) and isinstance(node.op, ast.USub):
            return -walk(node.operand)
        if isinstance(node, ast.Compare) and all(type(op) in _COMPARE for op in node.ops):
            values = [walk(node.left)] + [walk(c) for c in node.comparators]
            return int(all(_COMPARE[type(op)](a, b)
                           for op, a, b in zip(node.ops, values, values[1:])))
        if isinstance(node, ast.BinOp) and type(node.op) in _ARITHMETIC:
            return _ARITHMETIC[type(node.op)](walk(node.left), walk(node.right))
        fail(where, f"formula {expr!r} uses something other than integers, names, + - * // "
                    f"and comparisons")

    return walk(tree.body)


def parse_range(text: int | str, where: str) -> list:
    """'0-31' -> [0..31]; 'A-D' -> ['A'..'D']; '3' -> [3]; '0,2,5' -> [0, 2, 5]."""
    text = normalise(str(text)).strip()
    out = []
    for part in (p.strip() for p in text.split(",")):
        m = re.fullmatch(r"(\d+)\s*-\s*(\d+)", part)
        if m:
            a, b = int(m.group(1)), int(m.group(2))
            if b < a:
                fail(where, f"range {text!r} runs backwards")
            out.extend(range(a, b + 1))
            continue
        m = re.fullmatch(r"([A-Z])\s*-\s*([A-Z])", part)
        if m:
            out.extend(chr(c) for c in range(ord(m.group(1)), ord(m.group(2)) + 1))
        elif re.fullmatch(r"\d+", part):
            out.append(int(part))
        else:
            fail(where, f"can't read range {text!r}")
    return out


def accessor_name(hardware_name: str) -> str:
    """ENGINE_N_MODE -> engineNMode; CFG_TRAP_OBJ_0_SHIFT -> cfgTrapObj0Shift."""
    words = hardware_name.split("_")
    return words[0].lower() + "".join(w[:1].upper() + w[1:].lower() for w in words[1:])


def sort_key(hardware_name: str) -> tuple:
    """Stem as plain text, then the final number, if the name ends in digits."""
    m = re.fullmatch(r"(.*?)(\d+)", hardware_name)
    if m:
        return (m.group(1), int(m.group(2)))
    return (hardware_name, -1)


TYPES = [("U8", 8), ("U16", 16), ("U32", 32), ("U64", 64),
         ("Raw128", 128), ("Raw256", 256), ("Raw512", 512)]
TYPE_BITS = dict(TYPES)


def smallest_type(bits: int) -> str | None:
    for name, size in TYPES:
        if bits <= size:
            return name
    return None


def is_raw(type_name: str) -> bool:
    return type_name.startswith("Raw")


def all_fields_type(words: int) -> str | None:
    """Result type of getAllFields for a class of `words` 32-bit words at most."""
    for name, top in (("U32", 1), ("U64", 2), ("Raw128", 4), ("Raw256", 8), ("Raw512", 16),
                      ("Raw1024", 32)):
        if words <= top:
            return name
    return None


# --------------------------------------------------------------------------
# Chips

@dataclass(frozen=True)
class Chip:
    number: int
    name: str
    label: str


@dataclass(frozen=True)
class Chips:
    chips: tuple[Chip, ...]
    sets: dict[str, list[str]]  # label -> the labels of the chips it stands for
    equality_array_check: frozenset[int]  # chips where one array element checks "== 0"

    @cached_property
    def by_label(self) -> dict[str, Chip]:
        return {c.label: c for c in self.chips}

    @cached_property
    def by_number(self) -> dict[int, Chip]:
        return {c.number: c for c in self.chips}

    @cached_property
    def names(self) -> dict[int, str]:
        return {c.number: c.name for c in self.chips}

    def resolve(self, labels: str, where: str) -> list[int]:
        """'88690, 88480x' -> chip numbers, in chip order."""
        out = []
        for label in (x.strip() for x in labels.split(",")):
            if label in self.sets:
                out.extend(self.by_label[x].number for x in self.sets[label])
            elif label in self.by_label:
                out.append(self.by_label[label].number)
            else:
                fail(where, f"unknown chip label {label!r}")
        return sorted(set(out))

    def resolve_with_variants(self, text: str, where: str) -> list[tuple[int, int]]:
        """'88690, 88850 v0-1' -> [(chip, variant), ...]; no mark means variant 0."""
        text = normalise(text).strip()
        m = re.fullmatch(r"(.*?)\s+v(\d+(?:\s*-\s*\d+)?)", text)
        if m:
            labels, variants = m.group(1), parse_range(m.group(2), where)
        else:
            labels, variants = text, [0]
        return [(c, v) for c in self.resolve(labels, where) for v in variants]


def read_chips(path: str) -> Chips:
    data = load_toml(path)
    for c in data["chips"]:
        check_keys(c, f"{path}: chip {c.get('name')!r}", K.CHIP_REQUIRED, {})
    chips = Chips(tuple(Chip(c["number"], c["name"], c["label"]) for c in data["chips"]),
                  dict(data["sets"]), frozenset())
    labels = ", ".join(data["memory_single_array"]["equality_check"])
    return Chips(chips.chips, chips.sets, frozenset(chips.resolve(labels, path)))


# --------------------------------------------------------------------------
# Field identifiers

@dataclass(frozen=True)
class FieldIds:
    by_name: dict[str, int]
    by_id: dict[int, str]


def expand_names(entry: list, where: str) -> list[str]:
    """The hardware names of one entry of the identifier list, ranges filled."""
    names = [entry[1]] if isinstance(entry[1], str) else list(entry[1])
    for r in entry[2:]:
        var, _, values = r.partition("=")
        names = [n.replace(f"<{var.strip()}>", str(x)) for n in names
                 for x in parse_range(values, where)]
    for n in names:
        if "<" in n:
            fail(where, f"name {n!r} keeps a placeholder that no range fills")
    return sorted(names, key=sort_key)


def read_field_ids(path: str) -> FieldIds:
    by_name: dict[str, int] = {}
    by_id: dict[int, str] = {}
    for entry in load_toml(path)["ids"]:
        where = f"{path}: entry {entry!r}"
        for ident, name in enumerate(expand_names(entry, where), start=entry[0]):
            if name in by_name:
                fail(where, f"hardware name {name} is listed twice")
            if ident in by_id:
                fail(where, f"id {ident} is given to {by_id[ident]} and to {name}")
            by_name[name] = ident
            by_id[ident] = name
    ordered = sorted(by_name, key=sort_key)
    for a, b in zip(ordered, ordered[1:]):
        if by_name[a] >= by_name[b]:
            fail(path, f"ids out of sort order: {a} has {by_name[a]}, "
                       f"{b} sorts after it and has {by_name[b]}")
    return FieldIds(by_name, by_id)


# --------------------------------------------------------------------------
# Block map

@dataclass(frozen=True)
class BlockCell:
    """(subBlock, block) of each instance of a block on one chip (and variant):
    a list of pairs, or a count and two formulas in the instance `id`."""
    pairs: tuple[tuple[int, int], ...] | None
    count: int
    sub_block: str = ""
    block: str = ""


def block_cell(cell: list | dict, where: str) -> BlockCell:
    if isinstance(cell, list):
        return BlockCell(tuple(tuple(p) for p in cell), len(cell))
    check_keys(cell, where, K.BLOCK_FORMULA_REQUIRED, {})
    return BlockCell(None, cell["count"], str(cell["subBlock"]), str(cell["block"]))


@dataclass(frozen=True)
class BlockMap:
    names: list[str]
    # per block, (chip, variant) -> cell; variant None where the block is alike on all
    cells: dict[str, dict[tuple[int, int | None], BlockCell]]

    def count(self, block: str, chip: int, variant: int) -> int | None:
        cells = self.cells[block]
        c = cells.get((chip, variant), cells.get((chip, None)))
        return None if c is None else c.count


def read_block_map(path: str, chips: Chips) -> BlockMap:
    data = load_toml(path)["blocks"]
    cells: dict = {}
    for block, table in data.items():
        per_variant = {int(k[1:]): t for k, t in table.items() if re.fullmatch(r"v\d+", k)}
        cells[block] = {}
        for variant, t in (per_variant or {None: table}).items():
            for label, cell in t.items():
                where = f"{path}: block {block}, {label}"
                for chip in chips.resolve(label, where):
                    if (chip, variant) in cells[block]:
                        fail(where, f"chip {chip} given twice")
                    cells[block][(chip, variant)] = block_cell(cell, where)
    return BlockMap(sorted(data), cells)


# --------------------------------------------------------------------------
# Classes

@dataclass(frozen=True)
class Row:
    """The geometry of one (chip, variant)."""
    chip: int
    variant: int
    layout: str
    width: int
    array_elements: int
    addr_stride: int
    instance_count: int
    field_count: int
    address: int
    entries: int | None
    table_variant_count: int | None


@dataclass(frozen=True)
class Field:
    hw: str  # the hardware name
    id: int
    type: str
    view: bool
    cells: dict[tuple[int, int], tuple[int, int]]  # (chip, variant) -> (offset, width)

    @property
    def name(self) -> str:
        """The accessor name."""
        return accessor_name(self.hw)


@dataclass(frozen=True)
class Indexed:
    name: str
    fields: tuple[Field, ...]  # by index

    @property
    def type(self) -> str:
        return self.fields[0].type


@dataclass(frozen=True)
class Span:
    record: str  # the chip the record is named after
    entries: int
    chips: tuple[int, ...]


@dataclass(frozen=True)
class Klass:
    path: str
    subsystem: str
    name: str
    summary: str
    variants: str
    kind: str
    block: str
    packed: bool  # the fields of each row tile bit 0 upward, with no gap
    rows: dict[tuple[int, int], Row]
    fields: tuple[Field, ...]  # by identifier
    indexed: tuple[Indexed, ...]
    spans: tuple[Span, ...]

    @property
    def is_memory(self) -> bool:
        return self.kind == "memory"

    @property
    def words(self) -> int:
        """The widest row's width."""
        return max(r.width for r in self.rows.values())

    @property
    def all_fields_type(self) -> str:
        return all_fields_type(self.words)

    @cached_property
    def fields_by_name(self) -> dict[str, Field]:
        return {f.name: f for f in self.fields}

    @cached_property
    def span_of(self) -> dict[int, str]:
        """The span record of each chip of a memory."""
        return {c: s.record for s in self.spans for c in s.chips}


@dataclass(frozen=True)
class Context:
    """The shared tables a class is read against."""
    chips: Chips
    ids: FieldIds
    blocks: BlockMap


# Member names every class has; a field's accessors must not take them.
RESERVED = reserved_names()


def read_class(data: dict, path: str, subsystem: str, ctx: Context) -> Klass:
    """One class of a catalogue file, checked against the shared tables."""
    where = f"{path}: class {data['class']}" if isinstance(data.get("class"), str) else path
    check_keys(data, where, K.CLASS_REQUIRED, K.CLASS_OPTIONAL)
    summary = data["summary"]
    if not summary.strip() or "\n" in summary:
        fail(where, "'summary' must be one line that says what the class holds")
    if data["kind"] not in ("register", "memory"):
        fail(where, "kind must be register or memory")
    block = read_block(data, ctx.blocks, where)
    int_vars, str_vars = read_vars(data, where)
    rows = read_rows(data, int_vars, ctx.chips, where)
    layouts = list(dict.fromkeys(r.layout for r in rows.values()))
    params = data.get("params", {})
    for layout in params:
        if layout not in layouts:
            fail(where, f"params for layout {layout}, which no geometry row uses")
    variants = read_variants_line(data, rows, where)
    context = FieldContext(rows, layouts, params, int_vars, str_vars, ctx.ids)
    fields = read_fields(data["fields"], context, where)
    k = Klass(path, subsystem, data["class"], summary, variants, data["kind"], block,
              data.get("packed", False), rows, fields, read_indexed(data, fields, where),
              read_spans(data, rows, ctx.chips, where))
    check_class(k, data["storage"], ctx, where)
    return k


def read_block(data: dict, blocks: BlockMap, where: str) -> str:
    """The class's block: given, or the longest block name its name starts with."""
    given = data.get("block")
    if given is not None:
        if given not in blocks.names:
            fail(where, f"unknown block {given!r}")
        return given
    for b in sorted(blocks.names, key=len, reverse=True):
        if data["class"].upper().startswith(b):
            return b
    fail(where, "the class name starts with no block name; give 'block'")


def read_vars(data: dict, where: str) -> tuple[dict[str, int], dict[str, str]]:
    """Per-class constants: integers for formulas, texts for <name> in field names."""
    ints, texts = {}, {}
    for name, value in data.get("vars", {}).items():
        vw = f"{where}: var {name!r}"
        if not re.fullmatch(r"[a-z][A-Za-z0-9_]*", name) or name == "variant":
            fail(vw, "a var name starts with a small letter and isn't 'variant'")
        if isinstance(value, bool) or not isinstance(value, (int, str)):
            fail(vw, "a var is an integer or a text")
        (ints if isinstance(value, int) else texts)[name] = value
    return ints, texts


def read_rows(data: dict, int_vars: dict, chips: Chips, where: str) -> dict:
    """The geometry rows by (chip, variant), which must be exactly the pairs
    of the class's chips line. A shared geometry table (one for a family of
    classes) may list chips beyond the class's own; those rows are left out."""
    expect = set()
    for part in normalise(data["chips"]).split(";"):
        expect |= set(chips.resolve_with_variants(part.strip(), where))
    required = K.MEMORY_ROW_REQUIRED if data["kind"] == "memory" else K.REGISTER_ROW_REQUIRED
    rows = {}
    for g in data["geometry"]:
        gw = f"{where}: geometry row {g.get('chips') if isinstance(g, dict) else g!r}"
        check_keys(g, gw, required, {})
        for chip, variant in chips.resolve_with_variants(g["chips"], gw):
            if data.get("shared_geometry", False) and (chip, variant) not in expect:
                continue
            if (chip, variant) in rows:
                fail(gw, f"chip {chips.by_number[chip].name} variant {variant} has two rows")
            address = evaluate(g["address"], dict(int_vars, variant=variant), gw)
            rows[(chip, variant)] = Row(chip, variant, g["layout"], g["width"],
                                        g["arrayElements"], g.get("addrStride", 1),
                                        g["instanceCount"], g["fieldCount"], address,
                                        g.get("entries"), g.get("tableVariantCount"))
    if not rows:
        fail(where, "no geometry rows")
    missing, extra = sorted(expect - set(rows)), sorted(set(rows) - expect)
    text = [f"{what} " + ", ".join(f"{chips.by_number[c].name} v{v}" for c, v in pairs)
            for what, pairs in (("missing rows for", missing), ("rows for undeclared", extra))
            if pairs]
    if text:
        fail(where, "; ".join(text))
    return rows


def read_variants_line(data: dict, rows: dict, where: str) -> str:
    """What the variants stand for, where a chip has several."""
    variants = data.get("variants", "")
    several = any(v for (_, v) in rows)
    if several and (not variants.strip() or "\n" in variants):
        fail(where, "'variants' must be one line that says what each variant is "
                    "(the class has several on a chip)")
    if not several and variants:
        fail(where, "'variants' given, but the class has variant 0 alone")
    return variants


@dataclass(frozen=True)
class FieldContext:
    """What the field lines of one class are read against."""
    rows: dict[tuple[int, int], Row]
    layouts: list[str]
    params: dict[str, dict[str, int]]
    int_vars: dict[str, int]
    str_vars: dict[str, str]
    ids: FieldIds


def read_fields(lines: list, ctx: FieldContext, where: str) -> tuple[Field, ...]:
    """The fields of the field lines, in identifier order."""
    fields: dict[str, Field] = {}
    for f in lines:
        fw = f"{where}: field {f.get('name') if isinstance(f, dict) else f!r}"
        series_keys = {k: (str, "") for k in f if re.fullmatch(r"[A-Z]", k)} \
            if isinstance(f, dict) else {}
        layout_keys = {layout: (str, "") for layout in ctx.layouts}
        check_keys(f, fw, K.FIELD_REQUIRED, {**K.FIELD_OPTIONAL, **layout_keys, **series_keys})
        if f["type"] not in TYPE_BITS:
            fail(fw, f"unknown type {f['type']!r}")
        for env in series_envs(f, ctx.int_vars, fw):
            field = read_field(f, env, ctx, where)
            if field.name in fields:
                fail(f"{where}: field {field.hw}", "field listed twice")
            fields[field.name] = field
    if not fields:
        fail(where, "no fields")
    return tuple(sorted(fields.values(), key=lambda x: x.id))


def series_envs(f: dict, int_vars: dict, where: str) -> list[dict]:
    """One environment per element of the line's series: the class's integer
    vars and each series variable, a letter counting A as 0 (and as _X its letter)."""
    envs = [dict(int_vars)]
    for var, values in ((k, parse_range(v, where)) for k, v in f.items()
                        if re.fullmatch(r"[A-Z]", k)):
        envs = [dict(env, **{var: i if isinstance(x, str) else x},
                     **({f"_{var}": x} if isinstance(x, str) else {}))
                for env in envs for i, x in enumerate(values)]
    return envs


def hardware_name(f: dict, env: dict, str_vars: dict, where: str) -> str:
    hw = f["name"]
    for var, text in str_vars.items():
        hw = hw.replace(f"<{var}>", text)
    for var in (k for k in f if re.fullmatch(r"[A-Z]", k)):
        hw = hw.replace(f"<{var}>", str(env.get(f"_{var}", env[var])))
    if "<" in hw:
        fail(where, f"placeholder left in {hw!r}")
    return hw


def read_field(f: dict, env: dict, ctx: FieldContext, where: str) -> Field:
    """One field of a line, for one element of its series."""
    hw = hardware_name(f, env, ctx.str_vars, f"{where}: field {f['name']!r}")
    fw = f"{where}: field {hw}"
    if hw not in ctx.ids.by_name:
        fail(fw, "hardware name has no field identifier")
    ident = ctx.ids.by_name[hw]
    if "id" in f and f["id"] != "catalogue":
        given = evaluate(f["id"], env, fw)
        if given != ident:
            fail(fw, f"id {given} given, the identifier list has {ident}")
    for member in member_names(Scope.FIELD, accessor_name(hw)):
        if member in RESERVED:
            fail(fw, f"accessor {member} clashes with a member of every class")
    cells = field_cells(f, env, ctx, fw)
    if not cells:
        fail(fw, "exists on no chip and variant of the class")
    widest = max(w for _, w in cells.values())
    want = smallest_type(widest)
    if want is None:
        fail(fw, f"{widest} bits is wider than any field type")
    if want != f["type"]:
        fail(fw, f"type {f['type']} given, {widest} bits at most need {want}")
    return Field(hw, ident, f["type"], bool(f.get("view", False)), cells)


def field_cells(f: dict, env: dict, ctx: FieldContext, where: str) -> dict:
    """(offset, width) of the field on each (chip, variant) that has it."""
    allowed = None
    if "variants" in f:
        v = f["variants"]
        if isinstance(v, str) and re.search(r"[-,]", v):
            allowed = set(parse_range(v, where))
        else:
            allowed = {evaluate(v, env, where)}
    by_layout = {}
    for layout in ctx.layouts:
        cell = normalise(str(f.get(layout, ""))).strip()
        if cell in ("-", ""):
            continue
        if ":" not in cell:
            fail(where, f"cell {cell!r} of {layout} isn't offset:width")
        lenv = dict(env, **ctx.params.get(layout, {}))
        if "where" in f and not evaluate(f["where"], lenv, where):
            continue
        offset, width = (evaluate(x, lenv, where) for x in cell.rsplit(":", 1))
        if width <= 0 or offset < 0:
            fail(where, f"{layout} has offset {offset}, width {width}")
        by_layout[layout] = (offset, width)
    return {key: by_layout[row.layout] for key, row in ctx.rows.items()
            if row.layout in by_layout and (allowed is None or row.variant in allowed)}


def read_indexed(data: dict, fields: tuple[Field, ...], where: str) -> tuple[Indexed, ...]:
    by_name = {f.name: f for f in fields}
    out = []
    for ix in data.get("indexed", []):
        iw = f"{where}: indexed accessor {ix.get('name') if isinstance(ix, dict) else ix!r}"
        check_keys(ix, iw, K.INDEXED_REQUIRED, K.INDEXED_OPTIONAL)
        if "fields" in ix and "field" not in ix and "index" not in ix:
            names = list(ix["fields"])
        elif "field" in ix and "index" in ix and "fields" not in ix:
            indices = parse_range(ix["index"], iw)
            if indices[0] != 0:
                fail(iw, "indices start at 0")
            names = [ix["field"].replace("<i>", str(i)) for i in indices]
        else:
            fail(iw, "give 'fields' or 'field' with 'index'")
        for n in names:
            if n not in by_name:
                fail(iw, f"no field {n!r} in the class")
        refs = tuple(by_name[n] for n in names)
        if len({r.type for r in refs}) != 1:
            fail(iw, "the fields have different types")
        if RESERVED.intersection(member_names(Scope.INDEXED, ix["name"])):
            fail(iw, "name taken by a member every class has")
        out.append(Indexed(ix["name"], refs))
    return tuple(out)


def read_spans(data: dict, rows: dict, chips: Chips, where: str) -> tuple[Span, ...]:
    """A memory's span records: each after one chip of its group, whose chips
    have the same entries, and together every chip of the memory once."""
    if data["kind"] != "memory":
        if "entry_spans" in data:
            fail(where, "a register has no entry spans")
        return ()
    spans, seen = [], set()
    for s in data.get("entry_spans", []):
        sw = f"{where}: entry span {s.get('record') if isinstance(s, dict) else s!r}"
        check_keys(s, sw, K.SPAN_REQUIRED, {})
        if s["record"] not in chips.names.values():
            fail(sw, "record must be named after a chip")
        members = chips.resolve(s["chips"], sw)
        entries = set()
        for c in members:
            chip_rows = [r for (ch, _), r in rows.items() if ch == c]
            if not chip_rows:
                fail(sw, f"chip {chips.by_number[c].name} isn't a chip of the class")
            entries |= {r.entries for r in chip_rows}
            if c in seen:
                fail(sw, f"chip {chips.by_number[c].name} is in two records")
            seen.add(c)
        if len(entries) > 1:
            fail(sw, "chips of one record have different entries")
        if next(c for c, name in chips.names.items() if name == s["record"]) not in members:
            fail(sw, "the record is named after a chip outside it")
        spans.append(Span(s["record"], entries.pop(), tuple(members)))
    if seen != {c for c, _ in rows}:
        fail(where, "entry spans don't cover every chip of the memory exactly once")
    return tuple(spans)


def check_class(k: Klass, storage: int, ctx: Context, where: str) -> None:
    """What the whole class must agree on: identifiers, storage, and each row."""
    ids = [f.id for f in k.fields]
    if len(set(ids)) != len(ids):
        fail(where, "two fields share an identifier")
    if storage != 4 * k.words:
        fail(where, f"storage {storage} bytes given, the widest row needs {4 * k.words}")
    if k.all_fields_type is None:
        fail(where, f"{k.words} words is more than getAllFields can return")
    for key, row in sorted(k.rows.items()):
        rw = f"{where}: {ctx.chips.by_number[key[0]].name} variant {key[1]}"
        check_row_fields(k, key, row, rw)
        check_row_geometry(k, key, row, ctx.blocks, rw)


def check_row_fields(k: Klass, key: tuple, row: Row, rw: str) -> None:
    """The fields of one row: their count, their bits within the width, no
    overlap but of declared views, no gap where packed."""
    valid = [f for f in k.fields if key in f.cells]
    if len(valid) != row.field_count:
        fail(rw, f"fieldCount {row.field_count} given, {len(valid)} fields are valid")
    for f in valid:
        off, w = f.cells[key]
        if off + w > 32 * row.width:
            fail(f"{rw}: field {f.hw}", f"bits {off}..{off + w - 1} run past width {row.width} words")
    solid = sorted((f.cells[key][0], f.cells[key][1], f.hw) for f in valid if not f.view)
    for (o1, w1, f1), (o2, _, f2) in zip(solid, solid[1:]):
        if o2 < o1 + w1:
            fail(rw, f"fields {f1} and {f2} overlap and neither is a declared view")
    if k.packed:
        end = 0
        for o, w, hw in solid:
            if o != end:
                fail(f"{rw}: field {hw}", f"packed layout has a gap: bit {end} to {o - 1}")
            end = o + w
    for f in (f for f in valid if f.view):
        off, w = f.cells[key]
        covered = any(o <= off and off + w <= o + ww or off <= o and o + ww <= off + w
                      for o, ww, _ in solid)
        if solid and not covered:
            fail(f"{rw}: field {f.hw}", "declared a view but lies over no field")


def check_row_geometry(k: Klass, key: tuple, row: Row, blocks: BlockMap, rw: str) -> None:
    """One row's counts: instances as the block map has them, elements,
    and a memory's variants and entries or a register's stride."""
    count = blocks.count(k.block, key[0], key[1])
    if count is None:
        fail(rw, f"block {k.block} has no instances on this chip")
    if count != row.instance_count:
        fail(rw, f"instanceCount {row.instance_count} given, block {k.block} has {count}")
    if row.array_elements < 1:
        fail(rw, "arrayElements below 1")
    if not k.is_memory:
        if row.addr_stride < 1:
            fail(rw, "addrStride below 1")
        return
    if (key[0], 0) not in k.rows:
        fail(rw, "a memory has variant 0 on every chip it exists on")
    variants = sum(1 for (c, _) in k.rows if c == key[0])
    if row.table_variant_count != variants:
        fail(rw, f"tableVariantCount {row.table_variant_count} given, "
                 f"the chip has {variants} variants")
    if not row.entries or row.entries < 1:
        fail(rw, "entries below 1")


# --------------------------------------------------------------------------

@dataclass(frozen=True)
class Catalogue:
    chips: Chips
    ids: FieldIds
    blocks: BlockMap
    classes: tuple[Klass, ...]  # by name

    @classmethod
    def read(cls, root: str) -> "Catalogue":
        core = os.path.join(root, "core", "data")
        chips = read_chips(os.path.join(core, "chips.toml"))
        ctx = Context(chips, read_field_ids(os.path.join(core, "field_ids.toml")),
                      read_block_map(os.path.join(core, "blocks.toml"), chips))
        classes = []
        for dirpath, _, files in sorted(os.walk(os.path.join(root, "accessors"))):
            for name in sorted(f for f in files if f.endswith(".toml")):
                rel = os.path.relpath(os.path.join(dirpath, name), root)
                for data in file_classes(os.path.join(root, rel), rel):
                    classes.append(read_class(data, rel, os.path.basename(dirpath), ctx))
        classes.sort(key=lambda k: k.name)
        for a, b in zip(classes, classes[1:]):
            if a.name == b.name:
                fail(a.name, "class defined twice")
        return cls(chips, ctx.ids, ctx.blocks, tuple(classes))


def file_classes(path: str, rel: str) -> list[dict]:
    """The classes of one file: itself, or a family's, each over its defaults."""
    try:
        data = load_toml(path)
    except tomllib.TOMLDecodeError as e:
        fail(rel, f"not valid TOML: {e}")
    if "class_list" not in data:
        return [data]
    check_keys(data, rel, K.FAMILY_REQUIRED, K.FAMILY_OPTIONAL)
    return [dict(data.get("defaults", {}), **entry) for entry in data["class_list"]]
