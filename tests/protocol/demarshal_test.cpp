#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <string>

#include "protocol/entry_widths.h"
#include "protocol/packet_image.h"
#include "protocol/scoped_locale.h"

// What is read out of hand-laid packets.

namespace {

using tavtest::codes;
using tavtest::Narrow;
using tavtest::OwnedEntry;
using tavtest::owns_nothing;
using tavtest::PacketImage;
using tavtest::Wide;

/// A reply of `length` bytes with one entry whose fields are all zero.
PacketImage reply(std::uint32_t length) {
  return PacketImage().be32(0, length).byte(4, 0x83).be32(28, 1);
}

template <class TypeParam>
class Demarshal : public ::testing::Test {
 protected:
  OwnedEntry<TypeParam> entry;

  int read(const PacketImage& image, unsigned index = 0) {
    return TypeParam::demarshal(entry.target(), image.packet().get(), index);
  }
};

TYPED_TEST_SUITE(Demarshal, tavtest::Widths);

TYPED_TEST(Demarshal, EntryWithoutTextsOwnsNothing) {
  ASSERT_EQ(this->read(reply(100)), 1);
  EXPECT_TRUE(owns_nothing(this->entry.entry));
  EXPECT_EQ(this->entry->userLength, 0U);
  EXPECT_EQ(this->entry->string2Length, 0U);
  EXPECT_EQ(this->entry->string3Length, 0U);
  EXPECT_EQ(this->entry->dataLength, 0U);
}

TYPED_TEST(Demarshal, ReceivedQuoteIsADotAndLettersAreUpperCase) {
  ASSERT_EQ(this->read(reply(128).be16(38, 7).text(96, "o'brien")), 1);
  EXPECT_EQ(codes(this->entry->user), U"O.BRIEN");
  EXPECT_EQ(this->entry->userLength, 7U);
}

TYPED_TEST(Demarshal, ThreeTextsAndABlock) {
  PacketImage image = reply(200);
  image.be16(36, 40).be16(38, 3).be16(40, 0).be16(42, 2).be16(44, 20).be16(46, 1).be16(48, 90).be16(50, 4);
  image.text(96 + 40, "a\"1").text(96, "'z").text(96 + 20, "q").bytes(96 + 90, {'a', 0, 0x27, 0xFF});
  ASSERT_EQ(this->read(image), 1);
  EXPECT_EQ(codes(this->entry->user), U"A.1");
  EXPECT_EQ(this->entry->userLength, 3U);
  EXPECT_EQ(codes(this->entry->string2), U".Z");
  EXPECT_EQ(this->entry->string2Length, 2U);
  EXPECT_EQ(codes(this->entry->string3), U"Q");
  EXPECT_EQ(this->entry->string3Length, 1U);
  ASSERT_EQ(this->entry->dataLength, 4U);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(this->entry->data), 4), std::string("a\0'\xFF", 4));
}

TYPED_TEST(Demarshal, SecondHalfOfTheReservationIsNotRead) {
  PacketImage image = reply(112).be16(38, 3).text(96, "abc");
  ASSERT_EQ(this->read(image.bytes(102, {'x', 'x', 'x', 'x', 'x', 'x'})), 1);
  EXPECT_EQ(codes(this->entry->user), U"ABC");
}

TYPED_TEST(Demarshal, ZeroCharacterInsideATextDoesNotEndIt) {
  ASSERT_EQ(this->read(reply(112).be16(38, 3).bytes(96, {'a', 0, 0, 0, 'b', 0})), 1);
  EXPECT_EQ(this->entry->userLength, 3U);
  EXPECT_EQ(codes(this->entry->user, 4), std::u32string(U"A\0B\0", 4));
}

TYPED_TEST(Demarshal, EveryWordFromItsPlace) {
  PacketImage image = reply(100);
  image.be32(32, 0x01020304).be32(52, 0x0A141E28).be32(56, 0x70717273).be32(60, 0x90919293);
  image.be32(64, 0xA0A1A2A3)
      .be32(68, 0xB0B1B2B3)
      .be32(72, 0xC0C1C2C3)
      .be32(80, 0xD0D1D2D3)
      .be32(84, 0xE0E1E2E3);
  ASSERT_EQ(this->read(image), 1);
  EXPECT_EQ(this->entry->tag, 0x01020304U);
  EXPECT_EQ(this->entry->address, 0x0A141E28U);
  EXPECT_EQ(this->entry->word7, 0x70717273U);
  EXPECT_EQ(this->entry->flag8, 0U);
  EXPECT_EQ(this->entry->word9, 0x90919293U);
  EXPECT_EQ(this->entry->word10, 0xA0A1A2A3U);
  EXPECT_EQ(this->entry->word11, 0xB0B1B2B3U);
  EXPECT_EQ(this->entry->word12, 0xC0C1C2C3U);
  EXPECT_EQ(this->entry->word13, 0xD0D1D2D3U);
  EXPECT_EQ(this->entry->word14, 0xE0E1E2E3U);
}

TYPED_TEST(Demarshal, FlagIsTrueOrFalse) {
  for (std::uint32_t word : {1U, 2U, 0x100U, 0x80000000U, 0xFFFFFFFFU}) {
    ASSERT_EQ(this->read(reply(100).be32(76, word)), 1);
    EXPECT_EQ(this->entry->flag8, 1U) << word;
  }
  ASSERT_EQ(this->read(reply(100)), 1);
  EXPECT_EQ(this->entry->flag8, 0U);
}

TYPED_TEST(Demarshal, IndexChoosesTheDescriptor) {
  for (unsigned index : {0U, 1U, 2U, 5U, 71U}) {
    ASSERT_EQ(this->read(reply(4096).be32(32 + 56 * index, 0xABC00000 + index), index), 1);
    EXPECT_EQ(this->entry->tag, 0xABC00000 + index);
  }
}

TYPED_TEST(Demarshal, NeitherCountNorLengthWordLimitsTheIndex) {
  ASSERT_EQ(this->read(reply(100).be32(28, 0).be32(32 + 56 * 3, 77), 3), 1);
  EXPECT_EQ(this->entry->tag, 77U);
}

TYPED_TEST(Demarshal, EntryQueryHasItsDescriptorBehindThreeArguments) {
  PacketImage image = reply(120).byte(4, 3).be32(32, 1).be32(40, 0x12345678).be16(44, 4).be16(46, 2);
  image.text(100, "ok").be32(60, 0x0A0B0C0D).be32(84, 5);
  for (unsigned index : {0U, 1U, 72U, 0xFFFFFFFFU}) {
    OwnedEntry<TypeParam> result;
    ASSERT_EQ(TypeParam::demarshal(result.target(), image.packet().get(), index), 1) << index;
    EXPECT_EQ(result->tag, 0x12345678U);
    EXPECT_EQ(codes(result->user), U"OK");
    EXPECT_EQ(result->address, 0x0A0B0C0DU);
    EXPECT_EQ(result->flag8, 1U);
  }
}

TYPED_TEST(Demarshal, OnlyACodeOfExactlyThreeIsAnEntryQuery) {
  for (unsigned code = 0; code < 256; ++code) {
    ASSERT_EQ(this->read(reply(100).byte(4, code).be32(32, 1111).be32(40, 0)), 1);
    EXPECT_EQ(this->entry->tag, code == 3 ? 0U : 1111U) << "code " << code;
  }
}

TYPED_TEST(Demarshal, GivesBackWhatWasMarshalled) {
  tavtest::CallerEntry<TypeParam> sent;
  sent.user("JOE SMITH").string2("").string3("OU=ONE").data("bytes");
  sent.entry.address = 0x7F000001;
  sent.entry.flag8 = 1;
  for (unsigned code : {2U, 3U}) {
    const auto packet = PacketImage(0xEE).byte(4, code).packet();
    unsigned size = 4096;
    ASSERT_EQ(TypeParam::marshal(&sent.entry, packet.get(), &size, 1), 1);
    OwnedEntry<TypeParam> result;
    ASSERT_EQ(TypeParam::demarshal(result.target(), packet.get(), 0), 1);
    EXPECT_EQ(result->string2, nullptr) << "an empty text comes back as none";
    EXPECT_EQ(TypeParam::compare(result.entry, sent.entry, 0x7F5), 1);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(result->data), result->dataLength), "bytes");
  }
}

using DemarshalNarrow = Demarshal<Narrow>;
using DemarshalWide = Demarshal<Wide>;

TEST_F(DemarshalNarrow, TakesTheLowByteOfEachUnit) {
  ASSERT_EQ(read(reply(112).be16(38, 3).bytes(96, {'a', 0x4E, 0x27, 0x01, 0xE4, 0x02})), 1);
  EXPECT_STREQ(entry->user, "A.\xE4");
}

TEST_F(DemarshalWide, TakesTheWholeUnit) {
  ASSERT_EQ(read(reply(112).be16(38, 3).bytes(96, {0x2D, 0x4E, 0x27, 0x30, 0xFF, 0xFF})), 1);
  EXPECT_EQ(codes(entry->user), U"\x4E2D\x3027\xFFFF");
}

TEST_F(DemarshalWide, UpperCaseIsTheLocales) {
  const PacketImage image = reply(104).be16(38, 1).bytes(96, {0xE4, 0x00});
  {
    const tavtest::ScopedLocale locale("C");
    OwnedEntry<Wide> plain;
    ASSERT_EQ(DeMarshalTAVEntryW(plain.target(), image.packet().get(), 0), 1);
    EXPECT_EQ(plain->user[0], static_cast<wchar_t>(0xE4));
  }
  const tavtest::ScopedLocale locale("C.UTF-8");
  ASSERT_EQ(read(image), 1);
  EXPECT_EQ(entry->user[0], static_cast<wchar_t>(0xC4));
}

}  // namespace
