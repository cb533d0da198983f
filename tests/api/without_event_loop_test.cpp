// A host that defines no event loop: the layer registers nothing, and the blocking look-up works.

#include "api/api_fixture.h"
#include "api/event_loop.h"

using namespace tavtest;

namespace {

class WithoutEventLoop : public ApiTest {};

}  // namespace

TEST_F(WithoutEventLoop, TheLibraryFindsNone) {
  EXPECT_TRUE(T_event_set_socket == nullptr);
  EXPECT_TRUE(T_event_del_socket == nullptr);
}

TEST_F(WithoutEventLoop, TheLayerStartsAndEnds) {
  EXPECT_STREQ(SSO_Init(), "Norvel TAV/TIZ");
  EXPECT_EQ(g_SsoReady, 1u);
  SSO_Exit();
  EXPECT_EQ(g_SsoReady, 0u);
  EXPECT_EQ(init_count(), 0u);
}

TEST_F(WithoutEventLoop, ABlockingLookupWorks) {
  ASSERT_NE(SSO_Init(), nullptr);
  answer_next_wait(
      [this](const auto& request) { server.reply_entry(request, {.user = u"ALICE", .string3 = u"TREE"}); });
  char user[8];
  char second[8];
  EXPECT_EQ(SSO_GetUserByAddr(1, user, 8, second, 8), 1);
  EXPECT_STREQ(user, "ALICE");
  EXPECT_STREQ(second, "TREE");
  SSO_Exit();
}

TEST_F(WithoutEventLoop, AnAsynchronousLookupStillInFlightEndsWithTheLayer) {
  ASSERT_NE(SSO_Init(), nullptr);
  int calls = 0;
  SSO_GetUserByAddrAsync(
      1, nullptr, 0, nullptr, 0, [](int, void* cookie) { ++*static_cast<int*>(cookie); }, &calls);
  EXPECT_FALSE(server.is_idle());
  SSO_Exit();
  EXPECT_EQ(calls, 0);
}

TEST_F(WithoutEventLoop, AnAsynchronousLookupAnsweredDuringABlockingOneIsFinished) {
  ASSERT_NE(SSO_Init(), nullptr);
  int calls = 0;
  SSO_GetUserByAddrAsync(
      1, nullptr, 0, nullptr, 0, [](int, void* cookie) { ++*static_cast<int*>(cookie); }, &calls);
  const auto request = server.receive();
  time.script({[&] { server.reply_no_entry(request); }, [&] { server.reply_no_entry(server.receive()); }});
  EXPECT_EQ(SSO_GetUserByAddr(2, nullptr, 0, nullptr, 0), 1);
  EXPECT_EQ(calls, 1);
  SSO_Exit();
}
