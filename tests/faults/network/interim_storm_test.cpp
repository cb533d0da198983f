// Interim replies without end: a look-up goes on until its answer comes or it is given up, and others do not
// suffer.
#include "faults/network/forgery.h"

namespace tavtest {
namespace {

using Request = FakeServer::Request;

constexpr unsigned storm = 3000;
constexpr unsigned burst = 50;  // at once in the socket's buffer

class InterimStorm : public ForgeryTest, public testing::WithParamInterface<Kind> {
 protected:
  void start() {
    lookup_.start(GetParam(), address(), here);
    request_ = server.receive();
  }

  void send_interims() {
    for (unsigned i = 0; i < storm; ++i) {
      server.reply_interim(request_);
      if (i % burst == 0) serve_socket(address());
    }
    serve_socket(address());
  }

  AsyncLookup lookup_;
  Request request_;
};

// Each interim reply begins another wait of 300 seconds, however many there are.
TEST_P(InterimStorm, KeepsAWaitingLookupWaitingUntilItsAnswer) {
  unsigned waits = 0;
  time.on_wait([&](int, timeval) {
    if (++waits == 1) request_ = server.receive();
    time.advance(std::chrono::seconds(299));
    if (waits == storm) return server.reply_entry(request_, user_at(here, u"ALICE"));
    server.reply_interim(request_);
  });
  EXPECT_TRUE(tells("ALICE", look_up(GetParam(), address(), here)));
  EXPECT_EQ(waits, storm);
  expect_unharmed();
}

TEST_P(InterimStorm, ThatEndsWithoutAnAnswerMakesAWaitingLookupGetLost) {
  unsigned waits = 0;
  time.on_wait([&](int, timeval) {
    if (++waits == 1) request_ = server.receive();
    errno = 0;
    if (waits < storm) server.reply_interim(request_);
  });
  EXPECT_TRUE(fails_with(4, look_up(GetParam(), address(), here)));
  EXPECT_EQ(waits, storm);
  expect_unharmed();
}

TEST_P(InterimStorm, LeavesAnAsynchronousLookupPendingUntilItsAnswer) {
  start();
  send_interims();
  EXPECT_TRUE(lookup_.is_pending());
  server.reply_entry(request_, user_at(here, u"ALICE"));
  serve_socket(address());
  ASSERT_EQ(lookup_.ends(), 1U);
  EXPECT_TRUE(tells("ALICE", *lookup_.answer()));
  expect_unharmed();
}

TEST_P(InterimStorm, DoesNotKeepALookupFromBeingGivenUp) {
  start();
  send_interims();
  time.advance(std::chrono::seconds(2));
  SSO_ExpireLookups(1000);
  lookup_.give_up();
  send_interims();
  ASSERT_EQ(lookup_.ends(), 1U);
  EXPECT_TRUE(fails_with(4, *lookup_.answer()));
  expect_unharmed();
}

TEST_P(InterimStorm, HoldsUpNobodyElse) {
  start();
  in_first_wait([this](const Request& request) {
    for (unsigned i = 0; i < burst; ++i)
      server.reply_interim(request_);
    server.reply_entry(request, user_at(there, u"BOB"));
  });
  EXPECT_TRUE(tells("BOB", look_up(Kind::narrow, address(), there)));
  server.reply_entry(request_, user_at(here, u"ALICE"));
  serve_socket(address());
  ASSERT_EQ(lookup_.ends(), 1U);
  EXPECT_TRUE(tells("ALICE", *lookup_.answer()));
}

INSTANTIATE_TEST_SUITE_P(Kinds, InterimStorm, testing::ValuesIn(all_kinds),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace tavtest
