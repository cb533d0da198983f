// The steps of an enumeration, in all four forms.

#include "api/enumeration_fixture.h"

using namespace tavtest;

namespace {

class QueryNext : public EnumerationTest {};

}  // namespace

TEST_F(QueryNext, WaitsForAWideEntry) {
  answer_next_wait([this](const auto& request) { server.reply_entry(request, alice()); });
  ASSERT_EQ(TAVQueryNextW(query, &wide), 1);
  EXPECT_STREQ(wide.user, L"ALICE");
  EXPECT_STREQ(wide.string2, L"STAFF");
  EXPECT_STREQ(wide.string3, L"TREE");
  EXPECT_EQ(wide.address, 0x0a000001u);
  EXPECT_EQ(wide.tag, 1u);
  EXPECT_EQ(time.timeouts(), std::vector<long long>{300'000'000});
}

TEST_F(QueryNext, WaitsForAnEightBitEntry) {
  answer_next_wait([this](const auto& request) { server.reply_entry(request, alice()); });
  ASSERT_EQ(TAVQueryNextA(query, &narrow), 1);
  EXPECT_STREQ(narrow.user, "ALICE");
  EXPECT_STREQ(narrow.string2, "STAFF");
  EXPECT_STREQ(narrow.string3, "TREE");
  EXPECT_EQ(narrow.address, 0x0a000001u);
}

TEST_F(QueryNext, ContinuesFromTheLastEntryAndEndsWith6) {
  std::vector<Bytes> packets;
  const auto take = [&] {
    const auto request = server.receive();
    packets.push_back(undigested(request.packet));
    put_be32(packets.back(), 8, 0);
    return request;
  };
  time.script({[&] { server.reply_entry(take(), alice()); }, [&] { server.reply_entry(take(), bob()); },
               [&] { server.reply_no_entry(take()); }});

  EXPECT_EQ(TAVQueryNextW(query, &wide), 1);
  EXPECT_EQ(TAVQueryNextA(query, &narrow), 1);
  EXPECT_STREQ(narrow.user, "BOB");
  EXPECT_TRUE(failed_with(6, TAVQueryNextW(query, &wide)));
  EXPECT_EQ(packets, (std::vector<Bytes>{query_packet(0, 0, 0, 0, {}), query_packet(0, 0, 0, 0, alice()),
                                         query_packet(0, 0, 0, 0, bob())}));
}

TEST_F(QueryNext, LeavesTheRecordUntouchedAtTheEnd) {
  narrow.tag = 0x55555555;
  answer_next_wait([this](const auto& request) { server.reply_no_entry(request); });
  EXPECT_TRUE(failed_with(6, TAVQueryNextA(query, &narrow)));
  EXPECT_EQ(narrow.tag, 0x55555555u);
  EXPECT_EQ(narrow.user, nullptr);
}

// As a host goes on that did not look whether its enumeration began.
TEST_F(QueryNext, OfNoEnumerationFailsWith17AndSendsNothing) {
  EXPECT_TRUE(failed_with(17, TAVQueryNextW(nullptr, &wide)));
  EXPECT_TRUE(failed_with(17, TAVQueryNextA(nullptr, &narrow)));
  EXPECT_TRUE(failed_with(17, TAVQueryNextAsW(nullptr, &wide, &async)));
  EXPECT_TRUE(failed_with(17, TAVQueryNextAsA(nullptr, &narrow, &async)));
  EXPECT_EQ(async.Request, nullptr);
  EXPECT_TRUE(server.is_idle());
}

TEST_F(QueryNext, AsWSendsAndReturnsWith14) {
  EXPECT_TRUE(failed_with(14, TAVQueryNextAsW(query, &wide, &async)));
  EXPECT_TRUE(time.waits().empty());
  ASSERT_NE(async.Request, nullptr);
  EXPECT_EQ(async.Request->handle, &async);
  server.reply_entry(server.receive(), alice());
  EXPECT_EQ(wide.user, nullptr);
  EXPECT_EQ(TAVASyncStatus(&async, 0), 1);
  EXPECT_STREQ(wide.user, L"ALICE");
  EXPECT_EQ(async.Request, nullptr);
}

TEST_F(QueryNext, AsASendsAndReturnsWith14) {
  EXPECT_TRUE(failed_with(14, TAVQueryNextAsA(query, &narrow, &async)));
  server.reply_entry(server.receive(), bob());
  TAVASYNC* popped = nullptr;
  EXPECT_EQ(TAVASyncPop(&popped, address()), 1);
  EXPECT_EQ(popped, &async);
  EXPECT_STREQ(narrow.user, "BOB");
  EXPECT_EQ(narrow.string3, nullptr);
  EXPECT_EQ(narrow.word9, 9u);
}

TEST_F(QueryNext, IsBusyWith15WhileAStepIsOutstandingAndReleasesOnlyItsOwnRequest) {
  ASSERT_TRUE(failed_with(14, TAVQueryNextAsW(query, &wide, &async)));
  const auto request = server.receive();
  const auto* first = async.Request;

  TAVASYNC second{};
  _TAVENTRYW unused{};
  EXPECT_TRUE(failed_with(15, TAVQueryNextAsW(query, &unused, &second)));
  EXPECT_EQ(second.Request, nullptr);
  EXPECT_EQ(async.Request, first);
  EXPECT_TRUE(server.is_idle());

  server.reply_entry(request, alice());
  EXPECT_EQ(TAVASyncStatus(&async, 0), 1);
  EXPECT_STREQ(wide.user, L"ALICE");
  EXPECT_EQ(unused.user, nullptr);
}

TEST_F(QueryNext, IsBusyInEveryForm) {
  ASSERT_TRUE(failed_with(14, TAVQueryNextAsW(query, &wide, &async)));
  TAVASYNC second{};
  _TAVENTRYW unused{};
  EXPECT_TRUE(failed_with(15, TAVQueryNextAsA(query, &narrow, &second)));
  EXPECT_TRUE(failed_with(15, TAVQueryNextA(query, &narrow)));
  EXPECT_TRUE(failed_with(15, TAVQueryNextW(query, &unused)));
  EXPECT_TRUE(time.waits().empty());
  EXPECT_TRUE(failed_with(4, TAVASyncStatus(&async, 1)));
}

TEST_F(QueryNext, TwoEnumerationsOfOneServerAreNotBusyForEachOther) {
  TAVQueryEnum* other = nullptr;
  ASSERT_EQ(TAVQueryStartW(&everything, 0, 0, address(), 0, &other), 1);
  TAVASYNC second{};
  EXPECT_TRUE(failed_with(14, TAVQueryNextAsW(query, &wide, &async)));
  EXPECT_TRUE(failed_with(14, TAVQueryNextAsA(other, &narrow, &second)));
  const auto first_request = server.receive();
  server.reply_entry(server.receive(), bob());
  server.reply_entry(first_request, alice());
  EXPECT_EQ(TAVASyncStatus(&second, 1), 1);
  EXPECT_EQ(TAVASyncStatus(&async, 1), 1);
  EXPECT_STREQ(wide.user, L"ALICE");
  EXPECT_STREQ(narrow.user, "BOB");
  TAVQueryClose(other);
}
