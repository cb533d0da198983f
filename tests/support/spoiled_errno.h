#ifndef TAVLIB_TESTS_SUPPORT_SPOILED_ERRNO_H
#define TAVLIB_TESTS_SUPPORT_SPOILED_ERRNO_H

namespace tavtest {

/// While an object lives (one at a time), each release of memory in the program's own code and the
/// static library leaves EILSEQ in `errno`, as a heap may. A program gets this by linking
/// tavlib_test_faults.
class SpoiledErrno {
 public:
  SpoiledErrno();
  ~SpoiledErrno();

  SpoiledErrno(const SpoiledErrno&) = delete;
  SpoiledErrno& operator=(const SpoiledErrno&) = delete;

  /// How often that happened.
  int count() const;
};

}  // namespace tavtest

#endif
