// Writers are killed at random moments. What they had reported as done is there, and the next writer goes on
// at once. The moments come from a seeded generator; what the writers are doing then is up to the system.

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <random>

#include "faults/store/counting.h"
#include "faults/store/file_calls.h"
#include "faults/store/process.h"

namespace tavtest {
namespace {

constexpr unsigned kSeed = 20120417;

// 520 kills; a part of them where a fork takes long, under a sanitizer.
constexpr int kAlone = 220 / TAVTEST_FEWER_KILLS;
constexpr int kAmongOthers = 100 / TAVTEST_FEWER_KILLS;
constexpr int kCreating = 200 / TAVTEST_FEWER_KILLS;

class KilledAtRandom : public RegistryTest {
 protected:
  std::unique_ptr<Process> started(const std::function<int()>& work) const {
    return std::make_unique<Process>([&] {
      const PretendedSyncs pretended;
      return work();
    });
  }

  /// Waits until the counter has moved, which a stale lock would prevent, and then for up to `longest`
  /// microseconds, and kills the process.
  void kill_after_progress(Process& process, const Counter& counter, unsigned longest) {
    const long start = counter.acknowledged;
    while (counter.acknowledged == start && !process.has_ended())
      usleep(20);
    usleep(static_cast<unsigned>(random() % longest));
    process.kill();
    EXPECT_EQ(process.ending(), (Ending{.signal = SIGKILL}));
  }

  void expect_only_the_registry_and_its_temporary_file() const {
    for (const auto& file : std::filesystem::directory_iterator(folder.path())) {
      const std::string name = file.path().filename();
      EXPECT_TRUE(name == "registry" || name == "registry~" || name == "registry.turn") << name;
    }
  }

  const Ledger ledger;
  std::mt19937 random{kSeed};
};

TEST_F(KilledAtRandom, AWriterLosesNothing) {
  write(counting_file());
  for (int round = 0; round < kAlone; ++round) {
    const auto writer = started([this] { return count_in_own_and_common(ledger, path, 0, 0); });
    kill_after_progress(*writer, ledger->own[0], 400);
    ASSERT_TRUE(nothing_is_lost(ledger, path)) << "round " << round;
  }
  expect_only_the_registry_and_its_temporary_file();
  EXPECT_EQ(count_in_own_and_common(ledger, path, 0, 1), 0);
  EXPECT_TRUE(nothing_is_lost(ledger, path));
  EXPECT_FALSE(temporary_exists());
}

TEST_F(KilledAtRandom, WritersAmongOthersLoseNothing) {
  write(counting_file());
  std::array<std::unique_ptr<Process>, Ledger::kWriters> writers;
  const auto start = [&](std::size_t writer) {
    writers[writer] =
        started([=, this] { return count_in_own_and_common(ledger, path, static_cast<int>(writer), 0); });
  };
  for (std::size_t writer = 0; writer < writers.size(); ++writer)
    start(writer);
  for (int round = 0; round < kAmongOthers; ++round) {
    const std::size_t victim = random() % writers.size();
    kill_after_progress(*writers[victim], ledger->own[victim], 1000);
    ASSERT_TRUE(nothing_is_lost(ledger, path)) << "round " << round;
    start(victim);
  }
  for (auto& writer : writers)
    writer.reset();
  EXPECT_TRUE(nothing_is_lost(ledger, path));
  expect_only_the_registry_and_its_temporary_file();
}

TEST_F(KilledAtRandom, AWriterOfNewKeysLosesNone) {
  const Counter& created = ledger->created;
  const auto create = [this](long number) {
    return TestKey(path).LoadKey(made_key(number).c_str(), 1, 3, nullptr) == 1;
  };
  std::string kept;
  for (int round = 0; round < kCreating; ++round) {
    if (kept.size() > 3500) kept = "";  // A header within one page of the file is written whole.
    write(kept);
    long number = created.begun + 1;
    const auto writer = started([&] {
      while (count_up(ledger->created, create)) {
      }
      return 1;
    });
    kill_after_progress(*writer, created, 200);
    std::string expected = kept;
    for (; number <= created.acknowledged; ++number)
      expected += "[" + made_key(number) + "]\n";
    const std::string unsure = "[" + made_key(created.begun) + "]\n";
    kept = content();
    ASSERT_TRUE(kept == expected || (number == created.begun && kept == expected + unsure))
        << "round " << round << ":\n"
        << kept << "and not\n"
        << expected;
  }
}

}  // namespace
}  // namespace tavtest
