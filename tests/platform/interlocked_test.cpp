#include <gtest/gtest.h>
#include <pthread.h>
#include <tavlib/platform/interlocked.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "wrapped_calls.h"

namespace tavtest {
namespace {

constexpr long largest = INT32_MAX;
constexpr long smallest = INT32_MIN;

// A number whose low 32 bits are `low` (as they stand), with other bits above them where a long has room for
// some.
long with_high_bits(std::uint32_t low) {
  return static_cast<long>((std::uint64_t{0x7654321} << 32) | low);
}

TEST(Interlocked, IncrementReturnsTheNewValue) {
  long counter = 41;
  EXPECT_EQ(InterlockedIncrement(&counter), 42);
  EXPECT_EQ(counter, 42);
}

TEST(Interlocked, IncrementOfTheLargestNumberWrapsToTheSmallest) {
  long counter = largest;
  EXPECT_EQ(InterlockedIncrement(&counter), smallest);
  EXPECT_EQ(counter, smallest);
}

TEST(Interlocked, IncrementOfMinusOneIsZero) {
  long counter = -1;
  EXPECT_EQ(InterlockedIncrement(&counter), 0);
  EXPECT_EQ(counter, 0);
}

TEST(Interlocked, DecrementReturnsTheNewValue) {
  long counter = 0;
  EXPECT_EQ(InterlockedDecrement(&counter), -1);
  EXPECT_EQ(counter, -1);
}

TEST(Interlocked, DecrementOfTheSmallestNumberWrapsToTheLargest) {
  long counter = smallest;
  EXPECT_EQ(InterlockedDecrement(&counter), largest);
  EXPECT_EQ(counter, largest);
}

TEST(Interlocked, ExchangeStoresTheValueAndReturnsTheOldOne) {
  long counter = -7;
  EXPECT_EQ(InterlockedExchange(&counter, 12), -7);
  EXPECT_EQ(counter, 12);
}

TEST(Interlocked, CompareExchangeStoresWhenTheComparandMatches) {
  long counter = 5;
  EXPECT_EQ(InterlockedCompareExchange(&counter, 9, 5), 5);
  EXPECT_EQ(counter, 9);
}

TEST(Interlocked, CompareExchangeLeavesTheTargetWhenTheComparandDoesNotMatch) {
  long counter = 5;
  EXPECT_EQ(InterlockedCompareExchange(&counter, 9, 6), 5);
  EXPECT_EQ(counter, 5);
}

TEST(Interlocked, ExchangeAddReturnsTheOldValue) {
  long counter = 5;
  EXPECT_EQ(InterlockedExchangeAdd(&counter, 30), 5);
  EXPECT_EQ(counter, 35);
  EXPECT_EQ(InterlockedExchangeAdd(&counter, -36), 35);
  EXPECT_EQ(counter, -1);
}

TEST(Interlocked, ExchangeAddWrapsInBothDirections) {
  long counter = largest;
  EXPECT_EQ(InterlockedExchangeAdd(&counter, 2), largest);
  EXPECT_EQ(counter, smallest + 1);
  EXPECT_EQ(InterlockedExchangeAdd(&counter, -2), smallest + 1);
  EXPECT_EQ(counter, largest);
}

TEST(Interlocked, OnlyTheLow32BitsOfEachOperandCount) {
  long counter = with_high_bits(5);
  EXPECT_EQ(InterlockedIncrement(&counter), 6);
  EXPECT_EQ(counter, 6);
  counter = with_high_bits(0x80000000U);
  EXPECT_EQ(InterlockedExchange(&counter, with_high_bits(0xfffffffeU)), smallest);
  EXPECT_EQ(counter, -2);
  EXPECT_EQ(InterlockedExchangeAdd(&counter, with_high_bits(3)), -2);
  EXPECT_EQ(counter, 1);
  counter = with_high_bits(1);
  EXPECT_EQ(InterlockedCompareExchange(&counter, with_high_bits(8), with_high_bits(1)), 1);
  EXPECT_EQ(counter, 8);
}

TEST(Interlocked, AFailedCompareExchangeWritesNothingAtAll) {
  const long before = with_high_bits(1);
  long counter = before;
  EXPECT_EQ(InterlockedCompareExchange(&counter, 8, 2), 1);
  EXPECT_EQ(counter, before);
}

TEST(Interlocked, EveryOperationOnEveryVariableTakesTheSameMutexOnce) {
  const std::vector<std::function<long(long*)>> operations{
      InterlockedIncrement, InterlockedDecrement, [](long* target) { return InterlockedExchange(target, 1); },
      [](long* target) { return InterlockedCompareExchange(target, 1, 0); },
      [](long* target) { return InterlockedExchangeAdd(target, 1); }};
  std::vector<long> variables(operations.size());
  std::vector<const void*> mutexes;
  const Watch locks(Call::mutex_lock);
  for (std::size_t i = 0; i < operations.size(); ++i) {
    operations[i](&variables[i]);
    mutexes.push_back(last_arguments().object);
  }
  EXPECT_EQ(locks.count(), static_cast<int>(operations.size()));
  EXPECT_EQ(mutexes, std::vector<const void*>(operations.size(), mutexes.front()));
}

// Default attributes: neither recursive nor otherwise checked.
TEST(Interlocked, TheMutexIsAnOrdinaryOneAndFreeBetweenOperations) {
  long counter = 0;
  InterlockedIncrement(&counter);
  auto* mutex = static_cast<pthread_mutex_t*>(const_cast<void*>(last_arguments().object));
  ASSERT_EQ(pthread_mutex_trylock(mutex), 0);
  EXPECT_EQ(pthread_mutex_trylock(mutex), EBUSY);
  EXPECT_EQ(pthread_mutex_unlock(mutex), 0);
}

TEST(Interlocked, OperationsOfSeveralThreadsLoseNothing) {
  constexpr int rounds = 2000;
  long up = 0;
  long down = 0;
  long sum = 0;
  long lock = 0;
  int guarded = 0;
  const auto work = [&] {
    for (int i = 0; i < rounds; ++i) {
      InterlockedIncrement(&up);
      InterlockedDecrement(&down);
      InterlockedExchangeAdd(&sum, 3);
      while (InterlockedCompareExchange(&lock, 1, 0) != 0)
        std::this_thread::yield();
      ++guarded;
      InterlockedExchange(&lock, 0);
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back(work);
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(up, 4 * rounds);
  EXPECT_EQ(down, -4 * rounds);
  EXPECT_EQ(sum, 12 * rounds);
  EXPECT_EQ(guarded, 4 * rounds);
}

}  // namespace
}  // namespace tavtest
