#ifndef TAVLIB_TESTS_SUPPORT_PROCESS_MEMORY_H
#define TAVLIB_TESTS_SUPPORT_PROCESS_MEMORY_H

#include <malloc.h>

#include <cstddef>

extern "C" __attribute__((weak)) std::size_t __sanitizer_get_current_allocated_bytes();

namespace tavtest {

/// Whether this program was built with a sanitizer that has a heap of its own.
inline bool sanitized() {
  return __sanitizer_get_current_allocated_bytes != nullptr;
}

/// The bytes that the process has from malloc. With several threads, those that each has freed and keeps for
/// itself count, too, unless the test program is declared with COUNTS_MEMORY.
inline long allocated() {
  return static_cast<long>(sanitized() ? __sanitizer_get_current_allocated_bytes() : mallinfo2().uordblks);
}

}  // namespace tavtest

#endif
