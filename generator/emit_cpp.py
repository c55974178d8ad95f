"""Writes the C++ of one accessor class: its header and its source.

The header declares the class's whole interface, from the table of
operations. The source is data: the field masks, the geometry rows, the
switch on chip then variant that picks the row of a pair, the fields with one
cell per row, the switch from identifier to field, the class's members from
the table of operations, and one line per field and indexed accessor that
defines its accessors (the macros of Accessors.h). Every check, fatal text and
trace line is in core/src/Layout.h and the routines it declares.
"""

from catalogue import Field, Indexed, Klass, is_raw
from cpp import Head, Out, opening
from layout import ANY_VARIANT, Cell, ClassLayout, chip_groups, class_layout
from operations import Form, Operation, Scope, fill, of_class, of_scope, value_parameter

VALUE_TYPES = ("U8", "U16", "U32", "U64")


def kind_of(k: Klass) -> str:
    return "memory" if k.is_memory else "register"


def base_of(k: Klass) -> str:
    """The root class, as the class's header names it."""
    return "TesselCounters::TesselCountersAsicTableBase" if k.is_memory else "Orrery::BcmAsicBase"


def values(k: Klass) -> dict:
    """What the class-wide placeholders of an operation stand for in class k."""
    return {"class": k.name, "all": k.all_fields_type}


def params_of(operation: Operation, named: bool = True) -> list[str]:
    return [f"{p.type} {p.name}" if named else p.type for p in operation.params]


# --------------------------------------------------------------------------
# The header

def header(k: Klass) -> str:
    o = opening(k.path, ["<TesselCounters/AccessorBase.h>"], header=True)
    o("namespace Hardware {")
    o()
    o(f"// The {kind_of(k)} {k.name} of block {k.block}.")
    o(f"class {k.name} : public {base_of(k)} {{")
    o(" public:")
    o.indent()
    o("class WithStorage;")
    if k.is_memory:
        o("typedef Orrery::EntrySpans EntrySpans;")
    class_declarations(o, k)
    item_declarations(o, k)
    o.dedent()
    o()
    o(" private:")
    o("  struct Storage {")
    o(f"    U8 storage_[{4 * k.words}] = {{}};")
    o("  };")
    o("};")
    o()
    o(f"// {k.name} over a zero-filled array of its own, {4 * k.words} bytes.")
    o.class_head(f"{k.name}::WithStorage", [f"private {k.name}::Storage", f"public {k.name}"])
    o(" public:")
    o("  WithStorage(Hardware::ChipType chipType, U8 variant);")
    o("  ~WithStorage() override;")
    o("};")
    o()
    o("}  // namespace Hardware")
    return o.text()


GROUPS = ((Form.CONSTRUCTOR, ""), (Form.OVERRIDE, "Overrides of the root class, in its order."),
          (Form.STATIC, "Queries by chip and variant."),
          (Form.INSTANCE, "The object's other members."))


def class_declarations(o: Out, k: Klass) -> None:
    """The class-wide members, a group to a form."""
    for form, title in GROUPS:
        o()
        if title:
            o(f"// {title}")
        for operation in of_class(kind_of(k)):
            if operation.form is form:
                declaration(o, operation, values(k))
        if form is Form.CONSTRUCTOR:
            o(f"~{k.name}() override;")
    if k.is_memory:
        o()
        for span in k.spans:
            o(f"static const Orrery::EntrySpan _entrySpans_{span.record}[1];")


def item_declarations(o: Out, k: Klass) -> None:
    """The accessors of each field and indexed accessor."""
    for scope, items, title in ((Scope.FIELD, k.fields, "Fields."),
                                (Scope.INDEXED, k.indexed, "Indexed accessors.")):
        if items:
            o()
            o(f"// {title}")
        for item in items:
            for operation in of_scope(scope):
                declaration(o, operation, dict(values(k), **item_values(item)))


def item_values(item: Field | Indexed) -> dict:
    """What the placeholders of an item's operation stand for."""
    return {"item": item.name, "Item": item.name[:1].upper() + item.name[1:], "type": item.type,
            "value": value_parameter(item.type)}


def declaration(o: Out, operation: Operation, v: dict) -> None:
    static = "static " if operation.form is Form.STATIC else ""
    head = Head(fill(operation.name, **v), result=static + fill(operation.result, **v))
    close = ")" + (" const" if operation.const else "")
    close += " override;" if operation.form is Form.OVERRIDE else ";"
    o.wrapped(head, [fill(p, **v) for p in params_of(operation)], close)


# --------------------------------------------------------------------------
# The source

def source(k: Klass, chip_names: dict[int, str], equality_array_check: set[int]) -> str:
    layout = class_layout(k, equality_array_check)
    o = opening(k.path, [f"<Hardware/{k.name}.h>", "<TesselCounters/BlockMap.h>"],
                ['"Accessors.h"', '"Layout.h"'])
    o("namespace Hardware {")
    o()
    o("namespace tc = TesselCounters;")
    o()
    o("namespace {")
    o()
    masks(o, k, layout)
    rows(o, k, layout)
    row_switch(o, layout, chip_names)
    fields(o, k, layout)
    field_switch(o, k)
    indexed_tables(o, k)
    class_info(o, k, layout)
    class_copies(o, k)
    o("}  // namespace")
    o()
    construction(o, k)
    for form, title in GROUPS[1:]:
        o(f"// {title}")
        for operation in of_class(kind_of(k)):
            if operation.form is form:
                definition(o, operation, k)
        o()
    for span in k.spans:
        o.braced(f"const Orrery::EntrySpan {k.name}::_entrySpans_{span.record}[1] = ",
                 [f"{{0, {span.entries}}}"])
    if k.spans:
        o()
    item_definitions(o, k)
    o("}  // namespace Hardware")
    return o.text()


def masks(o: Out, k: Klass, layout: ClassLayout) -> None:
    o("// The bits of all fields, one mask per layout.")
    for i, words in enumerate(layout.masks):
        o.braced(f"constexpr U32 kMask{i}[{k.words}] = ", [f"0x{w:x}" for w in words])
    o()


def rows(o: Out, k: Klass, layout: ClassLayout) -> None:
    o("// Geometry: width, instances, fields, table variants, array elements, address")
    o("// stride, entries, base address, arrayIndex == 0 check, mask, entry spans.")
    items = []
    for r in layout.rows:
        spans = f"{k.name}::_entrySpans_{r.spans}" if r.spans else "nullptr"
        zero = "true" if r.array_index_is_zero else "false"
        items.append(f"{{{r.width}, {r.instance_count}, {r.field_count}, {r.table_variant_count}, "
                     f"{r.array_elements}, {r.addr_stride}, {r.entries}, {r.address}, {zero}, "
                     f"kMask{r.mask}, {spans}}}")
    o.braced("constexpr tc::Row kRows[] = ", items)
    o()


def row_switch(o: Out, layout: ClassLayout, chip_names: dict[int, str]) -> None:
    """rowOf: a switch on the chip, then the variant. Where every chip has
    the class on one and the same variant, every arm of the chip switch,
    the default too, only names the row, so that the compiler makes the
    switch one load from a table, and one test of the variant follows."""
    groups = chip_groups(layout.row_of)
    variants = {v for _, vmap in groups for v in vmap}
    one_variant = len(variants) == 1 and all(len(vmap) == 1 for _, vmap in groups)
    o("// The row of a chip and variant.")
    o("TC_INLINE int rowOf(U32 chipType, U8 variant) {")
    o.indent()
    if one_variant:
        o("int row;")
    o("switch (chipType) {")
    o.indent()
    for chips, vmap in groups:
        for c in chips:
            o(f"case {c}:", comment=chip_names[c])
        o.indent()
        if one_variant:
            o(f"row = {next(iter(vmap.values()))};")
            o("break;")
        elif len(vmap) == 1:
            (v, row), = vmap.items()
            o(f"return variant == {v} ? {row} : tc::noRowBut({v});")
        else:
            variant_arms(o, vmap)
        o.dedent()
    o("default:")
    o("  row = tc::kNoRow;" if one_variant else "  return tc::kNoRow;")
    if one_variant:
        o("  break;")
    o.dedent()
    o("}")
    if one_variant:
        v = variants.pop()
        # The variant first: then the row's sign is tested once on the way.
        o(f"return variant == {v} || row < 0 ? row : tc::noRowBut({v});")
    o.dedent()
    o("}")
    o()


def variant_arms(o: Out, vmap: dict[int, int]) -> None:
    """The rows of a chip's variants: a run of bounds where each row holds
    a range of variants from 0 up, else a switch."""
    by_row: dict[int, list[int]] = {}
    for v in sorted(vmap):
        by_row.setdefault(vmap[v], []).append(v)
    ranges = all(vs == list(range(vs[0], vs[-1] + 1)) for vs in by_row.values())
    if ranges and sorted(vmap) == list(range(len(vmap))):
        for row, vs in sorted(by_row.items(), key=lambda g: g[1][0]):
            o(f"if (variant <= {vs[-1]}) return {row};")
        o("return tc::kNoRow;")
        return
    o("switch (variant) {")
    for row, vs in by_row.items():
        for v in vs:
            o(f"  case {v}:")
        o(f"    return {row};")
    o("  default:")
    o("    return tc::kNoRow;")
    o("}")


def cell_text(cell: Cell) -> str:
    if not cell.absent:
        return f"{{{cell.offset}, {cell.width}}}"
    return "tc::kNo" if cell.offset == ANY_VARIANT else f"tc::onlyOn({cell.offset})"


def fields(o: Out, k: Klass, layout: ClassLayout) -> None:
    o("// Fields in identifier order: identifier, type, accessor name and hardware name.")
    o.braced("constexpr tc::Field kFields[] = ",
             [f'{{{f.id}, tc::FieldType::{f.type}, "{f.name}", "{f.hw}"}}' for f in k.fields])
    o("constexpr unsigned kFieldCount = sizeof(kFields) / sizeof(kFields[0]);")
    o()
    o("// The fields by accessor name, filled by the compiler (tc::fillNameSlots).")
    o("struct NameSlots {")
    o("  U16 slot[tc::nameSlotCount(kFieldCount)];")
    o("  constexpr NameSlots() : slot() { tc::fillNameSlots(kFields, kFieldCount, slot, kSlots); }")
    o("  static constexpr unsigned kSlots = sizeof(slot) / sizeof(slot[0]);")
    o("};")
    o("constexpr NameSlots kNameSlots;")
    o()
    o("// Where each field lies on each row: offset and width, or why it doesn't.")
    items, comments = [], {}
    for f, cells in zip(k.fields, layout.cells):
        items += [cell_text(c) for c in cells]
        comments[len(items) - 1] = f.name
    o.braced("constexpr tc::Cell kCells[] = ", items, comments)
    o()
    o("// The window of each cell, filled by the compiler (tc::fillWindows).")
    o("struct Windows {")
    o("  tc::Window window[sizeof(kCells) / sizeof(kCells[0])];")
    o("  constexpr Windows() : window() {")
    o("    tc::fillWindows(kCells, kRows, kFieldCount, sizeof(kRows) / sizeof(kRows[0]), window);")
    o("  }")
    o("};")
    o("constexpr Windows kWindows;")
    o()


def field_switch(o: Out, k: Klass) -> None:
    o("// The field of an identifier.")
    o("int fieldOf(U32 id) {")
    o("  switch (id) {")
    for i, f in enumerate(k.fields):
        o(f"    case {f.id}:")
        o(f"      return {i};")
    o("    default:")
    o("      return -1;")
    o("  }")
    o("}")
    o()


def indexed_tables(o: Out, k: Klass) -> None:
    if not k.indexed:
        return
    index_of = {f.name: i for i, f in enumerate(k.fields)}
    o("// Indexed accessors: the field of each index.")
    for i, ix in enumerate(k.indexed):
        o.braced(f"constexpr U16 kIndexed{i}[] = ", [str(index_of[f.name]) for f in ix.fields])
    o.braced("constexpr tc::Indexed kIndexed[] = ",
             [f'{{"{ix.name}", {len(ix.fields)}, kIndexed{i}}}' for i, ix in enumerate(k.indexed)])
    o()


def class_info(o: Out, k: Klass, layout: ClassLayout) -> None:
    members = [
        (f'"{k.name}"', "name"),
        ("true" if k.is_memory else "false", "memory"),
        (str(k.words), "words"),
        (f'"{k.all_fields_type}"', "allFieldsType"),
        (str(len(layout.rows)), "rowCount"),
        ("kRows", "rows"),
        ("rowOf", "rowOf"),
        ("kFieldCount", "fieldCount"),
        ("kFields", "fields"),
        ("kCells", "cells"),
        ("kWindows.window", "windows"),
        ("fieldOf", "fieldOf"),
        ("kIndexed" if k.indexed else "nullptr", "indexed"),
        (f"TesselCounters::BlockMap::{k.block}", "block"),
        ("kNameSlots.slot", "nameSlots"),
        ("NameSlots::kSlots - 1", "nameSlotMask"),
    ]
    o.braced("constexpr tc::ClassInfo kClass = ", [m for m, _ in members],
             {i: name for i, (_, name) in enumerate(members)})
    o()


def class_copies(o: Out, k: Klass) -> None:
    """The class's one copy of each inline field operation its accessors use."""
    types = {f.type for f in k.fields}
    o("// The field operations, compiled once for the class; its accessors call them.")
    # A reader per value type, so that a typed getter is a jump to it.
    self_param = ["int field", "const Orrery::AsicBase& self"]
    for t in VALUE_TYPES:
        if t in types:
            read = "tc::get(kClass, field, self)"
            o.function(Head(f"read{t}", result=f"TC_CLASS_COPY {t}"), self_param, ")",
                       [f"return {read if t == 'U64' else f'static_cast<{t}>({read})'};"])
    if any(not is_raw(t) for t in types):
        o.function(Head("writeField", result="TC_CLASS_COPY void"),
                   ["int field", "Orrery::AsicBase& self", "U64 value"], ")",
                   ["tc::set(kClass, field, self, value);"])
    if any(is_raw(t) for t in types):
        o.function(Head("readRaw", result="TC_CLASS_COPY void"), self_param + ["U8* value"], ")",
                   ["tc::getRaw(kClass, field, self, value);"])
        o.function(Head("writeRaw", result="TC_CLASS_COPY void"),
                   ["int field", "Orrery::AsicBase& self", "const U8* value"], ")",
                   ["tc::setRaw(kClass, field, self, value);"])
    o()


def construction(o: Out, k: Klass) -> None:
    """The constructors and destructors."""
    X = k.name
    (constructor,) = [op for op in of_class(kind_of(k)) if op.form is Form.CONSTRUCTOR]
    base = base_of(k).split("::")[-1]  # the root class by its name in the class's scope
    o.wrapped(Head(X, scope=f"{X}::"), params_of(constructor), ")")
    o.statement(f"    : {base}(static_cast<U8>(chipType), buf, len, flag, variant, 0) {{")
    o.indent()
    o(constructor.body)
    o.dedent()
    o("}")
    o()
    o.function(Head(f"~{X}", scope=f"{X}::"), [], ")", [])
    o()
    o.wrapped(Head("WithStorage", scope=f"{X}::WithStorage::"),
              ["Hardware::ChipType chipType", "U8 variant"], ")")
    o.statement(f"    : {X}(chipType, storage_, sizeof(storage_), false, variant) {{}}")
    o()
    o.function(Head("~WithStorage", scope=f"{X}::WithStorage::"), [], ")", [])
    o()


def definition(o: Out, operation: Operation, k: Klass) -> None:
    """A class-wide member: the head, and the body with its placeholders filled."""
    v = values(k)
    named = operation.body != ""
    traced = "true" if operation.traced else "false"
    row = f"tc::row(kClass, tc::Op::{operation.op}, {traced}, chipType, variant)"
    head = Head(fill(operation.name, **v), result=fill(operation.result, **v), scope=f"{k.name}::")
    body = fill(operation.body, row=row, **v).split("\n") if named else []
    o.function(head, params_of(operation, named), ")" + (" const" if operation.const else ""),
               body)


def item_definitions(o: Out, k: Klass) -> None:
    """One line per field and indexed accessor: the macro that defines its accessors."""
    for scope, items in ((Scope.FIELD, k.fields), (Scope.INDEXED, k.indexed)):
        for index, item in enumerate(items):
            name = accessor_macro(scope, item.type)
            args = [k.name] + [fill(p, **item_values(item)) for p in macro_params(scope)[1:-1]]
            o.wrapped(Head(name), args + [str(index)], ")")
        if items:
            o()


def accessor_macro(scope: Scope, type_name: str) -> str:
    """The macro that defines the accessors of an item of the scope and type."""
    return f"TC_{scope.name}_{type_name.upper()}"


# The parameters of the accessor macros, by the placeholder each stands for.
MACRO_PARAMS = {"class": "Class", "item": "item", "Item": "Item", "index": "place"}


def macro_params(scope: Scope) -> list[str]:
    """The placeholders a scope's accessor macros take: the class, the item's
    names that its operations use, its place in the class's tables."""
    names = " ".join(o.name for o in of_scope(scope))
    return ["{class}"] + [p for p in ("{item}", "{Item}") if p in names] + ["{index}"]
