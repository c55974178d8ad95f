// The checking layer of the Python module, as the module calls it: open a
// class by name on a chip given by name or number and an optional variant,
// over bytes or a hex string; read and write fields by name with values as
// text; address an instance, entry and array element. Whatever the input,
// each step ends in an answer or in one UsageError of one line with its kind,
// never in one of the library's fatal checks.
#include <fuzzer/FuzzedDataProvider.h>

#include "Catalog.h"
#include "FuzzSupport.h"

namespace {

void checkError(const Tool::UsageError& e) {
  FUZZ_CHECK(!e.message.empty() && e.message.find('\n') == std::string::npos);
}

Tool::Target open(FuzzedDataProvider& in) {
  const std::string cls = Tool::parseClass(in.ConsumeRandomLengthString(64), "classes(chip)");
  const auto chip = Tool::parseChip(in.ConsumeRandomLengthString(16));
  const std::string variant = in.ConsumeRandomLengthString(8);
  Tool::Target t = Tool::openTarget(cls, chip, in.ConsumeBool() ? &variant : nullptr, "variant",
                                    nullptr);
  FUZZ_CHECK(Hardware::chipTypeVariantValid(t.cls.c_str(), t.chip, t.variant));
  std::vector<U8> bytes;
  if (in.ConsumeBool()) {
    bytes = Tool::parseHexBytes({in.ConsumeRandomLengthString(300)}, "data");
  } else {
    bytes = in.ConsumeBytes<U8>(in.ConsumeIntegralInRange<std::size_t>(0, 300));
  }
  Tool::checkLength(t, bytes.size(), "data", in.ConsumeBool());
  Tool::loadBuffer(t, bytes);
  return t;
}

void useFields(FuzzedDataProvider& in, Tool::Target& t) {
  std::vector<Tool::Field> given;
  while (in.remaining_bytes() > 0 && given.size() < 4) {
    const Tool::Field f = Tool::findField(t, in.ConsumeRandomLengthString(64));
    FUZZ_CHECK(t.object->isFieldValid(f.id));
    Tool::readField(*t.object, f);
    if (!in.ConsumeBool()) continue;
    Tool::checkDistinct(given, f);
    given.push_back(f);
    Tool::writeField(t, f, Tool::parseFieldValue(in.ConsumeRandomLengthString(40), f.width,
                                                 f.width > 64, f.name));
  }
}

void address(FuzzedDataProvider& in, const Tool::Target& t) {
  const U32 instance = Tool::checkIndex(t, Tool::Index::Instance, in.ConsumeIntegral<U64>(), "i");
  const U32 entry = Tool::checkIndex(t, Tool::Index::Entry, in.ConsumeIntegral<U64>(), "e");
  const U32 element = Tool::checkIndex(t, Tool::Index::Element, in.ConsumeIntegral<U64>(), "a");
  Tool::schanAddress(*t.object, instance, entry, element);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider in(data, size);
  try {
    Tool::Target t = open(in);
    if (in.ConsumeBool()) {
      address(in, t);
    } else {
      useFields(in, t);
    }
  } catch (const Tool::UsageError& e) {
    checkError(e);
  }
  return 0;
}
