// Writers and readers at work on one file at the same time.

#include <gtest/gtest.h>
#include <unistd.h>

#include <list>

#include "faults/store/counting.h"
#include "faults/store/process.h"

namespace tavtest {
namespace {

// What writers do at least: they go on until readers, who get little of a busy machine, have looked often
// enough.
constexpr int kRounds = 15;
constexpr long kViews = 20;

class SideBySide : public RegistryTest {
 protected:
  SideBySide() { write(counting_file()); }

  void start(const std::function<int()>& work) {
    processes.emplace_back([this, work] {
      const int result = work();
      if (result != 0) ledger->failed = true;
      return result;
    });
  }

  void start_writers() {
    ledger->running = Ledger::kWriters;
    for (int writer = 0; writer < Ledger::kWriters; ++writer)
      start([this, writer] { return count_in_own_and_common(ledger, path, writer, kRounds, kViews); });
  }

  /// Looks at the file again and again until the writers have come to their end. 0 when it was always good.
  template <typename Look>
  int while_they_run(Look look) const {
    bool good = true;
    while (good && ledger->running > 0 && !ledger->failed) {
      good = look();
      if (good) ++ledger->views;
      usleep(100);  // Locks are not handed out in turn: readers without a pause keep writers waiting.
    }
    return good ? 0 : 1;
  }

  void expect_all_to_end_well() {
    for (Process& process : processes)
      EXPECT_EQ(process.ending(), kEndedWell);
  }

  void expect_all_counted() const {
    const StoreText store = read_store(content());
    EXPECT_TRUE(store.strays.empty());
    EXPECT_EQ(store.unfinished, "");
    for (int writer = 0; writer < Ledger::kWriters; ++writer) {
      const long rounds = ledger->own[static_cast<std::size_t>(writer)].begun;
      EXPECT_GE(rounds, kRounds);
      EXPECT_EQ(agreed_number(store, own_key(writer)), rounds) << writer;
      EXPECT_EQ(store.number("Common\\", "w" + std::to_string(writer)), rounds) << writer;
    }
    EXPECT_FALSE(temporary_exists());
  }

  const Ledger ledger;
  std::list<Process> processes;
};

TEST_F(SideBySide, ReadersWithoutALockSeeWholeStates) {
  start_writers();
  for (int reader = 0; reader < 2; ++reader) {
    start([this] {
      return while_they_run([this] {
        const auto good = nothing_is_lost(ledger, path);
        if (!good) std::fprintf(stderr, "%s\n", good.message());
        return static_cast<bool>(good);
      });
    });
  }
  expect_all_to_end_well();
  expect_all_counted();
}

TEST_F(SideBySide, ReadersThroughTheLibrarySeeWholeStates) {
  start_writers();
  for (int reader = 0; reader < 2; ++reader) {
    start([this, reader] {
      int turn = reader;
      return while_they_run([&] {
        const int writer = turn++ % Ledger::kWriters;
        const Counter& counter = ledger->own[static_cast<std::size_t>(writer)];
        const long acknowledged = counter.acknowledged;
        TestKey key(path);
        if (key.LoadKey(own_key(writer).c_str(), 0, 0, nullptr) == 0) return false;
        const long number = agreed_number(key);
        return number >= acknowledged && number <= counter.begun;
      });
    });
  }
  expect_all_to_end_well();
  expect_all_counted();
}

/// Creates keys, each second one of which stays; the others are deleted again.
int create_and_delete(const Ledger& ledger, const std::string& path) {
  const auto create = [&](long number) {
    return TestKey(path).LoadKey(made_key(number).c_str(), 1, 3, nullptr) == 1;
  };
  const auto remove = [&](long number) {
    TestKey root(path);
    return root.LoadKey("", 0, 2, nullptr) == 1 && root.DeleteKey(made_key(2 * number - 1).c_str()) == 1;
  };
  for (int round = 0; round < kRounds || !ledger.has_enough(kViews); ++round) {
    if (!count_up(ledger->created, create) || !count_up(ledger->created, create)) return 1;
    if (!count_up(ledger->deleted, remove)) return 2;
  }
  return 0;
}

bool each_key_stays_or_is_gone(const StoreText& store, long created, long deleted) {
  for (long number = 2; number <= created; number += 2) {
    if (store.keys.count(made_key(number)) == 0) return false;
  }
  for (long number = 1; number <= deleted; ++number) {
    if (store.keys.count(made_key(2 * number - 1)) != 0) return false;
  }
  return store.strays.empty();
}

TEST_F(SideBySide, KeysComeAndGoWhileOthersWrite) {
  start_writers();
  start([this] { return create_and_delete(ledger, path); });
  start([this] {
    return while_they_run([this] {
      const long created = ledger->created.acknowledged;
      const long deleted = ledger->deleted.acknowledged;
      return each_key_stays_or_is_gone(read_store(content()), created, deleted);
    });
  });
  expect_all_to_end_well();
  expect_all_counted();
  EXPECT_TRUE(each_key_stays_or_is_gone(read_store(content()), ledger->created.begun, ledger->deleted.begun))
      << content();
}

}  // namespace
}  // namespace tavtest
