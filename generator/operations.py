"""The operations of every accessor class, in one table.

Each row is one member function: its name, result and parameters, whether it
is static, an instance function or an override of the root class, which kinds
of class have it, what its definition does, and, where it writes a trace line
or stops with a fatal check, its name in `enum class Op` and whether it
traces. From the table come the declarations in each class's header, their
definitions (thin forwarders to the routines of core/src/Layout.h), the Op
enum, the table of shapes that core/src/Fatal.cpp makes the texts of trace
lines and fatal checks from, and the names that no field may take. Adding an
operation is one row here and, if it has new work to do, its routine in core/.

Names, types and bodies may hold placeholders, filled per class and item:
{class} the class's name, {item} and {Item} the field's or indexed accessor's
name (the second capitalised), {type} its value type, {value} how a setter
takes that type, {all} the result type of getAllFields, {index} the item's
place in the class's tables, {row} the geometry row of (chipType, variant)
with the operation's checks and trace. The same placeholders in the shapes
are filled by Fatal.cpp.
"""

import enum
import re
from dataclasses import dataclass


class Form(enum.Enum):
    CONSTRUCTOR = "constructor"
    STATIC = "static"
    INSTANCE = "instance"  # a member function of the object
    OVERRIDE = "override"  # an instance function that overrides the root class's


class Scope(enum.Enum):
    CLASS = "class"  # one per class
    FIELD = "field"  # one per field
    INDEXED = "indexed"  # one per indexed accessor


REGISTER = frozenset({"register"})
MEMORY = frozenset({"memory"})
BOTH = REGISTER | MEMORY


@dataclass(frozen=True)
class Param:
    type: str
    name: str


@dataclass(frozen=True)
class Operation:
    name: str
    result: str  # "" for the constructor
    params: tuple[Param, ...]
    form: Form
    body: str  # the statements of the definition, one to a line; "" for an empty body
    const: bool = False
    kinds: frozenset = BOTH
    scope: Scope = Scope.CLASS
    op: str = ""  # its name in enum Op, where it traces or stops
    traced: bool = False  # writes the level 8 entry line
    raw_body: str = ""  # the body where the item's type is a Raw type, if it differs

    def body_for(self, raw: bool) -> str:
        return self.raw_body if raw and self.raw_body else self.body


PAIR = (Param("U32", "chipType"), Param("U8", "variant"))
ADDRESS = (Param("U32&", "address"), Param("U32&", "subBlock"), Param("U32&", "block"),
           Param("U16", "identifier"), Param("U32", "tableEntry"), Param("U16", "arrayIndex"))
ID = (Param("U32", "id"),)
INDEX = (Param("U32", "index"),)
BINDING = (Param("Hardware::ChipType", "chipType"), Param("U8*", "buf"), Param("U16", "len"),
           Param("bool", "flag"), Param("U8", "variant"))


def query(name: str, result: str, answer: str | None, kinds: frozenset = BOTH,
          traced: bool = False) -> Operation:
    """A static query of (chipType, variant) that answers a member of its row,
    or 0 (answer None) once the row is found."""
    body = "{row};\nreturn 0;" if answer is None else f"return {{row}}.{answer};"
    return Operation(name, result, PAIR, Form.STATIC, body, kinds=kinds, op=op_name(name),
                     traced=traced)


def forward(name: str, result: str, kinds: frozenset = BOTH, params: tuple[Param, ...] = (),
            form: Form = Form.OVERRIDE, pair: str = "chipType_, variant_") -> Operation:
    """An instance function that asks the static query of the same name about
    the object's chip and variant."""
    args = ", ".join([pair] + [p.name for p in params])
    return Operation(name, result, params, form, f"return {name}({args});", const=True,
                     kinds=kinds)


def op_name(name: str) -> str:
    """index_min -> IndexMin, getSchanAddress -> GetSchanAddress."""
    return "".join(w[:1].upper() + w[1:] for w in name.split("_"))


OPERATIONS = (
    Operation("{class}", "", BINDING, Form.CONSTRUCTOR, "tc::construct(kClass, *this);",
              op="Constructor", traced=True),
    Operation("handleBuf", "void", BINDING, Form.INSTANCE, ""),
    Operation("chipTypeVariantValid", "bool",
              (Param("Hardware::ChipType", "chipType"), Param("U8", "variant")), Form.STATIC,
              "return rowOf(static_cast<U8>(chipType), variant) >= 0;"),

    # Overrides, in the order of the root class.
    Operation("setField64", "void", ID + (Param("U64", "value"),), Form.OVERRIDE,
              "tc::setField64(kClass, id, *this, value);", op="SetField64", traced=True),
    Operation("stringField", "U64", (Param("const Larch::String&", "name"), Param("U16", "word")),
              Form.OVERRIDE, "return tc::stringField(kClass, name.view(), word, *this);",
              const=True, op="StringField", traced=True),
    Operation("stringFieldIs", "void",
              (Param("const Larch::String&", "name"), Param("const U64&", "value")), Form.OVERRIDE,
              "tc::stringFieldIs(kClass, name.view(), value, *this);", op="StringFieldIs",
              traced=True),
    Operation("fieldWidth", "U16", ID, Form.OVERRIDE, "return tc::fieldWidth(kClass, id, *this);",
              const=True, op="FieldWidth", traced=True),
    Operation("fieldOffset", "U16", ID, Form.OVERRIDE,
              "return tc::fieldOffsetById(kClass, id, *this);", const=True, op="FieldOffset",
              traced=True),
    Operation("isFieldValid", "bool", ID, Form.OVERRIDE,
              "return tc::isFieldValid(kClass, id, *this);", const=True, op="IsFieldValid",
              traced=True),
    forward("width", "U16"),
    forward("entries", "U32", MEMORY),
    forward("maxIdentifier", "U32", REGISTER),
    forward("fieldCount", "U16"),
    Operation("isTable", "bool", (), Form.OVERRIDE, "return true;", const=True, kinds=MEMORY),
    Operation("isTable", "bool", (), Form.OVERRIDE, "return false;", const=True, kinds=REGISTER),
    forward("allFieldsMask", "Raw8192"),
    forward("instanceCount", "U16"),
    forward("hasIdentifier", "bool", params=(Param("U32", "identifier"),)),
    forward("arrayElements", "U32"),
    forward("tableVariantCount", "U32", MEMORY, pair="chipType_"),
    forward("entrySpans", "Orrery::EntrySpans", MEMORY),
    forward("getSchanAddress", "bool", params=ADDRESS),
    forward("index_min", "U32", MEMORY),
    forward("arrayIndex_min", "U32", MEMORY),

    # Queries by chip and variant.
    query("width", "U16", "width"),
    query("tableWidth", "U16", "width", MEMORY),
    query("entries", "U32", "entries", MEMORY),
    query("index_min", "U32", None, MEMORY),
    query("arrayIndex_min", "U32", None, MEMORY),
    Operation("entrySpans", "{class}::EntrySpans", PAIR, Form.STATIC, "return {{row}.spans, 1};",
              kinds=MEMORY, op="EntrySpans", traced=True),
    Operation("tableVariantCount", "U32", PAIR[:1], Form.STATIC,
              "return tc::tableVariantCount(kClass, chipType);", kinds=MEMORY),
    query("regWidth", "U16", "width", REGISTER),
    query("maxIdentifier", "U32", None, REGISTER),
    query("addrStride", "U32", "addrStride", REGISTER),
    query("arrayElements", "U32", "arrayElements"),
    query("instanceCount", "U16", "instanceCount", traced=True),
    Operation("hasIdentifier", "bool", PAIR + (Param("U32", "identifier"),), Form.STATIC,
              "return tc::hasIdentifier(kClass, chipType, variant, identifier);",
              op="HasIdentifier", traced=True),
    query("fieldCount", "U16", "fieldCount", traced=True),
    Operation("allFieldsMask", "Raw8192", PAIR, Form.STATIC,
              "return tc::allFieldsMask(kClass, chipType, variant);", op="AllFieldsMask"),
    Operation("getSchanAddress", "bool", PAIR + ADDRESS, Form.STATIC,
              "return tc::getSchanAddress(kClass, chipType, variant, address, subBlock, block, "
              "identifier, tableEntry, arrayIndex);",
              op="GetSchanAddress", traced=True),

    # The object's other members.
    Operation("isPrimary", "bool", (), Form.INSTANCE, "return true;", const=True, kinds=MEMORY),
    forward("addrStride", "U32", REGISTER, form=Form.INSTANCE),
    Operation("getAllFields", "{all}", (), Form.INSTANCE,
              "{all} result{};\ntc::getAllFields(kClass, *this, &result);\nreturn result;",
              const=True, op="GetAllFields", traced=True),

    # The accessors of each field.
    Operation("{item}", "{type}", (), Form.INSTANCE, "return read{type}({index}, *this);",
              const=True, scope=Scope.FIELD, op="Get", traced=True,
              raw_body="{type} value{};\nreadRaw({index}, *this, value.data());\nreturn value;"),
    Operation("{item}Is", "void", (Param("{value}", "value"),), Form.INSTANCE,
              "writeField({index}, *this, value);", scope=Scope.FIELD, op="Set", traced=True,
              raw_body="writeRaw({index}, *this, value.data());"),
    Operation("{item}Len", "U16", (), Form.INSTANCE, "return tc::fieldLen(kClass, {index}, *this);",
              const=True, scope=Scope.FIELD, op="Len", traced=True),
    Operation("{item}Offset", "U16", (), Form.INSTANCE,
              "return tc::fieldOffset(kClass, {index}, *this);", const=True, scope=Scope.FIELD,
              op="Offset", traced=True),
    Operation("is{Item}Valid", "bool", (), Form.INSTANCE,
              "return tc::fieldValid(kClass, {index}, *this);", const=True, scope=Scope.FIELD,
              op="Valid", traced=True),

    # The accessors of each indexed accessor: index i reaches its field i.
    Operation("{item}", "{type}", INDEX, Form.INSTANCE,
              "const int field = tc::indexedField(kClass, {index}, false, index);\n"
              "return read{type}(field, *this);", const=True, scope=Scope.INDEXED,
              op="IndexedGet",
              raw_body="const int field = tc::indexedField(kClass, {index}, false, index);\n"
                       "{type} value{};\nreadRaw(field, *this, value.data());\nreturn value;"),
    Operation("{item}Is", "void", INDEX + (Param("{value}", "value"),), Form.INSTANCE,
              "const int field = tc::indexedField(kClass, {index}, true, index);\n"
              "writeField(field, *this, value);", scope=Scope.INDEXED, op="IndexedSet",
              raw_body="const int field = tc::indexedField(kClass, {index}, true, index);\n"
                       "writeRaw(field, *this, value.data());"),
)

# The functions of a class's generated source that its accessors call.
HELPERS = ("rowOf", "fieldOf", "readU8", "readU16", "readU32", "readU64", "writeField", "readRaw",
           "writeRaw")

_PLACEHOLDER = re.compile(r"\{(\w+)\}")


def fill(text: str, **values: object) -> str:
    """The text with each {name} of `values` replaced; other braces stay."""
    return _PLACEHOLDER.sub(lambda m: str(values.get(m.group(1), m.group(0))), text)


def value_parameter(type_name: str) -> str:
    """How a setter takes a value of the type: by value up to U32, else by reference."""
    return type_name if type_name in ("U8", "U16", "U32") else f"const {type_name}&"


def of_class(kind: str) -> list[Operation]:
    """The class-wide operations of a kind of class, in table order."""
    return [o for o in OPERATIONS if o.scope is Scope.CLASS and kind in o.kinds]


def of_scope(scope: Scope) -> list[Operation]:
    return [o for o in OPERATIONS if o.scope is scope]


def member_names(scope: Scope, item: str) -> list[str]:
    """The member names that the operations of one field or indexed accessor take."""
    return [fill(o.name, item=item, Item=item[:1].upper() + item[1:]) for o in of_scope(scope)]


def reserved_names() -> set[str]:
    """Names that every class has, which no field's or indexed accessor's member may take."""
    names = {o.name for o in of_class("register") + of_class("memory")}
    return (names - {"{class}"}) | set(HELPERS)


def traced_ops() -> list[Operation]:
    """The rows with a name in enum Op, in the enum's order."""
    return [o for o in OPERATIONS if o.op]
