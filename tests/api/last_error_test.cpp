// The last error of each thread, and the record that stands in for it.

#include <thread>

#include "api/api_fixture.h"

using namespace tavtest;

namespace {

class LastError : public ApiTest {};

// Sets and reads `code` many times; the number of times that another one was read.
int foreign_reads(unsigned code) {
  int foreign = 0;
  for (int i = 0; i < 2000; ++i) {
    TAVSetLastError(code);
    if (TAVGetLastError() != code) ++foreign;
  }
  return foreign;
}

}  // namespace

TEST_F(LastError, IsTheSharedRecordsBeforeInitialisation) {
  EXPECT_EQ(TAVGetLastError(), 0u);
  TAVSetLastError(5);
  EXPECT_EQ(g_SharedRecord.lastError, 5u);
  g_SharedRecord.lastError = 6;
  EXPECT_EQ(TAVGetLastError(), 6u);
  EXPECT_EQ(GetTlsValues(), &g_SharedRecord);
}

TEST_F(LastError, IsAllThreadsOneBeforeInitialisation) {
  std::thread([] { TAVSetLastError(8); }).join();
  EXPECT_EQ(TAVGetLastError(), 8u);
}

TEST_F(LastError, IsTheThreadsOwnOnceInitialised) {
  ASSERT_EQ(TAVInitialize(), 1);
  g_SharedRecord.lastError = 1;
  TAVSetLastError(5);
  EXPECT_EQ(g_SharedRecord.lastError, 1u);
  EXPECT_EQ(TAVGetLastError(), 5u);
  EXPECT_EQ(GetTlsValues(), pTls->GetValue());
  EXPECT_EQ(GetTlsValues(), GetTlsValues());
}

TEST_F(LastError, OfOneThreadIsNeverSeenByAnother) {
  ASSERT_EQ(TAVInitialize(), 1);
  TAVSetLastError(77);
  int foreign[2] = {-1, -1};
  std::thread first([&] { foreign[0] = foreign_reads(1); });
  std::thread second([&] { foreign[1] = foreign_reads(2); });
  first.join();
  second.join();
  EXPECT_EQ(foreign[0], 0);
  EXPECT_EQ(foreign[1], 0);
  EXPECT_EQ(TAVGetLastError(), 77u);
}

TEST_F(LastError, OfAFailingCallGoesToTheCallingThread) {
  ASSERT_EQ(TAVInitialize(), 1);
  TAVSetLastError(77);
  unsigned seen = 0;
  std::thread([&] {
    unsigned long found = 0;
    EXPECT_EQ(TAVEnumServers(1, &found), 0);
    seen = TAVGetLastError();
  }).join();
  EXPECT_EQ(seen, 6u);
  EXPECT_EQ(TAVGetLastError(), 77u);
}

TEST_F(LastError, SurvivesTheLastExitInTheSharedRecord) {
  ASSERT_EQ(TAVInitialize(), 1);
  TAVSetLastError(42);
  TAVExit();
  EXPECT_EQ(g_SharedRecord.lastError, 42u);
  EXPECT_EQ(TAVGetLastError(), 42u);
  unsigned seen_elsewhere = 0;
  std::thread([&] { seen_elsewhere = TAVGetLastError(); }).join();
  EXPECT_EQ(seen_elsewhere, 42u);
}

TEST_F(LastError, StaysOutOfTheSharedRecordAtAnExitThatIsNotTheLast) {
  ASSERT_EQ(TAVInitialize(), 1);
  ASSERT_EQ(TAVInitialize(), 1);
  TAVSetLastError(42);
  TAVExit();
  EXPECT_EQ(g_SharedRecord.lastError, 0u);
}

TEST_F(LastError, IsCopiedByThreadExit) {
  ASSERT_EQ(TAVInitialize(), 1);
  TAVSetLastError(42);
  TAVThreadExit();
  EXPECT_EQ(g_SharedRecord.lastError, 42u);
  EXPECT_EQ(TAVGetLastError(), 42u);
}

TEST_F(LastError, StaysTheThreadsOwnAfterThreadExit) {
  ASSERT_EQ(TAVInitialize(), 1);
  TAVSetLastError(42);
  const TAVThreadRecord* record = GetTlsValues();
  TAVThreadExit();
  EXPECT_EQ(GetTlsValues(), record);
  g_SharedRecord.lastError = 1;
  EXPECT_EQ(TAVGetLastError(), 42u);
  TAVSetLastError(43);
  EXPECT_EQ(g_SharedRecord.lastError, 1u);
}

TEST_F(LastError, OfAThreadThatEndsIsLeftByItsThreadExit) {
  ASSERT_EQ(TAVInitialize(), 1);
  std::thread([] {
    TAVSetLastError(42);
    TAVThreadExit();
  }).join();
  EXPECT_EQ(g_SharedRecord.lastError, 42u);
}

TEST_F(LastError, IsUnchangedByThreadExitWithoutInitialisation) {
  TAVSetLastError(42);
  TAVThreadExit();
  EXPECT_EQ(TAVGetLastError(), 42u);
  TAVExit();  // a surplus one, which counts only
  EXPECT_EQ(TAVGetLastError(), 42u);
}
