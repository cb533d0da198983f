#include <gtest/gtest.h>
#include <tavlib/protocol/blowfish.h>

#include <cstdint>
#include <random>
#include <string>
#include <type_traits>

#include "support/oracle.h"

namespace {

using tavtest::Bytes;

Bytes random_bytes(std::mt19937& random, std::size_t count) {
  Bytes bytes(count);
  for (auto& byte : bytes)
    byte = static_cast<std::uint8_t>(random());
  return bytes;
}

CBlowfish cipher_for(Bytes key) {
  return {key.data(), static_cast<int>(key.size())};
}

Bytes encrypt(CBlowfish cipher, Bytes block) {
  Bytes out(8);
  cipher.encrypt(block.data(), out.data());
  return out;
}

Bytes decrypt(CBlowfish cipher, Bytes block) {
  Bytes out(8);
  cipher.decrypt(block.data(), out.data());
  return out;
}

static_assert(!std::is_polymorphic_v<CBlowfish>);

/// The object's shape, seen through its protected members.
struct Shape : CBlowfish {
  Shape() : CBlowfish("key", 3) {}

  template <class Member>
  std::ptrdiff_t place(const Member& member) const {
    return reinterpret_cast<const char*>(&member) - reinterpret_cast<const char*>(this);
  }

  void check() const {
    EXPECT_EQ(place(s), 0);
    EXPECT_EQ(place(p), 4096);
    EXPECT_EQ(place(rounds), 4096 + 72);
    EXPECT_EQ(rounds, 16);
    EXPECT_EQ(reserved0, 0);
    EXPECT_EQ(reserved1, -1);
    EXPECT_EQ(blockSize, 8);
  }
};

TEST(Blowfish, HoldsBoxesThenKeysThenRounds) {
  Shape().check();
}

struct PublishedVector {
  Bytes key;
  Bytes cipher;
};

class PublishedVectors : public ::testing::TestWithParam<PublishedVector> {};

// The published set for growing keys, all over the block FEDCBA9876543210. Only keys up to 5 bytes apply
// here.
TEST_P(PublishedVectors, EncipherAndDecipher) {
  const Bytes plain{0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10};
  const CBlowfish cipher = cipher_for(GetParam().key);
  EXPECT_EQ(encrypt(cipher, plain), GetParam().cipher);
  EXPECT_EQ(decrypt(cipher, GetParam().cipher), plain);
}

INSTANTIATE_TEST_SUITE_P(
    GrowingKeys, PublishedVectors,
    ::testing::Values(
        PublishedVector{{0xF0}, {0xF9, 0xAD, 0x59, 0x7C, 0x49, 0xDB, 0x00, 0x5E}},
        PublishedVector{{0xF0, 0xE1}, {0xE9, 0x1D, 0x21, 0xC1, 0xD9, 0x61, 0xA6, 0xD6}},
        PublishedVector{{0xF0, 0xE1, 0xD2}, {0xE9, 0xC2, 0xB7, 0x0A, 0x1B, 0xC6, 0x5C, 0xF3}},
        PublishedVector{{0xF0, 0xE1, 0xD2, 0xC3}, {0xBE, 0x1E, 0x63, 0x94, 0x08, 0x64, 0x0F, 0x05}},
        PublishedVector{{0xF0, 0xE1, 0xD2, 0xC3, 0xB4}, {0xB3, 0x9E, 0x44, 0x48, 0x1B, 0xDB, 0x1E, 0x6E}},
        // A sixth byte changes nothing.
        PublishedVector{{0xF0, 0xE1, 0xD2, 0xC3, 0xB4, 0xA5},
                        {0xB3, 0x9E, 0x44, 0x48, 0x1B, 0xDB, 0x1E, 0x6E}}));

class KeyLength : public ::testing::TestWithParam<std::size_t> {};

TEST_P(KeyLength, AgreesWithLibcrypto) {
  std::mt19937 random(static_cast<unsigned>(GetParam()));
  for (int round = 0; round < 20; ++round) {
    const Bytes key = random_bytes(random, GetParam());
    const CBlowfish cipher = cipher_for(key);
    for (int i = 0; i < 10; ++i) {
      const Bytes block = random_bytes(random, 8);
      EXPECT_EQ(encrypt(cipher, block), tavtest::blowfish_encrypt(block, key));
      EXPECT_EQ(decrypt(cipher, block), tavtest::blowfish_decrypt(block, key));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(OneToFive, KeyLength, ::testing::Range<std::size_t>(1, 6));

TEST(Blowfish, LongKeyIsItsFirstFiveBytes) {
  std::mt19937 random(7);
  for (std::size_t length : {6U, 16U, 56U, 300U}) {
    const Bytes key = random_bytes(random, length);
    const Bytes block = random_bytes(random, 8);
    const Bytes expected = tavtest::blowfish_encrypt(block, Bytes(key.begin(), key.begin() + 5));
    EXPECT_EQ(encrypt(cipher_for(key), block), expected) << length << " bytes of key";
  }
}

TEST(Blowfish, BothKeyTypesGiveOneCipher) {
  const Bytes block{1, 2, 3, 4, 5, 6, 7, 8};
  const char key[] = {'\x80', '\xFF', 'a', '\x7F', '\x90'};
  unsigned char unsigned_key[] = {0x80, 0xFF, 'a', 0x7F, 0x90};
  const Bytes expected = tavtest::blowfish_encrypt(block, Bytes(unsigned_key, unsigned_key + 5));
  EXPECT_EQ(encrypt(CBlowfish(key, 5), block), expected);
  EXPECT_EQ(encrypt(CBlowfish(unsigned_key, 5), block), expected);
}

TEST(Blowfish, ZeroBytesOfAKeyCount) {
  const Bytes block(8, 0x42);
  EXPECT_EQ(encrypt(CBlowfish("ab\0\0", 5), block), tavtest::blowfish_encrypt(block, {'a', 'b', 0, 0, 0}));
}

TEST(Blowfish, KeyOfNoLengthStillDeciphersWhatItEnciphers) {
  const Bytes block{9, 8, 7, 6, 5, 4, 3, 2};
  for (int length : {0, -1, -2147483647 - 1}) {
    const CBlowfish cipher(static_cast<const char*>(nullptr), length);
    EXPECT_EQ(decrypt(cipher, encrypt(cipher, block)), block);
  }
}

TEST(Blowfish, BlockMayBeEncipheredInPlace) {
  const Bytes plain{0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10};
  Bytes block = plain;
  CBlowfish cipher("secret", 6);
  cipher.encrypt(block.data(), block.data());
  EXPECT_EQ(block, tavtest::blowfish_encrypt(plain, tavtest::bytes_of("secre")));
  cipher.decrypt(block.data(), block.data());
  EXPECT_EQ(block, plain);
}

TEST(Blowfish, OnlyTheOutputIsWritten) {
  const Bytes block{0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10};
  Bytes in = block;
  Bytes out(8);
  CBlowfish cipher("secret", 6);
  cipher.encrypt(in.data(), out.data());
  EXPECT_EQ(in, block);
  cipher.decrypt(in.data(), out.data());
  EXPECT_EQ(in, block);
}

/// A 32-bit half as a word whose further bits, where it has any, are rubbish.
long half(std::uint32_t value) {
  return sizeof(long) > 4 ? static_cast<long>(0xDEADBEEF00000000ULL | value) : static_cast<long>(value);
}

TEST(BlowfishHalves, AreLow32BitsAndComeBackZeroExtended) {
  CBlowfish cipher("\xF0\xE1\xD2\xC3\xB4", 5);
  long left = half(0xFEDCBA98);
  long right = half(0x76543210);
  cipher.encipher(&left, &right);
  EXPECT_EQ(static_cast<unsigned long>(left), 0xB39E4448UL);
  EXPECT_EQ(static_cast<unsigned long>(right), 0x1BDB1E6EUL);
  left = half(0xB39E4448);
  right = half(0x1BDB1E6E);
  cipher.decipher(&left, &right);
  EXPECT_EQ(static_cast<unsigned long>(left), 0xFEDCBA98UL);
  EXPECT_EQ(static_cast<unsigned long>(right), 0x76543210UL);
}

struct RoundValue {
  std::uint32_t x;
  std::uint32_t result;
};

// Worked out from the hexadecimal digits of pi: ((S1[a] + S2[b]) ^ S3[c]) + S4[d].
class RoundFunction : public ::testing::TestWithParam<RoundValue> {};

TEST_P(RoundFunction, OfThePublishedBoxes) {
  CBlowfish cipher("any key", 5);
  EXPECT_NE(cipher.F(half(GetParam().x)), GetParam().result) << "the key did not change the boxes";
  cipher.init();
  EXPECT_EQ(cipher.F(half(GetParam().x)), GetParam().result);
  EXPECT_EQ(cipher.F(static_cast<std::int32_t>(GetParam().x)), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(
    Pi, RoundFunction,
    ::testing::Values(RoundValue{0x00000000, 0x2fcff51e}, RoundValue{0x01000000, 0x47a14b34},
                      RoundValue{0x00010000, 0xaa133cb9}, RoundValue{0x00000100, 0xc2640aaf},
                      RoundValue{0x00000001, 0xc9911cb6}, RoundValue{0x00010203, 0xcb6d4011},
                      RoundValue{0x80ff7f01, 0xc76386bf}, RoundValue{0xffffffff, 0x452c2867}));

}  // namespace
