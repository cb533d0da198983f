#ifndef TAVLIB_TESTS_SUPPORT_SPOILED_ERRNO_H
#define TAVLIB_TESTS_SUPPORT_SPOILED_ERRNO_H

namespace tavtest {

/// While an object lives, each release of memory in its thread leaves EILSEQ in `errno`, as a host's heap
/// may: in the program's own code and the static library, and without a sanitizer in libraries as well. A
/// program gets this by linking tavlib_test_faults.
class SpoiledErrno {
 public:
  SpoiledErrno();
  ~SpoiledErrno();

  SpoiledErrno(const SpoiledErrno&) = delete;
  SpoiledErrno& operator=(const SpoiledErrno&) = delete;

  /// How often that happened; a release in several layers counts in each.
  long count() const;

 private:
  const long before_;
};

}  // namespace tavtest

#endif
