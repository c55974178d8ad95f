"""Reads and checks the accessor catalogue.

The catalogue is plain TOML under accessors/<subsystem>/ plus the shared
tables under core/data/. This module turns it into a resolved model, one value
per (chip, variant), and rejects data that can't be right with a message that
names the file, the class and the field.
"""

import ast
import os
import re
import tomllib
from dataclasses import dataclass

from operations import Scope, member_names, reserved_names


class CatalogueError(Exception):
    pass


# --------------------------------------------------------------------------
# Small helpers

def load_toml(path):
    with open(path, "rb") as f:
        return tomllib.load(f)


def fail(where, message):
    raise CatalogueError(f"{where}: {message}")


_SUBST = {"\u00b7": "*", "\u2212": "-", "\u2013": "-", "\u2014": "-"}


def normalise(text):
    for a, b in _SUBST.items():
        text = text.replace(a, b)
    return text


_COMPARE = {ast.Lt: lambda a, b: a < b, ast.LtE: lambda a, b: a <= b,
            ast.Gt: lambda a, b: a > b, ast.GtE: lambda a, b: a >= b,
            ast.Eq: lambda a, b: a == b, ast.NotEq: lambda a, b: a != b}


def evaluate(expr, env, where):
    """Evaluates an integer formula: + - * //, parentheses, names from env.
    A comparison (< <= > >= == !=, chained as in "0 <= N < c") gives 1 or 0."""
    if isinstance(expr, int):
        return expr
    text = normalise(str(expr)).strip()
    try:
        tree = ast.parse(text, mode="eval")
    except SyntaxError:
        fail(where, f"formula {expr!r} doesn't parse")

    def walk(node):
        if isinstance(node, ast.Expression):
            return walk(node.body)
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
        if isinstance(node, ast.BinOp):
            a, b = walk(node.left), walk(node.right)
            if isinstance(node.op, ast.Add):
                return a + b
            if isinstance(node.op, ast.Sub):
                return a - b
            if isinstance(node.op, ast.Mult):
                return a * b
            if isinstance(node.op, ast.FloorDiv):
                return a // b
        fail(where, f"formula {expr!r} uses something other than integers, names, + - * // "
                    f"and comparisons")

    return walk(tree)


def parse_range(text, where):
    """'0-31' -> [0..31]; 'A-D' -> ['A'..'D']; '3' -> [3]; '0,2,5' -> [0, 2, 5]."""
    text = normalise(str(text)).strip()
    out = []
    for part in text.split(","):
        part = part.strip()
        m = re.fullmatch(r"(\d+)\s*-\s*(\d+)", part)
        if m:
            a, b = int(m.group(1)), int(m.group(2))
            if b < a:
                fail(where, f"range {text!r} runs backwards")
            out.extend(range(a, b + 1))
            continue
        m = re.fullmatch(r"([A-Z])\s*-\s*([A-Z])", part)
        if m:
            a, b = ord(m.group(1)), ord(m.group(2))
            out.extend(chr(c) for c in range(a, b + 1))
            continue
        if re.fullmatch(r"\d+", part):
            out.append(int(part))
            continue
        fail(where, f"can't read range {text!r}")
    return out


def accessor_name(hardware_name):
    """ENGINE_N_MODE -> engineNMode; CFG_TRAP_OBJ_0_SHIFT -> cfgTrapObj0Shift."""
    words = hardware_name.split("_")
    return words[0].lower() + "".join(w[:1].upper() + w[1:].lower() for w in words[1:])


def sort_key(hardware_name):
    """Stem as plain text, then the final number, if the name ends in digits."""
    m = re.fullmatch(r"(.*?)(\d+)", hardware_name)
    if m:
        return (m.group(1), int(m.group(2)))
    return (hardware_name, -1)


TYPES = [("U8", 8), ("U16", 16), ("U32", 32), ("U64", 64),
         ("Raw128", 128), ("Raw256", 256), ("Raw512", 512)]
TYPE_BITS = dict(TYPES)


def smallest_type(bits):
    for name, size in TYPES:
        if bits <= size:
            return name
    return None


def is_raw(type_name):
    return type_name.startswith("Raw")


def all_fields_type(words):
    """Result type of getAllFields for a class of `words` 32-bit words at most."""
    if words == 1:
        return "U32"
    if words == 2:
        return "U64"
    for name, top in (("Raw128", 4), ("Raw256", 8), ("Raw512", 16), ("Raw1024", 32)):
        if words <= top:
            return name
    return None


# --------------------------------------------------------------------------
# Chips

class Chip:
    def __init__(self, number, name, label):
        self.number, self.name, self.label = number, name, label


class Chips:
    def __init__(self, path):
        data = load_toml(path)
        self.chips = [Chip(c["number"], c["name"], c["label"]) for c in data["chips"]]
        self.by_label = {c.label: c for c in self.chips}
        self.by_number = {c.number: c for c in self.chips}
        self.sets = {k: v for k, v in data["sets"].items()}
        self.equality_array_check = set(
            self.resolve(", ".join(data["memory_single_array"]["equality_check"]), path))

    def resolve(self, labels, where):
        """'88690, 88480x' -> chip numbers, in chip order."""
        out = []
        for label in labels.split(","):
            label = label.strip()
            if label in self.sets:
                out.extend(self.by_label[x].number for x in self.sets[label])
            elif label in self.by_label:
                out.append(self.by_label[label].number)
            else:
                fail(where, f"unknown chip label {label!r}")
        return sorted(set(out))

    def resolve_with_variants(self, text, where):
        """'88690, 88850 v0-1' -> [(chip, variant), ...]; no mark means variant 0."""
        text = normalise(text).strip()
        m = re.fullmatch(r"(.*?)\s+v(\d+(?:\s*-\s*\d+)?)", text)
        if m:
            labels, variants = m.group(1), parse_range(m.group(2), where)
        else:
            labels, variants = text, [0]
        return [(c, v) for c in self.resolve(labels, where) for v in variants]


# --------------------------------------------------------------------------
# Field identifiers

class FieldIds:
    def __init__(self, path):
        data = load_toml(path)
        self.by_name = {}
        self.by_id = {}
        for entry in data["ids"]:
            where = f"{path}: entry {entry!r}"
            first, names, ranges = entry[0], entry[1], entry[2:]
            if isinstance(names, str):
                names = [names]
            expanded = names
            for r in ranges:
                var, _, values = r.partition("=")
                values = parse_range(values, where)
                expanded = [n.replace(f"<{var.strip()}>", str(x)) for n in expanded for x in values]
            for n in expanded:
                if "<" in n:
                    fail(where, f"name {n!r} keeps a placeholder that no range fills")
            for i, name in enumerate(sorted(expanded, key=sort_key)):
                ident = first + i
                if name in self.by_name:
                    fail(where, f"hardware name {name} is listed twice")
                if ident in self.by_id:
                    fail(where, f"id {ident} is given to {self.by_id[ident]} and to {name}")
                self.by_name[name] = ident
                self.by_id[ident] = name
        ordered = sorted(self.by_name, key=sort_key)
        for a, b in zip(ordered, ordered[1:]):
            if self.by_name[a] >= self.by_name[b]:
                fail(path, f"ids out of sort order: {a} has {self.by_name[a]}, "
                           f"{b} sorts after it and has {self.by_name[b]}")


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

    def at(self, ident: int, where: str) -> tuple[int, int]:
        if self.pairs is not None:
            return self.pairs[ident]
        env = {"id": ident}
        return evaluate(self.sub_block, env, where), evaluate(self.block, env, where)


def block_cell(cell, where: str) -> BlockCell:
    if isinstance(cell, list):
        return BlockCell(tuple(tuple(p) for p in cell), len(cell))
    return BlockCell(None, cell["count"], str(cell["subBlock"]), str(cell["block"]))


class BlockMap:
    """(subBlock, block) per block, chip, variant and identifier."""

    def __init__(self, path: str, chips: Chips):
        data = load_toml(path)
        self.names = sorted(data["blocks"])
        # cells[block][(chip, variant or None)]: None where the block doesn't vary by variant
        self.cells: dict[str, dict[tuple[int, int | None], BlockCell]] = {}
        for block, table in data["blocks"].items():
            variant_tables = {k: v for k, v in table.items() if re.fullmatch(r"v\d+", k)}
            if variant_tables:
                items = [(int(k[1:]), t) for k, t in variant_tables.items()]
            else:
                items = [(None, table)]
            cells = {}
            for variant, t in items:
                for label, cell in t.items():
                    where = f"{path}: block {block}, {label}"
                    for chip in chips.resolve(label, where):
                        if (chip, variant) in cells:
                            fail(where, f"chip {chip} given twice")
                        cells[(chip, variant)] = block_cell(cell, where)
            self.cells[block] = cells

    def cell(self, block: str, chip: int, variant: int) -> BlockCell | None:
        cells = self.cells[block]
        return cells.get((chip, variant), cells.get((chip, None)))

    def count(self, block: str, chip: int, variant: int) -> int | None:
        c = self.cell(block, chip, variant)
        return None if c is None else c.count


# --------------------------------------------------------------------------
# Classes

class Row:
    """Geometry of one (chip, variant)."""
    pass


class Field:
    def __init__(self, hw, ident, type_name, view):
        self.hw = hw
        self.name = accessor_name(hw)
        self.id = ident
        self.type = type_name
        self.view = view
        self.cells = {}  # (chip, variant) -> (offset, width)

    @property
    def cap(self):
        return self.name[:1].upper() + self.name[1:]


class Indexed:
    def __init__(self, name, fields):
        self.name = name
        self.fields = fields  # index -> Field
        self.type = fields[0].type


REGISTER_KEYS = {"chips", "layout", "width", "arrayElements", "addrStride", "instanceCount",
                 "fieldCount", "address"}
MEMORY_KEYS = {"chips", "layout", "width", "entries", "arrayElements", "instanceCount",
               "fieldCount", "tableVariantCount", "address"}
CLASS_KEYS = {"class", "summary", "variants", "kind", "storage", "block", "chips", "packed",
              "geometry", "fields", "indexed", "params", "entry_spans", "note", "vars",
              "shared_geometry"}
FIELD_KEYS = {"name", "id", "type", "view", "variants", "where", "note"}

# Member names every class has; a field's accessors must not take them.
RESERVED = reserved_names()


class Klass:
    def __init__(self, data, path, chips, ids, blocks):
        self.path = path
        where = f"{path}"
        for key in data:
            if key not in CLASS_KEYS:
                fail(where, f"unknown key {key!r}")
        self.name = data.get("class") or fail(where, "no class name")
        where = f"{path}: class {self.name}"
        self.where = where
        self.summary = data.get("summary")
        if not isinstance(self.summary, str) or not self.summary.strip() or "\n" in self.summary:
            fail(where, "'summary' must be one line that says what the class holds")
        self.kind = data.get("kind")
        if self.kind not in ("register", "memory"):
            fail(where, "kind must be register or memory")
        self.is_memory = self.kind == "memory"
        self.block = self._block(data, blocks, where)
        self.packed = bool(data.get("packed", False))
        self.int_vars, self.str_vars = self._vars(data, where)

        # Declared chips and variants; the geometry must cover exactly these.
        declared = data.get("chips")
        if declared is None:
            fail(where, "no 'chips' line (the chips and variants of the class)")
        expect = set()
        for part in normalise(declared).split(";"):
            expect |= set(chips.resolve_with_variants(part.strip(), where))
        # A shared geometry table (one for a family of classes) may list chips
        # beyond the class's own; those rows are left out for this class.
        shared = bool(data.get("shared_geometry", False))

        # Geometry rows.
        self.rows = {}
        layouts_used = []
        keys = MEMORY_KEYS if self.is_memory else REGISTER_KEYS
        for g in data.get("geometry", []):
            gw = f"{where}: geometry row {g.get('chips')!r}"
            missing = keys - set(g)
            extra = set(g) - keys
            if missing:
                fail(gw, f"missing {', '.join(sorted(missing))}")
            if extra:
                fail(gw, f"unknown {', '.join(sorted(extra))}")
            for chip, variant in chips.resolve_with_variants(g["chips"], gw):
                if shared and (chip, variant) not in expect:
                    continue
                if (chip, variant) in self.rows:
                    fail(gw, f"chip {chips.by_number[chip].name} variant {variant} has two rows")
                r = Row()
                r.chip, r.variant = chip, variant
                r.layout = g["layout"]
                r.width = g["width"]
                r.arrayElements = g["arrayElements"]
                r.addrStride = g.get("addrStride", 1)
                r.instanceCount = g["instanceCount"]
                r.fieldCount = g["fieldCount"]
                r.address = evaluate(g["address"], dict(self.int_vars, variant=variant), gw)
                r.entries = g.get("entries")
                r.tableVariantCount = g.get("tableVariantCount")
                self.rows[(chip, variant)] = r
                if r.layout not in layouts_used:
                    layouts_used.append(r.layout)
        if not self.rows:
            fail(where, "no geometry rows")
        self.layouts = layouts_used

        # Declared chips and variants must be exactly the geometry's.
        have = set(self.rows)
        if expect != have:
            missing = sorted(expect - have)
            extra = sorted(have - expect)
            text = []
            if missing:
                text.append("missing rows for " + ", ".join(
                    f"{chips.by_number[c].name} v{v}" for c, v in missing))
            if extra:
                text.append("rows for undeclared " + ", ".join(
                    f"{chips.by_number[c].name} v{v}" for c, v in extra))
            fail(where, "; ".join(text))

        params = data.get("params", {})
        for layout in params:
            if layout not in self.layouts:
                fail(where, f"params for layout {layout}, which no geometry row uses")

        # What the variants stand for, where a chip has several.
        self.variants = data.get("variants", "")
        several = any(v for (_, v) in self.rows)
        if several and (not isinstance(self.variants, str) or not self.variants.strip()
                        or "\n" in self.variants):
            fail(where, "'variants' must be one line that says what each variant is "
                        "(the class has several on a chip)")
        if not several and self.variants:
            fail(where, "'variants' given, but the class has variant 0 alone")

        # Fields.
        self.fields = []
        by_name = {}
        for f in data.get("fields", []):
            self._add_fields(f, params, ids, by_name, where)
        self.fields.sort(key=lambda x: x.id)
        self.fields_by_name = by_name
        if not self.fields:
            fail(where, "no fields")

        # Indexed accessors.
        self.indexed = []
        for ix in data.get("indexed", []):
            iw = f"{where}: indexed accessor {ix.get('name')!r}"
            if "fields" in ix:
                names = list(ix["fields"])
            elif "field" in ix and "index" in ix:
                names = [ix["field"].replace("<i>", str(i)) for i in parse_range(ix["index"], iw)]
                if parse_range(ix["index"], iw)[0] != 0:
                    fail(iw, "indices start at 0")
            else:
                fail(iw, "give 'fields' or 'field' with 'index'")
            refs = []
            for n in names:
                if n not in by_name:
                    fail(iw, f"no field {n!r} in the class")
                refs.append(by_name[n])
            if len({r.type for r in refs}) != 1:
                fail(iw, "the fields have different types")
            if RESERVED.intersection(member_names(Scope.INDEXED, ix["name"])):
                fail(iw, "name taken by a member every class has")
            self.indexed.append(Indexed(ix["name"], refs))

        self._check(chips, blocks, data)
        self._spans(data, chips, where)

    # ----------------------------------------------------------------------
    def _block(self, data, blocks, where):
        derived = None
        for b in sorted(blocks.names, key=len, reverse=True):
            if self.name.upper().startswith(b):
                derived = b
                break
        given = data.get("block")
        if given is not None:
            if given not in blocks.names:
                fail(where, f"unknown block {given!r}")
            return given
        if derived is None:
            fail(where, "the class name starts with no block name; give 'block'")
        return derived

    def _vars(self, data, where):
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

    def _add_fields(self, f, params, ids, by_name, where):
        fw = f"{where}: field {f.get('name')!r}"
        if "name" not in f or "type" not in f:
            fail(fw, "a field needs name and type")
        series = {k: parse_range(v, fw) for k, v in f.items()
                  if re.fullmatch(r"[A-Z]", k)}
        for k in f:
            if k not in FIELD_KEYS and k not in self.layouts and k not in series:
                fail(fw, f"unknown key {k!r} (not a layout of the geometry table)")
        if f["type"] not in TYPE_BITS:
            fail(fw, f"unknown type {f['type']!r}")
        combos = [dict(self.int_vars)]
        for var, values in series.items():
            combos = [dict(c, **{var: (i if isinstance(x, str) else x)}, **(
                {f"_{var}": x} if isinstance(x, str) else {}))
                for c in combos for i, x in enumerate(values)]
        for env in combos:
            hw = f["name"]
            for var, text in self.str_vars.items():
                hw = hw.replace(f"<{var}>", text)
            for var in series:
                value = env.get(f"_{var}", env[var])
                hw = hw.replace(f"<{var}>", str(value))
            if "<" in hw:
                fail(fw, f"placeholder left in {hw!r}")
            name_where = f"{where}: field {hw}"
            if hw not in ids.by_name:
                fail(name_where, "hardware name has no field identifier")
            ident = ids.by_name[hw]
            if "id" in f and f["id"] != "catalogue":
                given = evaluate(f["id"], env, name_where)
                if given != ident:
                    fail(name_where, f"id {given} given, the identifier list has {ident}")
            field = Field(hw, ident, f["type"], bool(f.get("view", False)))
            if field.name in by_name:
                fail(name_where, "field listed twice")
            for reserved in member_names(Scope.FIELD, field.name):
                if reserved in RESERVED:
                    fail(name_where, f"accessor {reserved} clashes with a member of every class")
            allowed = None
            if "variants" in f:
                v = f["variants"]
                if isinstance(v, str) and re.search(r"[-,]", v):
                    allowed = set(parse_range(v, name_where))
                else:
                    allowed = {evaluate(v, env, name_where)}
            cells = {}
            for layout in self.layouts:
                if layout not in f:
                    continue
                cell = normalise(str(f[layout])).strip()
                if cell in ("-", ""):
                    continue
                if ":" not in cell:
                    fail(name_where, f"cell {cell!r} of {layout} isn't offset:width")
                off_text, width_text = cell.rsplit(":", 1)
                lenv = dict(env)
                lenv.update(params.get(layout, {}))
                if "where" in f and not evaluate(f["where"], lenv, name_where):
                    continue
                offset = evaluate(off_text, lenv, name_where)
                width = evaluate(width_text, lenv, name_where)
                if width <= 0 or offset < 0:
                    fail(name_where, f"{layout} has offset {offset}, width {width}")
                cells[layout] = (offset, width)
            for key, row in self.rows.items():
                if row.layout in cells and (allowed is None or row.variant in allowed):
                    field.cells[key] = cells[row.layout]
            if not field.cells:
                fail(name_where, "exists on no chip and variant of the class")
            widest = max(w for _, w in field.cells.values())
            want = smallest_type(widest)
            if want is None:
                fail(name_where, f"{widest} bits is wider than any field type")
            if want != field.type:
                fail(name_where, f"type {field.type} given, {widest} bits at most need {want}")
            by_name[field.name] = field
            self.fields.append(field)

    def _check(self, chips, blocks, data):
        where = self.where
        ids = [f.id for f in self.fields]
        if len(set(ids)) != len(ids):
            fail(where, "two fields share an identifier")
        self.words = max(r.width for r in self.rows.values())
        storage = data.get("storage")
        if storage != 4 * self.words:
            fail(where, f"storage {storage} bytes given, the widest row needs {4 * self.words}")
        self.all_fields_type = all_fields_type(self.words)
        if self.all_fields_type is None:
            fail(where, f"{self.words} words is more than getAllFields can return")
        for key, row in sorted(self.rows.items()):
            chip = chips.by_number[key[0]].name
            rw = f"{where}: {chip} variant {key[1]}"
            valid = [f for f in self.fields if key in f.cells]
            if len(valid) != row.fieldCount:
                fail(rw, f"fieldCount {row.fieldCount} given, {len(valid)} fields are valid")
            for f in valid:
                off, w = f.cells[key]
                if off + w > 32 * row.width:
                    fail(f"{rw}: field {f.hw}",
                         f"bits {off}..{off + w - 1} run past width {row.width} words")
            solid = sorted((f.cells[key][0], f.cells[key][1], f) for f in valid if not f.view)
            for (o1, w1, f1), (o2, w2, f2) in zip(solid, solid[1:]):
                if o2 < o1 + w1:
                    fail(rw, f"fields {f1.hw} and {f2.hw} overlap and neither is a declared view")
            if self.packed:
                end = 0
                for o, w, f in solid:
                    if o != end:
                        fail(f"{rw}: field {f.hw}", f"packed layout has a gap: bit {end} to {o - 1}")
                    end = o + w
            for f in valid:
                if f.view:
                    off, w = f.cells[key]
                    covered = any(o <= off and off + w <= o + ww for o, ww, _ in solid) or \
                        any(off <= o and o + ww <= off + w for o, ww, _ in solid)
                    if solid and not covered:
                        fail(f"{rw}: field {f.hw}", "declared a view but lies over no field")
            count = blocks.count(self.block, key[0], key[1])
            if count is None:
                fail(rw, f"block {self.block} has no instances on this chip")
            if count != row.instanceCount:
                fail(rw, f"instanceCount {row.instanceCount} given, block {self.block} has {count}")
            if row.arrayElements < 1:
                fail(rw, "arrayElements below 1")
            if self.is_memory:
                if (key[0], 0) not in self.rows:
                    fail(rw, "a memory has variant 0 on every chip it exists on")
                variants = sum(1 for (c, _) in self.rows if c == key[0])
                if row.tableVariantCount != variants:
                    fail(rw, f"tableVariantCount {row.tableVariantCount} given, "
                             f"the chip has {variants} variants")
                if not row.entries or row.entries < 1:
                    fail(rw, "entries below 1")
            elif row.addrStride < 1:
                fail(rw, "addrStride below 1")

    def _spans(self, data, chips, where):
        self.spans = []  # (record name, entries, [chip numbers])
        if not self.is_memory:
            if "entry_spans" in data:
                fail(where, "a register has no entry spans")
            return
        seen = {}
        for s in data.get("entry_spans", []):
            sw = f"{where}: entry span {s.get('record')!r}"
            record = s["record"]
            if record not in {c.name for c in chips.chips}:
                fail(sw, "record must be named after a chip")
            members = chips.resolve(s["chips"], sw)
            entries = None
            for c in members:
                rows = [r for (ch, _), r in self.rows.items() if ch == c]
                if not rows:
                    fail(sw, f"chip {chips.by_number[c].name} isn't a chip of the class")
                for r in rows:
                    if entries is None:
                        entries = r.entries
                    elif r.entries != entries:
                        fail(sw, "chips of one record have different entries")
                if c in seen:
                    fail(sw, f"chip {chips.by_number[c].name} is in two records")
                seen[c] = record
            if next(c for c in chips.chips if c.name == record).number not in members:
                fail(sw, "the record is named after a chip outside it")
            self.spans.append((record, entries, members))
        class_chips = {c for c, _ in self.rows}
        if set(seen) != class_chips:
            fail(where, "entry spans don't cover every chip of the memory exactly once")
        self.span_of = seen


# --------------------------------------------------------------------------

class Catalogue:
    def __init__(self, root):
        core = os.path.join(root, "core", "data")
        self.chips = Chips(os.path.join(core, "chips.toml"))
        self.ids = FieldIds(os.path.join(core, "field_ids.toml"))
        self.blocks = BlockMap(os.path.join(core, "blocks.toml"), self.chips)
        self.classes = []
        base = os.path.join(root, "accessors")
        for dirpath, _, files in sorted(os.walk(base)):
            for name in sorted(files):
                if not name.endswith(".toml"):
                    continue
                path = os.path.join(dirpath, name)
                rel = os.path.relpath(path, root)
                try:
                    data = load_toml(path)
                except tomllib.TOMLDecodeError as e:
                    fail(rel, f"not valid TOML: {e}")
                entries = data.get("class_list")
                if entries is None:
                    entries = [data]
                else:
                    defaults = data.get("defaults", {})
                    entries = [dict(defaults, **e) for e in entries]
                for e in entries:
                    k = Klass(e, rel, self.chips, self.ids, self.blocks)
                    k.subsystem = os.path.basename(dirpath)
                    self.classes.append(k)
        self.classes.sort(key=lambda k: k.name)
        names = [k.name for k in self.classes]
        for a, b in zip(names, names[1:]):
            if a == b:
                fail(a, "class defined twice")
