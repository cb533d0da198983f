// Several threads at registry files: one at a time opens, locks and closes them.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <tavlib/registry/file_locker.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "registry/libc_hooks.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

/// Another process holds the lock on a file, and a thread of this one waits for it, to load a key.
class WaitingThread : public RegistryTest {
 protected:
  WaitingThread() {
    write("[A]\nv=1\n");
    write_file(other_path, "[B]\n");
    if (other_key->LoadKey("B", 0, 2, nullptr) == 0) throw std::runtime_error("the key cannot be loaded");
    holder.emplace([this] {
      const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
      const AFileLocker locker(fd, AFileLocker::Exclusive);
      locked.open();
      released.pass();
      return 0;
    });
    locked.pass();
    lock_hook.emplace(Call::lock, 0, [this] { return note_call(); });
    thread = std::thread([this] { result = key.LoadKey("A", 0, 0, nullptr); });
    about_to_wait.pass();
  }

  ~WaitingThread() override {
    if (thread.joinable()) end_wait();
  }

  /// The other process lets go of its lock; the result of the load.
  int end_wait() {
    has_released = true;
    released.open();
    thread.join();
    return result;
  }

  /// Called before calls of the system, the first one being that of the thread that waits.
  int note_call() {
    if (!waits) {
      waits = true;
      about_to_wait.open();
    } else if (!next_call_is_in_time) {
      next_call_is_in_time = has_released.load();
    }
    return 0;
  }

  const std::string other_path = folder.file("other");
  const Gate locked;
  const Gate about_to_wait;
  const Gate released;
  std::atomic<bool> has_released{false};
  std::optional<OtherProcess> holder;
  std::unique_ptr<TestKey> other_key = std::make_unique<TestKey>(other_path);
  TestKey key{path};
  int result{-1};
  bool waits{false};
  std::optional<bool> next_call_is_in_time;
  std::optional<CallHook> lock_hook;
  std::thread thread;
};

TEST_F(WaitingThread, LoadsOnceItHasItsLock) {
  EXPECT_EQ(end_wait(), 1);
  EXPECT_EQ(value_names(key), Names{"v"});
}

// None of the threads that it could wait for is there.
TEST_F(WaitingThread, IsNotWaitedForByTheChildOfAFork) {
  EXPECT_EQ(in_other_process([&] { return set_text(*other_key, "v", "child"); }), 1);
  EXPECT_EQ(read_file(other_path), "[B\\]\nv=\"child\"\n");
}

TEST_F(WaitingThread, MayBeCancelled) {
  pthread_cancel(thread.native_handle());
  thread.join();
  EXPECT_EQ(result, -1);
  EXPECT_EQ(set_text(*other_key, "v", "x"), 1);
  released.open();
  EXPECT_EQ(holder->result(), 0);
  EXPECT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
}

/// What a thread does to a file while another one waits for the lock on another file.
struct Act {
  const char* name;
  Call call;  ///< Its first call of the system.
  void (*act)(std::unique_ptr<TestKey>& key, const std::string& new_path);

  friend void PrintTo(const Act& one, std::ostream* out) { *out << one.name; }
};

class WhileAnotherWaits : public WaitingThread, public testing::WithParamInterface<Act> {};

TEST_P(WhileAnotherWaits, AThreadDoesNotBegin) {
  std::optional<CallHook> call_hook;
  if (GetParam().call != Call::lock) call_hook.emplace(GetParam().call, 0, [this] { return note_call(); });
  std::atomic<bool> begins{false};
  std::thread other([&] {
    begins = true;
    GetParam().act(other_key, folder.file("new"));
  });
  while (!begins)
    sched_yield();
  // Turns enough for a thread that nothing holds to get ahead.
  for (int i = 0; i < 1000; ++i)
    sched_yield();
  EXPECT_EQ(end_wait(), 1);
  other.join();
  EXPECT_EQ(next_call_is_in_time, true);
}

INSTANTIATE_TEST_SUITE_P(
    ForItsLock, WhileAnotherWaits,
    testing::Values(
        Act{"Creating", Call::check, [](auto&, auto& new_path) { TestKey created(new_path); }},
        Act{"Loading", Call::lock, [](auto& key, auto&) { EXPECT_EQ(key->LoadKey("", 0, 2, nullptr), 1); }},
        Act{"Committing", Call::lock, [](auto& key, auto&) { EXPECT_EQ(key->Commit(nullptr), 1); }},
        Act{"Closing", Call::close_stream, [](auto& key, auto&) { key.reset(); }}),
    case_name<Act>);

}  // namespace
}  // namespace tavtest
