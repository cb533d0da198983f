#include "faults/network/hostile_network.h"

#include <algorithm>
#include <stdexcept>

namespace tavtest {
namespace {

constexpr std::size_t together = 24;
constexpr std::size_t datagrams = 16;  // at once in the socket's buffer, which has room for many more

using std::chrono::microseconds;

microseconds microseconds_of(timeval time) {
  return std::chrono::seconds(time.tv_sec) + microseconds(time.tv_usec);
}

}  // namespace

HostileNetwork::HostileNetwork(const Faults& faults)
    : server_(users_.entries_file(), faults, time_), config_({server_.configured()}, "127.0.0.1") {
  time_.on_wait([this](int socket, timeval timeout) { wait(socket, timeout); });
  if (SSO_Init() == nullptr) throw std::runtime_error("SSO_Init failed");
}

HostileNetwork::~HostileNetwork() {
  SSO_Exit();
}

// A wait of the library: the server answers, or time passes until it does.
void HostileNetwork::wait(int /*socket*/, timeval timeout) {
  if (is_readable_now(address()) || server_.serve(datagrams) > 0) return;
  server_.pass_to_next(microseconds_of(timeout), datagrams);
}

void HostileNetwork::pump() {
  while (server_.serve(datagrams) > 0)
    serve_socket(address());
  serve_socket(address());
}

void HostileNetwork::pump_within(std::chrono::seconds patience) {
  pump();
  const auto end = tavsim::Clock::now() + patience;
  while (
      server_.pass_to_next(std::chrono::duration_cast<microseconds>(end - tavsim::Clock::now()), datagrams)) {
    serve_socket(address());
    pump();
  }
}

std::vector<Verdict> HostileNetwork::run(const std::vector<Step>& steps, std::chrono::seconds patience) {
  std::vector<Verdict> ends(steps.size());
  std::vector<AsyncLookup> lookups(steps.size());
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const Step& step = steps[i];
    const unsigned long asked = users_.address(step.index);
    if (step.waits) {
      ends[i] = judge(users_.at(step.index), look_up(step.kind, address(), asked));
    } else {
      lookups[i].start(step.kind, address(), asked);
    }
    if (i % together == 0) pump();
  }
  pump_within(patience);
  give_up(lookups);
  for (std::size_t i = 0; i < steps.size(); ++i) {
    if (steps[i].waits) continue;
    const bool once = lookups[i].ends() == 1;
    ends[i] = once ? judge(users_.at(steps[i].index), *lookups[i].answer()) : Verdict::wrong;
  }
  return ends;
}

void HostileNetwork::give_up(std::vector<AsyncLookup>& lookups) {
  time_.advance(std::chrono::seconds(1));
  SSO_ExpireLookups(500);
  for (AsyncLookup& each : lookups)
    each.give_up();
}

std::vector<Step> steps_of(Kind kind, bool waits, unsigned count) {
  std::vector<Step> steps;
  for (unsigned i = 0; i < count; ++i) {
    steps.push_back(
        {kind, waits, i * 7 % 96});  // 7 and 96 have no common divisor: every address has its turn
  }
  return steps;
}

long count_of(const std::vector<Verdict>& ends, Verdict verdict) {
  return std::count(ends.begin(), ends.end(), verdict);
}

}  // namespace tavtest
