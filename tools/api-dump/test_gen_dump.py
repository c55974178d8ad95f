"""The header parser of gen_dump.py: the same tables from any spelling of the
same declarations, and no field from an incomplete set of accessors.

    python3 -m unittest discover -s tools/api-dump
"""

import pathlib
import re
import tempfile
import unittest

import gen_dump

REGISTER = """
namespace Hardware {
// The register R.
class R : public Orrery::BcmAsicBase {
 public:
  R(Hardware::ChipType chipType, U8* buf, U16 len, bool flag, U8 variant);
  static bool chipTypeVariantValid(Hardware::ChipType chipType, U8 variant);
  U16 width() const override;
  static U16 width(U32 chipType, U8 variant);
  static U16 regWidth(U32 chipType, U8 variant);
  static bool hasIdentifier(U32 chipType, U8 variant, U32 identifier);
  U32 addrStride() const;
  U64 getAllFields() const;
  U8 mode() const;
  void modeIs(U8 value);
  U16 modeLen() const;
  U16 modeOffset() const;
  bool isModeValid() const;
  Raw128 bits() const;
  void bitsIs(const Raw128& value);
  U16 bitsLen() const;
  U16 bitsOffset() const;
  bool isBitsValid() const;
  U8 noLength() const;
  void noLengthIs(U8 value);
  U16 noLengthOffset() const;
  bool isNoLengthValid() const;
  U8 modeByIndex(U32 index) const;
  void modeByIndexIs(U32 index, U8 value);
 private:
  U8 hidden() const;
};
}
"""

# Respellings a generator may choose without changing the interface.
SPELLINGS = {
    "as written": lambda t: t,
    "attributes and noexcept": lambda t: re.sub(
        r"^  (U8|U16|Raw128|bool) (\w+\(\) const);", r"  [[nodiscard]] \1 \2 noexcept;", t,
        flags=re.M),
    "final class": lambda t: t.replace("class R :", "class R final :"),
    "unnamed parameters": lambda t: re.sub(r"(U32|U8|U16|ChipType)\*? (\w+)([,)])", r"\1\3", t),
    "members reversed": lambda t: reverse_members(t),
}


def reverse_members(text):
    head, rest = text.split(" public:\n")
    members, tail = rest.split(" private:")
    return head + " public:\n" + "\n".join(reversed(members.split("\n"))) + " private:" + tail


def parse(text):
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder) / "R.h"
        path.write_text(text)
        return gen_dump.Header(path)


class HeaderTest(unittest.TestCase):
    def test_every_spelling_gives_the_same_class(self):
        for name, respell in SPELLINGS.items():
            with self.subTest(spelling=name):
                h = parse(respell(REGISTER))
                self.assertEqual(h.name, "R")
                self.assertFalse(h.memory)
                self.assertEqual(h.fields(), [("Raw128", "bits"), ("U8", "mode")])
                self.assertEqual(h.indexed(), [("U8", "modeByIndex")])
                for query in ("width", "regWidth"):
                    self.assertTrue(h.has_static(query), query)
                self.assertTrue(h.has_static("chipTypeVariantValid", "ChipType, U8"))
                self.assertTrue(h.has_static("hasIdentifier", "U32, U8, U32"))
                self.assertTrue(h.has_instance("addrStride"))
                self.assertFalse(h.has_instance("hidden"))

    def test_memory_and_span_records(self):
        text = REGISTER.replace("regWidth", "tableWidth").replace(
            " private:", "  static const Orrery::EntrySpan _entrySpans_B[1];\n private:")
        h = parse(text)
        self.assertTrue(h.memory)
        self.assertEqual(h.records, [("_entrySpans_B", 1)])

    def test_a_class_without_fields_is_refused(self):
        with tempfile.TemporaryDirectory() as build:
            folder = pathlib.Path(build) / "generated" / "include" / "Hardware"
            folder.mkdir(parents=True)
            (folder / "R.h").write_text(re.sub(r"\n  \w+ (mode|bits)\w*\(.*", "", REGISTER))
            with self.assertRaises(SystemExit):
                gen_dump.generate(build)


if __name__ == "__main__":
    unittest.main()
