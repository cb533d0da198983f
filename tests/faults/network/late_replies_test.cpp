// Replies to requests that are over: expired, abandoned, given up by a wait, of a library that was exited
// since.
#include <deque>

#include "faults/network/forgery.h"

namespace tavtest {
namespace {

using Request = FakeServer::Request;

constexpr unsigned many = 200;

class LateReplies : public ForgeryTest, public testing::WithParamInterface<Kind> {
 protected:
  void start(unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
      lookups_.emplace_back().start(GetParam(), address(), here + i);
      requests_.push_back(server.receive());
    }
  }

  void give_up() {
    time.advance(std::chrono::seconds(2));
    SSO_ExpireLookups(1000);
    for (AsyncLookup& each : lookups_)
      each.give_up();
  }

  void reply_to_all() {
    for (const Request& each : requests_) {
      server.reply_entry(each, user_at(here, u"LATE"));
      server.reply_error(each);
      serve_socket(address());
    }
  }

  void expect_each_lost_once() {
    for (const AsyncLookup& each : lookups_) {
      ASSERT_EQ(each.ends(), 1U);
      EXPECT_TRUE(fails_with(4, *each.answer()));
    }
  }

  std::deque<AsyncLookup> lookups_;
  std::vector<Request> requests_;
};

TEST_P(LateReplies, ToLookupsThatWereGivenUpAreDropped) {
  start(many);
  give_up();
  expect_each_lost_once();
  reply_to_all();
  expect_each_lost_once();
  expect_unharmed();
}

TEST_P(LateReplies, ThatWaitInTheSocketWhenTheLookupIsGivenUpAreDropped) {
  start(20);
  for (const Request& each : requests_)
    server.reply_entry(each, user_at(here, u"LATE"));
  give_up();
  serve_socket(address());
  expect_each_lost_once();
  expect_unharmed();
}

TEST_P(LateReplies, AmongThoseToTheNextLookupsAreDropped) {
  start(many);
  give_up();
  const std::vector<Request> late = std::move(requests_);
  requests_.clear();
  lookups_.clear();
  start(many);
  for (unsigned i = 0; i < many; ++i) {
    server.reply_entry(late[i], user_at(here + i, u"LATE"));
    server.reply_entry(requests_[i], user_at(here + i, u"USER"));
    serve_socket(address());
    ASSERT_EQ(lookups_[i].ends(), 1U);
    EXPECT_TRUE(tells("USER", *lookups_[i].answer()));
  }
}

TEST_P(LateReplies, ToAWaitThatTimedOutAreDropped) {
  std::vector<Request> late;
  for (int i = 0; i < 20; ++i) {
    errno = 0;
    EXPECT_TRUE(fails_with(4, look_up(GetParam(), address(), here)));
    late.push_back(server.receive());
  }
  in_first_wait([&](const Request& request) {
    for (const Request& each : late)
      server.reply_entry(each, user_at(here, u"LATE"));
    server.reply_entry(request, user_at(here, u"ALICE"));
  });
  EXPECT_TRUE(tells("ALICE", look_up(GetParam(), address(), here)));
  EXPECT_EQ(time.waits().size(), 41U);
  expect_unharmed();
}

// A reply of the first library that comes to the second one's socket, which has the first one's port. Request
// ids go on through an exit, so it fits nothing.
TEST_P(LateReplies, OfALibraryThatWasExitedAreDroppedByTheNextOne) {
  start(many);
  const in_port_t port = requests_[0].sender.sin_port;
  const std::vector<Request> late = std::move(requests_);
  give_up();
  SSO_Exit();
  ASSERT_STREQ(SSO_Init(), "Norvel TAV/TIZ");
  take_port(address(), port);
  requests_.clear();
  lookups_.clear();
  start(many);
  for (unsigned i = 0; i < many; ++i) {
    server.reply_entry(late[i], user_at(here + i, u"LATE"));
    serve_socket(address());
  }
  for (const AsyncLookup& each : lookups_)
    ASSERT_TRUE(each.is_pending());
  for (unsigned i = 0; i < many; ++i) {
    server.reply_entry(requests_[i], user_at(here + i, u"USER"));
    serve_socket(address());
    ASSERT_EQ(lookups_[i].ends(), 1U);
    EXPECT_TRUE(tells("USER", *lookups_[i].answer()));
  }
  expect_unharmed();
}

INSTANTIATE_TEST_SUITE_P(Kinds, LateReplies, testing::ValuesIn(all_kinds), testing::PrintToStringParamName());

// Look-ups of the layer that SSO_Exit ended without their callback.
TEST_F(ForgeryTest, LateRepliesToLookupsThatAnExitEndedAreDropped) {
  std::deque<AsyncLookup> lookups;
  std::vector<Request> late;
  for (unsigned i = 0; i < many; ++i) {
    lookups.emplace_back().start(Kind::sso, address(), here + i);
    late.push_back(server.receive());
  }
  SSO_Exit();
  ASSERT_STREQ(SSO_Init(), "Norvel TAV/TIZ");
  take_port(address(), late[0].sender.sin_port);
  for (const Request& each : late) {
    server.reply_entry(each, user_at(here, u"LATE"));
    serve_socket(address());
  }
  for (const AsyncLookup& each : lookups)
    EXPECT_EQ(each.ends(), 0U);
  expect_unharmed();
}

// A handle that its host still holds when the library is exited and initialised anew.
TEST_F(ForgeryTest, ALateReplyToAHandleOfTheLibraryBeforeWritesNowhere) {
  unsigned version = 5;
  TAVASYNC async{};
  ASSERT_EQ(TAVQueryVersionAs(address(), &version, &async), 0);
  const Request late = server.receive();
  SSO_Exit();
  ASSERT_STREQ(SSO_Init(), "Norvel TAV/TIZ");
  take_port(address(), late.sender.sin_port);
  server.reply_version(late, 9);
  TAVASYNC* popped = nullptr;
  EXPECT_EQ(TAVASyncPop(&popped, address()), 0);
  EXPECT_EQ(popped, nullptr);
  EXPECT_EQ(TAVASyncAbandon(&async), 0);
  EXPECT_EQ(TAVGetLastError(), 7U);
  EXPECT_EQ(version, 5U);
  expect_unharmed();
}

}  // namespace
}  // namespace tavtest
