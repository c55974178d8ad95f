"""A chip driven through a backend: register handles over a MemoryBackend, their
addresses and accesses, dumps saved and decoded, and the worked example.

Run with the package on PYTHONPATH and TESSEL_COUNTERS_TOOL naming the tool.
"""

import os
import random
import subprocess
import sys
import tempfile

import pytest

import tessel_counters as tc

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
E = "CrpsEngineCfg"


def bits(value, f):
    """The field's bits in an entry's integer, from its offset and width alone."""
    return value >> f["offset"] & (1 << f["width"]) - 1


def as_int(words):
    return sum(w << 32 * i for i, w in enumerate(words))


@pytest.mark.parametrize("chip", ["BCM88690_B0", "BCM88860_A0"])
def test_every_field_written_through_a_handle_reads_back_from_the_dump(chip):
    """Each class's entry starts from random words; each field is written through a handle
    as one read and one write that change that field's bits alone, and the saved dump,
    decoded, gives every field the bits that the writes left."""
    rng = random.Random(chip)
    backend = tc.MemoryBackend()
    board = tc.Chip(chip, backend)
    expected = {}  # (block, sub-block, address) -> (class, variant, entry as an int)
    for cls in tc.classes(chip):
        d = tc.describe(cls, chip)
        h = board.register(cls, instance=d["instanceCount"] - 1,
                           element=d["arrayElements"] - 1, entry=d.get("entries", 1) - 1)
        key = (h.block, h.sub_block, h.address)
        assert key not in expected, (cls, key)
        state = rng.getrandbits(32 * d["widthWords"])
        backend.entries[key] = [state >> 32 * i & 0xffffffff for i in range(d["widthWords"])]
        layout = tc.open(cls, chip).layout()
        for name, f in layout.items():
            value = rng.getrandbits(f["width"]) | 1 << (f["width"] - 1)
            backend.log.clear()
            setattr(h, name, value)
            state = state & ~((1 << f["width"]) - 1 << f["offset"]) | value << f["offset"]
            assert [a[0] for a in backend.log] == ["read", "write"], (cls, name)
            assert {a[1:4] for a in backend.log} == {key}
            assert as_int(backend.entries[key]) == state, (cls, name)
            assert getattr(h, name) == value
        expected[key] = (cls, h.read().variant, state, layout)
    assert len(expected) == len(tc.classes(chip)) > 40
    with tempfile.TemporaryDirectory() as scratch:
        path = os.path.join(scratch, "chip.dump")
        backend.save_dump(path)
        decoded = tc.dump_decode(path, chip)
    assert len(decoded) == len(expected)
    for row in decoded:
        cls, variant, state, layout = expected[(row["block"], row["subBlock"], row["address"])]
        match, = [m for m in row["matches"] if m["class"] == cls and variant in m["variants"]]
        assert {f["name"]: int(f["decimal"]) for f in match["fields"]} == \
            {n: bits(state, f) for n, f in layout.items()}, cls


def test_a_handle_lies_where_the_library_says_and_locate_finds_it():
    board = tc.Chip(17, tc.MemoryBackend())
    h = board.register("CrpsTypeMapMem", instance=1, element=2, entry=3)
    at = tc.address("CrpsTypeMapMem", 17, instance=1, array=2, entry=3)
    assert (h.block, h.sub_block, h.address) == (at["block"], at["subBlock"], at["address"])
    assert {"class": "CrpsTypeMapMem", "variants": [0], "instance": 1, "subBlock": h.sub_block,
            "arrayElement": 2, "tableEntry": 3} in tc.locate(17, h.block, h.address)


class Failing:
    """A backend whose accesses fail as a driver's may."""

    def __init__(self, error, words=None):
        self.error, self.words = error, words

    def read(self, *where):
        if self.words is not None:
            return self.words
        raise self.error

    def write(self, *where):
        raise self.error


def test_refused_values_touch_nothing_and_backend_errors_pass_unchanged():
    backend = tc.MemoryBackend()
    h = tc.Chip("BCM88690_B0", backend).register(E, element=3)
    refused = [(lambda: setattr(h, "engineNMode", 1 << 5), ValueError, "too wide for engineNMode"),
               (lambda: h.modify(engineNMode=1, nope=2), tc.FieldError, "no field 'nope'"),
               (lambda: h.modify(engineNMode=1, ENGINE_N_MODE=2), ValueError, "given twice"),
               (lambda: setattr(h, "engineNMode", -1), ValueError, "negative"),
               (lambda: h.write(tc.open(E, 11)), ValueError, "write() takes CrpsEngineCfg on BCM"),
               (lambda: h.write(b"\0" * 32), TypeError, "write() takes an Accessor"),
               (lambda: tc.Chip(10, backend).register(E, instance=2), IndexError, "instance 2"),
               (lambda: tc.Chip(10, backend).register(E, element=22), IndexError, "array 22"),
               (lambda: tc.Chip("nope", backend), ValueError, "unknown chip 'nope'"),
               (lambda: tc.Chip(10, object()), TypeError, "backend must have a method read()"),
               (lambda: delattr(h, "engineNMode"), TypeError, "can't be deleted")]
    for call, error, words in refused:
        with pytest.raises(error, match=words.replace("(", r"\(").replace(")", r"\)")):
            call()
    assert backend.log == [] and backend.entries == {}
    for failing in [OSError(5, "bus timeout"), KeyboardInterrupt(), RuntimeError("sim died")]:
        board = tc.Chip(10, Failing(failing))
        for access in [lambda: board.register(E).read(), lambda: board.register(E).write(
                tc.open(E, 10)), lambda: board.register(E).modify(engineNMode=1)]:
            with pytest.raises(type(failing)) as raised:
                access()
            assert raised.value is failing
    for words, error in [([0] * 7, ValueError), (5, TypeError), ([1 << 32] * 8, ValueError)]:
        with pytest.raises(error):
            tc.Chip(10, Failing(None, words)).register(E).read()


def test_memory_backend_saves_and_loads_the_dump_format():
    backend = tc.MemoryBackend()
    assert backend.read(617, 0, 540, 2) == [0, 0]
    backend.write(617, 0, 540, [0xff])
    backend.write(105, 3, 0x153, [1, 0xfffffffe])
    assert backend.read(617, 0, 540, 1) == [0xff] and backend.log[-1] == ("read", 617, 0, 540,
                                                                          [0xff])
    with pytest.raises(ValueError, match="32-bit words"):
        backend.write(1, 0, 0, [1 << 32])
    with tempfile.TemporaryDirectory() as scratch:
        path = os.path.join(scratch, "a.dump")
        backend.save_dump(path)
        with open(path) as f:
            lines = [line for line in f.read().splitlines() if not line.startswith("#")]
        assert lines == ["105.3 0x153 0x00000001 0xfffffffe", "617.0 0x21c 0x000000ff"]
        again = tc.MemoryBackend()
        again.load_dump(path)
        assert again.entries == backend.entries and again.log == []
        for text, words in [("617 0x21c 1\n", "no sub-block"), ("617.0 0x21c\n", "line 1")]:
            with open(path, "w") as f:
                f.write(text)
            with pytest.raises(ValueError, match=words):
                again.load_dump(path)


def test_the_worked_example_runs():
    with tempfile.TemporaryDirectory() as scratch:
        done = subprocess.run([sys.executable, os.path.join(ROOT, "examples", "lab",
                                                            "counter_engines.py"), scratch],
                              capture_output=True, text=True, timeout=120)
        assert done.returncode == 0, done.stderr
        after = tc.MemoryBackend()
        after.load_dump(os.path.join(scratch, "after.dump"))
    engine = tc.Chip("BCM88860_A0", after).register(E, element=1)
    assert (engine.engineNMode, engine.engineNOvfValue) == (3, 0x180)
    assert "engineNOvfValue: 0x00100 -> 0x00180 (+128)" in done.stdout
