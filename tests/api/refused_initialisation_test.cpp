// Initialisation while memory or thread-local slots are refused.

#include <thread>

#include "api/api_fixture.h"
#include "api/refusals.h"

using namespace tavtest;

namespace {

class RefusedInitialisation : public ApiTest {
 protected:
  // Nothing was built, and only the count tells of the attempt.
  static void expect_counted_but_empty() {
    EXPECT_EQ(init_count(), 1u);
    EXPECT_EQ(pTls, nullptr);
    EXPECT_EQ(g_ServerList, nullptr);
    EXPECT_EQ(g_ServerListReady, 0u);
  }

  // A later initialisation succeeds without building anything, and queries fail.
  void expect_hollow_success() {
    EXPECT_EQ(TAVInitialize(), 1);
    EXPECT_EQ(init_count(), 2u);
    EXPECT_EQ(g_ServerList, nullptr);
    unsigned version = 0;
    unsigned long found = 0;
    TAVASYNC* popped = nullptr;
    TAVQueryEnum* query = nullptr;
    const _TAVENTRYA entry{};
    EXPECT_TRUE(failed_with(7, TAVQueryVersion(address(), &version)));
    EXPECT_TRUE(failed_with(7, TAVEnumServers(0, &found)));
    EXPECT_TRUE(failed_with(7, TAVGetSocket(address())));
    EXPECT_TRUE(failed_with(7, TAVQueryStartA(&entry, 0, 0, address(), 0, &query)));
    EXPECT_TRUE(failed_with(7, TAVAddEntryA(&entry)));
    EXPECT_TRUE(failed_with(7, TAVASyncPop(&popped, address())));
  }

  // After the exits that belong to the two, everything works.
  void expect_recovery() {
    TAVExit();
    TAVExit();
    EXPECT_EQ(init_count(), 0u);
    EXPECT_EQ(TAVInitialize(), 1);
    EXPECT_NE(g_ServerList, nullptr);
  }
};

}  // namespace

TEST_F(RefusedInitialisation, WithoutMemoryForTheSlotFailsWith9AndKeepsTheCountRaised) {
  {
    const RefuseBlocks refuse(sizeof(ATls));
    EXPECT_TRUE(failed_with(9, TAVInitialize()));
  }
  expect_counted_but_empty();
  EXPECT_EQ(g_SharedRecord.lastError, 9u);
  expect_hollow_success();
  expect_recovery();
}

TEST_F(RefusedInitialisation, WithoutASlotLetsTheExceptionOutAndKeepsTheCountRaised) {
  const long before = living_blocks();
  {
    const RefuseKeys refuse;
    EXPECT_THROW(TAVInitialize(), ATlsException);
  }
  EXPECT_EQ(living_blocks(), before);
  expect_counted_but_empty();
  EXPECT_EQ(g_SharedRecord.lastError, 0u);
  expect_hollow_success();
  expect_recovery();
}

TEST_F(RefusedInitialisation, WithoutASlotLetsTheExceptionOutOfTheLayersInit) {
  const RefuseKeys refuse;
  g_SsoReady = 1;
  EXPECT_THROW(SSO_Init(), ATlsException);
  EXPECT_EQ(g_SsoReady, 0u);
  EXPECT_EQ(init_count(), 1u);
}

TEST_F(RefusedInitialisation, WithoutMemoryForTheListFailsWith9AndTakesTheCountBack) {
  {
    const RefuseBlocks refuse(sizeof(TAVServerList));
    EXPECT_TRUE(failed_with(9, TAVInitialize()));
  }
  EXPECT_EQ(init_count(), 0u);
  EXPECT_EQ(pTls, nullptr);
  EXPECT_EQ(g_ServerList, nullptr);
  EXPECT_EQ(g_ServerListReady, 0u);
  EXPECT_EQ(g_SharedRecord.lastError, 9u);
  EXPECT_EQ(TAVInitialize(), 1);
  EXPECT_EQ(init_count(), 1u);
}

TEST_F(RefusedInitialisation, WithoutMemoryForAServerFailsWith9) {
  {
    const RefuseBlocks refuse(sizeof(TAVServerInterface));
    EXPECT_TRUE(failed_with(9, TAVInitialize()));
  }
  EXPECT_EQ(init_count(), 0u);
  EXPECT_EQ(TAVInitialize(), 1);
}

TEST_F(RefusedInitialisation, WithoutMemoryForAThreadsRecordTheSharedOneIsUsed) {
  ASSERT_EQ(TAVInitialize(), 1);
  TAVSetLastError(1);
  std::thread([] {
    {
      const RefuseBlocks refuse(3 * sizeof(void*));  // the record, its owner, and its place in the list
      TAVSetLastError(42);
      EXPECT_EQ(GetTlsValues(), &g_SharedRecord);
      EXPECT_EQ(TAVGetLastError(), 42u);
    }
    EXPECT_NE(GetTlsValues(), &g_SharedRecord);
  }).join();
  EXPECT_EQ(g_SharedRecord.lastError, 42u);
  EXPECT_EQ(TAVGetLastError(), 1u);
}

TEST_F(RefusedInitialisation, AThreadsRecordThatCannotBeKeptIsReleasedAndTheSharedOneIsUsed) {
  ASSERT_EQ(TAVInitialize(), 1);
  std::thread([] {
    const RefuseValues refuse;
    const long before = living_blocks();
    TAVSetLastError(42);
    EXPECT_EQ(living_blocks(), before);
    EXPECT_EQ(TAVGetLastError(), 42u);
  }).join();
  EXPECT_EQ(g_SharedRecord.lastError, 42u);
}

TEST_F(RefusedInitialisation, AThreadsRecordIsReleasedWhenTheThreadEnds) {
  ASSERT_EQ(TAVInitialize(), 1);
  long with_record = 0;
  long without_record = 0;
  std::thread([&] {
    without_record = living_blocks();
    TAVSetLastError(1);
    with_record = living_blocks();
  }).join();
  EXPECT_EQ(with_record, without_record + 1);
  EXPECT_LE(living_blocks(), without_record);
}

TEST_F(RefusedInitialisation, EverythingIsReleasedByTheLastExit) {
  ASSERT_EQ(TAVInitialize(), 1);  // once before, for what is made once and kept
  TAVExit();
  const long before = living_blocks();
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(TAVInitialize(), 1);
    TAVSetLastError(5);
    TAVExit();
    EXPECT_EQ(living_blocks(), before);
  }
}

TEST_F(RefusedInitialisation, ALookupInFlightIsReleasedByTheLastExit) {
  ASSERT_NE(SSO_Init(), nullptr);  // once before, for what is made once and kept
  SSO_Exit();
  const long before = living_blocks();
  ASSERT_NE(SSO_Init(), nullptr);
  SSO_GetUserByAddrAsync(
      1, nullptr, 0, nullptr, 0, [](int, void*) { FAIL() << "called back"; }, nullptr);
  EXPECT_GT(living_blocks(), before);
  TAVExit();
  EXPECT_EQ(living_blocks(), before);
}
