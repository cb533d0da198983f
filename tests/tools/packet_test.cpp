#include "tavsim/packet.h"

#include <gtest/gtest.h>

#include "support/oracle.h"
#include "support/wire_packet.h"

namespace tavsim {
namespace {

using tavtest::make_packet;
using tavtest::put_be16;
using tavtest::put_be32;

constexpr const char* passphrase = "secret";

Opened open(const Bytes& datagram) {
  return open_datagram(datagram, Crypto(passphrase));
}

// Enciphers `plain` as it stands behind a right length prefix.
Bytes frame_plain(const Bytes& plain) {
  const Bytes cipher = tavtest::blowfish_encrypt(plain, {'s', 'e', 'c', 'r', 'e'});
  Bytes datagram(4);
  put_be32(datagram, 0, static_cast<std::uint32_t>(cipher.size()));
  datagram.insert(datagram.end(), cipher.begin(), cipher.end());
  return datagram;
}

class OpenLength : public testing::TestWithParam<std::size_t> {};

TEST_P(OpenLength, GivesThePacketThatWasFramed) {
  Bytes packet = make_packet(1, 7, GetParam());
  packet.back() = 0xee;
  const Opened opened = open(tavtest::frame_request(packet, passphrase));
  EXPECT_EQ(opened.refusal, "");
  EXPECT_EQ(opened.packet, tavtest::seal_reply(packet, passphrase));
}

INSTANTIATE_TEST_SUITE_P(Lengths, OpenLength, testing::Values(100, 103, 104, 105, 4095, 4096));

TEST(OpenDatagram, RefusesAnotherPassPhrase) {
  EXPECT_NE(open(tavtest::frame_request(make_packet(1, 7), "other")).refusal, "");
  EXPECT_EQ(open(tavtest::frame_request(make_packet(1, 7), "secreX")).refusal, "wrong digest");
}

TEST(OpenDatagram, RefusesAWrongDigest) {
  Bytes packet = tavtest::seal_reply(make_packet(1, 7), passphrase);
  packet[27] ^= 1;
  packet.resize(104);
  EXPECT_EQ(open(frame_plain(packet)).refusal, "wrong digest");
}

TEST(OpenDatagram, RefusesALengthWordBelowAHundredOrAbove4096) {
  EXPECT_EQ(open(frame_plain(make_packet(1, 7, 96))).refusal, "bad length word or wrong pass phrase");
  Bytes short_packet = make_packet(1, 7, 104);
  put_be32(short_packet, 0, 99);
  EXPECT_EQ(open(frame_plain(short_packet)).refusal, "bad length word or wrong pass phrase");
  Bytes long_packet = make_packet(1, 7, 4104);
  put_be32(long_packet, 0, 4097);
  EXPECT_EQ(open(frame_plain(long_packet)).refusal, "bad length word or wrong pass phrase");
}

TEST(OpenDatagram, RefusesALengthWordThatDisagreesWithTheFraming) {
  Bytes packet = make_packet(1, 7, 104);
  EXPECT_EQ(open(frame_plain(packet)).refusal, "length word and framing disagree");
  put_be32(packet, 0, 112);
  EXPECT_EQ(open(frame_plain(packet)).refusal, "length word and framing disagree");
}

TEST(OpenDatagram, RefusesPaddingThatIsNotZero) {
  Bytes packet = tavtest::seal_reply(make_packet(1, 7), passphrase);
  packet.resize(104);
  packet[103] = 1;
  EXPECT_EQ(open(frame_plain(packet)).refusal, "padding is not zero");
}

TEST(OpenDatagram, RefusesBadFraming) {
  const Bytes good = tavtest::frame_request(make_packet(1, 7), passphrase);
  Bytes wrong_prefix = good;
  wrong_prefix[3] = 96;
  Bytes trailing = good;
  trailing.push_back(0);
  const Bytes cut(good.begin(), good.end() - 8);
  Bytes huge(4 + 4112);
  put_be32(huge, 0, 4112);
  for (const Bytes& datagram : {Bytes{}, Bytes(3), Bytes(4), wrong_prefix, trailing, cut, huge}) {
    EXPECT_EQ(open(datagram).refusal, "bad framing") << datagram.size();
  }
}

TEST(DecodeRequest, ReadsQueryArgumentsAndCursor) {
  tavtest::WireEntry filter;
  filter.user = u"anna";
  filter.address = 0x0a000001;
  filter.word13 = 5;
  const Request request = decode_request(tavtest::query_packet(9, 0x10010, 2, 3, filter));
  EXPECT_EQ(request.code, operation_query);
  EXPECT_EQ(request.id, 9U);
  EXPECT_EQ(request.length, 116U);
  EXPECT_EQ(request.arguments, (std::array<std::uint32_t, 3>{0x10010, 2, 3}));
  EXPECT_EQ(request.entry.user, u"anna");
  EXPECT_EQ(request.entry.address, 0x0a000001U);
  EXPECT_EQ(request.entry.word13, 5U);
  EXPECT_EQ(request.problem, "");
}

TEST(DecodeRequest, ReadsAnAddedEntryBehindItsCount) {
  tavtest::WireEntry added;
  added.string2 = u"x";
  added.tag = 3;
  const Request request = decode_request(tavtest::entry_packet(2, 1, added));
  EXPECT_EQ(request.entry.string2, u"x");
  EXPECT_EQ(request.entry.tag, 3U);
  EXPECT_EQ(request.problem, "");
}

TEST(DecodeRequest, ReadsThePortInTheFirstTwoBytesOfTheArguments) {
  Bytes packet = make_packet(4, 1);
  packet[28] = 0x1f;
  packet[29] = 0x90;
  EXPECT_EQ(decode_request(packet).port, 8080);
}

TEST(DecodeRequest, NamesWhatCannotBeCarriedOut) {
  EXPECT_EQ(decode_request(make_packet(0, 1)).problem, "unknown request code");
  EXPECT_EQ(decode_request(make_packet(6, 1)).problem, "unknown request code");
  EXPECT_EQ(decode_request(make_packet(2, 1)).problem, "entry count is 0");
  Bytes two = make_packet(2, 1);
  put_be32(two, 28, 2);
  EXPECT_EQ(decode_request(two).problem, "entry count is 2");
  Bytes reaching = make_packet(3, 1);
  put_be16(reaching, 46, 2);
  EXPECT_EQ(decode_request(reaching).problem, "entry reaches past the packet");
}

Request request_of(std::uint8_t code) {
  return decode_request(make_packet(code, 0x01020304));
}

TEST(Replies, AStatusIsAHundredBytesWithCodeFlagsAndId) {
  Bytes expected(100);
  expected[3] = 100;
  expected[4] = 0xc2;
  for (std::uint8_t i = 0; i < 4; ++i) {
    expected[8U + i] = static_cast<std::uint8_t>(i + 1);
  }
  EXPECT_EQ(status_reply(request_of(2), 0xc0), expected);
}

TEST(Replies, TheFlagsOfAReplyNeverComeFromAnUnknownCode) {
  EXPECT_EQ(status_reply(request_of(0xff), reply_final)[4], 0x9f);
}

TEST(Replies, AWordStandsAtOffset28) {
  const Bytes reply = word_reply(request_of(1), 0xa1b2c3d4);
  EXPECT_EQ(reply.size(), 100U);
  EXPECT_EQ(reply[4], 0x81);
  EXPECT_EQ(to_hex(ByteView(reply).subspan(28, 8)), "a1b2c3d400000000");
}

TEST(Replies, AnEntryReplyHasCountOneAndTheEntryBehindIt) {
  Entry entry;
  entry.user = u"anna";
  entry.data = {1, 2, 3};
  tavtest::WireEntry wire;
  wire.user = u"anna";
  wire.data = {1, 2, 3};
  EXPECT_EQ(to_hex(entry_reply(request_of(3), entry)), to_hex(tavtest::entry_packet(0x83, 0x01020304, wire)));
}

TEST(Replies, SealWritesTheKeyedDigest) {
  Bytes reply = word_reply(request_of(1), 5);
  const Bytes expected = tavtest::seal_reply(reply, passphrase);
  seal(reply, Crypto(passphrase));
  EXPECT_EQ(reply, expected);
}

}  // namespace
}  // namespace tavsim
