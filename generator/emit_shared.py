"""Writes the generated files that all classes share: the operations' enum,
shapes and accessor macros; the field identifiers; the block map; the
factory's entries and makers; the class list and chip names; the published
description; the umbrella header."""

import ast
import json
import re

from catalogue import TYPES, BlockCell, Catalogue, accessor_name, is_raw
from cpp import Head, Out, macro, opening
from emit_cpp import MACRO_PARAMS, accessor_macro, macro_params
from layout import chip_groups
from operations import Form, Operation, Scope, fill, of_scope, traced_ops, value_parameter

OPERATIONS_SOURCE = "generator/operations.py"


def operations_header() -> str:
    o = opening(OPERATIONS_SOURCE, ["<Hardware/Types.h>"], header=True)
    o("namespace TesselCounters {")
    o()
    o("// The operations whose names appear in trace lines and fatal checks.")
    o("enum class Op : U8 {")
    for operation in traced_ops():
        o(f"  {operation.op},")
    o("};")
    o()
    o("}  // namespace TesselCounters")
    return o.text()


ITEMS = {Scope.CLASS: "Item::None", Scope.FIELD: "Item::Field", Scope.INDEXED: "Item::Indexed"}


def shape(operation: Operation) -> str:
    """One Shape: what the texts of trace lines and fatal checks say of the
    operation. They name a member type by its full name, and the string type
    as {String}: a trace line names it without its namespace."""
    parameters = "(" + ", ".join(p.type for p in operation.params) + ")"
    parameters = parameters.replace("Larch::String", "{String}")
    result = operation.result.replace("{class}::", "Hardware::{class}::")
    flags = [flag for flag, has in (("kStatic", operation.form is Form.STATIC),
                                    ("kConst", operation.const),
                                    ("kVirtual", operation.form is Form.OVERRIDE),
                                    ("kTraced", operation.traced)) if has]
    return (f'{{"{operation.name}", "{result}", "{parameters}", {ITEMS[operation.scope]}, '
            f'{" | ".join(flags) or "0"}}}')


def shapes_header() -> str:
    """shapeOf, one arm per Op: a switch rather than an array, so that the
    shapes are constants of the code and need no relocated pointers."""
    o = opening(OPERATIONS_SOURCE, ['"Fatal.h"'], header=True)
    o("namespace TesselCounters {")
    o()
    o("// The shape of each operation: name, result, parameters, item and flags.")
    o("TC_INTERNAL constexpr Shape shapeOf(Op op) {")
    o("  switch (op) {")
    o.indent()
    o.indent()
    for operation in traced_ops():
        o(f"case Op::{operation.op}:")
        o.indent()
        o.statement(f"return {shape(operation)};")
        o.dedent()
    o.dedent()
    o("}")
    o('return {"", "", "", Item::None, 0};')
    o.dedent()
    o("}")
    o()
    o("}  // namespace TesselCounters")
    return o.text()


_PLACEHOLDER = re.compile(r"(\{\w+\})")


def pasted(pattern: str, names: dict) -> str:
    """A name pattern as a macro writes it, its parameters pasted to the rest:
    "is{Item}Valid" -> "is##Item##Valid"."""
    parts = [names.get(p[1:-1], p) if _PLACEHOLDER.fullmatch(p) else p
             for p in _PLACEHOLDER.split(pattern) if p]
    return "##".join(parts)


def accessor_macros(cat: Catalogue) -> str:
    """The macros that define the accessors of one field or indexed accessor
    of each type the catalogue uses, from the table of operations."""
    o = opening(OPERATIONS_SOURCE, header=True)
    o("// The accessors of one field or indexed accessor: TC_FIELD_U8(Class, item, Item, place)")
    o("// defines the accessors of field `item` (capitalised `Item`) of type U8, the field")
    o("// at `place` in the class's tables, as thin calls of the class's field operations.")
    for scope, items in ((Scope.FIELD, [f for k in cat.classes for f in k.fields]),
                         (Scope.INDEXED, [ix for k in cat.classes for ix in k.indexed])):
        used = {item.type for item in items}
        for type_name, _ in TYPES:
            if type_name in used:
                o()
                accessor_macro_of(o, scope, type_name)
    return o.text()


def accessor_macro_of(o: Out, scope: Scope, type_name: str) -> None:
    params = [MACRO_PARAMS[p[1:-1]] for p in macro_params(scope)]
    v = {"type": type_name, "value": value_parameter(type_name), "index": MACRO_PARAMS["index"]}
    body = Out()
    body.indent()
    for operation in of_scope(scope):
        head = Head(pasted(operation.name, MACRO_PARAMS), result=fill(operation.result, **v),
                    scope=MACRO_PARAMS["class"] + "::")
        params_text = [fill(f"{p.type} {p.name}", **v) for p in operation.params]
        statements = fill(operation.body_for(is_raw(type_name)), **v).split("\n")
        body.function(head, params_text, ")" + (" const" if operation.const else ""), statements)
    macro(o, f"{accessor_macro(scope, type_name)}({', '.join(params)})", body)


# --------------------------------------------------------------------------
# Field identifiers

FIELD_IDS_SOURCE = "core/data/field_ids.toml"


def field_ids_header(cat: Catalogue) -> str:
    ids = cat.ids.by_id
    o = opening(FIELD_IDS_SOURCE, ["<Hardware/Types.h>"], header=True)
    o("namespace Hardware {")
    o()
    o("// Field identifiers: one numbering over all accessor classes, by hardware name.")
    o("namespace FieldIds {")
    o()
    for ident in sorted(ids):
        o(f"constexpr U32 {ids[ident]} = {ident};")
    o()
    o(f"constexpr U32 kFirst = {min(ids)};")
    o(f"constexpr U32 kLast = {max(ids)};")
    o(f"constexpr U32 kCount = {len(ids)};")
    o()
    o("}  // namespace FieldIds")
    o()
    o('// Hardware name of a field identifier ("ENGINE_N_MODE"), nullptr if it names no field.')
    o("const char* fieldIdName(U32 id);")
    o('// Accessor name of a field identifier ("engineNMode"), nullptr if it names no field.')
    o("const char* fieldIdAccessorName(U32 id);")
    o()
    o("}  // namespace Hardware")
    return o.text()


def field_ids_source(cat: Catalogue) -> str:
    ids = cat.ids.by_id
    o = opening(FIELD_IDS_SOURCE, ["<TesselCounters/FieldIds.h>"])
    o("namespace Hardware {")
    o("namespace {")
    o()
    o("struct FieldName {")
    o("  U32 id;")
    o("  const char* hardware;")
    o("  const char* accessor;")
    o("};")
    o()
    o("// In rising id order.")
    o.braced("constexpr FieldName kNames[] = ",
             [f'{{{i}, "{ids[i]}", "{accessor_name(ids[i])}"}}' for i in sorted(ids)])
    o()
    o("const FieldName* find(U32 id) {")
    o("  U32 lo = 0;")
    o("  U32 hi = sizeof(kNames) / sizeof(kNames[0]);")
    o("  while (lo < hi) {")
    o("    const U32 mid = lo + (hi - lo) / 2;")
    o("    if (kNames[mid].id < id) {")
    o("      lo = mid + 1;")
    o("    } else {")
    o("      hi = mid;")
    o("    }")
    o("  }")
    o("  if (lo < sizeof(kNames) / sizeof(kNames[0]) && kNames[lo].id == id) return &kNames[lo];")
    o("  return nullptr;")
    o("}")
    o()
    o("}  // namespace")
    o()
    for function, member in (("fieldIdName", "hardware"), ("fieldIdAccessorName", "accessor")):
        o(f"const char* {function}(U32 id) {{")
        o("  const FieldName* n = find(id);")
        o(f"  return n ? n->{member} : nullptr;")
        o("}")
        o()
    o("}  // namespace Hardware")
    return o.text()


# --------------------------------------------------------------------------
# Block map

BLOCKS_SOURCE = "core/data/blocks.toml"
BLOCK_PARAMS = "U32 chipType, U8 variant, U32 identifier, U32& subBlock, U32& block"


def block_map_header(cat: Catalogue) -> str:
    o = opening(BLOCKS_SOURCE, ["<Hardware/Types.h>"], header=True)
    o("namespace TesselCounters {")
    o()
    o("// S-channel block selection: (subBlock, block) of one instance of a hardware")
    o("// block on a chip. The identifier must be below the block's instance count")
    o("// there; callers check it first.")
    o("namespace BlockMap {")
    for b in cat.blocks.names:
        o(f"void {b}({BLOCK_PARAMS});")
    o("}  // namespace BlockMap")
    o()
    o("}  // namespace TesselCounters")
    return o.text()


def block_map_source(cat: Catalogue) -> str:
    chip_names = cat.chips.names
    o = opening(BLOCKS_SOURCE, ["<TesselCounters/BlockMap.h>"], ['"AccessorImpl.h"'])
    o("namespace TesselCounters {")
    o("namespace BlockMap {")
    for b in cat.blocks.names:
        o()
        block_function(o, b, cat.blocks.cells[b], chip_names)
    o()
    o("}  // namespace BlockMap")
    o("}  // namespace TesselCounters")
    return o.text()


def block_function(o: Out, name: str, cells: dict, chip_names: dict[int, str]) -> None:
    """One block's function: a switch on the chip, then on the variant where
    the block's instances differ by variant."""
    by_variant = any(v is not None for _, v in cells)
    o(f"void {name}({BLOCK_PARAMS}) {{")
    o.indent()
    if not by_variant:
        o("(void)variant;")
    o("switch (chipType) {")
    o.indent()
    for chips, vmap in chip_groups(cells):
        for c in chips:
            o(f"case {c}:", comment=chip_names[c])
        if by_variant:
            o.indent()
            o("switch (variant) {")
            o.indent()
            for v in sorted(vmap):
                o(f"case {v}: {{")
                block_cell(o, vmap[v])
                o("}")
            o("default:")
            o("  TC_ASSERT(0);")
            o.dedent()
            o("}")
            o("break;")
            o.dedent()
        else:
            o("{")
            block_cell(o, vmap[None])
            o("}")
    o("default:")
    o("  TC_ASSERT(0);")
    o.dedent()
    o("}")
    o.dedent()
    o("}")


class _Identifier(ast.NodeTransformer):
    def visit_Name(self, node: ast.Name) -> ast.Name:
        return ast.Name("identifier" if node.id == "id" else node.id)


def with_identifier(formula: str) -> str:
    """A formula of the block map in `id` as C++ in the function's parameter."""
    return ast.unparse(_Identifier().visit(ast.parse(formula, mode="eval")))


def block_cell(o: Out, cell: BlockCell) -> None:
    """The statements that answer one chip and variant of a block."""
    o.indent()
    if cell.pairs is not None and len(cell.pairs) == 1:
        o("(void)identifier;")
        o(f"subBlock = {cell.pairs[0][0]};")
        o(f"block = {cell.pairs[0][1]};")
    elif cell.pairs is not None:
        n = len(cell.pairs)
        o.braced(f"static const U32 kSubBlock[{n}] = ", [str(s) for s, _ in cell.pairs])
        o.braced(f"static const U32 kBlock[{n}] = ", [str(b) for _, b in cell.pairs])
        o(f"TC_ASSERT(identifier < {n});")
        o("subBlock = kSubBlock[identifier];")
        o("block = kBlock[identifier];")
    else:
        o(f"TC_ASSERT(identifier < {cell.count});")
        o(f"subBlock = {with_identifier(cell.sub_block)};")
        o(f"block = {with_identifier(cell.block)};")
    o("return;")
    o.dedent()


# --------------------------------------------------------------------------
# The factory, the class list, the umbrella header

CATALOGUE_SOURCE = "the accessor catalogue"
FACTORY_CHUNK = 16  # classes per compiled unit of factory makers


def by_name(cat: Catalogue) -> list:
    """The classes in ASCII order of their names."""
    return sorted(cat.classes, key=lambda k: k.name.encode())


def factory_entries(cat: Catalogue) -> str:
    o = opening(CATALOGUE_SOURCE)
    o("// One line per accessor class, in ASCII order of the class names.")
    for k in by_name(cat):
        o(f"TC_FACTORY_ENTRY({k.name})")
    return o.text()


def factory_chunks(cat: Catalogue) -> list[list]:
    classes = by_name(cat)
    return [classes[i:i + FACTORY_CHUNK] for i in range(0, len(classes), FACTORY_CHUNK)]


def factory_makers(chunk: list) -> str:
    """The factory's maker and validity test of some classes: what the maps
    hold. Kept apart from the maps, a few classes to a unit, so that no one
    unit instantiates the shared pointers of the whole catalogue."""
    o = opening(CATALOGUE_SOURCE, [f"<Hardware/{k.name}.h>" for k in chunk], ["<memory>"],
                ['"FactoryMakers.h"'])
    o("namespace TesselCounters {")
    maker = ["Hardware::ChipType chipType", "U8 variant"]
    for k in chunk:
        o()
        o.function(Head(f"make{k.name}", result="std::shared_ptr<Orrery::AsicBase>"), maker, ")",
                   [f"return std::make_shared<Hardware::{k.name}::WithStorage>(chipType, variant);"])
        o.function(Head(f"valid{k.name}", result="bool"), maker, ")",
                   [f"return Hardware::{k.name}::chipTypeVariantValid(chipType, variant);"])
    o()
    o("}  // namespace TesselCounters")
    return o.text()


def class_list_source(cat: Catalogue) -> str:
    o = opening(CATALOGUE_SOURCE, ["<TesselCounters/Classes.h>"], ['"Layout.h"'])
    o("namespace Hardware {")
    o("namespace {")
    o.braced("const char* const kNames[] = ", [f'"{k.name}"' for k in by_name(cat)])
    o("}  // namespace")
    o()
    o("U32 accessorClassCount() {")
    o("  return sizeof(kNames) / sizeof(kNames[0]);")
    o("}")
    o()
    o("const char* accessorClassName(U32 index) {")
    o("  return index < accessorClassCount() ? kNames[index] : nullptr;")
    o("}")
    o()
    o("}  // namespace Hardware")
    o()
    o("namespace TesselCounters {")
    o()
    o("const char* chipName(U8 chipType) {")
    o("  switch (chipType) {")
    for c in cat.chips.chips:
        o(f"    case {c.number}:")
        o(f'      return "{c.name}";')
    o("    default:")
    o("      return nullptr;")
    o("  }")
    o("}")
    o()
    o("}  // namespace TesselCounters")
    return o.text()


def description_source(cat: Catalogue, version: str) -> str:
    """The catalogue as constant data for the public description: chips, and
    per class its kind, subsystem, summary, variants, (chip, variant) pairs
    and fields; and the library's version."""
    chip_names = cat.chips.names
    classes = by_name(cat)
    o = opening(CATALOGUE_SOURCE, ["<TesselCounters/Description.h>"], ["<cstring>"])
    o("namespace Hardware {")
    o("namespace {")
    o()
    o("using C = ChipType;")
    o("using T = FieldType;")
    o()
    o.braced("constexpr ChipDescription kChips[] = ",
             [f'{{C::{c.name}, "{c.name}"}}' for c in sorted(cat.chips.chips, key=lambda c: c.number)])
    for i, k in enumerate(classes):
        o()
        o(f"// {k.name}")
        o.braced(f"constexpr ChipVariant kPairs{i}[] = ",
                 [f"{{C::{chip_names[c]}, {v}}}" for c, v in sorted(k.rows)])
        o.braced(f"constexpr FieldDescription kFields{i}[] = ",
                 [f"{{{f.id}, T::{f.type}}}" for f in sorted(k.fields, key=lambda f: f.id)])
    o()
    o.braced("constexpr ClassDescription kClasses[] = ", [
        f"{{{json.dumps(k.name)}, ClassKind::{'Memory' if k.is_memory else 'Register'}, "
        f"{json.dumps(k.subsystem)}, {json.dumps(k.summary)}, {json.dumps(k.variants)}, "
        f"kPairs{i}, {len(k.rows)}, kFields{i}, {len(k.fields)}}}" for i, k in enumerate(classes)])
    o()
    o.braced("constexpr CatalogueDescription kCatalogue = ",
             ["kChips", "sizeof(kChips) / sizeof(kChips[0])", "kClasses",
              "sizeof(kClasses) / sizeof(kClasses[0])", json.dumps(version)])
    o()
    o("}  // namespace")
    o()
    description_lookups(o)
    o("}  // namespace Hardware")
    return o.text()


def description_lookups(o: Out) -> None:
    """The two functions of the description: the whole, and one class by name."""
    o("const CatalogueDescription& catalogueDescription() {")
    o("  return kCatalogue;")
    o("}")
    o()
    o("const ClassDescription* findClassDescription(const char* name) {")
    o("  if (name == nullptr) return nullptr;")
    o("  U32 lo = 0, hi = kCatalogue.classCount;")
    o("  while (lo < hi) {")
    o("    const U32 mid = lo + (hi - lo) / 2;")
    o("    const int order = std::strcmp(kClasses[mid].name, name);")
    o("    if (order == 0) return &kClasses[mid];")
    o("    if (order < 0) {")
    o("      lo = mid + 1;")
    o("    } else {")
    o("      hi = mid;")
    o("    }")
    o("  }")
    o("  return nullptr;")
    o("}")
    o()


def umbrella(cat: Catalogue) -> str:
    headers = ["Fennel/Slab.h", "Larch/Allocator.h", "TesselCounters/AccessorBase.h",
               "TesselCounters/BlockMap.h", "TesselCounters/Classes.h",
               "TesselCounters/Description.h", "TesselCounters/Factory.h",
               "TesselCounters/FieldIds.h"] + [f"Hardware/{k.name}.h" for k in cat.classes]
    o = opening(CATALOGUE_SOURCE, header=True)
    o("// Every public name of the library: the platform types, the core, and all")
    o("// accessor classes.")
    for header in sorted(headers):
        o(f"#include <{header}>")
    return o.text()
