// Floods: junk and forged replies ahead of the real one, up to and beyond what the socket's buffer holds.
#include <sys/socket.h>

#include "faults/network/forgery.h"

namespace tavtest {
namespace {

using Request = FakeServer::Request;

constexpr std::uint32_t guesses = 1000;  ///< Ids on either side of the true one, and from 0.
constexpr unsigned overflowing = 4000;   ///< Datagrams that no buffer of `small_buffer` bytes holds.
constexpr unsigned waits_for_room = 100;
constexpr int small_buffer = 98304;

class Flood : public ForgeryTest, public testing::WithParamInterface<Kind> {
 protected:
  void junk(const Request& request, unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
      server.send_raw(request, Bytes(i % 150, static_cast<std::uint8_t>(i)));
    }
  }

  // Sends what `make` makes of each guessed id but the true one. Those of other requests of this process are
  // among them.
  void guess(const Request& request, const std::function<Bytes(std::uint32_t)>& make) {
    const std::uint32_t id = request.id();
    for (std::uint32_t guessed = 0; guessed < id + guesses; ++guessed) {
      if (guessed == guesses && id > 2 * guesses) guessed = id - guesses;
      if (guessed != id) send_and_read(request, make(guessed));
    }
  }

  // The buffer must not be what drops it.
  void send_and_read(const Request& request, const Bytes& datagram) {
    server.send_raw(request, datagram);
    if (++unread_ % 64 == 0) serve_socket(address());
  }

  void start() {
    lookup_.start(GetParam(), address(), here);
    request_ = server.receive();
  }

  void answer() {
    server.reply_entry(request_, user_at(here, u"ALICE"));
    serve_socket(address());
    ASSERT_EQ(lookup_.ends(), 1U);
  }

  void limit_buffer() const {
    ASSERT_EQ(setsockopt(TAVGetSocket(address()), SOL_SOCKET, SO_RCVBUF, &small_buffer, sizeof small_buffer),
              0);
  }

  AsyncLookup lookup_;
  Request request_;

 private:
  unsigned unread_ = 0;
};

TEST_P(Flood, OfJunkAheadOfTheReplyDoesNoHarm) {
  in_first_wait([this](const Request& request) {
    junk(request, 120);
    server.reply_entry(request, user_at(here, u"ALICE"));
  });
  EXPECT_TRUE(tells("ALICE", look_up(GetParam(), address(), here)));
  EXPECT_EQ(time.waits().size(), 121U);
  expect_unharmed();
}

// Each wait reads a datagram. The kernel counts a part of the buffer as free only when a quarter of it was
// read.
TEST_P(Flood, ThatFillsTheBufferMakesRoomForAReplyThatComesLater) {
  limit_buffer();
  Request request;
  unsigned waits = 0;
  time.on_wait([&](int, timeval) {
    ++waits;
    if (waits == 1) junk(request = server.receive(), overflowing);
    if (waits == waits_for_room) server.reply_entry(request, user_at(here, u"ALICE"));
  });
  EXPECT_TRUE(tells("ALICE", look_up(GetParam(), address(), here)));
  EXPECT_GT(waits, waits_for_room) << "the reply came behind junk";
  EXPECT_LT(waits, overflowing) << "the kernel dropped the rest";
  expect_unharmed();
}

TEST_P(Flood, ThatPushesTheReplyOutOfTheBufferMakesTheLookupGetLost) {
  limit_buffer();
  in_first_wait([this](const Request& request) {
    junk(request, overflowing);
    server.reply_entry(request, user_at(here, u"ALICE"));
  });
  errno = 0;
  EXPECT_TRUE(fails_with(4, look_up(GetParam(), address(), here)));
  expect_unharmed();
}

TEST_P(Flood, ThatPushesTheReplyOutOfTheBufferLeavesAnAsynchronousLookupPending) {
  limit_buffer();
  start();
  junk(request_, overflowing);
  server.reply_entry(request_, user_at(here, u"ALICE"));
  serve_socket(address());
  EXPECT_TRUE(lookup_.is_pending());
  answer();
  EXPECT_TRUE(tells("ALICE", *lookup_.answer()));
  expect_unharmed();
}

TEST_P(Flood, OfForgedRepliesUnderEveryOtherIdIsDropped) {
  start();
  guess(request_, [](std::uint32_t id) { return forged_reply(id, user_at(here, u"MALLORY")); });
  EXPECT_TRUE(lookup_.is_pending());
  answer();
  EXPECT_TRUE(tells("ALICE", *lookup_.answer()));
  expect_unharmed();
}

// Even by somebody who knows the pass phrase.
TEST_P(Flood, OfRightRepliesUnderEveryOtherIdIsDropped) {
  start();
  guess(request_, [this](std::uint32_t id) { return right_reply(id, user_at(here, u"MALLORY")); });
  EXPECT_TRUE(lookup_.is_pending());
  answer();
  EXPECT_TRUE(tells("ALICE", *lookup_.answer()));
  expect_unharmed();
}

TEST_P(Flood, OfErrorRepliesUnderEveryOtherIdIsDropped) {
  start();
  guess(request_, [](std::uint32_t id) { return make_packet(0xc3, id); });
  EXPECT_TRUE(lookup_.is_pending());
  answer();
  EXPECT_TRUE(tells("ALICE", *lookup_.answer()));
}

TEST_P(Flood, ThatGuessesTheIdMakesTheLookupFailAndTellsNobody) {
  start();
  server.send_raw(request_, forged_reply(request_.id(), user_at(here, u"MALLORY")));
  answer();
  EXPECT_TRUE(fails_with(13, *lookup_.answer()));
  expect_unharmed();
}

TEST_P(Flood, OfErrorRepliesThatGuessesTheIdMakesTheLookupFail) {
  start();
  server.send_raw(request_, make_packet(0xc3, request_.id()));
  answer();
  EXPECT_TRUE(fails_with(2, *lookup_.answer()));
  expect_unharmed();
}

TEST_P(Flood, ThatGuessesTheIdMakesAWaitingLookupFail) {
  in_first_wait([this](const Request& request) {
    junk(request, 20);
    server.send_raw(request, forged_reply(request.id(), user_at(here, u"MALLORY")));
    server.reply_entry(request, user_at(here, u"ALICE"));
  });
  EXPECT_TRUE(fails_with(13, look_up(GetParam(), address(), here)));
  expect_unharmed();
}

INSTANTIATE_TEST_SUITE_P(Kinds, Flood, testing::ValuesIn(all_kinds), testing::PrintToStringParamName());

}  // namespace
}  // namespace tavtest
