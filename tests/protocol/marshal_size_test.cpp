#include <gtest/gtest.h>
#include <tavlib/platform/error_state.h>

#include <cstdint>
#include <string>
#include <utility>

#include "protocol/entry_widths.h"
#include "protocol/packet_image.h"

// How big an entry is said to be, and what does not fit.

namespace {

using tavtest::CallerEntry;
using tavtest::holds;
using tavtest::PacketImage;

constexpr unsigned kTooBig = 79;

template <class TypeParam>
class MarshalSize : public ::testing::Test {
 protected:
  CallerEntry<TypeParam> caller;

  unsigned measured(unsigned count = 1) { return measured(&caller.entry, count); }

  static unsigned measured(const typename TypeParam::Entry* entries, unsigned count) {
    unsigned size = 12345;
    EXPECT_EQ(TypeParam::marshal(entries, nullptr, &size, count), 1);
    return size;
  }

  void expect_fits(unsigned room, std::uint32_t length) {
    for (unsigned code : {2U, 3U}) {
      const auto packet = PacketImage(0xEE).byte(4, code).packet();
      unsigned size = room;
      EXPECT_EQ(TypeParam::marshal(&caller.entry, packet.get(), &size, 1), 1);
      const PacketImage expected = PacketImage().be32(0, length);
      for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(packet->length[i], expected.bytes()[i]);
    }
  }

  void expect_too_big(unsigned room) {
    for (unsigned code : {2U, 3U}) {
      const PacketImage before = PacketImage(0xEE).byte(4, code);
      const auto packet = before.packet();
      unsigned size = room;
      SetOsError(0);
      EXPECT_EQ(TypeParam::marshal(&caller.entry, packet.get(), &size, 1), 0) << "room " << room;
      EXPECT_EQ(GetOsError(), kTooBig);
      EXPECT_EQ(size, room);
      EXPECT_TRUE(holds(*packet, before)) << "room " << room;
    }
  }
};

TYPED_TEST_SUITE(MarshalSize, tavtest::Widths);

TYPED_TEST(MarshalSize, EmptyEntryIsAHundred) {
  EXPECT_EQ(this->measured(), 100U);
}

TYPED_TEST(MarshalSize, CharactersCountFourAndBlockBytesOne) {
  this->caller.user("abc");
  EXPECT_EQ(this->measured(), 112U);
  this->caller.string2("de");
  EXPECT_EQ(this->measured(), 120U);
  this->caller.string3("f");
  EXPECT_EQ(this->measured(), 124U);
  this->caller.data("12345");
  EXPECT_EQ(this->measured(), 129U);
}

TYPED_TEST(MarshalSize, CachedLengthsAreTakenForTheTexts) {
  this->caller.user("abc").string2("de").string3("f");
  this->caller.entry.userLength = 10;
  EXPECT_EQ(this->measured(), 100U + 4 * (10 + 2 + 1));
  this->caller.entry.string2Length = 20;
  EXPECT_EQ(this->measured(), 100U + 4 * (10 + 20 + 1));
  this->caller.entry.string3Length = 30;
  EXPECT_EQ(this->measured(), 100U + 4 * (10 + 20 + 30));
}

TYPED_TEST(MarshalSize, CachedLengthOfANullTextCountsToo) {
  this->caller.entry.string2Length = 3;
  EXPECT_EQ(this->measured(), 112U);
  this->expect_fits(112, 112);
}

TYPED_TEST(MarshalSize, EveryEntryCounts) {
  this->caller.user("abc");
  CallerEntry<TypeParam> second;
  second.string3("1234").data("xy");
  const typename TypeParam::Entry entries[] = {this->caller.entry, second.entry, this->caller.entry};
  EXPECT_EQ(this->measured(entries, 2), 100U + 72 + 12 + 16 + 2);
  EXPECT_EQ(this->measured(entries, 3), 100U + 144 + 12 + 16 + 2 + 12);
}

TYPED_TEST(MarshalSize, NoEntriesAre28Bytes) {
  EXPECT_EQ(this->measured(nullptr, 0), 28U);
}

TYPED_TEST(MarshalSize, NoEntriesNeedRoomForTheirCount) {
  const auto packet = PacketImage(0xEE).byte(4, 2).packet();
  for (const auto& [room, result] : {std::pair{28U, 0}, {31U, 0}, {32U, 1}}) {
    unsigned size = room;
    SetOsError(0);
    EXPECT_EQ(TypeParam::marshal(nullptr, packet.get(), &size, 0), result) << "room " << room;
    EXPECT_EQ(GetOsError(), result == 0 ? kTooBig : 0U);
    EXPECT_EQ(packet->arguments[0], result == 0 ? 0xEE : 0x00) << "room " << room;
  }
}

// The length word counts no entry there, the room has to hold the one that is written.
TYPED_TEST(MarshalSize, EntryQueryOfNoEntriesNeedsRoomForTheOneItWrites) {
  this->caller.user("abc");
  EXPECT_EQ(this->measured(0), 28U);
  const PacketImage before = PacketImage(0xEE).byte(4, 3);
  for (const auto& [room, result] : {std::pair{28U, 0}, {107U, 0}, {108U, 1}}) {
    const auto packet = before.packet();
    unsigned size = room;
    SetOsError(0);
    EXPECT_EQ(TypeParam::marshal(&this->caller.entry, packet.get(), &size, 0), result) << "room " << room;
    EXPECT_EQ(GetOsError(), result == 0 ? kTooBig : 0U);
    EXPECT_EQ(holds(*packet, before), result == 0) << "room " << room;
  }
}

TYPED_TEST(MarshalSize, MeasuresFarMoreThanAPacketHolds) {
  this->caller.data(std::string(70000, 'x'));
  EXPECT_EQ(this->measured(), 70100U);
  this->caller.user(std::string(20000, 'u'));
  EXPECT_EQ(this->measured(), 150100U);
}

TYPED_TEST(MarshalSize, BlockAbove65535NeverFitsAPacket) {
  this->caller.data(std::string(65636, 'x'));
  this->expect_too_big(4096);
  this->expect_too_big(0xFFFFFFFF);
}

TYPED_TEST(MarshalSize, ExactRoomIsEnoughAndOneByteLessIsNot) {
  this->caller.user("abc").data("12345");
  this->expect_fits(117, 117);
  this->expect_too_big(116);
  this->expect_too_big(100);
  this->expect_too_big(0);
}

TYPED_TEST(MarshalSize, FullPacketOfText) {
  this->caller.user(std::string(999, 'u'));
  this->expect_fits(4096, 4096);
  this->expect_fits(0xFFFFFFFF, 4096);
  this->expect_too_big(4095);
}

TYPED_TEST(MarshalSize, FullPacketOfBytes) {
  this->caller.data(std::string(3996, 'd'));
  this->expect_fits(4096, 4096);
  const auto packet = PacketImage(0xEE).byte(4, 2).packet();
  unsigned size = 4096;
  ASSERT_EQ(TypeParam::marshal(&this->caller.entry, packet.get(), &size, 1), 1);
  EXPECT_EQ(packet->data[3995], 'd');
  EXPECT_EQ(packet->data[3996], 0xEE);
}

TYPED_TEST(MarshalSize, OneByteMoreThanAPacketFailsHoweverMuchRoomThereIs) {
  this->caller.user(std::string(999, 'u')).data("d");
  this->expect_too_big(4097);
  this->expect_too_big(0xFFFFFFFF);
}

TYPED_TEST(MarshalSize, CachedLengthAboveTheTextOnlyMakesThePacketLonger) {
  this->caller.user("ab").string2("c");
  this->caller.entry.userLength = 5;
  const auto packet = PacketImage(0xEE).byte(4, 2).packet();
  unsigned size = 124;
  ASSERT_EQ(TypeParam::marshal(&this->caller.entry, packet.get(), &size, 1), 1);
  PacketImage expected(0xEE);
  expected.be32(0, 124).byte(4, 2).be32(28, 1).zeros(32, 4).be16(36, 0).be16(38, 2).be16(40, 8).be16(42, 1);
  expected.be16(46, 0).be16(50, 0).zeros(52, 36).text(96, "ab").text(104, "c");
  EXPECT_TRUE(holds(*packet, expected));
  this->expect_too_big(123);
}

TYPED_TEST(MarshalSize, CachedLengthBelowTheTextStillWritesItWhole) {
  this->caller.user("abcdef");
  this->caller.entry.userLength = 1;
  const auto packet = PacketImage(0xEE).byte(4, 2).packet();
  unsigned size = 4096;
  ASSERT_EQ(TypeParam::marshal(&this->caller.entry, packet.get(), &size, 1), 1);
  PacketImage expected(0xEE);
  expected.be32(0, 104).byte(4, 2).be32(28, 1).zeros(32, 4).be16(36, 0).be16(38, 6).be16(42, 0).be16(46, 0);
  expected.be16(50, 0).zeros(52, 36).text(96, "abcdef");
  EXPECT_TRUE(holds(*packet, expected));
}

TYPED_TEST(MarshalSize, StaleCachedLengthNeverLetsATextPassTheRoom) {
  this->caller.user("abcdefgh");
  this->caller.entry.userLength = 1;
  this->expect_fits(128, 104);
  this->expect_too_big(127);
  this->expect_too_big(104);
}

TYPED_TEST(MarshalSize, StaleCachedLengthNeverLetsATextPassThePacket) {
  this->caller.user(std::string(1000, 'u'));
  this->caller.entry.userLength = 1;
  this->expect_fits(4096, 104);
  for (std::size_t length : {1001U, 1100U, 5000U, 70000U}) {
    this->caller.user(std::string(length, 'u'));
    this->caller.entry.userLength = 1;
    this->expect_too_big(4096);
    this->expect_too_big(0xFFFFFFFF);
  }
}

TYPED_TEST(MarshalSize, StaleCachedLengthsNeverPushTheBlockOutOfThePacket) {
  this->caller.user(std::string(600, 'u')).string3(std::string(300, 's')).data(std::string(500, 'd'));
  this->caller.entry.userLength = this->caller.entry.string3Length = 1;
  this->expect_too_big(4096);
}

TYPED_TEST(MarshalSize, StaleCachedLengthOfTheFirstOfSeveralIsCaught) {
  this->caller.user(std::string(1100, 'u'));
  this->caller.entry.userLength = 1;
  const typename TypeParam::Entry entries[] = {this->caller.entry, {}};
  const PacketImage before = PacketImage(0xEE).byte(4, 2);
  const auto packet = before.packet();
  unsigned size = 4096;
  SetOsError(0);
  EXPECT_EQ(TypeParam::marshal(entries, packet.get(), &size, 2), 0);
  EXPECT_EQ(GetOsError(), kTooBig);
  EXPECT_TRUE(holds(*packet, before));
}

TYPED_TEST(MarshalSize, SizesBeyond32BitsDoNotWrapAround) {
  this->caller.user("a").string2("b").string3("c");
  auto& entry = this->caller.entry;
  entry.userLength = 0x40000000;  // four times that is 2^32
  this->expect_too_big(4096);
  this->expect_too_big(0xFFFFFFFF);
  entry.string2Length = entry.string3Length = 0x40000000;
  this->expect_too_big(0xFFFFFFFF);
  entry.userLength = entry.string2Length = entry.string3Length = 0xFFFFFFFF;
  this->expect_too_big(0xFFFFFFFF);
}

TYPED_TEST(MarshalSize, SizesBeyond32BitsMeasureAsTheLargestNumber) {
  this->caller.user("a").entry.userLength = 0x40000000;
  EXPECT_EQ(this->measured(), 0xFFFFFFFFU);
}

TYPED_TEST(MarshalSize, BlockLengthDoesNotWrapAround) {
  this->caller.data("x");
  this->caller.entry.dataLength = 0xFFFFFFFF;
  this->expect_too_big(4096);
  this->expect_too_big(0xFFFFFFFF);
  this->caller.user("abc");
  this->caller.entry.dataLength = 0xFFFFFFFF - 100;
  this->expect_too_big(0xFFFFFFFF);
}

}  // namespace
