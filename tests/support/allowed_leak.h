#ifndef TAVLIB_TESTS_SUPPORT_ALLOWED_LEAK_H
#define TAVLIB_TESTS_SUPPORT_ALLOWED_LEAK_H

namespace tavtest {

/// What operator new gives out while an object lives (one at a time) may leak, for the one leak that the
/// library is meant to have: the blocks stay known, so that no leak checker counts them. A program gets this
/// by linking tavlib_test_faults, and counts as its own what AllocationFaults counts.
class AllowedLeak {
 public:
  AllowedLeak();
  ~AllowedLeak();

  AllowedLeak(const AllowedLeak&) = delete;
  AllowedLeak& operator=(const AllowedLeak&) = delete;

  /// Keeps a new block if an object lives. Throws std::length_error when there are too many.
  static void keep(void* block);
};

}  // namespace tavtest

#endif
