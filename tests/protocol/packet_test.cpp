#include <gtest/gtest.h>
#include <tavlib/protocol/packet.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "protocol/packet_image.h"
#include "support/oracle.h"

namespace {

using tavtest::Bytes;
using tavtest::holds;
using tavtest::PacketImage;

static_assert(sizeof(_TAVPACKET) == 4096);
static_assert(alignof(_TAVPACKET) == 1);
static_assert(offsetof(_TAVPACKET, length) == 0 && sizeof(_TAVPACKET::length) == 4);
static_assert(offsetof(_TAVPACKET, code) == 4 && sizeof(_TAVPACKET::code) == 1);
static_assert(offsetof(_TAVPACKET, reserved) == 5 && sizeof(_TAVPACKET::reserved) == 3);
static_assert(offsetof(_TAVPACKET, requestId) == 8 && sizeof(_TAVPACKET::requestId) == 4);
static_assert(offsetof(_TAVPACKET, digest) == 12 && sizeof(_TAVPACKET::digest) == 16);
static_assert(offsetof(_TAVPACKET, arguments) == 28 && sizeof(_TAVPACKET::arguments) == 68);
static_assert(offsetof(_TAVPACKET, data) == 96 && sizeof(_TAVPACKET::data) == 4000);

TEST(PacketCodes, AreTheProtocols) {
  EXPECT_EQ((std::array<int, 5>{TAV_REQUEST_VERSION, TAV_REQUEST_ADDENTRY, TAV_REQUEST_QUERYENTRY,
                                TAV_REQUEST_LISTEN, TAV_REQUEST_LISTENSTOP}),
            (std::array<int, 5>{1, 2, 3, 4, 5}));
  EXPECT_EQ((std::array<int, 3>{TAV_REPLY_FINAL, TAV_REPLY_ERROR, TAV_REPLY_INTERIM}),
            (std::array<int, 3>{0x80, 0x40, 0x20}));
}

const Bytes kKey = tavtest::key_buffer("a pass phrase");

/// A packet whose every byte is different from its neighbours, of the given length word.
PacketImage patterned(std::uint32_t length) {
  PacketImage image;
  for (std::size_t i = 0; i < 4096; ++i)
    image.byte(i, static_cast<unsigned>(i * 7 + i / 256 + 3) & 0xFF);
  return image.be32(0, length);
}

/// The image with the digest that libcrypto makes for it.
PacketImage digested(PacketImage image, const Bytes& key = kKey) {
  const Bytes digest = tavtest::keyed_digest(image.bytes(), key);
  for (std::size_t i = 0; i < 16; ++i)
    image.byte(12 + i, digest[i]);
  return image;
}

class GoodLength : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(GoodLength, IsDigestedInPlace) {
  const auto packet = patterned(GetParam()).packet();
  EXPECT_EQ(MakeMd5Sum(packet.get(), kKey.data()), 1);
  EXPECT_TRUE(holds(*packet, digested(patterned(GetParam()))));
}

TEST_P(GoodLength, IsVerifiedAndLeftAsItWas) {
  const PacketImage image = digested(patterned(GetParam()));
  const auto packet = image.packet();
  EXPECT_EQ(VerifyMd5Sum(packet.get(), kKey.data()), 1);
  EXPECT_TRUE(holds(*packet, image));
}

INSTANTIATE_TEST_SUITE_P(Lengths, GoodLength, ::testing::Values(100, 101, 104, 127, 128, 1000, 4095, 4096));

class BadLength : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(BadLength, IsNotDigested) {
  const auto packet = patterned(GetParam()).packet();
  EXPECT_EQ(MakeMd5Sum(packet.get(), kKey.data()), 0);
  EXPECT_TRUE(holds(*packet, patterned(GetParam())));
}

TEST_P(BadLength, IsNotVerifiable) {
  PacketImage image = patterned(GetParam());
  if (GetParam() < 100) {  // even with the digest that would be right
    Bytes bytes(image.bytes().data(), image.bytes().data() + GetParam());
    for (std::size_t i = 12; i < std::min<std::size_t>(28, bytes.size()); ++i)
      bytes[i] = kKey[i - 12];
    const Bytes digest = tavtest::md5(bytes);
    for (std::size_t i = 0; i < 16; ++i)
      image.byte(12 + i, digest[i]);
  }
  const auto packet = image.packet();
  EXPECT_EQ(VerifyMd5Sum(packet.get(), kKey.data()), 0);
  EXPECT_TRUE(holds(*packet, image));
}

INSTANTIATE_TEST_SUITE_P(Lengths, BadLength,
                         ::testing::Values(0, 1, 28, 98, 99, 4097, 8192, 0x80000000, 0xFFFFFFFF));

class AnyChange : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(AnyChange, FailsVerificationAndKeepsTheDigestField) {
  const PacketImage right = digested(patterned(GetParam()));
  const auto packet = right.packet();
  auto* bytes = reinterpret_cast<unsigned char*>(packet.get());
  for (std::size_t i = 0; i < GetParam(); ++i) {
    const auto flip = static_cast<unsigned char>(1U << (i % 8));
    bytes[i] ^= flip;
    EXPECT_EQ(VerifyMd5Sum(packet.get(), kKey.data()), 0) << "byte " << i;
    bytes[i] ^= flip;
    ASSERT_TRUE(holds(*packet, right)) << "after byte " << i;
  }
  EXPECT_EQ(VerifyMd5Sum(packet.get(), kKey.data()), 1);
}

INSTANTIATE_TEST_SUITE_P(Lengths, AnyChange, ::testing::Values(100, 700));

TEST(PacketDigest, BytesBehindTheLengthDoNotCount) {
  for (std::uint32_t length : {100U, 101U, 128U, 4095U}) {
    const auto packet = digested(patterned(length)).byte(length, 0x99).packet();
    EXPECT_EQ(VerifyMd5Sum(packet.get(), kKey.data()), 1) << length;
  }
}

TEST(PacketDigest, EveryByteOfTheKeyCounts) {
  const PacketImage right = digested(patterned(200));
  for (std::size_t i = 0; i < 16; ++i) {
    Bytes other = kKey;
    other[i] ^= 0x40;
    const auto packet = right.packet();
    EXPECT_EQ(VerifyMd5Sum(packet.get(), other.data()), 0) << "byte " << i;
    EXPECT_TRUE(holds(*packet, right));
  }
}

TEST(PacketDigest, PassPhrasesThatShareSixteenCharactersGiveOneDigest) {
  const Bytes first = tavtest::key_buffer("0123456789abcdef and more");
  const Bytes second = tavtest::key_buffer("0123456789abcdef");
  const auto packet = patterned(300).packet();
  ASSERT_EQ(MakeMd5Sum(packet.get(), first.data()), 1);
  EXPECT_EQ(VerifyMd5Sum(packet.get(), second.data()), 1);
  EXPECT_EQ(VerifyMd5Sum(packet.get(), tavtest::key_buffer("0123456789abcdeX").data()), 0);
}

TEST(PacketDigest, DoesNotDependOnWhatTheFieldHeld) {
  const auto first = patterned(150).packet();
  const auto second = patterned(150).zeros(12, 16).packet();
  MakeMd5Sum(first.get(), kKey.data());
  MakeMd5Sum(second.get(), kKey.data());
  EXPECT_EQ(std::memcmp(first->digest, second->digest, 16), 0);
}

}  // namespace
