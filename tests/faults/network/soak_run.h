#ifndef TAVLIB_TESTS_FAULTS_NETWORK_SOAK_RUN_H
#define TAVLIB_TESTS_FAULTS_NETWORK_SOAK_RUN_H

#include <array>
#include <chrono>
#include <memory>
#include <random>
#include <vector>

#include "faults/network/lookups.h"
#include "faults/network/soak_report.h"
#include "faults/network/users.h"
#include "support/config_file.h"
#include "support/temp_folder.h"
#include "tools/tavsim_process.h"

namespace tavtest {

struct SoakOptions {
  std::uint64_t lookups = 10'000'000;
  std::uint64_t seed = 1;
  long max_growth = 1024;     ///< KiB after the warm-up.
  bool break_table = false;   ///< Expect a user who is not there.
  bool break_memory = false;  ///< Keep 1 KiB for each look-up.
};

/// A host that keeps many asynchronous look-ups in flight at one server, a process of its own that has every
/// fault, and waits for others and enumerates in between. Every answer is compared with the table. Lost
/// look-ups are expired or abandoned once a thousand others were started, or when nothing comes any more.
class SoakRun {
 public:
  explicit SoakRun(const SoakOptions& options);
  ~SoakRun();

  SoakRun(const SoakRun&) = delete;
  SoakRun& operator=(const SoakRun&) = delete;

  /// True when all is well.
  bool run();

 private:
  struct Slot {
    AsyncLookup lookup;
    bool busy = false;
    unsigned index = 0;
    std::chrono::milliseconds started{};
  };

  bool fill_slots();
  void start(Slot& slot);
  void finish(Slot& slot);
  void next_start();
  void wait_for_answers();
  void expire();
  void look_up_waiting();
  void enumerate();
  template <typename Entry, auto begin, auto next>
  void enumerate_all();
  Verdict check(unsigned index, const Answer& answer);
  unsigned any_index() { return static_cast<unsigned>(random_() % users_.count()); }

  SoakOptions options_;
  Users users_;
  TempFolder folder_;
  TavsimProcess server_;
  TestConfig config_;
  unsigned long address_;
  std::mt19937_64 random_;
  std::vector<Slot> slots_;
  std::uint64_t started_ = 0;
  std::vector<std::unique_ptr<std::array<char, 1024>>> kept_;
  SoakReport report_;
};

}  // namespace tavtest

#endif
