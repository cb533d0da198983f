#ifndef TAVLIB_TESTS_FAULTS_HEAP_REASON_OF_H
#define TAVLIB_TESTS_FAULTS_HEAP_REASON_OF_H

#include <gtest/gtest.h>
#include <tavlib/platform/error_state.h>

#include <cerrno>

#include "support/call_faults.h"
#include "support/spoiled_errno.h"

namespace tavtest {

/// The run-time error that a failing call leaves in a host whose heap changes errno. Its result must be
/// `failed`, and it must have released memory, or it would show nothing.
template <typename Call>
unsigned reason_of(Call call, int failed = 0) {
  errno = 0;
  const LibrarySection section;
  const SpoiledErrno heap;
  const int result = call();
  const unsigned reason = GetRtlError();
  EXPECT_EQ(result, failed);
  EXPECT_GT(heap.count(), 0);
  return reason;
}

}  // namespace tavtest

#endif
