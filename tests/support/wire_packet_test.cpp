#include "support/wire_packet.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace tavtest {
namespace {

TEST(WirePacket, NumbersAreBigEndianAndStayInside) {
  Bytes bytes(4);
  put_be32(bytes, 0, 0xf1e2d3c4);
  EXPECT_EQ(bytes, (Bytes{0xf1, 0xe2, 0xd3, 0xc4}));
  EXPECT_EQ(get_be32(bytes, 0), 0xf1e2d3c4U);
  EXPECT_EQ(get_be16(bytes, 2), 0xd3c4);
  EXPECT_THROW(put_be16(bytes, 3, 0), std::out_of_range);
  EXPECT_THROW(get_be32(bytes, 1), std::out_of_range);
}

TEST(WirePacket, HasItsLengthCodeAndId) {
  const Bytes packet = make_packet(0x83, 0x01020304);
  Bytes expected(100);
  expected[3] = 100;
  expected[4] = 0x83;
  expected[8] = 1;
  expected[9] = 2;
  expected[10] = 3;
  expected[11] = 4;
  EXPECT_EQ(packet, expected);
}

TEST(WirePacket, AnEntryHasItsDescriptorAndItsDataArea) {
  const WireEntry entry{
      .tag = 1, .user = u"ab", .string3 = u"\u20ac", .data = {9, 8}, .address = 6, .flag8 = 2, .word14 = 14};
  const Bytes packet = entry_packet(2, 5, entry);
  Bytes expected(100 + 4 * 3 + 2);
  expected[3] = 114;
  expected[4] = 2;
  expected[11] = 5;
  expected[31] = 1;        // one entry
  expected[32 + 3] = 1;    // tag
  expected[32 + 7] = 2;    // user: at 0, 2 characters
  expected[32 + 13] = 8;   // string3: at 8,
  expected[32 + 15] = 1;   // 1 character
  expected[32 + 17] = 12;  // data: at 12,
  expected[32 + 19] = 2;   // 2 bytes
  expected[32 + 23] = 6;   // address
  expected[32 + 47] = 2;   // flag8
  expected[32 + 55] = 14;  // word14
  expected[96] = 'a';
  expected[98] = 'b';
  expected[104] = 0xac;
  expected[105] = 0x20;
  expected[108] = 9;
  expected[109] = 8;
  EXPECT_EQ(packet, expected);
}

TEST(WirePacket, AQueryHasItsArgumentsBeforeTheFilter) {
  const Bytes packet = query_packet(5, 0x10010, 2, 3, {.address = 0x7f000001});
  EXPECT_EQ(packet.size(), 100U);
  EXPECT_EQ(packet[4], 3);
  EXPECT_EQ(get_be32(packet, 28), 0x10010U);
  EXPECT_EQ(get_be32(packet, 32), 2U);
  EXPECT_EQ(get_be32(packet, 36), 3U);
  EXPECT_EQ(get_be32(packet, 60), 0x7f000001U);
}

}  // namespace
}  // namespace tavtest
