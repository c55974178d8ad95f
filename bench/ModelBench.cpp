// The model's address index: built for a chip, one lookup, and the whole map
// of the largest block printed by `tessel-counters locate` (to /dev/null).
// scripts/bench.sh runs it after the accessor benchmarks.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "AddressIndex.h"
#include "Run.h"

namespace {

using Hardware::ChipType;

// The chip with the most addresses, and the block of any chip with the most
// segments.
struct Largest {
  ChipType chip = ChipType::BCM88690_B0;
  ChipType mapChip = ChipType::BCM88690_B0;
  U32 block = 0;
  std::size_t segments = 0;
};

const Largest& largest() {
  static const Largest found = [] {
    Largest best;
    std::size_t most = 0;
    for (U32 i = 0; i < Hardware::catalogueDescription().chipCount; ++i) {
      const ChipType chip = Hardware::catalogueDescription().chips[i].chip;
      const Tool::AddressIndex index(chip);
      if (index.entryCount() > most) {
        most = index.entryCount();
        best.chip = chip;
      }
    }
    for (U32 i = 0; i < Hardware::catalogueDescription().chipCount; ++i) {
      const ChipType chip = Hardware::catalogueDescription().chips[i].chip;
      const auto& index = Tool::AddressIndex::of(chip);
      for (U32 block : index.blocks()) {
        const std::size_t n = index.blockMap(block).size();
        if (n > best.segments) {
          best.segments = n;
          best.block = block;
          best.mapChip = chip;
        }
      }
    }
    return best;
  }();
  return found;
}

void AddressIndex_Build(benchmark::State& state) {
  const ChipType chip = largest().chip;
  std::size_t entries = 0;
  for (auto _ : state) {
    const Tool::AddressIndex index(chip);
    entries = index.entryCount();
    benchmark::DoNotOptimize(entries);
  }
  state.SetLabel(Hardware::chipTypeName(chip));
  state.counters["entries"] = static_cast<double>(entries);
}
BENCHMARK(AddressIndex_Build)->Unit(benchmark::kMillisecond);

// Addresses the accessors give, in a random order, half of them a sub-block too.
void AddressIndex_Locate(benchmark::State& state) {
  const auto& index = Tool::AddressIndex::of(largest().chip);
  struct Query {
    U32 block, address, subBlock;
  };
  std::vector<Query> queries;
  std::mt19937 random(7);
  for (const auto& p : index.placements()) {
    const U32 element = random() % p.elements, entry = random() % p.entries;
    queries.push_back({p.block, p.base + element * p.stride + entry, p.subBlock});
  }
  std::shuffle(queries.begin(), queries.end(), random);
  std::size_t i = 0;
  for (auto _ : state) {
    const Query& q = queries[i++ % queries.size()];
    benchmark::DoNotOptimize(index.locate(q.block, q.address, i % 2 ? &q.subBlock : nullptr));
  }
}
BENCHMARK(AddressIndex_Locate);

void Locate_LargestBlockMap(benchmark::State& state) {
  const Largest& l = largest();
  Tool::AddressIndex::of(l.mapChip);  // built once, as in a process that asks twice
  std::string chip = std::to_string(static_cast<unsigned>(l.mapChip));
  std::string block = std::to_string(l.block);
  std::string tool = "tessel-counters", command = "locate", c = "--chip", b = "--block";
  char* argv[] = {tool.data(), command.data(), c.data(), chip.data(), b.data(), block.data()};
  std::fflush(stdout);
  const int saved = dup(1), null = open("/dev/null", O_WRONLY);
  dup2(null, 1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(Tool::run(6, argv));
    std::fflush(stdout);
  }
  dup2(saved, 1);
  close(null);
  close(saved);
  state.SetLabel(std::string(Hardware::chipTypeName(l.mapChip)) + " block " + block);
  state.counters["segments"] = static_cast<double>(l.segments);
}
BENCHMARK(Locate_LargestBlockMap)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
