#include "faults/torture/scenario.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <new>
#include <random>
#include <utility>

#include "faults/torture/descriptors.h"

namespace tavtest {
namespace {

Outcome outcome_of(const std::function<Outcome()>& act) {
  try {
    return act();
  } catch (const std::bad_alloc&) {
    return "bad_alloc";
  }
}

std::string told(const Hits& hits) {
  std::string text;
  for (const CallFaults::Hit& hit : hits) {
    text += " call " + std::to_string(hit.number) + " " + hit.call + " " + hit.way + " (" +
            std::to_string(hit.made(hit.call)) + " of its kind";
    text += hit.size == 0 ? ")" : ", " + std::to_string(hit.size) + " bytes)";
  }
  return text;
}

// Whether a registry file that seemed to be missing was "made" anew. The descriptor of that is never closed.
std::size_t left_open_by(const Hits& hits) {
  std::size_t stats = 0;
  for (const CallFaults::Hit& hit : hits) {
    if (hit.call == "stat") ++stats;
  }
  return stats;
}

using Plan = std::vector<CallFaults::Fault>;

// One run with the faults of `plan`, and one without any. The faults that struck.
Hits run_with(Scenario& scenario, const Plan& plan) {
  const std::size_t blocks = living_blocks();
  const Descriptors descriptors;
  Hits hits;
  {
    CallFaults faults(plan);
    Steps steps(faults);
    scenario.run(steps);
    hits = faults.all_hits();
  }
  EXPECT_LE(close_left_open(), left_open_by(hits)) << told(hits);
  EXPECT_EQ(living_blocks(), blocks) << "blocks leaked after" << told(hits);
  EXPECT_EQ(descriptors.opened_since(), "") << "descriptors leaked after" << told(hits);
  return hits;
}

Hits torture(Scenario& scenario, const Plan& plan) {
  Hits hits = run_with(scenario, plan);
  if (hits.empty()) return hits;
  SCOPED_TRACE("run without faults after" + told(hits));
  run_with(scenario, {});
  return hits;
}

unsigned from_environment(const char* name, unsigned otherwise) {
  const char* text = std::getenv(name);
  return text == nullptr ? otherwise : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
}

// The calls that the scenario makes when none fails. The first run in a process also makes what the library
// keeps for the life of it, so each test begins with this one.
std::size_t count_calls(Scenario& scenario) {
  CallFaults faults({});
  Steps steps(faults);
  scenario.run(steps);
  return faults.calls();
}

}  // namespace

bool is_overcome(const CallFaults::Hit& hit) {
  if (hit.call == "lock") return hit.way == "EINTR";
  return (hit.call == "pread" || hit.call == "pwrite") && (hit.way == "EINTR" || hit.way == "short");
}

bool is_of_comparison(const CallFaults::Hit& hit) {
  return hit.call == "stat" && hit.previous == "fstat";
}

Rule by_fault(Outcome regular, std::function<Outcomes(const CallFaults::Hit&)> after) {
  return [regular = std::move(regular), after = std::move(after)](const Hits& hits) {
    Outcomes allowed;
    for (const CallFaults::Hit& hit : hits) {
      for (Outcome& one : after(hit))
        allowed.push_back(std::move(one));
    }
    if (hits.size() != 1) allowed.push_back(regular);
    return allowed;
  };
}

Rule always(Outcome outcome) {
  return [outcome = std::move(outcome)](const Hits&) { return Outcomes{outcome}; };
}

Outcome Steps::take(const std::string& name, const Rule& rule, const std::function<Outcome()>& act) {
  faults_.begin_step();
  errno = 0;
  const Outcome outcome = outcome_of(act);
  Outcomes allowed = rule(hits());
  if (faults_.all_hits().size() > hits().size()) {
    for (Outcome& regular : rule({}))
      allowed.push_back(std::move(regular));
  }
  EXPECT_THAT(allowed, testing::Contains(outcome))
      << name << ":" << told(hits()) << "\nin all:" << told(faults_.all_hits());
  return outcome;
}

Tally fail_each_call(Scenario& scenario) {
  Tally tally;
  count_calls(scenario);
  for (std::size_t number = 1; !testing::Test::HasFailure(); ++number) {
    std::size_t ways = 1;
    for (std::size_t way = 0; way < ways; ++way) {
      const auto hits = torture(scenario, {{number, way}});
      if (hits.empty()) return tally;
      ways = hits.front().ways;
      ++tally[hits.front().call];
    }
  }
  return tally;
}

Tally fail_pairs(Scenario& scenario, unsigned pairs) {
  const unsigned seed = from_environment("TAVLIB_TORTURE_SEED", 20261121);
  const unsigned count = from_environment("TAVLIB_TORTURE_PAIRS", pairs);
  std::cout << "seed " << seed << ", " << count << " pairs\n";
  const std::size_t calls = count_calls(scenario);
  constexpr std::size_t nearby = 12;
  constexpr std::size_t any_way = 12;  // a multiple of each number of ways
  std::mt19937 random(seed);
  Tally tally;
  for (unsigned pair = 0; pair < count && !testing::Test::HasFailure(); ++pair) {
    SCOPED_TRACE("pair " + std::to_string(pair));
    // Every other time the second one is near, where the library clears up after the first.
    const std::size_t first = 1 + random() % calls;
    const std::size_t second = pair % 2 == 0 ? 1 + random() % calls : first + 1 + random() % nearby;
    const Plan plan{{first, random() % any_way}, {second, random() % any_way}};
    for (const CallFaults::Hit& hit : torture(scenario, plan))
      ++tally[hit.call];
  }
  return tally;
}

void expect_tally(const Tally& tally, std::size_t floor, const std::vector<std::string>& kinds) {
  std::size_t total = 0;
  for (const auto& [call, count] : tally) {
    std::cout << call << " " << count << ", ";
    testing::Test::RecordProperty(call, static_cast<int>(count));
    total += count;
  }
  std::cout << "together " << total << "\n";
  testing::Test::RecordProperty("faults", static_cast<int>(total));
  EXPECT_GE(total, floor);
  for (const std::string& kind : kinds)
    EXPECT_EQ(tally.count(kind), 1u) << kind;
}

}  // namespace tavtest
