#include "tavsim/responder.h"

#include <gtest/gtest.h>

#include "support/wire_packet.h"

namespace tavsim {
namespace {

using tavtest::get_be32;
using tavtest::make_packet;
using tavtest::put_be16;
using tavtest::put_be32;

constexpr std::size_t count_offset = 28;

tavtest::WireEntry anna() {
  tavtest::WireEntry entry;
  entry.user = u"anna";
  entry.address = 0x0a000001;
  return entry;
}

Bytes ask(Responder& responder, const Bytes& packet) {
  return responder.answer(decode_request(packet)).packet;
}

TEST(Responder, AnswersAVersionQueryWithItsVersion) {
  Responder responder(Store{}, 0x00020005);
  const Bytes reply = ask(responder, make_packet(1, 3));
  EXPECT_EQ(reply[4], 0x81);
  EXPECT_EQ(get_be32(reply, 8), 3U);
  EXPECT_EQ(get_be32(reply, 28), 0x00020005U);
}

TEST(Responder, AnswersAQueryWithNoMatchByACountOfZero) {
  Responder responder(Store{}, 1);
  const Bytes reply = ask(responder, tavtest::query_packet(3, 0, 0, 0, {}));
  EXPECT_EQ(reply.size(), 100U);
  EXPECT_EQ(reply[4], 0x83);
  EXPECT_EQ(get_be32(reply, count_offset), 0U);
}

TEST(Responder, AnAddedEntryIsFoundByTheNextQuery) {
  Responder responder(Store{}, 1);
  EXPECT_EQ(ask(responder, tavtest::entry_packet(2, 1, anna())), make_packet(0x82, 1));
  tavtest::WireEntry expected = anna();
  expected.word13 = 1;
  EXPECT_EQ(to_hex(ask(responder, tavtest::query_packet(2, 0x10, 0, 0, anna()))),
            to_hex(tavtest::entry_packet(0x83, 2, expected)));
}

TEST(Responder, RemembersThePortThatItListensOn) {
  Responder responder(Store{}, 1);
  Bytes listen = make_packet(4, 1);
  put_be16(listen, 28, 8080);
  const Request stop = decode_request(make_packet(5, 2));
  EXPECT_EQ(ask(responder, listen), make_packet(0x84, 1));
  const Answer first = responder.answer(stop);
  EXPECT_EQ(first.packet, make_packet(0x85, 2));
  EXPECT_EQ(first.summary, "stopped, was listening on port 8080");
  EXPECT_EQ(responder.answer(stop).summary, "stopped, was listening on no port");
}

TEST(Responder, RefusesWhatItCannotCarryOut) {
  Responder responder(Store{}, 1);
  EXPECT_EQ(ask(responder, make_packet(9, 1)), make_packet(0xc9, 1));
  EXPECT_EQ(ask(responder, make_packet(2, 1)), make_packet(0xc2, 1));
}

// Three texts that overlap in the request would not fit side by side into a reply.
TEST(Responder, RefusesAnEntryThatNoReplyCanCarry) {
  Responder responder(Store{}, 1);
  Bytes packet = make_packet(2, 1, 2096);
  put_be32(packet, count_offset, 1);
  for (const std::size_t slot : {36U, 40U, 44U}) {
    put_be16(packet, slot + 2, 500);
  }
  EXPECT_EQ(ask(responder, packet), make_packet(0xc2, 1));
  put_be16(packet, 46, 0);
  EXPECT_EQ(ask(responder, packet), make_packet(0xc2, 1)) << "100 + 4 * 1000 is 4100";
  put_be16(packet, 42, 499);
  EXPECT_EQ(ask(responder, packet), make_packet(0x82, 1)) << "100 + 4 * 999 is 4096";
}

}  // namespace
}  // namespace tavsim
