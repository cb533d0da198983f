// Giving a request up through its handle.

#include "api/enumeration_fixture.h"

using namespace tavtest;

namespace {

class AsyncAbandon : public EnumerationTest {
 protected:
  AsyncAbandon() {
    EXPECT_TRUE(failed_with(14, TAVQueryNextAsA(query, &narrow, &async)));
    request = server.receive();
    TAVSetLastError(untouched);
  }

  // Nothing of the request is left: its answer finds nobody.
  void expect_forgotten() {
    EXPECT_EQ(async.Request, nullptr);
    server.reply_entry(request, alice());
    TAVASYNC* popped = nullptr;
    EXPECT_TRUE(failed_with(14, TAVASyncPop(&popped, address())));
    EXPECT_EQ(popped, nullptr);
    EXPECT_EQ(narrow.user, nullptr);
  }

  FakeServer::Request request;
};

}  // namespace

TEST_F(AsyncAbandon, EmptiesTheHandleAndDropsALateAnswer) {
  EXPECT_EQ(TAVASyncAbandon(&async), 1);
  EXPECT_EQ(TAVGetLastError(), untouched);
  expect_forgotten();
}

TEST_F(AsyncAbandon, NeverWaits) {
  TAVASyncAbandon(&async);
  EXPECT_TRUE(time.waits().empty());
}

TEST_F(AsyncAbandon, LeavesTheCallersContextAlone) {
  async.Context = &request;
  TAVASyncAbandon(&async);
  EXPECT_EQ(async.Context, &request);
}

TEST_F(AsyncAbandon, LetsTheEnumerationStartAnotherStep) {
  ASSERT_EQ(TAVASyncAbandon(&async), 1);
  EXPECT_TRUE(failed_with(14, TAVQueryNextAsA(query, &narrow, &async)));
  server.reply_entry(server.receive(), alice());
  TAVASYNC* popped = nullptr;
  EXPECT_EQ(TAVASyncPop(&popped, address()), 1);
  EXPECT_EQ(popped, &async);
  EXPECT_STREQ(narrow.user, "ALICE");
}

TEST_F(AsyncAbandon, WorksAfterTheEnumerationWasClosed) {
  close();
  EXPECT_EQ(TAVASyncAbandon(&async), 1);
  expect_forgotten();
}

TEST_F(AsyncAbandon, WorksAfterAnErrorReplyThatNobodyWasToldOf) {
  server.reply_error(request);
  answer_next_wait([this](const FakeServer::Request& other) { server.reply_version(other, 1); });
  unsigned version = 0;
  ASSERT_EQ(TAVQueryVersion(address(), &version), 1);
  EXPECT_EQ(TAVASyncAbandon(&async), 1);
  expect_forgotten();
}

TEST_F(AsyncAbandon, GivesUpAnAnswerThatNobodyWasToldOf) {
  server.reply_no_entry(request);
  answer_next_wait([this](const FakeServer::Request& other) { server.reply_version(other, 1); });
  unsigned version = 0;
  ASSERT_EQ(TAVQueryVersion(address(), &version), 1);
  EXPECT_EQ(TAVASyncAbandon(&async), 1);
  expect_forgotten();
}

TEST_F(AsyncAbandon, LeavesOtherRequestsInFlight) {
  unsigned version = 0;
  TAVASYNC other{};
  EXPECT_TRUE(failed_with(14, TAVQueryVersionAs(address(), &version, &other)));
  const auto kept = server.receive();
  ASSERT_EQ(TAVASyncAbandon(&async), 1);
  server.reply_version(kept, 5);
  EXPECT_EQ(TAVASyncStatus(&other, 0), 1);
  EXPECT_EQ(version, 5u);
}

TEST_F(AsyncAbandon, OfAnEmptyHandleDoesNothing) {
  ASSERT_EQ(TAVASyncAbandon(&async), 1);
  EXPECT_EQ(TAVASyncAbandon(&async), 1);
  EXPECT_EQ(TAVASyncAbandon(nullptr), 1);
  EXPECT_EQ(TAVGetLastError(), untouched);
}

TEST_F(AsyncAbandon, AfterTheLastExitEmptiesTheHandleWith7) {
  TAVExit();
  EXPECT_TRUE(failed_with(7, TAVASyncAbandon(&async)));
  EXPECT_EQ(async.Request, nullptr);
}
