#ifndef TAVLIB_TESTS_FAULTS_TORTURE_THREE_SERVERS_H
#define TAVLIB_TESTS_FAULTS_TORTURE_THREE_SERVERS_H

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <functional>

#include "faults/torture/scenario.h"
#include "support/config_file.h"
#include "support/fake_server.h"
#include "support/fake_time.h"

namespace tavtest {

/// Three scripted servers, of which the first is the gateway's and local, and the last has no port of its own
/// but the machine-wide one. They answer in each wait, and waits cost nothing.
class ThreeServers {
 public:
  using Reply = std::function<void(FakeServer&, const FakeServer::Request&)>;

  ThreeServers();

  /// Answers each request that arrives from here on. Not being set, requests stay unanswered.
  void answer(Reply reply) { reply_ = std::move(reply); }

  /// Answers what has arrived, for a server that nobody waits for.
  void serve();

  /// Forgets what has arrived, and tells at which servers something had: "y-y".
  std::string drain();

  /// Moves the clock.
  void pass(std::chrono::milliseconds time) { time_.advance(time); }

  FakeServer& gateway() { return servers_[0]; }
  unsigned long address(std::size_t index) const { return servers_[index].address_number(); }

 private:
  std::array<FakeServer, 3> servers_{FakeServer{"first"}, FakeServer{"second", "127.0.0.2"},
                                     FakeServer{"third", "127.0.0.3"}};
  std::array<bool, 3> asked_{};
  Reply reply_;
  TestConfig config_;
  FakeTime time_;
};

/// TAVInitialize and TAVExit as steps.
///
/// The outcome of the first is "1 " and a sign for each server: "+", "x" for one without a socket, "-" for
/// one that is missing; or "0/" and the code; with " counted" where the library counts the call all the same.
Outcome initialise(Steps& steps, const ThreeServers& servers);
void exit_library(Steps& steps);

/// The servers as the library knows them, by these signs.
std::string servers_known(const ThreeServers& servers);

/// The rule of the first.
Outcomes initialisation_rule(const Hits& hits);

bool is_allocation(const CallFaults::Hit& hit);

/// Whether the fault leaves the library without an answer to where a user's home is.
bool hides_the_home(const CallFaults::Hit& hit);

/// Whether it is of a thread's record, for which another one stands in. No other block is as small and asked
/// for without an exception.
bool is_thread_record(const CallFaults::Hit& hit);

/// Whether the fault is of a call without which a key of the configuration cannot be opened.
bool keeps_a_key_closed(const CallFaults::Hit& hit);

/// "1" or "0/" and the thread's last error.
Outcome with_last_error(int result);

/// A request's fate by what failed on its way: "0/9", "0/12" or "0/4"; "regular" for what is overcome, and
/// "bad_alloc" where there was no memory for the request itself. Empty for a fault in the reading of the
/// answer.
Outcome after_request_fault(const CallFaults::Hit& hit, const Outcome& regular);

}  // namespace tavtest

#endif
