#!/usr/bin/env python3
"""c_header_rows.py TESSEL_COUNTERS CHIP DIR: the chip's C header as DIR/chip.h and, named after
its JSON export, C rows of every constant the header must hold as DIR/rows.c."""
import json, os, re, subprocess, sys

tool, chip, out = sys.argv[1:]
export = lambda *a: subprocess.run([tool, "export", "--chip", chip, *a], check=True, capture_output=True,
                                   text=True).stdout
with open(os.path.join(out, "chip.h"), "w") as f:
    f.write(export("--c-header"))
names, classes, blocks, fields = [], [], [], []
for c in json.loads(export("--json"))["classes"]:
    for l in c["layouts"]:  # CrpsTypeMapMem variant 2: BCM88690_B0_CRPS_TYPE_MAP_MEM_V2
        p = f"{chip}_{re.sub('(?<=[^A-Z])(?=[A-Z])', '_', c['name']).upper()}" + f"_V{l['variant']}" * (l["variant"] > 0)
        names.append(f'"{c["name"]}"')
        classes.append(f"{{{l['variant']}, " + ", ".join(p + k for k in (
            "_WIDTH_WORDS", "_ARRAY_ELEMENTS", "_ELEMENT_STRIDE", "_ENTRIES", "_INSTANCE_COUNT", "_ADDRESS")) + "}")
        blocks.append("(const unsigned[]){" + ", ".join(
            f"{p}_I{i['identifier']}_{k}" for i in l["instances"] for k in ("SUB_BLOCK", "BLOCK")) + "}")
        fields += [f"{{{len(classes) - 1}, {f['id']}, {p}_{f['hardwareName']}_OFFSET, {p}_{f['hardwareName']}_WIDTH, "
                   + (f"{p}_{f['hardwareName']}_MASK}}" if f["width"] <= 64 else "0}") for f in l["fields"]]
with open(os.path.join(out, "rows.c"), "w") as f:
    f.write(f"""#include "chip.h"
/* A field's value in an entry's bytes, read with the header's offset and mask. */
unsigned long long tcRead(const unsigned char* e, unsigned offset, unsigned long long mask) {{
  unsigned long long value = 0, k;
  for (k = 0; k < 64 && ((mask >> k) & 1u); ++k) value |= ((e[(offset + k) / 8] >> ((offset + k) % 8)) & 1ull) << k;
  return value;
}}
const char* const tcClassNames[] = {{{", ".join(names)}}};
const unsigned long long tcClassRows[][7] = {{{", ".join(classes)}}};
const unsigned* const tcBlocks[] = {{{", ".join(blocks)}}};
const unsigned long long tcFieldRows[][5] = {{{", ".join(fields)}}};
const unsigned tcClassCount = sizeof tcClassRows / sizeof tcClassRows[0];
const unsigned tcFieldCount = sizeof tcFieldRows / sizeof tcFieldRows[0];
""")
