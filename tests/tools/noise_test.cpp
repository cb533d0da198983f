#include "tavsim/noise.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <set>

#include "support/oracle.h"
#include "support/wire_packet.h"

namespace tavsim {
namespace {

using testing::SizeIs;

int different_bits(const Bytes& left, const Bytes& right) {
  int bits = 0;
  for (std::size_t i = 0; i < left.size(); ++i) {
    bits += std::popcount(static_cast<unsigned>(left[i] ^ right[i]));
  }
  return bits;
}

TEST(Noise, CorruptFlipsOneBitAndReachesEveryByte) {
  Noise noise(1);
  std::set<std::size_t> reached;
  for (int i = 0; i < 1000; ++i) {
    Bytes datagram(20, 0x5a);
    noise.corrupt(datagram);
    ASSERT_EQ(different_bits(datagram, Bytes(20, 0x5a)), 1);
    for (std::size_t at = 0; at < datagram.size(); ++at) {
      if (datagram[at] != 0x5a) reached.insert(at);
    }
  }
  EXPECT_THAT(reached, SizeIs(20));
}

TEST(Noise, CorruptLeavesAnEmptyDatagramAlone) {
  Bytes nothing;
  Noise(1).corrupt(nothing);
  EXPECT_TRUE(nothing.empty());
}

TEST(Noise, AFloodIsJunkAndForgedRepliesInTurn) {
  const std::vector<Bytes> flood = Noise(1).flood(7, 400);
  ASSERT_THAT(flood, SizeIs(400));
  std::set<std::uint32_t> guessed;
  for (std::size_t i = 0; i < flood.size(); i += 4) {
    EXPECT_LT(flood[i].size(), 200U);
    for (std::size_t kind = 1; kind < 4; ++kind) {
      const Bytes& reply = flood[i + kind];
      ASSERT_THAT(reply, SizeIs(100));
      EXPECT_EQ(tavtest::get_be32(reply, 0), 100U);
      EXPECT_EQ(reply[4], (std::array{0x83, 0xc3, 0x23})[kind - 1]);
      EXPECT_FALSE(tavtest::digest_is_right(reply, "secret"));
      guessed.insert(tavtest::get_be32(reply, 8));
    }
  }
  EXPECT_EQ(*guessed.begin(), 0U);
  EXPECT_EQ(*guessed.rbegin(), 14U);
  EXPECT_THAT(guessed, SizeIs(15));
}

TEST(Noise, AFloodOfNoneIsEmpty) {
  EXPECT_TRUE(Noise(1).flood(7, 0).empty());
}

TEST(Noise, TheHighestIdCanBeGuessedAround) {
  for (const std::uint32_t id : {0x80000000U, 0xffffffffU}) {
    std::set<std::uint32_t> guessed;
    for (const Bytes& each : Noise(1).flood(id, 400)) {
      if (each.size() == 100) guessed.insert(tavtest::get_be32(each, 8));
    }
    EXPECT_GE(guessed.size(), 290U) << id;
  }
}

TEST(Noise, ASeedAlwaysGivesTheSameBytes) {
  EXPECT_EQ(Noise(3).flood(100, 8), Noise(3).flood(100, 8));
  EXPECT_NE(Noise(3).flood(100, 8), Noise(4).flood(100, 8));
}

TEST(Noise, NothingIsReplayedAtFirst) {
  EXPECT_FALSE(Noise(1).earlier().has_value());
}

TEST(Noise, ReplaysAreTheLast64Replies) {
  Noise noise(1);
  for (std::uint8_t i = 0; i < 70; ++i)
    noise.remember({i});
  std::set<unsigned> seen;
  for (int i = 0; i < 2000; ++i)
    seen.insert(noise.earlier().value().at(0));
  EXPECT_EQ(*seen.begin(), 6U);
  EXPECT_EQ(*seen.rbegin(), 69U);
  EXPECT_THAT(seen, SizeIs(64));
}

}  // namespace
}  // namespace tavsim
