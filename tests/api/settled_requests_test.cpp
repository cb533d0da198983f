// Answers that were read from the shared socket by somebody else than the request's owner.

#include "api/enumeration_fixture.h"

using namespace tavtest;

namespace {

// Three version requests on one server, sent in this order.
class SettledRequests : public InitialisedTest {
 protected:
  SettledRequests() {
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_TRUE(failed_with(14, TAVQueryVersionAs(address(), &versions[i], &handles[i])));
      requests.push_back(server.receive());
    }
    TAVSetLastError(untouched);
  }
  ~SettledRequests() override {
    for (TAVASYNC& handle : handles) {
      if (handle.Request != nullptr) TAVASyncStatus(&handle, 1);
    }
  }

  // Waits for the first request, while `act` makes the datagrams that are read before its answer.
  void wait_for_first(std::vector<std::function<void()>> acts) {
    const std::size_t waits = time.waits().size() + acts.size() + 1;
    acts.push_back([this] { server.reply_version(requests[0], 10); });
    time.script(std::move(acts));
    EXPECT_EQ(TAVASyncStatus(&handles[0], 1), 1);
    EXPECT_EQ(time.waits().size(), waits);
  }

  // The index of the handle that a pop hands out; -1 for none.
  long pop(int expected_result) {
    TAVASYNC* popped = nullptr;
    EXPECT_EQ(TAVASyncPop(&popped, address()), expected_result);
    return popped == nullptr ? -1 : popped - handles;
  }

  unsigned versions[3] = {};
  TAVASYNC handles[3] = {};
  std::vector<FakeServer::Request> requests;
};

}  // namespace

TEST_F(SettledRequests, AreReportedAtOnceWithoutAWait) {
  wait_for_first({[this] { server.reply_version(requests[1], 11); }});
  const std::size_t waits = time.waits().size();
  EXPECT_EQ(TAVASyncStatus(&handles[1], 1), 1);
  EXPECT_EQ(time.waits().size(), waits);
  EXPECT_EQ(versions[1], 11u);
  EXPECT_EQ(handles[1].Request, nullptr);
}

TEST_F(SettledRequests, AreReportedAtOnceWhenPolled) {
  wait_for_first({[this] { server.reply_error(requests[1]); }});
  const std::size_t waits = time.waits().size();
  EXPECT_TRUE(failed_with(2, TAVASyncStatus(&handles[1], 0)));
  EXPECT_EQ(time.waits().size(), waits);
  EXPECT_EQ(handles[1].Request, nullptr);
}

TEST_F(SettledRequests, ArePoppedBeforeTheSocketIsRead) {
  wait_for_first({[this] { server.reply_version(requests[2], 12); }});
  server.reply_version(requests[1], 11);
  EXPECT_EQ(pop(1), 2);
  EXPECT_NE(handles[1].Request, nullptr);
  EXPECT_EQ(pop(1), 1);
  EXPECT_EQ(pop(0), -1);
}

TEST_F(SettledRequests, ArePoppedOldestFirst) {
  wait_for_first(
      {[this] { server.reply_version(requests[2], 12); }, [this] { server.reply_bad_digest(requests[1]); }});
  EXPECT_EQ(pop(1), 2);
  EXPECT_EQ(versions[2], 12u);
  EXPECT_EQ(pop(0), 1);
  EXPECT_EQ(TAVGetLastError(), 13u);
  EXPECT_EQ(handles[1].Request, nullptr);
}

TEST_F(SettledRequests, ThatWereReportedAreNotPoppedAgain) {
  wait_for_first({[this] { server.reply_version(requests[1], 11); }});
  EXPECT_EQ(TAVASyncStatus(&handles[1], 0), 1);
  EXPECT_EQ(pop(0), -1);
  EXPECT_EQ(TAVGetLastError(), 14u);
}

TEST_F(SettledRequests, AreKeptByAPollThatReadTheirAnswer) {
  server.reply_version(requests[1], 11);
  EXPECT_TRUE(failed_with(14, TAVASyncStatus(&handles[0], 0)));
  EXPECT_EQ(versions[1], 11u);
  EXPECT_EQ(pop(1), 1);
}

TEST_F(SettledRequests, InterimRepliesOfOthersSettleNothing) {
  wait_for_first({[this] { server.reply_interim(requests[1]); }});
  EXPECT_EQ(pop(0), -1);
  EXPECT_TRUE(failed_with(14, TAVASyncStatus(&handles[1], 0)));
}

TEST_F(SettledRequests, AnErrorFollowedByTheAnswerIsHandedOutOnceWithTheAnswer) {
  wait_for_first(
      {[this] { server.reply_error(requests[1]); }, [this] { server.reply_version(requests[1], 11); }});
  EXPECT_EQ(pop(1), 1);
  EXPECT_EQ(versions[1], 11u);
  EXPECT_EQ(pop(0), -1);
}

TEST_F(SettledRequests, AnErrorFollowedByAnInterimReplyIsPendingAgain) {
  wait_for_first(
      {[this] { server.reply_error(requests[1]); }, [this] { server.reply_interim(requests[1]); }});
  EXPECT_EQ(pop(0), -1);
  server.reply_version(requests[1], 11);
  EXPECT_EQ(TAVASyncStatus(&handles[1], 0), 1);
}

TEST_F(SettledRequests, AreKeptByASynchronousQuery) {
  unsigned version = 0;
  time.script({[this] { server.reply_version(requests[1], 11); },
               [this] { server.reply_version(server.receive(), 9); }});
  EXPECT_EQ(TAVQueryVersion(address(), &version), 1);
  EXPECT_EQ(version, 9u);
  EXPECT_EQ(pop(1), 1);
}

TEST_F(SettledRequests, AreKeptByAnAddedEntry) {
  const _TAVENTRYA entry{};
  time.script(
      {[this] { server.reply_version(requests[1], 11); }, [this] { server.reply_status(server.receive()); }});
  EXPECT_EQ(TAVAddEntryA(&entry), 2);
  EXPECT_EQ(pop(1), 1);
}

TEST_F(SettledRequests, ThatAreGivenUpMeanwhileAreNotHandedOut) {
  EXPECT_TRUE(failed_with(4, TAVASyncStatus(&handles[1], 1)));
  server.reply_version(requests[1], 11);
  EXPECT_EQ(pop(0), -1);
  EXPECT_EQ(versions[1], 0u);
}

// Stepped in the place of its owner: the entry arrives in the owner's record.
TEST_F(EnumerationTest, AStepWhoseAnswerSomebodyElseReadDeliversItsEntry) {
  ASSERT_TRUE(failed_with(14, TAVQueryNextAsA(query, &narrow, &async)));
  const auto step = server.receive();
  unsigned version = 0;
  time.script(
      {[&] { server.reply_entry(step, alice()); }, [&] { server.reply_version(server.receive(), 1); }});
  ASSERT_EQ(TAVQueryVersion(address(), &version), 1);
  EXPECT_STREQ(narrow.user, "ALICE");
  EXPECT_EQ(TAVASyncStatus(&async, 0), 1);
}

namespace {

// A step whose answer was read by a version query, and whose enumeration was closed before its owner was
// told.
class SettledStep : public EnumerationTest, public testing::WithParamInterface<unsigned> {
 protected:
  SettledStep() {
    EXPECT_TRUE(failed_with(14, TAVQueryNextAsA(query, &narrow, &async)));
    const auto step = server.receive();
    unsigned version = 0;
    time.script({[this, step] { reply(step); }, [this] { server.reply_version(server.receive(), 1); }});
    EXPECT_EQ(TAVQueryVersion(address(), &version), 1);
    close();
  }

  // The parameter is the code that the step ends with.
  void reply(const FakeServer::Request& step) {
    if (GetParam() == 0) server.reply_entry(step, alice());
    if (GetParam() == 6) server.reply_no_entry(step);
    if (GetParam() == 2) server.reply_error(step);
    if (GetParam() == 13) server.reply_bad_digest(step);
  }

  void expect_told(int result) {
    EXPECT_EQ(result, GetParam() == 0 ? 1 : 0);
    if (result == 0) {
      EXPECT_EQ(TAVGetLastError(), GetParam());
    }
    EXPECT_EQ(async.Request, nullptr);
  }
};

}  // namespace

TEST_P(SettledStep, IsToldByItsStatusAfterTheEnumerationWasClosed) {
  expect_told(TAVASyncStatus(&async, 0));
}

TEST_P(SettledStep, IsPoppedAfterTheEnumerationWasClosed) {
  TAVASYNC* popped = nullptr;
  expect_told(TAVASyncPop(&popped, address()));
  EXPECT_EQ(popped, &async);
}

INSTANTIATE_TEST_SUITE_P(Codes, SettledStep, testing::Values(0u, 2u, 6u, 13u),
                         testing::PrintToStringParamName());
