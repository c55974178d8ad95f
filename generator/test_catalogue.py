#!/usr/bin/env python3
"""The generator rejects catalogue data that can't be right, naming class and field.

Each case starts from a small valid class, breaks one thing and checks the
message. Run: test_catalogue.py SOURCE_ROOT
"""

import os
import shutil
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from catalogue import Catalogue, CatalogueError, accessor_name, sort_key  # noqa: E402
from keys import with_section  # noqa: E402
import tcgen  # noqa: E402

ROOT = sys.argv.pop(1) if len(sys.argv) > 1 else os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

GOOD = '''
class = "CrpsEngineCfgProbe"
summary = "a probe"
kind = "register"
storage = 8
chips = "88690, 88800"
packed = true
block = "CRPS"
geometry = [
  { chips = "88690", layout = "L1", width = 2, arrayElements = 22, addrStride = 1, instanceCount = 2, fieldCount = 2, address = 268 },
  { chips = "88800", layout = "L2", width = 2, arrayElements = 34, addrStride = 1, instanceCount = 1, fieldCount = 3, address = 313 },
]
fields = [
  { name = "ENGINE_N_MODE", id = 137, type = "U8", L1 = "0:5", L2 = "0:6" },
  { name = "ENGINE_N_WEIGHT_SHIFT_RATIO", type = "U8", L1 = "5:6", L2 = "6:6" },
  { name = "ENGINE_N_OVF_VALUE", type = "U32", L2 = "12:18" },
]
'''


class CatalogueChecks(unittest.TestCase):
    def setUp(self):
        self.tmp = tempfile.mkdtemp()
        shutil.copytree(os.path.join(ROOT, "core", "data"), os.path.join(self.tmp, "core", "data"))
        os.makedirs(os.path.join(self.tmp, "accessors", "crps"))

    def tearDown(self):
        shutil.rmtree(self.tmp)

    def load(self, text, ids=None):
        with open(os.path.join(self.tmp, "accessors", "crps", "Probe.toml"), "w") as f:
            f.write(text)
        if ids is not None:
            with open(os.path.join(self.tmp, "core", "data", "field_ids.toml"), "w") as f:
                f.write(ids)
        return Catalogue.read(self.tmp)

    def rejects(self, text, *parts, ids=None):
        with self.assertRaises(CatalogueError) as ctx:
            self.load(text, ids)
        message = str(ctx.exception)
        for p in parts:
            self.assertIn(p, message)
        return message

    def test_good_class_loads(self):
        cat = self.load(GOOD)
        (k,) = cat.classes
        self.assertEqual(k.fields_by_name["engineNOvfValue"].cells, {(11, 0): (12, 18)})

    def test_name_too_long_for_any_layout_still_generates(self):
        # No wrapping keeps a 64-character class name within 100 columns in
        # the factory's maker; the line is left long, as clang-format leaves it.
        name = "CrpsEngineCfgProbe" + "WithAVeryLongNameIndeed" * 2
        cat = self.load(GOOD.replace("CrpsEngineCfgProbe", name))
        texts = {rel: make() for rel, make in tcgen.outputs(cat).items()}
        maker = "".join(t for rel, t in texts.items() if rel.startswith("src/FactoryMakers"))
        self.assertIn(f"std::make_shared<Hardware::{name}::WithStorage>", maker)
        self.assertIn(f"class {name}", texts[f"include/Hardware/{name}.h"])

    def test_gap_in_packed_layout(self):
        self.rejects(GOOD.replace('L2 = "12:18"', 'L2 = "13:18"'),
                     "CrpsEngineCfgProbe", "ENGINE_N_OVF_VALUE", "gap")

    def test_overlap_that_is_no_view(self):
        self.rejects(GOOD.replace('L1 = "5:6", L2 = "6:6"', 'L1 = "4:6", L2 = "6:6"'),
                     "CrpsEngineCfgProbe", "ENGINE_N_MODE", "ENGINE_N_WEIGHT_SHIFT_RATIO", "overlap")

    def test_declared_view_may_overlap(self):
        text = GOOD.replace('fieldCount = 2', 'fieldCount = 3').replace(
            ']\n', ']\n', 1).replace(
            '{ name = "ENGINE_N_OVF_VALUE", type = "U32", L2 = "12:18" },',
            '{ name = "ENGINE_N_OVF_VALUE", type = "U32", L2 = "12:18" },\n'
            '  { name = "ENGINE_N_SCAN_MODE", type = "U8", L1 = "0:5", view = true },')
        self.load(text)

    def test_field_past_width(self):
        self.rejects(GOOD.replace('L2 = "12:18"', 'L2 = "60:18"').replace("packed = true\n", ""),
                     "BCM88800_A0", "ENGINE_N_OVF_VALUE", "past width")

    def test_wrong_identifier(self):
        self.rejects(GOOD.replace("id = 137", "id = 138"), "ENGINE_N_MODE", "id 138", "137")

    def test_unknown_hardware_name(self):
        self.rejects(GOOD.replace("ENGINE_N_OVF_VALUE", "ENGINE_N_OVF_VALU"),
                     "ENGINE_N_OVF_VALU", "no field identifier")

    def test_type_too_narrow_or_too_wide(self):
        self.rejects(GOOD.replace('type = "U32", L2', 'type = "U16", L2'), "ENGINE_N_OVF_VALUE", "U32")
        self.rejects(GOOD.replace('type = "U32", L2', 'type = "U64", L2'), "ENGINE_N_OVF_VALUE", "U32")

    def test_missing_chip_row(self):
        self.rejects(GOOD.replace('chips = "88690, 88800"', 'chips = "88690, 88800, 88850"'),
                     "missing rows", "BCM88850_A0")

    def test_field_count_disagrees(self):
        self.rejects(GOOD.replace("fieldCount = 3", "fieldCount = 4"), "BCM88800_A0", "fieldCount 4")

    def test_instance_count_disagrees_with_block_map(self):
        self.rejects(GOOD.replace("instanceCount = 2", "instanceCount = 3"), "instanceCount 3",
                     "CRPS has 2")

    def test_storage_disagrees(self):
        self.rejects(GOOD.replace("storage = 8", "storage = 12"), "storage 12", "8")

    def test_several_variants_say_what_each_is(self):
        several = GOOD.replace('chips = "88690, 88800"\n', 'chips = "88690, 88800 v0-1"\n').replace(
            '{ chips = "88690", layout', '{ chips = "88690 v0-1", layout').replace(
            '{ chips = "88800", layout', '{ chips = "88800 v0-1", layout')
        self.rejects(several, "CrpsEngineCfgProbe", "'variants' must be one line")
        self.assertEqual("variant v is engine v", self.load(several.replace(
            'summary = "a probe"', 'summary = "a probe"\nvariants = "variant v is engine v"')).classes[0].variants)
        self.rejects(GOOD.replace('summary = "a probe"', 'summary = "a probe"\nvariants = "x"'),
                     "CrpsEngineCfgProbe", "'variants' given, but the class has variant 0 alone")

    def test_summary_is_one_line(self):
        for summary in ['', 'summary = ""', 'summary = "a\\nb"']:
            self.rejects(GOOD.replace('summary = "a probe"', summary), "CrpsEngineCfgProbe", "'summary'")

    def test_unknown_layout_key(self):
        self.rejects(GOOD.replace('L2 = "0:6"', 'L3 = "0:6"'), "ENGINE_N_MODE", "L3")

    def test_ids_out_of_sort_order(self):
        ids = open(os.path.join(ROOT, "core", "data", "field_ids.toml")).read()
        ids = ids.replace('[119, "ENGINES_DMA_SELECT"]', '[120, "ENGINES_DMA_SELECT"]').replace(
            '[120, "ENGINE_INIT_REQUEST"]', '[119, "ENGINE_INIT_REQUEST"]')
        self.rejects(GOOD, "ids out of sort order", "ENGINES_DMA_SELECT", ids=ids)

    def test_indexed_accessor_needs_known_fields(self):
        text = GOOD + 'indexed = [ { name = "modeByIndex", fields = ["engineNMode", "engineNModes"] } ]\n'
        self.rejects(text, "modeByIndex", "engineNModes")

    def test_keys_of_each_record(self):
        """One form of error for a key missing, unknown or of another type, in
        any record, naming the file, the class and the record."""
        cases = [
            (GOOD.replace("storage = 8\n", ""), "missing key 'storage'"),
            (GOOD + 'colour = "red"\n', "unknown key 'colour'"),
            (GOOD.replace("width = 2, arrayElements = 22", 'width = "2", arrayElements = 22'),
             "geometry row '88690'", "key 'width' must be integer"),
            (GOOD.replace('type = "U8", L1 = "0:5"', 'L1 = "0:5"'), "field 'ENGINE_N_MODE'",
             "missing key 'type'"),
            (GOOD.replace('type = "U32", L2', 'type = "U32", view = 1, L2'),
             "field 'ENGINE_N_OVF_VALUE'", "key 'view' must be true or false"),
            (GOOD + 'indexed = [ { name = "m", fields = ["engineNMode"], step = 2 } ]\n',
             "indexed accessor 'm'", "unknown key 'step'"),
        ]
        for text, *parts in cases:
            with self.subTest(parts[-1]):
                self.rejects(text, "crps/Probe.toml", "CrpsEngineCfgProbe", *parts)

    def test_format_section_of_the_readme_is_current(self):
        with open(os.path.join(ROOT, "accessors", "README.md"), encoding="utf-8") as f:
            readme = f.read()
        self.assertEqual(with_section(readme), readme,
                         "run python3 generator/tcgen.py --root . --format-doc")

    def test_accessor_names_that_every_class_has(self):
        for name in ("width", "getAllFields", "rowOf", "isTable"):
            text = GOOD + f'indexed = [ {{ name = "{name}", fields = ["engineNMode"] }} ]\n'
            self.rejects(text, "CrpsEngineCfgProbe", name, "every class has")

    def test_where_drops_series_elements_per_layout(self):
        text = GOOD.replace("fieldCount = 2", "fieldCount = 4").replace(
            "fieldCount = 3", "fieldCount = 6").replace("packed = true\n", "").replace(
            '  { name = "ENGINE_N_OVF_VALUE"',
            '  { name = "EXPANSION_SELECT_<N>", N = "0-2", type = "U8", where = "N < c", '
            'L1 = "32+N:1", L2 = "32+N:1" },\n  { name = "ENGINE_N_OVF_VALUE"')
        text += "[params]\nL1 = { c = 2 }\nL2 = { c = 3 }\n"
        (k,) = self.load(text).classes
        self.assertEqual(k.fields_by_name["expansionSelect1"].cells, {(10, 0): (33, 1), (11, 0): (33, 1)})
        self.assertEqual(k.fields_by_name["expansionSelect2"].cells, {(11, 0): (34, 1)})
        self.rejects(text.replace("fieldCount = 4", "fieldCount = 5"), "BCM88690_B0", "fieldCount 5")
        self.rejects(text.replace('"N < c"', '"N in c"'), "EXPANSION_SELECT_0", "comparisons")


    FAMILY = '''
[defaults]
summary = "a probe"
kind = "register"
storage = 4
block = "CRPS"
shared_geometry = true
geometry = [
  { chips = "88690", layout = "L1", width = 1, arrayElements = 1, addrStride = 1, instanceCount = 2, fieldCount = 1, address = "a" },
  { chips = "88800", layout = "L1", width = 1, arrayElements = 1, addrStride = 1, instanceCount = 1, fieldCount = 1, address = "b + 1" },
]
fields = [ { name = "<field>", id = "field_id", type = "U8", L1 = "0:5" } ]

[[class_list]]
class = "CrpsProbeA"
chips = "88690, 88800"
vars = { field = "ENGINE_N_MODE", field_id = 137, a = 10, b = 20 }

[[class_list]]
class = "CrpsProbeB"
chips = "88800"
vars = { field = "ENGINE_N_SCAN_MODE", b = 30, field_id = 156 }
'''

    def test_family_with_vars_and_shared_geometry(self):
        cat = self.load(self.FAMILY)
        a, b = cat.classes
        self.assertEqual({k: r.address for k, r in a.rows.items()}, {(10, 0): 10, (11, 0): 21})
        self.assertEqual({k: r.address for k, r in b.rows.items()}, {(11, 0): 31})
        self.assertEqual([f.name for f in b.fields], ["engineNScanMode"])

    def test_family_var_checked_like_any_formula(self):
        self.rejects(self.FAMILY.replace("field_id = 156", "field_id = 155"),
                     "CrpsProbeB", "ENGINE_N_SCAN_MODE", "id 155", "156")
        self.rejects(self.FAMILY.replace("a = 10, ", ""), "CrpsProbeA", "'a'")
        self.rejects(self.FAMILY.replace("field_id = 156", "Field_id = 156"), "CrpsProbeB", "var")

    def test_geometry_beyond_chips_needs_shared_geometry(self):
        text = self.FAMILY.replace("shared_geometry = true\n", "").replace("b = 30,", "a = 1, b = 30,")
        self.rejects(text, "CrpsProbeB", "undeclared", "BCM88690_B0")


class Rules(unittest.TestCase):
    def test_accessor_names(self):
        self.assertEqual(accessor_name("CFG_TRAP_OBJ_0_SHIFT"), "cfgTrapObj0Shift")
        self.assertEqual(accessor_name("ENGINE_N_MODE"), "engineNMode")
        self.assertEqual(accessor_name("TODW_IEEE_1588_TIMECODE"), "todwIeee1588Timecode")

    def test_sort_order_of_names(self):
        names = ["EXPANSION_SELECT_10", "EXPANSION_SELECT_9", "STAT_METADATA_0_MC",
                 "STAT_METADATA_31", "ENGINE_INIT_REQUEST", "ENGINES_DMA_SELECT"]
        self.assertEqual(sorted(names, key=sort_key),
                         ["ENGINES_DMA_SELECT", "ENGINE_INIT_REQUEST", "EXPANSION_SELECT_9",
                          "EXPANSION_SELECT_10", "STAT_METADATA_31", "STAT_METADATA_0_MC"])

    def test_identifier_list(self):
        # The real list: identifiers unique and numbered in the names' sort order.
        ids = Catalogue.read(ROOT).ids.by_name
        self.assertGreater(len(ids), 0)
        in_order = [ids[n] for n in sorted(ids, key=sort_key)]
        self.assertEqual(in_order, sorted(set(in_order)))

if __name__ == "__main__":
    unittest.main()
