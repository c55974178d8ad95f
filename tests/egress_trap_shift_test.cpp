// The trap shift row of ETPPB: twelve one-field shift registers and the
// object shift register that has one hardware register per variant.
#include <TesselCountersOrrery.h>

#include "TestSupport.h"

using namespace Hardware;
using tc::num;

namespace {

constexpr int kNone = -1;

// Chip groups of the row, with the register address each class has there.
enum Group { kOld, k88850, kNew, kGroups };

Group groupOf(ChipType chip) {
  // clang-format off
  switch (chip) {
    case ChipType::BCM88850_A0: case ChipType::BCM88859_A2: return k88850;
    case ChipType::BCM88490_A0: case ChipType::BCM88860_A0: case ChipType::BCM88867_C0:
    case ChipType::BCM88890_A0: case ChipType::BCM88890_B0: case ChipType::BCM88897_C0:
    case ChipType::BCM88870_A0: return kNew;
    default: return kOld;
  }
  // clang-format on
}

U16 etppbInstances(ChipType chip) {
  if (chip == ChipType::BCM88690_B0 || chip == ChipType::BCM88850_A0) return 2;
  return groupOf(chip) == kNew && chip != ChipType::BCM88490_A0 ? 4 : 1;
}

struct ShiftRow {
  const char* cls;
  const char* field;
  U32 id;
  int address[kGroups];
};

// clang-format off
const ShiftRow kRows[] = {
    {"EtppbCfgTrapDpInternalShift", "cfgTrapDpInternalShift", 7, {314, 312, 276}},
    {"EtppbCfgTrapDropInternalShift", "cfgTrapDropInternalShift", 8, {310, 308, kNone}},
    {"EtppbCfgTrapEcnInternalShift", "cfgTrapEcnInternalShift", 9, {312, 310, 279}},
    {"EtppbCfgTrapMcInternalShift", "cfgTrapMcInternalShift", 10, {309, 307, kNone}},
    {"EtppbCfgTrapNifPortRateBinInternalShift",
     "cfgTrapNifPortRateBinInternalShift", 11, {kNone, 409, kNone}},
    {"EtppbCfgTrapPortInternalShift", "cfgTrapPortInternalShift", 22, {311, 309, kNone}},
    {"EtppbCfgTrapPpDropReasonInternalShift",
     "cfgTrapPpDropReasonInternalShift", 23, {kNone, kNone, 282}},
    {"EtppbCfgTrapPpPortInternalShift",
     "cfgTrapPpPortMetadataVariableInternalShift", 24, {kNone, kNone, 280}},
    {"EtppbCfgTrapTaimInternalShift", "cfgTrapTaimInternalShift", 25, {kNone, kNone, 278}},
    {"EtppbCfgTrapTcInternalShift", "cfgTrapTcInternalShift", 26, {313, 311, 277}},
    {"EtppbCfgTrapTcMapProfileInternalShift",
     "cfgTrapTcMapProfileInternalShift", 27, {kNone, kNone, 293}},
    {"EtppbCfgTrapTmPortInternalShift",
     "cfgTrapTmPortMetadataVariableInternalShift", 28, {kNone, kNone, 281}},
};
// clang-format on

}  // namespace

// Chips, addresses, instances and the one field of each class, through the
// factory as a caller that only has the class name would see them.
TEST(TrapShiftFamily, EveryClassOnEveryChipByNameAndId) {
  for (const auto& r : kRows) {
    for (ChipType chip : tc::allChips()) {
      SCOPED_TRACE(std::string(r.cls) + " chip " + std::to_string(num(chip)));
      const int address = r.address[groupOf(chip)];
      const bool exists = address != kNone;
      EXPECT_EQ(Hardware::chipTypeVariantValid(r.cls, chip, 0), exists);
      EXPECT_FALSE(Hardware::chipTypeVariantValid(r.cls, chip, 1));
      if (!exists) continue;

      auto obj = Hardware::stringObj(r.cls, chip, 0);
      EXPECT_EQ(obj->fieldCount(), 1);
      const U16 instances = etppbInstances(chip);
      EXPECT_EQ(obj->instanceCount(), instances);
      for (U16 ident : {U16(0), U16(instances - 1)}) {
        U32 a = 0, s = 0, b = 0;
        ASSERT_TRUE(obj->getSchanAddress(a, s, b, ident, 0, 0));
        EXPECT_EQ(a, static_cast<U32>(address));
      }

      // The one field: bits 0-4, by id and by its accessor name (not the class's).
      EXPECT_EQ(obj->fieldWidth(r.id), 5);
      EXPECT_EQ(obj->fieldOffset(r.id), 0);
      obj->setField64(r.id, 31);
      EXPECT_EQ(obj->stringField(r.field, 0), 31u);
      obj->stringFieldIs(r.field, 0x105);  // the U8 conversion keeps 5
      EXPECT_EQ(obj->stringField(r.field, 3), 5u);
    }
  }
}

TEST(TrapShiftFamily, AbsentChipGivesNoAddressAndTouchesNothing) {
  U32 a = 7, s = 8, b = 9;
  EXPECT_FALSE(EtppbCfgTrapDropInternalShift::getSchanAddress(num(ChipType::BCM88860_A0), 0, a, s,
                                                              b, 0, 0, 0));
  EXPECT_FALSE(EtppbCfgTrapTaimInternalShift::getSchanAddress(num(ChipType::BCM88690_B0), 0, a, s,
                                                              b, 0, 0, 0));
  EXPECT_FALSE(EtppbCfgTrapNifPortRateBinInternalShift::getSchanAddress(13, 0, a, s, b, 0, 0, 0));
  EXPECT_EQ(a, 7u);
  EXPECT_EQ(s, 8u);
  EXPECT_EQ(b, 9u);
  // The row's first-group member keeps its shape on the other group.
  EXPECT_EQ(EtppbCfgTrapTaimInternalShift::width(num(ChipType::BCM88870_A0), 0), 1);
  EXPECT_EQ(EtppbCfgTrapDropInternalShift::width(num(ChipType::BCM88480_B0), 0), 1);
}

TEST(TrapShiftFamily, BlockOfTheLastInstance) {
  U32 a = 0, s = 1, b = 0;
  ASSERT_TRUE(EtppbCfgTrapTcInternalShift::getSchanAddress(num(ChipType::BCM88897_C0), 0, a, s, b,
                                                           3, 0, 0));
  EXPECT_EQ(a, 277u);
  EXPECT_EQ(s, 0u);
  EXPECT_EQ(b, 32u + 3 * 256);
  ASSERT_TRUE(EtppbCfgTrapTcInternalShift::getSchanAddress(num(ChipType::BCM88850_A0), 0, a, s, b,
                                                           1, 0, 0));
  EXPECT_EQ(a, 311u);
  EXPECT_EQ(s, 28u);
  EXPECT_EQ(b, 25u);
  EXPECT_ASSERTION(
      EtppbCfgTrapTcInternalShift::getSchanAddress(num(ChipType::BCM88859_A2), 0, a, s, b, 1, 0, 0),
      "hasIdentifier( chipType, variant, identifier )");
  EXPECT_ASSERTION(
      EtppbCfgTrapTcInternalShift::getSchanAddress(num(ChipType::BCM88859_A2), 0, a, s, b, 0, 1, 0),
      "tableEntry == 0");
}

TEST(TrapShiftFamily, RenamedFieldsAnswerToTheirOwnNames) {
  EtppbCfgTrapPpPortInternalShift::WithStorage pp(ChipType::BCM88490_A0, 0);
  pp.cfgTrapPpPortMetadataVariableInternalShiftIs(9);
  EXPECT_EQ(pp.stringField("cfgTrapPpPortMetadataVariableInternalShift", 0), 9u);
  EtppbCfgTrapTmPortInternalShift::WithStorage tm(ChipType::BCM88860_A0, 0);
  tm.setField64(28, 12);
  EXPECT_EQ(tm.cfgTrapTmPortMetadataVariableInternalShift(), 12);
  EXPECT_MESSAGE_ASSERTION(pp.stringField("cfgTrapPpPortInternalShift", 0), "fieldName not found.",
                           "false");
  EXPECT_MESSAGE_ASSERTION(tm.stringFieldIs("cfgTrapTmPortInternalShift", 1),
                           "fieldName not found or is const.", "false");
}

TEST(TrapShiftFamily, ConstructionOnAnAbsentPairNamesTheClass) {
  U8 buf[4] = {};
  EXPECT_MESSAGE_ASSERTION(EtppbCfgTrapDropInternalShift(ChipType::BCM88860_A0, buf, 4, false, 0),
                           " not in metainfo for EtppbCfgTrapDropInternalShift!", "0");
  EXPECT_MESSAGE_ASSERTION(
      Hardware::stringObj("EtppbCfgTrapTaimInternalShift", ChipType::BCM88690_B0, 0),
      " not in metainfo for EtppbCfgTrapTaimInternalShift!", "0");
  EXPECT_MESSAGE_ASSERTION(EtppbCfgTrapDpInternalShift(ChipType::BCM88690_B0, buf, 4, false, 1),
                           " not in metainfo for EtppbCfgTrapDpInternalShift!", "0");
  EXPECT_ASSERTION(EtppbCfgTrapDpInternalShift::width(num(ChipType::BCM88690_B0), 1),
                   "variant == 0");
  EXPECT_ASSERTION(EtppbCfgTrapMcInternalShift::width(num(ChipType::BCM88490_A0), 0), "0");
}

// ---------------------------------------------------------------------------
// EtppbCfgTrapObjShift: the variant is the register.

namespace {

U32 objBase(ChipType chip) {
  return groupOf(chip) == kOld ? 299 : groupOf(chip) == k88850 ? 297 : 283;
}

U8 objVariants(ChipType chip) {
  return groupOf(chip) == kNew ? 8 : 10;
}

}  // namespace

TEST(TrapObjShift, VariantsAddressesAndTheOneValidField) {
  for (ChipType chip : tc::allChips()) {
    const U8 count = objVariants(chip);
    EXPECT_TRUE(EtppbCfgTrapObjShift::chipTypeVariantValid(chip, count - 1));
    EXPECT_FALSE(EtppbCfgTrapObjShift::chipTypeVariantValid(chip, count));
    for (U8 v = 0; v < count; ++v) {
      SCOPED_TRACE("chip " + std::to_string(num(chip)) + " variant " + std::to_string(v));
      std::vector<U8> buf(4, 0);
      EtppbCfgTrapObjShift reg(chip, buf.data(), 4, false, v);
      const U16 instances = etppbInstances(chip);
      EXPECT_EQ(reg.instanceCount(), instances);
      for (U16 ident : {U16(0), U16(instances - 1)}) {
        U32 a = 0, s = 0, b = 0;
        ASSERT_TRUE(reg.getSchanAddress(a, s, b, ident, 0, 0));
        EXPECT_EQ(a, objBase(chip) + v);
      }
      EXPECT_EQ(reg.fieldCount(), 1);
      for (U32 i = 0; i < 10; ++i) {
        EXPECT_EQ(reg.isFieldValid(12 + i), i == v) << i;
        EXPECT_EQ(reg.fieldWidth(12 + i), i == v ? 5 : 0) << i;
      }
      const U8 value = static_cast<U8>((v * 7 + 3) & 0x1f);
      reg.objectShiftByProfileIs(v, value);
      EXPECT_EQ(reg.objectShiftByProfile(v), value);
      EXPECT_EQ(buf[0], value);
    }
  }
  EXPECT_FALSE(EtppbCfgTrapObjShift::chipTypeVariantValid(static_cast<ChipType>(13), 0));
  U32 a = 5, s = 5, b = 5;
  EXPECT_FALSE(
      EtppbCfgTrapObjShift::getSchanAddress(num(ChipType::BCM88490_A0), 8, a, s, b, 0, 0, 0));
  EXPECT_EQ(a + s + b, 15u);
}

TEST(TrapObjShift, Variant3On88690) {
  std::vector<U8> buf(4, 0);
  EtppbCfgTrapObjShift reg(ChipType::BCM88690_B0, buf.data(), 4, false, 3);
  EXPECT_TRUE(reg.isCfgTrapObj3ShiftValid());
  EXPECT_FALSE(reg.isCfgTrapObj4ShiftValid());
  EXPECT_EQ(reg.fieldOffset(15), 0);
  reg.setField64(15, 7);
  EXPECT_EQ(buf[0], 7);
  EXPECT_EQ(reg.cfgTrapObj3Shift(), 7);
  reg.objectShiftByProfileIs(3, 31);
  EXPECT_EQ(buf[0], 31);

  EXPECT_ASSERTION(reg.objectShiftByProfile(0), "variant_ == 0");
  EXPECT_ASSERTION(reg.objectShiftByProfileIs(9, 1), "variant_ == 9");
  EXPECT_ASSERTION(reg.objectShiftByProfileIs(8, 1), "variant_ == 8");
  EXPECT_ASSERTION(reg.cfgTrapObj4ShiftOffset(), "variant_ == 4");
  EXPECT_ASSERTION(reg.cfgTrapObj7Shift(), "variant_ == 7");
  EXPECT_ASSERTION(reg.fieldOffset(12), "variant_ == 0");
  EXPECT_ASSERTION(reg.setField64(12, 7), "variant_ == 0");
  EXPECT_MESSAGE_ASSERTION(reg.cfgTrapObj2ShiftLen(), " does not have field CFG_TRAP_OBJ_2_SHIFT",
                           "0");
  EXPECT_MESSAGE_ASSERTION(reg.objectShiftByProfile(10),
                           "Array index 10 out of range for objectShiftByProfile", "0");
  EXPECT_MESSAGE_ASSERTION(reg.objectShiftByProfileIs(10, 0),
                           "Array index 10 out of range for objectShiftByProfileIs", "0");
}

TEST(TrapObjShift, ChipsWithEightRegistersLackObjects8And9) {
  EtppbCfgTrapObjShift::WithStorage reg(ChipType::BCM88490_A0, 7);
  EXPECT_FALSE(reg.isCfgTrapObj8ShiftValid());
  EXPECT_EQ(reg.fieldWidth(20), 0);
  EXPECT_ASSERTION(reg.objectShiftByProfile(8), "0");
  EXPECT_ASSERTION(reg.objectShiftByProfileIs(9, 1), "0");
  EtppbCfgTrapObjShift::WithStorage other(ChipType::BCM88870_A0, 0);
  EXPECT_ASSERTION(other.cfgTrapObj9ShiftIs(1), "0");
  EXPECT_ASSERTION(other.objectShiftByProfile(5), "variant_ == 5");
  EXPECT_ASSERTION(EtppbCfgTrapObjShift::width(num(ChipType::BCM88860_A0), 8), "0");
  EXPECT_ASSERTION(EtppbCfgTrapObjShift::fieldCount(num(ChipType::BCM88690_B0), 10), "0");
}
