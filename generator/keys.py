"""The keys of every record of the catalogue, one table per record: each key's
type and what it says, required and optional apart. catalogue.check_keys
validates a record against its tables with one form of error; format_section
writes the same tables as the "Keys" section of accessors/README.md (tcgen.py
--format-doc), so that the format and its documentation can't drift.
"""

# A key's type: a Python type, or a tuple of those it may be.
Type = type | tuple
Keys = dict[str, tuple[Type, str]]

FORMULA = (int, str)  # an integer, or a formula that gives one

TYPE_NAMES = {str: "text", int: "integer", bool: "true or false", list: "array", dict: "table",
              FORMULA: "integer or formula"}


def is_type(value: object, expected: Type) -> bool:
    """Whether value has the type; true and false are no integers."""
    kinds = expected if isinstance(expected, tuple) else (expected,)
    if isinstance(value, bool):
        return bool in kinds
    return isinstance(value, kinds)


def key_problems(obj: dict, required: Keys, optional: Keys) -> list[str]:
    """What is wrong with the keys of a record: missing, unknown or of another type."""
    known = {**required, **optional}
    problems = [f"missing key '{k}'" for k in required if k not in obj]
    unknown = [k for k in obj if k not in known]
    if unknown:
        problems.append(f"unknown key{'s' if len(unknown) > 1 else ''} "
                        f"{', '.join(repr(k) for k in unknown)} (known: {', '.join(known)})")
    problems += [f"key '{k}' must be {TYPE_NAMES[t]}" for k, (t, _) in known.items()
                 if k in obj and not is_type(obj[k], t)]
    return problems


# --------------------------------------------------------------------------
# The records of accessors/<subsystem>/*.toml

CLASS_REQUIRED: Keys = {
    "class": (str, "the C++ class name"),
    "summary": (str, "one line: what the class holds; the reference site lists it beside the "
                     "class"),
    "kind": (str, '"register" or "memory"'),
    "storage": (int, "bytes of the class's own buffer (WithStorage): 4 x the widest row's width"),
    "chips": (str, "the chips and variants the class exists on"),
    "geometry": (list, "the geometry rows, which cover exactly the pairs of `chips`"),
    "fields": (list, "the field lines"),
}
CLASS_OPTIONAL: Keys = {
    "variants": (str, "one line: what each variant stands for; required where a chip has "
                      "variants other than 0, refused elsewhere"),
    "block": (str, "the hardware block, where the class name doesn't start with it"),
    "packed": (bool, "the fields of each row tile bit 0 upward, with no gap"),
    "indexed": (list, "the indexed accessors"),
    "params": (dict, "per layout, a table of integers that its formulas may use"),
    "entry_spans": (list, "a memory's span records, which cover each of its chips once"),
    "vars": (dict, "constants of one class of a family: integers for formulas, texts for "
                   "`<name>` in field names"),
    "shared_geometry": (bool, "the geometry rows may list more chips than `chips`; their rows "
                              "are left out"),
    "note": (str, "a remark for the reader"),
}

FAMILY_REQUIRED: Keys = {
    "class_list": (list, "one table per class, whose keys override the defaults"),
}
FAMILY_OPTIONAL: Keys = {
    "defaults": (dict, "the keys that the classes of the file share"),
}

ROW_KEYS: Keys = {
    "chips": (str, "the chips and variants of the row"),
    "layout": (str, "the name of the row's field layout, a key of the field lines"),
    "width": (int, "32-bit words of an entry"),
    "arrayElements": (int, "array elements"),
    "instanceCount": (int, "instances of the block, as core/data/blocks.toml has them"),
    "fieldCount": (int, "the fields valid on the row"),
    "address": (FORMULA, "the address of element 0 (and entry 0); a formula may use `variant`"),
}
REGISTER_ROW_REQUIRED: Keys = {**ROW_KEYS,
                               "addrStride": (int, "addresses from one array element to the next")}
MEMORY_ROW_REQUIRED: Keys = {**ROW_KEYS,
                             "entries": (int, "table entries of an array element"),
                             "tableVariantCount": (int, "the variants of the chip")}

FIELD_REQUIRED: Keys = {
    "name": (str, "the hardware name; `<N>` stands for a series variable or a text var"),
    "type": (str, "U8, U16, U32, U64, Raw128, Raw256 or Raw512: the smallest that holds the "
                  "widest cell"),
}
FIELD_OPTIONAL: Keys = {
    "id": (FORMULA, "the field identifier, checked against core/data/field_ids.toml"),
    "view": (bool, "the field lies over others, as an aggregate or a second name"),
    "variants": (FORMULA, "the variants with the field: a formula, `\"4-7\"` or `\"0,2\"`"),
    "where": (str, "a condition: an element of the series exists on a layout where it holds"),
    "note": (str, "a remark for the reader"),
}
# Keys of a field line named by the class, not by the format.
FIELD_NAMED: Keys = {
    "L1, L2, ...": (str, '"offset:width" on that layout of the geometry; both may be formulas'),
    "N, X, ...": (str, 'a series variable, one capital letter: a range, "0-31" or "A-D"'),
}

INDEXED_REQUIRED: Keys = {
    "name": (str, "the accessor name"),
}
INDEXED_OPTIONAL: Keys = {
    "fields": (list, "the accessor names of the fields, index 0 first"),
    "field": (str, "an accessor name in `<i>`, with `index`"),
    "index": (str, 'the range of i, from 0: "0-31"'),
}

SPAN_REQUIRED: Keys = {
    "record": (str, "the chip the span record is named after, one of `chips`"),
    "chips": (str, "the chips whose entries the record gives"),
}

# --------------------------------------------------------------------------
# The records of core/data/*.toml

CHIP_REQUIRED: Keys = {
    "number": (int, "the chip's number, its Hardware::ChipType"),
    "name": (str, "the chip's name"),
    "label": (str, "the chip's label in `chips` lines"),
}

BLOCK_FORMULA_REQUIRED: Keys = {
    "count": (int, "instances of the block"),
    "subBlock": (FORMULA, "the sub-block of instance `id`"),
    "block": (FORMULA, "the block number of instance `id`"),
}

# The records that accessors/README.md documents, in its order.
DOCUMENTED = (
    ("A class", CLASS_REQUIRED, CLASS_OPTIONAL),
    ("A family file", FAMILY_REQUIRED, FAMILY_OPTIONAL),
    ("A register's geometry row", REGISTER_ROW_REQUIRED, {}),
    ("A memory's geometry row", MEMORY_ROW_REQUIRED, {}),
    ("A field line", FIELD_REQUIRED, {**FIELD_OPTIONAL, **FIELD_NAMED}),
    ("An indexed accessor (`fields`, or `field` with `index`)", INDEXED_REQUIRED,
     INDEXED_OPTIONAL),
    ("A memory's entry span", SPAN_REQUIRED, {}),
)

BEGIN = "<!-- Keys: written by `python3 generator/tcgen.py --root . --format-doc`; do not edit. -->"
END = "<!-- End of the keys. -->"


def format_section() -> str:
    """The Keys section of accessors/README.md, between its markers."""
    lines = [BEGIN, "", "## Keys", ""]
    for title, required, optional in DOCUMENTED:
        lines += [f"{title}:", "", "| Key | Type | | What |", "|---|---|---|---|"]
        for keys, need in ((required, "required"), (optional, "optional")):
            lines += [f"| `{key}` | {TYPE_NAMES[t]} | {need} | {text} |"
                      for key, (t, text) in keys.items()]
        lines.append("")
    return "\n".join(lines + [END])


def with_section(readme: str) -> str:
    """The README with its Keys section replaced by the current one."""
    start, end = readme.index(BEGIN), readme.index(END) + len(END)
    return readme[:start] + format_section() + readme[end:]
