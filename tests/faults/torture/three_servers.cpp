#include "faults/torture/three_servers.h"

#include <tavlib/tavlib.h>

#include <algorithm>
#include <cerrno>

#include "api/attached_request.h"
#include "api/process_state.h"

namespace tavtest {
namespace {

constexpr std::size_t servers_count = 3;

// The reading of the configuration opens the machine-wide store, the key of all servers, and one key for
// each.
enum Opened : std::size_t { ports = 1, addresses = 2 };

Outcome all_but(std::size_t index, char sign) {
  std::string signs(servers_count, '+');
  signs.at(index) = sign;
  return "1 " + signs;
}

// The last interface decides whether the list is valid.
Outcome without_interface(std::size_t index) {
  return index + 1 == servers_count ? "0/3" : all_but(index, 'x');
}

// A server without a key of its own, and the last one without the machine-wide port, are left out.
Outcome without_key(std::size_t opened) {
  if (opened == addresses) return "0/3";
  const std::size_t last = servers_count - 1;
  return all_but(opened == ports ? last : std::min(opened - addresses - 1, last), '-');
}

// One server can be lost to each fault. Which one is not as clear with two, since one changes the other's
// course.
Outcomes without_servers(std::size_t faults) {
  Outcomes outcomes{"0/3"};
  for (const char first : {'+', 'x', '-'}) {
    for (const char second : {'+', 'x', '-'}) {
      for (const char third : {'+', 'x', '-'}) {
        const std::string signs{first, second, third};
        const auto kept = static_cast<std::size_t>(std::count(signs.begin(), signs.end(), '+'));
        if (kept + faults >= servers_count) outcomes.push_back("1 " + signs);
      }
    }
  }
  return outcomes;
}

Outcomes after_initialisation_fault(const CallFaults::Hit& hit) {
  const bool cipher = hit.call == "new nothrow" && hit.size == sizeof(CBlowfish);
  if (hit.call == "socket" || cipher) return {without_interface(hit.made("socket") - 1)};
  if (hit.call == "new" && hit.made("new") == 1) return {"0/9 counted"};  // the slot comes first
  if (is_allocation(hit) || (keeps_a_key_closed(hit) && hit.error_number == ENOMEM)) return {"0/9"};
  if (hides_the_home(hit)) return {without_key(ports)};
  if (hit.call == "getpwuid_r") return {hit.way == "ENOMEM" ? "0/9" : "1 +++"};
  if (hit.call == "pthread_key_create") return {"ATlsException counted"};
  if (keeps_a_key_closed(hit)) return {without_key(hit.made("open"))};
  return {"1 +++"};
}

}  // namespace

Outcomes initialisation_rule(const Hits& hits) {
  if (hits.empty()) return {"1 +++"};
  Outcomes outcomes;
  for (const CallFaults::Hit& hit : hits) {
    for (const Outcome& one : after_initialisation_fault(hit))
      outcomes.push_back(one);
  }
  if (hits.size() == 1) return outcomes;
  for (const Outcome& one : without_servers(hits.size()))
    outcomes.push_back(one);
  return outcomes;
}

bool is_allocation(const CallFaults::Hit& hit) {
  return hit.size != 0;
}

bool hides_the_home(const CallFaults::Hit& hit) {
  return hit.call == "getpwuid_r" && (hit.way == "EMFILE" || hit.way == "unknown");
}

bool is_thread_record(const CallFaults::Hit& hit) {
  return hit.call == "new nothrow" && hit.size <= 64;
}

bool keeps_a_key_closed(const CallFaults::Hit& hit) {
  if (hit.call == "lock" || hit.call == "pread") return !is_overcome(hit);
  if (hit.call == "stat") return is_of_comparison(hit);
  return hit.call == "open" || hit.call == "fdopen" || hit.call == "fstat";
}

ThreeServers::ThreeServers() {
  config_.write_lines({"[tavlib\\Addresses\\]", "gwtav=\"127.0.0.1\"",  //
                       "[tavlib\\Addresses\\127.0.0.1\\]", "Endpoint=" + std::to_string(servers_[0].port()),
                       "Passphrase=\"first\"", "[tavlib\\Addresses\\127.0.0.2\\]",
                       "Endpoint=" + std::to_string(servers_[1].port()), "Passphrase=\"second\"",
                       "[tavlib\\Addresses\\127.0.0.3\\]", "Passphrase=\"third\""});
  TestConfig::write_fallback_port(servers_[2].port());
  // An interruption from before makes a wait that times out start over; hosts do not keep errno for so long.
  time_.on_wait([this](int, timeval) {
    serve();
    errno = 0;
  });
}

void ThreeServers::serve() {
  for (std::size_t i = 0; i < servers_.size(); ++i) {
    while (!servers_[i].is_idle()) {
      const FakeServer::Request request = servers_[i].receive();
      asked_[i] = true;
      if (reply_) reply_(servers_[i], request);
    }
  }
}

std::string ThreeServers::drain() {
  const Reply reply = std::exchange(reply_, nullptr);
  serve();
  reply_ = reply;
  std::string signs;
  for (bool& asked : asked_)
    signs += std::exchange(asked, false) ? 'y' : '-';
  return signs;
}

std::string servers_known(const ThreeServers& servers) {
  std::string signs;
  for (std::size_t i = 0; i < servers_count; ++i) {
    TAVServerInterface* server = g_ServerList->FindByServer(servers.address(i));
    signs += server == nullptr ? '-' : server->IsValid() != 0 ? '+' : 'x';
  }
  return signs;
}

Outcome with_last_error(int result) {
  if (result != 0) return std::to_string(result);
  return "0/" + std::to_string(library(TAVGetLastError));
}

Outcome initialise(Steps& steps, const ThreeServers& servers) {
  return steps.take("TAVInitialize", initialisation_rule, [&]() -> Outcome {
    Outcome outcome = "ATlsException";
    try {
      outcome = with_last_error(library(TAVInitialize));
    } catch (const ATlsException&) {
    }
    if (outcome == "1") return "1 " + servers_known(servers);
    return outcome + (g_InitCount == 0 ? "" : " counted");
  });
}

void exit_library(Steps& steps) {
  steps.take("TAVExit", always("done"), [] {
    while (g_InitCount > 0)
      library(TAVExit);
    return "done";
  });
}

Outcome after_request_fault(const CallFaults::Hit& hit, const Outcome& regular) {
  if (is_thread_record(hit)) return regular;
  if (hit.size == sizeof(tavlib::AttachedRequest)) return "bad_alloc";
  if (is_allocation(hit)) return "0/9";
  if (hit.call == "sendto") return "0/12";
  if (hit.call == "select") return hit.error_number == EINTR ? regular : "0/4";
  if (hit.call == "recvfrom") return hit.error_number != 0 ? regular : "0/4";  // kept by the system, or lost
  return regular;
}

}  // namespace tavtest
