#ifndef TAVLIB_TESTS_FAULTS_STORE_COUNTING_H
#define TAVLIB_TESTS_FAULTS_STORE_COUNTING_H

// Processes that count in a registry file. A key holds a set of values that all say the same number, and a
// ledger in memory that the processes share tells which numbers were written.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <string>

#include "faults/store/store_text.h"
#include "registry/registry_fixture.h"

namespace tavtest {

/// How far a counter is: the last change that was begun, and the last one that the library reported as done.
/// The file holds a number from `acknowledged` to `begun`.
struct Counter {
  std::atomic<long> begun{0};
  std::atomic<long> acknowledged{0};
};

/// Counters that forked processes share. What a killed process has written stays.
class Ledger {
 public:
  static constexpr int kWriters = 4;

  struct Shared {
    std::array<Counter, kWriters> own;     ///< Of each writer's own key.
    std::array<Counter, kWriters> common;  ///< Of each writer's value in the key that they share.
    Counter created;                       ///< Keys that were created, one after the other.
    Counter deleted;
    std::atomic<int> running{0};      ///< Writers that have not come to their end.
    std::atomic<long> views{0};       ///< States of the file that readers found good.
    std::atomic<bool> failed{false};  ///< Something went wrong, and nobody needs to go on.
  };

  Ledger();
  ~Ledger();

  Ledger(const Ledger&) = delete;
  Ledger& operator=(const Ledger&) = delete;

  Shared* operator->() const { return shared_; }

  /// Whether the readers have found as many states good as they are to, or nobody needs to go on.
  bool has_enough(long views) const { return shared_->views >= views || shared_->failed; }

 private:
  Shared* shared_;
};

/// One change of a counter: `change` writes the number it is given. Whether that was reported as done.
template <typename Change>
bool count_up(Counter& counter, Change change) {
  const long number = ++counter.begun;
  if (!change(number)) return false;
  counter.acknowledged = number;
  return true;
}

/// A file with a key for each writer, one that they share, and everything at 0.
std::string counting_file();

std::string own_key(int writer);
std::string made_key(long number);

/// Makes all values of a key say `number`, in one commit.
bool write_set(TestKey& key, long number);

/// The number on which all values of a key agree; -1 when they do not.
long agreed_number(const StoreText& store, const std::string& key);
long agreed_number(TestKey& key);

/// Changes the writer's value in the shared key, which holds the values of all: under a lock of the writers'
/// own, since a commit writes the values of its key as they were when it was loaded.
bool write_common(const std::string& path, int writer, long number);

/// Adds one to the writer's counters, over and over: `rounds` times or (0) for ever, and further until there
/// are as many views. 0 when all went well.
int count_in_own_and_common(const Ledger& ledger, const std::string& path, int writer, int rounds,
                            long views = 0);

/// Reads the file without a lock, as any program may: each acknowledged change is there, no number is one
/// that nobody wrote, the values of each set agree, and every line makes sense.
testing::AssertionResult nothing_is_lost(const Ledger& ledger, const std::string& path);

}  // namespace tavtest

#endif
