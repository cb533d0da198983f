#include "tavsim/fault_rules.h"

#include <gtest/gtest.h>

#include "tavsim/input_error.h"

namespace tavsim {
namespace {

// One letter for each request: 'x' where the fault strikes.
std::string strikes(FaultSource source, Fault fault, int requests) {
  std::string result;
  for (int i = 0; i < requests; ++i) {
    result += source.next().has(fault) ? 'x' : '.';
  }
  return result;
}

FaultSource source_of(const std::vector<std::string>& rules, std::uint64_t seed = 1) {
  std::vector<FaultRule> parsed;
  for (const std::string& rule : rules) {
    parsed.push_back(parse_fault_rule(rule));
  }
  return FaultSource(parsed, seed);
}

TEST(FaultRules, EveryStrikesEachNthRequest) {
  EXPECT_EQ(strikes(source_of({"loss=every:3"}), Fault::loss, 7), "..x..x.");
  EXPECT_EQ(strikes(source_of({"loss=every:1"}), Fault::loss, 3), "xxx");
}

TEST(FaultRules, FirstStrikesTheFirstRequests) {
  EXPECT_EQ(strikes(source_of({"delay=first:2"}), Fault::delay, 5), "xx...");
}

TEST(FaultRules, ProbabilityZeroNeverStrikesAndOneAlways) {
  EXPECT_EQ(strikes(source_of({"id=prob:0"}), Fault::id, 50), std::string(50, '.'));
  EXPECT_EQ(strikes(source_of({"id=prob:1"}), Fault::id, 50), std::string(50, 'x'));
}

TEST(FaultRules, ProbabilityIsMetOnAverage) {
  const std::string many = strikes(source_of({"id=prob:0.25"}), Fault::id, 10000);
  const auto hits = std::count(many.begin(), many.end(), 'x');
  EXPECT_GT(hits, 2300);
  EXPECT_LT(hits, 2700);
}

TEST(FaultRules, ASeedAlwaysGivesTheSameSequence) {
  const std::vector<std::string> rules{"id=prob:0.5"};
  const std::string once = strikes(source_of(rules, 7), Fault::id, 200);
  EXPECT_EQ(strikes(source_of(rules, 7), Fault::id, 200), once);
  EXPECT_NE(strikes(source_of(rules, 8), Fault::id, 200), once);
}

TEST(FaultRules, CountingRulesLeaveTheProbabilitiesAlone) {
  EXPECT_EQ(strikes(source_of({"loss=every:2", "id=prob:0.5"}), Fault::id, 100),
            strikes(source_of({"id=prob:0.5"}), Fault::id, 100));
}

TEST(FaultRules, RulesOfOneKindAddUp) {
  EXPECT_EQ(strikes(source_of({"loss=first:1", "loss=every:3"}), Fault::loss, 6), "x.x..x");
}

TEST(FaultRules, AFaultSetNamesItsFaults) {
  const std::vector<std::string> every_kind{"flood", "replay", "corrupt", "truncate",
                                            "id",    "digest", "reorder", "duplicate",
                                            "loss",  "delay",  "error",   "interim"};
  std::vector<std::string> rules;
  for (const std::string& kind : every_kind) {
    rules.push_back(kind + "=every:1");
  }
  EXPECT_EQ(source_of(rules).next().names(),
            "interim,error,delay,loss,duplicate,reorder,digest,id,truncate,corrupt,replay,flood");
  EXPECT_EQ(source_of({}).next().names(), "");
}

class BadRule : public testing::TestWithParam<const char*> {};

TEST_P(BadRule, IsRefused) {
  EXPECT_THROW(parse_fault_rule(GetParam()), InputError);
}

INSTANTIATE_TEST_SUITE_P(Texts, BadRule,
                         testing::Values("", "loss", "loss=", "loss=every", "loss:every=1", "loss=every:0",
                                         "loss=every:-1", "loss=every:1x", "loss=every: 1",
                                         "loss=first:", "loss=last:1", "lost=every:1", "=every:1",
                                         "loss=prob:1.01", "loss=prob:-0.1", "loss=prob:nan", "loss=prob:x",
                                         "loss=every:99999999999999999999"));

}  // namespace
}  // namespace tavsim
