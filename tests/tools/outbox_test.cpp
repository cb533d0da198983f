#include "tavsim/outbox.h"

#include <gtest/gtest.h>

namespace tavsim {
namespace {

using std::chrono::milliseconds;

const Clock::time_point start{};

Outgoing outgoing(std::uint64_t request, int after_ms) {
  return {start + milliseconds(after_ms), {}, request, {}};
}

// The request numbers of all that is due, in the order of sending.
std::vector<std::uint64_t> take_until(Outbox& outbox, int after_ms) {
  std::vector<std::uint64_t> taken;
  while (const auto next = outbox.take(start + milliseconds(after_ms))) {
    taken.push_back(next->request);
  }
  return taken;
}

using Numbers = std::vector<std::uint64_t>;

TEST(Outbox, SendsInTheOrderOfTime) {
  Outbox outbox;
  outbox.put(outgoing(1, 30));
  outbox.put(outgoing(2, 10));
  outbox.put(outgoing(3, 20));
  EXPECT_EQ(take_until(outbox, 9), Numbers{});
  EXPECT_EQ(take_until(outbox, 20), (Numbers{2, 3}));
  EXPECT_EQ(take_until(outbox, 30), Numbers{1});
}

TEST(Outbox, KeepsTheOrderOfArrivalForTheSameTime) {
  Outbox outbox;
  outbox.put_reply({outgoing(1, 5), outgoing(1, 5)});
  outbox.put_reply({outgoing(2, 5)});
  EXPECT_EQ(take_until(outbox, 5), (Numbers{1, 1, 2}));
}

TEST(Outbox, TellsWhenTheNextOneIsDue) {
  Outbox outbox;
  EXPECT_FALSE(outbox.next_due().has_value());
  outbox.put(outgoing(1, 30));
  outbox.put(outgoing(2, 10));
  EXPECT_EQ(outbox.next_due(), start + milliseconds(10));
}

TEST(Outbox, AHeldReplyFollowsTheNextReplyWhole) {
  Outbox outbox;
  outbox.hold({outgoing(1, 0), outgoing(1, 0)});
  EXPECT_TRUE(outbox.is_holding());
  EXPECT_FALSE(outbox.next_due().has_value());
  outbox.put_reply({outgoing(2, 10)});
  EXPECT_FALSE(outbox.is_holding());
  EXPECT_EQ(take_until(outbox, 9), Numbers{});
  EXPECT_EQ(take_until(outbox, 10), (Numbers{2, 1, 1}));
}

TEST(Outbox, AHeldReplyKeepsALaterTimeOfItsOwn) {
  Outbox outbox;
  outbox.hold({outgoing(1, 50)});
  outbox.put_reply({outgoing(2, 10)});
  EXPECT_EQ(take_until(outbox, 49), Numbers{2});
  EXPECT_EQ(take_until(outbox, 50), Numbers{1});
}

TEST(Outbox, NeitherInterimNorLostRepliesLetAHeldOneGo) {
  Outbox outbox;
  outbox.hold({outgoing(1, 0)});
  outbox.put(outgoing(2, 0));
  outbox.put_reply({});
  EXPECT_TRUE(outbox.is_holding());
  EXPECT_EQ(take_until(outbox, 100), Numbers{2});
}

TEST(Outbox, ReleaseLetsAHeldReplyGo) {
  Outbox outbox;
  outbox.hold({outgoing(1, 0)});
  outbox.release(start + milliseconds(20));
  EXPECT_EQ(take_until(outbox, 19), Numbers{});
  EXPECT_EQ(take_until(outbox, 20), Numbers{1});
}

}  // namespace
}  // namespace tavsim
