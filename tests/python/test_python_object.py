"""The package as Python code meets it: objects in any state never end the
interpreter, accessors behave as values and mappings, the tool's answers equal
the tool's own, and the stubs declare exactly what exists.

Run with the package on PYTHONPATH and TESSEL_COUNTERS_TOOL naming the tool.
"""

import ast
import copy
import inspect
import json
import os
import pickle
import re
import subprocess
import tempfile
import threading

import pytest

import tessel_counters as tc

E = "CrpsEngineCfg"


def tool(*args, status=0):
    done = subprocess.run([os.environ["TESSEL_COUNTERS_TOOL"], *args], capture_output=True,
                          text=True, timeout=60)
    assert done.returncode == status, (args, done.returncode, done.stderr)
    return done.stdout


class Index:
    """An int-like object, as a numpy integer is: __index__ alone."""

    def __init__(self, value):
        self.value = value

    def __index__(self):
        return self.value


ODD_ARGUMENTS = [(), (None,), ("engineNMode",), ("engineNMode", 1), (-1,), (1 << 80,), (b"\xff",),
                 ("\u00a0",), (object(),), ([1, 2],), ("engineNMode", None), (Index(3), Index(3))]


def unmade():
    """Accessors that no __init__ made, of the base class and of a class's own."""
    return [tc.Accessor.__new__(tc.Accessor), tc.CrpsEngineCfg.__new__(tc.CrpsEngineCfg)]


def after_failures():
    """An accessor after each kind of failed call, with the bytes it must still hold."""
    r = tc.open(E, 10, data=bytes(range(32)))
    for bad in [lambda: setattr(r, "engineNMode", 1 << 9), lambda: r.__setitem__("nope", 1),
                lambda: r.address(instance=9), lambda: r.hex(5), lambda: r.get(5)]:
        with pytest.raises(Exception):
            bad()
    return r


def failed_init():
    """An accessor whose __init__ failed."""
    r = tc.CrpsEngineCfg.__new__(tc.CrpsEngineCfg)
    with pytest.raises(ValueError, match="unknown chip 'nope'"):
        r.__init__("nope")
    return r


def call_everything(obj):
    """Every public callable of the accessor's class (the object as self) and of the
    module, with odd arguments: each answers or raises an Exception of one line."""
    cls = type(obj) if isinstance(obj, tc.Accessor) else tc.Accessor
    calls = []
    for name in dir(cls):
        f = getattr(cls, name)
        if isinstance(f, property):
            calls.append((f.fget, (obj,)))
        elif callable(f) and name not in ("__new__", "__class__", "__init_subclass__"):
            calls.append((f, (obj,)))
    calls += [(getattr(tc, n), ()) for n in tc.__all__
              if callable(getattr(tc, n)) and not isinstance(getattr(tc, n), type)]
    for f, first in calls:
        for args in ODD_ARGUMENTS:
            try:
                f(*first, *args)
            except Exception as e:  # noqa: BLE001 - any Python exception is an answer
                # pybind11 lists the signatures under a special method or a
                # property's getter (unnamed) called with the wrong arguments, which
                # Python's syntax never does; the methods and functions say it in one line.
                name = getattr(f, "__name__", "")
                special = not name or name.startswith("__")
                text = str(e).split("\n")[0] if special and "incompatible" in str(e) else str(e)
                assert "\n" not in text.strip("'\""), (f, args, str(e))
    return len(calls) * len(ODD_ARGUMENTS)


@pytest.mark.parametrize("obj", unmade() + [failed_init(), after_failures(), 5, None])
def test_no_object_in_any_state_ends_the_interpreter(obj):
    assert call_everything(obj) > 500
    if isinstance(obj, tc.Accessor) and tc.Accessor.__repr__(obj).endswith("initialised>"):
        assert len(memoryview(obj)) == 0 and memoryview(obj).readonly
        with pytest.raises(TypeError, match="never initialised; make one with"):
            bytes(obj)


def test_arguments_that_fit_no_signature_are_one_line_that_says_what_it_takes():
    r = tc.open("CrpsEngineCfg", "BCM88690_B0")
    for call, takes in ((lambda: tc.describe("a", "b", "c", "d"),
                         "describe(): arguments that it doesn't take; it takes "
                         "(class_name, chip, variant = None)"),
                        (lambda: tc.locate(), "locate(): "),
                        (lambda: r.address(1, 2, 3, 4), "address(): ")):
        with pytest.raises(TypeError) as e:
            call()
        assert str(e.value).startswith(takes) and "\n" not in str(e.value), str(e.value)


def test_an_accessor_after_failed_calls_keeps_its_bytes():
    assert bytes(after_failures()) == bytes(range(32))


def test_threads_share_the_module():
    """Eight threads open, write, read, copy and decode at once; each sees its own values."""
    errors = []

    def work(seed):
        try:
            for i in range(200):
                value = (seed * 200 + i) % 32
                r = tc.open(E, "BCM88860_A0")
                r.engineNMode = value
                assert copy.copy(r).engineNMode == value == tc.decode(E, 17, bytes(r))["engineNMode"]
                assert tc.search("engineNMode", 17)["fields"][0]["name"] == "engineNMode"
        except Exception as e:  # noqa: BLE001 - reported below
            errors.append(e)

    threads = [threading.Thread(target=work, args=(n,)) for n in range(8)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert not errors, errors


def test_accessors_are_values():
    a = tc.open(E, 10, data=bytes(range(32)))
    same, other = tc.open(E, "bcm88690_b0", 0, bytes(range(32))), tc.open(E, 10)
    assert a == same and a != other and a != bytes(a) and a != tc.open("CrpsEngineCfg", 11)
    assert type(a) is tc.CrpsEngineCfg and isinstance(a, tc.Accessor)
    assert tc.Accessor(E, 10, data=bytes(range(32))) == a
    with pytest.raises(TypeError, match="unhashable"):
        hash(a)
    for twin in [copy.copy(a), copy.deepcopy(a), pickle.loads(pickle.dumps(a))]:
        assert twin == a and type(twin) is type(a)
        twin.engineNMode = 1
        assert twin != a and a == same  # bytes of its own


def test_an_accessor_is_a_mapping_of_its_fields():
    a = tc.open(E, 10, data=bytes(range(32)))
    layout = a.layout()
    assert list(a) == a.keys() == list(layout) and len(layout) > 5
    values = {n: int.from_bytes(bytes(a), "little") >> f["offset"] & (1 << f["width"]) - 1
              for n, f in layout.items()}
    assert dict(a) == dict(a.items()) == values and list(a.values()) == list(values.values())
    assert "engineNMode" in a and "ENGINE_N_MODE" in a and "engineNMod" not in a and 5 not in a
    assert "engineNLfsrEnable" not in a  # a field of the class, on other chips
    assert a.get("engineNMode") == values["engineNMode"] and a.get("nope", 7) == 7
    for delete in [lambda: delattr(a, "engineNMode"), lambda: a.__delitem__("ENGINE_N_MODE")]:
        with pytest.raises(TypeError, match="the field engineNMode can't be deleted: .* set it to 0"):
            delete()
    for bad_key in [lambda: a[5], lambda: a.get(None)]:
        with pytest.raises(TypeError, match="a field name must be a str, not"):
            bad_key()


def test_repr_shows_class_chip_variant_and_fields():
    a = tc.open(E, 17)
    assert repr(a) == "<CrpsEngineCfg on BCM88860_A0 variant 0: all fields 0>"
    a.engineNMode, a.engineNAvoidSeqScanValue = 3, 1 << 71
    assert repr(a) == ("<CrpsEngineCfg on BCM88860_A0 variant 0: engineNMode=0x03, "
                       "engineNAvoidSeqScanValue=0x800000000000000000>")


def test_ints_come_as_anything_with_index():
    a = tc.open(E, Index(10), Index(0), [Index(1)] + [0] * 7, words=True)
    a["engineNMode"] = Index(7)
    assert a.engineNMode == 7 and a.words()[0] == 7
    assert tc.address(E, Index(10), instance=Index(1), array=Index(3)) == \
        tc.address(E, 10, instance=1, array=3)
    assert tc.locate(Index(17), Index(617), Index(540)) == tc.locate(17, 617, 540)
    assert tc.dump_line(Index(617), Index(0), Index(540), [Index(255)]) == "617.0 0x21c 0x000000ff"


BAD_INPUT = [
    (lambda: tc.decode(E, 10, "00 00\n00\u00a0"), ValueError, "U+00A0 is not ASCII (line 2, column 3)"),
    (lambda: tc.decode(E, 10, "00 " * 60 + "\u00a0"), ValueError, "(line 1, column 181)"),
    (lambda: tc.decode(E, 10, None), TypeError, "data must be bytes-like or a hex string"),
    (lambda: tc.decode(E, 10, None, words=True), TypeError, "not None"),
    (lambda: tc.open(5, 10), TypeError, "class_name must be a str, not int"),
    (lambda: tc.search(b"engine"), TypeError, "pattern must be a str, not bytes"),
    (lambda: tc.diff(10, "nope"), ValueError, "unknown chip 'nope'"),
    (lambda: tc.address(E, 10, all=True, instance=0), ValueError, "drop instance"),
    (lambda: tc.dump_decode(None, 10), TypeError, "path must be a path"),
    (lambda: tc.dump_decode("/nonexistent/a.dump", 10), ValueError, "cannot read"),
    (lambda: tc.dump_line(617, 0, 540, []), ValueError, "words is empty"),
    (lambda: tc.dump_line(617, 0, 540, [1 << 32]), ValueError, "word 0 must be a number"),
    (lambda: tc.read_dump(b"617 1 2"), TypeError, "text must be a str"),
]


@pytest.mark.parametrize("call, error, words", BAD_INPUT)
def test_bad_input_raises_one_line(call, error, words):
    with pytest.raises(error, match=re.escape(words)) as raised:
        call()
    assert "\n" not in str(raised.value)


def test_version_and_docstrings():
    assert tool("--version") == f"tessel-counters {tc.__version__}\n"
    documented = 0
    for name in tc.__all__:
        obj = getattr(tc, name)
        members = [getattr(obj, m) for m in vars(obj) if not m.startswith("_")] \
            if isinstance(obj, type) and name in ("Accessor", "Chip", "Register", "MemoryBackend") \
            else []
        for thing in [obj, *members]:
            if callable(thing) or isinstance(thing, property):
                assert (thing.__doc__ or "").strip(), (name, thing)
                documented += 1
    assert documented > 60


def test_answers_equal_the_tools():
    assert tc.search("ENGINE_*_MODE", "BCM88860_A0") == \
        json.loads(tool("search", "ENGINE_*_MODE", "--chip", "BCM88860_A0", "--json"))
    for args in [("CrpsModulesrcCfg",), ()]:
        assert tc.diff(10, "BCM88860_A0", *args) == \
            json.loads(tool("diff", *args, "--chip", "10", "--to", "BCM88860_A0", "--json"))
    assert tc.block_map("BCM88860_A0", 617, sub_block=0) == \
        json.loads(tool("locate", "--chip", "17", "--block", "617", "--sub-block", "0", "--json"))
    data = bytes(range(1, 45))
    assert tc.decode(E, 17, data, full=True) == json.loads(tool("decode", E, "--chip", "17",
                                                                data.hex(), "--json"))
    assert tc.open(E, 17, data=data).decoded() == tc.decode(E, 17, data, full=True)


@pytest.mark.parametrize("cls, chip", [("CrpsTypeMapMem", "BCM88800_A0"), (E, "BCM88860_A0")])
def test_every_address_equals_the_tools_table(cls, chip):
    rows = tc.address(cls, chip, all=True)
    printed = tool("address", cls, "--chip", chip, "--all").splitlines()[2:]
    assert len(rows) == len(printed) > 1
    for row, line in zip(rows, printed):
        cells = line.split()
        first, _, last = cells[-4].partition("..")
        assert [row["instance"], row["arrayElement"], row["firstAddress"], row["lastAddress"],
                row["subBlock"], row["block"]] == \
            [int(cells[0]), int(cells[1]), int(first), int(last or first), int(cells[-2]),
             int(cells[-1])]


def test_dumps_read_write_decode_and_diff_as_the_tool():
    text = "# a dump\n617.0 0x21c 0x000000ff\n{\"block\": 873, \"subBlock\": 0, \"address\": 540, " \
           "\"words\": [1]}\n105 0x153 1 2 3 4 5 6 7 8 9 a b\nnot a line\n"
    rows = tc.read_dump(text)
    assert rows[:3] == [{"block": 617, "subBlock": 0, "address": 540, "words": [255], "line": 2},
                        {"block": 873, "subBlock": 0, "address": 540, "words": [1], "line": 3},
                        {"block": 105, "subBlock": None, "address": 339,
                         "words": list(range(1, 12)), "line": 4}]
    assert rows[3]["line"] == 5 and rows[3]["error"] == "BLOCK must be a number from 0 to 4294967295, not 'not'"
    assert [tc.dump_line(r["block"], r["subBlock"], r["address"], r["words"]) for r in rows[:3]] \
        == ["617.0 0x21c 0x000000ff", "873.0 0x21c 0x00000001",
            "105 0x153 " + " ".join(f"0x{w:08x}" for w in range(1, 12))]
    with tempfile.TemporaryDirectory() as scratch:
        a, b = os.path.join(scratch, "a.dump"), os.path.join(scratch, "b.dump")
        with open(a, "w") as f:
            f.write(text)
        with open(b, "w") as f:
            f.write(text.replace("0x000000ff", "0x00000fff").replace("not a line", ""))
        assert tc.dump_decode(a, 17) == [json.loads(line) for line in tool(
            "dump", "decode", a, "--chip", "17", "--json", status=1).splitlines()]
        with pytest.raises(ValueError, match="1 line of .* could not be compared"):
            tc.dump_diff(a, b, 17)
        with open(a, "w") as f:
            f.write(text.replace("not a line", ""))
        assert tc.dump_diff(a, b, "BCM88860_A0") == [json.loads(line) for line in tool(
            "dump", "diff", a, b, "--chip", "17", "--json", status=1).splitlines()]
    listed = tc.dump_list(17, "CrpsEngineScanEnable")
    assert listed == [json.loads(line) for line in tool(
        "dump", "list", "--chip", "17", "--class", "CrpsEngineScanEnable", "--json").splitlines()]


def stub_tree():
    """The stubs, parsed, once run as Python: a name they use and don't define fails."""
    with open(os.path.join(os.path.dirname(tc.__file__), "__init__.pyi")) as f:
        text = f.read()
    exec(compile(text, "__init__.pyi", "exec"), {})  # noqa: S102 - our own stubs
    return ast.parse(text)


def test_stubs_declare_exactly_what_exists():
    tree = stub_tree()
    declared = {}
    for node in tree.body:
        if isinstance(node, (ast.ClassDef, ast.FunctionDef)):
            declared[node.name] = node
        elif isinstance(node, ast.AnnAssign):
            declared[node.target.id] = node
    public = {n for n in declared if not n.startswith("_") or n == "__version__"}
    assert public == set(tc.__all__) == {n for n in dir(tc) if not n.startswith("_")} | {
        "__version__"}
    checked = 0
    for name in public:
        obj = getattr(tc, name)
        node = declared[name]
        if isinstance(node, ast.ClassDef):
            for member in node.body:
                if isinstance(member, ast.FunctionDef):
                    assert hasattr(obj, member.name), (name, member.name)
                    checked += 1
            if name not in ("Accessor", "Chip", "Register", "MemoryBackend", "FieldError"):
                assert issubclass(obj, tc.Accessor) and obj.__init__ is not tc.Accessor.__init__
        elif isinstance(node, ast.FunctionDef) and name != "open":
            declared_args = [a.arg for a in node.args.args + node.args.kwonlyargs]
            assert declared_args == re.findall(r"(\w+): ", inspect.getdoc(obj).split(")")[0]), name
            checked += 1
    assert checked > 50
    assert inspect.signature(tc.open).parameters.keys() == {"class_name", "chip", "variant",
                                                            "data", "words"}
    assert os.path.isfile(os.path.join(os.path.dirname(tc.__file__), "py.typed"))
