// Single sign-on, waiting and by the host's event loop, while the calls to the system fail.

#include <gtest/gtest.h>
#include <poll.h>
#include <tavlib/tavlib.h>

#include <algorithm>
#include <array>

#include "api/process_state.h"
#include "api/sso_state.h"
#include "faults/torture/three_servers.h"

namespace tavtest {
namespace {

// The host's event loop: one socket.
struct Loop {
  int socket = -1;
  int (*ready)(int, void*) = nullptr;
  void* argument = nullptr;
};
Loop loop;

bool is_readable(int socket) {
  pollfd descriptor{socket, POLLIN, 0};
  return poll(&descriptor, 1, 0) == 1 && (descriptor.revents & POLLIN) != 0;
}

const WireEntry alice{.user = u"ALICE", .string2 = u"STAFF", .string3 = u"TREE", .data = {1, 2, 3}};
constexpr std::size_t blocks_of_alice = 4;
constexpr unsigned long somewhere = 0x0a000001;

// A look-up's buffers and end.
struct Lookup {
  std::array<char, 16> user{};
  std::array<char, 16> second{};
  int ends = 0;
  int success = -1;
  unsigned last_error = 0;

  std::string texts() const { return std::string(user.data()) + "/" + second.data(); }

  static void ended(int success, void* cookie) {
    auto& self = *static_cast<Lookup*>(cookie);
    ++self.ends;
    self.success = success;
    self.last_error = TAVGetLastError();
  }

  Outcome outcome(const char* when_not_ended) const {
    if (ends == 0) return when_not_ended;
    if (ends > 1) return "ended more than once";
    return success != 0 ? "told 1 " + texts() : "told 0/" + std::to_string(last_error);
  }
};

// The answer is read into a wide entry, which counts as none when there is no memory for it, and then into an
// 8-bit one.
bool is_in_answer(const CallFaults::Hit& hit) {
  return hit.call == "malloc";
}
bool is_in_wide_answer(const CallFaults::Hit& hit) {
  return is_in_answer(hit) && hit.made("malloc") <= blocks_of_alice;
}

Outcomes after_start_fault(const CallFaults::Hit& hit) {
  const Outcome outcome = after_request_fault(hit, "pending");
  if (outcome == "pending") return {outcome};
  return {"told " + (outcome == "bad_alloc" ? "0/9" : outcome)};
}

Outcomes after_loop_fault(const CallFaults::Hit& hit) {
  if (is_in_answer(hit)) return {is_in_wide_answer(hit) ? "told 1 /" : "told 0/9"};
  if (hit.call == "recvfrom" && hit.error_number == 0) return {"silent"};
  return {"told 1 ALICE/TREE"};
}

class Lookups : public testing::Test, public Scenario {
 protected:
  Lookups() {
    servers.answer([](FakeServer& server, const auto& request) { server.reply_entry(request, alice); });
  }

  void run(Steps& steps) override {
    loop = {};
    steps.take("SSO_Init", start_rule, [this] { return start(); });
    if (g_SsoReady != 0) {
      wait(steps);
      Lookup answered;  // which may outlast its answer, when that is lost
      look_up_by_loop(steps, answered);
      expire(steps, answered);
    }
    steps.take("SSO_Exit", always("done"), [] {
      library(SSO_Exit);
      return "done";
    });
    exit_library(steps);
    servers.drain();
  }

 private:
  Outcome start() {
    Outcome outcome = "ATlsException";
    try {
      outcome = with_last_error(library(SSO_Init) == nullptr ? 0 : 1);
    } catch (const ATlsException&) {
    } catch (const std::bad_alloc&) {
      outcome = "bad_alloc";
    }
    if (outcome == "1") return "1 " + servers_known(servers);
    return outcome + (g_InitCount == 0 ? "" : " counted");
  }

  // The gateway's address is read last: from the sixth file that is opened. After another fault it may be an
  // earlier or a later one.
  static Outcomes start_rule(const Hits& hits) {
    if (hits.size() != 1 || hits[0].made("open") <= 5) {
      Outcomes allowed = initialisation_rule(hits);
      const bool perhaps_later = !hits.empty() && (hits.size() > 1 || hits[0].made("socket") == 3);
      if (perhaps_later && is_fatal_there(hits))
        allowed.insert(allowed.end(), {"bad_alloc counted", "0/3 counted"});
      return allowed;
    }
    if (is_allocation(hits[0])) return {"bad_alloc counted", "0/3 counted"};
    return {keeps_a_key_closed(hits[0]) ? "0/3 counted" : "1 +++"};
  }

  static bool is_fatal_there(const Hits& hits) {
    return std::any_of(hits.begin(), hits.end(),
                       [](const auto& hit) { return is_allocation(hit) || keeps_a_key_closed(hit); });
  }

  // What a request comes to whose way is clear.
  Outcome regular(const Outcome& answered) const {
    const char gateway = servers_known(servers)[0];
    return gateway == '+' ? answered : gateway == 'x' ? "0/12" : "0/11";
  }

  void wait(Steps& steps) {
    Lookup lookup;
    const Outcome answered = regular("1 ALICE/TREE");
    const auto after_fault = [&](const CallFaults::Hit& hit) -> Outcomes {
      if (is_in_answer(hit)) return {is_in_wide_answer(hit) ? "1 /" : "0/9"};
      return {after_request_fault(hit, answered)};
    };
    steps.take("waiting look-up", by_fault(answered, after_fault), [&] {
      const int result = library(
          [&] { return SSO_GetUserByAddr(somewhere, lookup.user.data(), 15, lookup.second.data(), 15); });
      return result == 0 ? with_last_error(result) : "1 " + lookup.texts();
    });
  }

  bool start_lookup(Steps& steps, Lookup& lookup) {
    const Outcome sent = regular("pending");
    const Outcome started = steps.take(
        "started look-up", by_fault(sent == "pending" ? sent : "told " + sent, after_start_fault), [&] {
          library([&] {
            SSO_GetUserByAddrAsync(somewhere, lookup.user.data(), 15, lookup.second.data(), 15, Lookup::ended,
                                   &lookup);
          });
          return lookup.outcome("pending");
        });
    return started == "pending";
  }

  void look_up_by_loop(Steps& steps, Lookup& lookup) {
    if (!start_lookup(steps, lookup)) return;
    steps.take("answered look-up", by_fault("told 1 ALICE/TREE", after_loop_fault), [&] {
      servers.serve();
      while (is_readable(loop.socket))
        library([] { return loop.ready(0, loop.argument); });
      return lookup.outcome("silent");
    });
  }

  // One that nobody answers in time, and the earlier one if its answer was lost.
  void expire(Steps& steps, const Lookup& earlier) {
    Lookup lookup;
    const bool waiting = earlier.ends == 0;
    if (!start_lookup(steps, lookup)) return;
    steps.take("expired look-up", always(waiting ? "2 told 0/4 told 0/4" : "1 told 0/4"), [&] {
      servers.pass(std::chrono::milliseconds(2));
      const unsigned expired = library([] { return SSO_ExpireLookups(1); });
      return std::to_string(expired) + " " + lookup.outcome("silent") +
             (waiting ? " " + earlier.outcome("silent") : "");
    });
  }

  ThreeServers servers;
};

}  // namespace

TEST_F(Lookups, SurviveEachFault) {
  expect_tally(fail_each_call(*this), 280, {"new", "new[] nothrow", "sendto", "recvfrom", "select"});
}

TEST_F(Lookups, SurvivePairsOfFaults) {
  expect_tally(fail_pairs(*this, 250), 300, {"new", "malloc", "open", "pread"});
}

}  // namespace tavtest

extern "C" {

int T_event_set_socket(int socket, int (*ready)(int, void*), void* argument) {
  tavtest::loop = {socket, ready, argument};
  return 0;
}

int T_event_del_socket(int /*socket*/) {
  return 0;
}
}
