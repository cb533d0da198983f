// Many faults at once, drawn from a seed, against blocking and asynchronous look-ups of every kind side by
// side.
#include <gtest/gtest.h>

#include <ostream>
#include <random>

#include "faults/network/hostile_network.h"
#include "faults/network/prediction.h"

namespace tavtest {
namespace {

constexpr unsigned lookups = 500;

tavsim::FaultSettings settings_of(std::uint64_t seed) {
  tavsim::FaultSettings settings;
  settings.seed = seed;
  settings.delay = std::chrono::milliseconds(seed * 700);
  settings.interim_count = 7;
  settings.interim_gap = std::chrono::milliseconds(seed % 2 * 40);
  settings.flood_count = 24;
  return settings;
}

// Faults whose effect on each look-up is certain.
Faults certain(std::uint64_t seed) {
  return {
      {"loss=prob:0.05", "delay=prob:0.15", "duplicate=prob:0.15", "reorder=prob:0.15", "digest=prob:0.06",
       "id=prob:0.04", "truncate=prob:0.04", "error=prob:0.06", "interim=prob:0.1", "replay=prob:0.2"},
      settings_of(seed),
      seed};
}

// The same with those that may hit anybody, and answers behind error replies: an error that was read for
// somebody else is out of date once the answer was read, too.
Faults wild(std::uint64_t seed) {
  Faults faults = certain(seed);
  faults.settings.final_after_error = seed % 3 == 0;
  faults.rules.push_back("corrupt=prob:0.08");
  faults.rules.push_back("flood=prob:0.08");
  return faults;
}

Kind any_kind(std::mt19937_64& random) {
  return all_kinds.at(static_cast<std::size_t>(random() % all_kinds.size()));
}

std::vector<Step> mixed_steps(const Users& users, std::uint64_t seed, unsigned percent_waiting) {
  std::mt19937_64 random(seed);
  std::vector<Step> steps;
  for (unsigned i = 0; i < lookups; ++i) {
    steps.push_back({any_kind(random), random() % 100 < percent_waiting,
                     static_cast<unsigned>(random() % users.count())});
  }
  return steps;
}

struct Mixture {
  std::uint64_t seed;
  unsigned percent_waiting;

  friend std::ostream& operator<<(std::ostream& out, const Mixture& each) {
    return out << "Seed" << each.seed << "With" << each.percent_waiting << "PercentWaiting";
  }
};

class Mixtures : public testing::TestWithParam<Mixture> {};

TEST_P(Mixtures, OfCertainFaultsEndEachLookupAsPredicted) {
  const Faults faults = certain(GetParam().seed);
  HostileNetwork network(faults);
  const std::vector<Step> steps = mixed_steps(network.users(), GetParam().seed, GetParam().percent_waiting);
  Prediction prediction(faults);
  for (const Step& step : steps) {
    const bool nobody = network.users().at(step.index) == User{};
    prediction.add(nobody ? Verdict::nobody : Verdict::right, step.waits);
  }
  EXPECT_EQ(network.run(steps), prediction.ends());
}

TEST_P(Mixtures, OfAllFaultsNeverTellAnotherUser) {
  HostileNetwork network(wild(GetParam().seed));
  const std::vector<Verdict> ends =
      network.run(mixed_steps(network.users(), GetParam().seed, GetParam().percent_waiting));
  EXPECT_EQ(count_of(ends, Verdict::wrong), 0);
  for (const Verdict each : {Verdict::nobody, Verdict::error_reply, Verdict::bad_digest, Verdict::lost}) {
    EXPECT_GT(count_of(ends, each), 0) << each;
  }
  EXPECT_GT(count_of(ends, Verdict::right), 150);
}

// Look-ups are given up while their replies are still on their way; these come to the next ones.
TEST_P(Mixtures, LeaveTheNextLookupsUnharmedByRepliesToThoseGivenUp) {
  Faults faults = wild(GetParam().seed);
  faults.rules.push_back("delay=prob:0.5");
  faults.settings.delay = std::chrono::seconds(400);
  HostileNetwork network(faults);
  for (std::uint64_t round = 0; round < 4; ++round) {
    std::vector<Step> steps =
        mixed_steps(network.users(), GetParam().seed + round, GetParam().percent_waiting);
    steps.resize(120);
    const std::vector<Verdict> ends = network.run(steps, std::chrono::seconds(round * 30));
    EXPECT_EQ(count_of(ends, Verdict::wrong), 0);
    EXPECT_GT(count_of(ends, Verdict::lost), 20);
    EXPECT_GT(count_of(ends, Verdict::right), 5);
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, Mixtures,
                         testing::Values(Mixture{1, 100}, Mixture{2, 0}, Mixture{3, 10}, Mixture{4, 50},
                                         Mixture{5, 2}, Mixture{6, 25}),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace tavtest
