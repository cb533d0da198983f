// Requests without an enumeration: waited for, popped, and given up, while the calls to the system fail.

#include <gtest/gtest.h>
#include <poll.h>
#include <tavlib/tavlib.h>

#include "faults/torture/three_servers.h"

namespace tavtest {
namespace {

constexpr std::size_t asked_server = 1;
constexpr unsigned told_version = 0x00010002;

bool is_readable(int socket) {
  pollfd descriptor{socket, POLLIN, 0};
  return poll(&descriptor, 1, 0) == 1 && (descriptor.revents & POLLIN) != 0;
}

Outcomes after_pop_fault(const CallFaults::Hit& hit) {
  const bool lost = hit.call == "recvfrom" && hit.error_number == 0;
  return {lost ? "0/14" : "1 popped"};
}

class Requests : public testing::Test, public Scenario {
 protected:
  Requests() {
    servers.answer(
        [](FakeServer& server, const auto& request) { server.reply_version(request, told_version); });
  }

  void run(Steps& steps) override {
    const Outcome initialised = initialise(steps, servers);
    if (initialised.front() == '1') {
      wait(steps);
      pop(steps);
      abandon(steps);
    }
    exit_library(steps);
    servers.drain();
  }

 private:
  unsigned long server() const { return servers.address(asked_server); }

  // What a request comes to whose way is clear.
  Outcome regular(const Outcome& answered) const {
    const char known = servers_known(servers)[asked_server];
    return known == '+' ? answered : known == 'x' ? "0/12" : "0/11";
  }

  void wait(Steps& steps) {
    const Outcome answered = regular("1 " + std::to_string(told_version));
    const auto after_fault = [&](const CallFaults::Hit& hit) -> Outcomes {
      return {after_request_fault(hit, answered)};
    };
    steps.take("waiting request", by_fault(answered, after_fault), [this] {
      unsigned version = 0;
      const int result = library([&] { return TAVQueryVersion(server(), &version); });
      return result == 1 ? "1 " + std::to_string(version) : with_last_error(result);
    });
  }

  bool start(Steps& steps, TAVASYNC& async, unsigned& version) {
    const Outcome sent = regular("0/14");
    const auto after_fault = [&](const CallFaults::Hit& hit) -> Outcomes {
      return {after_request_fault(hit, sent)};
    };
    const Outcome started = steps.take("started request", by_fault(sent, after_fault), [&] {
      return with_last_error(library([&] { return TAVQueryVersionAs(server(), &version, &async); }));
    });
    EXPECT_EQ(async.Request != nullptr, started == "0/14");
    return async.Request != nullptr;
  }

  // Pops until nothing is left to be read. An answer that was lost leaves the request in flight.
  void pop(Steps& steps) {
    unsigned version = 0;
    TAVASYNC async{};
    if (!start(steps, async, version)) return;
    const Outcome popped =
        steps.take("popped request", by_fault("1 popped", after_pop_fault), [&]() -> Outcome {
          servers.serve();
          TAVASYNC* handle = nullptr;
          int result = 0;
          while (result == 0 && is_readable(library([&] { return TAVGetSocket(server()); })))
            result = library([&] { return TAVASyncPop(&handle, server()); });
          if (result == 0) return with_last_error(result);
          return handle == &async && version == told_version ? "1 popped" : "1 something else";
        });
    if (popped == "0/14") {
      EXPECT_EQ(library([&] { return TAVASyncAbandon(&async); }), 1);
    }
    EXPECT_EQ(async.Request, nullptr);
  }

  // The answer to a request that was given up finds nobody, however its reading ends.
  void abandon(Steps& steps) {
    unsigned version = 0;
    TAVASYNC async{};
    if (!start(steps, async, version)) return;
    steps.take("given-up request", always("1"),
               [&] { return with_last_error(library([&] { return TAVASyncAbandon(&async); })); });
    EXPECT_EQ(async.Request, nullptr);
    steps.take("late answer", always("0/14"), [&] {
      servers.serve();
      TAVASYNC* handle = nullptr;
      return with_last_error(library([&] { return TAVASyncPop(&handle, server()); }));
    });
    EXPECT_EQ(version, 0u);
  }

  ThreeServers servers;
};

}  // namespace

TEST_F(Requests, SurviveEachFault) {
  expect_tally(fail_each_call(*this), 200, {"new", "new[] nothrow", "sendto", "recvfrom", "select"});
}

TEST_F(Requests, SurvivePairsOfFaults) {
  expect_tally(fail_pairs(*this, 250), 300, {"new", "malloc", "open", "pread"});
}

}  // namespace tavtest
