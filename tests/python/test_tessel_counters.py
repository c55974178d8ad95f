"""The Python module: round trips over every class, chip and variant, every
kind of bad input (in this interpreter: an abort would end the run), and the
answers of the command-line tool for a sample of classes.

Run with the module on PYTHONPATH and TESSEL_COUNTERS_TOOL naming the tool.
"""

import ast
import json
import os
import random
import re
import subprocess
import sys

import pytest

import tessel_counters as tc

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
CLASSES = tc.classes()
TARGETS = [(cls, chip, v) for cls, info in CLASSES.items()
           for chip, variants in info["variants"].items() for v in variants]


def tool(*args):
    return subprocess.run([os.environ["TESSEL_COUNTERS_TOOL"], *args], capture_output=True,
                          text=True, check=True, timeout=60).stdout


def field_bits(data, f):
    """The field's bits in data, found with the layout alone: bit k is bit k % 8 of byte k // 8."""
    return int.from_bytes(data, "little") >> f["offset"] & ((1 << f["width"]) - 1)


@pytest.mark.parametrize("cls", sorted(CLASSES))
def test_every_field_round_trips(cls):
    rng = random.Random(cls)
    for _, chip, v in [t for t in TARGETS if t[0] == cls]:
        data = rng.randbytes(len(tc.open(cls, chip, v)))
        r = tc.open(cls, chip, v, data)
        assert bytes(r) == data and r.hex() == data.hex()
        layout = r.layout()
        want = {n: field_bits(data, f) for n, f in layout.items()}
        assert r.fields() == want and tc.decode(cls, chip, data, v) == want
        for name, f in layout.items():
            # The top bit set catches a width cut short; every other bit stays clear.
            value = rng.getrandbits(f["width"]) | 1 << (f["width"] - 1)
            one = tc.open(cls, chip, v)
            one[f["hardwareName"]] = value
            assert getattr(one, name) == value
            assert int.from_bytes(bytes(one), "little") == value << f["offset"], name
            assert tc.encode(cls, chip, v, **{name: value}) == bytes(one)
            setattr(one, name, 0)
            assert not any(bytes(one)), name


def test_an_accessor_is_a_python_object():
    r = tc.open("CrpsEngineCfg", 10)
    assert (r.class_name, r.chip, r.variant, r.kind) == (E, "BCM88690_B0", 0, "register")
    memoryview(r)[0] = 0x25
    assert r.engineNMode == 5 and r["ENGINE_N_MODE"] == 5
    r.engineNMode = 0x1f
    assert r.hex(" ")[:5] == "3f 00" and "engineNMode" in dir(r)
    assert repr(r).startswith("<CrpsEngineCfg on BCM88690_B0 variant 0: engineNMode=0x1f, ")
    assert not hasattr(r, "engineNMod") and getattr(r, "engineNMod", 7) == 7
    # A field wider than 64 bits is one Python int.
    wide = tc.open("CrpsEngineCfg", "BCM88860_A0")
    wide.engineNAvoidSeqScanValue = (1 << 72) - 3
    assert wide.fields()["engineNAvoidSeqScanValue"] == (1 << 72) - 3
    # Data may be a hex dump in the tool's form; the accessor keeps a copy.
    data = bytearray(32)
    r = tc.open("CrpsEngineCfg", "BCM88690_B0", data=data)
    data[0] = 1
    assert r.engineNMode == 0
    assert tc.decode("CrpsEngineCfg", 10, "01:00 " + "00" * 30)["engineNMode"] == 1


def test_bytes_words_and_lines_are_one_entry():
    data = random.Random(26).randbytes(44)
    words = [int.from_bytes(data[i:i + 4], "little") for i in range(0, 44, 4)]
    want = tc.decode("CrpsEngineCfg", "BCM88860_A0", data)
    lines = "".join(f"0x{w:x}  # word {i}\r\n" for i, w in enumerate(words))
    for form, as_words in [(data.hex(":"), False), (data.hex(" ", 4).replace(" ", "\n"), False),
                           (lines, True), (" ".join(f"{w:08x}" for w in words), True), (words, True)]:
        r = tc.open("CrpsEngineCfg", "BCM88860_A0", data=form, words=as_words)
        assert r.fields() == want and r.words() == words and bytes(r) == data
    with pytest.warns(UserWarning, match=r"'0x00000001' is read as bytes .* pass words=True"):
        tc.decode("CrpsModulesrcCfg", 10, "0x00000001 0xffffffff 0xfc00000f")


def test_default_variant_is_the_first_on_the_chip():
    assert tc.open("CduInstrumentationResetLow", "BCM88800_A0").variant == 1
    assert tc.open("CduInstrumentationResetLow", "BCM88690_B0").variant == 0


def r():
    return tc.open("CrpsEngineCfg", "BCM88690_B0")


E = "CrpsEngineCfg"
WHERE = "CrpsEngineCfg on BCM88690_B0 variant 0"
# (call, exception, text of the message): each in this same interpreter.
BAD_INPUT = [
    (lambda: tc.open("CrpsEngineCgf", 10), KeyError, "did you mean CrpsEngineCfg?"),
    (lambda: tc.describe("crpsenginecfg", 10), KeyError, "unknown class 'crpsenginecfg'"),
    (lambda: tc.open(E, "BCM1"), ValueError, "unknown chip 'BCM1'; known chips: BCM"),
    (lambda: tc.open(E, 99), ValueError, "unknown chip '99'"),
    (lambda: tc.classes(-1), ValueError, "unknown chip '-1'"),
    (lambda: tc.open(E, 10.0), TypeError, "chip must be an int, not float"),
    (lambda: tc.open("CrpsReservedSpare2", 10), ValueError,
     "does not exist on BCM88690_B0; it exists on BCM88850_A0"),
    (lambda: tc.open(E, 10, variant=3), ValueError, "no variant 3 on BCM88690_B0; valid variants: 0"),
    (lambda: tc.open(E, 10, variant=-1), ValueError, "variant must be a number from 0 to 255, not '-1'"),
    (lambda: tc.address(E, 10, variant=1 << 70), ValueError, "from 0 to 255"),
    (lambda: tc.open(E, 10, data=bytes(31)), ValueError,
     f"data has 31 bytes, but {WHERE} is 32 bytes (8 words); give exactly 32"),
    (lambda: tc.decode(E, 10, bytes(33)), ValueError, "data has 33 bytes"),
    (lambda: tc.decode(E, 10, "0x0g"), ValueError, "'g' is not a hex digit"),
    (lambda: tc.decode(E, 10, 32), TypeError, "data must be bytes-like or a hex string"),
    (lambda: tc.decode(E, 10, bytes(32), words=True), TypeError, "with words=True, data must be text"),
    (lambda: tc.decode(E, 10, [1] * 7, words=True), ValueError,
     f"data has 7 words, but {WHERE} is 8 words; give exactly 8 words, word 0 first"),
    (lambda: tc.decode(E, 10, [1 << 32] * 8, words=True), ValueError, "word 0 of data must be a number"),
    (lambda: tc.decode(E, 10, ["1"] * 8, words=True), TypeError, "word 0 must be an int"),
    (lambda: tc.decode(E, 10, "0x1 0x123456789", words=True), ValueError, "more than a 32-bit word"),
    (lambda: tc.decode(E, 10, "00\n00 \u00e9", words=True), ValueError, "U+00E9 is not ASCII (line 2, column 4)"),
    (lambda: r().engineNMod, tc.FieldError, "no field 'engineNMod' (did you mean engineNMode?)"),
    (lambda: r()["ENGINE_N_MOD"], KeyError, "did you mean"),
    (lambda: setattr(r(), "engineNLfsrEnable", 1), KeyError,
     "'engineNLfsrEnable' of CrpsEngineCfg is not on BCM88690_B0 variant 0 (it is on BCM88850_A0"),
    (lambda: setattr(r(), "engineNMode", 32), ValueError,
     "value 32 is too wide for engineNMode on BCM88690_B0 variant 0: 5 bits, at most 0x1f (31)"),
    (lambda: r().__setitem__("ENGINE_N_MODE", -1), ValueError, "value -1 for engineNMode is negative"),
    (lambda: setattr(r(), "engineNMode", "5"), TypeError, "the value of engineNMode must be an int"),
    (lambda: setattr(tc.open(E, "BCM88860_A0"), "engineNAvoidSeqScanValue", 1 << 72), ValueError,
     "72 bits, at most 0xff"),
    (lambda: tc.encode(E, 10, nope=1), KeyError, "has no field 'nope'"),
    (lambda: tc.encode(E, 10, engineNMode=1, ENGINE_N_MODE=1), ValueError, "engineNMode given twice"),
    (lambda: tc.encode("IppaStatisticsInfo", "BCM88860_A0", **overlapping()), ValueError,
     "share bits; give only one of them"),
    (lambda: tc.address(E, 10, instance=2), IndexError,
     f"instance 2 is out of range: {WHERE} has 2 instances, 0..1"),
    (lambda: tc.address(E, 10, instance=-1), IndexError, "instance -1 is out of range"),
    (lambda: r().address(array=22), IndexError,
     f"array 22 is out of range: {WHERE} has 22 array elements, 0..21"),
    (lambda: tc.address(E, 10, entry=1), IndexError, "has 1 entry, 0..0"),
    (lambda: tc.address("CrpsTypeMapMem", 11, entry=4), IndexError,
     "entry 4 is out of range: CrpsTypeMapMem on BCM88800_A0 variant 0 has 4 entries, 0..3"),
    (lambda: tc.locate("NOPE", 617, 540), ValueError, "unknown chip 'NOPE'"),
    (lambda: tc.locate(17, -1, 540), ValueError, "--block must be a number from 0 to 4294967295"),
    (lambda: tc.locate(17, 617, 1 << 32), ValueError, "ADDRESS must be a number"),
    (lambda: tc.locate(17, 617, 540, sub_block=-2), ValueError, "--sub-block must be a number"),
    (lambda: tc.locate(17, 617, "540"), TypeError, "address must be an int"),
]


def overlapping():
    """An aggregate and one of the fields that are views of its bits."""
    layout = tc.open("IppaStatisticsInfo", "BCM88860_A0").layout()
    return {next(n for n, f in layout.items() if f["viewOf"]): 1,
            next(f["viewOf"] for f in layout.values() if f["viewOf"]): 1}


@pytest.mark.parametrize("call, error, words", BAD_INPUT)
def test_bad_input_raises_and_never_aborts(call, error, words):
    with pytest.raises(error, match=re.escape(words)):
        call()


def test_chips_and_classes_equal_the_catalogue():
    """Against the catalogue's own files, read by the generator's loader."""
    sys.path.insert(0, os.path.join(ROOT, "generator"))
    from catalogue import Catalogue
    cat = Catalogue.read(ROOT)
    assert tc.chips() == {c.name: c.number for c in cat.chips.chips}
    names = {c.number: c.name for c in cat.chips.chips}
    for number, name in names.items():
        want = {}
        for k in cat.classes:
            variants = sorted(v for chip, v in k.rows if chip == number)
            if variants:
                want[k.name] = {"kind": k.kind, "variants": {name: variants}}
        assert want and tc.classes(number) == want, name


SAMPLE = [("CrpsModulesrcCfg", "BCM88690_B0"), ("CrpsTypeMapMem", "11"),
          ("IppaStatisticsInfo", "BCM88860_A0"), ("CrpsEngineCfg", "BCM88870_A0"),
          ("EtppbMapStsToType", "BCM88690_B0"), ("CduInstrumentationResetLow", "BCM88800_A0"),
          ("ErppCounterTypeTable", "BCM88480_B0")]


@pytest.mark.parametrize("cls, chip", SAMPLE)
def test_answers_equal_the_tools(cls, chip):
    described = tc.describe(cls, chip)
    assert described == json.loads(tool("describe", cls, "--chip", chip, "--json"))
    data = random.Random(cls).randbytes(described["entryBytes"])
    decoded = json.loads(tool("decode", cls, "--chip", chip, "--json", data.hex()))["fields"]
    r = tc.open(cls, chip, data=data)
    assert r.fields() == {f["name"]: int(f["decimal"]) for f in decoded}
    assert r.layout() == {f["name"]: {"hardwareName": f["hardwareName"], "id": f["id"],
                                      "offset": f["offset"], "width": f["width"],
                                      "viewOf": f.get("viewOf")} for f in decoded}
    last = {"instance": described["instanceCount"] - 1, "array": described["arrayElements"] - 1,
            "entry": described.get("entries", 1) - 1}
    options = [x for k, v in last.items() if v for x in (f"--{k}", str(v))]
    printed = tool("address", cls, "--chip", chip, *options)
    assert tc.address(cls, chip, **last) == {
        k: int(v) for k, v in re.findall(r"^(address|subBlock|block) +(\d+)", printed, re.M)}


def test_stubs_name_every_field_of_every_class():
    with open(os.path.join(os.path.dirname(tc.__file__), "__init__.pyi")) as f:
        stubs = ast.parse(f.read())
    declared = {c.name: {a.target.id for a in c.body if isinstance(a, ast.AnnAssign)}
                for c in stubs.body if isinstance(c, ast.ClassDef)}
    for cls, chip, v in TARGETS:
        assert set(tc.open(cls, chip, v).layout()) <= declared[cls], (cls, chip, v)


def test_locate_equals_the_tools_and_finds_what_address_gives():
    """Addresses from the module's own address(), located by the module and by the tool."""
    rng = random.Random(25)
    for cls, chip, v in rng.sample(TARGETS, 40) + [("CrpsExpansionMapMem", "BCM88860_A0", 3)]:
        r = tc.open(cls, chip, v)
        d = r.describe()
        instance, element = rng.randrange(d["instanceCount"]), rng.randrange(d["arrayElements"])
        entry = rng.randrange(d.get("entries", 1))
        at = r.address(instance=instance, entry=entry, array=element)
        found = tc.locate(chip, at["block"], at["address"])
        assert found == json.loads(tool("locate", "--chip", chip, "--block", str(at["block"]),
                                        str(at["address"]), "--json"))["matches"]
        want = {"class": cls, "instance": instance, "subBlock": at["subBlock"],
                "arrayElement": element, "tableEntry": entry}
        hits = [m for m in found if {k: m[k] for k in want} == want and v in m["variants"]]
        assert len(hits) == 1, (cls, chip, v, at, found)
        assert tc.locate(tc.chips()[chip], at["block"], at["address"], sub_block=at["subBlock"]) == \
            [m for m in found if m["subBlock"] == at["subBlock"]]
    assert tc.locate("BCM88860_A0", 617, 5000000) == []
