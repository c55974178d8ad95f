// The fields of one pair: typed accessors, access by identifier and by
// name, and the indexed accessors.
#include <algorithm>
#include <set>

#include "Dump.h"

namespace ApiDump {
namespace {

constexpr U32 kIndexCap = 4096;   // an indexed accessor that never stops ends here
constexpr U32 kStopsInARow = 64;  // ... and one that stops on every index here

std::string n(U64 v) {
  return std::to_string(v);
}

bool checksValue(const FieldOps& f, U16 width) {
  return !f.raw && width != 8 && width != 16 && width != 32 && width != 64;
}

// Random bits above a value of typeBytes bytes, which the conversion to T drops.
U64 aboveType(Random& r, unsigned typeBytes) {
  return typeBytes >= 8 ? 0 : r.next() << (8 * typeBytes);
}

// One field over a buffer that is reset to the pair's seeded bytes before
// every write, so that each written buffer shows exactly what that write did.
class FieldProbe {
 public:
  FieldProbe(const ClassRun& run, const Pair& p, const Bytes& base, Bytes& work, Base& obj)
      : run_(run), p_(p), base_(base), work_(work), obj_(obj) {}

  void dump(std::size_t k) {
    const FieldOps& f = run_.ops.fields[k];
    const U32 id = run_.fieldIds[k];
    at_ = run_.at(p_) + " ." + f.name;
    reset();
    if (!f.valid(obj_)) {
      out(at_ + " valid 0" + byIdentifier(id, false));
      return;
    }
    const U16 width = f.len(obj_);
    out(at_ + " valid 1 len " + n(width) + " offset " + n(f.offset(obj_)) + " get " +
        valueText(f.get(obj_), f.raw) + byIdentifier(id, true));
    Random r(at_);
    const Bytes mask = widthMask(width, f.typeBytes);
    set(f, "ones", mask);
    const Bytes value = andOf(r.bytes(f.typeBytes), mask);
    const Bytes written = set(f, "seeded", value);
    if (!checksValue(f, width) && width < 8 * f.typeBytes) set(f, "wide", ones(f.typeBytes));
    if (!f.raw && id != 0) {
      const U64 v64 = toU64(value) | aboveType(r, f.typeBytes);
      reset();
      obj_.setField64(id, v64);
      out(at_ + " setField64 " + num(v64) + " buf " + sameOr(written) + " get " +
          valueText(f.get(obj_), false));
    }
    stringField(f);
    if (!f.raw) {
      const U64 v64 = toU64(value) | aboveType(r, f.typeBytes);
      reset();
      obj_.stringFieldIs(f.name, v64);
      out(at_ + " stringFieldIs " + num(v64) + " buf " + sameOr(written) + " stringField " +
          num(obj_.stringField(f.name, 0)));
    }
  }

 private:
  void reset() { std::copy(base_.begin(), base_.end(), work_.begin()); }

  std::string sameOr(const Bytes& expected) const {
    return work_ == expected ? "as seeded" : hex(work_);
  }

  std::string byIdentifier(U32 id, bool valid) const {
    if (id == 0) return " id none";
    const bool idValid = obj_.isFieldValid(id);
    std::string text =
        " id " + n(id) + " isFieldValid " + n(idValid) + " fieldWidth " + n(obj_.fieldWidth(id));
    if (valid && idValid) text += " fieldOffset " + n(obj_.fieldOffset(id));
    return text;
  }

  Bytes set(const FieldOps& f, const std::string& what, const Bytes& value) {
    reset();
    f.set(obj_, value);
    out(at_ + " set " + what + " " + valueText(value, f.raw) + " buf " + hex(work_) + " get " +
        valueText(f.get(obj_), f.raw));
    return work_;
  }

  // Every 64-bit word of a RawN; for a number type word 0 and 1, which it ignores.
  void stringField(const FieldOps& f) {
    reset();
    const unsigned words = f.raw ? f.typeBytes / 8 : 2;
    std::string text;
    for (unsigned w = 0; w < words; ++w)
      text += " " + num(obj_.stringField(f.name, static_cast<U16>(w)));
    out(at_ + " stringField" + text);
  }

  const ClassRun& run_;
  const Pair& p_;
  const Bytes& base_;
  Bytes& work_;
  Base& obj_;
  std::string at_;
};

std::string indexedLine(const ClassRun& run, const Pair& p, const IndexedOps& g, U32 i) {
  const U16 len = run.storageBytes;
  Bytes work = run.seededBuffer(p, std::string("indexed/") + g.name + "/" + n(i));
  Bytes allOnes = ones(len);
  const std::unique_ptr<Base> obj = run.make(p, work.data(), len);
  const std::unique_ptr<Base> objOnes = run.make(p, allOnes.data(), len);
  const bool raw = g.typeBytes > 8;
  const Bytes value = g.get(*obj, i);
  const Bytes fieldOnes = g.get(*objOnes, i);
  const Bytes flipped = xorOf(value, fieldOnes);
  g.set(*obj, i, flipped);
  return run.at(p) + " [" + g.name + "] " + n(i) + " get " + valueText(value, raw) + " ones " +
         valueText(fieldOnes, raw) + " set " + valueText(flipped, raw) + " buf " + hex(work) +
         " get " + valueText(g.get(*obj, i), raw);
}

std::string stopText(const ChildEnd& end) {
  std::string text = end.status;
  for (const std::string& line : end.stderrLines)
    if (!isTraceLine(line)) text += " | " + line;
  return text;
}

// Runs the indices from 0 up in a child, one line each; where the child
// stops, records the stop and carries on after it, until the stop that
// says the index is out of range.
void probeIndexed(ClassRun& run, const Pair& p, const IndexedOps& g) {
  const std::string at = run.at(p) + " [" + g.name + "]";
  U32 start = 0, stopsInARow = 0;
  while (start < kIndexCap) {
    shared().progress = start;
    const ChildEnd end = runInChild(
        [&] {
          for (U32 i = start; i < kIndexCap; ++i) {
            shared().progress = i;
            out(indexedLine(run, p, g, i));
          }
        },
        answeringTraceMask(), 60);
    if (end.status == "exit 0") break;
    const U32 stopped = shared().progress;
    const std::string text = stopText(end);
    if (text.find("out of range") != std::string::npos) {
      out(at + " bound " + n(stopped));
      run.indexBounds.emplace(g.name, stopped);
      return;
    }
    out(at + " " + n(stopped) + " stops: " + text);
    stopsInARow = stopped == start ? stopsInARow + 1 : 1;
    if (stopsInARow >= kStopsInARow) {
      out(at + " stops on every index from " + n(stopped + 1 - stopsInARow) + "; probe ended");
      return;
    }
    start = stopped + 1;
  }
  out(at + " no stop below " + n(kIndexCap));
}

}  // namespace

void dumpPairFields(const ClassRun& run, const Pair& p) {
  const Bytes base = run.seededBuffer(p, "fields");
  Bytes work = base;
  const std::unique_ptr<Base> obj = run.make(p, work.data(), run.storageBytes);
  FieldProbe probe(run, p, base, work, *obj);
  for (std::size_t k = 0; k < run.ops.fields.size(); ++k) probe.dump(k);
}

// Identifiers that aren't the class's own: all must be invalid, width 0.
void dumpPairIdentifiers(const ClassRun& run, const Pair& p) {
  const std::set<U32> own(run.fieldIds.begin(), run.fieldIds.end());
  Bytes buf = run.seededBuffer(p, "identifiers");
  const std::unique_ptr<Base> obj = run.make(p, buf.data(), run.storageBytes);
  std::vector<U32> ids;
  for (U32 id = 0; id <= Hardware::FieldIds::kLast + 8; ++id) ids.push_back(id);
  ids.push_back(0x80000000u);
  ids.push_back(0xffffffffu);
  U32 foreign = 0, quiet = 0;
  for (U32 id : ids) {
    if (own.count(id)) continue;
    ++foreign;
    const bool valid = obj->isFieldValid(id);
    const U16 width = obj->fieldWidth(id);
    if (valid || width != 0)
      out(run.at(p) + " foreign id " + n(id) + " isFieldValid " + n(valid) + " fieldWidth " +
          n(width));
    else
      ++quiet;
  }
  out(run.at(p) + " foreign ids " + n(foreign) + ": " + n(quiet) +
      " with isFieldValid 0, fieldWidth 0");
}

void dumpPairIndexed(ClassRun& run, const Pair& p) {
  for (const IndexedOps& g : run.ops.indexed) probeIndexed(run, p, g);
}

}  // namespace ApiDump
