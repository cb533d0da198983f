// Coverage counts of forked children. A child starts from zero, so that nothing is counted twice, and writes
// its counts when it ends with _exit, which skips what would write them otherwise.

#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>

#include "support/next_symbol.h"

extern "C" {
void __gcov_dump();
void __gcov_reset();
}

namespace {

const int registered = pthread_atfork(nullptr, nullptr, __gcov_reset);

// Lifts the limit that a test may have set to the child's files. False when that takes more rights: counts
// that were written in part would spoil the others.
bool may_write_files() {
  rlimit limit{};
  if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur == RLIM_INFINITY) return true;
  limit = {RLIM_INFINITY, RLIM_INFINITY};
  return setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

[[noreturn]] void write_counts_and_end(int code) {
  if (may_write_files()) __gcov_dump();
  syscall(SYS_exit_group, code);
  std::abort();
}

}  // namespace

TAVTEST_REPLACES_LIBC void _exit(int code) {
  write_counts_and_end(code);
}

TAVTEST_REPLACES_LIBC void _Exit(int code) noexcept {
  write_counts_and_end(code);
}
