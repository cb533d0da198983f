// Adding an entry to several servers, while the calls to the system fail.

#include <gtest/gtest.h>
#include <tavlib/tavlib.h>

#include <algorithm>
#include <array>

#include "faults/torture/three_servers.h"

namespace tavtest {
namespace {

// How the exchange with one server ends: with a code, and with or without the request having arrived there.
struct Exchange {
  unsigned code;
  bool sent;
};
using Exchanges = std::array<Exchange, 3>;

constexpr Exchange added{0, true};
constexpr Exchange left_out{0, false};
constexpr Exchange invalid{12, false};

// The result, the last error unless nobody took the entry, and where requests arrived.
Outcome outcome_of(const Exchanges& exchanges) {
  int took = 0;
  unsigned last_failure = 0;
  std::string arrived;
  for (const Exchange& exchange : exchanges) {
    if (exchange.code != 0) last_failure = exchange.code;
    if (exchange.code == 0 && exchange.sent) ++took;
    arrived += exchange.sent ? 'y' : '-';
  }
  if (took == 0) return "0 " + arrived;
  return (last_failure == 0 ? "2/" : "1/") + std::to_string(last_failure) + " " + arrived;
}

Exchange after_fault(const CallFaults::Hit& hit) {
  if (hit.call == "select") return {4, true};  // an interruption is not told from a time-out here
  const Outcome outcome = after_request_fault(hit, "regular");
  if (outcome == "regular") return added;
  return {static_cast<unsigned>(std::stoul(outcome.substr(2))), outcome == "0/4"};
}

// Without a clock, a wait that has to be repeated may seem too long.
Exchange with_another(const CallFaults::Hit& hit) {
  return hit.call == "gettimeofday" ? Exchange{4, true} : after_fault(hit);
}

// The server whose turn it was: memory is asked for before each sending.
std::size_t server_of(const CallFaults::Hit& hit) {
  return std::min<std::size_t>(hit.made("sendto") - (hit.size == 0 ? 1 : 0), 2);
}

Exchanges regular(const std::string& known) {
  Exchanges exchanges{};
  for (std::size_t i = 0; i < exchanges.size(); ++i)
    exchanges[i] = known[i] == '+' ? added : known[i] == 'x' ? invalid : left_out;
  return exchanges;
}

// The outcomes when the exchange with one of the servers that are asked ends as `exchange`.
void add_each_place(Outcomes& outcomes, const Exchanges& base, Exchange first, Exchange second) {
  for (std::size_t i = 0; i < base.size(); ++i) {
    for (std::size_t k = 0; k < base.size(); ++k) {
      Exchanges exchanges = base;
      if (base[i].sent) exchanges[i] = first;
      if (base[k].sent) exchanges[k] = second;
      outcomes.push_back(outcome_of(exchanges));
    }
  }
}

Rule adding(const std::string& known) {
  return [known](const Hits& hits) {
    Exchanges exchanges = regular(known);
    Outcomes outcomes;
    if (hits.size() == 1 && known == "+++") exchanges[server_of(hits[0])] = after_fault(hits[0]);
    outcomes.push_back(outcome_of(exchanges));
    if (hits.size() == 1 && hits[0].call == "gettimeofday")
      add_each_place(outcomes, exchanges, with_another(hits[0]), added);
    if (hits.size() == 1 && known != "+++") add_each_place(outcomes, exchanges, after_fault(hits[0]), added);
    if (hits.size() == 2) {
      add_each_place(outcomes, exchanges, after_fault(hits[0]), after_fault(hits[1]));
      add_each_place(outcomes, exchanges, with_another(hits[0]), with_another(hits[1]));
    }
    return outcomes;
  };
}

class Adding : public testing::Test, public Scenario {
 protected:
  Adding() {
    servers.answer([](FakeServer& server, const auto& request) { server.reply_status(request); });
  }

  void run(Steps& steps) override {
    const Outcome initialised = initialise(steps, servers);
    if (initialised.front() == '1') {
      const Rule rule = adding(initialised.substr(2));
      _TAVENTRYA narrow{};
      char name[] = "alice";
      narrow.user = name;
      narrow.address = 0x0a000001;
      add(steps, rule, [&] { return TAVAddEntryA(&narrow); });
      // A further initialisation believes in every server again.
      steps.take("again", always("1"), [] { return with_last_error(library(TAVInitialize)); });
      _TAVENTRYW wide{};
      wchar_t wide_name[] = L"bob";
      wide.user = wide_name;
      add(steps, rule, [&] { return TAVAddEntryW(&wide); });
    }
    exit_library(steps);
  }

 private:
  template <typename Call>
  void add(Steps& steps, const Rule& rule, Call call) {
    servers.drain();
    steps.take("add", rule, [&] {
      const int result = library(call);
      const std::string code = result == 0 ? "" : "/" + std::to_string(library(TAVGetLastError));
      servers.serve();
      return std::to_string(result) + code + " " + servers.drain();
    });
  }

  ThreeServers servers;
};

}  // namespace

TEST_F(Adding, SurvivesEachFault) {
  expect_tally(fail_each_call(*this), 270,
               {"new", "new[] nothrow", "sendto", "recvfrom", "select", "gettimeofday"});
}

TEST_F(Adding, SurvivesPairsOfFaults) {
  expect_tally(fail_pairs(*this, 250), 300, {"new", "malloc", "open", "pread"});
}

}  // namespace tavtest
