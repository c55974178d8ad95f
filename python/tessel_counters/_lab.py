"""A chip driven through a backend of the caller's: a debug shell, a kernel driver, a
simulator, or MemoryBackend, a register space in memory.

A backend has two methods, called with the S-channel block, sub-block and address
that the library's getSchanAddress gives:

    read(block, sub_block, address, count) -> count 32-bit words, word 0 first
    write(block, sub_block, address, words)

Every value is checked before the backend is called; what the backend raises
reaches the caller unchanged.
"""

import os

from . import _native


class Chip:
    """A chip (name or number) whose registers and memories are read and written
    through `backend`."""

    def __init__(self, chip, backend):
        """The chip by name or number; backend with read() and write()."""
        for method in ("read", "write"):
            if not callable(getattr(backend, method, None)):
                raise TypeError(f"backend must have a method {method}(), as MemoryBackend has; "
                                f"{type(backend).__name__} has none")
        # The name, from the classes on the chip; an error of the module for no chip.
        self.name = next(iter(next(iter(_native.classes(chip).values()))["variants"]))
        self.backend = backend

    def register(self, class_name, instance=0, element=0, entry=0, variant=None):
        """The entry of the class at a block instance, array element and (memories)
        table entry, on the chip and variant (default: the class's first on the chip)."""
        return Register(self, class_name, instance, element, entry, variant)

    def __repr__(self):
        """What it is, in one line."""
        return f"<Chip {self.name} through {self.backend!r}>"


class Register:
    """One entry of a register or memory on a chip: read() gives it as an accessor,
    write(accessor) writes one, and each field reads and writes as an attribute
    (a write is one read-modify-write); modify(**fields) writes several in one."""

    __slots__ = ("_chip", "_empty", "_where")

    def __init__(self, chip, class_name, instance=0, element=0, entry=0, variant=None):
        """As Chip.register: the address is asked of the library, every index checked."""
        if not isinstance(chip, Chip):
            raise TypeError(f"chip must be a Chip, not {type(chip).__name__}")
        empty = _native.Accessor(class_name, chip.name, variant)
        at = empty.address(instance=instance, entry=entry, array=element)
        object.__setattr__(self, "_chip", chip)
        object.__setattr__(self, "_empty", empty)
        object.__setattr__(self, "_where", (at["block"], at["subBlock"], at["address"]))

    @property
    def block(self):
        """The S-channel block of the entry."""
        return self._where[0]

    @property
    def sub_block(self):
        """The S-channel sub-block of the entry."""
        return self._where[1]

    @property
    def address(self):
        """The S-channel address of the entry."""
        return self._where[2]

    def _open(self, data=None, words=False):
        """An accessor of the entry's class, chip and variant, of the class's own type."""
        from . import open as open_accessor
        e = self._empty
        return open_accessor(e.class_name, e.chip, e.variant, data, words=words)

    def read(self):
        """The entry, read through the backend, as an accessor."""
        count = len(self._empty) // 4
        got = self._chip.backend.read(*self._where, count)
        try:
            words = list(got)
        except TypeError:
            raise TypeError(f"the backend's read() gave {type(got).__name__}, not a list of "
                            f"{count} words") from None
        if len(words) != count:
            raise ValueError(f"the backend's read() gave {len(words)} words for "
                             f"{self._empty.class_name}, which is {count} words")
        return self._open(words, words=True)

    def write(self, accessor):
        """Writes the accessor's words to the entry; it must be of this entry's class,
        chip and variant."""
        e = self._empty
        if not isinstance(accessor, _native.Accessor):
            raise TypeError(f"write() takes an Accessor, not {type(accessor).__name__}")
        if (accessor.class_name, accessor.chip, accessor.variant) != (e.class_name, e.chip,
                                                                      e.variant):
            raise ValueError(f"write() takes {e.class_name} on {e.chip} variant {e.variant}, "
                             f"not {accessor.class_name} on {accessor.chip} variant "
                             f"{accessor.variant}")
        self._chip.backend.write(*self._where, accessor.words())

    def modify(self, **fields):
        """Writes the fields given (accessor or hardware names) in one read-modify-write;
        the others keep their values. Every value is checked before the entry is read."""
        e = self._empty
        _native.encode(e.class_name, e.chip, e.variant, **fields)  # checks names and values
        value = self.read()
        for name, v in fields.items():
            value[name] = v
        self.write(value)

    def __getattr__(self, name):
        """A field's value: the entry is read."""
        if name.startswith("__"):
            raise AttributeError(name)
        return self.read()[name]

    def __setattr__(self, name, value):
        """Writes a field: one read-modify-write."""
        self.modify(**{name: value})

    def __delattr__(self, name):
        """Refused: a field always holds a value."""
        raise TypeError(f"the field {name} can't be deleted: every field of an entry holds a "
                        "value; set it to 0")

    def __dir__(self):
        """Attributes and the fields of the entry."""
        return [*object.__dir__(self), *self._empty.keys()]

    def __repr__(self):
        """What it is, in one line."""
        e = self._empty
        return (f"<Register {e.class_name} on {e.chip} variant {e.variant} at block {self.block} "
                f"sub-block {self.sub_block} address {self.address:#x}>")


class MemoryBackend:
    """A register space in memory: entries keyed by (block, sub_block, address), zero where
    nothing was written, loaded from and saved to dumps in the tool's format; `log` lists
    every access as ('read' or 'write', block, sub_block, address, words)."""

    def __init__(self):
        """An empty register space: every entry reads zero."""
        self.entries = {}
        self.log = []

    def read(self, block, sub_block, address, count):
        """`count` words of the entry; zero where nothing was written."""
        key = (block, sub_block, address)
        stored = self.entries.get(key, ())
        words = [*stored[:count], *[0] * (count - len(stored))]
        self.log.append(("read", *key, words))
        return words

    def write(self, block, sub_block, address, words):
        """Keeps the entry's words."""
        words = [int(w) for w in words]
        if any(not 0 <= w <= 0xffffffff for w in words):
            raise ValueError(f"words must be 32-bit words, not {words}")
        key = (block, sub_block, address)
        self.entries[key] = words
        self.log.append(("write", *key, words))

    def save_dump(self, path):
        """Writes every entry, in order, as a dump."""
        lines = [_native.dump_line(*key, words) + "\n" for key, words in sorted(self.entries.items())]
        with open(path, "w") as f:
            f.write("# BLOCK.SUBBLOCK ADDRESS WORD...\n" + "".join(lines))

    def load_dump(self, path):
        """Adds the entries of a dump, over those of the same place; a line that can't be
        read, or gives no sub-block, is a ValueError naming it."""
        with open(path) as f:
            rows = _native.read_dump(f.read())
        for row in rows:
            if "error" in row:
                raise ValueError(f"{os.fspath(path)} line {row['line']}: {row['error']}")
            if row["subBlock"] is None:
                raise ValueError(f"{os.fspath(path)} line {row['line']}: no sub-block; "
                                 "a register space needs BLOCK.SUBBLOCK")
        for row in rows:
            self.entries[(row["block"], row["subBlock"], row["address"])] = row["words"]

    def __repr__(self):
        """What it is, in one line."""
        return f"<MemoryBackend of {len(self.entries)} entries>"

