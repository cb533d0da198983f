#ifndef TAVLIB_TESTS_API_REFUSALS_H
#define TAVLIB_TESTS_API_REFUSALS_H

#include <cstddef>

// A test program that has refusals.cpp in it takes over operator new, pthread_key_create and
// pthread_setspecific, so that they can be made to refuse.
namespace tavtest {

/// While it lives, each request for exactly `size` bytes is refused.
class RefuseBlocks {
 public:
  explicit RefuseBlocks(std::size_t size);
  ~RefuseBlocks();

  RefuseBlocks(const RefuseBlocks&) = delete;
  RefuseBlocks& operator=(const RefuseBlocks&) = delete;
};

/// While it lives, no thread-specific key can be made.
class RefuseKeys {
 public:
  RefuseKeys();
  ~RefuseKeys();

  RefuseKeys(const RefuseKeys&) = delete;
  RefuseKeys& operator=(const RefuseKeys&) = delete;
};

/// While it lives, no thread-specific value can be set.
class RefuseValues {
 public:
  RefuseValues();
  ~RefuseValues();

  RefuseValues(const RefuseValues&) = delete;
  RefuseValues& operator=(const RefuseValues&) = delete;
};

/// Blocks from operator new that were not released yet.
long living_blocks();

}  // namespace tavtest

#endif
