#include <gtest/gtest.h>
#include <tavlib/error_numbers.h>
#include <tavlib/protocol/packet.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "protocol/packet_image.h"
#include "support/oracle.h"
#include "support/wire_packet.h"

// DeBlowPacket against datagrams that libcrypto made. The eight bytes behind a datagram, which are deciphered
// as well, are the last of the block of memory.

namespace {

using tavtest::Bytes;
using tavtest::holds;
using tavtest::PacketImage;

constexpr unsigned char kBefore = 0x00;  // what the packet holds before each call
constexpr std::size_t kExtra = 8;
const Bytes kKey = tavtest::bytes_of("phras");

/// A datagram of the given cipher text, with eight bytes behind it.
Bytes datagram_of(const Bytes& plain, const Bytes& extra = Bytes(kExtra, 0x5A)) {
  Bytes datagram(4);
  tavtest::put_be32(datagram, 0, static_cast<std::uint32_t>(plain.size()));
  const Bytes cipher = plain.empty() ? Bytes() : tavtest::blowfish_encrypt(plain, kKey);
  datagram.insert(datagram.end(), cipher.begin(), cipher.end());
  datagram.insert(datagram.end(), extra.begin(), extra.end());
  return datagram;
}

/// `size` bytes of which the first four are the length word.
Bytes plain_packet(std::size_t size, std::uint32_t length) {
  Bytes plain(size);
  for (std::size_t i = 0; i < size; ++i)
    plain[i] = static_cast<std::uint8_t>(i * 11 + 1);
  tavtest::put_be32(plain, 0, length);
  return plain;
}

/// A packet of `kBefore` with the first `count` bytes of `bytes` at its start.
PacketImage starting_with(const Bytes& bytes, std::size_t count) {
  PacketImage image(kBefore);
  for (std::size_t i = 0; i < count; ++i)
    image.byte(i, bytes[i]);
  return image;
}

unsigned deblow(_TAVPACKET* packet, unsigned size, const Bytes& datagram) {
  Bytes key = kKey;
  CBlowfish cipher(key.data(), 5);
  return DeBlowPacket(packet, size, datagram.data(), &cipher);
}

class FramedRequest : public ::testing::TestWithParam<std::size_t> {};

TEST_P(FramedRequest, IsDecipheredWhole) {
  const std::size_t length = GetParam();
  Bytes sent = tavtest::make_packet(2, 77, length);
  for (std::size_t i = 28; i < length; ++i)
    sent[i] = static_cast<std::uint8_t>(i * 3);
  Bytes datagram = tavtest::frame_request(sent, "phrase");
  const Bytes extra(kExtra, 0x5A);
  datagram.insert(datagram.end(), extra.begin(), extra.end());

  const auto packet = PacketImage(kBefore).packet();
  EXPECT_EQ(deblow(packet.get(), 4096, datagram), 0U);
  // The padding, and the block behind it, follow the packet where there is room for them.
  Bytes expected = tavtest::blowfish_decrypt(Bytes(datagram.begin() + 4, datagram.end()), kKey);
  ASSERT_TRUE(std::equal(sent.begin(), sent.begin() + 12, expected.begin()));
  EXPECT_TRUE(holds(*packet, starting_with(expected, std::min<std::size_t>(expected.size(), 4096))));
  EXPECT_EQ(VerifyMd5Sum(packet.get(), tavtest::key_buffer("phrase").data()), 1);
}

INSTANTIATE_TEST_SUITE_P(Lengths, FramedRequest,
                         ::testing::Values(100, 103, 104, 105, 4080, 4088, 4095, 4096));

TEST(DeBlowPacket, AcceptsTheLongestCipherText) {
  const Bytes plain = plain_packet(8192, 4096);
  const auto packet = PacketImage(kBefore).packet();
  EXPECT_EQ(deblow(packet.get(), 4096, datagram_of(plain)), 0U);
  EXPECT_TRUE(holds(*packet, starting_with(plain, 4096)));
}

/// Only the length word is there to be read.
class RefusedCipherLength : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(RefusedCipherLength, GivesBadPacketAndWritesNothing) {
  Bytes datagram(4);
  tavtest::put_be32(datagram, 0, GetParam());
  const PacketImage before = PacketImage(0xEE).be32(0, 100);
  const auto packet = before.packet();
  EXPECT_EQ(deblow(packet.get(), 4096, datagram), unsigned{TAV_E_BADPACKET});
  EXPECT_TRUE(holds(*packet, before));
}

INSTANTIATE_TEST_SUITE_P(TooLong, RefusedCipherLength,
                         ::testing::Values(8193, 8200, 0x7FFFFFF8, 0xFFFFFFF8, 0xFFFFFFFF));
INSTANTIATE_TEST_SUITE_P(NoMultipleOfEight, RefusedCipherLength, ::testing::Values(1, 7, 12, 100, 103, 8191));

TEST(DeBlowPacket, EmptyCipherTextIsTheBlockBehindIt) {
  const Bytes block{0, 0, 0, 100, 1, 2, 3, 4};
  const auto packet = PacketImage(kBefore).packet();
  EXPECT_EQ(deblow(packet.get(), 4096, datagram_of({}, tavtest::blowfish_encrypt(block, kKey))), 0U);
  EXPECT_TRUE(holds(*packet, starting_with(block, 8)));
}

class Room : public ::testing::TestWithParam<unsigned> {};

TEST_P(Room, IsNeverExceeded) {
  const Bytes plain = plain_packet(104, 100);
  const auto packet = PacketImage(kBefore).packet();
  EXPECT_EQ(deblow(packet.get(), GetParam(), datagram_of(plain)), 0U);
  EXPECT_TRUE(holds(*packet, starting_with(plain, GetParam())));
}

INSTANTIATE_TEST_SUITE_P(Sizes, Room, ::testing::Values(0, 1, 4, 5, 99, 103, 104));

TEST(DeBlowPacket, RoomOfOneByteBehindTheCipherTextTakesOneByteOfTheExtraBlock) {
  const Bytes plain = plain_packet(104, 100);
  const Bytes datagram = datagram_of(plain);
  const Bytes whole = tavtest::blowfish_decrypt(Bytes(datagram.begin() + 4, datagram.end()), kKey);
  const auto packet = PacketImage(kBefore).packet();
  EXPECT_EQ(deblow(packet.get(), 105, datagram), 0U);
  EXPECT_TRUE(holds(*packet, starting_with(whole, 105)));
}

struct LengthCase {
  std::uint32_t length;
  unsigned status;
};

class DecipheredLength : public ::testing::TestWithParam<LengthCase> {};

TEST_P(DecipheredLength, IsAtMostAPacket) {
  const Bytes plain = plain_packet(112, GetParam().length);
  const auto packet = PacketImage(kBefore).packet();
  EXPECT_EQ(deblow(packet.get(), 112, datagram_of(plain)), GetParam().status);
  EXPECT_TRUE(holds(*packet, starting_with(plain, 112)))
      << "the packet is copied before its length is judged";
}

INSTANTIATE_TEST_SUITE_P(Words, DecipheredLength,
                         ::testing::Values(LengthCase{0, 0}, LengthCase{99, 0}, LengthCase{4096, 0},
                                           LengthCase{4097, TAV_E_BADPACKET},
                                           LengthCase{0x01000064, TAV_E_BADPACKET},
                                           LengthCase{0xFFFFFFFF, TAV_E_BADPACKET}));

TEST(DeBlowPacket, RoomWithoutALengthWordIsJudgedByTheDecipheredOne) {
  for (unsigned room : {0U, 3U}) {
    const auto packet = std::make_unique<unsigned char[]>(room);
    auto* const target = reinterpret_cast<_TAVPACKET*>(packet.get());
    EXPECT_EQ(deblow(target, room, datagram_of(plain_packet(104, 4096))), 0U);
    EXPECT_EQ(deblow(target, room, datagram_of(plain_packet(104, 4097))), unsigned{TAV_E_BADPACKET});
  }
}

TEST(DeBlowPacket, AnotherKeyGivesAnotherPacket) {
  const Bytes plain = plain_packet(104, 100);
  const auto packet = PacketImage(kBefore).packet();
  CBlowfish other("phraX", 5);
  DeBlowPacket(packet.get(), 4096, datagram_of(plain).data(), &other);
  EXPECT_NE(std::memcmp(packet.get(), plain.data(), 8), 0);
}

}  // namespace
