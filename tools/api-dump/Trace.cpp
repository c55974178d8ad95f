// One sample of every operation of a class with trace levels 0 and 8 on, in
// a child whose stderr is the trace: a note before each operation tells
// which lines it wrote (none for the untraced ones).
#include "Dump.h"

namespace ApiDump {
namespace {

std::string n(U64 v) {
  return std::to_string(v);
}

class TraceSample {
 public:
  TraceSample(const ClassRun& run, const Pair& p)
      : run_(run), c_(run.ops), p_(p), t_(p.chip), v_(p.variant) {
    pickFields();
  }

  void all() {
    note("constructor");
    const std::unique_ptr<Base> obj = run_.make(p_, shared().buf, run_.storageBytes);
    note("stringObj");
    const std::shared_ptr<Base> str =
        Hardware::stringObj(c_.name, static_cast<Hardware::ChipType>(t_), v_);
    note("chipTypeVariantValid");
    c_.valid(static_cast<Hardware::ChipType>(t_), v_);
    Hardware::chipTypeVariantValid(c_.name, static_cast<Hardware::ChipType>(t_), v_);
    queries(*obj);
    addresses(*obj);
    fields(*obj);
  }

 private:
  void step(const char* what, const std::function<void()>& call) {
    note(what);
    call();
  }

  void queries(Base& obj) {
    step("width", [&] {
      c_.width(t_, v_);
      obj.width();
    });
    if (c_.regWidth) step("regWidth", [&] { c_.regWidth(t_, v_); });
    if (c_.tableWidth) step("tableWidth", [&] { c_.tableWidth(t_, v_); });
    step("arrayElements", [&] {
      c_.arrayElements(t_, v_);
      obj.arrayElements();
    });
    if (c_.maxIdentifier)
      step("maxIdentifier", [&] {
        c_.maxIdentifier(t_, v_);
        obj.maxIdentifier();
      });
    if (c_.addrStride) step("addrStride", [&] { c_.addrStride(t_, v_); });
    if (c_.objAddrStride) step("addrStride()", [&] { c_.objAddrStride(obj); });
    if (c_.entries)
      step("entries", [&] {
        c_.entries(t_, v_);
        obj.entries();
      });
    if (c_.indexMin) step("index_min", [&] { c_.indexMin(t_, v_); });
    if (c_.arrayIndexMin) step("arrayIndex_min", [&] { c_.arrayIndexMin(t_, v_); });
    if (c_.tableVariantCount)
      step("tableVariantCount", [&] {
        c_.tableVariantCount(t_);
        obj.tableVariantCount();
      });
    if (c_.objIsPrimary) step("isPrimary", [&] { c_.objIsPrimary(obj); });
    step("isTable", [&] { obj.isTable(); });
    step("allFieldsMask", [&] {
      c_.allFieldsMask(t_, v_);
      obj.allFieldsMask();
    });
    step("instanceCount static", [&] { c_.instanceCount(t_, v_); });
    step("instanceCount()", [&] { obj.instanceCount(); });
    step("hasIdentifier static", [&] { c_.hasIdentifier(t_, v_, 1); });
    step("hasIdentifier()", [&] { obj.hasIdentifier(1); });
    step("fieldCount static", [&] { c_.fieldCount(t_, v_); });
    step("fieldCount()", [&] { obj.fieldCount(); });
    if (c_.entrySpans) {
      step("entrySpans static", [&] { c_.entrySpans(t_, v_); });
      step("entrySpans()", [&] { obj.entrySpans(); });
    }
    if (c_.getAllFields) step("getAllFields", [&] { c_.getAllFields(obj); });
  }

  void addresses(Base& obj) {
    U32 a = 0, s = 0, b = 0;
    step("getSchanAddress static", [&] { c_.getSchanAddress(t_, v_, a, s, b, 0, 0, 0); });
    step("getSchanAddress()", [&] { obj.getSchanAddress(a, s, b, 0, 0, 0); });
    step("getSchanAddress static on 13/0", [&] { c_.getSchanAddress(13, 0, a, s, b, 0, 0, 0); });
    for (U32 v = 0; v < 256; ++v) {
      if (c_.valid(static_cast<Hardware::ChipType>(t_), static_cast<U8>(v))) continue;
      note("getSchanAddress static on " + n(t_) + "/" + n(v));
      c_.getSchanAddress(t_, static_cast<U8>(v), a, s, b, 0, 0, 0);
      break;
    }
  }

  // The five accessors of the first field valid here; identifier and name
  // operations on the first number-typed one. Both are picked before the
  // trace is on, so that picking them writes nothing.
  void fields(Base& obj) {
    if (typed_ < c_.fields.size()) {
      const FieldOps& f = c_.fields[typed_];
      note(std::string("field ") + f.name);
      const Bytes value = f.get(obj);
      f.set(obj, value);
      f.len(obj);
      f.offset(obj);
      f.valid(obj);
    }
    if (byId_ < c_.fields.size()) {
      const FieldOps& f = c_.fields[byId_];
      const U32 id = run_.fieldIds[byId_];
      step("setField64", [&] { obj.setField64(id, 0); });
      step("isFieldValid", [&] { obj.isFieldValid(id); });
      step("fieldWidth", [&] { obj.fieldWidth(id); });
      step("fieldOffset", [&] { obj.fieldOffset(id); });
      step("stringField", [&] { obj.stringField(f.name, 0); });
      step("stringFieldIs", [&] { obj.stringFieldIs(f.name, 0); });
    }
    step("isFieldValid of a foreign identifier", [&] { obj.isFieldValid(0xffffffffu); });
    step("fieldWidth of a foreign identifier", [&] { obj.fieldWidth(0xffffffffu); });
  }

  void pickFields() {
    Bytes buf(run_.storageBytes);
    const std::unique_ptr<Base> obj = run_.make(p_, buf.data(), run_.storageBytes);
    typed_ = byId_ = c_.fields.size();
    for (std::size_t k = 0; k < c_.fields.size(); ++k) {
      if (!c_.fields[k].valid(*obj)) continue;
      if (typed_ == c_.fields.size()) typed_ = k;
      if (byId_ == c_.fields.size() && !c_.fields[k].raw && run_.fieldIds[k] != 0) byId_ = k;
    }
  }

  const ClassRun& run_;
  const ClassOps& c_;
  const Pair p_;
  const U32 t_;
  const U8 v_;
  std::size_t typed_ = 0;  // field index; the count of fields for none
  std::size_t byId_ = 0;
};

}  // namespace

void dumpTrace(const ClassRun& run) {
  if (run.pairs.empty()) return;
  const Pair p = run.pairs.front();
  TraceSample sample(run, p);
  const ChildEnd end = runInChild([&] { sample.all(); }, (1u << 0) | (1u << 8));
  const std::string at = std::string(run.ops.name) + " ~ ";
  for (const std::string& line : end.stderrLines) out(at + line);
  out(at + "= " + end.status);
}

}  // namespace ApiDump
