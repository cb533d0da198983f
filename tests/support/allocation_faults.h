#ifndef TAVLIB_TESTS_SUPPORT_ALLOCATION_FAULTS_H
#define TAVLIB_TESTS_SUPPORT_ALLOCATION_FAULTS_H

namespace tavtest {

/// While the object lives (one at a time), the allocation number `failing` (from 0) fails: malloc, calloc,
/// realloc, strdup and wcsdup return null, new throws bad_alloc or returns null. Counted are the allocations
/// of the program's own code and of the static library, not those within shared libraries; any thread's. A
/// program gets this by linking tavlib_test_faults.
class AllocationFaults {
 public:
  explicit AllocationFaults(long failing);
  ~AllocationFaults();

  AllocationFaults(const AllocationFaults&) = delete;
  AllocationFaults& operator=(const AllocationFaults&) = delete;

  /// Whether that allocation was asked for.
  bool happened() const;
};

}  // namespace tavtest

#endif
