#!/usr/bin/env python3
"""Writes the libFuzzer dictionary of the fuzz targets: the tool's commands
and options (from its usage text), the chip names and numbers, the class
names and every field's hardware and accessor name (from the catalogue), and
numbers at the edges of the widths the tool reads.

    make_dict.py SRC TESSEL_COUNTERS OUT
"""

import os
import re
import subprocess
import sys

EDGES = ["0", "1", "255", "256", "65535", "65536", "4294967295", "4294967296",
         "18446744073709551615", "18446744073709551616", "0x", "0xff", "0x100",
         "0xffffffff", "0x100000000", "0xffffffffffffffff", "0x10000000000000000", "-", "="]


def words(root, tool):
    sys.path.insert(0, os.path.join(root, "generator"))
    from catalogue import Catalogue, accessor_name
    usage = subprocess.run([tool, "--help"], capture_output=True, text=True, check=True).stdout
    cat = Catalogue.read(root)
    out = (re.findall(r"tessel-counters (\w+)", usage) + re.findall(r"tessel-counters dump (\w+)", usage)
           + re.findall(r"--[\w-]+", usage))
    for chip in cat.chips.chips:
        out += [chip.name, str(chip.number)]
    out += [k.name for k in cat.classes]
    for cells in cat.blocks.cells.values():  # block numbers that locate knows
        for cell in cells.values():
            if cell.pairs is not None:
                out += [str(b) for _, b in cell.pairs]
    for name in cat.ids.by_name:
        out += [name, accessor_name(name)]
    return out + EDGES


if __name__ == "__main__":
    root, tool, out = sys.argv[1:]
    with open(out, "w", encoding="ascii") as f:
        f.writelines(f'"{w}"\n' for w in dict.fromkeys(words(root, tool)))
