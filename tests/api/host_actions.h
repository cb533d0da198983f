#ifndef TAVLIB_TESTS_API_HOST_ACTIONS_H
#define TAVLIB_TESTS_API_HOST_ACTIONS_H

#include <deque>

#include "api/requests_in_flight.h"

namespace tavtest {

/// What else a host has in flight on the gateway's server while it is told how one request ended.
///
/// Waits are served while an object lives: each runs the next of `due`, or else has the request that it is
/// for answered.
class Bystanders {
 public:
  Bystanders(FakeServer& gateway, FakeTime& clock, HostLoop& host_loop);
  ~Bystanders() { time.on_wait({}); }

  Bystanders(const Bystanders&) = delete;
  Bystanders& operator=(const Bystanders&) = delete;

  /// Sends the look-up, the version request and the step, in this order.
  void start();

  /// Lets the server answer everything, be it late or once more, and expects each owner to have been told
  /// what it is to be told, once, and nothing to be left in the library.
  void expect_told();

  FakeServer& server;
  FakeTime& time;
  HostLoop& loop;
  std::deque<std::function<void()>> due;

  LookupInFlight lookup{2};
  VersionInFlight version{3};
  StepInFlight step{4};
  LookupInFlight nested{5};  ///< Started by an action.
  bool exited = false;       ///< Whether the library was, so that handles and enumerations are out of date.
  int taken = 2;             ///< What adding an entry gives: 1 where a further server cannot be reached.
  unsigned expired = 0;      ///< How many look-ups an action has ended with SSO_ExpireLookups.

 private:
  void serve_wait();
};

/// What a host does when it was told; it leaves in the bystanders what they are to be told because of it.
struct HostAction {
  const char* name;
  void (*act)(Bystanders&);
};

void PrintTo(const HostAction& action, std::ostream* out);

const std::vector<HostAction>& host_actions();

}  // namespace tavtest

#endif
