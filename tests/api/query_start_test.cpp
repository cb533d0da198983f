// Beginning and ending an enumeration.

#include <arpa/inet.h>

#include "api/enumeration_fixture.h"

using namespace tavtest;

namespace {

class QueryStart : public InitialisedTest {
 protected:
  ~QueryStart() override { TAVQueryClose(query); }

  // The packet of the first step.
  Bytes first_step() {
    TAVASYNC async{};
    _TAVENTRYA entry{};
    EXPECT_TRUE(failed_with(14, TAVQueryNextAsA(query, &entry, &async)));
    const auto request = server.receive();
    id = request.id();
    server.reply_no_entry(request);
    EXPECT_TRUE(failed_with(6, TAVASyncStatus(&async, 0)));
    return undigested(request.packet);
  }

  TAVQueryEnum* query = nullptr;
  std::uint32_t id = 0;
};

}  // namespace

TEST_F(QueryStart, SendsNothing) {
  _TAVENTRYW filter{};
  EXPECT_EQ(TAVQueryStartW(&filter, 1, 2, address(), 3, &query), 1);
  EXPECT_NE(query, nullptr);
  EXPECT_TRUE(server.is_idle());
  EXPECT_EQ(TAVGetLastError(), untouched);
}

TEST_F(QueryStart, KeepsItsOwnCopyOfAWideFilter) {
  wchar_t user[] = L"alice";
  _TAVENTRYW filter{};
  filter.user = user;
  filter.address = 0x0a000001;
  filter.word13 = 5;
  ASSERT_EQ(TAVQueryStartW(&filter, 0x11, 0x2222, address(), 0x333333, &query), 1);
  user[0] = L'X';
  filter = {};
  const Bytes packet = first_step();
  EXPECT_EQ(packet,
            query_packet(id, 0x11, 0x2222, 0x333333, {.user = u"alice", .address = 0x0a000001, .word13 = 0}));
}

TEST_F(QueryStart, KeepsItsOwnWideCopyOfAnEightBitFilter) {
  char user[] = "alice";
  char third[] = "tree";
  _TAVENTRYA filter{};
  filter.user = user;
  filter.string3 = third;
  filter.tag = 0x80000001;
  ASSERT_EQ(TAVQueryStartA(&filter, 0xffffffff, 0, address(), 1, &query), 1);
  user[0] = 'X';
  filter = {};
  const Bytes packet = first_step();
  EXPECT_EQ(packet,
            query_packet(id, 0xffffffff, 0, 1, {.tag = 0x80000001, .user = u"alice", .string3 = u"tree"}));
}

// No locale that the test sets: byte 0xff is no character of the "C" locale.
TEST_F(QueryStart, FailsWith9WhenAnEightBitTextCannotBeConverted) {
  char text[] = "\xff";
  for (char* _TAVENTRYA::*const field : {&_TAVENTRYA::user, &_TAVENTRYA::string2, &_TAVENTRYA::string3}) {
    _TAVENTRYA filter{};
    filter.*field = text;
    TAVSetLastError(untouched);
    EXPECT_TRUE(failed_with(9, TAVQueryStartA(&filter, 0, 0, address(), 0, &query)));
    EXPECT_EQ(query, nullptr);
  }
}

TEST_F(QueryStart, AcceptsAnUnknownServerWhichTheFirstStepReports) {
  _TAVENTRYA filter{};
  ASSERT_EQ(TAVQueryStartA(&filter, 0, 0, inet_addr("127.9.9.9"), 0, &query), 1);
  TAVASYNC async{};
  EXPECT_TRUE(failed_with(11, TAVQueryNextAsA(query, &filter, &async)));
  EXPECT_EQ(async.Request, nullptr);
  EXPECT_TRUE(failed_with(11, TAVQueryNextA(query, &filter)));
  EXPECT_TRUE(time.waits().empty());
}

TEST_F(QueryStart, AcceptsAFilterTooBigForARequestWhichTheFirstStepReports) {
  std::wstring user(2000, L'u');
  _TAVENTRYW filter{};
  filter.user = user.data();
  ASSERT_EQ(TAVQueryStartW(&filter, 0, 0, address(), 0, &query), 1);
  EXPECT_TRUE(failed_with(11, TAVQueryNextW(query, &filter)));
  EXPECT_TRUE(server.is_idle());
}

TEST_F(QueryStart, ClosingNullDoesNothing) {
  TAVQueryClose(nullptr);
  EXPECT_EQ(TAVGetLastError(), untouched);
}

TEST_F(QueryStart, AnEnumerationThatOutlivesTheLibraryCanBeClosed) {
  _TAVENTRYW filter{};
  ASSERT_EQ(TAVQueryStartW(&filter, 0, 0, address(), 0, &query), 1);
  TAVExit();
  TAVQueryClose(std::exchange(query, nullptr));
  EXPECT_EQ(TAVGetLastError(), untouched);
}
