#ifndef TAVLIB_TESTS_SUPPORT_OWN_ALLOCATIONS_H
#define TAVLIB_TESTS_SUPPORT_OWN_ALLOCATIONS_H

namespace tavtest {

/// While an object lives, this thread's allocations are the tests' own: AllocationFaults neither counts nor
/// fails them. For replacements of libc calls, which allocate where libc would not.
class OwnAllocations {
 public:
  OwnAllocations() { ++depth; }
  ~OwnAllocations() { --depth; }

  OwnAllocations(const OwnAllocations&) = delete;
  OwnAllocations& operator=(const OwnAllocations&) = delete;

  static bool now() { return depth != 0; }

 private:
  static inline thread_local int depth = 0;
};

}  // namespace tavtest

#endif
