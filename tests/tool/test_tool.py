#!/usr/bin/env python3
"""The command-line tool: its output on a few classes and every error path.

Run: test_tool.py PATH_TO_TESSEL_COUNTERS
"""

import fnmatch
import itertools
import json
import os
import random
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ET

import jsonschema

TOOL = sys.argv.pop(1)
HERE = os.path.dirname(os.path.abspath(__file__))
GOLDEN = os.path.join(HERE, "golden")
SCHEMA = os.path.join(HERE, "..", "..", "tools", "tessel-counters", "catalogue.schema.json")
A, B = "BCM88690_B0", "BCM88860_A0"

# (class, chip) pairs that the round-trip tests walk: registers of one to four
# words, a memory, and the one class that exists on two chips only.
TARGETS = [
    ("CrpsEngineInitRequest", "BCM88690_B0"),
    ("CrpsEngineInitRequest", "BCM88800_A0"),
    ("CrpsEnginesDmaSelect", "BCM88480_A0"),
    ("CrpsModulesrcCfg", "BCM88690_B0"),
    ("CrpsModulesrcCfg", "BCM88860_A0"),
    ("CrpsReservedSpare2", "BCM88850_A0"),
    ("CrpsTypeMapMem", "BCM88870_A0"),
]

# Classes whose fields overlap (aggregates over their elements) or are wider
# than 64 bits; decoded, not encoded field by field.
VIEW_TARGETS = [
    ("IppaStatisticsInfo", "BCM88860_A0"),
    ("IppfStatObjProfileAttr", "BCM88690_B0"),
    ("EtppbMapStsToType", "BCM88690_B0"),
    ("CrpsEngineCfg", "BCM88860_A0"),
    ("CrpsIfAdapterCgmIrppCfg", "BCM88690_B0"),
]


def run(*args, env=None, stdin=None, stdout=subprocess.PIPE):
    full_env = dict(os.environ)
    full_env.pop("WISP_TRACE", None)
    if env:
        full_env.update(env)
    p = subprocess.run([TOOL, *args], stdout=stdout, stderr=subprocess.PIPE, text=True, env=full_env,
                       timeout=60, input=stdin)
    return p.returncode, p.stdout, p.stderr


def ok(*args, **kwargs):
    """The standard output of a run that must succeed."""
    rc, out, err = run(*args, **kwargs)
    assert rc == 0, (args, rc, err)
    return out


class Output(unittest.TestCase):
    def test_chips_lists_the_thirteen_models(self):
        rc, out, _ = run("chips")
        self.assertEqual(0, rc)
        lines = out.splitlines()
        self.assertEqual(13, len(lines))
        self.assertEqual("10  BCM88690_B0", lines[0])
        self.assertEqual("26  BCM88870_A0", lines[-1])

    def test_classes_of_a_chip(self):
        rc, out, _ = run("classes", "--chip", "BCM88850_A0")
        self.assertEqual(0, rc)
        self.assertRegex(out, r"CrpsReservedSpare2 +register variants 0\n")
        self.assertRegex(out, r"CrpsTypeMapMem +memory +variants 0\n")
        out = ok("classes", "--chip", "10")
        self.assertIn("CrpsTypeMapMem ", out)
        self.assertNotIn("CrpsReservedSpare2", out)
        # A chip number is decimal or 0x hex, as every other number.
        self.assertEqual(out, ok("classes", "--chip", "0x0a"))
        self.assertEqual(out, ok("classes", "--chip", "bcm88690_b0"))

    def test_classes_of_every_chip(self):
        """Without --chip, every class with its chips and variants, as the chips' lists give them."""
        rc, out, _ = run("classes")
        self.assertEqual(0, rc)
        chips = [l.split()[1] for l in ok("chips").splitlines()]
        per_chip = {c: dict(re.findall(r"^(\w+) +\w+ +variants (\S+)$", ok("classes", "--chip", c), re.M))
                    for c in chips}
        rows = out.splitlines()
        self.assertEqual(f"{len(rows) - 1} classes on {len(chips)} chips", rows[-1])
        self.assertEqual(sorted({c for on in per_chip.values() for c in on}), [r.split()[0] for r in rows[:-1]])
        for row in rows[:-1]:
            cls, _, where = row.split(None, 2)
            on = {c: v for c, v in ((c, per_chip[c].get(cls)) for c in chips) if v}
            if where.startswith("on all"):
                self.assertEqual(set(chips), set(on), cls)
                self.assertEqual({where.partition(", variants ")[2] or "0"}, set(on.values()), cls)
            else:
                self.assertEqual({c: v for c, v in on.items()},
                                 {m[0]: m[1] or "0" for m in re.findall(r"(\w+)(?: v(\S+?))?(?:,|$)",
                                                                        where[3:])}, cls)

    def test_describe_register(self):
        rc, out, _ = run("describe", "CrpsModulesrcCfg", "--chip", "BCM88690_B0")
        self.assertEqual(0, rc)
        self.assertIn("CrpsModulesrcCfg on BCM88690_B0 (10) variant 0: per-engine module source "
                      "configuration, one array element per engine\n", out)
        self.assertIn("  kind            register in crps\n", out)
        self.assertIn("  chips           all 13\n", out)
        self.assertNotIn("  variants        ", out)
        self.assertIn("  width           3 words (12 bytes); buffer of the class 16 bytes\n", out)
        self.assertIn("  arrayElements   22\n", out)  # instances and fields: Describe below
        out = ok("describe", "CrpsIfAdapterEgqEppCtrCfg", "--chip", "10", "--variant", "3")
        self.assertIn("  variants        variant v is the register that holds EXPANSION_SELECT_<v>; "
                      "on BCM88690_B0: 0-23\n", out)
        out = ok("describe", "CrpsReservedSpare2", "--chip", "BCM88850_A0")
        self.assertIn("  chips           BCM88850_A0, BCM88859_A2\n", out)

    def test_describe_memory(self):
        rc, out, _ = run("describe", "CrpsTypeMapMem", "--chip", "11", "--variant", "0")
        self.assertEqual(0, rc)
        self.assertIn("  entries         4\n", out)
        self.assertIn("  instance 0      subBlock 10, block 5, address 81920..82055 (0x14000..0x14087)\n", out)

    def test_trace_from_the_environment(self):
        rc, out, err = run("describe", "CrpsEngineInitRequest", "--chip", "BCM88480_B0",
                           env={"WISP_TRACE": "OrreryTesselCountersMetaInfo:8"})
        self.assertEqual(0, rc)
        self.assertIn("CrpsEngineInitRequest chipType: BCM88480_B0 variant: 0\n", err)
        self.assertEqual((0, ""), run("describe", "CrpsEngineInitRequest", "--chip", "BCM88480_B0")[::2])


def golden(name):
    with open(os.path.join(GOLDEN, name)) as f:
        return f.read()


def describe(cls, chip):
    rc, out, err = run("describe", cls, "--chip", chip, "--json")
    assert rc == 0, err
    return json.loads(out)


def field_bits(data, offset, width):
    """The field's value read straight from the bytes, bit k in byte k // 8."""
    return (int.from_bytes(data, "little") >> offset) & ((1 << width) - 1)


class Decode(unittest.TestCase):
    def test_golden_text(self):
        for name, args in [
            ("decode_modulesrc_88690.txt",
             ["CrpsModulesrcCfg", "--chip", "BCM88690_B0", "01 00 00 00 ff ff ff ff 0f 00 00 fc"]),
            ("decode_type_map_88870.txt", ["CrpsTypeMapMem", "--chip", "26", "0x5a:a5:0f:00"]),
        ]:
            with self.subTest(name):
                rc, out, err = run("decode", *args)
                self.assertEqual((0, ""), (rc, err))
                self.assertEqual(golden(name), out)

    def test_values_match_the_bits_of_the_input(self):
        rnd = random.Random(7)
        for cls, chip in TARGETS + VIEW_TARGETS:
            with self.subTest(cls=cls, chip=chip):
                layout = describe(cls, chip)
                data = bytes(rnd.randrange(256) for _ in range(layout["entryBytes"]))
                rc, out, err = run("decode", cls, "--chip", chip, "--json", data.hex())
                self.assertEqual(0, rc, err)
                decoded = json.loads(out)
                self.assertEqual(data.hex(" "), decoded["bytes"])
                self.assertEqual([f["name"] for f in layout["fields"]],
                                 [f["name"] for f in decoded["fields"]])
                covered = 0
                for f in decoded["fields"]:
                    want = field_bits(data, f["offset"], f["width"])
                    self.assertEqual(want, int(f["hex"], 16), f["name"])
                    self.assertEqual(str(want), f["decimal"], f["name"])
                    covered |= ((1 << f["width"]) - 1) << f["offset"]
                stray = 0
                for r in decoded["strayBits"]:
                    stray |= ((1 << (r["last"] - r["first"] + 1)) - 1) << r["first"]
                self.assertEqual(int.from_bytes(data, "little") & ~covered, stray)

    def test_hex_forms_are_the_same_bytes(self):
        forms = [["0x0102030405060708"], ["0102030405060708"], ["01 02 03 04 05 06 07 08"],
                 ["01:02:03:04:05:06:07:08"], ["0x01020304", "0x05060708"], ["0102", "0304:0506", "0708"]]
        outs = {ok("decode", "CrpsEngineInitRequest", "--chip", "11", *f) for f in forms}
        self.assertEqual(1, len(outs))
        self.assertIn("0..33", outs.pop())

    def test_short_input_is_completed_with_zeros_and_said_so(self):
        rc, out, err = run("decode", "CrpsEngineInitRequest", "--chip", "11", "ffff")
        self.assertEqual(0, rc)
        self.assertIn("bytes ff ff 00 00 00 00 00 00\n", out)
        self.assertIn("0x00000ffff", out)
        self.assertIn("note: HEX has 2 of 8 bytes; bytes 2..7 are taken as 00", err)


class Encode(unittest.TestCase):
    def test_round_trip_by_accessor_and_hardware_name(self):
        rnd = random.Random(11)
        for cls, chip in TARGETS:
            layout = describe(cls, chip)
            for by in ("name", "hardwareName"):
                with self.subTest(cls=cls, chip=chip, by=by):
                    expected = 0
                    assigns = []
                    for f in layout["fields"]:
                        v = rnd.getrandbits(f["width"])
                        expected |= v << f["offset"]
                        assigns.append(f"{f[by]}={v:#x}" if v % 2 else f"{f[by]}={v}")
                    rc, out, err = run("encode", cls, "--chip", chip, *assigns)
                    self.assertEqual(0, rc, err)
                    want = expected.to_bytes(layout["entryBytes"], "little").hex(" ")
                    self.assertEqual(want + "\n", out)

    def test_from_keeps_the_bits_it_does_not_write(self):
        start = "01 00 00 00 ff ff ff ff 0f 00 00 fc"
        rc, out, _ = run("encode", "CrpsModulesrcCfg", "--chip", "10", "--from", start,
                         "modulesrcNGroupSize=63", "MODULESRC_N_PTR_BASE_NORMALIZE=0")
        self.assertEqual(0, rc)
        self.assertEqual("e1 07 00 00 f8 ff ff ff 0f 00 00 fc\n", out)
        again = ok("decode", "CrpsModulesrcCfg", "--chip", "10", out.strip())
        self.assertIn("set bits outside every field: 66..67, 90..95", again)

    def test_raw_field_is_decimal_unless_0x(self):
        # engineNAvoidSeqScanValue: 72 bits at bit 142 on 88860, decimal or 0x like any field.
        for value, text in [(0xA5_0123456789ABCDEF, "0xa50123456789abcdef"), (12345, "12345"),
                            (0x12345, "0x12345"), ((1 << 72) - 1, str((1 << 72) - 1))]:
            rc, out, err = run("encode", "CrpsEngineCfg", "--chip", "BCM88860_A0",
                               f"engineNAvoidSeqScanValue={text}", "ENGINE_N_MODE=0x81")
            self.assertEqual(0, rc, err)
            data = bytes.fromhex(out)
            self.assertEqual(44, len(data))
            self.assertEqual(value << 142 | 0x81, int.from_bytes(data, "little"), text)
            out = ok("decode", "CrpsEngineCfg", "--chip", "BCM88860_A0", "--json", out.strip())
            fields = {f["name"]: f for f in json.loads(out)["fields"]}
            self.assertEqual(str(value), fields["engineNAvoidSeqScanValue"]["decimal"])
        rc, _, err = run("encode", "CrpsEngineCfg", "--chip", "17", "engineNAvoidSeqScanValue=a5")
        self.assertEqual(2, rc)
        self.assertIn("bad value 'a5'", err)

    def test_views_that_share_bits_are_refused_together(self):
        rc, out, err = run("encode", "EtppbMapStsToType", "--chip", "10", "stsType=1",
                           "mapSts0ToType=2")
        self.assertEqual(2, rc)
        self.assertIn("stsType", err)
        self.assertIn("mapSts0ToType", err)
        out = ok("encode", "EtppbMapStsToType", "--chip", "10", "mapSts31ToType=3")
        self.assertEqual("00 00 00 00 00 00 00 c0\n", out)


class Address(unittest.TestCase):
    def test_one_address(self):
        """Numbers in either base, options with = or not; every address is checked against locate below."""
        for args in (["--entry", "3", "--array", "33"], ["--entry=0x3", "--array=0x21"]):
            self.assertEqual(golden("address_type_map_88800.txt"), ok("address", "CrpsTypeMapMem", "--chip", "11", *args))

    def test_all(self):
        out = ok("address", "CrpsEngineScanEnable", "--chip", "BCM88860_A0", "--all")
        self.assertEqual(golden("address_all_scan_enable_88860.txt"), out)
        for cls, chip in [("CrpsModulesrcCfg", "10"), ("CrpsTypeMapMem", "26")]:
            d = describe(cls, chip)  # a row per instance and element
            self.assertEqual(d["instanceCount"] * d["arrayElements"], len(ok("address", cls, "--chip", chip, "--all").splitlines()) - 2)
        out = ok("address", "CrpsTypeMapMem", "--chip", "10", "--all")
        self.assertIn("1         21     0..3     24660..24663  0x6054..0x6057  16        8", out)


def locate(chip, block, address, *more):
    rc, out, err = run("locate", "--chip", chip, "--block", str(block), str(address), "--json", *more)
    assert rc in (0, 1) and not err, (rc, err)
    return rc, json.loads(out)


class Locate(unittest.TestCase):
    def test_finds_what_address_gives(self):
        """Every instance, first and last element and entry of a few classes,
        as the address command gives them, is found by locate."""
        checked = 0
        for cls, chip in TARGETS + [("CrpsExpansionMapMem", B), ("CrpsEngineScanEnable", B)]:
            d = describe(cls, chip)
            for inst, element, entry in itertools.product(
                    range(d["instanceCount"]), {0, d["arrayElements"] - 1}, {0, d.get("entries", 1) - 1}):
                rc, out, err = run("address", cls, "--chip", chip, "--variant", str(d["variant"]),
                                   "--instance", str(inst), "--array", str(element), "--entry", str(entry))
                self.assertEqual(0, rc, err)
                at = dict(line.split()[:2] for line in out.splitlines()[1:])
                rc, found = locate(chip, at["block"], at["address"])
                self.assertEqual(0, rc)
                want = {"class": cls, "instance": inst, "subBlock": int(at["subBlock"]),
                        "arrayElement": element, "tableEntry": entry}
                hits = [m for m in found["matches"] if {k: m[k] for k in want} == want]
                self.assertEqual(1, len(hits), (cls, chip, at, found["matches"]))
                self.assertIn(d["variant"], hits[0]["variants"])
                checked += 1
        self.assertGreater(checked, 30)

    def test_variants_that_share_an_address_come_together(self):
        out = ok("classes", "--chip", B)
        variants = next(l for l in out.splitlines() if l.startswith("CrpsExpansionMapMem "))
        rc, found = locate(B, 617, 40000)
        [match] = found["matches"]
        self.assertEqual("CrpsExpansionMapMem", match["class"])
        self.assertEqual(variants.split("variants ")[1], f"{match['variants'][0]}-{match['variants'][-1]}")
        self.assertEqual(list(range(match["variants"][0], match["variants"][-1] + 1)), match["variants"])
        rc, out, _ = run("locate", "--chip", B, "--block", "617", "0x9c40")
        self.assertEqual(0, rc)
        self.assertIn(f"CrpsExpansionMapMem variants {variants.split('variants ')[1]}, instance", out)

    def test_block_map_and_its_gaps_agree_with_locate(self):
        rc, out, err = run("locate", "--chip", B, "--block", "617", "--json")
        self.assertEqual(0, rc, err)
        ranges = json.loads(out)["ranges"]
        self.assertGreater(len(ranges), 3)
        for before, after in zip(ranges, ranges[1:]):
            self.assertLess(before["last"], after["first"])
            if before["last"] + 1 < after["first"]:
                rc, found = locate(B, 617, before["last"] + 1)
                self.assertEqual(1, rc)
                self.assertEqual([], found["matches"])
                self.assertEqual(before, found["nearestBelow"])
                self.assertEqual(after, found["nearestAbove"])
        for r in random.Random(3).sample(ranges, 8):
            rc, found = locate(B, 617, r["last"])
            self.assertEqual(0, rc)
            self.assertEqual(sorted({m["class"] for m in r["matches"]}),
                             sorted({m["class"] for m in found["matches"]}))
        text = ok("locate", "--chip", B, "--block", "617")
        self.assertEqual(len(ranges), sum(1 for l in text.splitlines()[1:] if not l.startswith(" ")))
        self.assertIn(f"{len(ranges)} ranges", text.splitlines()[0])

    def test_sub_block_keeps_that_sub_block(self):
        rc, found = locate("10", 8, 362)
        self.assertEqual(0, rc)
        sub = found["matches"][0]["subBlock"]
        rc, same = locate("10", 8, 362, "--sub-block", str(sub))
        self.assertEqual(found["matches"], [m for m in same["matches"]])
        rc, other = locate("10", 8, 362, "--sub-block", str(sub + 1))
        self.assertEqual(1, rc)

    def test_nothing_there_is_status_one_with_the_neighbours(self):
        rc, out, err = run("locate", "--chip", B, "--block", "617", "5000000")
        self.assertEqual((1, ""), (rc, err))
        self.assertIn("nothing of the catalogue lies at block 617 address 5000000 (0x4c4b40)", out)
        self.assertIn("nearest below: 32768..65535 (0x8000..0xffff)", out)
        self.assertNotIn("nearest above", out)
        rc, out, err = run("locate", "--chip", B, "--block", "4", "1")
        self.assertEqual((1, ""), (rc, err))
        self.assertIn("nothing lies in block 4", out)
        self.assertIn(" 617,", out)


class Describe(unittest.TestCase):
    def test_json_agrees_with_the_text(self):
        for cls, chip in TARGETS:
            with self.subTest(cls=cls, chip=chip):
                layout = describe(cls, chip)
                text = ok("describe", cls, "--chip", chip)
                rows = [l.split() for l in text.splitlines() if l.startswith(" " * 18)]
                self.assertEqual([[f["name"], f["hardwareName"], str(f["id"]), str(f["offset"]),
                                   str(f["width"])] for f in layout["fields"]], rows)
                for s in layout["instances"]:
                    first, last = s["firstAddress"], s["lastAddress"]
                    span = (f"{first} ({first:#x})" if first == last
                            else f"{first}..{last} ({first:#x}..{last:#x})")
                    self.assertIn(f"block {s['block']}, address {span}\n", text)
                self.assertEqual(len(layout["fields"]), layout["fieldCount"])
                self.assertEqual(layout["instanceCount"], len(layout["instances"]))
                self.assertEqual(4 * layout["widthWords"], layout["entryBytes"])
                self.assertEqual(layout["kind"] == "memory", "entries" in layout)


class Map(unittest.TestCase):
    SVG = "{http://www.w3.org/2000/svg}"

    def test_svg_and_html(self):
        for cls, chip in TARGETS:
            with self.subTest(cls=cls, chip=chip), tempfile.TemporaryDirectory() as d:
                layout = describe(cls, chip)
                svg, html = os.path.join(d, "m.svg"), os.path.join(d, "m.html")
                rc, out, err = run("map", cls, "--chip", chip, "--svg", svg, "--html", html)
                self.assertEqual((0, "", ""), (rc, out, err))
                root = ET.parse(svg).getroot()
                titles = [t.text for t in root.iter(self.SVG + "title")]
                # One box per field and word it touches, each with a tooltip.
                segments = sum(len({(b // 32) for b in range(f["offset"], f["offset"] + f["width"])})
                               for f in layout["fields"])
                self.assertEqual(segments, len(titles))
                for f in layout["fields"]:
                    self.assertTrue(any(t.startswith(f["name"] + " (") for t in titles), f["name"])
                words = [t.text for t in root.iter(self.SVG + "text") if (t.text or "").startswith("word ")]
                self.assertEqual([f"word {w}" for w in range(layout["widthWords"])], words)
                with open(html) as h:
                    page = h.read()
                self.assertEqual(len(layout["fields"]), page.count("<tr><td"))
                self.assertIn("<svg", page)
                # The page shows its title once, above the picture, and the picture alone.
                title = f"{cls} \u2014 {layout['chip']} ({layout['chipNumber']}), variant {layout['variant']}"
                body = page.split("<body>", 1)[1]
                self.assertEqual(1, body.count(title), title)
                self.assertIn(title, root.find(self.SVG + "text").text)

    def test_stdout(self):
        rc, out, _ = run("map", "CrpsReservedSpare2", "--chip", "12", "--svg", "-")
        self.assertEqual(0, rc)
        ET.fromstring(out)


def run_json(*args):
    return json.loads(ok(*args, "--json"))


def changes(a, b):
    """Field and geometry changes from layout a to layout b of the export."""
    fa, fb = ({f["id"]: (f["offset"], f["width"]) for f in l["fields"]} for l in (a, b))
    fields = {i: "added" if i not in fa else "removed" if i not in fb else
              "moved" if fa[i][0] != fb[i][0] else "resized"
              for i in fa.keys() | fb.keys() if fa.get(i) != fb.get(i)}
    geometry = {k for k in ("widthWords", "arrayElements", "elementStride", "entries",
                            "tableVariantCount", "instanceCount", "address") if a[k] != b[k]}
    return fields, geometry | {(k, n) for n, (x, y) in enumerate(zip(a["instances"], b["instances"]))
                               for k in ("subBlock", "block") if x[k] != y[k]}


def views_of(fields):
    """(viewOf, overlaps) of each field, from offsets and widths alone: the narrowest
    other field that holds all its bits (of two alike, the earlier), and the fields it
    shares only some bits with."""
    def holds(g, f):
        return g["offset"] <= f["offset"] and f["offset"] + f["width"] <= g["offset"] + g["width"]

    out = []
    for i, f in enumerate(fields):
        others = [(j, g) for j, g in enumerate(fields) if j != i]
        holders = [(g["width"], j) for j, g in others if holds(g, f) and (g["width"] > f["width"] or j < i)]
        crosses = [g["name"] for _, g in others if g["offset"] < f["offset"] + f["width"]
                   and f["offset"] < g["offset"] + g["width"] and not holds(g, f) and not holds(f, g)]
        out.append((fields[min(holders)[1]]["name"] if holders else None, crosses))
    return out


class Catalogue(unittest.TestCase):
    """export --json against its schema and describe; search and diff against the export."""

    @classmethod
    def setUpClass(cls):
        cls.export = run_json("export")
        cls.layouts = {(c["name"], l["chip"], l["variant"]): l
                       for c in cls.export["classes"] for l in c["layouts"]}

    def test_export_validates_and_agrees_with_describe_and_the_chip_export(self):
        with open(SCHEMA) as f:
            jsonschema.Draft202012Validator(json.load(f)).validate(self.export)
        described = 0
        for (cls, chip, variant), l in self.layouts.items():
            if chip not in (A, B):
                continue
            self.assertEqual(views_of(l["fields"]), [(f.get("viewOf"), f.get("overlaps", [])) for f in l["fields"]],
                             (cls, chip, variant))
            if chip == A:
                d = run_json("describe", cls, "--chip", chip, "--variant", str(variant))
                self.assertEqual(d.pop("fields"), [{k: v for k, v in f.items() if k not in ("viewOf", "overlaps")}
                                                   for f in l["fields"]], cls)
                self.assertEqual(d, {**d, **{k: v for k, v in l.items() if k in d}}, cls)
                described += 1
        self.assertGreater(described, 40)
        self.assertEqual([l for (_, chip, _), l in self.layouts.items() if chip == A],
                         [l for c in run_json("export", "--chip", A)["classes"] for l in c["layouts"]])

    def test_search_finds_every_class_and_field_that_matches(self):
        for pattern, chip in [("engineNMode", None), ("engine_n_mode", B), ("ENGINE_*_MODE", None),
                              ("*shift", A), ("stat?metadata*", None), ("TypeMap", None), ("zzz", None)]:
            glob = (pattern if "*" in pattern or "?" in pattern else f"*{pattern}*").lower()
            match = lambda name: fnmatch.fnmatchcase(name.lower(), glob)
            want = {}
            for (cls, on, v), l in self.layouts.items():
                for f in l["fields"]:
                    if chip in (None, on) and (match(f["name"]) or match(f["hardwareName"])):
                        want.setdefault((cls, f["name"]), set()).add((on, v, f["offset"], f["width"]))
            got = run_json("search", pattern, *(["--chip", chip] if chip else []))
            self.assertEqual(want, {(h["class"], h["name"]): {(o["chip"], o["variant"], p["offset"], p["width"])
                                                              for p in h["layouts"] for o in p["on"]}
                                    for h in got["fields"]}, pattern)
            self.assertEqual(sorted({c for c, on, _ in self.layouts if match(c) and chip in (None, on)}),
                             [c["class"] for c in got["classes"]], pattern)
        self.assertTrue(ok("search", "ENGINE_N_MODE").endswith(" and 1 field match 'ENGINE_N_MODE'\n"))

    def test_class_diff_is_the_difference_of_the_two_layouts(self):
        for cls, a, va, b, vb in [("CrpsModulesrcCfg", A, 0, B, 0), ("CrpsEngineCfg", A, 0, B, 0),
                                  ("CrpsExpansionMapMem", A, 3, B, 30), ("EtppbCfgTrapObjShift", B, 2, B, 5),
                                  ("CrpsIfAdapterEgqEppCtrCfg", B, 20, A, 20), ("CrpsTypeMapMem", A, 0, A, 0)]:
            got = run_json("diff", cls, "--chip", a, "--variant", str(va), "--to", b, "--to-variant", str(vb))
            sides = {"from": self.layouts[cls, a, va], "to": self.layouts[cls, b, vb]}
            fields, geometry = changes(*sides.values())
            self.assertEqual(fields, {f["id"]: f["change"] for f in got["fields"]}, cls)
            self.assertEqual(geometry, {(g["property"], g["instance"]) if "instance" in g else g["property"]
                                        for g in got["geometry"]}, cls)
            self.assertEqual(bool(fields or geometry), got["differ"])
            for f, (side, l) in itertools.product(got["fields"], sides.items()):
                self.assertEqual([{"offset": x["offset"], "width": x["width"]} for x in l["fields"]
                                  if x["id"] == f["id"]], [f[side]] if side in f else [], cls)

    def test_chip_diff_lists_every_class_that_differs_with_its_moved_fields(self):
        want, moved = set(), {}
        for c in self.export["classes"]:
            va, vb = ({x["variant"] for x in c["layouts"] if x["chip"] == chip} for chip in (A, B))
            want |= {(c["name"], "onlyFrom", v) for v in va - vb} | {(c["name"], "onlyTo", v) for v in vb - va}
            for v in va & vb:
                fields, geometry = changes(self.layouts[c["name"], A, v], self.layouts[c["name"], B, v])
                want |= {(c["name"], "changed", v)} if fields or geometry else set()
                moved[c["name"]] = [i for i, k in fields.items() if k in ("moved", "resized")]
        got = run_json("diff", "--chip", A, "--to", B)
        self.assertEqual(want, {(c["class"], c["status"], v) for c in got["classes"] for v in c["variants"]})
        out = ok("diff", "--chip", A, "--to", B)
        on = {c for c, chip, _ in self.layouts if chip in (A, B)}
        self.assertIn(f"{A} -> {B}: {len({c for c, _, _ in want})} of {len(on)} classes differ", out)
        names = {f["id"]: f["name"] for l in self.layouts.values() for f in l["fields"]}
        for cls, i in ((cls, i) for cls, ids in moved.items() for i in ids):
            self.assertRegex(out, rf"\n{cls} .*\n(    .*\n)*    (moved|resized) +{names[i]} ")
        same = len({c for c, chip, _ in self.layouts if chip == A})
        self.assertEqual((0, f"{A} -> {A}: the same in all {same} classes\n"), run("diff", "--chip", A, "--to", A)[:2])


class Help(unittest.TestCase):
    def test_each_command_tells_its_usage_and_the_options_it_takes(self):
        usage = ok("--help")
        commands = sorted(set(re.findall(r"^  tessel-counters (\w+)", usage, re.M)) - {"COMMAND"})
        self.assertGreaterEqual(len(commands), 12)
        for command in commands:
            with self.subTest(command=command):
                rc, out, err = run(command, "--help")
                self.assertEqual((0, ""), (rc, err))
                self.assertTrue(out.startswith(f"usage: tessel-counters {command}"), out)
                listed = re.findall(r"^  (--[\w-]+)", out, re.M)
                self.assertEqual("--help", listed[-1])
                # What the parser takes is what the help lists: an unknown option's message
                # names the same options.
                rc, _, err = run(command, "--no-such-option")
                self.assertEqual(2, rc)
                taken = err.partition("this command takes ")[2].strip()
                self.assertEqual(", ".join(listed[:-1]) or "no options", taken, err)

    def test_version_is_the_projects(self):
        with open(os.path.join(HERE, "..", "..", "CMakeLists.txt")) as f:
            version = re.search(r"project\(TesselCountersOrrery VERSION (\S+)", f.read()).group(1)
        self.assertEqual((0, f"tessel-counters {version}\n", ""), run("--version"))


class Readme(unittest.TestCase):
    def test_the_readmes_examples_are_what_the_tool_prints(self):
        """Every '$ tessel-counters ...' of the README, run; its lines are the output's, in order,
        where a '...' line stands for any number of lines."""
        with open(os.path.join(HERE, "..", "..", "README.md")) as f:
            readme = f.read()
        examples = 0
        fenced = readme.split("\n```")[1::2]  # the insides of the fenced blocks, language first
        for block in (b.partition("\n")[2] + "\n" for b in fenced):
            for command, shown in re.findall(r"^\$ tessel-counters (.*)\n((?:(?!\$ ).*\n)*)", block, re.M):
                rc, out, err = run(*command.split())
                self.assertEqual(0, rc, (command, err))
                pattern = "".join(".*\n" if l == "..." else re.escape(l) + "\n" for l in shown.splitlines())
                pattern = pattern.replace(".*\n", "(?:.*\n)*?")
                self.assertRegex(out, "^" + pattern + "$", command)
                examples += 1
        self.assertGreaterEqual(examples, 4)


class Inputs(unittest.TestCase):
    """One grammar of an entry's contents: bytes or words, lines, comments, a file, stdin."""

    def test_every_form_gives_the_same_fields(self):
        rnd = random.Random(26)
        for cls, chip in [("CrpsModulesrcCfg", "BCM88860_A0"), ("CrpsEngineCfg", "BCM88690_B0")]:
            size = describe(cls, chip)["entryBytes"]
            data = bytes(rnd.randrange(256) for _ in range(size))
            words = [int.from_bytes(data[i:i + 4], "little") for i in range(0, size, 4)]
            lines = "".join(f"  0x{w:x}\t# word {i}\r\n" for i, w in enumerate(words))
            with tempfile.NamedTemporaryFile("w", suffix=".txt") as f:
                f.write(lines)
                f.flush()
                forms = [([data.hex()], None), ([data.hex(" ", 4).replace(" ", "\n# x\n")], None),
                         (["--words", " ".join(f"{w:08x}" for w in words)], None),
                         (["--words", lines], None), (["--words", "@" + f.name], None),
                         (["--words", "-"], lines), (["-"], data.hex(":"))]
                outs = []
                for args, stdin in forms:
                    rc, out, err = run("decode", cls, "--chip", chip, "--json", *args, stdin=stdin)
                    self.assertEqual((0, ""), (rc, err), args)
                    outs.append(json.loads(out))
            self.assertEqual([outs[0]] * len(forms), outs, cls)
            self.assertEqual(" ".join(f"0x{w:08x}" for w in words), outs[0]["words"])
            out = ok("encode", cls, "--chip", chip, "--words", "--from", lines)
            self.assertEqual(outs[0]["words"] + "\n", out)

    def test_a_number_that_reads_like_a_word_is_bytes_with_a_note(self):
        d = ["decode", "CrpsModulesrcCfg", "--chip", "10", "--json"]
        rc, as_bytes, err = run(*d, "0x00000001 0xffffffff 0xfc00000f")
        self.assertEqual(0, rc)
        self.assertEqual("00 00 00 01 ff ff ff ff fc 00 00 0f", json.loads(as_bytes)["bytes"])
        self.assertIn("note: HEX '0x00000001' is read as bytes in buffer order", err)
        self.assertIn("give --words", err)
        rc, as_words, err = run(*d, "--words", "0x00000001 0xffffffff 0xfc00000f")
        self.assertEqual((0, ""), (rc, err))
        self.assertEqual(json.loads(as_words), json.loads(ok(*d, "01000000ffffffff0f0000fc")))
        rc, _, err = run(*d, "0x01")
        self.assertEqual((0, ""), (rc, err.split("note: HEX has")[0]))  # one byte reads alike

    def test_a_bad_character_is_named_at_its_place_and_long_input_is_cut(self):
        d = ["decode", "CrpsEngineCfg", "--chip", "10"]
        for text, words, part in [("01 02\x01", False, r"'\x01' is a control character (line 1, column 6)"),
                                  ("01\u00a002", False, "U+00A0 is not ASCII (line 1, column 3)"),
                                  ("0x1\n# caf\u00e9\n 0x2 0x3\u2019", True, "U+2019 is not ASCII (line 3, column 9)"),
                                  ("0x1 0x123456789", True, "'0x123456789' has 9 hex digits, more than a 32-bit word"),
                                  ("01\n02 0xg", False, "'g' is not a hex digit (line 2, column 6)"),
                                  ("#", True, "no words")]:
            with self.subTest(text=text):
                rc, _, err = run(*d, *(["--words"] if words else []), text)
                self.assertEqual(2, rc)
                self.assertEqual(1, len(err.splitlines()), err)
                self.assertIn(part, err)
        for args in [d + ["zz" * 50000], ["encode", "CrpsEngineCfg", "--chip", "10", "x" * 100000 + "=1"],
                     ["describe", "C" * 100000, "--chip", "10"], ["frob" * 25000]]:
            rc, _, err = run(*args)
            self.assertEqual(2, rc)
            self.assertLess(len(err), 1500, err[:200])
            self.assertIn("...' (1000", err)


class NoOutputLost(unittest.TestCase):
    def test_a_full_disk_is_an_error_and_a_closed_pipe_is_quiet(self):
        with open("/dev/full", "w") as full:
            for args in [["export", "--json"], ["chips"], ["address", "CrpsTypeMapMem", "--chip", "10", "--all"],
                         ["map", "CrpsEngineCfg", "--chip", "10", "--svg", "-"]]:
                rc, out, err = run(*args, stdout=full)
                self.assertEqual(2, rc, args)
                self.assertEqual("tessel-counters: cannot write standard output: No space left on device\n", err)
        rc, _, err = run("map", "CrpsEngineCfg", "--chip", "10", "--svg", "/dev/full")
        self.assertEqual((2, "tessel-counters: cannot write '/dev/full': No space left on device\n"), (rc, err))
        for ignored in (False, True):  # also where the parent ignores SIGPIPE
            p = subprocess.Popen([TOOL, "export", "--json"], stdout=subprocess.PIPE,
                                 stderr=subprocess.PIPE, restore_signals=not ignored)
            p.stdout.readline()
            p.stdout.close()
            self.assertEqual(b"", p.stderr.read())
            self.assertIn(p.wait(timeout=60), (-13, 141))
            p.stderr.close()

    def test_files_are_written_whole_or_not_at_all(self):
        with tempfile.TemporaryDirectory() as d:
            keep, other = os.path.join(d, "keep.svg"), os.path.join(d, "other.html")
            for path in (keep, other):
                with open(path, "w") as f:
                    f.write("mine")
            os.chmod(keep, 0o640)
            m = ["map", "CrpsEngineCfg", "--chip", "10"]
            for args, part in [(["--svg", keep, "--html", os.path.join(d, "nodir", "x.html")], "cannot write"),
                               (["--svg", keep, "--html", keep], "are the same file"),
                               (["--svg", other, "--html", os.path.join(d, ".", "other.html")], "are the same file"),
                               (["--svg", keep, "--html", "/dev/full"], "No space left")]:
                rc, _, err = run(*m, *args)
                self.assertEqual(2, rc)
                self.assertIn(part, err)
                self.assertEqual(["keep.svg", "other.html"], sorted(os.listdir(d)))
                for path in (keep, other):
                    with open(path) as f:
                        self.assertEqual("mine", f.read())
            self.assertEqual(0, run(*m, "--svg", keep)[0])
            self.assertEqual(0o640, os.stat(keep).st_mode & 0o777)
            self.assertEqual(["keep.svg", "other.html"], sorted(os.listdir(d)))

    def test_site_changes_only_its_own_files(self):
        with tempfile.TemporaryDirectory() as d:
            mine = {"index.html": "my own page", "notes.txt": "my notes"}
            for name, text in mine.items():
                with open(os.path.join(d, name), "w") as f:
                    f.write(text)
            rc, _, err = run("site", d)
            self.assertEqual(2, rc)
            self.assertIn("index.html' is in the way", err)
            self.assertEqual(sorted(mine), sorted(os.listdir(d)))
            os.remove(os.path.join(d, "index.html"))
            for _ in range(2):  # the second time over the files the first wrote
                self.assertEqual(0, run("site", d)[0])
            with open(os.path.join(d, "notes.txt")) as f:
                self.assertEqual("my notes", f.read())
            os.remove(os.path.join(d, "site.css"))
            os.symlink(os.path.join(d, "notes.txt"), os.path.join(d, "site.css"))
            self.assertEqual(2, run("site", d)[0])
            with open(os.path.join(d, "notes.txt")) as f:
                self.assertEqual("my notes", f.read())


def read_list(chip, *more):
    rc, out, err = run("dump", "list", "--chip", chip, *more)
    assert rc == 0, err
    return [l for l in out.splitlines() if not l.startswith("#")]


def with_words(line, rnd):
    """A dump list line with random words in place of its zeros: (text, words as one int)."""
    head = line.split("#")[0].split()
    words = [rnd.getrandbits(32) for _ in head[2:]]
    return " ".join(head[:2] + [f"0x{w:x}" for w in words]), sum(w << (32 * i) for i, w in enumerate(words))


def dump_json(*args, stdin=None):
    rc, out, err = run("dump", *args, "--json", stdin=stdin)
    return rc, [json.loads(l) for l in out.splitlines()], err


class Dumps(unittest.TestCase):
    def test_list_words_decode_to_the_bits_of_every_class(self):
        """dump list, random words, dump decode: every field is the bits it lies on, by the export's layouts."""
        rnd = random.Random(2026)
        for chip in (A, B):
            layouts = {(c["name"], l["variant"]): l for c in run_json("export", "--chip", chip)["classes"]
                       for l in c["layouts"]}
            by_class = {}
            for line in read_list(chip):
                by_class.setdefault(line.split("# ")[1].split("[")[0], []).append(line)
            self.assertEqual({c for c, _ in layouts}, set(by_class), chip)
            sample = [l for lines in by_class.values() for l in rnd.sample(lines, min(4, len(lines)))]
            filled = [with_words(l, rnd) for l in sample]
            rc, decoded, err = dump_json("decode", "-", "--chip", chip,
                                         stdin="\n".join(["# filled"] + [t for t, _ in filled]))
            self.assertEqual((0, ""), (rc, err))
            self.assertEqual(len(sample), len(decoded))
            for (text, value), d in zip(filled, decoded):
                self.assertEqual(text.split()[0], f"{d['block']}.{d['subBlock']}")
                [m] = d["matches"]
                for v in m["variants"]:
                    self.assertEqual([(f["name"], f["offset"], f["width"]) for f in layouts[m["class"], v]["fields"]],
                                     [(f["name"], f["offset"], f["width"]) for f in m["fields"]], (text, v))
                covered = 0
                for f in m["fields"]:
                    self.assertEqual(field_bits(value.to_bytes(64 * 4, "little"), f["offset"], f["width"]),
                                     int(f["decimal"]), (text, f["name"]))
                    covered |= ((1 << f["width"]) - 1) << f["offset"]
                stray = sum(((1 << (r["last"] - r["first"] + 1)) - 1) << r["first"] for r in m["strayBits"])
                self.assertEqual(value & ~covered, stray, text)

    def test_list_of_a_class_and_one_variant(self):
        lines = read_list(B, "--class", "CrpsExpansionMapMem")
        d = describe("CrpsExpansionMapMem", B)
        self.assertEqual(d["instanceCount"] * d["arrayElements"] * d["entries"], len(lines))
        self.assertTrue(all(l.split("#")[0].split()[2:] == ["0x00000000"] * d["widthWords"] for l in lines))
        rc, decoded, _ = dump_json("decode", "-", "--chip", B, "--variant", "7", stdin=lines[40000])
        self.assertEqual(0, rc)
        self.assertEqual([7], decoded[0]["matches"][0]["variants"])
        out = ok("dump", "list", "--chip", B, "--class", "CrpsEngineScanEnable", "--json")
        self.assertEqual({"block": 617, "subBlock": 0, "address": 540, "words": [0]}, json.loads(out.splitlines()[2]))

    def test_bad_lines_are_reported_and_the_rest_decoded(self):
        dump = ("617.0 0x21c 0xff\n\n# a comment\n617 540 0xff 0x1\nx\n617.0 0x21c 0xfg\n5 5 0x1\n"
                '{"block": 617, "subBlock": 0, "address": 540, "words": [256]}\n{"block": 617}\n')
        rc, out, err = run("dump", "decode", "-", "--chip", B, stdin=dump)
        self.assertEqual((1, ""), (rc, err))
        self.assertIn("line 1, 617.0 0x21c: CrpsEngineScanEnable variant 0, instance 2", out)
        for part in ["line 4, 617 0x21c: 2 words, but what lies there is 1 word", "line 5: expected BLOCK",
                     "line 6: word 0 '0xfg' is not a 32-bit word", "line 7, 5 0x5: nothing of the catalogue",
                     "line 9: no \"address\"", "2 entries decoded, 5 lines reported"]:
            self.assertIn(part, out)
        rc, decoded, _ = dump_json("decode", "-", "--chip", B, stdin=dump)
        self.assertEqual(1, rc)
        self.assertEqual([1, 4, 5, 6, 7, 8, 9], [d["line"] for d in decoded])
        self.assertEqual(["256"], [f["decimal"] for f in decoded[5]["matches"][0]["fields"]])
        self.assertEqual(5, sum("error" in d for d in decoded))

    def test_diff_names_the_fields_over_a_flipped_bit(self):
        rnd = random.Random(7)
        lines = [with_words(l, rnd)[0] for l in rnd.sample(read_list(B), 300)]
        with tempfile.TemporaryDirectory() as d:
            a, b = os.path.join(d, "a.dump"), os.path.join(d, "b.dump")
            with open(a, "w") as f:
                f.write("\n".join(lines) + "\n")
            self.assertEqual((0, "", ""), run("dump", "diff", a, a, "--chip", B)[:1] + ("", ""))
            for _ in range(12):
                k = rnd.randrange(len(lines))
                head, words = lines[k].split()[:2], [int(w, 16) for w in lines[k].split()[2:]]
                bit = rnd.randrange(32 * len(words))
                words[bit // 32] ^= 1 << (bit % 32)
                with open(b, "w") as f:
                    f.write("\n".join(lines[:k] + [" ".join(head + [hex(w) for w in words])] + lines[k + 1:]))
                rc, [before], _ = dump_json("decode", "-", "--chip", B, stdin=lines[k])
                self.assertEqual(0, rc)
                over = {f["name"] for f in before["matches"][0]["fields"]
                        if f["offset"] <= bit < f["offset"] + f["width"]}
                rc, out, err = run("dump", "diff", a, b, "--chip", B)
                self.assertEqual((1, ""), (rc, err))
                named = {l.split(": ")[0].split()[-1] for l in out.splitlines()[:-1]}
                self.assertEqual(over or {"field"}, named, (lines[k], bit))
                self.assertIn(f"in 1 entry, 0 entries only in {a}, 0 only in {b}; 299 entries the same", out)
                rc, diffs, _ = dump_json("diff", a, b, "--chip", B)
                self.assertEqual(1, rc)
                self.assertEqual(over, {f["name"] for f in diffs[0]["matches"][0]["fields"]})
                self.assertTrue(diffs[-1]["summary"]["differ"])
            with open(b, "w") as f:
                f.write("\n".join(lines[1:]))
            rc, out, _ = run("dump", "diff", a, b, "--chip", B)
            self.assertEqual(1, rc)
            self.assertIn(f"only in {a}, line 1: {lines[0].split()[0]} ", out)
            with open(b, "w") as f:
                f.write("\n".join(lines + lines[:1] + ["5 5 0x1"]))
            rc, out, err = run("dump", "diff", a, b, "--chip", B)
            self.assertEqual(2, rc)
            self.assertIn(f"{b} line 301: {lines[0].split()[0]} 0x", out)
            self.assertIn(f"{b} line 302: 5 0x5: nothing of the catalogue", out)
            self.assertIn("2 lines of", err)


class Errors(unittest.TestCase):
    def check(self, args, *parts):
        rc, out, err = run(*args)
        self.assertEqual(2, rc, err)
        self.assertEqual("", out)
        self.assertEqual(1, len(err.splitlines()), err)
        self.assertNotIn("Assertion", err)
        for p in parts:
            self.assertIn(p, err)
        # One sentence, or two joined by ';': no sentence ends inside the line.
        self.assertNotRegex(err.strip().replace("e.g. ", ""), r"[.?!] ['A-Za-z]")

    def test_every_bad_input_is_one_line_and_status_two(self):
        self.check([], "no command given", "--help")
        self.check(["frobnicate"], "unknown command 'frobnicate'", "describe")
        self.check(["frob\nnicate\x01"], r"unknown command 'frob\nnicate\x01'")
        self.check(["classes", "--chip", "BCM99999"], "unknown chip 'BCM99999'", "BCM88870_A0")
        self.check(["classes", "--chip", "13"], "unknown chip '13'")
        self.check(["classes", "--chip"], "--chip needs a value")
        self.check(["classes", "--chip", "10", "--chip", "11"], "given twice")
        self.check(["chips", "extra"], "chips takes no arguments")
        self.check(["describe", "--chip", "10"], "a class name is required")
        self.check(["describe", "CrpsTypeMapMem", "CrpsTypeMapMem", "--chip", "10"],
                   "unexpected argument", "describe takes one class name")
        self.check(["describe", "crpsTypeMapMem", "--chip", "10"], "unknown class 'crpsTypeMapMem'",
                   "(did you mean CrpsTypeMapMem?); 'tessel-counters classes' lists the classes")
        self.check(["describe", "Bogus", "--chip", "10"], "unknown class 'Bogus'; 'tessel-counters classes'")
        self.check(["describe", "CrpsReservedSpare2", "--chip", "BCM88690_B0"],
                   "CrpsReservedSpare2 does not exist on BCM88690_B0", "BCM88850_A0, BCM88859_A2")
        self.check(["describe", "CrpsTypeMapMem", "--chip", "10", "--variant", "1"],
                   "has no variant 1 on BCM88690_B0", "valid variants: 0")
        self.check(["describe", "CrpsTypeMapMem", "--chip", "10", "--variant", "256"], "0 to 255")
        self.check(["describe", "CrpsTypeMapMem", "--chip", "10", "--variant", "-1"], "0 to 255")
        self.check(["describe", "CrpsTypeMapMem", "--chip", "10", "--colour", "red"],
                   "unknown option --colour", "--chip, --variant")
        self.check(["describe", "CrpsTypeMapMem", "--chip", "10", "--json=yes"], "--json takes no value")

    def test_decode(self):
        d = ["decode", "CrpsEngineInitRequest", "--chip", "10"]
        self.check(d, "decode takes a class name and HEX")
        self.check(d + ["0xfg"], "bad HEX '0xfg'", "'g' is not a hex digit", "byte 0 first")
        self.check(d + ["123"], "bad HEX", "odd count of digits")
        self.check(d + ["0x"], "bad HEX", "'0x' without digits")
        self.check(d + [":"], "bad HEX", "no bytes")
        self.check(d + ["01 02 03 04 05"], "HEX has 5 bytes", "is 4 bytes (1 word)",
                   "at most 4 bytes")
        self.check(["decode", "CrpsNoSuch", "--chip", "10", "00"], "unknown class 'CrpsNoSuch'")
        self.check(["decode", "CrpsReservedSpare2", "--chip", "26", "00"],
                   "does not exist on BCM88870_A0", "BCM88850_A0")
        self.check(["decode", "CrpsEngineInitRequest", "00"], "--chip is required")
        self.check(d + ["--variant", "3", "00"], "has no variant 3", "valid variants: 0")

    def test_encode(self):
        e = ["encode", "CrpsModulesrcCfg", "--chip", "10"]
        self.check(e, "encode takes a class name and at least one FIELD=VALUE")
        self.check(e + ["modulesrcNGroupSize"], "expected FIELD=VALUE, not 'modulesrcNGroupSize'")
        self.check(e + ["=5"], "expected FIELD=VALUE")
        self.check(e + ["modulesrcNGroupSiz=1"], "CrpsModulesrcCfg has no field 'modulesrcNGroupSiz'",
                   "did you mean modulesrcNGroupSize?", "modulesrcNMmuxSourceSelect")
        self.check(e + ["engineNMode=1"], "has no field 'engineNMode'", "fields of CrpsModulesrcCfg")
        self.check(e + ["modulesrcNGroupSize0=1"],
                   "field 'modulesrcNGroupSize0' of CrpsModulesrcCfg is not on BCM88690_B0 variant 0",
                   "BCM88490_A0 variant 0", "modulesrcNGroupSize,")
        self.check(e + ["modulesrcNGroupSize=64"], "value 64 is too wide for modulesrcNGroupSize",
                   "6 bits, at most 0x3f (63)")
        self.check(e + ["MODULESRC_N_GROUP_SIZE=0x40"], "too wide", "at most 0x3f")
        self.check(e + ["modulesrcNGroupSize=-1"], "bad value '-1'", "decimal number or 0x")
        self.check(e + ["modulesrcNGroupSize=ff"], "bad value 'ff'")
        self.check(e + ["modulesrcNGroupSize=0x"], "bad value '0x'")
        self.check(e + ["modulesrcNGroupSize=1", "MODULESRC_N_GROUP_SIZE=2"],
                   "field modulesrcNGroupSize given twice")
        self.check(e + ["--from", "zz", "modulesrcNGroupSize=1"], "bad --from 'zz'")
        self.check(e + ["--from", "00" * 13, "modulesrcNGroupSize=1"], "--from has 13 bytes",
                   "at most 12 bytes")
        self.check(["encode", "CrpsEngineInitRequest", "--chip", "11",
                    "engineInitRequest=0x400000000"], "too wide", "34 bits, at most 0x3ffffffff")

    def test_address(self):
        a = ["address", "CrpsTypeMapMem", "--chip", "11"]
        self.check(a + ["--instance", "1"], "--instance 1 is out of range",
                   "has 1 instance, 0..0")
        self.check(a + ["--entry", "4"], "--entry 4 is out of range", "has 4 entries, 0..3")
        self.check(a + ["--array", "34"], "--array 34 is out of range", "34 array elements, 0..33")
        self.check(a + ["--array", "x"], "--array must be a number")
        self.check(a + ["--array", "99999999999999999999999"], "--array must be a number")
        self.check(a + ["--all", "--array", "1"], "--all lists every instance", "drop --array")
        self.check(a + ["--all=1"], "--all takes no value")
        self.check(["address", "CrpsEngineInitRequest", "--chip", "10", "--entry", "1"],
                   "CrpsEngineInitRequest is a register and has no table entries")
        self.check(["address", "CrpsEngineInitRequest", "--chip", "10", "--instance", "2"],
                   "has 2 instances, 0..1")
        self.check(["address", "CrpsEngineInitRequest", "CrpsTypeMapMem", "--chip", "10"],
                   "unexpected argument 'CrpsTypeMapMem'")

    def test_map(self):
        m = ["map", "CrpsTypeMapMem", "--chip", "10"]
        self.check(m, "map needs --svg FILE or --html FILE")
        self.check(m + ["--svg", "-", "--html", "-"], "can't both go to stdout")
        self.check(m + ["--svg", "/nonexistent-dir/x.svg"], "cannot write '/nonexistent-dir/x.svg'")
        self.check(["map", "CrpsTypeMapMem", "--chip", "99", "--svg", "-"], "unknown chip '99'")

    def test_locate(self):
        l = ["locate", "--chip", B]
        self.check(l, "--block is required")
        self.check(l + ["--sub-block", "0", "540"], "--sub-block goes with --block")
        self.check(["locate", "--block", "617", "540"], "--chip is required")
        self.check(["locate", "--chip", "NOPE", "--block", "617", "540"], "unknown chip 'NOPE'")
        for bad in ["x12", "-1", "0x", "4294967296", "1" * 30, "12abc"]:
            self.check(l + ["--block", "617", bad], "ADDRESS must be a number from 0 to 4294967295")
            self.check(l + ["--block", bad, "540"], "--block must be a number")
            self.check(l + ["--block", "617", "--sub-block", bad, "540"], "--sub-block must be a number")
        self.check(l + ["--block", "617", "540", "541"], "locate takes at most one ADDRESS")

    def test_search_diff_export(self):
        for args, part in [("search", "search takes one PATTERN"), (f"diff --chip {A}", "--to is required"),
                           (f"diff --chip {A} --to {B} --variant 1", "--variant goes with a CLASS"),
                           ("export", "export needs one of --json"), ("export --c-header", "--c-header needs --chip"),
                           ("export --json --class CrpsTypeMapMem", "--class goes with --c-header"),
                           ("site", "site takes one DIR"), ("site /dev/null", "cannot make the folder '/dev/null'"),
                           ("site /proc/tessel", "cannot make the folder '/proc/tessel'"),
                           ("dump", "dump takes list, decode FILE or diff A B"),
                           ("dump frob --chip 10", "unknown dump command 'frob'"),
                           ("dump list", "--chip is required"), ("dump list --chip 10 x", "takes options only"),
                           ("dump list --chip 10 --class Nope", "unknown class 'Nope'"),
                           ("dump list --chip 10 --class CrpsReservedSpare2", "does not exist on BCM88690_B0"),
                           ("dump list --chip 10 --variant 1", "--variant goes with dump decode"),
                           ("dump decode --chip 10 --class CrpsEngineCfg x", "--class goes with dump list"),
                           ("dump decode --chip 10", "dump decode takes one FILE"),
                           ("dump decode /nonexistent --chip 10", "cannot read '/nonexistent': No such file"),
                           ("dump decode /tmp --chip 10", "cannot read '/tmp': Is a directory"),
                           ("dump decode - --chip 10 --variant x", "--variant must be a number"),
                           ("dump diff /nonexistent --chip 10", "dump diff takes two FILEs"),
                           ("decode CrpsEngineCfg --chip 10 @/nonexistent", "cannot read '/nonexistent'")]:
            self.check(args.split(), part)

if __name__ == "__main__":
    unittest.main()
