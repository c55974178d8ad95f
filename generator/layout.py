"""A class of the catalogue as the tables of its generated source: geometry
rows, one per group of chips and variants that answer alike, and one cell per
field and row.

A cell is the field's offset and width on that row, or, where the field is
absent, the check that stops an access there: "0", or "variant_ == v" where
the chip has the field on variant v alone. Pairs that differ in any answer,
that one included, get rows of their own, so that a row answers every
question about its pairs.
"""

from dataclasses import dataclass

from catalogue import Field, Klass

ANY_VARIANT = 0xFFFF  # an absent field's cell: the check "0"


@dataclass(frozen=True)
class Cell:
    offset: int
    width: int  # 0: absent; offset is then ANY_VARIANT or the one variant with the field

    @property
    def absent(self) -> bool:
        return self.width == 0


@dataclass(frozen=True)
class GeometryRow:
    width: int
    instance_count: int
    field_count: int
    table_variant_count: int
    array_elements: int
    addr_stride: int
    entries: int
    address: int
    array_index_is_zero: bool
    mask: int  # index into ClassLayout.masks
    spans: str  # entry span record of a memory, "" for a register


@dataclass(frozen=True)
class ClassLayout:
    rows: tuple[GeometryRow, ...]
    cells: tuple[tuple[Cell, ...], ...]  # per field (in the class's field order), a Cell per row
    row_of: dict[tuple[int, int], int]  # (chip, variant) -> row index
    masks: tuple[tuple[int, ...], ...]  # per distinct mask, its 32-bit words


def absent_cell(field: Field, chip: int) -> Cell:
    """The check that stops an access to `field` on a variant of `chip` that lacks it."""
    variants = [v for c, v in field.cells if c == chip]
    return Cell(variants[0], 0) if len(variants) == 1 else Cell(ANY_VARIANT, 0)


def field_cell(field: Field, key: tuple[int, int]) -> Cell:
    if key in field.cells:
        offset, width = field.cells[key]
        return Cell(offset, width)
    return absent_cell(field, key[0])


def mask_words(k: Klass, key: tuple[int, int]) -> tuple[int, ...]:
    words = [0] * k.words
    for f in k.fields:
        if key in f.cells:
            offset, width = f.cells[key]
            for bit in range(offset, offset + width):
                words[bit // 32] |= 1 << (bit % 32)
    return tuple(words)


def class_layout(k: Klass, equality_array_check: frozenset[int]) -> ClassLayout:
    """equality_array_check: the chips on which a memory of one array element
    checks "arrayIndex == 0" rather than "arrayIndex < 1"."""
    masks = []
    rows = []
    cells_by_row = []
    row_of = {}
    for key in sorted(k.rows):
        r = k.rows[key]
        mask = mask_words(k, key)
        if mask not in masks:
            masks.append(mask)
        row = GeometryRow(
            width=r.width,
            instance_count=r.instance_count,
            field_count=r.field_count,
            table_variant_count=r.table_variant_count or 0,
            array_elements=r.array_elements,
            addr_stride=r.addr_stride if not k.is_memory else 0,
            entries=r.entries or 0,
            address=r.address,
            array_index_is_zero=k.is_memory and key[0] in equality_array_check,
            mask=masks.index(mask),
            spans=k.span_of[key[0]] if k.is_memory else "",
        )
        cells = tuple(field_cell(f, key) for f in k.fields)
        for index, (known, known_cells) in enumerate(zip(rows, cells_by_row)):
            if known == row and known_cells == cells:
                row_of[key] = index
                break
        else:
            row_of[key] = len(rows)
            rows.append(row)
            cells_by_row.append(cells)
    per_field = tuple(tuple(row_cells[i] for row_cells in cells_by_row)
                      for i in range(len(k.fields)))
    return ClassLayout(rows=tuple(rows), cells=per_field, row_of=row_of, masks=tuple(masks))


def chip_groups(mapping: dict) -> list:
    """{(chip, variant): value} -> [([chips], {variant: value})], in chip
    order: the chips whose variants have the same values are one group."""
    per_chip: dict = {}
    for (chip, variant), value in mapping.items():
        per_chip.setdefault(chip, {})[variant] = value
    groups: dict = {}
    for chip in sorted(per_chip):
        key = tuple(sorted(per_chip[chip].items(), key=lambda kv: -1 if kv[0] is None else kv[0]))
        groups.setdefault(key, []).append(chip)
    return [(chips, dict(key)) for key, chips in groups.items()]
