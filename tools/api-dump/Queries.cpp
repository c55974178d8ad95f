// Validity, the class-wide tables and the geometry queries of one pair, in
// their static form, through an object of the class and through the
// factory's object as Orrery::AsicBase.
#include <set>

#include "Dump.h"

namespace ApiDump {
namespace {

constexpr U32 kUntouched = 0xdeadbeef;

std::string n(U64 v) {
  return std::to_string(v);
}

// "0-21", "0,2-3"; the variants of one chip.
std::string ranges(const std::vector<U32>& values) {
  std::string s;
  for (std::size_t i = 0; i < values.size();) {
    std::size_t j = i;
    while (j + 1 < values.size() && values[j + 1] == values[j] + 1) ++j;
    if (!s.empty()) s += ",";
    s += n(values[i]) + (j > i ? "-" + n(values[j]) : "");
    i = j + 1;
  }
  return s.empty() ? "none" : s;
}

// One answer in up to three forms; the others are shown only where they differ.
std::string three(const std::string& st, const std::string& obj, const std::string& str) {
  if (st == obj && obj == str) return st;
  return st + " | object " + obj + " | stringObj " + str;
}

// An answer with one other form, labelled, shown only where it differs.
std::string two(const std::string& first, const std::string& label, const std::string& second) {
  return first == second ? first : first + " | " + label + " " + second;
}

std::string spansText(const Orrery::EntrySpans& s, const ClassOps& ops) {
  std::string text = n(s.count);
  for (U32 i = 0; i < s.count && i < 16; ++i)
    text += " [" + n(s.spans[i].firstEntry) + "," + n(s.spans[i].size) + "]";
  for (const SpanRecord& r : ops.records)
    if (r.spans == s.spans) text += std::string(" ") + r.name;
  return text;
}

std::string maskText(const Raw8192& mask, U16 bytes) {
  std::string text = hex(mask.data(), bytes);
  for (std::size_t i = bytes; i < mask.size(); ++i)
    if (mask[i] != 0) return text + " rest nonzero from byte " + n(i);
  return text + " rest 0";
}

std::string identifiers(const std::function<bool(U32)>& has, U32 count) {
  std::string bits;
  for (U32 i = 0; i <= count; ++i) bits += has(i) ? '1' : '0';
  return bits;
}

std::string schanText(bool ok, U32 address, U32 subBlock, U32 block) {
  return std::string(ok ? "1" : "0") + " address " + n(address) + " subBlock " + n(subBlock) +
         " block " + n(block);
}

std::vector<U32> corners(U32 count) {
  std::set<U32> s{0, count > 0 ? count - 1 : 0};
  return std::vector<U32>(s.begin(), s.end());
}

}  // namespace

void dumpValidity(const ClassRun& run) {
  const ClassOps& c = run.ops;
  for (U32 chip = 0; chip < 256; ++chip) {
    std::vector<U32> own, byName;
    for (U32 v = 0; v < 256; ++v) {
      const auto t = static_cast<Hardware::ChipType>(chip);
      if (c.valid(t, static_cast<U8>(v))) own.push_back(v);
      if (Hardware::chipTypeVariantValid(c.name, t, static_cast<U8>(v))) byName.push_back(v);
    }
    if (own.empty() && byName.empty()) continue;
    std::string line = std::string(c.name) + " valid " + n(chip) + " v" + ranges(own);
    if (byName != own) line += " byName v" + ranges(byName);
    out(line);
  }
  out(std::string(c.name) + " valid pairs " + n(run.pairs.size()));
}

void dumpClassTables(const ClassRun& run) {
  const ClassOps& c = run.ops;
  const std::string name = c.name;
  if (c.tableVariantCount) {
    std::string counts;
    for (U32 chip = 0; chip < 256; ++chip)
      if (const U32 k = c.tableVariantCount(chip)) counts += " " + n(chip) + ":" + n(k);
    out(name + " tableVariantCount" + counts);
  }
  for (const SpanRecord& r : c.records)
    out(name + " record " + r.name + " " + spansText(Orrery::EntrySpans{r.spans, r.count}, c));

  // getSchanAddress is the one query that answers on a pair the class lacks.
  std::set<std::pair<U32, U32>> valid;
  for (const Pair& p : run.pairs) valid.emplace(p.chip, p.variant);
  U32 others = 0, odd = 0;
  for (U32 chip = 0; chip < 256; ++chip) {
    for (U32 v = 0; v < 256; ++v) {
      if (valid.count({chip, v})) continue;
      ++others;
      U32 a = kUntouched, s = kUntouched, b = kUntouched;
      const bool ok = c.getSchanAddress(chip, static_cast<U8>(v), a, s, b, 0, 0, 0);
      if ((ok || a != kUntouched || s != kUntouched || b != kUntouched) && ++odd <= 8)
        out(name + " getSchanAddress on " + n(chip) + "/" + n(v) + ": " + schanText(ok, a, s, b));
    }
  }
  out(name + " getSchanAddress on the " + n(others) + " other pairs: " + n(others - odd) +
      " false with outputs untouched");
}

void dumpPairQueries(const ClassRun& run, const Pair& p) {
  const ClassOps& c = run.ops;
  const U32 t = p.chip;
  const U8 v = p.variant;
  const U16 len = run.storageBytes;
  Bytes seeded = run.seededBuffer(p, "queries");
  Bytes allOnes = ones(len);
  const std::unique_ptr<Base> obj = run.make(p, seeded.data(), len);
  const std::unique_ptr<Base> objOnes = run.make(p, allOnes.data(), len);
  const std::shared_ptr<Base> str =
      Hardware::stringObj(c.name, static_cast<Hardware::ChipType>(t), v);
  auto line = [&](const std::string& what, const std::string& value) {
    out(run.at(p) + " " + what + " " + value);
  };

  line("width", three(n(c.width(t, v)), n(obj->width()), n(str->width())));
  if (c.regWidth) line("regWidth", n(c.regWidth(t, v)));
  if (c.tableWidth) line("tableWidth", n(c.tableWidth(t, v)));
  line("arrayElements",
       three(n(c.arrayElements(t, v)), n(obj->arrayElements()), n(str->arrayElements())));
  if (c.maxIdentifier)
    line("maxIdentifier",
         three(n(c.maxIdentifier(t, v)), n(obj->maxIdentifier()), n(str->maxIdentifier())));
  if (c.addrStride)
    line("addrStride", two(n(c.addrStride(t, v)), "object",
                           c.objAddrStride ? n(c.objAddrStride(*obj)) : "absent"));
  if (c.entries) line("entries", three(n(c.entries(t, v)), n(obj->entries()), n(str->entries())));
  if (c.memory) {
    auto* tObj = dynamic_cast<TesselCounters::TesselCountersAsicTableBase*>(obj.get());
    auto* tStr = dynamic_cast<TesselCounters::TesselCountersAsicTableBase*>(str.get());
    if (tObj && tStr && c.indexMin)
      line("index_min", three(n(c.indexMin(t, v)), n(tObj->index_min()), n(tStr->index_min())));
    if (tObj && tStr && c.arrayIndexMin)
      line("arrayIndex_min",
           three(n(c.arrayIndexMin(t, v)), n(tObj->arrayIndex_min()), n(tStr->arrayIndex_min())));
    if (!tObj || !tStr) line("table base", "missing");
  }
  if (c.entrySpans)
    line("entrySpans", three(spansText(c.entrySpans(t, v), c), spansText(obj->entrySpans(), c),
                             spansText(str->entrySpans(), c)));
  if (c.tableVariantCount)
    line("tableVariantCount", three(n(c.tableVariantCount(t)), n(obj->tableVariantCount()),
                                    n(str->tableVariantCount())));
  if (c.objIsPrimary) line("isPrimary", n(c.objIsPrimary(*obj)));
  line("isTable", two(n(obj->isTable()), "stringObj", n(str->isTable())));
  const U16 instances = c.instanceCount(t, v);
  line("instanceCount", three(n(instances), n(obj->instanceCount()), n(str->instanceCount())));
  line("fieldCount", three(n(c.fieldCount(t, v)), n(obj->fieldCount()), n(str->fieldCount())));
  line("hasIdentifier",
       three(identifiers([&](U32 i) { return c.hasIdentifier(t, v, i); }, instances),
             identifiers([&](U32 i) { return obj->hasIdentifier(i); }, instances),
             identifiers([&](U32 i) { return str->hasIdentifier(i); }, instances)));
  line("allFieldsMask",
       three(maskText(c.allFieldsMask(t, v), len), maskText(obj->allFieldsMask(), len),
             maskText(str->allFieldsMask(), len)));
  if (c.getAllFields) {
    line("getAllFields seeded", hex(c.getAllFields(*obj)));
    line("getAllFields ones", hex(c.getAllFields(*objOnes)));
  }

  const U32 entries = c.entries ? c.entries(t, v) : 1;
  for (U32 id : corners(instances)) {
    for (U32 entry : corners(entries)) {
      for (U32 a : corners(c.arrayElements(t, v))) {
        const U16 id16 = static_cast<U16>(id), a16 = static_cast<U16>(a);
        U32 r[3][3] = {{kUntouched, kUntouched, kUntouched},
                       {kUntouched, kUntouched, kUntouched},
                       {kUntouched, kUntouched, kUntouched}};
        const bool okS = c.getSchanAddress(t, v, r[0][0], r[0][1], r[0][2], id16, entry, a16);
        const bool okO = obj->getSchanAddress(r[1][0], r[1][1], r[1][2], id16, entry, a16);
        const bool okT = str->getSchanAddress(r[2][0], r[2][1], r[2][2], id16, entry, a16);
        line("getSchanAddress id " + n(id) + " entry " + n(entry) + " array " + n(a) + " =",
             three(schanText(okS, r[0][0], r[0][1], r[0][2]),
                   schanText(okO, r[1][0], r[1][1], r[1][2]),
                   schanText(okT, r[2][0], r[2][1], r[2][2])));
      }
    }
  }

  bool zero = true;
  for (U16 i = 0; i < str->len(); ++i) zero = zero && str->buf()[i] == 0;
  line("stringObj binding", "len " + n(str->len()) + " chip " + n(str->chipType()) + " variant " +
                                n(str->variant()) + (zero ? " zero-filled" : " not zero-filled"));
  if (c.handleBuf) {
    c.handleBuf(*obj, static_cast<Hardware::ChipType>(99), allOnes.data(), 1, true, 77);
    const bool kept = obj->buf() == seeded.data() && obj->len() == len && obj->chipType() == t &&
                      obj->variant() == v;
    line("handleBuf", kept ? "binding kept" : "binding changed");
  }
}

}  // namespace ApiDump
