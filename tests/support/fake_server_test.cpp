#include "support/fake_server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

#include "support/oracle.h"

namespace tavtest {
namespace {

// A client of plain socket calls.
class FakeServerTest : public testing::Test {
 protected:
  ~FakeServerTest() override { close(socket_); }

  void send(const Bytes& datagram) const {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(server.port());
    to.sin_addr.s_addr = static_cast<in_addr_t>(server.address_number());
    EXPECT_EQ(
        sendto(socket_, datagram.data(), datagram.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to),
        static_cast<ssize_t>(datagram.size()));
  }

  FakeServer::Request request(std::uint8_t code) {
    send(frame_request(make_packet(code, 0x01020304), "secret"));
    return server.receive();
  }

  Bytes answer() const {
    Bytes datagram(65536);
    const ssize_t length = recv(socket_, datagram.data(), datagram.size(), MSG_DONTWAIT);
    datagram.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return datagram;
  }

  FakeServer server{"secret", "127.0.0.3"};

 private:
  int socket_ = socket(AF_INET, SOCK_DGRAM, 0);
};

TEST_F(FakeServerTest, ListensWhereItSays) {
  EXPECT_EQ(server.address(), "127.0.0.3");
  EXPECT_EQ(server.address_number(), inet_addr("127.0.0.3"));
  EXPECT_NE(server.port(), 0);
  const ConfiguredServer configured = server.configured();
  EXPECT_EQ(configured.address, "127.0.0.3");
  EXPECT_EQ(configured.port, server.port());
  EXPECT_EQ(configured.passphrase, "secret");
}

TEST_F(FakeServerTest, ReceivesRequestsInTheirOrder) {
  EXPECT_TRUE(server.is_idle());
  send(frame_request(make_packet(1, 10), "secret"));
  send(frame_request(make_packet(5, 11), "secret"));
  EXPECT_FALSE(server.is_idle());
  const FakeServer::Request first = server.receive();
  EXPECT_EQ(first.code(), 1);
  EXPECT_EQ(first.id(), 10U);
  EXPECT_EQ(server.receive().id(), 11U);
  EXPECT_TRUE(server.is_idle());
}

TEST_F(FakeServerTest, RefusesARequestUnderAnotherPassPhrase) {
  send(frame_request(make_packet(1, 10), "other"));
  EXPECT_THROW(server.receive(), std::runtime_error);
}

TEST_F(FakeServerTest, TellsThatNothingCame) {
  EXPECT_THROW(server.receive(std::chrono::milliseconds(0)), std::runtime_error);
  EXPECT_FALSE(server.receive_unopened());
}

TEST_F(FakeServerTest, ReceivesAnyDatagramUnopened) {
  send({1, 2, 3});
  EXPECT_EQ(server.receive_unopened()->datagram, (Bytes{1, 2, 3}));
}

TEST_F(FakeServerTest, FinalRepliesCarryTheRequestsCodeAndIdAndTheRightDigest) {
  const auto version = request(1);
  server.reply_version(version, 0xf0000002);
  Bytes reply = answer();
  EXPECT_EQ(reply.size(), 100U);
  EXPECT_EQ(reply[4], 0x81);
  EXPECT_EQ(get_be32(reply, 8), 0x01020304U);
  EXPECT_EQ(get_be32(reply, 28), 0xf0000002U);
  EXPECT_TRUE(digest_is_right(reply, "secret"));
  server.reply_no_entry(request(3));
  reply = answer();
  EXPECT_EQ(reply[4], 0x83);
  EXPECT_EQ(get_be32(reply, 28), 0U);
  EXPECT_TRUE(digest_is_right(reply, "secret"));
  server.reply_status(request(4));
  EXPECT_EQ(answer()[4], 0x84);
}

TEST_F(FakeServerTest, AnEntryReplyHoldsTheEntry) {
  const WireEntry entry{.user = u"alice", .address = 5};
  server.reply_entry(request(3), entry);
  EXPECT_EQ(answer(), seal_reply(entry_packet(0x83, 0x01020304, entry), "secret"));
}

TEST_F(FakeServerTest, OtherReplies) {
  const auto asked = request(1);
  server.reply_error(asked);
  EXPECT_EQ(answer()[4], 0xc1);
  server.reply_interim(asked);
  EXPECT_EQ(answer()[4], 0x21);
  server.reply_bad_digest(asked);
  const Bytes bad = answer();
  EXPECT_EQ(bad[4], 0x81);
  EXPECT_FALSE(digest_is_right(bad, "secret"));
  server.send_raw(asked, {7});
  EXPECT_EQ(answer(), Bytes{7});
}

}  // namespace
}  // namespace tavtest
