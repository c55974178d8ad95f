// The first calls of the factory from many threads at once, and the build of
// a factory map that fails part way. Each test runs in a process of its own,
// so these calls really are the first.
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <functional>
#include <thread>

#include "TestSupport.h"

using namespace Hardware;

namespace {

const char* const kNames[] = {"CrpsEngineInitRequest", "CrpsModulesrcCfg", "CrpsTypeMapMem",
                              "CrpsReservedSpare2",    "CrpsEngineMmuxEn", "CrpsEngineScanEnable",
                              "CrpsEnginesDmaSelect",  "CrpsTypeMapMem"};

TEST(Concurrency, EightThreadsMakeTheFirstFactoryCallsAtOnce) {
  std::atomic<int> ready{0};
  std::atomic<int> good{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      ready.fetch_add(1);
      while (ready.load() < 8) {
      }
      const ChipType chip = t % 2 ? ChipType::BCM88850_A0 : ChipType::BCM88860_A0;
      const bool valid = Hardware::chipTypeVariantValid(kNames[t], chip, 0);
      if (!valid) return;
      auto o = stringObj(kNames[t], chip, 0);
      U32 id = FieldIds::kFirst;
      while (!o->isFieldValid(id)) ++id;
      o->setField64(id, 1);
      U32 a, s, b;
      if (o->stringField(fieldIdAccessorName(id), 0) == 1 && o->getSchanAddress(a, s, b, 0, 0, 0))
        good.fetch_add(1);
    });
  }
  for (auto& t : threads) t.join();
  // CrpsReservedSpare2 doesn't exist on 88860 (thread 3 uses 88850): all eight answer.
  EXPECT_EQ(8, good.load());
}

// Runs f in a child process and returns its exit status (or 128 + signal).
// The child leaves through exit(), so a leak checker, if built in, runs there.
int inChild(const std::function<int()>& f) {
  std::fflush(nullptr);
  const pid_t pid = fork();
  if (pid == 0) std::exit(f());
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// With the n-th allocation of a map's build failing, the call throws out of
// the factory; the next call builds the map and answers. Tried for every
// allocation the build makes; returns what went wrong, empty if nothing.
std::string failEachAllocationOfTheBuild(const std::function<void()>& call) {
  const int allocations = inChild([&] {
    const U64 before = Fennel::Testing::allocationCount();
    call();
    return static_cast<int>(Fennel::Testing::allocationCount() - before);
  });
  if (allocations <= static_cast<int>(accessorClassCount()) || allocations > 200)
    return "the build made " + std::to_string(allocations) + " allocations";
  std::string problems;
  for (int n = 1; n <= allocations; ++n) {
    const int status = inChild([&] {
      Fennel::Testing::failAllocationNumber(static_cast<U64>(n));
      try {
        call();
        return 1;  // the failure didn't reach the caller
      } catch (const std::bad_alloc&) {
      }
      Fennel::Testing::failAllocationNumber(0);
      call();
      return 0;
    });
    if (status != 0)
      problems +=
          "failing allocation " + std::to_string(n) + ": status " + std::to_string(status) + "\n";
  }
  return problems;
}

// The maps must be unbuilt when the test starts, so the work runs in a
// freshly started copy of this program.
void expectEveryFailureRecovers(const std::function<void()>& call) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        const std::string problems = failEachAllocationOfTheBuild(call);
        std::fputs(problems.c_str(), stderr);
        std::exit(problems.empty() ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(FactoryBuild, FailureOfAnyAllocationLeavesTheObjectMapUnbuilt) {
  expectEveryFailureRecovers([] {
    auto o = stringObj("CrpsModulesrcCfg", ChipType::BCM88690_B0, 0);
    if (o->width() != 3) std::exit(4);
  });
}

TEST(FactoryBuild, FailureOfAnyAllocationLeavesTheValidityMapUnbuilt) {
  expectEveryFailureRecovers([] {
    if (!Hardware::chipTypeVariantValid("CrpsModulesrcCfg", ChipType::BCM88690_B0, 0)) std::exit(4);
  });
}

}  // namespace
