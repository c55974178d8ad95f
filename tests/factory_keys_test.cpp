// The factory's 66 keys, checked against every chip and variant: the table
// below is the factory table of the register sheets (name, memory or
// register, chips and variants in the sheets' labels, WithStorage bytes).
#include <map>
#include <set>
#include <sstream>

#include "TestSupport.h"

using namespace Hardware;

namespace {

struct Key {
  const char* name;
  bool memory;
  const char* chips;
  U16 storage;
};

const Key kKeys[] = {
    {"CduInstrumentationResetLow", false, "88690, 88850, 88859 v0-1; 88800 v1", 4},
    {"CduInstrumentationRstnPfc", false, "88690, 88850, 88859 v0-1; 88800 v1", 4},
    {"CfcEgqPfcStatus", false, "88850, 88859", 8},
    {"CfcEgqPfcStatusSel", false, "88850, 88859", 4},
    {"CgmIntIrppStatSettings", false, "all", 24},
    {"CgmIntTmStatSettings", false, "all", 16},
    {"CgmIppHeaderCompensation", true, "all", 4},
    {"CluInstrumentationResetLow", false, "88800", 4},
    {"CluInstrumentationRstnPfc", false, "88800", 4},
    {"CrpsEngineCfg", false, "all", 44},
    {"CrpsEngineConditionalTriggerCfg", false, "88850, 88859, 88490, 88860x", 8},
    {"CrpsEngineEvictionCfg", false, "88490, 88860x", 64},
    {"CrpsEngineInitRequest", false, "all", 8},
    {"CrpsEngineMmuxEn", false, "all", 8},
    {"CrpsEngineScanEnable", false, "all", 8},
    {"CrpsEnginesDmaSelect", false, "all", 8},
    {"CrpsExpansionMapMem", true,
     "88690, 88490 v0-21; 88800, 88850, 88859 v0-33; 88480x v0-13; 88860x v0-31", 4},
    {"CrpsIfAdapterCfg", false, "all", 20},
    {"CrpsIfAdapterCgmIrppCfg", false, "all v0-9", 96},
    {"CrpsIfAdapterCgmTmCfg", false, "88490, 88860x", 8},
    {"CrpsIfAdapterEgqEppCtrCfg", false,
     "88690, 88800, 88850, 88859, 88480x v0-23; 88490, 88860x v0-31", 76},
    {"CrpsModulesrcCfg", false, "all", 16},
    {"CrpsReservedSpare2", false, "88850, 88859", 4},
    {"CrpsTypeMapMem", true, "all", 4},
    {"EciGpStatus0", false, "all", 16},
    {"ErppCounterReg", false, "88690, 88800, 88850, 88859, 88480x", 4},
    {"ErppCounterTypeTable", true, "88690, 88800, 88850, 88859, 88480x v0-1", 4},
    {"ErppDeviceCfgBtr", false, "88690, 88800, 88850, 88859, 88480x", 4},
    {"ErppOutlifProfileToCounterProfileTable", true, "88690, 88800, 88850, 88859, 88480x", 4},
    {"EtppaPerPortTable", true, "88690, 88800, 88850, 88859, 88480x", 12},
    {"EtppbCfgStatMetadataForCurrentProtocolType", false, "all", 12},
    {"EtppbCfgTrapDpInternalShift", false, "all", 4},
    {"EtppbCfgTrapDropInternalShift", false, "88690, 88800, 88850, 88859, 88480x", 4},
    {"EtppbCfgTrapEcnInternalShift", false, "all", 4},
    {"EtppbCfgTrapMcInternalShift", false, "88690, 88800, 88850, 88859, 88480x", 4},
    {"EtppbCfgTrapNifPortRateBinInternalShift", false, "88850, 88859", 4},
    {"EtppbCfgTrapObjShift", false, "88690, 88800, 88850, 88859, 88480x v0-9; 88490, 88860x v0-7",
     4},
    {"EtppbCfgTrapPortInternalShift", false, "88690, 88800, 88850, 88859, 88480x", 4},
    {"EtppbCfgTrapPpDropReasonInternalShift", false, "88490, 88860x", 4},
    {"EtppbCfgTrapPpPortInternalShift", false, "88490, 88860x", 4},
    {"EtppbCfgTrapTaimInternalShift", false, "88490, 88860x", 4},
    {"EtppbCfgTrapTcInternalShift", false, "all", 4},
    {"EtppbCfgTrapTcMapProfileInternalShift", false, "88490, 88860x", 4},
    {"EtppbCfgTrapTmPortInternalShift", false, "88490, 88860x", 4},
    {"EtppbMapStsToInterface", false, "all", 16},
    {"EtppbMapStsToType", false, "all", 8},
    {"EtppcCfgFlowIdExist", false, "88690, 88800, 88850, 88859, 88480x", 4},
    {"EtppcCfgStatMetadataForCurrentProtocolType", false, "all", 12},
    {"EtppcLatencyProfileTable", true, "all", 40},
    {"FlpbContextEnablers", true, "all", 8},
    {"IppaStatisticsInfo", false, "all", 52},
    {"IppbCurrentLayerStatisticsMetaDataInformationMap", false, "all", 4},
    {"IppbCurrentLayerStatisticsMetaDataInstructionMap", false, "all", 24},
    {"IppcMapStatisticObject", true, "all", 4},
    {"IppcPerPortStatistics", true, "all", 4},
    {"IppfStatObjProfileAttr", false, "all", 24},
    {"IppfStatisticsInfo", false, "all", 52},
    {"McpEngDbBankSource", false, "all", 12},
    {"NbuInstrumentationResetLow", false, "88490, 88860x", 4},
    {"NbuInstrumentationRstnPfc", false, "88490, 88860x", 4},
    {"NbutrxInstrumentationResetLow", false, "88490", 4},
    {"NbutrxInstrumentationRstnPfc", false, "88490", 4},
    {"PqpCrpsInterfaceConfig", false, "88490, 88860x", 4},
    {"PqpDeqCountersConfig", false, "88850, 88859", 4},
    {"PqpEgressQueuesEmpty", false, "88850, 88859", 64},
    {"PqpPqpUnicastPacketCounter", false, "88850, 88859", 8},
};

const std::map<std::string, std::vector<int>> kLabels = {
    {"88690", {10}},
    {"88800", {11}},
    {"88850", {12}},
    {"88859", {14}},
    {"88480x", {15, 16}},
    {"88490", {25}},
    {"88860x", {17, 20, 21, 23, 24, 26}},
    {"all", {10, 11, 12, 14, 15, 16, 17, 20, 21, 23, 24, 25, 26}}};

// "88690, 88850 v0-1; 88800 v1" -> {(10,0), (10,1), (12,0), (12,1), (11,1)}
std::set<std::pair<int, int>> pairsOf(const std::string& text) {
  std::set<std::pair<int, int>> out;
  std::stringstream groups(text);
  for (std::string group; std::getline(groups, group, ';');) {
    int first = 0, last = 0;
    const auto v = group.find(" v");
    if (v != std::string::npos) {
      const std::string range = group.substr(v + 2);
      const auto dash = range.find('-');
      first = std::stoi(range.substr(0, dash));
      last = dash == std::string::npos ? first : std::stoi(range.substr(dash + 1));
      group = group.substr(0, v);
    }
    std::stringstream labels(group);
    for (std::string label; std::getline(labels, label, ',');) {
      label.erase(0, label.find_first_not_of(' '));
      label.erase(label.find_last_not_of(' ') + 1);
      for (int chip : kLabels.at(label))
        for (int variant = first; variant <= last; ++variant) out.insert({chip, variant});
    }
  }
  return out;
}

TEST(FactoryKeys, TheSixtySixKeysInAsciiOrder) {
  ASSERT_EQ(66u, accessorClassCount());
  for (U32 i = 0; i < 66; ++i) EXPECT_STREQ(kKeys[i].name, accessorClassName(i));
}

TEST(FactoryKeys, EveryKeyAgainstEveryChipAndVariant) {
  for (const Key& k : kKeys) {
    const auto pairs = pairsOf(k.chips);
    unsigned wrong = 0;
    for (int chip = 0; chip < 256; ++chip)
      for (int variant = 0; variant < 256; ++variant)
        if (Hardware::chipTypeVariantValid(k.name, static_cast<ChipType>(chip),
                                           static_cast<U8>(variant)) !=
            (pairs.count({chip, variant}) != 0))
          ++wrong;
    EXPECT_EQ(0u, wrong) << k.name;
    for (const auto& [chip, variant] : pairs) {
      auto o = stringObj(k.name, static_cast<ChipType>(chip), static_cast<U8>(variant));
      ASSERT_EQ(k.storage, o->len()) << k.name;
      EXPECT_EQ(k.memory, o->isTable()) << k.name;
      EXPECT_EQ(chip, o->chipType());
      EXPECT_EQ(variant, o->variant());
      EXPECT_LE(4u * o->width(), k.storage) << k.name;
    }
  }
}

}  // namespace
