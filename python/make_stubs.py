#!/usr/bin/env python3
"""Writes the type stubs of the package tessel_counters (its __init__.pyi): the
module's functions and classes, and a class per accessor class that names
every field it has on some chip and variant, so that editors complete
them, and an overload of open() per class that returns it. Fields and
docstrings of the functions come from the built module, the docstrings of the
classes and fields from the catalogue's comments.

Run: make_stubs.py ACCESSORS_DIR OUT.pyi, with the module on PYTHONPATH.
"""

import glob
import inspect
import os
import re
import sys

# The built package from PYTHONPATH, not its sources beside this script.
sys.path.remove(os.path.dirname(os.path.abspath(__file__)))
import tessel_counters as tc  # noqa: E402

HEAD = '''"""@doc()"""
import os
from typing import (Any, Callable, Dict, Iterator, List, Literal, Optional, Protocol,
                    SupportsIndex, Tuple, Union, ValuesView, ItemsView, overload)

_ChipId = Union[str, SupportsIndex]
_Data = Union[bytes, bytearray, memoryview, str, List[SupportsIndex]]
_Path = Union[str, os.PathLike]

__version__: str

class FieldError(KeyError, AttributeError): ...

class Accessor:
    """@doc(Accessor)"""
    def __init__(self, class_name: str, chip: _ChipId, variant: Optional[SupportsIndex] = None,
                 data: Optional[_Data] = None, *, words: bool = False) -> None: ...
    @property
    def class_name(self) -> str:
        """@doc(Accessor.class_name)"""
    @property
    def chip(self) -> str:
        """@doc(Accessor.chip)"""
    @property
    def variant(self) -> int:
        """@doc(Accessor.variant)"""
    @property
    def kind(self) -> str:
        """@doc(Accessor.kind)"""
    def __getattr__(self, name: str) -> int: ...
    def __setattr__(self, name: str, value: SupportsIndex) -> None: ...
    def __delattr__(self, name: str) -> None: ...
    def __getitem__(self, name: str) -> int: ...
    def __setitem__(self, name: str, value: SupportsIndex) -> None: ...
    def __delitem__(self, name: str) -> None: ...
    def __contains__(self, name: object) -> bool: ...
    def __iter__(self) -> Iterator[str]: ...
    def __len__(self) -> int: ...
    def __bytes__(self) -> bytes: ...
    def __eq__(self, other: object) -> bool: ...
    __hash__: None  # type: ignore[assignment]
    def __copy__(self) -> "Accessor": ...
    def __deepcopy__(self, memo: Any) -> "Accessor": ...
    def keys(self) -> List[str]:
        """@doc(Accessor.keys)"""
    def values(self) -> ValuesView[int]:
        """@doc(Accessor.values)"""
    def items(self) -> ItemsView[str, int]:
        """@doc(Accessor.items)"""
    def get(self, name: str, default: Any = None) -> Any:
        """@doc(Accessor.get)"""
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
    def decoded(self) -> Dict[str, Any]:
        """@doc(Accessor.decoded)"""
    def address(self, instance: Optional[SupportsIndex] = None, entry: Optional[SupportsIndex] = None,
                array: Optional[SupportsIndex] = None, *, all: bool = False) -> Any:
        """@doc(Accessor.address)"""

class _Backend(Protocol):
    def read(self, block: int, sub_block: int, address: int, count: int) -> List[int]: ...
    def write(self, block: int, sub_block: int, address: int, words: List[int]) -> None: ...

class Chip:
    """@doc(Chip)"""
    name: str
    backend: _Backend
    def __init__(self, chip: _ChipId, backend: _Backend) -> None: ...
    def register(self, class_name: str, instance: SupportsIndex = 0, element: SupportsIndex = 0,
                 entry: SupportsIndex = 0, variant: Optional[SupportsIndex] = None) -> "Register":
        """@doc(Chip.register)"""

class Register:
    """@doc(Register)"""
    def __init__(self, chip: Chip, class_name: str, instance: SupportsIndex = 0,
                 element: SupportsIndex = 0, entry: SupportsIndex = 0,
                 variant: Optional[SupportsIndex] = None) -> None: ...
    @property
    def block(self) -> int:
        """@doc(Register.block)"""
    @property
    def sub_block(self) -> int:
        """@doc(Register.sub_block)"""
    @property
    def address(self) -> int:
        """@doc(Register.address)"""
    def read(self) -> Accessor:
        """@doc(Register.read)"""
    def write(self, accessor: Accessor) -> None:
        """@doc(Register.write)"""
    def modify(self, **fields: SupportsIndex) -> None:
        """@doc(Register.modify)"""
    def __getattr__(self, name: str) -> int: ...
    def __setattr__(self, name: str, value: SupportsIndex) -> None: ...

class MemoryBackend:
    """@doc(MemoryBackend)"""
    entries: Dict[Tuple[int, int, int], List[int]]
    log: List[Tuple[Any, ...]]
    def __init__(self) -> None: ...
    def read(self, block: int, sub_block: int, address: int, count: int) -> List[int]:
        """@doc(MemoryBackend.read)"""
    def write(self, block: int, sub_block: int, address: int, words: List[int]) -> None:
        """@doc(MemoryBackend.write)"""
    def save_dump(self, path: _Path) -> None:
        """@doc(MemoryBackend.save_dump)"""
    def load_dump(self, path: _Path) -> None:
        """@doc(MemoryBackend.load_dump)"""

def chips() -> Dict[str, int]:
    """@doc(chips)"""
def classes(chip: Optional[_ChipId] = None) -> Dict[str, Dict[str, Any]]:
    """@doc(classes)"""
def decode(class_name: str, chip: _ChipId, data: _Data, variant: Optional[SupportsIndex] = None, *,
           words: bool = False, full: bool = False) -> Dict[str, Any]:
    """@doc(decode)"""
def encode(class_name: str, chip: _ChipId, variant: Optional[SupportsIndex] = None,
           **fields: SupportsIndex) -> bytes:
    """@doc(encode)"""
def describe(class_name: str, chip: _ChipId, variant: Optional[SupportsIndex] = None) -> Dict[str, Any]:
    """@doc(describe)"""
def address(class_name: str, chip: _ChipId, variant: Optional[SupportsIndex] = None,
            instance: Optional[SupportsIndex] = None, entry: Optional[SupportsIndex] = None,
            array: Optional[SupportsIndex] = None, *, all: bool = False) -> Any:
    """@doc(address)"""
def locate(chip: _ChipId, block: SupportsIndex, address: SupportsIndex,
           sub_block: Optional[SupportsIndex] = None) -> List[Dict[str, Any]]:
    """@doc(locate)"""
def block_map(chip: _ChipId, block: SupportsIndex,
              sub_block: Optional[SupportsIndex] = None) -> Dict[str, Any]:
    """@doc(block_map)"""
def search(pattern: str, chip: Optional[_ChipId] = None) -> Dict[str, Any]:
    """@doc(search)"""
def diff(chip: _ChipId, to: _ChipId, class_name: Optional[str] = None,
         variant: Optional[SupportsIndex] = None,
         to_variant: Optional[SupportsIndex] = None) -> Dict[str, Any]:
    """@doc(diff)"""
def dump_list(chip: _ChipId, class_name: Optional[str] = None) -> List[Dict[str, Any]]:
    """@doc(dump_list)"""
def dump_decode(path: _Path, chip: _ChipId,
                variant: Optional[SupportsIndex] = None) -> List[Dict[str, Any]]:
    """@doc(dump_decode)"""
def dump_diff(a: _Path, b: _Path, chip: _ChipId) -> List[Dict[str, Any]]:
    """@doc(dump_diff)"""
def read_dump(text: str) -> List[Dict[str, Any]]:
    """@doc(read_dump)"""
def dump_line(block: SupportsIndex, sub_block: Optional[SupportsIndex], address: SupportsIndex,
              words: List[SupportsIndex]) -> str:
    """@doc(dump_line)"""
'''

OPEN = '''@overload
def open(class_name: {name}, chip: _ChipId, variant: Optional[SupportsIndex] = None,
         data: Optional[_Data] = None, *, words: bool = False) -> {result}:
    """{doc}"""
'''


def doc(path):
    """The docstring of a module member, without pybind11's signature line."""
    obj = tc
    for part in filter(None, path.split(".")):
        obj = getattr(obj, part)
    first, _, rest = inspect.cleandoc(obj.__doc__ or "").partition("\n\n")
    signed = first.startswith(getattr(obj, "__name__", "") + "(") and rest
    text = rest if signed else first + ("\n\n" + rest if rest else "")
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
    lines = [f"class {cls}(Accessor):", f'    """{text}"""',
             "    def __init__(self, chip: _ChipId, variant: Optional[SupportsIndex] = None,",
             "                 data: Optional[_Data] = None, *, words: bool = False) -> None: ..."]
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
