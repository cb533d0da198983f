// Hosts that call from several threads: each has a server of its own, or its turn. Time and waits are the
// real ones, so that nothing but the library and the host itself orders what the threads do.

#include <gtest/gtest.h>
#include <tavlib/tavlib.h>

#include <array>
#include <atomic>
#include <future>
#include <memory>
#include <mutex>
#include <thread>

#include "conformance/event_loop.h"
#include "conformance/host.h"
#include "faults/hosts/answering_server.h"
#include "faults/hosts/threads.h"
#include "support/oracle.h"

using namespace tavtest;

namespace {

constexpr unsigned rounds = 20;

// A server that answers for as long as it lives, in a thread of its own.
class RunningServer {
 public:
  explicit RunningServer(unsigned number)
      : server_("127.0.0." + std::to_string(number), number), thread_([this] { serve(); }) {}
  ~RunningServer() {
    ended_ = true;
    thread_.join();
  }

  RunningServer(const RunningServer&) = delete;
  RunningServer& operator=(const RunningServer&) = delete;

  ConfiguredServer configured() const { return server_.configured(); }
  unsigned long address() const { return server_.address_number(); }

 private:
  void serve() {
    while (!ended_) {
      auto request = server_.receive_unopened(std::chrono::milliseconds(10));
      if (!request) continue;
      request->packet = open_request(request->datagram, server_.passphrase());
      server_.answer(*request);
    }
  }

  AnsweringServer server_;
  std::atomic<bool> ended_{false};
  std::thread thread_;
};

class Threads : public testing::Test {
 protected:
  Threads() {
    std::vector<ConfiguredServer> configured;
    for (unsigned number = 1; number <= threads; ++number) {
      servers.push_back(std::make_unique<RunningServer>(number));
      configured.push_back(servers.back()->configured());
    }
    config.write_servers(configured, "127.0.0.1");
  }

  // The conversation of one thread with its own server. Every text, number and error must be its own.
  void talk(unsigned number) const {
    const unsigned long address = servers[number]->address();
    expect_version(address, number + 1);
    expect_user(address, 1000 * number + 7);
    expect_entries(address);
    expect_pops(address, number + 1);
    // An index past the servers, which gives 6, or a server that nobody knows, which gives 11.
    unsigned long none = 0;
    unsigned version = 0;
    const bool even = number % 2 == 0;
    EXPECT_EQ(error_of(even ? TAVEnumServers(threads, &none) : TAVQueryVersion(1, &version)),
              even ? 6U : 11U);
    TAVSetLastError(number);
    std::this_thread::yield();
    EXPECT_EQ(TAVGetLastError(), number);
  }

  static void expect_version(unsigned long address, unsigned expected) {
    unsigned version = 0;
    EXPECT_EQ(error_of(TAVQueryVersion(address, &version)), 0U);
    EXPECT_EQ(version, expected);
  }

  static void expect_user(unsigned long address, std::uint32_t where) {
    _TAVENTRYA entry{};
    entry.address = where;
    TAVQueryEnum* query = nullptr;
    EXPECT_EQ(TAVQueryStartA(&entry, 0x10010, 0, address, 0, &query), 1);
    EXPECT_EQ(error_of(TAVQueryNextA(query, &entry)), 0U);
    EXPECT_EQ(entry.user, user_at(where));
    TAVQueryClose(query);
  }

  static void expect_entries(unsigned long address) {
    const _TAVENTRYW everything{};
    _TAVENTRYW entry{};
    TAVQueryEnum* query = nullptr;
    EXPECT_EQ(TAVQueryStartW(&everything, 0, 0, address, 0, &query), 1);
    unsigned count = 0;
    while (TAVQueryNextW(query, &entry) == 1)
      ++count;
    EXPECT_EQ(TAVGetLastError(), 6U);
    EXPECT_EQ(count, AnsweringServer::entries);
    TAVQueryClose(query);
  }

  static void expect_pops(unsigned long address, unsigned expected) {
    std::array<TAVASYNC, 3> handles{};
    std::array<unsigned, 3> versions{};
    for (std::size_t i = 0; i < handles.size(); ++i)
      EXPECT_EQ(error_of(TAVQueryVersionAs(address, &versions[i], &handles[i])), 14U);
    unsigned popped = 0;
    while (popped < handles.size() && is_readable(TAVGetSocket(address))) {
      TAVASYNC* done = nullptr;
      EXPECT_EQ(error_of(TAVASyncPop(&done, address)), 0U);
      ++popped;
    }
    EXPECT_EQ(versions, (std::array<unsigned, 3>{expected, expected, expected}));
  }

  std::vector<std::unique_ptr<RunningServer>> servers;
  TestConfig config;
};

}  // namespace

TEST_F(Threads, EachWithAServerOfItsOwnGetItsAnswersAndErrors) {
  const Library library;
  in_threads([this](unsigned number) {
    for (unsigned round = 0; round < rounds; ++round)
      talk(number);
  });
}

// Single sign-on in one thread, and the general functions in the others.
TEST_F(Threads, MayUseTheGeneralFunctionsBesideSingleSignOn) {
  ASSERT_NE(SSO_Init(), nullptr);
  in_threads([this](unsigned number) {
    for (unsigned round = 0; round < rounds; ++round) {
      if (number != 0) {
        talk(number);
        continue;
      }
      std::array<char, 32> user{};
      EXPECT_EQ(SSO_GetUserByAddr(round, user.data(), 31, nullptr, 0), 1);
      EXPECT_EQ(user.data(), user_at(round));
    }
  });
  SSO_Exit();
}

namespace {

// The thread of single sign-on, which takes the layer up and down and uses every function of it. The library
// stays up.
class SignOnThread {
 public:
  void run() {
    ASSERT_NE(SSO_Init(), nullptr);
    look_up_waiting();
    look_up_in_loop();
    give_up();
    leave_in_flight();
    SSO_Exit();
    EXPECT_EQ(SSO_GetUserByAddr(7, nullptr, 0, nullptr, 0), 0);
  }

 private:
  struct Ended {
    std::array<char, 32> user{};
    int calls = 0;

    static void count(int /*success*/, void* cookie) { ++static_cast<Ended*>(cookie)->calls; }
    void start(unsigned long where) {
      SSO_GetUserByAddrAsync(where, user.data(), 31, nullptr, 0, count, this);
    }
  };

  static void look_up_waiting() {
    std::array<char, 32> user{};
    EXPECT_EQ(SSO_GetUserByAddr(7, user.data(), 31, nullptr, 0), 1);
    EXPECT_EQ(user.data(), user_at(7));
  }

  void look_up_in_loop() {
    std::array<Ended, 3> lookups;
    for (Ended& each : lookups)
      each.start(8);
    EXPECT_TRUE(loop_.run_until([&] { return lookups[0].calls + lookups[1].calls + lookups[2].calls == 3; }));
    EXPECT_EQ(lookups[2].user.data(), user_at(8));
  }

  static void give_up() {
    Ended lookup;
    lookup.start(9);
    while (lookup.calls == 0)  // until it is a millisecond old, or its answer was read
      SSO_ExpireLookups(0);
    EXPECT_EQ(lookup.calls, 1);
    EXPECT_EQ(SSO_ExpireLookups(0), 0U);
  }

  void leave_in_flight() { forgotten_.start(10); }

  EventLoop loop_;
  Ended forgotten_;  // its look-up ends with the layer, without a callback
};

constexpr unsigned sign_on_rounds = 1500;

}  // namespace

// The layer and its look-ups are one server's, and so one thread's; the other servers' requests are never
// looked at.
TEST_F(Threads, MayAskTheirServersWhileSingleSignOnComesAndGoes) {
  const Library library;
  std::atomic<bool> done{false};
  in_threads([&](unsigned number) {
    if (number == 0) {
      SignOnThread sign_on;
      for (unsigned round = 0; round < sign_on_rounds; ++round)
        sign_on.run();
      done = true;
      return;
    }
    do {
      expect_user(servers[number]->address(), number);
      expect_pops(servers[number]->address(), number + 1);
    } while (!done);
  });
}

// The host takes care that only one of them is in TAVInitialize or TAVExit at a time.
TEST_F(Threads, CountTheirInitialisationsWhileOthersAreInTraffic) {
  const Library library;
  std::mutex one_at_a_time;
  in_threads([&](unsigned number) {
    for (unsigned round = 0; round < rounds; ++round) {
      {
        const std::lock_guard lock(one_at_a_time);
        EXPECT_EQ(TAVInitialize(), 1);
      }
      talk(number);
      const std::lock_guard lock(one_at_a_time);
      TAVExit();
    }
  });
  expect_version(servers[0]->address(), 1);
}

// An addition goes to every server, so the adding thread has them all; the other one only counts.
TEST_F(Threads, MayInitialiseFurtherWhileOneAddsEntries) {
  const Library library;
  std::atomic<bool> done{false};
  std::atomic<bool> counted{false};
  std::thread counting([&] {
    while (!done) {
      EXPECT_EQ(TAVInitialize(), 1);
      TAVExit();
      counted = true;
    }
  });
  while (!counted)
    std::this_thread::yield();
  const _TAVENTRYA entry{};
  for (unsigned round = 0; round < rounds; ++round)
    EXPECT_EQ(TAVAddEntryA(&entry), 2);
  done = true;
  counting.join();
}

TEST_F(Threads, HandAServersTrafficOnFromOneToTheNext) {
  const Library library;
  const unsigned long address = servers[0]->address();
  const auto in_next_thread = [](auto work) { std::thread(work).join(); };
  TAVQueryEnum* query = nullptr;
  _TAVENTRYA entry{};
  TAVASYNC async{};
  in_next_thread([&] { EXPECT_EQ(TAVQueryStartA(&entry, 0, 0, address, 0, &query), 1); });
  in_next_thread([&] { EXPECT_EQ(error_of(TAVQueryNextAsA(query, &entry, &async)), 14U); });
  in_next_thread([&] { EXPECT_EQ(TAVASyncStatus(&async, 1), 1); });
  EXPECT_EQ(entry.user, user_at(1));
  in_next_thread([&] { TAVQueryClose(query); });
}

TEST_F(Threads, MayOutliveTheLibraryAndUseTheNextOne) {
  std::promise<void> first_used;
  std::promise<void> second_made;
  auto library = std::make_unique<Library>();
  unsigned last_error = 0;
  std::thread living([&] {
    TAVSetLastError(42);
    first_used.set_value();
    second_made.get_future().wait();
    expect_version(servers[0]->address(), 1);
    TAVSetLastError(43);
    last_error = TAVGetLastError();
  });
  first_used.get_future().wait();
  library.reset();
  library = std::make_unique<Library>();
  second_made.set_value();
  living.join();
  EXPECT_EQ(last_error, 43U);
}
