#ifndef TAVLIB_TESTS_SUPPORT_NEXT_SYMBOL_H
#define TAVLIB_TESTS_SUPPORT_NEXT_SYMBOL_H

#include <dlfcn.h>

/// Marks a replacement of a libc function: visible, so that a shared library's calls reach it too.
#define TAVTEST_REPLACES_LIBC extern "C" __attribute__((visibility("default")))

namespace tavtest {

/// The function `name` that a replacement in the test program hides: libc's own, or a sanitizer's.
template <typename Function>
Function* next_symbol(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace tavtest

#endif
