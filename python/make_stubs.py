#!/usr/bin/env python3
"""Writes the type stubs of tessel_counters: a class per accessor class that
names every field it has on some chip and variant, so that editors complete
them, and an overload of open() per class that returns it. Fields and
docstrings of the functions come from the built module, the docstrings of the
classes and fields from the catalogue's comments.

Run: make_stubs.py ACCESSORS_DIR OUT.pyi, with the module on PYTHONPATH.
"""

import glob
import os
import re
import sys

import tessel_counters as tc

HEAD = '''"""@doc()"""
from typing import Any, Dict, List, Literal, Optional, Union, overload

Chip = Union[str, int]
Data = Union[bytes, bytearray, memoryview, str, List[int]]

class FieldError(KeyError, AttributeError): ...

class Accessor:
    """@doc(Accessor)"""
    class_name: str
    chip: str
    variant: int
    kind: str
    def __getattr__(self, name: str) -> int: ...
    def __setattr__(self, name: str, value: int) -> None: ...
    def __getitem__(self, name: str) -> int: ...
    def __setitem__(self, name: str, value: int) -> None: ...
    def __len__(self) -> int: ...
    def __bytes__(self) -> bytes: ...
    def fields(self) -> Dict[str, int]:
        """@doc(Accessor.fields)"""
    def words(self) -> List[int]:
        """@doc(Accessor.words)"""
    def layout(self) -> Dict[str, Dict[str, Any]]:
        """@doc(Accessor.layout)"""
    def hex(self, *sep: Any) -> str:
        """@doc(Accessor.hex)"""
    def describe(self) -> Dict[str, Any]:
        """@doc(Accessor.describe)"""
    def address(self, instance: int = 0, entry: int = 0, array: int = 0) -> Dict[str, int]:
        """@doc(Accessor.address)"""

def chips() -> Dict[str, int]:
    """@doc(chips)"""
def classes(chip: Optional[Chip] = None) -> Dict[str, Dict[str, Any]]:
    """@doc(classes)"""
def decode(class_name: str, chip: Chip, data: Data, variant: Optional[int] = None, *,
           words: bool = False) -> Dict[str, int]:
    """@doc(decode)"""
def encode(class_name: str, chip: Chip, variant: Optional[int] = None, **fields: int) -> bytes:
    """@doc(encode)"""
def describe(class_name: str, chip: Chip, variant: Optional[int] = None) -> Dict[str, Any]:
    """@doc(describe)"""
def address(class_name: str, chip: Chip, variant: Optional[int] = None, instance: int = 0,
            entry: int = 0, array: int = 0) -> Dict[str, int]:
    """@doc(address)"""
def locate(chip: Chip, block: int, address: int,
           sub_block: Optional[int] = None) -> List[Dict[str, Any]]:
    """@doc(locate)"""
'''

OPEN = '''@overload
def open(class_name: {name}, chip: Chip, variant: Optional[int] = None,
         data: Optional[Data] = None, *, words: bool = False) -> {result}:
    """{doc}"""
'''


def doc(path):
    """The docstring of a module member, without pybind11's signature line."""
    obj = tc
    for part in filter(None, path.split(".")):
        obj = getattr(obj, part)
    text = obj.__doc__ or ""
    if callable(obj) and not isinstance(obj, type):
        text = text.split("\n\n", 1)[-1]
    return text.strip().replace('"""', "'''")


def comment_docs(root):
    """Class name -> (the file's leading comment, {field name pattern: the
    comment lines right above that field inside the fields array})."""
    docs = {}
    for path in sorted(glob.glob(os.path.join(root, "**", "*.toml"), recursive=True)):
        with open(path) as f:
            lines = f.read().splitlines()
        head = []
        for line in lines:
            if not line.startswith("#"):
                break
            head.append(line.lstrip("# "))
        fields, pending = {}, []
        for line in lines:
            text = line.strip()
            if line[:1].isspace() and text.startswith("#"):
                pending.append(text.lstrip("# "))
                continue
            named = re.match(r'\{\s*name\s*=\s*"([^"]+)"', text)
            if named and pending:
                fields[re.sub(r"<\w+>", "[A-Z0-9]+", named.group(1))] = " ".join(pending)
            pending = []
        for cls in re.findall(r'^class\s*=\s*"(\w+)"', "\n".join(lines), re.M):
            docs[cls] = ("\n".join(head), fields)
    return docs


def class_fields(cls, chips):
    """Accessor name -> (hardware name, narrowest, widest) over every chip and variant."""
    out = {}
    for chip, variants in chips.items():
        for v in variants:
            for name, f in tc.open(cls, chip, v).layout().items():
                _, lo, hi = out.get(name, (None, f["width"], f["width"]))
                out[name] = (f["hardwareName"], min(lo, f["width"]), max(hi, f["width"]))
    return out


def class_stub(cls, info, comments):
    head, field_comments = comments.get(cls, ("", {}))
    where = ", ".join(info["variants"])
    text = "\n    ".join(head.splitlines() + ["", f"A {info['kind']} on {where}."])
    lines = [f"class {cls}(Accessor):", f'    """{text}"""']
    for name, (hw, lo, hi) in class_fields(cls, info["variants"]).items():
        span = str(hi) if lo == hi else f"{lo} to {hi}"
        text = f"{hw}, {span} bit{'s' if hi > 1 else ''}"
        text += "".join(f". {c}" for p, c in field_comments.items() if re.fullmatch(p, hw))
        lines += [f"    {name}: int", f'    """{text}"""']
    return "\n".join(lines) + "\n"


def main():
    root, out = sys.argv[1:3]
    comments = comment_docs(root)
    classes = tc.classes()
    parts = [re.sub(r"@doc\(([\w.]*)\)", lambda m: doc(m.group(1)), HEAD)]
    parts += [class_stub(cls, info, comments) for cls, info in classes.items()]
    parts += [OPEN.format(name=f'Literal["{cls}"]', result=cls, doc=doc("open")) for cls in classes]
    parts.append(OPEN.format(name="str", result="Accessor", doc=doc("open")))
    with open(out, "w") as f:
        f.write(re.sub(r" +\n", "\n", "\n".join(parts)))


if __name__ == "__main__":
    main()
