// An enumeration is idle again after a step has ended in whatever way, and harmless once it is closed.

#include "api/enumeration_fixture.h"

using namespace tavtest;

namespace {

// How a step may end, and the code that tells of it.
struct Ending {
  const char* name;
  std::function<void(FakeServer&)> act;
  unsigned code;
};

void PrintTo(const Ending& ending, std::ostream* out) {
  *out << ending.name;
}

const Ending endings[] = {
    {"Answered", [](FakeServer& server) { server.reply_entry(server.receive(), alice()); }, 0},
    {"NoEntry", [](FakeServer& server) { server.reply_no_entry(server.receive()); }, 6},
    {"ErrorReply", [](FakeServer& server) { server.reply_error(server.receive()); }, 2},
    {"WrongDigest", [](FakeServer& server) { server.reply_bad_digest(server.receive()); }, 13},
    {"TimedOut", [](FakeServer& server) { server.receive(); }, 4},
};

class StepEnding : public EnumerationTest, public testing::WithParamInterface<Ending> {};

class IdleEnumeration : public EnumerationTest {};

class ClosedEnumeration : public EnumerationTest {
 protected:
  // Closes the enumeration with a step in flight, and lets the answer arrive.
  void close_in_flight() {
    ASSERT_TRUE(failed_with(14, TAVQueryNextAsA(query, &narrow, &async)));
    request = server.receive();
    close();
    TAVSetLastError(untouched);
  }

  FakeServer::Request request;
};

}  // namespace

TEST_P(StepEnding, LeavesTheEnumerationIdle) {
  time.script({[this] { GetParam().act(server); }});
  const int result = TAVQueryNextA(query, &narrow);
  EXPECT_EQ(result, GetParam().code == 0 ? 1 : 0);
  if (result == 0) {
    EXPECT_EQ(TAVGetLastError(), GetParam().code);
  }

  answer_next_wait([this](const auto& request) { server.reply_entry(request, bob()); });
  EXPECT_EQ(TAVQueryNextW(query, &wide), 1);
  EXPECT_STREQ(wide.user, L"BOB");
}

TEST_P(StepEnding, LeavesTheEnumerationIdleWhenPolled) {
  ASSERT_TRUE(failed_with(14, TAVQueryNextAsA(query, &narrow, &async)));
  GetParam().act(server);
  const int wait = GetParam().code == 4 ? 1 : 0;
  EXPECT_EQ(TAVASyncStatus(&async, wait), GetParam().code == 0 ? 1 : 0);
  EXPECT_TRUE(failed_with(14, TAVQueryNextAsA(query, &narrow, &async)));
  EXPECT_TRUE(failed_with(4, TAVASyncStatus(&async, 1)));
}

INSTANTIATE_TEST_SUITE_P(All, StepEnding, testing::ValuesIn(endings), ByName());

TEST_F(IdleEnumeration, TheFinalReplyAfterAnErrorReplyWritesNowhere) {
  ASSERT_TRUE(failed_with(14, TAVQueryNextAsA(query, &narrow, &async)));
  const auto request = server.receive();
  server.reply_error(request);
  EXPECT_TRUE(failed_with(2, TAVASyncStatus(&async, 0)));
  server.reply_entry(request, alice());
  TAVASYNC* popped = nullptr;
  EXPECT_TRUE(failed_with(14, TAVASyncPop(&popped, address())));
  EXPECT_EQ(popped, nullptr);
  EXPECT_EQ(narrow.user, nullptr);
}

TEST_F(IdleEnumeration, AStepThatCannotBeStartedLeavesItIdle) {
  std::wstring user(1100, L'u');
  _TAVENTRYW filter{};
  filter.user = user.data();
  TAVQueryEnum* big = nullptr;
  ASSERT_EQ(TAVQueryStartW(&filter, 0, 0, address(), 0, &big), 1);
  EXPECT_TRUE(failed_with(11, TAVQueryNextAsW(big, &wide, &async)));
  EXPECT_TRUE(failed_with(11, TAVQueryNextAsW(big, &wide, &async)));
  EXPECT_EQ(async.Request, nullptr);
  EXPECT_TRUE(server.is_idle());
  TAVQueryClose(big);
}

TEST_F(IdleEnumeration, AnEndedOneMayBeStepped) {
  time.on_wait([this](int, timeval) { server.reply_no_entry(server.receive()); });
  for (int i = 0; i < 3; ++i)
    EXPECT_TRUE(failed_with(6, TAVQueryNextA(query, &narrow)));
}

TEST_F(ClosedEnumeration, LeavesItsRequestOutstanding) {
  close_in_flight();
  EXPECT_NE(async.Request, nullptr);
  EXPECT_TRUE(failed_with(14, TAVASyncStatus(&async, 0)));
  EXPECT_TRUE(failed_with(4, TAVASyncStatus(&async, 1)));
  EXPECT_EQ(async.Request, nullptr);
}

TEST_F(ClosedEnumeration, ItsAnswerIsPoppedAndWritesNowhere) {
  close_in_flight();
  server.reply_entry(request, alice());
  TAVASYNC* popped = nullptr;
  EXPECT_TRUE(failed_with(17, TAVASyncPop(&popped, address())));
  EXPECT_EQ(popped, &async);
  EXPECT_EQ(async.Request, nullptr);
  EXPECT_EQ(narrow.user, nullptr);
  EXPECT_EQ(narrow.address, 0u);
}

TEST_F(ClosedEnumeration, ItsAnswerIsToldByTheStatusAndWritesNowhere) {
  close_in_flight();
  server.reply_entry(request, alice());
  EXPECT_TRUE(failed_with(17, TAVASyncStatus(&async, 1)));
  EXPECT_EQ(async.Request, nullptr);
  EXPECT_EQ(narrow.user, nullptr);
}
