// The records of threads' last errors: each is freed once, by its thread's end or by the last exit.

#include "api/thread_records.h"

#include <future>
#include <thread>

#include "api/api_fixture.h"

using namespace tavtest;
using tavlib::free_thread_record;
using tavlib::free_thread_records;
using tavlib::new_thread_record;

TEST(ThreadRecords, BeginWithTheGivenError) {
  TAVThreadRecord* record = new_thread_record(42);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->lastError, 42u);
  free_thread_record(record);
}

TEST(ThreadRecords, OneThatIsFreedLeavesTheOthers) {
  TAVThreadRecord* records[] = {new_thread_record(1), new_thread_record(2), new_thread_record(3)};
  free_thread_record(records[1]);
  EXPECT_EQ(records[0]->lastError, 1u);
  EXPECT_EQ(records[2]->lastError, 3u);
  free_thread_record(records[2]);
  EXPECT_EQ(records[0]->lastError, 1u);
  free_thread_record(records[0]);
}

TEST(ThreadRecords, OneThatIsGoneIsNotFreedAgain) {
  TAVThreadRecord* record = new_thread_record(1);
  TAVThreadRecord* other = new_thread_record(2);
  free_thread_records();
  free_thread_record(record);
  free_thread_record(other);
  free_thread_records();
}

// A thread that was on its way here during an exit, and a start after it, may come with an address that is
// in use again.
TEST(ThreadRecords, AnotherThreadsIsLeftAlone) {
  TAVThreadRecord* record = new_thread_record(1);
  std::thread(free_thread_record, record).join();
  EXPECT_EQ(record->lastError, 1u);  // the heap writes there what it needs
  TAVThreadRecord* next = new_thread_record(2);
  EXPECT_NE(next, record);
  free_thread_record(next);
  free_thread_record(record);
}

// Leak checkers see what is left behind.
TEST_F(ApiTest, ThreadsThatOutliveTheLibraryKeepNothingOfIt) {
  for (int cycle = 0; cycle < 2; ++cycle) {
    std::promise<void> exited;
    std::promise<void> used;
    ASSERT_EQ(TAVInitialize(), 1);
    std::thread living([&] {
      TAVSetLastError(42);
      used.set_value();
      exited.get_future().wait();
      EXPECT_NE(TAVGetLastError(), 42u);
    });
    used.get_future().wait();
    TAVSetLastError(untouched);
    TAVExit();
    exited.set_value();
    living.join();
  }
}
