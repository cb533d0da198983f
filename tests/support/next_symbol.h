#ifndef TAVLIB_TESTS_SUPPORT_NEXT_SYMBOL_H
#define TAVLIB_TESTS_SUPPORT_NEXT_SYMBOL_H

#include <dlfcn.h>

/// Marks a replacement of a libc function: visible, so that a shared library's calls reach it too.
#define TAVTEST_REPLACES_LIBC extern "C" __attribute__((visibility("default")))

/// The name that calls of `call` have in an object file. CMake's libc_symbols.cmake defines __real_`call` as
/// the linker's name for it where that is another one.
#define TAVTEST_SYMBOL(call) TAVTEST_BEHIND_REAL(__real_##call)
#define TAVTEST_BEHIND_REAL(name) &TAVTEST_TEXT(name)[sizeof "__real_" - 1]
#define TAVTEST_TEXT(name) #name

namespace tavtest {

/// The function `name` that a replacement in the test program hides: libc's own, or a sanitizer's.
template <typename Function>
Function* next_symbol(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace tavtest

#endif
