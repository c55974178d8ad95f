// api-dump [--only Class,Class...] [--trace-on]
//
// Writes every answer of the library's public API to stdout, class by class.
// Each class runs in a child process of its own, so that a call that stops
// where it shouldn't shows as a recorded end and the next class still runs.
// --trace-on runs the answering calls with trace level 8 on (their lines are
// dropped), which takes the library's traced paths instead of its fast ones.
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <sstream>

#include "Dump.h"

namespace ApiDump {

std::string Pair::text() const {
  return std::to_string(chip) + "/" + std::to_string(variant);
}

std::string ClassRun::at(const Pair& p) const {
  return std::string(ops.name) + " " + p.text();
}

std::unique_ptr<Base> ClassRun::make(const Pair& p, U8* buf, U16 len) const {
  return ops.make(static_cast<Hardware::ChipType>(p.chip), buf, len, p.variant);
}

Bytes ClassRun::seededBuffer(const Pair& p, const std::string& what) const {
  Random r(std::string(ops.name) + "/" + p.text() + "/" + what);
  return r.bytes(storageBytes);
}

U32 fieldIdOf(const std::string& accessorName) {
  static const std::map<std::string, U32> ids = [] {
    std::map<std::string, U32> m;
    for (U32 id = 0; id <= Hardware::FieldIds::kLast; ++id)
      if (const char* name = Hardware::fieldIdAccessorName(id)) m.emplace(name, id);
    return m;
  }();
  const auto it = ids.find(accessorName);
  return it == ids.end() ? 0 : it->second;
}

namespace {
U16 answeringMask = 0;
}  // namespace

U16 answeringTraceMask() {
  return answeringMask;
}

namespace {

void dumpClassList() {
  const U32 count = Hardware::accessorClassCount();
  out("classes " + std::to_string(count));
  for (U32 i = 0; i <= count; ++i) {
    const char* name = Hardware::accessorClassName(i);
    out("class " + std::to_string(i) + " " + (name ? name : "(null)"));
  }
}

void dumpFieldIds() {
  using namespace Hardware::FieldIds;
  out("fieldIds kFirst " + std::to_string(kFirst) + " kLast " + std::to_string(kLast) + " kCount " +
      std::to_string(kCount));
  U32 named = 0;
  for (U32 id = 0; id <= kLast + 8; ++id) {
    const char* hw = Hardware::fieldIdName(id);
    const char* acc = Hardware::fieldIdAccessorName(id);
    if (!hw && !acc) continue;
    ++named;
    out("fieldId " + std::to_string(id) + " " + (hw ? hw : "(null)") + " " +
        (acc ? acc : "(null)"));
  }
  out("fieldIds named " + std::to_string(named));
}

void dumpChipAndVariantText() {
  for (U32 chip = 0; chip < 256; ++chip) {
    for (U8 variant : {U8{0}, U8{3}, U8{255}}) {
      std::ostringstream s;
      Hardware::operator<<(s,
                           Orrery::ChipAndVariant{static_cast<Hardware::ChipType>(chip), variant});
      out("chipAndVariant " + std::to_string(chip) + "/" + std::to_string(variant) + " \"" +
          s.str() + "\"");
    }
  }
}

ClassRun prepare(const ClassOps& ops) {
  ClassRun run{ops, {}, 0, {}, {}};
  for (U32 chip = 0; chip < 256; ++chip)
    for (U32 v = 0; v < 256; ++v)
      if (ops.valid(static_cast<Hardware::ChipType>(chip), static_cast<U8>(v)))
        run.pairs.push_back(Pair{chip, static_cast<U8>(v)});
  U16 widest = 0;
  for (const Pair& p : run.pairs) widest = std::max(widest, ops.width(p.chip, p.variant));
  run.storageBytes = static_cast<U16>(4 * widest);
  for (const FieldOps& f : ops.fields) run.fieldIds.push_back(fieldIdOf(f.name));
  return run;
}

void dumpClass(const ClassOps& ops, bool traceOn) {
  ClassRun run = prepare(ops);
  out(std::string("== ") + ops.name + (ops.memory ? " memory" : " register") + " fields " +
      std::to_string(ops.fields.size()) + " indexed " + std::to_string(ops.indexed.size()) +
      " storage " + std::to_string(run.storageBytes));
  dumpValidity(run);
  dumpClassTables(run);
  answeringMask = traceOn ? U16{1u << 8} : U16{0};
  Wisp::levelMaskIs(kTraceHandle, answeringMask);
  for (const Pair& p : run.pairs) {
    dumpPairQueries(run, p);
    dumpPairFields(run, p);
    dumpPairIdentifiers(run, p);
    dumpPairIndexed(run, p);
  }
  answeringMask = 0;
  Wisp::levelMaskIs(kTraceHandle, 0);
  dumpFatal(run);
  dumpTrace(run);
}

// The class's lines go straight to our stdout; what it wrote on stderr and
// how it ended follow, if it didn't end normally or wrote anything there.
void runClass(const ClassOps& ops, bool traceOn) {
  const ChildEnd end = runInChild(
      [&] {
        if (traceOn) {  // the trace of the answering calls isn't part of the dump
          const int null = ::open("/dev/null", O_WRONLY);
          ::dup2(null, 2);
          ::close(null);
        }
        dumpClass(ops, traceOn);
      },
      0, 600);
  for (const std::string& line : end.stderrLines) out(std::string(ops.name) + " stderr | " + line);
  if (end.status != "exit 0") out(std::string(ops.name) + " ended: " + end.status);
}

std::set<std::string> splitNames(const char* list) {
  std::set<std::string> names;
  std::stringstream s(list);
  std::string name;
  while (std::getline(s, name, ',')) names.insert(name);
  return names;
}

}  // namespace
}  // namespace ApiDump

int main(int argc, char** argv) {
  using namespace ApiDump;
  std::set<std::string> only;
  bool traceOn = false;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--only") == 0 && i + 1 < argc) {
      only = splitNames(argv[++i]);
    } else if (std::strcmp(argv[i], "--trace-on") == 0) {
      traceOn = true;
    } else {
      std::fprintf(stderr, "usage: %s [--only Class,Class...] [--trace-on]\n", argv[0]);
      return 2;
    }
  }
  const rlimit noCore{0, 0};
  ::setrlimit(RLIMIT_CORE, &noCore);
  mapSharedArea();
  Wisp::levelMaskIs(kTraceHandle, 0);  // whatever WISP_TRACE says

  if (only.empty()) {
    dumpClassList();
    dumpFieldIds();
    dumpChipAndVariantText();
  }
  for (const ClassOps& ops : allClasses())
    if (only.empty() || only.count(ops.name)) runClass(ops, traceOn);
  return 0;
}
