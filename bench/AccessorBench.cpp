// Costs of field access, queries and the factory, side by side with a
// hand-written shift and mask over the same bytes. Run by scripts/bench.sh;
// docs/performance.md tells how to read the figures.
//
// Every benchmark reports "allocs", the heap allocations per iteration,
// counted by the replacement operator new below: zero everywhere except the
// factory and its direct make_shared, which make exactly one.
#include <TesselCountersOrrery.h>
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

#include "Baseline.h"

// ---------------------------------------------------------------------------
// Allocation count of the whole process, library included. GCC pairs the
// free() below with the new-expressions it inlines; the pairing is right here.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
namespace {
std::atomic<long> gAllocations{0};
}

void* operator new(std::size_t n) {
  gAllocations.fetch_add(1, std::memory_order_relaxed);
  if (void* p = std::malloc(n ? n : 1)) return p;
  throw std::bad_alloc();
}
void* operator new[](std::size_t n) {
  return operator new(n);
}
void operator delete(void* p) noexcept {
  std::free(p);
}
void operator delete[](void* p) noexcept {
  std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
  std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
  std::free(p);
}

namespace {

using namespace Hardware;

// Counts allocations from construction to the end of the benchmark loop.
class AllocationCount {
 public:
  explicit AllocationCount(benchmark::State& state)
      : state_(state), start_(gAllocations.load(std::memory_order_relaxed)) {}
  ~AllocationCount() {
    const long n = gAllocations.load(std::memory_order_relaxed) - start_;
    state_.counters["allocs"] =
        benchmark::Counter(static_cast<double>(n), benchmark::Counter::kAvgIterations);
  }

 private:
  benchmark::State& state_;
  long start_;
};

constexpr ChipType kChip = ChipType::BCM88860_A0;     // CrpsEngineCfg, 11 words
constexpr ChipType kPfcChip = ChipType::BCM88850_A0;  // CfcEgqPfcStatus, PqpEgressQueuesEmpty

// One buffer per class, shared by the accessor and the baseline view.
struct Objects {
  U8 cfgBuf[44] = {};
  U8 pfcBuf[8] = {};
  CrpsEngineCfg cfg{kChip, cfgBuf, sizeof(cfgBuf), false, 0};
  CfcEgqPfcStatus pfc{kPfcChip, pfcBuf, sizeof(pfcBuf), false, 0};
  PqpEgressQueuesEmpty::WithStorage queues{kPfcChip, 0};
  Baseline::View cfgView{cfgBuf};
  Baseline::View pfcView{pfcBuf};
  Baseline::CheckedView cfgChecked{cfgBuf, static_cast<U8>(kChip), 0, sizeof(cfgBuf)};
};

Objects& objects() {
  static Objects* o = new Objects;
  return *o;
}

// The baseline must read and write the bits the accessor does, or the
// comparison means nothing: checked once before any benchmark runs.
bool baselineMatchesAccessors() {
  Objects& o = objects();
  bool ok = true;
  o.cfg.engineNWeightShiftRatioIs(0x2b);
  ok &= Baseline::narrow(o.cfgView) == 0x2b;
  Baseline::narrowIs(o.cfgView, 0x15);
  ok &= o.cfg.engineNWeightShiftRatio() == 0x15;
  o.cfg.engineNScanPulsesDelayBeforeCountIs(0xbeef);
  ok &= Baseline::straddle(o.cfgView) == 0xbeef;
  Baseline::straddleIs(o.cfgView, 0x1234);
  ok &= o.cfg.engineNScanPulsesDelayBeforeCount() == 0x1234;
  o.pfc.egqPfcStatusIs(0x0123456789abcdefull);
  ok &= Baseline::wide(o.pfcView) == 0x0123456789abcdefull;
  Raw128 raw{};
  for (int i = 0; i < 9; ++i) raw[i] = static_cast<U8>(0x91 + 7 * i);
  o.cfg.engineNAvoidSeqScanValueIs(raw);
  ok &= Baseline::raw(o.cfgView) == raw;
  raw[0] ^= 0xff;
  raw[8] ^= 0xff;
  Baseline::rawIs(o.cfgView, raw);
  ok &= o.cfg.engineNAvoidSeqScanValue() == raw;
  Baseline::narrowIsChecked(o.cfgChecked, 0x15);
  ok &= Baseline::narrowChecked(o.cfgChecked) == 0x15;
  ok &= o.cfg.engineNWeightShiftRatio() == 0x15 &&
        o.cfg.engineNScanPulsesDelayBeforeCount() == 0x1234;
  return ok;
}

// ---------------------------------------------------------------------------
// Typed accessors and the baselines, per field.

const Raw128 kRawValue = {{1, 2, 3, 4, 5, 6, 7, 8, 9}};

#define GETTER_BENCH(name, expr)       \
  void name(benchmark::State& state) { \
    Objects& o = objects();            \
    AllocationCount count(state);      \
    for (auto _ : state) {             \
      benchmark::DoNotOptimize(expr);  \
      benchmark::ClobberMemory();      \
    }                                  \
  }                                    \
  BENCHMARK(name)

// A RawN result is kept in memory and only its address escapes: handing the
// array itself to DoNotOptimize would reload it whole right after the callee
// stored it in pieces, a store-forwarding stall that is the harness's, not
// the accessor's.
#define RAW_GETTER_BENCH(name, expr)     \
  void name(benchmark::State& state) {   \
    Objects& o = objects();              \
    AllocationCount count(state);        \
    for (auto _ : state) {               \
      const auto result = expr;          \
      benchmark::DoNotOptimize(&result); \
      benchmark::ClobberMemory();        \
    }                                    \
  }                                      \
  BENCHMARK(name)

#define SETTER_BENCH(name, type, init, stmt) \
  void name(benchmark::State& state) {       \
    Objects& o = objects();                  \
    type value = init;                       \
    AllocationCount count(state);            \
    for (auto _ : state) {                   \
      benchmark::DoNotOptimize(value);       \
      stmt;                                  \
      benchmark::ClobberMemory();            \
    }                                        \
  }                                          \
  BENCHMARK(name)

GETTER_BENCH(Narrow_Get_Accessor, o.cfg.engineNWeightShiftRatio());
GETTER_BENCH(Narrow_Get_Baseline, Baseline::narrow(o.cfgView));
GETTER_BENCH(Narrow_Get_BaselineInline, Baseline::narrowInline(o.cfgView));
GETTER_BENCH(Narrow_Get_BaselineChecked, Baseline::narrowChecked(o.cfgChecked));
SETTER_BENCH(Narrow_Set_Accessor, U8, 0x2a, o.cfg.engineNWeightShiftRatioIs(value));
SETTER_BENCH(Narrow_Set_Baseline, U8, 0x2a, Baseline::narrowIs(o.cfgView, value));
SETTER_BENCH(Narrow_Set_BaselineInline, U8, 0x2a, Baseline::narrowIsInline(o.cfgView, value));
SETTER_BENCH(Narrow_Set_BaselineChecked, U8, 0x2a, Baseline::narrowIsChecked(o.cfgChecked, value));

GETTER_BENCH(Straddle_Get_Accessor, o.cfg.engineNScanPulsesDelayBeforeCount());
GETTER_BENCH(Straddle_Get_Baseline, Baseline::straddle(o.cfgView));
GETTER_BENCH(Straddle_Get_BaselineInline, Baseline::straddleInline(o.cfgView));
SETTER_BENCH(Straddle_Set_Accessor, U16, 0xbeef, o.cfg.engineNScanPulsesDelayBeforeCountIs(value));
SETTER_BENCH(Straddle_Set_Baseline, U16, 0xbeef, Baseline::straddleIs(o.cfgView, value));
SETTER_BENCH(Straddle_Set_BaselineInline, U16, 0xbeef,
             Baseline::straddleIsInline(o.cfgView, value));

GETTER_BENCH(Wide64_Get_Accessor, o.pfc.egqPfcStatus());
GETTER_BENCH(Wide64_Get_Baseline, Baseline::wide(o.pfcView));
GETTER_BENCH(Wide64_Get_BaselineInline, Baseline::wideInline(o.pfcView));
SETTER_BENCH(Wide64_Set_Accessor, U64, 0x0123456789abcdefull, o.pfc.egqPfcStatusIs(value));
SETTER_BENCH(Wide64_Set_Baseline, U64, 0x0123456789abcdefull, Baseline::wideIs(o.pfcView, value));
SETTER_BENCH(Wide64_Set_BaselineInline, U64, 0x0123456789abcdefull,
             Baseline::wideIsInline(o.pfcView, value));

RAW_GETTER_BENCH(Raw128_Get_Accessor, o.cfg.engineNAvoidSeqScanValue());
RAW_GETTER_BENCH(Raw128_Get_Baseline, Baseline::raw(o.cfgView));
RAW_GETTER_BENCH(Raw128_Get_BaselineInline, Baseline::rawInline(o.cfgView));
SETTER_BENCH(Raw128_Set_Accessor, Raw128, kRawValue, o.cfg.engineNAvoidSeqScanValueIs(value));
SETTER_BENCH(Raw128_Set_Baseline, Raw128, kRawValue, Baseline::rawIs(o.cfgView, value));
SETTER_BENCH(Raw128_Set_BaselineInline, Raw128, kRawValue, Baseline::rawIsInline(o.cfgView, value));

// ---------------------------------------------------------------------------
// By identifier and by name, through the root class as a factory user calls.

SETTER_BENCH(Narrow_Set_ById, U64, 0x2a,
             static_cast<Orrery::AsicBase&>(o.cfg).setField64(FieldIds::ENGINE_N_WEIGHT_SHIFT_RATIO,
                                                              value));
SETTER_BENCH(Straddle_Set_ById, U64, 0xbeef,
             static_cast<Orrery::AsicBase&>(o.cfg).setField64(
                 FieldIds::ENGINE_N_SCAN_PULSES_DELAY_BEFORE_COUNT, value));
SETTER_BENCH(Wide64_Set_ById, U64, 0x0123456789abcdefull,
             static_cast<Orrery::AsicBase&>(o.pfc).setField64(FieldIds::EGQ_PFC_STATUS, value));

const Larch::String kNarrowName(
    "engineNWeightShiftRatio");  // the second comparison of CrpsEngineCfg
GETTER_BENCH(Narrow_Get_ByName, static_cast<Orrery::AsicBase&>(o.cfg).stringField(kNarrowName, 0));
SETTER_BENCH(Narrow_Set_ByName, U64, 0x2a,
             static_cast<Orrery::AsicBase&>(o.cfg).stringFieldIs(kNarrowName, value));

// PqpEgressQueuesEmpty compares up to 513 names: eqmEmpty first, queueEmpty0
// second (eqmEmpty is a Raw512, which stringFieldIs refuses), queueEmpty511 last.
const Larch::String kFirstName("eqmEmpty");
const Larch::String kFirstSettableName("queueEmpty0");
const Larch::String kLastName("queueEmpty511");
GETTER_BENCH(Queues_Get_ByName_First,
             static_cast<Orrery::AsicBase&>(o.queues).stringField(kFirstName, 0));
GETTER_BENCH(Queues_Get_ByName_Last,
             static_cast<Orrery::AsicBase&>(o.queues).stringField(kLastName, 0));
SETTER_BENCH(Queues_Set_ByName_Second, U64, 1,
             static_cast<Orrery::AsicBase&>(o.queues).stringFieldIs(kFirstSettableName, value));
SETTER_BENCH(Queues_Set_ByName_Last, U64, 1,
             static_cast<Orrery::AsicBase&>(o.queues).stringFieldIs(kLastName, value));
GETTER_BENCH(Queues_Get_Typed_Last, o.queues.queueEmpty511());

// ---------------------------------------------------------------------------
// Queries.

void SchanAddress_Register(benchmark::State& state) {
  U8 buf[8] = {};
  CrpsEngineScanEnable reg(kChip, buf, sizeof(buf), false, 0);
  U32 address = 0, subBlock = 0, block = 0;
  U16 identifier = 2;
  AllocationCount count(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(identifier);
    benchmark::DoNotOptimize(reg.getSchanAddress(address, subBlock, block, identifier, 0, 0));
    benchmark::DoNotOptimize(address);
  }
}
BENCHMARK(SchanAddress_Register);

void SchanAddress_Memory(benchmark::State& state) {
  CrpsTypeMapMem::WithStorage mem(ChipType::BCM88800_A0, 0);
  U32 address = 0, subBlock = 0, block = 0;
  U32 entry = 3;
  AllocationCount count(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(entry);
    benchmark::DoNotOptimize(mem.getSchanAddress(address, subBlock, block, 0, entry, 33));
    benchmark::DoNotOptimize(address);
  }
}
BENCHMARK(SchanAddress_Memory);

// A traced query with its level off against an untraced one of the same
// shape (both a switch over the chip with a variant check): the difference
// is the cost of the trace test.
void Query_Traced_LevelOff(benchmark::State& state) {
  U32 chip = static_cast<U32>(kChip);
  AllocationCount count(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(chip);
    benchmark::DoNotOptimize(CrpsEngineCfg::instanceCount(chip, 0));
  }
}
BENCHMARK(Query_Traced_LevelOff);

void Query_Untraced(benchmark::State& state) {
  U32 chip = static_cast<U32>(kChip);
  AllocationCount count(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(chip);
    benchmark::DoNotOptimize(CrpsEngineCfg::arrayElements(chip, 0));
  }
}
BENCHMARK(Query_Untraced);

// ---------------------------------------------------------------------------
// The factory against a direct make_shared of the same WithStorage.

void Factory_StringObj(benchmark::State& state) {
  const Larch::String name("CrpsEngineCfg");
  benchmark::DoNotOptimize(stringObj(name, kChip, 0));  // builds the map before counting
  AllocationCount count(state);
  for (auto _ : state) benchmark::DoNotOptimize(stringObj(name, kChip, 0));
}
BENCHMARK(Factory_StringObj);

// The step of stringObj that no implementation can leave out: the byte hash
// of the name that the map's definition prescribes.
void Factory_NameHash(benchmark::State& state) {
  const Larch::String name("CrpsEngineCfg");
  AllocationCount count(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(&name);
    benchmark::DoNotOptimize(std::hash<Larch::String>{}(name));
  }
}
BENCHMARK(Factory_NameHash);

void Factory_DirectMakeShared(benchmark::State& state) {
  AllocationCount count(state);
  for (auto _ : state) {
    std::shared_ptr<Orrery::AsicBase> p = std::make_shared<CrpsEngineCfg::WithStorage>(kChip, 0);
    benchmark::DoNotOptimize(p);
  }
}
BENCHMARK(Factory_DirectMakeShared);

}  // namespace

int main(int argc, char** argv) {
  if (!baselineMatchesAccessors()) {
    std::fprintf(stderr, "tessel-bench: the hand-written baseline does not match the accessors\n");
    return 1;
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
