// The checking layer of the Python module, as the module calls it: open a
// class by name on a chip given by name or number and an optional variant,
// over bytes or text in the entry grammar (bytes or words); read and write
// fields by name with values as text; address an instance, entry and array
// element; the tool's answers that the module gives (decode's JSON, every
// address, search and diff run in-process, a dump line written and read
// back). Whatever the input,
// each step ends in an answer or in one UsageError of one line with its kind,
// never in one of the library's fatal checks.
#include <fuzzer/FuzzedDataProvider.h>

#include "Catalog.h"
#include "Commands.h"
#include "DumpFormat.h"
#include "Entry.h"
#include "FuzzSupport.h"
#include "Run.h"

namespace {

void checkError(const Tool::UsageError& e) {
  FUZZ_CHECK(!e.message.empty() && e.message.find('\n') == std::string::npos);
}

// One of the real names half the time, so that the run gets past the names;
// else any text.
std::string nameFrom(FuzzedDataProvider& in, const std::vector<std::string>& real,
                     std::size_t limit) {
  if (real.empty() || in.ConsumeBool()) return in.ConsumeRandomLengthString(limit);
  return real[in.ConsumeIntegralInRange<std::size_t>(0, real.size() - 1)];
}

std::vector<std::string> chipTexts() {
  std::vector<std::string> out;
  for (const auto chip : Tool::knownChips()) {
    out.push_back(Tool::chipName(chip));
    out.push_back(std::to_string(static_cast<unsigned>(chip)));
  }
  return out;
}

Tool::Target open(FuzzedDataProvider& in) {
  static const std::vector<std::string> classes = Tool::classNames(), chips = chipTexts();
  const std::string cls = Tool::parseClass(nameFrom(in, classes, 64), "classes(chip)");
  const auto chip = Tool::parseChip(nameFrom(in, chips, 16));
  const std::string variant = in.ConsumeRandomLengthString(8);
  Tool::Target t =
      Tool::openTarget(cls, chip, in.ConsumeBool() ? &variant : nullptr, "variant", nullptr);
  FUZZ_CHECK(Hardware::chipTypeVariantValid(t.cls.c_str(), t.chip, t.variant));
  std::vector<U8> bytes;
  if (in.ConsumeBool()) {
    // Text in the grammar, bytes or words, the entry's size exactly.
    const Tool::EntryReader how{in.ConsumeBool() ? Tool::EntryForm::Words : Tool::EntryForm::Bytes,
                                "data", "pass words=True"};
    Tool::EntryText entry = Tool::parseEntry(in.ConsumeRandomLengthString(300), how);
    bytes = Tool::fitEntry(t, entry, how, true);
    FUZZ_CHECK(bytes.size() == t.entryBytes());
  } else {
    bytes = in.ConsumeBytes<U8>(in.ConsumeIntegralInRange<std::size_t>(0, 300));
    Tool::checkLength(t, bytes.size(), "data", in.ConsumeBool());
  }
  Tool::loadBuffer(t, bytes);
  return t;
}

void useFields(FuzzedDataProvider& in, Tool::Target& t) {
  std::vector<std::string> names;
  for (const auto& f : Tool::fieldsOf(t))
    names.push_back(in.ConsumeBool() ? f.name : f.hardwareName);
  std::vector<Tool::Field> given;
  while (in.remaining_bytes() > 0 && given.size() < 4) {
    const Tool::Field f = Tool::findField(t, nameFrom(in, names, 64));
    FUZZ_CHECK(t.object->isFieldValid(f.id));
    Tool::readField(*t.object, f);
    if (!in.ConsumeBool()) continue;
    Tool::checkDistinct(given, f);
    given.push_back(f);
    // As the module does: a Python int arrives as decimal text at any width.
    Tool::writeField(t, f,
                     Tool::parseFieldValue(in.ConsumeRandomLengthString(40), f.width, f.name));
  }
}

void address(FuzzedDataProvider& in, const Tool::Target& t) {
  const U32 instance = Tool::checkIndex(t, Tool::Index::Instance, in.ConsumeIntegral<U64>(), "i");
  const U32 entry = Tool::checkIndex(t, Tool::Index::Entry, in.ConsumeIntegral<U64>(), "e");
  const U32 element = Tool::checkIndex(t, Tool::Index::Element, in.ConsumeIntegral<U64>(), "a");
  Tool::schanAddress(*t.object, instance, entry, element);
}

void answers(FuzzedDataProvider& in, const Tool::Target& t) {
  const std::vector<U8> bytes(t.object->buf(), t.object->buf() + t.entryBytes());
  std::string out;
  switch (in.ConsumeIntegralInRange(0, 4)) {
    case 0:
      FUZZ_CHECK(Tool::decodeJson(t, bytes)["bytes"].is_string());
      break;
    case 1:
      FUZZ_CHECK(Tool::addressRows(*t.object).size() ==
                 std::size_t{Tool::indexCount(*t.object, Tool::Index::Instance)} *
                     Tool::indexCount(*t.object, Tool::Index::Element));
      break;
    case 2:
      Tool::runCaptured(
          {"search", in.ConsumeRandomLengthString(16), "--chip", Tool::chipName(t.chip), "--json"},
          out);
      FUZZ_CHECK(out.find("\"pattern\"") != std::string::npos);
      break;
    case 3:
      Tool::runCaptured({"diff", t.cls, "--chip", Tool::chipName(t.chip), "--to",
                         in.ConsumeRandomLengthString(12), "--json"},
                        out);
      FUZZ_CHECK(out.find("\"fields\"") != std::string::npos);
      break;
    default: {
      // A MemoryBackend's dump line, as dump_line writes it, reads back as itself.
      Tool::DumpEntry e{
          in.ConsumeIntegral<U32>(), in.ConsumeBool(), 0, in.ConsumeIntegral<U32>(), {}};
      if (!e.anySubBlock) e.subBlock = in.ConsumeIntegral<U32>();
      for (unsigned w = 0; w < t.object->width(); ++w) e.words.push_back(in.ConsumeIntegral<U32>());
      const auto lines = Tool::readDump(Tool::dumpText(e));
      FUZZ_CHECK(lines.size() == 1 && lines[0].problem.empty() &&
                 Tool::dumpText(lines[0].entry) == Tool::dumpText(e));
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider in(data, size);
  try {
    Tool::Target t = open(in);
    switch (in.ConsumeIntegralInRange(0, 2)) {
      case 0:
        address(in, t);
        break;
      case 1:
        useFields(in, t);
        break;
      default:
        answers(in, t);
    }
  } catch (const Tool::UsageError& e) {
    checkError(e);
  }
  return 0;
}
