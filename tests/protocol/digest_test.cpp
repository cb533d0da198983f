#include <gtest/gtest.h>
#include <tavlib/protocol/digest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "protocol/digest_text.h"
#include "protocol/md5.h"
#include "support/oracle.h"

namespace {

using Digest = std::array<unsigned char, 16>;
using tavtest::Bytes;
using tavtest::hex;

Bytes patterned_bytes(std::size_t count) {
  Bytes bytes(count);
  for (std::size_t i = 0; i < count; ++i)
    bytes[i] = static_cast<unsigned char>(i * 167 + (i >> 8) * 13 + 5);
  return bytes;
}

struct Rfc1321Vector {
  const char* input;
  const char* digest;
};

class Rfc1321 : public ::testing::TestWithParam<Rfc1321Vector> {};

TEST_P(Rfc1321, Digest) {
  Digest digest{};
  EXPECT_EQ(MakeDigest(digest.data(), GetParam().input, static_cast<unsigned>(strlen(GetParam().input))), 1);
  EXPECT_EQ(hex(digest), GetParam().digest);
}

INSTANTIATE_TEST_SUITE_P(
    Suite, Rfc1321,
    ::testing::Values(Rfc1321Vector{"", "d41d8cd98f00b204e9800998ecf8427e"},
                      Rfc1321Vector{"a", "0cc175b9c0f1b6a831c399e269772661"},
                      Rfc1321Vector{"abc", "900150983cd24fb0d6963f7d28e17f72"},
                      Rfc1321Vector{"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
                      Rfc1321Vector{"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
                      Rfc1321Vector{"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
                                    "d174ab98d277d9f5a5611c2c9f419d9f"},
                      Rfc1321Vector{
                          "12345678901234567890123456789012345678901234567890123456789012345678901234567890",
                          "57edf4a22be3c955ac49da2e2107b67a"}));

TEST(MakeDigest, AgreesWithLibcryptoAtEveryLength) {
  std::vector<std::size_t> lengths(131);
  for (std::size_t i = 0; i < lengths.size(); ++i)
    lengths[i] = i;
  lengths.insert(lengths.end(), {4095, 4096, 4097, 65536, 65543, 1000003});
  for (std::size_t length : lengths) {
    const auto bytes = patterned_bytes(length);
    Digest digest{};
    EXPECT_EQ(MakeDigest(digest.data(), bytes.data(), static_cast<unsigned>(length)), 1);
    EXPECT_EQ(Bytes(digest.begin(), digest.end()), tavtest::md5(bytes)) << length << " bytes";
  }
}

TEST(MakeDigest, EmptyInputNeedsNoBytes) {
  Digest digest{};
  EXPECT_EQ(MakeDigest(digest.data(), nullptr, 0), 1);
  EXPECT_EQ(hex(digest), "d41d8cd98f00b204e9800998ecf8427e");
}

TEST(Md5Update, PiecesOfAnySizeGiveTheDigestOfTheWhole) {
  const auto bytes = patterned_bytes(200);
  for (std::size_t piece = 1; piece <= 130; ++piece) {
    tavlib::Md5Context context;
    tavlib::MD5Init(context);
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
      tavlib::MD5Update(context, std::span(bytes).subspan(at, std::min(piece, bytes.size() - at)));
    }
    Digest digest{};
    tavlib::MD5Final(digest.data(), context);
    EXPECT_EQ(Bytes(digest.begin(), digest.end()), tavtest::md5(bytes)) << "pieces of " << piece;
  }
}

TEST(Md5Final, CountsBitsBeyond32) {
  tavlib::Md5Context context;
  tavlib::MD5Init(context);
  context.bytes = (std::uint64_t{5} << 29) + 64;  // 5 * 2^32 + 512 bits in whole blocks

  std::array<unsigned char, 64> last{0x80};
  last[57] = 0x02;
  last[60] = 0x05;
  auto state = context.state;
  tavlib::MD5Transform(state, last.data());
  Digest expected{};
  tavlib::Encode(expected, state);

  Digest digest{};
  tavlib::MD5Final(digest.data(), context);
  EXPECT_EQ(digest, expected);
}

TEST(Md5Words, TravelLittleEndian) {
  const std::array<std::uint32_t, 2> words{0x04030201, 0xF8F7F6F5};
  std::array<unsigned char, 8> bytes{};
  tavlib::Encode(bytes, words);
  EXPECT_EQ(bytes, (std::array<unsigned char, 8>{1, 2, 3, 4, 0xF5, 0xF6, 0xF7, 0xF8}));
  std::array<std::uint32_t, 2> back{};
  tavlib::Decode(back, bytes.data());
  EXPECT_EQ(back, words);
}

TEST(CompareDigests, EqualOnlyWhenAllSixteenBytesAre) {
  Digest a{};
  for (std::size_t i = 0; i < 16; ++i)
    a[i] = static_cast<unsigned char>(i * 16);
  EXPECT_EQ(CompareDigests(a.data(), Digest(a).data()), 1);
  for (std::size_t i = 0; i < 16; ++i) {
    for (unsigned flip : {0x01U, 0x80U}) {
      Digest b = a;
      b[i] = static_cast<unsigned char>(b[i] ^ flip);
      EXPECT_EQ(CompareDigests(a.data(), b.data()), 0) << "byte " << i;
    }
  }
}

/// What HexToDigest makes of a text over a digest of 0xEE bytes. The text is a block of its exact size.
Digest parse(const std::string& hex) {
  Digest digest;
  digest.fill(0xEE);
  const std::vector<char> exact(hex.c_str(), hex.c_str() + hex.size() + 1);
  EXPECT_EQ(HexToDigest(digest.data(), exact.data()), 1);
  return digest;
}

TEST(HexToDigest, ReadsPairsInOrder) {
  EXPECT_EQ(parse("000102030405060708090a0b0c0d0e0f"),
            (Digest{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}));
}

TEST(HexToDigest, TakesUpperAndLowerCase) {
  const Digest expected{0xAB, 0xCD, 0xEF, 0xFE, 0xDC, 0xBA, 0x1A, 0xA1,
                        0,    0xFF, 0x9F, 0xF9, 0x80, 0x7F, 0xA0, 0x0A};
  EXPECT_EQ(parse("abcdeffedcba1aa100ff9ff9807fa00a"), expected);
  EXPECT_EQ(parse("ABCDEFFEDCBA1AA100FF9FF9807FA00A"), expected);
  EXPECT_EQ(parse("aBcDeFfEdCbA1aA100fF9Ff9807Fa00A"), expected);
}

TEST(HexToDigest, ReadsNothingBehindThe32Digits) {
  const Digest expected{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
  for (const char* more : {"1", "12", "zz", "123456789abcdef0123456789abcdef0"})
    EXPECT_EQ(parse(std::string("000102030405060708090a0b0c0d0e0f") + more), expected) << more;
}

TEST(HexToDigest, ReadsBackEveryByteValue) {
  for (unsigned first = 0; first < 256; first += 16) {
    Digest digest;
    for (unsigned i = 0; i < 16; ++i)
      digest[i] = static_cast<unsigned char>(first + i);
    EXPECT_EQ(parse(hex(digest)), digest);
  }
}

TEST(HexToDigest, BadPairLeavesItsByteOnly) {
  for (std::size_t pair = 0; pair < 16; ++pair) {
    std::string hex = "000102030405060708090a0b0c0d0e0f";
    hex.replace(2 * pair, 2, "zz");
    Digest expected{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    expected[pair] = 0xEE;
    EXPECT_EQ(parse(hex), expected) << "pair " << pair;
  }
}

TEST(HexToDigest, PairsAreReadAsScanfDoes) {
  const Digest digest = parse(" a1g-1+7a " + std::string(22, '0'));
  EXPECT_EQ(digest[0], 0x0A);  // leading white space is skipped
  EXPECT_EQ(digest[1], 0x01);  // ends at the first character that is no digit
  EXPECT_EQ(digest[2], 0xFF);  // low 8 bits of a negative number
  EXPECT_EQ(digest[3], 0x07);
  EXPECT_EQ(digest[4], 0x0A);
}

TEST(HexToDigest, ShortTextIsReadToItsEnd) {
  for (std::size_t length = 0; length <= 32; ++length) {
    const Digest digest = parse(std::string("101112131415161718191a1b1c1d1e1f").substr(0, length));
    for (std::size_t i = 0; i < 16; ++i) {
      const std::size_t digits = std::min<std::size_t>(2, length - std::min(length, 2 * i));
      const unsigned expected[] = {0xEE, 0x01, 0x10 + static_cast<unsigned>(i)};
      EXPECT_EQ(digest[i], expected[digits]) << "byte " << i << " of a text of " << length;
    }
  }
}

TEST(DigestToHex, LeavesOnlyTheLastBytesTwoDigits) {
  Digest digest{0xFF, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xA5};
  EXPECT_EQ(DigestToHex(digest.data()), 1);
  EXPECT_STREQ(tavlib::digest_text(), "a5");
  digest[15] = 0x0C;
  EXPECT_EQ(DigestToHex(digest.data()), 1);
  EXPECT_STREQ(tavlib::digest_text(), "0c");
}

}  // namespace
