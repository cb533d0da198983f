// The gateway server's one socket serves look-ups of both forms and the host's own requests. No answer is
// lost, whoever reads it.

#include "api/sso_fixture.h"

using namespace tavtest;

namespace {

class SsoSharedSocket : public RunningSsoTest {
 protected:
  ~SsoSharedSocket() override {
    if (async.Request != nullptr) TAVASyncStatus(&async, 1);
  }

  // Starts the asynchronous look-up.
  void start() {
    lookup.start(somewhere);
    lookup_request = server.receive();
  }

  // Starts the host's own request.
  void start_own() {
    ASSERT_TRUE(failed_with(14, TAVQueryVersionAs(address(), &version, &async)));
    own_request = server.receive();
  }

  int look_up_blocking() { return SSO_GetUserByAddr(elsewhere, user.data(), 16, nullptr, 0); }

  void reply_to_lookup() { server.reply_entry(lookup_request, user_at(somewhere)); }
  void reply_to_blocking() { server.reply_entry(server.receive(), user_at(elsewhere, u"BOB")); }

  static constexpr unsigned long elsewhere = 0x0a000002;
  Lookup lookup;
  FakeServer::Request lookup_request;
  unsigned version = 0;
  TAVASYNC async{};
  TAVASYNC* popped = nullptr;
  FakeServer::Request own_request;
  std::array<char, 16> user{};
};

}  // namespace

TEST_F(SsoSharedSocket, ALookupAnsweredDuringABlockingOneIsFinishedBeforeThatReturns) {
  start();
  time.script({[this] { reply_to_lookup(); }, [this] { reply_to_blocking(); }});
  EXPECT_EQ(look_up_blocking(), 1);
  EXPECT_EQ(lookup.outcomes, std::vector<int>{1});
  EXPECT_EQ(lookup.user_text(), "ALICE");
  EXPECT_STREQ(user.data(), "BOB");
  EXPECT_EQ(loop.run_ready(), 0);
  EXPECT_EQ(lookup.outcomes.size(), 1u);
}

TEST_F(SsoSharedSocket, TheBlockingLookupsBuffersAreFilledWhenTheOthersCallbackRuns) {
  start();
  std::string seen;
  lookup.then = [&] { seen = user.data(); };
  time.script({[this] { reply_to_lookup(); }, [this] { reply_to_blocking(); }});
  EXPECT_EQ(look_up_blocking(), 1);
  EXPECT_EQ(seen, "BOB");
}

TEST_F(SsoSharedSocket, AFailureDuringABlockingLookupIsToldToo) {
  start();
  time.script({[this] { server.reply_error(lookup_request); }, [this] { reply_to_blocking(); }});
  EXPECT_EQ(look_up_blocking(), 1);
  EXPECT_EQ(lookup.outcomes, std::vector<int>{0});
  EXPECT_EQ(lookup.last_error, 2u);
}

TEST_F(SsoSharedSocket, ABlockingLookupThatFailsKeepsItsLastErrorWhateverTheCallbacksLeave) {
  start();
  lookup.then = [] { TAVSetLastError(untouched); };
  time.script({[this] { reply_to_lookup(); }, [this] { server.reply_error(server.receive()); }});
  EXPECT_TRUE(failed_with(2, look_up_blocking()));
  EXPECT_EQ(lookup.outcomes, std::vector<int>{1});
}

TEST_F(SsoSharedSocket, SeveralLookupsAnsweredDuringABlockingOneAreFinishedInOrder) {
  std::array<Lookup, 4> lookups;
  std::vector<FakeServer::Request> requests;
  std::vector<std::size_t> order;
  for (std::size_t i = 0; i < lookups.size(); ++i) {
    lookups[i].then = [&order, i] { order.push_back(i); };
    lookups[i].start(i);
    requests.push_back(server.receive());
  }
  time.script({[&] { server.reply_no_entry(requests[2]); }, [&] { server.reply_no_entry(requests[0]); },
               [&] { server.reply_interim(requests[1]); }, [&] { server.reply_bad_digest(requests[3]); },
               [this] { reply_to_blocking(); }});
  EXPECT_EQ(look_up_blocking(), 1);
  EXPECT_EQ(order, (std::vector<std::size_t>{2, 0, 3}));
  server.reply_no_entry(requests[1]);
  loop.run_ready();
  EXPECT_EQ(order.back(), 1u);
}

TEST_F(SsoSharedSocket, ALookupThatTheHostsWaitSettlesIsFinishedByTheNextRun) {
  start();
  start_own();
  time.script({[this] { reply_to_lookup(); }, [this] { server.reply_version(own_request, 4); }});
  EXPECT_EQ(TAVASyncStatus(&async, 1), 1);
  EXPECT_TRUE(lookup.outcomes.empty());
  EXPECT_EQ(loop.run(3), 3);  // with nothing to read
  EXPECT_EQ(lookup.outcomes, std::vector<int>{1});
  EXPECT_EQ(lookup.user_text(), "ALICE");
}

TEST_F(SsoSharedSocket, ALookupThatTheHostsWaitSettlesIsFinishedByTheNextBlockingLookup) {
  start();
  start_own();
  reply_to_lookup();
  EXPECT_TRUE(failed_with(14, TAVASyncStatus(&async, 0)));
  EXPECT_TRUE(lookup.outcomes.empty());
  time.script({[this] { reply_to_blocking(); }});
  EXPECT_EQ(look_up_blocking(), 1);
  EXPECT_EQ(lookup.outcomes, std::vector<int>{1});
}

TEST_F(SsoSharedSocket, ALookupIsNeverHandedOutByAPop) {
  start();
  reply_to_lookup();
  EXPECT_TRUE(failed_with(14, TAVASyncPop(&popped, address())));
  EXPECT_EQ(popped, nullptr);
  EXPECT_TRUE(lookup.outcomes.empty());
  loop.run();
  EXPECT_EQ(lookup.outcomes, std::vector<int>{1});
}

TEST_F(SsoSharedSocket, AnInterimReplyToALookupIsNotHandedOutByAPop) {
  start();
  server.reply_interim(lookup_request);
  EXPECT_TRUE(failed_with(14, TAVASyncPop(&popped, address())));
  EXPECT_EQ(popped, nullptr);
  reply_to_lookup();
  loop.run_ready();
  EXPECT_EQ(lookup.outcomes, std::vector<int>{1});
}

TEST_F(SsoSharedSocket, TheHostsAnswerThatTheReadyCallbackReadsIsPoppedLater) {
  start_own();
  server.reply_version(own_request, 4);
  EXPECT_EQ(loop.run_ready(), 1);
  EXPECT_EQ(version, 4u);
  EXPECT_EQ(TAVASyncPop(&popped, address()), 1);
  EXPECT_EQ(popped, &async);
}

TEST_F(SsoSharedSocket, TheHostsAnswerThatTheReadyCallbackReadsIsItsStatusLater) {
  start_own();
  server.reply_error(own_request);
  EXPECT_EQ(loop.run_ready(), 1);
  EXPECT_TRUE(failed_with(2, TAVASyncStatus(&async, 1)));
  EXPECT_TRUE(time.waits().empty());
}

TEST_F(SsoSharedSocket, TheHostsAnswerThatABlockingLookupReadsIsPoppedLater) {
  start_own();
  time.script({[this] { server.reply_version(own_request, 4); }, [this] { reply_to_blocking(); }});
  EXPECT_EQ(look_up_blocking(), 1);
  EXPECT_EQ(TAVASyncPop(&popped, address()), 1);
  EXPECT_EQ(popped, &async);
}

TEST_F(SsoSharedSocket, AnInterimReplyToTheHostsRequestEndsNothing) {
  start_own();
  server.reply_interim(own_request);
  EXPECT_EQ(loop.run_ready(), 1);
  EXPECT_TRUE(failed_with(14, TAVASyncPop(&popped, address())));
  EXPECT_EQ(popped, nullptr);
}

TEST_F(SsoSharedSocket, AnErrorThatAnotherCallReadFollowedByTheAnswerEndsALookupOnce) {
  start();
  start_own();
  server.reply_error(lookup_request);
  EXPECT_TRUE(failed_with(14, TAVASyncStatus(&async, 0)));
  reply_to_lookup();
  EXPECT_TRUE(failed_with(14, TAVASyncStatus(&async, 0)));
  loop.run();
  loop.run();
  EXPECT_EQ(lookup.outcomes, std::vector<int>{1});
  EXPECT_EQ(lookup.user_text(), "ALICE");
}

TEST_F(SsoSharedSocket, ALookupIsFinishedDuringAnAddedEntryAtTheNextRun) {
  start();
  const _TAVENTRYA entry{};
  time.script({[this] { reply_to_lookup(); }, [this] { server.reply_status(server.receive()); }});
  EXPECT_EQ(TAVAddEntryA(&entry), 2);
  EXPECT_TRUE(lookup.outcomes.empty());
  loop.run();
  EXPECT_EQ(lookup.outcomes, std::vector<int>{1});
}
