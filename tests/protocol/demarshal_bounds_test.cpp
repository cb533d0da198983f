#include <gtest/gtest.h>
#include <tavlib/platform/error_state.h>

#include <array>
#include <cstdint>
#include <string>
#include <utility>

#include "protocol/entry_widths.h"
#include "protocol/packet_image.h"
#include "support/spoiled_errno.h"

// Packets as a hostile or broken server would send them. Each lies in a heap block of exactly 4096 bytes.

namespace {

using tavtest::codes;
using tavtest::OwnedEntry;
using tavtest::owns_nothing;
using tavtest::PacketImage;

constexpr unsigned kOutOfBounds = 12;

PacketImage reply(std::uint32_t length) {
  return PacketImage().be32(0, length).byte(4, 0x83).be32(28, 1);
}

template <class TypeParam>
class DemarshalBounds : public ::testing::Test {
 protected:
  OwnedEntry<TypeParam> entry;

  int read(const PacketImage& image, unsigned index = 0) {
    return TypeParam::demarshal(entry.target(), image.packet().get(), index);
  }

  void expect_refused(const PacketImage& image, unsigned index = 0) {
    OwnedEntry<TypeParam> result;
    SetOsError(0);
    EXPECT_EQ(TypeParam::demarshal(result.target(), image.packet().get(), index), 0);
    EXPECT_EQ(GetOsError(), kOutOfBounds);
    EXPECT_TRUE(owns_nothing(result.entry));
  }
};

TYPED_TEST_SUITE(DemarshalBounds, tavtest::Widths);

// Offset and count of each text in a descriptor that starts at 32.
constexpr std::size_t kTexts[] = {36, 40, 44};

TYPED_TEST(DemarshalBounds, TextMayEndExactlyAtTheLength) {
  for (std::size_t at : kTexts)
    EXPECT_EQ(this->read(reply(200).be16(at, 180).be16(at + 2, 5)), 1) << at;
}

TYPED_TEST(DemarshalBounds, TextOneByteFurtherIsRefused) {
  for (std::size_t at : kTexts) {
    this->expect_refused(reply(200).be16(at, 181).be16(at + 2, 5));
    this->expect_refused(reply(199).be16(at, 180).be16(at + 2, 5));
  }
}

TYPED_TEST(DemarshalBounds, ReservationCountsAndNotTheBytesThatAreUsed) {
  this->expect_refused(reply(100).be16(38, 26));
  EXPECT_EQ(this->read(reply(100).be16(38, 25)), 1);
}

TYPED_TEST(DemarshalBounds, TextMayLieUpTo96BytesBehindTheLength) {
  ASSERT_EQ(this->read(reply(100).be16(36, 96).be16(38, 1).text(192, "x")), 1);
  EXPECT_EQ(codes(this->entry->user), U"X");
}

TYPED_TEST(DemarshalBounds, OffsetOfAnAbsentTextIsNotJudged) {
  EXPECT_EQ(this->read(reply(100).be16(36, 0xFFFF).be16(40, 0xFFFF).be16(44, 0xFFFF).be16(48, 0xFFFF)), 1);
  EXPECT_TRUE(owns_nothing(this->entry.entry));
}

TYPED_TEST(DemarshalBounds, LargestOffsetAndCountAreRefused) {
  for (std::size_t at : kTexts)
    this->expect_refused(reply(4096).be16(at, 0xFFFF).be16(at + 2, 0xFFFF));
  this->expect_refused(reply(4096).be16(48, 0xFFFF).be16(50, 0xFFFF));
}

TYPED_TEST(DemarshalBounds, BlockMayEndExactlyAtTheLength) {
  ASSERT_EQ(this->read(reply(200).be16(48, 190).be16(50, 10).byte(96 + 199, 0xAB)), 1);
  ASSERT_EQ(this->entry->dataLength, 10U);
  EXPECT_EQ(this->entry->data[9], 0xAB);
}

TYPED_TEST(DemarshalBounds, BlockOneByteFurtherIsRefused) {
  this->expect_refused(reply(200).be16(48, 191).be16(50, 10));
  this->expect_refused(reply(200).be16(48, 0).be16(50, 201));
}

TYPED_TEST(DemarshalBounds, RefusedBlockReleasesTheTextsReadBefore) {
  PacketImage image = reply(200).be16(38, 2).be16(40, 8).be16(42, 2).be16(44, 16).be16(46, 2);
  this->expect_refused(image.be16(48, 200).be16(50, 1));
}

TYPED_TEST(DemarshalBounds, RefusedTextReleasesTheTextsReadBefore) {
  this->expect_refused(reply(200).be16(38, 2).be16(40, 8).be16(42, 2).be16(44, 200).be16(46, 1));
}

/// The cached lengths of the three texts and the block's length.
using Lengths = std::array<std::uint32_t, 4>;

template <class Entry>
Lengths lengths_of(const Entry& entry) {
  return {entry.userLength, entry.string2Length, entry.string3Length, entry.dataLength};
}

/// Three texts of 2, 3 and 4 characters and a block of 5 bytes; any part may be moved behind the length word.
PacketImage full_reply() {
  PacketImage image = reply(200);
  return image.be16(38, 2).be16(40, 8).be16(42, 3).be16(44, 20).be16(46, 4).be16(48, 36).be16(50, 5);
}

// What the record claims to hold must never be a count that was refused: whoever measures the record would
// take it for the size of a text that is not there.
TYPED_TEST(DemarshalBounds, RefusedCountIsNotStored) {
  constexpr std::uint32_t old = 0xEEEEEEEE;
  const std::pair<PacketImage, Lengths> refusals[] = {
      {full_reply().be16(38, 1000), {old, old, old, old}},
      {full_reply().be16(42, 1000), {2, old, old, old}},
      {full_reply().be16(46, 1000), {2, 3, old, old}},
      {full_reply().be16(50, 1000), {2, 3, 4, old}},
  };
  for (const auto& [image, expected] : refusals) {
    ASSERT_EQ(this->read(image), 0);
    EXPECT_EQ(lengths_of(this->entry.entry), expected);
  }
  ASSERT_EQ(this->read(full_reply()), 1);
  EXPECT_EQ(lengths_of(this->entry.entry), (Lengths{2, 3, 4, 5}));
}

TYPED_TEST(DemarshalBounds, RefusedDescriptorStoresNothing) {
  auto& target = this->entry.target();
  target.tag = target.word14 = 77;
  ASSERT_EQ(TypeParam::demarshal(target, reply(4096).packet().get(), 72), 0);
  EXPECT_EQ(lengths_of(target), (Lengths{0xEEEEEEEE, 0xEEEEEEEE, 0xEEEEEEEE, 0xEEEEEEEE}));
  EXPECT_EQ(target.tag, 77U);
  EXPECT_EQ(target.word14, 77U);
}

TYPED_TEST(DemarshalBounds, RefusalIsToldEvenWhereAReleaseChangesErrno) {
  const auto packet = reply(200).be16(38, 2).be16(40, 200).be16(42, 1).packet();
  auto& target = this->entry.target();
  SetOsError(0);
  unsigned reason = 0;
  {
    const tavtest::SpoiledErrno spoiled;
    TypeParam::demarshal(target, packet.get(), 0);
    reason = GetOsError();
    EXPECT_GE(spoiled.count(), 1);  // the first text's memory
  }
  EXPECT_EQ(reason, kOutOfBounds);
}

TYPED_TEST(DemarshalBounds, LengthWordOfZeroRefusesEveryText) {
  this->expect_refused(reply(0).be16(38, 1));
  EXPECT_EQ(this->read(reply(0)), 1);
}

TYPED_TEST(DemarshalBounds, TextBehindThePacketReadsAsZeros) {
  ASSERT_EQ(this->read(reply(4096).be16(36, 4092).be16(38, 1)), 1);
  EXPECT_EQ(this->entry->userLength, 1U);
  EXPECT_EQ(codes(this->entry->user, 2), std::u32string(2, 0));
}

TYPED_TEST(DemarshalBounds, TextAcrossThePacketsEndKeepsWhatIsInside) {
  ASSERT_EQ(this->read(reply(4096).be16(36, 3996).be16(38, 25).text(4092, "yz")), 1);
  EXPECT_EQ(codes(this->entry->user, 26), U"YZ" + std::u32string(24, 0));
}

TYPED_TEST(DemarshalBounds, UnitAcrossThePacketsEndKeepsItsLowByte) {
  ASSERT_EQ(this->read(reply(4096).be16(36, 3999).be16(38, 1).byte(4095, 'w')), 1);
  EXPECT_EQ(codes(this->entry->user), U"W");
}

TYPED_TEST(DemarshalBounds, BlockAcrossThePacketsEndKeepsWhatIsInside) {
  ASSERT_EQ(this->read(reply(4096).be16(48, 3998).be16(50, 98).bytes(4094, {0xAA, 0xBB})), 1);
  ASSERT_EQ(this->entry->dataLength, 98U);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(this->entry->data), 98), "\xAA\xBB" + std::string(96, '\0'));
}

TYPED_TEST(DemarshalBounds, BlockBehindThePacketReadsAsZeros) {
  ASSERT_EQ(this->read(reply(4096).be16(48, 4036).be16(50, 60)), 1);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(this->entry->data), 60), std::string(60, '\0'));
}

TYPED_TEST(DemarshalBounds, LengthWordAboveAPacketGivesNoBytesThatAreNotThere) {
  PacketImage image = reply(0xFFFFFFFF);
  for (std::size_t at : kTexts)
    image.be16(at, 0xFFFF).be16(at + 2, 0xFFFF);
  image.be16(48, 0xFFFF).be16(50, 0xFFFF);
  ASSERT_EQ(this->read(image), 1);
  EXPECT_EQ(this->entry->string3Length, 0xFFFFU);
  EXPECT_EQ(this->entry->string3[0xFFFE], 0);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(this->entry->data), 0xFFFF), std::string(0xFFFF, '\0'));
}

TYPED_TEST(DemarshalBounds, DescriptorOutsideThePacketIsRefused) {
  EXPECT_EQ(this->read(reply(4096), 71), 1);
  this->expect_refused(reply(4096), 72);  // 4064 to 4119: half of it is inside
  this->expect_refused(reply(4096), 73);
  this->expect_refused(reply(0xFFFFFFFF), 100000);
  this->expect_refused(reply(0xFFFFFFFF), 0xFFFFFFFF);
}

TYPED_TEST(DemarshalBounds, IndexDoesNotWrapAroundToAnotherDescriptor) {
  this->expect_refused(reply(4096), 0x20000000);  // 56 times that is 7 * 2^32
  this->expect_refused(reply(4096), 0x20000001);
  this->expect_refused(reply(4096), 0x80000000);
}

}  // namespace
