// Fields of the packet queue, flow-control and instrumentation registers:
// by identifier and by name, their limits, buffer lengths and what a write
// touches; then the particular layouts of each register.
#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>

#include "TestSupport.h"

namespace {

using Hardware::ChipType;
using Maker = std::function<std::unique_ptr<Orrery::AsicBase>(U8*, U16)>;

template <class X>
Maker on(ChipType chip, U8 variant = 0) {
  return [=](U8* buf, U16 len) { return std::make_unique<X>(chip, buf, len, false, variant); };
}

struct FieldCase {
  const char* cls;
  Maker make;
  U32 id;
  const char* name;
  unsigned offset, width;
};

std::vector<FieldCase> fieldCases() {
  using namespace Hardware;
  const ChipType c850 = ChipType::BCM88850_A0, c859 = ChipType::BCM88859_A2,
                 c490 = ChipType::BCM88490_A0;
  return {
      {"PqpCrpsInterfaceConfig", on<PqpCrpsInterfaceConfig>(ChipType::BCM88870_A0), 87,
       "crpsCmdsDropMode", 0, 1},
      {"PqpCrpsInterfaceConfig", on<PqpCrpsInterfaceConfig>(c490), 97, "crpsTmCntrModeIsOtm", 1, 1},
      {"PqpCrpsInterfaceConfig", on<PqpCrpsInterfaceConfig>(c490), 96, "crpsFifoAlmostFullTh", 2,
       6},
      {"PqpDeqCountersConfig", on<PqpDeqCountersConfig>(c850), 85, "countSpecificQpEnable", 0, 1},
      {"PqpDeqCountersConfig", on<PqpDeqCountersConfig>(c859), 83, "countSpecificOtmEnable", 1, 1},
      {"PqpDeqCountersConfig", on<PqpDeqCountersConfig>(c850), 81, "countSpecificIfcEnable", 2, 1},
      {"PqpDeqCountersConfig", on<PqpDeqCountersConfig>(c859), 86, "countSpecificQpValue", 3, 9},
      {"PqpDeqCountersConfig", on<PqpDeqCountersConfig>(c850), 84, "countSpecificOtmValue", 12, 9},
      {"PqpDeqCountersConfig", on<PqpDeqCountersConfig>(c859), 82, "countSpecificIfcValue", 21, 7},
      {"PqpPqpUnicastPacketCounter", on<PqpPqpUnicastPacketCounter>(c859), 424,
       "pqpUnicastPacketCounter", 0, 33},
      {"CfcEgqPfcStatus", on<CfcEgqPfcStatus>(c850), 116, "egqPfcStatus", 0, 64},
      {"CfcEgqPfcStatusSel", on<CfcEgqPfcStatusSel>(c859), 117, "egqPfcStatusSel", 0, 4},
      {"CduInstrumentationResetLow", on<CduInstrumentationResetLow>(ChipType::BCM88800_A0, 1), 277,
       "instrumentationResetLow", 0, 1},
      {"CduInstrumentationRstnPfc", on<CduInstrumentationRstnPfc>(c850, 0), 278,
       "instrumentationResetLowPfcCnts", 0, 8},
      {"CluInstrumentationResetLow", on<CluInstrumentationResetLow>(ChipType::BCM88800_A0), 277,
       "instrumentationResetLow", 0, 1},
      {"CluInstrumentationRstnPfc", on<CluInstrumentationRstnPfc>(ChipType::BCM88800_A0), 278,
       "instrumentationResetLowPfcCnts", 0, 16},
      {"NbuInstrumentationResetLow", on<NbuInstrumentationResetLow>(ChipType::BCM88870_A0), 277,
       "instrumentationResetLow", 0, 1},
      {"NbuInstrumentationRstnPfc", on<NbuInstrumentationRstnPfc>(ChipType::BCM88897_C0), 278,
       "instrumentationResetLowPfcCnts", 0, 8},
      {"NbutrxInstrumentationResetLow", on<NbutrxInstrumentationResetLow>(c490), 277,
       "instrumentationResetLow", 0, 1},
      {"NbutrxInstrumentationRstnPfc", on<NbutrxInstrumentationRstnPfc>(c490), 278,
       "instrumentationResetLowPfcCnts", 0, 8},
  };
}

U64 ones(unsigned width) {
  return width == 64 ? ~U64{0} : (U64{1} << width) - 1;
}

// Offsets and widths of the sheets; widths of 8, 16, 32 and 64 bits have no
// value check: the conversion to the field's type drops what lies above.
TEST(StatusFields, OffsetsWidthsAndVanishingValueChecks) {
  for (const auto& f : fieldCases()) {
    SCOPED_TRACE(f.name);
    U8 buf[8] = {};
    auto acc = f.make(buf, 8);
    EXPECT_EQ(acc->fieldWidth(f.id), f.width);
    EXPECT_EQ(acc->fieldOffset(f.id), f.offset);
    if (f.width % 8 == 0 && (f.width & (f.width - 1)) == 0) {
      acc->setField64(f.id, ones(f.width) << 1);
      EXPECT_EQ(acc->stringField(f.name, 0), ones(f.width) & (ones(f.width) << 1));
    }
  }
}

TEST(StatusFields, ForeignIdentifiersAndNames) {
  U8 buf[8] = {};
  Hardware::CduInstrumentationResetLow acc(ChipType::BCM88800_A0, buf, 8, false, 1);
  EXPECT_ASSERTION(acc.fieldOffset(118), "false");
  EXPECT_ASSERTION(acc.setField64(946, 0), "false");
  // Hardware names and the class's own name aren't accessor names.
  EXPECT_MESSAGE_ASSERTION(acc.stringField("INSTRUMENTATION_RESET_LOW", 0), "fieldName not found.",
                           "false");
  EXPECT_MESSAGE_ASSERTION(acc.stringFieldIs("CduInstrumentationResetLow", 0),
                           "fieldName not found or is const.", "false");
}

TEST(StatusFields, GetAllFieldsMasksTheWholeEntry) {
  std::vector<U8> buf(8, 0xff);
  Hardware::PqpPqpUnicastPacketCounter counter(ChipType::BCM88850_A0, buf.data(), 8, false, 0);
  EXPECT_EQ(counter.getAllFields(), 0x1ffffffffull);
  Hardware::CfcEgqPfcStatus status(ChipType::BCM88859_A2, buf.data(), 8, false, 0);
  EXPECT_EQ(status.getAllFields(), ~U64{0});
  Hardware::PqpDeqCountersConfig deq(ChipType::BCM88850_A0, buf.data(), 4, false, 0);
  EXPECT_EQ(deq.getAllFields(), 0xfffffffu);
  Hardware::CluInstrumentationRstnPfc clu(ChipType::BCM88800_A0, buf.data(), 4, false, 0);
  EXPECT_EQ(clu.getAllFields(), 0xffffu);

  // The whole entry must be there, even where the fields end sooner.
  Hardware::PqpPqpUnicastPacketCounter counter5(ChipType::BCM88850_A0, buf.data(), 5, false, 0);
  counter5.pqpUnicastPacketCounterIs(0x12345678full);
  EXPECT_EQ(counter5.pqpUnicastPacketCounter(), 0x12345678full);
  EXPECT_ASSERTION(counter5.getAllFields(), "len_ >= 8");
  Hardware::CfcEgqPfcStatusSel sel(ChipType::BCM88850_A0, buf.data(), 1, false, 0);
  sel.egqPfcStatusSelIs(15);
  EXPECT_ASSERTION(sel.getAllFields(), "len_ >= 4");
  Hardware::NbutrxInstrumentationResetLow trx(ChipType::BCM88490_A0, buf.data(), 3, false, 0);
  EXPECT_ASSERTION(trx.getAllFields(), "len_ >= 4");
}

TEST(StatusFields, PacketQueueCounters) {
  std::vector<U8> buf(8, 0);
  Hardware::PqpCrpsInterfaceConfig crps(ChipType::BCM88870_A0, buf.data(), 4, false, 0);
  crps.crpsCmdsDropModeIs(1);
  crps.crpsTmCntrModeIsOtmIs(1);
  crps.crpsFifoAlmostFullThIs(63);
  EXPECT_EQ(buf[0], 0xff);

  std::fill(buf.begin(), buf.end(), 0);
  Hardware::PqpPqpUnicastPacketCounter counter(ChipType::BCM88859_A2, buf.data(), 8, false, 0);
  counter.pqpUnicastPacketCounterIs(0x1ffffffffull);
  EXPECT_EQ(buf, (std::vector<U8>{0xff, 0xff, 0xff, 0xff, 0x01, 0, 0, 0}));
  EXPECT_EQ(counter.pqpUnicastPacketCounterLen(), 33);
  Hardware::PqpPqpUnicastPacketCounter counter4(ChipType::BCM88859_A2, buf.data(), 4, false, 0);
  EXPECT_ASSERTION(counter4.pqpUnicastPacketCounter(), "len_ >= 5");
}

TEST(StatusFields, FlowControlStatus) {
  std::vector<U8> buf(8, 0);
  Hardware::CfcEgqPfcStatus status(ChipType::BCM88850_A0, buf.data(), 8, false, 0);
  status.egqPfcStatusIs(~U64{0});
  EXPECT_EQ(buf, std::vector<U8>(8, 0xff));
  EXPECT_EQ(status.egqPfcStatus(), ~U64{0});
  status.setField64(116, 0x9abcdef012345678ull);
  EXPECT_EQ(buf, (std::vector<U8>{0x78, 0x56, 0x34, 0x12, 0xf0, 0xde, 0xbc, 0x9a}));
  EXPECT_EQ(status.egqPfcStatusLen(), 64);
}

TEST(StatusFields, InstrumentationResets) {
  std::vector<U8> buf(4, 0);
  Hardware::CluInstrumentationRstnPfc clu(ChipType::BCM88800_A0, buf.data(), 4, false, 0);
  clu.instrumentationResetLowPfcCntsIs(0xffff);
  EXPECT_EQ(buf, (std::vector<U8>{0xff, 0xff, 0, 0}));
  EXPECT_EQ(clu.instrumentationResetLowPfcCntsLen(), 16);

  std::fill(buf.begin(), buf.end(), 0);
  Hardware::CduInstrumentationRstnPfc cdu(ChipType::BCM88690_B0, buf.data(), 4, false, 1);
  cdu.instrumentationResetLowPfcCntsIs(255);
  EXPECT_EQ(buf, (std::vector<U8>{0xff, 0, 0, 0}));
  EXPECT_EQ(cdu.instrumentationResetLowPfcCntsLen(), 8);
  EXPECT_EQ(cdu.instrumentationResetLowPfcCntsOffset(), 0);
  EXPECT_TRUE(cdu.isInstrumentationResetLowPfcCntsValid());
}

}  // namespace
