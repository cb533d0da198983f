// Which datagrams CompleteRequest takes, and as what.

#include <cerrno>
#include <string>

#include "protocol/server_interface_fixture.h"
#include "support/socket_faults.h"

namespace {

using tavtest::Bytes;
using tavtest::FakeServer;
using tavtest::make_packet;
using tavtest::memory_of;
using tavtest::seal_reply;
using tavtest::SocketFaults;
using tavtest::TransportTest;
using Request = ServerInterface::ASyncRequest;

unsigned seven(ServerInterface* /*transport*/, Request* /*request*/) {
  return 7;
}

/// A request in flight, whose completion routine answers 7 when it is run.
class ServerInterfaceReceive : public TransportTest {
 protected:
  ServerInterfaceReceive() {
    request.completion = seven;
    sent = start(request);
  }

  /// The reply is dropped: nothing comes of it, and the right one is still taken.
  void expect_dropped(const Bytes& datagram) {
    server.send_raw(sent, datagram);
    EXPECT_EQ(transport.CompleteRequest(), nullptr);
    EXPECT_EQ(request.status, 14U);
    EXPECT_EQ(memory_of(request.packet, 100), sent.packet);
    EXPECT_EQ(transport.requests.count(sent.id()), 1U);
  }

  /// The reply settles the request, which is registered no longer.
  void expect_settled(const Bytes& datagram, unsigned status) {
    server.send_raw(sent, datagram);
    EXPECT_EQ(transport.CompleteRequest(), &request);
    EXPECT_EQ(request.status, status);
    EXPECT_TRUE(transport.requests.empty());
  }

  Bytes reply_with_code(unsigned code) const {
    return seal_reply(make_packet(static_cast<std::uint8_t>(code), sent.id()), secret);
  }

  Request request;
  FakeServer::Request sent;
};

TEST_F(ServerInterfaceReceive, NothingArrivedIsNothing) {
  EXPECT_EQ(transport.CompleteRequest(), nullptr);
  EXPECT_EQ(request.status, 14U);
}

// Low bits carry the request's code and do not matter.
class ServerInterfaceFlags : public ServerInterfaceReceive, public testing::WithParamInterface<unsigned> {};

using DroppedCode = ServerInterfaceFlags;
TEST_P(DroppedCode, IsNoReply) {
  expect_dropped(reply_with_code(GetParam()));
}
INSTANTIATE_TEST_SUITE_P(Codes, DroppedCode, testing::Values(0x00, 0x01, 0x1f, 0x40, 0x41, 0x5f));

using InterimCode = ServerInterfaceFlags;
TEST_P(InterimCode, KeepsTheRequestWaiting) {
  request.status = 2;
  server.send_raw(sent, reply_with_code(GetParam()));
  EXPECT_EQ(transport.CompleteRequest(), &request);
  EXPECT_EQ(request.status, 14U);
  EXPECT_EQ(memory_of(request.packet, 100), sent.packet);
  EXPECT_EQ(transport.requests.count(sent.id()), 1U);
}
INSTANTIATE_TEST_SUITE_P(Codes, InterimCode,
                         testing::Values(0x20, 0x21, 0x3f, 0x60, 0x61, 0x7f, 0xa0, 0xa1, 0xbf, 0xe0, 0xe1,
                                         0xff));

using ErrorCode = ServerInterfaceFlags;
TEST_P(ErrorCode, IsAServerErrorAndLeavesTheRequestRegistered) {
  server.send_raw(sent, reply_with_code(GetParam()));
  EXPECT_EQ(transport.CompleteRequest(), &request);
  EXPECT_EQ(request.status, 2U);
  EXPECT_EQ(memory_of(request.packet, 100), sent.packet);
  EXPECT_EQ(transport.requests.count(sent.id()), 1U);
}
INSTANTIATE_TEST_SUITE_P(Codes, ErrorCode, testing::Values(0xc0, 0xc1, 0xdf));

using FinalCode = ServerInterfaceFlags;
TEST_P(FinalCode, SettlesTheRequest) {
  const Bytes reply = reply_with_code(GetParam());
  expect_settled(reply, 7);
  EXPECT_EQ(memory_of(request.packet, 100), reply);
}
INSTANTIATE_TEST_SUITE_P(Codes, FinalCode, testing::Values(0x80, 0x81, 0x9f));

// Interim and error replies count without a right digest.
TEST_F(ServerInterfaceReceive, ChecksNoDigestBeforeTheFinalReply) {
  server.send_raw(sent, make_packet(0x21, sent.id()));
  EXPECT_EQ(transport.CompleteRequest(), &request);
  EXPECT_EQ(request.status, 14U);
  server.send_raw(sent, make_packet(0xc1, sent.id()));
  EXPECT_EQ(transport.CompleteRequest(), &request);
  EXPECT_EQ(request.status, 2U);
}

// A datagram of n bytes whose length word asks for no more than that: all of the header must be there. What
// an earlier datagram left in memory behind it does not count.
TEST_F(ServerInterfaceReceive, DropsWhatIsShorterThanAHeader) {
  for (const unsigned flags : {0x20U, 0x80U, 0xc0U}) {
    for (std::size_t size = 0; size < 12; ++size) {
      SCOPED_TRACE(std::to_string(size) + " bytes");
      Bytes datagram = make_packet(static_cast<std::uint8_t>(flags), sent.id());
      tavtest::put_be32(datagram, 0, 101);
      expect_dropped(datagram);
      tavtest::put_be32(datagram, 0, 0);
      datagram.resize(size);
      expect_dropped(datagram);
    }
  }
}

TEST_F(ServerInterfaceReceive, TakesAnInterimReplyThatIsAHeaderAlone) {
  Bytes datagram = make_packet(0x20, sent.id());
  tavtest::put_be32(datagram, 0, 12);
  datagram.resize(12);
  server.send_raw(sent, datagram);
  EXPECT_EQ(transport.CompleteRequest(), &request);
  EXPECT_EQ(request.status, 14U);
}

TEST_F(ServerInterfaceReceive, DropsWhatIsShorterThanItsLengthWord) {
  Bytes reply = tavtest::sealed_reply(sent, secret, 200);
  for (const std::size_t size : {12U, 13U, 99U, 100U, 199U}) {
    SCOPED_TRACE(size);
    expect_dropped(Bytes(reply.begin(), reply.begin() + static_cast<std::ptrdiff_t>(size)));
  }
  expect_settled(reply, 7);
}

TEST_F(ServerInterfaceReceive, DropsLengthWordsThatNoDatagramCanHold) {
  for (const std::uint32_t length : {4097U, 5000U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
    SCOPED_TRACE(length);
    Bytes reply = make_packet(0x81, sent.id(), 5000);
    tavtest::put_be32(reply, 0, length);
    expect_dropped(reply);
  }
}

TEST_F(ServerInterfaceReceive, TakesTheLargestPacket) {
  const Bytes reply = tavtest::sealed_reply(sent, secret, 4096);
  expect_settled(reply, 7);
  EXPECT_EQ(memory_of(request.packet), reply);
}

// What stands behind the length word's bytes counts for nothing and goes nowhere.
TEST_F(ServerInterfaceReceive, TakesOnlyTheLengthWordsBytesOfALongerDatagram) {
  std::memset(request.packet.data, 0xee, sizeof request.packet.data);
  const Bytes reply = tavtest::sealed_reply(sent, secret, 120);
  Bytes datagram = reply;
  datagram.resize(5000, 0x99);
  expect_settled(datagram, 7);
  EXPECT_EQ(memory_of(request.packet), tavtest::filled_up(reply, 0xee));
}

// The request's own packet, still behind the few bytes of the reply, would verify.
class ServerInterfaceShortLength : public ServerInterfaceReceive,
                                   public testing::WithParamInterface<std::uint32_t> {};

TEST_P(ServerInterfaceShortLength, OfAFinalReplyIsABadPacket) {
  for (const std::size_t size : {12U, 99U, 100U, 4096U}) {
    if (size < GetParam()) continue;
    Bytes reply = sent.packet;
    reply.resize(size);
    tavtest::put_be32(reply, 0, GetParam());
    reply[4] = 0x81;
    SCOPED_TRACE(size);
    expect_settled(reply, 13);
    sent = start(request);
  }
}

INSTANTIATE_TEST_SUITE_P(Words, ServerInterfaceShortLength, testing::Values(0, 1, 2, 3, 4, 12, 28, 99));

TEST_F(ServerInterfaceReceive, DropsRepliesToUnknownIds) {
  expect_dropped(seal_reply(make_packet(0x81, sent.id() + 1), secret));
  expect_dropped(seal_reply(make_packet(0x81, 0), secret));
  expect_dropped(make_packet(0x21, sent.id() + 1));
  expect_dropped(make_packet(0xc1, sent.id() + 1));
}

TEST_F(ServerInterfaceReceive, AcceptsAnySender) {
  FakeServer stranger(secret, "127.0.0.9");
  const Bytes reply = reply_with_code(0x81);
  stranger.send_raw(sent, reply);
  EXPECT_EQ(transport.CompleteRequest(), &request);
  EXPECT_EQ(request.status, 7U);
}

TEST_F(ServerInterfaceReceive, AFailedReceiveIsADroppedDatagram) {
  const Bytes reply = reply_with_code(0x81);
  server.send_raw(sent, reply);
  {
    SocketFaults faults;
    faults.fail("recvfrom", EINTR);
    EXPECT_EQ(transport.CompleteRequest(), nullptr);
    EXPECT_EQ(request.status, 14U);
  }
  EXPECT_EQ(transport.CompleteRequest(), &request);
  EXPECT_EQ(request.status, 7U);
}

TEST_F(ServerInterfaceReceive, ReadsOneDatagramAtATime) {
  Request second;
  const auto other = start(second);
  server.reply_status(other);
  server.reply_status(sent);
  EXPECT_EQ(transport.CompleteRequest(), &second);
  EXPECT_EQ(request.status, 14U);
  EXPECT_EQ(transport.CompleteRequest(), &request);
  EXPECT_EQ(transport.CompleteRequest(), nullptr);
}

}  // namespace
