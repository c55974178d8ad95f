// The checking layer of the Python module, as the module calls it: open a
// class by name on a chip given by name or number and an optional variant,
// over bytes or text in the entry grammar (bytes or words); read and write
// fields by name with values as text; address an instance, entry and array
// element; ask the tool's answers that the module gives (decode's JSON,
// every address, search and diff run in-process, a dump line written and read
// back). Whatever the input, each step ends in an answer or in one
// UsageError of one line, of the kind that step gives (the module raises by
// it): an unknown class or field UnknownName, an index past the last
// OutOfRange, anything else BadValue; never in one of the library's fatal
// checks. And what it answers holds:
// - the accessor's buffer is the data given, zeros after it;
// - a field reads as the bits at its offset and width in the buffer;
// - a write changes the field's bits alone, and the field reads back the
//   value written, as do all fields written before it (they share no bits);
// - an address moves with the entry and the element as the geometry says,
//   and its block and sub-block with the instance alone.
#include <fuzzer/FuzzedDataProvider.h>

#include "Catalog.h"
#include "Commands.h"
#include "DumpFormat.h"
#include "Entry.h"
#include "FuzzSupport.h"
#include "Run.h"

namespace {

using Tool::ErrorKind;

// Runs one step; a refusal is one line of the step's kind.
template <typename F>
auto step(ErrorKind kind, F f) -> decltype(f()) {
  try {
    return f();
  } catch (const Tool::UsageError& e) {
    FUZZ_CHECK(e.kind == kind);
    FUZZ_CHECK(!e.message.empty() && e.message.find('\n') == std::string::npos);
    throw;
  }
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

std::vector<U8> buffer(const Tool::Target& t) {
  return {t.object->buf(), t.object->buf() + t.object->len()};
}

// Bits offset..offset+width-1 of the bytes, little-endian, bit by bit.
std::vector<U8> bitsOf(const std::vector<U8>& bytes, unsigned offset, unsigned width) {
  std::vector<U8> out((width + 7) / 8, 0);
  for (unsigned k = 0; k < width; ++k)
    if ((bytes[(offset + k) / 8] >> ((offset + k) % 8)) & 1) out[k / 8] |= U8(1u << (k % 8));
  return out;
}

Tool::Target open(FuzzedDataProvider& in) {
  static const std::vector<std::string> classes = Tool::classNames(), chips = chipTexts();
  const std::string name = nameFrom(in, classes, 64), chipText = nameFrom(in, chips, 16);
  const std::string cls =
      step(ErrorKind::UnknownName, [&] { return Tool::parseClass(name, "classes(chip)"); });
  const auto chip = step(ErrorKind::BadValue, [&] { return Tool::parseChip(chipText); });
  const std::string variant = in.ConsumeRandomLengthString(8);
  const bool given = in.ConsumeBool();
  Tool::Target t = step(ErrorKind::BadValue, [&] {
    return Tool::openTarget(cls, chip, given ? &variant : nullptr, "variant", nullptr);
  });
  FUZZ_CHECK(Hardware::chipTypeVariantValid(t.cls.c_str(), t.chip, t.variant));
  std::vector<U8> bytes;
  if (in.ConsumeBool()) {
    // Text in the grammar, bytes or words, the entry's size exactly.
    const Tool::EntryReader how{in.ConsumeBool() ? Tool::EntryForm::Words : Tool::EntryForm::Bytes,
                                "data", "pass words=True"};
    const std::string text = in.ConsumeRandomLengthString(300);
    bytes = step(ErrorKind::BadValue, [&] {
      Tool::EntryText entry = Tool::parseEntry(text, how);
      return Tool::fitEntry(t, entry, how, true);
    });
    FUZZ_CHECK(bytes.size() == t.entryBytes());
  } else {
    bytes = in.ConsumeBytes<U8>(in.ConsumeIntegralInRange<std::size_t>(0, 300));
    const bool exact = in.ConsumeBool();
    step(ErrorKind::BadValue, [&] { Tool::checkLength(t, bytes.size(), "data", exact); });
    FUZZ_CHECK(bytes.size() <= t.entryBytes() && (!exact || bytes.size() == t.entryBytes()));
  }
  Tool::loadBuffer(t, bytes);
  bytes.resize(t.object->len(), 0);
  FUZZ_CHECK(buffer(t) == bytes);
  return t;
}

void useFields(FuzzedDataProvider& in, Tool::Target& t) {
  std::vector<std::string> names;
  for (const auto& f : Tool::fieldsOf(t))
    names.push_back(in.ConsumeBool() ? f.name : f.hardwareName);
  std::vector<Tool::Field> given;
  std::vector<std::vector<U8>> written;
  while (in.remaining_bytes() > 0 && given.size() < 4) {
    const std::string name = nameFrom(in, names, 64);
    const Tool::Field f = step(ErrorKind::UnknownName, [&] { return Tool::findField(t, name); });
    FUZZ_CHECK(t.object->isFieldValid(f.id) && f.width == t.object->fieldWidth(f.id) &&
               f.offset == t.object->fieldOffset(f.id));
    const std::vector<U8> before = buffer(t);
    FUZZ_CHECK(Tool::readField(*t.object, f) == bitsOf(before, f.offset, f.width));
    if (!in.ConsumeBool()) continue;
    step(ErrorKind::BadValue, [&] { Tool::checkDistinct(given, f); });
    // As the module does: a Python int arrives as decimal text at any width.
    const std::string text = in.ConsumeRandomLengthString(40);
    const auto value =
        step(ErrorKind::BadValue, [&] { return Tool::parseFieldValue(text, f.width, f.name); });
    Tool::writeField(t, f, value);
    const std::vector<U8> after = buffer(t);
    for (unsigned bit = 0; bit < 8 * after.size(); ++bit)
      if (bit < f.offset || bit >= f.offset + f.width)
        FUZZ_CHECK((((after[bit / 8] ^ before[bit / 8]) >> (bit % 8)) & 1) == 0);
    given.push_back(f);
    written.push_back(value);
    for (std::size_t k = 0; k < given.size(); ++k) {
      FUZZ_CHECK(Tool::readField(*t.object, given[k]) == written[k]);
      FUZZ_CHECK(bitsOf(after, given[k].offset, given[k].width) == written[k]);
    }
  }
}

void address(FuzzedDataProvider& in, const Tool::Target& t) {
  using Tool::Index;
  U32 index[3] = {};
  const char* const given[3] = {"instance", "entry", "array"};
  for (const Index which : {Index::Instance, Index::Entry, Index::Element}) {
    const bool small = in.ConsumeBool();  // most often an index that exists
    const U64 value = small ? in.ConsumeIntegral<U64>() % 4 : in.ConsumeIntegral<U64>();
    const int k = static_cast<int>(which);
    index[k] =
        step(ErrorKind::OutOfRange, [&] { return Tool::checkIndex(t, which, value, given[k]); });
    FUZZ_CHECK(index[k] == value && value < Tool::indexCount(*t.object, which));
  }
  const auto& o = *t.object;
  const Tool::SchanAddress at = Tool::schanAddress(o, index[0], index[1], index[2]);
  const Tool::SchanAddress first = Tool::schanAddress(o, 0, 0, 0);
  const Tool::SchanAddress instance = Tool::schanAddress(o, index[0], 0, 0);
  FUZZ_CHECK(Tool::schanAddress(o, 0, index[1], index[2]).address == at.address);
  FUZZ_CHECK(at.subBlock == instance.subBlock && at.block == instance.block);
  if (o.isTable()) {
    FUZZ_CHECK(at.address == first.address + index[1] + index[2] * o.entries());
  } else if (index[2] > 0) {
    const U32 stride = Tool::schanAddress(o, 0, 0, 1).address - first.address;
    FUZZ_CHECK(stride > 0 && at.address == first.address + index[2] * stride);
  }
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
    if (in.ConsumeBool()) {
      address(in, t);
    } else {
      useFields(in, t);
    }
    // What is left of the input asks for the answers the module takes from the tool.
    if (in.remaining_bytes() > 0) answers(in, t);
  } catch (const Tool::UsageError&) {
  }
  return 0;
}
