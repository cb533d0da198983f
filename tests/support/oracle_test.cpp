#include "support/oracle.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

#include "support/wire_packet.h"

namespace tavtest {
namespace {

Bytes from_hex(const std::string& digits) {
  Bytes bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

TEST(Oracle, DigestsThePublishedVectors) {
  EXPECT_EQ(md5({}), from_hex("d41d8cd98f00b204e9800998ecf8427e"));
  EXPECT_EQ(md5(bytes_of("abc")), from_hex("900150983cd24fb0d6963f7d28e17f72"));
}

TEST(Oracle, EnciphersThePublishedVectorOfAFiveByteKey) {
  const Bytes plain = from_hex("fedcba9876543210");
  const Bytes cipher = from_hex("b39e44481bdb1e6e");
  const Bytes key = from_hex("f0e1d2c3b4");
  EXPECT_EQ(blowfish_encrypt(plain, key), cipher);
  EXPECT_EQ(blowfish_decrypt(cipher, key), plain);
}

TEST(Oracle, KeyBufferIsThePassPhraseCutOrFilledWithZerosTo16Bytes) {
  EXPECT_EQ(key_buffer(""), Bytes(16, 0));
  EXPECT_EQ(key_buffer("abc"), from_hex("61626300000000000000000000000000"));
  EXPECT_EQ(key_buffer("0123456789abcdefgh"), bytes_of("0123456789abcdef"));
}

TEST(Oracle, DigestIsTakenWithTheKeyInTheDigestsPlace) {
  Bytes packet = make_packet(1, 7);
  Bytes digested = packet;
  for (std::size_t i = 0; i < 6; ++i)
    digested[12 + i] = static_cast<std::uint8_t>("secret"[i]);
  const Bytes sealed = seal_reply(packet, "secret");
  EXPECT_EQ(Bytes(sealed.begin() + 12, sealed.begin() + 28), md5(digested));
  EXPECT_TRUE(digest_is_right(sealed, "secret"));
  EXPECT_FALSE(digest_is_right(sealed, "secreT"));
}

TEST(Oracle, AFramedRequestOpensAgain) {
  for (const std::size_t length : {100U, 103U, 104U, 4096U}) {
    const Bytes packet = make_packet(1, 7, length);
    const Bytes datagram = frame_request(packet, "secret");
    EXPECT_EQ(datagram.size(), 4 + (length / 8 + 1) * 8);
    EXPECT_EQ(get_be32(datagram, 0), (length / 8 + 1) * 8);
    EXPECT_EQ(open_request(datagram, "secret"), seal_reply(packet, "secret"));
  }
}

TEST(Oracle, AShortPacketIsFramedWithoutADigest) {
  const Bytes packet = make_packet(1, 7, 99);
  EXPECT_EQ(open_request(frame_request(packet, "secret"), "secret"), packet);
}

TEST(Oracle, RefusesToOpenWhatIsNotFramedExactly) {
  const Bytes good = frame_request(make_packet(1, 7), "secret");
  const Bytes key = bytes_of("secre");
  const auto refused = [&](const std::function<void(Bytes&)>& damage) {
    Bytes plain = blowfish_decrypt(Bytes(good.begin() + 4, good.end()), key);
    damage(plain);
    const Bytes cipher = blowfish_encrypt(plain, key);
    Bytes datagram(4);
    put_be32(datagram, 0, static_cast<std::uint32_t>(cipher.size()));
    datagram.insert(datagram.end(), cipher.begin(), cipher.end());
    EXPECT_THROW(open_request(datagram, "secret"), std::runtime_error);
  };
  refused([](Bytes& plain) { plain[12] ^= 1; });                     // digest
  refused([](Bytes& plain) { plain[50] ^= 1; });                     // content
  refused([](Bytes& plain) { plain[103] = 1; });                     // padding
  refused([](Bytes& plain) { plain.resize(plain.size() + 8, 0); });  // too much padding
  EXPECT_THROW(open_request(good, "other"), std::runtime_error);
  EXPECT_THROW(open_request(Bytes(good.begin(), good.end() - 8), "secret"), std::runtime_error);
  EXPECT_THROW(open_request({}, "secret"), std::runtime_error);
}

}  // namespace
}  // namespace tavtest
