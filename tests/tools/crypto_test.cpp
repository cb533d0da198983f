#include "tavsim/crypto.h"

#include <gtest/gtest.h>

#include <string>

#include "support/oracle.h"

namespace tavsim {
namespace {

// Of the published Blowfish vectors with keys of every length, the one with five bytes.
constexpr const char* five_byte_key = "\xF0\xE1\xD2\xC3\xB4";
constexpr const char* five_byte_cipher = "b39e44481bdb1e6e";
constexpr const char* five_byte_plain = "fedcba9876543210";

Bytes from_hex(const std::string& hex) {
  Bytes bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

TEST(Crypto, DeciphersThePublishedVectorOfAFiveByteKey) {
  Bytes block = from_hex(five_byte_cipher);
  Crypto(five_byte_key).decipher(block);
  EXPECT_EQ(to_hex(block), five_byte_plain);
}

TEST(Crypto, OnlyTheFirstFiveCharactersKeyTheCipher) {
  Bytes block = from_hex(five_byte_cipher);
  Crypto(std::string(five_byte_key) + "and more").decipher(block);
  EXPECT_EQ(to_hex(block), five_byte_plain);
}

TEST(Crypto, EachBlockIsDecipheredOnItsOwnAndCallsLeaveNothingBehind) {
  const Crypto crypto(five_byte_key);
  for (int call = 0; call < 2; ++call) {
    Bytes blocks = from_hex(std::string(five_byte_cipher) + five_byte_cipher);
    crypto.decipher(blocks);
    EXPECT_EQ(to_hex(blocks), std::string(five_byte_plain) + five_byte_plain);
  }
}

Bytes counting_packet() {
  Bytes packet;
  for (unsigned i = 0; i < 101; ++i) {
    packet.push_back(static_cast<std::uint8_t>(i));
  }
  return packet;
}

// The digest field itself is replaced by the key buffer, whatever it holds.
TEST(Crypto, DigestIsMd5OfThePacketWithTheKeyBufferInTheDigestsPlace) {
  Bytes keyed = counting_packet();
  const std::string key("secret\0\0\0\0\0\0\0\0\0\0", 16);
  std::copy(key.begin(), key.end(), keyed.begin() + 12);
  const Digest digest = Crypto("secret").packet_digest(counting_packet());
  EXPECT_EQ(Bytes(digest.begin(), digest.end()), tavtest::md5(keyed));
}

TEST(Crypto, SixteenCharactersOfThePassPhraseCountForTheDigest) {
  const Digest sixteen = Crypto("0123456789abcdef").packet_digest(counting_packet());
  EXPECT_EQ(Crypto("0123456789abcdefgh").packet_digest(counting_packet()), sixteen);
  EXPECT_NE(Crypto("0123456789abcdeX").packet_digest(counting_packet()), sixteen);
}

TEST(Crypto, AnEmptyPassPhraseIsSixteenZeroBytes) {
  Bytes keyed = counting_packet();
  std::fill_n(keyed.begin() + 12, 16, std::uint8_t{0});
  const Digest digest = Crypto("").packet_digest(counting_packet());
  EXPECT_EQ(Bytes(digest.begin(), digest.end()), tavtest::md5(keyed));
}

}  // namespace
}  // namespace tavsim
