#include <gtest/gtest.h>
#include <tavlib/platform/critical_section.h>

#include <atomic>
#include <cerrno>
#include <thread>
#include <type_traits>
#include <vector>

#include "wrapped_calls.h"

namespace tavtest {
namespace {

static_assert(!std::is_polymorphic_v<ACritSec>);
static_assert(!std::is_copy_constructible_v<ACritSec> && !std::is_copy_assignable_v<ACritSec>);

class OpenCritSec : public ACritSec {
 public:
  using ACritSec::count;
  using ACritSec::mutex;
  using ACritSec::owner;
  using ACritSec::released;
};

// What another thread gets from one DoLock(0). It gives the lock back if it got it.
struct Attempt {
  int result = -1;
  int error_number = -1;
};

Attempt try_from_another_thread(ACritSec& section) {
  Attempt attempt;
  std::thread([&] {
    errno = 0;
    attempt.result = section.DoLock(0);
    attempt.error_number = errno;
    if (attempt.result == 1) section.Unlock();
  }).join();
  return attempt;
}

bool is_free(ACritSec& section) {
  return try_from_another_thread(section).result == 1;
}

TEST(CriticalSection, StartsFreeWithTheCreatorAsItsOwner) {
  OpenCritSec section;
  EXPECT_EQ(section.count, 0U);
  EXPECT_NE(pthread_equal(section.owner, pthread_self()), 0);
  EXPECT_TRUE(is_free(section));
}

TEST(CriticalSection, HasItsFieldsInOrder) {
  OpenCritSec section;
  EXPECT_LT(static_cast<void*>(&section.mutex), static_cast<void*>(&section.released));
  EXPECT_LT(static_cast<void*>(&section.released), static_cast<void*>(&section.owner));
  EXPECT_LT(static_cast<void*>(&section.owner), static_cast<void*>(&section.count));
}

TEST(CriticalSection, TakesTheLockWaitingOrNot) {
  ACritSec section;
  for (const int wait : {0, 1}) {
    EXPECT_EQ(section.DoLock(wait), 1);
    EXPECT_FALSE(is_free(section));
    section.Unlock();
    EXPECT_TRUE(is_free(section));
  }
}

TEST(CriticalSection, NestedLocksNeedAsManyUnlocks) {
  ACritSec section;
  ASSERT_EQ(section.DoLock(1), 1);
  ASSERT_EQ(section.DoLock(1), 1);
  section.Unlock();
  EXPECT_FALSE(is_free(section));
  section.Unlock();
  EXPECT_TRUE(is_free(section));
}

TEST(CriticalSection, TheOwnerGetsTheLockAgainWithoutWaiting) {
  OpenCritSec section;
  ASSERT_EQ(section.DoLock(0), 1);
  EXPECT_EQ(section.DoLock(0), 1);
  EXPECT_EQ(section.count, 2U);
  section.Unlock();
  section.Unlock();
}

TEST(CriticalSection, ASecondThreadThatDoesNotWaitGetsErrorBusy) {
  ACritSec section;
  section.DoLock(1);
  const Attempt attempt = try_from_another_thread(section);
  EXPECT_EQ(attempt.result, 0);
  EXPECT_EQ(attempt.error_number, 16);
  section.Unlock();
}

TEST(CriticalSection, TheOwnerIsTheThreadThatTookTheLockLast) {
  OpenCritSec section;
  std::thread([&] {
    section.DoLock(0);
    EXPECT_NE(pthread_equal(section.owner, pthread_self()), 0);
    section.Unlock();
  }).join();
  section.DoLock(1);
  EXPECT_NE(pthread_equal(section.owner, pthread_self()), 0);
  section.Unlock();
}

TEST(CriticalSection, UnlockOfAFreeLockChangesNothing) {
  OpenCritSec section;
  errno = 0;
  section.Unlock();
  EXPECT_EQ(section.count, 0U);
  EXPECT_EQ(errno, 0);
}

TEST(CriticalSection, UnlockByAThreadThatDoesNotHoldTheLockChangesNothing) {
  OpenCritSec section;
  section.DoLock(1);
  std::thread([&] {
    errno = 0;
    section.Unlock();
    EXPECT_EQ(errno, 0);
  }).join();
  EXPECT_EQ(section.count, 1U);
  EXPECT_FALSE(is_free(section));
  section.Unlock();
}

TEST(CriticalSection, AWaitingThreadIsWokenByEachUnlockAndGoesOnOnlyAfterTheLast) {
  OpenCritSec section;
  section.DoLock(1);
  section.DoLock(1);
  const Watch waits(Call::cond_wait);
  std::atomic<bool> through{false};
  std::thread waiting([&] {
    EXPECT_EQ(section.DoLock(1), 1);
    through = true;
    EXPECT_EQ(section.count, 1U);
    EXPECT_NE(pthread_equal(section.owner, pthread_self()), 0);
    section.Unlock();
  });
  waits.wait_for(1);
  section.Unlock();
  waits.wait_for(2);  // It was woken, saw that the lock is still held, and waits again.
  EXPECT_FALSE(through);
  section.Unlock();
  waiting.join();
  EXPECT_TRUE(through);
  EXPECT_TRUE(is_free(section));
}

TEST(CriticalSection, KeepsThreadsApart) {
  constexpr int rounds = 1000;
  ACritSec section;
  int guarded = 0;
  const auto work = [&] {
    for (int i = 0; i < rounds; ++i) {
      section.DoLock(1);
      section.DoLock(1);
      ++guarded;
      section.Unlock();
      section.Unlock();
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back(work);
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(guarded, 4 * rounds);
}

TEST(CriticalSection, EveryOperationTakesTheMutexOnceAndGivesItBack) {
  OpenCritSec section;
  const Watch locks(Call::mutex_lock);
  const auto expect_taken = [&](int count) {
    EXPECT_EQ(locks.count(), count);
    EXPECT_EQ(last_arguments().object, &section.mutex);
    ASSERT_EQ(pthread_mutex_trylock(&section.mutex), 0);
    pthread_mutex_unlock(&section.mutex);
  };
  section.DoLock(1);
  expect_taken(1);
  section.DoLock(0);
  expect_taken(2);
  section.Unlock();
  expect_taken(3);
  section.Unlock();
  expect_taken(4);
}

TEST(CriticalSection, MakesItsMutexAndConditionWithDefaultAttributesAndDestroysThem) {
  const Watch mutex_inits(Call::mutex_init);
  const Watch mutex_destroys(Call::mutex_destroy);
  const Watch cond_inits(Call::cond_init);
  const Watch cond_destroys(Call::cond_destroy);
  {
    const ACritSec section;
    EXPECT_EQ(mutex_inits.count(), 1);
    EXPECT_EQ(cond_inits.count(), 1);
    EXPECT_TRUE(last_arguments().default_mutex);
    EXPECT_TRUE(last_arguments().default_condition);
    EXPECT_EQ(mutex_destroys.count(), 0);
    EXPECT_EQ(cond_destroys.count(), 0);
  }
  EXPECT_EQ(mutex_destroys.count(), 1);
  EXPECT_EQ(cond_destroys.count(), 1);
}

}  // namespace
}  // namespace tavtest
