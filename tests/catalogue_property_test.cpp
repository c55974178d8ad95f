// Properties that must hold for every class, every valid (chip, variant) and
// every field, driven through the root class only: factory, by-identifier and
// by-name operations and the field identifier names.
#include "TestSupport.h"

using namespace Hardware;

namespace {

struct Pair {
  ChipType chip;
  U8 variant;
};

std::vector<std::string> classNames() {
  std::vector<std::string> out;
  for (U32 i = 0; const char* n = accessorClassName(i); ++i) out.emplace_back(n);
  return out;
}

std::vector<Pair> pairsOf(const std::string& cls) {
  std::vector<Pair> out;
  for (int chip = 0; chip < 256; ++chip)
    for (int v = 0; v < 256; ++v)
      if (Hardware::chipTypeVariantValid(cls.c_str(), static_cast<ChipType>(chip),
                                         static_cast<U8>(v)))
        out.push_back({static_cast<ChipType>(chip), static_cast<U8>(v)});
  return out;
}

bool maskBit(const Raw8192& m, unsigned bit) {
  return (m[bit / 8] >> (bit % 8)) & 1;
}

// Writes the field's largest value and then zero over random bytes, through
// the identifier and the name, and checks that only the field's bits change
// and that both read paths give back what was written.
void checkFieldWrites(Orrery::AsicBase& o, U32 id, unsigned seed) {
  const U16 offset = o.fieldOffset(id);
  const U16 width = o.fieldWidth(id);
  const char* name = fieldIdAccessorName(id);
  ASSERT_NE(nullptr, name);
  std::vector<U8> random = tc::randomBytes(o.len(), seed);
  std::copy(random.begin(), random.end(), o.buf());
  const U64 max = width >= 64 ? ~0ULL : (1ULL << width) - 1;
  o.setField64(id, max);
  std::vector<U8> now(o.buf(), o.buf() + o.len());
  EXPECT_EQ(0u, tc::changedOutside(random, now, offset, width)) << name;
  for (unsigned b = offset; b < offset + width; ++b)
    ASSERT_TRUE(tc::bitOf(now, b)) << name << " bit " << b;
  EXPECT_EQ(max, o.stringField(name, 0)) << name;
  o.stringFieldIs(name, 0);
  now.assign(o.buf(), o.buf() + o.len());
  EXPECT_EQ(0u, tc::changedOutside(random, now, offset, width)) << name;
  for (unsigned b = offset; b < offset + width; ++b)
    ASSERT_FALSE(tc::bitOf(now, b)) << name << " bit " << b;
  EXPECT_EQ(0u, o.stringField(name, 0)) << name;
}

// Raw fields are wider than 64 bits; they are read by name a word at a time.
void checkRawFieldReads(Orrery::AsicBase& o, U32 id, unsigned seed) {
  const U16 offset = o.fieldOffset(id);
  const U16 width = o.fieldWidth(id);
  const char* name = fieldIdAccessorName(id);
  std::vector<U8> random = tc::randomBytes(o.len(), seed);
  std::copy(random.begin(), random.end(), o.buf());
  for (U16 word = 0; 64 * word < width; ++word) {
    U64 expect = 0;
    for (unsigned i = 0; i < 64 && 64u * word + i < width; ++i)
      if (tc::bitOf(random, offset + 64u * word + i)) expect |= 1ULL << i;
    EXPECT_EQ(expect, o.stringField(name, word)) << name << " word " << word;
  }
}

TEST(EveryClass, FieldsMasksIdentifiersAndInstances) {
  unsigned seed = 1;
  const auto names = classNames();
  ASSERT_EQ(accessorClassCount(), names.size());
  for (const auto& cls : names) {
    const auto pairs = pairsOf(cls);
    ASSERT_FALSE(pairs.empty()) << cls;
    for (const Pair& p : pairs) {
      SCOPED_TRACE(cls + " chip " + std::to_string(tc::num(p.chip)) + " variant " +
                   std::to_string(p.variant));
      auto o = stringObj(cls.c_str(), p.chip, p.variant);
      ASSERT_GE(o->len(), 4u * o->width());
      // The mask is the union of the valid fields; nothing above the width.
      std::vector<bool> covered(8192, false);
      U16 valid = 0;
      for (U32 id = 0; id <= 1300; ++id) {
        const bool isValid = o->isFieldValid(id);
        ASSERT_EQ(isValid, o->fieldWidth(id) != 0) << id;
        if (!isValid) continue;
        ++valid;
        const U16 offset = o->fieldOffset(id);
        const U16 width = o->fieldWidth(id);
        ASSERT_LE(offset + width, 32 * o->width()) << fieldIdName(id);
        for (unsigned b = offset; b < offset + width; ++b) covered[b] = true;
        if (width <= 64)
          checkFieldWrites(*o, id, ++seed);
        else
          checkRawFieldReads(*o, id, ++seed);
      }
      EXPECT_EQ(valid, o->fieldCount());
      const Raw8192 mask = o->allFieldsMask();
      for (unsigned b = 0; b < 8192; ++b) ASSERT_EQ(covered[b], maskBit(mask, b)) << "bit " << b;
      // Identifiers are exactly those below the instance count.
      const U16 instances = o->instanceCount();
      ASSERT_GE(instances, 1u);
      for (U32 id = 0; id < instances + 3u; ++id) EXPECT_EQ(id < instances, o->hasIdentifier(id));
      U32 address = 0, subBlock = 0, block = 0;
      for (U16 id = 0; id < instances; ++id)
        EXPECT_TRUE(o->getSchanAddress(address, subBlock, block, id, 0, 0));
    }
  }
}

// Fields wider than 64 bits can't be written by identifier or name; their
// typed setters write all ones and then zero, on every chip and variant of
// the class, over random bytes: exactly the field's bits change.
template <typename C, typename R>
void checkRawWrites(const char* cls, U32 id, void (C::*set)(const R&), R (C::*get)() const) {
  // Over a buffer of 256 bytes, and over one that ends with the field's last
  // byte, where the bytes after it stay as they were.
  const auto pairs = pairsOf(cls);
  ASSERT_FALSE(pairs.empty()) << cls;
  int written = 0;
  for (const Pair& p : pairs)
    for (const bool shortest : {false, true}) {
      SCOPED_TRACE(std::string(cls) + " chip " + std::to_string(tc::num(p.chip)) + " variant " +
                   std::to_string(p.variant) + (shortest ? ", shortest buffer" : ""));
      std::vector<U8> buf = tc::randomBytes(256, tc::num(p.chip) * 256 + p.variant);
      const std::vector<U8> before = buf;
      const C probe(p.chip, buf.data(), static_cast<U16>(buf.size()), false, p.variant);
      if (!probe.isFieldValid(id)) continue;
      const U16 offset = probe.fieldOffset(id);
      const U16 width = probe.fieldWidth(id);
      const U16 len = shortest ? static_cast<U16>((offset + width + 7) / 8) : U16{256};
      C o(p.chip, buf.data(), len, false, p.variant);
      R ones;
      ones.fill(0xff);
      (o.*set)(ones);
      EXPECT_EQ(0u, tc::changedOutside(before, buf, offset, width));
      for (unsigned b = offset; b < offset + width; ++b) ASSERT_TRUE(tc::bitOf(buf, b)) << b;
      const R read = (o.*get)();
      for (unsigned b = 0; b < 8 * read.size(); ++b)
        ASSERT_EQ(b < width, static_cast<bool>((read[b / 8] >> (b % 8)) & 1)) << b;
      (o.*set)(R{});
      EXPECT_EQ(0u, tc::changedOutside(before, buf, offset, width));
      for (unsigned b = offset; b < offset + width; ++b) ASSERT_FALSE(tc::bitOf(buf, b)) << b;
      ++written;
    }
  EXPECT_GT(written, 0) << cls;
}

TEST(EveryClass, RawFieldsThroughTheirTypedAccessors) {
  checkRawWrites("CrpsEngineCfg", FieldIds::ENGINE_N_AVOID_SEQ_SCAN_VALUE,
                 &CrpsEngineCfg::engineNAvoidSeqScanValueIs,
                 &CrpsEngineCfg::engineNAvoidSeqScanValue);
  checkRawWrites("IppaStatisticsInfo", FieldIds::STAT_META_DATA_MAP,
                 &IppaStatisticsInfo::statMetaDataMapIs, &IppaStatisticsInfo::statMetaDataMap);
  checkRawWrites("IppfStatisticsInfo", FieldIds::STAT_META_DATA_MAP,
                 &IppfStatisticsInfo::statMetaDataMapIs, &IppfStatisticsInfo::statMetaDataMap);
  checkRawWrites("IppfStatObjProfileAttr", FieldIds::STAT_OBJ_PROFILE_ATTR_VEC,
                 &IppfStatObjProfileAttr::statObjProfileAttrVecIs,
                 &IppfStatObjProfileAttr::statObjProfileAttrVec);
  checkRawWrites("IppbCurrentLayerStatisticsMetaDataInstructionMap",
                 FieldIds::CURRENT_LAYER_STATISTICS_META_DATA_INSTRUCTION_MAP,
                 &IppbCurrentLayerStatisticsMetaDataInstructionMap::
                     currentLayerStatisticsMetaDataInstructionMapIs,
                 &IppbCurrentLayerStatisticsMetaDataInstructionMap::
                     currentLayerStatisticsMetaDataInstructionMap);
  checkRawWrites("EtppbMapStsToInterface", FieldIds::MAP_STS_TO_INTERFACE,
                 &EtppbMapStsToInterface::mapStsToInterfaceIs,
                 static_cast<Raw128 (EtppbMapStsToInterface::*)() const>(
                     &EtppbMapStsToInterface::mapStsToInterface));
  checkRawWrites("EtppbCfgStatMetadataForCurrentProtocolType",
                 FieldIds::CFG_STAT_METADATA_CURRENT_PROTOCOL_TYPE,
                 &EtppbCfgStatMetadataForCurrentProtocolType::cfgStatMetadataCurrentProtocolTypeIs,
                 &EtppbCfgStatMetadataForCurrentProtocolType::cfgStatMetadataCurrentProtocolType);
  checkRawWrites("EtppcCfgStatMetadataForCurrentProtocolType",
                 FieldIds::CFG_STAT_METADATA_CURRENT_PROTOCOL_TYPE,
                 &EtppcCfgStatMetadataForCurrentProtocolType::cfgStatMetadataCurrentProtocolTypeIs,
                 &EtppcCfgStatMetadataForCurrentProtocolType::cfgStatMetadataCurrentProtocolType);
  checkRawWrites("PqpEgressQueuesEmpty", FieldIds::EQM_EMPTY, &PqpEgressQueuesEmpty::eqmEmptyIs,
                 &PqpEgressQueuesEmpty::eqmEmpty);
}

}  // namespace
