// The calls that must stop: each runs in a child of its own, and the dump
// records how the child ended, what it wrote on stderr and, for writes, what
// it left in the shared buffer.
#include <algorithm>
#include <map>
#include <set>

#include "Dump.h"

namespace ApiDump {
namespace {

std::string n(U64 v) {
  return std::to_string(v);
}

constexpr U32 kForeignChip = 13;

class Fatal {
 public:
  explicit Fatal(const ClassRun& run) : run_(run), c_(run.ops), name_(run.ops.name) {}

  void all() {
    constructors();
    staticQueries();
    addresses();
    absentFields();
    shortBuffers();
    tooWideValues();
    byIdentifierAndName();
    indexedBounds();
    baseDefaults();
    factory();
  }

 private:
  // --- helpers -------------------------------------------------------------

  // Runs body in a child; with `bytes`, shows what the shared buffer holds after.
  void record(const std::string& what, const std::function<void()>& body, U16 bytes = 0,
              U16 mask = 0) {
    const ChildEnd end = runInChild(body, mask);
    const std::string at = name_ + " !" + what;
    out(at + " = " + end.status);
    for (const std::string& line : end.stderrLines) out(at + " | " + line);
    if (bytes > 0) {
      const bool same =
          std::equal(shared().buf, shared().buf + bytes, fill_.begin(), fill_.begin() + bytes);
      out(at + " buf " + hex(shared().buf, bytes) + (same ? " unchanged" : " changed"));
    }
  }

  // Fills the shared buffer with the pair's seeded bytes.
  void sharedBuffer(const Pair& p, const std::string& what) {
    fill_ = run_.seededBuffer(p, "fatal/" + what);
    std::copy(fill_.begin(), fill_.end(), shared().buf);
  }

  std::unique_ptr<Base> make(const Pair& p, U16 len) const {
    return run_.make(p, shared().buf, len);
  }

  // First pair of each chip of the class.
  std::vector<Pair> firstPairs() const {
    std::vector<Pair> result;
    for (const Pair& p : run_.pairs)
      if (result.empty() || result.back().chip != p.chip) result.push_back(p);
    return result;
  }

  // The first variant that the class doesn't have on a chip it has.
  bool wrongVariant(U32 chip, Pair& wrong) const {
    for (U32 v = 0; v < 256; ++v) {
      if (!c_.valid(static_cast<Hardware::ChipType>(chip), static_cast<U8>(v))) {
        wrong = Pair{chip, static_cast<U8>(v)};
        return true;
      }
    }
    return false;
  }

  bool fieldValid(std::size_t k, const Pair& p) const {
    Bytes buf(run_.storageBytes);
    const std::unique_ptr<Base> obj = run_.make(p, buf.data(), run_.storageBytes);
    return c_.fields[k].valid(*obj);
  }

  // --- constructors and static queries ---------------------------------------

  void constructors() {
    const U16 len = run_.storageBytes;
    auto ctor = [&](const Pair& p) {
      record("constructor " + p.text(), [&, p] {
        make(p, len);
        note("constructed");
      });
    };
    auto factory = [&](const Pair& p) {
      record("stringObj " + p.text(), [&, p] {
        Hardware::stringObj(c_.name, static_cast<Hardware::ChipType>(p.chip), p.variant);
        note("constructed");
      });
    };
    ctor(Pair{kForeignChip, 0});
    ctor(Pair{255, 0});
    factory(Pair{kForeignChip, 0});
    Pair wrong{};
    for (const Pair& p : firstPairs())
      if (wrongVariant(p.chip, wrong)) ctor(wrong);
    if (wrongVariant(run_.pairs.front().chip, wrong)) factory(wrong);
  }

  struct Query {
    const char* name;
    std::function<std::string(U32, U8)> call;
  };

  std::vector<Query> queries() const {
    const ClassOps& c = c_;
    std::vector<Query> q;
    q.push_back({"width", [&c](U32 t, U8 v) { return n(c.width(t, v)); }});
    if (c.regWidth) q.push_back({"regWidth", [&c](U32 t, U8 v) { return n(c.regWidth(t, v)); }});
    if (c.tableWidth)
      q.push_back({"tableWidth", [&c](U32 t, U8 v) { return n(c.tableWidth(t, v)); }});
    q.push_back({"arrayElements", [&c](U32 t, U8 v) { return n(c.arrayElements(t, v)); }});
    if (c.maxIdentifier)
      q.push_back({"maxIdentifier", [&c](U32 t, U8 v) { return n(c.maxIdentifier(t, v)); }});
    if (c.addrStride)
      q.push_back({"addrStride", [&c](U32 t, U8 v) { return n(c.addrStride(t, v)); }});
    if (c.entries) q.push_back({"entries", [&c](U32 t, U8 v) { return n(c.entries(t, v)); }});
    if (c.indexMin) q.push_back({"index_min", [&c](U32 t, U8 v) { return n(c.indexMin(t, v)); }});
    if (c.arrayIndexMin)
      q.push_back({"arrayIndex_min", [&c](U32 t, U8 v) { return n(c.arrayIndexMin(t, v)); }});
    if (c.entrySpans)
      q.push_back({"entrySpans", [&c](U32 t, U8 v) { return n(c.entrySpans(t, v).count); }});
    q.push_back({"instanceCount", [&c](U32 t, U8 v) { return n(c.instanceCount(t, v)); }});
    q.push_back({"hasIdentifier", [&c](U32 t, U8 v) { return n(c.hasIdentifier(t, v, 0)); }});
    q.push_back({"fieldCount", [&c](U32 t, U8 v) { return n(c.fieldCount(t, v)); }});
    q.push_back(
        {"allFieldsMask", [&c](U32 t, U8 v) { return hex(c.allFieldsMask(t, v).data(), 8); }});
    return q;
  }

  // Every query on a foreign chip and on a wrong variant of each chip.
  void staticQueries() {
    const std::vector<Query> all = queries();
    auto ask = [&](const Query& q, const Pair& p) {
      record(std::string(q.name) + " " + p.text(),
             [&] { note("returned " + q.call(p.chip, p.variant)); });
    };
    for (const Query& q : all) ask(q, Pair{kForeignChip, 0});
    Pair wrong{};
    for (const Pair& p : firstPairs())
      if (wrongVariant(p.chip, wrong))
        for (const Query& q : all) ask(q, wrong);
  }

  // --- getSchanAddress ---------------------------------------------------------

  void schan(const std::string& what, const Pair& p, U32 id, U32 entry, U32 array, U16 mask = 0) {
    record(
        "getSchanAddress " + what + " " + p.text() + " id " + n(id) + " entry " + n(entry) +
            " array " + n(array),
        [&] {
          U32 a = 0xdeadbeef, s = 0xdeadbeef, b = 0xdeadbeef;
          const bool ok = c_.getSchanAddress(p.chip, p.variant, a, s, b, static_cast<U16>(id),
                                             entry, static_cast<U16>(array));
          note("returned " + n(ok) + " address " + num(a) + " subBlock " + num(s) + " block " +
               num(b));
        },
        0, mask);
  }

  void addresses() {
    for (const Pair& p : firstPairs()) {
      const U32 entries = c_.entries ? c_.entries(p.chip, p.variant) : 1;
      schan("tableEntry", p, 0, entries, 0);
      schan("arrayIndex", p, 0, 0, c_.arrayElements(p.chip, p.variant));
      schan("identifier", p, c_.instanceCount(p.chip, p.variant), 0, 0);
    }
    const Pair& p = run_.pairs.front();
    const U32 entries = c_.entries ? c_.entries(p.chip, p.variant) : 1;
    schan("order", p, c_.instanceCount(p.chip, p.variant), entries,
          c_.arrayElements(p.chip, p.variant));
    record("object getSchanAddress identifier " + p.text(), [&] {
      U32 a = 0, s = 0, b = 0;
      make(p, run_.storageBytes)
          ->getSchanAddress(a, s, b, c_.instanceCount(p.chip, p.variant), 0, 0);
    });
    schan("false with level 0", Pair{kForeignChip, 0}, 0, 0, 0, 1);
    Pair wrong{};
    if (wrongVariant(p.chip, wrong)) schan("false with level 0", wrong, 0, 0, 0, 1);
  }

  // --- fields ----------------------------------------------------------------

  // A field absent on a pair, by how many variants of that chip carry it: none,
  // exactly one (the "variant_ == v" kind) or several.
  void absentFields() {
    std::map<std::string, std::pair<std::size_t, Pair>> firstOfKind;
    for (std::size_t k = 0; k < c_.fields.size(); ++k) {
      std::map<U32, int> carriers;
      std::vector<Pair> absent;
      for (const Pair& p : run_.pairs) {
        if (fieldValid(k, p))
          ++carriers[p.chip];
        else
          absent.push_back(p);
      }
      for (const Pair& p : absent) {
        const int count = carriers[p.chip];
        const std::string kind = count == 0   ? "absent on chip"
                                 : count == 1 ? "on one other variant"
                                              : "on other variants";
        firstOfKind.emplace(kind, std::make_pair(k, p));
      }
    }
    for (const auto& [kind, where] : firstOfKind) absentField(kind, where.first, where.second);
  }

  void absentField(const std::string& kind, std::size_t k, const Pair& p) {
    const FieldOps& f = c_.fields[k];
    const U16 len = run_.storageBytes;
    const std::string at = std::string(f.name) + " " + kind + " " + p.text();
    sharedBuffer(p, "absent");
    record(at + " get", [&] { note("returned " + hex(f.get(*make(p, len)))); });
    record(
        at + " set", [&] { f.set(*make(p, len), Bytes(f.typeBytes, 0)); }, len);
    record(at + " len", [&] { note("returned " + n(f.len(*make(p, len)))); });
    record(at + " offset", [&] { note("returned " + n(f.offset(*make(p, len)))); });
    const U32 id = run_.fieldIds[k];
    if (id != 0)
      record(at + " fieldOffset", [&] { note("returned " + n(make(p, len)->fieldOffset(id))); });
    if (id != 0 && !f.raw)
      record(
          at + " setField64", [&] { make(p, len)->setField64(id, 0); }, len);
    record(at + " stringField",
           [&] { note("returned " + num(make(p, len)->stringField(f.name, 0))); });
    if (!f.raw)
      record(
          at + " stringFieldIs", [&] { make(p, len)->stringFieldIs(f.name, 0); }, len);
  }

  // The field ending last on a pair; false if none is valid there.
  bool lastField(const Pair& p, std::size_t& last, U32& end) const {
    Bytes buf(run_.storageBytes);
    const std::unique_ptr<Base> obj = run_.make(p, buf.data(), run_.storageBytes);
    bool found = false;
    end = 0;
    for (std::size_t k = 0; k < c_.fields.size(); ++k) {
      const FieldOps& f = c_.fields[k];
      if (!f.valid(*obj)) continue;
      const U32 e = static_cast<U32>(f.offset(*obj)) + f.len(*obj);
      if (!found || e > end) {
        found = true;
        last = k;
        end = e;
      }
    }
    return found;
  }

  // One byte short of what the field, or the whole entry, needs.
  void shortBuffers() {
    bool first = true;
    for (const Pair& p : firstPairs()) {
      std::size_t k = 0;
      U32 end = 0;
      const U16 entry = run_.storageBytes;
      sharedBuffer(p, "short");
      if (c_.getAllFields) {
        record("getAllFields len " + n(entry - 1) + " " + p.text(),
               [&] { note("returned " + hex(c_.getAllFields(*make(p, entry - 1)))); });
      }
      if (!lastField(p, k, end)) continue;
      const FieldOps& f = c_.fields[k];
      const U16 need = static_cast<U16>((end + 7) / 8);
      const std::string at = std::string(f.name) + " len " + n(need - 1) + " " + p.text();
      record(at + " get", [&] { note("returned " + hex(f.get(*make(p, need - 1)))); });
      record(
          at + " set", [&] { f.set(*make(p, need - 1), Bytes(f.typeBytes, 0)); }, need);
      if (!first) continue;
      first = false;
      record(std::string(f.name) + " len " + n(need) + " " + p.text() + " get",
             [&] { note("returned " + hex(f.get(*make(p, need)))); });
      record(at + " stringField",
             [&] { note("returned " + num(make(p, need - 1)->stringField(f.name, 0))); });
      const U32 id = run_.fieldIds[k];
      if (!f.raw && id != 0)
        record(
            at + " setField64", [&] { make(p, need - 1)->setField64(id, 0); }, need);
      if (!f.raw)
        record(
            at + " stringFieldIs", [&] { make(p, need - 1)->stringFieldIs(f.name, 0); }, need);
    }
  }

  // The first value above the field's width, for each width a checked field
  // has on the class's pairs; through setField64 and stringFieldIs once.
  void tooWideValues() {
    const U16 len = run_.storageBytes;
    bool first = true;
    for (std::size_t k = 0; k < c_.fields.size(); ++k) {
      const FieldOps& f = c_.fields[k];
      if (f.raw) continue;
      std::set<U16> widths;
      for (const Pair& p : run_.pairs) {
        Bytes buf(len);
        const std::unique_ptr<Base> obj = run_.make(p, buf.data(), len);
        if (!f.valid(*obj)) continue;
        const U16 w = f.len(*obj);
        if (w == 8 || w == 16 || w == 32 || w >= 64 || !widths.insert(w).second) continue;
        const U64 value = U64{1} << w;
        const std::string at = std::string(f.name) + " value " + num(value) + " " + p.text();
        sharedBuffer(p, "wide");
        record(
            at + " set", [&] { f.set(*make(p, len), bytesOf(value)); }, len);
        const U32 id = run_.fieldIds[k];
        if (first && id != 0) {
          record(
              at + " setField64", [&] { make(p, len)->setField64(id, value); }, len);
          record(
              at + " stringFieldIs", [&] { make(p, len)->stringFieldIs(f.name, value); }, len);
          first = false;
        }
      }
    }
  }

  void byIdentifierAndName() {
    const Pair& p = run_.pairs.front();
    const U16 len = run_.storageBytes;
    const std::set<U32> own(run_.fieldIds.begin(), run_.fieldIds.end());
    U32 foreign = Hardware::FieldIds::kFirst;
    while (own.count(foreign)) ++foreign;
    sharedBuffer(p, "names");
    for (U32 id : {foreign, 0xffffffffu}) {
      record("fieldOffset " + n(id) + " " + p.text(),
             [&] { note("returned " + n(make(p, len)->fieldOffset(id))); });
      record(
          "setField64 " + n(id) + " " + p.text(), [&] { make(p, len)->setField64(id, 1); }, len);
    }
    for (const std::string& name : unknownNames()) {
      record("stringField \"" + name + "\" " + p.text(),
             [&] { note("returned " + num(make(p, len)->stringField(name.c_str(), 0))); });
      record(
          "stringFieldIs \"" + name + "\" " + p.text(),
          [&] { make(p, len)->stringFieldIs(name.c_str(), 0); }, len);
    }
    rawField();
  }

  // Names that aren't field accessor names of the class.
  std::vector<std::string> unknownNames() const {
    std::vector<std::string> names{"noSuchField", ""};
    std::set<std::string> fields;
    for (const FieldOps& f : c_.fields) fields.insert(f.name);
    if (!run_.fieldIds.empty() && run_.fieldIds[0] != 0)
      if (const char* hw = Hardware::fieldIdName(run_.fieldIds[0])) names.push_back(hw);
    for (const IndexedOps& g : c_.indexed)
      if (!fields.count(g.name)) names.push_back(g.name);
    return names;
  }

  // The first RawN field on its first pair: no setField64, no stringFieldIs,
  // and stringField one word past its last.
  void rawField() {
    const U16 len = run_.storageBytes;
    for (std::size_t k = 0; k < c_.fields.size(); ++k) {
      const FieldOps& f = c_.fields[k];
      if (!f.raw) continue;
      for (const Pair& p : run_.pairs) {
        if (!fieldValid(k, p)) continue;
        const std::string at = std::string(f.name) + " raw " + p.text();
        const U32 id = run_.fieldIds[k];
        sharedBuffer(p, "raw");
        if (id != 0)
          record(
              at + " setField64", [&] { make(p, len)->setField64(id, 1); }, len);
        record(
            at + " stringFieldIs", [&] { make(p, len)->stringFieldIs(f.name, 1); }, len);
        const U16 word = static_cast<U16>(f.typeBytes / 8);
        record(at + " stringField word " + n(word),
               [&] { note("returned " + num(make(p, len)->stringField(f.name, word))); });
        return;
      }
    }
  }

  void indexedBounds() {
    const Pair& p = run_.pairs.front();
    const U16 len = run_.storageBytes;
    for (const IndexedOps& g : c_.indexed) {
      const auto it = run_.indexBounds.find(g.name);
      if (it == run_.indexBounds.end()) continue;
      const U32 bound = it->second;
      sharedBuffer(p, "indexed");
      record(std::string(g.name) + " index " + n(bound) + " " + p.text() + " get",
             [&] { note("returned " + hex(g.get(*make(p, len), bound))); });
      record(
          std::string(g.name) + " index " + n(bound) + " " + p.text() + " set",
          [&] { g.set(*make(p, len), bound, Bytes(g.typeBytes, 0)); }, len);
    }
  }

  // --- base class and factory ----------------------------------------------

  void baseDefaults() {
    const Pair& p = run_.pairs.front();
    auto obj = [&] {
      return Hardware::stringObj(c_.name, static_cast<Hardware::ChipType>(p.chip), p.variant);
    };
    auto bcm = [&] { return std::dynamic_pointer_cast<Orrery::BcmAsicBase>(obj()); };
    auto ask = [&](const std::string& what, const std::function<std::string()>& call) {
      record("base " + what + " " + p.text(), [&] { note("returned " + call()); });
    };
    if (c_.memory)
      ask("maxIdentifier", [&] { return n(obj()->maxIdentifier()); });
    else {
      ask("entries", [&] { return n(obj()->entries()); });
      ask("tableVariantCount", [&] { return n(obj()->tableVariantCount()); });
      ask("entrySpans", [&] { return n(obj()->entrySpans().count); });
    }
    ask("sdkDefinedId", [&] { return std::to_string(obj()->sdkDefinedId()); });
    ask("hasInstance", [&] { return n(obj()->hasInstance(0)); });
    ask("compareTo", [&] { return n(obj()->compareTo(shared().buf, 4)); });
    ask("hasMultipleMem", [&] { return n(bcm()->hasMultipleMem()); });
    ask("groupId", [&] { return n(bcm()->groupId(0)); });
    ask("numGroups", [&] { return n(bcm()->numGroups()); });
    ask("groupInfo", [&] {
      U32 a = 0, b = 0;
      U8 c = 0;
      return n(bcm()->groupInfo(0, a, b, c));
    });
    ask("memInfo", [&] {
      U32 a = 0, b = 0, c = 0, d = 0, e = 0;
      return n(bcm()->memInfo(0, 0, a, b, c, d, e));
    });
  }

  void factory() {
    std::string lower = name_;
    lower[0] = static_cast<char>(lower[0] - 'A' + 'a');
    const Pair& p = run_.pairs.front();
    const auto chip = static_cast<Hardware::ChipType>(p.chip);
    for (const std::string& name : {lower, name_ + " ", name_.substr(0, name_.size() - 1)}) {
      record("stringObj \"" + name + "\"", [&] {
        note("returned " + n(Hardware::stringObj(name.c_str(), chip, p.variant) != nullptr));
      });
      record("chipTypeVariantValid \"" + name + "\"", [&] {
        note("returned " + n(Hardware::chipTypeVariantValid(name.c_str(), chip, p.variant)));
      });
    }
  }

  const ClassRun& run_;
  const ClassOps& c_;
  const std::string name_;
  Bytes fill_;  // what sharedBuffer() last put in the shared buffer
};

}  // namespace

void dumpFatal(const ClassRun& run) {
  if (!run.pairs.empty()) Fatal(run).all();
}

}  // namespace ApiDump
