// Trace lines: which functions write them, their exact text, and levels on and off.
#include <cstdlib>
#include <sstream>

#include "TestSupport.h"

using namespace Hardware;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace {

const char* const kHandle = "OrreryTesselCountersMetaInfo";

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) out.push_back(line);
  return out;
}

bool endsWith(const std::string& s, const std::string& tail) {
  return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

class Trace : public testing::Test {
 protected:
  void TearDown() override { Wisp::levelMaskIs(kHandle, 0); }

  // Runs f with the given levels on and returns the lines it traced.
  template <typename F>
  std::vector<std::string> traced(std::initializer_list<unsigned> levels, F f) {
    U16 mask = 0;
    for (unsigned l : levels) mask = static_cast<U16>(mask | (1u << l));
    Wisp::levelMaskIs(kHandle, mask);
    CaptureStderr();
    f();
    Wisp::levelMaskIs(kHandle, 0);
    return lines(GetCapturedStderr());
  }
};

TEST_F(Trace, ConstructorWritesClassChipNameAndVariant) {
  U8 buf[8] = {};
  auto out = traced({8}, [&] { CrpsEngineInitRequest r(ChipType::BCM88480_B0, buf, 8, false, 0); });
  ASSERT_EQ(1u, out.size());
  EXPECT_TRUE(endsWith(out[0], "CrpsEngineInitRequest chipType: BCM88480_B0 variant: 0")) << out[0];
  out = traced({}, [&] { CrpsEngineInitRequest r(ChipType::BCM88480_B0, buf, 8, false, 0); });
  EXPECT_TRUE(out.empty());
  out = traced({0}, [&] { CrpsEngineInitRequest r(ChipType::BCM88480_B0, buf, 8, false, 0); });
  EXPECT_TRUE(out.empty());
}

TEST_F(Trace, EntryLinesOfQueriesAndAccessors) {
  CrpsModulesrcCfg::WithStorage m(ChipType::BCM88690_B0, 0);
  CrpsTypeMapMem::WithStorage t(ChipType::BCM88860_A0, 0);
  struct Case {
    std::function<void()> call;
    std::vector<std::string> expect;
  };
  const std::vector<Case> cases = {
      {[] { CrpsModulesrcCfg::fieldCount(10, 0); },
       {"static U16 Hardware::CrpsModulesrcCfg::fieldCount(U32, U8) chipType: 10 variant: 0"}},
      // Instance forms that forward trace the static's signature, once.
      {[&] { m.fieldCount(); },
       {"static U16 Hardware::CrpsModulesrcCfg::fieldCount(U32, U8) chipType: 10 variant: 0"}},
      {[&] { m.instanceCount(); },
       {"static U16 Hardware::CrpsModulesrcCfg::instanceCount(U32, U8) chipType: 10 variant: 0"}},
      {[&] { m.hasIdentifier(7); },
       {"static bool Hardware::CrpsModulesrcCfg::hasIdentifier(U32, U8, U32) chipType: 10 "
        "variant: 0 identifier: 7"}},
      {[&] { m.modulesrcNGroupSizeIs(3); },
       {"void Hardware::CrpsModulesrcCfg::modulesrcNGroupSizeIs(U8) chipType: 10 variant: 0"}},
      {[&] { m.modulesrcNPtrBaseNormalize(); },
       {"U32 Hardware::CrpsModulesrcCfg::modulesrcNPtrBaseNormalize() const chipType: 10 variant: "
        "0"}},
      {[&] { m.modulesrcNGroupSizeLen(); },
       {"U16 Hardware::CrpsModulesrcCfg::modulesrcNGroupSizeLen() const chipType: 10 variant: 0"}},
      {[&] { m.modulesrcNGroupSizeOffset(); },
       {"U16 Hardware::CrpsModulesrcCfg::modulesrcNGroupSizeOffset() const chipType: 10 variant: "
        "0"}},
      {[&] { m.isModulesrcNGroupSize1Valid(); },
       {"bool Hardware::CrpsModulesrcCfg::isModulesrcNGroupSize1Valid() const chipType: 10 "
        "variant: 0"}},
      {[&] { m.getAllFields(); },
       {"Raw128 Hardware::CrpsModulesrcCfg::getAllFields() const chipType: 10 variant: 0"}},
      {[&] { t.entrySpans(); },
       {"static Hardware::CrpsTypeMapMem::EntrySpans Hardware::CrpsTypeMapMem::entrySpans(U32, U8) "
        "chipType: 17 variant: 0"}},
      // By identifier: the virtual entry, then the field's own accessors.
      {[&] { m.fieldWidth(FieldIds::MODULESRC_N_GROUP_SIZE); },
       {"U16 Hardware::CrpsModulesrcCfg::fieldWidth(U32) const chipType: 10 variant: 0",
        "bool Hardware::CrpsModulesrcCfg::isFieldValid(U32) const chipType: 10 variant: 0",
        "bool Hardware::CrpsModulesrcCfg::isModulesrcNGroupSizeValid() const chipType: 10 variant: "
        "0",
        "U16 Hardware::CrpsModulesrcCfg::modulesrcNGroupSizeLen() const chipType: 10 variant: 0"}},
      {[&] { m.setField64(FieldIds::MODULESRC_N_GROUP_SIZE, 1); },
       {"void Hardware::CrpsModulesrcCfg::setField64(U32, U64) chipType: 10 variant: 0",
        "void Hardware::CrpsModulesrcCfg::modulesrcNGroupSizeIs(U8) chipType: 10 variant: 0"}},
      {[&] { m.stringField("modulesrcNGroupSize", 0); },
       {"U64 Hardware::CrpsModulesrcCfg::stringField(const String&, U16) const chipType: 10 "
        "variant: 0",
        "U8 Hardware::CrpsModulesrcCfg::modulesrcNGroupSize() const chipType: 10 variant: 0"}},
      {[&] { m.stringFieldIs("modulesrcNGroupSize", 2); },
       {"void Hardware::CrpsModulesrcCfg::stringFieldIs(const String&, const U64&) chipType: 10 "
        "variant: 0",
        "void Hardware::CrpsModulesrcCfg::modulesrcNGroupSizeIs(U8) chipType: 10 variant: 0"}},
      {[&] { m.fieldOffset(FieldIds::MODULESRC_N_GROUP_SIZE); },
       {"U16 Hardware::CrpsModulesrcCfg::fieldOffset(U32) const chipType: 10 variant: 0",
        "U16 Hardware::CrpsModulesrcCfg::modulesrcNGroupSizeOffset() const chipType: 10 variant: "
        "0"}},
      // Not traced.
      {[&] {
         m.width();
         m.arrayElements();
         m.maxIdentifier();
         m.addrStride();
         m.allFieldsMask();
         m.isTable();
         CrpsModulesrcCfg::regWidth(10, 0);
         CrpsModulesrcCfg::chipTypeVariantValid(ChipType::BCM88690_B0, 0);
         t.entries();
         t.index_min();
         t.arrayIndex_min();
         t.tableVariantCount();
         CrpsTypeMapMem::tableWidth(17, 0);
         t.isPrimary();
       },
       {}},
  };
  for (const auto& c : cases) {
    const auto out = traced({8}, c.call);
    ASSERT_EQ(c.expect.size(), out.size()) << (c.expect.empty() ? out[0] : c.expect[0]);
    for (std::size_t i = 0; i < out.size(); ++i)
      EXPECT_TRUE(endsWith(out[i], c.expect[i]))
          << out[i] << "\n  expected the end: " << c.expect[i];
  }
}

TEST_F(Trace, GetSchanAddressEntryAndFailureLines) {
  U32 address = 1, subBlock = 2, block = 3;
  const std::string sig =
      "static bool Hardware::CrpsEngineInitRequest::getSchanAddress(U32, U8, U32&, U32&, U32&, "
      "U16, "
      "U32, U16)";
  auto out = traced({8}, [&] {
    EXPECT_TRUE(CrpsEngineInitRequest::getSchanAddress(10, 0, address, subBlock, block, 1, 0, 0));
  });
  ASSERT_EQ(2u, out.size());
  EXPECT_TRUE(endsWith(out[0], sig + " chipType: 10 variant: 0")) << out[0];
  EXPECT_TRUE(
      endsWith(out[1], "hasIdentifier(U32, U8, U32) chipType: 10 variant: 0 identifier: 1"));

  out = traced({0}, [&] {
    EXPECT_FALSE(CrpsEngineInitRequest::getSchanAddress(10, 1, address, subBlock, block, 1, 0, 0));
  });
  ASSERT_EQ(1u, out.size());
  EXPECT_TRUE(endsWith(out[0], sig + " chipType: 10 variant: 1 failed.")) << out[0];

  out = traced({0, 8}, [&] {
    EXPECT_FALSE(CrpsEngineInitRequest::getSchanAddress(13, 0, address, subBlock, block, 0, 0, 0));
  });
  ASSERT_EQ(2u, out.size());
  EXPECT_TRUE(endsWith(out[0], sig + " chipType: 13 variant: 0"));
  EXPECT_TRUE(endsWith(out[1], sig + " chipType: 13 variant: 0 failed."));

  out = traced({}, [&] {
    EXPECT_FALSE(CrpsEngineInitRequest::getSchanAddress(10, 1, address, subBlock, block, 1, 0, 0));
  });
  EXPECT_TRUE(out.empty());
}

TEST(TraceEnvironment, WispTraceTurnsLevelsOnWithoutRecompiling) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  setenv("WISP_TRACE", "SomeOtherHandle:3;OrreryTesselCountersMetaInfo:0,8", 1);
  EXPECT_EXIT(
      {
        U8 buf[8] = {};
        CrpsEngineInitRequest r(ChipType::BCM88690_B0, buf, 8, false, 0);
        std::exit(r.engineInitRequest() == 0 ? 0 : 1);
      },
      testing::ExitedWithCode(0),
      "CrpsEngineInitRequest chipType: BCM88690_B0 variant: 0\n.*U64 "
      "Hardware::CrpsEngineInitRequest::engineInitRequest\\(\\) const chipType: 10 variant: 0\n");
  unsetenv("WISP_TRACE");
}

}  // namespace
