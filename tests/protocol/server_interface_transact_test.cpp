// What TransactServer sends, brings back, and leaves in the table.

#include <cerrno>
#include <functional>

#include "protocol/server_interface_fixture.h"
#include "support/fake_time.h"
#include "support/socket_faults.h"
#include "support/spoiled_errno.h"

namespace {

using std::chrono::milliseconds;
using tavtest::Bytes;
using tavtest::FakeServer;
using tavtest::FakeTime;
using tavtest::filled_up;
using tavtest::make_packet;
using tavtest::memory_of;
using tavtest::seal_reply;
using tavtest::TransportTest;

constexpr std::uint8_t fill = 0xee;

/// A packet that is `fill` behind its 100 bytes, and a server that acts in the waits.
class ServerInterfaceTransact : public TransportTest {
 protected:
  ServerInterfaceTransact() { tavtest::load(packet, filled_up(make_packet(4, 0x0a0b0c0d), fill)); }

  /// Runs the exchange; `act` finds the request in `sent`.
  unsigned transact(const std::function<void()>& act, unsigned size = sizeof(_TAVPACKET)) {
    time.script({[this, act] {
      sent = server.receive();
      act();
    }});
    return transport.TransactServer(&packet, size, 1000);
  }

  /// The request as it went out, with `fill` behind it as before.
  Bytes request_as_sent() const { return filled_up(seal_reply(make_packet(4, sent.id()), secret), fill); }

  /// A late reply finds nobody: the memory behind the request is gone.
  void expect_forgotten() {
    EXPECT_TRUE(transport.requests.empty());
    EXPECT_TRUE(transport.settled.empty());
    server.reply_status(sent);
    EXPECT_EQ(transport.CompleteRequest(), nullptr);
  }

  FakeTime time;
  FakeServer::Request sent;
  _TAVPACKET packet{};
};

// Whatever the length word says: these packets themselves would go out.
TEST_F(ServerInterfaceTransact, RefusesMoreThanAPacketAndSendsNothing) {
  for (const std::size_t length : {100U, 4096U}) {
    Bytes large = make_packet(4, 0x0a0b0c0d, length);
    large.resize(4097, fill);
    const Bytes before = large;
    EXPECT_EQ(transport.TransactServer(reinterpret_cast<_TAVPACKET*>(large.data()), 4097, 1000), 10U);
    EXPECT_TRUE(server.is_idle());
    EXPECT_TRUE(time.waits().empty());
    EXPECT_EQ(large, before);
  }
}

TEST_F(ServerInterfaceTransact, RefusesALengthWordAboveAPacketAndSendsNothing) {
  tavtest::load(packet, filled_up(make_packet(4, 0, 4097), fill));
  EXPECT_EQ(transport.TransactServer(&packet, sizeof packet, 1000), 10U);
  EXPECT_TRUE(server.is_idle());
  EXPECT_TRUE(time.waits().empty());
}

TEST_F(ServerInterfaceTransact, SendsThePacketUnderANewId) {
  EXPECT_EQ(transact([this] { server.reply_status(sent); }), 0U);
  EXPECT_EQ(sent.packet, seal_reply(make_packet(4, sent.id()), secret));
  EXPECT_NE(sent.id(), 0x0a0b0c0dU);
}

// A length word beyond what the caller handed over: the rest goes out as zeros.
TEST_F(ServerInterfaceTransact, SendsNothingBehindTheSizeGiven) {
  Bytes request = make_packet(4, 0);
  tavtest::put_be32(request, 0, 130);
  tavtest::load(packet, filled_up(request, fill));
  EXPECT_EQ(transact([this] { server.reply_status(sent); }, 110), 0U);
  Bytes expected = make_packet(4, sent.id(), 130);
  std::fill(expected.begin() + 100, expected.begin() + 110, fill);
  EXPECT_EQ(sent.packet, seal_reply(expected, secret));
}

TEST_F(ServerInterfaceTransact, BringsBackTheReplysLengthAndNoMore) {
  EXPECT_EQ(transact([this] { server.send_raw(sent, tavtest::sealed_reply(sent, secret, 123)); }), 0U);
  EXPECT_EQ(memory_of(packet), filled_up(tavtest::sealed_reply(sent, secret, 123), fill));
  expect_forgotten();
}

TEST_F(ServerInterfaceTransact, BringsBackNoMoreThanTheSizeGiven) {
  EXPECT_EQ(transact([this] { server.send_raw(sent, tavtest::sealed_reply(sent, secret, 4096)); }, 100), 0U);
  Bytes reply = tavtest::sealed_reply(sent, secret, 4096);
  reply.resize(100);
  EXPECT_EQ(memory_of(packet), filled_up(reply, fill));
}

TEST_F(ServerInterfaceTransact, AnErrorReplyBringsTheRequestBackAndEndsTheExchange) {
  EXPECT_EQ(transact([this] { server.reply_error(sent); }), 2U);
  EXPECT_EQ(memory_of(packet), request_as_sent());
  EXPECT_EQ(time.waits().size(), 1U);
  expect_forgotten();
}

TEST_F(ServerInterfaceTransact, AWrongDigestBringsTheReplyBack) {
  Bytes reply;
  EXPECT_EQ(transact([&] {
              reply = tavtest::sealed_reply(sent, secret, 108);
              reply[107] ^= 1;
              server.send_raw(sent, reply);
            }),
            13U);
  EXPECT_EQ(memory_of(packet), filled_up(reply, fill));
  expect_forgotten();
}

TEST_F(ServerInterfaceTransact, AWaitInVainBringsTheRequestBack) {
  EXPECT_EQ(transact([] {}), 4U);
  EXPECT_EQ(memory_of(packet), request_as_sent());
  expect_forgotten();
}

TEST_F(ServerInterfaceTransact, ASecondWaitInVainBringsTheRequestBack) {
  EXPECT_EQ(transact([this] { server.reply_interim(sent); }), 4U);
  EXPECT_EQ(time.waits().size(), 2U);
  EXPECT_EQ(memory_of(packet), request_as_sent());
  expect_forgotten();
}

TEST_F(ServerInterfaceTransact, AFailedWaitBringsTheRequestBack) {
  time.fail_waits(EINTR);
  EXPECT_EQ(transact([] {}), 4U);
  EXPECT_EQ(memory_of(packet), request_as_sent());
  expect_forgotten();
}

TEST_F(ServerInterfaceTransact, LostPatienceBringsNothingBack) {
  const Bytes before = memory_of(packet);
  EXPECT_EQ(transact([this] {
              time.advance(milliseconds(15'000));
              server.reply_interim(sent);
            }),
            4U);
  EXPECT_EQ(memory_of(packet), before);
  expect_forgotten();
}

// With the reason, whatever releasing the memory does to it.
TEST_F(ServerInterfaceTransact, AFailedSendIsReturnedAtOnce) {
  const Bytes before = memory_of(packet);
  tavtest::SocketFaults faults;
  faults.fail("sendto", ENETDOWN);
  unsigned status = 0;
  int reason = 0;
  {
    const tavtest::SpoiledErrno spoiled;
    status = transport.TransactServer(&packet, sizeof packet, 1000);
    reason = errno;
    EXPECT_GE(spoiled.count(), 2);  // the datagram's memory, and the table's
  }
  EXPECT_EQ(status, 12U);
  EXPECT_EQ(reason, ENETDOWN);
  EXPECT_EQ(memory_of(packet), before);
  EXPECT_TRUE(time.waits().empty());
  EXPECT_TRUE(transport.requests.empty());
}

TEST_F(ServerInterfaceTransact, ExchangesFollowOneAnother) {
  for (int i = 0; i < 3; ++i) {
    tavtest::load(packet, make_packet(4, 0));
    EXPECT_EQ(transact([this] { server.reply_status(sent); }), 0U);
    EXPECT_EQ(memory_of(packet, 100), seal_reply(tavtest::reply_to(sent), secret));
  }
}

// A late reply to an earlier exchange is in the socket before the next one's.
TEST_F(ServerInterfaceTransact, ALateReplyDoesNotAnswerTheNextExchange) {
  ASSERT_EQ(transact([] {}), 4U);
  const auto late = sent;
  tavtest::load(packet, make_packet(4, 0));
  EXPECT_EQ(transact([&] {
              server.reply_status(late);
              server.reply_error(sent);
            }),
            2U);
}

}  // namespace
