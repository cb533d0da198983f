#include <gtest/gtest.h>
#include <tavlib/protocol/blowfish.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <vector>

#include "support/oracle.h"

// encryptString and decryptString: how lengths are rounded, refused and reported. Every buffer is a heap
// block of exactly the size that the rules ask for, so that a sanitizer sees one byte too many.

namespace {

using tavtest::Bytes;

const Bytes kKey{0x9C, 'k', 0x01, 'e', 0xFF};
constexpr std::uint8_t kUntouched = 0xEE;

CBlowfish cipher() {
  Bytes key = kKey;
  return {key.data(), 5};
}

Bytes text_of(std::size_t length) {
  Bytes text(length);
  for (std::size_t i = 0; i < length; ++i)
    text[i] = static_cast<std::uint8_t>(0xF3 + 29 * i);
  return text;
}

Bytes zero_padded(Bytes text, std::size_t size) {
  text.resize(size, 0);
  return text;
}

/// Appends eight bytes, and gives back the whole.
Bytes followed_by(Bytes bytes, const Bytes& extra) {
  bytes.insert(bytes.end(), extra.begin(), extra.end());
  return bytes;
}

unsigned padded_size(unsigned length) {
  return (length / 8 + 1) * 8;
}

/// 0 to 40, and some longer ones around whole blocks.
std::vector<unsigned> every_length() {
  std::vector<unsigned> lengths(41);
  std::iota(lengths.begin(), lengths.end(), 0U);
  lengths.insert(lengths.end(), {63, 64, 65, 71, 72, 95, 96, 97, 100, 103, 104, 4088, 4095, 4096});
  return lengths;
}

TEST(EveryLength, EncryptPadsToTheNextBlock) {
  for (const unsigned length : every_length()) {
    SCOPED_TRACE(length);
    const unsigned padded = padded_size(length);
    const Bytes text = text_of(length);
    Bytes out(padded, kUntouched);
    EXPECT_EQ(cipher().encryptString(text.data(), length, out.data(), padded), static_cast<int>(padded));
    EXPECT_EQ(out, tavtest::blowfish_encrypt(zero_padded(text, padded), kKey));
  }
}

TEST(EveryLength, EncryptRefusesOneByteTooLittleAndWritesNothing) {
  for (const unsigned length : every_length()) {
    SCOPED_TRACE(length);
    const unsigned padded = padded_size(length);
    const Bytes text = text_of(length);
    for (unsigned room : {padded - 1, length / 8 * 8, 0U}) {
      Bytes out(padded, kUntouched);
      EXPECT_EQ(cipher().encryptString(text.data(), length, out.data(), room), -1) << "room " << room;
      EXPECT_EQ(out, Bytes(padded, kUntouched)) << "room " << room;
    }
  }
}

TEST(EveryLength, EncryptWritesNoFurtherThanItReports) {
  for (const unsigned length : every_length()) {
    SCOPED_TRACE(length);
    const unsigned padded = padded_size(length);
    const Bytes text = text_of(length);
    Bytes out(padded + 9, kUntouched);
    EXPECT_EQ(cipher().encryptString(text.data(), length, out.data(), padded + 9), static_cast<int>(padded));
    EXPECT_EQ(Bytes(out.data() + padded, out.data() + out.size()), Bytes(9, kUntouched));
  }
}

TEST(EveryLength, DecryptTakesWholeBlocksOnly) {
  for (const unsigned length : every_length()) {
    SCOPED_TRACE(length);
    const unsigned padded = padded_size(length);
    const Bytes in = text_of(length + 8);
    Bytes out(padded, kUntouched);
    const int result = cipher().decryptString(in.data(), length, out.data(), padded);
    if (length % 8 != 0) {
      EXPECT_EQ(result, 0);
      EXPECT_EQ(out, Bytes(padded, kUntouched));
    } else {
      EXPECT_EQ(result, static_cast<int>(length) + 8);
      EXPECT_EQ(out, tavtest::blowfish_decrypt(in, kKey))
          << "the block behind the input is deciphered as well";
    }
  }
}

TEST(EveryLength, DecryptGivesBackWhatEncryptTook) {
  for (const unsigned length : every_length()) {
    SCOPED_TRACE(length);
    const unsigned padded = padded_size(length);
    const Bytes text = text_of(length);
    Bytes enciphered(padded + 8, kUntouched);
    ASSERT_EQ(cipher().encryptString(text.data(), length, enciphered.data(), padded),
              static_cast<int>(padded));
    Bytes out(cipher().getMaxDecipheredLength(padded));
    const int written =
        cipher().decryptString(enciphered.data(), padded, out.data(), static_cast<unsigned>(out.size()));
    EXPECT_EQ(written, static_cast<int>(padded) + 8);
    EXPECT_EQ(Bytes(out.data(), out.data() + padded), zero_padded(text, padded));
  }
}

TEST(EveryLength, RoomIsReportedByTheSameRules) {
  for (const unsigned length : every_length()) {
    SCOPED_TRACE(length);
    const unsigned padded = padded_size(length);
    EXPECT_EQ(cipher().getRequiredCipherLength(length), padded);
    EXPECT_EQ(cipher().getMaxDecipheredLength(length), padded);
  }
}

TEST(EncryptString, WholeBlockGainsABlockOfZeros) {
  const Bytes text = text_of(8);
  Bytes out(16, kUntouched);
  EXPECT_EQ(cipher().encryptString(text.data(), 8, out.data(), 15), -1);
  EXPECT_EQ(out, Bytes(16, kUntouched));
  EXPECT_EQ(cipher().encryptString(text.data(), 8, out.data(), 16), 16);
  EXPECT_EQ(Bytes(out.begin() + 8, out.end()), tavtest::blowfish_encrypt(Bytes(8, 0), kKey));
}

TEST(EncryptString, EmptyInputIsOneBlockOfZeros) {
  Bytes out(8, kUntouched);
  EXPECT_EQ(cipher().encryptString(nullptr, 0, out.data(), 8), 8);
  EXPECT_EQ(out, tavtest::blowfish_encrypt(Bytes(8, 0), kKey));
}

TEST(EncryptString, EqualBlocksGiveEqualBlocks) {
  const Bytes text(24, 0x41);
  Bytes out(32);
  cipher().encryptString(text.data(), 24, out.data(), 32);
  EXPECT_TRUE(std::equal(out.begin(), out.begin() + 16, out.begin() + 8));
}

TEST(EncryptString, LengthThatOverflowsIsRefused) {
  Bytes out(8, kUntouched);
  for (unsigned length : {0xFFFFFFFFU, 0xFFFFFFF8U}) {
    EXPECT_EQ(cipher().encryptString(out.data(), length, out.data(), 0xFFFFFFFF), -1);
    EXPECT_EQ(cipher().encryptString(out.data(), length, out.data(), 8), -1);
  }
  EXPECT_EQ(cipher().encryptString(out.data(), 0xFFFFFFF7, out.data(), 0xFFFFFFF7), -1);
  EXPECT_EQ(out, Bytes(8, kUntouched));
}

TEST(EncryptString, KeysThatShareFiveBytesGiveTheSameBytes) {
  const Bytes text = text_of(100);
  Bytes first(104);
  Bytes second(104);
  CBlowfish("pass phrase one", 15).encryptString(text.data(), 100, first.data(), 104);
  CBlowfish("pass ", 5).encryptString(text.data(), 100, second.data(), 104);
  EXPECT_EQ(first, second);
  CBlowfish("passX", 5).encryptString(text.data(), 100, second.data(), 104);
  EXPECT_NE(first, second);
}

TEST(DecryptString, TwelveBytesAreRefused) {
  const Bytes in(20, 0x11);
  Bytes out(16, kUntouched);
  EXPECT_EQ(cipher().decryptString(in.data(), 12, out.data(), 16), 0);
  EXPECT_EQ(out, Bytes(16, kUntouched));
}

TEST(DecryptString, OneBlockWritesTwo) {
  const Bytes text = text_of(7);
  Bytes enciphered = tavtest::blowfish_encrypt(zero_padded(text, 8), kKey);
  enciphered = followed_by(enciphered, tavtest::blowfish_encrypt(Bytes(8, 0), kKey));
  Bytes out(16, kUntouched);
  EXPECT_EQ(cipher().decryptString(enciphered.data(), 8, out.data(), 16), 16);
  EXPECT_EQ(out, zero_padded(text, 16));
}

TEST(DecryptString, ZeroesItsWholeRoomFirst) {
  const Bytes in = text_of(16);
  Bytes out(40, kUntouched);
  EXPECT_EQ(cipher().decryptString(in.data(), 8, out.data(), 37), 16);
  EXPECT_EQ(Bytes(out.begin(), out.begin() + 16), tavtest::blowfish_decrypt(in, kKey));
  EXPECT_EQ(Bytes(out.begin() + 16, out.begin() + 37), Bytes(21, 0));
  EXPECT_EQ(Bytes(out.begin() + 37, out.end()), Bytes(3, kUntouched));
}

TEST(DecryptString, DoesNotCheckItsRoom) {
  const Bytes in = text_of(24);
  for (unsigned room : {0U, 1U, 16U, 23U}) {
    Bytes out(24, kUntouched);
    EXPECT_EQ(cipher().decryptString(in.data(), 16, out.data(), room), 24);
    EXPECT_EQ(out, tavtest::blowfish_decrypt(in, kKey)) << "room " << room;
  }
}

struct RoomCase {
  unsigned n;
  unsigned room;
};

class RoomAtBoundary : public ::testing::TestWithParam<RoomCase> {};

TEST_P(RoomAtBoundary, IsTheNextMultipleOfEight) {
  EXPECT_EQ(cipher().getRequiredCipherLength(GetParam().n), GetParam().room);
  EXPECT_EQ(cipher().getMaxDecipheredLength(GetParam().n), GetParam().room);
}

INSTANTIATE_TEST_SUITE_P(Lengths, RoomAtBoundary,
                         ::testing::Values(RoomCase{0, 8}, RoomCase{7, 8}, RoomCase{8, 16}, RoomCase{15, 16},
                                           RoomCase{100, 104}, RoomCase{103, 104}, RoomCase{104, 112},
                                           RoomCase{4095, 4096}, RoomCase{4096, 4104}, RoomCase{8192, 8200},
                                           RoomCase{0x7FFFFFFF, 0x80000000}, RoomCase{0xFFFFFFEF, 0xFFFFFFF0},
                                           RoomCase{0xFFFFFFF0, 0xFFFFFFF8},
                                           RoomCase{0xFFFFFFF7, 0xFFFFFFF8}));

}  // namespace
