// Threads of one process at work on files that another process changes, too.

#include <gtest/gtest.h>
#include <tavlib/registry/registry.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <thread>

#include "faults/store/counting.h"
#include "faults/store/file_calls.h"
#include "faults/store/process.h"

namespace tavtest {
namespace {

constexpr int kRounds = 100;  // With two changes each.
constexpr long kViews = 100;

class ThreadsSideBySide : public RegistryTest {
 protected:
  ThreadsSideBySide() {
    write(counting_file());
    write_file(second, counting_file());
  }

  int count(const std::string& file, int writer, long views = 0) const {
    return count_in_own_and_common(ledger, file, writer, kRounds, views);
  }

  /// One thread changes one file, and another the other. 0 when all went well.
  int count_in_both(int first_writer, int second_writer) const {
    int result = -1;
    std::thread other([&] { result = count(second, second_writer); });
    const int own_result = count(path, first_writer);
    other.join();
    return own_result + result;
  }

  void expect_counted(const std::string& file, int writer) const {
    const long rounds = ledger->own[static_cast<std::size_t>(writer)].begun;
    EXPECT_GE(rounds, kRounds);
    const StoreText store = read_store(read_file(file));
    EXPECT_EQ(agreed_number(store, own_key(writer)), rounds) << writer;
    EXPECT_EQ(store.number("Common\\", "w" + std::to_string(writer)), rounds) << writer;
  }

  const PretendedSyncs pretended;
  const Ledger ledger;
  const std::string second = folder.file("second");
};

struct CloseKeyFile {
  void operator()(ARegistryKey* key) const { ARegKeyFileClose(key); }
};

// Until another thread is in the middle of a change.
void let_others_begin() {
  usleep(100);
}

/// Opens keys, and closes them in each of the ways that there are: by closing, opening another one, failing
/// to open and ending.
bool open_and_close(const std::string& path) {
  const std::unique_ptr<ARegistryKey, CloseKeyFile> root(ARegKeyFile(path.c_str()));
  ARegistry handle;
  if (handle.Open(root.get(), own_key(0).c_str(), 0, nullptr, 1) == 0) return false;
  if (handle.Open(root.get(), own_key(1).c_str(), 0, nullptr, 2) == 0) return false;
  let_others_begin();
  if (handle.Close() == 0) return false;
  if (handle.Open(root.get(), "None", 0, nullptr, 1) != 0 || errno != ENOENT) return false;
  Registry values(root.get());
  unsigned count = 0;
  const bool good = values.Open(own_key(1), 1) == 1 && values.QueryValue("count", count) == 1;
  let_others_begin();
  return good;
}

TEST_F(ThreadsSideBySide, ThatOpenAndCloseDropNoLockOfOneThatWrites) {
  ledger->running = 2;
  Process other([this] { return count(path, 0, kViews); });
  std::thread reader([this] {
    while (ledger->running > 0 && !ledger->failed) {
      if (!open_and_close(path)) ledger->failed = true;
      ++ledger->views;
    }
  });
  EXPECT_EQ(count(path, 1, kViews), 0);
  EXPECT_EQ(other.ending(), kEndedWell);
  EXPECT_FALSE(ledger->failed);
  ledger->running = 0;  // Also when a writer has failed.
  reader.join();
  expect_counted(path, 0);
  expect_counted(path, 1);
}

// Locks and waits are the process's. If each of the two held the one file and waited for the other, in
// different threads, the system would take that for a deadlock and end a wait.
TEST_F(ThreadsSideBySide, ThatChangeTwoFilesLookLikeNoDeadlock) {
  Process other([this] { return count_in_both(0, 1); });
  EXPECT_EQ(count_in_both(2, 3), 0);
  EXPECT_EQ(other.ending(), kEndedWell);
  for (const int writer : {0, 2})
    expect_counted(path, writer);
  for (const int writer : {1, 3})
    expect_counted(second, writer);
}

}  // namespace
}  // namespace tavtest
