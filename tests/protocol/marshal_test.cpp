#include <gtest/gtest.h>
#include <tavlib/platform/error_state.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "protocol/entry_widths.h"
#include "protocol/packet_image.h"

// The bytes of marshalled entries. Every packet is filled with 0xEE beforehand and compared whole, so a byte
// that should have stayed counts as much as one that should have been written.

namespace {

using tavtest::CallerEntry;
using tavtest::holds;
using tavtest::Narrow;
using tavtest::PacketImage;
using tavtest::Wide;

constexpr unsigned char kFill = 0xEE;
constexpr unsigned kCounted = 2;
constexpr unsigned kSingle = 3;

/// What every entry without texts and block leaves at `at`: zero counts, zero words, offsets as they were.
void lay_empty_descriptor(PacketImage& image, std::size_t at) {
  image.be32(at, 0);
  for (std::size_t count : {6U, 10U, 14U, 18U})
    image.be16(at + count, 0);
  image.zeros(at + 20, 36);
}

/// The expected packet of one counted entry, its descriptor at 32 and empty so far.
PacketImage counted(std::uint32_t length) {
  PacketImage image(kFill);
  image.be32(0, length).byte(4, kCounted).be32(28, 1);
  lay_empty_descriptor(image, 32);
  return image;
}

template <class TypeParam>
class Marshal : public ::testing::Test {
 protected:
  CallerEntry<TypeParam> caller;

  /// Marshals the caller's entry and compares the whole packet.
  void expect(const PacketImage& expected, unsigned code = kCounted) {
    expect_array(&caller.entry, 1, code, expected);
  }

  static void expect_array(const typename TypeParam::Entry* entries, unsigned count, unsigned code,
                           const PacketImage& expected) {
    const auto packet = PacketImage(kFill).byte(4, code).packet();
    unsigned size = 4096;
    EXPECT_EQ(TypeParam::marshal(entries, packet.get(), &size, count), 1);
    EXPECT_EQ(size, 4096U) << "the room is the caller's";
    EXPECT_TRUE(holds(*packet, expected));
  }

  void set_scalars() {
    auto& entry = caller.entry;
    entry.tag = 0x01020304;
    entry.address = 0x0A141E28;
    entry.word7 = 0x70717273;
    entry.flag8 = 0x80818283;
    entry.word9 = 0x90919293;
    entry.word10 = 0xA0A1A2A3;
    entry.word11 = 0xB0B1B2B3;
    entry.word12 = 0xC0C1C2C3;
    entry.word13 = 0xD0D1D2D3;
    entry.word14 = 0xE0E1E2E3;
  }

  /// The words of set_scalars where they travel: word by word, `flag8` behind `word12`.
  static void lay_scalars(PacketImage& image, std::size_t at) {
    image.bytes(at, {0x01, 0x02, 0x03, 0x04});
    image.bytes(at + 20, {0x0A, 0x14, 0x1E, 0x28});
    image.bytes(at + 24, {0x70, 0x71, 0x72, 0x73});
    image.bytes(at + 28, {0x90, 0x91, 0x92, 0x93});
    image.bytes(at + 32, {0xA0, 0xA1, 0xA2, 0xA3});
    image.bytes(at + 36, {0xB0, 0xB1, 0xB2, 0xB3});
    image.bytes(at + 40, {0xC0, 0xC1, 0xC2, 0xC3});
    image.bytes(at + 44, {0x80, 0x81, 0x82, 0x83});
    image.bytes(at + 48, {0xD0, 0xD1, 0xD2, 0xD3});
    image.bytes(at + 52, {0xE0, 0xE1, 0xE2, 0xE3});
  }
};

TYPED_TEST_SUITE(Marshal, tavtest::Widths);

TYPED_TEST(Marshal, EmptyEntryIsAHundredBytes) {
  this->expect(counted(100));
}

TYPED_TEST(Marshal, EntryQueryHasItsDescriptorBehindThreeArguments) {
  PacketImage expected(kFill);
  expected.be32(0, 100).byte(4, kSingle);
  lay_empty_descriptor(expected, 40);
  this->expect(expected, kSingle);
}

TYPED_TEST(Marshal, OnlyACodeOfExactlyThreeIsAnEntryQuery) {
  for (unsigned code = 0; code < 256; ++code) {
    if (code != kSingle) this->expect(counted(100).byte(4, code), code);
  }
}

TYPED_TEST(Marshal, WordsOfACountedEntry) {
  this->set_scalars();
  PacketImage expected = counted(100);
  this->lay_scalars(expected, 32);
  this->expect(expected);
}

TYPED_TEST(Marshal, WordsOfAnEntryQuery) {
  this->set_scalars();
  PacketImage expected(kFill);
  expected.be32(0, 100).byte(4, kSingle);
  lay_empty_descriptor(expected, 40);
  this->lay_scalars(expected, 40);
  this->expect(expected, kSingle);
}

TYPED_TEST(Marshal, TextTakesTwoBytesAndReservesFourPerCharacter) {
  this->caller.user("ab").string2("x").string3("wxyz");
  PacketImage expected = counted(100 + 4 * 7);
  expected.be16(36, 0).be16(38, 2).be16(40, 8).be16(42, 1).be16(44, 12).be16(46, 4);
  expected.bytes(96, {'a', 0, 'b', 0});
  expected.bytes(104, {'x', 0});
  expected.bytes(108, {'w', 0, 'x', 0, 'y', 0, 'z', 0});
  this->expect(expected);
}

TYPED_TEST(Marshal, TextsOfAnEntryQuery) {
  this->caller.user("ab").string3("c").data("\x01\x02");
  PacketImage expected(kFill);
  expected.be32(0, 100 + 12 + 2).byte(4, kSingle);
  lay_empty_descriptor(expected, 40);
  expected.be16(44, 0).be16(46, 2).be16(52, 8).be16(54, 1).be16(56, 12).be16(58, 2);
  expected.text(96, "ab").text(104, "c").bytes(108, {1, 2});
  this->expect(expected, kSingle);
}

TYPED_TEST(Marshal, NullTextLeavesItsOffsetAndTakesNoRoom) {
  this->caller.string2("hi");
  this->expect(counted(108).be16(40, 0).be16(42, 2).text(96, "hi"));
}

TYPED_TEST(Marshal, EmptyTextStoresTheRunningOffset) {
  this->caller.user("abc").string2("").string3("");
  PacketImage expected = counted(112);
  expected.be16(36, 0).be16(38, 3).be16(40, 12).be16(42, 0).be16(44, 12).be16(46, 0).text(96, "abc");
  this->expect(expected);
}

TYPED_TEST(Marshal, EmptyFirstTextStoresZero) {
  this->caller.user("").string2("");
  this->expect(counted(100).be16(36, 0).be16(40, 0));
}

TYPED_TEST(Marshal, BlockFollowsTheTextsRawAndUnaligned) {
  this->caller.user("a").data(std::string("\x00\xFF'\"\x7F", 5));
  PacketImage expected = counted(109);
  expected.be16(36, 0).be16(38, 1).text(96, "a");
  expected.be16(48, 4).be16(50, 5).bytes(100, {0x00, 0xFF, 0x27, 0x22, 0x7F});
  this->expect(expected);
}

TYPED_TEST(Marshal, BlockAloneIsAtTheStart) {
  this->caller.data("xyz");
  this->expect(counted(103).be16(48, 0).be16(50, 3).bytes(96, {'x', 'y', 'z'}));
}

TYPED_TEST(Marshal, BlockOfNoLengthLeavesItsOffset) {
  this->caller.user("a").data("bytes");
  this->caller.entry.dataLength = 0;
  this->expect(counted(104).be16(36, 0).be16(38, 1).text(96, "a"));
}

TYPED_TEST(Marshal, NullBlockIsNoBlockWhateverItsLengthSays) {
  this->caller.entry.dataLength = 10;
  this->expect(counted(100));
}

TYPED_TEST(Marshal, QuotesGoOutUnchanged) {
  this->caller.user("o'brien").string2("'").string3("\"''\"");
  PacketImage expected = counted(100 + 4 * 12);
  expected.be16(36, 0).be16(38, 7).be16(40, 28).be16(42, 1).be16(44, 32).be16(46, 4);
  expected.bytes(96, {'o', 0, 0x27, 0, 'b', 0, 'r', 0, 'i', 0, 'e', 0, 'n', 0});
  expected.bytes(124, {0x27, 0});
  expected.bytes(128, {0x22, 0, 0x27, 0, 0x27, 0, 0x22, 0});
  this->expect(expected);
}

TYPED_TEST(Marshal, LettersGoOutUnchanged) {
  this->caller.user("aZ .");
  this->expect(counted(116).be16(36, 0).be16(38, 4).text(96, "aZ ."));
}

TYPED_TEST(Marshal, CharactersAboveAsciiHaveAZeroHighByte) {
  this->caller.user("\x80\xE4\xFF");
  PacketImage expected = counted(112).be16(36, 0).be16(38, 3);
  this->expect(expected.bytes(96, {0x80, 0, 0xE4, 0, 0xFF, 0}));
}

TYPED_TEST(Marshal, SeveralEntriesRepeatTheFirst) {
  for (unsigned count : {2U, 3U, 10U}) {
    this->set_scalars();
    std::vector<typename TypeParam::Entry> entries(count);
    entries[0] = this->caller.entry;
    for (unsigned i = 1; i < count; ++i)
      entries[i].tag = 0x55555555;
    PacketImage expected(kFill);
    expected.be32(0, 100 + 72 * (count - 1)).byte(4, kCounted).be32(28, count);
    for (unsigned i = 0; i < count; ++i) {
      lay_empty_descriptor(expected, 32 + 56 * i);
      this->lay_scalars(expected, 32 + 56 * i);
    }
    this->expect_array(entries.data(), count, kCounted, expected);
  }
}

TYPED_TEST(Marshal, SeveralEntriesAreAllCountedAndOnlyTheFirstIsWritten) {
  CallerEntry<TypeParam> second;
  second.user("not written").data("nor this");
  const typename TypeParam::Entry entries[] = {this->caller.entry, second.entry};
  PacketImage expected(kFill);
  expected.be32(0, 100 + 72 + 4 * 11 + 8).byte(4, kCounted).be32(28, 2);
  lay_empty_descriptor(expected, 32);
  lay_empty_descriptor(expected, 88);
  this->expect_array(entries, 2, kCounted, expected);
}

/// Where a descriptor has a second text of 26 characters and a block of 3 bytes. The offsets of the texts
/// that are not there are left.
void lay_places(PacketImage& image, std::size_t at) {
  image.be16(at + 6, 0)
      .be16(at + 8, 0)
      .be16(at + 10, 26)
      .be16(at + 14, 0)
      .be16(at + 16, 104)
      .be16(at + 18, 3);
}

/// That entry's text and block.
void lay_data(PacketImage& image) {
  image.text(96, "abcdefghijklmnopqrstuvwxyz").bytes(96 + 104, {0x01, 0xFF, 0x02});
}

// The second descriptor, at 88, ends at 143, and the data begins at 96. Each descriptor in turn writes a text
// and then where it is, so the field stays: of the text only its third character is left, where the third
// text's offset would be, and its last two.
TYPED_TEST(Marshal, SecondDescriptorLiesOverTheTexts) {
  this->caller.string2("abcdefghijklmnopqrstuvwxyz").data("\x01\xFF\x02");
  this->set_scalars();
  CallerEntry<TypeParam> second;
  second.user("unseen").data("four");
  const typename TypeParam::Entry entries[] = {this->caller.entry, second.entry};
  PacketImage expected(kFill);
  expected.be32(0, 100 + 72 + 4 * 26 + 3 + 4 * 6 + 4).byte(4, kCounted).be32(28, 2);
  lay_data(expected);
  for (std::size_t at : {32U, 88U}) {
    lay_places(expected, at);
    this->lay_scalars(expected, at);
  }
  this->expect_array(entries, 2, kCounted, expected);
}

TYPED_TEST(Marshal, ThirdDescriptorWritesTheTextsOverTheSecond) {
  this->caller.string2("abcdefghijklmnopqrstuvwxyz").data("\x01\xFF\x02");
  this->set_scalars();
  const typename TypeParam::Entry entries[] = {this->caller.entry, {}, {}};
  PacketImage expected(kFill);
  expected.be32(0, 100 + 144 + 4 * 26 + 3).byte(4, kCounted).be32(28, 3);
  for (std::size_t at : {32U, 88U}) {
    lay_places(expected, at);
    this->lay_scalars(expected, at);
  }
  lay_data(expected);
  lay_places(expected, 144);
  this->lay_scalars(expected, 144);
  this->expect_array(entries, 3, kCounted, expected);
}

// The block comes after the texts' counts, which are lost in it, and before its own place and the words.
TYPED_TEST(Marshal, SecondDescriptorLiesOverTheBlock) {
  this->caller.data("0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWX");
  this->set_scalars();
  const typename TypeParam::Entry entries[] = {this->caller.entry, {}};
  PacketImage expected = counted(100 + 72 + 60).be32(28, 2).be16(48, 0).be16(50, 60);
  this->lay_scalars(expected, 32);
  expected.be16(94, 0).bytes(96, {'0', '1', '2', '3', '4', '5', '6', '7'}).be16(104, 0).be16(106, 60);
  this->lay_scalars(expected, 88);
  expected.bytes(144, {'M', 'N', 'O', 'P', 'Q', 'R', 'S', 'T', 'U', 'V', 'W', 'X'});
  this->expect_array(entries, 2, kCounted, expected);
}

TYPED_TEST(Marshal, EntryQueryHasOneDescriptorWhateverTheCount) {
  this->caller.user("ab").data("\x01\x02");
  this->set_scalars();
  CallerEntry<TypeParam> other;
  other.user("unseen");
  const typename TypeParam::Entry entries[] = {this->caller.entry, other.entry, {}};
  const std::pair<unsigned, std::uint32_t> lengths[] = {{0, 28}, {1, 110}, {2, 206}, {3, 278}};
  for (const auto& [count, length] : lengths) {
    PacketImage expected(kFill);
    expected.be32(0, length).byte(4, kSingle);
    lay_empty_descriptor(expected, 40);
    this->lay_scalars(expected, 40);
    expected.be16(44, 0).be16(46, 2).be16(56, 8).be16(58, 2).text(96, "ab").bytes(104, {1, 2});
    this->expect_array(entries, count, kSingle, expected);
  }
}

TYPED_TEST(Marshal, EntryQueryWithoutAnEntryLeavesOnlyTheLength) {
  this->expect_array(nullptr, 0, kSingle, PacketImage(kFill).be32(0, 28).byte(4, kSingle));
}

TYPED_TEST(Marshal, NoEntriesLeaveOnlyLengthAndCount) {
  this->expect_array(nullptr, 0, kCounted, PacketImage(kFill).be32(0, 28).byte(4, kCounted).be32(28, 0));
}

class MarshalWide : public Marshal<Wide> {};

TEST_F(MarshalWide, CharacterSendsItsLow16BitsLowByteFirst) {
  caller.set(caller.entry.user, {L'\x4E2D', static_cast<wchar_t>(0x1F642), static_cast<wchar_t>(0x7FFF00E4)});
  expect(counted(112).be16(36, 0).be16(38, 3).bytes(96, {0x2D, 0x4E, 0x42, 0xF6, 0xE4, 0x00}));
}

TEST_F(MarshalWide, CharacterWithZeroLow16BitsEndsTheTextButNotTheCount) {
  caller.set(caller.entry.user, {L'a', L'b', static_cast<wchar_t>(0x20000), L'c', L'd'});
  caller.string2("next");
  PacketImage expected = counted(100 + 4 * 9);
  expected.be16(36, 0).be16(38, 5).be16(40, 20).be16(42, 4);
  expect(expected.text(96, "ab").text(116, "next"));
}

}  // namespace
