// Each kind of fault by itself, against each way to look users up.
#include <gtest/gtest.h>

#include <ostream>

#include "faults/network/hostile_network.h"
#include "faults/network/prediction.h"

namespace tavtest {
namespace {

constexpr int lookups = 120;  // of each kind

using std::chrono::milliseconds;

struct Strike {
  const char* name;
  Faults faults;
  Verdict struck;  ///< How a look-up ends that the fault strikes; `right` when it does no harm.
  long strikes;    ///< Look-ups that it strikes so.

  friend std::ostream& operator<<(std::ostream& out, const Strike& each) { return out << each.name; }
};

tavsim::FaultSettings truncated_to(std::uint32_t size) {
  tavsim::FaultSettings settings;
  settings.truncate_to = size;
  return settings;
}

tavsim::FaultSettings delayed_by(milliseconds delay) {
  tavsim::FaultSettings settings;
  settings.delay = delay;
  return settings;
}

tavsim::FaultSettings interims(std::uint32_t count, milliseconds gap) {
  tavsim::FaultSettings settings;
  settings.interim_count = count;
  settings.interim_gap = gap;
  return settings;
}

tavsim::FaultSettings answered_after_errors() {
  tavsim::FaultSettings settings;
  settings.final_after_error = true;
  return settings;
}

const std::vector<Strike> strikes{
    {"None", {}, Verdict::right, 0},
    {"Loss", {{"loss=every:3"}}, Verdict::lost, lookups / 3},
    {"FirstLost", {{"loss=first:40"}}, Verdict::lost, 40},
    {"Delay", {{"delay=every:2"}, delayed_by(milliseconds(20000))}, Verdict::right, 0},
    {"Duplicate", {{"duplicate=every:1"}}, Verdict::right, 0},
    {"Digest", {{"digest=every:4"}}, Verdict::bad_digest, lookups / 4},
    {"BothDigests", {{"digest=every:4", "duplicate=every:2"}}, Verdict::bad_digest, lookups / 4},
    {"WrongId", {{"id=every:5"}}, Verdict::lost, lookups / 5},
    {"CutInHalf", {{"truncate=every:3"}}, Verdict::lost, lookups / 3},
    {"CutToNothing", {{"truncate=every:3"}, truncated_to(0)}, Verdict::lost, lookups / 3},
    {"CutInItsId", {{"truncate=every:3"}, truncated_to(11)}, Verdict::lost, lookups / 3},
    {"CutToItsHeader", {{"truncate=every:3"}, truncated_to(12)}, Verdict::lost, lookups / 3},
    {"CutBeforeItsEnd", {{"truncate=every:3"}, truncated_to(99)}, Verdict::lost, lookups / 3},
    {"Error", {{"error=every:4"}}, Verdict::error_reply, lookups / 4},
    {"ErrorThenAnswer", {{"error=every:4"}, answered_after_errors()}, Verdict::error_reply, lookups / 4},
    {"Interim", {{"interim=every:2"}, interims(30, milliseconds(0))}, Verdict::right, 0},
    {"SlowInterim", {{"interim=every:5"}, interims(4, milliseconds(299000))}, Verdict::right, 0},
    {"InterimOnly",
     {{"interim=every:3", "loss=every:3"}, interims(9, milliseconds(10))},
     Verdict::lost,
     lookups / 3},
    {"Replay", {{"replay=every:1"}}, Verdict::right, 0}};

struct Way {
  const char* name;
  Kind kind;
  bool waits;
};

const std::vector<Way> ways{{"LookUpBlocking", Kind::sso, true},  {"QueryBlockingA", Kind::narrow, true},
                            {"QueryBlockingW", Kind::wide, true}, {"LookUpInLoop", Kind::sso, false},
                            {"PoppedA", Kind::narrow, false},     {"PoppedW", Kind::wide, false}};

// Makes the look-ups, and expects each to end as the faults that strike it tell.
std::vector<Verdict> run_as_predicted(const Faults& faults, const Way& way) {
  HostileNetwork network(faults);
  const std::vector<Step> steps = steps_of(way.kind, way.waits, lookups);
  Prediction prediction(faults);
  for (const Step& step : steps) {
    const bool nobody = network.users().at(step.index) == User{};
    prediction.add(nobody ? Verdict::nobody : Verdict::right, way.waits);
  }
  const std::vector<Verdict> ends = network.run(steps);
  EXPECT_EQ(ends, prediction.ends());
  return ends;
}

class FaultKind : public testing::TestWithParam<Strike> {};

TEST_P(FaultKind, EndsEachLookupWithTheRightAnswerOrItsCode) {
  const Strike& strike = GetParam();
  for (const Way& way : ways) {
    SCOPED_TRACE(way.name);
    const std::vector<Verdict> ends = run_as_predicted(strike.faults, way);
    if (strike.struck != Verdict::right) {
      EXPECT_EQ(count_of(ends, strike.struck), strike.strikes);
    }
    EXPECT_EQ(count_of(ends, Verdict::right) + count_of(ends, Verdict::nobody), lookups - strike.strikes);
  }
}

INSTANTIATE_TEST_SUITE_P(All, FaultKind, testing::ValuesIn(strikes), testing::PrintToStringParamName());

// A reply that is held back until the next one went out comes too late for whoever waits for it, since nobody
// asks meanwhile; and in time for everybody else.
TEST(Reorder, BringsEachReplyToItsOwnLookup) {
  for (const Way& way : ways) {
    SCOPED_TRACE(way.name);
    const std::vector<Verdict> ends = run_as_predicted({{"reorder=every:3"}}, way);
    EXPECT_EQ(count_of(ends, Verdict::lost), way.waits ? lookups / 3 : 1);
  }
}

// What a flipped bit or a forger can do, who does not know the pass phrase: make a look-up fail or get lost.
// Never make it tell another user.
struct Chance {
  const char* name;
  Faults faults;
  long least_right;
  long most_right;  ///< A flipped bit never goes unnoticed.

  friend std::ostream& operator<<(std::ostream& out, const Chance& each) { return out << each.name; }
};

tavsim::FaultSettings flood_of(std::uint32_t count) {
  tavsim::FaultSettings settings;
  settings.flood_count = count;
  return settings;
}

const std::vector<Chance> chances{
    {"EveryOtherReplyCorrupt", {{"corrupt=every:2"}}, lookups / 3, lookups / 2},
    {"EveryReplyCorrupt", {{"corrupt=every:1"}}, 0, 0},
    {"CorruptTwins", {{"corrupt=every:3", "duplicate=every:1"}}, lookups / 3, lookups * 2 / 3},
    {"Flood", {{"flood=every:4"}, flood_of(64)}, lookups / 3, lookups}};

class ChanceFault : public testing::TestWithParam<Chance> {};

TEST_P(ChanceFault, NeverTellsAnotherUser) {
  for (const Way& way : ways) {
    SCOPED_TRACE(way.name);
    HostileNetwork network(GetParam().faults);
    const std::vector<Verdict> ends = network.run(steps_of(way.kind, way.waits, lookups));
    EXPECT_EQ(count_of(ends, Verdict::wrong), 0);
    const long right = count_of(ends, Verdict::right) + count_of(ends, Verdict::nobody);
    EXPECT_GE(right, GetParam().least_right);
    EXPECT_LE(right, GetParam().most_right);
  }
}

INSTANTIATE_TEST_SUITE_P(All, ChanceFault, testing::ValuesIn(chances), testing::PrintToStringParamName());

}  // namespace
}  // namespace tavtest
