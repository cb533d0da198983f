// Enumerations in both widths, while the calls to the system fail.

#include <gtest/gtest.h>
#include <tavlib/tavlib.h>

#include <vector>

#include "faults/torture/three_servers.h"

namespace tavtest {
namespace {

constexpr std::size_t asked_server = 1;

// The entries, and how many blocks each takes in one width.
const std::vector<WireEntry> entries{
    {.user = u"ALICE", .string2 = u"STAFF", .string3 = u"TREE", .data = {1, 2, 3}}, {.user = u"BOB"}};
constexpr std::size_t blocks[] = {4, 1, 0};
const std::vector<Outcome> told{"1 ALICE STAFF TREE 3", "1 BOB - - 0", "0/6"};

std::string text(const char* text) {
  return text == nullptr ? "-" : text;
}
std::string text(const wchar_t* text) {
  if (text == nullptr) return "-";
  const std::wstring wide = text;
  return std::string(wide.begin(), wide.end());
}

// What differs between the widths.
struct Narrow {
  using Entry = _TAVENTRYA;
  using Text = char;
  static constexpr auto start = TAVQueryStartA;
  static constexpr auto next = TAVQueryNextA;
  static constexpr bool converts = true;
};
struct Wide {
  using Entry = _TAVENTRYW;
  using Text = wchar_t;
  static constexpr auto start = TAVQueryStartW;
  static constexpr auto next = TAVQueryNextW;
  static constexpr bool converts = false;
};

Outcomes after_start_fault(const CallFaults::Hit& hit) {
  return {is_thread_record(hit) ? "1" : "0/9"};
}

class Enumerations : public testing::Test, public Scenario {
 protected:
  Enumerations() {
    servers.answer([this](FakeServer& server, const auto& request) {
      if (given < entries.size()) return server.reply_entry(request, entries[given++]);
      server.reply_no_entry(request);
    });
  }

  void run(Steps& steps) override {
    const Outcome initialised = initialise(steps, servers);
    if (initialised.front() == '1') {
      enumerate<Narrow>(steps);
      enumerate<Wide>(steps);
    }
    exit_library(steps);
    servers.drain();
  }

 private:
  template <typename Width>
  void enumerate(Steps& steps) {
    servers.drain();
    given = 0;
    TAVQueryEnum* query = nullptr;
    steps.take("start", by_fault("1", after_start_fault), [&] {
      typename Width::Text name[] = {'A', 0};
      unsigned char block[] = {1, 2};
      typename Width::Entry filter{};
      filter.user = filter.string2 = name;
      filter.data = block;
      filter.dataLength = sizeof block;
      const unsigned long server = servers.address(asked_server);
      return with_last_error(library([&] { return Width::start(&filter, 1, 2, server, 3, &query); }));
    });
    if (query == nullptr) return;
    for (std::size_t index = 0; next<Width>(steps, *query, index); ++index) {
    }
    library([&] { TAVQueryClose(query); });
  }

  // Whether there may be a further entry.
  template <typename Width>
  bool next(Steps& steps, TAVQueryEnum& query, std::size_t index) {
    const char server = servers_known(servers)[asked_server];
    const Outcome regular = server == '+' ? told[index] : server == 'x' ? "0/12" : "0/11";
    const auto after_fault = [&](const CallFaults::Hit& hit) -> Outcomes {
      if (hit.call != "malloc") return {after_request_fault(hit, regular)};
      // An entry that there is no memory to read is none; one that cannot be converted is 9.
      return {Width::converts && hit.made("malloc") > blocks[index] ? "0/9" : "0/6"};
    };
    const Outcome outcome = steps.take("next", by_fault(regular, after_fault), [&] {
      typename Width::Entry entry{};
      const int result = library([&] { return Width::next(&query, &entry); });
      if (result == 0) return with_last_error(result);
      return "1 " + text(entry.user) + " " + text(entry.string2) + " " + text(entry.string3) + " " +
             std::to_string(entry.dataLength);
    });
    return outcome.front() == '1';
  }

  ThreeServers servers;
  std::size_t given = 0;
};

}  // namespace

TEST_F(Enumerations, SurviveEachFault) {
  expect_tally(fail_each_call(*this), 300,
               {"new", "new[] nothrow", "malloc", "sendto", "recvfrom", "select"});
}

TEST_F(Enumerations, SurvivePairsOfFaults) {
  expect_tally(fail_pairs(*this, 250), 300, {"new", "malloc", "open", "pread"});
}

}  // namespace tavtest
