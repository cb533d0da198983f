// The library started and ended again and again. The environment variable TAVLIB_TEST_CYCLES says how often:
// a million cycles of each kind take minutes.

#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>

#include "faults/hosts/descriptors.h"
#include "faults/hosts/host_test.h"
#include "support/process_memory.h"

using namespace tavtest;

namespace {

long cycles() {
  if (const char* const wanted = std::getenv("TAVLIB_TEST_CYCLES")) return std::atol(wanted);
  return sanitized() ? 200 : 500;
}

// The process's memory in use, in bytes.
long resident() {
  std::ifstream file("/proc/self/statm");
  long total = 0;
  long pages = 0;
  file >> total >> pages;
  return pages * 4096;
}

class Cycles : public HostTest {
 protected:
  // Runs `cycle` as often as wanted. Afterwards the process has not a byte more for each cycle, and the same
  // descriptors.
  void run(const std::function<void()>& cycle) {
    for (int i = 0; i < 50; ++i)
      cycle();  // what is made once and kept
    const std::set<int> descriptors = open_descriptors();
    const long resident_before = resident();
    const long allocated_before = allocated();
    for (long i = 0; i < cycles() && !HasFailure(); ++i)
      cycle();
    EXPECT_LT(allocated() - allocated_before, cycles());
    EXPECT_EQ(open_descriptors(), descriptors);
    const long grown = resident() - resident_before;
    RecordProperty("cycles", std::to_string(cycles()));
    RecordProperty("resident_before", std::to_string(resident_before));
    RecordProperty("resident_growth", std::to_string(grown));
    // Sanitizers and valgrind keep what was freed; few cycles say nothing about the whole process.
    if (sanitized() || cycles() < 100000) return;
    EXPECT_LT(grown, (1 << 20) + cycles());
  }
};

}  // namespace

TEST_F(Cycles, OfTheLibraryLeaveNothingBehind) {
  run([] {
    ASSERT_EQ(TAVInitialize(), 1);
    TAVExit();
  });
  EXPECT_FALSE(library_is_up());
}

TEST_F(Cycles, OfSingleSignOnLeaveNothingBehind) {
  run([] {
    ASSERT_NE(SSO_Init(), nullptr);
    SSO_Exit();
  });
  EXPECT_FALSE(library_is_up());
}

TEST_F(Cycles, WithRequestsInFlightLeaveNothingBehind) {
  run([this] {
    ASSERT_NE(SSO_Init(), nullptr);
    const _TAVENTRYA everything{};
    _TAVENTRYA entry{};
    TAVQueryEnum* query = nullptr;
    TAVASYNC async{};
    ASSERT_EQ(TAVQueryStartA(&everything, 0, 0, address(), 0, &query), 1);
    ASSERT_EQ(error_of(TAVQueryNextAsA(query, &entry, &async)), 14U);
    SSO_GetUserByAddrAsync(
        somewhere, nullptr, 0, nullptr, 0, [](int, void*) { FAIL() << "the exit ends it"; }, nullptr);
    server.answer_all();
    SSO_Exit();
    EXPECT_EQ(error_of(TAVASyncStatus(&async, 0)), 7U);
    TAVQueryClose(query);
  });
}

TEST_F(Cycles, ThatFailLeaveNothingBehind) {
  config.write("");
  run([] { ASSERT_EQ(error_of(TAVInitialize()), 3U); });
}

TEST_F(Cycles, InsideALibraryThatIsUpLeaveNothingBehind) {
  ASSERT_EQ(TAVInitialize(), 1);
  run([] {
    ASSERT_EQ(TAVInitialize(), 1);
    TAVExit();
  });
  EXPECT_TRUE(library_is_up());
}

TEST_F(Cycles, MayBeNested) {
  for (long i = 0; i < cycles(); ++i)
    ASSERT_EQ(TAVInitialize(), 1);
  for (long i = 1; i < cycles(); ++i)
    TAVExit();
  EXPECT_EQ(version_of(address()), 0x00010002U);
  TAVExit();
  EXPECT_FALSE(library_is_up());
}

TEST_F(Cycles, OfRegistryKeysLeaveNothingBehind) {
  run([this] {
    ARegistryKey* const root = ARegKeyFile(config.path().c_str());
    ARegistry handle;
    ASSERT_EQ(handle.Open(root, "tavlib\\Addresses", 0, nullptr, 1), 1);
    ASSERT_EQ(handle.Open(root, "missing", 0, nullptr, 1), 0);
    ARegKeyFileClose(root);
  });
}
