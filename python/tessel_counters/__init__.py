"""Hardware metainfo of the counter registers and memories of a family of switch
chips: field layouts, S-channel addresses and packing of field values in an
entry's bytes; the tool's answers (search, diff, locate, dumps); and a chip
driven through a backend of the caller's (Chip, MemoryBackend).

Each accessor class of the library is a class here (tessel_counters.CrpsEngineCfg),
a subclass of Accessor, which open() gives.
"""

import functools as _functools
import re as _re

from . import _native
from ._native import Accessor, FieldError, __version__
from ._lab import Chip, MemoryBackend, Register


def _takes(name, text):
    """One line for a call with arguments that fit no signature, in place of the
    native layer's list of signatures: what the function takes."""
    forms = _re.findall(r"^\s*\d+\. \((.*)\)(?: -> .*)?$", text, _re.MULTILINE)
    params = _re.sub(r": (object|handle)\b", "", forms[0]) if forms else "..."
    params = _re.sub(r"^self(, )?", "", params)
    return f"{name}(): arguments that it doesn't take; it takes ({params})"


def _one_line(native, name):
    @_functools.wraps(native)
    def call(*args, **kwargs):
        try:
            return native(*args, **kwargs)
        except TypeError as e:
            if "incompatible function arguments" not in str(e):
                raise
            raise TypeError(_takes(name, str(e))) from None
    return call


for _name in ("address", "block_map", "chips", "classes", "decode", "describe", "diff",
              "dump_decode", "dump_diff", "dump_line", "dump_list", "encode", "locate",
              "read_dump", "search"):
    globals()[_name] = _one_line(getattr(_native, _name), _name)
for _name, _method in list(vars(Accessor).items()):
    if not _name.startswith("_") and callable(_method):
        setattr(Accessor, _name, _one_line(_method, _name))


def _accessor_class(name, info):
    def __init__(self, chip, variant=None, data=None, *, words=False):
        Accessor.__init__(self, name, chip, variant, data, words=words)

    __init__.__doc__ = f"{name} on a chip and variant; the arguments as open() takes them."
    where = ", ".join(info["variants"])
    return type(name, (Accessor,), {"__init__": __init__, "__module__": __name__,
                                    "__doc__": f"The {info['kind']} {name}, on {where}."})


_CLASSES = {name: _accessor_class(name, info) for name, info in classes().items()}
globals().update(_CLASSES)


def open(class_name, chip, variant=None, data=None, *, words=False):  # noqa: A001
    """An accessor of the class on the chip (name or number) and variant (default: the class's
    first on the chip) over zero bytes or a copy of data, the entry's size: bytes-like, or
    text in the tool's form (bytes in buffer order; with words=True, 32-bit words, word 0
    first, as a register read prints them; on many lines, with # comments), or with
    words=True a list of ints. Its type is the class's own (tessel_counters.CrpsEngineCfg)."""
    own = _CLASSES.get(class_name) if isinstance(class_name, str) else None
    if own is None:  # the module's checks name what is wrong
        return Accessor(class_name, chip, variant, data, words=words)
    return own(chip, variant, data, words=words)


__all__ = ["Accessor", "Chip", "FieldError", "MemoryBackend", "Register", "__version__", "address",
           "block_map", "chips", "classes", "decode", "describe", "diff", "dump_decode", "dump_diff",
           "dump_line", "dump_list", "encode", "locate", "open", "read_dump", "search",
           *_CLASSES]
