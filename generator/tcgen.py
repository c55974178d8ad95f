#!/usr/bin/env python3
"""Turns the accessor catalogue into C++.

    tcgen.py --root SRC --out DIR          write (or refresh) the generated files
    tcgen.py --root SRC --list             print the sources that would be written
    tcgen.py --root SRC --check            validate the catalogue only
    tcgen.py --root SRC --format-doc       rewrite the Keys section of accessors/README.md

Files are rewritten only when their text changes, so a rebuild compiles only
what a catalogue edit touched. Any inconsistency in the data stops with a
message that names the file, the class and the field, and exit status 1.
"""

import argparse
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import emit_cpp  # noqa: E402
import emit_shared as shared  # noqa: E402
from catalogue import Catalogue, CatalogueError  # noqa: E402
from keys import with_section  # noqa: E402


def write_if_changed(path: str, text: str) -> None:
    os.makedirs(os.path.dirname(path), exist_ok=True)
    try:
        with open(path, encoding="utf-8") as f:
            if f.read() == text:
                return
    except FileNotFoundError:
        pass
    with open(path, "w", encoding="utf-8") as f:
        f.write(text)


def outputs(cat: Catalogue, version: str = "0") -> dict:
    """{relative path: function that makes its text}."""
    chip_names = cat.chips.names
    files = {
        "include/TesselCounters/FieldIds.h": lambda: shared.field_ids_header(cat),
        "src/FieldIds.cpp": lambda: shared.field_ids_source(cat),
        "include/TesselCounters/BlockMap.h": lambda: shared.block_map_header(cat),
        "src/BlockMap.cpp": lambda: shared.block_map_source(cat),
        "src/Operations.h": shared.operations_header,
        "src/OperationShapes.h": shared.shapes_header,
        "src/Accessors.h": lambda: shared.accessor_macros(cat),
        "src/FactoryEntries.inc": lambda: shared.factory_entries(cat),
        "src/Classes.cpp": lambda: shared.class_list_source(cat),
        "src/Description.cpp": lambda: shared.description_source(cat, version),
        "include/TesselCountersOrrery.h": lambda: shared.umbrella(cat),
    }
    for i, chunk in enumerate(shared.factory_chunks(cat)):
        files[f"src/FactoryMakers{i}.cpp"] = lambda chunk=chunk: shared.factory_makers(chunk)
    for k in cat.classes:
        files[f"include/Hardware/{k.name}.h"] = lambda k=k: emit_cpp.header(k)
        files[f"src/{k.subsystem}/{k.name}.cpp"] = lambda k=k: emit_cpp.source(
            k, chip_names, cat.chips.equality_array_check)
    return files


def main() -> int:
    p = argparse.ArgumentParser(description=__doc__,
                                formatter_class=argparse.RawDescriptionHelpFormatter)
    p.add_argument("--root", required=True, help="source tree (holds core/data and accessors)")
    p.add_argument("--out", help="output directory")
    p.add_argument("--list", action="store_true", help="print the .cpp files to be generated")
    p.add_argument("--check", action="store_true", help="validate only")
    p.add_argument("--version", default="0",
                   help="the library's version, which the description holds")
    p.add_argument("--format-doc", action="store_true",
                   help="rewrite the Keys section of accessors/README.md from the key tables")
    args = p.parse_args()
    if args.format_doc:
        readme = os.path.join(args.root, "accessors", "README.md")
        with open(readme, encoding="utf-8") as f:
            write_if_changed(readme, with_section(f.read()))
        return 0
    try:
        cat = Catalogue.read(args.root)
    except CatalogueError as e:
        print(f"catalogue error: {e}", file=sys.stderr)
        return 1
    files = outputs(cat, args.version)
    if args.check:
        print(f"catalogue ok: {len(cat.classes)} classes, "
              f"{sum(len(k.fields) for k in cat.classes)} fields")
    elif args.list:
        print("\n".join(rel for rel in files if rel.endswith(".cpp")))
    elif args.out:
        for rel, make in files.items():
            write_if_changed(os.path.join(args.out, rel), make())
    else:
        p.error("--out is required")
    return 0


if __name__ == "__main__":
    sys.exit(main())
