#include "tavsim/fault_injector.h"

#include <gtest/gtest.h>

#include "support/oracle.h"
#include "support/wire_packet.h"

namespace tavsim {
namespace {

using std::chrono::milliseconds;

constexpr const char* passphrase = "secret";
constexpr std::uint32_t id = 7;

Bytes plain_reply() {
  Bytes reply = tavtest::make_packet(0x81, id);
  tavtest::put_be32(reply, 28, 0x01020304);
  return reply;
}

Bytes sealed(const Bytes& packet) {
  return tavtest::seal_reply(packet, passphrase);
}

Deliveries deliver(std::initializer_list<Fault> kinds, const FaultSettings& settings = {},
                   Noise noise = Noise(1)) {
  FaultSet faults;
  for (const Fault kind : kinds) {
    faults.add(kind);
  }
  const Request request = decode_request(tavtest::make_packet(1, id));
  return inject(request, plain_reply(), faults, settings, Crypto(passphrase), noise);
}

TEST(FaultInjector, WithoutFaultsTheSealedReplyGoesOutAtOnce) {
  const Deliveries deliveries = deliver({});
  EXPECT_TRUE(deliveries.ahead.empty());
  ASSERT_EQ(deliveries.final.size(), 1U);
  EXPECT_EQ(deliveries.final[0].after, milliseconds(0));
  EXPECT_EQ(deliveries.final[0].datagram, sealed(plain_reply()));
}

TEST(FaultInjector, InterimRepliesComeFirstWithTheirGaps) {
  FaultSettings settings;
  settings.interim_count = 2;
  settings.interim_gap = milliseconds(30);
  const Deliveries deliveries = deliver({Fault::interim}, settings);
  ASSERT_EQ(deliveries.ahead.size(), 2U);
  EXPECT_EQ(deliveries.ahead[0].datagram, sealed(tavtest::make_packet(0x21, id)));
  EXPECT_EQ(deliveries.ahead[0].after, milliseconds(0));
  EXPECT_EQ(deliveries.ahead[1].after, milliseconds(30));
  ASSERT_EQ(deliveries.final.size(), 1U);
  EXPECT_EQ(deliveries.final[0].after, milliseconds(60));
}

TEST(FaultInjector, AnErrorReplyTakesTheReplysPlace) {
  const Deliveries deliveries = deliver({Fault::error});
  ASSERT_EQ(deliveries.final.size(), 1U);
  EXPECT_EQ(deliveries.final[0].datagram, sealed(tavtest::make_packet(0xc1, id)));
}

TEST(FaultInjector, TheReplyCanFollowItsErrorReply) {
  FaultSettings settings;
  settings.final_after_error = true;
  const Deliveries deliveries = deliver({Fault::error}, settings);
  ASSERT_EQ(deliveries.final.size(), 2U);
  EXPECT_EQ(deliveries.final[0].datagram, sealed(tavtest::make_packet(0xc1, id)));
  EXPECT_EQ(deliveries.final[1].datagram, sealed(plain_reply()));
}

TEST(FaultInjector, ARequestIsRefusedOnlyWhenNoReplyFollows) {
  FaultSet faults;
  EXPECT_FALSE(is_refused(faults, {}));
  faults.add(Fault::error);
  EXPECT_TRUE(is_refused(faults, {}));
  FaultSettings settings;
  settings.final_after_error = true;
  EXPECT_FALSE(is_refused(faults, settings));
}

TEST(FaultInjector, DelayPostponesTheReply) {
  FaultSettings settings;
  settings.delay = milliseconds(250);
  const Deliveries deliveries = deliver({Fault::delay}, settings);
  ASSERT_EQ(deliveries.final.size(), 1U);
  EXPECT_EQ(deliveries.final[0].after, milliseconds(250));
}

TEST(FaultInjector, LossLeavesOnlyInterimReplies) {
  const Deliveries deliveries = deliver({Fault::loss, Fault::interim, Fault::duplicate});
  EXPECT_EQ(deliveries.ahead.size(), 1U);
  EXPECT_TRUE(deliveries.final.empty());
}

TEST(FaultInjector, DuplicateSendsTheSameBytesTwice) {
  const Deliveries deliveries = deliver({Fault::duplicate});
  ASSERT_EQ(deliveries.final.size(), 2U);
  EXPECT_EQ(deliveries.final[0].datagram, sealed(plain_reply()));
  EXPECT_EQ(deliveries.final[1].datagram, sealed(plain_reply()));
}

TEST(FaultInjector, DigestSpoilsNothingButTheDigest) {
  Bytes reply = deliver({Fault::digest}).final.at(0).datagram;
  EXPECT_FALSE(tavtest::digest_is_right(reply, passphrase));
  EXPECT_EQ(sealed(reply), sealed(plain_reply()));
}

TEST(FaultInjector, AWrongIdHasARightDigest) {
  const Bytes reply = deliver({Fault::id}).final.at(0).datagram;
  Bytes expected = plain_reply();
  expected[8] = 0x80;
  EXPECT_EQ(reply, sealed(expected));
}

TEST(FaultInjector, TruncateLeavesHalfOrAsManyBytesAsWanted) {
  const Bytes whole = sealed(plain_reply());
  EXPECT_EQ(deliver({Fault::truncate}).final.at(0).datagram, Bytes(whole.begin(), whole.begin() + 50));
  FaultSettings settings;
  for (const std::uint32_t size : {0U, 1U, 99U, 100U}) {
    settings.truncate_to = size;
    EXPECT_EQ(deliver({Fault::truncate}, settings).final.at(0).datagram,
              Bytes(whole.data(), whole.data() + size));
  }
  settings.truncate_to = 5000;
  EXPECT_EQ(deliver({Fault::truncate}, settings).final.at(0).datagram, whole);
}

TEST(FaultInjector, CorruptLeavesASealedReplyThatIsNoLongerRight) {
  const Bytes whole = sealed(plain_reply());
  const Bytes reply = deliver({Fault::corrupt}).final.at(0).datagram;
  EXPECT_EQ(reply.size(), whole.size());
  EXPECT_NE(reply, whole);
}

TEST(FaultInjector, AReplayedReplyGoesAhead) {
  Noise noise(1);
  noise.remember({1, 2, 3});
  const Deliveries deliveries = deliver({Fault::replay}, {}, noise);
  ASSERT_EQ(deliveries.ahead.size(), 1U);
  EXPECT_EQ(deliveries.ahead[0].datagram, (Bytes{1, 2, 3}));
  ASSERT_EQ(deliveries.final.size(), 1U);
  EXPECT_EQ(deliveries.final[0].datagram, sealed(plain_reply()));
}

TEST(FaultInjector, NothingGoesAheadWhenThereIsNothingToReplay) {
  EXPECT_TRUE(deliver({Fault::replay}).ahead.empty());
}

TEST(FaultInjector, WhatWasSentCanBeReplayed) {
  Noise noise(1);
  const Request request = decode_request(tavtest::make_packet(1, id));
  inject(request, plain_reply(), {}, {}, Crypto(passphrase), noise);
  EXPECT_EQ(noise.earlier(), sealed(plain_reply()));
}

TEST(FaultInjector, ALostReplyCannotBeReplayed) {
  Noise noise(1);
  FaultSet lost;
  lost.add(Fault::loss);
  inject(decode_request(tavtest::make_packet(1, id)), plain_reply(), lost, {}, Crypto(passphrase), noise);
  EXPECT_FALSE(noise.earlier().has_value());
}

TEST(FaultInjector, AFloodGoesAheadEvenOfALostReply) {
  FaultSettings settings;
  settings.flood_count = 5;
  const Deliveries deliveries = deliver({Fault::flood, Fault::loss}, settings);
  ASSERT_EQ(deliveries.ahead.size(), 5U);
  EXPECT_EQ(deliveries.ahead[1].datagram[4], 0x83);
  EXPECT_EQ(deliveries.ahead[4].after, milliseconds(0));
  EXPECT_TRUE(deliveries.final.empty());
}

TEST(FaultInjector, InterimRepliesFollowAFloodAndAreSpared) {
  FaultSettings settings;
  settings.flood_count = 3;
  const Deliveries deliveries =
      deliver({Fault::flood, Fault::interim, Fault::corrupt, Fault::digest}, settings);
  ASSERT_EQ(deliveries.ahead.size(), 4U);
  EXPECT_EQ(deliveries.ahead[3].datagram, sealed(tavtest::make_packet(0x21, id)));
}

}  // namespace
}  // namespace tavsim
